#include "AppTestSupport.h"

#include "library/LibraryCache.h"
#include "library/Scanner.h"

#include <QDir>
#include <QFileInfo>
#include <gtest/gtest.h>

using namespace fennic;
using fennic::test::AppFixture;

namespace {

FileItem itemFor(const QString& path)
{
    auto item = Scanner::makeItem(path);
    EXPECT_TRUE(item.has_value()) << path.toStdString();
    return item.value_or(FileItem{});
}

}  // namespace

TEST(Toasts, ReplacementAndTheTwoDurations)
{
    AppFixture f;
    f.env.toastShortMs = 30;
    f.env.toastLongMs = 200;
    AppModel& m = f.make();
    m.toast().show("first", "info");
    EXPECT_EQ(m.toast().currentDuration(), 30);
    bool undone = false;
    m.toast().show("second", "trash", false, QStringLiteral("Undo"), [&] { undone = true; });
    ASSERT_TRUE(m.toast().current());
    EXPECT_EQ(m.toast().current()->text, "second") << "a new message replaces the old one at once";
    EXPECT_EQ(m.toast().currentDuration(), 200);
    m.toast().show("oops", "exclamationmark.triangle", true);
    EXPECT_EQ(m.toast().currentDuration(), 200);

    m.toast().show("plain", "info");
    QSignalSpy changed(&m.toast(), &Toast::changed);
    ASSERT_TRUE(changed.wait(1000));
    EXPECT_FALSE(m.toast().current()) << "a plain confirmation hides by itself";

    m.toast().show("undoable", "trash", false, QStringLiteral("Undo"), [&] { undone = true; });
    m.toast().perform();
    EXPECT_TRUE(undone);
    EXPECT_FALSE(m.toast().current());
}

TEST(OrganiserActions, TagToastsNameOneFileOrCountSeveral)
{
    AppFixture f;
    for (const char* n : {"a.txt", "b.txt", "c.txt"}) f.tree.write(QStringLiteral("Documents/") + n, "x");
    AppModel& m = f.make();
    m.library().scan();
    ASSERT_TRUE(m.waitForIdle());
    ASSERT_EQ(m.library().items().size(), 3);

    m.organiser().addTag("#Receipts", m.library().items());
    ASSERT_TRUE(m.toast().current());
    EXPECT_EQ(m.toast().current()->text, "Tagged 3 files #receipts");
    m.organiser().addTag("tax", {m.library().items()[0]});
    EXPECT_EQ(m.toast().current()->text, QStringLiteral("Tagged “%1” #tax").arg(m.library().items()[0].name));
    m.organiser().addTag("  # ", {m.library().items()[0]});
    EXPECT_EQ(m.toast().current()->text, QStringLiteral("Tagged “%1” #tax").arg(m.library().items()[0].name))
              << "an empty tag does nothing";

    m.organiser().newCollection("Trip", {m.library().items()[0], m.library().items()[1]});
    EXPECT_EQ(m.toast().current()->text, "Made the collection “Trip” with 2 files");
    const QUuid trip = m.organiser().shelf().collections().first().id;
    m.organiser().addToCollection({m.library().items()[2]}, trip);
    EXPECT_EQ(m.toast().current()->text, "Added 1 file to “Trip”");

    m.organiser().toggleFavourite({m.library().items()[0], m.library().items()[1]});
    EXPECT_TRUE(m.organiser().shelf().isFavourite(m.library().items()[1].path));
    m.organiser().toggleFavourite({m.library().items()[0]});
    EXPECT_FALSE(m.organiser().shelf().isFavourite(m.library().items()[0].path)) << "all starred: all are un-starred";
    m.organiser().toggleFavourite({m.library().items()[0], m.library().items()[1]});
    EXPECT_TRUE(m.organiser().shelf().isFavourite(m.library().items()[0].path))
        << "some starred: the others are starred";
    EXPECT_TRUE(m.organiser().shelf().isFavourite(m.library().items()[1].path));

    // The shelf file follows every change.
    ASSERT_TRUE(m.waitForIdle());
    const Shelf stored = Shelf::load(Prefs::supportDir() + "/shelf.json");
    EXPECT_EQ(stored, m.organiser().shelf());
}

