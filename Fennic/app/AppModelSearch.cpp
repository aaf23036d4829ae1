// The search session: the request typed in the Ask field, the list it selects from the
// sidebar's entry, and the rule that holds the list steady while the user is still typing.
#include "AppModel.h"

#include "context/SearchSources.h"
#include "library/Library.h"
#include "search/SearchParser.h"

#include <QJsonDocument>
#include <algorithm>

namespace fennic {
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

}  // namespace

void AppModel::setQuery(const QString& text)
{
    if (text == m_query) return;
    m_query = text;
    Q_EMIT queryChanged();
    // Every change reads the clock again, so "today" is always the day of typing.
    m_parsed = SearchParser::parse(text, m_env.now(), m_env.calendar(), Library::home());
    Q_EMIT parsedChanged();
    if (m_parsed.filters.isEmpty()) m_heldResults.clear();
    m_searchSettled = false;
    Q_EMIT searchSettledChanged();
    m_settleTimer->start(m_env.settleDelayMs);
    markSearchDirty();
}

void AppModel::markSearchDirty()
{
    m_visibleDirty = true;
    Q_EMIT shownItemsChanged();
}

SortKey AppModel::sortKey() const { return SortKeys::fromRawValue(m_sortKeyRaw).value_or(SortKey::dateAdded); }

std::unique_ptr<SearchContext> AppModel::searchContext() const
{
    // ocrText holds the records' folded text where there is any, so text searches look only
    // there rather than in every picture's record. The maps and the shelf are shared, not copied.
    return std::make_unique<SearchContext>(SearchSources::of(m_imageIndex.records, m_ocrText, m_shelf));
}

QList<FileItem> AppModel::baseItems(const SidebarItem& entry) const
{
    using K = SidebarItem::Kind;
    auto where = [this](auto&& keep) {
        QList<FileItem> out;
        for (const FileItem& item : m_items)
            if (keep(item)) out.append(item);
        return out;
    };
    switch (entry.kind) {
    case K::home: return m_items;
    case K::recents: {
        QList<FileItem> out;
        for (const Lately::Group& group : m_lately) out.append(group.files);
        return out;
    }
    case K::findImages: return where([](const FileItem& i) { return i.kind == FileKind::image; });
    case K::duplicates: {
        // A photo can be both an exact copy and a look-alike: listed once.
        QList<QList<FileItem>> lists;
        for (const auto* groups : {&m_duplicateGroups, &m_lookalikeGroups})
            for (const DuplicateGroup& g : *groups) lists.append(g.files);
        return eachOnce(lists);
    }
    case K::cleanup: {
        QList<QList<FileItem>> lists;
        for (const auto& suggestion : m_suggestions) lists.append(suggestion.files);
        return eachOnce(lists);
    }
    case K::cleanupCard:
        for (const auto& suggestion : m_suggestions)
            if (suggestion.kind == entry.cleanup) return suggestion.files;
        return {};
    case K::kind: return where([&](const FileItem& i) { return i.kind == entry.fileKind; });
    case K::folder:
    case K::pinnedFolder: {
        const QString prefix = entry.path.endsWith(u'/') ? entry.path : entry.path + u'/';
        return where([&](const FileItem& i) { return i.path.startsWith(prefix); });
    }
    case K::collection: {
        const auto collection = m_shelf.collection(entry.id);
        if (!collection) return {};
        const QSet<QString> paths(collection->paths.begin(), collection->paths.end());
        return where([&](const FileItem& i) { return paths.contains(i.path); });
    }
    case K::tag: {
        const QSet<QString> paths = m_shelf.pathsTagged(entry.name);
        return where([&](const FileItem& i) { return paths.contains(i.path); });
    }
    case K::savedSearch: {
        const auto it = std::find_if(m_savedSearches.begin(), m_savedSearches.end(),
                                     [&](const SavedSearch& s) { return s.id == entry.id; });
        if (it == m_savedSearches.end()) return {};
        const ParsedQuery saved = SearchParser::parse(it->query, m_env.now(), m_env.calendar(), Library::home());
        auto context = searchContext();
        return m_searchIndex.isFor(m_items)
            ? m_searchIndex.filtered(saved.filters, *context)
            : where([&](const FileItem& i) { return SearchParser::matches(i, saved.filters, *context); });
    }
    case K::favourites: return where([this](const FileItem& i) { return m_shelf.isFavourite(i.path); });
    case K::largeFiles: return where([](const FileItem& i) { return i.size > LibraryStats::largeFileSize; });
    case K::screenshots: return where([](const FileItem& i) { return i.isScreenshot; });
    case K::downloadedFrom:
        // Without a source: everything downloaded from anywhere.
        if (entry.name.isEmpty()) return where([](const FileItem& i) { return i.sourceKey.has_value(); });
        return where([&](const FileItem& i) { return i.sourceKey == entry.name; });
    }
    return {};
}

