// The search session: the request typed in the Ask field, the list it selects from the
// sidebar's entry, and the rule that holds the list steady while the user is still typing.
#include "SearchSession.h"

#include "AppSettings.h"
#include "DuplicateScan.h"
#include "ImageIndexer.h"
#include "LibraryModel.h"
#include "Organiser.h"
#include "RawNames.h"
#include "Toast.h"
#include "context/SearchSources.h"
#include "images/VisualSearch.h"
#include "library/Library.h"
#include "search/SearchIndex.h"
#include "search/SearchParser.h"

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

bool inFolder(const QString& path, const QString& folder) { return path == folder || path.startsWith(folder + u'/'); }

}  // namespace

namespace {
constexpr RawNames<FindMode, 3> kFindModeNames{
    {{{FindMode::everything, u"everything"}, {FindMode::text, u"text"}, {FindMode::describe, u"describe"}}}};
}  // namespace

QString FindModes::rawValue(FindMode mode) { return kFindModeNames.rawValue(mode); }
std::optional<FindMode> FindModes::fromRawValue(QStringView raw) { return kFindModeNames.fromRawValue(raw); }

SearchSession::SearchSession(AppEnvironment environment, AppSettings& settings, LibraryModel& library,
                             const ImageIndexer& images, Organiser& organiser, const DuplicateScan& duplicates,
                             Toast& toast, QObject* parent)
    : QObject(parent),
      m_env(std::move(environment)),
      m_settings(settings),
      m_library(library),
      m_images(images),
      m_organiser(organiser),
      m_duplicates(duplicates),
      m_toast(toast)
{
    m_settleTimer.setSingleShot(true);
    m_settleTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_settleTimer, &QTimer::timeout, this, [this] {
        m_searchSettled = true;
        Q_EMIT searchSettledChanged();
        Q_EMIT shownItemsChanged();
    });

    // Everything the shown list is made from marks it for recomputing.
    connect(&m_settings, &AppSettings::sortKeyChanged, this, &SearchSession::markSearchDirty);
    connect(&m_settings, &AppSettings::sortAscendingChanged, this, &SearchSession::markSearchDirty);
    connect(&m_settings, &AppSettings::savedSearchesChanged, this, [this] {
        Q_EMIT savedSearchesChanged();
        if (m_sidebar.kind == SidebarItem::Kind::savedSearch) markSearchDirty();
    });
    connect(&m_library, &LibraryModel::derivedChanged, this, &SearchSession::markSearchDirty);
    connect(&m_library, &LibraryModel::itemsRemoved, this, &SearchSession::dropRemoved);
    // New image records change what a request finds, and look-alikes; a plain listing stays as
    // it is, so reading pictures doesn't recompute it batch after batch.
    connect(&images, &ImageIndexer::imageRecordsChanged, this, [this] {
        if (!m_parsed.filters.isEmpty() || m_similarTo) markSearchDirty();
    });
    connect(&m_organiser, &Organiser::shelfChanged, this, &SearchSession::markSearchDirty);
    for (auto changed : {&DuplicateScan::duplicateGroupsChanged, &DuplicateScan::lookalikeGroupsChanged})
        connect(&duplicates, changed, this, [this] {
            if (m_sidebar.kind == SidebarItem::Kind::duplicates) markSearchDirty();
        });

    // An entry that no longer exists gives way to Home.
    connect(&m_library, &LibraryModel::folderRemoved, this, [this](const QString& folder) {
        if ((m_sidebar.kind == SidebarItem::Kind::folder || m_sidebar.kind == SidebarItem::Kind::pinnedFolder)
            && inFolder(m_sidebar.path, folder))
            setSidebar(SidebarItem::home());
    });
    connect(&m_organiser, &Organiser::collectionDeleted, this, [this](const QUuid& id) {
        if (m_sidebar.kind == SidebarItem::Kind::collection && m_sidebar.id == id) setSidebar(SidebarItem::home());
    });
}

SearchSession::~SearchSession() = default;

const QList<SavedSearch>& SearchSession::savedSearches() const { return m_settings.savedSearches(); }

void SearchSession::dropRemoved(const QSet<QString>& paths)
{
    // The shown list is recomputed once the derived values catch up with the new list; until
    // then it just loses the removed files, so that none is shown after it has gone.
    const auto removed = [&paths](const FileItem& item) { return paths.contains(item.path); };
    if (!m_visibleDirty) m_visibleItems.removeIf(removed);
    m_heldResults.removeIf(removed);
    Q_EMIT shownItemsChanged();
}

void SearchSession::setQuery(const QString& text)
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
    m_settleTimer.start(m_env.settleDelayMs);
    markSearchDirty();
}

void SearchSession::markSearchDirty()
{
    m_visibleDirty = true;
    Q_EMIT shownItemsChanged();
}

