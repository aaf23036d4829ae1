#pragma once

#include "model/FileItem.h"

#include <QList>
#include <QSet>
#include <QString>
#include <QUuid>

namespace fennic {

// Copies of one file (exact duplicates) or pictures that look alike, with the one member to
// keep. `keep` is always the path of one of `files`; the review page may point it at another
// member ("Keep this copy instead"). A plain value.
struct DuplicateGroup {
    QUuid id;               // drawn when the group is made
    QList<FileItem> files;  // two or more members
    QString keep;           // the member to keep
    bool isLookalike = false;

    // The members other than `keep`, in order: what the clean-up button sends to the Trash.
    QList<FileItem> toTrash() const;
    // The sum of the sizes of toTrash().
    qint64 reclaimable() const;

    // The groups without the members whose paths are in `removed` (files that left the
    // library). A group whose kept member went keeps its first remaining member instead; a
    // group left with fewer than two members is dropped. Order is kept.
    static QList<DuplicateGroup> prune(const QList<DuplicateGroup>& groups, const QSet<QString>& removed);
};

}  // namespace fennic
