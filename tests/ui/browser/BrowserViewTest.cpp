// The browser's views as a person uses them: header clicks ask for an order, keys move,
// activate and leave the results, the selection survives new lists, and the empty state
// takes the files' place.
#include "browser/BrowserView.h"
#include "support/TempTree.h"
#include "support/TestItems.h"
#include "theme/DesktopLook.h"
#include "thumbnails/ThumbnailLoader.h"

#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QFile>
#include <QHeaderView>
#include <QLabel>
#include <QListView>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTreeView>
#include <gtest/gtest.h>

using namespace fennic;
using fennic::test::datedItem;
using fennic::test::TempTree;

namespace {

QList<FileItem> itemsNamed(const QString& names)
{
    QList<FileItem> items;
    for (const QChar c : names)
        items.append(
            datedItem(QStringLiteral("/srv/files/%1.txt").arg(c), 10, FileKind::document, "2025-03-01T10:00:00Z"));
    return items;
}

QStringList namesOf(const QList<FileItem>& items)
{
    QStringList names;
    for (const FileItem& item : items) names << item.name.left(1);
    return names;
}

}  // namespace

class BrowserViewTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        DesktopLook::ensureIconTheme();
        view.resize(900, 600);
        view.setItems(itemsNamed("abcdefghijklmnopqrstuvwxyz"));
        view.show();
        view.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&view));
        QCoreApplication::processEvents();
    }

    TempTree tree;
    ThumbnailLoader loader{ThumbnailCache(tree.path("cache"))};
    BrowserView view{loader};
};

TEST_F(BrowserViewTest, HeaderClicksAskForAnOrderWithoutSorting)
{
    view.setViewMode(ViewMode::list);
    view.setSort(SortKey::name, true);
    QSignalSpy asked(&view, &BrowserView::sortRequested);
    QHeaderView* header = view.listView()->header();
    const auto click = [&](BrowserModel::Column column) {
        const int section = int(column);
        const QPoint at(header->sectionViewportPosition(section) + header->sectionSize(section) / 2,
                        header->height() / 2);
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, at);
    };

    click(BrowserModel::Column::size);
    ASSERT_EQ(asked.count(), 1);
    EXPECT_EQ(asked.at(0).at(0).value<SortKey>(), SortKey::size);
    EXPECT_FALSE(asked.at(0).at(1).toBool()) << "sizes start largest first";
    click(BrowserModel::Column::size);
    ASSERT_EQ(asked.count(), 2);
    EXPECT_EQ(asked.at(1).at(0).value<SortKey>(), SortKey::size);
    EXPECT_TRUE(asked.at(1).at(1).toBool()) << "a second click flips the direction";
    EXPECT_EQ(header->sortIndicatorSection(), int(BrowserModel::Column::size));
    EXPECT_EQ(header->sortIndicatorOrder(), Qt::AscendingOrder);

    click(BrowserModel::Column::folder);
    EXPECT_EQ(asked.count(), 2) << "folders are no order";
    EXPECT_EQ(header->sortIndicatorSection(), int(BrowserModel::Column::size));

    click(BrowserModel::Column::name);
    ASSERT_EQ(asked.count(), 3);
    EXPECT_EQ(asked.at(2).at(0).value<SortKey>(), SortKey::name);
    EXPECT_TRUE(asked.at(2).at(1).toBool());
    EXPECT_EQ(view.model().item(0).name, QStringLiteral("a.txt")) << "the view itself never reorders";
}

