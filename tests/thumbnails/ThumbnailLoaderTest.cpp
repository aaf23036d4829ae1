// The loader the views use: answers from memory at once, makes what is missing on its own
// threads, remembers failures, and reuses what the disk cache already holds.
#include "thumbnails/ThumbnailLoader.h"
#include "PlainPicture.h"
#include "support/TempTree.h"

#include <QFile>
#include <QSignalSpy>
#include <gtest/gtest.h>

using namespace fennic;
using fennic::test::TempTree;
using fennic::test::writePicture;

namespace {

// Waits until every path has been answered one way or the other.
bool waitForAnswers(QSignalSpy& ready, QSignalSpy& failed, int count)
{
    for (int i = 0; i < 100 && ready.count() + failed.count() < count; ++i) ready.wait(100);
    return ready.count() + failed.count() == count;
}

}  // namespace

TEST(ThumbnailLoader, MakesWhatIsMissingOnceAndAnswersFromMemoryAfter)
{
    TempTree tree;
    const QList<ThumbnailLoader::Request> pictures{
        {writePicture(tree, "Pictures/a.png", QSize(800, 600), Qt::red), "png", 100},
        {writePicture(tree, "Pictures/b.png", QSize(100, 50), Qt::green), "png", 200},
        {writePicture(tree, "Pictures/c.jpg", QSize(300, 900), Qt::blue), "jpg", 300},
    };
    const ThumbnailLoader::Request broken{tree.write("Pictures/broken.png", "not a picture"), "png", 400};
    const ThumbnailLoader::Request text{tree.write("Documents/notes.txt", "words"), "txt", 500};
    ThumbnailCache cache(tree.path("cache"));
    ThumbnailLoader loader(cache);
    QSignalSpy ready(&loader, &ThumbnailLoader::ready);
    QSignalSpy failed(&loader, &ThumbnailLoader::failed);

    for (const auto& request : pictures) EXPECT_FALSE(loader.thumbnail(request)) << "never waits for a thumbnail";
    EXPECT_FALSE(loader.thumbnail(broken));
    EXPECT_FALSE(loader.thumbnail(text));
    EXPECT_FALSE(loader.thumbnail(pictures[0])) << "asking twice queues once";
    ASSERT_TRUE(waitForAnswers(ready, failed, 5));
    EXPECT_EQ(ready.count(), 3);
    EXPECT_EQ(failed.count(), 2);

    for (const auto& request : pictures) {
        const auto image = loader.thumbnail(request);
        ASSERT_TRUE(image) << request.path.toStdString();
        EXPECT_LE(std::max(image->width(), image->height()), 256);
        EXPECT_TRUE(cache.lookup(request.path, request.mtime, ThumbnailCache::Size::large))
            << "kept in the shared cache too";
    }
    EXPECT_EQ(loader.thumbnail(pictures[0])->size(), QSize(256, 192));
    EXPECT_EQ(loader.thumbnail(pictures[1])->size(), QSize(100, 50)) << "small pictures keep their size";
    EXPECT_FALSE(loader.thumbnail(broken));
    EXPECT_EQ(loader.queued(), 0) << "a failure is not tried again";
    EXPECT_TRUE(cache.hasFailed(broken.path, broken.mtime));
    EXPECT_FALSE(cache.hasFailed(text.path, text.mtime)) << "a type without pictures is no failure to remember";
}

TEST(ThumbnailLoader, ReusesTheSharedCacheAndMemoryStaysBounded)
{
    TempTree tree;
    ThumbnailCache cache(tree.path("cache"));
    const ThumbnailLoader::Request photo{writePicture(tree, "Pictures/p.png", QSize(600, 600), Qt::gray), "png", 7};
    {
        ThumbnailLoader first(cache);
        QSignalSpy ready(&first, &ThumbnailLoader::ready);
        first.thumbnail(photo);
        ASSERT_TRUE(ready.wait(10000));
    }
    // The picture is gone: only the cache can answer now.
    ASSERT_TRUE(QFile::remove(photo.path));
    ThumbnailLoader second(cache, ThumbnailCache::Size::large, /*memoryBytes=*/qint64(300) * 1024);
    QSignalSpy ready(&second, &ThumbnailLoader::ready);
    second.thumbnail(photo);
    ASSERT_TRUE(ready.wait(10000));
    EXPECT_EQ(ready.first().at(1).value<QImage>().size(), QSize(256, 256));

    // 256 × 256 pictures take 256 kB each: a 300 kB budget keeps one of them.
    const ThumbnailLoader::Request other{writePicture(tree, "Pictures/q.png", QSize(600, 600), Qt::cyan), "png", 8};
    second.thumbnail(other);
    ASSERT_TRUE(ready.wait(10000));
    EXPECT_TRUE(second.thumbnail(other));
    EXPECT_FALSE(second.thumbnail(photo)) << "pushed out of memory, asked of the disk cache again";
}

// Scrolling: files that left the screen before a worker reached them are not made, the visible
// ones still are, and a file that comes back is asked for again.
TEST(ThumbnailLoader, ServesWhatIsVisibleAndDropsWhatScrolledAway)
{
    TempTree tree;
    QList<ThumbnailLoader::Request> pictures;
    for (int i = 0; i < 24; ++i) {
        const QString name = QStringLiteral("Pictures/p%1.png").arg(i);
        pictures.append({writePicture(tree, name, QSize(400, 300), QColor::fromHsv(i * 15, 200, 200)), "png", i});
    }
    ThumbnailLoader loader{ThumbnailCache(tree.path("cache"))};
    QSignalSpy ready(&loader, &ThumbnailLoader::ready);
    QSignalSpy failed(&loader, &ThumbnailLoader::failed);
    for (const auto& request : pictures) loader.thumbnail(request);
    const QSet<QString> shown{pictures[20].path, pictures[21].path};
    loader.setVisible(shown);
    EXPECT_LE(loader.queued(), 2 + 8) << "only the shown files and those already started stay asked for";

    for (int i = 0; i < 100 && loader.queued() > 0; ++i) ready.wait(100);
    ASSERT_EQ(loader.queued(), 0);
    QSet<QString> answered;
    for (const auto& call : ready) answered.insert(call.at(0).toString());
    EXPECT_TRUE(answered.contains(shown)) << "the visible files are made";
    EXPECT_LT(answered.size(), 12) << "most of those that scrolled away are not";
    EXPECT_EQ(failed.count(), 0);

    const auto back = std::find_if(pictures.begin(), pictures.end(),
                                   [&](const auto& request) { return !answered.contains(request.path); });
    ASSERT_NE(back, pictures.end());
    EXPECT_FALSE(loader.thumbnail(*back));
    ASSERT_TRUE(ready.wait(10000)) << "a file that comes back is asked for again";
    EXPECT_EQ(ready.last().at(0).toString(), back->path);
}
