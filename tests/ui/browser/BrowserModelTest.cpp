// The browser's model: the smallest change for each new list, what each column and role shows,
// the drag data, and thumbnails arriving for the rows being painted.
#include "browser/BrowserModel.h"
#include "browser/BrowserView.h"
#include "model/Fmt.h"
#include "support/TempTree.h"
#include "support/TestItems.h"
#include "theme/DesktopLook.h"
#include "thumbnails/PlainPicture.h"
#include "thumbnails/ThumbnailLoader.h"

#include <QDir>
#include <QIcon>
#include <QListView>
#include <QMimeData>
#include <QSignalSpy>
#include <QTest>
#include <QUrl>
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

// Every change the model announces.
struct Changes {
    explicit Changes(BrowserModel& model)
        : inserted(&model, &BrowserModel::rowsInserted),
          removed(&model, &BrowserModel::rowsRemoved),
          reset(&model, &BrowserModel::modelReset),
          changed(&model, &BrowserModel::dataChanged)
    { }
    int total() const { return int(inserted.count() + removed.count() + reset.count() + changed.count()); }
    void clear()
    {
        inserted.clear();
        removed.clear();
        reset.clear();
        changed.clear();
    }
    QSignalSpy inserted, removed, reset, changed;
};

std::pair<int, int> rowsOf(const QSignalSpy& spy, int at = 0)
{
    return {spy.at(at).at(1).toInt(), spy.at(at).at(2).toInt()};
}

}  // namespace

class BrowserModelTest : public ::testing::Test {
protected:
    TempTree tree;
    ThumbnailLoader loader{ThumbnailCache(tree.path("cache"))};
    BrowserModel model{loader};
};

TEST(BrowserModelListTest, NewListsChangeOnlyWhatDiffers)
{
    TempTree tree;
    ThumbnailLoader loader{ThumbnailCache(tree.path("cache"))};
    // The same changes whether the model compares the lists itself or is handed the diff the
    // search session works out on its thread; a diff made for other lists is not taken.
    enum class Diff {
        none,
        handedIn,
        stale
    };
    for (const Diff given : {Diff::none, Diff::handedIn, Diff::stale}) {
        SCOPED_TRACE(int(given));
        BrowserModel model{loader};
        const auto set = [&](const QList<FileItem>& items) {
            if (given == Diff::none) return model.setItems(items);
            const VisibleListDiff diff =
                VisibleListDiff::of(given == Diff::stale ? itemsNamed("abcdefghij") : model.items(), items);
            return model.setItems(items, &diff);
        };
        EXPECT_EQ(set(itemsNamed("abcdefghij")), BrowserModel::Change::ranges);
        Changes changes(model);

        // The same files again, in fresh strings or the very list shown: nothing to tell.
        EXPECT_EQ(set(itemsNamed("abcdefghij")), BrowserModel::Change::none);
        EXPECT_EQ(set(QList<FileItem>(model.items())), BrowserModel::Change::none);
        EXPECT_EQ(changes.total(), 0);

        // One file grew: only its row changes.
        QList<FileItem> grown = itemsNamed("abcdefghij");
        grown[3].size = 4000;
        EXPECT_EQ(set(grown), BrowserModel::Change::none);
        ASSERT_EQ(changes.changed.count(), 1);
        EXPECT_EQ(changes.changed.at(0).at(0).toModelIndex().row(), 3);
        EXPECT_EQ(changes.changed.at(0).at(1).toModelIndex().row(), 3);
        EXPECT_EQ(model.data(model.index(3, int(BrowserModel::Column::size))).toString(), Fmt::size(4000));
        set(itemsNamed("abcdefghij"));
        changes.clear();

        // One file more in the middle, then gone again.
        set(itemsNamed("abcdeXfghij"));
        ASSERT_EQ(changes.inserted.count(), 1);
        EXPECT_EQ(rowsOf(changes.inserted), std::make_pair(5, 5));
        EXPECT_EQ(changes.total(), 1);
        EXPECT_EQ(model.item(5).name, QStringLiteral("X.txt"));
        changes.clear();
        set(itemsNamed("abcdefghij"));
        ASSERT_EQ(changes.removed.count(), 1);
        EXPECT_EQ(rowsOf(changes.removed), std::make_pair(5, 5));
        EXPECT_EQ(changes.total(), 1);
        changes.clear();

        // A stretch replaced: the new stretch goes in, then the old one out, and in between the
        // model shows both (views read it when told of the insertion).
        QStringList between;
        const auto connection = QObject::connect(&model, &BrowserModel::rowsInserted, [&] {
            for (int row = 0; row < model.rowCount(); ++row) between << model.item(row).name.left(1);
        });
        set(itemsNamed("abcXYZij"));
        QObject::disconnect(connection);
        ASSERT_EQ(changes.removed.count(), 1);
        ASSERT_EQ(changes.inserted.count(), 1);
        EXPECT_EQ(rowsOf(changes.inserted), std::make_pair(3, 5));
        EXPECT_EQ(rowsOf(changes.removed), std::make_pair(6, 10));
        EXPECT_EQ(between.join(QString()), QStringLiteral("abcXYZdefghij"));
        EXPECT_EQ(changes.reset.count(), 0);
        EXPECT_EQ(model.rowCount(), 8);
        EXPECT_EQ(model.item(7).name, QStringLiteral("j.txt"));
        changes.clear();

        // Narrowing to the start and to the end.
        set(itemsNamed("abc"));
        EXPECT_EQ(rowsOf(changes.removed), std::make_pair(3, 7));
        changes.clear();
        set(itemsNamed("bc"));
        EXPECT_EQ(rowsOf(changes.removed), std::make_pair(0, 0));
        changes.clear();

        // Nothing in common: a reset.
        EXPECT_EQ(set(itemsNamed("pqrs")), BrowserModel::Change::reset);
        EXPECT_EQ(changes.reset.count(), 1);
        EXPECT_EQ(changes.inserted.count() + changes.removed.count(), 0);
        EXPECT_EQ(model.rowCount(), 4);
        EXPECT_EQ(model.rowOf(QStringLiteral("/srv/files/r.txt")), 2);
        EXPECT_EQ(model.rowOf(QStringLiteral("/srv/files/a.txt")), -1);
    }
}

