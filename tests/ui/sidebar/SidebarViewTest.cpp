// The sidebar over a real library: sections and counts, selection both ways, the context
// menus' actions and drops.
#include "sidebar/SidebarView.h"
#include "AppTestSupport.h"
#include "sidebar/SidebarModel.h"
#include "theme/DesktopLook.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QDir>
#include <QImage>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QScrollBar>
#include <QTest>
#include <gtest/gtest.h>

using namespace fennic;
using fennic::test::AppFixture;

namespace {

class SidebarTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        DesktopLook::ensureIconTheme();
        QImage picture(16, 16, QImage::Format_RGB32);
        picture.fill(Qt::darkCyan);
        for (const char* name : {"beach.png", "forest.png", "city.png"})
            picture.save(f.tree.path(QStringLiteral("Pictures/") + name), "PNG");
        f.tree.write("Documents/notes.txt", "notes");
        f.tree.write("Documents/letter.txt", "dear");
        app = &f.make();
        app->library().scan();
        ASSERT_TRUE(app->waitForIdle());
        ASSERT_EQ(app->library().items().size(), 5);
        view = std::make_unique<SidebarView>(*app);
        view->resize(240, 700);
        view->show();
        settle();
    }
    void TearDown() override { view.reset(); }

    // Lets the sidebar gather the model's changes into its rebuild.
    static void settle() { QTest::qWait(5); }

    SidebarModel& model() { return view->sidebarModel(); }
    QModelIndex row(const SidebarItem& item) { return model().indexOf(item); }
    FileItem item(const QString& name)
    {
        for (const FileItem& i : app->library().items())
            if (i.name == name) return i;
        ADD_FAILURE() << name.toStdString();
        return {};
    }
    QAction* action(QMenu* menu, const char* name)
    {
        for (QAction* a : menu->actions())
            if (a->objectName() == QLatin1String(name)) return a;
        return nullptr;
    }
    static QMimeData* uriList(const QStringList& paths)
    {
        auto* data = new QMimeData;
        QList<QUrl> urls;
        for (const QString& p : paths) urls << QUrl::fromLocalFile(p);
        data->setUrls(urls);
        return data;
    }

    AppFixture f;
    AppModel* app = nullptr;
    std::unique_ptr<SidebarView> view;
};

}  // namespace

TEST_F(SidebarTest, KindsOfTheLibraryWithCountsAndAccessibleNames)
{
    EXPECT_EQ(view->accessibleName(), "Sidebar");
    const QModelIndex kinds = model().indexOfSection(SidebarSection::Id::kinds);
    ASSERT_TRUE(kinds.isValid());
    EXPECT_EQ(kinds.data().toString(), "Kinds");
    EXPECT_FALSE(model().flags(kinds).testFlag(Qt::ItemIsSelectable)) << "headers are not selectable";
    ASSERT_EQ(model().rowCount(kinds), 2);
    const QModelIndex images = model().index(0, 0, kinds);
    EXPECT_EQ(images.data().toString(), "Images");
    EXPECT_EQ(images.data(SidebarModel::CountRole).toLongLong(), 3);
    EXPECT_EQ(images.data(Qt::AccessibleTextRole).toString(), "Images, 3 files");
    EXPECT_FALSE(images.data(Qt::DecorationRole).value<QIcon>().isNull());
    EXPECT_EQ(model().index(1, 0, kinds).data(Qt::AccessibleTextRole).toString(), "Documents, 2 files");

    // A new file changes the count in place; the row stays the same row.
    const QPersistentModelIndex kept(images);
    f.tree.write("Pictures/more.png", QByteArray());
    QImage(8, 8, QImage::Format_RGB32).save(f.tree.path("Pictures/more.png"), "PNG");
    app->library().scan();
    ASSERT_TRUE(app->waitForIdle());
    settle();
    ASSERT_TRUE(kept.isValid());
    EXPECT_EQ(kept.data(SidebarModel::CountRole).toLongLong(), 4);
}