const QList<FileItem>& AppModel::visibleItems()
{
    if (!m_visibleDirty) return m_visibleItems;
    m_visibleDirty = false;
    if (!m_searchIndex.isFor(m_items)) m_searchIndex = SearchIndex(m_items);

    const QList<SearchFilter>& filters = m_parsed.filters;
    const SortKey key = sortKey();
    if (filters.isEmpty()) {
        m_visibleItems = SortKeys::sort(key, baseItems(m_sidebar), m_sortAscending);
        return m_visibleItems;
    }

    auto context = searchContext();
    const SearchFilter::Looks* looks = nullptr;
    for (const SearchFilter& f : filters)
        if ((looks = f.as<SearchFilter::Looks>())) break;

    if (m_sidebar.isGeneral() && !looks) {
        // The whole library through the prepared index, ordered without copying items twice.
        std::vector<qsizetype> positions = m_searchIndex.filter(filters, *context);
        SortKeys::sortPositions(key, m_items, positions, m_sortAscending);
        m_visibleItems.clear();
        m_visibleItems.reserve(qsizetype(positions.size()));
        // at(), not [], which would detach the list from the search index that shares it.
        for (qsizetype p : positions) m_visibleItems.append(m_items.at(p));
        return m_visibleItems;
    }

    QList<FileItem> kept;
    if (m_sidebar.isGeneral()) {
        kept = m_searchIndex.filtered(filters, *context);
    } else {
        for (const FileItem& item : baseItems(m_sidebar))
            if (SearchParser::matches(item, filters, *context)) kept.append(item);
    }
    if (!looks) {
        m_visibleItems = SortKeys::sort(key, kept, m_sortAscending);
        return m_visibleItems;
    }
    // A described picture: best fit first, whatever the sort setting.
    std::vector<std::pair<float, qsizetype>> scored;
    scored.reserve(size_t(kept.size()));
    for (qsizetype i = 0; i < kept.size(); ++i)
        scored.emplace_back(context->visualScore(looks->description, kept[i].path).value_or(0.0f), i);
    std::stable_sort(scored.begin(), scored.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
    m_visibleItems.clear();
    for (const auto& [score, i] : scored) m_visibleItems.append(kept[i]);
    return m_visibleItems;
}

QList<FileItem> AppModel::matching(const QList<SearchFilter>& filters, qsizetype limit) const
{
    auto context = searchContext();
    std::vector<qsizetype> positions;
    if (m_searchIndex.isFor(m_items)) {
        positions = m_searchIndex.filter(filters, *context);
    } else {
        for (qsizetype i = 0; i < m_items.size(); ++i)
            if (SearchParser::matches(m_items.at(i), filters, *context)) positions.push_back(i);
    }
    SortKeys::sortPositions(sortKey(), m_items, positions, m_sortAscending);
    QList<FileItem> found;
    for (size_t i = 0; i < positions.size() && found.size() < limit; ++i) found.append(m_items.at(positions[i]));
    return found;
}

QList<FileItem> AppModel::shownItems()
{
    const QList<FileItem>& visible = visibleItems();
    if (m_parsed.filters.isEmpty()) return visible;
    if (!visible.isEmpty()) {
        m_heldResults = visible;
        return visible;
    }
    return m_searchSettled ? QList<FileItem>() : m_heldResults;
}

void AppModel::setSidebar(const SidebarItem& entry)
{
    if (entry == m_sidebar) return;
    m_sidebar = entry;
    m_heldResults.clear();
    Q_EMIT sidebarChanged();
    markSearchDirty();
}

void AppModel::setSavedSearches(const QList<SavedSearch>& searches)
{
    m_savedSearches = searches;
    m_settings->setValue(QStringLiteral("savedSearches"), QString::fromUtf8(SavedSearch::encodeList(searches)));
    Q_EMIT savedSearchesChanged();
    if (m_sidebar.kind == SidebarItem::Kind::savedSearch) markSearchDirty();
}

void AppModel::saveCurrentSearch()
{
    const QString request = m_query.trimmed();
    const auto saved = SavedSearch::forRequest(request, m_savedSearches);
    if (!saved) {
        // Blank, or kept already: show the existing entry rather than keeping it twice.
        for (const SavedSearch& existing : std::as_const(m_savedSearches))
            if (!request.isEmpty() && existing.query.compare(request, Qt::CaseInsensitive) == 0)
                setSidebar(SidebarItem::savedSearch(existing.id));
        return;
    }
    QList<SavedSearch> searches = m_savedSearches;
    searches.append(*saved);
    setSavedSearches(searches);
    setSidebar(SidebarItem::savedSearch(saved->id));
    m_heldResults.clear();
    setQuery(QString());
    showToast(QStringLiteral("Saved “") + saved->name + QStringLiteral("” to the sidebar"), QStringLiteral("bookmark"));
}

QStringList AppModel::highlightQuery() const
{
    if (m_sidebar.kind == SidebarItem::Kind::findImages && !m_similarTo
        && (m_findMode == u"everything" || m_findMode == u"text"))
        return m_findQuery.isEmpty() ? QStringList() : QStringList{m_findQuery};
    QStringList words;
    for (const SearchFilter& f : m_parsed.filters)
        if (const auto* text = f.as<SearchFilter::Text>()) words.append(text->words.split(u' ', Qt::SkipEmptyParts));
    return words;
}

void AppModel::setFindQuery(const QString& text)
{
    if (text == m_findQuery) return;
    m_findQuery = text;
    Q_EMIT findQueryChanged();
}

void AppModel::setFindMode(const QString& mode)
{
    if (mode == m_findMode) return;
    m_findMode = mode;
    Q_EMIT findModeChanged();
}

void AppModel::setHomeResults(bool shown)
{
    if (shown == m_homeResults) return;
    m_homeResults = shown;
    Q_EMIT homeResultsChanged();
}

void AppModel::setSimilarTo(std::optional<QString> path)
{
    if (path == m_similarTo) return;
    m_similarTo = std::move(path);
    Q_EMIT similarToChanged();
}

}  // namespace fennic
