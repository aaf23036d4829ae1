#include "images/ImageIndex.h"
#include "support/TempTree.h"

#include <QFile>
#include <QFileInfo>
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
    ImageRecord r(path, 123456, Date{700000000.25}, {{QStringLiteral("seashore"), 0.71f}, {QStringLiteral("beach"), 0.8f}},
                  {{QStringLiteral("blue"), 0.5f}, {QStringLiteral("white"), 0.25f}},
                  {TextLine{QStringLiteral("Café"), 0.1f, 0.8f, 0.3f, 0.05f, 0.93f},
                   TextLine{QStringLiteral("MENU"), 0.1f, 0.7f, 0.2f, 0.05f, 0.5f}},
                  QString(), printOf({0.5f, -1.25f, 3.0f}), 4032, 3024, false);
    r.langs = QStringLiteral("en-US,ja-JP");
    return r;
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

QStringList paths(const QList<FileItem>& items)
{
    QStringList out;
    for (const FileItem& item : items) out.append(item.path);
    return out;
}

// Rebuilds an encoded index through libplist with one record key removed or one value replaced.
QByteArray editedIndex(const QByteArray& encoded, const char* recordKey, plist_t replacement)
{
    plist_t root = nullptr;
    plist_from_bin(encoded.constData(), uint32_t(encoded.size()), &root);
    plist_t records = plist_dict_get_item(root, "records");
    plist_dict_iter iter = nullptr;
    plist_dict_new_iter(records, &iter);
    char* key = nullptr;
    plist_t record = nullptr;
    plist_dict_next_item(records, iter, &key, &record);
    free(key);
    free(iter);
    if (replacement) plist_dict_set_item(record, recordKey, replacement);
    else plist_dict_remove_item(record, recordKey);
    char* bytes = nullptr;
    uint32_t length = 0;
    plist_to_bin(root, &bytes, &length);
    QByteArray out(bytes, length);
    plist_to_bin_free(bytes);
    plist_free(root);
    return out;
}

}  // namespace

TEST(ImageRecord, FoldsLinesAndAltTextOnConstructionAndRefold)
{
    ImageRecord r = sampleRecord(QStringLiteral("/p/a.png"));
    EXPECT_EQ(r.text(), QStringLiteral("Café\nMENU"));
    EXPECT_EQ(r.searchText(), QStringLiteral("cafe\nmenu\n"));

    r.altText = QStringLiteral("Ｗide Résumé");
    r.refold();
    EXPECT_EQ(r.searchText(), QStringLiteral("cafe\nmenu\nwide resume"));

    ImageRecord empty(QStringLiteral("/p/b.png"), 1, Date{}, {}, {}, {}, QString(), std::nullopt, 0, 0, false);
    EXPECT_EQ(empty.folded, QString());
    ImageRecord altOnly(QStringLiteral("/p/c.png"), 1, Date{}, {}, {}, {}, QStringLiteral("Sunset"), std::nullopt, 0, 0,
                        false);
    EXPECT_EQ(altOnly.folded, QStringLiteral("\nsunset"));
}

TEST(ImageRecord, FeaturePrintReadsWholeFloatsAndIgnoresTheRemainder)
{
    ImageRecord r = sampleRecord(QStringLiteral("/p/a.png"));
    EXPECT_EQ(r.featurePrint(), (std::vector<float>{0.5f, -1.25f, 3.0f}));
    r.print = printOf({1.0f, 2.0f}) + QByteArray("\x01\x02", 2);  // 10 bytes
    EXPECT_EQ(r.featurePrint(), (std::vector<float>{1.0f, 2.0f}));
    r.print.reset();
    EXPECT_TRUE(r.featurePrint().empty());
}

TEST(ImageRecord, TopLabelsStrongestFirstAndLimited)
{
    ImageRecord r = sampleRecord(QStringLiteral("/p/a.png"));
    r.labels.insert(QStringLiteral("sand"), 0.8f);
    const auto top = r.topLabels(2);
    ASSERT_EQ(top.size(), 2);
    EXPECT_EQ(top[0].first, QStringLiteral("beach"));  // equal confidences: by name
    EXPECT_EQ(top[1].first, QStringLiteral("sand"));
    EXPECT_EQ(r.topLabels(10).size(), 3);
}

