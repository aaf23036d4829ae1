#pragma once

#include "AppEnvironment.h"
#include "library/Lately.h"
#include "library/LibraryStats.h"
#include "model/FileItem.h"

#include <QList>
#include <QObject>
#include <QSettings>
#include <QStringList>
#include <QThreadPool>
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
    Q_PROPERTY(bool autoCleanInstallers READ autoCleanInstallers WRITE setAutoCleanInstallers NOTIFY autoCleanInstallersChanged)
    Q_PROPERTY(bool autoFileScreenshots READ autoFileScreenshots WRITE setAutoFileScreenshots NOTIFY autoFileScreenshotsChanged)
    Q_PROPERTY(bool indexTextInImages READ indexTextInImages WRITE setIndexTextInImages NOTIFY indexTextInImagesChanged)
    Q_PROPERTY(QStringList pinnedFolders READ pinnedFolders NOTIFY pinnedFoldersChanged)
    Q_PROPERTY(QStringList extraRoots READ extraRoots NOTIFY extraRootsChanged)

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
    // Recomputes what is derived from the items (statistics, recent files, suggestions).
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

    // Waits (running the event loop) until no background task of the model is running and
    // every result has been applied. For tests and the self-test.
    bool waitForIdle(int timeoutMs = 60000);

Q_SIGNALS:
    void itemsChanged();
    void statsChanged();
    void latelyChanged();
    void isScanningChanged();
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
    // A full scan started / its result was applied (superseded results are not announced).
    void scanStarted(int generation);
    void scanFinished(int generation);
    // The automatic rules ran after a completed scan.
    void automaticRulesRan();
    // The cache file was written (or the write failed: `ok` false).
    void cacheSaved(bool ok);

private:
    void readSettings();
    void setItems(QList<FileItem> items);
    void applyScan(int generation, QList<FileItem> result);
    void setScanning(bool value);
    void rescanAfterFolderChange();
    void runInBackground(std::function<void()> work, int priority = 0);
    template <typename T, typename Signal>
    void setAndStore(T& field, const T& value, const char* key, Signal signal);

    // Hooks of the image indexing and organising sides, called by the scan lifecycle.
    void runAutomaticCleanup();
    void startImageIndexing();
    void cancelImageIndexing();

    AppEnvironment m_env;
    std::unique_ptr<QSettings> m_settings;
    QThreadPool m_pool;
    std::atomic<int> m_tasksInFlight{0};
    std::shared_ptr<std::atomic<bool>> m_stopping = std::make_shared<std::atomic<bool>>(false);

    QList<FileItem> m_items;
    LibraryStats m_stats;
    QList<Lately::Group> m_lately;
    bool m_isScanning = false;
    int m_scannedCount = 0;
    std::optional<Date> m_lastScan;
    bool m_showWelcome = false;
    int m_scanGeneration = 0;
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
};

}  // namespace fennic
