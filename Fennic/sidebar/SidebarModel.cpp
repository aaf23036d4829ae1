#include "SidebarModel.h"

#include "SidebarSections.h"
#include "app/AppModel.h"
#include "app/LibraryModel.h"
#include "app/Organiser.h"
#include "app/SearchSession.h"
#include "library/Library.h"

#include <QMimeData>
#include <QSet>
#include <QUrl>

namespace fennic {

namespace {

// Children carry their section's id (plus one) as internal id, which stays valid while
// sections above come and go; top-level rows carry zero.
quintptr childTag(SidebarSection::Id id) { return static_cast<quintptr>(id) + 1; }

const QString kUriList = QStringLiteral("text/uri-list");

}  // namespace

SidebarModel::SidebarModel(AppModel& app, QObject* parent)
    : QAbstractItemModel(parent), m_app(app), m_defaultRoots(Library::defaultRoots())
{
    m_rebuildTimer.setObjectName(QStringLiteral("SidebarModel rebuild"));
    m_rebuildTimer.setSingleShot(true);
    m_rebuildTimer.setInterval(0);
    connect(&m_rebuildTimer, &QTimer::timeout, this, &SidebarModel::rebuild);

    LibraryModel& library = m_app.library();
    for (auto changed :
         {&LibraryModel::statsChanged, &LibraryModel::pinnedFoldersChanged, &LibraryModel::extraRootsChanged})
        connect(&library, changed, this, &SidebarModel::scheduleRebuild);
    connect(&m_app.organiser(), &Organiser::shelfChanged, this, &SidebarModel::scheduleRebuild);
    connect(&m_app.search(), &SearchSession::savedSearchesChanged, this, &SidebarModel::scheduleRebuild);
    rebuild();
}

void SidebarModel::scheduleRebuild() { m_rebuildTimer.start(); }

void SidebarModel::rebuild()
{
    m_rebuildTimer.stop();
    LibraryModel& library = m_app.library();
    SidebarSections::Sources sources;
    sources.stats = library.stats();
    sources.defaultRoots = m_defaultRoots;
    sources.extraRoots = library.extraRoots();
    sources.pinned = library.pinnedFolders();
    sources.shelf = m_app.organiser().shelf();
    sources.savedSearches = m_app.search().savedSearches();
    QList<SidebarSection> next = SidebarSections::build(sources);
    if (next == m_sections) return;
    Q_EMIT rowsAboutToBeUpdated();
    setSections(std::move(next));
    Q_EMIT rowsUpdated();
}

void SidebarModel::setSections(QList<SidebarSection> next)
{
    // Sections follow one fixed order, so dropping the ones that went and inserting the new
    // ones (each with its rows) lines the two lists up.
    const auto inNext = [&next](SidebarSection::Id id) {
        return std::any_of(next.cbegin(), next.cend(), [id](const SidebarSection& s) { return s.id == id; });
    };
    for (int row = static_cast<int>(m_sections.size()) - 1; row >= 0; --row) {
        if (inNext(m_sections[row].id)) continue;
        beginRemoveRows({}, row, row);
        m_sections.removeAt(row);
        endRemoveRows();
    }
    for (int row = 0; row < next.size(); ++row) {
        if (row < m_sections.size() && m_sections[row].id == next[row].id) continue;
        beginInsertRows({}, row, row);
        m_sections.insert(row, next[row]);
        endInsertRows();
    }
    for (int row = 0; row < next.size(); ++row) {
        if (m_sections[row].title != next[row].title) {
            m_sections[row].title = next[row].title;
            const QModelIndex header = index(row, 0);
            Q_EMIT dataChanged(header, header);
        }
        syncEntries(row, next[row].entries);
    }
}

void SidebarModel::syncEntries(int sectionRow, const QList<SidebarEntry>& next)
{
    const QModelIndex parent = index(sectionRow, 0);
    QList<SidebarEntry>& rows = m_sections[sectionRow].entries;

    QSet<QString> nextKeys;
    for (const SidebarEntry& e : next) nextKeys.insert(e.key());
    for (int row = static_cast<int>(rows.size()) - 1; row >= 0; --row) {
        if (nextKeys.contains(rows[row].key())) continue;
        beginRemoveRows(parent, row, row);
        rows.removeAt(row);
        endRemoveRows();
    }

    for (int row = 0; row < next.size(); ++row) {
        const QString key = next[row].key();
        if (row >= rows.size() || rows[row].key() != key) {
            int from = -1;
            for (int j = row + 1; j < rows.size(); ++j)
                if (rows[j].key() == key) {
                    from = j;
                    break;
                }
            if (from >= 0) {
                // Moved up (tags reorder by use): a move keeps the row's selection.
                beginMoveRows(parent, from, from, parent, row);
                rows.move(from, row);
                endMoveRows();
            } else {
                beginInsertRows(parent, row, row);
                rows.insert(row, next[row]);
                endInsertRows();
                continue;
            }
        }
        if (rows[row] != next[row]) {
            rows[row] = next[row];
            const QModelIndex changed = index(row, 0, parent);
            Q_EMIT dataChanged(changed, changed);
        }
    }
}

QModelIndex SidebarModel::index(int row, int column, const QModelIndex& parent) const
{
    if (column != 0 || row < 0) return {};
    if (!parent.isValid()) return row < m_sections.size() ? createIndex(row, 0, quintptr(0)) : QModelIndex();
    if (parent.internalId() != 0 || parent.row() >= m_sections.size()) return {};
    const SidebarSection& section = m_sections[parent.row()];
    return row < section.entries.size() ? createIndex(row, 0, childTag(section.id)) : QModelIndex();
}

QModelIndex SidebarModel::parent(const QModelIndex& child) const
{
    if (!child.isValid() || child.internalId() == 0) return {};
    const auto id = static_cast<SidebarSection::Id>(child.internalId() - 1);
    const int row = sectionRow(id);
    return row >= 0 ? createIndex(row, 0, quintptr(0)) : QModelIndex();
}

int SidebarModel::rowCount(const QModelIndex& parent) const
{
    if (!parent.isValid()) return static_cast<int>(m_sections.size());
    if (parent.internalId() != 0 || parent.row() >= m_sections.size()) return 0;
    return static_cast<int>(m_sections[parent.row()].entries.size());
}

int SidebarModel::columnCount(const QModelIndex&) const { return 1; }

int SidebarModel::sectionRow(SidebarSection::Id id) const
{
    for (int row = 0; row < m_sections.size(); ++row)
        if (m_sections[row].id == id) return row;
    return -1;
}

const SidebarEntry* SidebarModel::entry(const QModelIndex& index) const
{
    if (!index.isValid() || index.model() != this || index.internalId() == 0) return nullptr;
    const int section = sectionRow(static_cast<SidebarSection::Id>(index.internalId() - 1));
    if (section < 0 || index.row() >= m_sections[section].entries.size()) return nullptr;
    return &m_sections[section].entries[index.row()];
}

QModelIndex SidebarModel::indexOfSection(SidebarSection::Id id) const
{
    const int row = sectionRow(id);
    return row >= 0 ? index(row, 0) : QModelIndex();
}

QModelIndex SidebarModel::indexOf(const SidebarItem& item) const
{
    using K = SidebarItem::Kind;
    const auto shows = [&item](const SidebarItem& row) {
        if (row == item) return true;
        const bool folderRow = row.kind == K::folder || row.kind == K::pinnedFolder;
        const bool folderItem = item.kind == K::folder || item.kind == K::pinnedFolder;
        if (folderRow && folderItem) return row.path == item.path;
        return item.kind == K::cleanupCard && row.kind == K::cleanup;
    };
    for (int s = 0; s < m_sections.size(); ++s)
        for (int row = 0; row < m_sections[s].entries.size(); ++row)
            if (shows(m_sections[s].entries[row].item)) return index(row, 0, index(s, 0));
    return {};
}

QIcon SidebarModel::iconFor(const SidebarEntry& entry) const
{
    const QString cacheKey = entry.iconNames.join(u'|');
    auto it = m_icons.constFind(cacheKey);
    if (it != m_icons.cend()) return *it;
    QIcon icon;
    for (const QString& name : entry.iconNames)
        if (QIcon::hasThemeIcon(name)) {
            icon = QIcon::fromTheme(name);
            break;
        }
    if (icon.isNull() && !entry.iconNames.isEmpty()) icon = QIcon::fromTheme(entry.iconNames.constLast());
    m_icons.insert(cacheKey, icon);
    return icon;
}

QVariant SidebarModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid()) return {};
    if (index.internalId() == 0) {
        if (index.row() >= m_sections.size()) return {};
        const SidebarSection& section = m_sections[index.row()];
        switch (role) {
        case Qt::DisplayRole:
        case Qt::AccessibleTextRole: return section.title;
        case Qt::AccessibleDescriptionRole: return QStringLiteral("Section");
        case IsSectionRole: return true;
        default: return {};
        }
    }
    const SidebarEntry* e = entry(index);
    if (!e) return {};
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole: return e->title;
    case Qt::DecorationRole: return iconFor(*e);
    case Qt::ToolTipRole: return e->toolTip.isEmpty() ? QVariant() : QVariant(e->toolTip);
    case Qt::AccessibleTextRole: return e->accessibleText();
    case Qt::AccessibleDescriptionRole: return e->toolTip.isEmpty() ? QVariant() : QVariant(e->toolTip);
    case CountRole: return e->count ? QVariant::fromValue(*e->count) : QVariant();
    case IsSectionRole: return false;
    case TintRole: return e->tint ? QVariant(static_cast<int>(*e->tint)) : QVariant();
    case PinnedRole: return e->pinned;
    case KeyRole: return e->key();
    default: return {};
    }
}

