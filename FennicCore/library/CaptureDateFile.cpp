#include "library/CaptureDateFile.h"

#include "model/SupportFiles.h"

#include <QDataStream>
#include <QFile>
#include <QSaveFile>
#include <algorithm>
#include <vector>

namespace fennic::CaptureDateFile {
namespace {

constexpr quint32 kSignature = 0x464E4344;  // "FNCD"
constexpr quint32 kVersion = 1;
constexpr quint16 kMaxShared = 0xFFFF;
constexpr QDataStream::Version kStreamVersion = QDataStream::Qt_6_0;
// More pictures than a library can hold means the count itself is damaged.
constexpr quint32 kMaxEntries = 4'000'000;

using From = FileItem::TakenFrom;

bool knownSource(quint8 raw)
{
    return raw == quint8(From::fileSystem) || raw == quint8(From::cameraClock) || raw == quint8(From::cameraWithOffset);
}

}  // namespace

QString defaultPath() { return SupportFiles::current().file(QStringLiteral("capture-dates")); }

QByteArray encode(const CaptureDate::Memory& memory)
{
    // Paths in order, each written as the bytes it shares with the one before and the rest:
    // the pictures of one folder then cost little more than their names.
    std::vector<std::pair<QByteArray, const CaptureDate::Known*>> entries;
    entries.reserve(size_t(memory.size()));
    for (auto it = memory.constBegin(); it != memory.constEnd(); ++it) {
        QByteArray path = it.key().toUtf8();
        if (!path.isEmpty() && path.size() <= kMaxShared) entries.emplace_back(std::move(path), &it.value());
    }
    std::sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) { return a.first < b.first; });

    QByteArray bytes;
    bytes.reserve(qsizetype(entries.size()) * 48 + 16);
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(kStreamVersion);
    out << kSignature << kVersion << quint32(entries.size());
    const QByteArray* previous = nullptr;
    for (const auto& [path, known] : entries) {
        const qsizetype limit = previous ? std::min(path.size(), previous->size()) : 0;
        qsizetype shared = 0;
        while (shared < limit && path[shared] == (*previous)[shared]) ++shared;
        const qsizetype rest = path.size() - shared;
        out << quint16(shared) << quint16(rest);
        out.writeRawData(path.constData() + shared, int(rest));
        out << known->size << known->modified.seconds << quint8(known->from);
        if (known->taken) out << known->taken->seconds;
        previous = &path;
    }
    return bytes;
}

std::optional<CaptureDate::Memory> decode(const QByteArray& bytes)
{
    QDataStream in(bytes);
    in.setVersion(kStreamVersion);
    quint32 signature = 0, version = 0, count = 0;
    in >> signature >> version >> count;
    if (in.status() != QDataStream::Ok || signature != kSignature || version != kVersion || count > kMaxEntries)
        return std::nullopt;
    CaptureDate::Memory memory;
    memory.reserve(qsizetype(count));
    QByteArray path;
    for (quint32 i = 0; i < count; ++i) {
        quint16 shared = 0, rest = 0;
        in >> shared >> rest;
        if (in.status() != QDataStream::Ok || shared > path.size() || shared + rest == 0) return std::nullopt;
        path.truncate(shared);
        path.resize(qsizetype(shared) + rest);
        if (in.readRawData(path.data() + shared, rest) != rest) return std::nullopt;
        qint64 size = 0;
        double modified = 0, taken = 0;
        quint8 from = 0;
        in >> size >> modified >> from;
        if (in.status() != QDataStream::Ok || !knownSource(from)) return std::nullopt;
        // Only a camera source comes with a date.
        const bool hasTaken = From(from) != From::fileSystem;
        if (hasTaken) in >> taken;
        if (in.status() != QDataStream::Ok) return std::nullopt;
        memory.insert(QString::fromUtf8(path),
                      CaptureDate::Known{size, Date{modified},
                                         hasTaken ? std::optional<Date>(Date{taken}) : std::nullopt, From(from)});
    }
    if (!in.atEnd() || memory.size() != qsizetype(count)) return std::nullopt;
    return memory;
}

std::optional<CaptureDate::Memory> load(const QString& file)
{
    QFile f(file);
    if (!f.open(QIODevice::ReadOnly)) return std::nullopt;
    return decode(f.readAll());
}

bool save(const QString& file, const CaptureDate::Memory& memory)
{
    QSaveFile out(file);
    if (!out.open(QIODevice::WriteOnly)) return false;
    const QByteArray bytes = encode(memory);
    if (out.write(bytes) != bytes.size()) return false;
    return out.commit();
}

}  // namespace fennic::CaptureDateFile
