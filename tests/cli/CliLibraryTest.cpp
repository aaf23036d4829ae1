// fennic-cli scan, list and stats, run as a real process over a real fixture folder.
#include "CliRun.h"
#include "library/LibraryCache.h"
#include "support/TempTree.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <gtest/gtest.h>

using namespace fennic;
using fennic::test::runCli;

namespace {

QString cacheFile(const QString& root) { return root + QStringLiteral("/.fennic-support/index.json"); }

FileItem dated(const QString& path, qint64 size, FileKind kind, const char* addedIso)
{
    FileItem f;
    f.path = path;
    f.name = path.mid(path.lastIndexOf(u'/') + 1);
    f.size = size;
    f.kind = kind;
    f.added = f.modified = f.created = Date::fromIso(QString::fromLatin1(addedIso));
    return f;
}

}  // namespace

TEST(CliLibraryTest, ScanWritesTheCacheInsideTheFixtureAndListShowsIt)
{
    test::TempTree tree;
    const QString root = tree.path("home");
    const QStringList expected{
        tree.write("home/Documents/report.pdf", QByteArray(1200, 'r')),
        tree.write("home/Pictures/Screenshot 2024-03-01.png", QByteArray(3000, 'p')),
        tree.write("home/Downloads/invoice.zip", "zip"),
        tree.write("home/Music/song.mp3", QByteArray(800, 'm')),
    };
    const bool xattrs = tree.setXattr("home/Downloads/invoice.zip", "user.xdg.origin.url",
                                      "https://mail.google.com/mail/u/0/?ui=2&attid=0.1");
    tree.write("home/Documents/node_modules/lib/index.js", "skipped");
    tree.write("home/Desktop/.hidden", "hidden");
    tree.write("home/Elsewhere/not-a-root.txt", "outside the library folders");

    const auto scan = runCli({"scan"}, root);
    ASSERT_EQ(scan.exitCode, 0) << scan.err.toStdString();
    ASSERT_EQ(scan.outLines().size(), 1) << scan.out.toStdString();
    EXPECT_TRUE(scan.outLines()[0].startsWith("Scanned 4 items, 5 kB, in ")) << scan.out.toStdString();
    EXPECT_TRUE(scan.err.isEmpty()) << "no progress line when stderr is not a terminal";

    // The cache went into the fixture's support folder, nowhere near the private home.
    ASSERT_TRUE(QFileInfo::exists(cacheFile(root)));
    EXPECT_FALSE(QFileInfo::exists(qEnvironmentVariable("XDG_DATA_HOME") + "/Fennic/index.json"));
    const auto cached = LibraryCache::load(cacheFile(root));
    ASSERT_TRUE(cached.has_value());
    if (xattrs) {
        const auto download = std::find_if(cached->begin(), cached->end(),
                                           [](const FileItem& f) { return f.name == "invoice.zip"; });
        ASSERT_NE(download, cached->end());
        EXPECT_EQ(download->sourceKey, QString("gmail"));
    }

    const auto list = runCli({"list"}, root);
    ASSERT_EQ(list.exitCode, 0) << list.err.toStdString();
    const QStringList listed = list.outLines();
    EXPECT_EQ(QSet<QString>(listed.begin(), listed.end()), QSet<QString>(expected.begin(), expected.end()));
    ASSERT_EQ(listed.size(), cached->size());
    for (qsizetype i = 0; i < cached->size(); ++i) EXPECT_EQ(listed[i], cached->at(i).path) << "cache order";

    // Each --json line is one item in the cache encoding.
    const auto json = runCli({"list", "--json"}, root);
    ASSERT_EQ(json.exitCode, 0) << json.err.toStdString();
    const QStringList lines = json.outLines();
    ASSERT_EQ(lines.size(), cached->size());
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const auto one = LibraryCache::decode('[' + lines[i].toUtf8() + ']');
        ASSERT_TRUE(one.has_value()) << lines[i].toStdString();
        ASSERT_EQ(one->size(), 1);
        EXPECT_EQ(one->at(0).path, cached->at(i).path);
        EXPECT_EQ(one->at(0).size, cached->at(i).size);
        EXPECT_EQ(one->at(0).added.seconds, cached->at(i).added.seconds);
        EXPECT_EQ(lines[i].toUtf8(), LibraryCache::encodeItem(cached->at(i)));
    }
}

