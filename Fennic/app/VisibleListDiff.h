#pragma once

#include "model/FileItem.h"

#include <QList>
#include <utility>
#include <vector>

namespace fennic {

// How one shown list turns into the next, as the browser tells its views: the rows kept at
// the start and at the end, and, among those, runs of rows whose shown details changed. What
// lies between the kept ends is replaced. Comparing two long lists reads every row of both,
// which takes longer than a frame; the search session works it out on its own thread beside
// the new list, so the GUI thread only announces the ranges.
//
// The two lists are held (implicitly shared), so the diff can tell whether it is the one for
// a given pair of lists by their identity alone: a diff applies only to the very lists it was
// made from.
struct VisibleListDiff {
    QList<FileItem> from;
    QList<FileItem> to;
    qsizetype prefix = 0;  // rows equal by path at the start of both lists
    qsizetype suffix = 0;  // and at the end, not overlapping the prefix
    // Rows of `to` in the kept ends whose size, dates or kind changed: first and last row of
    // each run, in order.
    std::vector<std::pair<qsizetype, qsizetype>> changed;

    // Compares the lists row by row from both ends. Any thread.
    static VisibleListDiff of(const QList<FileItem>& from, const QList<FileItem>& to);
    // Whether this is the diff from `shown` to `next`: the same list buffers, not merely equal
    // lists. Constant time.
    bool isBetween(const QList<FileItem>& shown, const QList<FileItem>& next) const;
};

}  // namespace fennic
