#include "images/ImageIndex.h"
#include "support/TempTree.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <plist/plist.h>

using namespace fennic;

namespace {

QByteArray printOf(std::initializer_list<float> values)
{
    QByteArray bytes(qsizetype(values.size() * sizeof(float)), Qt::Uninitialized);
    std::memcpy(bytes.data(), values.begin(), size_t(bytes.size()));
    return bytes;
}

ImageRecord sampleRecord(const QString& path)
{
    ImageRecord r(path, 123456, Date{700000000.25}, {{"seashore", 0.71f}, {"beach", 0.8f}},
                  {{"blue", 0.5f}, {"white", 0.25f}},
                  {TextLine{"Café", 0.1f, 0.8f, 0.3f, 0.05f, 0.93f}, TextLine{"MENU", 0.1f, 0.7f, 0.2f, 0.05f, 0.5f}},
                  QString(), printOf({0.5f, -1.25f, 3.0f}), 4032, 3024, false);
    r.langs = QStringLiteral("en-US,ja-JP");
    return r;
}

ImageRecord bareRecord(const QString& path, qint64 size, Date modified, bool failed = false)
{
    return ImageRecord(path, size, modified, {}, {}, {}, QString(), std::nullopt, 0, 0, failed);
}

FileItem imageItem(const QString& path, qint64 size, Date modified, bool screenshot = false)
{
    FileItem item;
    item.path = path;
    item.name = QFileInfo(path).fileName();
    item.ext = QFileInfo(path).suffix().toLower();
    item.size = size;
    item.modified = modified;
    item.kind = FileKind::image;
    item.isScreenshot = screenshot;
    return item;
}

// An encoded index as libplist, an independent reader and writer of property lists, sees it.
struct Plist {
    plist_t root = nullptr;
    explicit Plist(const QByteArray& bin) { plist_from_bin(bin.constData(), uint32_t(bin.size()), &root); }
    Plist(const Plist&) = delete;
    ~Plist() { plist_free(root); }
    plist_t record(const QString& path) const
    {
        return plist_dict_get_item(plist_dict_get_item(root, "records"), path.toUtf8().constData());
    }
    QByteArray bin() const
    {
        char* bytes = nullptr;
        uint32_t length = 0;
        plist_to_bin(root, &bytes, &length);
        QByteArray out(bytes, length);
        plist_to_bin_free(bytes);
        return out;
    }
};

// The encoded index with one key of the record at `path` removed (no replacement) or replaced.
QByteArray edited(const QByteArray& encoded, const QString& path, const char* key, plist_t replacement)
{
    Plist plist(encoded);
    if (replacement)
        plist_dict_set_item(plist.record(path), key, replacement);
    else
        plist_dict_remove_item(plist.record(path), key);
    return plist.bin();
}

}  // namespace

TEST(ImageRecord, FoldedTextFeaturePrintAndTopLabels)
{
    ImageRecord r = sampleRecord("/p/a.png");
    EXPECT_EQ(r.text(), QStringLiteral("Café\nMENU"));
    EXPECT_EQ(r.searchText(), QStringLiteral("cafe\nmenu\n"));
    r.altText = QStringLiteral("Ｗide Résumé");
    r.refold();
    EXPECT_EQ(r.searchText(), QStringLiteral("cafe\nmenu\nwide resume"));
    EXPECT_EQ(bareRecord("/p/b.png", 1, Date{}).folded, QString());
    EXPECT_EQ(ImageRecord("/p/c.png", 1, Date{}, {}, {}, {}, "Sunset", std::nullopt, 0, 0, false).folded,
              QStringLiteral("\nsunset"));

    // Whole floats only: a remainder of odd bytes is ignored.
    EXPECT_EQ(r.featurePrint(), (std::vector<float>{0.5f, -1.25f, 3.0f}));
    r.print = printOf({1.0f, 2.0f}) + QByteArray("\x01\x02", 2);
    EXPECT_EQ(r.featurePrint(), (std::vector<float>{1.0f, 2.0f}));
    r.print.reset();
    EXPECT_TRUE(r.featurePrint().empty());

    r.labels.insert("sand", 0.8f);
    const auto top = r.topLabels(2);
    ASSERT_EQ(top.size(), 2);
    EXPECT_EQ(top[0].first, QStringLiteral("beach"));  // equal confidences: by name
    EXPECT_EQ(top[1].first, QStringLiteral("sand"));
    EXPECT_EQ(r.topLabels(10).size(), 3);
}