TEST(CliLibraryTest, StatsReportsTotalsAndRecentFilesForAFixedNow)
{
    test::TempTree tree;
    const QString root = tree.path("home");
    QList<FileItem> items{
        dated(root + "/Downloads/b.mov", 150'000'000, FileKind::video, "2024-03-13T09:00:00Z"),
        dated(root + "/Documents/a.pdf", 100'000'000, FileKind::document, "2024-03-13T08:00:00Z"),
        dated(root + "/Pictures/Screenshot 1.png", 2'000, FileKind::image, "2024-03-12T23:59:59Z"),
        dated(root + "/Documents/old.txt", 10, FileKind::document, "2023-01-01T00:00:00Z"),
        dated(root + "/Applications/New.app", 5'000, FileKind::app, "2024-03-13T10:00:00Z"),
    };
    items[0].sourceKey = "gmail";
    items[2].isScreenshot = true;
    tree.mkdir("home/.fennic-support");
    ASSERT_TRUE(LibraryCache::save(cacheFile(root), items));

    const auto json = runCli({"stats", "--json", "--now", "2024-03-13T15:30:00Z"}, root);
    ASSERT_EQ(json.exitCode, 0) << json.err.toStdString();
    QJsonParseError error{};
    const QJsonObject stats = QJsonDocument::fromJson(json.out.toUtf8(), &error).object();
    ASSERT_EQ(error.error, QJsonParseError::NoError) << json.out.toStdString();
    EXPECT_EQ(stats["totalCount"].toInteger(), 5);
    EXPECT_EQ(stats["totalSize"].toInteger(), 250'007'010);
    EXPECT_EQ(stats["largeFiles"].toInteger(), 1);
    EXPECT_EQ(stats["screenshots"].toInteger(), 1);
    EXPECT_EQ(stats["downloadedFrom"].toInteger(), 1);
    EXPECT_EQ(stats["byKind"]["document"]["count"].toInteger(), 2);
    EXPECT_EQ(stats["byKind"]["document"]["size"].toInteger(), 100'000'010);
    EXPECT_FALSE(stats["byKind"].toObject().contains("music"));

    const QJsonArray lately = stats["lately"].toArray();
    ASSERT_EQ(lately.size(), 2);
    EXPECT_EQ(lately[0]["bucket"].toString(), "today");
    EXPECT_EQ(lately[0]["files"].toArray(), (QJsonArray{root + "/Documents/a.pdf", root + "/Downloads/b.mov"}));
    EXPECT_EQ(lately[1]["bucket"].toString(), "yesterday");
    EXPECT_EQ(lately[1]["files"].toArray(), QJsonArray{root + "/Pictures/Screenshot 1.png"});

    const auto text = runCli({"stats", "--now=2024-03-13T15:30:00Z"}, root);
    ASSERT_EQ(text.exitCode, 0) << text.err.toStdString();
    const QStringList lines = text.outLines();
    EXPECT_EQ(lines.value(0), "Library: 5 items, 250 MB");
    EXPECT_TRUE(lines.contains("Large files: 1 file over 100 MB")) << text.out.toStdString();
    EXPECT_TRUE(lines.contains("  Today: 2 files")) << text.out.toStdString();
    EXPECT_TRUE(lines.contains("    ~/Pictures/Screenshot 1.png")) << text.out.toStdString();
    EXPECT_FALSE(text.out.contains("New.app")) << "applications are not recent files";
}

TEST(CliLibraryTest, MissingOrDamagedLibraryIsExplained)
{
    test::TempTree tree;
    const QString root = tree.mkdir("empty");
    for (const QStringList& args : {QStringList{"list"}, QStringList{"stats"}, QStringList{"stats", "--json"}}) {
        const auto run = runCli(args, root);
        EXPECT_EQ(run.exitCode, 1) << args.join(' ').toStdString();
        EXPECT_EQ(run.err, "fennic-cli: no library yet: run fennic-cli scan\n");
        EXPECT_TRUE(run.out.isEmpty());
    }

    tree.write("empty/.fennic-support/index.json", "[{\"path\":");
    const auto damaged = runCli({"list"}, root);
    EXPECT_EQ(damaged.exitCode, 1);
    EXPECT_TRUE(damaged.err.contains("damaged")) << damaged.err.toStdString();
    EXPECT_TRUE(damaged.out.isEmpty());

    tree.write("empty/.fennic-support/index.json", "[]");
    const auto empty = runCli({"stats"}, root);
    EXPECT_EQ(empty.exitCode, 0) << empty.err.toStdString();
    EXPECT_EQ(empty.outLines().value(0), "Library: 0 items, Zero bytes");
}

TEST(CliLibraryTest, UsageErrorsExitWithTwoAndOneLine)
{
    test::TempTree tree;
    const QString root = tree.mkdir("home");
    tree.write("home/.fennic-support/index.json", "[]");
    const QList<QStringList> cases{
        {"scan", "extra"},
        {"scan", "--json"},
        {"list", "--jsn"},
        {"list", "more"},
        {"stats", "--now"},
        {"stats", "--now", "yesterday"},
        {"stats", "--verbose"},
        {"no-such-command"},
    };
    for (const QStringList& args : cases) {
        const auto run = runCli(args, root);
        EXPECT_EQ(run.exitCode, 2) << args.join(' ').toStdString();
        EXPECT_TRUE(run.err.startsWith("fennic-cli: ")) << run.err.toStdString();
        EXPECT_EQ(run.err.count(u'\n'), 1) << run.err.toStdString();
    }
    EXPECT_FALSE(QFileInfo::exists(root + "/Documents")) << "a rejected scan does nothing";
}
