// fennic-cli parse and ask, run as a real process; ask reads a real cache file in a fixture
// library folder.
#include "CliRun.h"
#include "library/LibraryCache.h"
#include "support/TempTree.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace fennic;
using fennic::test::runCli;

namespace {

QJsonObject jsonOf(const test::CliResult& r)
{
    QJsonParseError error{};
    const QJsonDocument doc = QJsonDocument::fromJson(r.out.toUtf8(), &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << r.out.toStdString();
    return doc.object();
}

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

TEST(CliSearchTest, ParsePrintsFiltersAndSpansAsJson)
{
    const auto r = runCli(QStringList{"parse", "pdfs from gmail last week over 5 MB", "--json", "--home", "/home/ana",
                                      "--first-weekday", "2"} + kClock);
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    const QJsonObject o = jsonOf(r);
    const QJsonArray filters = o["filters"].toArray();
    ASSERT_EQ(filters.size(), 4);
    QStringList cases;
    for (const QJsonValue& f : filters) cases.append(f["case"].toString());
    EXPECT_EQ(cases, (QStringList{"exts", "source", "date", "minSize"}));
    EXPECT_EQ(filters[0]["exts"].toArray(), QJsonArray{"pdf"});
    EXPECT_EQ(filters[0]["category"].toString(), "what");
    EXPECT_EQ(filters[1]["key"].toString(), "gmail");
    EXPECT_EQ(filters[1]["symbol"].toString(), "envelope");
    EXPECT_EQ(filters[2]["label"].toString(), "Last week");
    EXPECT_EQ(Date::fromIso(filters[2]["from"].toString()), Date::fromIso("2025-05-05T00:00:00Z"));
    EXPECT_EQ(Date::fromIso(filters[2]["to"].toString()), Date::fromIso("2025-05-12T00:00:00Z"));
    EXPECT_EQ(filters[3]["bytes"].toDouble(), 5e6);
    EXPECT_TRUE(filters[3]["strict"].toBool());
    EXPECT_EQ(filters[3]["label"].toString(), "Over 5 MB");

    const QJsonArray spans = o["spans"].toArray();
    ASSERT_EQ(spans.size(), 4);
    EXPECT_EQ(spans[1]["location"].toInt(), 5);
    EXPECT_EQ(spans[1]["length"].toInt(), 10);
    EXPECT_EQ(spans[1]["role"].toString(), "filter");
    EXPECT_EQ(spans[1]["filter"].toInt(), 1);
    EXPECT_EQ(o["firstWeekday"].toInt(), 2);
}

TEST(CliSearchTest, ParseTakesTheFirstWeekdayAndHome)
{
    const auto r = runCli(QStringList{"parse", "last week in my downloads", "--json", "--home", "/srv/ana/",
                                      "--first-weekday", "1"} + kClock);
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    const QJsonArray filters = jsonOf(r)["filters"].toArray();
    ASSERT_EQ(filters.size(), 2);
    EXPECT_EQ(Date::fromIso(filters[0]["from"].toString()), Date::fromIso("2025-05-04T00:00:00Z"));  // a Sunday
    EXPECT_EQ(filters[1]["path"].toString(), "/srv/ana/Downloads");
}

TEST(CliSearchTest, BadOptionsAreUsageErrors)
{
    for (const QStringList& args : {QStringList{"parse"}, QStringList{"parse", "x", "--first-weekday", "8"},
                                    QStringList{"parse", "x", "--tz", "Nowhere/Atlantis"},
                                    QStringList{"parse", "x", "--now", "yesterday"}, QStringList{"parse", "x", "--jsn"},
                                    QStringList{"ask", "x", "--sort", "colour"}}) {
        const auto r = runCli(args);
        EXPECT_EQ(r.exitCode, 2) << args.join(' ').toStdString();
        EXPECT_TRUE(r.err.startsWith("fennic-cli: ")) << r.err.toStdString();
    }
}

TEST(CliSearchTest, AskFindsTheMatchingFilesInOrder)
{
    test::TempTree tree;
    const QString root = tree.path("home");
    tree.mkdir("home/.fennic-support");
    const QString support = root + "/.fennic-support/index.json";
    FileItem mailed = file(root + "/Downloads/Statement.pdf", 3'000'000, FileKind::document, "2025-05-06T09:00:00Z");
    mailed.sourceKey = QStringLiteral("gmail");
    const QList<FileItem> items = {
        file(root + "/Documents/Résumé 2024.pdf", 2'000'000, FileKind::document, "2025-05-13T09:00:00Z"),
        file(root + "/Documents/resume-old.docx", 9'000, FileKind::document, "2020-01-01T09:00:00Z"),
        mailed,
        file(root + "/Downloads/big.pdf", 9'000'000, FileKind::document, "2025-05-01T09:00:00Z"),
        file(root + "/Pictures/beach.jpg", 4'000'000, FileKind::image, "2025-05-14T08:00:00Z"),
    };
    ASSERT_TRUE(LibraryCache::save(support, items));

    const auto resume = runCli(QStringList{"ask", "resume"} + kClock, root);
    ASSERT_EQ(resume.exitCode, 0) << resume.err.toStdString();
    EXPECT_EQ(resume.outLines(), (QStringList{items[0].path, items[1].path}));  // newest added first

    const auto bySize = runCli(QStringList{"ask", "pdfs over 1 mb", "--sort", "size", "--ascending"} + kClock, root);
    EXPECT_EQ(bySize.outLines(), (QStringList{items[0].path, items[2].path, items[3].path}));

    const auto lastWeek = runCli(QStringList{"ask", "pdfs from gmail last week", "--first-weekday", "2"} + kClock, root);
    EXPECT_EQ(lastWeek.outLines(), QStringList{items[2].path});

    const auto folder = runCli(QStringList{"ask", "in my downloads", "--json"} + kClock, root);
    ASSERT_EQ(folder.exitCode, 0) << folder.err.toStdString();
    const QJsonObject o = jsonOf(folder);
    EXPECT_EQ(o["count"].toInt(), 2);
    EXPECT_EQ(o["paths"].toArray(), (QJsonArray{items[2].path, items[3].path}));

    const auto none = runCli(QStringList{"ask", "videos"} + kClock, root);
    EXPECT_EQ(none.exitCode, 0);
    EXPECT_TRUE(none.out.isEmpty());
}

TEST(CliSearchTest, AskWithoutACacheSaysSo)
{
    test::TempTree tree;
    const auto r = runCli(QStringList{"ask", "pdfs"}, tree.path("empty"));
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_TRUE(r.err.contains("fennic-cli scan")) << r.err.toStdString();
}
