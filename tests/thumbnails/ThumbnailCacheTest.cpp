// The thumbnail cache as other desktop programs read it: names, keys, staleness, damage and
// failures, against real files in a temporary cache folder.
#include "thumbnails/ThumbnailCache.h"
#include "PlainPicture.h"
#include "support/TempTree.h"
#include "thumbnails/ThumbnailMaker.h"

#include <QCryptographicHash>
#include <QFile>
#include <QLoggingCategory>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <gtest/gtest.h>

using namespace fennic;
using fennic::test::TempTree;
using fennic::test::writePicture;

namespace {

QString md5Name(const QString& uri)
{
    return QString::fromLatin1(QCryptographicHash::hash(uri.toUtf8(), QCryptographicHash::Md5).toHex()) + ".png";
}

}  // namespace

TEST(ThumbnailCache, NamesAreTheMd5OfTheFileUri)
{
    // The example every implementation of the standard agrees on.
    ThumbnailCache cache("/cache");
    EXPECT_EQ(cache.thumbnailPath("/home/jens/photos/me.png", ThumbnailCache::Size::normal),
              "/cache/normal/c6ee772d9e49320e97ec29a7eb5b1697.png");
    EXPECT_EQ(cache.thumbnailPath("/home/jens/photos/me.png", ThumbnailCache::Size::large),
              "/cache/large/c6ee772d9e49320e97ec29a7eb5b1697.png");
    // Spaces and letters beyond ASCII are percent-encoded as UTF-8.
    EXPECT_EQ(ThumbnailCache::uriFor(QString::fromUtf8("/home/me/Été 2/a b.png")),
              "file:///home/me/%C3%89t%C3%A9%202/a%20b.png");
    EXPECT_EQ(cache.failurePath("/home/jens/photos/me.png"), "/cache/fail/fennic/c6ee772d9e49320e97ec29a7eb5b1697.png");
}

TEST(ThumbnailCache, AThumbnailLandsWithItsKeysAndIsCurrentOnlyForItsVersion)
{
    TempTree tree;
    const QString photo = writePicture(tree, "Pictures/beach day.png", QSize(1000, 500));
    ThumbnailCache cache(tree.path("cache"));
    const QImage made = ThumbnailMaker::make(photo, "png", 256);
    ASSERT_FALSE(made.isNull());
    EXPECT_EQ(made.size(), QSize(256, 128)) << "decoded at the size wanted, aspect kept";
    ASSERT_TRUE(cache.store(photo, 1700000000, ThumbnailCache::Size::normal, made));

    const QString file = tree.path("cache/normal/") + md5Name(ThumbnailCache::uriFor(photo));
    const QImage stored(file);
    EXPECT_EQ(stored.text("Thumb::URI"), ThumbnailCache::uriFor(photo));
    EXPECT_EQ(stored.text("Thumb::MTime"), "1700000000");
    EXPECT_EQ(stored.size(), QSize(128, 64)) << "normal thumbnails fit 128 px";
    EXPECT_EQ(QFile::permissions(file) & (QFileDevice::ReadGroup | QFileDevice::ReadOther), QFileDevice::Permissions());

    EXPECT_TRUE(cache.lookup(photo, 1700000000, ThumbnailCache::Size::normal).has_value());
    EXPECT_FALSE(cache.lookup(photo, 1700000001, ThumbnailCache::Size::normal)) << "the file changed since";
    EXPECT_FALSE(cache.lookup(photo, 1700000000, ThumbnailCache::Size::large)) << "a size never made";
}

TEST(ThumbnailCache, ADamagedThumbnailIsIgnoredAndReplaced)
{
    TempTree tree;
    const QString photo = writePicture(tree, "Pictures/a.png", QSize(40, 30));
    ThumbnailCache cache(tree.path("cache"));
    const QString file = cache.thumbnailPath(photo, ThumbnailCache::Size::large);
    tree.write("cache/large/" + file.section(u'/', -1), QByteArray("\x89PNG\r\n\x1a\n not really", 20));
    EXPECT_FALSE(cache.lookup(photo, 5, ThumbnailCache::Size::large));

    // Another program's thumbnail of another file under this name (a stale URI key).
    QImage other(8, 8, QImage::Format_RGB32);
    other.setText("Thumb::URI", "file:///elsewhere.png");
    other.setText("Thumb::MTime", "5");
    ASSERT_TRUE(other.save(file));
    EXPECT_FALSE(cache.lookup(photo, 5, ThumbnailCache::Size::large));

    ASSERT_TRUE(cache.store(photo, 5, ThumbnailCache::Size::large, ThumbnailMaker::make(photo, "png", 256)));
    const auto found = cache.lookup(photo, 5, ThumbnailCache::Size::large);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->size(), QSize(40, 30)) << "small pictures are not blown up";
}

