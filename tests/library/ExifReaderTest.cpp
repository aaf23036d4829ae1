#include "library/ExifReader.h"
#include "support/TempTree.h"

#include <QFile>
#include <QtEndian>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace fennic;
using ExifReader::DateFields;
using ExifReader::Outcome;
using test::TempTree;

namespace {

// Writes integers in the block's byte order.
struct Bytes {
    bool little = true;
    QByteArray data;
    void u16(quint32 v)
    {
        char b[2];
        little ? qToLittleEndian(quint16(v), b) : qToBigEndian(quint16(v), b);
        data.append(b, 2);
    }
    void u32(quint32 v)
    {
        char b[4];
        little ? qToLittleEndian(v, b) : qToBigEndian(v, b);
        data.append(b, 4);
    }
    void put(quint32 at, quint32 v)
    {
        little ? qToLittleEndian(v, data.data() + at) : qToBigEndian(v, data.data() + at);
    }
};

struct Field {
    quint16 tag;
    QByteArray text;  // written with its NUL
};

// A TIFF block as cameras write it: the first directory points to the Exif directory, which
// holds the date fields; values over four bytes sit after the directories. With
// `inFirstDirectory` the fields sit in the first directory, as some raw formats keep them.
QByteArray tiff(const QList<Field>& fields, bool little = true, bool inFirstDirectory = false)
{
    Bytes b{little, {}};
    b.data.append(little ? "II" : "MM", 2);
    b.u16(42);
    b.u32(8);
    auto directory = [&](const QList<Field>& entries, std::optional<quint32> exifPointerAt) {
        b.u16(quint32(entries.size() + (exifPointerAt ? 1 : 0)));
        QList<QPair<quint32, QByteArray>> later;  // (where the offset goes, the value)
        for (const Field& f : entries) {
            const QByteArray value = f.text + '\0';
            b.u16(f.tag);
            b.u16(2);  // ASCII
            b.u32(quint32(value.size()));
            if (value.size() <= 4) {
                b.data.append(value.leftJustified(4, '\0'));
            } else {
                later.append({quint32(b.data.size()), value});
                b.u32(0);
            }
        }
        quint32 pointer = 0;
        if (exifPointerAt) {
            b.u16(0x8769);
            b.u16(4);  // LONG
            b.u32(1);
            pointer = quint32(b.data.size());
            b.u32(0);
        }
        b.u32(0);  // no next directory
        for (const auto& [at, value] : later) {
            b.put(at, quint32(b.data.size()));
            b.data.append(value);
        }
        return pointer;
    };
    if (inFirstDirectory) {
        directory(fields, std::nullopt);
    } else {
        const quint32 pointerAt = directory({{0x0110, "Camera"}}, 0);
        b.put(pointerAt, quint32(b.data.size()));
        directory(fields, std::nullopt);
    }
    return b.data;
}

QList<Field> dateFields(const QByteArray& dateTime, const QByteArray& subSeconds = {}, const QByteArray& offset = {})
{
    QList<Field> fields{{0x9003, dateTime}};
    if (!subSeconds.isEmpty()) fields.append({0x9291, subSeconds});
    if (!offset.isEmpty()) fields.append({0x9011, offset});
    return fields;
}

QByteArray be16(quint32 v)
{
    char b[2];
    qToBigEndian(quint16(v), b);
    return QByteArray(b, 2);
}

QByteArray segment(quint8 marker, const QByteArray& payload)
{
    return QByteArray("\xFF", 1) + char(marker) + be16(quint32(payload.size() + 2)) + payload;
}

// A JPEG's head: JFIF, any segments given, then Exif, then the image data.
QByteArray jpeg(const QByteArray& exif, const QByteArray& before = {})
{
    return QByteArray("\xFF\xD8", 2) + segment(0xE0, QByteArray("JFIF\0\1\1\0\0\1\0\1\0\0", 14)) + before
        + segment(0xE1, QByteArray("Exif\0\0", 6) + exif) + QByteArray("\xFF\xDA\0\x08", 4) + QByteArray(64, '\x55');
}

QByteArray pngChunk(const char* type, const QByteArray& data)
{
    char length[4];
    qToBigEndian(quint32(data.size()), length);
    return QByteArray(length, 4) + type + data + QByteArray(4, '\0');
}

QByteArray png(const QByteArray& exif, bool beforeImageData = true)
{
    const QByteArray head = QByteArray("\x89PNG\r\n\x1a\n", 8) + pngChunk("IHDR", QByteArray(13, '\1'));
    const QByteArray image = pngChunk("IDAT", QByteArray(40, '\2'));
    const QByteArray tail = pngChunk("IEND", {});
    return beforeImageData ? head + pngChunk("eXIf", exif) + image + tail
                           : head + image + pngChunk("eXIf", exif) + tail;
}

// The older PNG form: a zTXt chunk "Raw profile type exif" holding the bytes in hex.
QByteArray pngRawProfile(const QByteArray& exif)
{
    const QByteArray withHeader = QByteArray("Exif\0\0", 6) + exif;
    QByteArray text = "\nexif\n" + QByteArray::number(withHeader.size()).rightJustified(8, ' ') + '\n';
    const QByteArray hex = withHeader.toHex();
    for (qsizetype i = 0; i < hex.size(); i += 72) text += hex.mid(i, 72) + '\n';
    const QByteArray deflated = qCompress(text).mid(4);  // zlib's own stream, without Qt's size
    const QByteArray data = QByteArray("Raw profile type exif\0\0", 23) + deflated;
    return QByteArray("\x89PNG\r\n\x1a\n", 8) + pngChunk("IHDR", QByteArray(13, '\1')) + pngChunk("zTXt", data)
        + pngChunk("IDAT", QByteArray(40, '\2')) + pngChunk("IEND", {});
}

QByteArray riffChunk(const char* type, const QByteArray& data)
{
    char length[4];
    qToLittleEndian(quint32(data.size()), length);
    return QByteArray(type, 4) + QByteArray(length, 4) + data + (data.size() % 2 ? QByteArray(1, '\0') : QByteArray());
}

QByteArray webp(const QByteArray& exif, quint8 flags = 0x08)
{
    QByteArray vp8x(10, '\0');
    vp8x[0] = char(flags);
    const QByteArray body = QByteArray("WEBP") + riffChunk("VP8X", vp8x) + riffChunk("VP8L", QByteArray(33, '\3'))
        + riffChunk("EXIF", exif);
    char length[4];
    qToLittleEndian(quint32(body.size()), length);
    return QByteArray("RIFF") + QByteArray(length, 4) + body;
}

ExifReader::Result fromBytes(const QByteArray& bytes)
{
    return ExifReader::readDateFields(bytes.constData(), bytes.size());
}

ExifReader::Result fromFile(const QString& path)
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    EXPECT_GE(fd, 0);
    ExifReader::Result result = ExifReader::readDateFields(fd);
    ::close(fd);
    return result;
}

