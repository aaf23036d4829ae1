#include "AppTestSupport.h"

#include "library/LibraryCache.h"

#include <QImage>
#include <QThread>
#include <exiv2/exiv2.hpp>

#include <QSettings>
#include <gtest/gtest.h>

using namespace fennic;
using fennic::test::AppFixture;

namespace {

int countPath(const QList<FileItem>& items, const QString& path)
{
    return int(std::count_if(items.begin(), items.end(), [&](const FileItem& i) { return i.path == path; }));
}

}  // namespace

TEST(AppModelLifecycle, FirstRunWithoutCacheShowsWelcomeAndDoesNotScan)
{
    AppFixture f;
    f.tree.write("Documents/a.txt", "a");
    AppModel& m = f.make();
    QSignalSpy started(&m, &AppModel::scanStarted);
    m.finishLaunching();
    EXPECT_TRUE(m.showWelcome());
    EXPECT_FALSE(m.isScanning());
    EXPECT_EQ(started.count(), 0);

    m.finishWelcome();
    EXPECT_FALSE(m.showWelcome());
    ASSERT_TRUE(m.waitForIdle());
    EXPECT_EQ(started.count(), 1);
    EXPECT_EQ(countPath(m.items(), f.tree.path("Documents/a.txt")), 1);
    EXPECT_TRUE(m.settings().value("welcomeDone").toBool());
}

TEST(AppModelLifecycle, AnExistingCacheIsShownAtOnceAndScannedWithoutWelcome)
{
    AppFixture f;
    f.tree.write("Documents/a.txt", "a");
    {
        AppModel& first = f.make();
        first.finishWelcome();
        ASSERT_TRUE(first.waitForIdle());
        ASSERT_EQ(first.items().size(), 1);
    }
    f.model.reset();
    // A fresh settings file: welcome never finished, but the cache is there.
    f.env.settingsFile = f.tree.path("other-settings.ini");
    AppModel& m = f.make();
    EXPECT_EQ(m.items().size(), 1) << "the cache is loaded during construction";
    QSignalSpy started(&m, &AppModel::scanStarted);
    m.finishLaunching();
    EXPECT_FALSE(m.showWelcome());
    EXPECT_EQ(started.count(), 1);
    ASSERT_TRUE(m.waitForIdle());
}

TEST(AppModelLifecycle, FolderAddedDuringAScanGivesExactlyOneMoreScanThenTheRules)
{
    AppFixture f;
    f.tree.write("Documents/a.txt", "a");
    f.tree.write("Elsewhere/b.txt", "b");
    AppModel& m = f.make();
    QSignalSpy started(&m, &AppModel::scanStarted);
    QSignalSpy finished(&m, &AppModel::scanFinished);
    QSignalSpy rules(&m, &AppModel::automaticRulesRan);

    m.scan();
    ASSERT_TRUE(m.isScanning());
    m.addFolder(f.tree.path("Elsewhere"));
    m.addFolder(f.tree.path("Elsewhere/"));  // the same folder again changes nothing
    m.scan();                                // ignored while scanning
    EXPECT_TRUE(m.rescanQueued());
    ASSERT_TRUE(m.waitForIdle());

    EXPECT_EQ(started.count(), 2);
    EXPECT_EQ(finished.count(), 2);
    EXPECT_EQ(rules.count(), 1) << "the rules run only after the second scan";
    EXPECT_EQ(m.extraRoots(), QStringList{f.tree.path("Elsewhere")});
    EXPECT_EQ(countPath(m.items(), f.tree.path("Elsewhere/b.txt")), 1);

    // Removing it, named as the user sees it, leaves the folder's page and rescans.
    m.setSidebar(SidebarItem::folder(f.tree.path("Elsewhere")));
    m.removeFolder(f.tree.path("Elsewhere/"));
    EXPECT_TRUE(m.extraRoots().isEmpty());
    EXPECT_EQ(m.sidebar().kind, SidebarItem::Kind::home);
    ASSERT_TRUE(m.waitForIdle());
    EXPECT_EQ(started.count(), 3);
    EXPECT_EQ(countPath(m.items(), f.tree.path("Elsewhere/b.txt")), 0);
}

TEST(AppModelLifecycle, CameraModelsReadByIndexingSurviveScans)
{
    AppFixture f;
    QImage image(64, 48, QImage::Format_RGB32);
    image.fill(Qt::darkCyan);
    const QString photo = f.tree.path("Pictures/p.jpg");
    ASSERT_TRUE(image.save(photo, "JPEG"));
    auto exif = Exiv2::ImageFactory::open(QFile::encodeName(photo).toStdString());
    exif->readMetadata();
    exif->exifData()["Exif.Image.Model"] = std::string("Pocket 3");
    exif->writeMetadata();

    AppModel& m = f.make();
    m.setImageIndexPaused(true);
    m.scan();
    ASSERT_TRUE(m.waitForIdle());
    ASSERT_EQ(m.items().size(), 1);
    ASSERT_FALSE(m.items()[0].camera.has_value()) << "the scanner does not read camera models";

    // As at launch, indexing runs alongside a scan.
    m.scan();
    m.setImageIndexPaused(false);
    ASSERT_TRUE(m.waitForIdle(60000));
    ASSERT_EQ(m.items().size(), 1);
    EXPECT_EQ(m.items()[0].camera, "Pocket 3");

    m.scan();  // the photo is indexed now and its model is not read again: it is carried over
    ASSERT_TRUE(m.waitForIdle(60000));
    ASSERT_EQ(m.items().size(), 1);
    EXPECT_EQ(m.items()[0].camera, "Pocket 3");
}

