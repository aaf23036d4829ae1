// The organising side: favourites, tags and collections, the Trash with Undo, duplicate
// finding and the two automatic rules that tidy files after every scan.
#include "AppModel.h"

#include "library/CaptureDate.h"
#include "library/Library.h"
#include "library/Prefs.h"
#include "model/Fmt.h"
#include "organise/DuplicateFinder.h"
#include "organise/TrashMessages.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cerrno>

namespace fennic {
namespace {

QString shelfFile() { return Prefs::supportDir() + u'/' + QLatin1String(Shelf::kFileName); }

QStringList pathsOf(const QList<FileItem>& items)
{
    QStringList paths;
    paths.reserve(items.size());
    for (const FileItem& i : items) paths.append(i.path);
    return paths;
}

}  // namespace

void AppModel::showToast(const QString& text, const QString& symbol, bool isError, std::optional<QString> actionTitle,
                         std::function<void()> action)
{
    m_toast.show(text, symbol, isError, std::move(actionTitle), std::move(action));
}

void AppModel::setShelf(const Shelf& shelf)
{
    m_shelf = shelf;
    Q_EMIT shelfChanged();
    markSearchDirty();
    // The shelf file is small; written off the GUI thread like every other file of ours.
    const auto writes = m_shelfWrites;
    const auto ticket = writes->ticket();
    runInBackground([shelf, writes, ticket] { writes->run(ticket, [&] { shelf.save(shelfFile()); }); }, -1);
}

void AppModel::toggleFavourite(const QList<FileItem>& items)
{
    if (items.isEmpty()) return;
    Shelf shelf = m_shelf;
    const bool allStarred =
        std::all_of(items.begin(), items.end(), [&](const FileItem& i) { return shelf.isFavourite(i.path); });
    for (const FileItem& item : items)
        if (allStarred || !shelf.isFavourite(item.path)) shelf.toggleFavourite(item.path);
    setShelf(shelf);
}

void AppModel::addTag(const QString& tag, const QList<FileItem>& items)
{
    Shelf shelf = m_shelf;
    const auto normalised = shelf.addTag(tag, pathsOf(items));
    if (!normalised) return;
    setShelf(shelf);
    const QString subject = items.size() == 1 ? QStringLiteral("“") + items.first().displayName()
                                                               + QStringLiteral("”")
                                                               : Fmt::count(items.size(), QStringLiteral("file"));
    showToast(QStringLiteral("Tagged ") + subject + QStringLiteral(" #") + *normalised, QStringLiteral("tag"));
}

void AppModel::newCollection(const QString& name, const QList<FileItem>& items)
{
    Shelf shelf = m_shelf;
    const auto made = shelf.newCollection(name, pathsOf(items));
    if (!made) return;
    setShelf(shelf);
    QString text = QStringLiteral("Made the collection “") + made->name + QStringLiteral("”");
    if (!items.isEmpty()) text += QStringLiteral(" with ") + Fmt::count(items.size(), QStringLiteral("file"));
    showToast(text, QStringLiteral("rectangle.stack.badge.plus"));
}

void AppModel::addToCollection(const QList<FileItem>& items, const QUuid& collection)
{
    const auto target = m_shelf.collection(collection);
    if (!target) return;
    Shelf shelf = m_shelf;
    shelf.add(pathsOf(items), collection);
    setShelf(shelf);
    showToast(QStringLiteral("Added ")
                             + Fmt::count(items.size(), QStringLiteral("file"))
                                          + QStringLiteral(" to “") + target->name
                                                           + QStringLiteral("”"), QStringLiteral("rectangle.stack"));
}

void AppModel::deleteCollection(const QUuid& collection)
{
    Shelf shelf = m_shelf;
    shelf.deleteCollection(collection);
    setShelf(shelf);
    if (m_sidebar.kind == SidebarItem::Kind::collection && m_sidebar.id == collection) setSidebar(SidebarItem::home());
}

void AppModel::removeItems(const QSet<QString>& paths)
{
    if (paths.isEmpty()) return;
    if (m_isScanning) {
        m_scanJournal.removed.unite(paths);
        m_scanJournal.added.removeIf([&paths](const FileItem& item) { return paths.contains(item.path); });
    }
    QList<FileItem> kept;
    kept.reserve(m_items.size());
    for (const FileItem& item : std::as_const(m_items))
        if (!paths.contains(item.path)) kept.append(item);
    setItems(std::move(kept));
    // The shown list is recomputed once the derived values catch up with the new list; until
    // then it just loses the removed files, so that none is shown after it has gone.
    const auto removed = [&paths](const FileItem& item) { return paths.contains(item.path); };
    if (!m_visibleDirty) m_visibleItems.removeIf(removed);
    m_heldResults.removeIf(removed);
    Q_EMIT shownItemsChanged();
    pruneGroups(paths);
}

void AppModel::pruneGroups(const QSet<QString>& removed)
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

FileOps::TrashResult AppModel::moveToTrash(const QList<FileItem>& items)
{
    FileOps::TrashResult result = FileOps::trash(items);
    const auto notice = TrashMessages::moveToTrash(result);
    if (notice && notice->playsSound && m_env.playSound) m_env.playSound(QStringLiteral("Purr"));
    if (!result.moved.isEmpty()) {
        QSet<QString> moved;
        for (const FileOps::TrashedItem& t : std::as_const(result.moved)) moved.insert(t.item.path);
        removeItems(moved);
        saveCache();
    }
    if (notice) {
        std::function<void()> undo;
        if (notice->offersUndo) {
            const QList<FileOps::TrashedItem> moved = result.moved;
            undo = [this, moved] { putBack(moved); };
        }
        showToast(notice->text, notice->symbol, notice->isError,
                  notice->offersUndo ? std::optional<QString>(QStringLiteral("Undo")) : std::nullopt, undo);
    }
    return result;
}

QList<FileItem> AppModel::putBack(const QList<FileOps::TrashedItem>& moved)
{
    const QList<FileItem> restored = FileOps::putBack(moved);
    if (!restored.isEmpty()) {
        QSet<QString> present;
        for (const FileItem& i : std::as_const(m_items)) present.insert(i.path);
        QList<FileItem> items = m_items;
        for (const FileItem& i : restored) {
            if (!present.contains(i.path)) items.append(i);
            if (m_isScanning) {
                m_scanJournal.removed.remove(i.path);
                m_scanJournal.added.append(i);
            }
        }
        setItems(std::move(items));
        saveCache();
    }
    const auto notice = TrashMessages::putBack(restored.size(), moved.size());
    showToast(notice.text, notice.symbol, notice.isError);
    return restored;
}

void AppModel::findDuplicates()
{
    if (m_duplicateProgress) return;
    m_duplicateProgress = 0.0;
    Q_EMIT duplicateProgressChanged();
    const QList<FileItem> snapshot = m_items;
    const QString downloads = Library::home() + QStringLiteral("/Downloads");
    const auto prints = m_imageIndex.printProvider();
    const auto stopping = m_stopping;
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
    runInBackground([this, snapshot, downloads, prints, stopping, report] {
        auto exact = DuplicateFinder::exact(
            snapshot, downloads, [&](double p) { report(0.6 * p); }, stopping.get());
        // Items loaded from the cache have no camera dates yet.
        QList<FileItem> dated = snapshot;
        CaptureDate::fillMissing(dated);
        auto alike = DuplicateFinder::lookalikes(
            dated, DuplicateFinder::kLookalikeWindow, DuplicateFinder::kLookalikeThreshold, prints,
            [&](double p) { report(0.6 + 0.4 * p); }, stopping.get());
        QMetaObject::invokeMethod(
            this,
            [this, exact = std::move(exact), alike = std::move(alike)] {
                // Files trashed while the scan ran must not come back through its result.
                QSet<QString> present;
                for (const FileItem& i : std::as_const(m_items)) present.insert(i.path);
                QSet<QString> gone;
                for (const auto* groups : {&exact, &alike})
                    for (const DuplicateGroup& g : *groups)
                        for (const FileItem& f : g.files)
                            if (!present.contains(f.path)) gone.insert(f.path);
                m_duplicateGroups = DuplicateGroup::prune(exact, gone);
                m_lookalikeGroups = DuplicateGroup::prune(alike, gone);
                m_duplicateProgress.reset();
                m_duplicatesScanned = true;
                Q_EMIT duplicateGroupsChanged();
                Q_EMIT lookalikeGroupsChanged();
                Q_EMIT duplicateProgressChanged();
                Q_EMIT duplicatesScannedChanged();
                if (m_sidebar.kind == SidebarItem::Kind::duplicates) markSearchDirty();
            },
            Qt::QueuedConnection);
    });
}

void AppModel::runAutomaticCleanup()
{
    if (m_autoCleanInstallers) {
        // Judged by when the file arrived, so a just-downloaded old installer is never taken.
        constexpr double kInstallerAge = 2592000.0;
        const Date now = m_env.now();
        QList<FileItem> stale;
        for (const FileItem& item : std::as_const(m_items))
            if (item.isInstaller() && (now - item.added) > kInstallerAge) stale.append(item);
        if (!stale.isEmpty()) moveToTrash(stale);
    }
    if (m_autoFileScreenshots) fileDesktopScreenshots();
    Q_EMIT automaticRulesRan();
}

void AppModel::fileDesktopScreenshots()
{
    const QString home = Library::home();
    const QString desktop = home + QStringLiteral("/Desktop");
    const QString screenshots = home + QStringLiteral("/Pictures/Screenshots");
    const Calendar calendar = m_env.calendar();

    // Positions first, so that the (large) list is copied only when something is filed.
    QList<qsizetype> candidates;
    for (qsizetype i = 0; i < m_items.size(); ++i)
        if (m_items.at(i).isScreenshot && m_items.at(i).folderPath() == desktop) candidates.append(i);
    if (candidates.isEmpty()) return;

    QList<FileItem> items = m_items;
    Shelf shelf = m_shelf;
    int filed = 0;
    for (qsizetype position : std::as_const(candidates)) {
        FileItem& item = items[position];
        const QString month = calendar.dateTime(item.created).toString(QStringLiteral("yyyy-MM"));
        const QString folder = screenshots + u'/' + month;
        if (!QDir().mkpath(folder)) continue;
        const QString stem = item.ext.isEmpty() ? item.name : item.name.left(item.name.size() - item.ext.size() - 1);
        const QString suffix = item.ext.isEmpty() ? QString() : item.name.mid(stem.size());
        // A name taken meanwhile is never overwritten: the next one is tried.
        QString target = folder + u'/' + item.name;
        bool moved = false;
        for (int n = 2; n < 10000; ++n) {
            if (FileOps::moveNoReplace(item.path, target)) {
                moved = true;
                break;
            }
            if (errno != EEXIST) break;  // vanished, another volume, no permission: leave it
            target = folder + u'/' + stem + u' ' + QString::number(n) + suffix;
        }
        if (!moved) continue;
        shelf.move(item.path, target);
        m_imageIndex.move(item.path, target);
        if (auto text = m_ocrText.take(item.path); !text.isNull()) m_ocrText.insert(target, text);
        item.path = target;
        item.name = QFileInfo(target).fileName();
        ++filed;
    }
    if (filed == 0) return;
    Q_EMIT imageRecordsChanged();
    setShelf(shelf);
    saveImageIndex();
    setItems(std::move(items));
    saveCache();
    showToast(QStringLiteral("Filed ")
                             + Fmt::count(filed, QStringLiteral("screenshot"))
                                          + QStringLiteral(" into Pictures › Screenshots"),
                                                           QStringLiteral("tray.and.arrow.down"));
}

}  // namespace fennic
