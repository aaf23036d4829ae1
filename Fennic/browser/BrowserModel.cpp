#include "BrowserModel.h"

#include "library/Library.h"
#include "model/Fmt.h"
#include "thumbnails/ThumbnailLoader.h"
#include "thumbnails/ThumbnailMaker.h"

#include "system/WorkerPool.h"

#include <QCoreApplication>
#include <QDir>
#include <QMimeData>
#include <QMimeDatabase>
#include <QPointer>
#include <QThreadPool>
#include <QUrl>
#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace fennic {

namespace {

// Lists from one search share their strings, so most equal paths are the same buffer and the
// comparison never reads the characters.
bool samePath(const FileItem& a, const FileItem& b)
{
    return (a.path.constData() == b.path.constData() && a.path.size() == b.path.size()) || a.path == b.path;
}

// Holds a list while it is replaced and, when it was its last holder, lets the pool free it.
struct DisposeOnPool {
    QList<FileItem> list;
    explicit DisposeOnPool(QList<FileItem> held) : list(std::move(held)) { }
    DisposeOnPool(const DisposeOnPool&) = delete;
    DisposeOnPool& operator=(const DisposeOnPool&) = delete;
    ~DisposeOnPool()
    {
        if (list.size() > 1000 && list.isDetached()) WorkerPool::shared()->start([gone = std::move(list)] {});
    }
};

ThumbnailLoader::Request requestFor(const FileItem& item)
{
    return {item.path, item.ext, qint64(std::floor(item.modified.toUnix()))};
}

}  // namespace

BrowserModel::BrowserModel(ThumbnailLoader& thumbnails, QObject* parent)
    : QAbstractTableModel(parent), m_thumbnails(thumbnails), m_home(Library::home())
{
    connect(&m_thumbnails, &ThumbnailLoader::ready, this, [this](const QString& path) {
        m_picturesLanded.insert(path);
        if (!m_picturesTimer.isActive()) m_picturesTimer.start();
    });
    // Pictures land one by one; announced together they make one repaint of the view, not one
    // per card (many small areas to repaint also make the paint engine blend every picture row
    // by row instead of copying it).
    m_picturesTimer.setObjectName(QStringLiteral("BrowserModel pictures"));
    m_picturesTimer.setSingleShot(true);
    m_picturesTimer.setInterval(16);
    connect(&m_picturesTimer, &QTimer::timeout, this, &BrowserModel::announcePictures);
}

BrowserModel::Change BrowserModel::setItems(const QList<FileItem>& items, const VisibleListDiff* diff)
{
    // The list going out is let go of on the pool (after everything below that holds it):
    // freeing 130,000 files' strings is a stall of its own.
    const DisposeOnPool outgoing{m_items};
    if (wouldReset(items)) {
        beginResetModel();
        m_items = items;
        m_rowsStale = true;
        endResetModel();
        return Change::reset;
    }

    // A diff worked out elsewhere is taken only for the very lists it was made from; any other
    // pair is compared here, which for long lists takes more than a frame.
    VisibleListDiff computed;
    if (!diff || !diff->isBetween(m_items, items)) {
        computed = VisibleListDiff::of(m_items, items);
        diff = &computed;
    }
    const qsizetype oldCount = m_items.size();
    const qsizetype newCount = items.size();
    const qsizetype prefix = diff->prefix;
    const qsizetype suffix = diff->suffix;

    // No row is copied: the new list is taken whole, and while a replaced stretch is on its
    // way out, rows past the new stretch are read from the old list (see item()).
    const qsizetype removed = oldCount - prefix - suffix;
    const qsizetype inserted = newCount - prefix - suffix;
    if (inserted > 0) {
        beginInsertRows({}, int(prefix), int(prefix + inserted - 1));
        if (removed > 0) {
            m_leaving = m_items;
            m_leavingFrom = prefix + inserted;
            m_leavingShift = inserted;
        }
        m_items = items;
        m_rowsStale = true;
        endInsertRows();
    }
    if (removed > 0) {
        beginRemoveRows({}, int(prefix + inserted), int(prefix + inserted + removed - 1));
        m_leaving = {};
        m_leavingFrom = -1;
        m_leavingShift = 0;
        m_items = items;
        m_rowsStale = true;
        endRemoveRows();
    }
    // Keep the new values of changed fields (and share the caller's list).
    if (inserted == 0 && removed == 0) m_items = items;
    for (const auto& [first, last] : diff->changed)
        Q_EMIT dataChanged(index(int(first), 0), index(int(last), kColumnCount - 1));
    return removed > 0 || inserted > 0 ? Change::ranges : Change::none;
}