TEST(AppModelLifecycle, TrashAndPutBackDuringAScanSurviveItsResult)
{
    AppFixture f;
    f.tree.write("Documents/gone.txt", "a");
    f.tree.write("Documents/back.txt", "b");
    AppModel& m = f.make();
    m.scan();
    ASSERT_TRUE(m.waitForIdle());
    ASSERT_EQ(m.items().size(), 2);
    const auto item = [&](const char* name) {
        for (const FileItem& i : m.items())
            if (i.name == QLatin1String(name)) return i;
        return FileItem();
    };
    const auto trashed = m.moveToTrash({item("back.txt")});
    ASSERT_EQ(trashed.moved.size(), 1);

    // The scan's result is handed over only when events are processed: after this pause the
    // scanner has listed the folder (with gone.txt, without back.txt), and its result waits.
    m.scan();
    QThread::msleep(300);
    ASSERT_EQ(m.moveToTrash({item("gone.txt")}).moved.size(), 1);
    ASSERT_EQ(m.putBack(trashed.moved).size(), 1);
    ASSERT_TRUE(m.waitForIdle());
    EXPECT_EQ(countPath(m.items(), f.tree.path("Documents/gone.txt")), 0) << "a trashed file does not come back";
    EXPECT_EQ(countPath(m.items(), f.tree.path("Documents/back.txt")), 1) << "a file put back stays";
    EXPECT_EQ(m.items().size(), 1);
}

TEST(AppModelLifecycle, BecomingActiveRescansOnlyAfterFiveMinutes)
{
    AppFixture f;
    AppModel& m = f.make();
    QSignalSpy started(&m, &AppModel::scanStarted);
    m.applicationBecameActive();
    EXPECT_EQ(started.count(), 0) << "never scanned: nothing to refresh";

    m.scan();
    ASSERT_TRUE(m.waitForIdle());
    ASSERT_EQ(started.count(), 1);
    f.now = f.now + 299.0;
    m.applicationBecameActive();
    EXPECT_EQ(started.count(), 1);
    f.now = f.now + 2.0;
    m.applicationBecameActive();
    EXPECT_EQ(started.count(), 2);
    ASSERT_TRUE(m.waitForIdle());
}

TEST(AppModelLifecycle, SettingsPersistAndZoomStaysInRange)
{
    AppFixture f;
    {
        AppModel& m = f.make();
        EXPECT_EQ(m.viewModeRaw(), "grid");
        EXPECT_EQ(m.sortKeyRaw(), "dateAdded");
        EXPECT_FALSE(m.sortAscending());
        EXPECT_EQ(m.cardSize(), 150);
        EXPECT_EQ(m.theme(), "playful");
        EXPECT_TRUE(m.indexTextInImages());

        m.zoom(-1000);
        EXPECT_EQ(m.cardSize(), AppModel::kMinCardSize);
        m.zoom(1000);
        EXPECT_EQ(m.cardSize(), AppModel::kMaxCardSize);
        m.zoom(-20);
        m.toggleTheme();
        EXPECT_EQ(m.theme(), "minimal");
        m.setTheme("odd");
        m.toggleTheme();
        EXPECT_EQ(m.theme(), "playful");
        m.setSortKeyRaw("size");
        m.setSortAscending(true);
        m.pin(f.tree.path("Documents"));
        m.pin(f.tree.path("Music"));
        m.pin(f.tree.path("Documents"));
        m.settings().sync();
    }
    f.model.reset();
    AppModel& again = f.make();
    EXPECT_EQ(again.cardSize(), 300);
    EXPECT_EQ(again.theme(), "playful");
    EXPECT_EQ(again.sortKeyRaw(), "size");
    EXPECT_TRUE(again.sortAscending());
    EXPECT_EQ(again.pinnedFolders(), QStringList{f.tree.path("Music")});
}

TEST(AppModelLifecycle, DerivedValuesFollowTheItems)
{
    AppFixture f;
    f.tree.writeSized("Movies/big.mp4", 1000);
    f.tree.write("Documents/a.txt", "a");
    AppModel& m = f.make();
    QSignalSpy stats(&m, &AppModel::statsChanged);
    m.scan();
    ASSERT_TRUE(m.waitForIdle());
    EXPECT_GE(stats.count(), 1);
    EXPECT_EQ(m.stats().totalCount, 2);
    EXPECT_EQ(m.stats().total(FileKind::video).count, 1);
    EXPECT_EQ(m.stats().total(FileKind::video).size, 1000);
}
