#include "library/Scanner.h"
#include "support/SyntheticHome.h"
#include "support/TempTree.h"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#include <exiv2/exiv2.hpp>
#pragma GCC diagnostic pop

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QImage>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <plist/plist.h>
#include <tuple>
#include <unistd.h>

using namespace fennic;
using fennic::test::TempTree;

// Readable QString values in test failure messages.
static void PrintTo(const QString& s, std::ostream* os) { *os << '"' << s.toStdString() << '"'; }

namespace {

// Paths of the items relative to the tree, in result order.
QStringList relativePaths(const QList<FileItem>& items, const TempTree& tree)
{
    QStringList out;
    for (const FileItem& item : items) out << QDir(tree.root()).relativeFilePath(item.path);
    return out;
}

const FileItem* find(const QList<FileItem>& items, const QString& path)
{
    for (const FileItem& item : items)
        if (item.path == path) return &item;
    return nullptr;
}

QList<FileItem> scanRoot(const TempTree& tree, const QString& relative = QString(),
                         int maxItems = Scanner::kDefaultMaxItems)
{
    return Scanner({tree.path(relative)}, {}, maxItems).scan();
}

Date now() { return Date::fromQDateTime(QDateTime::currentDateTimeUtc()); }

QByteArray xmlPlist(const QByteArray& body)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + body + "</plist>";
}

QByteArray binaryPlistOfStrings(const QStringList& strings)
{
    plist_t array = plist_new_array();
    for (const QString& s : strings) plist_array_append_item(array, plist_new_string(s.toUtf8().constData()));
    char* data = nullptr;
    uint32_t length = 0;
    plist_to_bin(array, &data, &length);
    QByteArray out(data, qsizetype(length));
    std::free(data);
    plist_free(array);
    return out;
}

// A file whose name is the given bytes, which need not be UTF-8.
void writeRawName(const TempTree& tree, const QByteArray& relative)
{
    const QByteArray path = QFile::encodeName(tree.root()) + '/' + relative;
    const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    ASSERT_GE(fd, 0) << path.constData();
    ::close(fd);
}

class ScannerXattrTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!test::supportsXattrs(tree.root()))
            GTEST_SKIP() << "the temporary folder's file system has no user attributes";
    }
    TempTree tree;
};

}  // namespace

TEST(ScannerWalkTest, LeavesOutLinksHiddenEntriesSkippedFoldersAndPlaceholders)
{
    TempTree tree;
    // Skipped folder names count at any depth and only in their exact letter case ("library"
    // and "Target" are ordinary folders).
    const QStringList kept{"cloud/here.pdf", "keep.txt", "project/Target/kept.o", "project/src/main.cpp",
                           "sub/library/kept.md"};
    for (const QString& rel : kept) tree.write(rel, "k");
    for (const char* gone : {"sub/Library/Caches/gone.txt", "deep/a/b/Library/gone.txt", "node_modules/pkg/index.js",
                             "project/node_modules/x.js", "project/.git/HEAD", "project/target/debug/app",
                             "project/vendor/lib.go", ".hidden", ".config/settings.json", "sub/.DS_Store",
                             "cloud/report.pdf.nextcloud", "cloud/photo.jpg.owncloud"})
        tree.write(QString::fromLatin1(gone));
    tree.symlink("link.txt", "keep.txt");
    tree.symlink("sub/loop", "..");
    tree.symlink("outside", "/usr/share");
    tree.symlink("dangling", "/nonexistent/fennic");
    tree.mkdir("empty/folder");
    ASSERT_EQ(::mkfifo(QFile::encodeName(tree.path("pipe")).constData(), 0644), 0);
    EXPECT_EQ(relativePaths(scanRoot(tree), tree), kept);

    // A placeholder that has been downloaded shows up at the next scan.
    ASSERT_TRUE(QFile::rename(tree.path("cloud/report.pdf.nextcloud"), tree.path("cloud/report.pdf")));
    EXPECT_TRUE(relativePaths(scanRoot(tree), tree).contains("cloud/report.pdf"));
}

