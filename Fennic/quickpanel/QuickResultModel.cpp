#include "QuickResultModel.h"

#include "cleanup/FileRows.h"
#include "thumbnails/ThumbnailLoader.h"

namespace fennic {

QuickResultModel::QuickResultModel(QuickSearchModel& quick, ThumbnailLoader& thumbnails, QObject* parent)
    : QAbstractListModel(parent), m_quick(quick), m_thumbnails(thumbnails)
{
    connect(&m_quick, &QuickSearchModel::resultsChanged, this, &QuickResultModel::reset);
    connect(&m_thumbnails, &ThumbnailLoader::ready, this, [this](const QString& path) { thumbnailReady(path); });
    m_rows = m_quick.results();
}

void QuickResultModel::reset()
{
    if (m_rows == m_quick.results()) return;
    beginResetModel();
    m_rows = m_quick.results();
    endResetModel();
}

int QuickResultModel::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : int(m_rows.size()); }

QVariant QuickResultModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.size()) return {};
    const QuickResult& row = m_rows.at(index.row());
    switch (role) {
    case Qt::DisplayRole: return row.item.name;
    case Qt::AccessibleTextRole: {
        QString text = row.item.name + QStringLiteral(", in ") + FileRows::folderText(row.item);
        if (row.reason) text += QStringLiteral(", ") + *row.reason;
        return text;
    }
    case Qt::ToolTipRole: return row.item.path;
    case Qt::DecorationRole: return FileRows::picture(m_thumbnails, row.item);
    case FolderRole: return FileRows::folderText(row.item);
    case ReasonRole: return row.reason.value_or(QString());
    case ImageMatchRole: return row.isImageMatch;
    case PathRole: return row.item.path;
    default: return {};
    }
}

void QuickResultModel::thumbnailReady(const QString& path)
{
    for (qsizetype i = 0; i < m_rows.size(); ++i)
        if (m_rows.at(i).item.path == path) {
            const QModelIndex cell = index(int(i));
            Q_EMIT dataChanged(cell, cell, {Qt::DecorationRole});
        }
}

}  // namespace fennic