bool SidebarModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    const SidebarEntry* e = entry(index);
    if (!e || role != Qt::EditRole || !e->isRenamable()) return false;
    const QString name = value.toString().trimmed();
    if (name.isEmpty()) return false;
    if (name == e->title) return true;
    const SidebarItem item = e->item;
    if (item.kind == SidebarItem::Kind::collection) {
        Shelf shelf = m_app.organiser().shelf();
        shelf.rename(item.id, name);
        m_app.organiser().setShelf(shelf);
    } else {
        QList<SavedSearch> searches = m_app.search().savedSearches();
        for (SavedSearch& s : searches)
            if (s.id == item.id) s.name = name;
        m_app.search().setSavedSearches(searches);
    }
    // Shown at once rather than after the rebuild the change schedules.
    rebuild();
    return true;
}

Qt::ItemFlags SidebarModel::flags(const QModelIndex& index) const
{
    const SidebarEntry* e = entry(index);
    if (!e) return Qt::NoItemFlags;
    Qt::ItemFlags f = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
    if (e->isRenamable()) f |= Qt::ItemIsEditable;
    if (e->acceptsFiles()) f |= Qt::ItemIsDropEnabled;
    return f;
}

QStringList SidebarModel::mimeTypes() const { return {kUriList}; }

Qt::DropActions SidebarModel::supportedDropActions() const
{
    // Dropping never moves a file: it only adds it to the shelf.
    return Qt::CopyAction | Qt::LinkAction | Qt::MoveAction;
}