TEST_F(BrowserViewTest, KeysActivateAndLeaveTheResultsInBothModes)
{
    for (const ViewMode mode : {ViewMode::grid, ViewMode::list}) {
        SCOPED_TRACE(ViewModes::rawValue(mode).toStdString());
        view.setViewMode(mode);
        QSignalSpy out(&view, &BrowserView::moveOutOfTop);
        QSignalSpy activated(&view, &BrowserView::activated);

        view.selectFirst();
        QAbstractItemView* shown = view.currentView();
        EXPECT_TRUE(shown->hasFocus());
        EXPECT_EQ(namesOf(view.selectedItems()), QStringList{"a"});
        ASSERT_TRUE(view.currentItem());
        EXPECT_EQ(view.currentItem()->name, QStringLiteral("a.txt"));

        QTest::keyClick(shown, Qt::Key_Up);
        EXPECT_EQ(out.count(), 1) << "Up on the first row leaves the results";

        QTest::keyClick(shown, Qt::Key_Right);
        QTest::keyClick(shown, Qt::Key_Down);
        QTest::keyClick(shown, Qt::Key_Down);
        const FileItem current = *view.currentItem();
        EXPECT_NE(current.name, QStringLiteral("a.txt"));
        QTest::keyClick(shown, Qt::Key_Up);
        EXPECT_EQ(out.count(), 1) << "Up further down just moves up";

        QTest::keyClick(shown, Qt::Key_Return);
        ASSERT_EQ(activated.count(), 1);
        EXPECT_EQ(activated.at(0).at(0).value<FileItem>().path, view.currentItem()->path);

        QTest::keyClick(shown, Qt::Key_A, Qt::ControlModifier);
        EXPECT_EQ(view.selectedItems().size(), 26);
    }
}

TEST_F(BrowserViewTest, DoubleClickOpensAndTheMenuKeyPointsAtTheCurrentFile)
{
    QSignalSpy activated(&view, &BrowserView::activated);
    QSignalSpy menu(&view, &BrowserView::contextMenuRequested);
    QListView* grid = view.gridView();
    const QRect third = grid->visualRect(view.model().index(2, 0));
    // As the platform delivers it: a click, then the second press as a double click.
    QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, third.center());
    QTest::mouseDClick(grid->viewport(), Qt::LeftButton, {}, third.center());
    ASSERT_EQ(activated.count(), 1);
    EXPECT_EQ(activated.at(0).at(0).value<FileItem>().name, QStringLiteral("c.txt"));

    QContextMenuEvent fromKeyboard(QContextMenuEvent::Keyboard, QPoint(0, 0), grid->mapToGlobal(QPoint(0, 0)));
    QApplication::sendEvent(grid, &fromKeyboard);
    ASSERT_EQ(menu.count(), 1);
    const QPoint at = grid->viewport()->mapFromGlobal(menu.at(0).at(0).toPoint());
    EXPECT_TRUE(third.contains(at)) << "the menu opens at the current card";
}

TEST_F(BrowserViewTest, LeavesSpaceAndDeleteToTheWindowsActions)
{
    QAction preview(&view);
    preview.setShortcut(Qt::Key_Space);
    view.addAction(&preview);
    QSignalSpy triggered(&preview, &QAction::triggered);
    view.selectFirst();
    QTest::keyClick(view.currentView(), Qt::Key_Down);
    QTest::keyClick(view.currentView(), Qt::Key_Space);
    EXPECT_EQ(triggered.count(), 1);

    QSignalSpy zoom(&view, &BrowserView::zoomRequested);
    QTest::keyClick(view.currentView(), Qt::Key_Minus, Qt::ControlModifier);
    ASSERT_EQ(zoom.count(), 1);
    EXPECT_LT(zoom.at(0).at(0).toDouble(), 0);
}

