#include "images/BinaryPlistWriter.h"

#include <QtEndian>
#include <bit>
#include <cstring>

namespace fennic {
namespace {

// Object markers: the high nibble is the type, the low nibble a size or a length.
constexpr std::uint8_t kFalse = 0x08;
constexpr std::uint8_t kTrue = 0x09;
constexpr std::uint8_t kInteger = 0x1;
constexpr std::uint8_t kReal = 0x2;
constexpr std::uint8_t kDate = 0x33;
constexpr std::uint8_t kData = 0x4;
constexpr std::uint8_t kAsciiString = 0x5;
constexpr std::uint8_t kUtf16String = 0x6;
constexpr std::uint8_t kArray = 0xA;
constexpr std::uint8_t kDict = 0xD;
// Lengths from 15 on follow the marker as an integer object.
constexpr std::size_t kLongLength = 15;

void appendBigEndian(QByteArray& out, std::uint64_t value, int bytes)
{
    char buffer[8];
    for (int i = 0; i < bytes; ++i) buffer[i] = char((value >> (8 * (bytes - 1 - i))) & 0xFF);
    out.append(buffer, bytes);
}

void appendInteger(QByteArray& out, std::int64_t value)
{
    const auto u = std::uint64_t(value);
    if (value >= 0 && u <= 0xFF)
        out.append(char(kInteger << 4 | 0)), appendBigEndian(out, u, 1);
    else if (value >= 0 && u <= 0xFFFF)
        out.append(char(kInteger << 4 | 1)), appendBigEndian(out, u, 2);
    else if (value >= 0 && u <= 0xFFFFFFFFu)
        out.append(char(kInteger << 4 | 2)), appendBigEndian(out, u, 4);
    else
        out.append(char(kInteger << 4 | 3)), appendBigEndian(out, u, 8);  // 8-byte integers are signed
}

void appendMarker(QByteArray& out, std::uint8_t type, std::size_t length)
{
    if (length < kLongLength) {
        out.append(char(type << 4 | length));
        return;
    }
    out.append(char(type << 4 | 0xF));
    appendInteger(out, std::int64_t(length));
}

int bytesFor(std::uint64_t largest)
{
    if (largest <= 0xFF) return 1;
    if (largest <= 0xFFFF) return 2;
    if (largest <= 0xFFFFFFFFu) return 4;
    return 8;
}

}  // namespace

BinaryPlistWriter::Ref BinaryPlistWriter::beginScalar()
{
    m_objects.push_back(Object{Kind::scalar, 0, std::uint64_t(m_bytes.size()), 0});
    return Ref(m_objects.size() - 1);
}

void BinaryPlistWriter::endScalar()
{
    Object& object = m_objects.back();
    object.size = std::uint32_t(std::uint64_t(m_bytes.size()) - object.begin);
}

BinaryPlistWriter::Ref BinaryPlistWriter::boolean(bool value)
{
    const Ref ref = beginScalar();
    m_bytes.append(char(value ? kTrue : kFalse));
    endScalar();
    return ref;
}

BinaryPlistWriter::Ref BinaryPlistWriter::integer(std::int64_t value)
{
    const Ref ref = beginScalar();
    appendInteger(m_bytes, value);
    endScalar();
    return ref;
}

BinaryPlistWriter::Ref BinaryPlistWriter::real(float value)
{
    const Ref ref = beginScalar();
    m_bytes.append(char(kReal << 4 | 2));
    appendBigEndian(m_bytes, std::bit_cast<std::uint32_t>(value), 4);
    endScalar();
    return ref;
}

BinaryPlistWriter::Ref BinaryPlistWriter::real(double value)
{
    const Ref ref = beginScalar();
    m_bytes.append(char(kReal << 4 | 3));
    appendBigEndian(m_bytes, std::bit_cast<std::uint64_t>(value), 8);
    endScalar();
    return ref;
}

BinaryPlistWriter::Ref BinaryPlistWriter::date(double seconds)
{
    const Ref ref = beginScalar();
    m_bytes.append(char(kDate));
    appendBigEndian(m_bytes, std::bit_cast<std::uint64_t>(seconds), 8);
    endScalar();
    return ref;
}

BinaryPlistWriter::Ref BinaryPlistWriter::string(const QString& value)
{
    if (const auto it = m_strings.constFind(value); it != m_strings.cend()) return it.value();
    bool ascii = true;
    for (const QChar c : value)
        if (c.unicode() >= 0x80) ascii = false;
    const Ref ref = beginScalar();
    if (ascii) {
        appendMarker(m_bytes, kAsciiString, std::size_t(value.size()));
        m_bytes.append(value.toLatin1());
    } else {
        appendMarker(m_bytes, kUtf16String, std::size_t(value.size()));
        const qsizetype start = m_bytes.size();
        m_bytes.resize(start + 2 * value.size());
        char* out = m_bytes.data() + start;
        for (const QChar c : value) *out++ = char(c.unicode() >> 8), *out++ = char(c.unicode() & 0xFF);
    }
    endScalar();
    m_strings.insert(value, ref);
    return ref;
}

BinaryPlistWriter::Ref BinaryPlistWriter::data(const QByteArray& value)
{
    m_objects.push_back(Object{Kind::blob, 0, std::uint64_t(m_blobs.size()), 0});
    m_blobs.push_back(value);
    return Ref(m_objects.size() - 1);
}

BinaryPlistWriter::Ref BinaryPlistWriter::array(const std::vector<Ref>& items)
{
    m_objects.push_back(Object{Kind::array, std::uint32_t(items.size()), std::uint64_t(m_refs.size()), 0});
    m_refs.insert(m_refs.end(), items.begin(), items.end());
    return Ref(m_objects.size() - 1);
}

BinaryPlistWriter::Ref BinaryPlistWriter::dict(const std::vector<std::pair<Ref, Ref>>& entries)
{
    // Keys first, then values, as the format lays them out.
    m_objects.push_back(Object{Kind::dict, std::uint32_t(entries.size()), std::uint64_t(m_refs.size()), 0});
    for (const auto& entry : entries) m_refs.push_back(entry.first);
    for (const auto& entry : entries) m_refs.push_back(entry.second);
    return Ref(m_objects.size() - 1);
}

QByteArray BinaryPlistWriter::finish(Ref top) const
{
    const int refSize = bytesFor(m_objects.empty() ? 0 : m_objects.size() - 1);
    qsizetype blobBytes = 0;
    for (const QByteArray& blob : m_blobs) blobBytes += blob.size() + 9;
    QByteArray out;
    out.reserve(qsizetype(8 + m_bytes.size() + blobBytes + qsizetype(m_refs.size()) * refSize
                          + qsizetype(m_objects.size()) * 9 + 32));
    out.append("bplist00", 8);
    std::vector<std::uint64_t> offsets;
    offsets.reserve(m_objects.size());
    for (const Object& object : m_objects) {
        offsets.push_back(std::uint64_t(out.size()));
        switch (object.kind) {
        case Kind::scalar: out.append(m_bytes.constData() + object.begin, qsizetype(object.size)); break;
        case Kind::blob: {
            const QByteArray& blob = m_blobs[object.begin];
            appendMarker(out, kData, std::size_t(blob.size()));
            out.append(blob);
            break;
        }
        case Kind::array:
        case Kind::dict: {
            const bool isArray = object.kind == Kind::array;
            const std::size_t refs = isArray ? object.count : 2 * std::size_t(object.count);
            appendMarker(out, isArray ? kArray : kDict, object.count);
            const qsizetype start = out.size();
            out.resize(start + qsizetype(refs) * refSize);
            char* at = out.data() + start;
            for (std::size_t i = 0; i < refs; ++i)
                for (int b = refSize - 1; b >= 0; --b) *at++ = char((m_refs[object.begin + i] >> (8 * b)) & 0xFF);
            break;
        }
        }
    }
    const auto tableOffset = std::uint64_t(out.size());
    const int offsetSize = bytesFor(tableOffset);
    {
        const qsizetype start = out.size();
        out.resize(start + qsizetype(offsets.size()) * offsetSize);
        char* at = out.data() + start;
        for (const std::uint64_t offset : offsets)
            for (int b = offsetSize - 1; b >= 0; --b) *at++ = char((offset >> (8 * b)) & 0xFF);
    }
    out.append(QByteArray(6, '\0'));
    out.append(char(offsetSize));
    out.append(char(refSize));
    appendBigEndian(out, m_objects.size(), 8);
    appendBigEndian(out, top, 8);
    appendBigEndian(out, tableOffset, 8);
    return out;
}

}  // namespace fennic