TEST_F(BrowserModelTest, ColumnsAndRolesShowTheFile)
{
    DesktopLook::ensureIconTheme();
    FileItem photo =
        datedItem(QDir::homePath()
                  + QStringLiteral("/Pictures/Trip/beach.jpg"), 2'500'000, FileKind::image, "2025-03-01T10:00:00Z");
    photo.modified = Date::fromIso(QStringLiteral("2024-12-24T18:30:00Z"));
    const FileItem notes =
        datedItem(QStringLiteral("/srv/shared/notes.txt"), 120, FileKind::document, "2025-01-02T08:00:00Z");
    FileItem home =
        datedItem(QDir::homePath() + QStringLiteral("/todo.md"), 5, FileKind::document, "2025-01-02T08:00:00Z");
    model.setItems({photo, notes, home});

    const auto text = [&](int row, BrowserModel::Column column) {
        return model.data(model.index(row, int(column))).toString();
    };
    EXPECT_EQ(text(0, BrowserModel::Column::name), QStringLiteral("beach.jpg"));
    EXPECT_EQ(text(0, BrowserModel::Column::kind), FileKinds::singular(FileKind::image));
    EXPECT_EQ(text(0, BrowserModel::Column::size), Fmt::size(2'500'000));
    EXPECT_EQ(text(0, BrowserModel::Column::dateAdded), Fmt::date(photo.added));
    EXPECT_EQ(text(0, BrowserModel::Column::dateModified), Fmt::date(photo.modified));
    EXPECT_EQ(text(0, BrowserModel::Column::folder), QStringLiteral("~/Pictures/Trip"));
    EXPECT_EQ(text(1, BrowserModel::Column::folder), QStringLiteral("/srv/shared"));
    EXPECT_EQ(text(2, BrowserModel::Column::folder), QStringLiteral("~"));

    const QModelIndex notesName = model.index(1, 0);
    EXPECT_EQ(notesName.data(Qt::AccessibleTextRole).toString(), QStringLiteral("notes.txt"));
    EXPECT_EQ(notesName.data(Qt::ToolTipRole).toString(), notes.path);
    EXPECT_EQ(notesName.data(BrowserModel::ItemRole).value<FileItem>().path, notes.path);
    const QVariant icon = notesName.data(Qt::DecorationRole);
    ASSERT_EQ(icon.typeId(), QMetaType::QIcon);
    EXPECT_FALSE(icon.value<QIcon>().isNull()) << "a text file shows its type's icon";
    EXPECT_EQ(loader.queued(), 0) << "and never asks for a thumbnail";

    QStringList titles;
    for (int c = 0; c < model.columnCount(); ++c) titles << model.headerData(c, Qt::Horizontal).toString();
    EXPECT_EQ(titles, (QStringList{"Name", "Kind", "Size", "Date Added", "Date Modified", "Folder"}));
    EXPECT_EQ(BrowserModel::sortKeyFor(BrowserModel::Column::size), SortKey::size);
    EXPECT_EQ(BrowserModel::sortKeyFor(BrowserModel::Column::dateModified), SortKey::dateModified);
    EXPECT_EQ(BrowserModel::sortKeyFor(BrowserModel::Column::folder), std::nullopt);
}

