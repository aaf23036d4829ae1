#pragma once

#include "model/FileItem.h"

#include <QAbstractTableModel>
#include <QCache>
#include <QHash>
#include <QList>
#include <QPixmap>
#include <QSet>

namespace fennic {

class ThumbnailLoader;

// The files of one clean-up review, a row each with a tick box: every file starts ticked, and
// unticking one keeps it. The ticks belong to the paths, so a new list (after a scan, a move
// to the Trash or an Undo) keeps what the person unticked; a file seen for the first time
// comes in ticked. A list that only lost files loses just those rows, so the view keeps its
// place.
//
// Threads: GUI thread only; nothing here reads the disk.
class CleanupReviewModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum class Column {
        name,
        folder,
        size,
        date
    };
    static constexpr int kColumnCount = 4;

    explicit CleanupReviewModel(ThumbnailLoader& thumbnails, QObject* parent = nullptr);

    // The edge of the rows' pictures.
    static constexpr int kPictureSize = 32;

    void setFiles(const QList<FileItem>& files);
    const QList<FileItem>& files() const { return m_files; }

    // The ticked files, in list order, and the sum of their sizes.
    QList<FileItem> checkedFiles() const;
    qint64 checkedSize() const { return m_checkedSize; }
    int checkedCount() const { return int(m_files.size() - m_unchecked.size()); }
    bool isChecked(const QString& path) const { return !m_unchecked.contains(path); }
    void setChecked(const QString& path, bool checked);
    void setAllChecked(bool checked);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

Q_SIGNALS:
    // Which files are ticked, or their total, changed.
    void checkedChanged();

private:
    QString text(const FileItem& item, Column column) const;
    void recount();
    void thumbnailReady(const QString& path);

    ThumbnailLoader& m_thumbnails;
    QList<FileItem> m_files;
    QHash<QString, int> m_rows;                  // path → row
    mutable QCache<QString, QPixmap> m_squares;  // thumbnails cut to the rows' squares, by path
    // Unticked paths of the current list only: a file that leaves and comes back is ticked.
    QSet<QString> m_unchecked;
    qint64 m_checkedSize = 0;
};

}  // namespace fennic
