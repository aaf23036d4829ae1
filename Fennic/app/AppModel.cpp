#include "AppModel.h"

#include "library/Library.h"
#include "library/LibraryCache.h"
#include "library/Prefs.h"
#include "library/Scanner.h"
#include "model/SupportFiles.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QThread>
#include <algorithm>
#include <sys/resource.h>
#include <utility>

namespace fennic {
namespace {

// How much background threads defer to the GUI thread.
constexpr int kBackgroundNice = 5;

std::unique_ptr<QSettings> openSettings(const QString& file)
{
    if (!file.isEmpty()) return std::make_unique<QSettings>(file, QSettings::IniFormat);
    if (Prefs::fixtureRoot())
        return std::make_unique<QSettings>(SupportFiles::current().file(QStringLiteral("settings.ini")),
                                                                        QSettings::IniFormat);
    return std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope,
                                       QStringLiteral("Fennic"), QStringLiteral("Fennic"));
}

QString cleanFolder(const QString& folder)
{
    QString path = QDir::cleanPath(folder);
    while (path.size() > 1 && path.endsWith(u'/')) path.chop(1);
    return path;
}

// Background work yields to the GUI thread: on Linux a thread's nice value is its own, and
// threads it starts (the scanner's helper) inherit it.
void lowerThreadPriority()
{
    static thread_local const bool niced = ::setpriority(PRIO_PROCESS, 0, kBackgroundNice) == 0;
    Q_UNUSED(niced);
}

}  // namespace

AppModel::AppModel(AppEnvironment environment, QObject* parent)
    : QObject(parent),
      m_env(std::move(environment)),
      m_toast(m_env.toastShortMs, m_env.toastLongMs, [this] { Q_EMIT toastChanged(); })
{
    m_settleTimer = new QTimer(this);
    m_settleTimer->setSingleShot(true);
    m_settleTimer->setTimerType(Qt::PreciseTimer);
    connect(m_settleTimer, &QTimer::timeout, this, [this] {
        m_searchSettled = true;
        Q_EMIT searchSettledChanged();
        Q_EMIT shownItemsChanged();
    });
    // Scans, writes and analysis each get a thread; the machine may have only two cores.
    m_pool.setMaxThreadCount(std::max(3, QThread::idealThreadCount()));
    Prefs::configure();
    m_settings = openSettings(m_env.settingsFile);
    readSettings();
    if (m_env.loadCacheOnStart) loadCache();
}

AppModel::~AppModel()
{
    m_stopping->store(true);
    cancelImageIndexing();
    m_pool.waitForDone();
}

AppModel& AppModel::shared()
{
    static AppModel* instance = new AppModel();
    return *instance;
}

void AppModel::readSettings()
{
    QSettings& s = *m_settings;
    m_viewModeRaw = s.value(QStringLiteral("viewMode"), QStringLiteral("grid")).toString();
    m_sortKeyRaw = s.value(QStringLiteral("sortKey"), QStringLiteral("dateAdded")).toString();
    m_sortAscending = s.value(QStringLiteral("sortAscending"), false).toBool();
    m_cardSize = s.value(QStringLiteral("cardSize"), 150.0).toDouble();
    m_theme = s.value(QStringLiteral("theme"), QStringLiteral("playful")).toString();
    m_autoCleanInstallers = s.value(QStringLiteral("autoCleanInstallers"), false).toBool();
    m_autoFileScreenshots = s.value(QStringLiteral("autoFileScreenshots"), false).toBool();
    m_indexTextInImages = s.value(QStringLiteral("indexTextInImages"), true).toBool();
    m_pinnedFolders = s.value(QStringLiteral("pinnedFolders")).toStringList();
    m_extraRoots = s.value(QStringLiteral("extraRoots")).toStringList();
    m_imageFolderMode = s.value(QStringLiteral("imageFolderMode"), QStringLiteral("all")).toString();
    m_imageFolders = s.value(QStringLiteral("imageFolders")).toStringList();
    if (s.contains(QStringLiteral("ocrLanguages")))
        m_ocrLanguageChoice = s.value(QStringLiteral("ocrLanguages")).toStringList();
    m_savedSearches = SavedSearch::decodeList(s.value(QStringLiteral("savedSearches")).toString().toUtf8());
    m_quickShortcut =
        Shortcut::fromJson(s.value(QStringLiteral("quickShortcut")).toString().toUtf8()).value_or(Shortcut::standard());
}

