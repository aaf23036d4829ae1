// The Find Images page as a person uses it, offscreen, over real drawn pictures whose records
// are in the image index: words found and marked on the picture, descriptions ranked, look-alikes
// and the way back, the filters, the session kept in step, and reading pictures paused.
#include "FinderFixture.h"

#include "app/ImageIndexer.h"
#include "app/Organiser.h"
#include "app/SearchSession.h"
#include "ask/AskBar.h"
#include "ask/AskField.h"
#include "finder/FindImagesPage.h"
#include "finder/FinderDelegate.h"
#include "finder/FinderModel.h"
#include "theme/DesktopLook.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QListView>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

using namespace fennic;

namespace {

class FindImages : public ::testing::Test {
protected:
    void SetUp() override
    {
        DesktopLook::ensureIconTheme();
        const QSize photo(320, 240);
        receipt = f.addPicture("receipt.png", test::receipt(QSize(240, 360)), {{"receipt", 0.8f}},
                               {test::lineAt("CORNER CAFE", 0.1f, 0.85f, 0.8f, 0.06f),
                                test::lineAt("TOTAL 12.40", 0.1f, 0.2f, 0.6f, 0.05f)},
                               test::printOf({0.9f, 0.9f, 0.0f, 0.0f}));
        beach = f.addPicture("beach.png", test::seaAndSand(photo), {{"beach", 0.9f}, {"ocean", 0.7f}}, {},
                             test::printOf({0.0f, 0.0f, 0.0f, 0.0f}));
        shore = f.addPicture("shore.png", test::seaAndSand(photo, 2), {{"beach", 0.35f}}, {},
                             test::printOf({0.1f, 0.05f, 0.0f, 0.0f}));
        peaks = f.addPicture("peaks.png", test::snowyMountains(photo), {{"snow", 0.9f}, {"mountain", 0.8f}},
                             {test::lineAt("Total views", 0.05f, 0.05f, 0.3f, 0.05f)},
                             test::printOf({0.0f, 0.0f, 0.9f, 0.9f}));
        app = &f.open();
        page = std::make_unique<FindImagesPage>(*app, f.thumbnails);
        page->resize(900, 700);
        page->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(page.get()));
    }
    void TearDown() override { page.reset(); }

    // Types into the description field as a person does and waits for its results.
    void type(const QString& text)
    {
        AskField* field = page->askBar()->field();
        field->setFocus();
        QTest::keyClicks(field, text);
        settle();
    }

    // Waits until the newest search is back.
    void settle()
    {
        QTest::qWait(60);
        ASSERT_TRUE(QTest::qWaitFor([this] { return !page->isSearching(); }, 5000));
    }

    QStringList shownNames() const
    {
        QStringList names;
        for (const FoundPicture& picture : page->results().pictures()) names << picture.item.name;
        return names;
    }

    test::FinderFixture f;
    AppModel* app = nullptr;
    std::unique_ptr<FindImagesPage> page;
    QString receipt, beach, shore, peaks;
};

}  // namespace

TEST_F(FindImages, WordsInPicturesAreFoundAndMarkedWhereTheyAre)
{
    QTest::mouseClick(page->modeButton(FindMode::text), Qt::LeftButton);
    EXPECT_EQ(app->search().findMode(), FindMode::text);
    type("12.40");
    EXPECT_EQ(shownNames(), QStringList{"receipt.png"});
    EXPECT_FALSE(page->emptyState().has_value());

    // The box of the line that holds the words, nothing for the other line.
    const QModelIndex found = page->results().index(0);
    const auto boxes = found.data(FinderModel::HighlightsRole).value<QList<QRectF>>();
    ASSERT_EQ(boxes.size(), 1);
    EXPECT_NEAR(boxes[0].y(), 0.2, 1e-6);
    EXPECT_NEAR(boxes[0].width(), 0.6, 1e-6);
    EXPECT_EQ(found.data(Qt::AccessibleTextRole).toString(), "receipt.png");
    EXPECT_FALSE(found.data(FinderModel::ReasonsRole).toStringList().isEmpty());

    // A word in two pictures: both, each with its own line marked.
    page->askBar()->field()->selectAll();
    type("total");
    QStringList names = shownNames();
    names.sort();
    EXPECT_EQ(names, (QStringList{"peaks.png", "receipt.png"}));
    for (const FoundPicture& picture : page->results().pictures())
        EXPECT_EQ(picture.highlights.size(), 1) << picture.item.name.toStdString();

    // A description is not looked for in the words, so nothing is marked.
    QTest::mouseClick(page->modeButton(FindMode::describe), Qt::LeftButton);
    settle();
    for (const FoundPicture& picture : page->results().pictures()) EXPECT_TRUE(picture.highlights.isEmpty());
}

TEST_F(FindImages, HighlightBoxesAreTurnedRightSideUpOnThePicture)
{
    // A line near the top of the picture (high y from the bottom) is drawn near the card's top.
    const QRectF target(10, 20, 200, 100);
    EXPECT_EQ(FinderDelegate::boxOnPicture(QRectF(0.1, 0.8, 0.5, 0.1), target), QRectF(30, 30, 100, 10));
    EXPECT_EQ(FinderDelegate::boxOnPicture(QRectF(0, 0, 1, 1), target), target);
}

