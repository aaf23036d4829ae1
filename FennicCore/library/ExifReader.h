#pragma once

#include <QString>
#include <optional>

// Reads the three Exif fields that say when a photograph was taken, straight from the file's
// bytes: usually one small read per picture, so that a scan can afford it for every photo of a
// large library (a general metadata library parses everything and costs ten times as much).
// JPEG, TIFF and the TIFF-based raw formats, PNG's eXIf chunk and WebP's EXIF chunk are
// understood; for anything else the answer is `unsupported` and the caller may fall back to a
// general reader. Offsets are checked against the file and the reads are bounded, so a damaged
// or hostile file costs at most a few small reads and never more.
namespace fennic::ExifReader {

struct DateFields {
    QString dateTime;    // DateTimeOriginal, "YYYY:MM:DD HH:MM:SS", trimmed of padding
    QString subSeconds;  // SubSecTimeOriginal
    QString offset;      // OffsetTimeOriginal, "+HH:MM"
    friend bool operator==(const DateFields&, const DateFields&) = default;
};

enum class Outcome {
    found,        // DateTimeOriginal, with the other two when they were recorded
    none,         // a format understood here, without a date: nothing more to try
    unsupported,  // a container this reader does not parse (HEIF, CR3, RAF…)
};

struct Result {
    Outcome outcome = Outcome::none;
    DateFields fields;
};

// Reads from an open file descriptor (positioned reads only; the offset is left alone).
Result readDateFields(int fd);

// The same over bytes in memory (what the fuzzer and the tests feed it).
Result readDateFields(const char* data, qsizetype size);

}  // namespace fennic::ExifReader