bool AppModel::setQuickShortcut(const Shortcut& shortcut)
{
    if (shortcut.problem()) return false;
    m_quickShortcut = shortcut;
    m_settings->setValue(QStringLiteral("quickShortcut"), QString::fromUtf8(shortcut.toJson()));
    Q_EMIT quickShortcutChanged();
    return true;
}

bool AppModel::quickSearchEnabled() const
{
    return m_settings->value(QStringLiteral("quickSearchEnabled"), true).toBool();
}

template <typename T, typename Signal>
void AppModel::setAndStore(T& field, const T& value, const char* key, Signal signal)
{
    if (field == value) return;
    field = value;
    m_settings->setValue(QLatin1String(key), value);
    Q_EMIT(this->*signal)();
}

void AppModel::setViewModeRaw(const QString& v)
{
    setAndStore(m_viewModeRaw, v, "viewMode", &AppModel::viewModeRawChanged);
}
void AppModel::setSortKeyRaw(const QString& v)
{
    setAndStore(m_sortKeyRaw, v, "sortKey", &AppModel::sortKeyRawChanged);
    markSearchDirty();
}
void AppModel::setSortAscending(bool v)
{
    setAndStore(m_sortAscending, v, "sortAscending", &AppModel::sortAscendingChanged);
    markSearchDirty();
}
void AppModel::setCardSize(double v)
{
    setAndStore(m_cardSize, std::clamp(v, kMinCardSize, kMaxCardSize), "cardSize", &AppModel::cardSizeChanged);
}
void AppModel::zoom(double step) { setCardSize(m_cardSize + step); }
void AppModel::setTheme(const QString& v) { setAndStore(m_theme, v, "theme", &AppModel::themeChanged); }
void AppModel::toggleTheme()
{
    setTheme(m_theme == u"playful" ? QStringLiteral("minimal") : QStringLiteral("playful"));
}
void AppModel::setAutoCleanInstallers(bool v)
{
    setAndStore(m_autoCleanInstallers, v, "autoCleanInstallers", &AppModel::autoCleanInstallersChanged);
}
void AppModel::setAutoFileScreenshots(bool v)
{
    setAndStore(m_autoFileScreenshots, v, "autoFileScreenshots", &AppModel::autoFileScreenshotsChanged);
}
void AppModel::setIndexTextInImages(bool v)
{
    if (v == m_indexTextInImages) return;
    setAndStore(m_indexTextInImages, v, "indexTextInImages", &AppModel::indexTextInImagesChanged);
    // Turned on, the pictures read without text become pending; turned off, reading stops.
    startImageIndexing();
}

QStringList AppModel::roots() const
{
    QStringList r = Library::defaultRoots();
    r.append(m_extraRoots);
    return r;
}

void AppModel::runInBackground(std::function<void()> work, int priority)
{
    ++m_tasksInFlight;
    m_pool.start(
        [this, work = std::move(work)]() mutable {
            lowerThreadPriority();
            work();
            // What the task captured is freed here: the pool deletes a finished task while
            // holding the lock that the GUI thread needs to start the next one, and freeing a
            // whole library's items takes tens of milliseconds.
            work = nullptr;
            // Counted down on the GUI thread, after every result the task posted there.
            QMetaObject::invokeMethod(
                this, [this] { --m_tasksInFlight; }, Qt::QueuedConnection);
        },
        priority);
}

bool AppModel::waitForIdle(int timeoutMs)
{
    QDeadlineTimer deadline(timeoutMs);
    while (m_tasksInFlight.load() > 0 || m_isScanning) {
        if (deadline.hasExpired()) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(1);
    }
    QCoreApplication::processEvents();
    return true;
}

// --- launch

void AppModel::finishLaunching()
{
    const bool welcomeDone = m_settings->value(QStringLiteral("welcomeDone"), false).toBool();
    if (!welcomeDone && m_items.isEmpty()) {
        m_showWelcome = true;
        Q_EMIT showWelcomeChanged();
    } else {
        m_settings->setValue(QStringLiteral("welcomeDone"), true);
        scan();
    }
    startImageIndexing();
}

void AppModel::finishWelcome()
{
    m_settings->setValue(QStringLiteral("welcomeDone"), true);
    if (m_showWelcome) {
        m_showWelcome = false;
        Q_EMIT showWelcomeChanged();
    }
    scan();
}

