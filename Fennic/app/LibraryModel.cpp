#include "LibraryModel.h"

#include "AppSettings.h"
#include "BackgroundTasks.h"
#include "library/CaptureDate.h"
#include "library/CaptureDateFile.h"
#include "library/Library.h"
#include "library/LibraryCache.h"
#include "library/Scanner.h"
#include "model/SupportFiles.h"

#include <QDir>
#include <algorithm>
#include <utility>

namespace fennic {
namespace {

QString cleanFolder(const QString& folder)
{
    QString path = QDir::cleanPath(folder);
    while (path.size() > 1 && path.endsWith(u'/')) path.chop(1);
    return path;
}

}  // namespace

LibraryModel::LibraryModel(AppEnvironment environment, AppSettings& settings, BackgroundTasks& tasks, QObject* parent)
    : QObject(parent), m_env(std::move(environment)), m_settings(settings), m_tasks(tasks)
{
    connect(&m_settings, &AppSettings::pinnedFoldersChanged, this, &LibraryModel::pinnedFoldersChanged);
    connect(&m_settings, &AppSettings::extraRootsChanged, this, &LibraryModel::extraRootsChanged);
}

QStringList LibraryModel::roots() const
{
    QStringList r = Library::defaultRoots();
    r.append(m_settings.extraRoots());
    return r;
}

const QStringList& LibraryModel::pinnedFolders() const { return m_settings.pinnedFolders(); }
const QStringList& LibraryModel::extraRoots() const { return m_settings.extraRoots(); }

void LibraryModel::trackDepartures(std::function<DepartureCheck()> tracker) { m_trackers.append(std::move(tracker)); }

std::shared_ptr<const SearchIndex> LibraryModel::sharedSearchIndex()
{
    if (!m_searchIndex || !m_searchIndex->isFor(m_items)) m_searchIndex = std::make_shared<const SearchIndex>(m_items);
    return m_searchIndex;
}

// --- launch

void LibraryModel::finishLaunching()
{
    if (m_env.isDemo()) {
        // The demonstration is shown at once, and leaves the user's first run for later.
        scan();
        return;
    }
    if (!m_settings.welcomeDone() && m_items.isEmpty()) {
        m_showWelcome = true;
        Q_EMIT showWelcomeChanged();
        return;
    }
    m_settings.setWelcomeDone(true);
    scan();
}

void LibraryModel::finishWelcome()
{
    m_settings.setWelcomeDone(true);
    if (m_showWelcome) {
        m_showWelcome = false;
        Q_EMIT showWelcomeChanged();
    }
    scan();
}

void LibraryModel::applicationBecameActive()
{
    if (m_lastScan && (m_env.now() - *m_lastScan) > m_env.rescanAfterSeconds) scan();
}

// --- scanning

void LibraryModel::setScanning(bool value)
{
    if (m_isScanning == value) return;
    m_isScanning = value;
    Q_EMIT isScanningChanged();
}

void LibraryModel::scan()
{
    if (m_isScanning) return;
    if (m_env.isDemo()) {
        // The demonstration's files with their demonstration dates, which a scan can't read.
        const int generation = ++m_scanGeneration;
        Q_EMIT scanStarted(generation);
        setItems(m_env.demoItems());
        m_lastScan = m_env.now();
        Q_EMIT lastScanChanged();
        Q_EMIT scanFinished(generation);
        Q_EMIT scanCompleted();
        return;
    }
    setScanning(true);
    m_scannedCount = 0;
    Q_EMIT scannedCountChanged();

    const int generation = ++m_scanGeneration;
    m_scanJournal = {};
    // Listeners stop what the scan's result would make stale (image indexing) before the
    // trackers below take their snapshots.
    Q_EMIT scanStarted(generation);
    Scanner scanner(roots(), Library::appFolders(), kMaxItems);
    const auto stopping = m_tasks.stopping();
    const QList<FileItem> previous = m_items;
    QList<DepartureCheck> checks;
    for (const auto& tracker : std::as_const(m_trackers)) checks.append(tracker());
    m_tasks.run(
        [this, scanner, generation, stopping, previous, checks]() mutable {
            auto progress = [this](int count) {
                QMetaObject::invokeMethod(
                    this,
                    [this, count] {
                        if (!m_isScanning) return;
                        m_scannedCount = count;
                        Q_EMIT scannedCountChanged();
                    },
                    Qt::QueuedConnection);
            };
            // Pictures unchanged since the last scan keep the camera dates read then.
            scanner.setKnownDates(std::make_shared<const CaptureDate::Memory>(CaptureDate::remember(previous)));
            QList<FileItem> result = scanner.scan(progress, stopping.get());
            if (stopping->load()) return;
            if (m_env.scanListed) m_env.scanListed();

            // Camera models are read in the background by image indexing; the scanner does not
            // know them, so they would be lost at every scan.
            QHash<QString, QString> cameras;
            for (const FileItem& old : previous)
                if (old.camera) cameras.insert(old.path, *old.camera);
            if (!cameras.isEmpty())
                for (FileItem& item : result)
                    if (auto it = cameras.constFind(item.path); it != cameras.constEnd()) item.camera = *it;

            // Tracked paths that left the library, found here so that the GUI thread only
            // forgets them.
            QSet<QString> present;
            present.reserve(result.size());
            for (const FileItem& item : std::as_const(result)) present.insert(item.path);
            QStringList gone;
            for (const DepartureCheck& check : std::as_const(checks)) gone.append(check(present));
            checks = {};  // they share maps with the GUI thread: let go before handing back
            present = {};
            Derived derived = derive(result);
            QMetaObject::invokeMethod(
                this,
                [this, generation, result = std::move(result), derived = std::move(derived),
                 gone = std::move(gone)]() mutable {
                    applyScan(generation, std::move(result), std::move(derived), std::move(gone));
                },
                Qt::QueuedConnection);
        },
        /*priority=*/2);
}

void LibraryModel::ScanJournal::apply(QList<FileItem>& items) const
{
    QSet<QString> present;
    present.reserve(items.size());
    items.removeIf([this](const FileItem& item) { return removed.contains(item.path); });
    for (FileItem& item : items) {
        present.insert(item.path);
        if (auto it = cameras.constFind(item.path); it != cameras.constEnd()) item.camera = *it;
    }
    for (const FileItem& item : added)
        if (!present.contains(item.path)) items.append(item);
}

void LibraryModel::applyScan(int generation, QList<FileItem> result, Derived derived, QStringList gone)
{
    if (generation != m_scanGeneration || m_tasks.stopping()->load()) return;
    if (!m_scanJournal.isEmpty()) {
        // The list changed while the scan ran: the result takes those changes on the pool, and
        // comes back here, where anything changed meanwhile is taken the same way.
        m_tasks.run(
            [this, generation, result, gone, journal = std::exchange(m_scanJournal, {})]() mutable {
                journal.apply(result);
                for (const FileItem& item : std::as_const(journal.added)) gone.removeAll(item.path);
                Derived rederived = derive(result);
                QMetaObject::invokeMethod(
                    this,
                    [this, generation, result = std::move(result), rederived = std::move(rederived),
                     gone = std::move(gone)]() mutable {
                        applyScan(generation, std::move(result), std::move(rederived), std::move(gone));
                    },
                    Qt::QueuedConnection);
            },
            2);
        return;
    }

    setItems(std::move(result), std::move(derived));
    if (!gone.isEmpty()) Q_EMIT filesLeft(QSet<QString>(gone.begin(), gone.end()));
    setScanning(false);
    m_lastScan = m_env.now();
    Q_EMIT lastScanChanged();
    saveCache();
    Q_EMIT scanFinished(generation);

    if (m_rescanQueued) {
        // The rules and image indexing wait for the scan that follows.
        m_rescanQueued = false;
        scan();
        return;
    }
    Q_EMIT scanCompleted();
}

void LibraryModel::refreshDownloads()
{
    if (m_isScanning || m_env.isDemo()) return;
    const QString downloads = Library::downloads();
    Scanner scanner({downloads}, {}, kMaxItems);
    const int generation = m_scanGeneration;
    const QList<FileItem> previous = m_items;
    m_tasks.run(
        [this, scanner, downloads, generation, previous]() mutable {
            scanner.setKnownDates(std::make_shared<const CaptureDate::Memory>(CaptureDate::remember(previous)));
            QList<FileItem> fresh = scanner.scan();
            QMetaObject::invokeMethod(
                this,
                [this, downloads, generation, fresh = std::move(fresh)] {
                    // A full scan that started meanwhile brings its own, newer copy.
                    if (m_isScanning || generation != m_scanGeneration) return;
                    const QString prefix = downloads + u'/';
                    QList<FileItem> merged;
                    merged.reserve(m_items.size() + fresh.size());
                    bool inserted = false;
                    for (const FileItem& item : std::as_const(m_items)) {
                        if (!item.path.startsWith(prefix)) {
                            merged.append(item);
                        } else if (!inserted) {
                            merged.append(fresh);
                            inserted = true;
                        }
                    }
                    if (!inserted) merged.append(fresh);
                    setItems(std::move(merged));
                },
                Qt::QueuedConnection);
        },
        2);
}

// --- derived values

void LibraryModel::setItems(QList<FileItem> items, std::optional<Derived> derived)
{
    if (m_items.isDetached())
        m_tasks.dispose(std::exchange(m_items, std::move(items)));
    else
        m_items = std::move(items);
    ++m_itemsGeneration;
    Q_EMIT itemsChanged();
    if (derived)
        applyDerived(std::move(*derived));
    else
        refreshDerived();
}

LibraryModel::Derived LibraryModel::derive(const QList<FileItem>& items) const
{
    const Date now = m_env.now();
    Derived d;
    d.stats = LibraryStats(items);
    d.lately = Lately::groups(items, now, m_env.calendar(), Lately::kDefaultDays);
    d.suggestions = CleanupKinds::suggestions(items, now, Library::downloads());
    d.reclaimable = CleanupKinds::reclaimable(d.suggestions);
    // Folded names and paths are prepared once per list, not per keystroke.
    d.searchIndex = std::make_shared<const SearchIndex>(items);
    return d;
}

void LibraryModel::applyDerived(Derived derived)
{
    std::swap(m_stats, derived.stats);
    std::swap(m_lately, derived.lately);
    std::swap(m_suggestions, derived.suggestions);
    m_reclaimable = derived.reclaimable;
    std::swap(m_searchIndex, derived.searchIndex);
    m_tasks.dispose(std::move(derived));  // now the old values
    Q_EMIT statsChanged();
    Q_EMIT latelyChanged();
    Q_EMIT suggestionsChanged();
    Q_EMIT derivedChanged();
}

void LibraryModel::refreshDerived()
{
    const QList<FileItem> snapshot = m_items;
    const int generation = m_itemsGeneration;
    m_tasks.run(
        [this, snapshot, generation] {
            Derived derived = derive(snapshot);
            QMetaObject::invokeMethod(
                this,
                [this, generation, derived = std::move(derived)]() mutable {
                    if (generation == m_itemsGeneration) applyDerived(std::move(derived));
                },
                Qt::QueuedConnection);
        },
        1);
}

// --- the user's changes

void LibraryModel::removeItems(const QSet<QString>& paths)
{
    if (paths.isEmpty()) return;
    if (m_isScanning) {
        m_scanJournal.removed.unite(paths);
        m_scanJournal.added.removeIf([&paths](const FileItem& item) { return paths.contains(item.path); });
    }
    QList<FileItem> kept;
    kept.reserve(m_items.size());
    for (const FileItem& item : std::as_const(m_items))
        if (!paths.contains(item.path)) kept.append(item);
    setItems(std::move(kept));
    Q_EMIT itemsRemoved(paths);
}

void LibraryModel::addItems(const QList<FileItem>& added)
{
    if (added.isEmpty()) return;
    QSet<QString> present;
    present.reserve(m_items.size());
    for (const FileItem& i : std::as_const(m_items)) present.insert(i.path);
    QList<FileItem> items = m_items;
    for (const FileItem& i : added) {
        if (!present.contains(i.path)) items.append(i);
        if (m_isScanning) {
            m_scanJournal.removed.remove(i.path);
            m_scanJournal.added.append(i);
        }
    }
    setItems(std::move(items));
}

void LibraryModel::replaceItems(QList<FileItem> items) { setItems(std::move(items)); }

void LibraryModel::addCameraModels(const QHash<QString, QString>& cameras)
{
    if (m_isScanning) m_scanJournal.cameras.insert(cameras);  // the scan's result takes them too
    // Merged into a copy of the list on the pool; should the list change meanwhile, the merge
    // is done again on the newer one, since these photos will not be read again.
    m_tasks.run(
        [this, items = m_items, generation = m_itemsGeneration, cameras]() mutable {
            for (FileItem& item : items)
                if (auto it = cameras.constFind(item.path); it != cameras.constEnd()) item.camera = *it;
            QMetaObject::invokeMethod(
                this,
                [this, items = std::move(items), generation, cameras]() mutable {
                    if (generation == m_itemsGeneration)
                        setItems(std::move(items));
                    else
                        addCameraModels(cameras);
                },
                Qt::QueuedConnection);
        },
        1);
}

// --- cache

void LibraryModel::loadCache()
{
    if (auto cached = LibraryCache::load(SupportFiles::current().libraryCache())) {
        if (const auto dates = CaptureDateFile::load(CaptureDateFile::defaultPath()))
            CaptureDate::recall(*cached, *dates);
        Derived derived = derive(*cached);
        setItems(std::move(*cached), std::move(derived));
    }
}

void LibraryModel::saveCache()
{
    if (m_env.isDemo()) return;
    const QList<FileItem> snapshot = m_items;
    const auto& writes = m_tasks.writes(BackgroundTasks::File::cache);
    const auto ticket = writes->ticket();
    m_tasks.run(
        [this, snapshot, writes, ticket] {
            bool ok = true;
            // The path is found here: finding it makes sure the folder exists, which is disk work.
            writes->run(ticket, [&] {
                ok = LibraryCache::save(SupportFiles::current().libraryCache(), snapshot);
                // The cache's keys are fixed: the camera dates go beside it. Losing them costs
                // only a reread at the next scan, so their failure is not the cache's.
                CaptureDateFile::save(CaptureDateFile::defaultPath(), CaptureDate::remember(snapshot));
            });
            QMetaObject::invokeMethod(
                this, [this, ok] { Q_EMIT cacheSaved(ok); }, Qt::QueuedConnection);
        },
        -1);
}

// --- folders

void LibraryModel::rescanAfterFolderChange()
{
    // While the welcome screen is up the folders are still being chosen: the first scan
    // comes when it is finished, over the folders chosen by then.
    if (m_showWelcome) return;
    if (m_isScanning)
        m_rescanQueued = true;
    else
        scan();
}

void LibraryModel::addFolder(const QString& folder)
{
    const QString real = cleanFolder(Library::realPath(folder));
    QStringList roots = m_settings.extraRoots();
    for (const QString& existing : std::as_const(roots))
        if (cleanFolder(Library::realPath(existing)) == real) return;
    roots.append(real);
    m_settings.setExtraRoots(roots);
    rescanAfterFolderChange();
}

void LibraryModel::removeFolder(const QString& folder)
{
    // Given as stored, or as the user sees it (a trailing slash, a link to it).
    const QString real = cleanFolder(Library::realPath(folder));
    QStringList roots = m_settings.extraRoots();
    const auto it = std::find_if(roots.begin(), roots.end(), [&](const QString& root) {
        return root == folder || cleanFolder(Library::realPath(root)) == real;
    });
    if (it == roots.end()) return;
    const QString path = *it;
    roots.erase(it);
    Q_EMIT folderRemoved(path);
    m_settings.setExtraRoots(roots);
    rescanAfterFolderChange();
}

void LibraryModel::pin(const QString& folder)
{
    QStringList pinned = m_settings.pinnedFolders();
    if (!pinned.removeOne(folder)) pinned.append(folder);
    m_settings.setPinnedFolders(pinned);
}

}  // namespace fennic