TEST(ThumbnailCache, AnUnreadableFileIsRememberedAsFailedForThatVersion)
{
    TempTree tree;
    const QString broken = tree.write("Pictures/broken.jpg", "not a jpeg at all");
    ThumbnailCache cache(tree.path("cache"));
    EXPECT_TRUE(ThumbnailMaker::make(broken, "jpg", 128).isNull());
    EXPECT_FALSE(cache.hasFailed(broken, 10));
    ASSERT_TRUE(cache.storeFailure(broken, 10));
    EXPECT_TRUE(QFile::exists(tree.path("cache/fail/fennic/") + md5Name(ThumbnailCache::uriFor(broken))));
    EXPECT_TRUE(cache.hasFailed(broken, 10));
    EXPECT_FALSE(cache.hasFailed(broken, 11)) << "a new version is tried again";
    EXPECT_FALSE(cache.lookup(broken, 10, ThumbnailCache::Size::normal)) << "a failure is no thumbnail";
}

TEST(ThumbnailMaker, PdfsShowTheirFirstPageAndOtherFilesNothing)
{
    TempTree tree;
    const QString pdf = tree.path("Documents/letter.pdf");
    tree.mkdir("Documents");
    {
        QPdfWriter writer(pdf);
        writer.setPageSize(QPageSize(QPageSize::A4));
        QPainter painter(&writer);
        painter.fillRect(QRect(0, 0, 2000, 2000), Qt::black);
    }
    const QImage page = ThumbnailMaker::make(pdf, "pdf", 256);
    ASSERT_FALSE(page.isNull());
    EXPECT_EQ(page.height(), 256) << "A4 is taller than wide";
    EXPECT_LT(page.width(), 256);
    EXPECT_EQ(QColor(page.pixel(5, 5)).lightness(), 0) << "the drawn corner";
    EXPECT_EQ(QColor(page.pixel(page.width() - 5, page.height() - 5)).lightness(), 255) << "the page's paper";

    EXPECT_TRUE(ThumbnailMaker::canMake("pdf"));
    EXPECT_TRUE(ThumbnailMaker::canMake("mp4"));
    EXPECT_TRUE(ThumbnailMaker::canMake("jpg"));
    EXPECT_FALSE(ThumbnailMaker::canMake("txt"));
    EXPECT_TRUE(ThumbnailMaker::make(tree.write("Movies/clip.mp4", "not a video"), "mp4", 128).isNull());
}

namespace {
QStringList heard;
void hear(QtMsgType, const QMessageLogContext& context, const QString& message)
{
    heard << QStringLiteral("%1: %2").arg(QString::fromLatin1(context.category ? context.category : ""), message);
}
}  // namespace

TEST(ThumbnailMaker, DamagedPdfsAreQuietUnlessTheirLogIsOn)
{
    TempTree tree;
    const QString broken = tree.write("Downloads/half.pdf", "%PDF-1.4\nthe rest never came");
    const QtMessageHandler before = qInstallMessageHandler(hear);
    heard.clear();
    EXPECT_TRUE(ThumbnailMaker::make(broken, "pdf", 128).isNull());
    EXPECT_TRUE(heard.isEmpty()) << heard.join(u'\n').toStdString();

    QLoggingCategory::setFilterRules(QStringLiteral("fennic.pdf.debug=true"));
    EXPECT_TRUE(ThumbnailMaker::make(broken, "pdf", 128).isNull());
    QLoggingCategory::setFilterRules(QString());
    qInstallMessageHandler(before);
    ASSERT_FALSE(heard.isEmpty()) << "the reader's complaints are kept for whoever asks";
    EXPECT_TRUE(heard.first().startsWith("fennic.pdf: ")) << heard.first().toStdString();
}
