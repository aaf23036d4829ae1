#include "MainWindow.h"

#include "SabloKit/Updater.h"
#include "SessionResults.h"
#include "StatusLine.h"
#include "WindowActions.h"
#include "app/AppModel.h"
#include "app/AppSettings.h"
#include "app/ImageIndexer.h"
#include "app/LibraryModel.h"
#include "app/Organiser.h"
#include "app/SearchSession.h"
#include "ask/AskBar.h"
#include "ask/AskField.h"
#include "browser/BrowserView.h"
#include "cleanup/CleanupPage.h"
#include "desktop/DesktopActions.h"
#include "duplicates/DuplicatesPage.h"
#include "finder/FindImagesPage.h"
#include "home/HomePage.h"
#include "inspector/InspectorView.h"
#include "library/Library.h"
#include "model/Fmt.h"
#include "quicklook/QuickLookWindow.h"
#include "quickpanel/QuickPanel.h"
#include "search/SearchParser.h"
#include "settings/QuickSearchSettings.h"
#include "settings/SettingsWindow.h"
#include "settings/UpdateSettings.h"
#include "sidebar/SidebarView.h"
#include "theme/DesktopLook.h"
#include "theme/Icons.h"
#include "theme/Labels.h"
#include "thumbnails/ThumbnailLoader.h"
#include "toast/ToastOverlay.h"
#include "update/UpdateWindow.h"
#include "welcome/WelcomePage.h"

#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QHBoxLayout>
#include <QLocale>
#include <QMenu>
#include <QMenuBar>
#include <QProgressBar>
#include <QSlider>
#include <QSplitter>
#include <QStackedWidget>
#include <QStatusBar>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

