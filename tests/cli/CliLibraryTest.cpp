// fennic-cli scan, list and stats, run as a real process over a real fixture folder.
#include "CliRun.h"
#include "library/LibraryCache.h"
#include "model/SupportFiles.h"
#include "support/TempTree.h"
#include "support/TestItems.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>
#include <tuple>

using namespace fennic;
using fennic::test::runCli;

namespace {

QString cacheFile(const QString& root) { return SupportFiles::forFixture(root).libraryCache(); }

}  // namespace

TEST(CliLibraryTest, ScanWritesTheCacheInsideTheFixtureAndListShowsIt)
{
    test::TempTree tree;
    const QString root = tree.path("home");
    tree.write("home/Documents/report.pdf", QByteArray(1200, 'r'));
    tree.write("home/Pictures/Screenshot 2024-03-01.png", QByteArray(3000, 'p'));
    tree.write("home/Downloads/invoice.zip", "zip");
    tree.write("home/Music/song.mp3", QByteArray(800, 'm'));
    tree.write("home/Elsewhere/not-a-root.txt", "outside the library folders");

    const auto scan = runCli({"scan"}, root);
    ASSERT_EQ(scan.exitCode, 0) << scan.err.toStdString();
    EXPECT_TRUE(scan.out.startsWith("Scanned 4 items, 5 kB, in ") && scan.outLines().size() == 1)
        << scan.out.toStdString();
    EXPECT_TRUE(scan.err.isEmpty()) << "no progress line when stderr is not a terminal";

    // The cache went into the fixture's support folder.
    const auto cached = LibraryCache::load(cacheFile(root));
    ASSERT_TRUE(cached.has_value());

    // list prints the paths in cache order; each --json line is one item in the cache encoding.
    QByteArray paths, encoded;
    for (const FileItem& f : *cached) {
        paths += f.path.toUtf8() + '\n';
        encoded += LibraryCache::encodeItem(f) + '\n';
    }
    const auto list = runCli({"list"}, root);
    ASSERT_EQ(list.exitCode, 0) << list.err.toStdString();
    EXPECT_EQ(list.out.toUtf8(), paths);
    const auto json = runCli({"list", "--json"}, root);
    ASSERT_EQ(json.exitCode, 0) << json.err.toStdString();
    EXPECT_EQ(json.out.toUtf8(), encoded);
}

TEST(CliLibraryTest, StatsReportsTotalsAndRecentFilesForAFixedNow)
{
    test::TempTree tree;
    const QString root = tree.path("home");
    QList<FileItem> items{
        test::datedItem(root + "/Downloads/b.mov", 150'000'000, FileKind::video, "2024-03-13T09:00:00Z"),
        test::datedItem(root + "/Documents/a.pdf", 120'000'000, FileKind::document, "2024-03-13T08:00:00Z"),
        test::datedItem(root + "/Pictures/Screenshot 1.png", 2'000, FileKind::image, "2024-03-12T23:59:59Z"),
        test::datedItem(root + "/Documents/old.txt", 10, FileKind::document, "2023-01-01T00:00:00Z"),
        test::datedItem(root + "/Applications/New.app", 5'000, FileKind::app, "2024-03-13T10:00:00Z"),
    };
    items[0].sourceKey = items[1].sourceKey = items[3].sourceKey = "gmail";
    items[2].isScreenshot = true;
    tree.mkdir(SupportFiles::forFixture(root).dir());
    ASSERT_TRUE(LibraryCache::save(cacheFile(root), items));

    const auto json = runCli({"stats", "--json", "--now", "2024-03-13T15:30:00Z"}, root);
    ASSERT_EQ(json.exitCode, 0) << json.err.toStdString();
    const QJsonObject stats = QJsonDocument::fromJson(json.out.toUtf8()).object();
    // Distinct values, so that a field filled from the wrong total shows.
    const std::pair<const char*, qint64> totals[] = {
        {"totalCount", 5}, {"totalSize", 270'007'010}, {"largeFiles", 2}, {"screenshots", 1}, {"downloadedFrom", 3}};
    for (const auto& [field, value] : totals) EXPECT_EQ(stats[field].toInteger(), value) << field;
    EXPECT_EQ(stats["byKind"]["document"], (QJsonObject{{"count", 2}, {"size", 120'000'010}}));
    EXPECT_FALSE(stats["byKind"].toObject().contains("music"));
    const QJsonArray today{root + "/Documents/a.pdf", root + "/Downloads/b.mov"};
    EXPECT_EQ(stats["lately"],
              (QJsonArray{QJsonObject{{"bucket", "today"}, {"title", "Today"}, {"count", 2}, {"files", today}},
                          QJsonObject{{"bucket", "yesterday"},
                                      {"title", "Yesterday"},
                                      {"count", 1},
                                      {"files", QJsonArray{root + "/Pictures/Screenshot 1.png"}}}}));

    const auto text = runCli({"stats", "--now=2024-03-13T15:30:00Z"}, root);
    ASSERT_EQ(text.exitCode, 0) << text.err.toStdString();
    for (const char* line : {"Library: 5 items, 270 MB", "  Documents         2 items  120 MB",
                             "Large files: 2 files over 100 MB", "  Today: 2 files", "    ~/Pictures/Screenshot 1.png"})
        EXPECT_TRUE(text.outLines().contains(line)) << line << " in\n" << text.out.toStdString();
    EXPECT_FALSE(text.out.contains("Music")) << "no line for a kind without files";
}

TEST(CliLibraryTest, UsageErrorsAndMissingOrDamagedLibraries)
{
    test::TempTree tree;
    const QString root = tree.mkdir("home");
    const QString notScanned = "fennic-cli: no library yet: run fennic-cli scan\n";
    // Name, the cache written before the run (none when null), arguments, exit code and, for a
    // failure, a part of the one "fennic-cli: " line on stderr.
    const std::tuple<const char*, QByteArray, QStringList, int, QString> cases[] = {
        {"scan with an argument", {}, {"scan", "extra"}, 2, {}},
        {"list, never scanned", {}, {"list"}, 1, notScanned},
        {"stats, never scanned", {}, {"stats"}, 1, notScanned},
        {"unknown command", {}, {"no-such-command"}, 2, {}},
        {"damaged cache", "[{\"path\":", {"list"}, 1, "damaged"},
        {"empty cache", "[]", {"stats"}, 0, {}},
        {"misspelt list flag", {}, {"list", "--jsn"}, 2, {}},
        {"--now without a value", {}, {"stats", "--now"}, 2, {}},
        {"--now not a date", {}, {"stats", "--now", "yesterday"}, 2, {}},
        {"unknown stats option", {}, {"stats", "--verbose"}, 2, {}},
    };
    for (const auto& [name, cache, args, exitCode, err] : cases) {
        SCOPED_TRACE(name);
        if (!cache.isNull()) tree.write(cacheFile(root), cache);
        const auto run = runCli(args, root);
        EXPECT_EQ(run.exitCode, exitCode) << run.err.toStdString();
        EXPECT_TRUE(args.first() != "scan" || !QFileInfo::exists(cacheFile(root))) << "a rejected scan saves nothing";
        if (exitCode == 0) continue;
        EXPECT_TRUE(run.err.startsWith("fennic-cli: ") && run.err.contains(err) && run.err.count(u'\n') == 1)
            << run.err.toStdString();
        EXPECT_TRUE(run.out.isEmpty());
    }
}
