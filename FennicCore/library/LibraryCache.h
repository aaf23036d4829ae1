#pragma once

#include "model/FileItem.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <optional>

namespace fennic::LibraryCache {

// "index.json" in the support folder.
QString defaultPath();

// The cache encoding: one JSON array of item objects with the FileItem field names as keys,
// dates as seconds since 2001 (full precision), "sourceKey", "lastUsed" and "camera" left
// out when absent. Compact, no wrapper.
QByteArray encode(const QList<FileItem>& items);

// Decodes a whole cache; none on any fault (bad JSON, a missing required key, a wrong type,
// an unknown kind): a partial list is never returned.
std::optional<QList<FileItem>> decode(const QByteArray& json);

// Reads and decodes a cache file; none when it is missing, unreadable or damaged.
std::optional<QList<FileItem>> load(const QString& file);

// Encodes and writes atomically (temporary file, then rename): a reader never sees half a
// file. False when writing failed; the previous file is then left in place.
bool save(const QString& file, const QList<FileItem>& items);

}  // namespace fennic::LibraryCache
