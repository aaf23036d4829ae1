#include "library/Library.h"
#include "library/Prefs.h"
#include "model/SupportFiles.h"
#include "support/TempTree.h"

#include <QDir>
#include <QFileInfo>
#include <gtest/gtest.h>

using namespace fennic;

namespace {

// Each test starts unconfigured and leaves no override behind for the next.
class LibraryTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        qunsetenv("FENNIC_LIBRARY_ROOT");
        Prefs::resetForTesting();
    }
    void TearDown() override
    {
        qunsetenv("FENNIC_LIBRARY_ROOT");
        Prefs::resetForTesting();
    }
};

}  // namespace

TEST_F(LibraryTest, FixtureRootMovesTheLibraryAndTheSupportFolder)
{
    test::TempTree tree;
    const QString root = tree.path("fixture/inner");
    qputenv("FENNIC_LIBRARY_ROOT", QFile::encodeName(root));
    Prefs::configure();

    EXPECT_TRUE(QFileInfo(root).isDir());
    EXPECT_TRUE(Library::isOverridden());
    EXPECT_EQ(Library::home(), root);
    EXPECT_EQ(Library::downloads(), root + "/Downloads");
    EXPECT_EQ(Library::appFolders(), QStringList{root + "/Applications"});
    const QStringList roots = Library::defaultRoots();
    ASSERT_EQ(roots.size(), 6);
    EXPECT_EQ(roots[4], root + "/Movies");
    EXPECT_EQ(Prefs::supportDir(), root + "/.fennic-support");
    EXPECT_TRUE(QFileInfo(root + "/.fennic-support").isDir());
    // The names other tools and earlier versions know the files by.
    const SupportFiles files = SupportFiles::current();
    EXPECT_EQ(files.libraryCache(), root + "/.fennic-support/index.json");
    EXPECT_EQ(files.imageIndex(), root + "/.fennic-support/images.plist");
    EXPECT_EQ(files.shelf(), root + "/.fennic-support/shelf.json");
    EXPECT_EQ(SupportFiles::forFixture(root).dir(), files.dir());
    // Nothing went to the user's data folder.
    EXPECT_FALSE(QFileInfo(qEnvironmentVariable("XDG_DATA_HOME") + "/Fennic").exists());
}

TEST_F(LibraryTest, FixtureRootThroughALinkIsResolved)
{
    test::TempTree tree;
    tree.mkdir("real");
    tree.symlink("link", tree.path("real"));
    qputenv("FENNIC_LIBRARY_ROOT", QFile::encodeName(tree.path("link")));
    Prefs::configure();
    EXPECT_EQ(Library::home(), tree.path("real"));

    // configure() runs once per process: a changed variable is not picked up.
    qputenv("FENNIC_LIBRARY_ROOT", QFile::encodeName(tree.path("other")));
    Prefs::configure();
    EXPECT_EQ(Library::home(), tree.path("real"));
}

TEST_F(LibraryTest, WithoutAFixtureTheUserFoldersAreUsed)
{
    Prefs::configure();
    EXPECT_FALSE(Library::isOverridden());
    EXPECT_EQ(Library::home(), QDir::homePath());
    EXPECT_EQ(Library::appFolders(), (QStringList{"/Applications", QDir::homePath() + "/Applications"}));
    for (const QString& r : Library::defaultRoots()) {
        EXPECT_TRUE(r.startsWith(QDir::homePath() + "/")) << r.toStdString();
        EXPECT_NE(r, QDir::homePath());
    }
    EXPECT_EQ(Prefs::supportDir(), qEnvironmentVariable("XDG_DATA_HOME") + "/Fennic");
}

TEST_F(LibraryTest, AbbreviateOnlyShortensTheHomeFolderItself)
{
    Library::setHomeOverride(QStringLiteral("/home/ann"));
    EXPECT_EQ(Library::abbreviate("/home/ann"), "~");
    EXPECT_EQ(Library::abbreviate("/home/ann/Documents/a.txt"), "~/Documents/a.txt");
    EXPECT_EQ(Library::abbreviate("/home/anna/Documents"), "/home/anna/Documents");
    EXPECT_EQ(Library::abbreviate("/etc/hosts"), "/etc/hosts");
}

TEST_F(LibraryTest, RealPathFallsBackToTheInput)
{
    test::TempTree tree;
    tree.mkdir("a/b");
    tree.symlink("l", tree.path("a"));
    EXPECT_EQ(Library::realPath(tree.path("l/b")), tree.path("a/b"));
    EXPECT_EQ(Library::realPath(tree.path("a/./b/..")), tree.path("a"));
    EXPECT_EQ(Library::realPath(tree.path("missing")), tree.path("missing"));
}
