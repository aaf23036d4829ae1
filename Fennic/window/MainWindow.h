#pragma once

#include "theme/ThemeStyle.h"

#include <QElapsedTimer>
#include <QMainWindow>
#include <QTimer>
#include <memory>
#include <optional>

class QSlider;
class QSplitter;
class QToolButton;
class QProgressBar;
class QStackedWidget;

namespace fennic {

class AppModel;
class AskBar;
class BrowserView;
class CleanupPage;
class DuplicatesPage;
class FindImagesPage;
class HomePage;
class WelcomePage;
class InspectorView;
class QuickLookWindow;
class QuickPanel;
class UpdateWindow;
class HotKey;
class Updater;
class SettingsWindow;
class SidebarView;
class StatusLine;
class ThumbnailLoader;
class ToastOverlay;
class WindowActions;
struct FileItem;

// The main window: the Ask bar and the view controls in the toolbar, the sidebar, the
// browser with its grid and list, the inspector, the notice overlay and the status line. A
// view over the application model's collaborators: it shows what they publish and calls
// their operations; it keeps no state of its own beyond what is on screen.
class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    MainWindow(AppModel& app, ThumbnailLoader& thumbnails, QWidget* parent = nullptr);
    ~MainWindow() override;

    // The look: the settings' theme over the given palette (the desktop's by default).
    void applyLook(std::optional<QPalette> palette = std::nullopt);
    const ThemeStyle& themeStyle() const { return m_style; }

    AskBar* askBar() const { return m_ask; }
    BrowserView* browser() const { return m_browser; }
    HomePage* homePage() const { return m_home; }
    WelcomePage* welcomePage() const { return m_welcome; }
    FindImagesPage* findImagesPage() const { return m_finder; }
    CleanupPage* cleanupPage() const { return m_cleanup; }
    DuplicatesPage* duplicatesPage() const { return m_duplicates; }
    // The browser on screen: the window's own, or the Home page's results.
    BrowserView* shownBrowser() const;
    // The page on screen: the browser or one of the pages.
    QWidget* currentPage() const;
    SidebarView* sidebar() const { return m_sidebar; }
    InspectorView* inspector() const { return m_inspector; }
    ToastOverlay* toastOverlay() const { return m_toast; }
    QuickLookWindow* quickLook() const { return m_quickLook; }
    StatusLine* statusLine() const { return m_status; }
    WindowActions& actions() const { return *m_actions; }

    // The settings window (made when first asked for), and showing it (Ctrl+,).
    SettingsWindow* settingsWindow();
    void showSettings();
    // Shows the welcome screen whatever the library's state (for captures of it).
    void showWelcomePreview(bool shown);
    void setInspectorShown(bool shown);
    bool inspectorShown() const;
    // Shows the file in the in-app preview.
    void showQuickLook(const FileItem& item);
    // The Quick Search panel (made when first asked for), and showing it over whatever is in
    // front, without bringing this window forward.
    QuickPanel* quickPanel();
    void showQuickSearch();
    // The self-updater, when this copy has one (not owned); its window, made when first shown,
    // and Settings' Updates section follow it.
    void setUpdater(Updater* updater);
    // The global Quick Search shortcut (not owned), for Settings to show and change.
    void setHotKey(HotKey* hotKey);
    UpdateWindow* updateWindow() const { return m_updateWindow; }
    void showUpdateWindow();

protected:
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    QWidget* buildToolbar();
    void showPage();
    void scheduleResults();
    void prepareResults();
    void showResults();
    void updateScanProgress();
    void restoreGeometry();

    AppModel& m_app;
    ThumbnailLoader& m_thumbnails;
    ThemeStyle m_style;
    bool m_followDesktopPalette = true;
    AskBar* m_ask = nullptr;
    BrowserView* m_browser = nullptr;
    HomePage* m_home = nullptr;
    WelcomePage* m_welcome = nullptr;
    FindImagesPage* m_finder = nullptr;
    CleanupPage* m_cleanup = nullptr;
    DuplicatesPage* m_duplicates = nullptr;
    QStackedWidget* m_content = nullptr;
    bool m_welcomePreview = false;
    SettingsWindow* m_settingsWindow = nullptr;
    // A window of its own, not a child: it shows over other applications while this one stays behind.
    std::unique_ptr<QuickPanel> m_quickPanel;
    Updater* m_updater = nullptr;
    HotKey* m_hotKey = nullptr;
    UpdateWindow* m_updateWindow = nullptr;
    SidebarView* m_sidebar = nullptr;
    InspectorView* m_inspector = nullptr;
    ToastOverlay* m_toast = nullptr;
    QuickLookWindow* m_quickLook = nullptr;
    StatusLine* m_status = nullptr;
    QSplitter* m_splitter = nullptr;
    QToolButton* m_gridButton = nullptr;
    QToolButton* m_listButton = nullptr;
    QToolButton* m_sortButton = nullptr;
    QToolButton* m_inspectorButton = nullptr;
    QSlider* m_zoom = nullptr;
    QProgressBar* m_scanProgress = nullptr;
    std::unique_ptr<WindowActions> m_actions;
    // Keys closer together than this count as typing.
    static constexpr int kTypingPauseMs = 120;
    // While keys come, the list's work starts this long after a key, once its chips are painted.
    static constexpr int kKeyPaintMs = 16;
    QTimer m_resultsTimer;
    QTimer m_prepareTimer;
    QTimer m_progressTimer;  // the toolbar's progress follows counts a few times a second
    QElapsedTimer m_lastKey;
};

}  // namespace fennic
