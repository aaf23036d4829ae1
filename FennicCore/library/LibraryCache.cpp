#include "LibraryCache.h"

#include "model/SupportFiles.h"

#include <QFile>
#include <QSaveFile>
#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <simdjson.h>
#include <string_view>
#include <unordered_map>

namespace fennic::LibraryCache {
namespace {

// Raw kind strings by enum value; the round-trip tests pin them to FileKinds::rawValue.
constexpr std::array<std::string_view, 7> kKindRaw{"image", "video", "music", "document", "archive", "app", "other"};

// Four UTF-16 units in one 64-bit word, tested lane by lane without branches.
constexpr std::uint64_t kLaneOnes = 0x0001000100010001ULL;
constexpr std::uint64_t kLaneHighBits = 0x8000800080008000ULL;

// Whether some lane is zero (a lane above a zero one may be flagged too, which is harmless
// here: any hit sends the whole word down the careful path).
constexpr bool hasZeroLane(std::uint64_t x) { return ((x - kLaneOnes) & ~x & kLaneHighBits) != 0; }

// Whether all four units are printable ASCII that JSON takes as it is (not '"' or '\\').
constexpr bool plainWord(std::uint64_t x)
{
    if (x & (0xFF80 * kLaneOnes)) return false;                                   // beyond ASCII
    if (~((x | kLaneHighBits) - 0x20 * kLaneOnes) & kLaneHighBits) return false;  // a control character
    return !hasZeroLane(x ^ (0x22 * kLaneOnes)) && !hasZeroLane(x ^ (0x5C * kLaneOnes));
}

static_assert(std::endian::native == std::endian::little, "the word tricks read units lowest first");
static_assert(plainWord(0x0064006300620061ULL));   // "abcd"
static_assert(plainWord(0x007F007E00200041ULL));   // "A ~" and DEL
static_assert(!plainWord(0x0064002200620061ULL));  // a quote
static_assert(!plainWord(0x005C006300620061ULL));  // a backslash
static_assert(!plainWord(0x00640063001F0061ULL));  // a control character
static_assert(!plainWord(0x0064006300E90061ULL));  // beyond ASCII

// Writes the low bytes of the four (ASCII) units.
inline void narrowWord(std::uint64_t x, char* out)
{
    const std::uint32_t bytes =
        std::uint32_t((x & 0xFF) | ((x >> 8) & 0xFF00) | ((x >> 16) & 0xFF0000) | ((x >> 24) & 0xFF000000));
    std::memcpy(out, &bytes, sizeof bytes);
}

// Appends JSON to a byte buffer that grows geometrically. Callers reserve room for the worst
// case of what they write next and then write through a raw pointer, which keeps the encoder
// at memory speed for a quarter of a million items.
class JsonOut {
public:
    explicit JsonOut(qsizetype expected) { grow(std::max<qsizetype>(expected, 256)); }

    void reserve(qsizetype extra)
    {
        if (m_end - m_p < extra) grow(extra);
    }
    void put(char c) { *m_p++ = c; }
    void raw(std::string_view s)
    {
        std::memcpy(m_p, s.data(), s.size());
        m_p += s.size();
    }

    void string(const QString& s)
    {
        // Six bytes per UTF-16 unit covers the longest escape (\u001f); a surrogate pair
        // takes four bytes for two units.
        reserve(s.size() * 6 + 2);
        put('"');
        const char16_t* u = reinterpret_cast<const char16_t*>(s.utf16());
        const qsizetype n = s.size();
        // Most text is printable ASCII: copy it four units at a time until something needs
        // care, then go on one unit at a time.
        qsizetype i = 0;
        for (; i + 4 <= n; i += 4) {
            std::uint64_t word;
            std::memcpy(&word, u + i, sizeof word);
            if (!plainWord(word)) break;
            narrowWord(word, m_p);
            m_p += 4;
        }
        for (; i < n; ++i) {
            const char32_t c = u[i];
            if (c < 0x80) {
                if (c >= 0x20 && c != u'"' && c != u'\\') {
                    put(char(c));
                } else {
                    escape(c);
                }
            } else if (c < 0x800) {
                put(char(0xC0 | (c >> 6)));
                put(char(0x80 | (c & 0x3F)));
            } else if (c >= 0xD800 && c <= 0xDBFF && i + 1 < n && u[i + 1] >= 0xDC00 && u[i + 1] <= 0xDFFF) {
                const char32_t cp = 0x10000 + ((c - 0xD800) << 10) + (char32_t(u[i + 1]) - 0xDC00);
                ++i;
                put(char(0xF0 | (cp >> 18)));
                put(char(0x80 | ((cp >> 12) & 0x3F)));
                put(char(0x80 | ((cp >> 6) & 0x3F)));
                put(char(0x80 | (cp & 0x3F)));
            } else if (c >= 0xD800 && c <= 0xDFFF) {
                // A lone surrogate has no UTF-8 form; write the replacement character, as
                // QString::toUtf8 would.
                raw("\xEF\xBF\xBD");
            } else {
                put(char(0xE0 | (c >> 12)));
                put(char(0x80 | ((c >> 6) & 0x3F)));
                put(char(0x80 | (c & 0x3F)));
            }
        }
        put('"');
    }