TEST(OrganiserActions, TrashWithAPartialFailureAndUndo)
{
    AppFixture f;
    const QString kept = f.tree.write("Documents/keep.txt", "k");
    const QString gone = f.tree.write("Documents/gone.txt", "g");
    AppModel& m = f.make();
    m.library().scan();
    ASSERT_TRUE(m.waitForIdle());
    ASSERT_EQ(m.library().items().size(), 2);
    QFile::remove(gone);  // vanished since the scan
    ASSERT_EQ(m.search().shownItems().size(), 2);

    ASSERT_TRUE(m.organiser().moveToTrash({}).moved.isEmpty());
    EXPECT_TRUE(f.sounds.isEmpty()) << "nothing moved, no sound";
    const auto result = m.organiser().moveToTrash(m.library().items());
    ASSERT_EQ(result.moved.size(), 1);
    EXPECT_EQ(f.sounds, QStringList{"Purr"});
    EXPECT_FALSE(QFileInfo::exists(kept));
    ASSERT_TRUE(m.toast().current());
    EXPECT_EQ(m.toast().current()->text,
              "Moved 1 item to the Trash, but couldn’t move “gone.txt”. Check you have permission to move it.");
    EXPECT_TRUE(m.toast().current()->isError);
    EXPECT_EQ(m.toast().current()->actionTitle, "Undo");
    EXPECT_EQ(m.library().items().size(), 1) << "the moved file left the library";
    EXPECT_EQ(m.search().shownItems().size(), 1) << "and the shown list, at once";

    m.toast().perform();
    EXPECT_TRUE(QFileInfo::exists(kept));
    ASSERT_TRUE(m.toast().current());
    EXPECT_EQ(m.toast().current()->text, "Put back 1 item");
    EXPECT_EQ(m.library().items().size(), 2);
    EXPECT_FALSE(m.organiser().canUndoTrash()) << "the notice's Undo used up the last Trash action";
    ASSERT_TRUE(m.waitForIdle());
}

TEST(OrganiserActions, UndoPutsBackOnlyTheLastTrashActionAndOnlyOnce)
{
    AppFixture f;
    const QString first = f.tree.write("Documents/first.txt", "1");
    const QString second = f.tree.write("Documents/second.txt", "2");
    AppModel& m = f.make();
    m.library().scan();
    ASSERT_TRUE(m.waitForIdle());
    EXPECT_FALSE(m.organiser().canUndoTrash());
    m.organiser().moveToTrash({itemFor(first)});
    m.organiser().moveToTrash({itemFor(second)});
    ASSERT_TRUE(m.organiser().canUndoTrash());

    m.organiser().undoLastTrash();
    EXPECT_TRUE(QFileInfo::exists(second));
    EXPECT_FALSE(QFileInfo::exists(first)) << "only the last action is undone";
    EXPECT_FALSE(m.organiser().canUndoTrash());
    m.organiser().undoLastTrash();  // nothing left to undo: no error notice
    EXPECT_EQ(m.toast().current()->text, "Put back 1 item");
    ASSERT_TRUE(m.waitForIdle());
}

TEST(AutomaticRules, InstallersAreJudgedByWhenTheyArrived)
{
    AppFixture f;
    f.env.loadCacheOnStart = true;
    const QString fresh = f.tree.write("Downloads/fresh.dmg", "d");
    const QString stale = f.tree.write("Downloads/stale.iso", "i");
    FileItem freshItem = itemFor(fresh);
    FileItem staleItem = itemFor(stale);
    // Made 40 days ago but downloaded today; and one that arrived 31 days ago.
    freshItem.created = freshItem.modified = f.now - 40 * 86400.0;
    freshItem.added = f.now - 60;
    staleItem.created = staleItem.modified = staleItem.added = f.now - 31 * 86400.0;
    LibraryCache::save(LibraryCache::defaultPath(), {freshItem, staleItem});
    AppModel& m = f.make();
    m.settings().setAutoCleanInstallers(true);
    m.organiser().runAutomaticCleanup();
    EXPECT_TRUE(QFileInfo::exists(fresh));
    EXPECT_FALSE(QFileInfo::exists(stale));
    ASSERT_TRUE(m.toast().current());
    EXPECT_EQ(m.toast().current()->text, "Moved 1 item to the Trash");
    ASSERT_TRUE(m.waitForIdle());
}

TEST(AutomaticRules, DesktopScreenshotsAreFiledByMonthAndKeepTheirShelf)
{
    AppFixture f;
    const QString shot = f.tree.write("Desktop/Screenshot from 2025-03-04.png", "png");
    const QString nested = f.tree.write("Desktop/Old/Screenshot from 2025-03-05.png", "png");
    const QString taken = f.tree.write("Pictures/Screenshots/2025-03/Screenshot from 2025-03-04.png", "earlier");
    FileItem shotItem = itemFor(shot);
    FileItem nestedItem = itemFor(nested);
    FileItem takenItem = itemFor(taken);
    ASSERT_TRUE(shotItem.isScreenshot);
    shotItem.created = nestedItem.created = Date::fromIso("2025-03-04T10:00:00Z");
    LibraryCache::save(LibraryCache::defaultPath(), {shotItem, nestedItem, takenItem});
    AppModel& m = f.make();
    m.organiser().toggleFavourite({shotItem});
    m.organiser().addTag("work", {shotItem});

    m.settings().setAutoFileScreenshots(true);
    m.organiser().runAutomaticCleanup();
    const QString filed = f.tree.path("Pictures/Screenshots/2025-03/Screenshot from 2025-03-04 2.png");
    EXPECT_TRUE(QFileInfo::exists(filed));
    EXPECT_FALSE(QFileInfo::exists(shot));
    EXPECT_TRUE(QFileInfo::exists(nested)) << "screenshots in sub-folders stay";
    QFile earlier(taken);
    ASSERT_TRUE(earlier.open(QIODevice::ReadOnly));
    EXPECT_EQ(earlier.readAll(), "earlier") << "an existing file is never replaced";

    EXPECT_TRUE(m.organiser().shelf().isFavourite(filed));
    EXPECT_EQ(m.organiser().shelf().tagsOf(filed), QStringList{"work"});
    EXPECT_TRUE(std::any_of(m.library().items().begin(), m.library().items().end(),
                            [&](const FileItem& i) { return i.path == filed; }));
    ASSERT_TRUE(m.toast().current());
    EXPECT_EQ(m.toast().current()->text, "Filed 1 screenshot into Pictures › Screenshots");
    ASSERT_TRUE(m.waitForIdle());
}

