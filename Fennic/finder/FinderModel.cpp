#include "FinderModel.h"

#include "thumbnails/ThumbnailLoader.h"

#include <QImage>
#include <cmath>

namespace fennic {

FinderModel::FinderModel(ThumbnailLoader& thumbnails, QObject* parent)
    : QAbstractListModel(parent), m_thumbnails(thumbnails)
{
    connect(&m_thumbnails, &ThumbnailLoader::ready, this, [this](const QString& path) {
        const int row = rowOf(path);
        if (row < 0) return;
        const QModelIndex cell = index(row);
        Q_EMIT dataChanged(cell, cell, {Qt::DecorationRole});
    });
}

void FinderModel::setPictures(const QList<FoundPicture>& pictures)
{
    if (pictures == m_pictures) return;
    beginResetModel();
    m_pictures = pictures;
    m_rows.clear();
    m_rows.reserve(m_pictures.size());
    for (int row = 0; row < int(m_pictures.size()); ++row) m_rows.insert(m_pictures.at(row).item.path, row);
    endResetModel();
}

int FinderModel::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : int(m_pictures.size()); }

QVariant FinderModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= int(m_pictures.size())) return {};
    const FoundPicture& picture = m_pictures.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleTextRole: return picture.item.displayName();
    case Qt::ToolTipRole: {
        QString tip = picture.item.displayName();
        if (!picture.reasons.isEmpty()) tip += u'\n' + picture.reasons.join(QStringLiteral(", "));
        return tip;
    }
    case Qt::DecorationRole: {
        const ThumbnailLoader::Request request{picture.item.path, picture.item.ext,
                                               qint64(std::floor(picture.item.modified.toUnix()))};
        if (auto image = m_thumbnails.thumbnail(request)) return *image;
        return {};
    }
    case PathRole: return picture.item.path;
    case ReasonsRole: return picture.reasons;
    case FitRole: return picture.fit;
    case HighlightsRole: return QVariant::fromValue(picture.highlights);
    case KindRole: return int(picture.item.kind);
    default: return {};
    }
}

}  // namespace fennic
