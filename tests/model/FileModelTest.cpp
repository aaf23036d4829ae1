#include "model/DownloadSource.h"
#include "model/FileItem.h"
#include "model/FileKind.h"

#include <gtest/gtest.h>
#include <unordered_set>

using namespace fennic;

// Readable QString values in test failure messages.
static void PrintTo(const QString& s, std::ostream* os) { *os << '"' << s.toStdString() << '"'; }

namespace {

FileItem item(const QString& path, Date modified, Date added)
{
    FileItem i;
    i.path = path;
    i.name = path.mid(path.lastIndexOf(u'/') + 1);
    i.ext = pathExtension(i.name).toLower();
    i.modified = modified;
    i.added = added;
    i.created = modified;
    return i;
}

}  // namespace

TEST(FileKindTest, ClassifiesByFixedSetsThenTheTypeDatabase)
{
    struct Row {
        const char* ext;
        FileKind kind;
    } rows[] = {
        // fixed sets, in any letter case; the type database would say otherwise for some
        {"", FileKind::other},
        {"APP", FileKind::app},
        {"AppImage", FileKind::app},
        {"ZIP", FileKind::archive},
        {"dmg", FileKind::archive},
        {"iso", FileKind::archive},
        {"pages", FileKind::document},
        {"key", FileKind::document},
        {"numbers", FileKind::document},
        {"PDF", FileKind::document},
        {"md", FileKind::document},
        {"csv", FileKind::document},
        // media
        {"png", FileKind::image},
        {"JPG", FileKind::image},
        {"heic", FileKind::image},
        {"svg", FileKind::image},
        {"mp4", FileKind::video},
        {"mkv", FileKind::video},
        {"mp3", FileKind::music},
        {"ogg", FileKind::music},
        // program text and data are never documents
        {"json", FileKind::other},
        {"c", FileKind::other},
        {"xml", FileKind::other},
        {"py", FileKind::other},
        {"js", FileKind::other},
        {"rs", FileKind::other},
        {"sh", FileKind::other},
        // office formats that inherit zip are not archives
        {"odg", FileKind::other},
        {"odt", FileKind::document},
        {"pptx", FileKind::document},
        {"docx", FileKind::document},
        // archives reached through the type database; text and rich text; unknown
        {"zst", FileKind::archive},
        {"deb", FileKind::archive},
        {"html", FileKind::document},
        {"log", FileKind::document},
        {"qqqzz", FileKind::other},
        {"exe", FileKind::other},
    };
    for (const Row& r : rows) EXPECT_EQ(FileKinds::classify(QString::fromLatin1(r.ext)), r.kind) << r.ext;
}

TEST(FileKindTest, RawValuesRoundTripAndAreCaseSensitive)
{
    for (FileKind k : FileKinds::allCases) EXPECT_EQ(FileKinds::fromRawValue(FileKinds::rawValue(k)), k);
    EXPECT_FALSE(FileKinds::fromRawValue(u"Image").has_value());
}

TEST(FileItemTest, DateShowsModifiedOnlyWhenAddedMoreThanADayLater)
{
    const Date m{1000000.0};
    EXPECT_EQ(item("/a/x.txt", m, m + 86400.0).date(), m + 86400.0);
    EXPECT_EQ(item("/a/x.txt", m, m + 86401.0).date(), m);
    EXPECT_EQ(item("/a/x.txt", m, m - 5.0).date(), m - 5.0);
}

TEST(FileItemTest, IdentityIsThePathAlone)
{
    FileItem a = item("/a/x.txt", Date{1}, Date{1});
    FileItem b = a;
    b.size = 99;
    b.kind = FileKind::video;
    EXPECT_EQ(a, b);
    EXPECT_EQ(qHash(a), qHash(b));
    EXPECT_EQ((std::unordered_set<FileItem>{a, b}.size()), 1u);
    EXPECT_NE(a, item("/a/y.txt", Date{1}, Date{1}));
}

