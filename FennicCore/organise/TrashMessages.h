#pragma once

#include "FileOps.h"

#include <QString>
#include <optional>

namespace fennic {

// The notices that end a Trash action or an Undo, as the app model shows them in its toast.
namespace TrashMessages {

struct Notice {
    QString text;
    QString symbol;  // icon name
    bool isError = false;
    bool offersUndo = false;  // carries the "Undo" action that puts the moved files back
    bool playsSound = false;  // the Trash sound, when anything moved

    friend bool operator==(const Notice&, const Notice&) = default;
};

// After FileOps::trash: "Moved 3 items to the Trash" with Undo; when some failed, which ones
// (“name” for one, "2 items" for more) and what to check; none for an empty result.
std::optional<Notice> moveToTrash(const FileOps::TrashResult& result);

// After FileOps::putBack: "Put back 3 items", or "Put back 1 of 2. The rest are still in the
// Trash." when not every file could go back.
Notice putBack(qsizetype restored, qsizetype given);

}  // namespace TrashMessages
}  // namespace fennic
