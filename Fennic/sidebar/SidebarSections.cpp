#include "SidebarSections.h"

#include "library/Library.h"
#include "model/DownloadSource.h"

#include <QFileInfo>
#include <QSet>
#include <algorithm>

namespace fennic::SidebarSections {

namespace {

using K = SidebarItem::Kind;

SidebarEntry entry(SidebarItem item, QString title, QStringList icons, std::optional<qint64> count = std::nullopt)
{
    SidebarEntry e;
    e.item = std::move(item);
    e.title = std::move(title);
    e.iconNames = std::move(icons);
    e.count = count;
    return e;
}

QString folderTitle(const QString& path)
{
    const QString name = QFileInfo(path).fileName();
    return name.isEmpty() ? path : name;
}

// The default folders have icons of their own in every freedesktop theme.
QStringList folderIconNames(const QString& path, const QStringList& defaultRoots)
{
    static const QStringList byName[] = {
        {QStringLiteral("user-desktop")},   {QStringLiteral("folder-documents")}, {QStringLiteral("folder-download")},
        {QStringLiteral("folder-pictures")}, {QStringLiteral("folder-videos")},   {QStringLiteral("folder-music")},
    };
    const auto index = defaultRoots.indexOf(path);
    QStringList names;
    if (index >= 0 && index < static_cast<qsizetype>(std::size(byName))) names = byName[index];
    names << QStringLiteral("folder");
    return names;
}

SidebarSection librarySection()
{
    return {SidebarSection::Id::library,
            QStringLiteral("Library"),
                {
                    entry(SidebarItem::home(),
                          QStringLiteral("Home"), {QStringLiteral("go-home"), QStringLiteral("user-home")}),
                              entry(SidebarItem::page(K::recents),
                                    QStringLiteral("Recents"),
                                        {QStringLiteral("document-open-recent"), QStringLiteral("appointment-soon")}),
                                        entry(SidebarItem::page(K::findImages),
                                              QStringLiteral("Find Images"),
                                                  {QStringLiteral("image-x-generic"), QStringLiteral("edit-find")}),
                                                  entry(SidebarItem::page(K::duplicates),
                                                        QStringLiteral("Duplicates"),
                                                            {QStringLiteral("edit-copy"),
                                                                            QStringLiteral("document-multiple")}),
                                                            entry(SidebarItem::page(K::cleanup),
                                                                  QStringLiteral("Clean-up"),
                                                                      {QStringLiteral("edit-clear-all"),
                                                                                      QStringLiteral("user-trash")}),
                                                            }};
}

SidebarSection kindsSection(const LibraryStats& stats)
{
    SidebarSection section{SidebarSection::Id::kinds, QStringLiteral("Kinds"), {}};
    for (FileKind kind : FileKinds::shelves) {
        const qint64 count = stats.total(kind).count;
        if (count <= 0) continue;
        SidebarEntry e = entry(SidebarItem::ofKind(kind), FileKinds::title(kind), kindIconNames(kind), count);
        e.tint = kind;
        section.entries << e;
    }
    return section;
}

SidebarSection foldersSection(const Sources& in)
{
    SidebarSection section{SidebarSection::Id::folders, QStringLiteral("Folders"), {}};
    QSet<QString> listed;
    const auto add = [&](const QString& path, bool pinned) {
        if (path.isEmpty() || listed.contains(path)) return;
        listed.insert(path);
        SidebarEntry e =
            entry(SidebarItem::folder(path, pinned), folderTitle(path), folderIconNames(path, in.defaultRoots));
        e.pinned = pinned;
        e.removable = in.extraRoots.contains(path);
        e.toolTip = pinned ? QStringLiteral("%1 (pinned)").arg(Library::abbreviate(path)) : Library::abbreviate(path);
        section.entries << e;
    };
    // Pinned folders come first, so a pinned library folder is listed once, marked pinned.
    for (const QString& path : in.pinned) add(path, true);
    for (const QString& path : in.defaultRoots) add(path, false);
    for (const QString& path : in.extraRoots) add(path, false);
    return section;
}

SidebarSection collectionsSection(const Shelf& shelf)
{
    SidebarSection section{SidebarSection::Id::collections, QStringLiteral("Collections"), {}};
    SidebarEntry favourites =
        entry(SidebarItem::page(K::favourites),
              QStringLiteral("Favourites"),
                             {QStringLiteral("starred"), QStringLiteral("emblem-favorite")}, shelf.favourites().size());
    favourites.toolTip = QStringLiteral("Starred files; drop files here to star them");
    section.entries << favourites;
    for (const FileCollection& c : shelf.collections()) {
        SidebarEntry e = entry(SidebarItem::collection(c.id), c.name,
                               {QStringLiteral("folder-documents"), QStringLiteral("folder")}, c.paths.size());
        e.toolTip = QStringLiteral("Collection “%1”; drop files here to add them").arg(c.name);
        section.entries << e;
    }
    return section;
}

SidebarSection tagsSection(const Shelf& shelf)
{
    SidebarSection section{SidebarSection::Id::tags, QStringLiteral("Tags"), {}};
    for (const Shelf::TagCount& t : shelf.allTags()) {
        SidebarEntry e =
            entry(SidebarItem::tag(t.tag), t.tag,
                  {QStringLiteral("tag"), QStringLiteral("mail-attachment"), QStringLiteral("bookmark-new")}, t.count);
        e.toolTip = QStringLiteral("Files tagged #%1; drop files here to tag them").arg(t.tag);
        section.entries << e;
    }
    return section;
}

SidebarSection savedSearchesSection(const QList<SavedSearch>& searches)
{
    SidebarSection section{SidebarSection::Id::savedSearches, QStringLiteral("Saved Searches"), {}};
    for (const SavedSearch& s : searches) {
        SidebarEntry e = entry(SidebarItem::savedSearch(s.id), s.name,
                               {QStringLiteral("folder-saved-search"), QStringLiteral("system-search")});
        e.toolTip = s.query;
        section.entries << e;
    }
    return section;
}

SidebarSection quickFiltersSection(const Sources& in)
{
    SidebarSection section{SidebarSection::Id::quickFilters, QStringLiteral("Quick Filters"), {}};
    SidebarEntry large = entry(SidebarItem::page(K::largeFiles),
                               QStringLiteral("Large Files"), {QStringLiteral("drive-harddisk")}, in.stats.largeFiles);
    large.toolTip = QStringLiteral("Files over 100 MB");
    section.entries << large;
    section.entries << entry(SidebarItem::page(K::screenshots),
                             QStringLiteral("Screenshots"),
                                            {QStringLiteral("applets-screenshooter"), QStringLiteral("camera-photo")},
                                             in.stats.screenshots);

    // Most files first; ties by name, so the order holds still between rebuilds.
    QList<DownloadSource> sources;
    for (auto it = in.stats.bySource.cbegin(); it != in.stats.bySource.cend(); ++it)
        if (it.value() > 0) sources << DownloadSource::sourceFor(it.key());
    std::sort(sources.begin(), sources.end(), [&](const DownloadSource& a, const DownloadSource& b) {
        const qint64 ca = in.stats.bySource.value(a.key), cb = in.stats.bySource.value(b.key);
        if (ca != cb) return ca > cb;
        const int byName = a.name.compare(b.name, Qt::CaseInsensitive);
        return byName != 0 ? byName < 0 : a.key < b.key;
    });
    for (const DownloadSource& s : std::as_const(sources)) {
        SidebarEntry e = entry(SidebarItem::downloadedFrom(s.key),
                               QStringLiteral("From %1").arg(s.name), downloadSourceIconNames(s.key),
                                              in.stats.bySource.value(s.key));
        e.toolTip = QStringLiteral("Downloaded from %1").arg(s.name);
        section.entries << e;
    }
    return section;
}

}  // namespace

QList<SidebarSection> build(const Sources& sources)
{
    QList<SidebarSection> sections{librarySection(),
                                   kindsSection(sources.stats),
                                   foldersSection(sources),
                                   collectionsSection(sources.shelf),
                                   tagsSection(sources.shelf),
                                   savedSearchesSection(sources.savedSearches),
                                   quickFiltersSection(sources)};
    sections.removeIf([](const SidebarSection& s) { return s.entries.isEmpty(); });
    return sections;
}

QStringList kindIconNames(FileKind kind)
{
    switch (kind) {
    case FileKind::image: return {QStringLiteral("image-x-generic")};
    case FileKind::video: return {QStringLiteral("video-x-generic")};
    case FileKind::music: return {QStringLiteral("audio-x-generic")};
    case FileKind::document: return {QStringLiteral("x-office-document"), QStringLiteral("text-x-generic")};
    case FileKind::archive: return {QStringLiteral("package-x-generic"), QStringLiteral("application-x-archive")};
    case FileKind::app: return {QStringLiteral("application-x-executable"), QStringLiteral("applications-other")};
    case FileKind::other: break;
    }
    return {QStringLiteral("text-x-generic")};
}

QStringList downloadSourceIconNames(const QString& key)
{
    QStringList names;
    if (key == QLatin1String("gmail"))
        names << QStringLiteral("mail-unread") << QStringLiteral("internet-mail");
    else if (key == QLatin1String("drive") || key == QLatin1String("dropbox"))
        names << QStringLiteral("folder-remote");
    else if (key == QLatin1String("slack") || key == QLatin1String("whatsapp") || key == QLatin1String("telegram")
             || key == QLatin1String("discord"))
        names << QStringLiteral("user-available") << QStringLiteral("mail-send");
    else if (key.startsWith(QLatin1String("site:")))
        names << QStringLiteral("web-browser") << QStringLiteral("applications-internet");
    names << QStringLiteral("folder-download") << QStringLiteral("emblem-downloads");
    return names;
}

}  // namespace fennic::SidebarSections
