#include "inspector/InspectorView.h"
#include "app/AppTestSupport.h"
#include "inspector/InspectorPreview.h"
#include "model/Fmt.h"
#include "support/TestItems.h"
#include "theme/DesktopLook.h"

#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QTest>
#include <QToolButton>
#include <gtest/gtest.h>

using namespace fennic;
using fennic::test::AppFixture;

namespace {

template <typename W = QWidget> W* named(const QWidget& root, const QString& name)
{
    for (W* w : root.findChildren<W*>())
        if (w->accessibleName() == name && w->isVisibleTo(&root)) return w;
    return nullptr;
}

QString labelText(const QWidget& root, const QString& name)
{
    const QLabel* label = named<QLabel>(root, name);
    return label ? label->text() : QStringLiteral("<missing %1>").arg(name);
}

class Inspector : public ::testing::Test {
protected:
    void SetUp() override
    {
        DesktopLook::ensureIconTheme();
        app = &f.make();
        view = std::make_unique<InspectorView>(*app);
        view->resize(InspectorView::kPreferredWidth, 900);
        view->show();
    }

    // A 2:1 picture on disk, as the library would list it.
    FileItem picture(const QString& relative, QSize size = QSize(400, 200))
    {
        QImage image(size, QImage::Format_RGB32);
        image.fill(Qt::white);
        QPainter p(&image);
        p.fillRect(QRect(0, 0, size.width() / 2, size.height()), QColor(30, 90, 200));
        p.end();
        const QString path = f.tree.path(relative);
        EXPECT_TRUE(image.save(path, "PNG"));
        return test::datedItem(path, QFileInfo(path).size(), FileKind::image, "2026-03-01T09:00:00Z");
    }

    // Puts a record for the picture in the image index the way a later session would find it.
    void indexRecord(const FileItem& item, const QList<TextLine>& lines, qint64 width, qint64 height)
    {
        ImageIndex index = app->images().imageIndex();
        index.records.insert(item.path,
                             ImageRecord(item.path, item.size, item.modified, {{"receipt", 0.8f}}, {}, lines, QString(),
                                         std::nullopt, width, height, false));
        ASSERT_TRUE(index.save(SupportFiles::current().imageIndex()).ok);
        app->images().loadIndex();
    }

    AppFixture f;
    AppModel* app = nullptr;
    std::unique_ptr<InspectorView> view;
};

}  // namespace

TEST_F(Inspector, OneFileShowsItsNameSizeAndFolderWithHomeShortened)
{
    const QString path = f.tree.write("Documents/notes.txt", QByteArray(1500, 'x'));
    view->setItems({test::datedItem(path, 1500, FileKind::document, "2026-02-01T10:00:00Z")});
    EXPECT_EQ(labelText(*view, "Name"), "notes.txt");
    EXPECT_EQ(labelText(*view, "Size"), Fmt::size(1500));
    EXPECT_EQ(labelText(*view, "Folder"), "~/Documents") << "the library's home reads as ~";
    EXPECT_EQ(named(*view, "More like this"), nullptr);  // only pictures have look-alikes

    view->setItems({test::itemAt("/srv/shared/Letters/draft.txt")});
    EXPECT_EQ(labelText(*view, "Folder"), "/srv/shared/Letters");

    view->setItems({});
    EXPECT_NE(named(*view, "Select a file to see its details"), nullptr);
    EXPECT_EQ(named(*view, "Name"), nullptr);
}

TEST_F(Inspector, TheStarFollowsTheShelfBothWays)
{
    const FileItem item = test::itemAt(f.tree.write("Documents/a.txt", "a"));
    view->setItems({item});
    auto* star = named<QToolButton>(*view, "Favourite");
    ASSERT_NE(star, nullptr);
    EXPECT_FALSE(star->isChecked());

    star->click();
    EXPECT_TRUE(app->organiser().shelf().isFavourite(item.path));
    EXPECT_TRUE(star->isChecked());

    // Ctrl+D in the window, or another view, changes the shelf: the star follows.
    app->organiser().toggleFavourite({item});
    EXPECT_FALSE(app->organiser().shelf().isFavourite(item.path));
    EXPECT_FALSE(named<QToolButton>(*view, "Favourite")->isChecked());
}

TEST_F(Inspector, TagsAreAddedFromTheFieldAndRemovedFromTheirChips)
{
    const FileItem item = test::itemAt(f.tree.write("Documents/scan.pdf", "%PDF"));
    view->setItems({item});
    auto* field = named<QLineEdit>(*view, "Add tag");
    ASSERT_NE(field, nullptr);
    QTest::keyClicks(field, "  #Receipts ");
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_EQ(app->organiser().shelf().tagsOf(item.path), QStringList{"receipts"});
    EXPECT_TRUE(field->text().isEmpty());

    auto* remove = named<QToolButton>(*view, "Remove tag receipts");
    ASSERT_NE(remove, nullptr);
    remove->click();
    EXPECT_TRUE(app->organiser().shelf().tagsOf(item.path).isEmpty());
    QTRY_COMPARE(named<QToolButton>(*view, "Remove tag receipts"), nullptr);
}

