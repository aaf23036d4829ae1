#pragma once

#include "ThumbnailCache.h"

#include <QCache>
#include <QHash>
#include <QImage>
#include <QList>
#include <QObject>
#include <QSet>
#include <QThreadPool>
#include <atomic>
#include <deque>
#include <memory>
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
// Threads: use from the GUI thread; the work runs on two low-priority threads of its own. The
// queue belongs to the GUI thread alone and the workers are handed one file at a time, so the
// GUI thread never waits for a lock that a low-priority worker, preempted, may be holding.
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
    // Files asked for and not yet answered: queued, or being made.
    int queued() const;

Q_SIGNALS:
    // A thumbnail was made or read from the disk cache.
    void ready(const QString& path, const QImage& image);
    // The file has no thumbnail; the view keeps its type's icon.
    void failed(const QString& path);

private:
    void dispatch();
    std::optional<Request> next();
    void make(const Request& request);
    void deliver(const Request& request, const QImage& image);

    const ThumbnailCache m_cache;
    const ThumbnailCache::Size m_size;
    QCache<QString, QImage> m_memory;
    QSet<QString> m_failed;
    std::deque<Request> m_queue;
    QSet<QString> m_askedPaths;  // queued or being made
    QSet<QString> m_visible;
    int m_inFlight = 0;
    std::atomic<bool> m_stopping = false;  // read by the workers

    QThreadPool m_pool;
};

}  // namespace fennic