TEST_F(SidebarTest, SelectionFollowsTheSessionBothWays)
{
    SearchSession& search = app->search();
    const int homeCount = search.shownItems().size();
    const QModelIndex images = row(SidebarItem::ofKind(FileKind::image));
    ASSERT_TRUE(images.isValid());
    QSignalSpy changed(&search, &SearchSession::sidebarChanged);
    view->setCurrentIndex(images);
    EXPECT_EQ(search.sidebar(), SidebarItem::ofKind(FileKind::image));
    EXPECT_EQ(changed.size(), 1);
    EXPECT_EQ(search.shownItems().size(), 3);
    EXPECT_NE(search.shownItems().size(), homeCount);

    // Keyboard: Down from Images goes to Documents; Up from the first entry of a section skips
    // the header above it.
    QTest::keyClick(view.get(), Qt::Key_Down);
    EXPECT_EQ(search.sidebar(), SidebarItem::ofKind(FileKind::document));
    QTest::keyClick(view.get(), Qt::Key_Up);
    QTest::keyClick(view.get(), Qt::Key_Up);
    EXPECT_EQ(search.sidebar(), SidebarItem::page(SidebarItem::Kind::cleanup));

    // Set elsewhere: the row is selected, and the session hears nothing back.
    changed.clear();
    search.setSidebar(SidebarItem::tag("none"));
    EXPECT_TRUE(view->selectionModel()->selectedIndexes().isEmpty()) << "no row shows a tag that doesn't exist";
    search.setSidebar(SidebarItem::cleanupCard(CleanupKind::downloads));
    EXPECT_EQ(view->currentIndex(), row(SidebarItem::page(SidebarItem::Kind::cleanup)));
    search.setSidebar(SidebarItem::page(SidebarItem::Kind::largeFiles));
    EXPECT_EQ(view->currentIndex(), row(SidebarItem::page(SidebarItem::Kind::largeFiles)));
    EXPECT_TRUE(view->selectionModel()->isSelected(view->currentIndex()));
    EXPECT_EQ(changed.size(), 3);
    EXPECT_EQ(search.sidebar(), SidebarItem::page(SidebarItem::Kind::largeFiles));
}

TEST_F(SidebarTest, CollectionRenamedAndDeletedThroughItsMenu)
{
    app->organiser().newCollection("Trip", {item("beach.png")});
    settle();
    const QUuid id = app->organiser().shelf().collections().first().id;
    QModelIndex trip = row(SidebarItem::collection(id));
    ASSERT_TRUE(trip.isValid());
    EXPECT_EQ(trip.data(Qt::AccessibleTextRole).toString(), "Trip, 1 file");
    view->setCurrentIndex(trip);

    std::unique_ptr<QMenu> menu(view->createContextMenu(trip));
    ASSERT_TRUE(menu);
    ASSERT_TRUE(action(menu.get(), "rename"));
    action(menu.get(), "rename")->trigger();
    auto* editor = view->viewport()->findChild<QLineEdit*>();
    ASSERT_TRUE(editor) << "rename edits the title in place";
    EXPECT_EQ(editor->text(), "Trip");
    EXPECT_FALSE(editor->accessibleName().isEmpty());
    editor->selectAll();
    QTest::keyClicks(editor, "Holiday");
    QTest::keyClick(editor, Qt::Key_Return);
    settle();
    EXPECT_EQ(app->organiser().shelf().collection(id)->name, "Holiday");
    settle();
    trip = row(SidebarItem::collection(id));
    EXPECT_EQ(trip.data().toString(), "Holiday");
    EXPECT_TRUE(view->selectionModel()->isSelected(trip)) << "the renamed entry stays selected";

    // The Menu key opens the same actions for the current entry.
    QContextMenuEvent key(QContextMenuEvent::Keyboard, QPoint(), view->mapToGlobal(QPoint()));
    QApplication::sendEvent(view.get(), &key);
    auto* popup = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_TRUE(popup);
    EXPECT_TRUE(action(popup, "rename"));
    popup->close();

    menu.reset(view->createContextMenu(trip));
    ASSERT_TRUE(action(menu.get(), "delete"));
    action(menu.get(), "delete")->trigger();
    settle();
    EXPECT_TRUE(app->organiser().shelf().collections().isEmpty());
    EXPECT_FALSE(row(SidebarItem::collection(id)).isValid());
    EXPECT_EQ(app->search().sidebar(), SidebarItem::home()) << "the session leaves a deleted collection";
    EXPECT_EQ(view->currentIndex(), row(SidebarItem::home()));
}

