// The demonstration library must show off what Fennic finds: every kind, downloads from
// several places, screenshots, an old installer, an exact copy and a look-alike, over two
// years of dates. Built for real and read back through the same code the application uses.
#include "demo/FennicDemo.h"
#include "organise/CleanupKind.h"
#include "organise/DuplicateFinder.h"
#include "search/SearchContext.h"
#include "search/SearchParser.h"
#include "support/TempTree.h"

#include <QDir>
#include <QSet>
#include <gtest/gtest.h>

using namespace fennic;
using fennic::test::TempTree;

TEST(FennicDemo, ShowsEveryKindOfFindingOverTwoYears)
{
    TempTree tree;
    const Date now = Date::fromIso("2026-11-24T12:00:00Z");
    const FennicDemo::Library demo = FennicDemo::build(tree.root(), now);
    ASSERT_EQ(demo.items.size(), 24) << "every file written is one the scanner lists";

    QSet<FileKind> kinds;
    QSet<QString> sources;
    int screenshots = 0;
    Date oldest = now, newest = Date::distantPast();
    for (const FileItem& item : demo.items) {
        EXPECT_TRUE(item.path.startsWith(tree.root() + "/")) << "nothing outside the demonstration home";
        kinds.insert(item.kind);
        if (item.sourceKey) sources.insert(*item.sourceKey);
        screenshots += item.isScreenshot;
        oldest = std::min(oldest, item.added);
        newest = std::max(newest, item.added);
    }
    for (FileKind kind : {FileKind::image, FileKind::video, FileKind::music, FileKind::document, FileKind::archive})
        EXPECT_TRUE(kinds.contains(kind)) << FileKinds::rawValue(kind).toStdString();
    if (test::supportsXattrs(tree.root())) {
        EXPECT_TRUE(sources.contains("gmail"));
        EXPECT_TRUE(sources.contains("github"));
        EXPECT_GE(sources.size(), 3);
    }
    EXPECT_EQ(screenshots, 2);
    EXPECT_LE(newest, now);
    EXPECT_GT(now - oldest, 600 * 86400.0) << "dates spread over about two years";
    EXPECT_LT(now - oldest, 731 * 86400.0);

    // What the organising pages will find in it.
    const auto suggestions = CleanupKinds::suggestions(demo.items, now, tree.path("Downloads"));
    const auto installers = std::find_if(suggestions.begin(), suggestions.end(),
                                         [](const auto& s) { return s.kind == CleanupKind::installers; });
    ASSERT_NE(installers, suggestions.end());
    EXPECT_EQ(installers->files.size(), 1);
    const auto copies = DuplicateFinder::exact(demo.items, tree.path("Downloads"));
    ASSERT_EQ(copies.size(), 1);
    EXPECT_EQ(copies.first().files.size(), 2);
}

TEST(FennicDemo, TheShowcaseRequestFindsTheBigPdfFromMailLastWeek)
{
    TempTree tree;
    if (!test::supportsXattrs(tree.root())) GTEST_SKIP() << "no extended attributes here";
    // Every weekday, so that "last week" holds whichever day the demonstration is built.
    for (int day = 0; day < 7; ++day) {
        TempTree home;
        const Date now = Date::fromIso("2026-11-23T12:00:00Z") + day * 86400.0;
        const FennicDemo::Library demo = FennicDemo::build(home.root(), now);
        const auto parsed =
            SearchParser::analyze("pdfs from gmail last week over 5 MB", now, Calendar{}, home.root()).query;
        ASSERT_EQ(parsed.filters.size(), 4);
        SearchContext context;
        QStringList found;
        for (const FileItem& item : demo.items)
            if (SearchParser::matches(item, parsed.filters, context)) found.append(item.name);
        EXPECT_EQ(found, QStringList{"Harbour house brochure.pdf"}) << "day " << day;
    }
}
