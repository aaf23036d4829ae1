#pragma once

#include "model/FileItem.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <optional>

// The library cache "index.json": the whole item list between launches. It is only a cache
// (the next scan rebuilds it), so every trouble with it is answered by ignoring it. All
// functions are pure or touch only the named file, and may run on any thread.
namespace fennic::LibraryCache {

// The library cache in the support folder (SupportFiles::current().libraryCache()).
QString defaultPath();

// The cache encoding: one compact JSON array of item objects with the FileItem field names as
// keys, in field order; dates as JSON numbers (seconds since 2001, the shortest form that
// reads back to the same double), size as an integer, kind as its raw string; "sourceKey",
// "lastUsed" and "camera" left out when absent. No wrapper, no whitespace.
QByteArray encode(const QList<FileItem>& items);

// One item object in the same encoding (no trailing newline), for line-by-line output.
QByteArray encodeItem(const FileItem& item);

// Decodes a whole cache; none on any fault (bad JSON, a missing required key, a wrong type,
// an unknown kind, trailing garbage): a partial list is never returned. Unknown keys are
// ignored; the three optional keys may be missing (or null). Repeated short strings (ext,
// sourceKey, camera, where-from entries) share one QString each, to keep a large library small.
std::optional<QList<FileItem>> decode(const QByteArray& json);

// Reads and decodes a cache file; none when it is missing, unreadable or damaged.
std::optional<QList<FileItem>> load(const QString& file);

// Encodes and writes atomically (temporary file, then rename): a reader never sees half a
// file. False when writing failed; the previous file is then left in place.
bool save(const QString& file, const QList<FileItem>& items);

}  // namespace fennic::LibraryCache
