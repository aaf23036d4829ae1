#include "model/DownloadSource.h"
#include "model/FileItem.h"
#include "model/FileKind.h"

#include <QSet>
#include <gtest/gtest.h>
#include <unordered_set>

using namespace fennic;

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

TEST(FileKindTest, ClassifiesByFixedSetsBeforeTheTypeDatabase)
{
    struct Row {
        const char* ext;
        FileKind kind;
    } rows[] = {
        {"", FileKind::other},       {"APP", FileKind::app},         {"AppImage", FileKind::app},
        {"ZIP", FileKind::archive},  {"dmg", FileKind::archive},     {"iso", FileKind::archive},
        {"pages", FileKind::document}, {"key", FileKind::document},  {"numbers", FileKind::document},
        {"PDF", FileKind::document}, {"md", FileKind::document},     {"csv", FileKind::document},
    };
    for (const Row& r : rows) EXPECT_EQ(FileKinds::classify(QString::fromLatin1(r.ext)), r.kind) << r.ext;
}

TEST(FileKindTest, ClassifiesThroughSharedMimeInfo)
{
    struct Row {
        const char* ext;
        FileKind kind;
    } rows[] = {
        // media
        {"png", FileKind::image}, {"JPG", FileKind::image}, {"heic", FileKind::image}, {"svg", FileKind::image},
        {"webp", FileKind::image}, {"mp4", FileKind::video}, {"mkv", FileKind::video}, {"mov", FileKind::video},
        {"mp3", FileKind::music}, {"flac", FileKind::music}, {"ogg", FileKind::music},
        // program text and data are never documents
        {"json", FileKind::other}, {"c", FileKind::other}, {"xml", FileKind::other}, {"py", FileKind::other},
        {"js", FileKind::other}, {"rs", FileKind::other}, {"sh", FileKind::other}, {"cpp", FileKind::other},
        // office formats that inherit zip are not archives
        {"odg", FileKind::other}, {"odt", FileKind::document},
        {"pptx", FileKind::document}, {"docx", FileKind::document},
        // archives reached through the type database
        {"zst", FileKind::archive}, {"deb", FileKind::archive},
        // text and rich text
        {"html", FileKind::document}, {"log", FileKind::document},
        // unknown
        {"qqqzz", FileKind::other}, {"exe", FileKind::other},
    };
    for (const Row& r : rows) EXPECT_EQ(FileKinds::classify(QString::fromLatin1(r.ext)), r.kind) << r.ext;
}

TEST(FileKindTest, RawValuesRoundTripAndTextsFollowTheTable)
{
    for (FileKind k : FileKinds::allCases) EXPECT_EQ(FileKinds::fromRawValue(FileKinds::rawValue(k)), k);
    EXPECT_FALSE(FileKinds::fromRawValue(u"Image").has_value());
    EXPECT_EQ(FileKinds::title(FileKind::music), "Music");
    EXPECT_EQ(FileKinds::singular(FileKind::music), "Song");
    EXPECT_EQ(FileKinds::singular(FileKind::other), "File");
    EXPECT_EQ(FileKinds::symbol(FileKind::app), "square.grid.2x2");
    EXPECT_EQ(FileKinds::shelves.size(), 6u);
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
    QSet<FileItem> set{a, b};
    EXPECT_EQ(set.size(), 1);
    std::unordered_set<FileItem> stdSet{a, b};
    EXPECT_EQ(stdSet.size(), 1u);
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

    for (const char* ext : {"dmg", "pkg", "iso", "mpkg"}) {
        FileItem i;
        i.ext = QString::fromLatin1(ext);
        EXPECT_TRUE(i.isInstaller()) << ext;
    }
    FileItem zip;
    zip.ext = "zip";
    EXPECT_FALSE(zip.isInstaller());
}

TEST(FileItemTest, PathExtensionFollowsTheLastDot)
{
    EXPECT_EQ(pathExtension(u"archive.tar.gz"), "gz");
    EXPECT_EQ(pathExtension(u"README"), "");
    EXPECT_EQ(pathExtension(u".bashrc"), "");
    EXPECT_EQ(pathExtension(u"trailing."), "");
    EXPECT_EQ(pathExtension(u"Photo.JPG"), "JPG");
}

TEST(DownloadSourceTest, KnownServicesWinOverHosts)
{
    // A web-mail attachment whose referrer is another site is still mail.
    EXPECT_EQ(DownloadSource::keyFor({"https://mail-attachment.googleusercontent.com/attachment/u/0/?ui=2",
                                      "https://example.org/page"}),
              "gmail");
    EXPECT_EQ(DownloadSource::keyFor({"chrome-extension://abcdef/page.html"}), "extensions");
    EXPECT_EQ(DownloadSource::keyFor({"https://pbs.twimg.com/media/x.jpg"}), "x");
    EXPECT_EQ(DownloadSource::keyFor({"https://x.com/someone/status/1"}), "x");
    EXPECT_EQ(DownloadSource::keyFor({"https://raw.githubusercontent.com/a/b/main/f.txt"}), "github");
    EXPECT_EQ(DownloadSource::keyFor({"https://t.me/channel/12"}), "telegram");
    EXPECT_EQ(DownloadSource::keyFor({"HTTPS://DRIVE.GOOGLE.COM/file"}), "drive");
}

TEST(DownloadSourceTest, UnknownSitesUseTheLastHost)
{
    // "netflix.com" ends in "x.com" but must not count as X.
    EXPECT_EQ(DownloadSource::keyFor({"https://www.netflix.com/title/1"}), "site:netflix.com");
    EXPECT_EQ(DownloadSource::keyFor({"https://www.example.com/a.pdf"}), "site:example.com");
    EXPECT_EQ(DownloadSource::keyFor({"https://files.example.com/a.pdf", "https://Portal.Example.org/"}),
              "site:portal.example.org");
    EXPECT_EQ(DownloadSource::keyFor({"https://cdn.example.com/a.pdf", "not a url"}), "site:cdn.example.com");
    EXPECT_FALSE(DownloadSource::keyFor({"just some words"}).has_value());
    EXPECT_FALSE(DownloadSource::keyFor({}).has_value());
}

TEST(DownloadSourceTest, SourceForIsTotal)
{
    const DownloadSource gmail = DownloadSource::sourceFor("gmail");
    EXPECT_EQ(gmail.name, "Gmail");
    EXPECT_EQ(gmail.symbol, "envelope");
    const DownloadSource site = DownloadSource::sourceFor("site:example.com");
    EXPECT_EQ(site.name, "example.com");
    EXPECT_EQ(site.symbol, "globe");
    const DownloadSource odd = DownloadSource::sourceFor("mystery");
    EXPECT_EQ(odd.key, "mystery");
    EXPECT_EQ(odd.name, "mystery");
    EXPECT_EQ(odd.symbol, "globe");

    EXPECT_EQ(DownloadSource::known().size(), 15u);
    const int counts[] = {2, 4, 4, 2, 1, 3, 2, 2, 2, 1, 3, 3, 3, 2, 3};
    for (size_t i = 0; i < DownloadSource::known().size(); ++i)
        EXPECT_EQ(DownloadSource::known()[i].patterns.size(), counts[i]) << DownloadSource::known()[i].source.key.toStdString();
}
