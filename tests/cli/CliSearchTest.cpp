// fennic-cli parse and ask, run as a real process; ask reads a real cache file in a fixture
// library folder.
#include "CliRun.h"
#include "library/LibraryCache.h"
#include "model/SupportFiles.h"
#include "support/TempTree.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>
#include <tuple>

using namespace fennic;
using fennic::test::runCli;

namespace {

QJsonObject jsonOf(const test::CliResult& r) { return QJsonDocument::fromJson(r.out.toUtf8()).object(); }

FileItem file(const QString& path, qint64 size, FileKind kind, const char* addedIso)
{
    FileItem f;
    f.path = path;
    f.name = path.section(u'/', -1);
    f.ext = pathExtension(f.name).toLower();
    f.size = size;
    f.kind = kind;
    f.added = f.modified = f.created = Date::fromIso(QString::fromLatin1(addedIso));
    return f;
}

const QStringList kClock = {"--now", "2025-05-14T10:30:00Z", "--tz", "UTC"};

}  // namespace

TEST(CliSearchTest, ParsePrintsFiltersAndSpans)
{
    const QString request = "pdfs from gmail last week over 5 MB in my downloads";
    const auto r =
        runCli(QStringList{"parse", request, "--json", "--home", "/srv/ana/", "--first-weekday", "2"} + kClock);
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    const QJsonObject o = jsonOf(r);
    EXPECT_EQ(o["firstWeekday"].toInt(), 2);
    EXPECT_EQ(o["home"].toString(), "/srv/ana") << "--home, tidied";
    const QJsonArray filters = o["filters"].toArray();
    ASSERT_EQ(filters.size(), 5) << r.out.toStdString();
    EXPECT_EQ(filters[0]["exts"].toArray(), QJsonArray{"pdf"});
    EXPECT_EQ(filters[1]["key"].toString(), "gmail");
    EXPECT_EQ(Date::fromIso(filters[2]["from"].toString()), Date::fromIso("2025-05-05T00:00:00Z"));  // a Monday
    EXPECT_EQ(Date::fromIso(filters[2]["to"].toString()), Date::fromIso("2025-05-12T00:00:00Z"));
    EXPECT_EQ(filters[3]["bytes"].toDouble(), 5e6);
    EXPECT_TRUE(filters[3]["strict"].toBool());
    EXPECT_EQ(filters[3]["label"].toString(), "Over 5 MB");
    EXPECT_EQ(filters[4]["path"].toString(), "/srv/ana/Downloads");
    const QJsonArray spans = o["spans"].toArray();
    ASSERT_EQ(spans.size(), 5);
    EXPECT_EQ(spans[4].toObject(),
              (QJsonObject{
                  {"location", 36}, {"length", 15}, {"role", "filter"}, {"text", "in my downloads"}, {"filter", 4}}));

    // Without --json: a line per filter, then a line per span.
    const QStringList text = runCli(QStringList{"parse", request, "--home", "/srv/ana"} + kClock).outLines();
    EXPECT_EQ(text.value(0), "what\texts\tPDFs");
    EXPECT_EQ(text.value(9), "36+15\tfilter\tin my downloads");
}

TEST(CliSearchTest, BadOptionsAreUsageErrorsAndAskNeedsACache)
{
    test::TempTree tree;
    const std::pair<QStringList, int> cases[] = {
        {{"parse"}, 2},
        {{"parse", "x", "--first-weekday", "8"}, 2},
        {{"parse", "x", "--tz", "Nowhere/Atlantis"}, 2},
        {{"ask", "x", "--sort", "colour"}, 2},
        {{"ask", "pdfs"}, 1},  // no library in the folder
    };
    for (const auto& [args, exitCode] : cases) {
        const auto r = runCli(args, tree.path("empty"));
        EXPECT_EQ(r.exitCode, exitCode) << args.join(' ').toStdString();
        EXPECT_TRUE(r.err.startsWith("fennic-cli: ") && (exitCode == 2 || r.err.contains("fennic-cli scan")))
            << r.err.toStdString();
    }
}

TEST(CliSearchTest, AskFindsTheMatchingFilesInOrder)
{
    test::TempTree tree;
    const QString root = tree.path("home");
    tree.mkdir(SupportFiles::forFixture(root).dir());
    FileItem mailed = file(root + "/Downloads/Statement.pdf", 3'000'000, FileKind::document, "2025-05-11T09:00:00Z");
    mailed.sourceKey = QStringLiteral("gmail");
    const QList<FileItem> items = {
        file(root + "/Documents/Résumé 2024.pdf", 2'000'000, FileKind::document, "2025-05-13T09:00:00Z"),
        file(root + "/Documents/resume-old.docx", 9'000, FileKind::document, "2020-01-01T09:00:00Z"),
        mailed,
        file(root + "/Downloads/big.pdf", 9'000'000, FileKind::document, "2025-05-01T09:00:00Z"),
        file(root + "/Pictures/beach.jpg", 4'000'000, FileKind::image, "2025-05-14T08:00:00Z"),
    };
    ASSERT_TRUE(LibraryCache::save(SupportFiles::forFixture(root).libraryCache(), items));

    const std::tuple<const char*, QStringList, QStringList> cases[] = {
        {"newest added first by default", {"resume"}, {items[0].path, items[1].path}},
        {"--sort and --ascending",
         {"pdfs over 1 mb", "--sort", "size", "--ascending"},
         {items[0].path, items[2].path, items[3].path}},
        // The statement came on a Sunday: in last week when weeks start on Monday, not Sunday.
        {"--first-weekday 2", {"pdfs from gmail last week", "--first-weekday", "2"}, {items[2].path}},
        {"--first-weekday 1", {"pdfs from gmail last week", "--first-weekday", "1"}, {}},
        {"no match", {"videos"}, {}},
    };
    for (const auto& [name, args, paths] : cases) {
        const auto r = runCli(QStringList{"ask"} + args + kClock, root);
        EXPECT_EQ(r.exitCode, 0) << name << ": " << r.err.toStdString();
        EXPECT_EQ(r.outLines(), paths) << name;
    }

    const auto folder = runCli(QStringList{"ask", "in my downloads", "--json", "--first-weekday", "1"} + kClock, root);
    ASSERT_EQ(folder.exitCode, 0) << folder.err.toStdString();
    const QJsonObject o = jsonOf(folder);
    EXPECT_EQ(o["firstWeekday"].toInt(), 1);
    EXPECT_EQ(o["count"].toInt(), 2);
    EXPECT_EQ(o["paths"].toArray(), (QJsonArray{items[2].path, items[3].path}));
}