TEST_F(BrowserViewTest, SelectionSurvivesNewLists)
{
    view.selectPaths(
        {QStringLiteral("/srv/files/b.txt"), QStringLiteral("/srv/files/d.txt"), QStringLiteral("/srv/files/e.txt")});
    EXPECT_EQ(namesOf(view.selectedItems()), (QStringList{"b", "d", "e"}));
    QSignalSpy changed(&view, &BrowserView::selectionChanged);

    view.setItems(itemsNamed("abdefghijklmnopqrstuvwxyz"));  // c gone: a range change
    EXPECT_EQ(namesOf(view.selectedItems()), (QStringList{"b", "d", "e"}));
    view.setItems(itemsNamed("abefghijklmnopqrstuvwxyz"));  // d gone
    EXPECT_EQ(namesOf(view.selectedItems()), (QStringList{"b", "e"}));
    EXPECT_GE(changed.count(), 1);

    view.setItems(itemsNamed("zyxeb"));  // nothing at either end in common: a reset
    EXPECT_EQ(namesOf(view.selectedItems()), (QStringList{"e", "b"})) << "in list order";
    view.setItems(itemsNamed("pq"));
    EXPECT_TRUE(view.selectedItems().isEmpty());

    view.selectAll();
    EXPECT_EQ(namesOf(view.selectedItems()), (QStringList{"p", "q"}));
    view.selectPaths({});
    EXPECT_TRUE(view.selectedItems().isEmpty());
}

TEST_F(BrowserViewTest, EmptyStateTakesTheFilesPlace)
{
    view.setEmptyState(BrowserView::EmptyState{
        QStringLiteral("edit-find"), QStringLiteral("No files match"), QStringLiteral("Try fewer words.")});
    EXPECT_TRUE(view.isShowingEmptyState());
    EXPECT_FALSE(view.gridView()->isVisible());
    bool titleShown = false;
    for (const QLabel* label : view.findChildren<QLabel*>())
        titleShown |= label->isVisible() && label->text() == QStringLiteral("No files match");
    EXPECT_TRUE(titleShown);

    view.setEmptyState(std::nullopt);
    EXPECT_FALSE(view.isShowingEmptyState());
    EXPECT_TRUE(view.gridView()->isVisible());
}

