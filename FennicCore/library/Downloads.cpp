#include "Downloads.h"

#include <QHash>
#include <algorithm>
#include <vector>

namespace fennic {
namespace {

bool newerFirst(const FileItem* a, const FileItem* b)
{
    const Date da = a->date();
    const Date db = b->date();
    if (da != db) return da > db;
    return a->path < b->path;
}

QList<FileItem> sortedCopies(std::vector<const FileItem*>& files)
{
    std::sort(files.begin(), files.end(), newerFirst);
    QList<FileItem> result;
    result.reserve(qsizetype(files.size()));
    for (const FileItem* f : files) result.append(*f);
    return result;
}

}  // namespace

QList<FileItem> recentDownloads(const QList<FileItem>& items, const QString& downloadsFolder)
{
    const QString prefix = downloadsFolder.endsWith(u'/') ? downloadsFolder : downloadsFolder + u'/';
    std::vector<const FileItem*> files;
    for (const FileItem& item : items)
        if (item.path.startsWith(prefix) && item.path.size() > prefix.size()) files.push_back(&item);
    return sortedCopies(files);
}

QList<SourceGroup> sourceGroups(const QList<FileItem>& items)
{
    QHash<QString, std::vector<const FileItem*>> byKey;
    for (const FileItem& item : items)
        if (item.sourceKey) byKey[*item.sourceKey].push_back(&item);

    QList<SourceGroup> groups;
    groups.reserve(byKey.size());
    for (auto it = byKey.begin(); it != byKey.end(); ++it)
        groups.append(SourceGroup{DownloadSource::sourceFor(it.key()), sortedCopies(it.value())});
    std::sort(groups.begin(), groups.end(), [](const SourceGroup& a, const SourceGroup& b) {
        if (a.files.size() != b.files.size()) return a.files.size() > b.files.size();
        // Names as a reader sorts them: "example.com" before "Slack".
        if (const int c = a.source.name.compare(b.source.name, Qt::CaseInsensitive)) return c < 0;
        return a.source.key < b.source.key;
    });
    return groups;
}

}  // namespace fennic
