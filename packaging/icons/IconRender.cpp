// fennic-icon-render: draws the application's scalable icon at the fixed sizes of the hicolor
// icon theme, for desktops and tools that want bitmaps (panels at 16 px, software centres at
// 128 px and above).
//
//     fennic-icon-render ICON.svg OUTDIR SIZE…
//
// writes OUTDIR/SIZExSIZE/apps/NAME.png for each size, NAME being the SVG's base name. The
// output is drawn from the same SVG every time, so the bitmaps never drift from the drawing.
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <QTextStream>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTextStream err(stderr);
    const QStringList args = QCoreApplication::arguments();
    if (args.size() < 4) {
        err << "usage: fennic-icon-render ICON.svg OUTDIR SIZE…\n";
        return 2;
    }
    QSvgRenderer renderer(args[1]);
    if (!renderer.isValid()) {
        err << "fennic-icon-render: cannot read " << args[1] << "\n";
        return 1;
    }
    const QString name = QFileInfo(args[1]).completeBaseName();
    for (qsizetype i = 3; i < args.size(); ++i) {
        bool ok = false;
        const int size = args[i].toInt(&ok);
        if (!ok || size <= 0 || size > 4096) {
            err << "fennic-icon-render: not a size: " << args[i] << "\n";
            return 2;
        }
        QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        {
            QPainter painter(&image);
            painter.setRenderHint(QPainter::Antialiasing);
            painter.setRenderHint(QPainter::SmoothPixmapTransform);
            renderer.render(&painter, QRectF(0, 0, size, size));
        }
        const QString folder = QStringLiteral("%1/%2x%2/apps").arg(args[2]).arg(size);
        const QString file = folder + QLatin1Char('/') + name + QStringLiteral(".png");
        if (!QDir().mkpath(folder) || !image.save(file, "PNG")) {
            err << "fennic-icon-render: cannot write " << file << "\n";
            return 1;
        }
    }
    return 0;
}
