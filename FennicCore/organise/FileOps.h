#pragma once

#include "model/FileItem.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

namespace fennic {

// The only place where Fennic removes a user's file, and it never deletes: every removal is a
// move to the freedesktop.org Trash that remembers where each file went, so that one Undo can
// put the files back. Both operations run synchronously on the caller's thread (one rename per
// file) and treat every file on its own: a failure never stops the batch.
namespace FileOps {

// One file that reached the Trash and where it lies there.
struct TrashedItem {
    FileItem item;
    std::optional<QString> trashed;  // absolute path inside a Trash "files" folder
};

// Every input item lands in exactly one of `moved` and `failed`, each in input order.
struct TrashResult {
    QList<TrashedItem> moved;
    QList<FileItem> failed;
    QStringList reasons;  // why, one per entry of `failed`, as the system described it
};

// Moves each item to the Trash: the home Trash under the XDG data folder (made, with mode
// 0700, when missing) or, for files on another volume, that volume's own Trash. A file that
// is locked, vanished or cannot be moved fails on its own and writes
// "Fennic: could not trash PATH: REASON" to the system log. A place the system reports that
// is not inside a Trash folder counts as a failure, and the file is moved back.
TrashResult trash(const QList<FileItem>& items);

// Restores what trash() moved: each file goes back to its path (its folder is made again if it
// was deleted) and its ".trashinfo" entry is removed, so the Trash no longer lists it. A file
// without a Trash location, or whose former place is occupied by anything, stays in the
// Trash: nothing is ever overwritten. Returns the items that are back, in input order.
QList<FileItem> putBack(const QList<TrashedItem>& moved);

// Renames a file or folder without ever replacing what is at `to`: false, with errno set
// (EEXIST when the name is taken), when it cannot. On a file system without an atomic
// no-replace rename, a hard link stands in for files.
bool moveNoReplace(const QString& from, const QString& to);

// The home Trash folder ($XDG_DATA_HOME/Trash), made with its "files" and "info" folders
// (mode 0700) when missing; none when it cannot be made.
std::optional<QString> homeTrash();

// Where the failure lines go; the system log (syslog) unless replaced. For tests; not
// thread-safe, set it before trashing.
using LogSink = std::function<void(const QString& line)>;
void setLogSink(LogSink sink);

}  // namespace FileOps
}  // namespace fennic