TEST(ScannerWalkTest, NamesThatAreNotUtf8AreNeverListed)
{
    TempTree tree;
    tree.write("good.txt", "g");
    tree.write("Ünïcødé ✓.txt", "valid UTF-8 is fine");
    writeRawName(tree, "bad\xff.txt");
    ASSERT_EQ(::mkdir((QFile::encodeName(tree.root()) + "/dir\xfe").constData(), 0755), 0);
    writeRawName(tree, "dir\xfe/inner.txt");
    writeRawName(tree, "overlong\xc0\xaf.txt");

    const QList<FileItem> items = scanRoot(tree);
    EXPECT_EQ(relativePaths(items, tree), (QStringList{"good.txt", "Ünïcødé ✓.txt"}));
    for (const FileItem& item : items)
        EXPECT_FALSE(item.path.contains(QChar::ReplacementCharacter)) << item.path.toStdString();

    // Qt cannot name these to remove them with the temporary folder.
    const QByteArray root = QFile::encodeName(tree.root());
    for (const char* raw : {"/bad\xff.txt", "/dir\xfe/inner.txt", "/overlong\xc0\xaf.txt"})
        ::unlink((root + raw).constData());
    ::rmdir((root + "/dir\xfe").constData());
}

TEST(ScannerWalkTest, WalksDepthFirstInNameOrderAndStopsAtMaxItems)
{
    TempTree tree;
    for (const char* name :
         {"c.txt", "a.txt", "b/d.txt", "b/c.txt", "B2/x.txt", "e.txt", "f.txt", "g.txt", "h.txt", "i.txt"})
        tree.write(QStringLiteral("files/") + QLatin1String(name));
    tree.write("apps/Tool.app/Contents/Info.plist", "1234");
    tree.write("apps/Runner.AppImage", "elf");

    const QStringList order{"files/B2/x.txt", "files/a.txt", "files/b/c.txt", "files/b/d.txt", "files/c.txt",
                            "files/e.txt",    "files/f.txt", "files/g.txt",   "files/h.txt",   "files/i.txt"};
    EXPECT_EQ(relativePaths(scanRoot(tree, "files"), tree), order);

    // With a cap of three, the first three in walk order come from the roots; every
    // application is still added, after them.
    EXPECT_EQ(relativePaths(Scanner({tree.path("files")}, {tree.path("apps")}, 3).scan(), tree),
              (QStringList{"files/B2/x.txt", "files/a.txt", "files/b/c.txt", "apps/Runner.AppImage", "apps/Tool.app"}));
}

TEST(ScannerWalkTest, ReportsProgressEveryFiveHundredItemsAndStopsWhenCancelled)
{
    TempTree tree;
    for (int i = 0; i < 1203; ++i) tree.write(QStringLiteral("f/%1.txt").arg(i));
    tree.write("apps/A.AppImage");
    QList<int> counts;
    const Scanner scanner({tree.path("f")}, {tree.path("apps")});
    EXPECT_EQ(scanner.scan([&](int n) { counts << n; }).size(), 1203 + 1);
    EXPECT_EQ(counts, (QList<int>{500, 1000}));
    const std::atomic<bool> cancelled{true};
    EXPECT_TRUE(scanner.scan({}, &cancelled).isEmpty());
}

TEST(ScannerRootsTest, NestedRepeatedAndUnstandardisedRootsYieldEachFileOnce)
{
    TempTree tree;
    // "subway" shares a prefix with "sub" but is not inside it.
    for (const char* rel : {"top.txt", "sub/inner.txt", "sub/deeper/leaf.txt", "subway/other.txt"})
        tree.write(QString::fromLatin1(rel));

    struct Case {
        const char* name;
        QStringList roots;
        QStringList expected;
    } cases[] = {
        {"folder and its subfolder",
         {tree.root(), tree.path("sub")},
         {"sub/deeper/leaf.txt", "sub/inner.txt", "subway/other.txt", "top.txt"}},
        {"subfolder first",
         {tree.path("sub"), tree.root()},
         {"sub/deeper/leaf.txt", "sub/inner.txt", "subway/other.txt", "top.txt"}},
        {"same root twice", {tree.path("sub"), tree.path("sub")}, {"sub/deeper/leaf.txt", "sub/inner.txt"}},
        {"dot and dot-dot components",
         {tree.path("sub/deeper/../."), tree.path("sub/"), tree.path("sub/deeper")},
         {"sub/deeper/leaf.txt", "sub/inner.txt"}},
        {"prefix that is not a parent",
         {tree.path("subway"), tree.path("sub")},
         {"subway/other.txt", "sub/deeper/leaf.txt", "sub/inner.txt"}},
        {"missing root contributes nothing", {tree.path("nowhere"), tree.path("subway")}, {"subway/other.txt"}},
    };
    for (const Case& c : cases) EXPECT_EQ(relativePaths(Scanner(c.roots, {}).scan(), tree), c.expected) << c.name;
}

