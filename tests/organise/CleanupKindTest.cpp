#include "organise/CleanupKind.h"
#include "support/TestItems.h"

#include <gtest/gtest.h>

using namespace fennic;
using namespace fennic::CleanupKinds;

namespace {

const Date kNow{760000000.0};
const QString kDownloads = QStringLiteral("/home/u/Downloads");

// Created and modified `modifiedDays` ago, added `addedDays` ago (the same when not given).
FileItem file(const QString& path, qint64 size = 1000, double modifiedDays = 0, std::optional<double> addedDays = {})
{
    FileItem f = test::itemAt(path);
    f.size = size;
    f.created = f.modified = kNow - modifiedDays * kDay;
    f.added = kNow - addedDays.value_or(modifiedDays) * kDay;
    return f;
}

}  // namespace

TEST(CleanupKindTest, EachRuleDrawsItsLineStrictly)
{
    auto download = [](const char* name, double modifiedDays, double addedDays) {
        return file(kDownloads + u'/' + QLatin1String(name), 1000, modifiedDays, addedDays);
    };
    auto screenshot = [](double addedDays, double modifiedDays, bool flagged = true) {
        FileItem f = file(QStringLiteral("/home/u/Desktop/Screenshot.png"), 1000, modifiedDays, addedDays);
        f.isScreenshot = flagged;
        return f;
    };
    auto video = [](qint64 size, double untouchedDays) {
        return file(QStringLiteral("/home/u/Movies/clip.mov"), size, untouchedDays, 400);
    };
    auto app = [](const char* path, std::optional<double> usedDaysAgo) {
        FileItem f = file(QString::fromLatin1(path), 5000, 400);
        if (usedDaysAgo) f.lastUsed = kNow - *usedDaysAgo * kDay;
        return f;
    };
    struct Row {
        const char* name;
        CleanupKind kind;
        FileItem item;
        bool expected;
    };
    const Row rows[] = {
        {"download 91 days untouched", CleanupKind::downloads, download("a.pdf", 91, 91), true},
        {"download exactly 90 days", CleanupKind::downloads, download("a.pdf", 90, 90), false},
        {"download added recently", CleanupKind::downloads, download("a.pdf", 200, 10), false},
        {"download edited recently", CleanupKind::downloads, download("a.pdf", 10, 200), false},
        {"download in a sub-folder", CleanupKind::downloads, download("sub/a.pdf", 100, 100), false},
        {"dmg in Downloads is an installer", CleanupKind::downloads, download("x.dmg", 100, 100), false},
        {"file beside Downloads", CleanupKind::downloads, file("/home/u/Downloads2/a.pdf", 10, 100), false},
        {"installer 8 days", CleanupKind::installers, file("/home/u/Documents/x.pkg", 10, 8), true},
        {"installer exactly 7 days", CleanupKind::installers, file("/home/u/Documents/x.pkg", 10, 7), false},
        {"dmg in Downloads is an old installer", CleanupKind::installers, download("x.dmg", 100, 100), true},
        {"zip is no installer", CleanupKind::installers, file("/home/u/x.zip", 10, 100), false},
        {"deb in Downloads is an old installer", CleanupKind::installers, download("tool_2.1_amd64.deb", 100, 8), true},
        {"deb in Downloads is no forgotten download", CleanupKind::downloads, download("tool.deb", 100, 100), false},
        {"run installer 8 days", CleanupKind::installers, download("setup-1.4.run", 30, 8), true},
        {"rpm exactly 7 days", CleanupKind::installers, download("tool-2.1.x86_64.rpm", 30, 7), false},
        {"shell script is no installer", CleanupKind::installers, download("setup.sh", 100, 100), false},
        {"run as part of a name is no installer", CleanupKind::installers, download("run.txt", 100, 100), false},
        {"screenshot copied in today, taken 40 days ago", CleanupKind::screenshots, screenshot(0, 40), true},
        {"screenshot added 40 days ago, edited yesterday", CleanupKind::screenshots, screenshot(40, 1), true},
        {"screenshot 30 days", CleanupKind::screenshots, screenshot(30, 30), false},
        {"screenshot 31 days", CleanupKind::screenshots, screenshot(31, 31), true},
        {"old picture not flagged as a screenshot", CleanupKind::screenshots, screenshot(99, 99, false), false},
        {"video 200,000,000 bytes", CleanupKind::videos, video(200000000, 181), false},
        {"video one byte more", CleanupKind::videos, video(200000001, 181), true},
        {"video touched 180 days ago", CleanupKind::videos, video(300000000, 180), false},
        {"app unused 91 days", CleanupKind::apps, app("/Applications/Tool.app", 91), true},
        {"per-user app folder", CleanupKind::apps, app("/home/u/Applications/Tool.app", 91), true},
        {"app used 90 days ago", CleanupKind::apps, app("/Applications/Tool.app", 90), false},
        {"app never seen opened", CleanupKind::apps, app("/Applications/Tool.app", std::nullopt), false},
        {"app outside application folders", CleanupKind::apps, app("/home/u/Desktop/Tool.app", 200), false},
        {"large 1,000,000,001 bytes", CleanupKind::large, file("/home/u/Documents/big.bin", 1000000001), true},
        {"large exactly 1 GB", CleanupKind::large, file("/home/u/Documents/big.bin", 1000000000), false},
    };
    for (const Row& r : rows) EXPECT_EQ(files(r.kind, {r.item}, kNow, kDownloads).size(), r.expected ? 1 : 0) << r.name;
}

