#pragma once

#include "quick/QuickSearchModel.h"

#include <QAbstractListModel>

namespace fennic {

class ThumbnailLoader;

// The panel's rows over a QuickSearchModel's results: the file's name (display), its folder
// with the home folder written "~", why a picture matched, and its thumbnail or type icon.
// Follows the results as they change; thumbnails repaint their row when they arrive.
class QuickResultModel : public QAbstractListModel {
    Q_OBJECT

public:
    enum Role {
        FolderRole = Qt::UserRole + 1,
        ReasonRole,      // QString, empty when the name matched
        ImageMatchRole,  // bool
        PathRole,
    };

    QuickResultModel(QuickSearchModel& quick, ThumbnailLoader& thumbnails, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;

private:
    void reset();
    void thumbnailReady(const QString& path);

    QuickSearchModel& m_quick;
    ThumbnailLoader& m_thumbnails;
    QList<QuickResult> m_rows;
};

}  // namespace fennic