std::unique_ptr<SearchContext> SearchSession::searchContext() const
{
    // ocrText holds the records' folded text where there is any, so text searches look only
    // there rather than in every picture's record. The maps and the shelf are shared, not copied.
    return std::make_unique<SearchContext>(
        SearchSources::of(m_images.imageRecords(), m_images.ocrText(), m_organiser.shelf()));
}

QList<FileItem> SearchSession::baseItems(const SidebarItem& entry) const
{
    using K = SidebarItem::Kind;
    auto where = [this](auto&& keep) {
        QList<FileItem> out;
        for (const FileItem& item : m_library.items())
            if (keep(item)) out.append(item);
        return out;
    };
    switch (entry.kind) {
    case K::home: return m_library.items();
    case K::recents: {
        QList<FileItem> out;
        for (const Lately::Group& group : m_library.lately()) out.append(group.files);
        return out;
    }
    case K::findImages: return where([](const FileItem& i) { return i.kind == FileKind::image; });
    case K::duplicates: {
        // A photo can be both an exact copy and a look-alike: listed once.
        QList<QList<FileItem>> lists;
        for (const auto* groups : {&m_duplicates.duplicateGroups(), &m_duplicates.lookalikeGroups()})
            for (const DuplicateGroup& g : *groups) lists.append(g.files);
        return eachOnce(lists);
    }
    case K::cleanup: {
        QList<QList<FileItem>> lists;
        for (const auto& suggestion : m_library.suggestions()) lists.append(suggestion.files);
        return eachOnce(lists);
    }
    case K::cleanupCard:
        for (const auto& suggestion : m_library.suggestions())
            if (suggestion.kind == entry.cleanup) return suggestion.files;
        return {};
    case K::kind: return where([&](const FileItem& i) { return i.kind == entry.fileKind; });
    case K::folder:
    case K::pinnedFolder: {
        const QString prefix = entry.path.endsWith(u'/') ? entry.path : entry.path + u'/';
        return where([&](const FileItem& i) { return i.path.startsWith(prefix); });
    }
    case K::collection: {
        const auto collection = m_organiser.shelf().collection(entry.id);
        if (!collection) return {};
        const QSet<QString> paths(collection->paths.begin(), collection->paths.end());
        return where([&](const FileItem& i) { return paths.contains(i.path); });
    }
    case K::tag: {
        const QSet<QString> paths = m_organiser.shelf().pathsTagged(entry.name);
        return where([&](const FileItem& i) { return paths.contains(i.path); });
    }
    case K::savedSearch: {
        const auto it = std::find_if(m_settings.savedSearches().begin(), m_settings.savedSearches().end(),
                                     [&](const SavedSearch& s) { return s.id == entry.id; });
        if (it == m_settings.savedSearches().end()) return {};
        const ParsedQuery saved = SearchParser::parse(it->query, m_env.now(), m_env.calendar(), Library::home());
        auto context = searchContext();
        const SearchIndex* index = m_library.preparedSearchIndex();
        return index ? index->filtered(saved.filters, *context)
                     : where([&](const FileItem& i) { return SearchParser::matches(i, saved.filters, *context); });
    }
    case K::favourites: return where([this](const FileItem& i) { return m_organiser.shelf().isFavourite(i.path); });
    case K::largeFiles: return where([](const FileItem& i) { return i.size > LibraryStats::largeFileSize; });
    case K::screenshots: return where([](const FileItem& i) { return i.isScreenshot; });
    case K::downloadedFrom:
        // Without a source: everything downloaded from anywhere.
        if (entry.name.isEmpty()) return where([](const FileItem& i) { return i.sourceKey.has_value(); });
        return where([&](const FileItem& i) { return i.sourceKey == entry.name; });
    }
    return {};
}