bool SidebarModel::canDropMimeData(const QMimeData* data, Qt::DropAction, int row, int, const QModelIndex& parent) const
{
    // Only onto an entry (row -1), never between rows; the library check waits for the drop,
    // as it goes over every item.
    const SidebarEntry* target = entry(parent);
    if (!data || row != -1 || !target || !target->acceptsFiles()) return false;
    const QList<QUrl> urls = data->urls();
    return std::any_of(urls.cbegin(), urls.cend(), [](const QUrl& url) { return url.isLocalFile(); });
}

bool SidebarModel::dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                                const QModelIndex& parent)
{
    if (!canDropMimeData(data, action, row, column, parent)) return false;
    const SidebarItem target = entry(parent)->item;
    const QList<FileItem> files = libraryFiles(data);
    if (files.isEmpty()) return false;
    Organiser& organiser = m_app.organiser();
    switch (target.kind) {
    case SidebarItem::Kind::collection: organiser.addToCollection(files, target.id); break;
    case SidebarItem::Kind::tag: organiser.addTag(target.name, files); break;
    case SidebarItem::Kind::favourites: {
        // Stars the files not starred yet; a drop never takes a star away.
        QList<FileItem> unstarred;
        for (const FileItem& f : files)
            if (!organiser.shelf().isFavourite(f.path)) unstarred << f;
        if (!unstarred.isEmpty()) organiser.toggleFavourite(unstarred);
        break;
    }
    default: return false;
    }
    return true;
}

QList<FileItem> SidebarModel::libraryFiles(const QMimeData* data) const
{
    QStringList order;
    QHash<QString, FileItem> found;
    for (const QUrl& url : data->urls())
        if (url.isLocalFile() && !found.contains(url.toLocalFile())) {
            order << url.toLocalFile();
            found.insert(order.last(), FileItem{});
        }
    QList<FileItem> files;
    if (order.isEmpty()) return files;
    for (const FileItem& item : m_app.library().items()) {
        auto it = found.find(item.path);
        if (it != found.end()) *it = item;
    }
    // In the order they were dropped, which is the order a collection keeps.
    for (const QString& path : std::as_const(order))
        if (const FileItem& item = found[path]; !item.path.isEmpty()) files << item;
    return files;
}

}  // namespace fennic