TEST_F(BrowserViewTest, CardsFollowTheCardSizeAndCtrlWheelZooms)
{
    // A card's height follows its picture exactly; its cell also takes a share of the row's
    // spare width, so fewer, wider cells fit a row.
    view.setCardSize(120);
    const QRect small = view.gridView()->visualRect(view.model().index(0, 0));
    view.setCardSize(240);
    QCoreApplication::processEvents();
    const QRect large = view.gridView()->visualRect(view.model().index(0, 0));
    EXPECT_EQ(large.height() - small.height(), 120);
    EXPECT_GE(large.width(), 240);

    QSignalSpy zoom(&view, &BrowserView::zoomRequested);
    QWidget* viewport = view.gridView()->viewport();
    const QPoint centre = viewport->rect().center();
    QWheelEvent wheel(centre, viewport->mapToGlobal(centre), QPoint(), QPoint(0, 120), Qt::NoButton,
                      Qt::ControlModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(viewport, &wheel);
    ASSERT_EQ(zoom.count(), 1);
    EXPECT_EQ(zoom.at(0).at(0).toDouble(), BrowserView::kZoomStep);
}

// Paging quickly down a long grid and back up asks for every page's pictures as it paints; once
// the scrolling settles, only the cards then on screen (and the few a worker had already
// started) are made, neither the pages above nor those below.
TEST_F(BrowserViewTest, MakesThumbnailsForTheCardsLeftOnScreen)
{
    // One large photograph under many names, so that each takes a worker a while to read.
    tree.mkdir(QStringLiteral("Pictures"));
    QImage photo(3000, 2000, QImage::Format_RGB32);
    photo.fill(QColor(30, 120, 200));
    const QString original = tree.path(QStringLiteral("photo.png"));
    ASSERT_TRUE(photo.save(original));
    QList<FileItem> pictures;
    for (int i = 0; i < 600; ++i) {
        const QString path = tree.path(QStringLiteral("Pictures/IMG_%1.png").arg(i, 4, 10, QChar(u'0')));
        ASSERT_TRUE(QFile::link(original, path));
        pictures.append(datedItem(path, 2000, FileKind::image, "2025-03-01T10:00:00Z"));
    }
    view.setItems(pictures);
    QListView* grid = view.gridView();
    const auto settle = [this] {
        for (int i = 0; i < 200 && loader.queued() > 0; ++i) QTest::qWait(25);
        QTest::qWait(100);  // past the view's pause after scrolling
        for (int i = 0; i < 200 && loader.queued() > 0; ++i) QTest::qWait(25);
    };
    settle();
    QSignalSpy ready(&loader, &ThumbnailLoader::ready);
    QSignalSpy failed(&loader, &ThumbnailLoader::failed);

    QScrollBar* bar = grid->verticalScrollBar();
    ASSERT_GT(bar->maximum(), 10 * bar->pageStep()) << "a grid many pages long";
    const auto cardsOnScreen = [&] {
        QSet<QString> paths;
        for (int row = 0; row < view.model().rowCount(); ++row)
            if (grid->visualRect(view.model().index(row, 0)).intersects(grid->viewport()->rect()))
                paths.insert(view.model().item(row).path);
        return paths;
    };
    QSet<QString> asked;
    for (const int page : {1, 2, 3, 4, 5, 6, 7, 8, 7, 6, 5, 4}) {
        bar->setValue(page * bar->pageStep());
        grid->viewport()->repaint();
        asked += cardsOnScreen();
    }
    settle();
    ASSERT_EQ(loader.queued(), 0);

    const QSet<QString> onScreen = cardsOnScreen();
    ASSERT_FALSE(onScreen.isEmpty());
    QSet<QString> answered;
    for (const QSignalSpy* spy : {&ready, &failed})
        for (const auto& call : *spy) answered.insert(call.at(0).toString());
    EXPECT_TRUE(answered.contains(onScreen)) << "every card on screen gets its picture (or its icon for good)";
    EXPECT_LT((answered - onScreen).size(), (asked - onScreen).size() / 4) << "the pages scrolled past are not made";
}

// The rows on screen, wherever the grid or the list stops: between two rows of cards, part way
// into a row, at either end, and in a list shorter than the window.
TEST_F(BrowserViewTest, FindsTheRowsOnScreenWhereverTheScrollingStops)
{
    QList<FileItem> many;
    for (int i = 0; i < 500; ++i)
        many.append(datedItem(QStringLiteral("/srv/files/%1.txt").arg(i, 4, 10, QChar(u'0')), 10, FileKind::document,
                                             "2025-03-01T10:00:00Z"));
    const auto check = [this](QAbstractItemView* shown, const char* what) {
        int first = view.model().rowCount();
        int last = -1;
        for (int row = 0; row < view.model().rowCount(); ++row) {
            if (shown->visualRect(view.model().index(row, 0)).intersects(shown->viewport()->rect())) {
                first = std::min(first, row);
                last = std::max(last, row);
            }
        }
        const auto [foundFirst, foundLast] = view.rowsOnScreen();
        EXPECT_EQ(foundFirst, first) << what << " at " << shown->verticalScrollBar()->value();
        EXPECT_EQ(foundLast, last) << what << " at " << shown->verticalScrollBar()->value();
    };
    for (const ViewMode mode : {ViewMode::grid, ViewMode::list}) {
        view.setViewMode(mode);
        view.setItems(many);
        QCoreApplication::processEvents();
        QAbstractItemView* shown = mode == ViewMode::grid ? static_cast<QAbstractItemView*>(view.gridView())
                                                          : static_cast<QAbstractItemView*>(view.listView());
        QScrollBar* bar = shown->verticalScrollBar();
        ASSERT_GT(bar->maximum(), 0);
        for (int value = 0; value <= 600; value += 7) {
            bar->setValue(value);
            check(shown, mode == ViewMode::grid ? "grid" : "list");
        }
        bar->setValue(bar->maximum());
        check(shown, "the end");
        view.setItems(itemsNamed("abc"));
        QCoreApplication::processEvents();
        check(shown, "a short list");
    }
}
