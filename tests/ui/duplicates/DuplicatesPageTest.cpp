// The duplicates page over real copies in a temporary home: the search, the groups it shows,
// choosing another copy to keep, and the clean-up button that sends the rest to the test's own
// Trash.
#include "duplicates/DuplicatesPage.h"
#include "app/AppTestSupport.h"
#include "duplicates/DuplicatesDelegate.h"
#include "duplicates/DuplicatesModel.h"
#include "model/Fmt.h"
#include "theme/DesktopLook.h"
#include "thumbnails/ThumbnailLoader.h"

#include <QListView>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>
#include <gtest/gtest.h>

using namespace fennic;
using fennic::test::AppFixture;

namespace {

class DuplicatesPageTest : public ::testing::Test {
protected:
    void SetUp() override { DesktopLook::ensureIconTheme(); }

    DuplicatesPage& open()
    {
        AppModel& m = f.make();
        m.library().scan();
        EXPECT_TRUE(m.waitForIdle());
        page = std::make_unique<DuplicatesPage>(m, thumbnails);
        page->resize(1000, 700);
        page->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(page.get()));
        return *page;
    }

    void find()
    {
        QTest::mouseClick(page->findButton(), Qt::LeftButton);
        EXPECT_EQ(page->state(), DuplicatesPage::State::searching);
        EXPECT_TRUE(page->progressBar()->isVisible());
        ASSERT_TRUE(f.model->waitForIdle());
    }

    AppFixture f;
    ThumbnailLoader thumbnails;
    std::unique_ptr<DuplicatesPage> page;
};

TEST_F(DuplicatesPageTest, KeepThisCopyInsteadDecidesWhatTheCleanUpTrashes)
{
    const QString original = f.tree.writeSized("Documents/a.bin", 5000, 7);
    const QString copy = f.tree.writeSized("Downloads/a copy.bin", 5000, 7);
    const QString b1 = f.tree.writeSized("Music/b.bin", 6000, 9);
    const QString b2 = f.tree.writeSized("Music/b again.bin", 6000, 9);
    f.tree.writeSized("Documents/unique.bin", 5000, 3);
    DuplicatesPage& p = open();
    EXPECT_EQ(p.state(), DuplicatesPage::State::start);
    find();
    ASSERT_EQ(p.state(), DuplicatesPage::State::results);
    DuplicatesModel& model = p.model();
    EXPECT_EQ(model.groupCount(), 2);
    EXPECT_EQ(model.rowCount(), 1 + 2 * 3) << "a heading, then each group's summary and its two copies";
    EXPECT_EQ(model.rowKind(0), DuplicatesModel::RowKind::section);
    EXPECT_EQ(model.index(0).data().toString(), "Identical copies");
    EXPECT_EQ(p.reclaimable(), 11000);
    ASSERT_GE(model.rowOf(copy), 0);
    EXPECT_TRUE(model.index(model.rowOf(original)).data(DuplicatesModel::KeptRole).toBool());
    EXPECT_FALSE(model.index(model.rowOf(copy)).data(DuplicatesModel::KeptRole).toBool());

    // Keep the copy in Downloads instead, with its button.
    QListView* view = p.view();
    const QRect row = view->visualRect(model.index(model.rowOf(copy)));
    const QRect button = DuplicatesDelegate::keepRect(row, QFontMetrics(view->font()));
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, button.center());
    EXPECT_TRUE(model.index(model.rowOf(copy)).data(DuplicatesModel::KeptRole).toBool());
    EXPECT_FALSE(model.index(model.rowOf(original)).data(DuplicatesModel::KeptRole).toBool());

    // And the other group's second copy from the keyboard.
    const DuplicateGroup* group = model.groupAt(model.rowOf(b1));
    ASSERT_TRUE(group);
    const QString otherB = group->keep == b1 ? b2 : b1;
    view->setFocus();
    view->setCurrentIndex(model.index(model.rowOf(otherB)));
    QTest::keyClick(view, Qt::Key_Return);
    EXPECT_TRUE(model.index(model.rowOf(otherB)).data(DuplicatesModel::KeptRole).toBool());
    const QString trashedB = otherB == b1 ? b2 : b1;

    QTest::mouseClick(p.cleanButton(), Qt::LeftButton);
    EXPECT_TRUE(QFileInfo::exists(copy)) << "the copy marked Keep stays";
    EXPECT_FALSE(QFileInfo::exists(original));
    EXPECT_TRUE(QFileInfo::exists(otherB));
    EXPECT_FALSE(QFileInfo::exists(trashedB));
    EXPECT_TRUE(QFileInfo::exists(qEnvironmentVariable("XDG_DATA_HOME") + "/Trash/files/a.bin"));
    EXPECT_EQ(model.groupCount(), 0) << "groups leave as their files go";
    EXPECT_EQ(p.state(), DuplicatesPage::State::empty);
    ASSERT_TRUE(f.model->toast().current());
    EXPECT_EQ(f.model->toast().current()->text, "Moved 2 items to the Trash");

    f.model->toast().perform();  // Undo
    EXPECT_TRUE(QFileInfo::exists(original));
    EXPECT_TRUE(QFileInfo::exists(trashedB));
    ASSERT_TRUE(f.model->waitForIdle());
}

