#include "AppTestSupport.h"

#include "library/LibraryCache.h"
#include "library/Scanner.h"

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QSemaphore>
#include <QTimeZone>
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

// A real JPEG carrying the given Exif fields.
void writePhoto(const QString& path, std::initializer_list<std::pair<const char*, const char*>> fields)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QImage image(64, 48, QImage::Format_RGB32);
    image.fill(Qt::darkCyan);
    ASSERT_TRUE(image.save(path, "JPEG"));
    auto exif = Exiv2::ImageFactory::open(QFile::encodeName(path).toStdString());
    exif->readMetadata();
    for (const auto& [key, value] : fields) exif->exifData()[key] = std::string(value);
    exif->writeMetadata();
}

}  // namespace

TEST(LibraryModel, FirstRunWithoutCacheShowsWelcomeAndDoesNotScan)
{
    AppFixture f;
    f.tree.write("Documents/a.txt", "a");
    AppModel& m = f.make();
    QSignalSpy started(&m.library(), &LibraryModel::scanStarted);
    m.finishLaunching();
    EXPECT_TRUE(m.library().showWelcome());
    EXPECT_FALSE(m.library().isScanning());
    EXPECT_EQ(started.count(), 0);

    m.library().finishWelcome();
    EXPECT_FALSE(m.library().showWelcome());
    ASSERT_TRUE(m.waitForIdle());
    EXPECT_EQ(started.count(), 1);
    EXPECT_EQ(countPath(m.library().items(), f.tree.path("Documents/a.txt")), 1);
    EXPECT_TRUE(m.settings().welcomeDone());
}

TEST(LibraryModel, AnExistingCacheIsShownAtOnceAndScannedWithoutWelcome)
{
    AppFixture f;
    f.tree.write("Documents/a.txt", "a");
    {
        AppModel& first = f.make();
        first.library().finishWelcome();
        ASSERT_TRUE(first.waitForIdle());
        ASSERT_EQ(first.library().items().size(), 1);
    }
    f.model.reset();
    // A fresh settings file: welcome never finished, but the cache is there.
    f.env.settingsFile = f.tree.path("other-settings.ini");
    AppModel& m = f.make();
    EXPECT_EQ(m.library().items().size(), 1) << "the cache is loaded during construction";
    QSignalSpy started(&m.library(), &LibraryModel::scanStarted);
    m.finishLaunching();
    EXPECT_FALSE(m.library().showWelcome());
    EXPECT_EQ(started.count(), 1);
    ASSERT_TRUE(m.waitForIdle());
}

TEST(LibraryModel, FolderAddedDuringAScanGivesExactlyOneMoreScanThenTheRules)
{
    AppFixture f;
    f.tree.write("Documents/a.txt", "a");
    f.tree.write("Elsewhere/b.txt", "b");
    AppModel& m = f.make();
    QSignalSpy started(&m.library(), &LibraryModel::scanStarted);
    QSignalSpy finished(&m.library(), &LibraryModel::scanFinished);
    QSignalSpy rules(&m.organiser(), &Organiser::automaticRulesRan);

    m.library().scan();
    ASSERT_TRUE(m.library().isScanning());
    m.library().addFolder(f.tree.path("Elsewhere"));
    m.library().addFolder(f.tree.path("Elsewhere/"));  // the same folder again changes nothing
    m.library().scan();                                // ignored while scanning
    EXPECT_TRUE(m.library().rescanQueued());
    ASSERT_TRUE(m.waitForIdle());

    EXPECT_EQ(started.count(), 2);
    EXPECT_EQ(finished.count(), 2);
    EXPECT_EQ(rules.count(), 1) << "the rules run only after the second scan";
    EXPECT_EQ(m.library().extraRoots(), QStringList{f.tree.path("Elsewhere")});
    EXPECT_EQ(countPath(m.library().items(), f.tree.path("Elsewhere/b.txt")), 1);

    // Removing it, named as the user sees it, leaves the folder's page and rescans.
    m.search().setSidebar(SidebarItem::folder(f.tree.path("Elsewhere")));
    m.library().removeFolder(f.tree.path("Elsewhere/"));
    EXPECT_TRUE(m.library().extraRoots().isEmpty());
    EXPECT_EQ(m.search().sidebar().kind, SidebarItem::Kind::home);
    ASSERT_TRUE(m.waitForIdle());
    EXPECT_EQ(started.count(), 3);
    EXPECT_EQ(countPath(m.library().items(), f.tree.path("Elsewhere/b.txt")), 0);
}

TEST(LibraryModel, CameraModelsReadByIndexingSurviveScans)
{
    AppFixture f;
    writePhoto(f.tree.path("Pictures/p.jpg"), {{"Exif.Image.Model", "Pocket 3"}});

    AppModel& m = f.make();
    m.images().setImageIndexPaused(true);
    m.library().scan();
    ASSERT_TRUE(m.waitForIdle());
    ASSERT_EQ(m.library().items().size(), 1);
    ASSERT_FALSE(m.library().items()[0].camera.has_value()) << "the scanner does not read camera models";

    // As at launch, indexing runs alongside a scan.
    m.library().scan();
    m.images().setImageIndexPaused(false);
    ASSERT_TRUE(m.waitForIdle(60000));
    ASSERT_EQ(m.library().items().size(), 1);
    EXPECT_EQ(m.library().items()[0].camera, "Pocket 3");

    m.library().scan();  // the photo is indexed now and its model is not read again: it is carried over
    ASSERT_TRUE(m.waitForIdle(60000));
    ASSERT_EQ(m.library().items().size(), 1);
    EXPECT_EQ(m.library().items()[0].camera, "Pocket 3");
}

