// The main window as a person uses it, offscreen: typing a request, moving into the results,
// trashing with the keyboard and undoing, sorting from the list's header, the sidebar, and
// the capture run over the demonstration library.
#include "window/MainWindow.h"
#include "app/AppModel.h"
#include "app/AppSettings.h"
#include "app/LibraryHome.h"
#include "app/LibraryModel.h"
#include "app/Organiser.h"
#include "app/SearchSession.h"
#include "app/Toast.h"
#include "ask/AskBar.h"
#include "ask/AskField.h"
#include "browser/BrowserModel.h"
#include "browser/BrowserView.h"
#include "capture/Snapshot.h"
#include "home/HomePage.h"
#include "library/Prefs.h"
#include "model/SupportFiles.h"
#include "support/TempTree.h"
#include "thumbnails/ThumbnailLoader.h"
#include "toast/ToastOverlay.h"
#include "window/EmptyStates.h"
#include "window/StatusLine.h"
#include "window/WindowActions.h"

#include <QAbstractItemView>
#include <QHeaderView>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTreeView>
#include <gtest/gtest.h>

using namespace fennic;
using fennic::test::TempTree;

namespace {

// A window over a small real library in a temporary home, with its own Trash and
// thumbnail cache, and a short settle delay.
class WindowFixture : public test::LibraryHome {
public:
    WindowFixture()
    {
        tree.write("Documents/alpha report.txt", QByteArray(300, 'a'));
        tree.write("Documents/beta notes.txt", QByteArray(100, 'b'));
        tree.write("Documents/gamma.pdf", QByteArray("%PDF-1.4\n") + QByteArray(2000, 'g'));
        tree.write("Music/song.mp3", QByteArray("ID3") + QByteArray(5000, 's'));
        env.settleDelayMs = 150;
    }

    MainWindow& open()
    {
        model = std::make_unique<AppModel>(env);
        model->library().finishWelcome();
        EXPECT_TRUE(model->waitForIdle());
        window = std::make_unique<MainWindow>(*model, thumbnails);
        window->resize(1100, 700);
        window->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(window.get()));
        return *window;
    }

    void typeRequest(const QString& text)
    {
        AskField* field = window->askBar()->field();
        field->setFocus();
        QTest::keyClicks(field, text);
        QTest::qWait(env.settleDelayMs + 100);
    }

    QStringList shownNames() const
    {
        QStringList names;
        for (const FileItem& item : window->shownBrowser()->model().items()) names.append(item.name);
        return names;
    }

    ThumbnailLoader thumbnails{ThumbnailCache(tree.path(".thumbnails"))};
    std::unique_ptr<AppModel> model;
    std::unique_ptr<MainWindow> window;
};

}  // namespace

TEST(MainWindow, TypingARequestSettlesIntoTheResultsAndDownMovesIntoThem)
{
    WindowFixture f;
    MainWindow& w = f.open();
    EXPECT_EQ(w.windowTitle(), "Fennic");
    EXPECT_EQ(w.currentPage(), static_cast<QWidget*>(w.homePage())) << "the window opens on Home";

    // A request typed in the toolbar on Home shows its results in place of Home's overview.
    f.typeRequest("txt");
    EXPECT_EQ(f.model->search().query(), "txt") << "the field drives the model's request";
    ASSERT_EQ(w.shownBrowser(), w.homePage()->results());
    QStringList names = f.shownNames();
    names.sort();
    EXPECT_EQ(names, (QStringList{"alpha report.txt", "beta notes.txt"}));

    // Down from the Ask field: the first result selected, focus in the results.
    QTest::keyClick(w.askBar()->field(), Qt::Key_Down);
    ASSERT_EQ(w.shownBrowser()->selectedItems().size(), 1);
    EXPECT_EQ(w.shownBrowser()->selectedItems().first().name, f.shownNames().first());
    EXPECT_FALSE(w.askBar()->field()->hasFocus());

    // Esc in the field clears the request and shows everything again.
    w.askBar()->field()->setFocus();
    QTest::keyClick(w.askBar()->field(), Qt::Key_Escape);
    EXPECT_TRUE(f.model->search().query().isEmpty());
    EXPECT_TRUE(QTest::qWaitFor([&] { return !w.homePage()->isShowingResults(); }, 2000)) << "back to the overview";
    f.model->search().setSidebar(SidebarItem::page(SidebarItem::Kind::recents));
    EXPECT_TRUE(QTest::qWaitFor([&] { return f.shownNames().size() == 4; }, 2000));
}

