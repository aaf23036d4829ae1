// fennic-cli cleanup, duplicates, trash, put-back and shelf, run as real processes over a
// fixture library with their own Trash.
#include "CliRun.h"
#include "library/LibraryCache.h"
#include "model/SupportFiles.h"
#include "organise/Shelf.h"
#include "support/TempTree.h"
#include "support/TestItems.h"

#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace fennic;
using fennic::test::CliResult;

namespace {

// A fixture home, a private data folder (and so a private Trash) for the tool.
class CliOrganiseTest : public ::testing::Test {
protected:
    CliResult run(const QStringList& args)
    {
        QProcessEnvironment env = test::cliEnvironment(home());
        env.insert(QStringLiteral("XDG_DATA_HOME"), tree.path("data"));
        return test::runCli(args, env);
    }
    QString home() const { return tree.path("home"); }
    SupportFiles support() const { return SupportFiles::forFixture(home()); }
    QString trashFiles() const { return tree.path("data/Trash/files"); }
    QJsonObject json(const CliResult& r) const { return QJsonDocument::fromJson(r.out.toUtf8()).object(); }
    QByteArray contentOf(const QString& path) const
    {
        QFile f(path);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }
    QSet<QString> cachedPaths() const
    {
        QSet<QString> paths;
        for (const FileItem& f : LibraryCache::load(support().libraryCache()).value_or(QList<FileItem>()))
            paths.insert(f.path);
        return paths;
    }

    test::TempTree tree;
};

}  // namespace

TEST_F(CliOrganiseTest, CleanupReportsTheRulesOverTheCachedLibrary)
{
    tree.mkdir("home");
    EXPECT_EQ(run({"cleanup"}).exitCode, 1) << "no library yet";

    const QString h = home();
    const QList<FileItem> items{
        test::datedItem(h + "/Downloads/old.pdf", 3000, FileKind::document, "2025-01-01T00:00:00Z"),
        test::datedItem(h + "/Downloads/recent.pdf", 3000, FileKind::document, "2025-05-01T00:00:00Z"),
        test::datedItem(h + "/Downloads/Setup.dmg", 7000, FileKind::archive, "2025-05-01T00:00:00Z"),
        test::datedItem(h + "/Movies/huge.mov", 1500000000, FileKind::video, "2024-01-01T00:00:00Z"),
    };
    ASSERT_TRUE(LibraryCache::save(support().libraryCache(), items));

    const CliResult r = run({"cleanup", "--json", "--now", "2025-06-01T00:00:00Z"});
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    const QJsonArray suggestions = json(r)["suggestions"].toArray();
    ASSERT_EQ(suggestions.size(), 6);
    EXPECT_EQ(suggestions[0]["kind"].toString(), "downloads");
    EXPECT_EQ(suggestions[0]["files"].toArray(), QJsonArray({h + "/Downloads/old.pdf"})) << "as of --now";
    EXPECT_EQ(suggestions[3]["size"].toDouble(), 1500000000.0);
    EXPECT_EQ(json(r)["reclaimable"].toDouble(), 1500010000.0);

    const CliResult text = run({"cleanup", "--now", "2025-06-01T00:00:00Z"});
    EXPECT_TRUE(text.out.contains("Old installers: 1 file, 7 kB")) << text.out.toStdString();
    EXPECT_TRUE(text.out.contains("Reclaimable: 1.5 GB")) << text.out.toStdString();
    EXPECT_EQ(run({"cleanup", "--now", "yesterday"}).exitCode, 2);
}

