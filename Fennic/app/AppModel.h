#pragma once

#include "AppEnvironment.h"
#include "LatestWrite.h"
#include "SidebarItem.h"
#include "Toast.h"
#include "images/ImageIndex.h"
#include "library/Lately.h"
#include "library/LibraryStats.h"
#include "model/FileItem.h"
#include "organise/CleanupKind.h"
#include "organise/DuplicateGroup.h"
#include "organise/FileOps.h"
#include "organise/Shelf.h"
#include "quick/Shortcut.h"
#include "search/ParsedQuery.h"
#include "search/SavedSearch.h"
#include "search/SearchContext.h"
#include "search/SearchIndex.h"
#include "search/SortKey.h"

#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QSettings>
#include <QStringList>
#include <QThreadPool>
#include <QTimer>
#include <atomic>
#include <memory>
#include <optional>

namespace fennic {

// The one observable state object of the application. It owns the library (the item list and
// everything derived from it), runs scans, searches, image indexing and the user's organising
// actions, and announces every change of its published fields with a signal, so that views
// only bind to it.
//
// Threads: it lives on the GUI thread and all of its state changes there. Background work
// (scans, cache and index writes, image analysis, the duplicate scan) runs on its own thread
// pool with inputs copied in, and hands results back with queued calls; a result of a
// superseded scan is dropped by generation number. The destructor cancels and waits for
// that work. Works without a display (QCoreApplication or the offscreen platform).
class AppModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(QList<fennic::FileItem> items READ items NOTIFY itemsChanged)
    Q_PROPERTY(fennic::LibraryStats stats READ stats NOTIFY statsChanged)
    Q_PROPERTY(QList<fennic::Lately::Group> lately READ lately NOTIFY latelyChanged)
    Q_PROPERTY(bool isScanning READ isScanning NOTIFY isScanningChanged)
    Q_PROPERTY(int scannedCount READ scannedCount NOTIFY scannedCountChanged)
    Q_PROPERTY(bool showWelcome READ showWelcome NOTIFY showWelcomeChanged)
    Q_PROPERTY(QString viewModeRaw READ viewModeRaw WRITE setViewModeRaw NOTIFY viewModeRawChanged)
    Q_PROPERTY(QString sortKeyRaw READ sortKeyRaw WRITE setSortKeyRaw NOTIFY sortKeyRawChanged)
    Q_PROPERTY(bool sortAscending READ sortAscending WRITE setSortAscending NOTIFY sortAscendingChanged)
    Q_PROPERTY(double cardSize READ cardSize WRITE setCardSize NOTIFY cardSizeChanged)
    Q_PROPERTY(QString theme READ theme WRITE setTheme NOTIFY themeChanged)
    Q_PROPERTY(bool autoCleanInstallers READ autoCleanInstallers WRITE setAutoCleanInstallers NOTIFY
                   autoCleanInstallersChanged)
    Q_PROPERTY(bool autoFileScreenshots READ autoFileScreenshots WRITE setAutoFileScreenshots NOTIFY
                   autoFileScreenshotsChanged)
    Q_PROPERTY(bool indexTextInImages READ indexTextInImages WRITE setIndexTextInImages NOTIFY indexTextInImagesChanged)
    Q_PROPERTY(QStringList pinnedFolders READ pinnedFolders NOTIFY pinnedFoldersChanged)
    Q_PROPERTY(QStringList extraRoots READ extraRoots NOTIFY extraRootsChanged)
    // search session
    Q_PROPERTY(QString query READ query WRITE setQuery NOTIFY queryChanged)
    Q_PROPERTY(bool searchSettled READ searchSettled NOTIFY searchSettledChanged)
    Q_PROPERTY(QList<fennic::FileItem> shownItems READ shownItems NOTIFY shownItemsChanged)
    Q_PROPERTY(QList<fennic::SavedSearch> savedSearches READ savedSearches NOTIFY savedSearchesChanged)
    Q_PROPERTY(QString findQuery READ findQuery WRITE setFindQuery NOTIFY findQueryChanged)
    Q_PROPERTY(QString findMode READ findMode WRITE setFindMode NOTIFY findModeChanged)
    Q_PROPERTY(bool homeResults READ homeResults WRITE setHomeResults NOTIFY homeResultsChanged)
    // image indexing
    Q_PROPERTY(bool imageIndexPaused READ imageIndexPaused WRITE setImageIndexPaused NOTIFY imageIndexPausedChanged)
    Q_PROPERTY(QStringList imageFolders READ imageFolders NOTIFY imageFoldersChanged)
    Q_PROPERTY(QString imageFolderMode READ imageFolderMode WRITE setImageFolderMode NOTIFY imageFolderModeChanged)
    // organising
    Q_PROPERTY(fennic::Shelf shelf READ shelf NOTIFY shelfChanged)
    Q_PROPERTY(QList<fennic::DuplicateGroup> duplicateGroups READ duplicateGroups NOTIFY duplicateGroupsChanged)
    Q_PROPERTY(QList<fennic::DuplicateGroup> lookalikeGroups READ lookalikeGroups NOTIFY lookalikeGroupsChanged)
    Q_PROPERTY(bool duplicatesScanned READ duplicatesScanned NOTIFY duplicatesScannedChanged)

public:
    static constexpr int kMaxItems = 250000;
    static constexpr double kMinCardSize = 100;
    static constexpr double kMaxCardSize = 320;

