// The Quick Search settings with the application's HotKey: the section says how the shortcut is
// heard or why it is not, and a shortcut recorded there is registered at once.
#include "AppTestSupport.h"

#include "quick/HotKey.h"
#include "settings/QuickSearchSettings.h"
#include "settings/ShortcutRecorder.h"
#include "theme/DesktopLook.h"

#include <QCheckBox>
#include <QLabel>
#include <QTest>
#include <gtest/gtest.h>

using namespace fennic;

namespace {

void record(ShortcutRecorder* recorder, Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    recorder->startRecording();
    QTest::keyClick(recorder, key, modifiers);
}

class QuickSearchSettingsTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        DesktopLook::ensureIconTheme();
        app = &f.make();
        app->settings().setQuickSearchEnabled(true);
        section = std::make_unique<QuickSearchSettings>(*app);
        section->resize(560, 420);
        section->show();
    }
    void TearDown() override { section.reset(); }

    void give(HotKey& hotKey)
    {
        hotKey.follow(app->settings());
        section->setHotKey(&hotKey);
    }

    test::AppFixture f;
    AppModel* app = nullptr;
    std::unique_ptr<QuickSearchSettings> section;
};

class QuickSearchSettingsX11Test : public QuickSearchSettingsTest {
protected:
    void SetUp() override
    {
        if (qEnvironmentVariableIsEmpty("DISPLAY")) GTEST_SKIP() << "needs an X server (CTest runs this under Xvfb)";
        QuickSearchSettingsTest::SetUp();
    }
};

}  // namespace

TEST_F(QuickSearchSettingsTest, ADesktopWithoutGlobalShortcutsIsExplained)
{
    EXPECT_FALSE(section->statusLabel()->isVisibleTo(section.get())) << "nothing to report without a HotKey";
    HotKey hotKey(HotKey::Route::none);
    give(hotKey);
    QLabel* status = section->statusLabel();
    EXPECT_TRUE(status->isVisibleTo(section.get()));
    EXPECT_EQ(status->text(), hotKey.failureReason());
    EXPECT_TRUE(status->text().contains("fennic --quick-search"));
    EXPECT_FALSE(status->accessibleName().isEmpty());

    // Recording another shortcut tries again, and says so again.
    QSignalSpy attempts(&hotKey, &HotKey::registrationChanged);
    record(section->recorder(), Qt::Key_K, Qt::ControlModifier | Qt::AltModifier);
    EXPECT_EQ(app->settings().quickShortcut(), (Shortcut{40, Shortcut::cmd | Shortcut::option}));
    EXPECT_EQ(attempts.count(), 1);
    EXPECT_TRUE(status->isVisibleTo(section.get()));

    // Switched off, there is nothing to report.
    section->enabledBox()->click();
    EXPECT_FALSE(status->isVisibleTo(section.get()));
}

TEST_F(QuickSearchSettingsX11Test, ShowsTheRouteAndRegistersARecordedShortcutAtOnce)
{
    HotKey hotKey(HotKey::Route::x11);
    give(hotKey);
    ASSERT_TRUE(hotKey.current().has_value()) << qPrintable(hotKey.failureReason());
    EXPECT_EQ(section->statusLabel()->text(),
              "Ctrl+Shift+Space works in every application (through the X11 key grab).");

    record(section->recorder(), Qt::Key_K, Qt::ControlModifier | Qt::AltModifier);
    EXPECT_EQ(hotKey.current(), (Shortcut{40, Shortcut::cmd | Shortcut::option}));
    EXPECT_TRUE(section->statusLabel()->text().startsWith("Ctrl+Alt+K works"));
}
