#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <cstdint>
#include <utility>
#include <vector>

namespace fennic {

// Writes a binary property list ("bplist00"), the format libplist and every other reader of
// property lists understand. Objects are added bottom-up (children before their container),
// each returning a reference; finish() lays them out with the smallest reference and offset
// sizes that fit. Strings are stored once however often they are added (dictionary keys
// repeat in every record). It exists because libplist's own writer slows down with the
// square of the number of objects, and an image index holds millions of them.
class BinaryPlistWriter {
public:
    using Ref = std::uint32_t;

    Ref boolean(bool value);
    Ref integer(std::int64_t value);
    Ref real(float value);     // a 4-byte real
    Ref real(double value);    // an 8-byte real
    Ref date(double seconds);  // seconds since 2001-01-01T00:00:00Z
    Ref string(const QString& value);
    Ref data(const QByteArray& value);
    Ref array(const std::vector<Ref>& items);
    Ref dict(const std::vector<std::pair<Ref, Ref>>& entries);  // (key string, value)

    // The whole file with `top` as its root object.
    QByteArray finish(Ref top) const;

private:
    enum class Kind : std::uint8_t {
        scalar,
        blob,
        array,
        dict
    };
    struct Object {
        Kind kind;
        std::uint32_t count;  // container: number of items (dict: of pairs)
        std::uint64_t begin;  // scalar: offset in m_bytes; blob: index in m_blobs; container: index in m_refs
        std::uint32_t size;   // scalar: byte length
    };

    // Starts a scalar whose bytes the caller then appends to m_bytes.
    Ref beginScalar();
    void endScalar();

    std::vector<Object> m_objects;
    QByteArray m_bytes;               // encoded scalars, back to back
    std::vector<QByteArray> m_blobs;  // data payloads, shared rather than copied
    std::vector<Ref> m_refs;          // container members
    QHash<QString, Ref> m_strings;    // uniqued strings
};

}  // namespace fennic