TEST(DuplicateScan, FindsCopiesAndPrunesAfterTrashAndScans)
{
    AppFixture f;
    f.tree.writeSized("Documents/a.bin", 5000, 7);
    f.tree.writeSized("Downloads/a copy.bin", 5000, 7);
    f.tree.writeSized("Documents/other.bin", 5000, 8);
    f.tree.writeSized("Music/b.bin", 6000, 9);
    const QString bCopy = f.tree.writeSized("Music/b copy.bin", 6000, 9);
    AppModel& m = f.make();
    m.library().scan();
    ASSERT_TRUE(m.waitForIdle());
    QSignalSpy progress(&m.duplicates(), &DuplicateScan::duplicateProgressChanged);
    m.duplicates().findDuplicates();
    EXPECT_EQ(m.duplicates().duplicateProgress(), 0.0);
    ASSERT_TRUE(m.waitForIdle());
    EXPECT_TRUE(m.duplicates().duplicatesScanned());
    EXPECT_FALSE(m.duplicates().duplicateProgress());
    ASSERT_EQ(m.duplicates().duplicateGroups().size(), 2);

    QFile::remove(bCopy);  // deleted by hand: the next scan drops its group
    m.library().scan();
    ASSERT_TRUE(m.waitForIdle());
    ASSERT_EQ(m.duplicates().duplicateGroups().size(), 1);
    const DuplicateGroup group = m.duplicates().duplicateGroups().first();
    EXPECT_EQ(group.keep, f.tree.path("Documents/a.bin")) << "the copy outside Downloads is kept";

    m.organiser().moveToTrash(group.toTrash());
    EXPECT_TRUE(m.duplicates().duplicateGroups().isEmpty()) << "a group left with one member is dropped";
    ASSERT_TRUE(m.waitForIdle());
}

TEST(DuplicateScan, AFileThatLeavesTheLibraryDuringTheSearchStaysOutOfItsResult)
{
    AppFixture f;
    f.tree.writeSized("Documents/a.bin", 5000, 7);
    const QString copy = f.tree.writeSized("Downloads/a copy.bin", 5000, 7);
    f.tree.writeSized("Music/b.bin", 6000, 9);
    f.tree.writeSized("Music/b copy.bin", 6000, 9);
    AppModel& m = f.make();
    m.library().scan();
    ASSERT_TRUE(m.waitForIdle());
    // The search works on the list as it was; the copy leaves before its result is taken.
    m.duplicates().findDuplicates();
    m.library().removeItems({copy});
    ASSERT_TRUE(m.waitForIdle());
    EXPECT_TRUE(m.duplicates().duplicatesScanned());
    ASSERT_EQ(m.duplicates().duplicateGroups().size(), 1) << "the pair that lost a member is not a group";
    for (const FileItem& file : m.duplicates().duplicateGroups().first().files) EXPECT_NE(file.path, copy);
}

TEST(DuplicateScan, KeepThisCopyInsteadChangesWhatGoesToTheTrash)
{
    AppFixture f;
    const QString original = f.tree.writeSized("Documents/a.bin", 5000, 7);
    const QString copy = f.tree.writeSized("Downloads/a copy.bin", 5000, 7);
    AppModel& m = f.make();
    m.library().scan();
    ASSERT_TRUE(m.waitForIdle());
    m.duplicates().findDuplicates();
    ASSERT_TRUE(m.waitForIdle());
    ASSERT_EQ(m.duplicates().duplicateGroups().size(), 1);
    const QUuid id = m.duplicates().duplicateGroups().first().id;
    ASSERT_EQ(m.duplicates().duplicateGroups().first().keep, original);

    QSignalSpy changed(&m.duplicates(), &DuplicateScan::duplicateGroupsChanged);
    m.duplicates().setKeep(id, copy);
    EXPECT_EQ(changed.count(), 1);
    const DuplicateGroup group = m.duplicates().duplicateGroups().first();
    EXPECT_EQ(group.keep, copy);
    ASSERT_EQ(group.toTrash().size(), 1);
    EXPECT_EQ(group.toTrash().first().path, original);

    m.duplicates().setKeep(id, copy);
    m.duplicates().setKeep(id, f.tree.path("Documents/elsewhere.bin"));
    m.duplicates().setKeep(QUuid::createUuid(), original);
    EXPECT_EQ(changed.count(), 1) << "the same keeper, a stranger or an unknown group change nothing";
    EXPECT_EQ(m.duplicates().duplicateGroups().first().keep, copy);
}
