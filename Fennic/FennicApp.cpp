// The application's entry point: the window, the demonstration, the capture run and the
// self-test.
#include "SabloKit/Updater.h"
#include "app/AppModel.h"
#include "app/AppSettings.h"
#include "app/ImageIndexer.h"
#include "app/SearchSession.h"
#include "capture/Snapshot.h"
#include "demo/FennicDemo.h"
#include "desktop/SingleInstance.h"
#include "desktopsearch/DesktopSearch.h"
#include "library/Prefs.h"
#include "model/SupportFiles.h"
#include "quick/HotKey.h"
#include "selftest/SelfTest.h"
#include "theme/BandedStyle.h"
#include "theme/DesktopLook.h"
#include "thumbnails/ThumbnailLoader.h"
#include "tray/TrayItem.h"
#include "window/MainWindow.h"
#include "window/WindowActions.h"

#include <QAction>
#include <QApplication>
#include <QCommandLineParser>
#include <QGuiApplication>
#include <QIcon>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>
#include <cstring>
#include <memory>

namespace {

bool hasArgument(int argc, char** argv, const char* name)
{
    for (int i = 1; i < argc; ++i)
        if (std::strcmp(argv[i], name) == 0) return true;
    return false;
}

// Without a display (a server, CI) the window renders offscreen instead of failing.
void offscreenWithoutDisplay()
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM") && !qEnvironmentVariableIsSet("DISPLAY")
        && !qEnvironmentVariableIsSet("WAYLAND_DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
}

void describeApplication()
{
    QCoreApplication::setApplicationName(QStringLiteral("Fennic"));
    QCoreApplication::setApplicationVersion(QStringLiteral(FENNIC_VERSION));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Fennic"));
    QGuiApplication::setDesktopFileName(QStringLiteral(FENNIC_APP_ID));
}

int runSelfTest(int argc, char** argv)
{
    // Everything the self-test reads or writes is placed before Qt looks at the environment.
    fennic::SelfTest::prepareEnvironment();
    offscreenWithoutDisplay();
    QGuiApplication app(argc, argv);
    describeApplication();
    QTextStream out(stdout);
    return fennic::SelfTest(out).run();
}

int runCapture(int argc, char** argv, const QString& dir)
{
    QTemporaryDir scratch(QDir::tempPath() + QStringLiteral("/fennic-capture-XXXXXX"));
    if (!scratch.isValid()) return 1;
    fennic::Snapshot::prepareEnvironment(scratch.path());
    offscreenWithoutDisplay();
    QApplication app(argc, argv);
    describeApplication();
    fennic::BandedStyle::install();
    QTextStream out(stdout);
    return fennic::Snapshot::run(QDir(dir).absolutePath(), scratch.path(), out);
}

int runWindow(int argc, char** argv, bool demo)
{
    // One Fennic per session: a second start raises the first window, or opens its panel. Handed
    // over before any toolkit starts, so that a key bound to `fennic --quick-search` is quick.
    const bool quickSearch = hasArgument(argc, argv, "--quick-search");
    if (!demo && !hasArgument(argc, argv, "--help") && !hasArgument(argc, argv, "--version")
        && fennic::SingleInstance().sendToRunning(quickSearch ? "quick-search" : "activate"))
        return 0;

    // The demonstration lives in a temporary folder with its own Trash and thumbnails.
    std::unique_ptr<QTemporaryDir> scratch;
    if (demo) {
        scratch = std::make_unique<QTemporaryDir>(QDir::tempPath() + QStringLiteral("/fennic-demo-XXXXXX"));
        if (!scratch->isValid()) return 1;
        fennic::Snapshot::prepareEnvironment(scratch->path());
    }
    QApplication app(argc, argv);
    describeApplication();
    fennic::BandedStyle::install();

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Your everyday folders in one quiet library."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOption({QStringLiteral("demo"), QStringLiteral("Open a demonstration library instead of your folders.")});
    parser.addOption({QStringLiteral("self-test"), QStringLiteral("Run the built-in end-to-end test and exit.")});
    parser.addOption({QStringLiteral("quick-search"), QStringLiteral("Open the Quick Search panel (of the running Fennic, or start one).")});
    parser.addOption({QStringLiteral("search-provider"),
                                     QStringLiteral("Start without the window, to answer the desktop's search.")});
    parser.process(app);

    fennic::SingleInstance instance;
    if (!demo) instance.listen();

    fennic::DesktopLook::ensureIconTheme();
    // The theme's icon where the icon is installed, else the one built into the executable.
    QApplication::setWindowIcon(
        QIcon::fromTheme(QStringLiteral(FENNIC_APP_ID), QIcon(QStringLiteral(":/icons/" FENNIC_APP_ID ".svg"))));
    fennic::Prefs::configure();
    fennic::AppEnvironment env;
    std::optional<fennic::FennicDemo::Library> library;
    if (demo) {
        library = fennic::FennicDemo::build(scratch->path() + QStringLiteral("/home"), env.now());
        env.demoItems = [items = library->items] { return items; };
        env.settingsFile = scratch->path() + QStringLiteral("/settings.ini");
    }
    fennic::AppModel::configureShared(env);
    fennic::AppModel& model = fennic::AppModel::shared();
    fennic::ThumbnailLoader thumbnails(demo
                                       ? fennic::ThumbnailCache(scratch->path() + QStringLiteral("/cache/thumbnails"))
                                       : fennic::ThumbnailCache());
    fennic::MainWindow window(model, thumbnails);
    if (demo) window.setWindowTitle(QStringLiteral("Demonstration — Fennic"));
    // Started by the desktop's search: the window shows when a person asks for it.
    if (!parser.isSet(QStringLiteral("search-provider"))) window.show();

    // A copy installed in the user's own folder keeps itself current; the demonstration leaves
    // it alone.
    std::unique_ptr<fennic::Updater> updater;
    if (!demo) {
        fennic::UpdaterEnvironment updates;
        if (fennic::SupportFiles::fixtureRoot())
            updates.settingsFile = fennic::SupportFiles::current().file(QStringLiteral("settings.ini"));
        updater = std::make_unique<fennic::Updater>(updates);
        window.setUpdater(updater.get());
        updater->start();
    }

    const auto raise = [&window] {
        window.setWindowState((window.windowState() & ~Qt::WindowMinimized) | Qt::WindowActive);
        window.show();
        window.raise();
        window.activateWindow();
    };
    QObject::connect(&instance, &fennic::SingleInstance::messageReceived, &window,
                     [&window, raise](const QByteArray& message) {
                         if (message == "quick-search")
                             window.showQuickSearch();
                         else
                             raise();
                     });
    if (quickSearch) QTimer::singleShot(0, &window, [&window] { window.showQuickSearch(); });

    // Where the desktop has a tray, Fennic lives on in it when the window closes.
    std::unique_ptr<fennic::TrayItem> tray;
    if (fennic::TrayItem::available()) {
        tray = std::make_unique<fennic::TrayItem>(model);
        QObject::connect(tray.get(), &fennic::TrayItem::openRequested, &window, raise);
        QObject::connect(tray.get(), &fennic::TrayItem::quickSearchRequested, &window,
                         [&window] { window.showQuickSearch(); });
    }
    QApplication::setQuitOnLastWindowClosed(!tray);

    // The global Quick Search shortcut, kept in step with the settings, and Fennic's files in
    // the desktop's own search (not for the demonstration, whose files are not the user's).
    fennic::HotKey hotKey;
    hotKey.action = [&window] { window.showQuickSearch(); };
    hotKey.follow(model.settings());
    window.setHotKey(&hotKey);
    fennic::DesktopSearch desktopSearch(model);
    if (!demo && desktopSearch.publish())
        QObject::connect(&desktopSearch, &fennic::DesktopSearch::launchSearch, &window,
                         [&model, raise](const QString& request) {
                             raise();
                             model.search().setQuery(request);
                         });
    QObject::connect(&app, &QGuiApplication::applicationStateChanged, &model, [&model](Qt::ApplicationState state) {
        if (state == Qt::ApplicationActive) model.applicationBecameActive();
    });
    QObject::connect(&app, &QCoreApplication::aboutToQuit, &model, [&model] {
        // What image reading found since its last save, and the settings, survive the quit.
        model.images().cancelImageIndexing();
        model.images().saveImageIndex();
        model.settings().sync();
        model.waitForIdle(10000);
    });
    // Launching finishes once the window is up, so the cached library shows at once.
    QTimer::singleShot(0, &model, [&model] { model.finishLaunching(); });
    return app.exec();
}

}  // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsSet("FENNIC_SELFTEST_PHASE") || hasArgument(argc, argv, "--self-test"))
        return runSelfTest(argc, argv);
    if (const QString dir = qEnvironmentVariable("FENNIC_SNAPSHOT_DIR"); !dir.isEmpty())
        return runCapture(argc, argv, dir);
    return runWindow(argc, argv, hasArgument(argc, argv, "--demo"));
}
