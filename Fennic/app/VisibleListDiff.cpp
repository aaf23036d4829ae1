#include "VisibleListDiff.h"

#include <algorithm>

namespace fennic {

namespace {

// Lists from one search share their strings, so most equal paths are the same buffer and the
// comparison never reads the characters.
bool samePath(const FileItem& a, const FileItem& b)
{
    return (a.path.constData() == b.path.constData() && a.path.size() == b.path.size()) || a.path == b.path;
}

// The fields a row shows that can change while the path stays (an edit, a rename of the kind).
bool sameFields(const FileItem& a, const FileItem& b)
{
    return a.size == b.size && a.modified == b.modified && a.added == b.added && a.kind == b.kind;
}

bool sameBuffer(const QList<FileItem>& a, const QList<FileItem>& b)
{
    return a.constData() == b.constData() && a.size() == b.size();
}

}  // namespace

VisibleListDiff VisibleListDiff::of(const QList<FileItem>& from, const QList<FileItem>& to)
{
    VisibleListDiff diff;
    diff.from = from;
    diff.to = to;
    // The very same list (a repaint asked for without a new list): nothing to compare.
    if (sameBuffer(from, to)) {
        diff.prefix = from.size();
        return diff;
    }
    const qsizetype oldCount = from.size();
    const qsizetype newCount = to.size();
    const qsizetype common = std::min(oldCount, newCount);
    qsizetype prefix = 0;
    while (prefix < common && samePath(from.at(prefix), to.at(prefix))) ++prefix;
    qsizetype suffix = 0;
    while (suffix < common - prefix && samePath(from.at(oldCount - 1 - suffix), to.at(newCount - 1 - suffix))) ++suffix;
    diff.prefix = prefix;
    diff.suffix = suffix;

    const auto noteChanges = [&](qsizetype oldStart, qsizetype newStart, qsizetype count) {
        for (qsizetype i = 0; i < count; ++i) {
            if (sameFields(from.at(oldStart + i), to.at(newStart + i))) continue;
            const qsizetype row = newStart + i;
            if (!diff.changed.empty() && diff.changed.back().second == row - 1)
                diff.changed.back().second = row;
            else
                diff.changed.emplace_back(row, row);
        }
    };
    noteChanges(0, 0, prefix);
    noteChanges(oldCount - suffix, newCount - suffix, suffix);
    return diff;
}

bool VisibleListDiff::isBetween(const QList<FileItem>& shown, const QList<FileItem>& next) const
{
    return sameBuffer(from, shown) && sameBuffer(to, next);
}

}  // namespace fennic