    void integer(qint64 v)
    {
        reserve(24);
        m_p = std::to_chars(m_p, m_end, v).ptr;
    }

    // The shortest text that reads back as the same double. Beyond 1e15 the scientific form is
    // forced, so that an integral value is never written as a long digit run that a reader
    // might take for an out-of-range integer. A JSON number has no infinity or NaN: those
    // (which no real file date is) are written as the distant past or future.
    void number(double v)
    {
        reserve(32);
        if (!std::isfinite(v)) v = v > 0 ? Date::distantFuture().seconds : Date::distantPast().seconds;
        if (std::fabs(v) >= 1e15) {
            m_p = std::to_chars(m_p, m_end, v, std::chars_format::scientific).ptr;
        } else {
            m_p = std::to_chars(m_p, m_end, v).ptr;
        }
    }

    const char* data() const { return m_buffer.constData(); }
    qsizetype size() const { return m_p - m_buffer.constData(); }
    // Empties the buffer but keeps its memory, for writing out in pieces.
    void clear() { m_p = m_buffer.data(); }

    QByteArray finish()
    {
        m_buffer.resize(m_p - m_buffer.data());
        return std::move(m_buffer);
    }

private:
    void escape(char32_t c)
    {
        put('\\');
        switch (c) {
        case u'"': put('"'); return;
        case u'\\': put('\\'); return;
        case u'\b': put('b'); return;
        case u'\f': put('f'); return;
        case u'\n': put('n'); return;
        case u'\r': put('r'); return;
        case u'\t': put('t'); return;
        default: break;
        }
        static constexpr char kHex[] = "0123456789abcdef";
        raw("u00");
        put(kHex[c >> 4]);
        put(kHex[c & 0xF]);
    }

    void grow(qsizetype extra)
    {
        const qsizetype used = m_p ? m_p - m_buffer.data() : 0;
        const qsizetype wanted = std::max(m_buffer.size() * 2, used + extra + 4096);
        m_buffer.resize(wanted);
        m_p = m_buffer.data() + used;
        m_end = m_buffer.data() + m_buffer.size();
    }

