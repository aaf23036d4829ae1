#include "ThumbnailCache.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QImageReader>
#include <QImageWriter>
#include <QSaveFile>
#include <QStandardPaths>
#include <QUrl>
#include <QtEndian>
#include <algorithm>

namespace fennic {
namespace {

const QString kUriKey = QStringLiteral("Thumb::URI");
const QString kMTimeKey = QStringLiteral("Thumb::MTime");

QString folderOf(ThumbnailCache::Size size)
{
    return size == ThumbnailCache::Size::large ? QStringLiteral("large") : QStringLiteral("normal");
}

QString md5Name(const QString& uri)
{
    return QString::fromLatin1(QCryptographicHash::hash(uri.toUtf8(), QCryptographicHash::Md5).toHex())
        + QStringLiteral(".png");
}

// A zlib stream's content; null when damaged.
QByteArray inflate(const QByteArray& stream)
{
    // qUncompress wants the expected size first; it is only a starting point for its buffer.
    QByteArray sized(4, '\0');
    qToBigEndian<quint32>(quint32(std::min<qsizetype>(stream.size() * 8, 1 << 20)), sized.data());
    return qUncompress(sized + stream);
}

// The text chunks (tEXt, zTXt, iTXt) of a PNG file, read up to its first image data. Qt's reader takes a
// colon in a key for a separator, and every key of the standard holds one ("Thumb::URI").
// Empty for anything that is not a PNG.
QHash<QString, QString> pngTexts(const QString& file)
{
    QHash<QString, QString> texts;
    QFile f(file);
    if (!f.open(QIODevice::ReadOnly) || f.read(8) != QByteArray("\x89PNG\r\n\x1a\n", 8)) return texts;
    for (int chunks = 0; chunks < 64; ++chunks) {
        const QByteArray header = f.read(8);
        if (header.size() != 8) break;
        const quint32 length = qFromBigEndian<quint32>(header.constData());
        const QByteArray type = header.mid(4, 4);
        if (type == "IDAT" || type == "IEND" || length > (1u << 20)) break;
        const QByteArray data = f.read(length);
        if (data.size() != qint64(length) || !f.seek(f.pos() + 4)) break;  // the CRC
        const qsizetype zero = data.indexOf('\0');
        if (zero <= 0) continue;
        const QString key = QString::fromLatin1(data.left(zero));
        if (type == "tEXt") {
            // Latin-1 by definition; URIs and numbers are ASCII.
            texts.insert(key, QString::fromLatin1(data.mid(zero + 1)));
        } else if (type == "zTXt" && data.size() > zero + 2 && data.at(zero + 1) == 0) {
            // Compressed with zlib (method 0), as Qt writes longer values.
            if (const QByteArray value = inflate(data.mid(zero + 2)); !value.isNull())
                texts.insert(key, QString::fromLatin1(value));
        } else if (type == "iTXt") {
            // key \0 compressed? method, language \0 translated key \0 text (UTF-8)
            const QByteArray rest = data.mid(zero + 1);
            if (rest.size() < 2) continue;
            const bool compressed = rest.at(0) == 1;
            const qsizetype language = rest.indexOf('\0', 2);
            const qsizetype translated = language < 0 ? -1 : rest.indexOf('\0', language + 1);
            if (translated < 0) continue;
            const QByteArray value = compressed ? inflate(rest.mid(translated + 1)) : rest.mid(translated + 1);
            if (!value.isNull()) texts.insert(key, QString::fromUtf8(value));
        }
    }
    return texts;
}

// Whether the PNG at `file` carries this URI and modification time.
bool isCurrent(const QString& file, const QString& uri, qint64 mtime)
{
    const QHash<QString, QString> texts = pngTexts(file);
    return texts.value(kUriKey) == uri && texts.value(kMTimeKey) == QString::number(mtime);
}

std::optional<QImage> readCurrent(const QString& file, const QString& uri, qint64 mtime)
{
    // The keys come before the pixels: checked before decoding them.
    if (!isCurrent(file, uri, mtime)) return std::nullopt;
    QImage image(file, "png");
    if (image.isNull()) return std::nullopt;
    return image;
}

}  // namespace

ThumbnailCache::ThumbnailCache(QString root) : m_root(root.isEmpty() ? defaultRoot() : std::move(root)) { }

QString ThumbnailCache::defaultRoot()
{
    const QByteArray xdg = qgetenv("XDG_CACHE_HOME");
    const QString base = xdg.isEmpty() || !QDir::isAbsolutePath(QString::fromLocal8Bit(xdg))
        ? QDir::homePath() + QStringLiteral("/.cache") : QString::fromLocal8Bit(xdg);
    return base + QStringLiteral("/thumbnails");
}

QString ThumbnailCache::uriFor(const QString& path)
{
    return QString::fromLatin1(QUrl::fromLocalFile(path).toEncoded(QUrl::FullyEncoded));
}

QString ThumbnailCache::thumbnailPath(const QString& path, Size size) const
{
    return m_root + u'/' + folderOf(size) + u'/' + md5Name(uriFor(path));
}

QString ThumbnailCache::failurePath(const QString& path) const
{
    return m_root + QStringLiteral("/fail/fennic/") + md5Name(uriFor(path));
}

std::optional<QImage> ThumbnailCache::lookup(const QString& path, qint64 mtime, Size size) const
{
    return readCurrent(thumbnailPath(path, size), uriFor(path), mtime);
}

bool ThumbnailCache::hasFailed(const QString& path, qint64 mtime) const
{
    return isCurrent(failurePath(path), uriFor(path), mtime);
}

bool ThumbnailCache::store(const QString& path, qint64 mtime, Size size, const QImage& image) const
{
    if (image.isNull()) return false;
    const int edge = int(size);
    QImage scaled = image.width() > edge || image.height() > edge
        ? image.scaled(edge, edge, Qt::KeepAspectRatio, Qt::SmoothTransformation)
        : image;
    return write(thumbnailPath(path, size), std::move(scaled), uriFor(path), mtime);
}

bool ThumbnailCache::storeFailure(const QString& path, qint64 mtime) const
{
    QImage blank(1, 1, QImage::Format_ARGB32);
    blank.fill(Qt::transparent);
    return write(failurePath(path), std::move(blank), uriFor(path), mtime);
}

bool ThumbnailCache::write(const QString& target, QImage image, const QString& uri, qint64 mtime) const
{
    const QString folder = target.left(target.lastIndexOf(u'/'));
    // The cache is private to the user: folders 0700, files 0600.
    if (!QDir().mkpath(folder)) return false;
    QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    image.setText(kUriKey, uri);
    image.setText(kMTimeKey, QString::number(mtime));
    image.setText(QStringLiteral("Software"), QStringLiteral("Fennic"));
    QSaveFile file(target);
    if (!file.open(QIODevice::WriteOnly)) return false;
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    QImageWriter writer(&file, "png");
    if (!writer.write(image)) {
        file.cancelWriting();
        return false;
    }
    return file.commit();
}

}  // namespace fennic
