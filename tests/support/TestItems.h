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

}  // namespace fennic::test
