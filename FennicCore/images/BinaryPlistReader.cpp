#include "images/BinaryPlistReader.h"

#include <bit>
#include <cstring>

namespace fennic {
namespace {

constexpr std::uint64_t kHeaderSize = 8;
constexpr std::uint64_t kTrailerSize = 32;

}  // namespace

std::optional<std::uint64_t> BinaryPlistReader::unsignedAt(std::uint64_t offset, int bytes) const
{
    if (bytes <= 0 || bytes > 8 || offset > m_size || m_size - offset < std::uint64_t(bytes)) return std::nullopt;
    std::uint64_t value = 0;
    for (int i = 0; i < bytes; ++i) value = value << 8 | m_data[offset + std::uint64_t(i)];
    return value;
}

bool BinaryPlistReader::open(const QByteArray& bytes)
{
    m_bytes = bytes;
    m_data = reinterpret_cast<const std::uint8_t*>(m_bytes.constData());
    m_size = std::uint64_t(m_bytes.size());
    if (m_size < kHeaderSize + kTrailerSize || std::memcmp(m_data, "bplist00", kHeaderSize) != 0) return false;
    const std::uint64_t trailer = m_size - kTrailerSize;
    m_offsetSize = m_data[trailer + 6];
    m_refSize = m_data[trailer + 7];
    m_objects = *unsignedAt(trailer + 8, 8);
    m_top = *unsignedAt(trailer + 16, 8);
    m_tableOffset = *unsignedAt(trailer + 24, 8);
    auto valid = [](int size) { return size == 1 || size == 2 || size == 4 || size == 8; };
    if (!valid(m_offsetSize) || !valid(m_refSize) || m_objects == 0 || m_top >= m_objects) return false;
    if (m_tableOffset < kHeaderSize || m_tableOffset > trailer) return false;
    // The offset table must fit between its start and the trailer.
    if ((trailer - m_tableOffset) / std::uint64_t(m_offsetSize) < m_objects) return false;
    return true;
}

std::optional<BinaryPlistReader::Header> BinaryPlistReader::header(Ref ref) const
{
    if (ref >= m_objects) return std::nullopt;
    const auto offset = unsignedAt(m_tableOffset + ref * std::uint64_t(m_offsetSize), m_offsetSize);
    if (!offset || *offset < kHeaderSize || *offset >= m_tableOffset) return std::nullopt;
    const std::uint8_t marker = m_data[*offset];
    Header h{std::uint8_t(marker >> 4), std::uint8_t(marker & 0x0F), marker & 0x0Fu, *offset + 1};
    const bool sized = h.type == 0x4 || h.type == 0x5 || h.type == 0x6 || h.type == 0xA || h.type == 0xD;
    if (sized && h.info == 0x0F) {
        // The length follows as an integer object.
        if (h.payload >= m_tableOffset) return std::nullopt;
        const std::uint8_t lengthMarker = m_data[h.payload];
        if ((lengthMarker >> 4) != 0x1 || (lengthMarker & 0x0F) > 3) return std::nullopt;
        const int bytes = 1 << (lengthMarker & 0x0F);
        const auto length = unsignedAt(h.payload + 1, bytes);
        if (!length) return std::nullopt;
        h.length = *length;
        h.payload += 1 + std::uint64_t(bytes);
        if (h.payload > m_tableOffset) return std::nullopt;
    }
    return h;
}

std::optional<BinaryPlistReader::Type> BinaryPlistReader::type(Ref ref) const
{
    const auto h = header(ref);
    if (!h) return std::nullopt;
    switch (h->type) {
    case 0x0: return (h->info == 0x8 || h->info == 0x9) ? Type::boolean : Type::other;
    case 0x1: return Type::integer;
    case 0x2: return Type::real;
    case 0x3: return Type::date;
    case 0x4: return Type::data;
    case 0x5: return Type::asciiString;
    case 0x6: return Type::utf16String;
    case 0xA: return Type::array;
    case 0xD: return Type::dict;
    default: return Type::other;
    }
}

bool BinaryPlistReader::boolean(Ref ref, bool& out) const
{
    const auto h = header(ref);
    if (!h || h->type != 0x0 || (h->info != 0x8 && h->info != 0x9)) return false;
    out = h->info == 0x9;
    return true;
}

bool BinaryPlistReader::integer(Ref ref, std::int64_t& out) const
{
    const auto h = header(ref);
    if (!h || h->type != 0x1 || h->info > 3) return false;
    const auto value = unsignedAt(h->payload, 1 << h->info);
    if (!value) return false;
    out = std::int64_t(*value);  // 8-byte integers are signed, shorter ones unsigned
    return true;
}

bool BinaryPlistReader::real(Ref ref, double& out) const
{
    const auto h = header(ref);
    if (!h) return false;
    if (h->type == 0x1) {
        std::int64_t whole = 0;
        if (!integer(ref, whole)) return false;
        out = double(whole);
        return true;
    }
    if (h->type != 0x2 || (h->info != 2 && h->info != 3)) return false;
    const auto bits = unsignedAt(h->payload, 1 << h->info);
    if (!bits) return false;
    out = h->info == 2 ? double(std::bit_cast<float>(std::uint32_t(*bits))) : std::bit_cast<double>(*bits);
    return true;
}

bool BinaryPlistReader::date(Ref ref, double& out) const
{
    const auto h = header(ref);
    if (!h || h->type != 0x3 || h->info != 3) return false;
    const auto bits = unsignedAt(h->payload, 8);
    if (!bits) return false;
    out = std::bit_cast<double>(*bits);
    return true;
}

bool BinaryPlistReader::string(Ref ref, QString& out) const
{
    const auto h = header(ref);
    if (!h || (h->type != 0x5 && h->type != 0x6)) return false;
    const std::uint64_t unit = h->type == 0x5 ? 1 : 2;
    if (h->length > (m_tableOffset - h->payload) / unit) return false;
    const auto* p = m_data + h->payload;
    if (h->type == 0x5) {
        out = QString::fromLatin1(reinterpret_cast<const char*>(p), qsizetype(h->length));
        return true;
    }
    out.resize(qsizetype(h->length));
    QChar* chars = out.data();
    for (std::uint64_t i = 0; i < h->length; ++i) chars[i] = QChar(char16_t(p[2 * i] << 8 | p[2 * i + 1]));
    return true;
}

std::optional<std::string_view> BinaryPlistReader::ascii(Ref ref) const
{
    const auto h = header(ref);
    if (!h || h->type != 0x5 || h->length > m_tableOffset - h->payload) return std::nullopt;
    return std::string_view(reinterpret_cast<const char*>(m_data + h->payload), size_t(h->length));
}

bool BinaryPlistReader::data(Ref ref, QByteArray& out) const
{
    const auto h = header(ref);
    if (!h || h->type != 0x4 || h->length > m_tableOffset - h->payload) return false;
    out = QByteArray(reinterpret_cast<const char*>(m_data + h->payload), qsizetype(h->length));
    return true;
}

bool BinaryPlistReader::refs(const Header& h, std::uint64_t count, std::vector<Ref>& out) const
{
    if (count > (m_tableOffset - h.payload) / std::uint64_t(m_refSize)) return false;
    out.resize(count);
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::uint64_t at = h.payload + i * std::uint64_t(m_refSize);
        std::uint64_t value = 0;
        for (int b = 0; b < m_refSize; ++b) value = value << 8 | m_data[at + std::uint64_t(b)];
        if (value >= m_objects) return false;
        out[i] = value;
    }
    return true;
}

bool BinaryPlistReader::array(Ref ref, std::vector<Ref>& items) const
{
    const auto h = header(ref);
    return h && h->type == 0xA && refs(*h, h->length, items);
}

bool BinaryPlistReader::dict(Ref ref, std::vector<std::pair<Ref, Ref>>& entries) const
{
    const auto h = header(ref);
    if (!h || h->type != 0xD || h->length > std::uint64_t(1) << 40) return false;
    std::vector<Ref> all;
    if (!refs(*h, 2 * h->length, all)) return false;
    entries.resize(h->length);
    for (std::uint64_t i = 0; i < h->length; ++i) entries[i] = {all[i], all[h->length + i]};
    return true;
}

}  // namespace fennic
