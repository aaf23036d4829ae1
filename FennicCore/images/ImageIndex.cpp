#include "images/ImageIndex.h"

#include "images/BinaryPlistReader.h"
#include "images/BinaryPlistWriter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <algorithm>
#include <cmath>

namespace fennic {
namespace {

// ---- encoding ------------------------------------------------------------------------------

class Encoder {
public:
    QByteArray encode(const ImageIndex& index)
    {
        std::vector<Ref> languages;
        for (const QString& language : index.languages) languages.push_back(m_out.string(language));
        std::vector<std::pair<Ref, Ref>> records;
        records.reserve(size_t(index.records.size()));
        for (auto it = index.records.cbegin(); it != index.records.cend(); ++it)
            records.emplace_back(m_out.string(it.key()), record(it.value()));
        const Ref top = m_out.dict({{key("version"), m_out.integer(index.version)},
                                    {key("languages"), m_out.array(languages)},
                                    {key("records"), m_out.dict(records)}});
        return m_out.finish(top);
    }

private:
    using Ref = BinaryPlistWriter::Ref;

    // Each key is stored once; its reference is looked up by name once per file.
    Ref key(const char* name)
    {
        for (const auto& [known, ref] : m_keys)
            if (known == name) return ref;
        const Ref ref = m_out.string(QString::fromLatin1(name));
        m_keys.emplace_back(name, ref);
        return ref;
    }

    Ref floatMap(const QHash<QString, float>& map)
    {
        std::vector<std::pair<Ref, Ref>> entries;
        entries.reserve(size_t(map.size()));
        for (auto it = map.cbegin(); it != map.cend(); ++it)
            entries.emplace_back(m_out.string(it.key()), m_out.real(it.value()));
        return m_out.dict(entries);
    }

    Ref line(const TextLine& l)
    {
        return m_out.dict({{key("text"), m_out.string(l.text)},
                           {key("x"), m_out.real(l.x)},
                           {key("y"), m_out.real(l.y)},
                           {key("w"), m_out.real(l.w)},
                           {key("h"), m_out.real(l.h)},
                           {key("confidence"), m_out.real(l.confidence)}});
    }

    Ref record(const ImageRecord& r)
    {
        std::vector<Ref> lines;
        lines.reserve(size_t(r.lines.size()));
        for (const TextLine& l : r.lines) lines.push_back(line(l));
        std::vector<std::pair<Ref, Ref>> entries{
            {key("path"), m_out.string(r.path)},
            {key("size"), m_out.integer(r.size)},
            {key("modified"), m_out.date(r.modified.seconds)},
            {key("labels"), floatMap(r.labels)},
            {key("colors"), floatMap(r.colors)},
            {key("lines"), m_out.array(lines)},
            {key("altText"), m_out.string(r.altText)},
        };
        if (r.print) entries.emplace_back(key("print"), m_out.data(*r.print));
        entries.emplace_back(key("pixelWidth"), m_out.integer(r.pixelWidth));
        entries.emplace_back(key("pixelHeight"), m_out.integer(r.pixelHeight));
        entries.emplace_back(key("failed"), m_out.boolean(r.failed));
        entries.emplace_back(key("langs"), m_out.string(r.langs));
        entries.emplace_back(key("folded"), m_out.string(r.folded));
        return m_out.dict(entries);
    }

