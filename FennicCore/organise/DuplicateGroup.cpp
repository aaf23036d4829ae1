#include "DuplicateGroup.h"

namespace fennic {

QList<FileItem> DuplicateGroup::toTrash() const
{
    QList<FileItem> result;
    result.reserve(files.size());
    for (const FileItem& f : files)
        if (f.path != keep) result.append(f);
    return result;
}

qint64 DuplicateGroup::reclaimable() const
{
    qint64 total = 0;
    for (const FileItem& f : files)
        if (f.path != keep) total += f.size;
    return total;
}

QList<DuplicateGroup> DuplicateGroup::prune(const QList<DuplicateGroup>& groups, const QSet<QString>& removed)
{
    QList<DuplicateGroup> result;
    result.reserve(groups.size());
    for (DuplicateGroup g : groups) {
        g.files.removeIf([&](const FileItem& f) { return removed.contains(f.path); });
        if (g.files.isEmpty()) continue;
        if (removed.contains(g.keep)) g.keep = g.files.first().path;
        if (g.files.size() < 2) continue;
        result.append(std::move(g));
    }
    return result;
}

}  // namespace fennic
