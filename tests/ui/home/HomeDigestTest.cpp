// The few files the home page picks for its rows: newest first in each recent group, the
// largest of the large files, the newest screenshots, and download sources by count.
#include "home/HomeDigest.h"
#include "library/Lately.h"
#include "library/LibraryStats.h"
#include "support/TestItems.h"

#include <gtest/gtest.h>

using namespace fennic;
using fennic::test::datedItem;

namespace {

QStringList names(const QList<FileItem>& items)
{
    QStringList result;
    for (const FileItem& item : items) result << item.name;
    return result;
}

}  // namespace

TEST(HomeDigest, PicksTheNewestOfEachGroupAndTheLargestAndNewestScreenshots)
{
    QList<FileItem> items{
        datedItem("/h/a/old.txt", 10, FileKind::document, "2026-03-10T08:00:00Z"),
        datedItem("/h/b/new.txt", 10, FileKind::document, "2026-03-10T11:00:00Z"),
        datedItem("/h/c/mid.txt", 10, FileKind::document, "2026-03-10T09:00:00Z"),
        datedItem("/h/big.iso", LibraryStats::largeFileSize + 5, FileKind::other, "2026-01-01T00:00:00Z"),
        datedItem("/h/bigger.iso", LibraryStats::largeFileSize * 3, FileKind::other, "2026-01-01T00:00:00Z"),
        datedItem("/h/exactly.iso", LibraryStats::largeFileSize, FileKind::other, "2026-01-01T00:00:00Z"),
    };
    FileItem shotOld = datedItem("/h/s1.png", 5, FileKind::image, "2026-02-01T00:00:00Z");
    FileItem shotNew = datedItem("/h/s2.png", 5, FileKind::image, "2026-03-01T00:00:00Z");
    shotOld.isScreenshot = shotNew.isScreenshot = true;
    items << shotOld << shotNew;

    const Date now = Date::fromIso("2026-03-10T12:00:00Z");
    const QList<Lately::Group> lately = Lately::groups(items, now, Calendar{});
    ASSERT_FALSE(lately.isEmpty());
    ASSERT_EQ(lately.first().bucket, Lately::Bucket::today);

    const HomeDigest digest = HomeDigest::of(items, lately, 2);
    ASSERT_EQ(digest.recent.size(), lately.size());
    EXPECT_EQ(digest.recent.first().total, 3);
    EXPECT_EQ(names(digest.recent.first().newest), (QStringList{"new.txt", "mid.txt"}))
        << "newest first, cut to the row's length, though the group itself is in path order";
    EXPECT_EQ(names(digest.largest), (QStringList{"bigger.iso", "big.iso"}))
        << "largest first; a file of exactly the large-file size is not large";
    EXPECT_EQ(names(digest.screenshots), (QStringList{"s2.png", "s1.png"}));
    EXPECT_TRUE(digest.sources.isEmpty());
}

TEST(HomeDigest, DownloadSourcesComeByFileCountAndAreCappedButCountedWhole)
{
    QList<FileItem> items;
    const auto from = [&](const QString& key, int n) {
        for (int i = 0; i < n; ++i) {
            FileItem item = datedItem(QStringLiteral("/h/Downloads/%1-%2.pdf").arg(key).arg(i), 1, FileKind::document,
                                                     "2026-03-01T00:00:00Z");
            item.sourceKey = key;
            items << item;
        }
    };
    from("gmail", 2);
    from("site:example.org", 3);
    from("slack", 1);
    const HomeDigest digest = HomeDigest::of(items, {}, 8, 2);
    EXPECT_EQ(digest.sourceCount, 3);
    ASSERT_EQ(digest.sources.size(), 2);
    EXPECT_EQ(digest.sources[0].source.name, "example.org");
    EXPECT_EQ(digest.sources[0].count, 3);
    EXPECT_EQ(digest.sources[1].source.name, "Gmail");
    EXPECT_EQ(digest.sources[1].count, 2);
}

TEST(HomeDigest, AnEmptyLibraryPicksNothing)
{
    const HomeDigest digest = HomeDigest::of({}, {});
    EXPECT_TRUE(digest.recent.isEmpty());
    EXPECT_TRUE(digest.sources.isEmpty());
    EXPECT_TRUE(digest.screenshots.isEmpty());
    EXPECT_TRUE(digest.largest.isEmpty());
    EXPECT_EQ(digest.sourceCount, 0);
}
