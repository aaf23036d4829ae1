#pragma once

#include "ImageFinder.h"

#include <QAbstractListModel>
#include <QHash>
#include <QList>

namespace fennic {

class ThumbnailLoader;

// The pictures the finder found, one row each. A row's decoration is its thumbnail once the
// loader has one (asking for it is what queues it, and only painted cards ask) and none until
// then. Its accessible text is the file's name.
//
// Threads: GUI thread only; nothing here reads the disk.
class FinderModel : public QAbstractListModel {
    Q_OBJECT

public:
    enum Role {
        PathRole = Qt::UserRole + 1,
        ReasonsRole,     // QStringList
        FitRole,         // float, 0 … 1
        HighlightsRole,  // QList<QRectF>, TextLine fractions
        KindRole,        // int, the FileKind
    };

    explicit FinderModel(ThumbnailLoader& thumbnails, QObject* parent = nullptr);

    void setPictures(const QList<FoundPicture>& pictures);
    const QList<FoundPicture>& pictures() const { return m_pictures; }
    const FoundPicture& picture(int row) const { return m_pictures.at(row); }
    // The row of the picture at `path`; -1 when it isn't listed.
    int rowOf(const QString& path) const { return m_rows.value(path, -1); }

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

private:
    ThumbnailLoader& m_thumbnails;
    QList<FoundPicture> m_pictures;
    QHash<QString, int> m_rows;
};

}  // namespace fennic