const QList<FileItem>& SearchSession::visibleItems()
{
    if (!m_visibleDirty) return m_visibleItems;
    m_visibleDirty = false;
    const SearchIndex& index = m_library.searchIndex();
    const QList<FileItem>& items = m_library.items();

    const QList<SearchFilter>& filters = m_parsed.filters;
    const SortKey key = m_settings.sortKey();
    if (m_sidebar.kind == SidebarItem::Kind::findImages && m_similarTo) {
        // "More like this": the picture itself, then its look-alikes, nearest first.
        QHash<QString, qsizetype> position;
        for (qsizetype i = 0; i < items.size(); ++i) position.insert(items.at(i).path, i);
        m_visibleItems.clear();
        if (auto it = position.constFind(*m_similarTo); it != position.constEnd()) m_visibleItems.append(items.at(*it));
        for (const auto& [path, distance] : VisualSearch::similar(*m_similarTo, m_images.imageRecords()))
            if (auto it = position.constFind(path); it != position.constEnd()) m_visibleItems.append(items.at(*it));
        return m_visibleItems;
    }
    if (filters.isEmpty()) {
        m_visibleItems = SortKeys::sort(key, baseItems(m_sidebar), m_settings.sortAscending());
        return m_visibleItems;
    }

    auto context = searchContext();
    const SearchFilter::Looks* looks = nullptr;
    for (const SearchFilter& f : filters)
        if ((looks = f.as<SearchFilter::Looks>())) break;

    if (m_sidebar.isGeneral() && !looks) {
        // The whole library through the prepared index, ordered without copying items twice.
        std::vector<qsizetype> positions = index.filter(filters, *context);
        SortKeys::sortPositions(key, items, positions, m_settings.sortAscending());
        m_visibleItems.clear();
        m_visibleItems.reserve(qsizetype(positions.size()));
        // at(), not [], which would detach the list from the search index that shares it.
        for (qsizetype p : positions) m_visibleItems.append(items.at(p));
        return m_visibleItems;
    }

    QList<FileItem> kept;
    if (m_sidebar.isGeneral()) {
        kept = index.filtered(filters, *context);
    } else {
        for (const FileItem& item : baseItems(m_sidebar))
            if (SearchParser::matches(item, filters, *context)) kept.append(item);
    }
    if (!looks) {
        m_visibleItems = SortKeys::sort(key, kept, m_settings.sortAscending());
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

QList<FileItem> SearchSession::matching(const QList<SearchFilter>& filters, qsizetype limit)
{
    auto context = searchContext();
    std::vector<qsizetype> positions;
    const QList<FileItem>& items = m_library.items();
    if (const SearchIndex* index = m_library.preparedSearchIndex()) {
        positions = index->filter(filters, *context);
    } else {
        for (qsizetype i = 0; i < items.size(); ++i)
            if (SearchParser::matches(items.at(i), filters, *context)) positions.push_back(i);
    }
    SortKeys::sortPositions(m_settings.sortKey(), items, positions, m_settings.sortAscending());
    QList<FileItem> found;
    for (size_t i = 0; i < positions.size() && found.size() < limit; ++i) found.append(items.at(positions[i]));
    return found;
}

QList<FileItem> SearchSession::shownItems()
{
    const QList<FileItem>& visible = visibleItems();
    if (m_parsed.filters.isEmpty()) return visible;
    if (!visible.isEmpty()) {
        m_heldResults = visible;
        return visible;
    }
    return m_searchSettled ? QList<FileItem>() : m_heldResults;
}

void SearchSession::setSidebar(const SidebarItem& entry)
{
    if (entry == m_sidebar) return;
    m_sidebar = entry;
    m_heldResults.clear();
    // Dirty before anyone hears of the change, so that a listener asking for the shown items
    // at once gets the new entry's, and the list is not worked out twice.
    m_visibleDirty = true;
    Q_EMIT sidebarChanged();
    Q_EMIT shownItemsChanged();
}

void SearchSession::setSavedSearches(const QList<SavedSearch>& searches) { m_settings.setSavedSearches(searches); }

void SearchSession::saveCurrentSearch()
{
    const QString request = m_query.trimmed();
    const auto saved = SavedSearch::forRequest(request, m_settings.savedSearches());
    if (!saved) {
        // Blank, or kept already: show the existing entry rather than keeping it twice.
        for (const SavedSearch& existing : std::as_const(m_settings.savedSearches()))
            if (!request.isEmpty() && existing.query.compare(request, Qt::CaseInsensitive) == 0)
                setSidebar(SidebarItem::savedSearch(existing.id));
        return;
    }
    QList<SavedSearch> searches = m_settings.savedSearches();
    searches.append(*saved);
    setSavedSearches(searches);
    setSidebar(SidebarItem::savedSearch(saved->id));
    m_heldResults.clear();
    setQuery(QString());
    m_toast.show(QStringLiteral("Saved “") + saved->name
                                + QStringLiteral("” to the sidebar"), QStringLiteral("bookmark"));
}

QStringList SearchSession::highlightQuery() const
{
    if (m_sidebar.kind == SidebarItem::Kind::findImages && !m_similarTo
        && (m_findMode == FindMode::everything || m_findMode == FindMode::text))
        return m_findQuery.isEmpty() ? QStringList() : QStringList{m_findQuery};
    QStringList words;
    for (const SearchFilter& f : m_parsed.filters)
        if (const auto* text = f.as<SearchFilter::Text>()) words.append(text->words.split(u' ', Qt::SkipEmptyParts));
    return words;
}

void SearchSession::setFindQuery(const QString& text)
{
    if (text == m_findQuery) return;
    m_findQuery = text;
    Q_EMIT findQueryChanged();
}

void SearchSession::setFindMode(FindMode mode)
{
    if (mode == m_findMode) return;
    m_findMode = mode;
    Q_EMIT findModeChanged();
}

void SearchSession::setHomeResults(bool shown)
{
    if (shown == m_homeResults) return;
    m_homeResults = shown;
    Q_EMIT homeResultsChanged();
}

void SearchSession::setSimilarTo(std::optional<QString> path)
{
    if (path == m_similarTo) return;
    m_similarTo = std::move(path);
    Q_EMIT similarToChanged();
    markSearchDirty();
}

}  // namespace fennic
