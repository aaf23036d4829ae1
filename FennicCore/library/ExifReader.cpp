#include "library/ExifReader.h"

#include <QByteArray>
#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <string_view>
#include <unistd.h>
#include <vector>
#include <zlib.h>

namespace fennic::ExifReader {
namespace {

using namespace std::string_view_literals;

// Where the bytes come from. The first block of a file is read once; what a date needs almost
// always lies inside it, and anything further is one positioned read.
class Source {
public:
    virtual ~Source() = default;
    // Copies `n` bytes at `offset`; false when they are not all there.
    virtual bool read(quint64 offset, void* out, size_t n) = 0;
};

class MemorySource final : public Source {
public:
    MemorySource(const char* data, qsizetype size) : m_data(data), m_size(quint64(std::max<qsizetype>(size, 0))) { }
    bool read(quint64 offset, void* out, size_t n) override
    {
        if (offset > m_size || n > m_size - offset) return false;
        std::memcpy(out, m_data + offset, n);
        return true;
    }

private:
    const char* m_data;
    quint64 m_size;
};

class FileSource final : public Source {
public:
    static constexpr size_t kHead = 2048;
    // A hostile file could point every offset somewhere new: past this many reads it gives up.
    static constexpr int kMaxReads = 24;

    explicit FileSource(int fd) : m_fd(fd)
    {
        const ssize_t got = ::pread(fd, m_head.data(), m_head.size(), 0);
        m_headSize = got > 0 ? size_t(got) : 0;
        m_complete = m_headSize < m_head.size();
    }
    bool read(quint64 offset, void* out, size_t n) override
    {
        if (offset <= m_headSize && n <= m_headSize - offset) {
            std::memcpy(out, m_head.data() + offset, n);
            return true;
        }
        if (m_complete || ++m_reads > kMaxReads) return false;
        auto* to = static_cast<char*>(out);
        size_t done = 0;
        while (done < n) {
            const ssize_t got = ::pread(m_fd, to + done, n - done, off_t(offset + done));
            if (got <= 0) return false;
            done += size_t(got);
        }
        return true;
    }

private:
    int m_fd;
    std::array<char, kHead> m_head{};
    size_t m_headSize = 0;
    bool m_complete = false;  // the whole file fitted in the first block
    int m_reads = 0;
};

bool is(const unsigned char* p, std::string_view text) { return std::memcmp(p, text.data(), text.size()) == 0; }

quint32 be16(const unsigned char* p) { return quint32(p[0]) << 8 | p[1]; }
quint32 be32(const unsigned char* p) { return quint32(p[0]) << 24 | quint32(p[1]) << 16 | quint32(p[2]) << 8 | p[3]; }
quint32 le32(const unsigned char* p) { return quint32(p[3]) << 24 | quint32(p[2]) << 16 | quint32(p[1]) << 8 | p[0]; }

// One TIFF structure (a whole TIFF file, or the block inside a JPEG's APP1, PNG's eXIf or
// WebP's EXIF chunk) that starts at `base` and holds `length` bytes.
class Tiff {
public:
    Tiff(Source& source, quint64 base, quint64 length) : m_source(source), m_base(base), m_length(length) { }

    Result dates()
    {
        unsigned char header[8];
        if (!bytes(0, header, sizeof header)) return {};
        if (is(header, "II"sv))
            m_little = true;
        else if (is(header, "MM"sv))
            m_little = false;
        else
            return {};
        // The magic number differs between TIFF and the raw formats built on it; the layout
        // that follows is the same.
        DateFields fields;
        quint32 exifIfd = 0;
        // Raw formats after TIFF/EP may keep the date in the first directory itself.
        if (!directory(u32(header + 4), fields, &exifIfd)) return {};
        if (exifIfd != 0) directory(exifIfd, fields, nullptr);
        // The fraction and the offset mean nothing without the date they belong to.
        if (fields.dateTime.isEmpty()) return {};
        return {Outcome::found, fields};
    }

private:
    static constexpr quint16 kExifIfdPointer = 0x8769;
    static constexpr quint16 kDateTimeOriginal = 0x9003;
    static constexpr quint16 kOffsetTimeOriginal = 0x9011;
    static constexpr quint16 kSubSecTimeOriginal = 0x9291;
    static constexpr quint16 kAscii = 2, kLong = 4, kIfd = 13;
    static constexpr quint32 kMaxEntries = 512;
    static constexpr quint32 kMaxText = 64;

    quint32 u16(const unsigned char* p) const { return m_little ? quint32(p[1]) << 8 | p[0] : be16(p); }
    quint32 u32(const unsigned char* p) const { return m_little ? le32(p) : be32(p); }

    bool bytes(quint64 at, void* out, size_t n)
    {
        if (at > m_length || n > m_length - at) return false;
        return m_source.read(m_base + at, out, n);
    }

