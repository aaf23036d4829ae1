#pragma once

#include "model/FileItem.h"
#include "model/FileKind.h"

namespace fennic::test {

// A file item as the scanner names the file at `path`: its name, lower-case extension and the
// kind they give. Sizes, dates and the rest are left for the test to set.
inline FileItem itemAt(const QString& path)
{
    FileItem item;
    item.path = path;
    item.name = path.mid(path.lastIndexOf(u'/') + 1);
    item.ext = pathExtension(item.name).toLower();
    item.kind = FileKinds::classify(item.ext);
    return item;
}

// The same with a size, a kind chosen by the test and one date (ISO 8601) for creation,
// modification and arrival.
inline FileItem datedItem(const QString& path, qint64 size, FileKind kind, const char* iso)
{
    FileItem item = itemAt(path);
    item.size = size;
    item.kind = kind;
    item.created = item.modified = item.added = Date::fromIso(QString::fromLatin1(iso));
    return item;
}

}  // namespace fennic::test