TEST(ScannerPackagesTest, DocumentPackagesAreOneItemAndLibrariesAreLeftOut)
{
    TempTree tree;
    // Left out whole ("bundle" although it is also a package extension).
    for (const char* rel : {"Pictures/Photos Library.photoslibrary/originals/0/a.jpg",
                            "Pictures/Photos Library.photoslibrary/database/Photos.sqlite",
                            "Code/App.xcodeproj/project.pbxproj", "Code/Thing.bundle/Contents/Info.plist"})
        tree.write(QString::fromLatin1(rel), "x");
    tree.writeSized("Docs/Trip.rtfd/TXT.rtf", 1200, 1);
    tree.writeSized("Docs/Trip.rtfd/Pasted Graphic.png", 3400, 2);
    tree.writeSized("Docs/Trip.rtfd/.hidden-inside", 7, 3);
    tree.writeSized("Docs/Trip.rtfd/nested/deeper/more.bin", 50, 4);
    tree.symlink("Docs/Trip.rtfd/link-to-big", "/usr/bin/env");
    tree.write("Docs/Report.PAGES/Index.zip", "12345");
    tree.write("Docs/plain/notes.txt", "abc");

    const QList<FileItem> items = scanRoot(tree);
    EXPECT_EQ(relativePaths(items, tree), (QStringList{"Docs/Report.PAGES", "Docs/Trip.rtfd", "Docs/plain/notes.txt"}));

    const FileItem* rtfd = find(items, tree.path("Docs/Trip.rtfd"));
    const FileItem* pages = find(items, tree.path("Docs/Report.PAGES"));
    ASSERT_TRUE(rtfd && pages);
    EXPECT_EQ(rtfd->size, 1200 + 3400 + 7 + 50);
    EXPECT_EQ(rtfd->kind, FileKind::document);
    EXPECT_EQ(Scanner::directorySize(tree.path("Docs/Trip.rtfd")), rtfd->size);
    EXPECT_EQ(pages->ext, "pages");
    EXPECT_EQ(pages->size, 5);
}

TEST(ScannerItemTest, SizesAndDatesComeFromTheFileSystem)
{
    TempTree tree;
    const Date before = now() - 2.0;
    const QString sparse = tree.path("big.iso");
    {
        QFile f(sparse);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        ASSERT_TRUE(f.resize(250'000'000));  // logical size; the disk stays empty
    }
    tree.write("old.txt", "hello");
    const Date edited = Date::fromIso("2020-02-29T12:34:56.789Z");
    tree.setTimes("old.txt", edited);

    const QList<FileItem> items = scanRoot(tree);
    ASSERT_EQ(items.size(), 2);
    const FileItem* big = find(items, sparse);
    const FileItem* old = find(items, tree.path("old.txt"));
    ASSERT_TRUE(big && old);
    EXPECT_EQ(big->size, 250'000'000);
    EXPECT_EQ(old->name, "old.txt");
    EXPECT_EQ(old->size, 5);
    EXPECT_NEAR(old->modified.seconds, edited.seconds, 1e-6);
    // Added is the status-change time (now); created is the birth time where the file system
    // reports one, otherwise the earlier of modification and status change.
    EXPECT_GE(old->added, before);
    EXPECT_LE(old->added, now() + 2.0);
    EXPECT_TRUE(old->created == old->modified || (old->created >= before && old->created <= old->added));

    // Reading one path outside a scan gives the same item.
    const std::optional<FileItem> single = Scanner::makeItem(old->path);
    ASSERT_TRUE(single.has_value());
    EXPECT_TRUE(single->size == old->size && single->created == old->created && single->modified == old->modified
                && single->added == old->added && single->ext == old->ext);
    EXPECT_FALSE(Scanner::makeItem(tree.path("vanished.txt")).has_value());
    EXPECT_FALSE(Scanner::readValues(tree.path("vanished.txt")).has_value());
}

