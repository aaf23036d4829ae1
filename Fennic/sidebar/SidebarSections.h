#pragma once

#include "SidebarSection.h"
#include "library/LibraryStats.h"
#include "model/FileItem.h"
#include "organise/Shelf.h"
#include "search/SavedSearch.h"

#include <QHash>
#include <QList>
#include <QStringList>

namespace fennic {

// What the sidebar lists, worked out from values the application model already holds: no
// file is read and no item list is filtered, so a rebuild costs next to nothing.
namespace SidebarSections {

// The values the sections are made of.
struct Sources {
    LibraryStats stats;
    QStringList defaultRoots;  // the default library folders, which can't be removed
    QStringList extraRoots;    // the folders the user added
    QStringList pinned;        // folders pinned to the sidebar, in pinning order
    Shelf shelf;
    QList<SavedSearch> savedSearches;
};

QList<SidebarSection> build(const Sources& sources);

// Icon names for a kind of file and for a download source, most specific first.
QStringList kindIconNames(FileKind kind);
QStringList downloadSourceIconNames(const QString& key);

}  // namespace SidebarSections
}  // namespace fennic
