// The first run's welcome: nothing is scanned until Start, folders added on the way are in
// the list (and in the first scan), the text-in-pictures switch reaches the settings, and the
// steps move with Return and with Back and Next.
#include "welcome/WelcomePage.h"
#include "app/AppModel.h"
#include "app/AppSettings.h"
#include "app/ImageIndexer.h"
#include "app/LibraryHome.h"
#include "app/LibraryModel.h"
#include "library/Library.h"
#include "theme/DesktopLook.h"
#include "thumbnails/ThumbnailLoader.h"

#include <QCheckBox>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

using namespace fennic;

namespace {

// A first run: an empty cache and no welcome finished yet.
class WelcomeFixture : public test::LibraryHome {
public:
    WelcomeFixture()
    {
        DesktopLook::ensureIconTheme();
        tree.write("Documents/letter.txt", QByteArray(120, 'l'));
        tree.write("Projects/plan.txt", QByteArray(80, 'p'));
        model = std::make_unique<AppModel>(env);
        scans = std::make_unique<QSignalSpy>(&model->library(), &LibraryModel::scanStarted);
        model->library().finishLaunching();
        page = std::make_unique<WelcomePage>(*model, thumbnails);
        page->resize(800, 600);
        page->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(page.get()));
    }
    ~WelcomeFixture()
    {
        page.reset();
        scans.reset();
        if (model) model->waitForIdle();
    }

    QStringList listedFolders() const
    {
        QStringList shown;
        for (int i = 0; i < page->folderList()->count(); ++i) shown << page->folderList()->item(i)->text();
        return shown;
    }

    ThumbnailLoader thumbnails{ThumbnailCache(tree.path(".thumbnails"))};
    std::unique_ptr<AppModel> model;
    std::unique_ptr<QSignalSpy> scans;
    std::unique_ptr<WelcomePage> page;
};

}  // namespace

TEST(WelcomePage, ReturnMovesThroughTheStepsAndOnlyStartScans)
{
    WelcomeFixture f;
    ASSERT_TRUE(f.model->library().showWelcome());
    WelcomePage& page = *f.page;
    EXPECT_EQ(page.step(), WelcomePage::Step::intro);
    EXPECT_FALSE(page.backButton()->isEnabled());

    page.nextButton()->setFocus();
    QTest::keyClick(page.nextButton(), Qt::Key_Return);
    EXPECT_EQ(page.step(), WelcomePage::Step::folders);
    QTest::mouseClick(page.backButton(), Qt::LeftButton);
    EXPECT_EQ(page.step(), WelcomePage::Step::intro);
    page.nextButton()->setFocus();
    for (int i = 0; i < 3; ++i) QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    ASSERT_EQ(page.step(), WelcomePage::Step::shortcut);
    EXPECT_EQ(page.nextButton()->text(), "Start");
    bool shortcutShown = false;
    for (const QLabel* label : page.findChildren<QLabel*>())
        shortcutShown |= label->text() == f.model->settings().quickShortcut().display();
    EXPECT_TRUE(shortcutShown) << "the Quick Search keys as the desktop writes them";
    EXPECT_EQ(f.scans->count(), 0) << "nothing scanned before Start";
    EXPECT_FALSE(f.model->settings().welcomeDone());

    QSignalSpy started(&page, &WelcomePage::started);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    EXPECT_EQ(started.count(), 1);
    EXPECT_EQ(f.scans->count(), 1) << "Start scans once";
    EXPECT_TRUE(f.model->settings().welcomeDone());
    EXPECT_FALSE(f.model->library().showWelcome());
    EXPECT_EQ(page.step(), WelcomePage::Step::scanning);
    EXPECT_TRUE(page.progressLabel()->text().startsWith("Scanning…"));
    ASSERT_TRUE(f.model->waitForIdle());
    EXPECT_FALSE(page.nextButton()->isVisible());
    QTest::keyClick(&page, Qt::Key_Return);
    EXPECT_EQ(f.scans->count(), 1) << "Return does nothing more once scanning";
}

TEST(WelcomePage, AddedFoldersAreListedRemovableAndReadByTheFirstScan)
{
    WelcomeFixture f;
    WelcomePage& page = *f.page;
    page.setStep(WelcomePage::Step::folders);
    EXPECT_EQ(page.folderList()->count(), Library::defaultRoots().size());
    page.folderList()->setCurrentRow(0);
    EXPECT_FALSE(page.removeFolderButton()->isEnabled()) << "the default folders always stay";

    const QString projects = f.tree.path("Projects");
    f.model->library().addFolder(projects);  // what the folder chooser's answer does
    EXPECT_TRUE(f.listedFolders().contains(Library::abbreviate(projects)));
    EXPECT_EQ(f.scans->count(), 0) << "adding a folder on the welcome screen doesn't scan";

    page.folderList()->setCurrentRow(page.folderList()->count() - 1);
    ASSERT_TRUE(page.removeFolderButton()->isEnabled());
    QTest::mouseClick(page.removeFolderButton(), Qt::LeftButton);
    EXPECT_FALSE(f.listedFolders().contains(Library::abbreviate(projects)));
    EXPECT_TRUE(f.model->library().extraRoots().isEmpty());

    f.model->library().addFolder(projects);
    page.start();
    ASSERT_TRUE(f.model->waitForIdle());
    EXPECT_EQ(f.scans->count(), 1);
    QStringList names;
    for (const FileItem& item : f.model->library().items()) names << item.name;
    EXPECT_TRUE(names.contains("plan.txt")) << "the added folder is part of the first scan";
    EXPECT_TRUE(names.contains("letter.txt"));
    EXPECT_EQ(page.progressLabel()->text(), "Found 2 files");
}

TEST(WelcomePage, TheTextInPicturesSwitchAndTheLanguagesReachTheSettings)
{
    WelcomeFixture f;
    WelcomePage& page = *f.page;
    page.setStep(WelcomePage::Step::images);
    QCheckBox* readText = page.textInImagesSwitch();
    ASSERT_TRUE(f.model->settings().indexTextInImages());
    EXPECT_TRUE(readText->isChecked());
    QTest::mouseClick(readText, Qt::LeftButton, {}, QPoint(8, readText->height() / 2));
    EXPECT_FALSE(f.model->settings().indexTextInImages());
    EXPECT_FALSE(page.languageList()->isEnabled());
    readText->setFocus();
    QTest::keyClick(readText, Qt::Key_Space);
    EXPECT_TRUE(f.model->settings().indexTextInImages());

    // The installed languages, the ones in use ticked; unticking one stores the choice.
    ASSERT_TRUE(QTest::qWaitFor([&] { return page.languagesLoaded(); }, 5000));
    QListWidget* languages = page.languageList();
    ASSERT_GT(languages->count(), 0);
    const QStringList inUse = f.model->images().recognitionLanguages();
    for (int i = 0; i < languages->count(); ++i) {
        const QString code = languages->item(i)->data(Qt::UserRole + 3).toString();
        EXPECT_EQ(languages->item(i)->checkState() == Qt::Checked, inUse.contains(code)) << code.toStdString();
    }
    QListWidgetItem* first = languages->item(0);
    const QString code = first->data(Qt::UserRole + 3).toString();
    const bool wasOn = first->checkState() == Qt::Checked;
    first->setCheckState(wasOn ? Qt::Unchecked : Qt::Checked);
    ASSERT_TRUE(f.model->settings().ocrLanguages().has_value()) << "the choice is no longer automatic";
    EXPECT_EQ(f.model->settings().ocrLanguages()->contains(code), !wasOn);
    EXPECT_EQ(f.scans->count(), 0);
}
