#include "library/CaptureDateFile.h"

#include "model/SupportFiles.h"

#include <QDataStream>
#include <QFile>
#include <QSaveFile>

namespace fennic::CaptureDateFile {
namespace {

constexpr quint32 kSignature = 0x464E4344;  // "FNCD"
constexpr quint32 kVersion = 1;
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
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(kStreamVersion);
    out << kSignature << kVersion << quint32(memory.size());
    for (auto it = memory.constBegin(); it != memory.constEnd(); ++it) {
        const CaptureDate::Known& k = *it;
        out << it.key() << k.size << k.modified.seconds << quint8(k.taken.has_value())
            << (k.taken ? k.taken->seconds : 0.0) << quint8(k.from);
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
    for (quint32 i = 0; i < count; ++i) {
        QString path;
        qint64 size = 0;
        double modified = 0, taken = 0;
        quint8 hasTaken = 0, from = 0;
        in >> path >> size >> modified >> hasTaken >> taken >> from;
        if (in.status() != QDataStream::Ok || path.isEmpty() || hasTaken > 1 || !knownSource(from)) return std::nullopt;
        // A date with no camera source, or a camera source without its date, is not one this
        // program wrote.
        if (bool(hasTaken) != (From(from) != From::fileSystem)) return std::nullopt;
        memory.insert(path,
                      CaptureDate::Known{size, Date{modified},
                                         hasTaken ? std::optional<Date>(Date{taken}) : std::nullopt, From(from)});
    }
    if (!in.atEnd()) return std::nullopt;
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