TEST(TextLine, ReadingOrderIsTopToBottomThenLeftToRightWithinARow)
{
    QList<TextLine> lines{
        {"right of first row", 0.6f, 0.905f, 0.2f, 0.03f, 1},
        {"second row", 0.1f, 0.5f, 0.2f, 0.03f, 1},
        {"first row", 0.1f, 0.9f, 0.2f, 0.03f, 1},
        {"bottom", 0.0f, 0.05f, 0.2f, 0.03f, 1},
        {"just above second row", 0.7f, 0.515f, 0.2f, 0.03f, 1},
    };
    sortIntoReadingOrder(lines);
    QStringList order;
    for (const TextLine& l : lines) order.append(l.text);
    EXPECT_EQ(order, (QStringList{"first row", "right of first row", "just above second row", "second row", "bottom"}));
}

TEST(ImageIndex, RoundTripsThroughTheFileWithEveryField)
{
    test::TempTree tree;
    const ImageRecord a = sampleRecord("/photos/Beach Café.jpg");
    const ImageRecord b =
        bareRecord("/photos/broken.png", 9, Date{-31536000.5}, true);  // before 2001, no print, failed
    ImageRecord c = sampleRecord("/photos/東京.png");
    c.print = QByteArray();  // present but empty
    c.altText = QStringLiteral("alt text");
    c.refold();
    const ImageIndex index({"en-US", "ja-JP"}, {{a.path, a}, {b.path, b}, {c.path, c}});

    const QString file = tree.path("support/deeper/images.plist");
    ASSERT_TRUE(index.save(file));
    QFile raw(file);
    ASSERT_TRUE(raw.open(QIODevice::ReadOnly));
    EXPECT_TRUE(raw.readAll().startsWith("bplist00"));
    EXPECT_EQ(ImageIndex::load(file), index);
    EXPECT_FALSE(ImageIndex::load(tree.path("missing.plist")).has_value());
}

TEST(ImageIndex, IsAStandardBinaryPropertyList)
{
    // libplist reads what the index writes (the record under its non-ASCII path, a native date
    // counted from 2001, an unsigned integer), and the index reads what libplist writes.
    const ImageRecord a = sampleRecord("/photos/東京 café.png");
    const Plist plist(ImageIndex({"en-US"}, {{a.path, a}}).encode());
    const plist_t record = plist.record(a.path);
    ASSERT_NE(record, nullptr);
    int32_t sec = 0, usec = 0;
    plist_get_date_val(plist_dict_get_item(record, "modified"), &sec, &usec);
    EXPECT_EQ(sec, 700000000);
    EXPECT_EQ(usec, 250000);
    uint64_t pixels = 0;
    plist_get_uint_val(plist_dict_get_item(record, "pixelWidth"), &pixels);
    EXPECT_EQ(pixels, 4032u);

    const auto decoded = ImageIndex::decode(plist.bin());
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(decoded->records.value(a.path), a);
}

TEST(ImageIndex, RejectsForeignVersionsMissingKeysAndWrongTypes)
{
    const ImageRecord a = sampleRecord("/photos/a.jpg");
    ImageIndex index({"en-US"}, {{a.path, a}});
    const QByteArray good = index.encode();
    ASSERT_TRUE(ImageIndex::decode(good).has_value());
    index.version = 2;
    EXPECT_FALSE(ImageIndex::decode(index.encode()).has_value()) << "version 2";

    for (const char* key : {"path", "size", "modified", "labels", "colors", "lines", "altText", "pixelWidth",
                            "pixelHeight", "failed", "langs", "folded"})
        EXPECT_FALSE(ImageIndex::decode(edited(good, a.path, key, nullptr)).has_value()) << "without " << key;
    EXPECT_TRUE(ImageIndex::decode(edited(good, a.path, "print", nullptr)).has_value()) << "print is optional";
    EXPECT_FALSE(ImageIndex::decode(edited(good, a.path, "size", plist_new_string("12"))).has_value())
        << "size as text";
    EXPECT_FALSE(ImageIndex::decode(edited(good, a.path, "print", plist_new_string("x"))).has_value())
        << "print as text";
    EXPECT_FALSE(ImageIndex::decode(QByteArray("<?xml version=\"1.0\"?><plist/>")).has_value()) << "XML";
}

TEST(ImageIndex, DamagedFilesAreRejectedNotMisread)
{
    const ImageRecord a = sampleRecord("/photos/a.jpg");
    const ImageRecord b = sampleRecord("/photos/b.jpg");
    const QByteArray good = ImageIndex({"en-US"}, {{a.path, a}, {b.path, b}}).encode();
    // Every truncation fails; every single-byte change either fails or still yields an index,
    // and none may read outside the data (the sanitizer build checks).
    int rejected = 0;
    for (qsizetype i = 0; i < good.size(); ++i) {
        for (const char flip : {'\x01', '\x80', '\xff'}) {
            QByteArray damaged = good;
            damaged[i] = char(damaged[i] ^ flip);
            if (!ImageIndex::decode(damaged)) ++rejected;
        }
        if (i % 7 == 0) {
            EXPECT_FALSE(ImageIndex::decode(good.left(i)).has_value()) << "cut at " << i;
        }
    }
    EXPECT_GT(rejected, good.size());
}