TEST(LibraryModel, CameraDatesComeBackWithTheCache)
{
    AppFixture f;
    writePhoto(f.tree.path("Pictures/p.jpg"),
               {{"Exif.Photo.DateTimeOriginal", "2022:03:04 05:06:07"}, {"Exif.Photo.OffsetTimeOriginal", "+00:00"}});
    const Date taken = Date::fromQDateTime(QDateTime(QDate(2022, 3, 4), QTime(5, 6, 7), QTimeZone(0)));
    {
        AppModel& first = f.make();
        first.images().setImageIndexPaused(true);
        first.library().scan();
        ASSERT_TRUE(first.waitForIdle());
        ASSERT_EQ(first.library().items().size(), 1);
        EXPECT_EQ(first.library().items()[0].taken, taken) << "read during the scan";
    }
    f.model.reset();
    AppModel& m = f.make();
    ASSERT_EQ(m.library().items().size(), 1) << "the cache is loaded during construction";
    EXPECT_EQ(m.library().items()[0].taken, taken);
    EXPECT_EQ(m.library().items()[0].takenFrom, FileItem::TakenFrom::cameraWithOffset);
}

TEST(LibraryModel, TrashAndPutBackDuringAScanSurviveItsResult)
{
    AppFixture f;
    f.tree.write("Documents/gone.txt", "a");
    f.tree.write("Documents/back.txt", "b");
    QSemaphore listed;
    f.env.scanListed = [&listed] { listed.release(); };
    AppModel& m = f.make();
    m.library().scan();
    ASSERT_TRUE(listed.tryAcquire(1, 60000));
    ASSERT_TRUE(m.waitForIdle());
    ASSERT_EQ(m.library().items().size(), 2);
    const auto item = [&](const char* name) {
        for (const FileItem& i : m.library().items())
            if (i.name == QLatin1String(name)) return i;
        return FileItem();
    };
    const auto trashed = m.organiser().moveToTrash({item("back.txt")});
    ASSERT_EQ(trashed.moved.size(), 1);

    // The scan's result is handed over only when events are processed: once the gate opens the
    // scanner has listed the folder (with gone.txt, without back.txt), and its result waits.
    m.library().scan();
    ASSERT_TRUE(listed.tryAcquire(1, 60000));
    ASSERT_EQ(m.organiser().moveToTrash({item("gone.txt")}).moved.size(), 1);
    ASSERT_EQ(m.organiser().putBack(trashed.moved).size(), 1);
    ASSERT_TRUE(m.waitForIdle());
    EXPECT_EQ(countPath(m.library().items(), f.tree.path("Documents/gone.txt")), 0)
        << "a trashed file does not come back";
    EXPECT_EQ(countPath(m.library().items(), f.tree.path("Documents/back.txt")), 1) << "a file put back stays";
    EXPECT_EQ(m.library().items().size(), 1);
}

TEST(LibraryModel, BecomingActiveRescansOnlyAfterFiveMinutes)
{
    AppFixture f;
    AppModel& m = f.make();
    QSignalSpy started(&m.library(), &LibraryModel::scanStarted);
    m.applicationBecameActive();
    EXPECT_EQ(started.count(), 0) << "never scanned: nothing to refresh";

    m.library().scan();
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

TEST(LibraryModel, DemonstrationModeShowsItsItemsAndWritesNothingOfFennics)
{
    AppFixture f;
    f.tree.write("Documents/real.txt", "a file the demonstration must not show");
    const QString picture = f.writeTextPicture("Pictures/sign.png", "HARBOUR");
    // A cache from an earlier run that the demonstration must not load.
    {
        AppModel& earlier = f.make();
        earlier.library().finishWelcome();
        ASSERT_TRUE(earlier.waitForIdle());
        ASSERT_EQ(earlier.library().items().size(), 2);
    }
    f.model.reset();
    const QString support = SupportFiles::current().dir();
    QDir(support).removeRecursively();

    auto item = Scanner::makeItem(picture);
    ASSERT_TRUE(item);
    item->added = Date::fromIso("2025-01-02T10:00:00Z");
    f.env.demoItems = [item = *item] { return QList<FileItem>{item}; };
    f.env.settingsFile = f.tree.path("demo-settings.ini");
    AppModel& m = f.make();
    EXPECT_TRUE(m.library().items().isEmpty()) << "no cache is read in the demonstration";

    QSignalSpy completed(&m.library(), &LibraryModel::scanCompleted);
    m.finishLaunching();
    ASSERT_TRUE(m.waitForIdle());
    ASSERT_EQ(m.library().items().size(), 1);
    EXPECT_EQ(m.library().items().first().added, item->added) << "the demonstration's own dates";
    EXPECT_EQ(completed.count(), 1);
    EXPECT_TRUE(m.library().lastScan());
    // Image reading runs over the demonstration's pictures.
    EXPECT_TRUE(m.images().imageRecords().contains(picture));

    m.organiser().toggleFavourite(m.library().items());
    m.library().saveCache();
    m.images().saveImageIndex();
    ASSERT_TRUE(m.waitForIdle());
    EXPECT_TRUE(m.organiser().shelf().isFavourite(picture));
    for (const QString& file : {SupportFiles::current().libraryCache(), SupportFiles::current().imageIndex(),
                                SupportFiles::current().shelf()})
        EXPECT_FALSE(QFileInfo::exists(file)) << file.toStdString();
    EXPECT_TRUE(QFileInfo::exists(f.tree.path("Documents/real.txt")));
}
