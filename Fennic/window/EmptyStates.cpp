#include "EmptyStates.h"

namespace fennic::EmptyStates {

std::optional<Message> forSituation(const Situation& s)
{
    if (s.shown > 0) return std::nullopt;
    if (s.libraryCount == 0) {
        if (s.scanning)
            return Message{
                QStringLiteral("folder-saved-search"),
                               QStringLiteral("Reading your folders…"),
                                              QStringLiteral("Your files appear here as Fennic finds them.")};
        return Message{
            QStringLiteral("folder"),
                           QStringLiteral("No files yet"),
                                          QStringLiteral("Add a folder with Ctrl+Shift+O, or scan again with Ctrl+R.")};
    }
    if (s.hasFilters) {
        // Until the request settles the last results stay up; say nothing meanwhile.
        if (!s.settled) return std::nullopt;
        return Message{QStringLiteral("edit-find"),
            QStringLiteral("No results"),
                QStringLiteral("Nothing matches “%1”. Try fewer words or a wider date.") .arg(s.request.trimmed())};
    }
    using K = SidebarItem::Kind;
    switch (s.sidebar.kind) {
    case K::favourites:
        return Message{QStringLiteral("starred"),
                                      QStringLiteral("No favourites yet"),
                                                     QStringLiteral("Select a file and press Ctrl+D to keep it here.")};
    case K::collection:
        return Message{QStringLiteral("view-paged"),
            QStringLiteral("This collection is empty"),
                QStringLiteral("Drag files onto it in the sidebar, or use Add to Collection (Ctrl+Shift+A).")};
    case K::tag:
        return Message{QStringLiteral("bookmark-new"), QStringLiteral("Nothing carries this tag"), QStringLiteral("Tag files with Ctrl+T.")};
    case K::screenshots:
        return Message{QStringLiteral("applets-screenshooter"),
                                      QStringLiteral("No screenshots"),
                                                     QStringLiteral("Screenshots you take appear here.")};
    case K::largeFiles:
        return Message{QStringLiteral("drive-harddisk"),
                                      QStringLiteral("No large files"),
                                                     QStringLiteral("Nothing in your library is over 100 MB.")};
    case K::downloadedFrom:
        return Message{
            QStringLiteral("folder-download"),
                           QStringLiteral("No downloads from here"),
                                          QStringLiteral("Files your browser saved from this place appear here.")};
    case K::recents:
        return Message{QStringLiteral("document-open-recent"),
                                      QStringLiteral("Nothing recent"),
                                                     QStringLiteral("Files you added or changed lately appear here.")};
    default: return Message{QStringLiteral("folder"), QStringLiteral("Nothing here"), QString()};
    }
}

}  // namespace fennic::EmptyStates