void AppModel::applicationBecameActive()
{
    if (m_lastScan && (m_env.now() - *m_lastScan) > m_env.rescanAfterSeconds) scan();
}

// --- scanning

void AppModel::setScanning(bool value)
{
    if (m_isScanning == value) return;
    m_isScanning = value;
    Q_EMIT isScanningChanged();
}

void AppModel::scan()
{
    if (m_isScanning) return;
    setScanning(true);
    m_scannedCount = 0;
    Q_EMIT scannedCountChanged();
    cancelImageIndexing();

    const int generation = ++m_scanGeneration;
    m_scanJournal = {};
    const Scanner scanner(roots(), Library::appFolders(), kMaxItems);
    const auto stopping = m_stopping;
    Q_EMIT scanStarted(generation);
    const QList<FileItem> previous = m_items;
    QHash<QString, ImageRecord> records = m_imageIndex.records;
    QStringList grouped;
    for (const QList<DuplicateGroup>* groups : {&m_duplicateGroups, &m_lookalikeGroups})
        for (const DuplicateGroup& group : *groups)
            for (const FileItem& file : group.files) grouped.append(file.path);
    runInBackground(
        [this, scanner, generation, stopping, previous, records, grouped]() mutable {
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
            QList<FileItem> result = scanner.scan(progress, stopping.get());
            if (stopping->load()) return;

            // Camera models are read in the background by image indexing; the scanner does not
            // know them, so they would be lost at every scan.
            QHash<QString, QString> cameras;
            for (const FileItem& old : previous)
                if (old.camera) cameras.insert(old.path, *old.camera);
            if (!cameras.isEmpty())
                for (FileItem& item : result)
                    if (auto it = cameras.constFind(item.path); it != cameras.constEnd()) item.camera = *it;

            // Files that left the library and still have an image record or a place in a
            // duplicate group, found here so that the GUI thread only removes them.
            QSet<QString> present;
            present.reserve(result.size());
            for (const FileItem& item : std::as_const(result)) present.insert(item.path);
            QStringList gone;
            for (auto it = records.constBegin(); it != records.constEnd(); ++it)
                if (!present.contains(it.key())) gone.append(it.key());
            for (const QString& path : std::as_const(grouped))
                if (!present.contains(path)) gone.append(path);
            records = {};  // shared with the GUI thread's index: let go before handing back
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

void AppModel::ScanJournal::apply(QList<FileItem>& items) const
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

void AppModel::applyScan(int generation, QList<FileItem> result, Derived derived, QStringList gone)
{
    if (generation != m_scanGeneration || m_stopping->load()) return;
    if (!m_scanJournal.isEmpty()) {
        // The list changed while the scan ran: the result takes those changes on the pool, and
        // comes back here, where anything changed meanwhile is taken the same way.
        runInBackground(
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
    // Records and recognised text of files that left the library go with them.
    bool dropped = false;
    for (const QString& path : std::as_const(gone)) {
        dropped |= m_imageIndex.records.remove(path);
        m_ocrText.remove(path);
    }
    if (dropped) Q_EMIT imageRecordsChanged();
    if (!gone.isEmpty()) pruneGroups(QSet<QString>(gone.begin(), gone.end()));
    setScanning(false);
    m_lastScan = m_env.now();
    Q_EMIT lastScanChanged();
    saveCache();
    Q_EMIT scanFinished(generation);

    if (m_rescanQueued) {
        m_rescanQueued = false;
        scan();
        return;
    }
    runAutomaticCleanup();
    startImageIndexing();
}

void AppModel::refreshDownloads()
{
    if (m_isScanning) return;
    const QString downloads = Library::downloads();
    const Scanner scanner({downloads}, {}, kMaxItems);
    const int generation = m_scanGeneration;
    runInBackground(
        [this, scanner, downloads, generation] {
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

void AppModel::setItems(QList<FileItem> items, std::optional<Derived> derived)
{
    if (m_items.isDetached())
        disposeInBackground(std::exchange(m_items, std::move(items)));
    else
        m_items = std::move(items);
    ++m_itemsGeneration;
    Q_EMIT itemsChanged();
    if (derived)
        applyDerived(std::move(*derived));
    else
        refreshDerived();
}

AppModel::Derived AppModel::derive(const QList<FileItem>& items) const
{
    const Date now = m_env.now();
    Derived d;
    d.stats = LibraryStats(items);
    d.lately = Lately::groups(items, now, m_env.calendar(), Lately::kDefaultDays);
    d.suggestions = CleanupKinds::suggestions(items, now, Library::downloads());
    // Folded names and paths are prepared once per list, not per keystroke.
    d.searchIndex = SearchIndex(items);
    return d;
}

void AppModel::applyDerived(Derived derived)
{
    std::swap(m_stats, derived.stats);
    std::swap(m_lately, derived.lately);
    std::swap(m_suggestions, derived.suggestions);
    std::swap(m_searchIndex, derived.searchIndex);
    disposeInBackground(std::move(derived));  // now the old values
    Q_EMIT statsChanged();
    Q_EMIT latelyChanged();
    Q_EMIT suggestionsChanged();
    markSearchDirty();
}

void AppModel::refreshDerived()
{
    const QList<FileItem> snapshot = m_items;
    const int generation = m_itemsGeneration;
    runInBackground(
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

// --- cache

void AppModel::loadCache()
{
    const SupportFiles support = SupportFiles::current();
    // At start-up the window should open on a complete library, so this derives at once.
    if (auto cached = LibraryCache::load(LibraryCache::defaultPath())) {
        Derived derived = derive(*cached);
        setItems(std::move(*cached), std::move(derived));
    }
    QFile::remove(support.file(QStringLiteral("text.json")));
    if (auto index = ImageIndex::load(support.imageIndex())) {
        m_imageIndex = std::move(*index);
        m_ocrText.clear();
        for (auto it = m_imageIndex.records.constBegin(); it != m_imageIndex.records.constEnd(); ++it)
            if (!it->folded.isEmpty()) m_ocrText.insert(it.key(), it->folded);
        Q_EMIT imageRecordsChanged();
    }
    m_shelf = Shelf::load(support.shelf());
    Q_EMIT shelfChanged();
    markSearchDirty();
}

void AppModel::saveCache()
{
    const QList<FileItem> snapshot = m_items;
    const auto writes = m_cacheWrites;
    const auto ticket = writes->ticket();
    runInBackground(
        [this, snapshot, writes, ticket] {
            bool ok = true;
            // The path is found here: finding it makes sure the folder exists, which is disk work.
            writes->run(ticket, [&] { ok = LibraryCache::save(LibraryCache::defaultPath(), snapshot); });
            QMetaObject::invokeMethod(
                this, [this, ok] { Q_EMIT cacheSaved(ok); }, Qt::QueuedConnection);
        },
        -1);
}

// --- folders

void AppModel::rescanAfterFolderChange()
{
    if (m_isScanning)
        m_rescanQueued = true;
    else
        scan();
}

void AppModel::addFolder(const QString& folder)
{
    const QString real = cleanFolder(Library::realPath(folder));
    for (const QString& existing : std::as_const(m_extraRoots))
        if (cleanFolder(Library::realPath(existing)) == real) return;
    m_extraRoots.append(real);
    m_settings->setValue(QStringLiteral("extraRoots"), m_extraRoots);
    Q_EMIT extraRootsChanged();
    rescanAfterFolderChange();
}

void AppModel::removeFolder(const QString& folder)
{
    // Given as stored, or as the user sees it (a trailing slash, a link to it).
    const QString real = cleanFolder(Library::realPath(folder));
    const auto it = std::find_if(m_extraRoots.begin(), m_extraRoots.end(), [&](const QString& root) {
        return root == folder || cleanFolder(Library::realPath(root)) == real;
    });
    if (it == m_extraRoots.end()) return;
    const QString path = *it;
    m_extraRoots.erase(it);
    const QString prefix = path + u'/';
    if ((m_sidebar.kind == SidebarItem::Kind::folder || m_sidebar.kind == SidebarItem::Kind::pinnedFolder)
        && (m_sidebar.path == path || m_sidebar.path.startsWith(prefix)))
        setSidebar(SidebarItem::home());
    m_settings->setValue(QStringLiteral("extraRoots"), m_extraRoots);
    Q_EMIT extraRootsChanged();
    rescanAfterFolderChange();
}

void AppModel::pin(const QString& folder)
{
    if (!m_pinnedFolders.removeOne(folder)) m_pinnedFolders.append(folder);
    m_settings->setValue(QStringLiteral("pinnedFolders"), m_pinnedFolders);
    Q_EMIT pinnedFoldersChanged();
}

}  // namespace fennic
