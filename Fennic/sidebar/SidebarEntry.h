#pragma once

#include "app/SidebarItem.h"
#include "model/FileKind.h"

#include <QString>
#include <QStringList>
#include <optional>

namespace fennic {

// One row of the sidebar below a section header: what it selects and how it is shown.
// A plain value; the sidebar's model compares old and new rows by `key()` to update in place.
struct SidebarEntry {
    SidebarItem item;
    QString title;
    // Number of files, shown on the right; none where counting would be costly.
    std::optional<qint64> count;
    // Icon names in order of preference; the first the icon theme has is drawn.
    QStringList iconNames;
    QString toolTip;
    // The kind whose tint backs the icon in the playful theme.
    std::optional<FileKind> tint;
    bool pinned = false;
    // A folder the user added, which may be taken out of the library again.
    bool removable = false;

    // The identity of the row: the same entry keeps its key while its title or count change.
    QString key() const;
    // What a screen reader says: the title and, when known, the count ("Images, 1,204 files").
    QString accessibleText() const;
    // Whether files may be dropped on it (collections, tags and Favourites).
    bool acceptsFiles() const;
    // Collections and saved searches may be renamed.
    bool isRenamable() const;

    friend bool operator==(const SidebarEntry&, const SidebarEntry&) = default;
};

}  // namespace fennic