TEST(TextLine, ReadingOrderIsTopToBottomThenLeftToRightWithinARow)
{
    QList<TextLine> lines{
        {QStringLiteral("right of first row"), 0.6f, 0.905f, 0.2f, 0.03f, 1},
        {QStringLiteral("second row"), 0.1f, 0.5f, 0.2f, 0.03f, 1},
        {QStringLiteral("first row"), 0.1f, 0.9f, 0.2f, 0.03f, 1},
        {QStringLiteral("bottom"), 0.0f, 0.05f, 0.2f, 0.03f, 1},
        {QStringLiteral("just above second row"), 0.7f, 0.515f, 0.2f, 0.03f, 1},
    };
    sortIntoReadingOrder(lines);
    QStringList order;
    for (const TextLine& l : lines) order.append(l.text);
    EXPECT_EQ(order, (QStringList{QStringLiteral("first row"), QStringLiteral("right of first row"),
                                  QStringLiteral("just above second row"), QStringLiteral("second row"),
                                  QStringLiteral("bottom")}));
}

TEST(ImageIndex, RoundTripsThroughTheFileWithEveryField)
{
    test::TempTree tree;
    ImageRecord a = sampleRecord(QStringLiteral("/photos/Beach Café.jpg"));
    ImageRecord b(QStringLiteral("/photos/broken.png"), 9, Date{-31536000.5}, {}, {}, {}, QString(), std::nullopt, 0, 0,
                  true);  // before 2001, no print, failed
    ImageRecord c = sampleRecord(QStringLiteral("/photos/東京.png"));
    c.print = QByteArray();  // present but empty
    c.altText = QStringLiteral("alt text");
    c.refold();
    ImageIndex index({QStringLiteral("en-US"), QStringLiteral("ja-JP")}, {{a.path, a}, {b.path, b}, {c.path, c}});

    const QString file = tree.path(QStringLiteral("support/deeper/images.plist"));
    ASSERT_TRUE(index.save(file));
    QFile raw(file);
    ASSERT_TRUE(raw.open(QIODevice::ReadOnly));
    EXPECT_TRUE(raw.readAll().startsWith("bplist00"));

    const auto loaded = ImageIndex::load(file);
    ASSERT_TRUE(loaded.has_value());
    EXPECT_EQ(loaded->version, 3);
    EXPECT_EQ(*loaded, index);
    EXPECT_FALSE(loaded->records.value(b.path).print.has_value());
    EXPECT_TRUE(loaded->records.value(c.path).print.has_value());
}

TEST(ImageIndex, RejectsForeignVersionsDamageAndMissingKeys)
{
    test::TempTree tree;
    ImageRecord a = sampleRecord(QStringLiteral("/photos/a.jpg"));
    ImageIndex index({QStringLiteral("en-US")}, {{a.path, a}});
    const QByteArray good = index.encode();
    ASSERT_TRUE(ImageIndex::decode(good).has_value());

    ImageIndex older = index;
    older.version = 2;
    EXPECT_FALSE(ImageIndex::decode(older.encode()).has_value()) << "version 2";

    for (const char* key : {"path", "size", "modified", "labels", "colors", "lines", "altText", "pixelWidth",
                            "pixelHeight", "failed", "langs", "folded"})
        EXPECT_FALSE(ImageIndex::decode(editedIndex(good, key, nullptr)).has_value()) << "without " << key;
    EXPECT_TRUE(ImageIndex::decode(editedIndex(good, "print", nullptr)).has_value()) << "print is optional";
    EXPECT_FALSE(ImageIndex::decode(editedIndex(good, "size", plist_new_string("12"))).has_value()) << "size as text";
    EXPECT_FALSE(ImageIndex::decode(editedIndex(good, "print", plist_new_string("x"))).has_value()) << "print as text";

    EXPECT_FALSE(ImageIndex::decode(good.left(good.size() / 2)).has_value()) << "truncated";
    EXPECT_FALSE(ImageIndex::decode(QByteArray("<?xml version=\"1.0\"?><plist/>")).has_value()) << "XML";
    EXPECT_FALSE(ImageIndex::load(tree.path(QStringLiteral("missing.plist"))).has_value()) << "missing file";
}

