#include "DuplicateScan.h"

#include "BackgroundTasks.h"
#include "ImageIndexer.h"
#include "LibraryModel.h"
#include "library/CaptureDate.h"
#include "library/Library.h"
#include "organise/DuplicateFinder.h"

#include <algorithm>

namespace fennic {

DuplicateScan::DuplicateScan(BackgroundTasks& tasks, LibraryModel& library, const ImageIndexer& images, QObject* parent)
    : QObject(parent), m_tasks(tasks), m_library(library), m_images(images)
{
    connect(&m_library, &LibraryModel::filesLeft, this, &DuplicateScan::pruneGroups);
    connect(&m_library, &LibraryModel::itemsRemoved, this, &DuplicateScan::pruneGroups);
    m_library.trackDepartures([this]() -> LibraryModel::DepartureCheck {
        QStringList grouped;
        for (const QList<DuplicateGroup>* groups : {&m_duplicateGroups, &m_lookalikeGroups})
            for (const DuplicateGroup& group : *groups)
                for (const FileItem& file : group.files) grouped.append(file.path);
        return [grouped](const QSet<QString>& present) {
            QStringList gone;
            for (const QString& path : grouped)
                if (!present.contains(path)) gone.append(path);
            return gone;
        };
    });
}

void DuplicateScan::pruneGroups(const QSet<QString>& removed)
{
    const auto holdsAny = [&removed](const QList<DuplicateGroup>& groups) {
        for (const DuplicateGroup& group : groups)
            for (const FileItem& file : group.files)
                if (removed.contains(file.path)) return true;
        return false;
    };
    if (holdsAny(m_duplicateGroups)) {
        m_duplicateGroups = DuplicateGroup::prune(m_duplicateGroups, removed);
        Q_EMIT duplicateGroupsChanged();
    }
    if (holdsAny(m_lookalikeGroups)) {
        m_lookalikeGroups = DuplicateGroup::prune(m_lookalikeGroups, removed);
        Q_EMIT lookalikeGroupsChanged();
    }
}

void DuplicateScan::setKeep(const QUuid& group, const QString& path)
{
    const auto repoint = [&](QList<DuplicateGroup>& groups) {
        for (DuplicateGroup& g : groups) {
            if (g.id != group) continue;
            const bool member =
                std::any_of(g.files.cbegin(), g.files.cend(), [&path](const FileItem& f) { return f.path == path; });
            if (!member || g.keep == path) return false;
            g.keep = path;
            return true;
        }
        return false;
    };
    if (repoint(m_duplicateGroups))
        Q_EMIT duplicateGroupsChanged();
    else if (repoint(m_lookalikeGroups))
        Q_EMIT lookalikeGroupsChanged();
}

void DuplicateScan::findDuplicates()
{
    if (m_duplicateProgress) return;
    m_duplicateProgress = 0.0;
    Q_EMIT duplicateProgressChanged();
    const QList<FileItem> snapshot = m_library.items();
    const QString downloads = Library::downloads();
    const auto prints = m_images.imageIndex().printProvider();
    const auto stopping = m_tasks.stopping();
    auto report = [this](double p) {
        QMetaObject::invokeMethod(
            this,
            [this, p] {
                if (!m_duplicateProgress) return;
                m_duplicateProgress = p;
                Q_EMIT duplicateProgressChanged();
            },
            Qt::QueuedConnection);
    };
    m_tasks.run([this, snapshot, downloads, prints, stopping, report] {
        auto exact = DuplicateFinder::exact(
            snapshot, downloads, [&](double p) { report(0.6 * p); }, stopping.get());
        // Pictures the scans did not date (a library cache without its dates file).
        QList<FileItem> dated = snapshot;
        CaptureDate::fillMissing(dated);
        auto alike = DuplicateFinder::lookalikes(
            dated, DuplicateFinder::kLookalikeWindow, DuplicateFinder::kLookalikeThreshold, prints,
            [&](double p) { report(0.6 + 0.4 * p); }, stopping.get());
        QMetaObject::invokeMethod(
            this,
            [this, searched = snapshot, exact = std::move(exact), alike = std::move(alike)]() mutable {
                land(std::move(searched), std::move(exact), std::move(alike));
            },
            Qt::QueuedConnection);
    });
}

void DuplicateScan::land(QList<FileItem> searched, QList<DuplicateGroup> exact, QList<DuplicateGroup> alike)
{
    QList<FileItem> now = m_library.items();
    const bool changed = now.constData() != searched.constData() || now.size() != searched.size();
    // The list searched may be the last copy of an old library: freed on the pool.
    m_tasks.dispose(std::move(searched));
    if (changed) {
        // Files trashed while the search ran must not come back through its result.
        m_tasks.run([this, now = std::move(now), exact = std::move(exact), alike = std::move(alike)]() mutable {
            QSet<QString> present;
            present.reserve(now.size());
            for (const FileItem& i : std::as_const(now)) present.insert(i.path);
            QSet<QString> gone;
            for (const auto* groups : {&exact, &alike})
                for (const DuplicateGroup& g : *groups)
                    for (const FileItem& f : g.files)
                        if (!present.contains(f.path)) gone.insert(f.path);
            present = {};
            exact = DuplicateGroup::prune(exact, gone);
            alike = DuplicateGroup::prune(alike, gone);
            QMetaObject::invokeMethod(
                this,
                [this, now, exact = std::move(exact), alike = std::move(alike)]() mutable {
                    land(std::move(now), std::move(exact), std::move(alike));
                },
                Qt::QueuedConnection);
        });
        return;
    }
    m_tasks.dispose(std::move(now));
    m_duplicateGroups = std::move(exact);
    m_lookalikeGroups = std::move(alike);
    m_duplicateProgress.reset();
    m_duplicatesScanned = true;
    Q_EMIT duplicateGroupsChanged();
    Q_EMIT lookalikeGroupsChanged();
    Q_EMIT duplicateProgressChanged();
    Q_EMIT duplicatesScannedChanged();
}

}  // namespace fennic
