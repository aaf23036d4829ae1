// The settings window over a real library: every control reaches the settings at once and
// the settings file keeps it for the next start, the shortcut recorder refuses what can't be
// used, and the library's folders change from the Library section.
#include "settings/SettingsWindow.h"
#include "AppTestSupport.h"
#include "images/OCRLanguages.h"
#include "library/Library.h"
#include "settings/AppearanceSettings.h"
#include "settings/ImageSettings.h"
#include "settings/LibrarySettings.h"
#include "settings/QuickSearchSettings.h"
#include "settings/RulesSettings.h"
#include "settings/ShortcutRecorder.h"
#include "theme/DesktopLook.h"

#include <QCheckBox>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QSlider>
#include <QTest>
#include <gtest/gtest.h>

using namespace fennic;
using fennic::test::AppFixture;

namespace {

class SettingsWindowTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        DesktopLook::ensureIconTheme();
        f.tree.write("Documents/notes.txt", "notes");
        open();
    }
    void TearDown() override { window.reset(); }

    void open()
    {
        window.reset();
        app = &f.make();
        window = std::make_unique<SettingsWindow>(*app);
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    }
    // Closes everything and starts again over the same settings file.
    void restart()
    {
        window.reset();
        app->settings().sync();
        open();
    }

    AppFixture f;
    AppModel* app = nullptr;
    std::unique_ptr<SettingsWindow> window;
};

// Clicks a button where its label begins: a check box or radio button takes clicks on its
// indicator and text only, not across the whole width a layout gives it.
void click(QAbstractButton* button) { QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(8, button->height() / 2)); }

QListWidgetItem* rowFor(QListWidget* list, const QString& path)
{
    for (int row = 0; row < list->count(); ++row)
        if (list->item(row)->data(Qt::UserRole).toString() == path) return list->item(row);
    return nullptr;
}

}  // namespace

TEST_F(SettingsWindowTest, EveryControlAppliesAtOnceAndSurvivesARestart)
{
    window->showTab(SettingsWindow::Tab::rules);
    EXPECT_EQ(window->currentTab(), SettingsWindow::Tab::rules);
    RulesSettings* rules = window->rulesSection();
    click(rules->installerRule());
    click(rules->screenshotRule());
    EXPECT_TRUE(app->settings().autoCleanInstallers());
    EXPECT_TRUE(app->settings().autoFileScreenshots());

    window->showTab(SettingsWindow::Tab::appearance);
    click(window->appearanceSection()->minimalButton());
    EXPECT_EQ(app->settings().theme(), Theme::minimal);
    window->appearanceSection()->cardSizeSlider()->setValue(260);
    EXPECT_EQ(app->settings().cardSize(), 260);

    window->showTab(SettingsWindow::Tab::quickSearch);
    click(window->quickSearchSection()->enabledBox());
    EXPECT_FALSE(app->settings().quickSearchEnabled());
    EXPECT_FALSE(window->quickSearchSection()->recorder()->isEnabled()) << "no shortcut to record while off";

    window->showTab(SettingsWindow::Tab::images);
    click(window->imageSection()->textInImages());
    EXPECT_FALSE(app->settings().indexTextInImages());

    restart();
    EXPECT_TRUE(app->settings().autoCleanInstallers());
    EXPECT_TRUE(app->settings().autoFileScreenshots());
    EXPECT_EQ(app->settings().theme(), Theme::minimal);
    EXPECT_EQ(app->settings().cardSize(), 260);
    EXPECT_FALSE(app->settings().quickSearchEnabled());
    EXPECT_FALSE(app->settings().indexTextInImages());
    // The new window shows what was stored.
    EXPECT_TRUE(window->rulesSection()->installerRule()->isChecked());
    EXPECT_TRUE(window->appearanceSection()->minimalButton()->isChecked());
    EXPECT_EQ(window->appearanceSection()->cardSizeSlider()->value(), 260);
    EXPECT_FALSE(window->quickSearchSection()->enabledBox()->isChecked());
    EXPECT_FALSE(window->imageSection()->textInImages()->isChecked());
}

