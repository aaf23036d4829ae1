#pragma once

#include "model/FileItem.h"

#include <QList>
#include <QString>
#include <QStringView>
#include <array>
#include <optional>
#include <vector>

namespace fennic {

// The order of a file list. Raw values are stored in the settings, so they are part of the
// persistent format.
enum class SortKey : quint8 {
    dateAdded,
    dateModified,
    name,
    size,
    kind
};

namespace SortKeys {

inline constexpr std::array<SortKey, 5> allCases{SortKey::dateAdded, SortKey::dateModified, SortKey::name,
                                                 SortKey::size, SortKey::kind};

QString rawValue(SortKey key);  // "dateAdded", ... (also the id)
QString title(SortKey key);     // "Date Added", ...
// None for an unknown string; the caller then keeps its default.
std::optional<SortKey> fromRawValue(QStringView raw);

// The items in the key's order; `ascending` false gives the reverse. Stable: items that
// compare equal keep their incoming order. Names compare as people expect (case-insensitive,
// digit runs by value: "file 2" before "file 10", in the default locale); `kind` orders by
// the kind's raw name and, within a kind, always by ascending name.
QList<FileItem> sort(SortKey key, const QList<FileItem>& items, bool ascending);
// The same over positions into `items`, without copying items.
void sortPositions(SortKey key, const QList<FileItem>& items, std::vector<qsizetype>& positions, bool ascending);
// The first `count` of what sortPositions gives, in the same order, and only those: `positions`
// is cut down to them. For a few out of many by a date or the size, far cheaper than sorting
// them all (a selection, not a sort, of the rest).
void firstPositions(SortKey key, const QList<FileItem>& items, std::vector<qsizetype>& positions, bool ascending,
                    size_t count);

}  // namespace SortKeys

// How a list is shown.
enum class ViewMode : quint8 {
    grid,
    list
};

namespace ViewModes {
QString rawValue(ViewMode mode);  // "grid", "list"
std::optional<ViewMode> fromRawValue(QStringView raw);
}  // namespace ViewModes

}  // namespace fennic
