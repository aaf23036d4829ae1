#pragma once

#include "organise/DuplicateGroup.h"

#include <QList>
#include <QObject>
#include <QSet>
#include <QUuid>
#include <optional>

namespace fennic {

class BackgroundTasks;
class ImageIndexer;
class LibraryModel;

// The duplicates page's data: exact copies and look-alike photos of the library, found on
// the pool with one combined progress (the exact pass counts for 60%). Groups lose their files
// as those leave the library, and a group left with one file goes.
//
// Threads: GUI thread only.
class DuplicateScan : public QObject {
    Q_OBJECT
    Q_PROPERTY(QList<fennic::DuplicateGroup> duplicateGroups READ duplicateGroups NOTIFY duplicateGroupsChanged)
    Q_PROPERTY(QList<fennic::DuplicateGroup> lookalikeGroups READ lookalikeGroups NOTIFY lookalikeGroupsChanged)
    Q_PROPERTY(bool duplicatesScanned READ duplicatesScanned NOTIFY duplicatesScannedChanged)

public:
    DuplicateScan(BackgroundTasks& tasks, LibraryModel& library, const ImageIndexer& images, QObject* parent = nullptr);

    // Starts a search over the current items; ignored while one runs.
    void findDuplicates();
    const QList<DuplicateGroup>& duplicateGroups() const { return m_duplicateGroups; }
    const QList<DuplicateGroup>& lookalikeGroups() const { return m_lookalikeGroups; }
    // 0 … 1 while a search runs, none otherwise.
    std::optional<double> duplicateProgress() const { return m_duplicateProgress; }
    bool duplicatesScanned() const { return m_duplicatesScanned; }
    // Makes `path` the member of the group `group` (exact or look-alike) that stays; ignored
    // when there is no such group or the path is not one of its members.
    void setKeep(const QUuid& group, const QString& path);

Q_SIGNALS:
    void duplicateGroupsChanged();
    void lookalikeGroupsChanged();
    void duplicateProgressChanged();
    void duplicatesScannedChanged();

private:
    // Drops files that left the library from both kinds of group.
    void pruneGroups(const QSet<QString>& removed);
    // Takes a search's result, made over `searched`. When the library changed meanwhile, the
    // files that left it are dropped from the groups on the pool first (a set of a whole
    // library's paths is too much for the GUI thread), and the result comes back here.
    void land(QList<FileItem> searched, QList<DuplicateGroup> exact, QList<DuplicateGroup> alike);

    BackgroundTasks& m_tasks;
    LibraryModel& m_library;
    const ImageIndexer& m_images;
    QList<DuplicateGroup> m_duplicateGroups;
    QList<DuplicateGroup> m_lookalikeGroups;
    std::optional<double> m_duplicateProgress;
    bool m_duplicatesScanned = false;
};

}  // namespace fennic