    // Reads the directory at `offset`, keeping the date fields it holds and, when asked, the
    // pointer to the Exif directory.
    bool directory(quint32 offset, DateFields& fields, quint32* exifIfd)
    {
        unsigned char countBytes[2];
        if (offset < 8 || !bytes(offset, countBytes, 2)) return false;
        const quint32 count = u16(countBytes);
        if (count == 0 || count > kMaxEntries) return false;
        std::vector<unsigned char> entries(size_t(count) * 12);
        if (!bytes(quint64(offset) + 2, entries.data(), entries.size())) return false;
        for (quint32 i = 0; i < count; ++i) {
            const unsigned char* e = entries.data() + size_t(i) * 12;
            const quint32 tag = u16(e), type = u16(e + 2), n = u32(e + 4);
            switch (tag) {
            case kExifIfdPointer:
                if (exifIfd && (type == kLong || type == kIfd) && n == 1) *exifIfd = u32(e + 8);
                break;
            case kDateTimeOriginal:
                if (type == kAscii) fields.dateTime = text(e, n);
                break;
            case kOffsetTimeOriginal:
                if (type == kAscii) fields.offset = text(e, n);
                break;
            case kSubSecTimeOriginal:
                if (type == kAscii) fields.subSeconds = text(e, n);
                break;
            default: break;
            }
        }
        return true;
    }

    // An ASCII value: inside the entry when it fits in four bytes, else at the offset it gives.
    // Cameras pad these fields with NULs and spaces.
    QString text(const unsigned char* entry, quint32 n)
    {
        if (n == 0 || n > kMaxText) return {};
        char buffer[kMaxText];
        if (n <= 4)
            std::memcpy(buffer, entry + 8, n);
        else if (!bytes(u32(entry + 8), buffer, n))
            return {};
        const size_t length = strnlen(buffer, n);
        return QString::fromLatin1(buffer, qsizetype(length)).trimmed();
    }

    Source& m_source;
    quint64 m_base;
    quint64 m_length;
    bool m_little = true;
};

constexpr int kMaxSegments = 64;

Result fromJpeg(Source& source)
{
    quint64 at = 2;
    for (int i = 0; i < kMaxSegments; ++i) {
        unsigned char m[4];
        if (!source.read(at, m, 4) || m[0] != 0xFF) return {};
        const unsigned char marker = m[1];
        if (marker == 0xFF) {  // a fill byte before the marker
            at += 1;
            continue;
        }
        if (marker == 0xD9 || marker == 0xDA) return {};  // the image data begins: no Exif before it
        if (marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7)) {
            at += 2;
            continue;
        }
        const quint32 length = be16(m + 2);
        if (length < 2) return {};
        if (marker == 0xE1 && length >= 16) {
            unsigned char id[6];
            if (source.read(at + 4, id, 6) && is(id, "Exif\0\0"sv)) return Tiff(source, at + 10, length - 8).dates();
        }
        at += 2 + quint64(length);
    }
    return {};
}

// Inflates zlib data, stopping at `limit` bytes of output: a small chunk must not be able to
// make a scan allocate gigabytes.
QByteArray inflateAtMost(QByteArrayView compressed, qsizetype limit)
{
    z_stream z{};
    if (inflateInit(&z) != Z_OK) return {};
    QByteArray out(std::min<qsizetype>(limit, std::max<qsizetype>(4096, compressed.size() * 4)), Qt::Uninitialized);
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(compressed.data()));
    z.avail_in = uInt(compressed.size());
    int status = Z_OK;
    while (status == Z_OK) {
        if (z.total_out == uLong(out.size())) {
            if (out.size() >= limit) break;
            out.resize(std::min(limit, out.size() * 2));
        }
        z.next_out = reinterpret_cast<Bytef*>(out.data() + z.total_out);
        z.avail_out = uInt(out.size() - qsizetype(z.total_out));
        status = inflate(&z, Z_NO_FLUSH);
    }
    out.truncate(qsizetype(z.total_out));
    inflateEnd(&z);
    return status == Z_STREAM_END ? out : QByteArray();
}

