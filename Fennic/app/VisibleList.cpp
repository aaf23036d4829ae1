#include "VisibleList.h"

#include "images/VisualSearch.h"
#include "library/LibraryStats.h"
#include "search/SearchParser.h"

#include <QSet>
#include <algorithm>

namespace fennic::VisibleList {

namespace {

// The files of several lists, each path once, in order of first appearance.
QList<FileItem> eachOnce(const QList<QList<FileItem>>& lists)
{
    QSet<QString> seen;
    QList<FileItem> out;
    for (const QList<FileItem>& list : lists)
        for (const FileItem& f : list)
            if (!seen.contains(f.path)) {
                seen.insert(f.path);
                out.append(f);
            }
    return out;
}

bool cancelled(const std::atomic<bool>* cancel) { return cancel && cancel->load(std::memory_order_relaxed); }

}  // namespace

QList<FileItem> base(const Inputs& in)
{
    using K = SidebarItem::Kind;
    const SidebarItem& entry = in.sidebar;
    auto where = [&in](auto&& keep) {
        QList<FileItem> out;
        for (const FileItem& item : in.items)
            if (keep(item)) out.append(item);
        return out;
    };
    switch (entry.kind) {
    case K::home: return in.items;
    case K::recents: {
        QList<FileItem> out;
        for (const Lately::Group& group : in.lately) out.append(group.files);
        return out;
    }
    case K::findImages: return where([](const FileItem& i) { return i.kind == FileKind::image; });
    case K::duplicates: {
        // A photo can be both an exact copy and a look-alike: listed once.
        QList<QList<FileItem>> lists;
        for (const auto* groups : {&in.duplicates, &in.lookalikes})
            for (const DuplicateGroup& g : *groups) lists.append(g.files);
        return eachOnce(lists);
    }
    case K::cleanup: {
        QList<QList<FileItem>> lists;
        for (const auto& suggestion : in.suggestions) lists.append(suggestion.files);
        return eachOnce(lists);
    }
    case K::cleanupCard:
        for (const auto& suggestion : in.suggestions)
            if (suggestion.kind == entry.cleanup) return suggestion.files;
        return {};
    case K::kind: return where([&](const FileItem& i) { return i.kind == entry.fileKind; });
    case K::folder:
    case K::pinnedFolder: {
        const QString prefix = entry.path.endsWith(u'/') ? entry.path : entry.path + u'/';
        return where([&](const FileItem& i) { return i.path.startsWith(prefix); });
    }
    case K::collection: {
        const auto collection = in.shelf.collection(entry.id);
        if (!collection) return {};
        const QSet<QString> paths(collection->paths.begin(), collection->paths.end());
        return where([&](const FileItem& i) { return paths.contains(i.path); });
    }
    case K::tag: {
        const QSet<QString> paths = in.shelf.pathsTagged(entry.name);
        return where([&](const FileItem& i) { return paths.contains(i.path); });
    }
    case K::savedSearch: {
        const auto it = std::find_if(in.savedSearches.begin(), in.savedSearches.end(),
                                     [&](const SavedSearch& s) { return s.id == entry.id; });
        if (it == in.savedSearches.end()) return {};
        const ParsedQuery saved = SearchParser::parse(it->query, in.now, in.calendar, in.home);
        SearchContext context(in.lookups);
        if (in.index && in.index->isFor(in.items)) return in.index->filtered(saved.filters, context);
        return where([&](const FileItem& i) { return SearchParser::matches(i, saved.filters, context); });
    }
    case K::favourites: return where([&in](const FileItem& i) { return in.shelf.isFavourite(i.path); });
    case K::largeFiles: return where([](const FileItem& i) { return i.size > LibraryStats::largeFileSize; });
    case K::screenshots: return where([](const FileItem& i) { return i.isScreenshot; });
    case K::downloadedFrom:
        // Without a source: everything downloaded from anywhere.
        if (entry.name.isEmpty()) return where([](const FileItem& i) { return i.sourceKey.has_value(); });
        return where([&](const FileItem& i) { return i.sourceKey == entry.name; });
    }
    return {};
}

QList<FileItem> compute(const Inputs& in, const std::atomic<bool>* cancel)
{
    const QList<FileItem>& items = in.items;
    QList<FileItem> out;
    if (in.sidebar.kind == SidebarItem::Kind::findImages && in.similarTo) {
        // "More like this": the picture itself, then its look-alikes, nearest first.
        QHash<QString, qsizetype> position;
        for (qsizetype i = 0; i < items.size(); ++i) position.insert(items.at(i).path, i);
        if (auto it = position.constFind(*in.similarTo); it != position.constEnd()) out.append(items.at(*it));
        for (const auto& [path, distance] : VisualSearch::similar(*in.similarTo, in.records))
            if (auto it = position.constFind(path); it != position.constEnd()) out.append(items.at(*it));
        return out;
    }
    if (in.filters.isEmpty()) return SortKeys::sort(in.sortKey, base(in), in.ascending);

    SearchContext context(in.lookups);
    const SearchFilter::Looks* looks = nullptr;
    for (const SearchFilter& f : in.filters)
        if ((looks = f.as<SearchFilter::Looks>())) break;
    const bool indexed = in.index && in.index->isFor(items);

    if (in.sidebar.isGeneral() && !looks && indexed) {
        // The whole library through the prepared index, ordered without copying items twice.
        std::vector<qsizetype> positions = in.index->filter(in.filters, context, cancel);
        if (cancelled(cancel)) return out;
        SortKeys::sortPositions(in.sortKey, items, positions, in.ascending);
        out.reserve(qsizetype(positions.size()));
        for (qsizetype p : positions) out.append(items.at(p));
        return out;
    }

    QList<FileItem> kept;
    if (in.sidebar.isGeneral() && indexed) {
        kept = in.index->filtered(in.filters, context);
    } else {
        for (const FileItem& item : base(in))
            if (SearchParser::matches(item, in.filters, context)) kept.append(item);
    }
    if (cancelled(cancel)) return out;
    if (!looks) return SortKeys::sort(in.sortKey, kept, in.ascending);
    // A described picture: best fit first, whatever the sort setting.
    std::vector<std::pair<float, qsizetype>> scored;
    scored.reserve(size_t(kept.size()));
    for (qsizetype i = 0; i < kept.size(); ++i)
        scored.emplace_back(context.visualScore(looks->description, kept[i].path).value_or(0.0f), i);
    std::stable_sort(scored.begin(), scored.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
    out.reserve(kept.size());
    for (const auto& [score, i] : scored) out.append(kept[i]);
    return out;
}

}  // namespace fennic::VisibleList