TEST_F(SidebarTest, SavedSearchRenamedAndDeleted)
{
    app->search().setSavedSearches({SavedSearch::make("Notes", "notes")});
    settle();
    const QUuid id = app->search().savedSearches().first().id;
    const QModelIndex saved = row(SidebarItem::savedSearch(id));
    ASSERT_TRUE(saved.isValid());
    EXPECT_FALSE(model().setData(saved, "   ")) << "a blank name is refused";
    EXPECT_TRUE(model().setData(saved, "My notes"));
    EXPECT_EQ(app->search().savedSearches().first().name, "My notes");
    EXPECT_EQ(app->search().savedSearches().first().query, "notes");

    view->setCurrentIndex(saved);
    std::unique_ptr<QMenu> menu(view->createContextMenu(saved));
    action(menu.get(), "delete")->trigger();
    settle();
    EXPECT_TRUE(app->search().savedSearches().isEmpty());
    EXPECT_FALSE(model().indexOfSection(SidebarSection::Id::savedSearches).isValid()) << "an empty section goes";
    EXPECT_EQ(app->search().sidebar(), SidebarItem::home());

    EXPECT_EQ(view->createContextMenu(row(SidebarItem::home())), nullptr) << "pages have no actions";
}

TEST_F(SidebarTest, FolderMenuPinsAndRemovesOnlyAddedFolders)
{
    const QString pictures = f.tree.path("Pictures");
    std::unique_ptr<QMenu> menu(view->createContextMenu(row(SidebarItem::folder(pictures))));
    ASSERT_TRUE(menu);
    EXPECT_FALSE(action(menu.get(), "removeFolder")) << "a default folder can't be removed";
    EXPECT_TRUE(action(menu.get(), "openFolder"));
    EXPECT_EQ(action(menu.get(), "pin")->text(), "Pin to Sidebar");
    view->setCurrentIndex(row(SidebarItem::folder(pictures)));
    action(menu.get(), "pin")->trigger();
    settle();
    EXPECT_EQ(app->library().pinnedFolders(), QStringList{pictures});
    const QModelIndex pinned = row(SidebarItem::folder(pictures, true));
    ASSERT_TRUE(pinned.isValid());
    EXPECT_TRUE(pinned.data(SidebarModel::PinnedRole).toBool());
    EXPECT_EQ(pinned.row(), 0) << "pinned folders lead the section";
    EXPECT_EQ(view->currentIndex(), pinned) << "the shown folder stays selected";
    menu.reset(view->createContextMenu(pinned));
    EXPECT_EQ(action(menu.get(), "pin")->text(), "Unpin");

    const QString extra = f.tree.mkdir("Elsewhere");
    app->library().addFolder(extra);
    ASSERT_TRUE(app->waitForIdle());
    settle();
    const QModelIndex added = row(SidebarItem::folder(extra));
    ASSERT_TRUE(added.isValid());
    EXPECT_EQ(added.data().toString(), "Elsewhere");
    menu.reset(view->createContextMenu(added));
    ASSERT_TRUE(action(menu.get(), "removeFolder"));
    action(menu.get(), "removeFolder")->trigger();
    ASSERT_TRUE(app->waitForIdle());
    settle();
    EXPECT_TRUE(app->library().extraRoots().isEmpty());
    EXPECT_FALSE(row(SidebarItem::folder(extra)).isValid());
}

