#pragma once

#include "model/FileItem.h"
#include "model/FileKind.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QtGlobal>
#include <map>

namespace fennic {

// Number of files and their bytes.
struct KindTotal {
    qint64 count = 0;
    qint64 size = 0;

    friend bool operator==(const KindTotal&, const KindTotal&) = default;
};

// The totals of the library for the home page and the sidebar counts. A pure value computed
// in one pass over the items; it never touches the disk, so the GUI thread may compute it.
struct LibraryStats {
    // A file strictly larger than this (decimal bytes) counts as large.
    static constexpr qint64 largeFileSize = 100'000'000;

    std::map<FileKind, KindTotal> byKind;  // kinds without files have no entry
    qint64 totalCount = 0;
    qint64 totalSize = 0;
    qint64 screenshots = 0;
    qint64 largeFiles = 0;
    qint64 downloadedFrom = 0;        // items with a sourceKey
    QHash<QString, qint64> bySource;  // source key -> number of files downloaded from it

    // The empty record, used before the first computation.
    LibraryStats() = default;
    explicit LibraryStats(const QList<FileItem>& items);

    // The entry of byKind, or zero count and size when the kind has none.
    KindTotal total(FileKind kind) const;

    friend bool operator==(const LibraryStats&, const LibraryStats&) = default;
};

}  // namespace fennic