namespace fennic {

MainWindow::MainWindow(AppModel& app, ThumbnailLoader& thumbnails, QWidget* parent)
    : QMainWindow(parent),
      m_app(app),
      m_thumbnails(thumbnails),
      m_style(app.settings().theme(), QApplication::palette())
{
    setWindowTitle(QStringLiteral("Fennic"));
    setObjectName(QStringLiteral("MainWindow"));
    setAccessibleName(QStringLiteral("Fennic"));
    // No icon of its own: the window shows the application's (set at start-up from the installed
    // icon, or the one built into the executable).

    SearchSession& search = m_app.search();
    AppSettings& settings = m_app.settings();

    // The parts.
    m_ask = new AskBar(AskStyle::toolbar, this);
    m_ask->field()->setAnalyzer([env = m_app.environment()](const QString& text) {
        return SearchParser::analyze(text, env.now(), env.calendar(), Library::home());
    });
    m_browser = new BrowserView(m_thumbnails, this);
    m_home = new HomePage(m_app, m_thumbnails, this);
    m_welcome = new WelcomePage(m_app, m_thumbnails, this);
    m_finder = new FindImagesPage(m_app, m_thumbnails, this);
    m_cleanup = new CleanupPage(m_app, m_thumbnails, this);
    m_duplicates = new DuplicatesPage(m_app, m_thumbnails, this);
    // The content beside the sidebar: the browser, or the page the sidebar chose.
    m_content = new QStackedWidget(this);
    for (QWidget* page :
         std::initializer_list<QWidget*>{m_browser, m_home, m_welcome, m_finder, m_cleanup, m_duplicates})
        m_content->addWidget(page);
    m_sidebar = new SidebarView(m_app, this);
    m_inspector = new InspectorView(m_app, this);
    m_inspector->setThumbnailLoader(&m_thumbnails);
    m_quickLook = new QuickLookWindow(this);

    // Sidebar | browser | inspector.
    m_splitter = new QSplitter(Qt::Horizontal, this);
    m_splitter->setChildrenCollapsible(false);
    m_splitter->addWidget(m_sidebar);
    m_splitter->addWidget(m_content);
    m_splitter->addWidget(m_inspector);
    m_splitter->setStretchFactor(0, 0);
    m_splitter->setStretchFactor(1, 1);
    m_splitter->setStretchFactor(2, 0);
    m_splitter->setSizes({220, 760, 300});
    // The notice floats over the panes: a child of their container, outside its layout (a
    // splitter would take any child as one more pane).
    auto* central = new QWidget(this);
    auto* panes = new QVBoxLayout(central);
    panes->setContentsMargins(0, 0, 0, 0);
    panes->addWidget(m_splitter);
    setCentralWidget(central);

    m_toast = new ToastOverlay(m_app.toast(), central);

    m_status = new StatusLine(m_app, this);
    statusBar()->addPermanentWidget(m_status, 1);
    statusBar()->setSizeGripEnabled(false);

    // The actions, their menus and their keys.
    WindowActions::Window window;
    window.widget = this;
    window.selection = [this] { return shownBrowser()->selectedItems(); };
    window.focusAsk = [this] {
        m_ask->field()->setFocus(Qt::ShortcutFocusReason);
        m_ask->field()->selectAll();
    };
    window.selectAll = [this] { shownBrowser()->selectAll(); };
    window.quickLook = [this](const FileItem& item) { showQuickLook(item); };
    window.toggleInspector = [this] { setInspectorShown(!inspectorShown()); };
    window.inspectorShown = [this] { return inspectorShown(); };
    window.browserWidgets = {m_browser, m_home->results()};
    window.showSettings = [this] { showSettings(); };
    window.showQuickSearch = [this] { showQuickSearch(); };
    window.checkForUpdates = [this] {
        showUpdateWindow();
        if (m_updater && m_updater->isEnabled()) m_updater->checkNow();
    };
    m_actions = std::make_unique<WindowActions>(m_app, window);
    m_actions->fillMenuBar(menuBar());

    auto* toolbar = addToolBar(QStringLiteral("Toolbar"));
    toolbar->setObjectName(QStringLiteral("Toolbar"));
    toolbar->setAccessibleName(QStringLiteral("Toolbar"));
    toolbar->setMovable(false);
    toolbar->setFloatable(false);
    toolbar->toggleViewAction()->setEnabled(false);
    toolbar->addWidget(buildToolbar());

    // The Ask field and the request.
    AskField* field = m_ask->field();
    connect(field, &AskField::textEdited, &search, &SearchSession::setQuery);
    connect(&search, &SearchSession::queryChanged, this, [this, &search] { m_ask->field()->setText(search.query()); });
    connect(field, &AskField::escapePressed, this, [&search] { search.setQuery(QString()); });
    connect(field, &AskField::submitted, this, [this] { shownBrowser()->selectFirst(); });
    connect(field, &AskField::moved, this, [this](int direction) {
        if (direction > 0) shownBrowser()->selectFirst();
    });
    connect(m_browser, &BrowserView::moveOutOfTop, this, [this] { m_ask->field()->setFocus(Qt::OtherFocusReason); });
    connect(m_home->results(), &BrowserView::moveOutOfTop, this,
            [this] { m_home->heroBar()->field()->setFocus(Qt::OtherFocusReason); });

    // What is shown. Changes are gathered into one refresh per turn of the event loop, so a
    // keystroke paints its chips first; while keys come quickly the list waits for a pause,
    // so that filtering a large library never holds up the next key.
    m_resultsTimer.setObjectName(QStringLiteral("MainWindow results"));
    m_resultsTimer.setSingleShot(true);
    connect(&m_resultsTimer, &QTimer::timeout, this, &MainWindow::showResults);
    m_prepareTimer.setObjectName(QStringLiteral("MainWindow list"));
    m_prepareTimer.setSingleShot(true);
    connect(&m_prepareTimer, &QTimer::timeout, this, &MainWindow::prepareResults);
    connect(&search, &SearchSession::queryChanged, this, [this] { m_lastKey.start(); });
    for (auto signal : {&SearchSession::shownItemsChanged, &SearchSession::searchSettledChanged})
        connect(&search, signal, this, &MainWindow::scheduleResults);
    for (auto signal : {&LibraryModel::isScanningChanged, &LibraryModel::itemsChanged})
        connect(&m_app.library(), signal, this, &MainWindow::scheduleResults);

    // The browser.
    for (BrowserView* view : {m_browser, m_home->results()}) {
        connect(view, &BrowserView::selectionChanged, this, [this, view] {
            if (view != shownBrowser()) return;
            m_inspector->setItems(view->selectedItems());
            m_actions->refresh();
        });
        connect(view, &BrowserView::activated, this, [this](const FileItem&) { m_actions->openSelection(); });
        connect(view, &BrowserView::contextMenuRequested, this,
                [this](const QPoint& at) { m_actions->contextMenu(this)->popup(at); });
    }
    connect(m_cleanup, &CleanupPage::sidebarItemRequested, &search, &SearchSession::setSidebar);
    connect(m_home, &HomePage::fileActivated, this, [](const FileItem& item) { DesktopActions::open({item.path}); });
    // The page follows the sidebar, and the welcome screen comes first on a first run.
    connect(&search, &SearchSession::sidebarChanged, this, &MainWindow::showPage);
    connect(&search, &SearchSession::homeResultsChanged, this, &MainWindow::showPage);
    connect(&m_app.library(), &LibraryModel::showWelcomeChanged, this, &MainWindow::showPage);
    connect(m_browser, &BrowserView::zoomRequested, this, [&settings](double step) { settings.zoom(step); });
    connect(m_browser, &BrowserView::sortRequested, this, [&settings](SortKey key, bool ascending) {
        settings.setSortKey(key);
        settings.setSortAscending(ascending);
    });
    connect(m_inspector, &InspectorView::moreLikeThis, this, [&search](const QString& path) {
        search.setQuery(QString());
        search.setSidebar(SidebarItem::page(SidebarItem::Kind::findImages));
        search.setSimilarTo(path);
    });
    connect(&search, &SearchSession::sidebarChanged, this, [&search] {
        if (search.sidebar().kind != SidebarItem::Kind::findImages) search.setSimilarTo(std::nullopt);
    });
    connect(&m_app.organiser(), &Organiser::shelfChanged, m_actions.get(), &WindowActions::refresh);

    // Settings the window shows.
    connect(&settings, &AppSettings::viewModeChanged, this, [this, &settings] {
        m_browser->setViewMode(settings.viewMode());
        m_gridButton->setChecked(settings.viewMode() == ViewMode::grid);
        m_listButton->setChecked(settings.viewMode() == ViewMode::list);
    });
    connect(&settings, &AppSettings::cardSizeChanged, this, [this, &settings] {
        m_browser->setCardSize(settings.cardSize());
        m_zoom->setValue(int(settings.cardSize()));
    });
    for (auto signal : {&AppSettings::sortKeyChanged, &AppSettings::sortAscendingChanged})
        connect(&settings, signal, this,
                [this, &settings] { m_browser->setSort(settings.sortKey(), settings.sortAscending()); });
    connect(&settings, &AppSettings::themeChanged, this, [this] { applyLook(); });

    // Progress in the toolbar.
    // A progress bar repaints itself at once when its value moves, so counts that change many
    // times a second reach it a few times a second.
    connect(&m_app.library(), &LibraryModel::isScanningChanged, this, &MainWindow::updateScanProgress);
    m_progressTimer.setObjectName(QStringLiteral("MainWindow progress"));
    m_progressTimer.setSingleShot(true);
    m_progressTimer.setInterval(150);
    connect(&m_progressTimer, &QTimer::timeout, this, &MainWindow::updateScanProgress);
    auto progressed = [this] {
        if (!m_progressTimer.isActive()) m_progressTimer.start();
    };
    connect(&m_app.library(), &LibraryModel::scannedCountChanged, this, progressed);
    connect(&m_app.images(), &ImageIndexer::ocrProgressChanged, this, progressed);

    m_browser->setViewMode(settings.viewMode());
    m_browser->setCardSize(settings.cardSize());
    m_browser->setSort(settings.sortKey(), settings.sortAscending());
    m_zoom->setValue(int(settings.cardSize()));
    m_gridButton->setChecked(settings.viewMode() == ViewMode::grid);
    m_listButton->setChecked(settings.viewMode() == ViewMode::list);
    setInspectorShown(true);
    applyLook();
    showPage();
    showResults();
    updateScanProgress();
    restoreGeometry();
    m_ask->field()->setFocus(Qt::OtherFocusReason);
}

MainWindow::~MainWindow() = default;

QWidget* MainWindow::buildToolbar()
{
    auto* bar = new QWidget(this);
    auto* row = new QHBoxLayout(bar);
    row->setContentsMargins(6, 4, 6, 4);
    row->setSpacing(6);
    row->addWidget(m_ask, 1);

    const auto tool = [bar](QAction* action, const QString& name) {
        auto* b = new QToolButton(bar);
        b->setDefaultAction(action);
        b->setAutoRaise(true);
        b->setAccessibleName(name);
        b->setFocusPolicy(Qt::TabFocus);
        return b;
    };
    m_gridButton = tool(m_actions->action(WindowActions::Id::asGrid), QStringLiteral("Show as grid"));
    m_listButton = tool(m_actions->action(WindowActions::Id::asList), QStringLiteral("Show as list"));
    row->addSpacing(6);
    row->addWidget(m_gridButton);
    row->addWidget(m_listButton);

    m_sortButton = new QToolButton(bar);
    m_sortButton->setAutoRaise(true);
    m_sortButton->setPopupMode(QToolButton::InstantPopup);
    m_sortButton->setAccessibleName(QStringLiteral("Sort order"));
    m_sortButton->setToolTip(QStringLiteral("Sort order"));
    m_sortButton->setFocusPolicy(Qt::TabFocus);
    // The View menu's Sort By, shared.
    for (QAction* a : menuBar()->actions())
        if (a->menu() && a->text() == QStringLiteral("&View"))
            for (QAction* sub : a->menu()->actions())
                if (sub->menu() && sub->text() == QStringLiteral("&Sort By")) m_sortButton->setMenu(sub->menu());
    row->addWidget(m_sortButton);

    m_zoom = new QSlider(Qt::Horizontal, bar);
    m_zoom->setRange(int(AppSettings::kMinCardSize), int(AppSettings::kMaxCardSize));
    m_zoom->setSingleStep(10);
    m_zoom->setPageStep(40);
    m_zoom->setFixedWidth(110);
    m_zoom->setAccessibleName(QStringLiteral("Card size"));
    m_zoom->setToolTip(QStringLiteral("Card size (Ctrl+Plus, Ctrl+Minus)"));
    connect(m_zoom, &QSlider::valueChanged, this, [this](int v) { m_app.settings().setCardSize(v); });
    row->addWidget(m_zoom);

    m_scanProgress = new QProgressBar(bar);
    m_scanProgress->setFixedWidth(90);
    m_scanProgress->setMaximumHeight(8);
    m_scanProgress->setTextVisible(false);
    m_scanProgress->setAccessibleName(QStringLiteral("Scan and image reading progress"));
    // Its place is kept while it is hidden: the Ask field, which takes the toolbar's spare
    // width, would otherwise change width under the pointer whenever a scan starts or ends.
    QSizePolicy keep = m_scanProgress->sizePolicy();
    keep.setRetainSizeWhenHidden(true);
    m_scanProgress->setSizePolicy(keep);
    row->addWidget(m_scanProgress);

    m_inspectorButton = tool(m_actions->action(WindowActions::Id::inspector), QStringLiteral("Show the inspector"));
    row->addWidget(m_inspectorButton);
    return bar;
}

void MainWindow::applyLook(std::optional<QPalette> palette)
{
    if (palette) {
        m_followDesktopPalette = false;
        QApplication::setPalette(*palette);
    }
    m_style = ThemeStyle(m_app.settings().theme(), QApplication::palette());
    m_ask->field()->setThemeStyle(m_style);
    m_browser->setThemeStyle(m_style);
    m_home->setThemeStyle(m_style);
    m_welcome->setThemeStyle(m_style);
    m_finder->setThemeStyle(m_style);
    m_cleanup->setThemeStyle(m_style);
    m_duplicates->setThemeStyle(m_style);
    m_sidebar->setThemeStyle(m_style);
    m_inspector->setThemeStyle(m_style);
    m_quickLook->setThemeStyle(m_style);
    if (m_quickPanel) m_quickPanel->setThemeStyle(m_style);
    m_toast->setThemeStyle(m_style);
    const QPalette p = QApplication::palette();
    m_sortButton->setIcon(Icons::themed(m_app.settings().sortAscending() ? QStringLiteral("view-sort-ascending")
                                                                         : QStringLiteral("view-sort-descending"), p));
    m_actions->setPalette(p);
    m_actions->refresh();
    update();
}

SettingsWindow* MainWindow::settingsWindow()
{
    if (!m_settingsWindow) {
        m_settingsWindow = new SettingsWindow(m_app, this);
        m_settingsWindow->updateSection()->setUpdater(m_updater);
        if (m_hotKey) m_settingsWindow->quickSearchSection()->setHotKey(m_hotKey);
        connect(m_settingsWindow->updateSection(), &UpdateSettings::showUpdateRequested, this,
                &MainWindow::showUpdateWindow);
    }
    return m_settingsWindow;
}

QuickPanel* MainWindow::quickPanel()
{
    if (!m_quickPanel) {
        m_quickPanel = std::make_unique<QuickPanel>(m_app, m_thumbnails);
        m_quickPanel->setThemeStyle(m_style);
    }
    return m_quickPanel.get();
}

void MainWindow::showQuickSearch() { quickPanel()->present(); }

void MainWindow::setUpdater(Updater* updater)
{
    m_updater = updater;
    if (m_settingsWindow) m_settingsWindow->updateSection()->setUpdater(updater);
    if (updater) connect(updater, &Updater::updateAnnounced, this, &MainWindow::showUpdateWindow);
}

void MainWindow::setHotKey(HotKey* hotKey)
{
    m_hotKey = hotKey;
    if (m_settingsWindow) m_settingsWindow->quickSearchSection()->setHotKey(hotKey);
}

void MainWindow::showUpdateWindow()
{
    if (!m_updateWindow) {
        if (!m_updater) {
            // Nothing keeps this copy current itself: Settings says where updates come from.
            settingsWindow()->showTab(SettingsWindow::Tab::updates);
            showSettings();
            return;
        }
        m_updateWindow = new UpdateWindow(*m_updater, this);
    }
    m_updateWindow->show();
    m_updateWindow->raise();
    m_updateWindow->activateWindow();
}

void MainWindow::showSettings()
{
    SettingsWindow* settings = settingsWindow();
    settings->show();
    settings->raise();
    settings->activateWindow();
}

void MainWindow::showWelcomePreview(bool shown)
{
    m_welcomePreview = shown;
    showPage();
}

QWidget* MainWindow::currentPage() const { return m_content->currentWidget(); }

BrowserView* MainWindow::shownBrowser() const
{
    return m_content->currentWidget() == m_home ? m_home->results() : m_browser;
}

void MainWindow::showPage()
{
    QWidget* page = m_browser;
    if (m_app.library().showWelcome() || m_welcomePreview)
        page = m_welcome;
    else if (m_app.search().sidebar().kind == SidebarItem::Kind::home)
        page = m_home;
    else if (m_app.search().sidebar().kind == SidebarItem::Kind::findImages)
        page = m_finder;
    else if (m_app.search().sidebar().kind == SidebarItem::Kind::duplicates)
        page = m_duplicates;
    else if (m_app.search().sidebar().kind == SidebarItem::Kind::cleanup
             || m_app.search().sidebar().kind == SidebarItem::Kind::cleanupCard) {
        m_cleanup->setSidebarItem(m_app.search().sidebar());
        page = m_cleanup;
    }
    if (m_content->currentWidget() == page) return;
    m_content->setCurrentWidget(page);
    if (page == m_browser) SessionResults::show(*m_browser, m_app);
    m_inspector->setItems(shownBrowser()->selectedItems());
    m_actions->refresh();
}

void MainWindow::prepareResults()
{
    SearchSession& search = m_app.search();
    if (!search.isVisibleReady() && (m_content->currentWidget() == m_browser || m_content->currentWidget() == m_home))
        search.prepareVisibleItems();
}

void MainWindow::scheduleResults()
{
    // The list is worked out on its thread while the person is still typing, so that it is
    // ready to show when the typing pause ends; a later key drops it and starts another. A key
    // starts it a frame later: woken at once, that thread takes a core from the key's own
    // repaint whenever the other core is busy.
    const bool typing = m_lastKey.isValid() && m_lastKey.elapsed() < kTypingPauseMs;
    if (typing) {
        m_prepareTimer.start(kKeyPaintMs);
        // The pause counts from the last key, not from this call (the list arriving, news
        // from a scan), so the list is shown when the pause ends.
        m_resultsTimer.start(int(kTypingPauseMs - m_lastKey.elapsed()));
    } else {
        prepareResults();
        if (!m_resultsTimer.isActive()) m_resultsTimer.start(0);
    }
}

void MainWindow::showResults()
{
    // The browser behind a page catches up when it is shown again: filling it means sorting
    // what the sidebar lists, the whole library for the general pages.
    if (m_content->currentWidget() == m_browser) SessionResults::show(*m_browser, m_app);
    m_actions->refresh();
}

void MainWindow::updateScanProgress()
{
    const LibraryModel& library = m_app.library();
    const auto [done, total] = m_app.images().ocrProgress();
    if (library.isScanning()) {
        m_scanProgress->setRange(0, 0);  // a scan doesn't know its end: busy
        m_scanProgress->show();
        setHint(m_scanProgress,
                QStringLiteral("Scanning… ") + Fmt::count(library.scannedCount(), QStringLiteral("file")));
    } else if (m_app.images().isIndexingImages() && total > 0 && done < total) {
        m_scanProgress->setRange(0, total);
        m_scanProgress->setValue(done);
        m_scanProgress->show();
        setHint(m_scanProgress,
                QStringLiteral("Reading pictures… %1 of %2").arg(QLocale().toString(done), QLocale().toString(total)));
    } else {
        m_scanProgress->hide();
    }
}

void MainWindow::setInspectorShown(bool shown)
{
    m_inspector->setVisible(shown);
    m_actions->refresh();
}

bool MainWindow::inspectorShown() const { return !m_inspector->isHidden(); }

void MainWindow::showQuickLook(const FileItem& item) { m_quickLook->showItem(item); }

void MainWindow::changeEvent(QEvent* event)
{
    // The desktop switched between light and dark: follow it unless a palette was chosen.
    if (event->type() == QEvent::ApplicationPaletteChange && m_followDesktopPalette) {
        const bool wasDark = m_style.isDark();
        if (DesktopLook::isDark(QApplication::palette()) != wasDark) applyLook();
    }
    QMainWindow::changeEvent(event);
}

void MainWindow::restoreGeometry()
{
    const AppSettings& state = m_app.settings();
    const QByteArray geometry = state.windowState(QStringLiteral("geometry")).toByteArray();
    if (geometry.isEmpty() || !QMainWindow::restoreGeometry(geometry)) resize(1280, 800);
    const QByteArray split = state.windowState(QStringLiteral("splitter")).toByteArray();
    if (!split.isEmpty()) m_splitter->restoreState(split);
    const QVariant inspector = state.windowState(QStringLiteral("inspector"));
    setInspectorShown(inspector.isValid() ? inspector.toBool() : true);
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    AppSettings& state = m_app.settings();
    state.setWindowState(QStringLiteral("geometry"), saveGeometry());
    state.setWindowState(QStringLiteral("splitter"), m_splitter->saveState());
    state.setWindowState(QStringLiteral("inspector"), inspectorShown());
    QMainWindow::closeEvent(event);
}

}  // namespace fennic