    explicit AppModel(AppEnvironment environment = {}, QObject* parent = nullptr);
    ~AppModel() override;

    // The application's one instance, created on first use (on the GUI thread).
    static AppModel& shared();

    const AppEnvironment& environment() const { return m_env; }
    QSettings& settings() { return *m_settings; }

    // --- library
    const QList<FileItem>& items() const { return m_items; }
    const LibraryStats& stats() const { return m_stats; }
    const QList<Lately::Group>& lately() const { return m_lately; }
    bool isScanning() const { return m_isScanning; }
    int scannedCount() const { return m_scannedCount; }
    std::optional<Date> lastScan() const { return m_lastScan; }
    int scanGeneration() const { return m_scanGeneration; }
    bool rescanQueued() const { return m_rescanQueued; }
    // The default library folders followed by the folders the user added.
    QStringList roots() const;

    // The launch steps that follow construction: a first run without a cache shows the
    // welcome screen and does not scan; otherwise the library is scanned. Image indexing
    // starts either way.
    void finishLaunching();
    bool showWelcome() const { return m_showWelcome; }
    // The welcome screen was completed: remember it and scan for the first time.
    void finishWelcome();
    // Rescans when the last scan finished more than five minutes ago.
    void applicationBecameActive();

    // Starts a full scan in the background; ignored while one runs.
    void scan();
    // Re-reads the Downloads folder only (ignored while scanning).
    void refreshDownloads();
    // Recomputes what is derived from the items (statistics, recent files, suggestions, the
    // prepared search text) on the thread pool; the values are applied when they arrive,
    // unless the items changed again meanwhile.
    void refreshDerived();
    void loadCache();
    void saveCache();

    // --- folders
    void addFolder(const QString& folder);
    void removeFolder(const QString& path);
    // Pins the folder to the sidebar, or unpins it when it is pinned.
    void pin(const QString& folder);
    const QStringList& pinnedFolders() const { return m_pinnedFolders; }
    const QStringList& extraRoots() const { return m_extraRoots; }

    // --- settings
    QString viewModeRaw() const { return m_viewModeRaw; }
    void setViewModeRaw(const QString& value);
    QString sortKeyRaw() const { return m_sortKeyRaw; }
    void setSortKeyRaw(const QString& value);
    bool sortAscending() const { return m_sortAscending; }
    void setSortAscending(bool value);
    double cardSize() const { return m_cardSize; }
    void setCardSize(double value);
    // Adds a step to the card size, kept within 100 … 320.
    void zoom(double step);
    QString theme() const { return m_theme; }
    void setTheme(const QString& value);
    void toggleTheme();
    bool autoCleanInstallers() const { return m_autoCleanInstallers; }
    void setAutoCleanInstallers(bool value);
    bool autoFileScreenshots() const { return m_autoFileScreenshots; }
    void setAutoFileScreenshots(bool value);
    bool indexTextInImages() const { return m_indexTextInImages; }
    void setIndexTextInImages(bool value);