TEST(MainWindow, NoResultsShowsOnlyOnceTheRequestSettles)
{
    EmptyStates::Situation typing{0, 10, false, true, false, "pdfs from gm", SidebarItem::home()};
    EXPECT_FALSE(EmptyStates::forSituation(typing)) << "no empty state while still typing";
    typing.settled = true;
    ASSERT_TRUE(EmptyStates::forSituation(typing));
    EXPECT_EQ(EmptyStates::forSituation(typing)->title, "No results");
    EmptyStates::Situation firstScan{0, 0, true, false, true, "", SidebarItem::home()};
    EXPECT_EQ(EmptyStates::forSituation(firstScan)->title, "Reading your folders…");
    EmptyStates::Situation some{3, 10, false, true, true, "x", SidebarItem::home()};
    EXPECT_FALSE(EmptyStates::forSituation(some));
}

TEST(MainWindow, DeleteTrashesTheSelectionWithANoticeAndUndoPutsItBack)
{
    WindowFixture f;
    MainWindow& w = f.open();
    f.model->search().setSidebar(SidebarItem::page(SidebarItem::Kind::recents));
    ASSERT_TRUE(QTest::qWaitFor([&] { return w.browser()->model().rowCount() == 4; }, 2000));
    const QString victim = f.tree.path("Documents/beta notes.txt");
    w.browser()->selectPaths({victim});
    w.browser()->focusResults();
    ASSERT_EQ(w.browser()->selectedItems().size(), 1);

    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Delete);
    EXPECT_FALSE(QFileInfo::exists(victim)) << "moved to the Trash";
    QTest::qWait(50);  // the list follows in the next turn of the event loop
    const QString trashed = qEnvironmentVariable("XDG_DATA_HOME") + "/Trash/files/beta notes.txt";
    EXPECT_TRUE(QFileInfo::exists(trashed)) << "in the freedesktop Trash of the test's data folder";
    EXPECT_EQ(w.browser()->model().rowCount(), 3);
    ASSERT_TRUE(w.toastOverlay()->isVisible());
    EXPECT_EQ(w.toastOverlay()->text(), "Moved 1 item to the Trash") << w.toastOverlay()->text().toStdString();
    ASSERT_TRUE(w.toastOverlay()->actionButton()->isVisible());
    EXPECT_EQ(w.toastOverlay()->actionButton()->text(), "Undo");

    // Ctrl+Z anywhere in the window puts it back.
    QTest::keyClick(&w, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(QFileInfo::exists(victim));
    EXPECT_FALSE(QFileInfo::exists(trashed));
    // The list follows once the library's derived values are recomputed in the background.
    EXPECT_TRUE(QTest::qWaitFor([&] { return w.browser()->model().rowCount() == 4; }, 5000));
    EXPECT_FALSE(w.actions().action(WindowActions::Id::undo)->isEnabled()) << "nothing left to undo";

    // The notice's own button does the same for the next Trash.
    w.browser()->selectPaths({victim});
    ASSERT_EQ(w.browser()->selectedItems().size(), 1);
    w.actions().action(WindowActions::Id::moveToTrash)->trigger();
    ASSERT_FALSE(QFileInfo::exists(victim));
    QTest::mouseClick(w.toastOverlay()->actionButton(), Qt::LeftButton);
    EXPECT_TRUE(QFileInfo::exists(victim));
    ASSERT_TRUE(f.model->waitForIdle());
}