    QByteArray m_buffer;
    char* m_p = nullptr;
    char* m_end = nullptr;
};

void writeItem(JsonOut& out, const FileItem& item)
{
    // Keys are written in field order; the reader does not depend on it.
    out.reserve(64);
    out.raw(R"({"path":)");
    out.string(item.path);
    out.reserve(16);
    out.raw(R"(,"name":)");
    out.string(item.name);
    out.reserve(16);
    out.raw(R"(,"ext":)");
    out.string(item.ext);
    out.reserve(16);
    out.raw(R"(,"size":)");
    out.integer(item.size);
    out.reserve(16);
    out.raw(R"(,"created":)");
    out.number(item.created.seconds);
    out.reserve(16);
    out.raw(R"(,"modified":)");
    out.number(item.modified.seconds);
    out.reserve(16);
    out.raw(R"(,"added":)");
    out.number(item.added.seconds);
    out.reserve(64);
    out.raw(R"(,"kind":")");
    out.raw(kKindRaw[static_cast<size_t>(item.kind)]);
    out.raw(R"(","isScreenshot":)");
    out.raw(item.isScreenshot ? std::string_view("true") : std::string_view("false"));
    out.raw(R"(,"whereFrom":[)");
    for (qsizetype i = 0; i < item.whereFrom.size(); ++i) {
        if (i > 0) {
            out.reserve(1);
            out.put(',');
        }
        out.string(item.whereFrom[i]);
    }
    out.reserve(16);
    out.put(']');
    if (item.sourceKey) {
        out.raw(R"(,"sourceKey":)");
        out.string(*item.sourceKey);
    }
    if (item.lastUsed) {
        out.reserve(16);
        out.raw(R"(,"lastUsed":)");
        out.number(item.lastUsed->seconds);
    }
    if (item.camera) {
        out.reserve(16);
        out.raw(R"(,"camera":)");
        out.string(*item.camera);
    }
    out.reserve(1);
    out.put('}');
}

// Gives equal strings of one decode a single shared QString. The views point into the input
// or the parser's string buffer, both of which outlive the decode.
class Interner {
public:
    const QString& get(std::string_view s)
    {
        auto [it, inserted] = m_strings.try_emplace(s);
        if (inserted) it->second = QString::fromUtf8(s.data(), qsizetype(s.size()));
        return it->second;
    }

private:
    std::unordered_map<std::string_view, QString> m_strings;
};

enum Field : int {
    kPath,
    kName,
    kExt,
    kSize,
    kCreated,
    kModified,
    kAdded,
    kKind,
    kIsScreenshot,
    kWhereFrom,
    kSourceKey,
    kLastUsed,
    kCamera,
    kUnknown
};
constexpr unsigned kRequiredFields = (1u << kSourceKey) - 1;  // the first ten

Field fieldOf(std::string_view key)
{
    switch (key.size()) {
    case 3: return key == "ext" ? kExt : kUnknown;
    case 4:
        if (key == "path") return kPath;
        if (key == "name") return kName;
        if (key == "size") return kSize;
        if (key == "kind") return kKind;
        return kUnknown;
    case 5: return key == "added" ? kAdded : kUnknown;
    case 6: return key == "camera" ? kCamera : kUnknown;
    case 7: return key == "created" ? kCreated : kUnknown;
    case 8:
        if (key == "modified") return kModified;
        if (key == "lastUsed") return kLastUsed;
        return kUnknown;
    case 9:
        if (key == "whereFrom") return kWhereFrom;
        if (key == "sourceKey") return kSourceKey;
        return kUnknown;
    case 12: return key == "isScreenshot" ? kIsScreenshot : kUnknown;
    default: return kUnknown;
    }
}

namespace od = simdjson::ondemand;

// The text of a string value. A string without escapes is taken straight from the input
// (already checked to be UTF-8 without raw control characters), which spares copying every
// path through the parser's unescaping buffer; only strings with escapes are unescaped.
bool stringOf(od::value& value, std::string_view& text)
{
    std::string_view token = value.raw_json_token();  // peeks; the value stays unread
    while (!token.empty()
           && (token.back() == ' ' || token.back() == '\n' || token.back() == '\r' || token.back() == '\t'))
        token.remove_suffix(1);
    if (token.size() >= 2 && token.front() == '"' && token.back() == '"') {
        const std::string_view content = token.substr(1, token.size() - 2);
        if (content.find('\\') == std::string_view::npos) {
            text = content;
            return true;
        }
    }
    // Escapes, or not a string at all (then this reports the type error).
    return !value.get_string().get(text);
}

bool readString(od::value value, QString& into)
{
    std::string_view s;
    if (!stringOf(value, s)) return false;
    into = QString::fromUtf8(s.data(), qsizetype(s.size()));
    return true;
}

bool readInterned(od::value value, Interner& interner, QString& into)
{
    std::string_view s;
    if (!stringOf(value, s)) return false;
    into = interner.get(s);
    return true;
}

bool readDate(od::value value, Date& into)
{
    // get_double() also takes integer tokens, so "0" and "-63113904000" are dates too.
    return !value.get_double().get(into.seconds);
}

// An optional field may also arrive as null, which means absent.
template <typename T, typename Read> bool readOptional(od::value value, std::optional<T>& into, Read read)
{
    bool isNull = false;
    if (value.is_null().get(isNull)) return false;
    if (isNull) {
        into.reset();
        return true;
    }
    return read(value, into.emplace());
}

// Reads a value nobody needs (under an unknown key) all the way through, so that bad JSON
// there rejects the file like bad JSON anywhere else. The parser limits the nesting depth.
bool validate(od::value value)
{
    od::json_type type;
    if (value.type().get(type)) return false;
    switch (type) {
    case od::json_type::array: {
        od::array array;
        if (value.get_array().get(array)) return false;
        for (auto element : array) {
            od::value v;
            // get() is only offered on an rvalue result.
            if (std::move(element).get(v) || !validate(v)) return false;  // NOLINT(performance-move-const-arg)
        }
        return true;
    }
    case od::json_type::object: {
        od::object object;
        if (value.get_object().get(object)) return false;
        for (auto fieldResult : object) {
            od::field field;
            std::string_view key;
            if (std::move(fieldResult).get(field) || field.unescaped_key().get(key) || !validate(field.value()))
                return false;
        }
        return true;
    }
    case od::json_type::number: return !value.get_number().error();
    case od::json_type::string: return !value.get_string().error();
    case od::json_type::boolean: return !value.get_bool().error();
    case od::json_type::null: {
        bool isNull = false;
        return !value.is_null().get(isNull) && isNull;
    }
    }
    return false;
}

// The field of a key as it stands in the input, without unescaping it (the cache has 13 keys
// per item, so copying each one out would cost more than the rest of the key handling). The
// comparisons may read a few bytes past a short key: the parser's padding keeps that in bounds.
Field fieldOf(od::raw_json_string key)
{
    switch (key.raw()[0]) {
    case 'p': return key.unsafe_is_equal("path") ? kPath : kUnknown;
    case 'n': return key.unsafe_is_equal("name") ? kName : kUnknown;
    case 'e': return key.unsafe_is_equal("ext") ? kExt : kUnknown;
    case 's':
        if (key.unsafe_is_equal("size")) return kSize;
        return key.unsafe_is_equal("sourceKey") ? kSourceKey : kUnknown;
    case 'c':
        if (key.unsafe_is_equal("created")) return kCreated;
        return key.unsafe_is_equal("camera") ? kCamera : kUnknown;
    case 'm': return key.unsafe_is_equal("modified") ? kModified : kUnknown;
    case 'a': return key.unsafe_is_equal("added") ? kAdded : kUnknown;
    case 'k': return key.unsafe_is_equal("kind") ? kKind : kUnknown;
    case 'i': return key.unsafe_is_equal("isScreenshot") ? kIsScreenshot : kUnknown;
    case 'w': return key.unsafe_is_equal("whereFrom") ? kWhereFrom : kUnknown;
    case 'l': return key.unsafe_is_equal("lastUsed") ? kLastUsed : kUnknown;
    default: return kUnknown;
    }
}

bool decodeItem(od::object object, Interner& interner, FileItem& item)
{
    unsigned seen = 0;
    for (auto fieldResult : object) {
        od::field field;
        if (std::move(fieldResult).get(field)) return false;
        Field f = fieldOf(field.key());
        if (f == kUnknown) {
            // Perhaps a known key written with escapes; unescape it to be sure.
            std::string_view key;
            if (field.unescaped_key().get(key)) return false;
            f = fieldOf(key);
        }
        od::value v = field.value();
        bool ok = true;
        switch (f) {
        case kPath: ok = readString(v, item.path); break;
        case kName: ok = readString(v, item.name); break;
        case kExt: ok = readInterned(v, interner, item.ext); break;
        case kSize: {
            int64_t size = 0;
            ok = !v.get_int64().get(size);
            item.size = size;
            break;
        }
        case kCreated: ok = readDate(v, item.created); break;
        case kModified: ok = readDate(v, item.modified); break;
        case kAdded: ok = readDate(v, item.added); break;
        case kKind: {
            std::string_view raw;
            ok = stringOf(v, raw);
            const auto found = std::find(kKindRaw.begin(), kKindRaw.end(), raw);
            ok = ok && found != kKindRaw.end();
            if (ok) item.kind = static_cast<FileKind>(found - kKindRaw.begin());
            break;
        }
        case kIsScreenshot: ok = !v.get_bool().get(item.isScreenshot); break;
        case kWhereFrom: {
            od::array list;
            if (v.get_array().get(list)) return false;
            item.whereFrom.clear();
            for (auto entry : list) {
                od::value e;
                QString s;
                // get() is only offered on an rvalue result.
                if (std::move(entry).get(e) || !readInterned(e, interner, s))  // NOLINT(performance-move-const-arg)
                    return false;
                item.whereFrom.append(s);
            }
            break;
        }
        case kSourceKey:
            ok = readOptional(v, item.sourceKey,
                              [&](od::value x, QString& into) { return readInterned(x, interner, into); });
            break;
        case kLastUsed: ok = readOptional(v, item.lastUsed, readDate); break;
        case kCamera:
            ok = readOptional(v, item.camera,
                              [&](od::value x, QString& into) { return readInterned(x, interner, into); });
            break;
        case kUnknown:
            if (!validate(v)) return false;
            continue;
        }
        if (!ok) return false;
        seen |= 1u << f;
    }
    return (seen & kRequiredFields) == kRequiredFields;
}

// `data` must stay readable for SIMDJSON_PADDING bytes past `length`. The On Demand parser
// reads values as they are asked for, so no parse tree of the whole file is ever built;
// what is asked for is checked strictly, and the whole input is checked to be UTF-8.
std::optional<QList<FileItem>> decodePadded(const char* data, size_t length)
{
    od::parser parser;
    od::document doc;
    if (parser.iterate(data, length, length + simdjson::SIMDJSON_PADDING).get(doc)) return std::nullopt;
    od::array array;
    size_t count = 0;
    if (doc.get_array().get(array) || array.count_elements().get(count)) return std::nullopt;

    QList<FileItem> items;
    items.reserve(qsizetype(count));
    Interner interner;
    for (auto element : array) {
        od::object object;
        if (element.get_object().get(object)) return std::nullopt;
        // Decoded in place; on a fault the whole list is dropped anyway.
        if (!decodeItem(object, interner, items.emplaceBack())) return std::nullopt;
    }
    // Nothing may follow the array: a position still inside the input means a second value.
    if (!doc.current_location().error()) return std::nullopt;
    return items;
}

}  // namespace

QString defaultPath() { return SupportFiles::current().libraryCache(); }

QByteArray encode(const QList<FileItem>& items)
{
    // About 300 bytes per item for typical paths; the buffer grows when that is short.
    JsonOut out(items.size() * 320 + 2);
    out.reserve(1);
    out.put('[');
    for (qsizetype i = 0; i < items.size(); ++i) {
        if (i > 0) {
            out.reserve(1);
            out.put(',');
        }
        writeItem(out, items[i]);
    }
    out.reserve(1);
    out.put(']');
    return out.finish();
}

QByteArray encodeItem(const FileItem& item)
{
    JsonOut out(512);
    writeItem(out, item);
    return out.finish();
}

std::optional<QList<FileItem>> decode(const QByteArray& json)
{
    const simdjson::padded_string padded(json.constData(), size_t(json.size()));
    return decodePadded(padded.data(), padded.size());
}

std::optional<QList<FileItem>> load(const QString& file)
{
    QFile f(file);
    if (!f.open(QIODevice::ReadOnly)) return std::nullopt;
    if (f.isSequential() || f.size() == 0) {
        // Not a plain file with a known size: read whatever it gives.
        return decode(f.readAll());
    }
    // Read straight into a buffer with the parser's padding, which spares a copy of the file.
    const qint64 expected = f.size();
    QByteArray buffer;
    buffer.resize(expected + qint64(simdjson::SIMDJSON_PADDING));
    qint64 total = 0;
    while (total < expected) {
        const qint64 n = f.read(buffer.data() + total, expected - total);
        if (n < 0) return std::nullopt;
        if (n == 0) break;  // the file shrank while being read; what was read decides
        total += n;
    }
    std::memset(buffer.data() + total, 0, size_t(buffer.size() - total));
    return decodePadded(buffer.constData(), size_t(total));
}

bool save(const QString& file, const QList<FileItem>& items)
{
    QSaveFile out(file);
    if (!out.open(QIODevice::WriteOnly)) return false;
    const int fd = out.handle();

    // Encoded and written in pieces through one small reused buffer: the whole file never sits
    // in memory, and each piece is handed to the kernel for writing to disk while the next one
    // is encoded, which leaves less for the final flush to wait for.
    constexpr qsizetype kPiece = qsizetype(4) << 20;
    JsonOut json(kPiece + qsizetype(64) * 1024);
    qint64 written = 0;
    auto writePiece = [&] {
        const qsizetype n = json.size();
        if (out.write(json.data(), n) != n || !out.flush()) return false;
        if (fd >= 0) ::sync_file_range(fd, written, n, SYNC_FILE_RANGE_WRITE);
        written += n;
        json.clear();
        return true;
    };

    json.reserve(1);
    json.put('[');
    for (qsizetype i = 0; i < items.size(); ++i) {
        if (i > 0) {
            json.reserve(1);
            json.put(',');
        }
        writeItem(json, items[i]);
        if (json.size() >= kPiece && !writePiece()) {
            out.cancelWriting();
            return false;
        }
    }
    json.reserve(1);
    json.put(']');
    if (!writePiece()) {
        out.cancelWriting();
        return false;
    }
    return out.commit();
}

}  // namespace fennic::LibraryCache
