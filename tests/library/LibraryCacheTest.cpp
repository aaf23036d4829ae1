#include "library/LibraryCache.h"
#include "library/Prefs.h"
#include "model/FileKind.h"
#include "support/TempTree.h"
#include "support/TestItems.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <atomic>
#include <csignal>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <sys/resource.h>
#include <thread>
#include <tuple>

using namespace fennic;

// Readable QString and QByteArray values in test failure messages.
static void PrintTo(const QString& s, std::ostream* os) { *os << '"' << s.toStdString() << '"'; }
static void PrintTo(const QByteArray& b, std::ostream* os) { *os << '"' << b.toStdString() << '"'; }

namespace {

// FileItem equality is by path alone; a round trip must keep every field, dates bit for bit.
void expectSameItem(const FileItem& a, const FileItem& b)
{
    const auto fields = [](const FileItem& f) {
        return std::tuple(f.path, f.name, f.ext, f.size, f.created.seconds, f.modified.seconds, f.added.seconds, f.kind,
                          f.isScreenshot, f.whereFrom, f.sourceKey,
                          f.lastUsed ? std::optional(f.lastUsed->seconds) : std::nullopt, f.camera);
    };
    EXPECT_EQ(fields(a), fields(b));
}

void expectSameList(const QList<FileItem>& a, const QList<FileItem>& b)
{
    ASSERT_EQ(a.size(), b.size());
    for (qsizetype i = 0; i < a.size(); ++i) expectSameItem(a[i], b[i]);
}

FileItem item(const QString& path, qint64 size, FileKind kind)
{
    FileItem f = test::itemAt(path);
    f.size = size;
    f.kind = kind;
    f.created = Date{700000000.25};
    f.modified = Date{700000100.5};
    f.added = Date{700000200.75};
    return f;
}

// Values chosen to expose mistakes: sizes ordered unlike names, every kind, dates with long
// fractions and at the far ends, characters that need escaping, non-BMP text, empty strings.
QList<FileItem> trickyItems()
{
    QList<FileItem> items;
    FileItem a = item("/home/u/Documents/zeta report.pdf", 1, FileKind::document);
    a.created = Date::distantPast();
    a.modified = Date{0.1 + 0.2};
    a.added = Date{-1.0e-7};
    items << a;

    FileItem b =
        item(QString::fromUtf8(
                 "/home/u/Pictures/\xE5\x86\x99\xE7\x9C\x9F/caf\xC3\xA9 \xF0\x9F\xA6\x8A \"quoted\" back\\slash.PNG"),
             9'007'199'254'740'993LL, FileKind::image);
    b.isScreenshot = true;
    b.created = Date{1.0e20};
    b.modified = Date{123456789012345678.0};
    b.added = Date::distantFuture();
    b.camera = QString::fromUtf8("Canon EOS R5 \xE2\x80\x94 \xC3\xA9");
    items << b;

    FileItem c = item(QStringLiteral("/home/u/Downloads/tab\there\nnewline\x01\x1f\x7f end.zip"), 0, FileKind::archive);
    c.whereFrom = {QStringLiteral("https://mail.google.com/mail/u/0/?ui=2&q=\"x\"\\y"), QString()};
    c.sourceKey = QStringLiteral("gmail");
    c.added = Date{757382400.123456789};
    items << c;

    FileItem d = item("/Applications/Zed.app", 12'345'678'901LL, FileKind::app);
    d.lastUsed = Date{757382400.000001};
    d.whereFrom = {QString()};
    items << d;

    FileItem e = item("/home/u/Music/a.flac", std::numeric_limits<qint64>::max(), FileKind::music);
    e.sourceKey = QStringLiteral("site:example.com");
    e.lastUsed = Date::distantPast();
    items << e;

    FileItem f = item("/home/u/Movies/b.mkv", 5, FileKind::video);
    f.camera = QString();
    items << f;

    FileItem g = item("/home/u/Desktop/no extension", -1, FileKind::other);
    g.ext.clear();
    items << g;

    // A lone-surrogate-free path made only of multi-byte characters.
    items << item(QString::fromUtf8("/\xD0\x96/\xF0\x9D\x84\x9E\xF0\x9D\x84\x9E.txt"), 42, FileKind::document);
    return items;
}

// One item with the ten required keys, as the encoder writes it, and what is spliced in.
QByteArray object(const QByteArray& extra = {})
{
    const QByteArray item =
        R"({"path":"/home/u/a.txt","name":"a.txt","ext":"txt","size":12,"created":1.5,"modified":2,)"
        R"("added":3.25,"kind":"document","isScreenshot":false,"whereFrom":[]})";
    return extra.isEmpty() ? item : item.chopped(1) + ',' + extra + '}';
}

class LibraryCacheTest : public ::testing::Test {
protected:
    void TearDown() override
    {
        qunsetenv("FENNIC_LIBRARY_ROOT");
        Prefs::resetForTesting();
    }
};

}  // namespace

TEST_F(LibraryCacheTest, RoundTripKeepsEveryFieldAndAnyJsonReaderAgrees)
{
    QList<FileItem> items = trickyItems();
    for (const FileKind k : FileKinds::allCases) items << item("/k/" + FileKinds::rawValue(k), 1, k);
    const QByteArray bytes = LibraryCache::encode(items);
    const auto decoded = LibraryCache::decode(bytes);
    ASSERT_TRUE(decoded.has_value());
    expectSameList(*decoded, items);

    // Control characters are escaped, and an independent reader sees the same strings and the
    // kind names that FileKinds uses.
    for (const char c : bytes) EXPECT_GE(static_cast<unsigned char>(c), 0x20) << "raw control byte in output";
    QJsonParseError error{};
    const QJsonArray json = QJsonDocument::fromJson(bytes, &error).array();
    ASSERT_EQ(error.error, QJsonParseError::NoError) << error.errorString().toStdString();
    ASSERT_EQ(json.size(), items.size());
    for (qsizetype i = 0; i < items.size(); ++i) {
        const QJsonObject o = json[i].toObject();
        EXPECT_EQ(o["path"].toString(), items[i].path);
        EXPECT_EQ(o["name"].toString(), items[i].name);
        EXPECT_EQ(o["whereFrom"].toVariant().toStringList(), items[i].whereFrom);
        EXPECT_EQ(o["kind"].toString(), FileKinds::rawValue(items[i].kind));
        EXPECT_EQ(o.contains("camera"), items[i].camera.has_value());
    }
}

TEST_F(LibraryCacheTest, EncodingIsCompactKeyedInFieldOrderWithOptionalKeysLeftOut)
{
    FileItem f = item("/h/Downloads/r.pdf", 2048, FileKind::document);
    f.created = Date::distantPast();
    f.modified = Date{0.5};
    f.added = Date{-12.125};
    f.whereFrom = {"https://a.example/r.pdf", "https://a.example/"};
    const QByteArray required = R"({"path":"/h/Downloads/r.pdf","name":"r.pdf","ext":"pdf","size":2048,)"
                                R"("created":-63113904000,"modified":0.5,"added":-12.125,"kind":"document",)"
                                R"("isScreenshot":false,"whereFrom":["https://a.example/r.pdf","https://a.example/"])";
    EXPECT_EQ(LibraryCache::encode({f}), '[' + required + "}]");
    f.sourceKey = "site:a.example";
    f.lastUsed = Date{1.0};
    f.camera = "X100";
    EXPECT_EQ(LibraryCache::encodeItem(f), required + R"(,"sourceKey":"site:a.example","lastUsed":1,"camera":"X100"})");
    EXPECT_EQ(LibraryCache::encode({}), "[]");
}

TEST_F(LibraryCacheTest, DecodingTakesWellFormedCachesAndRejectsAnyFaultWhole)
{
    const QByteArray good = object();
    struct Case {
        const char* name;
        QByteArray json;
        qsizetype count = -1;  // -1: the whole file is rejected
    };
    QList<Case> cases{
        {"empty array", "[]", 0},
        {"whitespace around", " \n[ \t]\r\n", 0},
        {"optional keys missing", '[' + good + ']', 1},
        {"optional keys null", '[' + object(R"("sourceKey":null,"lastUsed":null,"camera":null)") + ']', 1},
        {"unknown keys ignored", '[' + object(R"("future":{"a":[1,2,{"b":null}]},"x":1)") + ']', 1},
        {"two items", '[' + good + ',' + good + ']', 2},
        {"keys written with escapes",
         '[' + QByteArray(good).replace("\"path\"", "\"p\\u0061th\"").replace("\"kind\"", "\"kin\\u0064\"") + ']', 1},
        {"object instead of array", good},
        {"trailing garbage", "[]x"},
        {"two documents", "[][]"},
        {"unknown kind", '[' + good + ',' + QByteArray(good).replace("\"document\"", "\"folder\"") + ']'},
        {"kind in another case", '[' + QByteArray(good).replace("\"document\"", "\"Document\"") + ']'},
        {"size with a fraction", '[' + QByteArray(good).replace("\"size\":12", "\"size\":1.5") + ']'},
        {"size as a string", '[' + QByteArray(good).replace("\"size\":12", "\"size\":\"12\"") + ']'},
        {"size beyond 64 bits", '[' + QByteArray(good).replace("\"size\":12", "\"size\":9223372036854775808") + ']'},
        {"date as a string", '[' + QByteArray(good).replace("\"created\":1.5", "\"created\":\"2024-01-01\"") + ']'},
        {"bool as a number", '[' + QByteArray(good).replace("\"isScreenshot\":false", "\"isScreenshot\":0") + ']'},
        {"whereFrom as a string", '[' + QByteArray(good).replace("\"whereFrom\":[]", "\"whereFrom\":\"u\"") + ']'},
        {"whereFrom with a number",
         '[' + QByteArray(good).replace("\"whereFrom\":[]", "\"whereFrom\":[\"u\",1]") + ']'},
        {"required key null", '[' + QByteArray(good).replace("\"name\":\"a.txt\"", "\"name\":null") + ']'},
        {"optional key of wrong type", '[' + object("\"lastUsed\":\"yesterday\"") + ']'},
        {"camera as a number", '[' + object("\"camera\":5") + ']'},
        {"element not an object", '[' + good + ",1]"},
        {"invalid UTF-8", '[' + QByteArray(good).replace("a.txt\"", "a\xff.txt\"") + ']'},
        {"lone surrogate escape", '[' + QByteArray(good).replace("a.txt\"", "a\\ud800.txt\"") + ']'},
        {"raw control character", '[' + QByteArray(good).replace("a.txt\"", "a\n.txt\"") + ']'},
        {"number run into letters", '[' + QByteArray(good).replace("\"size\":12", "\"size\":12x") + ']'},
        {"literal run into letters", '[' + QByteArray(good).replace("false", "falsey") + ']'},
        {"missing comma between keys", '[' + QByteArray(good).replace(",\"ext\"", "\"ext\"") + ']'},
        {"bad JSON under an unknown key", '[' + object(R"("x":[1,,2])") + ']'},
        {"bad literal under an unknown key", '[' + object(R"("x":{"y":tru})") + ']'},
        {"bad number under an unknown key", '[' + object(R"("x":[-])") + ']'},
    };
    for (const char* key :
         {"path", "name", "ext", "size", "created", "modified", "added", "kind", "isScreenshot", "whereFrom"}) {
        QJsonObject without = QJsonDocument::fromJson(good).object();
        without.remove(QLatin1String(key));
        cases.append({key, '[' + good + ',' + QJsonDocument(without).toJson(QJsonDocument::Compact) + ']'});
    }
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto items = LibraryCache::decode(c.json);
        EXPECT_EQ(items.has_value(), c.count >= 0);
        if (!items || c.count < 0) continue;
        EXPECT_EQ(items->size(), c.count);
        for (const FileItem& f : *items) EXPECT_EQ(LibraryCache::encodeItem(f), good);
    }

    // Keys in another order mean the same item.
    const auto reordered = LibraryCache::decode(
        R"([{"whereFrom":["u"],"kind":"app","camera":"C","added":3,"ext":"app","lastUsed":9.5,"isScreenshot":true,)"
        R"("size":7,"name":"Z.app","modified":2,"sourceKey":"s","created":1,"path":"/A/Z.app"}])");
    ASSERT_TRUE(reordered.has_value());
    ASSERT_EQ(reordered->size(), 1);
    EXPECT_EQ(
        LibraryCache::encodeItem(reordered->at(0)),
        QByteArray(
            R"({"path":"/A/Z.app","name":"Z.app","ext":"app","size":7,"created":1,"modified":2,"added":3,)"
            R"("kind":"app","isScreenshot":true,"whereFrom":["u"],"sourceKey":"s","lastUsed":9.5,"camera":"C"})"));
}

TEST_F(LibraryCacheTest, DamagedBytesNeverCrashAndNeverGiveAPartialList)
{
    const QList<FileItem> items = trickyItems();
    const QByteArray good = LibraryCache::encode(items);

    // Every truncation is rejected (the empty file included).
    for (qsizetype n = 0; n < good.size(); ++n)
        ASSERT_FALSE(LibraryCache::decode(good.left(n)).has_value()) << "prefix of " << n << " bytes";

    // A flipped byte is either harmless (inside a string) or rejects the file; it never drops items.
    std::mt19937 random(20240313);
    int rejected = 0;
    for (int round = 0; round < 3000; ++round) {
        QByteArray damaged = good;
        const auto at = std::uniform_int_distribution<qsizetype>(0, good.size() - 1)(random);
        damaged[at] = char(damaged[at] ^ std::uniform_int_distribution<int>(1, 255)(random));
        const auto decoded = LibraryCache::decode(damaged);
        if (decoded) {
            ASSERT_EQ(decoded->size(), items.size()) << "flip at " << at;
        } else {
            ++rejected;
        }
    }
    EXPECT_GT(rejected, 0);
}

TEST_F(LibraryCacheTest, SaveThenLoadThroughRealFilesAtTheDefaultPath)
{
    test::TempTree tree;
    qputenv("FENNIC_LIBRARY_ROOT", QFile::encodeName(tree.path("fixture")));
    Prefs::configure();
    const QString relative = "fixture/.fennic-support/index.json";
    const QString file = LibraryCache::defaultPath();
    EXPECT_EQ(file, tree.path(relative));
    EXPECT_FALSE(LibraryCache::load(file).has_value()) << "missing file";

    const QList<FileItem> items = trickyItems();
    ASSERT_TRUE(LibraryCache::save(file, items));
    const auto loaded = LibraryCache::load(file);
    ASSERT_TRUE(loaded.has_value());
    expectSameList(*loaded, items);
    // The temporary file is gone: the folder holds the cache and nothing else.
    EXPECT_EQ(QDir(tree.path("fixture/.fennic-support")).entryList(QDir::Files | QDir::Hidden),
              QStringList{"index.json"});

    for (const QByteArray& damaged : {QByteArray(), QByteArray("[{\"path\":")}) {
        tree.write(relative, damaged);
        EXPECT_FALSE(LibraryCache::load(file).has_value()) << damaged.constData();
    }
    EXPECT_FALSE(LibraryCache::load(tree.mkdir("folder")).has_value()) << "a folder is not a cache";
}

TEST_F(LibraryCacheTest, FailedSaveLeavesThePreviousFileInPlace)
{
    test::TempTree tree;
    const QString file = tree.path("index.json");
    const QList<FileItem> before = trickyItems();
    ASSERT_TRUE(LibraryCache::save(file, before));

    // Writing stops part-way (a file-size limit makes the temporary file's writes fail, even
    // for root): the save reports failure and the old cache is untouched.
    QList<FileItem> bigger;
    for (int i = 0; i < 2000; ++i)
        bigger << item(QStringLiteral("/home/u/Documents/file %1.txt").arg(i), i, FileKind::document);
    {
        rlimit old{};
        ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
        const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
        rlimit small = old;
        small.rlim_cur = 4096;
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
        const bool saved = LibraryCache::save(file, bigger);
        setrlimit(RLIMIT_FSIZE, &old);
        std::signal(SIGXFSZ, oldHandler);
        EXPECT_FALSE(saved);
    }
    auto loaded = LibraryCache::load(file);
    ASSERT_TRUE(loaded.has_value());
    expectSameList(*loaded, before);
    EXPECT_EQ(QDir(tree.root()).entryList(QDir::Files | QDir::Hidden), QStringList{"index.json"});

    // A target that cannot be replaced, and a folder that does not exist.
    EXPECT_FALSE(LibraryCache::save(tree.mkdir("taken"), before));
    EXPECT_FALSE(LibraryCache::save(tree.path("missing/index.json"), before));
}

TEST_F(LibraryCacheTest, ReadersNeverSeeHalfAFile)
{
    test::TempTree tree;
    const QString file = tree.path("index.json");
    QList<FileItem> small = trickyItems();
    QList<FileItem> large;
    for (int i = 0; i < 5000; ++i)
        large << item(QStringLiteral("/home/u/Pictures/img_%1.jpg").arg(i), i, FileKind::image);
    ASSERT_TRUE(LibraryCache::save(file, small));

    std::atomic<bool> stop{false};
    std::thread writer([&] {
        for (int i = 0; i < 40 && !stop; ++i) LibraryCache::save(file, i % 2 ? small : large);
        stop = true;
    });
    int reads = 0;
    while (!stop) {
        const auto loaded = LibraryCache::load(file);
        ASSERT_TRUE(loaded.has_value()) << "a reader saw a damaged file";
        ASSERT_TRUE(loaded->size() == small.size() || loaded->size() == large.size());
        ++reads;
    }
    writer.join();
    EXPECT_GT(reads, 0);
}
