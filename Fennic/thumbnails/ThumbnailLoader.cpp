#include "ThumbnailLoader.h"

#include "ThumbnailMaker.h"
#include "system/ThreadPriority.h"

#include <QMetaObject>
#include <algorithm>

namespace fennic {
namespace {

constexpr int kWorkers = 2;
constexpr int kInFlight = 2 * kWorkers;
// Thumbnailing defers to the GUI thread and to the library's own background work.
constexpr int kNice = 10;
constexpr qsizetype kFailedKept = 4096;

int costOf(const QImage& image) { return int(std::min<qint64>(image.sizeInBytes() / 1024 + 1, INT32_MAX)); }

}  // namespace

ThumbnailLoader::ThumbnailLoader(ThumbnailCache cache, ThumbnailCache::Size size, qint64 memoryBytes, QObject* parent)
    : QObject(parent), m_cache(std::move(cache)), m_size(size)
{
    // QCache counts cost in kilobytes here, so that large budgets fit its int.
    m_memory.setMaxCost(int(std::max<qint64>(1, memoryBytes / 1024)));
    m_pool.setObjectName(QStringLiteral("fennic-thumbs"));
    m_pool.setMaxThreadCount(kWorkers);
    m_pool.setExpiryTimeout(-1);  // scrolling after a pause doesn't wait for threads to be made
}

ThumbnailLoader::~ThumbnailLoader()
{
    m_stopping = true;
    m_pool.clear();
    m_pool.waitForDone();
}

std::optional<QImage> ThumbnailLoader::thumbnail(const Request& request)
{
    if (const QImage* image = m_memory.object(request.path)) return *image;
    if (m_failed.contains(request.path)) return std::nullopt;
    if (!m_askedPaths.contains(request.path)) {
        m_askedPaths.insert(request.path);
        m_queue.push_back(request);
        dispatch();
    }
    return std::nullopt;
}

void ThumbnailLoader::setVisible(const QSet<QString>& paths)
{
    m_visible = paths;
    // What scrolled away is not made now; the view asks again if it comes back.
    std::erase_if(m_queue, [&](const Request& r) {
        if (paths.contains(r.path)) return false;
        m_askedPaths.remove(r.path);
        return true;
    });
}

void ThumbnailLoader::clear()
{
    m_memory.clear();
    m_failed.clear();
    for (const Request& r : m_queue) m_askedPaths.remove(r.path);
    m_queue.clear();
}

int ThumbnailLoader::queued() const { return int(m_queue.size()) + m_inFlight; }

void ThumbnailLoader::dispatch()
{
    // A file more than there are workers waits in the pool, so a worker that finishes starts on
    // the next at once instead of waiting for the GUI thread to hand it one.
    while (m_inFlight < kInFlight) {
        auto request = next();
        if (!request) return;
        ++m_inFlight;
        m_pool.start([this, request = std::move(*request)] { make(request); });
    }
}

std::optional<ThumbnailLoader::Request> ThumbnailLoader::next()
{
    if (m_queue.empty()) return std::nullopt;
    // The newest visible request first (the view asks for what it shows last); else the newest.
    auto it = std::find_if(m_queue.rbegin(), m_queue.rend(),
                           [this](const Request& r) { return m_visible.isEmpty() || m_visible.contains(r.path); });
    if (it == m_queue.rend()) it = m_queue.rbegin();
    Request request = *it;
    m_queue.erase(std::next(it).base());
    return request;
}

void ThumbnailLoader::make(const Request& request)
{
    static thread_local const bool niced = ThreadPriority::belowWindow(kNice);
    Q_UNUSED(niced);
    if (m_stopping) return;
    QImage image;
    if (auto stored = m_cache.lookup(request.path, request.mtime, m_size)) {
        image = std::move(*stored);
    } else if (!m_cache.hasFailed(request.path, request.mtime) && ThumbnailMaker::canMake(request.ext)) {
        image = ThumbnailMaker::make(request.path, request.ext, int(m_size));
        if (image.isNull())
            m_cache.storeFailure(request.path, request.mtime);
        else
            m_cache.store(request.path, request.mtime, m_size, image);
    }
    QMetaObject::invokeMethod(
        this, [this, request, image = std::move(image)] { deliver(request, image); }, Qt::QueuedConnection);
}

void ThumbnailLoader::deliver(const Request& request, const QImage& image)
{
    --m_inFlight;
    m_askedPaths.remove(request.path);
    dispatch();
    if (image.isNull()) {
        // Kept small: growing a set of tens of thousands of paths copies all of them on the GUI
        // thread. A path forgotten here is asked for once more, and the worker finds its
        // failure in the thumbnail cache's fail folder.
        if (m_failed.size() >= kFailedKept) m_failed.clear();
        m_failed.insert(request.path);
        Q_EMIT failed(request.path);
        return;
    }
    m_memory.insert(request.path, new QImage(image), costOf(image));
    Q_EMIT ready(request.path, image);
}

}  // namespace fennic