TEST(ImageIndex, IndexableByKindExtensionAndSize)
{
    struct Case {
        const char* name;
        const char* path;
        qint64 size;
        FileKind kind;
        bool indexable;
    };
    const Case cases[] = {
        {"png just under the limit", "/a/big.png", 79'999'999, FileKind::image, true},
        {"png at the limit", "/a/bigger.png", 80'000'000, FileKind::image, false},
        {"empty jpeg", "/a/empty.jpg", 0, FileKind::image, false},
        {"upper-case extension", "/a/IMG.HEIC", 10, FileKind::image, true},
        {"tif", "/a/scan.tif", 10, FileKind::image, true},
        {"psd of the image kind", "/a/layers.psd", 100, FileKind::image, false},
        {"pdf", "/a/scan.pdf", 100, FileKind::document, false},
        {"png not of the image kind", "/a/x.png", 100, FileKind::document, false},
    };
    for (const Case& c : cases) {
        FileItem item = imageItem(c.path, c.size, Date{});
        item.kind = c.kind;
        EXPECT_EQ(ImageIndex::isIndexable(item), c.indexable) << c.name;
    }
}

TEST(ImageIndex, PendingFollowsTheFourRulesAndReadingOrder)
{
    // Records of 100 bytes modified at `base`, read in English (one also in Japanese).
    const Date base{700000000.0};
    ImageIndex index;
    for (const char* name :
         {"same", "half-second", "one-and-a-half", "exactly-one", "resized", "other-langs", "failed"}) {
        const QString path = QStringLiteral("/a/%1.png").arg(QLatin1String(name));
        ImageRecord r = bareRecord(path, 100, base, qstrcmp(name, "failed") == 0);
        r.langs = qstrcmp(name, "other-langs") == 0 ? QStringLiteral("en-US,ja-JP") : QStringLiteral("en-US");
        index.records.insert(path, r);
    }
    const QList<FileItem> items{
        imageItem("/a/same.png", 100, base),
        imageItem("/a/half-second.png", 100, base + 0.5),
        imageItem("/a/one-and-a-half.png", 100, base - 1.5),
        imageItem("/a/exactly-one.png", 100, base + 1.0),
        imageItem("/a/resized.png", 101, base),
        imageItem("/a/other-langs.png", 100, base),
        imageItem("/a/failed.png", 100, base),
        imageItem("/a/new-old.png", 5, base - 1000),
        imageItem("/a/new-recent.png", 5, base + 1000),
        imageItem("/a/shot-old.png", 5, base - 2000, true),
        imageItem("/a/notes.txt", 5, base),
    };
    QStringList pending;
    for (const FileItem& item : index.pending(items, {"en-US"})) pending.append(item.path);
    EXPECT_EQ(pending,
              (QStringList{"/a/shot-old.png", "/a/new-recent.png", "/a/resized.png", "/a/other-langs.png",
                           "/a/one-and-a-half.png", "/a/new-old.png"}));

    // A change of languages makes everything pending once, the failed record included.
    const QList<FileItem> due = index.pending(items, {"en-US", "ja-JP"});
    EXPECT_EQ(due.size(), 9);
    EXPECT_FALSE(
        std::any_of(due.begin(), due.end(), [](const FileItem& f) { return f.path.contains(u"other-langs"); }));
    // Without any record, every indexable file is pending.
    EXPECT_EQ(ImageIndex().pending(items, {"en-US"}).size(), 10);
}

TEST(ImageIndex, PruneMoveAndPrints)
{
    ImageIndex index;
    for (const char* path : {"/a/1.png", "/a/2.png", "/a/3.png"}) index.records.insert(path, sampleRecord(path));
    EXPECT_EQ(index.prune({"/a/1.png", "/a/2.png", "/a/3.png"}), 0);
    EXPECT_EQ(index.prune({"/a/1.png", "/a/2.png", "/elsewhere.png"}), 1);
    EXPECT_EQ(index.records.size(), 2);

    index.move("/a/1.png", "/b/renamed.png");
    EXPECT_FALSE(index.records.contains("/a/1.png"));
    const ImageRecord moved = index.records.value("/b/renamed.png");
    EXPECT_EQ(moved.path, QStringLiteral("/b/renamed.png"));
    EXPECT_EQ(moved.lines.size(), 2);
    index.move("/a/none.png", "/b/none.png");
    EXPECT_EQ(index.records.size(), 2);

    const auto prints = index.printProvider();
    EXPECT_EQ(prints("/b/renamed.png"), (QList<float>{0.5f, -1.25f, 3.0f}));
    EXPECT_FALSE(prints("/a/none.png").has_value());
}
