#pragma once

#include "SidebarItem.h"
#include "images/ImageRecord.h"
#include "library/Lately.h"
#include "model/Calendar.h"
#include "model/Date.h"
#include "model/FileItem.h"
#include "organise/CleanupKind.h"
#include "organise/DuplicateGroup.h"
#include "organise/Shelf.h"
#include "search/SavedSearch.h"
#include "search/SearchContext.h"
#include "search/SearchFilter.h"
#include "search/SearchIndex.h"
#include "search/SortKey.h"

#include <QHash>
#include <QList>
#include <atomic>
#include <memory>
#include <optional>

// The list a sidebar entry and a request select, worked out from a snapshot of everything it
// depends on. The snapshot holds implicitly shared copies (and the library's search index by
// shared pointer), so it is cheap to take on the GUI thread and safe to work from on a pool
// thread while the library moves on.
namespace fennic::VisibleList {

struct Inputs {
    // The library.
    QList<FileItem> items;
    std::shared_ptr<const SearchIndex> index;  // built for `items`
    QList<Lately::Group> lately;
    QList<CleanupKinds::Suggestion> suggestions;
    QList<DuplicateGroup> duplicates;
    QList<DuplicateGroup> lookalikes;
    Shelf shelf;
    QList<SavedSearch> savedSearches;
    QHash<QString, ImageRecord> records;
    SearchContext::Lookups lookups;
    // For parsing saved searches.
    Date now;
    Calendar calendar;
    QString home;
    // What is asked for.
    SidebarItem sidebar;
    QList<SearchFilter> filters;
    SortKey sortKey = SortKey::dateAdded;
    bool ascending = false;
    std::optional<QString> similarTo;
};

// The files of the sidebar entry before any request, unordered.
QList<FileItem> base(const Inputs& in);

// The entry's files, filtered by the request and ordered: by how well a picture fits the
// description when the request describes one, by nearness for "more like this", otherwise by
// the sort settings. `cancel`, when given and set, ends the work early with a partial list
// that nobody should show.
QList<FileItem> compute(const Inputs& in, const std::atomic<bool>* cancel = nullptr);

}  // namespace fennic::VisibleList