TEST_F(ScannerXattrTest, ScreenshotsByNameInAnyCaseOrByTheCaptureAttribute)
{
    struct Case {
        const char* name;
        bool captureAttribute;
        bool expected;
    } cases[] = {
        {"Screen Shot 2021-03-04 at 10.11.12.png", false, true},
        {"SCREEN SHOT 2021-03-04.PNG", false, true},
        {"screenshot from 2025-03-01 10-11-12.png", false, true},
        {"CleanShot 2023-08-09 at 10.11.12@2x.jpg", false, true},
        {"Simulator Screen Shot - iPhone 15.heic", false, true},
        {"Screenshots overview.tiff", false, true},
        {"Screen Shot 2021-03-04 at 10.11.12.gif", false, false},
        {"Screen Recording 2021-03-04.mov", false, false},
        {"My screenshot.png", false, false},
        {"Capture d’écran 2023-01-01.png", true, true},
        {"Capture.gif", true, false},
        {"holiday.jpg", false, false},
    };
    for (const Case& c : cases) {
        const QString rel = QStringLiteral("shots/") + QString::fromUtf8(c.name);
        tree.write(rel, "x");
        if (c.captureAttribute) {
            ASSERT_TRUE(tree.setXattr(rel, "user.com.apple.metadata:kMDItemIsScreenCapture", xmlPlist("<true/>")));
        }
    }
    const QList<FileItem> items = scanRoot(tree);
    ASSERT_EQ(items.size(), qsizetype(std::size(cases)));
    for (const Case& c : cases) {
        const FileItem* item = find(items, tree.path(QStringLiteral("shots/") + QString::fromUtf8(c.name)));
        ASSERT_NE(item, nullptr) << c.name;
        EXPECT_EQ(item->isScreenshot, c.expected) << c.name;
        EXPECT_EQ(Scanner::isScreenshot(item->path, item->name, item->ext), c.expected) << c.name;
    }
}

TEST_F(ScannerXattrTest, WhereFromComesFromTheCarriedOverListOrTheFreedesktopPair)
{
    const char* origin = "user.xdg.origin.url";
    const char* referrer = "user.xdg.referrer.url";
    const char* carried = "user.com.apple.metadata:kMDItemWhereFroms";
    struct Attr {
        QByteArray name;
        QByteArray value;
    };
    // A value longer than a small buffer, and more attribute names than one lists.
    const QByteArray longUrl = "https://www.example.com/?q=" + QByteArray(2500, 'a');
    QList<Attr> crowded;
    for (int i = 0; i < 40; ++i) crowded << Attr{"user.unrelated.attribute.number." + QByteArray::number(i), "1"};
    crowded << Attr{referrer, "https://github.com/o/r"};
    struct Case {
        const char* file;
        QList<Attr> attrs;
        QStringList whereFrom;
        std::optional<QString> sourceKey;
    } cases[] = {
        {"mail.pdf",
         {{origin, "https://mail-attachment.googleusercontent.com/attachment/u/0/?ui=2&ik=1"},
          {referrer, "https://mail.google.com/"}},
         {"https://mail-attachment.googleusercontent.com/attachment/u/0/?ui=2&ik=1", "https://mail.google.com/"},
         QStringLiteral("gmail")},
         {"release.AppImage",
          {{origin, "https://github.com/o/r/releases/download/v1/release.AppImage"}},
          {"https://github.com/o/r/releases/download/v1/release.AppImage"},
          QStringLiteral("github")},
          {"unknown.zip",
           {{origin, QByteArray("https://www.example.org/files/unknown.zip\0", 42)}},
           {"https://www.example.org/files/unknown.zip"},
           QStringLiteral("site:example.org")},
           {"referrer-only.pdf",
            {{referrer, "https://arxiv.org/abs/1"}},
            {"https://arxiv.org/abs/1"},
            QStringLiteral("site:arxiv.org")},
            {"empty-origin.pdf",
             {{origin, ""}, {referrer, "https://b.example.net/"}},
             {"https://b.example.net/"},
             QStringLiteral("site:b.example.net")},
             {"carried-xml.pdf",
              {{carried,
                xmlPlist("<array><string>https://files.slack.com/x.pdf</string><string>https://app.slack.com/</"
                         "string></array>")},
               {origin, "https://ignored.example.com/"}},
              {"https://files.slack.com/x.pdf", "https://app.slack.com/"},
              QStringLiteral("slack")},
              {"carried-binary.pdf",
               {{carried, binaryPlistOfStrings({"https://www.dropbox.com/s/a/b.pdf?dl=1"})}},
               {"https://www.dropbox.com/s/a/b.pdf?dl=1"},
               QStringLiteral("dropbox")},
               {"carried-dict.pdf",
                {{carried, xmlPlist("<dict><key>url</key><string>https://github.com/</string></dict>")},
                 {origin, "https://github.com/"}},
                {},
                std::nullopt},
               {"carried-mixed.pdf",
                {{carried, xmlPlist("<array><string>https://github.com/</string><integer>3</integer></array>")}},
                {},
                std::nullopt},
               {"carried-garbage.pdf", {{carried, "not a property list"}}, {}, std::nullopt},
               {"carried-empty-value.pdf",
                {{carried, ""}, {origin, "https://canva.com/d"}},
                {"https://canva.com/d"},
                QStringLiteral("canva")},
                {"plain.pdf", {}, {}, std::nullopt},
                {"long.pdf", {{origin, longUrl}}, {QString::fromLatin1(longUrl)}, QStringLiteral("site:example.com")},
                 {"crowded.pdf", crowded, {"https://github.com/o/r"}, QStringLiteral("github")},
                };
    for (const Case& c : cases) {
        const QString rel = QStringLiteral("dl/") + QLatin1String(c.file);
        tree.write(rel, "data");
        for (const Attr& a : c.attrs)
            ASSERT_TRUE(tree.setXattr(rel, a.name.constData(), a.value)) << c.file << " " << a.name.constData();
    }
    const QList<FileItem> items = scanRoot(tree);
    for (const Case& c : cases) {
        const FileItem* item = find(items, tree.path(QStringLiteral("dl/") + QLatin1String(c.file)));
        ASSERT_NE(item, nullptr) << c.file;
        EXPECT_EQ(item->whereFrom, c.whereFrom) << c.file;
        EXPECT_EQ(item->sourceKey, c.sourceKey) << c.file;
        EXPECT_EQ(Scanner::whereFroms(item->path), c.whereFrom) << c.file;
    }
    EXPECT_EQ(Scanner::xattrData(tree.path("dl/referrer-only.pdf"), "user.xdg.referrer.url"),
              std::optional<QByteArray>("https://arxiv.org/abs/1"));
    EXPECT_FALSE(Scanner::xattrData(tree.path("dl/empty-origin.pdf"), "user.xdg.origin.url").has_value());
    EXPECT_FALSE(Scanner::xattrData(tree.path("dl/plain.pdf"), "user.xdg.origin.url").has_value());
}

