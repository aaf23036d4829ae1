#pragma once

#include "model/Date.h"
#include "model/FileItem.h"

#include <QHash>
#include <QList>
#include <QString>
#include <optional>

namespace fennic::CaptureDate {

// When a photograph was taken, from the camera's own record: Exif DateTimeOriginal
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
// or records no date. JPEG, TIFF and the raw formats built on it, PNG and WebP are read
// directly (usually one small read); HEIF and the other containers through libexiv2. Any thread.
std::optional<Reading> read(const QString& path);

// The same for the entry `name` of the open folder `dirFd`, which the caller has just seen to be
// a regular file (what a scan holds); opened without following a link and without blocking.
std::optional<Reading> readAt(int dirFd, const char* name);

// Parses Exif's "YYYY:MM:DD HH:MM:SS" with an optional sub-second fraction ("25" = .25 s) and
// offset ("+02:00"); none when the text is blank or not a date.
std::optional<Reading> parse(const QString& dateTime, const QString& subSeconds, const QString& offset);

// Whether the item is a picture whose camera date is looked for.
bool wanted(const FileItem& item);

// Sets `taken` and `takenFrom` of a wanted item from the file (`fileSystem` when it records
// no date); other items are left alone.
void fill(FileItem& item);

// Fills the wanted items among `items` whose date was never looked for (items from a cache
// without a date file beside it).
void fillMissing(QList<FileItem>& items);

// What was learnt of one picture's date, with the size and modification time it had then: a
// scan reuses it while both are unchanged instead of opening the picture again.
struct Known {
    qint64 size = 0;
    Date modified;
    std::optional<Date> taken;
    FileItem::TakenFrom from = FileItem::TakenFrom::fileSystem;  // never `unread`
    friend bool operator==(const Known&, const Known&) = default;
};
using Memory = QHash<QString, Known>;

// The looked-for dates of `items`, by path.
Memory remember(const QList<FileItem>& items);

// Gives the wanted items of `items` the dates `memory` holds for them, where size and
// modification time still match; the others stay as they were.
void recall(QList<FileItem>& items, const Memory& memory);

// The remembered date for a file of this size and modification time, if any.
const Known* lookUp(const Memory& memory, const QString& path, qint64 size, Date modified);

}  // namespace fennic::CaptureDate