// The older way of keeping Exif in a PNG, still written by some tools: a compressed text chunk
// "Raw profile type exif" (or "APP1") whose text is "\nexif\n   LENGTH\n" and the bytes in hex.
Result fromRawProfile(Source& source, quint64 at, quint32 length)
{
    constexpr quint32 kMaxProfile = 1u << 20;
    if (length > kMaxProfile) return {};
    // The keyword first: other compressed text (comments, other profiles) is never read whole.
    constexpr QByteArrayView kPrefix("Raw profile type ");
    char prefix[kPrefix.size()];
    if (length < kPrefix.size() || !source.read(at, prefix, sizeof prefix)
        || QByteArrayView(prefix, sizeof prefix) != kPrefix)
        return {};
    QByteArray chunk(qsizetype(length), Qt::Uninitialized);
    if (!source.read(at, chunk.data(), size_t(length))) return {};
    const qsizetype keywordEnd = chunk.indexOf('\0');
    const QByteArrayView keyword = QByteArrayView(chunk).first(std::max<qsizetype>(keywordEnd, 0));
    // The keyword, its NUL, then the compression method (0, deflate).
    if (keywordEnd < 0 || (keyword != "Raw profile type exif" && keyword != "Raw profile type APP1")
        || chunk.size() < keywordEnd + 2 || chunk[keywordEnd + 1] != '\0')
        return {};
    const QByteArray text = inflateAtMost(QByteArrayView(chunk).sliced(keywordEnd + 2), qsizetype(kMaxProfile) * 3);
    // "\nexif\n", spaces, the decimal length, a newline, then hex digits broken into lines.
    qsizetype i = text.indexOf('\n', 1);
    if (i < 0) return {};
    while (i < text.size() && (text[i] == '\n' || text[i] == ' ')) ++i;
    qsizetype digitsEnd = i;
    while (digitsEnd < text.size() && text[digitsEnd] >= '0' && text[digitsEnd] <= '9') ++digitsEnd;
    bool ok = false;
    const qsizetype declared = text.mid(i, digitsEnd - i).toLongLong(&ok);
    if (!ok || declared <= 0 || declared > kMaxProfile) return {};
    QByteArray hex;
    hex.reserve(declared * 2);
    for (qsizetype j = digitsEnd; j < text.size() && hex.size() < declared * 2; ++j)
        if (std::isxdigit(static_cast<unsigned char>(text[j]))) hex.append(text[j]);
    const QByteArray bytes = QByteArray::fromHex(hex);
    const qsizetype skip = bytes.startsWith(QByteArrayView("Exif\0\0", 6)) ? 6 : 0;
    MemorySource inner(bytes.constData() + skip, bytes.size() - skip);
    return Tiff(inner, 0, quint64(bytes.size() - skip)).dates();
}

Result fromPng(Source& source)
{
    quint64 at = 8;
    for (int i = 0; i < kMaxSegments; ++i) {
        unsigned char chunk[8];
        if (!source.read(at, chunk, 8)) return {};
        const quint32 length = be32(chunk);
        if (is(chunk + 4, "eXIf"sv)) return Tiff(source, at + 8, length).dates();
        if (is(chunk + 4, "zTXt"sv)) {
            if (Result r = fromRawProfile(source, at + 8, length); r.outcome == Outcome::found) return r;
        }
        // Exif belongs before the image data; looking past it would mean walking every data chunk.
        if (is(chunk + 4, "IDAT"sv) || is(chunk + 4, "IEND"sv)) return {};
        at += 12 + quint64(length);
    }
    return {};
}

Result fromWebp(Source& source, const unsigned char* head)
{
    // Only the extended form carries metadata, and it says so in its flags.
    constexpr unsigned char kExifFlag = 0x08;
    if (!is(head + 12, "VP8X"sv) || !(head[20] & kExifFlag)) return {};
    quint64 at = 12;
    for (int i = 0; i < kMaxSegments; ++i) {
        unsigned char chunk[8];
        if (!source.read(at, chunk, 8)) return {};
        const quint32 length = le32(chunk + 4);
        if (is(chunk, "EXIF"sv)) {
            unsigned char id[6];
            // Some writers keep JPEG's "Exif\0\0" in front of the TIFF block.
            const quint64 skip = (length >= 6 && source.read(at + 8, id, 6) && is(id, "Exif\0\0"sv)) ? 6 : 0;
            return Tiff(source, at + 8 + skip, length - skip).dates();
        }
        at += 8 + quint64(length) + (length & 1);
    }
    return {};
}

Result fromSource(Source& source)
{
    unsigned char head[24] = {};
    if (!source.read(0, head, 12)) return {};
    (void)source.read(0, head, sizeof head);  // short files keep the zeros
    if (head[0] == 0xFF && head[1] == 0xD8 && head[2] == 0xFF) return fromJpeg(source);
    if (is(head, "II*\0"sv) || is(head, "MM\0*"sv) || is(head, "IIRO"sv) || is(head, "IIRS"sv) || is(head, "IIU\0"sv))
        return Tiff(source, 0, ~quint64(0) >> 1).dates();
    if (is(head, "\x89PNG\r\n\x1a\n"sv)) return fromPng(source);
    if (is(head, "RIFF"sv) && is(head + 8, "WEBP"sv)) return fromWebp(source, head);
    if (is(head + 4, "ftyp"sv) || is(head, "FUJIFILM"sv)) return {Outcome::unsupported, {}};
    return {};
}

}  // namespace

Result readDateFields(int fd)
{
    FileSource source(fd);
    return fromSource(source);
}

Result readDateFields(const char* data, qsizetype size)
{
    MemorySource source(data, size);
    return fromSource(source);
}

}  // namespace fennic::ExifReader
