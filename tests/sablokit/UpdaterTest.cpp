// The updater against a loopback HTTP server: releases newer, equal and older than the
// installed copy, each way a download can go wrong, the once-per-version announcement,
// automatic downloads and the cases where a copy must not replace itself.
#include "SabloKit/Updater.h"
#include "SabloKit/UpdateLogic.h"
#include "UpdateFixture.h"

#include <QFileInfo>
#include <gtest/gtest.h>

using namespace fennic;
using Phase = Updater::Phase;

namespace {

const QString kCheckFailed =
    QStringLiteral("Couldn’t check for updates. Check your internet connection and try again.");

using UpdaterTest = test::UpdaterFixture;

}  // namespace

TEST_F(UpdaterTest, FindsDownloadsAndStagesANewerReleaseWithoutTouchingTheInstalledCopy)
{
    publish(release("2.10"));
    auto updater = makeUpdater();
    QSignalSpy announced(updater.get(), &Updater::updateAnnounced);
    updater->check(false);
    ASSERT_EQ(settle(*updater), Phase::available) << updater->message().toStdString();
    EXPECT_EQ(updater->offeredVersion(), "2.10") << "2.10 is newer than 2.9";
    EXPECT_EQ(updater->notes(), "Better in every way.");
    EXPECT_EQ(announced.count(), 1);
    EXPECT_TRUE(updater->lastChecked().isValid());

    QList<double> fractions;
    QObject::connect(updater.get(), &Updater::phaseChanged, [&] {
        if (updater->phase() == Phase::downloading) fractions.append(updater->fraction());
    });
    updater->download();
    ASSERT_EQ(settle(*updater), Phase::ready) << updater->message().toStdString();
    EXPECT_EQ(updater->stagedApp(), tree.path("cache/SabloUpdate/Fennic"));
    EXPECT_EQ(BundleInfo::read(updater->stagedApp())->shortVersion, "2.10");
    EXPECT_EQ(installedVersion(), "2.9") << "nothing is installed before quitting";
    ASSERT_FALSE(fractions.isEmpty());
    EXPECT_TRUE(std::is_sorted(fractions.begin(), fractions.end()));
    EXPECT_GE(fractions.front(), 0.0);
    EXPECT_LE(fractions.back(), 1.0);

    // A ready update is not fetched again by a later check.
    updater->check(false);
    EXPECT_EQ(updater->phase(), Phase::ready);
    EXPECT_EQ(server.requestCount("/feed.json"), 1);

    updater->installAndRelaunch();
    EXPECT_TRUE(updater->relaunchAfterInstall());
    EXPECT_EQ(quitRequests, 1);
}

TEST_F(UpdaterTest, NothingIsOfferedThatIsNotNewerOrNeedsANewerSystem)
{
    struct Row {
        const char* name;
        const char* version;
        std::optional<QString> minimumSystem;
    };
    const Row rows[] = {
        {"the same version", "2.9", std::nullopt},
        {"an older version", "2.8.5", std::nullopt},
        {"a newer version for a newer system", "2.10", QStringLiteral("13")},
        };
    for (const Row& row : rows) {
        publish(release(row.version), {},
                [&](UpdateFeed& feed, QByteArray&) { feed.minimumSystemVersion = row.minimumSystem; });
        auto updater = makeUpdater();
        QSignalSpy announced(updater.get(), &Updater::updateAnnounced);
        updater->check(false);
        EXPECT_EQ(settle(*updater), Phase::upToDate) << row.name;
        EXPECT_EQ(announced.count(), 0) << row.name;
    }
    EXPECT_EQ(server.requestCount("/Fennic.zip"), 0);
}

TEST_F(UpdaterTest, EveryDownloadFailureEndsInItsMessageAndStagesNothing)
{
    struct Row {
        const char* name;
        BundleInfo info;
        std::function<void(const QString&)> changeFolder;
        std::function<void(UpdateFeed&, QByteArray&)> change;
        QString message;
    };
    const QString mismatch = QStringLiteral("The downloaded update didn’t match this app.");
    const QList<Row> rows = {
        {"one byte longer than announced",
         release("2.10"),
         {},
         [](UpdateFeed& feed, QByteArray&) { feed.download.length -= 1; },
         QStringLiteral("The download was larger than expected.")},
         {"one byte shorter than announced",
          release("2.10"),
          {},
          [](UpdateFeed& feed, QByteArray&) { feed.download.length += 1; },
          QStringLiteral("The download was incomplete.")},
          {"a signature of other bytes",
           release("2.10"),
           {},
           [this](UpdateFeed& feed, QByteArray&) { feed.download.edSignature = key.sign("other bytes"); },
           QStringLiteral("The update’s signature didn’t match, so it wasn’t installed.")},
           {"another application", BundleInfo{"io.other.App", "2.10", {}, {}}, {}, {}, mismatch},
           {"a version other than the feed's",
            release("2.11"),
            {},
            [](UpdateFeed& feed, QByteArray&) { feed.version = QStringLiteral("2.10"); },
            mismatch},
           {"a damaged seal",
            release("2.10"),
            [](const QString& folder) {
                QFile file(folder + "/bin/fennic");
                file.open(QIODevice::Append);
                file.write("rm -rf ~\n");
            },
            {},
            QStringLiteral("The downloaded app’s code signature is damaged.")},
            {"no such file",
             release("2.10"),
             {},
             [this](UpdateFeed& feed, QByteArray&) { feed.download.url = server.url("/missing.zip"); },
             QStringLiteral("The update file couldn’t be downloaded.")},
           };
    for (const Row& row : rows) {
        const UpdateFeed feed = publish(row.info, row.changeFolder, row.change);
        auto updater = makeUpdater();
        updater->download(feed);
        EXPECT_EQ(settle(*updater), Phase::failed) << row.name;
        EXPECT_EQ(updater->message(), row.message) << row.name;
        EXPECT_TRUE(updater->stagedApp().isEmpty()) << row.name;
        EXPECT_FALSE(updater->installOnQuit()) << row.name;
        EXPECT_EQ(installedVersion(), "2.9") << row.name;
    }
}

