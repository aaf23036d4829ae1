#pragma once

#include "model/Date.h"
#include "model/FileItem.h"

#include <QList>
#include <QString>
#include <optional>

namespace fennic::CaptureDate {

// When a photograph was taken, from the camera's own record (libexiv2): Exif DateTimeOriginal
// with its SubSecTimeOriginal fraction, placed in time by OffsetTimeOriginal when the camera
// wrote one, else read in the machine's local time zone (cameras keep local time, and within
// one library only differences matter). A blank or impossible date counts as none.
struct Reading {
    Date date;
    FileItem::TakenFrom from = FileItem::TakenFrom::cameraClock;
    friend bool operator==(const Reading&, const Reading&) = default;
};

// Whether files with this (lower-case) extension can carry a camera date: JPEG, TIFF, WebP,
// PNG, HEIF and the cameras' raw formats.
bool mayCarryDate(const QString& ext);

// The camera date of the file at `path`; none when it is not a regular file, cannot be read,
// or records no date. Any thread.
std::optional<Reading> read(const QString& path);

// Parses Exif's "YYYY:MM:DD HH:MM:SS" with an optional sub-second fraction ("25" = .25 s) and
// offset ("+02:00"); none when the text is blank or not a date.
std::optional<Reading> parse(const QString& dateTime, const QString& subSeconds, const QString& offset);

// Sets `taken` and `takenFrom` of an image item whose extension may carry a date.
void fill(FileItem& item);

// Fills the images among `items` that have no `taken` yet (items loaded from the cache).
void fillMissing(QList<FileItem>& items);

}  // namespace fennic::CaptureDate
