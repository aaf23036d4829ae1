#include "PreviewReader.h"

#include "PoolReply.h"
#include "thumbnails/PdfMessages.h"

#include <QFileInfo>
#include <QImageReader>
#include <QProcess>
#include <QStandardPaths>
#include <QStringDecoder>
#include <QTemporaryDir>
#include <algorithm>
#include <memory>
#include <poppler-qt6.h>

namespace fennic::PreviewReader {

namespace {

QSize fitted(QSize size, QSize bound)
{
    if (!size.isValid() || !bound.isValid()) return size;
    if (size.width() <= bound.width() && size.height() <= bound.height()) return size;
    return size.scaled(bound, Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
}

}  // namespace

QString unreadableReason(const QString& path)
{
    const QFileInfo info(path);
    if (!info.exists()) return QStringLiteral("The file is no longer there.");
    if (info.isDir()) return QStringLiteral("It is a folder.");
    if (!info.isReadable()) return QStringLiteral("You don’t have permission to read it.");
    return {};
}

Picture readImage(const QString& path, QSize bound)
{
    Q_ASSERT(PoolReply::offGuiThread());
    Picture out;
    out.error = unreadableReason(path);
    if (!out.error.isEmpty()) return out;
    QImageReader reader(path);
    reader.setAutoTransform(true);
    QSize size = reader.size();
    // A quarter turn swaps the sides; the reader reports the stored size.
    if (size.isValid() && reader.transformation().testFlag(QImageIOHandler::TransformationRotate90)) size.transpose();
    out.pixelSize = size;
    if (size.isValid()) {
        // The reader scales before its own rotation, so the scaled size is given in stored sides.
        QSize scaled = fitted(size, bound);
        if (reader.transformation().testFlag(QImageIOHandler::TransformationRotate90)) scaled.transpose();
        if (scaled != reader.size()) reader.setScaledSize(scaled);
    }
    out.image = reader.read();
    if (out.image.isNull()) {
        out.error = QStringLiteral("It isn’t a picture Fennic can read (%1).").arg(reader.errorString());
        return out;
    }
    if (!out.pixelSize.isValid()) out.pixelSize = out.image.size();
    if (bound.isValid() && (out.image.width() > bound.width() || out.image.height() > bound.height()))
        out.image = out.image.scaled(bound, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    return out;
}

QSize pixelSize(const QString& path)
{
    Q_ASSERT(PoolReply::offGuiThread());
    QImageReader reader(path);
    reader.setAutoTransform(true);
    QSize size = reader.size();
    if (size.isValid() && reader.transformation().testFlag(QImageIOHandler::TransformationRotate90)) size.transpose();
    return size;
}

Pages readPdfPage(const QString& path, int page, QSize bound)
{
    Q_ASSERT(PoolReply::offGuiThread());
    Pages out;
    out.page = page;
    out.error = unreadableReason(path);
    if (!out.error.isEmpty()) return out;
    PdfMessages::toLog();
    const std::unique_ptr<Poppler::Document> document = Poppler::Document::load(path);
    if (!document || document->isLocked()) {
        out.error = document ? QStringLiteral("The document is protected by a password.")
                             : QStringLiteral("It isn’t a PDF document Fennic can read.");
        return out;
    }
    out.pageCount = document->numPages();
    if (out.pageCount <= 0) {
        out.error = QStringLiteral("The document has no pages.");
        return out;
    }
    out.page = std::clamp(page, 0, out.pageCount - 1);
    const std::unique_ptr<Poppler::Page> p = document->page(out.page);
    if (!p) {
        out.error = QStringLiteral("The page can’t be read.");
        return out;
    }
    document->setRenderHint(Poppler::Document::Antialiasing);
    document->setRenderHint(Poppler::Document::TextAntialiasing);
    const QSizeF points = p->pageSizeF();  // 1/72 inch
    double dpi = 96.0;
    if (points.width() > 0 && points.height() > 0 && bound.isValid())
        dpi = std::min(bound.width() * 72.0 / points.width(), bound.height() * 72.0 / points.height());
    dpi = std::clamp(dpi, 18.0, 300.0);
    out.image = p->renderToImage(dpi, dpi);
    if (out.image.isNull()) out.error = QStringLiteral("The page can’t be drawn.");
    return out;
}

Text readText(const QString& path, qint64 maxBytes)
{
    Q_ASSERT(PoolReply::offGuiThread());
    Text out;
    out.error = unreadableReason(path);
    if (!out.error.isEmpty()) return out;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        out.error = file.errorString();
        return out;
    }
    const QByteArray bytes = file.read(maxBytes);
    out.truncated = !file.atEnd();
    const auto encoding = QStringConverter::encodingForData(bytes).value_or(QStringConverter::Utf8);
    QStringDecoder decode(encoding);
    out.text = decode(bytes);
    return out;
}

Picture videoFrame(const QString& path, int size)
{
    Q_ASSERT(PoolReply::offGuiThread());
    Picture out;
    out.error = unreadableReason(path);
    if (!out.error.isEmpty()) return out;
    const QString helper = QStandardPaths::findExecutable(QStringLiteral("ffmpegthumbnailer"));
    if (helper.isEmpty()) {
        out.error = QStringLiteral("ffmpegthumbnailer, which draws frames of videos, isn’t installed.");
        return out;
    }
    const QTemporaryDir dir;
    if (!dir.isValid()) {
        out.error = dir.errorString();
        return out;
    }
    const QString frame = dir.filePath(QStringLiteral("frame.png"));
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(
        helper, {QStringLiteral("-i"), path, QStringLiteral("-o"), frame, QStringLiteral("-s"), QString::number(size)});
    // A damaged video can keep the helper busy; it gets a fair while, then is stopped.
    if (!process.waitForFinished(30000)) {
        process.kill();
        process.waitForFinished(1000);
        out.error = QStringLiteral("Making a frame of the video took too long.");
        return out;
    }
    QImageReader reader(frame);
    out.image = reader.read();
    if (out.image.isNull()) {
        out.error = QStringLiteral("No frame could be taken from the video.");
        return out;
    }
    out.pixelSize = out.image.size();
    return out;
}

}  // namespace fennic::PreviewReader
