#include "library/LibraryStats.h"

#include <gtest/gtest.h>

using namespace fennic;

namespace {

FileItem file(const QString& path, qint64 size, FileKind kind)
{
    FileItem f;
    f.path = path;
    f.size = size;
    f.kind = kind;
    return f;
}

}  // namespace

TEST(LibraryStatsTest, EmptyLibraryHasNoKindsAndZeroTotals)
{
    const LibraryStats stats(QList<FileItem>{});
    EXPECT_EQ(stats, LibraryStats());
    EXPECT_TRUE(stats.byKind.empty());
    EXPECT_EQ(stats.totalCount, 0);
    EXPECT_EQ(stats.totalSize, 0);
    for (const FileKind k : FileKinds::allCases) EXPECT_EQ(stats.total(k), KindTotal{});
}

TEST(LibraryStatsTest, LargeMeansStrictlyMoreThanOneHundredMillionBytes)
{
    struct Case {
        const char* name;
        qint64 size;
        qint64 large;
    };
    const Case cases[] = {
        {"exactly the limit", 100'000'000, 0},
        {"one byte more", 100'000'001, 1},
        {"one byte less", 99'999'999, 0},
        {"binary hundred megabytes", 104'857'600, 1},
        {"empty file", 0, 0},
    };
    for (const Case& c : cases) {
        const LibraryStats stats({file("/a", c.size, FileKind::video)});
        EXPECT_EQ(stats.largeFiles, c.large) << c.name;
    }
}

TEST(LibraryStatsTest, TotalsByKindScreenshotsAndDownloads)
{
    QList<FileItem> items{
        file("/p/1.png", 1'000, FileKind::image),
        file("/p/2.png", 2'500, FileKind::image),
        file("/d/r.pdf", 300'000'000, FileKind::document),
        file("/m/s.mp3", 0, FileKind::music),
        file("/x/unknown", 7, FileKind::other),
    };
    items[0].isScreenshot = true;
    items[2].sourceKey = "gmail";
    items[3].sourceKey = "site:example.com";
    items[1].sourceKey = "gmail";
    items[4].isScreenshot = true;  // the flag is counted whatever the kind

    const LibraryStats stats(items);
    EXPECT_EQ(stats.totalCount, 5);
    EXPECT_EQ(stats.totalSize, 300'003'507);
    EXPECT_EQ(stats.screenshots, 2);
    EXPECT_EQ(stats.largeFiles, 1);
    EXPECT_EQ(stats.downloadedFrom, 3);
    EXPECT_EQ(stats.bySource, (QHash<QString, qint64>{{"gmail", 2}, {"site:example.com", 1}}));

    EXPECT_EQ(stats.total(FileKind::image), (KindTotal{2, 3'500}));
    EXPECT_EQ(stats.total(FileKind::document), (KindTotal{1, 300'000'000}));
    // A kind whose files are all empty still has its entry; a kind without files has none.
    EXPECT_EQ(stats.total(FileKind::music), (KindTotal{1, 0}));
    EXPECT_EQ(stats.byKind.count(FileKind::music), 1u);
    EXPECT_EQ(stats.byKind.count(FileKind::video), 0u);
    EXPECT_EQ(stats.total(FileKind::video), KindTotal{});
    EXPECT_EQ(stats.byKind.size(), 4u);
}