TEST_F(SettingsWindowTest, ControlsFollowChangesMadeElsewhere)
{
    app->settings().setAutoFileScreenshots(true);
    app->settings().zoom(40);
    app->settings().toggleTheme();
    app->settings().setIndexTextInImages(false);
    EXPECT_TRUE(window->rulesSection()->screenshotRule()->isChecked());
    EXPECT_FALSE(window->rulesSection()->installerRule()->isChecked());
    EXPECT_EQ(window->appearanceSection()->cardSizeSlider()->value(), 190);
    EXPECT_TRUE(window->appearanceSection()->minimalButton()->isChecked());
    EXPECT_FALSE(window->imageSection()->textInImages()->isChecked());
}

TEST_F(SettingsWindowTest, TheShortcutRecorderRefusesWhatCantBeUsedAndStoresTheRest)
{
    window->showTab(SettingsWindow::Tab::quickSearch);
    QuickSearchSettings* section = window->quickSearchSection();
    ShortcutRecorder* recorder = section->recorder();
    const Shortcut before = app->settings().quickShortcut();
    EXPECT_EQ(recorder->text(), before.display());

    // Shift alone doesn't make a shortcut: refused, the reason shown under the field.
    click(recorder);
    ASSERT_TRUE(recorder->isRecording());
    QTest::keyClick(recorder, Qt::Key_Space, Qt::ShiftModifier);
    EXPECT_FALSE(recorder->isRecording());
    const QString shiftProblem = *Shortcut{Shortcut::spaceKey, Shortcut::shift}.problem();
    EXPECT_EQ(section->problemLabel()->text(), shiftProblem);
    EXPECT_TRUE(section->problemLabel()->isVisible());
    EXPECT_EQ(app->settings().quickShortcut(), before);

    // One the desktop keeps for itself: refused with its owner.
    click(recorder);
    QTest::keyClick(recorder, Qt::Key_T, Qt::ControlModifier | Qt::AltModifier);
    EXPECT_EQ(section->problemLabel()->text(), "Ctrl+Alt+T is already used by the terminal.");
    EXPECT_EQ(app->settings().quickShortcut(), before);

    // Esc stops recording and changes nothing; Backspace also clears the refusal.
    click(recorder);
    QTest::keyClick(recorder, Qt::Key_Escape);
    EXPECT_FALSE(recorder->isRecording());
    EXPECT_EQ(recorder->text(), before.display());
    click(recorder);
    QTest::keyClick(recorder, Qt::Key_Backspace);
    EXPECT_FALSE(recorder->isRecording());
    EXPECT_FALSE(section->problemLabel()->isVisible());
    EXPECT_EQ(app->settings().quickShortcut(), before);

    // A good one is stored and shown the desktop's way; the keyboard starts recording too.
    recorder->setFocus();
    QTest::keyClick(recorder, Qt::Key_Space);
    ASSERT_TRUE(recorder->isRecording());
    QTest::keyPress(recorder, Qt::Key_Control, Qt::ControlModifier);
    EXPECT_EQ(recorder->text(), "Ctrl+…");
    QTest::keyClick(recorder, Qt::Key_K, Qt::ControlModifier | Qt::AltModifier);
    EXPECT_FALSE(recorder->isRecording());
    EXPECT_EQ(app->settings().quickShortcut().display(), "Ctrl+Alt+K");
    EXPECT_EQ(recorder->text(), "Ctrl+Alt+K");
    EXPECT_TRUE(section->problemLabel()->text().isEmpty());

    restart();
    EXPECT_EQ(app->settings().quickShortcut().display(), "Ctrl+Alt+K");
}

TEST_F(SettingsWindowTest, TheLibrarySectionAddsRemovesAndPinsFolders)
{
    LibrarySettings* section = window->librarySection();
    QListWidget* list = section->folderList();
    const QStringList defaults = Library::defaultRoots();
    EXPECT_EQ(list->count(), defaults.size());
    QListWidgetItem* documents = rowFor(list, defaults.at(1));
    ASSERT_NE(documents, nullptr);
    EXPECT_TRUE(documents->text().contains("default"));

    // A default folder can be pinned but not removed.
    list->setCurrentItem(documents);
    QPushButton* removeButton = nullptr;
    QPushButton* pinButton = nullptr;
    for (QPushButton* b : section->findChildren<QPushButton*>()) {
        if (b->text() == "Remove") removeButton = b;
        if (b->text() == "Pin") pinButton = b;
    }
    ASSERT_NE(removeButton, nullptr);
    ASSERT_NE(pinButton, nullptr);
    EXPECT_FALSE(removeButton->isEnabled());
    click(pinButton);
    EXPECT_TRUE(app->library().pinnedFolders().contains(defaults.at(1)));
    EXPECT_EQ(pinButton->text(), "Unpin");
    EXPECT_TRUE(rowFor(list, defaults.at(1))->text().contains("pinned"));

    const QString projects = f.tree.mkdir("Projects");
    f.tree.write("Projects/plan.txt", "plan");
    section->addFolder(projects);
    EXPECT_TRUE(app->library().roots().contains(projects));
    ASSERT_TRUE(app->waitForIdle());
    QListWidgetItem* added = rowFor(list, projects);
    ASSERT_NE(added, nullptr);
    EXPECT_FALSE(added->text().contains("default"));
    list->setCurrentItem(added);
    ASSERT_TRUE(removeButton->isEnabled());
    click(removeButton);
    EXPECT_FALSE(app->library().roots().contains(projects));
    EXPECT_EQ(rowFor(list, projects), nullptr);
    ASSERT_TRUE(app->waitForIdle());
}

