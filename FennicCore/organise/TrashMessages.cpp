#include "TrashMessages.h"

#include "model/Fmt.h"

#include <QSet>

namespace fennic::TrashMessages {
namespace {

const QString kErrorSymbol = QStringLiteral("exclamationmark.triangle");
// On Linux a file open in another program can still be moved; what stops a move is a folder
// the user may not change, a read-only drive or an immutable file.
const QString kAdvice = QStringLiteral(". Check you have permission to move it.");

}  // namespace

std::optional<Notice> moveToTrash(const FileOps::TrashResult& result)
{
    QSet<QString> moved;
    for (const FileOps::TrashedItem& m : result.moved) moved.insert(m.item.path);
    const QString item = QStringLiteral("item");

    if (!result.failed.isEmpty()) {
        const QString subject = result.failed.size() == 1
            ? QStringLiteral("\u201c") + result.failed.first().displayName()
                             + QStringLiteral("\u201d") : Fmt::count(result.failed.size(), item);
        if (!moved.isEmpty()) {
            return Notice{QStringLiteral("Moved ") + Fmt::count(moved.size(), item)
                                         + QStringLiteral(" to the Trash, but couldn\u2019t move ") + subject + kAdvice,
                                                          kErrorSymbol, true, true, true};
        }
        return Notice{QStringLiteral("Couldn\u2019t move ") + subject + kAdvice, kErrorSymbol, true, false, false};
    }
    if (moved.isEmpty()) return std::nullopt;
    return Notice{QStringLiteral("Moved ") + Fmt::count(moved.size(), item)
                                 + QStringLiteral(" to the Trash"), QStringLiteral("trash"), false, true, true};
}

Notice putBack(qsizetype restored, qsizetype given)
{
    if (restored < given) {
        return Notice{QStringLiteral("Put back %1 of %2. The rest are still in the Trash.").arg(restored).arg(given),
                                     kErrorSymbol, true, false, false};
    }
    return Notice{QStringLiteral("Put back ")
                                 + Fmt::count(restored, QStringLiteral("item")),
                                              QStringLiteral("arrow.uturn.backward"), false, false, false};
}

}  // namespace fennic::TrashMessages