TEST_F(Inspector, CollectionsHoldingTheFileAreListed)
{
    const FileItem item = test::itemAt(f.tree.write("Documents/plan.txt", "p"));
    view->setItems({item});
    EXPECT_EQ(labelText(*view, "Collections"), "In no collection");
    app->organiser().newCollection("Trip", {item});
    EXPECT_EQ(labelText(*view, "Collections"), "Trip");
}

TEST_F(Inspector, ThePictureArrivesFromThePoolWithItsSize)
{
    const FileItem item = picture("Pictures/beach.png");
    QSignalSpy ready(view.get(), &InspectorView::previewReady);
    view->setItems({item});
    // setItems only asked for it: the picture is read on a pool thread.
    EXPECT_FALSE(view->previewShown());
    ASSERT_TRUE(ready.wait(10000));
    EXPECT_EQ(ready.first().first().toString(), item.path);
    EXPECT_TRUE(view->previewShown());
    EXPECT_EQ(labelText(*view, "Dimensions"), "400 × 200 pixels");
    EXPECT_NE(named(*view, "Preview of beach.png"), nullptr);
}

TEST_F(Inspector, RecognisedTextShowsAsBoxesOverThePictureAndAsText)
{
    const FileItem item = picture("Pictures/receipt.png");
    QSignalSpy ready(view.get(), &InspectorView::previewReady);
    view->setItems({item});
    view->setHighlight({"TOTAL"});
    ASSERT_TRUE(ready.wait(10000));
    EXPECT_TRUE(view->textBoxRects().isEmpty());

    // Indexing finishes while the file is shown: the inspector follows the image index.
    const QList<TextLine> lines{{"Total 12.50", 0.1f, 0.7f, 0.5f, 0.2f, 0.9f},
                                {"Thank you", 0.25f, 0.0f, 0.5f, 0.1f, 0.9f}};
    indexRecord(item, lines, 4000, 2000);

    const QString text = labelText(*view, "Text in the picture");
    EXPECT_TRUE(text.contains("Thank you"));
    EXPECT_TRUE(text.contains(QRegularExpression("<span[^>]*>Total</span> 12.50"))) << text.toStdString();
    EXPECT_EQ(labelText(*view, "Dimensions"), "4000 × 2000 pixels");  // the index knows it: no read
    EXPECT_NE(named(*view, "Label receipt"), nullptr);

    QApplication::processEvents();  // let the layout place the preview
    const QWidget* preview = named(*view, "Preview of receipt.png");
    ASSERT_NE(preview, nullptr);
    const QRectF shown(preview->mapTo(view.get(), QPoint(0, 0)), QSizeF(preview->size()));
    const QList<QRectF> boxes = view->textBoxRects();
    ASSERT_EQ(boxes.size(), 2);
    // Fractions count from the picture's lower left; the widget from its top left.
    const auto near = [](double a, double b) { return std::abs(a - b) < 1.5; };
    EXPECT_TRUE(near(boxes[0].left(), shown.left() + 0.1 * shown.width()));
    EXPECT_TRUE(near(boxes[0].top(), shown.top() + 0.1 * shown.height()));
    EXPECT_TRUE(near(boxes[0].height(), 0.2 * shown.height()));
    EXPECT_TRUE(near(boxes[1].bottom(), shown.bottom()));
    EXPECT_TRUE(near(boxes[1].width(), 0.5 * shown.width()));

    EXPECT_EQ(InspectorPreview::lineRect({"x", 0.25f, 0.0f, 0.5f, 0.25f, 1.0f}, QRectF(10, 20, 200, 100)),
              QRectF(60, 95, 100, 25));
}

TEST_F(Inspector, MoreLikeThisAsksForThePicturesPath)
{
    const FileItem item = picture("Pictures/sea.png");
    view->setItems({item});
    QSignalSpy asked(view.get(), &InspectorView::moreLikeThis);
    auto* more = named<QPushButton>(*view, "More like this");
    ASSERT_NE(more, nullptr);
    more->click();
    ASSERT_EQ(asked.size(), 1);
    EXPECT_EQ(asked.first().first().toString(), item.path);
}

TEST_F(Inspector, SeveralFilesShowTheirCountAndShareTheActions)
{
    const FileItem a =
        test::datedItem(f.tree.write("Documents/a.txt", "a"), 1000, FileKind::document, "2026-01-01T00:00:00Z");
    const FileItem b =
        test::datedItem(f.tree.write("Documents/b.txt", "b"), 2000, FileKind::document, "2026-01-01T00:00:00Z");
    const FileItem c =
        test::datedItem(f.tree.write("Documents/c.txt", "c"), 3000, FileKind::document, "2026-01-01T00:00:00Z");
    view->setItems({a, b, c});
    EXPECT_EQ(labelText(*view, "Selection"), "3 files selected");
    EXPECT_EQ(labelText(*view, "Total size"), Fmt::size(6000) + " in all");

    named<QToolButton>(*view, "Favourite")->click();
    EXPECT_EQ(app->organiser().shelf().favourites(), (QStringList{a.path, b.path, c.path}));
    auto* field = named<QLineEdit>(*view, "Add tag");
    QTest::keyClicks(field, "work");
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_EQ(app->organiser().shelf().pathsTagged("work"), (QSet<QString>{a.path, b.path, c.path}));
}
