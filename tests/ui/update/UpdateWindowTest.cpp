// The update window and Settings' Updates section following a real updater against a loopback
// server: a newer release offered, downloaded and ready to install, a failure, and a copy that
// a package manager keeps current.
#include "update/UpdateWindow.h"
#include "SabloKit/Updater.h"
#include "UpdateFixture.h"
#include "settings/UpdateSettings.h"
#include "update/UpdateTexts.h"

#include <QCheckBox>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QTest>
#include <QTextBrowser>
#include <gtest/gtest.h>

using namespace fennic;
using Phase = Updater::Phase;

namespace {

using UpdateUi = test::UpdaterFixture;

}  // namespace

TEST_F(UpdateUi, TheWindowLeadsFromTheOfferThroughTheDownloadToInstallAndRelaunch)
{
    publish("2.10");
    auto updater = makeUpdater();
    UpdateWindow window(*updater);
    window.show();
    EXPECT_EQ(window.objectName(), "update");
    EXPECT_EQ(window.windowTitle(), "Software Update");
    EXPECT_EQ(window.width(), 420);

    window.mainButton()->click();  // Check Again
    EXPECT_TRUE(window.progress()->isVisible()) << "busy while the feed is fetched";
    EXPECT_FALSE(window.mainButton()->isEnabled());
    settle(*updater);
    ASSERT_EQ(updater->phase(), Phase::available) << updater->message().toStdString();
    EXPECT_EQ(window.status()->text(), "Fennic 2.10 is available. You have 2.9.");
    EXPECT_TRUE(window.notes()->isVisible());
    EXPECT_EQ(window.notes()->toPlainText(), "Better in every way.");
    EXPECT_EQ(window.mainButton()->text(), "Download");

    QList<int> progress;
    QObject::connect(updater.get(), &Updater::phaseChanged, [&] {
        if (window.progress()->isVisible()) progress.append(window.progress()->value());
    });
    window.mainButton()->click();
    settle(*updater);
    ASSERT_EQ(updater->phase(), Phase::ready) << updater->message().toStdString();
    EXPECT_FALSE(progress.isEmpty()) << "the bar showed the download";
    EXPECT_FALSE(window.progress()->isVisible());
    EXPECT_EQ(window.headline()->text(), "Fennic 2.10 is ready to install");
    ASSERT_EQ(window.mainButton()->text(), "Install and Relaunch");
    window.mainButton()->click();
    EXPECT_TRUE(updater->relaunchAfterInstall());
    EXPECT_EQ(quitRequests, 1) << "Fennic quits so that the script can replace it";
}

TEST_F(UpdateUi, AFailureShowsItsMessageAndTryAgainDownloadsOnceMore)
{
    publish("2.10");
    auto updater = makeUpdater();
    updater->checkNow();
    settle(*updater);
    ASSERT_EQ(updater->phase(), Phase::available);
    server.serve("/Fennic.zip", test::TestHttpServer::Response{QByteArray(), 404, std::nullopt});
    UpdateWindow window(*updater);
    window.mainButton()->click();
    settle(*updater);
    ASSERT_EQ(updater->phase(), Phase::failed);
    EXPECT_EQ(window.status()->text(), "The update file couldn’t be downloaded.");
    EXPECT_EQ(window.mainButton()->text(), "Try Again");
    publish("2.10");
    window.mainButton()->click();
    settle(*updater);
    EXPECT_EQ(updater->phase(), Phase::ready) << "Try Again downloaded the offered version";
}

TEST_F(UpdateUi, SettingsOffersAutomaticDownloadsCheckNowAndWhenItLastLooked)
{
    publish("2.9");
    auto updater = makeUpdater();
    UpdateSettings section;
    section.setUpdater(updater.get());
    section.show();
    EXPECT_EQ(section.lastCheckedLabel()->text(), "Not checked yet");
    section.automaticBox()->click();
    EXPECT_TRUE(updater->automaticallyDownloads());
    EXPECT_TRUE(QSettings(tree.path("settings.ini"), QSettings::IniFormat).value("SabloAutoUpdate").toBool())
        << "kept under the updater's own key";

    QSignalSpy shown(&section, &UpdateSettings::showUpdateRequested);
    section.checkButton()->click();
    settle(*updater);
    EXPECT_EQ(section.statusLabel()->text(), "Fennic 2.9 is the newest version.");
    EXPECT_TRUE(section.lastCheckedLabel()->text().startsWith("Last checked: today at "));

    // A copy kept by the package manager has nothing to press.
    UpdateSettings packaged;
    Updater system(QStringLiteral("/usr"), BundleInfo{}, {});
    packaged.setUpdater(&system);
    EXPECT_FALSE(packaged.checkButton()->isVisibleTo(&packaged));
    EXPECT_FALSE(packaged.automaticBox()->isVisibleTo(&packaged));
}

TEST(UpdateTexts, LastCheckedReadsTodayYesterdayOrTheDate)
{
    const QDateTime now(QDate(2026, 11, 24), QTime(15, 0));
    EXPECT_EQ(UpdateTexts::lastChecked({}, now), "Not checked yet");
    EXPECT_TRUE(UpdateTexts::lastChecked(now.addSecs(-3600), now).startsWith("Last checked: today at "));
    EXPECT_TRUE(UpdateTexts::lastChecked(now.addDays(-1), now).startsWith("Last checked: yesterday at "));
    EXPECT_FALSE(UpdateTexts::lastChecked(now.addDays(-9), now).contains("day at"));
}