TEST(ScannerAppsTest, ListsBundlesAndAppImagesWithTheirLastUse)
{
    TempTree tree;
    tree.writeSized("Applications/Editor.app/Contents/MacOS/editor", 3000);
    tree.writeSized("Applications/Editor.app/Contents/Info.plist", 200, 1);
    tree.writeSized("Applications/Krita-5.2.appimage", 1000, 2);
    tree.writeSized("Applications/Notes.AppImage", 500, 3);
    for (const char* other :
         {"Applications/Shouting.APP/Contents/Info.plist", "Applications/.Hidden.app/Contents/Info.plist",
          "Applications/Utilities/Terminal.app/Contents/Info.plist", "Applications/README.txt",
          "Home/Applications/Local.AppImage", "Home/Documents/a.txt"})
        tree.write(QString::fromLatin1(other), "x");

    const Date usedBundle = Date::fromIso("2024-05-01T08:00:00Z");
    const Date usedImage = Date::fromIso("2023-11-20T17:30:00Z");
    const Date edited = Date::fromIso("2022-01-01T00:00:00Z");
    tree.setTimes("Applications/Editor.app", edited, usedBundle);
    tree.setTimes("Applications/Krita-5.2.appimage", edited, usedImage);

    // The application folder inside the root is listed by the walk; the applications pass
    // must not add it again. The same application folder twice lists its entries once.
    const Scanner scanner({tree.path("Home")},
                          {tree.path("Applications"), tree.path("Home/Applications"), tree.path("Applications")});
    const QList<FileItem> items = scanner.scan();
    EXPECT_EQ(relativePaths(items, tree),
              (QStringList{"Home/Applications/Local.AppImage", "Home/Documents/a.txt", "Applications/Editor.app",
                           "Applications/Krita-5.2.appimage", "Applications/Notes.AppImage"}));

    const FileItem* editor = find(items, tree.path("Applications/Editor.app"));
    const FileItem* krita = find(items, tree.path("Applications/Krita-5.2.appimage"));
    ASSERT_TRUE(editor && krita);
    EXPECT_EQ(editor->kind, FileKind::app);
    EXPECT_EQ(editor->size, 3200);
    EXPECT_EQ(krita->kind, FileKind::app);
    EXPECT_EQ(krita->size, 1000);
    EXPECT_FALSE(find(items, tree.path("Home/Applications/Local.AppImage"))->lastUsed.has_value());

    // Access times are what this file system records (unless it is mounted without them).
    if (Scanner::lastUsedDate(krita->path).has_value()) {
        ASSERT_TRUE(krita->lastUsed.has_value());
        EXPECT_NEAR(krita->lastUsed->seconds, usedImage.seconds, 1e-6);
        ASSERT_TRUE(editor->lastUsed.has_value());
        EXPECT_NEAR(editor->lastUsed->seconds, usedBundle.seconds, 1e-6);
        // Measuring the bundle does not count as opening it: a second scan sees the same date.
        const QList<FileItem> rescanned = scanner.scan();
        const FileItem* again = find(rescanned, editor->path);
        ASSERT_NE(again, nullptr);
        EXPECT_EQ(again->lastUsed, editor->lastUsed);
    }
}