const DateFields kFull{"2024:05:01 10:00:00", "25", "+02:00"};

}  // namespace

TEST(ExifReaderTest, FindsTheDateInEveryContainerItReads)
{
    const QByteArray block = tiff(dateFields("2024:05:01 10:00:00", "25", "+02:00"));
    struct Row {
        const char* name;
        QByteArray bytes;
        Outcome outcome;
        DateFields fields;
    };
    const Row rows[] = {
        {"JPEG, little-endian", jpeg(block), Outcome::found, kFull},
        {"JPEG, big-endian", jpeg(tiff(dateFields("2024:05:01 10:00:00", "25", "+02:00"), false)), Outcome::found,
         kFull},
        {"JPEG, date only", jpeg(tiff(dateFields("2019:12:31 23:59:59"))), Outcome::found,
         DateFields{"2019:12:31 23:59:59", {}, {}}},
        {"JPEG, padded with spaces and NULs", jpeg(tiff(dateFields(QByteArray("2024:05:01 10:00:00  \0\0", 23)))),
         Outcome::found, DateFields{"2024:05:01 10:00:00", {}, {}}},
        {"JPEG, fill bytes and an ICC profile first",
         jpeg(block, QByteArray("\xFF\xFF", 2) + segment(0xE2, QByteArray(3000, 'i'))), Outcome::found, kFull},
        {"JPEG, Exif after the image data",
         QByteArray("\xFF\xD8\xFF\xDA\0\x04", 6) + jpeg(block).mid(2),
         Outcome::none,
         {}},
        {"JPEG without Exif",
         QByteArray("\xFF\xD8", 2) + segment(0xE0, "JFIF") + QByteArray("\xFF\xD9", 2),
         Outcome::none,
         {}},
        {"TIFF raw, date in the first directory", tiff(dateFields("2024:05:01 10:00:00", "25", "+02:00"), true, true),
         Outcome::found, kFull},
        {"PNG eXIf chunk", png(block), Outcome::found, kFull},
        {"PNG eXIf after the image data is not looked for", png(block, false), Outcome::none, {}},
        {"PNG raw profile, as older tools write it", pngRawProfile(block), Outcome::found, kFull},
        {"WebP EXIF chunk after an odd-sized chunk", webp(block), Outcome::found, kFull},
        {"WebP EXIF chunk with JPEG's prefix", webp(QByteArray("Exif\0\0", 6) + block), Outcome::found, kFull},
        {"WebP whose flags say no Exif", webp(block, 0x00), Outcome::none, {}},
        {"HEIF is left to the general reader",
         QByteArray("\0\0\0\x18"
                    "ftypheic",
                    12)
             + QByteArray(40, '\0'),
         Outcome::unsupported,
         {}},
        {"not a picture", QByteArray("%PDF-1.7\n1 0 obj\n<<>>\nendobj\n"), Outcome::none, {}},
        {"empty", QByteArray(), Outcome::none, {}},
    };
    for (const Row& row : rows) {
        const ExifReader::Result result = fromBytes(row.bytes);
        EXPECT_EQ(result.outcome, row.outcome) << row.name;
        EXPECT_EQ(result.fields, row.fields) << row.name;
    }
}

