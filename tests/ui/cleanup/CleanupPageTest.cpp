// The clean-up pages over a real library in a temporary home: the cards count what the rules
// propose, and a review sends the ticked files to the test's own Trash and Undo brings them
// back.
#include "cleanup/CleanupPage.h"
#include "app/AppTestSupport.h"
#include "cleanup/CleanupCard.h"
#include "cleanup/CleanupReviewModel.h"
#include "library/LibraryCache.h"
#include "library/Scanner.h"
#include "theme/DesktopLook.h"
#include "thumbnails/ThumbnailLoader.h"

#include <QApplication>
#include <QDateTime>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTreeView>
#include <gtest/gtest.h>

using namespace fennic;
using fennic::test::AppFixture;

namespace {

constexpr double kDay = 86400.0;

class CleanupPageTest : public ::testing::Test {
protected:
    void SetUp() override { DesktopLook::ensureIconTheme(); }

    // A file on disk, listed with the dates given (days before the fixture's now).
    FileItem file(const QString& relative, qint64 size, double addedDaysAgo)
    {
        const QString path = f.tree.writeSized(relative, size, int(size % 97));
        FileItem item = Scanner::makeItem(path).value_or(FileItem{});
        EXPECT_FALSE(item.path.isEmpty()) << relative.toStdString();
        item.created = item.modified = item.added = f.now - addedDaysAgo * kDay;
        return item;
    }

    CleanupPage& open(const QList<FileItem>& items)
    {
        LibraryCache::save(LibraryCache::defaultPath(), items);
        AppModel& m = f.make();
        EXPECT_TRUE(m.waitForIdle());
        page = std::make_unique<CleanupPage>(m, thumbnails);
        page->resize(900, 700);
        page->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(page.get()));
        return *page;
    }

    static QString trashed(const QString& name)
    {
        return qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/Trash/files/") + name;
    }

    AppFixture f;
    ThumbnailLoader thumbnails;
    std::unique_ptr<CleanupPage> page;
};

TEST_F(CleanupPageTest, CardsCountWhatEachRuleProposes)
{
    CleanupPage& p = open({
        file("Downloads/old notes.txt", 1000, 120),
        file("Downloads/old table.csv", 2000, 100),
        file("Downloads/recent.txt", 500, 3),
        file("Downloads/setup.deb", 4000, 10),
        file("Downloads/tool.rpm", 3000, 40),
        file("Downloads/new.deb", 100, 2),
        file("Documents/report.txt", 700, 400),
    });
    EXPECT_EQ(p.state(), CleanupPage::State::overview);
    ASSERT_TRUE(p.card(CleanupKind::downloads));
    ASSERT_TRUE(p.card(CleanupKind::installers));
    EXPECT_EQ(p.card(CleanupKind::downloads)->summary(), "2 files · 3 kB");
    EXPECT_EQ(p.card(CleanupKind::installers)->summary(), "2 files · 7 kB");
    EXPECT_FALSE(p.card(CleanupKind::screenshots)) << "a rule with nothing to propose has no card";
    EXPECT_FALSE(p.card(CleanupKind::large));
    EXPECT_TRUE(p.card(CleanupKind::installers)->reviewButton()->isVisible());
    EXPECT_EQ(p.card(CleanupKind::installers)->reviewButton()->accessibleName(), "Review Old installers");

    // Opening a card asks the sidebar for its entry; Back asks for the overview.
    QSignalSpy asked(&p, &CleanupPage::sidebarItemRequested);
    QTest::mouseClick(p.card(CleanupKind::installers)->reviewButton(), Qt::LeftButton);
    EXPECT_EQ(p.state(), CleanupPage::State::review);
    ASSERT_EQ(asked.count(), 1);
    EXPECT_EQ(asked.at(0).at(0).value<SidebarItem>(), SidebarItem::cleanupCard(CleanupKind::installers));
    ASSERT_EQ(p.reviewModel().rowCount(), 2);
    EXPECT_EQ(p.reviewModel().files().first().name, "setup.deb") << "largest first";
    p.back();
    EXPECT_EQ(p.state(), CleanupPage::State::overview);
    EXPECT_EQ(asked.at(1).at(0).value<SidebarItem>(), SidebarItem::page(SidebarItem::Kind::cleanup));

    // The window's sidebar can open a review directly.
    p.setSidebarItem(SidebarItem::cleanupCard(CleanupKind::downloads));
    EXPECT_EQ(p.reviewedKind(), CleanupKind::downloads);
    EXPECT_EQ(p.reviewModel().rowCount(), 2);
    EXPECT_EQ(asked.count(), 2) << "following the sidebar asks nothing back";
}