    // --- search session
    const QString& query() const { return m_query; }
    // Parses at once (so chips can be drawn while typing) and restarts the settle delay.
    void setQuery(const QString& text);
    const ParsedQuery& parsed() const { return m_parsed; }
    bool searchSettled() const { return m_searchSettled; }
    // The selected sidebar entry's files, filtered by the request and ordered: by how well a
    // picture fits the description when the request describes one, otherwise by the sort
    // settings. Computed when asked for after a change.
    const QList<FileItem>& visibleItems();
    // visibleItems held steady while typing: an empty result shows only once the request has
    // settled; until then the last non-empty result stays.
    QList<FileItem> shownItems();
    const QList<FileItem>& heldResults() const { return m_heldResults; }
    // The files of a sidebar entry before any request, unordered.
    QList<FileItem> baseItems(const SidebarItem& entry) const;
    const SidebarItem& sidebar() const { return m_sidebar; }
    void setSidebar(const SidebarItem& entry);
    // A fresh context over the image index, the recognised text and the shelf.
    std::unique_ptr<SearchContext> searchContext() const;
    // The library's files that every filter holds for, in the current sort order, at most
    // `limit` of them; through the prepared search index when it is ready.
    QList<FileItem> matching(const QList<SearchFilter>& filters, qsizetype limit) const;
    const QList<SavedSearch>& savedSearches() const { return m_savedSearches; }
    void setSavedSearches(const QList<SavedSearch>& searches);
    void saveCurrentSearch();
    // The words to highlight in names and recognised text.
    QStringList highlightQuery() const;
    const QString& findQuery() const { return m_findQuery; }
    void setFindQuery(const QString& text);
    const QString& findMode() const { return m_findMode; }
    void setFindMode(const QString& mode);
    // Whether the home page shows the results of the request rather than its suggestions.
    bool homeResults() const { return m_homeResults; }
    void setHomeResults(bool shown);
    const std::optional<QString>& similarTo() const { return m_similarTo; }
    void setSimilarTo(std::optional<QString> path);
    SortKey sortKey() const;

    // --- image indexing
    const QHash<QString, ImageRecord>& imageRecords() const { return m_imageIndex.records; }
    const ImageIndex& imageIndex() const { return m_imageIndex; }
    const QHash<QString, QString>& ocrText() const { return m_ocrText; }
    QPair<int, int> ocrProgress() const { return m_ocrProgress; }
    bool isIndexingImages() const { return m_indexTask != nullptr; }
    // The recognition languages in force: the stored choice, or the user's languages.
    QStringList recognitionLanguages() const;
    std::optional<QStringList> ocrLanguageChoice() const { return m_ocrLanguageChoice; }
    void setOCRLanguage(const QString& code, bool on);
    void startImageIndexing();
    void saveImageIndex();
    void rebuildImageIndex();
    void deleteImageIndex();
    bool imageIndexPaused() const { return m_imageIndexPaused; }
    void setImageIndexPaused(bool paused);
    const QStringList& imageFolders() const { return m_imageFolders; }
    void addImageFolder(const QString& folder);
    void removeImageFolder(const QString& path);
    const QString& imageFolderMode() const { return m_imageFolderMode; }
    void setImageFolderMode(const QString& mode);

    // --- organising
    const Shelf& shelf() const { return m_shelf; }
    // Replaces the shelf and writes "shelf.json".
    void setShelf(const Shelf& shelf);
    const QList<CleanupKinds::Suggestion>& suggestions() const { return m_suggestions; }
    void toggleFavourite(const QList<FileItem>& items);
    void addTag(const QString& tag, const QList<FileItem>& items);
    void newCollection(const QString& name, const QList<FileItem>& items = {});
    void addToCollection(const QList<FileItem>& items, const QUuid& collection);
    void deleteCollection(const QUuid& collection);
    // Moves the files to the Trash and reports it in a toast that offers Undo.
    FileOps::TrashResult moveToTrash(const QList<FileItem>& items);
    // Puts back what a Trash action moved.
    QList<FileItem> putBack(const QList<FileOps::TrashedItem>& moved);
    void findDuplicates();
    const QList<DuplicateGroup>& duplicateGroups() const { return m_duplicateGroups; }
    const QList<DuplicateGroup>& lookalikeGroups() const { return m_lookalikeGroups; }
    std::optional<double> duplicateProgress() const { return m_duplicateProgress; }
    bool duplicatesScanned() const { return m_duplicatesScanned; }
    // The two automatic rules (when switched on), run after every completed scan.
    void runAutomaticCleanup();

