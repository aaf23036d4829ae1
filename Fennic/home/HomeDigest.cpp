#include "HomeDigest.h"

#include "library/LibraryStats.h"

#include <algorithm>
#include <vector>

namespace fennic {

namespace {

// The first `n` of `items` in the order `before`, without sorting the rest.
template <typename Before> QList<FileItem> firstOf(std::vector<const FileItem*> items, int n, Before before)
{
    const auto count = std::min<std::ptrdiff_t>(n, std::ssize(items));
    std::partial_sort(items.begin(), items.begin() + count, items.end(),
                      [&](const FileItem* a, const FileItem* b) { return before(*a, *b); });
    QList<FileItem> result;
    result.reserve(count);
    for (std::ptrdiff_t i = 0; i < count; ++i) result.append(*items[size_t(i)]);
    return result;
}

bool newer(const FileItem& a, const FileItem& b)
{
    if (a.date() != b.date()) return a.date() > b.date();
    return a.path < b.path;
}

}  // namespace

HomeDigest HomeDigest::of(const QList<FileItem>& items, const QList<Lately::Group>& lately, int perRow, int maxSources)
{
    HomeDigest digest;
    for (const Lately::Group& group : lately) {
        std::vector<const FileItem*> files;
        files.reserve(size_t(group.files.size()));
        for (const FileItem& item : group.files) files.push_back(&item);
        digest.recent.append({group.bucket, group.files.size(), firstOf(std::move(files), perRow, newer)});
    }

    std::vector<const FileItem*> screenshots;
    std::vector<const FileItem*> large;
    for (const FileItem& item : items) {
        if (item.isScreenshot) screenshots.push_back(&item);
        if (item.size > LibraryStats::largeFileSize) large.push_back(&item);
    }
    digest.screenshots = firstOf(std::move(screenshots), perRow, newer);
    digest.largest = firstOf(std::move(large), perRow, [](const FileItem& a, const FileItem& b) {
        return a.size != b.size ? a.size > b.size : a.path < b.path;
    });

    const QList<SourceGroup> groups = sourceGroups(items);
    digest.sourceCount = groups.size();
    for (const SourceGroup& group : groups) {
        if (digest.sources.size() >= maxSources) break;
        digest.sources.append({group.source, group.files.size()});
    }
    return digest;
}

}  // namespace fennic