TEST(ImageIndex, IsAStandardBinaryPropertyList)
{
    // Another reader of property lists (libplist) reads what the index writes, and the index
    // reads what libplist writes.
    ImageRecord a = sampleRecord(QStringLiteral("/photos/東京 café.png"));
    const QByteArray ours = ImageIndex({QStringLiteral("en-US")}, {{a.path, a}}).encode();
    plist_t root = nullptr;
    plist_from_bin(ours.constData(), uint32_t(ours.size()), &root);
    ASSERT_NE(root, nullptr);
    plist_t record = plist_dict_get_item(plist_dict_get_item(root, "records"), a.path.toUtf8().constData());
    ASSERT_NE(record, nullptr);
    char* path = nullptr;
    plist_get_string_val(plist_dict_get_item(record, "path"), &path);
    EXPECT_EQ(QString::fromUtf8(path), a.path);
    free(path);
    int32_t sec = 0, usec = 0;
    plist_get_date_val(plist_dict_get_item(record, "modified"), &sec, &usec);
    EXPECT_EQ(sec, 700000000);
    EXPECT_EQ(usec, 250000);
    uint64_t pixels = 0;
    plist_get_uint_val(plist_dict_get_item(record, "pixelWidth"), &pixels);
    EXPECT_EQ(pixels, 4032u);

    char* theirs = nullptr;
    uint32_t length = 0;
    plist_to_bin(root, &theirs, &length);
    const auto decoded = ImageIndex::decode(QByteArray(theirs, length));
    plist_to_bin_free(theirs);
    plist_free(root);
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(decoded->records.value(a.path), a);
}

TEST(ImageIndex, DamagedFilesAreRejectedNotMisread)
{
    ImageRecord a = sampleRecord(QStringLiteral("/photos/a.jpg"));
    ImageRecord b = sampleRecord(QStringLiteral("/photos/b.jpg"));
    const QByteArray good = ImageIndex({QStringLiteral("en-US")}, {{a.path, a}, {b.path, b}}).encode();
    // Every single-byte change and every truncation either fails or still yields an index;
    // none may read outside the data (the sanitizer build checks).
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
        FileItem item;
        bool indexable;
    };
    FileItem psd = imageItem(QStringLiteral("/a/layers.psd"), 100, Date{});
    FileItem pdf = imageItem(QStringLiteral("/a/scan.pdf"), 100, Date{});
    pdf.kind = FileKind::document;
    FileItem pngAsDocument = imageItem(QStringLiteral("/a/x.png"), 100, Date{});
    pngAsDocument.kind = FileKind::document;
    const Case cases[] = {
        {"png just under the limit", imageItem(QStringLiteral("/a/big.png"), 79'999'999, Date{}), true},
        {"png at the limit", imageItem(QStringLiteral("/a/bigger.png"), 80'000'000, Date{}), false},
        {"empty jpeg", imageItem(QStringLiteral("/a/empty.jpg"), 0, Date{}), false},
        {"upper-case extension as stored", imageItem(QStringLiteral("/a/IMG.HEIC"), 10, Date{}), true},
        {"psd of the image kind", psd, false},
        {"pdf", pdf, false},
        {"png not of the image kind", pngAsDocument, false},
        {"tif", imageItem(QStringLiteral("/a/scan.tif"), 10, Date{}), true},
    };
    for (const Case& c : cases) EXPECT_EQ(ImageIndex::isIndexable(c.item), c.indexable) << c.name;
}

