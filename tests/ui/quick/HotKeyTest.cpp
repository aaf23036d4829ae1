// The global shortcut on a real X server: key presses come from xdotool (through the XTEST
// extension), as a keyboard's would. Without a display these tests skip; CTest runs them under
// Xvfb (see CMakeLists.txt).
#include "AppTestSupport.h"

#include "quick/HotKey.h"
#include "quick/HotKeyX11.h"

#include <QProcess>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <gtest/gtest.h>

using namespace fennic;

namespace {

constexpr Shortcut kCtrlShiftSpace = Shortcut::standard();
constexpr Shortcut kCtrlAltK{40, Shortcut::cmd | Shortcut::option};

bool xdotool(const QStringList& args) { return QProcess::execute(QStringLiteral("xdotool"), args) == 0; }

class HotKeyX11Test : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (qEnvironmentVariableIsEmpty("DISPLAY")) GTEST_SKIP() << "needs an X server (CTest runs this under Xvfb)";
        if (QStandardPaths::findExecutable(QStringLiteral("xdotool")).isEmpty()) GTEST_SKIP() << "needs xdotool";
        hotKey = std::make_unique<HotKey>(HotKey::Route::x11);
        hotKey->action = [this] { ++presses; };
    }

    // Presses and releases the keys, then lets the events arrive: the grab's connection is
    // read by a socket notifier, so the event loop must run.
    void press(const QString& keys, int expected)
    {
        ASSERT_TRUE(xdotool({QStringLiteral("key"), keys}));
        ASSERT_TRUE(QTest::qWaitFor([&] { return presses == expected; }, 3000)) << "presses: " << presses;
    }

    // No further call arrives late.
    void settle(int expected)
    {
        QTest::qWait(300);
        EXPECT_EQ(presses, expected);
    }

    std::unique_ptr<HotKey> hotKey;
    int presses = 0;
};

}  // namespace

TEST_F(HotKeyX11Test, EachPressCallsTheActionOnce)
{
    ASSERT_TRUE(hotKey->registerShortcut(kCtrlShiftSpace)) << qPrintable(hotKey->failureReason());
    EXPECT_EQ(hotKey->current(), kCtrlShiftSpace);
    EXPECT_EQ(hotKey->routeName(), "X11 key grab");
    EXPECT_TRUE(hotKey->failureReason().isEmpty());

    press(QStringLiteral("ctrl+shift+space"), 1);
    settle(1);
    press(QStringLiteral("ctrl+shift+space"), 2);

    // The key without its modifiers, or with one more, is not the shortcut.
    ASSERT_TRUE(xdotool({QStringLiteral("key"), QStringLiteral("ctrl+space"), QStringLiteral("ctrl+shift+alt+space")}));
    settle(2);

    // Held down long enough for the server to repeat it: still one press.
    ASSERT_TRUE(xdotool({QStringLiteral("keydown"), QStringLiteral("ctrl+shift+space")}));
    QTest::qWait(900);
    ASSERT_TRUE(xdotool({QStringLiteral("keyup"), QStringLiteral("ctrl+shift+space")}));
    ASSERT_TRUE(QTest::qWaitFor([&] { return presses == 3; }, 3000)) << "presses: " << presses;
    settle(3);
}

TEST_F(HotKeyX11Test, LocksOnStillFire)
{
    ASSERT_TRUE(hotKey->registerShortcut(kCtrlAltK));
    ASSERT_TRUE(xdotool({QStringLiteral("key"), QStringLiteral("Caps_Lock")}));
    press(QStringLiteral("ctrl+alt+k"), 1);
    ASSERT_TRUE(xdotool({QStringLiteral("key"), QStringLiteral("Num_Lock")}));
    press(QStringLiteral("ctrl+alt+k"), 2);
    ASSERT_TRUE(xdotool({QStringLiteral("key"), QStringLiteral("Caps_Lock"), QStringLiteral("Num_Lock")}));
    press(QStringLiteral("ctrl+alt+k"), 3);
    settle(3);
}

TEST_F(HotKeyX11Test, ACombinationAnotherClientHoldsIsRefusedWithTheReason)
{
    // Another client: a connection of its own, grabbing first.
    auto other = std::make_unique<HotKeyX11>();
    ASSERT_TRUE(other->isConnected());
    ASSERT_FALSE(other->bind(kCtrlShiftSpace).has_value());

    QSignalSpy changed(hotKey.get(), &HotKey::registrationChanged);
    EXPECT_FALSE(hotKey->registerShortcut(kCtrlShiftSpace));
    EXPECT_FALSE(hotKey->current().has_value());
    EXPECT_EQ(hotKey->failureReason(), "Another application already uses Ctrl+Shift+Space.");
    EXPECT_GE(changed.count(), 1);

    // Nothing of the refused grab is left behind, and another shortcut still works.
    ASSERT_TRUE(hotKey->registerShortcut(kCtrlAltK));
    EXPECT_TRUE(hotKey->failureReason().isEmpty());
    press(QStringLiteral("ctrl+alt+k"), 1);

    // Once the other client lets go, the shortcut can be had.
    other.reset();
    EXPECT_TRUE(hotKey->registerShortcut(kCtrlShiftSpace)) << qPrintable(hotKey->failureReason());
}

TEST_F(HotKeyX11Test, RegisteringAgainOrUnregisteringReleasesTheOldGrab)
{
    ASSERT_TRUE(hotKey->registerShortcut(kCtrlShiftSpace));
    ASSERT_TRUE(hotKey->registerShortcut(kCtrlAltK));
    HotKeyX11 other;
    EXPECT_FALSE(other.bind(kCtrlShiftSpace).has_value()) << "the previous shortcut was let go";
    EXPECT_TRUE(other.bind(kCtrlAltK).has_value()) << "the new one is held";

    hotKey->unregister();
    EXPECT_FALSE(hotKey->current().has_value());
    EXPECT_FALSE(other.bind(kCtrlAltK).has_value());
    xdotool({QStringLiteral("key"), QStringLiteral("ctrl+alt+k")});
    settle(0);
}

TEST_F(HotKeyX11Test, FollowsTheSettings)
{
    test::AppFixture f;
    AppModel& app = f.make();
    AppSettings& settings = app.settings();
    settings.setQuickSearchEnabled(true);
    hotKey->follow(settings);
    EXPECT_EQ(hotKey->current(), settings.quickShortcut());

    ASSERT_TRUE(settings.setQuickShortcut(kCtrlAltK));
    EXPECT_EQ(hotKey->current(), kCtrlAltK) << "a recorded shortcut is registered at once";
    press(QStringLiteral("ctrl+alt+k"), 1);

    settings.setQuickSearchEnabled(false);
    EXPECT_FALSE(hotKey->current().has_value());
    settings.setQuickSearchEnabled(true);
    EXPECT_EQ(hotKey->current(), kCtrlAltK);
}

TEST(HotKey, WithoutARouteRegistrationFailsAndNamesTheCommand)
{
    HotKey hotKey(HotKey::Route::none);
    EXPECT_FALSE(hotKey.registerShortcut(Shortcut::standard()));
    EXPECT_FALSE(hotKey.current().has_value());
    EXPECT_EQ(hotKey.routeName(), "none");
    EXPECT_TRUE(hotKey.failureReason().contains("no global shortcuts"));
    EXPECT_TRUE(hotKey.failureReason().contains(QLatin1String(HotKey::kCommand)));
}
