#pragma once

#include "app/SidebarItem.h"

#include <QString>
#include <optional>

namespace fennic {

// What the browser says when it has nothing to show, and why: the library is still being
// read, it is empty, a request found nothing (only once it has settled, so the message never
// flashes while a word is half typed), or a sidebar entry holds nothing yet.
namespace EmptyStates {

struct Message {
    QString iconName;
    QString title;
    QString detail;
    friend bool operator==(const Message&, const Message&) = default;
};

struct Situation {
    qsizetype shown = 0;         // files on screen
    qsizetype libraryCount = 0;  // files in the library
    bool scanning = false;
    bool hasFilters = false;  // the request became filters
    bool settled = true;      // the request has settled
    QString request;          // as typed
    SidebarItem sidebar;
};

std::optional<Message> forSituation(const Situation& situation);

}  // namespace EmptyStates

}  // namespace fennic
