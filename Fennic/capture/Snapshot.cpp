#include "Snapshot.h"

#include "app/AppModel.h"
#include "app/AppSettings.h"
#include "app/DuplicateScan.h"
#include "app/ImageIndexer.h"
#include "app/LibraryModel.h"
#include "app/Organiser.h"
#include "app/SearchSession.h"
#include "app/Toast.h"
#include "ask/AskBar.h"
#include "ask/AskField.h"
#include "browser/BrowserView.h"
#include "demo/FennicDemo.h"
#include "library/Prefs.h"
#include "quicklook/QuickLookWindow.h"
#include "quickpanel/QuickPanel.h"
#include "settings/SettingsWindow.h"
#include "theme/DesktopLook.h"
#include "thumbnails/ThumbnailLoader.h"
#include "window/MainWindow.h"
#include "window/WindowActions.h"

#include <QAction>
#include <QApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QPainter>
#include <QThread>

namespace fennic::Snapshot {

namespace {

void settle(int ms)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < ms) {
        QApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(5);
    }
}

// Lets pending thumbnails arrive (the loader works on its own threads).
void waitForThumbnails(ThumbnailLoader& loader)
{
    QDeadlineTimer deadline(15000);
    settle(100);
    while (loader.queued() > 0 && !deadline.hasExpired()) settle(50);
    settle(150);
}

const FileItem* findItem(const QList<FileItem>& items, const QString& name)
{
    for (const FileItem& item : items)
        if (item.name == name) return &item;
    return nullptr;
}

// A window drawn centred over the main window, which is dimmed behind it.
QImage over(QImage main, const QImage& dialog)
{
    QPainter p(&main);
    p.fillRect(main.rect(), QColor(0, 0, 0, 90));
    p.drawImage(QPoint((main.width() - dialog.width()) / 2, (main.height() - dialog.height()) / 2), dialog);
    return main;
}

// A panel summoned over the main window: centred, a sixth of the way down, with what it opened
// (a preview) below it.
QImage overTop(QImage main, const QImage& panel, const QImage& below = QImage())
{
    QPainter p(&main);
    p.fillRect(main.rect(), QColor(0, 0, 0, 90));
    const int top = main.height() / 6;
    p.drawImage(QPoint((main.width() - panel.width()) / 2, top), panel);
    if (!below.isNull()) p.drawImage(QPoint((main.width() - below.width()) / 2, top + panel.height() + 12), below);
    return main;
}

}  // namespace

QStringList views()
{
    static const char* const names[] = {"browse-grid",
                                        "browse-list",
                                        "inspector",
                                        "ask-chips",
                                        "toast",
                                        "quick-look",
                                        "home",
                                        "home-results",
                                        "find-images",
                                        "find-images-similar",
                                        "cleanup",
                                        "cleanup-review",
                                        "duplicates",
                                        "settings-library",
                                        "settings-images",
                                        "settings-rules",
                                        "settings-quick-search",
                                        "quick-search",
                                        "quick-search-preview",
                                        "welcome"};
    QStringList list;
    for (const char* name : names) list.append(QString::fromLatin1(name));
    return list;
}

QStringList darkViews()
{
    return {QStringLiteral("browse-grid"), QStringLiteral("home"), QStringLiteral("quick-search")};
}

void prepareEnvironment(const QString& scratch)
{
    for (const char* sub : {"home", "data", "cache"}) QDir(scratch).mkpath(QString::fromLatin1(sub));
    qputenv("FENNIC_LIBRARY_ROOT", QFile::encodeName(scratch + QStringLiteral("/home")));
    // The demonstration's Trash and thumbnails stay in the scratch folder.
    qputenv("XDG_DATA_HOME", QFile::encodeName(scratch + QStringLiteral("/data")));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(scratch + QStringLiteral("/cache")));
}

