#pragma once

#include "library/CaptureDate.h"

#include <QByteArray>
#include <QString>
#include <optional>

// The camera dates of the library's pictures between launches, beside the library cache,
// whose keys are fixed: without them every launch would open every photograph again. Like the
// cache it is only a cache, so any trouble with it is answered by ignoring it. All functions
// are pure or touch only the named file, and may run on any thread.
namespace fennic::CaptureDateFile {

// "capture-dates" in the support folder.
QString defaultPath();

// A small binary form: a signature and version, the count, then for each picture, in path
// order, its path (as the bytes it shares with the path before and the rest), size,
// modification time, where the date came from and, from a camera, the date.
QByteArray encode(const CaptureDate::Memory& memory);

// None on any fault: a wrong signature or version, a truncated or overlong file, an unknown
// source; a partial memory is never returned.
std::optional<CaptureDate::Memory> decode(const QByteArray& bytes);

std::optional<CaptureDate::Memory> load(const QString& file);

// Writes atomically (temporary file, then rename); false when writing failed, leaving the
// previous file in place.
bool save(const QString& file, const CaptureDate::Memory& memory);

}  // namespace fennic::CaptureDateFile