TEST(MainWindow, ListHeaderSortsThroughTheSettingsAndTheSidebarChangesTheList)
{
    WindowFixture f;
    MainWindow& w = f.open();
    f.model->search().setSidebar(SidebarItem::page(SidebarItem::Kind::recents));
    f.model->settings().setViewMode(ViewMode::list);
    QTest::qWait(50);
    auto* list = w.browser()->findChild<QTreeView*>();
    ASSERT_TRUE(list);
    ASSERT_TRUE(list->isVisible());
    QHeaderView* header = list->header();
    const int sizeColumn = int(BrowserModel::Column::size);
    const QPoint at(header->sectionViewportPosition(sizeColumn) + header->sectionSize(sizeColumn) / 2,
                    header->height() / 2);
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, at);
    EXPECT_EQ(f.model->settings().sortKey(), SortKey::size);
    QTest::qWait(50);
    QStringList sizes;
    for (const FileItem& item : w.browser()->model().items()) sizes.append(QString::number(item.size));
    const bool ascending = f.model->settings().sortAscending();
    const auto& items = w.browser()->model().items();
    for (qsizetype i = 1; i < items.size(); ++i)
        EXPECT_TRUE(ascending ? items[i - 1].size <= items[i].size : items[i - 1].size >= items[i].size)
            << sizes.join(' ').toStdString();

    f.model->search().setSidebar(SidebarItem::ofKind(FileKind::music));
    EXPECT_TRUE(QTest::qWaitFor([&] { return f.shownNames() == QStringList{"song.mp3"}; }, 2000));
}

TEST(MainWindow, StatusLineCountsTheLibraryAndProgressLeavesTheAskFieldInPlace)
{
    WindowFixture f;
    MainWindow& w = f.open();
    EXPECT_TRUE(w.statusLine()->summary().startsWith("4 files")) << w.statusLine()->summary().toStdString();

    // The toolbar's progress comes and goes with every scan; the field beside it stays put.
    QProgressBar* progress = nullptr;
    for (QProgressBar* bar : w.findChildren<QProgressBar*>())
        if (bar->accessibleName() == "Scan and image reading progress") progress = bar;
    ASSERT_NE(progress, nullptr);
    EXPECT_FALSE(progress->isVisible()) << "nothing under way";
    const int idle = w.askBar()->width();
    f.model->library().scan();
    ASSERT_TRUE(QTest::qWaitFor([&] { return progress->isVisible(); }, 3000));
    EXPECT_EQ(w.askBar()->width(), idle);
    ASSERT_TRUE(f.model->waitForIdle());
    ASSERT_TRUE(QTest::qWaitFor([&] { return !progress->isVisible(); }, 3000));
    EXPECT_EQ(w.askBar()->width(), idle);
}

TEST(Capture, WritesEveryViewInBothThemes)
{
    // The capture run as `FENNIC_SNAPSHOT_DIR=DIR fennic` does it, over the demonstration.
    TempTree scratch;
    TempTree out;
    const QByteArray dataHome = qgetenv("XDG_DATA_HOME");
    const QByteArray cacheHome = qgetenv("XDG_CACHE_HOME");
    Snapshot::prepareEnvironment(scratch.root());
    Prefs::resetForTesting();
    QString printed;
    QTextStream stream(&printed);
    const int status = Snapshot::run(out.root(), scratch.root(), stream);
    qputenv("XDG_DATA_HOME", dataHome);
    qputenv("XDG_CACHE_HOME", cacheHome);
    qunsetenv("FENNIC_LIBRARY_ROOT");
    Prefs::resetForTesting();
    ASSERT_EQ(status, 0) << printed.toStdString();

    QStringList expected;
    for (const QString& view : Snapshot::views())
        for (const QString theme : {"playful", "minimal"})
            expected << QString("%1/%2-%3.png").arg(out.root(), view, theme);
    for (const QString& view : Snapshot::darkViews())
        for (const QString theme : {"playful", "minimal"})
            expected << QString("%1/%2-%3-dark.png").arg(out.root(), view, theme);
    for (const QString& file : expected) {
        EXPECT_TRUE(printed.contains(file + "\n")) << file.toStdString();
        const QImage image(file);
        EXPECT_EQ(image.size(), QSize(1280, 800)) << file.toStdString();
    }
    EXPECT_EQ(printed.count('\n'), expected.size());
    // The demonstration put nothing in the test's own data folder (its Trash stayed in the scratch).
    EXPECT_FALSE(QFileInfo::exists(QString::fromLocal8Bit(dataHome) + "/Trash/files/Notes.txt"));
}