TEST(FileItemTest, DerivedNamesAndInstallers)
{
    FileItem app = item("/Applications/Tool.app", Date{}, Date{});
    app.kind = FileKind::app;
    EXPECT_EQ(app.displayName(), "Tool");
    EXPECT_EQ(app.folderPath(), "/Applications");
    EXPECT_EQ(app.folderName(), "Applications");
    FileItem image = item("/home/u/Tool.AppImage", Date{}, Date{});
    image.kind = FileKind::app;
    EXPECT_EQ(image.displayName(), "Tool");
    EXPECT_EQ(item("/x/notes.txt", Date{}, Date{}).displayName(), "notes.txt");
    EXPECT_EQ(item("/root.txt", Date{}, Date{}).folderPath(), "/");

    struct Row {
        const char* path;
        bool installer;
    };
    const Row rows[] = {
        {"/x/a.dmg", true},
        {"/x/Setup.PKG", true},
        {"/x/a.iso", true},
        {"/x/a.mpkg", true},
        {"/x/tool_1.0_amd64.deb", true},
        {"/x/tool-1.0.x86_64.RPM", true},
        {"/x/org.example.App.flatpak", true},
        {"/x/org.example.App.flatpakref", true},
        {"/x/tool_1.0.snap", true},
        {"/x/NVIDIA-Linux-x86_64.run", true},
        {"/x/a.zip", false},
        {"/x/tool.tar.gz", false},
        {"/x/Tool.AppImage", false},
        {"/x/install.sh", false},
        {"/x/run", false},
        {"/x/debian.txt", false},
        {"/x/a.debx", false},
    };
    for (const Row& r : rows)
        EXPECT_EQ(item(QString::fromLatin1(r.path), Date{}, Date{}).isInstaller(), r.installer) << r.path;
}

TEST(FileItemTest, PathExtensionFollowsTheLastDot)
{
    EXPECT_EQ(pathExtension(u"archive.tar.gz"), "gz");
    EXPECT_EQ(pathExtension(u"README"), "");
    EXPECT_EQ(pathExtension(u".bashrc"), "");
    EXPECT_EQ(pathExtension(u"trailing."), "");
    EXPECT_EQ(pathExtension(u"Photo.JPG"), "JPG");
}

TEST(DownloadSourceTest, KnownServicesWinOverHostsElseTheLastHost)
{
    struct Case {
        QStringList whereFrom;
        std::optional<QString> key;
    } cases[] = {
        // a web-mail attachment whose referrer is another site is still mail
        {{"https://mail-attachment.googleusercontent.com/attachment/u/0/?ui=2", "https://example.org/page"}, "gmail"},
        {{"chrome-extension://abcdef/page.html"}, "extensions"},
        {{"https://pbs.twimg.com/media/x.jpg"}, "x"},
        {{"https://x.com/someone/status/1"}, "x"},
        {{"https://raw.githubusercontent.com/a/b/main/f.txt"}, "github"},
        {{"https://t.me/channel/12"}, "telegram"},
        {{"HTTPS://DRIVE.GOOGLE.COM/file"}, "drive"},
        // "netflix.com" ends in "x.com" but must not count as X
        {{"https://www.netflix.com/title/1"}, "site:netflix.com"},
        {{"https://files.example.com/a.pdf", "https://Portal.Example.org/"}, "site:portal.example.org"},
        {{"https://cdn.example.com/a.pdf", "not a url"}, "site:cdn.example.com"},
        {{"just some words"}, std::nullopt},
        {{}, std::nullopt},
    };
    for (const Case& c : cases)
        EXPECT_EQ(DownloadSource::keyFor(c.whereFrom), c.key) << c.whereFrom.join(u' ').toStdString();
}

TEST(DownloadSourceTest, SourceForIsTotal)
{
    EXPECT_EQ(DownloadSource::sourceFor("gmail"), (DownloadSource{"gmail", "Gmail", "envelope"}));
    EXPECT_EQ(DownloadSource::sourceFor("site:example.com"),
              (DownloadSource{"site:example.com", "example.com", "globe"}));
    EXPECT_EQ(DownloadSource::sourceFor("mystery"), (DownloadSource{"mystery", "mystery", "globe"}));
}
