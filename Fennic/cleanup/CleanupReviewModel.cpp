#include "CleanupReviewModel.h"

#include "FileRows.h"
#include "model/Fmt.h"
#include "thumbnails/ThumbnailLoader.h"

#include <QGuiApplication>

namespace fennic {

CleanupReviewModel::CleanupReviewModel(ThumbnailLoader& thumbnails, QObject* parent)
    : QAbstractTableModel(parent), m_thumbnails(thumbnails), m_squares(400)
{
    connect(&m_thumbnails, &ThumbnailLoader::ready, this, [this](const QString& path) { thumbnailReady(path); });
}

void CleanupReviewModel::setFiles(const QList<FileItem>& files)
{
    QSet<QString> incoming;
    incoming.reserve(files.size());
    for (const FileItem& f : files) incoming.insert(f.path);

    // Only removals (the usual change after a move to the Trash): take out just those rows,
    // from the bottom, so that the rows above keep their place on screen.
    bool onlyRemovals = files.size() <= m_files.size();
    if (onlyRemovals) {
        qsizetype next = 0;
        for (const FileItem& old : std::as_const(m_files))
            if (next < files.size() && files.at(next).path == old.path) ++next;
        onlyRemovals = next == files.size();
    }
    if (onlyRemovals) {
        for (int row = int(m_files.size()) - 1; row >= 0;) {
            if (incoming.contains(m_files.at(row).path)) {
                --row;
                continue;
            }
            int first = row;
            while (first > 0 && !incoming.contains(m_files.at(first - 1).path)) --first;
            beginRemoveRows({}, first, row);
            m_files.remove(first, row - first + 1);
            endRemoveRows();
            row = first - 1;
        }
        m_files = files;  // the same paths; the fields may be newer
    } else {
        beginResetModel();
        m_files = files;
        endResetModel();
    }
    m_rows.clear();
    m_rows.reserve(m_files.size());
    for (int row = 0; row < m_files.size(); ++row) m_rows.insert(m_files.at(row).path, row);
    for (auto it = m_unchecked.begin(); it != m_unchecked.end();) {
        if (incoming.contains(*it))
            ++it;
        else
            it = m_unchecked.erase(it);
    }
    if (onlyRemovals && !m_files.isEmpty())
        Q_EMIT dataChanged(index(0, 0), index(int(m_files.size()) - 1, kColumnCount - 1));
    recount();
}

QList<FileItem> CleanupReviewModel::checkedFiles() const
{
    QList<FileItem> checked;
    checked.reserve(checkedCount());
    for (const FileItem& f : m_files)
        if (!m_unchecked.contains(f.path)) checked.append(f);
    return checked;
}

void CleanupReviewModel::setChecked(const QString& path, bool checked)
{
    const int row = m_rows.value(path, -1);
    if (row < 0 || isChecked(path) == checked) return;
    if (checked)
        m_unchecked.remove(path);
    else
        m_unchecked.insert(path);
    const QModelIndex cell = index(row, int(Column::name));
    Q_EMIT dataChanged(cell, cell, {Qt::CheckStateRole, Qt::AccessibleTextRole});
    recount();
}

void CleanupReviewModel::setAllChecked(bool checked)
{
    if (checked) {
        if (m_unchecked.isEmpty()) return;
        m_unchecked.clear();
    } else {
        if (checkedCount() == 0) return;
        for (const FileItem& f : std::as_const(m_files)) m_unchecked.insert(f.path);
    }
    if (!m_files.isEmpty())
        Q_EMIT dataChanged(index(0, 0), index(int(m_files.size()) - 1, 0),
                           {Qt::CheckStateRole, Qt::AccessibleTextRole});
    recount();
}

void CleanupReviewModel::recount()
{
    qint64 total = 0;
    for (const FileItem& f : std::as_const(m_files))
        if (!m_unchecked.contains(f.path)) total += f.size;
    m_checkedSize = total;
    Q_EMIT checkedChanged();
}

int CleanupReviewModel::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : int(m_files.size()); }

int CleanupReviewModel::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : kColumnCount; }

QVariant CleanupReviewModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= m_files.size() || index.column() >= kColumnCount) return {};
    const FileItem& item = m_files.at(index.row());
    const auto column = Column(index.column());
    switch (role) {
    case Qt::DisplayRole: return text(item, column);
    case Qt::AccessibleTextRole:
        if (column != Column::name) return text(item, column);
        return QStringLiteral("%1, %2, %3").arg(item.name, Fmt::size(item.size),
                                                isChecked(item.path) ? QStringLiteral("to the Trash")
                                                                     : QStringLiteral("kept"));
    case Qt::ToolTipRole: return item.path;
    case Qt::DecorationRole: {
        if (column != Column::name) return {};
        if (const QPixmap* cut = m_squares.object(item.path)) return *cut;
        QVariant picture = FileRows::picture(m_thumbnails, item);
        if (picture.userType() != QMetaType::QImage) return picture;
        const QPixmap cut = FileRows::square(picture.value<QImage>(), kPictureSize, qApp->devicePixelRatio());
        m_squares.insert(item.path, new QPixmap(cut));
        return cut;
    }
    case Qt::CheckStateRole:
        if (column != Column::name) return {};
        return isChecked(item.path) ? Qt::Checked : Qt::Unchecked;
    case Qt::TextAlignmentRole:
        if (column == Column::size) return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
        return {};
    default: return {};
    }
}

bool CleanupReviewModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (!index.isValid() || index.row() >= m_files.size() || role != Qt::CheckStateRole) return false;
    setChecked(m_files.at(index.row()).path, value.toInt() == Qt::Checked);
    return true;
}

QVariant CleanupReviewModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= kColumnCount) return {};
    if (role != Qt::DisplayRole && role != Qt::AccessibleTextRole) {
        if (role == Qt::TextAlignmentRole && Column(section) == Column::size)
            return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
        return {};
    }
    switch (Column(section)) {
    case Column::name: return QStringLiteral("Name");
    case Column::folder: return QStringLiteral("Folder");
    case Column::size: return QStringLiteral("Size");
    case Column::date: return QStringLiteral("Date");
    }
    return {};
}

Qt::ItemFlags CleanupReviewModel::flags(const QModelIndex& index) const
{
    if (!index.isValid()) return Qt::NoItemFlags;
    Qt::ItemFlags f = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
    if (Column(index.column()) == Column::name) f |= Qt::ItemIsUserCheckable;
    return f;
}

QString CleanupReviewModel::text(const FileItem& item, Column column) const
{
    switch (column) {
    case Column::name: return item.displayName();
    case Column::folder: return FileRows::folderText(item);
    case Column::size: return Fmt::size(item.size);
    case Column::date: return FileRows::dateText(item);
    }
    return {};
}

void CleanupReviewModel::thumbnailReady(const QString& path)
{
    m_squares.remove(path);
    const int row = m_rows.value(path, -1);
    if (row < 0) return;
    const QModelIndex cell = index(row, int(Column::name));
    Q_EMIT dataChanged(cell, cell, {Qt::DecorationRole});
}

}  // namespace fennic
