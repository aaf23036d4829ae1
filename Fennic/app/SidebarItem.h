#pragma once

#include "model/FileKind.h"
#include "organise/CleanupKind.h"

#include <QString>
#include <QUuid>

namespace fennic {

// What the sidebar has selected. The general pages (home, recents, find images, duplicates,
// clean-up and its cards) search the whole library; every other entry searches its own files.
struct SidebarItem {
    enum class Kind : quint8 {
        home,
        recents,
        findImages,
        duplicates,
        cleanup,       // the clean-up overview
        cleanupCard,   // one clean-up rule's review (`cleanup`)
        kind,          // a kind shelf (`fileKind`)
        folder,        // a library folder (`path`)
        pinnedFolder,  // a folder pinned in the sidebar (`path`)
        collection,    // `id`
        tag,           // `name`
        savedSearch,   // `id`
        favourites,
        largeFiles,
        screenshots,
        downloadedFrom,  // a download source (`name` holds its key; empty: every downloaded file)
    };

    Kind kind = Kind::home;
    FileKind fileKind = FileKind::other;
    CleanupKind cleanup = CleanupKind::downloads;
    QString path;
    QString name;
    QUuid id;

    static SidebarItem home() { return {}; }
    static SidebarItem page(Kind k)
    {
        SidebarItem s;
        s.kind = k;
        return s;
    }
    static SidebarItem ofKind(FileKind k)
    {
        SidebarItem s = page(Kind::kind);
        s.fileKind = k;
        return s;
    }
    static SidebarItem cleanupCard(CleanupKind c)
    {
        SidebarItem s = page(Kind::cleanupCard);
        s.cleanup = c;
        return s;
    }
    static SidebarItem folder(const QString& p, bool pinned = false)
    {
        SidebarItem s = page(pinned ? Kind::pinnedFolder : Kind::folder);
        s.path = p;
        return s;
    }
    static SidebarItem collection(const QUuid& id)
    {
        SidebarItem s = page(Kind::collection);
        s.id = id;
        return s;
    }
    static SidebarItem tag(const QString& t)
    {
        SidebarItem s = page(Kind::tag);
        s.name = t;
        return s;
    }
    static SidebarItem savedSearch(const QUuid& id)
    {
        SidebarItem s = page(Kind::savedSearch);
        s.id = id;
        return s;
    }
    static SidebarItem downloadedFrom(const QString& key)
    {
        SidebarItem s = page(Kind::downloadedFrom);
        s.name = key;
        return s;
    }

    // Pages that search the whole library rather than their own files.
    bool isGeneral() const
    {
        return kind == Kind::home || kind == Kind::recents || kind == Kind::findImages || kind == Kind::duplicates
            || kind == Kind::cleanup || kind == Kind::cleanupCard;
    }

    friend bool operator==(const SidebarItem&, const SidebarItem&) = default;
};

}  // namespace fennic
