#pragma once

#include "SidebarSection.h"

#include <QAbstractItemModel>
#include <QHash>
#include <QIcon>
#include <QStringList>
#include <QTimer>

namespace fennic {

class AppModel;
struct FileItem;

// The sidebar's rows as a two-level tree: section headers at the top level (neither
// selectable nor enabled, so keyboard navigation passes over them), their entries below.
//
// Follows the application model: a change to the statistics, the folders, the shelf or the
// saved searches schedules one rebuild for the next turn of the event loop, and the rebuild
// updates rows in place (changed rows, inserted, removed and moved ones), so selections and
// the scroll position survive it and nothing flashes.
//
// Collections and saved searches are renamed through setData (Qt::EditRole). Files dropped
// as a text/uri-list on a collection, a tag or Favourites are added to it.
//
// Threads: GUI thread only.
class SidebarModel : public QAbstractItemModel {
    Q_OBJECT

public:
    enum Role {
        CountRole = Qt::UserRole + 1,  // qint64, absent when the entry shows no count
        IsSectionRole,                 // bool
        TintRole,                      // int (a FileKind), absent when the entry has no tint
        PinnedRole,                    // bool
        KeyRole,                       // QString, SidebarEntry::key()
    };

    explicit SidebarModel(AppModel& app, QObject* parent = nullptr);

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QStringList mimeTypes() const override;
    Qt::DropActions supportedDropActions() const override;
    bool canDropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                         const QModelIndex& parent) const override;
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                      const QModelIndex& parent) override;

    const QList<SidebarSection>& sections() const { return m_sections; }
    // The entry at an index, or null for a section header or an invalid index.
    const SidebarEntry* entry(const QModelIndex& index) const;
    // The row that shows a sidebar item: the entry itself; for a folder, the same folder pinned
    // or not; for a clean-up card, Clean-up. Invalid when none shows it.
    QModelIndex indexOf(const SidebarItem& item) const;
    QModelIndex indexOfSection(SidebarSection::Id id) const;

    // Rebuilds at once (changes are otherwise gathered into one rebuild per event loop turn).
    void rebuild();

Q_SIGNALS:
    // A rebuild is about to change the rows / has changed them. In between, selection changes
    // in views are the rebuild's doing, not the user's.
    void rowsAboutToBeUpdated();
    void rowsUpdated();

private:
    void scheduleRebuild();
    void setSections(QList<SidebarSection> next);
    void syncEntries(int sectionRow, const QList<SidebarEntry>& next);
    int sectionRow(SidebarSection::Id id) const;
    QIcon iconFor(const SidebarEntry& entry) const;
    // The library's files among the URLs' local files.
    QList<FileItem> libraryFiles(const QMimeData* data) const;

    AppModel& m_app;
    QList<SidebarSection> m_sections;
    // Worked out once: without a fixture they come from the user-dirs file, which is not
    // worth reading at every rebuild.
    const QStringList m_defaultRoots;
    QTimer m_rebuildTimer;
    mutable QHash<QString, QIcon> m_icons;  // by the joined icon names
};

}  // namespace fennic