TEST(ExifReaderTest, DamagedBlocksGiveNothingAndNeverReadOutside)
{
    const QByteArray good = tiff(dateFields("2024:05:01 10:00:00", "25", "+02:00"));
    auto withU32 = [&](int at, quint32 v) {
        QByteArray b = good;
        qToLittleEndian(v, b.data() + at);
        return b;
    };
    auto withU16 = [&](int at, quint16 v) {
        QByteArray b = good;
        qToLittleEndian(v, b.data() + at);
        return b;
    };
    // The first directory is at 8: its count, then the camera entry, then the Exif pointer's
    // entry, whose value is at 8 + 2 + 12 + 8 = 30.
    const struct {
        const char* name;
        QByteArray block;
    } rows[] = {
        {"first directory beyond the end", withU32(4, 0x7FFFFFF0)},
        {"first directory inside the header", withU32(4, 2)},
        {"Exif pointer beyond the end", withU32(30, 0xFFFFFF00)},
        {"Exif pointer back at the first directory", withU32(30, 8)},
        {"a directory claiming 65,535 entries", withU16(8, 0xFFFF)},
        {"not a byte order", QByteArray("XX") + good.mid(2)},
        {"truncated inside the Exif directory", good.left(50)},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(fromBytes(jpeg(row.block)).outcome, Outcome::none) << row.name;
        EXPECT_EQ(fromBytes(row.block).outcome, Outcome::none) << row.name;
    }
    // A JPEG cut short inside its Exif segment: whatever is still found is what was written.
    const QByteArray whole = jpeg(good);
    for (qsizetype cut = 0; cut < whole.indexOf("\xFF\xDA"); cut += 3) {
        const ExifReader::Result result = fromBytes(whole.left(cut));
        if (result.outcome != Outcome::found) continue;
        EXPECT_EQ(result.fields.dateTime, kFull.dateTime) << "cut at " << cut;
        EXPECT_TRUE(result.fields.offset.isEmpty() || result.fields.offset == kFull.offset) << "cut at " << cut;
        EXPECT_TRUE(result.fields.subSeconds.isEmpty() || result.fields.subSeconds == kFull.subSeconds);
    }
    EXPECT_EQ(fromBytes(whole.left(whole.indexOf("Exif") + 40)).outcome, Outcome::none);
    // A date whose value points past the block is no date, whatever else was recorded.
    QByteArray pastEnd = tiff(dateFields("2024:05:01 10:00:00", {}, "+02:00"));
    const qsizetype dateEntry = pastEnd.indexOf(QByteArray("\x03\x90\x02\x00", 4));
    ASSERT_GT(dateEntry, 0);
    qToLittleEndian(quint32(0x7FFF0000), pastEnd.data() + dateEntry + 8);
    EXPECT_EQ(fromBytes(jpeg(pastEnd)).outcome, Outcome::none);
}

TEST(ExifReaderTest, ReadsFilesWhoseExifLiesPastTheFirstBlock)
{
    // Large ICC profiles and maker segments push Exif far into the file; the reader follows
    // with positioned reads instead of reading the whole head.
    TempTree tree;
    const QByteArray block = tiff(dateFields("2024:05:01 10:00:00", "25", "+02:00"));
    const QString far = tree.write("far.jpg", jpeg(block, segment(0xE2, QByteArray(60000, 'i'))));
    EXPECT_EQ(fromFile(far).fields, kFull);
    const QString near = tree.write("near.jpg", jpeg(block));
    EXPECT_EQ(fromFile(near).fields, kFull);
    const QString tiny = tree.write("tiny.jpg", QByteArray("\xFF\xD8\xFF", 3));
    EXPECT_EQ(fromFile(tiny).outcome, Outcome::none);
}