TEST_F(SettingsWindowTest, ScanNowScansAndShowsWhen)
{
    LibrarySettings* section = window->librarySection();
    QPushButton* scanNow = nullptr;
    for (QPushButton* b : section->findChildren<QPushButton*>())
        if (b->text() == "Scan Now") scanNow = b;
    ASSERT_NE(scanNow, nullptr);
    QSignalSpy started(&app->library(), &LibraryModel::scanStarted);
    click(scanNow);
    EXPECT_EQ(started.size(), 1);
    ASSERT_TRUE(app->waitForIdle());
    const auto labels = section->findChildren<QLabel*>();
    EXPECT_TRUE(std::any_of(labels.begin(), labels.end(),
                            [](const QLabel* l) { return l->text() == "Last scanned just now"; }));
}

TEST_F(SettingsWindowTest, ImageReadingLanguagesFoldersAndTheIndex)
{
    ImageSettings* section = window->imageSection();
    ImageIndexer& images = app->images();
    if (section->findChildren<QCheckBox*>().size() <= 2) {
        QSignalSpy listed(section, &ImageSettings::languagesListed);
        ASSERT_TRUE(listed.wait(5000));
    }
    // Automatic until a language is chosen; choosing one makes the choice explicit.
    EXPECT_TRUE(section->automaticLanguages()->isChecked());
    const QString first = images.recognitionLanguages().value(0);
    QCheckBox* box = section->languageBox(first);
    ASSERT_NE(box, nullptr) << first.toStdString();
    EXPECT_TRUE(box->isChecked());
    const QStringList installed = OCRLanguages::supported();
    const QString other = installed.size() > 1 ? installed.value(installed.indexOf(first) == 0 ? 1 : 0) : QString();
    if (!other.isEmpty()) {
        click(section->languageBox(other));
        ASSERT_TRUE(images.ocrLanguageChoice().has_value());
        EXPECT_TRUE(images.ocrLanguageChoice()->contains(other));
        EXPECT_FALSE(section->automaticLanguages()->isChecked());
        click(section->automaticLanguages());
        EXPECT_FALSE(images.ocrLanguageChoice().has_value());
        EXPECT_FALSE(section->languageBox(other)->isChecked() && !images.recognitionLanguages().contains(other));
    }

    // Pausing and resuming from the section.
    click(section->pauseButton());
    EXPECT_TRUE(images.imageIndexPaused());
    EXPECT_EQ(section->pauseButton()->text(), "Resume");
    click(section->pauseButton());
    EXPECT_FALSE(images.imageIndexPaused());

    // Chosen folders.
    QRadioButton* chosen = nullptr;
    for (QRadioButton* b : section->findChildren<QRadioButton*>())
        if (b->text().startsWith("Only")) chosen = b;
    ASSERT_NE(chosen, nullptr);
    click(chosen);
    EXPECT_EQ(app->settings().imageFolderMode(), ImageFolderMode::chosen);
    section->addImageFolder(Library::defaultRoots().at(3));
    EXPECT_EQ(images.imageFolders(), QStringList{Library::defaultRoots().at(3)});

    // The index's size is read off the GUI thread once it is written.
    ASSERT_TRUE(app->waitForIdle());
    QSignalSpy sized(section, &ImageSettings::indexSizeRead);
    images.saveImageIndex();
    ASSERT_TRUE(sized.wait(5000));
    ASSERT_TRUE(app->waitForIdle());
    QTRY_VERIFY_WITH_TIMEOUT(section->indexSizeLabel()->text().startsWith("Index size: "), 5000);
}
