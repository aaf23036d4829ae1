// The settings on their own: defaults, what a damaged or foreign stored value becomes, and a
// round trip through the file. Each is built from nothing but a settings file.
#include "app/AppSettings.h"
#include "app/BackgroundTasks.h"
#include "app/LibraryModel.h"
#include "support/TempTree.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

using namespace fennic;
using fennic::test::TempTree;

namespace {

QString settingsFile(const TempTree& tree) { return tree.path("settings.ini"); }

}  // namespace

TEST(AppSettings, DefaultsWhenNothingIsStored)
{
    TempTree tree;
    AppSettings s(settingsFile(tree));
    EXPECT_EQ(s.viewMode(), ViewMode::grid);
    EXPECT_EQ(s.viewModeRaw(), "grid");
    EXPECT_EQ(s.sortKey(), SortKey::dateAdded);
    EXPECT_FALSE(s.sortAscending());
    EXPECT_EQ(s.cardSize(), 150);
    EXPECT_EQ(s.theme(), Theme::playful);
    EXPECT_FALSE(s.autoCleanInstallers());
    EXPECT_FALSE(s.autoFileScreenshots());
    EXPECT_TRUE(s.indexTextInImages());
    EXPECT_EQ(s.imageFolderMode(), ImageFolderMode::all);
    EXPECT_FALSE(s.ocrLanguages().has_value()) << "absent means automatic";
    EXPECT_EQ(s.quickShortcut(), Shortcut::standard());
    EXPECT_TRUE(s.quickSearchEnabled());
    EXPECT_FALSE(s.welcomeDone());
}

TEST(AppSettings, StoredValuesThatCantBeReadCountAsAbsent)
{
    TempTree tree;
    {
        QSettings raw(settingsFile(tree), QSettings::IniFormat);
        raw.setValue("viewMode", "carousel");
        raw.setValue("sortKey", "colour");
        raw.setValue("theme", "dark");
        raw.setValue("imageFolderMode", "some");
        raw.setValue("cardSize", 9000);
        raw.setValue("quickShortcut", "{\"keyCode\": \"space\"}");
        raw.setValue("savedSearches", "not json");
    }
    AppSettings s(settingsFile(tree));
    EXPECT_EQ(s.viewMode(), ViewMode::grid);
    EXPECT_EQ(s.sortKey(), SortKey::dateAdded);
    EXPECT_EQ(s.theme(), Theme::playful);
    EXPECT_EQ(s.imageFolderMode(), ImageFolderMode::all);
    EXPECT_EQ(s.cardSize(), AppSettings::kMaxCardSize);
    EXPECT_EQ(s.quickShortcut(), Shortcut::standard());
    EXPECT_TRUE(s.savedSearches().isEmpty());
}

TEST(AppSettings, ChangesAreAnnouncedOnceAndSurviveARestart)
{
    TempTree tree;
    const Shortcut custom{96, Shortcut::cmd | Shortcut::option};  // F5
    {
        AppSettings s(settingsFile(tree));
        QSignalSpy theme(&s, &AppSettings::themeChanged);
        QSignalSpy size(&s, &AppSettings::cardSizeChanged);
        s.toggleTheme();
        s.setTheme(Theme::minimal);  // no change: no announcement
        EXPECT_EQ(theme.count(), 1);

        s.zoom(-1000);
        EXPECT_EQ(s.cardSize(), AppSettings::kMinCardSize);
        s.zoom(-1);  // already at the bound
        s.zoom(1000);
        EXPECT_EQ(s.cardSize(), AppSettings::kMaxCardSize);
        s.zoom(-20);
        EXPECT_EQ(size.count(), 3);

        s.setSortKey(SortKey::size);
        s.setSortAscending(true);
        s.setViewMode(ViewMode::list);
        s.setImageFolderMode(ImageFolderMode::chosen);
        s.setOcrLanguages(QStringList{"eng", "jpn"});
        EXPECT_FALSE(s.setQuickShortcut(Shortcut{Shortcut::spaceKey, Shortcut::shift}))
            << "a shortcut with a problem is refused";
        EXPECT_TRUE(s.setQuickShortcut(custom));
        s.setWelcomeDone(true);
    }
    AppSettings again(settingsFile(tree));
    EXPECT_EQ(again.theme(), Theme::minimal);
    EXPECT_EQ(again.cardSize(), 300);
    EXPECT_EQ(again.sortKeyRaw(), "size");
    EXPECT_TRUE(again.sortAscending());
    EXPECT_EQ(again.viewModeRaw(), "list");
    EXPECT_EQ(again.imageFolderMode(), ImageFolderMode::chosen);
    EXPECT_EQ(again.ocrLanguages(), QStringList({"eng", "jpn"}));
    EXPECT_EQ(again.quickShortcut(), custom);
    EXPECT_TRUE(again.welcomeDone());

    again.setOcrLanguages(std::nullopt);
    AppSettings third(settingsFile(tree));
    EXPECT_FALSE(third.ocrLanguages().has_value()) << "back to automatic";
}

// The library's folder operations need only the settings and the task owner.
TEST(LibraryFolders, PinsToggleAndAFolderIsAddedOnceHoweverItIsNamed)
{
    TempTree tree;
    tree.mkdir("Projects");
    tree.symlink("Link", tree.path("Projects"));
    AppSettings settings(settingsFile(tree));
    BackgroundTasks tasks;
    LibraryModel library({}, settings, tasks);

    library.pin(tree.path("Projects"));
    library.pin(tree.path("Music"));
    library.pin(tree.path("Projects"));
    EXPECT_EQ(settings.pinnedFolders(), QStringList{tree.path("Music")});

    library.addFolder(tree.path("Projects"));
    ASSERT_TRUE(tasks.waitForIdle(60000, [&] { return library.isScanning(); }));
    library.addFolder(tree.path("Link"));
    library.addFolder(tree.path("Projects") + "/");
    EXPECT_EQ(settings.extraRoots().size(), 1);
    EXPECT_TRUE(library.roots().contains(settings.extraRoots().first()));

    library.removeFolder(tree.path("Link/"));
    ASSERT_TRUE(tasks.waitForIdle(60000, [&] { return library.isScanning(); }));
    EXPECT_TRUE(settings.extraRoots().isEmpty()) << "removed by the name the user sees";
}
