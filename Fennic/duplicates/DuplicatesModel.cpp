#include "DuplicatesModel.h"

#include "cleanup/FileRows.h"
#include "model/Fmt.h"
#include "thumbnails/ThumbnailLoader.h"

namespace fennic {

DuplicatesModel::DuplicatesModel(ThumbnailLoader& thumbnails, QObject* parent)
    : QAbstractListModel(parent), m_thumbnails(thumbnails)
{
    connect(&m_thumbnails, &ThumbnailLoader::ready, this, [this](const QString& path) { thumbnailReady(path); });
}

void DuplicatesModel::setGroups(const QList<DuplicateGroup>& exact, const QList<DuplicateGroup>& lookalikes)
{
    QList<Row> rows;
    QList<QString> paths;
    for (const bool alike : {false, true}) {
        const QList<DuplicateGroup>& groups = alike ? lookalikes : exact;
        if (groups.isEmpty()) continue;
        rows.append({RowKind::section, alike, -1, -1});
        paths.append(QString());
        for (int g = 0; g < groups.size(); ++g) {
            rows.append({RowKind::group, alike, g, -1});
            paths.append(QString());
            const QList<FileItem>& files = groups.at(g).files;
            for (int m = 0; m < files.size(); ++m) {
                rows.append({RowKind::member, alike, g, m});
                paths.append(files.at(m).path);
            }
        }
    }

    for (const bool alike : {false, true}) {
        qint64 total = 0;
        for (const DuplicateGroup& g : alike ? lookalikes : exact) total += g.reclaimable();
        m_reclaimable[int(alike)] = total;
    }

    if (rows == m_rows && paths == m_rowPaths) {
        // The same files in the same places: only what is kept (or a field) changed.
        m_exact = exact;
        m_lookalikes = lookalikes;
        if (!m_rows.isEmpty()) Q_EMIT dataChanged(index(0), index(int(m_rows.size()) - 1));
        return;
    }
    beginResetModel();
    m_exact = exact;
    m_lookalikes = lookalikes;
    m_rows = std::move(rows);
    m_rowPaths = std::move(paths);
    m_memberRows.clear();
    m_memberRows.reserve(m_rowPaths.size());
    for (int row = 0; row < m_rowPaths.size(); ++row)
        if (!m_rowPaths.at(row).isEmpty()) m_memberRows.insert(m_rowPaths.at(row), row);
    endResetModel();
}

const DuplicateGroup* DuplicatesModel::groupAt(int row) const
{
    if (row < 0 || row >= m_rows.size() || m_rows.at(row).kind == RowKind::section) return nullptr;
    const Row& r = m_rows.at(row);
    return &groupsOf(r.lookalike).at(r.group);
}

std::optional<FileItem> DuplicatesModel::memberAt(int row) const
{
    if (row < 0 || row >= m_rows.size() || m_rows.at(row).kind != RowKind::member) return std::nullopt;
    const Row& r = m_rows.at(row);
    return groupsOf(r.lookalike).at(r.group).files.at(r.member);
}

int DuplicatesModel::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : int(m_rows.size()); }

QVariant DuplicatesModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.size()) return {};
    const Row& row = m_rows.at(index.row());
    switch (role) {
    case Qt::DisplayRole: return text(row);
    case Qt::AccessibleTextRole: return accessibleText(row);
    case DetailRole: return detail(row);
    case RowKindRole: return int(row.kind);
    default: break;
    }
    if (row.kind != RowKind::member) return {};
    const DuplicateGroup& group = groupsOf(row.lookalike).at(row.group);
    const FileItem& item = group.files.at(row.member);
    switch (role) {
    case Qt::ToolTipRole: return item.path;
    case Qt::DecorationRole: return FileRows::picture(m_thumbnails, item);
    case ItemRole: return QVariant::fromValue(item);
    case KeptRole: return group.keep == item.path;
    case SizeRole: return Fmt::size(item.size);
    case DateRole: return FileRows::dateText(item);
    default: return {};
    }
}

Qt::ItemFlags DuplicatesModel::flags(const QModelIndex& index) const
{
    if (!index.isValid() || index.row() >= m_rows.size()) return Qt::NoItemFlags;
    // Headings are read but not landed on; members and group rows take the keyboard.
    if (m_rows.at(index.row()).kind == RowKind::section) return Qt::ItemIsEnabled | Qt::ItemNeverHasChildren;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
}

QString DuplicatesModel::text(const Row& row) const
{
    switch (row.kind) {
    case RowKind::section:
        return row.lookalike ? QStringLiteral("Look-alike photos") : QStringLiteral("Identical copies");
    case RowKind::group: {
        const DuplicateGroup& group = groupsOf(row.lookalike).at(row.group);
        return row.lookalike ? Fmt::count(
            group.files.size(), QStringLiteral("look-alike photo"))
            : Fmt::count(group.files.size(), QStringLiteral("identical copy"), QStringLiteral("identical copies"));
    }
    case RowKind::member: return groupsOf(row.lookalike).at(row.group).files.at(row.member).displayName();
    }
    return {};
}

QString DuplicatesModel::detail(const Row& row) const
{
    switch (row.kind) {
    case RowKind::section:
        return Fmt::count(groupsOf(row.lookalike).size(), QStringLiteral("group"))
                          + QStringLiteral(" · ") + Fmt::size(m_reclaimable[int(row.lookalike)])
                                           + QStringLiteral(" can be freed");
    case RowKind::group:
        return Fmt::size(groupsOf(row.lookalike).at(row.group).reclaimable()) + QStringLiteral(" can be freed");
    case RowKind::member: return FileRows::folderText(groupsOf(row.lookalike).at(row.group).files.at(row.member));
    }
    return {};
}

QString DuplicatesModel::accessibleText(const Row& row) const
{
    if (row.kind != RowKind::member) return text(row) + QStringLiteral(", ") + detail(row);
    const DuplicateGroup& group = groupsOf(row.lookalike).at(row.group);
    const FileItem& item = group.files.at(row.member);
    const QString kept =
        group.keep == item.path ? QStringLiteral("Keep")
                                : QStringLiteral("goes to the Trash; press Return to keep this copy instead");
    return QStringLiteral("%1, in %2, %3, %4, %5") .arg(item.name, FileRows::folderText(item), Fmt::size(item.size),
                                                        FileRows::dateText(item), kept);
}

void DuplicatesModel::thumbnailReady(const QString& path)
{
    const int row = rowOf(path);
    if (row < 0) return;
    Q_EMIT dataChanged(index(row), index(row), {Qt::DecorationRole});
}

}  // namespace fennic
