#pragma once

#include "HomeDigest.h"
#include "app/SidebarItem.h"
#include "model/FileItem.h"
#include "quicklook/PoolReply.h"
#include "theme/ThemeStyle.h"

#include <QList>
#include <QPointer>
#include <QTimer>
#include <QWidget>

class QLabel;
class QPushButton;
class QScrollArea;
class QStackedWidget;
class QVBoxLayout;

namespace fennic {

class AppModel;
class AskBar;
class BrowserView;
class FileStrip;
class FlowLayout;
class HomeTile;
class ThumbnailLoader;

// The home page: the large Ask field over an overview of the library (its kinds as tiles,
// what clean-up would free, recent files by day, downloads by where they came from, and
// screenshots and large files at a glance). Typing a request shows its results over the whole
// library in place of the overview; clearing it brings the overview back.
//
// Everything shown comes from values the library model already holds, except the few files
// picked for the rows (the newest screenshots, the largest files, …), which are picked on the
// pool whenever the items change. Nothing here reads the disk.
class HomePage : public QWidget {
    Q_OBJECT

public:
    HomePage(AppModel& app, ThumbnailLoader& thumbnails, QWidget* parent = nullptr);
    ~HomePage() override;

    void setThemeStyle(const ThemeStyle& theme);

    AskBar* heroBar() const { return m_hero; }
    // The results of the request, shown in place of the overview.
    BrowserView* results() const { return m_results; }
    bool isShowingResults() const;
    bool isShowingEmptyState() const;
    // The empty state's title ("Fennic is reading your folders…" while the first scan runs).
    QString emptyStateTitle() const;
    // Its button that adds a folder, shown once a scan found nothing.
    QPushButton* addFolderButton() const { return m_emptyAdd; }

    // The overview's cards, for the window's tests and captures.
    QList<HomeTile*> kindTiles() const { return m_kindTiles; }
    HomeTile* cleanupTile() const { return m_cleanup; }
    QList<HomeTile*> sourceTiles() const { return m_sourceTiles; }
    QList<FileStrip*> recentStrips() const;
    FileStrip* screenshotStrip() const { return m_screenshots; }
    FileStrip* largeFileStrip() const { return m_largest; }
    // The pick of files for the rows has arrived for the current items.
    bool isDigestCurrent() const { return m_digestGeneration == m_itemsGeneration; }

Q_SIGNALS:
    // A file was opened from a row of the overview or from the results (double click, Return).
    void fileActivated(const fennic::FileItem& item);

protected:
    void showEvent(QShowEvent* event) override;
    // True while the window shows another page in this one's place.
    bool isBehindAnotherPage() const;

private:
    QWidget* buildOverview();
    QWidget* buildEmptyState();
    QWidget* sectionHeader(const QString& title, QLabel** detail, QPushButton** showAll, const QString& showAllName);
    void heroEdited(const QString& text);
    void followQuery();
    void showPage();
    void showResults();
    void scheduleRefresh();
    void refresh();
    void refreshKinds();
    void refreshCleanup();
    void refreshEmptyState();
    void requestDigest();
    struct RecentRow {
        Lately::Bucket bucket = Lately::Bucket::today;
        QWidget* header = nullptr;
        QLabel* detail = nullptr;
        FileStrip* strip = nullptr;
    };
    RecentRow recentRow(Lately::Bucket bucket);
    void applyDigest();
    void addFolder();
    void tellVisibleThumbnails();
    void openSidebar(const SidebarItem& entry);

    AppModel& m_app;
    ThumbnailLoader& m_thumbnails;
    ThemeStyle m_theme;
    PoolReply m_reply{this};
    QTimer m_refreshTimer;

    AskBar* m_hero = nullptr;
    QStackedWidget* m_stack = nullptr;
    QScrollArea* m_overview = nullptr;
    BrowserView* m_results = nullptr;
    QWidget* m_empty = nullptr;
    QLabel* m_emptyIcon = nullptr;
    QLabel* m_emptyTitle = nullptr;
    QLabel* m_emptyDetail = nullptr;
    QPushButton* m_emptyAdd = nullptr;

    QLabel* m_summary = nullptr;
    FlowLayout* m_kinds = nullptr;
    QList<HomeTile*> m_kindTiles;
    HomeTile* m_cleanup = nullptr;
    QWidget* m_recentSection = nullptr;
    QVBoxLayout* m_recentRows = nullptr;
    QList<RecentRow> m_recent;
    QWidget* m_downloadSection = nullptr;
    QLabel* m_downloadDetail = nullptr;
    FlowLayout* m_sources = nullptr;
    QList<HomeTile*> m_sourceTiles;
    QWidget* m_screenshotSection = nullptr;
    QLabel* m_screenshotDetail = nullptr;
    FileStrip* m_screenshots = nullptr;
    QWidget* m_largeSection = nullptr;
    QLabel* m_largeDetail = nullptr;
    FileStrip* m_largest = nullptr;

    HomeDigest m_digest;
    int m_itemsGeneration = 0;
    int m_digestGeneration = -1;
    // Behind another page the overview is not kept up to date; it catches up when shown.
    bool m_overviewStale = false;
    bool m_digestUnshown = false;
    QPointer<QWidget> m_dialog;
};

}  // namespace fennic
