// The tray item's menu over a real library: its actions reach the model and its status line
// follows the scan. Offscreen there is no tray, so the menu is driven directly.
#include "tray/TrayItem.h"
#include "AppTestSupport.h"
#include "theme/DesktopLook.h"

#include <QAction>
#include <QMenu>
#include <QScopeGuard>
#include <QSemaphore>
#include <QTest>
#include <gtest/gtest.h>

using namespace fennic;
using fennic::test::AppFixture;

namespace {

QStringList actionTexts(const QMenu* menu)
{
    QStringList texts;
    for (const QAction* a : menu->actions())
        if (!a->isSeparator()) texts << a->text();
    return texts;
}

}  // namespace

TEST(TrayItem, TheMenuOpensQuickSearchAndTheWindow)
{
    DesktopLook::ensureIconTheme();
    AppFixture f;
    AppModel& app = f.make();
    TrayItem tray(app);
    EXPECT_EQ(tray.icon() != nullptr, TrayItem::available());
    EXPECT_EQ(
        actionTexts(tray.menu()),
        (QStringList{"Quick Search", "Open Fennic", "Scan Now", "Pause Image Reading", "Library: 0 files", "Quit"}));
    EXPECT_FALSE(tray.statusAction()->isEnabled());

    QSignalSpy quick(&tray, &TrayItem::quickSearchRequested);
    QSignalSpy open(&tray, &TrayItem::openRequested);
    tray.quickSearchAction()->trigger();
    tray.openAction()->trigger();
    EXPECT_EQ(quick.size(), 1);
    EXPECT_EQ(open.size(), 1);
}

TEST(TrayItem, ScanAndPauseReachTheModelAndTheStatusFollowsTheScan)
{
    // Holds the scan's result back, so that the status can be seen while it runs.
    QSemaphore listed;
    QSemaphore release;
    AppFixture f;
    // Enough files for the scan to report its progress along the way.
    for (int i = 0; i < 520; ++i) f.tree.write(QStringLiteral("Documents/note %1.txt").arg(i), "n");
    f.env.scanListed = [&] {
        listed.release();
        release.acquire();
    };
    AppModel& app = f.make();
    TrayItem tray(app);

    QSignalSpy started(&app.library(), &LibraryModel::scanStarted);
    tray.scanAction()->trigger();
    EXPECT_EQ(started.size(), 1);
    EXPECT_FALSE(tray.scanAction()->isEnabled()) << "one scan at a time";
    // Whatever happens below, the scan is let go before the model waits for it.
    const auto letGo = qScopeGuard([&] { release.release(); });
    ASSERT_TRUE(QTest::qWaitFor([&] { return listed.tryAcquire(); }, 10000));
    ASSERT_TRUE(QTest::qWaitFor([&] { return app.library().scannedCount() == 500; }, 5000))
        << app.library().scannedCount();
    EXPECT_EQ(tray.statusAction()->text(), "Scanning… 500 files");
    release.release();
    ASSERT_TRUE(app.waitForIdle());
    EXPECT_EQ(tray.statusAction()->text(), "Library: 520 files");
    EXPECT_TRUE(tray.scanAction()->isEnabled());

    tray.pauseAction()->trigger();
    EXPECT_TRUE(app.images().imageIndexPaused());
    EXPECT_EQ(tray.pauseAction()->text(), "Resume Image Reading");
    tray.pauseAction()->trigger();
    EXPECT_FALSE(app.images().imageIndexPaused());
    EXPECT_EQ(tray.pauseAction()->text(), "Pause Image Reading");
}