TEST(CleanupKindTest, SuggestionsListEveryRuleInOrderAndCountEachFileOnce)
{
    const QList<FileItem> items{
        file(kDownloads + "/b.pdf", 500, 100),
        file(kDownloads + "/a.pdf", 500, 100),
        file(kDownloads + "/c.pdf", 900, 100),
        file(kDownloads + "/new.pdf", 900, 1),
        file("/home/u/Movies/long.mov", 3000000000, 400),
        file("/home/u/Documents/disk.img", 2000000000),
    };
    // A Downloads folder given with a trailing "/" works the same.
    const QList<Suggestion> s = suggestions(items, kNow, kDownloads + u'/');
    ASSERT_EQ(s.size(), 6);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(s[i].kind, allCases[size_t(i)]);
    QStringList names;
    for (const FileItem& f : s[0].files) names << f.name;
    EXPECT_EQ(names, QStringList({"c.pdf", "a.pdf", "b.pdf"})) << "size descending, then path";
    EXPECT_EQ(s[0].size(), 1900);
    EXPECT_TRUE(s[4].files.isEmpty()) << "a rule without files is still listed";
    EXPECT_EQ(s[3].files.size(), 1);
    EXPECT_EQ(s[5].files.size(), 2) << "the video is also very large";
    EXPECT_EQ(reclaimable(s), 1900 + 5000000000) << "a file listed by two rules counts once";
}

TEST(CleanupKindTest, RawValuesRoundTrip)
{
    for (CleanupKind k : allCases) EXPECT_EQ(fromRawValue(rawValue(k)), k);
    EXPECT_EQ(fromRawValue(u"Downloads"), std::nullopt);
}

TEST(CleanupKindTest, AutomaticRuleTakesInstallersByWhenTheyArrived)
{
    struct Row {
        const char* name;
        FileItem item;
        bool taken;
    };
    const Row rows[] = {
        {"deb added 31 days ago", file(kDownloads + "/tool.deb", 10, 31), true},
        {"flatpakref added 31 days ago", file(kDownloads + "/app.flatpakref", 10, 31), true},
        {"snap in a sub-folder added 31 days ago", file(kDownloads + "/old/app.snap", 10, 31), true},
        {"dmg made 40 days ago, added today", file(kDownloads + "/tool.dmg", 10, 40, 0), false},
        {"rpm added exactly 30 days ago", file(kDownloads + "/tool.rpm", 10, 30), false},
        {"archive added 31 days ago", file(kDownloads + "/tool.tar.gz", 10, 31), false},
    };
    for (const Row& r : rows) EXPECT_EQ(autoInstallers({r.item}, kNow).size(), r.taken ? 1 : 0) << r.name;
}

TEST(CleanupKindTest, InstallerTextsNameLinuxPackages)
{
    for (const QString& text : {detail(CleanupKind::installers), autoInstallerSetting()})
        for (const char* ext : {".deb", ".rpm", ".flatpak", ".snap"})
            EXPECT_TRUE(text.contains(QLatin1String(ext))) << text.toStdString() << " lacks " << ext;
}
