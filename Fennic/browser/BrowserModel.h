#pragma once

#include "app/VisibleListDiff.h"
#include "model/FileItem.h"
#include "search/SortKey.h"

#include <QAbstractTableModel>
#include <QHash>
#include <QIcon>
#include <QList>
#include <QSet>
#include <QTimer>
#include <optional>

namespace fennic {

class ThumbnailLoader;

// The files the browser shows, one row each, with a column per detail of the list view. The
// list comes in already sorted and filtered; the model only follows it, and follows it with
// the smallest change it can find (an unchanged list changes nothing, a list that differs in
// one stretch replaces that stretch), so the views keep their selection and scroll position
// while the person types.
//
// Pictures: a row's decoration is its thumbnail once the loader has one and its type's icon
// until then. Asking for a row's decoration is what queues its thumbnail, and only views
// painting a row ask, so thumbnails are made for what is on screen.
//
// Threads: GUI thread only; nothing here reads the disk.
class BrowserModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum class Column {
        name,
        kind,
        size,
        dateAdded,
        dateModified,
        folder
    };
    static constexpr int kColumnCount = 6;

    // The row's FileItem, as a QVariant.
    static constexpr int ItemRole = Qt::UserRole + 1;

    // What setItems did to the rows.
    enum class Change {
        none,    // the same files in the same order (fields may have changed)
        ranges,  // one stretch removed and/or inserted
        reset,   // a wholly different list
    };

    explicit BrowserModel(ThumbnailLoader& thumbnails, QObject* parent = nullptr);

    // `diff`, when given and made from the list shown to `items`, spares comparing them here.
    Change setItems(const QList<FileItem>& items, const VisibleListDiff* diff = nullptr);
    // Whether setItems(items) would reset: nothing in common at either end. Constant time.
    bool wouldReset(const QList<FileItem>& items) const;
    const QList<FileItem>& items() const { return m_items; }
    const FileItem& item(int row) const;
    // The row of the file at `path`; -1 when it isn't listed.
    int rowOf(const QString& path) const;

    static QString title(Column column);
    // The order a column's header asks for; none for columns the list can't be sorted by.
    static std::optional<SortKey> sortKeyFor(Column column);
    static Column columnFor(SortKey key);

    // The icon of the file's type, by its name alone (never its contents).
    QIcon typeIcon(const FileItem& item) const;
    // Whether files of this kind have thumbnails at all (pictures, videos, PDFs).
    static bool hasThumbnail(const FileItem& item);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    Qt::DropActions supportedDragActions() const override;
    Qt::DropActions supportedDropActions() const override;

private:
    QString text(const FileItem& item, Column column) const;
    QString folderText(const FileItem& item) const;
    // The row of a picture that landed, or -1 (not shown, or waiting for the row index).
    int rowOfPicture(const QString& path);
    // Tells the views about the pictures that landed since the last time, at most once a frame.
    void announcePictures();
    // Makes the path → row index of a long list on the pool; it is taken when it arrives for
    // the list still shown.
    void prepareRows();

    ThumbnailLoader& m_thumbnails;
    QList<FileItem> m_items;
    QString m_home;
    mutable QHash<QString, QIcon> m_icons;  // by extension
    mutable QHash<QString, int> m_rows;     // path → row, rebuilt when first needed after a change
    mutable bool m_rowsStale = true;
    QSet<QString> m_picturesWaiting;  // thumbnails that arrived while the row index was being made
    QSet<QString> m_picturesLanded;   // thumbnails not yet announced to the views
    QTimer m_picturesTimer;
    const FileItem* m_rowsPreparing = nullptr;  // the list whose rows are being indexed on the pool
    // While a replaced stretch leaves: the old list, whose rows from m_leavingFrom on (shifted
    // by the m_leavingShift rows just inserted) are still shown.
    QList<FileItem> m_leaving;
    qsizetype m_leavingFrom = -1;
    qsizetype m_leavingShift = 0;
};

}  // namespace fennic