TEST_F(DuplicatesPageTest, GroupsVanishAsTheirFilesAreTrashedElsewhere)
{
    f.tree.writeSized("Documents/a.bin", 5000, 7);
    const QString copy = f.tree.writeSized("Downloads/a copy.bin", 5000, 7);
    f.tree.writeSized("Music/b.bin", 6000, 9);
    f.tree.writeSized("Music/b again.bin", 6000, 9);
    DuplicatesPage& p = open();
    find();
    ASSERT_EQ(p.model().groupCount(), 2);

    // The same file trashed from the browser takes its group off the page.
    const auto item = p.model().memberAt(p.model().rowOf(copy));
    ASSERT_TRUE(item);
    f.model->organiser().moveToTrash({*item});
    EXPECT_EQ(p.model().groupCount(), 1);
    EXPECT_EQ(p.model().rowOf(copy), -1);
    EXPECT_EQ(p.reclaimable(), 6000);
    EXPECT_EQ(p.model().index(0).data(DuplicatesModel::DetailRole).toString(),
              "1 group · " + Fmt::size(6000) + " can be freed")
        << "the heading's total follows the groups that are left";
    EXPECT_EQ(p.state(), DuplicatesPage::State::results);
    ASSERT_TRUE(f.model->waitForIdle());
}

TEST_F(DuplicatesPageTest, NoDuplicatesFound)
{
    f.tree.writeSized("Documents/a.bin", 5000, 1);
    f.tree.writeSized("Documents/b.bin", 5000, 2);
    DuplicatesPage& p = open();
    find();
    EXPECT_EQ(p.state(), DuplicatesPage::State::empty);
    EXPECT_FALSE(p.cleanButton()->isVisible());
}

TEST_F(DuplicatesPageTest, KeepingAnotherCopyUpdatesRowsInPlace)
{
    f.tree.writeSized("Documents/a.bin", 5000, 7);
    const QString copy = f.tree.writeSized("Downloads/a copy.bin", 5000, 7);
    DuplicatesPage& p = open();
    find();
    DuplicatesModel& model = p.model();
    const int row = model.rowOf(copy);
    ASSERT_GE(row, 0);
    EXPECT_TRUE(model.index(row).data(Qt::AccessibleTextRole).toString().contains("keep this copy instead"));
    p.view()->setCurrentIndex(model.index(row));

    QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
    p.keepInstead(copy);
    EXPECT_EQ(resets.count(), 0) << "the list keeps its place and its current row";
    EXPECT_EQ(p.view()->currentIndex().row(), row);
    EXPECT_TRUE(model.index(row).data(DuplicatesModel::KeptRole).toBool());
    EXPECT_TRUE(model.index(row).data(Qt::AccessibleTextRole).toString().endsWith(", Keep"));
    EXPECT_EQ(model.groupAt(row)->toTrash().first().path, f.tree.path("Documents/a.bin"));
    ASSERT_TRUE(f.model->waitForIdle());
}

}  // namespace
