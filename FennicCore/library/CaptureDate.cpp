#include "library/CaptureDate.h"

#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QTimeZone>
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#include <exiv2/exiv2.hpp>
#pragma GCC diagnostic pop
#include <cstring>
#include <fcntl.h>
#include <string_view>
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

// Whether the file is a regular file that begins like a format that carries Exif: JPEG, TIFF
// and the TIFF-based raw formats, PNG, WebP, HEIF/CR3 (ISO boxes), Fujifilm RAF. Most pictures
// a scan meets that are not photographs (and files named like pictures that are not) are
// settled by this one small read, before libexiv2 opens anything; a pipe or a device is never
// opened for reading.
bool startsLikeAPhoto(const QByteArray& path)
{
    const int fd = ::open(path.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (fd < 0) return false;
    struct stat st { };
    unsigned char head[16] = {};
    const bool regular = ::fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
    const ssize_t got = regular ? ::pread(fd, head, sizeof head, 0) : -1;
    ::close(fd);
    if (got < 12) return false;
    using namespace std::string_view_literals;
    auto is = [&](size_t at, std::string_view text) { return std::memcmp(head + at, text.data(), text.size()) == 0; };
    return (head[0] == 0xFF && head[1] == 0xD8 && head[2] == 0xFF) || is(0, "II*\0"sv) || is(0, "MM\0*"sv)
        || is(0, "IIRO") || is(0, "IIRS") || is(0, "IIU\0"sv) || is(0, "\x89PNG") || (is(0, "RIFF") && is(8, "WEBP"))
        || is(4, "ftyp") || is(0, "FUJIFILM");
}

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
    static const bool quiet = [] {
        Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
        return true;
    }();
    (void)quiet;
    const QByteArray bytes = QFile::encodeName(path);
    if (!startsLikeAPhoto(bytes)) return std::nullopt;
    try {
        auto image = Exiv2::ImageFactory::open(std::string(bytes.constData(), size_t(bytes.size())));
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

void fill(FileItem& item)
{
    if (item.kind != FileKind::image || !mayCarryDate(item.ext)) return;
    if (const auto reading = read(item.path)) {
        item.taken = reading->date;
        item.takenFrom = reading->from;
    }
}

void fillMissing(QList<FileItem>& items)
{
    for (FileItem& item : items)
        if (!item.taken) fill(item);
}

}  // namespace fennic::CaptureDate