TEST_F(FindImages, DescriptionsRankTheBestFitFirst)
{
    QTest::mouseClick(page->modeButton(FindMode::describe), Qt::LeftButton);
    type("beach");
    EXPECT_EQ(shownNames(), (QStringList{"beach.png", "shore.png"}));
    const QList<FoundPicture>& shown = page->results().pictures();
    EXPECT_GT(shown[0].score, shown[1].score);
    EXPECT_FLOAT_EQ(shown[0].fit, 1.0f) << "the best fills its bar";
    EXPECT_LT(shown[1].fit, 1.0f);
    EXPECT_GT(shown[1].fit, 0.0f);

    page->askBar()->field()->selectAll();
    type("zebra crossing");
    EXPECT_TRUE(shownNames().isEmpty());
    ASSERT_TRUE(page->emptyState().has_value());
    EXPECT_EQ(page->emptyState()->title, "No pictures match");
}

TEST_F(FindImages, MoreLikeThisShowsLookAlikesAndBackRestoresTheResults)
{
    QTest::mouseClick(page->modeButton(FindMode::describe), Qt::LeftButton);
    type("beach");
    const QStringList results = shownNames();
    EXPECT_FALSE(page->backButton()->isVisible());

    // The chosen picture, then what looks like it; the unrelated ones stay out.
    page->grid()->setFocus();
    page->grid()->setCurrentIndex(page->results().index(0));
    ASSERT_TRUE(page->moreLikeThisButton()->isEnabled());
    QTest::mouseClick(page->moreLikeThisButton(), Qt::LeftButton);
    EXPECT_EQ(app->search().similarTo(), beach);
    settle();
    EXPECT_EQ(shownNames(), (QStringList{"beach.png", "shore.png"}));
    EXPECT_TRUE(page->backButton()->isVisible());

    // From another picture, through its card's own button.
    const int row = page->results().rowOf(shore);
    ASSERT_GE(row, 0);
    const QRect card = page->grid()->visualRect(page->results().index(row));
    QTest::mouseMove(page->grid()->viewport(), card.center());
    QTest::mouseClick(page->grid()->viewport(), Qt::LeftButton, {},
                      FinderDelegate::moreButtonRect(card, page->grid()->font()).center());
    EXPECT_EQ(app->search().similarTo(), shore);
    settle();
    EXPECT_EQ(shownNames().first(), "shore.png");

    QTest::mouseClick(page->backButton(), Qt::LeftButton);
    EXPECT_FALSE(app->search().similarTo().has_value());
    settle();
    EXPECT_EQ(shownNames(), results);
    EXPECT_FALSE(page->backButton()->isVisible());

    // Typing a new description leaves the look-alikes too.
    app->search().setSimilarTo(beach);
    settle();
    type(" sand");
    EXPECT_FALSE(app->search().similarTo().has_value());
}

TEST_F(FindImages, FavouritesAndTagsNarrowTheResults)
{
    QTest::mouseClick(page->modeButton(FindMode::describe), Qt::LeftButton);
    type("beach");
    ASSERT_EQ(shownNames().size(), 2);
    const FileItem shoreItem = page->results().picture(page->results().rowOf(shore)).item;
    app->organiser().toggleFavourite({shoreItem});

    QTest::mouseClick(page->favouritesOnlyBox(), Qt::LeftButton);
    settle();
    EXPECT_EQ(shownNames(), QStringList{"shore.png"});
    QTest::mouseClick(page->favouritesOnlyBox(), Qt::LeftButton);
    settle();
    EXPECT_EQ(shownNames().size(), 2);

    // Tags appear in the filter as they are added; "Any tag" stays first.
    const FileItem beachItem = page->results().picture(page->results().rowOf(beach)).item;
    app->organiser().addTag("Holiday", {beachItem});
    QComboBox* tags = page->tagBox();
    ASSERT_EQ(tags->count(), 2);
    EXPECT_EQ(tags->itemText(0), "Any tag");
    tags->setCurrentIndex(1);
    settle();
    EXPECT_EQ(shownNames(), QStringList{"beach.png"});

    QTest::mouseClick(page->favouritesOnlyBox(), Qt::LeftButton);
    settle();
    EXPECT_TRUE(shownNames().isEmpty()) << "both filters hold together";
    EXPECT_EQ(page->emptyState()->title, "No pictures match");
}