TEST(ScannerCameraTest, ReadsTheModelElseTheMakeFromExif)
{
    TempTree tree;
    QImage image(64, 48, QImage::Format_RGB32);
    image.fill(Qt::darkCyan);
    auto jpegWithExif = [&](const QString& rel, const char* make, const char* model) {
        QString path = tree.path(rel);
        QDir().mkpath(QFileInfo(path).absolutePath());
        EXPECT_TRUE(image.save(path, "JPEG"));
        auto img = Exiv2::ImageFactory::open(QFile::encodeName(path).toStdString());
        img->readMetadata();
        Exiv2::ExifData& exif = img->exifData();
        if (make) exif["Exif.Image.Make"] = std::string(make);
        if (model) exif["Exif.Image.Model"] = std::string(model);
        img->writeMetadata();
        return path;
    };
    struct Case {
        const char* name;
        QString path;
        std::optional<QString> expected;
    } cases[] = {
        {"model and make", jpegWithExif("p/both.jpg", "Google", "Pixel 8"), QStringLiteral("Pixel 8")},
         {"make only", jpegWithExif("p/make.jpg", "Canon", nullptr), QStringLiteral("Canon")},
          {"no exif", jpegWithExif("p/none.jpg", nullptr, nullptr), std::nullopt},
          {"not an image", tree.write("p/fake.jpg", "plain text"), std::nullopt},
          {"damaged image",
           tree.write("p/cut.jpg",
                      QByteArray("\xff\xd8\xff\xe1\x00\x40"
                                 "Exif\0\0MM",
                                 14)),
           std::nullopt},
          {"missing file", tree.path("p/missing.jpg"), std::nullopt},
          {"folder", tree.mkdir("p/folder.jpg"), std::nullopt},
        };
    for (const Case& c : cases) EXPECT_EQ(Scanner::cameraModel(c.path), c.expected) << c.name;

    // The scan itself never reads the camera.
    const QList<FileItem> items = scanRoot(tree);
    for (const FileItem& item : items) EXPECT_FALSE(item.camera.has_value()) << item.path.toStdString();
}

TEST(ScannerSyntheticHomeTest, ScanOfAWrittenHomeMatchesItsPlan)
{
    TempTree tree;
    if (!test::supportsXattrs(tree.root())) GTEST_SKIP() << "no user attributes here";
    const QString root = tree.path("home");
    const QList<bench::PlannedFile> plan = bench::plan(1500, 11);
    ASSERT_TRUE(bench::write(root, plan, 1500, 11));
    ASSERT_TRUE(bench::isWritten(root, 1500, 11));

    const QList<FileItem> scanned = Scanner(bench::roots(root), bench::appFolders(root)).scan();
    const QList<FileItem> expected = bench::items(root, plan, now());
    ASSERT_EQ(scanned.size(), expected.size());
    QHash<QString, const FileItem*> byPath;
    for (const FileItem& item : expected) byPath.insert(item.path, &item);
    int screenshots = 0, withOrigin = 0, packages = 0;
    for (const FileItem& item : scanned) {
        const FileItem* want = byPath.value(item.path);
        ASSERT_NE(want, nullptr) << item.path.toStdString();
        const auto fields = [](const FileItem& f) {
            return std::tuple(f.size, f.ext, f.kind, f.isScreenshot, f.whereFrom, f.sourceKey, f.lastUsed.has_value());
        };
        EXPECT_EQ(fields(item), fields(*want)) << item.path.toStdString();
        screenshots += item.isScreenshot;
        withOrigin += !item.whereFrom.isEmpty();
        packages += QFileInfo(item.path).isDir();
    }
    // The generated home exercises what it is for.
    EXPECT_GT(screenshots, 0);
    EXPECT_GT(withOrigin, 0);
    EXPECT_GT(packages, 0);
}