TEST_F(UpdaterTest, AConnectionDroppedMidwayIsATransportFailure)
{
    const UpdateFeed feed = publish(release("2.10"));
    test::TestHttpServer::Response dropped;
    dropped.body = QByteArray(int(feed.download.length), 'z');
    dropped.dropAfter = feed.download.length / 2;
    server.serve("/Fennic.zip", dropped);
    auto updater = makeUpdater();
    updater->download(feed);
    EXPECT_EQ(settle(*updater), Phase::failed);
    EXPECT_TRUE(updater->message().startsWith(QStringLiteral("The update couldn’t be downloaded. ")))
                << updater->message().toStdString();
    EXPECT_GT(updater->message().size(), QStringLiteral("The update couldn’t be downloaded. ").size())
              << "the failure's description follows";
}

TEST_F(UpdaterTest, AFeedThatCannotBeReadIsAFailedCheck)
{
    struct Row {
        const char* name;
        QString feedUrl;
        QByteArray body;
    };
    test::TestHttpServer closed;
    const QString closedUrl = closed.url("/feed.json");
    closed.close();
    const QList<Row> rows = {
        {"not found", server.url("/nothing.json"), {}},
        {"not a feed", server.url("/feed.json"), "<html>captive portal</html>"},
        {"nobody listening", closedUrl, {}},
    };
    for (const Row& row : rows) {
        server.serve("/feed.json", row.body);
        installedInfo.feedUrl = row.feedUrl;
        auto updater = makeUpdater();
        updater->check(true);
        EXPECT_EQ(settle(*updater), Phase::failed) << row.name;
        EXPECT_EQ(updater->message(), kCheckFailed) << row.name;
        EXPECT_FALSE(updater->lastChecked().isValid()) << row.name;
    }
}

TEST_F(UpdaterTest, EachVersionIsAnnouncedOnceByAutomaticChecks)
{
    publish(release("2.10"));
    int announcements = 0;
    for (int run = 0; run < 2; ++run) {
        // A new updater each time, as after a restart: the mark is in the settings.
        auto updater = makeUpdater();
        QObject::connect(updater.get(), &Updater::updateAnnounced, [&] { ++announcements; });
        updater->check(false);
        EXPECT_EQ(settle(*updater), Phase::available);
        updater->check(false);
        EXPECT_EQ(settle(*updater), Phase::available);
    }
    EXPECT_EQ(announcements, 1);

    // A version the user found by checking themselves is not announced afterwards.
    publish(release("2.11"));
    auto updater = makeUpdater();
    QSignalSpy announced(updater.get(), &Updater::updateAnnounced);
    updater->checkNow();
    EXPECT_EQ(settle(*updater), Phase::available);
    updater->check(false);
    EXPECT_EQ(settle(*updater), Phase::available);
    EXPECT_EQ(announced.count(), 0);
}

TEST_F(UpdaterTest, AutomaticDownloadsOnlyWhereTheCopyCanReplaceItself)
{
    publish(release("2.10"));
    makeUpdater()->setAutomaticallyDownloads(true);
    auto updater = makeUpdater();
    EXPECT_TRUE(updater->automaticallyDownloads()) << "kept in the settings";
    updater->check(false);
    EXPECT_EQ(settle(*updater), Phase::ready) << updater->message().toStdString();
    EXPECT_EQ(server.requestCount("/Fennic.zip"), 1);

    // A copy the user cannot replace (a system package) offers the update but fetches nothing,
    // and installs nothing on quit even with an update staged.
    const QString system = tree.symlink("system-copy", QStringLiteral("/usr/share"));
    auto systemUpdater = makeUpdater(system);
    systemUpdater->check(false);
    EXPECT_EQ(settle(*systemUpdater), Phase::available);
    EXPECT_EQ(server.requestCount("/Fennic.zip"), 1);
    systemUpdater->download();
    EXPECT_EQ(settle(*systemUpdater), Phase::ready);
    EXPECT_FALSE(systemUpdater->installOnQuit());
}

TEST_F(UpdaterTest, ACopyOutsideAnApplicationFolderStaysIdleAndSaysWhy)
{
    // The test binary runs from the build tree, which has no information file.
    Updater running(environment());
    EXPECT_FALSE(running.isEnabled());
    EXPECT_FALSE(running.idleReason().isEmpty());
    running.check(true);
    running.start();
    EXPECT_EQ(running.phase(), Phase::idle);

    EXPECT_EQ(BundleLocation::ofRunningApplication(QStringLiteral("/usr/bin")).idleReason,
                                                   QStringLiteral("Updated by the system’s package manager"));
    const BundleLocation found = BundleLocation::ofRunningApplication(installed + "/bin");
    EXPECT_EQ(found.folder, installed);
    EXPECT_TRUE(found.idleReason.isEmpty());

    installedInfo.publicKey.clear();
    EXPECT_FALSE(makeUpdater()->isEnabled()) << "no key, no updates";
}