TEST_F(BrowserModelTest, DragCarriesTheFilesAsLocalUrls)
{
    const QString a = tree.write("Documents/report one.pdf", "pdf");
    const QString b = tree.write("Documents/b.txt", "b");
    const QString c = tree.write("Documents/c.txt", "c");
    model.setItems({test::itemAt(a), test::itemAt(b), test::itemAt(c)});
    EXPECT_TRUE(model.flags(model.index(0, 0)).testFlag(Qt::ItemIsDragEnabled));
    EXPECT_TRUE(model.supportedDragActions().testFlag(Qt::CopyAction));
    EXPECT_TRUE(model.mimeTypes().contains(QStringLiteral("text/uri-list")));

    // The list selects whole rows: each file goes once, in list order.
    const std::unique_ptr<QMimeData> data(
        model.mimeData({model.index(2, 0), model.index(0, 0), model.index(0, 3), model.index(2, 5)}));
    ASSERT_TRUE(data);
    const QList<QUrl> urls = data->urls();
    ASSERT_EQ(urls.size(), 2);
    EXPECT_TRUE(urls[0].isLocalFile());
    EXPECT_EQ(urls[0].toLocalFile(), a);
    EXPECT_EQ(urls[1].toLocalFile(), c);
    EXPECT_TRUE(urls[0].toString().startsWith(QStringLiteral("file:///")));
    EXPECT_EQ(data->text(), a + u'\n' + c);
}

