#pragma once

#include "AppEnvironment.h"
#include "SidebarItem.h"
#include "VisibleList.h"
#include "VisibleListDiff.h"
#include "model/FileItem.h"
#include "search/ParsedQuery.h"
#include "search/SavedSearch.h"
#include "search/SearchContext.h"
#include "search/SortKey.h"

#include <QList>
#include <QObject>
#include <QStringList>
#include <QThreadPool>
#include <QTimer>
#include <atomic>
#include <memory>
#include <optional>

namespace fennic {

class AppSettings;
class DuplicateScan;
class ImageIndexer;
class LibraryModel;
class Organiser;
class Toast;

// What the image finder looks for: any match, words in pictures, or what pictures show.
enum class FindMode : quint8 {
    everything,
    text,
    describe
};

namespace FindModes {
QString rawValue(FindMode mode);  // "everything", "text", "describe"
std::optional<FindMode> fromRawValue(QStringView raw);
}  // namespace FindModes

// The search session: the request typed in the Ask field, the list it selects from the
// sidebar's entry, and the rule that holds the list steady while the user is still typing.
// A request is parsed at every keystroke (so chips are drawn while typing) and settles
// `settleDelayMs` after the last change; the shown list is recomputed lazily, when asked for
// after a change.
//
// Threads: GUI thread only; see AppEnvironment for the injected functions.
class SearchSession : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString query READ query WRITE setQuery NOTIFY queryChanged)
    Q_PROPERTY(bool searchSettled READ searchSettled NOTIFY searchSettledChanged)
    Q_PROPERTY(QList<fennic::FileItem> shownItems READ shownItems NOTIFY shownItemsChanged)
    Q_PROPERTY(QList<fennic::SavedSearch> savedSearches READ savedSearches NOTIFY savedSearchesChanged)
    Q_PROPERTY(QString findQuery READ findQuery WRITE setFindQuery NOTIFY findQueryChanged)
    Q_PROPERTY(fennic::FindMode findMode READ findMode WRITE setFindMode NOTIFY findModeChanged)
    Q_PROPERTY(bool homeResults READ homeResults WRITE setHomeResults NOTIFY homeResultsChanged)

public:
    SearchSession(AppEnvironment environment, AppSettings& settings, LibraryModel& library, const ImageIndexer& images,
                  Organiser& organiser, const DuplicateScan& duplicates, Toast& toast, QObject* parent = nullptr);
    ~SearchSession() override;

    const QString& query() const { return m_query; }
    // Parses at once (so chips can be drawn while typing) and restarts the settle delay.
    void setQuery(const QString& text);
    const ParsedQuery& parsed() const { return m_parsed; }
    bool searchSettled() const { return m_searchSettled; }
    // The selected sidebar entry's files, filtered by the request and ordered: by how well a
    // picture fits the description when the request describes one, otherwise by the sort
    // settings. Computed when asked for after a change.
    const QList<FileItem>& visibleItems();
    // Whether visibleItems() is worked out for the current request and entry. When it is not,
    // prepareVisibleItems() works it out on the pool and emits shownItemsChanged when it is
    // (unless something changed meanwhile, which starts over); the window asks this way, so
    // that a request over a large library never holds up its thread.
    bool isVisibleReady() const { return !m_visibleDirty; }
    void prepareVisibleItems();
    // visibleItems held steady while typing: an empty result shows only once the request has
    // settled; until then the last non-empty result stays.
    QList<FileItem> shownItems();
    // The diff from the list shown before to visibleItems, when it was worked out beside the
    // list on the pool; null otherwise. It holds the list it came from: drop it once a view has
    // taken the new list.
    const VisibleListDiff* shownDiff() const { return m_shownDiff ? &*m_shownDiff : nullptr; }
    void dropShownDiff();
    const QList<FileItem>& heldResults() const { return m_heldResults; }
    // The files of a sidebar entry before any request, unordered.
    QList<FileItem> baseItems(const SidebarItem& entry) const;
    const SidebarItem& sidebar() const { return m_sidebar; }
    void setSidebar(const SidebarItem& entry);
    // A fresh context over the image index, the recognised text and the shelf.
    std::unique_ptr<SearchContext> searchContext() const;
    // What `matching` reads: shared copies, cheap to take here and safe to read on another
    // thread while the library moves on.
    struct MatchInputs {
        QList<FileItem> items;
        std::shared_ptr<const SearchIndex> index;  // null until the library's is prepared
        SearchContext::Lookups lookups;
        SortKey sortKey = SortKey::dateAdded;
        bool ascending = false;
    };
    MatchInputs matchInputs() const;
    // The library's files that every filter holds for, in the sort order, at most `limit` of
    // them; through the prepared search index when there is one. Any thread. `cancel`, when
    // set, ends the work early with a partial list nobody should show.
    static QList<FileItem> matching(const MatchInputs& in, const QList<SearchFilter>& filters, qsizetype limit,
                                    const std::atomic<bool>* cancel = nullptr);
    const QList<SavedSearch>& savedSearches() const;
    void setSavedSearches(const QList<SavedSearch>& searches);
    // Keeps the current request in the sidebar and shows it, or shows the entry that already
    // keeps it.
    void saveCurrentSearch();
    // The words to highlight in names and recognised text.
    QStringList highlightQuery() const;
    const QString& findQuery() const { return m_findQuery; }
    void setFindQuery(const QString& text);
    FindMode findMode() const { return m_findMode; }
    void setFindMode(FindMode mode);
    // Whether the home page shows the results of the request rather than its suggestions.
    bool homeResults() const { return m_homeResults; }
    void setHomeResults(bool shown);
    const std::optional<QString>& similarTo() const { return m_similarTo; }
    void setSimilarTo(std::optional<QString> path);

Q_SIGNALS:
    void queryChanged();
    void parsedChanged();
    void searchSettledChanged();
    void shownItemsChanged();
    void sidebarChanged();
    void savedSearchesChanged();
    void findQueryChanged();
    void findModeChanged();
    void homeResultsChanged();
    void similarToChanged();

private:
    void markSearchDirty();
    // Marks the shown list for working out again, and drops one on its way from the pool.
    void dropVisibleItems();
    void cancelPreparation();
    // Lets go of a list, and a diff, on the pool rather than here.
    static void freeOnPool(QList<FileItem> list, std::optional<VisibleListDiff> diff);
    VisibleList::Inputs listInputs(const SidebarItem& entry, bool withIndex) const;
    void dropRemoved(const QSet<QString>& paths);

    const AppEnvironment m_env;
    AppSettings& m_settings;
    LibraryModel& m_library;
    const ImageIndexer& m_images;
    Organiser& m_organiser;
    const DuplicateScan& m_duplicates;
    Toast& m_toast;

    QString m_query;
    ParsedQuery m_parsed;
    bool m_searchSettled = true;
    bool m_homeResults = false;
    QTimer m_settleTimer;
    QList<FileItem> m_heldResults;
    SidebarItem m_sidebar;
    QString m_findQuery;
    FindMode m_findMode = FindMode::everything;
    std::optional<QString> m_similarTo;
    bool m_visibleDirty = true;
    QList<FileItem> m_visibleItems;
    std::optional<VisibleListDiff> m_shownDiff;
    quint64 m_listGeneration = 0;
    std::shared_ptr<std::atomic<bool>> m_preparing;  // set while a list is worked out on the pool
    QThreadPool m_pool;
};

}  // namespace fennic
