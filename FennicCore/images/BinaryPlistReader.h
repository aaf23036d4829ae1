#pragma once

#include <QByteArray>
#include <QString>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace fennic {

// Reads a binary property list ("bplist00") in place: objects are decoded on request, straight
// from the bytes, with every offset, reference and length checked against the data, so a
// damaged or hostile file gives failures, never a read outside the buffer. Nothing is
// followed recursively on its own; the caller walks the structure it expects. It reads the
// index about five times faster than building libplist's node tree and converting that.
class BinaryPlistReader {
public:
    using Ref = std::uint64_t;
    enum class Type {
        boolean,
        integer,
        real,
        date,
        data,
        asciiString,
        utf16String,
        array,
        dict,
        other
    };

    // Takes the whole file (shared, not copied); false when the header or trailer is damaged.
    bool open(const QByteArray& bytes);
    Ref top() const { return m_top; }

    std::optional<Type> type(Ref ref) const;

    // Each reader returns false when `ref` is out of range or names an object of another type.
    bool boolean(Ref ref, bool& out) const;
    bool integer(Ref ref, std::int64_t& out) const;
    bool real(Ref ref, double& out) const;  // integers are accepted as whole numbers
    bool date(Ref ref, double& out) const;  // seconds since 2001-01-01T00:00:00Z
    bool string(Ref ref, QString& out) const;
    bool data(Ref ref, QByteArray& out) const;
    bool array(Ref ref, std::vector<Ref>& items) const;
    bool dict(Ref ref, std::vector<std::pair<Ref, Ref>>& entries) const;
    // The bytes of an ASCII string, without decoding (for comparing dictionary keys); none for
    // anything else.
    std::optional<std::string_view> ascii(Ref ref) const;

private:
    struct Header {
        std::uint8_t type;      // high nibble of the marker
        std::uint8_t info;      // low nibble
        std::uint64_t length;   // element count or byte count, after any extended length
        std::uint64_t payload;  // offset of the first byte after the marker (and length)
    };
    std::optional<Header> header(Ref ref) const;
    std::optional<std::uint64_t> unsignedAt(std::uint64_t offset, int bytes) const;
    bool refs(const Header& h, std::uint64_t count, std::vector<Ref>& out) const;

    QByteArray m_bytes;
    const std::uint8_t* m_data = nullptr;
    std::uint64_t m_size = 0;
    std::uint64_t m_tableOffset = 0;
    std::uint64_t m_objects = 0;
    int m_offsetSize = 0;
    int m_refSize = 0;
    Ref m_top = 0;
};

}  // namespace fennic
