#include "LibraryStats.h"

#include <array>

namespace fennic {
namespace {

// Sums that overflow mean a damaged size somewhere; stopping loudly beats showing nonsense.
qint64 checkedAdd(qint64 a, qint64 b)
{
    qint64 sum = 0;
    if (__builtin_add_overflow(a, b, &sum)) qFatal("LibraryStats: byte total overflows");
    return sum;
}

}  // namespace

LibraryStats::LibraryStats(const QList<FileItem>& items)
{
    // A flat array per kind keeps the loop free of map lookups; the map is filled at the end.
    std::array<KindTotal, FileKinds::allCases.size()> kinds{};
    for (const FileItem& item : items) {
        KindTotal& k = kinds[static_cast<size_t>(item.kind)];
        ++k.count;
        k.size = checkedAdd(k.size, item.size);
        totalSize = checkedAdd(totalSize, item.size);
        screenshots += item.isScreenshot ? 1 : 0;
        largeFiles += item.size > largeFileSize ? 1 : 0;
        if (item.sourceKey) {
            ++downloadedFrom;
            ++bySource[*item.sourceKey];
        }
    }
    totalCount = items.size();
    for (const FileKind kind : FileKinds::allCases) {
        const KindTotal& k = kinds[static_cast<size_t>(kind)];
        if (k.count > 0) byKind.emplace(kind, k);
    }
}

KindTotal LibraryStats::total(FileKind kind) const
{
    const auto it = byKind.find(kind);
    return it == byKind.end() ? KindTotal{} : it->second;
}

}  // namespace fennic
