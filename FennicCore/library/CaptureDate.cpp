#include "library/CaptureDate.h"

#include "library/ExifReader.h"

#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QTimeZone>
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#include <exiv2/exiv2.hpp>
#pragma GCC diagnostic pop
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fennic::CaptureDate {
namespace {

QString exifText(const Exiv2::ExifData& exif, const char* key)
{
    const auto it = exif.findKey(Exiv2::ExifKey(key));
    if (it == exif.end()) return {};
    // Cameras pad these fields with NULs and spaces.
    return QString::fromUtf8(it->toString().c_str()).trimmed();
}

// The containers the direct reader leaves alone (HEIF, CR3, RAF): libexiv2 parses them.
std::optional<Reading> readWithExiv2(const QByteArray& path)
{
    static const bool quiet = [] {
        Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
        return true;
    }();
    (void)quiet;
    try {
        auto image = Exiv2::ImageFactory::open(std::string(path.constData(), size_t(path.size())));
        if (!image.get()) return std::nullopt;
        image->readMetadata();
        const Exiv2::ExifData& exif = image->exifData();
        if (exif.empty()) return std::nullopt;
        return parse(exifText(exif, "Exif.Photo.DateTimeOriginal"), exifText(exif, "Exif.Photo.SubSecTimeOriginal"),
                     exifText(exif, "Exif.Photo.OffsetTimeOriginal"));
    } catch (const std::exception&) {
        // Not an image exiv2 can read, or a damaged one: no date.
    }
    return std::nullopt;
}

// Reads an opened file; the caller closes it. O_NONBLOCK kept the open from waiting on a pipe;
// unless the caller has just seen a regular file at this name, fstat turns anything else away.
// `fallbackPath` empty: the descriptor's own path stands in, made only when it is needed.
std::optional<Reading> readOpened(int fd, const QByteArray& fallbackPath, bool knownRegular)
{
    struct stat st { };
    if (!knownRegular && (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode))) return std::nullopt;
    const ExifReader::Result result = ExifReader::readDateFields(fd);
    switch (result.outcome) {
    case ExifReader::Outcome::found:
        return parse(result.fields.dateTime, result.fields.subSeconds, result.fields.offset);
    case ExifReader::Outcome::unsupported:
        return readWithExiv2(fallbackPath.isEmpty() ? "/proc/self/fd/" + QByteArray::number(fd) : fallbackPath);
    case ExifReader::Outcome::none: break;
    }
    return std::nullopt;
}

constexpr int kOpenFlags = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW;

}  // namespace

bool mayCarryDate(const QString& ext)
{
    static const QSet<QString> extensions{
        "jpg", "jpeg", "jpe", "tif", "tiff", "webp", "png", "heic", "heif", "dng", "cr2", "cr3",
        "nef", "nrw",  "arw", "srf", "sr2",  "orf",  "rw2", "raf",  "pef",  "srw", "x3f",
    };
    return extensions.contains(ext);
}

std::optional<Reading> parse(const QString& dateTime, const QString& subSeconds, const QString& offset)
{
    static const QRegularExpression dateForm(QStringLiteral(R"(^(\d{4}):(\d{2}):(\d{2})[ T](\d{2}):(\d{2}):(\d{2}))"));
    static const QRegularExpression offsetForm(QStringLiteral(R"(^([+-])(\d{2}):(\d{2})$)"));
    const auto m = dateForm.match(dateTime);
    if (!m.hasMatch()) return std::nullopt;
    const QDate day(m.captured(1).toInt(), m.captured(2).toInt(), m.captured(3).toInt());
    const QTime time(m.captured(4).toInt(), m.captured(5).toInt(), m.captured(6).toInt());
    if (!day.isValid() || !time.isValid()) return std::nullopt;
    Reading reading;
    const auto o = offsetForm.match(offset);
    QDateTime when;
    if (o.hasMatch()) {
        const int seconds = (o.captured(2).toInt() * 60 + o.captured(3).toInt()) * 60;
        when = QDateTime(day, time, QTimeZone(o.captured(1) == u"-" ? -seconds : seconds));
        reading.from = FileItem::TakenFrom::cameraWithOffset;
    } else {
        when = QDateTime(day, time, QTimeZone::systemTimeZone());
    }
    if (!when.isValid()) return std::nullopt;
    reading.date = Date::fromQDateTime(when);
    // "25" is a quarter of a second: the digits are a decimal fraction.
    bool ok = false;
    const QString digits = subSeconds.trimmed();
    const double fraction = QStringLiteral("0.%1").arg(digits).toDouble(&ok);
    if (!digits.isEmpty() && ok && fraction < 1.0) reading.date = reading.date + fraction;
    return reading;
}

std::optional<Reading> read(const QString& path)
{
    const QByteArray bytes = QFile::encodeName(path);
    const int fd = ::open(bytes.constData(), kOpenFlags & ~O_NOFOLLOW);
    if (fd < 0) return std::nullopt;
    std::optional<Reading> reading = readOpened(fd, bytes, false);
    ::close(fd);
    return reading;
}

std::optional<Reading> readAt(int dirFd, const char* name)
{
    const int fd = ::openat(dirFd, name, kOpenFlags);
    if (fd < 0) return std::nullopt;
    // A pipe swapped in since the scan saw a regular file here fails its positioned read.
    // libexiv2 wants a path for the containers only it reads; the descriptor's own stands in.
    std::optional<Reading> reading = readOpened(fd, {}, true);
    ::close(fd);
    return reading;
}

bool wanted(const FileItem& item) { return item.kind == FileKind::image && mayCarryDate(item.ext); }

void fill(FileItem& item)
{
    if (!wanted(item)) return;
    const auto reading = read(item.path);
    item.taken = reading ? std::optional<Date>(reading->date) : std::nullopt;
    item.takenFrom = reading ? reading->from : FileItem::TakenFrom::fileSystem;
}

void fillMissing(QList<FileItem>& items)
{
    for (FileItem& item : items)
        if (item.takenFrom == FileItem::TakenFrom::unread) fill(item);
}

Memory remember(const QList<FileItem>& items)
{
    Memory memory;
    for (const FileItem& item : items)
        if (item.takenFrom != FileItem::TakenFrom::unread && wanted(item))
            memory.insert(item.path, Known{item.size, item.modified, item.taken, item.takenFrom});
    return memory;
}

const Known* lookUp(const Memory& memory, const QString& path, qint64 size, Date modified)
{
    const auto it = memory.constFind(path);
    if (it == memory.constEnd() || it->size != size || it->modified != modified) return nullptr;
    return &*it;
}

void recall(QList<FileItem>& items, const Memory& memory)
{
    if (memory.isEmpty()) return;
    for (FileItem& item : items) {
        if (!wanted(item)) continue;
        if (const Known* known = lookUp(memory, item.path, item.size, item.modified)) {
            item.taken = known->taken;
            item.takenFrom = known->from;
        }
    }
}

}  // namespace fennic::CaptureDate
