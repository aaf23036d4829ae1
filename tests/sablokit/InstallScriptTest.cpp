// The install-on-quit script on real folders: a successful copy replaces the installed
// application and clears the staging folder; a failed copy leaves the old one in place.
#include "SabloKit/InstallScript.h"
#include "SabloKit/BundleInfo.h"
#include "UpdateFixture.h"
#include "support/TempTree.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <gtest/gtest.h>

using namespace fennic;

namespace {

const BundleInfo kOld{"io.github.fennic.Fennic", "2.9", "http://127.0.0.1/feed.json", "key"};
const BundleInfo kNew{"io.github.fennic.Fennic", "2.10", "http://127.0.0.1/feed.json", "key"};

// The identifier of a process that has ended, so that the script does not wait.
qint64 endedProcess()
{
    QProcess process;
    process.start(QStringLiteral("/bin/true"), {});
    process.waitForFinished();
    return process.processId() > 0 ? process.processId() : 999999;
}

// Runs the script as the updater would, but waits for it.
int runScript(const QString& staged, const QString& installed)
{
    QProcess process;
    const qint64 pid = endedProcess();
    process.start(QStringLiteral("/bin/sh"), InstallScript::arguments(pid, staged, installed, false));
    if (!process.waitForFinished(60000)) return -1;
    return process.exitCode();
}

}  // namespace

TEST(InstallScriptTest, ReplacesTheInstalledCopyAndClearsTheStagingFolder)
{
    test::TempTree tree;
    const QString installed = tree.path("opt/Fennic");
    const QString staged = tree.path("cache/SabloUpdate/Fennic");
    test::makeApp(installed, kOld);
    tree.write("opt/Fennic/share/fennic/only-in-old.txt", "gone after the update");
    test::makeApp(staged, kNew);

    ASSERT_EQ(runScript(staged, installed), 0);
    const auto info = BundleInfo::read(installed);
    ASSERT_TRUE(info.has_value());
    EXPECT_EQ(info->shortVersion, "2.10");
    EXPECT_FALSE(QFileInfo::exists(installed + "/share/fennic/only-in-old.txt")) << "the old copy is replaced whole";
    EXPECT_TRUE(QFileInfo(installed + "/bin/fennic").isExecutable());
    EXPECT_TRUE(QFileInfo(installed + "/bin/fennic-latest").isSymLink());
    EXPECT_FALSE(QFileInfo::exists(installed + ".sablo-old"));
    EXPECT_FALSE(QFileInfo::exists(tree.path("cache/SabloUpdate")));
}

TEST(InstallScriptTest, AFailedCopyPutsTheOldCopyBack)
{
    test::TempTree tree;
    const QString installed = tree.path("opt/Fennic");
    test::makeApp(installed, kOld);
    // A staged copy that vanished (cleaned caches) makes the copy fail.
    const QString staged = tree.path("cache/SabloUpdate/Fennic");

    ASSERT_EQ(runScript(staged, installed), 0);
    const auto info = BundleInfo::read(installed);
    ASSERT_TRUE(info.has_value());
    EXPECT_EQ(info->shortVersion, "2.9");
    EXPECT_TRUE(QFileInfo(installed + "/bin/fennic").isExecutable());
    EXPECT_FALSE(QFileInfo::exists(installed + ".sablo-old"));
}