int run(const QString& dir, const QString& scratch, QTextStream& out)
{
    if (!QDir().mkpath(dir)) {
        out << "capture: can't create " << dir << Qt::endl;
        return 1;
    }
    Prefs::configure();
    DesktopLook::ensureIconTheme();
    const QPalette desktop = DesktopLook::lightPalette();
    QApplication::setPalette(desktop);

    AppEnvironment env;
    const Date now = env.now();
    const auto demo = FennicDemo::build(scratch + QStringLiteral("/home"), now);
    env.demoItems = [items = demo.items] { return items; };
    env.settingsFile = scratch + QStringLiteral("/settings.ini");
    env.playSound = [](const QString&) {};
    AppModel app(env);
    ThumbnailLoader thumbnails(ThumbnailCache(scratch + QStringLiteral("/cache/thumbnails")));
    MainWindow window(app, thumbnails);
    window.resize(1280, 800);
    window.show();
    app.finishLaunching();
    if (!app.waitForIdle(180000)) {
        out << "capture: the scan and image reading did not finish" << Qt::endl;
        return 1;
    }

    int failures = 0;
    const auto save = [&](const QString& view, Theme theme, bool dark, const QImage& image) {
        const QString file = QStringLiteral("%1/%2-%3%4.png") .arg(dir, view, Themes::rawValue(theme),
                                                                   dark ? QStringLiteral("-dark") : QString());
        if (image.save(file, "PNG"))
            out << file << Qt::endl;
        else
            ++failures;
    };
    const auto shot = [&]() {
        waitForThumbnails(thumbnails);
        return window.grab().toImage();
    };

    SearchSession& search = app.search();
    AppSettings& settings = app.settings();
    const QList<FileItem>& items = app.library().items();
    for (const Theme theme : {Theme::playful, Theme::minimal}) {
        settings.setTheme(theme);
        for (const bool dark : {false, true}) {
            window.applyLook(dark ? DesktopLook::darkPalette() : desktop);
            search.setSidebar(SidebarItem::ofKind(FileKind::image));
            search.setQuery(QString());
            settings.setViewMode(ViewMode::grid);
            settle(200);  // the list follows the request in a later turn of the event loop
            window.browser()->selectPaths({});
            save(QStringLiteral("browse-grid"), theme, dark, shot());
        }
        window.applyLook(desktop);

        search.setSidebar(SidebarItem::ofKind(FileKind::document));
        settings.setViewMode(ViewMode::list);
        settle(200);
        save(QStringLiteral("browse-list"), theme, false, shot());
        settings.setViewMode(ViewMode::grid);

        // A picture whose words were read.
        search.setSidebar(SidebarItem::ofKind(FileKind::image));
        settle(200);
        if (const FileItem* receipt = findItem(items, QStringLiteral("Receipt cafe.png")))
            window.browser()->selectPaths({receipt->path});
        window.setInspectorShown(true);
        save(QStringLiteral("inspector"), theme, false, shot());

        search.setSidebar(SidebarItem::home());
        const QString request = QStringLiteral("pdfs from gmail last week over 5 MB");
        window.askBar()->field()->setText(request);
        search.setQuery(request);
        settle(app.environment().settleDelayMs + 100);
        window.browser()->selectPaths({});
        save(QStringLiteral("ask-chips"), theme, false, shot());
        search.setQuery(QString());
        search.setSidebar(SidebarItem::ofKind(FileKind::document));
        settle(200);

        // Right after a Trash, with Undo on offer; then put back.
        if (const FileItem* notes = findItem(items, QStringLiteral("Notes.txt"))) {
            window.browser()->selectPaths({notes->path});
            window.actions().trashSelection();
            save(QStringLiteral("toast"), theme, false, shot());
            window.actions().undoLastTrash();
            app.toast().hide();
        }

        if (const FileItem* island = findItem(items, QStringLiteral("Island from the ferry.jpg"))) {
            window.showQuickLook(*island);
            settle(600);
            QWidget* look = window.quickLook();
            save(QStringLiteral("quick-look"), theme, false, over(shot(), look->grab().toImage()));
            look->close();
        }

        // The pages.
        for (const bool dark : {false, true}) {
            window.applyLook(dark ? DesktopLook::darkPalette() : desktop);
            search.setQuery(QString());
            search.setSidebar(SidebarItem::home());
            settle(300);
            save(QStringLiteral("home"), theme, dark, shot());
        }
        window.applyLook(desktop);
        search.setQuery(QStringLiteral("invoice pdfs"));
        settle(app.environment().settleDelayMs + 200);
        save(QStringLiteral("home-results"), theme, false, shot());
        search.setQuery(QString());

        search.setSidebar(SidebarItem::page(SidebarItem::Kind::findImages));
        search.setFindMode(FindMode::everything);
        search.setFindQuery(QStringLiteral("croissant"));
        settle(800);
        save(QStringLiteral("find-images"), theme, false, shot());
        if (const FileItem* beach = findItem(items, QStringLiteral("Beach at Playa Blanca.jpg"))) {
            search.setSimilarTo(beach->path);
            settle(800);
            save(QStringLiteral("find-images-similar"), theme, false, shot());
            search.setSimilarTo(std::nullopt);
        }
        search.setFindQuery(QString());

        search.setSidebar(SidebarItem::page(SidebarItem::Kind::cleanup));
        settle(400);
        save(QStringLiteral("cleanup"), theme, false, shot());
        search.setSidebar(SidebarItem::cleanupCard(CleanupKind::installers));
        settle(400);
        save(QStringLiteral("cleanup-review"), theme, false, shot());

        search.setSidebar(SidebarItem::page(SidebarItem::Kind::duplicates));
        if (!app.duplicates().duplicatesScanned()) {
            app.duplicates().findDuplicates();
            app.waitForIdle(60000);
        }
        settle(400);
        save(QStringLiteral("duplicates"), theme, false, shot());

        // The settings window, over the main window.
        SettingsWindow* settingsWindow = window.settingsWindow();
        settingsWindow->setPalette(desktop);
        settingsWindow->resize(820, 600);
        const std::pair<const char*, SettingsWindow::Tab> tabs[] = {
            {"settings-library", SettingsWindow::Tab::library},
            {"settings-images", SettingsWindow::Tab::images},
            {"settings-rules", SettingsWindow::Tab::rules},
            {"settings-quick-search", SettingsWindow::Tab::quickSearch}};
        for (const auto& [view, tab] : tabs) {
            settingsWindow->showTab(tab);
            settingsWindow->show();
            settle(400);
            save(QString::fromLatin1(view), theme, false, over(shot(), settingsWindow->grab().toImage()));
        }
        settingsWindow->hide();

        // The Quick Search panel over the window, with a request typed, and then its preview.
        QuickPanel* panel = window.quickPanel();
        for (const bool dark : {false, true}) {
            window.applyLook(dark ? DesktopLook::darkPalette() : desktop);
            panel->present();
            panel->askBar()->field()->setText(QString());
            panel->askBar()->field()->setText(QStringLiteral("invoice"));
            panel->model().setQuery(QStringLiteral("invoice"));
            // The rows are found on the pool, the pictures' after the names'.
            QDeadlineTimer found(10000);
            while (panel->model().searching() && !found.hasExpired()) settle(20);
            settle(300);
            waitForThumbnails(thumbnails);
            settle(100);
            save(QStringLiteral("quick-search"), theme, dark, overTop(shot(), panel->grab().toImage()));
        }
        window.applyLook(desktop);
        panel->model().move(1);
        panel->model().setPreviewing(true);
        if (QuickLookWindow* preview = panel->preview()) {
            preview->resize(720, 300);
            settle(600);
            save(QStringLiteral("quick-search-preview"), theme, false,
                                overTop(shot(), panel->grab().toImage(), preview->grab().toImage()));
        }
        panel->dismiss();
        panel->model().setQuery(QString());
        panel->askBar()->field()->setText(QString());

        window.showWelcomePreview(true);
        settle(300);
        save(QStringLiteral("welcome"), theme, false, shot());
        window.showWelcomePreview(false);
        search.setSidebar(SidebarItem::home());
    }
    window.close();
    return failures == 0 ? 0 : 1;
}

}  // namespace fennic::Snapshot
