#include "ThumbnailMaker.h"
#include "PdfMessages.h"

#include <QImageReader>
#include <QProcess>
#include <QSet>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <memory>
#include <poppler-qt6.h>

namespace fennic::ThumbnailMaker {
namespace {

// A video whose helper takes longer than this gets its type's icon instead.
constexpr int kVideoTimeoutMs = 8000;

const QSet<QString>& videoExtensions()
{
    static const QSet<QString> exts{"mp4", "m4v", "mov", "mkv", "webm", "avi", "wmv", "mpg", "mpeg", "ogv", "3gp"};
    return exts;
}

QImage fromPicture(const QString& path, int edge)
{
    QImageReader reader(path);
    reader.setAutoTransform(true);
    const QSize full = reader.size();
    // Decoding at the wanted size is much cheaper for large JPEGs than decoding and scaling.
    if (full.isValid() && (full.width() > edge || full.height() > edge))
        reader.setScaledSize(full.scaled(edge, edge, Qt::KeepAspectRatio));
    return reader.read();
}

QImage fromVideo(const QString& path, int edge)
{
    static const QString helper = QStandardPaths::findExecutable(QStringLiteral("ffmpegthumbnailer"));
    if (helper.isEmpty()) return {};
    QTemporaryDir dir;
    if (!dir.isValid()) return {};
    const QString out = dir.filePath(QStringLiteral("frame.png"));
    QProcess process;
    process.setProgram(helper);
    process.setArguments({QStringLiteral("-i"), path,
                                         QStringLiteral("-o"), out,
                                                        QStringLiteral("-s"), QString::number(edge),
                                                                       QStringLiteral("-c"), QStringLiteral("png")});
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start();
    if (!process.waitForFinished(kVideoTimeoutMs)) {
        process.kill();
        process.waitForFinished(1000);
        return {};
    }
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) return {};
    return QImage(out);
}

QImage fromPdf(const QString& path, int edge)
{
    PdfMessages::toLog();
    std::unique_ptr<Poppler::Document> document = Poppler::Document::load(path);
    if (!document || document->isLocked() || document->numPages() < 1) return {};
    std::unique_ptr<Poppler::Page> page = document->page(0);
    if (!page) return {};
    const QSizeF points = page->pageSizeF();
    if (points.isEmpty()) return {};
    // Rendered at the resolution that makes the longer side `edge` pixels.
    const double dpi = 72.0 * edge / std::max(points.width(), points.height());
    document->setRenderHint(Poppler::Document::Antialiasing);
    document->setRenderHint(Poppler::Document::TextAntialiasing);
    return page->renderToImage(dpi, dpi);
}

}  // namespace

bool canMake(const QString& ext)
{
    static const QSet<QString> pictures = [] {
        QSet<QString> exts;
        for (const QByteArray& format : QImageReader::supportedImageFormats()) exts.insert(QString::fromLatin1(format));
        exts.insert(QStringLiteral("jpg"));
        return exts;
    }();
    return pictures.contains(ext) || videoExtensions().contains(ext) || ext == u"pdf";
}

QImage make(const QString& path, const QString& ext, int edge)
{
    if (ext == u"pdf") return fromPdf(path, edge);
    if (videoExtensions().contains(ext)) return fromVideo(path, edge);
    return fromPicture(path, edge);
}

}  // namespace fennic::ThumbnailMaker
