// Unpacking a downloaded archive into the staging folder and checking what came out, on real
// files: the application is found, unsafe archives are refused whole, and a staged copy that
// is not this application or not intact is rejected.
#include "SabloKit/ArchiveStager.h"
#include "SabloKit/BundleManifest.h"
#include "UpdateFixture.h"
#include "support/TempTree.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>

using namespace fennic;
using test::RawEntry;

namespace {

const BundleInfo kInfo{"io.github.fennic.Fennic", "2.10", "http://127.0.0.1/feed.json", "key"};
const QString kNoApp = QStringLiteral("The update didn’t contain an app.");
const QString kUnsafe =
    QStringLiteral("The update contained a file that would land outside its folder, so it wasn’t installed.");
const QString kMismatch = QStringLiteral("The downloaded update didn’t match this app.");
const QString kDamaged = QStringLiteral("The downloaded app’s code signature is damaged.");

QByteArray releaseArchive(test::TempTree& tree, const QList<RawEntry>& extra = {})
{
    test::makeApp(tree.path("release/Fennic"), kInfo);
    return test::zipFolder(tree.path("release/Fennic"), extra);
}

}  // namespace

TEST(ArchiveStagerTest, StagesTheApplicationFolderWithItsLinksAndModes)
{
    test::TempTree tree;
    const QString staging = tree.path("cache/SabloUpdate");
    tree.write("cache/SabloUpdate/left-over/from-before", "old");

    const StagedUpdate staged = ArchiveStager::stage(releaseArchive(tree), staging);
    ASSERT_TRUE(staged.ok()) << staged.failure.toStdString();
    EXPECT_EQ(staged.appFolder, staging + "/Fennic");
    EXPECT_TRUE(QFileInfo(staging + "/Fennic/bin/fennic").isExecutable());
    EXPECT_EQ(QFileInfo(staging + "/Fennic/bin/fennic-latest").symLinkTarget(), staging + "/Fennic/bin/fennic");
    EXPECT_FALSE(QFileInfo::exists(staging + "/left-over")) << "the staging folder starts empty";
    EXPECT_TRUE(QFileInfo::exists(staging + "/update.zip"));
    EXPECT_EQ(ArchiveStager::validate(staged.appFolder, kInfo.identifier, kInfo.shortVersion), QString());
}

TEST(ArchiveStagerTest, TheApplicationIsTheFirstTopLevelFolderWithAnInformationFile)
{
    test::TempTree tree;
    const QByteArray archive = test::zipEntries({
        {"Docs/readme.txt", RawEntry::Type::file, "read me"},
        {"Info.json", RawEntry::Type::file, kInfo.encode()},
        {"Zeta/Info.json", RawEntry::Type::file, kInfo.encode()},
        {"Fennic/Info.json", RawEntry::Type::file, kInfo.encode()},
    });
    const StagedUpdate staged = ArchiveStager::stage(archive, tree.path("staging"));
    ASSERT_TRUE(staged.ok()) << staged.failure.toStdString();
    EXPECT_EQ(staged.appFolder, tree.path("staging/Fennic"));

    const StagedUpdate none = ArchiveStager::stage(
        test::zipEntries({{"Docs/readme.txt", RawEntry::Type::file, "x"}, {"Info.json", RawEntry::Type::file, "{}"}}),
        tree.path("staging"));
    EXPECT_EQ(none.failure, kNoApp);
    EXPECT_EQ(ArchiveStager::stage(QByteArray("PK but not a zip"), tree.path("staging")).failure,
              QStringLiteral("The update couldn’t be opened."));
}

TEST(ArchiveStagerTest, RefusesArchivesReachingOutsideTheStagingFolder)
{
    struct Row {
        const char* name;
        RawEntry entry;
        const char* outside;  // where the entry would have landed, relative to the tree
    };
    const Row rows[] = {
        {"climbing with ..", {"../escaped.txt", RawEntry::Type::file, "x"}, "escaped.txt"},
        {"climbing from inside", {"Fennic/../../escaped.txt", RawEntry::Type::file, "x"}, "escaped.txt"},
        {"absolute path", {"/tmp/sablo-escaped.txt", RawEntry::Type::file, "x"}, nullptr},
        {"link leading out", {"Fennic/out", RawEntry::Type::link, "../../victim"}, nullptr},
        {"absolute link", {"Fennic/passwd", RawEntry::Type::link, "/etc/passwd"}, nullptr},
    };
    for (const Row& row : rows) {
        test::TempTree tree;
        const StagedUpdate staged = ArchiveStager::stage(releaseArchive(tree, {row.entry}), tree.path("staging"));
        EXPECT_EQ(staged.failure, kUnsafe) << row.name;
        EXPECT_TRUE(staged.appFolder.isEmpty()) << row.name;
        if (row.outside) {
            EXPECT_FALSE(QFileInfo::exists(tree.path(row.outside))) << row.name;
        }
    }
    EXPECT_FALSE(QFileInfo::exists("/tmp/sablo-escaped.txt"));

    // A link that stays inside is part of an ordinary application.
    test::TempTree tree;
    const StagedUpdate inward = ArchiveStager::stage(
        releaseArchive(tree, {{"Fennic/share/bin", RawEntry::Type::link, "../bin"}}), tree.path("staging"));
    EXPECT_TRUE(inward.ok()) << inward.failure.toStdString();
}

TEST(ArchiveStagerTest, ValidationRejectsAnotherAppAnotherVersionAndADamagedSeal)
{
    test::TempTree tree;
    const QString app = tree.path("Fennic");
    test::makeApp(app, kInfo);
    EXPECT_EQ(ArchiveStager::validate(app, "io.other.App", kInfo.shortVersion), kMismatch);
    EXPECT_EQ(ArchiveStager::validate(app, kInfo.identifier, "2.9"), kMismatch);
    EXPECT_EQ(ArchiveStager::validate(app, kInfo.identifier, kInfo.shortVersion), QString());

    struct Damage {
        const char* name;
        std::function<void()> apply;
    };
    const QList<Damage> damages = {
        {"a changed file", [&] { tree.write("Fennic/share/fennic/notes.txt", "tampered"); }},
        {"an added file", [&] { tree.write("Fennic/bin/extra", "payload"); }},
        {"a removed file", [&] { QFile::remove(tree.path("Fennic/share/fennic/notes.txt")); }},
        {"a redirected link",
         [&] {
             QFile::remove(tree.path("Fennic/bin/fennic-latest"));
             QFile::link(QStringLiteral("../share/fennic/notes.txt"), tree.path("Fennic/bin/fennic-latest"));
         }},
        {"no manifest", [&] { QFile::remove(tree.path("Fennic/Manifest.sha256")); }},
        {"an empty manifest", [&] { tree.write("Fennic/Manifest.sha256", ""); }},
    };
    for (const Damage& damage : damages) {
        QDir(app).removeRecursively();
        test::makeApp(app, kInfo);
        damage.apply();
        EXPECT_EQ(ArchiveStager::validate(app, kInfo.identifier, kInfo.shortVersion), kDamaged) << damage.name;
    }

    // The seal does not depend on the order of its lines.
    QDir(app).removeRecursively();
    test::makeApp(app, kInfo);
    QList<QByteArray> lines = BundleManifest::compute(app).trimmed().split('\n');
    std::reverse(lines.begin(), lines.end());
    tree.write("Fennic/Manifest.sha256", lines.join('\n'));
    EXPECT_EQ(ArchiveStager::validate(app, kInfo.identifier, kInfo.shortVersion), QString());
}
