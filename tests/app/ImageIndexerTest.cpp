#include "AppTestSupport.h"

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QScopeGuard>
#include <gtest/gtest.h>

using namespace fennic;
using fennic::test::AppFixture;

namespace {

// Small plain pictures: quick to analyse, yet real files through the real analyser.
void writePictures(test::TempTree& tree, const QString& folder, int count)
{
    for (int i = 0; i < count; ++i) {
        QImage image(48, 48, QImage::Format_RGB32);
        image.fill(QColor::fromHsv((i * 37) % 360, 200, 220));
        tree.mkdir(folder);
        image.save(tree.path(QStringLiteral("%1/p%2.png").arg(folder).arg(i)), "PNG");
    }
}

class ImageIndexing : public ::testing::Test {
protected:
    void SetUp() override
    {
        writePictures(f.tree, "Pictures", 12);
        m = &f.make();
        m->library().scan();
        ASSERT_TRUE(m->waitForIdle(120000));  // the scan ends by starting indexing, which reads all
        ASSERT_EQ(m->images().imageRecords().size(), 12);
    }

    AppFixture f;
    AppModel* m = nullptr;
};

}  // namespace

TEST_F(ImageIndexing, NothingPendingReadsNothing)
{
    QSignalSpy finished(&m->images(), &ImageIndexer::imageIndexingFinished);
    m->images().startImageIndexing();
    ASSERT_TRUE(finished.wait(10000));
    EXPECT_EQ(m->images().ocrProgress(), qMakePair(0, 0));
    EXPECT_FALSE(m->images().isIndexingImages());
}

TEST_F(ImageIndexing, PausingKeepsWhatWasReadAndResumingReadsTheRest)
{
    m->images().rebuildImageIndex();
    EXPECT_TRUE(m->images().imageRecords().isEmpty());
    QSignalSpy batches(&m->images(), &ImageIndexer::imageRecordsChanged);
    ASSERT_TRUE(batches.wait(60000));
    m->images().setImageIndexPaused(true);
    ASSERT_TRUE(m->waitForIdle());
    EXPECT_EQ(m->images().imageRecords().size(), 8) << "one batch of eight arrived before the pause";
    const auto onDisk = ImageIndex::load(SupportFiles::current().imageIndex());
    ASSERT_TRUE(onDisk.has_value());
    EXPECT_EQ(onDisk->records.size(), 8) << "pausing saves what was read";

    QSignalSpy progress(&m->images(), &ImageIndexer::ocrProgressChanged);
    m->images().setImageIndexPaused(false);
    ASSERT_TRUE(progress.wait(10000));
    EXPECT_EQ(m->images().ocrProgress(), qMakePair(0, 4)) << "only the pictures still pending are read";
    ASSERT_TRUE(m->waitForIdle(60000));
    EXPECT_EQ(m->images().imageRecords().size(), 12);
}

TEST_F(ImageIndexing, ALanguageChangeMakesEveryPictureRereadable)
{
    QSignalSpy progress(&m->images(), &ImageIndexer::ocrProgressChanged);
    m->images().setOCRLanguage("es-ES", true);
    ASSERT_TRUE(progress.wait(10000));
    EXPECT_EQ(m->images().ocrProgress().second, 12);
    ASSERT_TRUE(m->waitForIdle(120000));
    for (const ImageRecord& r : m->images().imageRecords())
        EXPECT_TRUE(r.langs.contains("es-ES")) << r.langs.toStdString();
}

TEST_F(ImageIndexing, DeleteLeavesNothingBehindAndReadsNothing)
{
    ASSERT_TRUE(m->waitForIdle());
    ASSERT_TRUE(QFileInfo::exists(SupportFiles::current().imageIndex()));
    m->images().deleteImageIndex();
    ASSERT_TRUE(m->waitForIdle());
    EXPECT_TRUE(m->images().imageRecords().isEmpty());
    EXPECT_FALSE(m->images().isIndexingImages());
    EXPECT_FALSE(QFileInfo::exists(SupportFiles::current().imageIndex()));
}

