// The updater's decisions: version order, the system requirement, the signature check, the
// once-per-version announcement and where an installed copy may replace itself.
#include "SabloKit/UpdateLogic.h"
#include "UpdateFixture.h"
#include "support/TempTree.h"

#include <QSettings>
#include <gtest/gtest.h>

using namespace fennic;

TEST(UpdateLogicTest, VersionsOrderByTheNumbersInThem)
{
    struct Row {
        const char* name;
        const char* a;
        const char* b;
        bool newer;
    };
    const Row rows[] = {
        {"equal is not newer", "2.0", "2.0", false},
        {"digit runs compare as numbers", "2.10", "2.9", true},
        {"and not the other way", "2.9", "2.10", false},
        {"a longer version after its prefix", "2.0.1", "2.0", true},
        {"a major step beats any minor", "3", "2.99.99", true},
        {"leading zeros do not count", "2.010", "2.9", true},
        {"digit runs longer than any integer", "1.100000000000000000001", "1.99999999999999999999", true},
        {"older is not newer", "1.9", "2.0", false},
    };
    for (const Row& row : rows)
        EXPECT_EQ(UpdateLogic::isNewer(QString::fromLatin1(row.a), QString::fromLatin1(row.b)), row.newer) << row.name;
}

TEST(UpdateLogicTest, SystemRequirementComparesDottedNumbers)
{
    struct Row {
        const char* name;
        const char* minimum;
        const char* system;
        bool supported;
    };
    const Row rows[] = {
        {"no requirement", "", "12", true},
        {"same version", "12", "12", true},
        {"a missing component counts as zero", "12.0", "12", true},
        {"newer system", "22.04", "24.04", true},
        {"too old", "13", "12", false},
        {"minor too old", "22.10", "22.04", false},
        {"numbers, not text", "9", "12", true},
        {"an unreadable system meets no requirement", "12", "", false},
        {"an unreadable requirement is not met", "twelve", "12", false},
    };
    for (const Row& row : rows)
        EXPECT_EQ(UpdateLogic::systemSupports(QString::fromLatin1(row.minimum), QString::fromLatin1(row.system)),
                  row.supported)
            << row.name;
}

TEST(UpdateLogicTest, SystemVersionComesFromOsRelease)
{
    test::TempTree tree;
    const QString quoted = tree.write("quoted", "NAME=\"Debian GNU/Linux\"\nVERSION_ID=\"12\"\nID=debian\n");
    const QString bare = tree.write("bare", "ID=ubuntu\nVERSION_ID=24.04\n");
    const QString rolling = tree.write("rolling", "ID=arch\n");
    EXPECT_EQ(UpdateLogic::runningSystemVersion(quoted), "12");
    EXPECT_EQ(UpdateLogic::runningSystemVersion(bare), "24.04");
    EXPECT_EQ(UpdateLogic::runningSystemVersion(rolling), "");
    EXPECT_EQ(UpdateLogic::runningSystemVersion(tree.path("missing")), "");
}

TEST(UpdateLogicTest, SignatureMustMatchDataAndKey)
{
    const test::SigningKey key;
    const test::SigningKey otherKey;
    const QByteArray data("the archive's bytes");
    const QString signature = key.sign(data);

    EXPECT_TRUE(UpdateLogic::verify(data, signature, key.publicKey()));
    EXPECT_FALSE(UpdateLogic::verify(data + 'x', signature, key.publicKey())) << "changed data";
    EXPECT_FALSE(UpdateLogic::verify(data, signature, otherKey.publicKey())) << "another maker's key";
    EXPECT_FALSE(UpdateLogic::verify(data, otherKey.sign(data), key.publicKey())) << "signed by another key";
    EXPECT_FALSE(UpdateLogic::verify(data, QStringLiteral("not base64!"), key.publicKey()));
    EXPECT_FALSE(UpdateLogic::verify(data, signature, QStringLiteral("not base64!")));
    EXPECT_FALSE(UpdateLogic::verify(data, signature, QString::fromLatin1(QByteArray(31, 'k').toBase64())))
        << "a key of the wrong length";
    EXPECT_FALSE(UpdateLogic::verify(data, QString(), key.publicKey()));
}

TEST(UpdateLogicTest, EachVersionIsAnnouncedOnceAndTheMarkSurvives)
{
    test::TempTree tree;
    const QString file = tree.path("settings.ini");
    {
        QSettings settings(file, QSettings::IniFormat);
        EXPECT_TRUE(UpdateLogic::shouldAnnounce(settings, "2.10"));
        EXPECT_FALSE(UpdateLogic::shouldAnnounce(settings, "2.10"));
        EXPECT_TRUE(UpdateLogic::shouldAnnounce(settings, "2.11"));
    }
    QSettings reopened(file, QSettings::IniFormat);
    EXPECT_FALSE(UpdateLogic::shouldAnnounce(reopened, "2.10"));
    EXPECT_TRUE(reopened.contains("SabloAnnounced-2.10"));
}

TEST(UpdateLogicTest, OnlyAUsersOwnWritableCopyInstallsInPlace)
{
    test::TempTree tree;
    EXPECT_TRUE(UpdateLogic::canInstallInPlace(tree.mkdir("Fennic")));
    EXPECT_FALSE(UpdateLogic::canInstallInPlace(tree.path("missing")));
    EXPECT_FALSE(UpdateLogic::canInstallInPlace(QStringLiteral("/usr/share"))) << "a system package";
    EXPECT_FALSE(UpdateLogic::canInstallInPlace(QString()));
    // A link into /usr is judged by where it leads.
    EXPECT_FALSE(UpdateLogic::canInstallInPlace(tree.symlink("linked", QStringLiteral("/usr/share"))));
}