TEST_F(FindImages, TheFieldAndTheModesFollowTheSession)
{
    SearchSession& search = app->search();
    search.setFindMode(FindMode::describe);
    EXPECT_TRUE(page->modeButton(FindMode::describe)->isChecked());
    EXPECT_FALSE(page->modeButton(FindMode::everything)->isChecked());
    EXPECT_EQ(page->modeButton(FindMode::text)->text(), "Words in images");
    EXPECT_EQ(page->modeButton(FindMode::describe)->text(), "What’s in them");

    QTest::mouseClick(page->modeButton(FindMode::everything), Qt::LeftButton);
    EXPECT_EQ(search.findMode(), FindMode::everything);

    search.setFindQuery("snowy mountains");
    EXPECT_EQ(page->askBar()->field()->text(), "snowy mountains");
    settle();
    EXPECT_EQ(shownNames().first(), "peaks.png");

    page->askBar()->field()->selectAll();
    type("receipt");
    EXPECT_EQ(search.findQuery(), "receipt");
    EXPECT_EQ(shownNames().first(), "receipt.png");

    // Escape empties the field; the prompt offers examples that fill it.
    QTest::keyClick(page->askBar()->field(), Qt::Key_Escape);
    EXPECT_TRUE(search.findQuery().isEmpty());
    settle();
    ASSERT_TRUE(page->emptyState().has_value());
    EXPECT_TRUE(page->emptyState()->examples);
    ASSERT_EQ(page->exampleButtons().size(), 3);
    QPushButton* island = page->exampleButtons().first();
    EXPECT_EQ(island->text(), "a white island in a blue ocean");
    QTest::mouseClick(island, Qt::LeftButton);
    EXPECT_EQ(search.findQuery(), "a white island in a blue ocean");
    EXPECT_EQ(page->askBar()->field()->text(), "a white island in a blue ocean");
}

TEST_F(FindImages, ChangesMadeTogetherMakeOneSearchAnsweredAtOnce)
{
    settle();
    QSignalSpy answers(page.get(), &FindImagesPage::resultsChanged);
    // A mode and a request set in one go (as an example button or "More like this" does) are
    // searched once, with both, and the search starts without waiting for more changes.
    app->search().setFindMode(FindMode::describe);
    app->search().setFindQuery("beach");
    EXPECT_FALSE(page->isSearching()) << "nothing starts before the changes of this turn are in";
    QCoreApplication::processEvents();
    EXPECT_TRUE(page->isSearching() || answers.count() == 1) << "the next turn of the event loop starts it";
    ASSERT_TRUE(QTest::qWaitFor([this] { return !page->isSearching(); }, 5000));
    QTest::qWait(50);
    EXPECT_EQ(answers.count(), 1);
    EXPECT_EQ(shownNames(), (QStringList{"beach.png", "shore.png"}));
}

TEST_F(FindImages, AHiddenPageCatchesUpWhenShown)
{
    page->hide();
    app->search().setFindMode(FindMode::describe);
    app->search().setFindQuery("beach");
    QTest::qWait(100);
    EXPECT_TRUE(shownNames().isEmpty()) << "nothing is searched for a page no one sees";
    page->show();
    settle();
    EXPECT_EQ(shownNames(), (QStringList{"beach.png", "shore.png"}));
}

TEST_F(FindImages, ReturnOpensTheChosenPicture)
{
    test::UrlRecorder opened;
    type("receipt");
    ASSERT_FALSE(shownNames().isEmpty());
    QTest::keyClick(page->askBar()->field(), Qt::Key_Down);
    ASSERT_TRUE(page->grid()->hasFocus());
    QTest::keyClick(page->grid(), Qt::Key_Return);
    ASSERT_EQ(opened.urls.size(), 1);
    EXPECT_EQ(opened.urls.first().toLocalFile(), page->results().picture(0).item.path);
}

TEST(FindImagesReading, ThePageSaysHowFarReadingGotAndPausesIt)
{
    test::FinderFixture f;
    for (int i = 0; i < 12; ++i)
        f.addUnreadPicture(QStringLiteral("scene %1.png").arg(i), test::randomScene(QSize(400, 300), i + 1));
    AppModel& app = f.open();
    FindImagesPage page(app, f.thumbnails);
    page.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&page));
    ASSERT_TRUE(page.emptyState().has_value());
    EXPECT_EQ(page.emptyState()->title, "No pictures to search yet");
    EXPECT_FALSE(page.pauseButton()->isVisible()) << "nothing is being read";

    app.images().startImageIndexing();
    ASSERT_TRUE(app.images().isIndexingImages());
    ASSERT_TRUE(QTest::qWaitFor([&page] { return page.pauseButton()->isVisible(); }, 5000));
    EXPECT_TRUE(page.progressLabel()->text().startsWith("Reading pictures…"));
    EXPECT_EQ(page.emptyState()->title, "Reading your pictures");

    QTest::mouseClick(page.pauseButton(), Qt::LeftButton);
    EXPECT_TRUE(app.images().imageIndexPaused());
    EXPECT_FALSE(app.images().isIndexingImages());
    EXPECT_EQ(page.pauseButton()->text(), "Resume");
    EXPECT_TRUE(page.pauseButton()->isVisible()) << "the way to resume stays";
    EXPECT_EQ(page.emptyState()->title, "Reading pictures is paused");

    QTest::mouseClick(page.pauseButton(), Qt::LeftButton);
    EXPECT_FALSE(app.images().imageIndexPaused());
    EXPECT_TRUE(app.images().isIndexingImages());
    EXPECT_EQ(page.pauseButton()->text(), "Pause");
    app.images().setImageIndexPaused(true);
}
