#pragma once

#include "SidebarEntry.h"

#include <QList>
#include <QString>

namespace fennic {

// A titled group of sidebar rows. Sections always appear in the order of `Id`; those
// without rows (no tags yet, no saved searches) are left out.
struct SidebarSection {
    enum class Id : quint8 {
        library,
        kinds,
        folders,
        collections,
        tags,
        savedSearches,
        quickFilters,
    };

    Id id = Id::library;
    QString title;
    QList<SidebarEntry> entries;

    friend bool operator==(const SidebarSection&, const SidebarSection&) = default;
};

}  // namespace fennic