    BinaryPlistWriter m_out;
    std::vector<std::pair<const char*, Ref>> m_keys;  // names are string literals: compared by address
};

// ---- decoding ------------------------------------------------------------------------------
// Every reader returns false on a missing key or a value of the wrong type; one false anywhere
// rejects the whole file.

using Reader = BinaryPlistReader;
using Entries = std::vector<std::pair<Reader::Ref, Reader::Ref>>;

bool readFloat(const Reader& in, Reader::Ref ref, float& out)
{
    double value = 0;
    if (!in.real(ref, value)) return false;
    out = float(value);
    return true;
}

bool readFloatMap(const Reader& in, Reader::Ref ref, QHash<QString, float>& out)
{
    Entries entries;
    if (!in.dict(ref, entries)) return false;
    out.clear();
    out.reserve(qsizetype(entries.size()));
    QString key;
    float value = 0;
    for (const auto& [k, v] : entries) {
        if (!in.string(k, key) || !readFloat(in, v, value)) return false;
        out.insert(key, value);
    }
    return true;
}

bool readLine(const Reader& in, Reader::Ref ref, TextLine& line)
{
    Entries entries;
    if (!in.dict(ref, entries)) return false;
    unsigned seen = 0;
    for (const auto& [k, v] : entries) {
        const auto key = in.ascii(k);
        if (!key) return false;
        bool ok = true;
        if (*key == "text")
            ok = in.string(v, line.text), seen |= 1u << 0;
        else if (*key == "x")
            ok = readFloat(in, v, line.x), seen |= 1u << 1;
        else if (*key == "y")
            ok = readFloat(in, v, line.y), seen |= 1u << 2;
        else if (*key == "w")
            ok = readFloat(in, v, line.w), seen |= 1u << 3;
        else if (*key == "h")
            ok = readFloat(in, v, line.h), seen |= 1u << 4;
        else if (*key == "confidence")
            ok = readFloat(in, v, line.confidence), seen |= 1u << 5;
        if (!ok) return false;
    }
    return seen == 0b111111;
}

bool readLines(const Reader& in, Reader::Ref ref, QList<TextLine>& lines)
{
    std::vector<Reader::Ref> items;
    if (!in.array(ref, items)) return false;
    lines.resize(qsizetype(items.size()));
    for (size_t i = 0; i < items.size(); ++i)
        if (!readLine(in, items[i], lines[qsizetype(i)])) return false;
    return true;
}

bool readRecord(const Reader& in, Reader::Ref ref, ImageRecord& r)
{
    Entries entries;
    if (!in.dict(ref, entries)) return false;
    // One bit per required key; "print" may be missing.
    constexpr unsigned kAll = (1u << 12) - 1;
    unsigned seen = 0;
    for (const auto& [k, v] : entries) {
        const auto key = in.ascii(k);
        if (!key) return false;
        bool ok = true;
        std::int64_t whole = 0;
        double seconds = 0;
        if (*key == "path")
            ok = in.string(v, r.path), seen |= 1u << 0;
        else if (*key == "size")
            ok = in.integer(v, whole), r.size = whole, seen |= 1u << 1;
        else if (*key == "modified")
            ok = in.date(v, seconds), r.modified = Date{seconds}, seen |= 1u << 2;
        else if (*key == "labels")
            ok = readFloatMap(in, v, r.labels), seen |= 1u << 3;
        else if (*key == "colors")
            ok = readFloatMap(in, v, r.colors), seen |= 1u << 4;
        else if (*key == "lines")
            ok = readLines(in, v, r.lines), seen |= 1u << 5;
        else if (*key == "altText")
            ok = in.string(v, r.altText), seen |= 1u << 6;
        else if (*key == "pixelWidth")
            ok = in.integer(v, whole), r.pixelWidth = whole, seen |= 1u << 7;
        else if (*key == "pixelHeight")
            ok = in.integer(v, whole), r.pixelHeight = whole, seen |= 1u << 8;
        else if (*key == "failed")
            ok = in.boolean(v, r.failed), seen |= 1u << 9;
        else if (*key == "langs")
            ok = in.string(v, r.langs), seen |= 1u << 10;
        else if (*key == "folded")
            ok = in.string(v, r.folded), seen |= 1u << 11;
        else if (*key == "print") {
            QByteArray bytes;
            ok = in.data(v, bytes);
            r.print = std::move(bytes);
        }
        if (!ok) return false;
    }
    return seen == kAll;
}

}  // namespace

const QStringList& ImageIndex::readableExtensions()
{
    static const QStringList extensions{
        QStringLiteral("png"),  QStringLiteral("jpg"),  QStringLiteral("jpeg"), QStringLiteral("heic"),
                                                                                               QStringLiteral("heif"), QStringLiteral("webp"), QStringLiteral("tiff"), QStringLiteral("tif"),
                                                                                                                                                                                      QStringLiteral("gif"),  QStringLiteral("bmp")};
    return extensions;
}

ImageIndex::ImageIndex(QStringList readIn, QHash<QString, ImageRecord> byPath)
    : languages(std::move(readIn)), records(std::move(byPath))
{ }

QByteArray ImageIndex::encode() const { return Encoder().encode(*this); }

std::optional<ImageIndex> ImageIndex::decode(const QByteArray& data)
{
    Reader in;
    if (!in.open(data)) return std::nullopt;
    Entries top;
    if (!in.dict(in.top(), top)) return std::nullopt;
    std::optional<Reader::Ref> version, languages, records;
    for (const auto& [k, v] : top) {
        const auto key = in.ascii(k);
        if (!key) continue;
        if (*key == "version")
            version = v;
        else if (*key == "languages")
            languages = v;
        else if (*key == "records")
            records = v;
    }
    ImageIndex index;
    // The version decides first: an index of another version is never read further.
    std::int64_t number = 0;
    if (!version || !in.integer(*version, number) || number != currentVersion) return std::nullopt;
    index.version = number;
    std::vector<Reader::Ref> items;
    if (!languages || !in.array(*languages, items)) return std::nullopt;
    for (const Reader::Ref item : items) {
        QString language;
        if (!in.string(item, language)) return std::nullopt;
        index.languages.append(language);
    }
    Entries all;
    if (!records || !in.dict(*records, all)) return std::nullopt;
    index.records.reserve(qsizetype(all.size()));
    QString path;
    for (const auto& [k, v] : all) {
        ImageRecord record;
        if (!in.string(k, path) || !readRecord(in, v, record)) return std::nullopt;
        index.records.emplace(path, std::move(record));
    }
    return index;
}

std::optional<ImageIndex> ImageIndex::load(const QString& file)
{
    QFile in(file);
    if (!in.open(QIODevice::ReadOnly)) return std::nullopt;
    return decode(in.readAll());
}

ImageIndex::SaveResult ImageIndex::save(const QString& file) const
{
    const QString folder = QFileInfo(file).absolutePath();
    if (!QDir().mkpath(folder)) return {false, QStringLiteral("cannot create the folder %1").arg(folder)};
    const QByteArray data = encode();
    if (data.isEmpty()) return {false, QStringLiteral("cannot encode the image index")};
    QSaveFile out(file);
    if (!out.open(QIODevice::WriteOnly)) return {false, out.errorString()};
    if (out.write(data) != data.size()) {
        const QString error = out.errorString();
        out.cancelWriting();
        return {false, error};
    }
    if (!out.commit()) return {false, out.errorString()};
    return {true, {}};
}

bool ImageIndex::isIndexable(const FileItem& item)
{
    return item.kind == FileKind::image && item.size > 0 && item.size < kMaxFileSize
        && readableExtensions().contains(item.ext);
}

QList<FileItem> ImageIndex::pending(const QList<FileItem>& items, const QStringList& wanted) const
{
    const QString key = wanted.join(u',');
    const bool lookUp = !records.isEmpty();
    QList<FileItem> due;
    for (const FileItem& item : items) {
        if (!isIndexable(item)) continue;
        if (lookUp) {
            const auto it = records.constFind(item.path);
            if (it != records.cend() && it->langs == key && it->size == item.size
                && std::abs(it->modified - item.modified) <= kModifiedTolerance)
                continue;
        }
        due.append(item);
    }
    std::stable_sort(due.begin(), due.end(), [](const FileItem& a, const FileItem& b) {
        if (a.isScreenshot != b.isScreenshot) return a.isScreenshot;
        return a.modified > b.modified;
    });
    return due;
}

int ImageIndex::prune(const QSet<QString>& keeping)
{
    return int(records.removeIf([&keeping](const auto& entry) { return !keeping.contains(entry.key()); }));
}

void ImageIndex::move(const QString& from, const QString& to)
{
    auto it = records.find(from);
    if (it == records.end()) return;
    ImageRecord record = std::move(it.value());
    records.erase(it);
    record.path = to;
    records.emplace(to, std::move(record));
}

std::function<std::optional<QList<float>>(const QString& path)> ImageIndex::printProvider() const
{
    return [records = records](const QString& path) -> std::optional<QList<float>> {
        const auto it = records.constFind(path);
        if (it == records.cend() || it->failed || !it->print) return std::nullopt;
        const std::vector<float> values = it->featurePrint();
        if (values.empty()) return std::nullopt;
        return QList<float>(values.begin(), values.end());
    };
}

}  // namespace fennic