    // --- Quick Search
    // The global shortcut that opens Quick Search: the stored one, or ⇧⌘Space when none is
    // stored or the stored value can't be read.
    const Shortcut& quickShortcut() const { return m_quickShortcut; }
    // Stores a new shortcut; refused (false) when it has a problem (Shortcut::problem).
    bool setQuickShortcut(const Shortcut& shortcut);
    bool quickSearchEnabled() const;

    // --- notices
    const std::optional<Toast::Message>& toast() const { return m_toast.current(); }
    Toast& toastCentre() { return m_toast; }
    void showToast(const QString& text, const QString& symbol, bool isError = false,
                   std::optional<QString> actionTitle = std::nullopt, std::function<void()> action = {});

    // Waits (running the event loop) until no background task of the model is running and
    // every result has been applied. For tests and the self-test.
    bool waitForIdle(int timeoutMs = 60000);

Q_SIGNALS:
    void itemsChanged();
    void statsChanged();
    void latelyChanged();
    void isScanningChanged();
    void lastScanChanged();
    void scannedCountChanged();
    void showWelcomeChanged();
    void viewModeRawChanged();
    void sortKeyRawChanged();
    void sortAscendingChanged();
    void cardSizeChanged();
    void themeChanged();
    void autoCleanInstallersChanged();
    void autoFileScreenshotsChanged();
    void indexTextInImagesChanged();
    void pinnedFoldersChanged();
    void extraRootsChanged();
    void queryChanged();
    void parsedChanged();
    void searchSettledChanged();
    void shownItemsChanged();
    void sidebarChanged();
    void savedSearchesChanged();
    void findQueryChanged();
    void findModeChanged();
    void homeResultsChanged();
    void similarToChanged();
    void imageRecordsChanged();
    void ocrProgressChanged();
    void imageIndexPausedChanged();
    void imageFoldersChanged();
    void imageFolderModeChanged();
    void ocrLanguageChoiceChanged();
    void imageIndexSaved(bool ok);
    void imageIndexingFinished();
    void shelfChanged();
    void suggestionsChanged();
    void duplicateGroupsChanged();
    void lookalikeGroupsChanged();
    void duplicateProgressChanged();
    void duplicatesScannedChanged();
    void toastChanged();
    void quickShortcutChanged();
    // A full scan started / its result was applied (superseded results are not announced).
    void scanStarted(int generation);
    void scanFinished(int generation);
    // The automatic rules ran after a completed scan.
    void automaticRulesRan();
    // The cache file was written (or the write failed: `ok` false).
    void cacheSaved(bool ok);

private:
    void readSettings();
    // What is derived from one item list: computed off the GUI thread after a scan, so that
    // applying a scan of 250,000 files never stalls the window.
    struct Derived {
        LibraryStats stats;
        QList<Lately::Group> lately;
        QList<CleanupKinds::Suggestion> suggestions;
        SearchIndex searchIndex;
    };
    Derived derive(const QList<FileItem>& items) const;
    void applyDerived(Derived derived);
    // Replaces the items; the derived values come along, or are recomputed in the background.
    void setItems(QList<FileItem> items, std::optional<Derived> derived = std::nullopt);
    void applyScan(int generation, QList<FileItem> result, Derived derived, QStringList gone);
    // Hands large values that the GUI thread no longer needs to the pool to be freed there:
    // freeing a quarter of a million items takes tens of milliseconds.
    template <typename T> void disposeInBackground(T value)
    {
        runInBackground([value = std::move(value)] {}, -1);
    }
    void setScanning(bool value);
    void rescanAfterFolderChange();
    void runInBackground(std::function<void()> work, int priority = 0);
    template <typename T, typename Signal> void setAndStore(T& field, const T& value, const char* key, Signal signal);

