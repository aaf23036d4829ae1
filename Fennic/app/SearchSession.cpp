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
#include "VisibleList.h"
#include "context/SearchSources.h"
#include "images/VisualSearch.h"
#include "library/Library.h"
#include "search/SearchIndex.h"
#include "search/SearchParser.h"

#include "system/WorkerPool.h"

#include <QCoreApplication>
#include <QPointer>
#include <QThreadPool>
#include <algorithm>
#include <utility>

namespace fennic {
namespace {

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
    // Lists are worked out on a thread of their own: the shared pool may be busy reading
    // pictures for minutes, and a person waiting for results must not queue behind that.
    m_pool.setMaxThreadCount(1);
    // Kept, not retired after half a minute idle: the first key after a pause would otherwise
    // wait for a thread to be made.
    m_pool.setExpiryTimeout(-1);
    m_pool.setObjectName(QStringLiteral("fennic-lists"));
    m_settleTimer.setObjectName(QStringLiteral("SearchSession settle"));
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

SearchSession::~SearchSession()
{
    cancelPreparation();
    m_pool.waitForDone();
}

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
    if (m_parsed.filters.isEmpty()) freeOnPool(std::exchange(m_heldResults, {}), {});
    m_searchSettled = false;
    Q_EMIT searchSettledChanged();
    m_settleTimer.start(m_env.settleDelayMs);
    markSearchDirty();
}

void SearchSession::dropVisibleItems()
{
    m_visibleDirty = true;
    ++m_listGeneration;
    cancelPreparation();
}

void SearchSession::markSearchDirty()
{
    dropVisibleItems();
    Q_EMIT shownItemsChanged();
}

std::unique_ptr<SearchContext> SearchSession::searchContext() const
{
    // ocrText holds the records' folded text where there is any, so text searches look only
    // there rather than in every picture's record. The maps and the shelf are shared, not copied.
    return std::make_unique<SearchContext>(
        SearchSources::of(m_images.imageRecords(), m_images.ocrText(), m_organiser.shelf()));
}

VisibleList::Inputs SearchSession::listInputs(const SidebarItem& entry, bool withIndex) const
{
    VisibleList::Inputs in;
    in.items = m_library.items();
    if (withIndex) in.index = m_library.sharedSearchIndex();
    in.lately = m_library.lately();
    in.suggestions = m_library.suggestions();
    in.duplicates = m_duplicates.duplicateGroups();
    in.lookalikes = m_duplicates.lookalikeGroups();
    in.shelf = m_organiser.shelf();
    in.savedSearches = m_settings.savedSearches();
    in.records = m_images.imageRecords();
    in.lookups = SearchSources::of(m_images.imageRecords(), m_images.ocrText(), m_organiser.shelf());
    in.now = m_env.now();
    in.calendar = m_env.calendar();
    in.home = Library::home();
    in.sidebar = entry;
    in.filters = m_parsed.filters;
    in.sortKey = m_settings.sortKey();
    in.ascending = m_settings.sortAscending();
    in.similarTo = m_similarTo;
    return in;
}

QList<FileItem> SearchSession::baseItems(const SidebarItem& entry) const
{
    return VisibleList::base(listInputs(entry, false));
}

const QList<FileItem>& SearchSession::visibleItems()
{
    if (!m_visibleDirty) return m_visibleItems;
    // Asked for now: worked out here, and whatever was being prepared is no longer needed.
    cancelPreparation();
    m_visibleDirty = false;
    dropShownDiff();
    freeOnPool(std::exchange(m_visibleItems, VisibleList::compute(listInputs(m_sidebar, true))), {});
    return m_visibleItems;
}

void SearchSession::prepareVisibleItems()
{
    if (!m_visibleDirty || m_preparing) return;
    auto cancel = std::make_shared<std::atomic<bool>>(false);
    m_preparing = cancel;
    const quint64 generation = m_listGeneration;
    QPointer<SearchSession> self(this);
    // The diff from the list now shown is worked out here too: comparing two long lists row
    // by row is more than a frame's work for the GUI thread. A list that arrived but was not
    // shown yet (something changed again first) is not what the views show: its diff's start is.
    QList<FileItem> shown = m_shownDiff ? m_shownDiff->from : m_visibleItems;
    m_pool.start([self, cancel, generation, in = listInputs(m_sidebar, true), shown = std::move(shown)] {
        QList<FileItem> list = VisibleList::compute(in, cancel.get());
        if (cancel->load()) return;
        VisibleListDiff diff = VisibleListDiff::of(shown, list);
        if (cancel->load()) return;
        // Through the application object: only the GUI thread can tell whether the session
        // is still there.
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [self, cancel, generation, list = std::move(list), diff = std::move(diff)]() mutable {
                if (!self || cancel->load() || generation != self->m_listGeneration) {
                    // Overtaken while it was made (a key came): this list and its diff are
                    // as long as one that is shown, and nothing else holds them.
                    freeOnPool(std::move(list), std::move(diff));
                    return;
                }
                self->m_preparing.reset();
                // A list that arrived but was never shown is held by nothing else either.
                self->dropShownDiff();
                freeOnPool(std::exchange(self->m_visibleItems, std::move(list)), {});
                self->m_visibleDirty = false;
                self->m_shownDiff = std::move(diff);
                Q_EMIT self->shownItemsChanged();
            },
            Qt::QueuedConnection);
    });
}

