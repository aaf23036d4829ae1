#pragma once

#include "AppEnvironment.h"
#include "library/Lately.h"
#include "library/LibraryStats.h"
#include "model/FileItem.h"
#include "organise/CleanupKind.h"
#include "search/SearchIndex.h"

#include <QList>
#include <QObject>
#include <QSet>
#include <QStringList>
#include <functional>
#include <memory>
#include <optional>

namespace fennic {

class AppSettings;
class BackgroundTasks;

// The library: the item list, the scans that refresh it, what is derived from it (statistics,
// recent files, clean-up suggestions, the prepared search text), the cache file, and the
// folders the library is made of.
//
// Scans run on the pool; a result is applied only while its generation is the newest, and a
// scan asked for by a folder change while one runs is queued as exactly one more. Changes the
// user makes to the list while a scan runs (trash, put back, camera models read meanwhile)
// are journalled and replayed onto the scan's result, so the result never undoes them.
//
// Threads: GUI thread only; see AppEnvironment for the injected functions.
class LibraryModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(QList<fennic::FileItem> items READ items NOTIFY itemsChanged)
    Q_PROPERTY(fennic::LibraryStats stats READ stats NOTIFY statsChanged)
    Q_PROPERTY(QList<fennic::Lately::Group> lately READ lately NOTIFY latelyChanged)
    Q_PROPERTY(bool isScanning READ isScanning NOTIFY isScanningChanged)
    Q_PROPERTY(int scannedCount READ scannedCount NOTIFY scannedCountChanged)
    Q_PROPERTY(bool showWelcome READ showWelcome NOTIFY showWelcomeChanged)
    Q_PROPERTY(QStringList pinnedFolders READ pinnedFolders NOTIFY pinnedFoldersChanged)
    Q_PROPERTY(QStringList extraRoots READ extraRoots NOTIFY extraRootsChanged)

public:
    static constexpr int kMaxItems = 250000;

    // Given a snapshot of the paths present after a scan (on the pool), the paths that left
    // the library. Made on the GUI thread at the start of each scan by a tracker.
    using DepartureCheck = std::function<QStringList(const QSet<QString>& present)>;

    LibraryModel(AppEnvironment environment, AppSettings& settings, BackgroundTasks& tasks, QObject* parent = nullptr);

    const QList<FileItem>& items() const { return m_items; }
    const LibraryStats& stats() const { return m_stats; }
    const QList<Lately::Group>& lately() const { return m_lately; }
    const QList<CleanupKinds::Suggestion>& suggestions() const { return m_suggestions; }
    // What the suggestions would free, a file in several of them counted once.
    qint64 reclaimable() const { return m_reclaimable; }
    bool isScanning() const { return m_isScanning; }
    int scannedCount() const { return m_scannedCount; }
    std::optional<Date> lastScan() const { return m_lastScan; }
    int scanGeneration() const { return m_scanGeneration; }
    bool rescanQueued() const { return m_rescanQueued; }
    // The default library folders followed by the folders the user added.
    QStringList roots() const;

    // The search text prepared for the current items: the one derived in the background, or,
    // when that has not caught up with the items yet, one prepared here and now.
    const SearchIndex& searchIndex() { return *sharedSearchIndex(); }
    // The same, to be kept by work on another thread while the library moves on.
    std::shared_ptr<const SearchIndex> sharedSearchIndex();
    // The search text derived in the background when it fits the current items, else none.
    const SearchIndex* preparedSearchIndex() const { return preparedSharedSearchIndex().get(); }
    // The same, to be kept by work on another thread.
    std::shared_ptr<const SearchIndex> preparedSharedSearchIndex() const
    {
        return m_searchIndex && m_searchIndex->isFor(m_items) ? m_searchIndex : nullptr;
    }

    // The launch step: a first run without a cache shows the welcome screen and does not
    // scan; otherwise the library is scanned.
    void finishLaunching();
    bool showWelcome() const { return m_showWelcome; }
    // The welcome screen was completed: remember it and scan for the first time.
    void finishWelcome();
    // Rescans when the last scan finished longer ago than the environment's rescan delay.
    void applicationBecameActive();