TEST(ImageIndex, PendingFollowsTheFourRulesAndReadingOrder)
{
    const Date base{700000000.0};
    const QStringList english{QStringLiteral("en-US")};
    ImageIndex index;
    auto remember = [&](const QString& path, qint64 size, Date modified, const QString& langs) {
        ImageRecord r(path, size, modified, {}, {}, {}, QString(), std::nullopt, 0, 0, false);
        r.langs = langs;
        index.records.insert(path, r);
    };
    remember(QStringLiteral("/a/same.png"), 100, base, QStringLiteral("en-US"));
    remember(QStringLiteral("/a/half-second.png"), 100, base, QStringLiteral("en-US"));
    remember(QStringLiteral("/a/one-and-a-half.png"), 100, base, QStringLiteral("en-US"));
    remember(QStringLiteral("/a/exactly-one.png"), 100, base, QStringLiteral("en-US"));
    remember(QStringLiteral("/a/resized.png"), 100, base, QStringLiteral("en-US"));
    remember(QStringLiteral("/a/other-langs.png"), 100, base, QStringLiteral("en-US,ja-JP"));
    ImageRecord failed(QStringLiteral("/a/failed.png"), 100, base, {}, {}, {}, QString(), std::nullopt, 0, 0, true);
    failed.langs = QStringLiteral("en-US");
    index.records.insert(failed.path, failed);

    const QList<FileItem> items{
        imageItem(QStringLiteral("/a/same.png"), 100, base),
        imageItem(QStringLiteral("/a/half-second.png"), 100, base + 0.5),
        imageItem(QStringLiteral("/a/one-and-a-half.png"), 100, base - 1.5),
        imageItem(QStringLiteral("/a/exactly-one.png"), 100, base + 1.0),
        imageItem(QStringLiteral("/a/resized.png"), 101, base),
        imageItem(QStringLiteral("/a/other-langs.png"), 100, base),
        imageItem(QStringLiteral("/a/failed.png"), 100, base),
        imageItem(QStringLiteral("/a/new-old.png"), 5, base - 1000),
        imageItem(QStringLiteral("/a/new-recent.png"), 5, base + 1000),
        imageItem(QStringLiteral("/a/shot-old.png"), 5, base - 2000, true),
        imageItem(QStringLiteral("/a/notes.txt"), 5, base),
    };
    EXPECT_EQ(paths(index.pending(items, english)),
              (QStringList{QStringLiteral("/a/shot-old.png"), QStringLiteral("/a/new-recent.png"),
                           QStringLiteral("/a/resized.png"), QStringLiteral("/a/other-langs.png"),
                           QStringLiteral("/a/one-and-a-half.png"), QStringLiteral("/a/new-old.png")}));

    // A change of languages makes everything pending once, the failed record included.
    const QList<FileItem> due = index.pending(items, {QStringLiteral("en-US"), QStringLiteral("ja-JP")});
    EXPECT_EQ(due.size(), 9);
    EXPECT_FALSE(paths(due).contains(QStringLiteral("/a/other-langs.png")));

    // Without any record, every indexable file is pending.
    EXPECT_EQ(ImageIndex().pending(items, english).size(), 10);
}

TEST(ImageIndex, PruneAndMove)
{
    ImageIndex index;
    for (const char* p : {"/a/1.png", "/a/2.png", "/a/3.png"}) {
        const QString path = QString::fromLatin1(p);
        index.records.insert(path, sampleRecord(path));
    }
    const QSet<QString> all{QStringLiteral("/a/1.png"), QStringLiteral("/a/2.png"), QStringLiteral("/a/3.png")};
    EXPECT_EQ(index.prune(all), 0);
    EXPECT_EQ(index.prune({QStringLiteral("/a/1.png"), QStringLiteral("/a/2.png"), QStringLiteral("/elsewhere.png")}), 1);
    EXPECT_EQ(index.records.size(), 2);

    index.move(QStringLiteral("/a/1.png"), QStringLiteral("/b/renamed.png"));
    ASSERT_TRUE(index.records.contains(QStringLiteral("/b/renamed.png")));
    EXPECT_FALSE(index.records.contains(QStringLiteral("/a/1.png")));
    EXPECT_EQ(index.records.value(QStringLiteral("/b/renamed.png")).path, QStringLiteral("/b/renamed.png"));
    EXPECT_EQ(index.records.value(QStringLiteral("/b/renamed.png")).lines.size(), 2);

    index.move(QStringLiteral("/a/none.png"), QStringLiteral("/b/none.png"));
    EXPECT_FALSE(index.records.contains(QStringLiteral("/b/none.png")));
    EXPECT_EQ(index.records.size(), 2);

    const auto prints = index.printProvider();
    EXPECT_EQ(prints(QStringLiteral("/b/renamed.png")), (QList<float>{0.5f, -1.25f, 3.0f}));
    EXPECT_FALSE(prints(QStringLiteral("/a/none.png")).has_value());
}