TEST_F(BrowserModelTest, PaintedCardsGetTheirThumbnails)
{
    DesktopLook::ensureIconTheme();
    FileItem picture = test::itemAt(test::writePicture(tree, "Pictures/red.png", QSize(400, 300), Qt::red));
    picture.modified = Date::fromUnix(1'700'000'000);
    const FileItem text = test::itemAt(tree.write("Documents/notes.txt", "words"));

    BrowserView view(loader);
    view.resize(800, 600);
    view.setItems({text, picture});
    QSignalSpy ready(&loader, &ThumbnailLoader::ready);
    QSignalSpy changed(&view.model(), &BrowserModel::dataChanged);
    BrowserModel& shown = view.model();
    EXPECT_EQ(shown.index(1, 0).data(Qt::DecorationRole).typeId(), QMetaType::QIcon) << "the type's icon at first";

    view.grab();  // painting the cards asks for their pictures
    ASSERT_TRUE(ready.count() > 0 || ready.wait(10000));
    EXPECT_EQ(ready.at(0).at(0).toString(), picture.path);
    // Announced within a frame, together with any other picture that lands meanwhile.
    QTRY_COMPARE_WITH_TIMEOUT(changed.count(), 1, 2000);
    EXPECT_EQ(changed.at(0).at(0).toModelIndex().row(), 1);
    EXPECT_TRUE(changed.at(0).at(2).value<QList<int>>().contains(Qt::DecorationRole));
    const QVariant decoration = shown.index(1, 0).data(Qt::DecorationRole);
    ASSERT_EQ(decoration.typeId(), QMetaType::QImage);
    EXPECT_EQ(decoration.value<QImage>().size(), QSize(256, 192));
    EXPECT_EQ(loader.queued(), 0) << "the text file never asked";
    EXPECT_FALSE(view.grab().isNull()) << "and the card paints with it";
}

TEST_F(BrowserModelTest, OnlyCardsOnScreenAskForPictures)
{
    QList<FileItem> pictures;
    for (int i = 0; i < 40; ++i) {
        FileItem item =
            test::itemAt(test::writePicture(tree, QStringLiteral("Pictures/p%1.png").arg(i), QSize(64, 48)));
        item.modified = Date::fromUnix(1'700'000'000);
        pictures.append(item);
    }
    BrowserView view(loader);
    view.setCardSize(100);
    view.resize(420, 300);
    view.setItems(pictures);
    view.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&view));
    QSignalSpy ready(&loader, &ThumbnailLoader::ready);
    QTest::qWait(200);
    const int onScreen = int(ready.count());
    EXPECT_GT(onScreen, 0);
    EXPECT_LT(onScreen, 20) << "cards off screen wait until they are scrolled to";
    const auto answered = [&](const QString& path) {
        for (const auto& arguments : std::as_const(ready))
            if (arguments.at(0).toString() == path) return true;
        return false;
    };
    EXPECT_FALSE(answered(pictures.last().path));

    view.gridView()->scrollToBottom();
    for (int i = 0; i < 100 && !answered(pictures.last().path); ++i) QTest::qWait(20);
    EXPECT_TRUE(answered(pictures.last().path)) << "the last card, once on screen, gets its picture";
    EXPECT_EQ(view.model().index(39, 0).data(Qt::DecorationRole).typeId(), QMetaType::QImage);
}

TEST_F(BrowserModelTest, APictureInALongListWaitsForTheRowIndexAndNamesOnlyItsRow)
{
    // Long enough that the list's rows are indexed on the pool rather than on the spot.
    QList<FileItem> items;
    for (int i = 0; i < 30000; ++i)
        items.append(
            datedItem(QStringLiteral("/srv/files/f%1.txt").arg(i), 10, FileKind::document, "2025-03-01T10:00:00Z"));
    QList<FileItem> pictures;
    for (int i = 0; i < 2; ++i) {
        FileItem item =
            test::itemAt(test::writePicture(tree, QStringLiteral("Pictures/q%1.png").arg(i), QSize(64, 48)));
        item.modified = Date::fromUnix(1'700'000'000);
        pictures.append(item);
    }
    items.insert(25000, pictures[0]);
    items.insert(27000, pictures[1]);
    model.setItems(items);
    Changes changes(model);
    QSignalSpy ready(&loader, &ThumbnailLoader::ready);

    (void)model.index(25000, 0).data(Qt::DecorationRole);
    ASSERT_TRUE(ready.wait(10000));
    // The picture waits for the row index from the pool, then names its own row: never the
    // whole list, which would make a grid measure every card again.
    QTRY_COMPARE_WITH_TIMEOUT(changes.changed.count(), 1, 10000);
    EXPECT_EQ(changes.changed.at(0).at(0).toModelIndex().row(), 25000);
    EXPECT_EQ(changes.changed.at(0).at(1).toModelIndex().row(), 25000);

    // Once the index is there, a picture names its own row within a frame.
    changes.clear();
    (void)model.index(27000, 0).data(Qt::DecorationRole);
    ASSERT_TRUE(ready.wait(10000));
    QTRY_COMPARE_WITH_TIMEOUT(changes.changed.count(), 1, 2000);
    EXPECT_EQ(changes.changed.at(0).at(0).toModelIndex().row(), 27000);
    EXPECT_EQ(changes.changed.at(0).at(1).toModelIndex().row(), 27000);
}
