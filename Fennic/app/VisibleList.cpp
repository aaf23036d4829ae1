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

// For the entries made of the library's files that pass a test of their own: the test.
// Empty for entries that are lists of their own (recents, duplicates, clean-up, saved searches).
std::function<bool(const FileItem&)> memberTest(const Inputs& in)
{
    using K = SidebarItem::Kind;
    const SidebarItem& entry = in.sidebar;
    switch (entry.kind) {
    case K::home: return [](const FileItem&) { return true; };
    case K::findImages: return [](const FileItem& i) { return i.kind == FileKind::image; };
    case K::kind: return [kind = entry.fileKind](const FileItem& i) { return i.kind == kind; };
    case K::folder:
    case K::pinnedFolder: {
        const QString prefix = entry.path.endsWith(u'/') ? entry.path : entry.path + u'/';
        return [prefix](const FileItem& i) { return i.path.startsWith(prefix); };
    }
    case K::collection: {
        const auto collection = in.shelf.collection(entry.id);
        if (!collection) return [](const FileItem&) { return false; };
        return [paths = QSet<QString>(collection->paths.begin(), collection->paths.end())](const FileItem& i) {
            return paths.contains(i.path);
        };
    }
    case K::tag:
        return [paths = in.shelf.pathsTagged(entry.name)](const FileItem& i) { return paths.contains(i.path); };
    case K::favourites: return [shelf = in.shelf](const FileItem& i) { return shelf.isFavourite(i.path); };
    case K::largeFiles: return [](const FileItem& i) { return i.size > LibraryStats::largeFileSize; };
    case K::screenshots: return [](const FileItem& i) { return i.isScreenshot; };
    case K::downloadedFrom:
        // Without a source: everything downloaded from anywhere.
        if (entry.name.isEmpty()) return [](const FileItem& i) { return i.sourceKey.has_value(); };
        return [source = entry.name](const FileItem& i) { return i.sourceKey == source; };
    case K::recents:
    case K::duplicates:
    case K::cleanup:
    case K::cleanupCard:
    case K::savedSearch: return {};
    }
    return {};
}

}  // namespace

QList<FileItem> base(const Inputs& in)
{
    using K = SidebarItem::Kind;
    const SidebarItem& entry = in.sidebar;
    if (entry.kind == K::home) return in.items;
    if (const auto member = memberTest(in)) {
        QList<FileItem> out;
        for (const FileItem& item : in.items)
            if (member(item)) out.append(item);
        return out;
    }
    switch (entry.kind) {
    case K::recents: {
        QList<FileItem> out;
        for (const Lately::Group& group : in.lately) out.append(group.files);
        return out;
    }
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
    case K::savedSearch: {
        const auto it = std::find_if(in.savedSearches.begin(), in.savedSearches.end(),
                                     [&](const SavedSearch& s) { return s.id == entry.id; });
        if (it == in.savedSearches.end()) return {};
        const ParsedQuery saved = SearchParser::parse(it->query, in.now, in.calendar, in.home);
        SearchContext context(in.lookups);
        if (in.index && in.index->isFor(in.items)) return in.index->filtered(saved.filters, context);
        QList<FileItem> out;
        for (const FileItem& item : in.items)
            if (SearchParser::matches(item, saved.filters, context)) out.append(item);
        return out;
    }
    default: return {};
    }
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

    // The whole library for a general entry, otherwise the entry's own files when a test tells
    // them apart: through the prepared index, which folds nothing per request, and ordered
    // without copying items twice.
    const auto member = in.sidebar.isGeneral() ? std::function<bool(const FileItem&)>() : memberTest(in);
    if (!looks && indexed && (in.sidebar.isGeneral() || member)) {
        std::vector<qsizetype> positions = in.index->filter(in.filters, context, cancel);
        if (cancelled(cancel)) return out;
        if (member) std::erase_if(positions, [&](qsizetype p) { return !member(items.at(p)); });
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
