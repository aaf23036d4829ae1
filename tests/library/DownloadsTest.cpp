#include "library/Downloads.h"

#include <gtest/gtest.h>

using namespace fennic;

namespace {

FileItem file(const QString& path, double added, std::optional<QString> sourceKey = std::nullopt)
{
    FileItem f;
    f.path = path;
    f.modified = Date{added};
    f.added = Date{added};
    f.sourceKey = std::move(sourceKey);
    return f;
}

QStringList paths(const QList<FileItem>& items)
{
    QStringList out;
    for (const FileItem& f : items) out << f.path;
    return out;
}

}  // namespace

TEST(DownloadsTest, RecentDownloadsAreTheDownloadsFolderNewestFirst)
{
    FileItem oldEdit = file("/h/Downloads/copied.pdf", 900);
    oldEdit.modified = Date{900 - 2 * 86400.0};  // arrived long after its last edit: dated by the edit
    const QList<FileItem> items{
        file("/h/Downloads/b.zip", 500),
        file("/h/Downloads/sub/deep.txt", 700),
        file("/h/Downloads2/not-inside.txt", 800),
        file("/h/Downloads", 800),
        file("/h/Documents/x.pdf", 800),
        file("/h/Downloads/a.zip", 500),
        oldEdit,
    };
    EXPECT_EQ(paths(recentDownloads(items, "/h/Downloads")),
              (QStringList{"/h/Downloads/sub/deep.txt", "/h/Downloads/a.zip", "/h/Downloads/b.zip",
                           "/h/Downloads/copied.pdf"}));
    EXPECT_EQ(paths(recentDownloads(items, "/h/Downloads/")), paths(recentDownloads(items, "/h/Downloads")));
    EXPECT_TRUE(recentDownloads(items, "/elsewhere").isEmpty());
}

TEST(DownloadsTest, SourceGroupsByCountThenNameWithFilesNewestFirst)
{
    const QList<FileItem> items{
        file("/d/g1", 10, "gmail"),
        file("/d/s1", 50, "slack"),
        file("/d/g2", 30, "gmail"),
        file("/d/e1", 40, "site:example.com"),
        file("/d/plain", 99),
        file("/d/g3", 20, "gmail"),
        file("/d/e2", 60, "site:example.com"),
        file("/d/s2", 5, "slack"),
        file("/d/z1", 1, "site:zeta.org"),
    };
    const QList<SourceGroup> groups = sourceGroups(items);
    ASSERT_EQ(groups.size(), 4);
    // gmail has three; example.com and Slack tie on two and go by name, letter case aside.
    EXPECT_EQ(groups[0].source.key, "gmail");
    EXPECT_EQ(groups[0].source.name, "Gmail");
    EXPECT_EQ(paths(groups[0].files), (QStringList{"/d/g2", "/d/g3", "/d/g1"}));
    EXPECT_EQ(groups[1].source.key, "site:example.com");
    EXPECT_EQ(groups[1].source.name, "example.com");
    EXPECT_EQ(groups[1].source.symbol, "globe");
    EXPECT_EQ(paths(groups[1].files), (QStringList{"/d/e2", "/d/e1"}));
    EXPECT_EQ(groups[2].source.key, "slack");
    EXPECT_EQ(paths(groups[2].files), (QStringList{"/d/s1", "/d/s2"}));
    EXPECT_EQ(groups[3].source.key, "site:zeta.org");

    EXPECT_TRUE(sourceGroups({file("/d/plain", 1)}).isEmpty());
}