TEST_F(CliOrganiseTest, DuplicatesReportsCopiesAndLookAlikesWithTheirKeepers)
{
    const QByteArray content(5000, 'd');
    tree.write("home/Downloads/report.pdf", content);
    tree.write("home/Documents/report.pdf", content);
    // A picture, a smaller copy of it, and an unrelated picture.
    QImage photo(480, 320, QImage::Format_RGB32);
    QImage checks(480, 320, QImage::Format_RGB32);
    for (int y = 0; y < 320; ++y)
        for (int x = 0; x < 480; ++x) {
            photo.setPixelColor(x, y, QColor(x * 255 / 480, y * 255 / 320, x < 200 ? 60 : 220));
            checks.setPixelColor(x, y, ((x / 40 + y / 40) % 2) ? QColor(250, 250, 20) : QColor(10, 10, 120));
        }
    tree.mkdir("home/Pictures");
    const QString original = tree.path("home/Pictures/beach.png");
    ASSERT_TRUE(photo.save(original));
    ASSERT_TRUE(photo.scaled(360, 240, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                    .save(tree.path("home/Pictures/beach small.png")));
    ASSERT_TRUE(checks.save(tree.path("home/Pictures/checks.png")));
    ASSERT_EQ(run({"scan"}).exitCode, 0);

    const CliResult r = run({"duplicates", "--json"});
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    EXPECT_TRUE(r.err.isEmpty()) << "no progress line when stderr is not a terminal";
    const QJsonArray groups = json(r)["groups"].toArray();
    ASSERT_EQ(groups.size(), 1) << r.out.toStdString();
    EXPECT_EQ(groups[0]["keep"].toString(), home() + "/Documents/report.pdf");
    EXPECT_EQ(groups[0]["files"].toArray().size(), 2);
    EXPECT_EQ(json(r)["reclaimable"].toInt(), 5000);
    const QJsonArray lookalikes = json(r)["lookalikes"].toArray();
    ASSERT_EQ(lookalikes.size(), 1) << r.out.toStdString();
    EXPECT_EQ(lookalikes[0]["files"].toArray().size(), 2);
    EXPECT_EQ(lookalikes[0]["keep"].toString(), original) << "the larger file is kept";

    const CliResult text = run({"duplicates", "--exact-only"});
    EXPECT_TRUE(text.out.startsWith("1 group of identical files, 5 kB reclaimable")) << text.out.toStdString();
    EXPECT_TRUE(text.out.contains("  keep  ~/Documents/report.pdf")) << text.out.toStdString();
    EXPECT_FALSE(text.out.contains("look-alike"));
}

TEST_F(CliOrganiseTest, TrashRecordsTheOperationAndPutBackUndoesIt)
{
    const QString a = tree.write("home/Documents/a.txt", "alpha");
    const QString b = tree.write("home/Pictures/b.txt", "beta");
    const QString missing = home() + "/Documents/missing.txt";
    ASSERT_EQ(run({"scan"}).exitCode, 0);
    ASSERT_TRUE(cachedPaths().contains(a));

    const CliResult trashed = run({"trash", "--json", a, b, missing});
    EXPECT_EQ(trashed.exitCode, 1) << "one file failed";
    const QJsonObject result = json(trashed);
    ASSERT_EQ(result["moved"].toArray().size(), 2) << trashed.out.toStdString();
    for (const QJsonValue m : result["moved"].toArray())
        EXPECT_TRUE(m["trashed"].toString().startsWith(trashFiles() + u'/')) << m["trashed"].toString().toStdString();
    EXPECT_EQ(result["failed"][0]["path"].toString(), missing);
    EXPECT_TRUE(result["message"].toString().startsWith("Moved 2 items to the Trash, but"))
        << trashed.out.toStdString();
    EXPECT_FALSE(cachedPaths().contains(a)) << "trashed files leave the library";

    // The occupied place keeps its new file; the other goes back.
    tree.write("home/Pictures/b.txt", "new beta");
    const CliResult back = run({"put-back"});
    EXPECT_EQ(back.exitCode, 1);
    EXPECT_EQ(back.out, "Put back 1 of 2. The rest are still in the Trash.\n");
    EXPECT_TRUE(cachedPaths().contains(a)) << "restored files rejoin the library";

    // What stayed is tried again once its place is free.
    QFile::remove(b);
    const CliResult again = run({"put-back"});
    EXPECT_EQ(again.exitCode, 0) << again.err.toStdString();
    EXPECT_EQ(again.out, "Put back 1 item\n");
    EXPECT_EQ(contentOf(b), "beta");
    EXPECT_EQ(run({"put-back"}).exitCode, 1) << "nothing left to put back";

    // A trash that moves nothing is still the last operation: the earlier one can't be undone.
    ASSERT_EQ(run({"trash", a}).exitCode, 0);
    EXPECT_EQ(run({"trash", missing}).exitCode, 1);
    EXPECT_EQ(run({"put-back"}).err, "fennic-cli: nothing to put back\n");
    EXPECT_FALSE(QFileInfo::exists(a));

    EXPECT_EQ(run({"trash"}).exitCode, 2);
}

TEST_F(CliOrganiseTest, ShelfCommandsStarTagAndCollect)
{
    const QString a = tree.write("home/Documents/a.txt", "a");
    const QString b = tree.write("home/Documents/b.txt", "b");
    // A damaged shelf is reported, read as empty and replaced by the first change.
    tree.write(support().shelf(), "{\"favourites\": [");
    const CliResult damaged = run({"shelf"});
    EXPECT_EQ(damaged.exitCode, 0);
    EXPECT_TRUE(damaged.out.startsWith("Favourites: 0\n")) << damaged.out.toStdString();
    EXPECT_TRUE(damaged.err.contains("damaged")) << damaged.err.toStdString();

    EXPECT_EQ(run({"shelf", "tag", "#Holiday Photos", a}).out,
              QStringLiteral("Tagged \u201ca.txt\u201d #holiday-photos\n"));
    EXPECT_EQ(run({"shelf", "tag", "receipts", a, b}).out, "Tagged 2 files #receipts\n");
    EXPECT_EQ(run({"shelf", "star", b, a}).exitCode, 0);
    EXPECT_EQ(run({"shelf", "collect", "Trip", a}).out,
              QStringLiteral("Made the collection \u201cTrip\u201d with 1 file\n"));
    EXPECT_EQ(run({"shelf", "collect", "trip", b, a}).out, QStringLiteral("Added 2 files to \u201cTrip\u201d\n"));
    EXPECT_EQ(run({"shelf", "untag", "#receipts", b}).exitCode, 0);

    const Shelf shelf = Shelf::load(support().shelf());
    EXPECT_EQ(shelf.favourites(), QStringList({b, a}));
    EXPECT_EQ(shelf.tagsOf(a), QStringList({"holiday-photos", "receipts"}));
    EXPECT_TRUE(shelf.tagsOf(b).isEmpty()) << "untag removes the tidied form";
    ASSERT_EQ(shelf.collections().size(), 1);
    EXPECT_EQ(shelf.collections()[0].paths, QStringList({a, b}));

    const CliResult list = run({"shelf", "list", "--json"});
    EXPECT_EQ(json(list)["tags"].toArray().size(), 2);
    EXPECT_EQ(json(list)["collections"][0]["name"].toString(), "Trip");

    // A mistake changes nothing.
    const QByteArray before = contentOf(support().shelf());
    EXPECT_EQ(run({"shelf", "tag", "x", home() + "/Documents/nope.txt"}).exitCode, 2);
    EXPECT_EQ(run({"shelf", "tag", " # ", a}).exitCode, 2);
    EXPECT_EQ(run({"shelf", "frobnicate"}).exitCode, 2);
    EXPECT_EQ(contentOf(support().shelf()), before);
}