    void cancelImageIndexing();
    void markSearchDirty();
    void applyImageBatch(const QList<ImageRecord>& batch, int done, int total);
    void applyHeldRecords();
    // Whether the GUI thread alone holds the image records, so that changing them copies nothing.
    bool imageRecordsFree() const;
    void addCameraModels(const QHash<QString, QString>& cameras);
    // Drops files that left the library from the duplicate and look-alike groups.
    void pruneGroups(const QSet<QString>& removed);
    void removeItems(const QSet<QString>& paths);
    void fileDesktopScreenshots();
    struct IndexTask;

    AppEnvironment m_env;
    std::unique_ptr<QSettings> m_settings;
    QThreadPool m_pool;
    std::atomic<int> m_tasksInFlight{0};
    // One per file of ours, so that the newest snapshot of each always lands last.
    std::shared_ptr<LatestWrite> m_cacheWrites = std::make_shared<LatestWrite>();
    std::shared_ptr<LatestWrite> m_shelfWrites = std::make_shared<LatestWrite>();
    std::shared_ptr<LatestWrite> m_indexWrites = std::make_shared<LatestWrite>();
    std::shared_ptr<std::atomic<bool>> m_stopping = std::make_shared<std::atomic<bool>>(false);

    QList<FileItem> m_items;
    LibraryStats m_stats;
    QList<Lately::Group> m_lately;
    bool m_isScanning = false;
    // Changes made to the item list while a scan runs. The scan's result gets them too, or it
    // would bring back files trashed meanwhile and lose camera models read meanwhile.
    struct ScanJournal {
        QSet<QString> removed;
        QList<FileItem> added;
        QHash<QString, QString> cameras;  // path -> camera model
        bool isEmpty() const { return removed.isEmpty() && added.isEmpty() && cameras.isEmpty(); }
        void apply(QList<FileItem>& items) const;
    };
    ScanJournal m_scanJournal;
    int m_scannedCount = 0;
    std::optional<Date> m_lastScan;
    bool m_showWelcome = false;
    int m_scanGeneration = 0;
    int m_itemsGeneration = 0;  // bumped by every replacement of the items
    bool m_rescanQueued = false;

    QString m_viewModeRaw;
    QString m_sortKeyRaw;
    bool m_sortAscending = false;
    double m_cardSize = 150;
    QString m_theme;
    bool m_autoCleanInstallers = false;
    bool m_autoFileScreenshots = false;
    bool m_indexTextInImages = true;
    QStringList m_pinnedFolders;
    QStringList m_extraRoots;

    // search session
    QString m_query;
    ParsedQuery m_parsed;
    bool m_searchSettled = true;
    bool m_homeResults = false;
    QTimer* m_settleTimer = nullptr;
    QList<FileItem> m_heldResults;
    SidebarItem m_sidebar;
    QList<SavedSearch> m_savedSearches;
    QString m_findQuery;
    QString m_findMode = QStringLiteral("everything");
    std::optional<QString> m_similarTo;
    SearchIndex m_searchIndex;
    bool m_visibleDirty = true;
    QList<FileItem> m_visibleItems;

    // image indexing
    ImageIndex m_imageIndex;
    QHash<QString, QString> m_ocrText;
    QPair<int, int> m_ocrProgress{0, 0};
    bool m_imageIndexPaused = false;
    QStringList m_imageFolders;
    QString m_imageFolderMode;
    std::optional<QStringList> m_ocrLanguageChoice;
    std::shared_ptr<IndexTask> m_indexTask;
    // Records read but not yet in the index, because a save still held a snapshot of it.
    QList<ImageRecord> m_heldRecords;
    QElapsedTimer m_heldSince;
    QElapsedTimer m_sinceIndexSave;
    int m_readSinceSave = 0;  // records read since the index was last saved
    int m_indexSavesInFlight = 0;
    bool m_saveWhenFree = false;  // a save waits for the one under way to let go of the index

    // organising
    Shelf m_shelf;
    QList<CleanupKinds::Suggestion> m_suggestions;
    QList<DuplicateGroup> m_duplicateGroups;
    QList<DuplicateGroup> m_lookalikeGroups;
    std::optional<double> m_duplicateProgress;
    bool m_duplicatesScanned = false;
    Toast m_toast;
    Shortcut m_quickShortcut = Shortcut::standard();
};

}  // namespace fennic