    // Starts a full scan in the background; ignored while one runs.
    void scan();
    // Re-reads the Downloads folder only (ignored while scanning).
    void refreshDownloads();
    // Recomputes what is derived from the items on the pool; the values are applied when they
    // arrive, unless the items changed again meanwhile.
    void refreshDerived();
    // Reads "index.json" on the calling thread and derives at once, so that the window opens
    // on a complete library. A cache that can't be read leaves the items as they are.
    void loadCache();
    // Writes "index.json" on the pool; `cacheSaved` reports the result.
    void saveCache();

    // Adds a folder (symbolic links resolved) and rescans, or queues a rescan while scanning.
    // While the welcome screen shows, neither scans: finishing it does.
    void addFolder(const QString& folder);
    // Removes a folder, given as stored or as the user names it, and rescans the same way.
    void removeFolder(const QString& folder);
    // Pins the folder to the sidebar, or unpins it when it is pinned.
    void pin(const QString& folder);
    const QStringList& pinnedFolders() const;
    const QStringList& extraRoots() const;

    // Changes the user made to the list (Trash, put back, filing, camera models). Each is
    // journalled while a scan runs, so that the scan's result takes it too.
    void removeItems(const QSet<QString>& paths);
    void addItems(const QList<FileItem>& items);
    void replaceItems(QList<FileItem> items);
    void addCameraModels(const QHash<QString, QString>& cameras);

    // Registers a tracker of paths that must be forgotten when their files leave the library
    // (image records, duplicate groups). It is asked at the start of each scan.
    void trackDepartures(std::function<DepartureCheck()> tracker);

Q_SIGNALS:
    void itemsChanged();
    void statsChanged();
    void latelyChanged();
    void suggestionsChanged();
    // New derived values (and with them the prepared search text) were applied.
    void derivedChanged();
    void isScanningChanged();
    void scannedCountChanged();
    void lastScanChanged();
    void showWelcomeChanged();
    void pinnedFoldersChanged();
    void extraRootsChanged();
    // A full scan started / its result was applied (superseded results are not announced).
    void scanStarted(int generation);
    void scanFinished(int generation);
    // A scan's result was applied and no rescan follows it: time for the automatic rules and
    // image indexing.
    void scanCompleted();
    // Files a scan found gone, as reported by the trackers.
    void filesLeft(const QSet<QString>& paths);
    // Files the user's action took out of the list.
    void itemsRemoved(const QSet<QString>& paths);
    // A library folder was removed.
    void folderRemoved(const QString& path);
    // The cache file was written (or the write failed: `ok` false).
    void cacheSaved(bool ok);

private:
    // What is derived from one item list: computed off the GUI thread after a scan, so that
    // applying a scan of 250,000 files never stalls the window.
    struct Derived {
        LibraryStats stats;
        QList<Lately::Group> lately;
        QList<CleanupKinds::Suggestion> suggestions;
        qint64 reclaimable = 0;  // the suggestions' files counted once each
        std::shared_ptr<const SearchIndex> searchIndex;
    };
    // Changes made to the item list while a scan runs.
    struct ScanJournal {
        QSet<QString> removed;
        QList<FileItem> added;
        QHash<QString, QString> cameras;  // path -> camera model
        bool isEmpty() const { return removed.isEmpty() && added.isEmpty() && cameras.isEmpty(); }
        void apply(QList<FileItem>& items) const;
    };

    Derived derive(const QList<FileItem>& items) const;
    void applyDerived(Derived derived);
    // Replaces the items; the derived values come along, or are recomputed in the background.
    void setItems(QList<FileItem> items, std::optional<Derived> derived = std::nullopt);
    void applyScan(int generation, QList<FileItem> result, Derived derived, QStringList gone);
    void setScanning(bool value);
    void rescanAfterFolderChange();

    const AppEnvironment m_env;
    AppSettings& m_settings;
    BackgroundTasks& m_tasks;
    QList<std::function<DepartureCheck()>> m_trackers;

    QList<FileItem> m_items;
    LibraryStats m_stats;
    QList<Lately::Group> m_lately;
    QList<CleanupKinds::Suggestion> m_suggestions;
    qint64 m_reclaimable = 0;
    std::shared_ptr<const SearchIndex> m_searchIndex;
    bool m_isScanning = false;
    ScanJournal m_scanJournal;
    int m_scannedCount = 0;
    std::optional<Date> m_lastScan;
    bool m_showWelcome = false;
    int m_scanGeneration = 0;
    int m_itemsGeneration = 0;  // bumped by every replacement; older derived values are stale
    bool m_rescanQueued = false;
};

}  // namespace fennic
