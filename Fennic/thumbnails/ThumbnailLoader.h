#pragma once

#include "ThumbnailCache.h"

#include <QCache>
#include <QHash>
#include <QImage>
#include <QList>
#include <QObject>
#include <QSet>
#include <QThreadPool>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>

namespace fennic {

// Thumbnails for the views, without ever making them wait: `thumbnail` answers at once from
// memory, or queues the file and answers none; the picture arrives later through `ready`. The
// queue serves the files the view says are visible first, newest request first, and forgets
// requests for files that scrolled away. Made thumbnails go to the desktop's shared cache,
// and files that can't be thumbnailed are remembered there, so neither is tried twice.
//
// Memory is bounded: the in-memory cache holds at most `memoryBytes` of decoded pictures.
//
// Threads: use from the GUI thread; the work runs on two low-priority threads of its own.
class ThumbnailLoader : public QObject {
    Q_OBJECT

public:
    struct Request {
        QString path;
        QString ext;       // lower case, no dot
        qint64 mtime = 0;  // seconds since the epoch, as the cache keys it
    };

    explicit ThumbnailLoader(ThumbnailCache cache = ThumbnailCache(),
                             ThumbnailCache::Size size = ThumbnailCache::Size::large, qint64 memoryBytes = 256ll << 20,
                             QObject* parent = nullptr);
    ~ThumbnailLoader() override;

    // The thumbnail when it is in memory; otherwise none, and the file is queued (once).
    std::optional<QImage> thumbnail(const Request& request);
    // The files now on screen: they are served first, and queued files not among them are
    // dropped from the queue (asked again when they come back).
    void setVisible(const QSet<QString>& paths);
    // Forgets what is in memory and queued (after the library changed a lot).
    void clear();
    int queued() const;

Q_SIGNALS:
    // A thumbnail was made or read from the disk cache.
    void ready(const QString& path, const QImage& image);
    // The file has no thumbnail; the view keeps its type's icon.
    void failed(const QString& path);

private:
    void startWorkers();
    void work();
    std::optional<Request> next();
    void deliver(const Request& request, const QImage& image);

    const ThumbnailCache m_cache;
    const ThumbnailCache::Size m_size;
    QCache<QString, QImage> m_memory;  // GUI thread only
    QSet<QString> m_failed;            // GUI thread only

    // Shared with the workers.
    mutable std::mutex m_mutex;
    std::deque<Request> m_queue;
    QSet<QString> m_queuedPaths;
    QSet<QString> m_visible;
    bool m_stopping = false;
    int m_running = 0;

    QThreadPool m_pool;
};

}  // namespace fennic