TEST_F(SidebarTest, DroppedFilesJoinCollectionsTagsAndFavourites)
{
    app->organiser().newCollection("Trip");
    app->organiser().addTag("work", {item("letter.txt")});
    settle();
    const QUuid id = app->organiser().shelf().collections().first().id;
    const QStringList files{item("beach.png").path, item("notes.txt").path};
    const QString outside = f.tree.write("not-in-library.txt", "x");

    std::unique_ptr<QMimeData> data(uriList(files + QStringList{outside}));
    const QModelIndex trip = row(SidebarItem::collection(id));
    EXPECT_TRUE(model().canDropMimeData(data.get(), Qt::CopyAction, -1, 0, trip));
    EXPECT_TRUE(model().dropMimeData(data.get(), Qt::CopyAction, -1, 0, trip));
    EXPECT_EQ(app->organiser().shelf().collection(id)->paths, files) << "only the library's files join";
    settle();
    EXPECT_EQ(row(SidebarItem::collection(id)).data(SidebarModel::CountRole).toLongLong(), 2);

    EXPECT_TRUE(model().dropMimeData(data.get(), Qt::CopyAction, -1, 0, row(SidebarItem::tag("work"))));
    EXPECT_EQ(app->organiser().shelf().tagsOf(files[0]), QStringList{"work"});
    settle();
    EXPECT_EQ(row(SidebarItem::tag("work")).data(SidebarModel::CountRole).toLongLong(), 3);

    app->organiser().toggleFavourite({item("beach.png")});
    const QModelIndex favourites = row(SidebarItem::page(SidebarItem::Kind::favourites));
    EXPECT_TRUE(model().dropMimeData(data.get(), Qt::CopyAction, -1, 0, favourites));
    EXPECT_TRUE(app->organiser().shelf().isFavourite(files[0])) << "a drop stars, never unstars";
    EXPECT_TRUE(app->organiser().shelf().isFavourite(files[1]));

    for (const SidebarItem& refusing : {SidebarItem::home(), SidebarItem::ofKind(FileKind::image)}) {
        EXPECT_FALSE(model().canDropMimeData(data.get(), Qt::CopyAction, -1, 0, row(refusing)));
        EXPECT_FALSE(model().dropMimeData(data.get(), Qt::CopyAction, -1, 0, row(refusing)));
    }
    std::unique_ptr<QMimeData> strangers(uriList({outside}));
    EXPECT_FALSE(model().dropMimeData(strangers.get(), Qt::CopyAction, -1, 0, trip));
}

TEST_F(SidebarTest, RebuildsKeepSelectionAndScrollPosition)
{
    for (int i = 0; i < 30; ++i) app->organiser().newCollection(QStringLiteral("Collection %1").arg(i));
    settle();
    view->resize(240, 200);
    const QUuid last = app->organiser().shelf().collections().last().id;
    app->search().setSidebar(SidebarItem::collection(last));
    const int scrolled = view->verticalScrollBar()->value();
    EXPECT_GT(scrolled, 0);

    // Tags reorder by use: the rows move, the selection and the scroll position stay.
    app->organiser().addTag("a", {item("beach.png")});
    app->organiser().addTag("b", {item("beach.png"), item("city.png")});
    settle();
    app->search().setSidebar(SidebarItem::tag("a"));
    app->organiser().addTag("a", {item("forest.png"), item("city.png"), item("notes.txt")});
    settle();
    const QModelIndex tags = model().indexOfSection(SidebarSection::Id::tags);
    EXPECT_EQ(model().index(0, 0, tags).data().toString(), "a");
    EXPECT_EQ(view->currentIndex(), row(SidebarItem::tag("a")));
    const int before = view->verticalScrollBar()->value();
    app->organiser().addTag("c", {item("beach.png")});
    settle();
    EXPECT_EQ(view->verticalScrollBar()->value(), before);
    EXPECT_EQ(app->search().sidebar(), SidebarItem::tag("a"));
}