void SearchSession::freeOnPool(QList<FileItem> list, std::optional<VisibleListDiff> diff)
{
    // Freeing a long list's strings is more than a frame's work. When this is not the last
    // holder, it is only a count going down wherever it happens.
    if (list.isEmpty() && !diff) return;
    WorkerPool::shared()->start([gone = std::move(list), goneDiff = std::move(diff)] {});
}

void SearchSession::dropShownDiff()
{
    // The diff may hold the last copy of the list shown before.
    if (!m_shownDiff) return;
    freeOnPool({}, std::exchange(m_shownDiff, std::nullopt));
}

void SearchSession::cancelPreparation()
{
    if (!m_preparing) return;
    m_preparing->store(true);
    m_preparing.reset();
}

SearchSession::MatchInputs SearchSession::matchInputs() const
{
    return {m_library.items(), m_library.preparedSharedSearchIndex(),
            SearchSources::of(m_images.imageRecords(), m_images.ocrText(), m_organiser.shelf()), m_settings.sortKey(),
            m_settings.sortAscending()};
}

QList<FileItem> SearchSession::matching(const MatchInputs& in, const QList<SearchFilter>& filters, qsizetype limit,
                                        const std::atomic<bool>* cancel)
{
    SearchContext context(in.lookups);
    std::vector<qsizetype> positions;
    if (in.index && in.index->isFor(in.items)) {
        positions = in.index->filter(filters, context, cancel);
    } else {
        for (qsizetype i = 0; i < in.items.size(); ++i) {
            if (cancel && (i & 1023) == 0 && cancel->load(std::memory_order_relaxed)) return {};
            if (SearchParser::matches(in.items.at(i), filters, context)) positions.push_back(i);
        }
    }
    if (cancel && cancel->load()) return {};
    SortKeys::firstPositions(in.sortKey, in.items, positions, in.ascending, size_t(std::max<qsizetype>(limit, 0)));
    QList<FileItem> found;
    found.reserve(qsizetype(positions.size()));
    for (qsizetype p : positions) found.append(in.items.at(p));
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
    freeOnPool(std::exchange(m_heldResults, {}), {});
    // Dirty before anyone hears of the change, so that a listener asking for the shown items
    // at once gets the new entry's, and the list is not worked out twice.
    dropVisibleItems();
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
    freeOnPool(std::exchange(m_heldResults, {}), {});
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