TEST_F(CleanupPageTest, NothingToCleanUpIsCalm)
{
    CleanupPage& p = open({file("Documents/report.txt", 700, 400), file("Downloads/recent.txt", 500, 3)});
    EXPECT_EQ(p.state(), CleanupPage::State::empty);
    bool said = false;
    for (const QLabel* label : p.findChildren<QLabel*>())
        if (label->isVisible() && label->text() == "Nothing to clean up") said = true;
    EXPECT_TRUE(said);
}

TEST_F(CleanupPageTest, ReviewTrashesTheTickedFilesAndUndoPutsThemBack)
{
    const FileItem big = file("Downloads/big.txt", 3000, 200);
    const FileItem middle = file("Downloads/middle.txt", 2000, 200);
    const FileItem small = file("Downloads/small.txt", 1000, 200);
    CleanupPage& p = open({big, middle, small});
    p.review(CleanupKind::downloads);
    CleanupReviewModel& model = p.reviewModel();
    ASSERT_EQ(model.rowCount(), 3);
    EXPECT_EQ(model.checkedCount(), 3) << "every file starts ticked";

    // Untick the middle file from the keyboard.
    QTreeView* list = p.reviewView();
    list->setFocus();
    list->setCurrentIndex(model.index(1, 0));
    QTest::keyClick(list, Qt::Key_Space);
    EXPECT_FALSE(model.isChecked(middle.path));
    EXPECT_EQ(model.checkedSize(), 4000);

    // Select None / Select All tick everything and nothing; the button follows.
    p.selectNone();
    EXPECT_FALSE(p.trashButton()->isEnabled());
    p.selectAll();
    EXPECT_EQ(model.checkedCount(), 3);
    model.setChecked(middle.path, false);

    QTest::mouseClick(p.trashButton(), Qt::LeftButton);
    EXPECT_FALSE(QFileInfo::exists(big.path));
    EXPECT_FALSE(QFileInfo::exists(small.path));
    EXPECT_TRUE(QFileInfo::exists(middle.path)) << "an unticked file stays";
    EXPECT_TRUE(QFileInfo::exists(trashed("big.txt")));
    EXPECT_TRUE(QFileInfo::exists(trashed("small.txt")));
    ASSERT_EQ(model.rowCount(), 1) << "trashed files leave the review at once";
    EXPECT_EQ(model.files().first().path, middle.path);
    EXPECT_FALSE(model.isChecked(middle.path)) << "what was unticked stays unticked";
    ASSERT_TRUE(f.model->toast().current());
    EXPECT_EQ(f.model->toast().current()->text, "Moved 2 items to the Trash");
    ASSERT_TRUE(f.model->waitForIdle());
    EXPECT_EQ(p.reviewModel().rowCount(), 1);

    f.model->toast().perform();  // Undo
    EXPECT_TRUE(QFileInfo::exists(big.path));
    EXPECT_TRUE(QFileInfo::exists(small.path));
    ASSERT_TRUE(f.model->waitForIdle());
    ASSERT_TRUE(QTest::qWaitFor([&] { return model.rowCount() == 3; }, 5000));
    EXPECT_TRUE(model.isChecked(big.path)) << "files that come back come back ticked";
    EXPECT_FALSE(model.isChecked(middle.path));
}

}  // namespace