TEST_F(ImageIndexing, ImageFoldersJoinTheLibraryWhenOutsideIt)
{
    writePictures(f.tree, "Elsewhere", 2);
    QSignalSpy scans(&m->library(), &LibraryModel::scanStarted);
    m->images().addImageFolder(f.tree.path("Pictures"));
    m->images().addImageFolder(f.tree.path("Pictures"));
    EXPECT_EQ(m->images().imageFolders(), QStringList{f.tree.path("Pictures")});
    EXPECT_EQ(scans.count(), 0) << "a folder inside the library only restarts indexing";

    m->images().addImageFolder(f.tree.path("Elsewhere"));
    EXPECT_EQ(scans.count(), 1);
    EXPECT_EQ(m->library().extraRoots(), QStringList{f.tree.path("Elsewhere")});
    ASSERT_TRUE(m->waitForIdle(60000));
    EXPECT_EQ(m->images().imageRecords().size(), 14);

    m->images().setImageFolderMode(ImageFolderMode::chosen);
    m->images().removeImageFolder(f.tree.path("Pictures"));
    ASSERT_TRUE(m->waitForIdle(60000));
    EXPECT_EQ(m->images().imageRecords().size(), 2) << "only the chosen folders' pictures stay indexed";
}

TEST_F(ImageIndexing, TextReadingOffSkipsTextWithoutRereadingUntilTurnedOn)
{
    const QString notePath = f.writeTextPicture("Pictures/note.png", "INVOICE 2041");
    ASSERT_FALSE(notePath.isEmpty());

    m->settings().setIndexTextInImages(false);
    m->library().scan();
    ASSERT_TRUE(m->waitForIdle(120000));
    ASSERT_TRUE(m->images().imageRecords().contains(notePath));
    const ImageRecord unread = m->images().imageRecords().value(notePath);
    EXPECT_FALSE(unread.failed);
    EXPECT_TRUE(unread.lines.isEmpty());
    EXPECT_TRUE(unread.langs.isEmpty());
    EXPECT_FALSE(m->images().ocrText().contains(notePath));

    QSignalSpy finished(&m->images(), &ImageIndexer::imageIndexingFinished);
    m->images().startImageIndexing();
    ASSERT_TRUE(finished.wait(10000));
    EXPECT_EQ(m->images().ocrProgress(), qMakePair(0, 0))
        << "pictures read with or without text are current while it is off";

    QSignalSpy progress(&m->images(), &ImageIndexer::ocrProgressChanged);
    m->settings().setIndexTextInImages(true);
    ASSERT_TRUE(m->waitForIdle(120000));
    ASSERT_FALSE(progress.isEmpty());
    EXPECT_EQ(m->images().ocrProgress().second, 1) << "turned on, only the picture read without text is read again";
    EXPECT_TRUE(m->images().ocrText().value(notePath).contains(QStringLiteral("invoice")))
                << m->images().ocrText().value(notePath).toStdString();
}

TEST_F(ImageIndexing, LongRunsSaveAlongTheWayAndLoseNoRecord)
{
    f.env.indexSaveIntervalMs = 0;  // a save after every batch
    m = &f.make();
    ASSERT_TRUE(m->waitForIdle());
    QSignalSpy saves(&m->images(), &ImageIndexer::imageIndexSaved);
    m->images().rebuildImageIndex();
    ASSERT_TRUE(m->waitForIdle(120000));
    EXPECT_GE(saves.count(), 2) << "one save along the way, one at the end";
    EXPECT_EQ(m->images().imageRecords().size(), 12);
    const auto onDisk = ImageIndex::load(SupportFiles::current().imageIndex());
    ASSERT_TRUE(onDisk.has_value());
    EXPECT_EQ(onDisk->records.size(), 12) << "records that waited for a save are in the last one";
}

TEST(ImageFolders, ChosenFoldersMatchALibraryReachedThroughALink)
{
    AppFixture f;
    writePictures(f.tree, "Pictures", 2);
    writePictures(f.tree, "Desktop", 1);
    // The home folder reached through a link, as on systems where /home is one.
    test::TempTree elsewhere;
    const QString home = elsewhere.path("home");
    ASSERT_TRUE(QFile::link(f.tree.root(), home));
    // As on a real desktop: the library folders come from the home folder, not an override.
    const QByteArray realHome = qgetenv("HOME");
    qputenv("HOME", QFile::encodeName(home));
    qunsetenv("FENNIC_LIBRARY_ROOT");
    Prefs::resetForTesting();
    Prefs::configure();
    const auto restore = qScopeGuard([&] { qputenv("HOME", realHome); });

    AppModel& m = f.make();
    m.images().setImageFolderMode(ImageFolderMode::chosen);
    m.images().addImageFolder(home + "/Pictures");
    m.library().scan();
    ASSERT_TRUE(m.waitForIdle(60000));
    ASSERT_EQ(m.library().items().size(), 3);
    EXPECT_EQ(m.images().imageRecords().size(), 2) << "the chosen folder's pictures, and only those";
    f.model.reset();
}
