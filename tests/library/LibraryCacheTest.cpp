#include "library/LibraryCache.h"
#include "library/Prefs.h"
#include "model/FileKind.h"
#include "support/TempTree.h"

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

using namespace fennic;

namespace {

// FileItem equality is by path alone; a round trip must keep every field, dates bit for bit.
void expectSameItem(const FileItem& a, const FileItem& b)
{
    SCOPED_TRACE(a.path.toStdString());
    EXPECT_EQ(a.path, b.path);
    EXPECT_EQ(a.name, b.name);
    EXPECT_EQ(a.ext, b.ext);
    EXPECT_EQ(a.size, b.size);
    EXPECT_EQ(a.created.seconds, b.created.seconds);
    EXPECT_EQ(a.modified.seconds, b.modified.seconds);
    EXPECT_EQ(a.added.seconds, b.added.seconds);
    EXPECT_EQ(a.kind, b.kind);
    EXPECT_EQ(a.isScreenshot, b.isScreenshot);
    EXPECT_EQ(a.whereFrom, b.whereFrom);
    EXPECT_EQ(a.sourceKey, b.sourceKey);
    EXPECT_EQ(a.lastUsed.has_value(), b.lastUsed.has_value());
    if (a.lastUsed && b.lastUsed) {
        EXPECT_EQ(a.lastUsed->seconds, b.lastUsed->seconds);
    }
    EXPECT_EQ(a.camera, b.camera);
}

void expectSameList(const QList<FileItem>& a, const QList<FileItem>& b)
{
    ASSERT_EQ(a.size(), b.size());
    for (qsizetype i = 0; i < a.size(); ++i) expectSameItem(a[i], b[i]);
}

FileItem item(const QString& path, qint64 size, FileKind kind)
{
    FileItem f;
    f.path = path;
    f.name = path.mid(path.lastIndexOf(u'/') + 1);
    f.ext = pathExtension(f.name).toLower();
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

    FileItem b = item(QString::fromUtf8("/home/u/Pictures/\xE5\x86\x99\xE7\x9C\x9F/caf\xC3\xA9 \xF0\x9F\xA6\x8A \"quoted\" back\\slash.PNG"),
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

// One object with the ten required keys, and what is spliced in.
QByteArray object(const QByteArray& extra = {}, const QByteArray& without = {})
{
    const QList<QPair<QByteArray, QByteArray>> fields{
        {"path", "\"/home/u/a.txt\""}, {"name", "\"a.txt\""},   {"ext", "\"txt\""},
        {"size", "12"},                {"created", "1.5"},      {"modified", "2"},
        {"added", "3.25"},             {"kind", "\"document\""}, {"isScreenshot", "false"},
        {"whereFrom", "[]"},
    };
    QByteArray out = "{";
    for (const auto& [key, value] : fields) {
        if (key == without) continue;
        if (out.size() > 1) out += ',';
        out += '"' + key + "\":" + value;
    }
    if (!extra.isEmpty()) out += (out.size() > 1 ? "," : "") + extra;
    return out + '}';
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

TEST_F(LibraryCacheTest, RoundTripKeepsEveryFieldExactly)
{
    const QList<FileItem> items = trickyItems();
    const auto decoded = LibraryCache::decode(LibraryCache::encode(items));
    ASSERT_TRUE(decoded.has_value());
    expectSameList(*decoded, items);

    // Every kind's raw string is the one FileKinds uses.
    QList<FileItem> kinds;
    for (const FileKind k : FileKinds::allCases) kinds << item("/k/" + FileKinds::rawValue(k), 1, k);
    const QJsonArray json = QJsonDocument::fromJson(LibraryCache::encode(kinds)).array();
    ASSERT_EQ(json.size(), qsizetype(FileKinds::allCases.size()));
    for (qsizetype i = 0; i < json.size(); ++i)
        EXPECT_EQ(json[i].toObject()["kind"].toString(), FileKinds::rawValue(kinds[i].kind));
    const auto back = LibraryCache::decode(LibraryCache::encode(kinds));
    ASSERT_TRUE(back.has_value());
    expectSameList(*back, kinds);
}

TEST_F(LibraryCacheTest, EncodingIsCompactKeyedInFieldOrderWithOptionalKeysLeftOut)
{
    FileItem f = item("/h/Downloads/r.pdf", 2048, FileKind::document);
    f.created = Date::distantPast();
    f.modified = Date{0.5};
    f.added = Date{-12.125};
    f.whereFrom = {"https://a.example/r.pdf", "https://a.example/"};
    EXPECT_EQ(LibraryCache::encode({f}),
              R"([{"path":"/h/Downloads/r.pdf","name":"r.pdf","ext":"pdf","size":2048,)"
              R"("created":-63113904000,"modified":0.5,"added":-12.125,"kind":"document",)"
              R"("isScreenshot":false,"whereFrom":["https://a.example/r.pdf","https://a.example/"]}])");

    f.sourceKey = "site:a.example";
    f.lastUsed = Date{1.0};
    f.camera = "X100";
    EXPECT_EQ(LibraryCache::encodeItem(f),
              R"({"path":"/h/Downloads/r.pdf","name":"r.pdf","ext":"pdf","size":2048,)"
              R"("created":-63113904000,"modified":0.5,"added":-12.125,"kind":"document",)"
              R"("isScreenshot":false,"whereFrom":["https://a.example/r.pdf","https://a.example/"],)"
              R"("sourceKey":"site:a.example","lastUsed":1,"camera":"X100"})");
    EXPECT_EQ(LibraryCache::encode({}), "[]");
}

TEST_F(LibraryCacheTest, StringsAreEscapedSoThatAnyJsonReaderAgrees)
{
    const QList<FileItem> items = trickyItems();
    const QByteArray bytes = LibraryCache::encode(items);
    for (const char c : bytes) EXPECT_GE(static_cast<unsigned char>(c), 0x20) << "raw control byte in output";

    // An independent reader sees the same strings.
    QJsonParseError error{};
    const QJsonArray json = QJsonDocument::fromJson(bytes, &error).array();
    ASSERT_EQ(error.error, QJsonParseError::NoError) << error.errorString().toStdString();
    ASSERT_EQ(json.size(), items.size());
    for (qsizetype i = 0; i < items.size(); ++i) {
        const QJsonObject o = json[i].toObject();
        EXPECT_EQ(o["path"].toString(), items[i].path);
        EXPECT_EQ(o["name"].toString(), items[i].name);
        QStringList whereFrom;
        for (const QJsonValue v : o["whereFrom"].toArray()) whereFrom << v.toString();
        EXPECT_EQ(whereFrom, items[i].whereFrom);
        EXPECT_EQ(o.contains("camera"), items[i].camera.has_value());
    }
}

TEST_F(LibraryCacheTest, AcceptedDocuments)
{
    struct Case {
        const char* name;
        QByteArray json;
        qsizetype count;
    };
    const Case cases[] = {
        {"empty array", "[]", 0},
        {"whitespace around", " \n[ \t]\r\n", 0},
        {"optional keys missing", '[' + object() + ']', 1},
        {"optional keys null", '[' + object(R"("sourceKey":null,"lastUsed":null,"camera":null)") + ']', 1},
        {"unknown keys ignored", '[' + object(R"("future":{"a":[1,2,{"b":null}]},"x":1)") + ']', 1},
        {"integer dates", '[' + object({}, "created") .replace("{", R"({"created":-63113904000,)") + ']', 1},
        {"two items", '[' + object() + ',' + object() + ']', 2},
        {"keys written with escapes", '[' + object().replace("\"path\"", "\"p\\u0061th\"").replace("\"kind\"", "\"kin\\u0064\"") + ']', 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto items = LibraryCache::decode(c.json);
        ASSERT_TRUE(items.has_value());
        ASSERT_EQ(items->size(), c.count);
        for (const FileItem& f : *items) {
            EXPECT_EQ(f.path, "/home/u/a.txt");
            EXPECT_EQ(f.kind, FileKind::document);
            EXPECT_FALSE(f.sourceKey.has_value());
            EXPECT_FALSE(f.lastUsed.has_value());
            EXPECT_FALSE(f.camera.has_value());
        }
    }
    // Keys in another order mean the same item.
    const auto reordered = LibraryCache::decode(
        R"([{"whereFrom":["u"],"kind":"app","camera":"C","added":3,"ext":"app","lastUsed":9.5,"isScreenshot":true,)"
        R"("size":7,"name":"Z.app","modified":2,"sourceKey":"s","created":1,"path":"/A/Z.app"}])");
    ASSERT_TRUE(reordered.has_value());
    FileItem expected = item("/A/Z.app", 7, FileKind::app);
    expected.created = Date{1};
    expected.modified = Date{2};
    expected.added = Date{3};
    expected.isScreenshot = true;
    expected.whereFrom = {"u"};
    expected.sourceKey = "s";
    expected.lastUsed = Date{9.5};
    expected.camera = "C";
    expectSameItem(reordered->at(0), expected);
}

TEST_F(LibraryCacheTest, AnyFaultRejectsTheWholeFile)
{
    const QByteArray good = object();
    struct Case {
        const char* name;
        QByteArray json;
    };
    QList<Case> cases{
        {"empty file", ""},
        {"object instead of array", good},
        {"truncated array", '[' + good + ',' + good},
        {"truncated object", '[' + good.left(good.size() - 5)},
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
        {"whereFrom with a number", '[' + QByteArray(good).replace("\"whereFrom\":[]", "\"whereFrom\":[\"u\",1]") + ']'},
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
    for (const char* key : {"path", "name", "ext", "size", "created", "modified", "added", "kind", "isScreenshot", "whereFrom"})
        cases.append({key, '[' + good + ',' + object({}, key) + ']'});

    for (const Case& c : cases) EXPECT_FALSE(LibraryCache::decode(c.json).has_value()) << c.name;
}

TEST_F(LibraryCacheTest, DamagedBytesNeverCrashAndNeverGiveAPartialList)
{
    const QList<FileItem> items = trickyItems();
    const QByteArray good = LibraryCache::encode(items);

    // Every truncation is rejected.
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

TEST_F(LibraryCacheTest, SaveThenLoadThroughRealFiles)
{
    test::TempTree tree;
    const QString file = tree.path("index.json");
    EXPECT_FALSE(LibraryCache::load(file).has_value()) << "missing file";

    const QList<FileItem> items = trickyItems();
    ASSERT_TRUE(LibraryCache::save(file, items));
    const auto loaded = LibraryCache::load(file);
    ASSERT_TRUE(loaded.has_value());
    expectSameList(*loaded, items);

    // The temporary file is gone: the folder holds the cache and nothing else.
    EXPECT_EQ(QDir(tree.root()).entryList(QDir::Files | QDir::Hidden), QStringList{"index.json"});

    tree.write("index.json", "[]");
    const auto empty = LibraryCache::load(file);
    ASSERT_TRUE(empty.has_value());
    EXPECT_TRUE(empty->isEmpty());

    tree.write("index.json", "[{\"path\":");
    EXPECT_FALSE(LibraryCache::load(file).has_value());
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
    for (int i = 0; i < 2000; ++i) bigger << item(QStringLiteral("/home/u/Documents/file %1.txt").arg(i), i, FileKind::document);
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
    for (int i = 0; i < 5000; ++i) large << item(QStringLiteral("/home/u/Pictures/img_%1.jpg").arg(i), i, FileKind::image);
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

TEST_F(LibraryCacheTest, DefaultPathIsInTheSupportFolder)
{
    test::TempTree tree;
    qputenv("FENNIC_LIBRARY_ROOT", QFile::encodeName(tree.path("fixture")));
    Prefs::configure();
    EXPECT_EQ(LibraryCache::defaultPath(), tree.path("fixture/.fennic-support/index.json"));
    ASSERT_TRUE(LibraryCache::save(LibraryCache::defaultPath(), trickyItems()));
    EXPECT_TRUE(QFile::exists(tree.path("fixture/.fennic-support/index.json")));
}
