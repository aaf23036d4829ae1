#pragma once

#include <QImage>
#include <QString>
#include <optional>

namespace fennic {

// The desktop's shared thumbnail cache ($XDG_CACHE_HOME/thumbnails), read and written the way
// every Linux file manager does, so that Fennic reuses their thumbnails and they reuse ours.
// A thumbnail is a PNG named by the MD5 of the file's URI, in "normal" (128 px) or "large"
// (256 px), carrying the file's URI and modification time in its "Thumb::URI" and
// "Thumb::MTime" text keys; it is current only while both match the file. Files that could
// not be thumbnailed are remembered under "fail/fennic" so they are not tried again until
// they change.
//
// Threads: any; each call reads or writes files on the calling thread (never call it on the
// GUI thread). Writes go through a temporary file and a rename, so readers never see half a
// thumbnail.
class ThumbnailCache {
public:
    enum class Size {
        normal = 128,
        large = 256
    };

    // `root` is the cache folder; empty: the user's ($XDG_CACHE_HOME/thumbnails).
    explicit ThumbnailCache(QString root = {});

    static QString defaultRoot();
    const QString& root() const { return m_root; }

    // The file's URI as the cache keys it ("file:///home/me/a%20b.png").
    static QString uriFor(const QString& path);
    // Where the thumbnail of `path` at `size` lives.
    QString thumbnailPath(const QString& path, Size size) const;
    QString failurePath(const QString& path) const;

    // The stored thumbnail when it is current for the file's modification time (seconds since
    // the epoch); none when it is absent, stale or damaged.
    std::optional<QImage> lookup(const QString& path, qint64 mtime, Size size) const;
    // Whether an earlier attempt at this version of the file failed.
    bool hasFailed(const QString& path, qint64 mtime) const;

    // Stores a thumbnail made for the file (scaled down to fit `size` when larger).
    bool store(const QString& path, qint64 mtime, Size size, const QImage& image) const;
    // Remembers that this version of the file could not be thumbnailed.
    bool storeFailure(const QString& path, qint64 mtime) const;

private:
    bool write(const QString& target, QImage image, const QString& uri, qint64 mtime) const;

    QString m_root;
};

}  // namespace fennic