namespace {

TEST_F(CleanupPageTest, ReadingTheLibraryThenFollowingIt)
{
    f.tree.writeSized("Downloads/a.deb", 4000, 1);
    f.tree.writeSized("Downloads/b.deb", 2000, 2);
    f.now = Date::fromQDateTime(QDateTime::currentDateTimeUtc());  // the files arrive now
    AppModel& m = f.make();
    page = std::make_unique<CleanupPage>(m, thumbnails);
    page->show();
    QApplication::setActiveWindow(page.get());
    ASSERT_TRUE(QTest::qWaitForWindowActive(page.get()));
    m.library().scan();
    EXPECT_EQ(page->state(), CleanupPage::State::loading) << "the first scan is under way";
    ASSERT_TRUE(m.waitForIdle());
    EXPECT_EQ(page->state(), CleanupPage::State::empty) << "installers that arrived today are not old";

    // A week and a day later the same installers are old.
    f.now = f.now + 8 * kDay;
    m.library().refreshDerived();
    ASSERT_TRUE(m.waitForIdle());
    ASSERT_TRUE(QTest::qWaitFor([&] { return page->state() == CleanupPage::State::overview; }, 5000));
    ASSERT_TRUE(page->card(CleanupKind::installers));
    EXPECT_EQ(page->card(CleanupKind::installers)->summary(), "2 files · 6 kB");

    // A file trashed elsewhere (the browser) leaves the open review at once and the card later.
    page->review(CleanupKind::installers);
    ASSERT_EQ(page->reviewModel().rowCount(), 2);
    m.organiser().moveToTrash({page->reviewModel().files().first()});
    EXPECT_EQ(page->reviewModel().rowCount(), 1);
    ASSERT_TRUE(m.waitForIdle());
    QTest::keyClick(page->reviewView(), Qt::Key_Left, Qt::AltModifier);
    EXPECT_EQ(page->state(), CleanupPage::State::overview) << "Alt+Left goes back";
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return page->card(CleanupKind::installers)->summary() == "1 file · 2 kB"; }, 5000))
        << "the card follows once the suggestions are derived again";

    page->setSidebarItem(SidebarItem::page(SidebarItem::Kind::duplicates));
    EXPECT_EQ(page->state(), CleanupPage::State::overview) << "other sidebar entries are not this page's";
}

// The review's ticks, through the model the list shows.
TEST(CleanupReviewModel, TicksBelongToFilesAndSurviveNewLists)
{
    ThumbnailLoader thumbnails;
    CleanupReviewModel model(thumbnails);
    const auto item = [](const char* name, qint64 size) {
        FileItem f;
        f.path = QStringLiteral("/nowhere/") + QString::fromLatin1(name);
        f.name = QString::fromLatin1(name);
        f.size = size;
        return f;
    };
    const FileItem a = item("a", 10), b = item("b", 20), c = item("c", 30), d = item("d", 40);
    model.setFiles({a, b, c});
    EXPECT_EQ(model.checkedSize(), 60);
    EXPECT_TRUE(model.setData(model.index(1, 0), Qt::Unchecked, Qt::CheckStateRole));
    EXPECT_EQ(model.checkedSize(), 40);
    EXPECT_EQ(model.index(1, 0).data(Qt::CheckStateRole).toInt(), Qt::Unchecked);
    EXPECT_TRUE(model.flags(model.index(0, 0)).testFlag(Qt::ItemIsUserCheckable));

    // Losing a file removes just its row; what was unticked stays unticked.
    QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
    QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);
    model.setFiles({b, c});
    EXPECT_EQ(resets.count(), 0);
    EXPECT_EQ(removed.count(), 1);
    EXPECT_FALSE(model.isChecked(b.path));
    EXPECT_EQ(model.checkedFiles(), QList<FileItem>{c});

    // New files come in ticked; a file that left and came back is ticked again.
    model.setFiles({a, b, c, d});
    EXPECT_EQ(model.checkedCount(), 3);
    model.setFiles({a, c, d});
    model.setFiles({a, b, c, d});
    EXPECT_TRUE(model.isChecked(b.path));

    model.setAllChecked(false);
    EXPECT_EQ(model.checkedSize(), 0);
    EXPECT_TRUE(model.checkedFiles().isEmpty());
    model.setAllChecked(true);
    EXPECT_EQ(model.checkedSize(), 100);
}

}  // namespace