bool BrowserModel::wouldReset(const QList<FileItem>& items) const
{
    return !m_items.isEmpty() && !items.isEmpty() && !samePath(m_items.first(), items.first())
        && !samePath(m_items.last(), items.last());
}

int BrowserModel::rowOf(const QString& path) const
{
    if (m_rowsStale) {
        m_rows.clear();
        m_rows.reserve(m_items.size());
        for (qsizetype i = 0; i < m_items.size(); ++i) m_rows.insert(m_items.at(i).path, int(i));
        m_rowsStale = false;
    }
    return m_rows.value(path, -1);
}

QString BrowserModel::title(Column column)
{
    switch (column) {
    case Column::name: return tr("Name");
    case Column::kind: return tr("Kind");
    case Column::size: return tr("Size");
    case Column::dateAdded: return tr("Date Added");
    case Column::dateModified: return tr("Date Modified");
    case Column::folder: return tr("Folder");
    }
    return {};
}

std::optional<SortKey> BrowserModel::sortKeyFor(Column column)
{
    switch (column) {
    case Column::name: return SortKey::name;
    case Column::kind: return SortKey::kind;
    case Column::size: return SortKey::size;
    case Column::dateAdded: return SortKey::dateAdded;
    case Column::dateModified: return SortKey::dateModified;
    case Column::folder: return std::nullopt;
    }
    return std::nullopt;
}

BrowserModel::Column BrowserModel::columnFor(SortKey key)
{
    switch (key) {
    case SortKey::name: return Column::name;
    case SortKey::kind: return Column::kind;
    case SortKey::size: return Column::size;
    case SortKey::dateAdded: return Column::dateAdded;
    case SortKey::dateModified: return Column::dateModified;
    }
    return Column::name;
}

QIcon BrowserModel::typeIcon(const FileItem& item) const
{
    if (const auto it = m_icons.constFind(item.ext); it != m_icons.cend()) return *it;
    // By the name only: the type database never opens the file.
    const QMimeType type = QMimeDatabase().mimeTypeForFile(item.name, QMimeDatabase::MatchExtension);
    QIcon icon = QIcon::fromTheme(type.iconName(), QIcon::fromTheme(type.genericIconName()));
    if (icon.isNull()) icon = QIcon::fromTheme(QStringLiteral("text-x-generic"));
    m_icons.insert(item.ext, icon);
    return icon;
}

bool BrowserModel::hasThumbnail(const FileItem& item)
{
    return (item.kind == FileKind::image || item.kind == FileKind::video || item.ext == u"pdf")
        && ThumbnailMaker::canMake(item.ext);
}

const FileItem& BrowserModel::item(int row) const
{
    if (m_leavingFrom >= 0 && row >= m_leavingFrom) return m_leaving.at(row - m_leavingShift);
    return m_items.at(row);
}

int BrowserModel::rowCount(const QModelIndex& parent) const
{
    if (parent.isValid()) return 0;
    if (m_leavingFrom >= 0) return int(m_leaving.size() + m_leavingShift);
    return int(m_items.size());
}

int BrowserModel::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : kColumnCount; }

QVariant BrowserModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount() || index.column() >= kColumnCount) return {};
    const FileItem& item = this->item(index.row());
    const auto column = Column(index.column());
    switch (role) {
    case Qt::DisplayRole: return text(item, column);
    case Qt::AccessibleTextRole: return column == Column::name ? item.name : text(item, column);
    case Qt::ToolTipRole: return item.path;
    case Qt::DecorationRole:
        if (column != Column::name) return {};
        if (hasThumbnail(item)) {
            if (auto image = m_thumbnails.thumbnail(requestFor(item))) return *image;
        }
        return typeIcon(item);
    case Qt::TextAlignmentRole:
        if (column == Column::size) return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
        return {};
    case ItemRole: return QVariant::fromValue(item);
    default: return {};
    }
}

QVariant BrowserModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= kColumnCount) return {};
    const auto column = Column(section);
    if (role == Qt::DisplayRole || role == Qt::AccessibleTextRole) return title(column);
    if (role == Qt::TextAlignmentRole && column == Column::size)
        return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
    return {};
}

Qt::ItemFlags BrowserModel::flags(const QModelIndex& index) const
{
    if (!index.isValid()) return Qt::NoItemFlags;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled | Qt::ItemNeverHasChildren;
}

QStringList BrowserModel::mimeTypes() const { return {QStringLiteral("text/uri-list"), QStringLiteral("text/plain")}; }

