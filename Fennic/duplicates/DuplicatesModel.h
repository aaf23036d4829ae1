#pragma once

#include "organise/DuplicateGroup.h"

#include <QAbstractListModel>
#include <QHash>
#include <QList>
#include <optional>

namespace fennic {

class ThumbnailLoader;

// The duplicates page's list, flat so that thousands of groups lay out at one row height
// without measuring: a heading row for each kind of group (identical copies, then look-alike
// photos) that has any, then for each group a row that sums it up, followed by a row per
// member.
//
// A new set of groups with the same rows (only which member is kept changed) updates the rows
// in place; anything else replaces them. Pictures are asked for only by rows being painted.
//
// Threads: GUI thread only; nothing here reads the disk.
class DuplicatesModel : public QAbstractListModel {
    Q_OBJECT

public:
    enum class RowKind : quint8 {
        section,  // "Identical copies" / "Look-alike photos"
        group,    // one group's summary
        member,   // one file of a group
    };

    enum Role {
        RowKindRole = Qt::UserRole + 1,  // RowKind, as an int
        ItemRole,                        // a member's FileItem
        KeptRole,                        // a member is the group's kept one
        DetailRole,                      // a section's or group's second text; a member's folder
        SizeRole,                        // a member's size, as text
        DateRole,                        // a member's date, as text
    };

    explicit DuplicatesModel(ThumbnailLoader& thumbnails, QObject* parent = nullptr);

    void setGroups(const QList<DuplicateGroup>& exact, const QList<DuplicateGroup>& lookalikes);

    RowKind rowKind(int row) const { return m_rows.at(row).kind; }
    // The group of a group or member row; null for a heading.
    const DuplicateGroup* groupAt(int row) const;
    // The file of a member row.
    std::optional<FileItem> memberAt(int row) const;
    // The row of the member at `path`, -1 when none.
    int rowOf(const QString& path) const { return m_memberRows.value(path, -1); }
    int groupCount() const { return int(m_exact.size() + m_lookalikes.size()); }
    // What moving every member not marked Keep to the Trash would free, over both kinds.
    qint64 reclaimable() const { return m_reclaimable[0] + m_reclaimable[1]; }

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    struct Row {
        RowKind kind = RowKind::section;
        bool lookalike = false;
        int group = -1;
        int member = -1;
        friend bool operator==(const Row&, const Row&) = default;
    };

    const QList<DuplicateGroup>& groupsOf(bool lookalike) const { return lookalike ? m_lookalikes : m_exact; }
    QString text(const Row& row) const;
    QString detail(const Row& row) const;
    QString accessibleText(const Row& row) const;
    void thumbnailReady(const QString& path);

    ThumbnailLoader& m_thumbnails;
    QList<DuplicateGroup> m_exact;
    QList<DuplicateGroup> m_lookalikes;
    QList<Row> m_rows;
    QList<QString> m_rowPaths;         // each member row's path, empty for other rows
    QHash<QString, int> m_memberRows;  // path → row
    // Each kind's total to free (identical, look-alike), summed once per set of groups: a
    // heading repaints with every scroll near the top, and there may be tens of thousands.
    qint64 m_reclaimable[2] = {0, 0};
};

}  // namespace fennic