QMimeData* BrowserModel::mimeData(const QModelIndexList& indexes) const
{
    // The list view selects every column of a row; each file goes once, in list order.
    std::vector<int> rows;
    rows.reserve(size_t(indexes.size()));
    for (const QModelIndex& index : indexes)
        if (index.isValid() && index.model() == this && index.row() < rowCount()) rows.push_back(index.row());
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());

    QList<QUrl> urls;
    QStringList paths;
    urls.reserve(qsizetype(rows.size()));
    paths.reserve(qsizetype(rows.size()));
    for (const int row : rows) {
        const FileItem& item = this->item(row);
        urls.append(QUrl::fromLocalFile(item.path));
        paths.append(item.path);
    }
    auto* data = new QMimeData;
    data->setUrls(urls);
    data->setText(paths.join(u'\n'));
    return data;
}

Qt::DropActions BrowserModel::supportedDragActions() const
{
    // Copy is what a drop does unless the person holds a modifier for a move or a link; the
    // views set it as their default.
    return Qt::CopyAction | Qt::MoveAction | Qt::LinkAction;
}

Qt::DropActions BrowserModel::supportedDropActions() const { return Qt::IgnoreAction; }

QString BrowserModel::text(const FileItem& item, Column column) const
{
    switch (column) {
    case Column::name: return item.displayName();
    case Column::kind: return FileKinds::singular(item.kind);
    case Column::size: return Fmt::size(item.size);
    case Column::dateAdded: return item.added == Date::distantPast() ? QString() : Fmt::date(item.added);
    case Column::dateModified: return item.modified == Date::distantPast() ? QString() : Fmt::date(item.modified);
    case Column::folder: return folderText(item);
    }
    return {};
}

QString BrowserModel::folderText(const FileItem& item) const
{
    QString folder = item.folderPath();
    if (!m_home.isEmpty() && m_home != u"/") {
        if (folder == m_home) return QStringLiteral("~");
        if (folder.startsWith(m_home) && folder.size() > m_home.size() && folder.at(m_home.size()) == u'/')
            return QStringLiteral("~") + folder.mid(m_home.size());
    }
    return folder;
}

void BrowserModel::prepareRows()
{
    if (m_rowsPreparing == m_items.constData()) return;
    m_rowsPreparing = m_items.constData();
    QPointer<BrowserModel> self(this);
    WorkerPool::shared()->start([self, items = m_items] {
        QHash<QString, int> rows;
        rows.reserve(items.size());
        for (qsizetype i = 0; i < items.size(); ++i) rows.insert(items.at(i).path, int(i));
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [self, items, rows = std::move(rows)]() mutable {
                if (!self) return;
                if (self->m_rowsPreparing == items.constData()) self->m_rowsPreparing = nullptr;
                // Taken only for the very list it was made from, unchanged.
                if (!self->m_rowsStale || self->m_items.constData() != items.constData()
                    || self->m_items.size() != items.size() || self->m_leavingFrom >= 0) {
                    // Another list came meanwhile: pictures still waiting need its index.
                    if (self->m_rowsStale && !self->m_picturesWaiting.isEmpty()) self->prepareRows();
                    return;
                }
                self->m_rows = std::move(rows);
                self->m_rowsStale = false;
                self->m_picturesLanded.unite(std::exchange(self->m_picturesWaiting, {}));
                self->announcePictures();
            },
            Qt::QueuedConnection);
    });
}

void BrowserModel::announcePictures()
{
    int first = -1;
    int last = -1;
    for (const QString& path : std::exchange(m_picturesLanded, {})) {
        const int row = rowOfPicture(path);
        if (row < 0) continue;
        first = first < 0 ? row : std::min(first, row);
        last = std::max(last, row);
    }
    if (first < 0) return;
    // One range: a view repaints what it shows of it at once.
    Q_EMIT dataChanged(index(first, int(Column::name)), index(last, int(Column::name)), {Qt::DecorationRole});
}

int BrowserModel::rowOfPicture(const QString& path)
{
    // Indexing a long list's rows takes longer than a frame, so it is done on the pool and the
    // pictures that arrive meanwhile wait for it. (Announcing every row as changed instead made
    // the grid measure all 130,000 cards again, visible or not, for each picture.)
    constexpr qsizetype kIndexHere = 20000;
    if (m_rowsStale && m_items.size() > kIndexHere) {
        m_picturesWaiting.insert(path);
        prepareRows();
        return -1;
    }
    return rowOf(path);
}

}  // namespace fennic
