#include "Organiser.h"

#include "AppSettings.h"
#include "BackgroundTasks.h"
#include "ImageIndexer.h"
#include "LibraryModel.h"
#include "Toast.h"
#include "library/Library.h"
#include "model/Fmt.h"
#include "model/SupportFiles.h"
#include "organise/CleanupKind.h"
#include "organise/TrashMessages.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <cerrno>

namespace fennic {
namespace {

QString shelfFile() { return SupportFiles::current().shelf(); }

QStringList pathsOf(const QList<FileItem>& items)
{
    QStringList paths;
    paths.reserve(items.size());
    for (const FileItem& i : items) paths.append(i.path);
    return paths;
}

}  // namespace

Organiser::Organiser(AppEnvironment environment, AppSettings& settings, BackgroundTasks& tasks, LibraryModel& library,
                     ImageIndexer& images, Toast& toast, QObject* parent)
    : QObject(parent),
      m_env(std::move(environment)),
      m_settings(settings),
      m_tasks(tasks),
      m_library(library),
      m_images(images),
      m_toast(toast)
{ }

void Organiser::loadShelf()
{
    m_shelf = Shelf::load(shelfFile());
    Q_EMIT shelfChanged();
}

void Organiser::setShelf(const Shelf& shelf)
{
    m_shelf = shelf;
    Q_EMIT shelfChanged();
    if (m_env.isDemo()) return;
    // The shelf file is small; written off the GUI thread like every other file of ours.
    const auto& writes = m_tasks.writes(BackgroundTasks::File::shelf);
    const auto ticket = writes->ticket();
    m_tasks.run(
        [this, shelf, writes, ticket] {
            bool ok = true;
            // A write skipped because a newer one landed first is no failure.
            writes->run(ticket, [&] { ok = shelf.save(shelfFile()); });
            QMetaObject::invokeMethod(
                this, [this, ok] { Q_EMIT shelfSaved(ok); }, Qt::QueuedConnection);
        },
        -1);
}

void Organiser::toggleFavourite(const QList<FileItem>& items)
{
    if (items.isEmpty()) return;
    Shelf shelf = m_shelf;
    const bool allStarred =
        std::all_of(items.begin(), items.end(), [&](const FileItem& i) { return shelf.isFavourite(i.path); });
    for (const FileItem& item : items)
        if (allStarred || !shelf.isFavourite(item.path)) shelf.toggleFavourite(item.path);
    setShelf(shelf);
}

void Organiser::addTag(const QString& tag, const QList<FileItem>& items)
{
    Shelf shelf = m_shelf;
    const auto normalised = shelf.addTag(tag, pathsOf(items));
    if (!normalised) return;
    setShelf(shelf);
    const QString subject = items.size() == 1 ? QStringLiteral("“") + items.first().displayName()
                                                               + QStringLiteral("”")
                                                               : Fmt::count(items.size(), QStringLiteral("file"));
    m_toast.show(QStringLiteral("Tagged ") + subject + QStringLiteral(" #") + *normalised, QStringLiteral("tag"));
}

void Organiser::newCollection(const QString& name, const QList<FileItem>& items)
{
    Shelf shelf = m_shelf;
    const auto made = shelf.newCollection(name, pathsOf(items));
    if (!made) return;
    setShelf(shelf);
    QString text = QStringLiteral("Made the collection “") + made->name + QStringLiteral("”");
    if (!items.isEmpty()) text += QStringLiteral(" with ") + Fmt::count(items.size(), QStringLiteral("file"));
    m_toast.show(text, QStringLiteral("rectangle.stack.badge.plus"));
}

void Organiser::addToCollection(const QList<FileItem>& items, const QUuid& collection)
{
    const auto target = m_shelf.collection(collection);
    if (!target) return;
    Shelf shelf = m_shelf;
    shelf.add(pathsOf(items), collection);
    setShelf(shelf);
    m_toast.show(QStringLiteral("Added ")
                                + Fmt::count(items.size(), QStringLiteral("file"))
                                             + QStringLiteral(" to “") + target->name
                                                              + QStringLiteral("”"), QStringLiteral("rectangle.stack"));
}

void Organiser::deleteCollection(const QUuid& collection)
{
    Shelf shelf = m_shelf;
    shelf.deleteCollection(collection);
    setShelf(shelf);
    Q_EMIT collectionDeleted(collection);
}

FileOps::TrashResult Organiser::moveToTrash(const QList<FileItem>& items)
{
    FileOps::TrashResult result = FileOps::trash(items);
    const auto notice = TrashMessages::moveToTrash(result);
    if (notice && notice->playsSound && m_env.playSound) m_env.playSound(QStringLiteral("Purr"));
    if (!result.moved.isEmpty()) {
        QSet<QString> moved;
        for (const FileOps::TrashedItem& t : std::as_const(result.moved)) moved.insert(t.item.path);
        m_library.removeItems(moved);
        m_library.saveCache();
        m_lastTrash = result.moved;
        Q_EMIT canUndoTrashChanged();
    }
    if (notice) {
        std::function<void()> undo;
        if (notice->offersUndo) {
            const QList<FileOps::TrashedItem> moved = result.moved;
            undo = [this, moved] { putBack(moved); };
        }
        m_toast.show(notice->text, notice->symbol, notice->isError,
                     notice->offersUndo ? std::optional<QString>(QStringLiteral("Undo")) : std::nullopt, undo);
    }
    return result;
}

void Organiser::undoLastTrash()
{
    if (m_lastTrash.isEmpty()) return;
    putBack(QList<FileOps::TrashedItem>(m_lastTrash));
}

QList<FileItem> Organiser::putBack(const QList<FileOps::TrashedItem>& moved)
{
    const auto sameBatch = [](const QList<FileOps::TrashedItem>& a, const QList<FileOps::TrashedItem>& b) {
        return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](const auto& x, const auto& y) {
                   return x.trashed == y.trashed;
               });
    };
    if (!m_lastTrash.isEmpty() && sameBatch(m_lastTrash, moved)) {
        // Put back once only, whether through the notice's button or Ctrl+Z.
        m_lastTrash.clear();
        Q_EMIT canUndoTrashChanged();
    }
    QList<FileItem> restored = FileOps::putBack(moved);
    if (!restored.isEmpty()) {
        m_library.addItems(restored);
        m_library.saveCache();
    }
    const auto notice = TrashMessages::putBack(restored.size(), moved.size());
    m_toast.show(notice.text, notice.symbol, notice.isError);
    return restored;
}

void Organiser::runAutomaticCleanup()
{
    // The rules move files; the demonstration's are left as they were made.
    if (m_env.isDemo()) return;
    if (m_settings.autoCleanInstallers()) {
        const QList<FileItem> stale = CleanupKinds::autoInstallers(m_library.items(), m_env.now());
        if (!stale.isEmpty()) moveToTrash(stale);
    }
    if (m_settings.autoFileScreenshots()) fileDesktopScreenshots();
    Q_EMIT automaticRulesRan();
}

void Organiser::fileDesktopScreenshots()
{
    const QString home = Library::home();
    const QString desktop = home + QStringLiteral("/Desktop");
    const QString screenshots = home + QStringLiteral("/Pictures/Screenshots");
    const Calendar calendar = m_env.calendar();

    // Positions first, so that the (large) list is copied only when something is filed.
    QList<qsizetype> candidates;
    const QList<FileItem>& current = m_library.items();
    for (qsizetype i = 0; i < current.size(); ++i)
        if (current.at(i).isScreenshot && current.at(i).folderPath() == desktop) candidates.append(i);
    if (candidates.isEmpty()) return;

    QList<FileItem> items = current;
    Shelf shelf = m_shelf;
    QList<QPair<QString, QString>> moves;
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
        moves.append({item.path, target});
        item.path = target;
        item.name = QFileInfo(target).fileName();
    }
    const int filed = int(moves.size());
    if (filed == 0) return;
    m_images.moveRecords(moves);
    setShelf(shelf);
    m_library.replaceItems(std::move(items));
    m_library.saveCache();
    m_toast.show(QStringLiteral("Filed ")
                                + Fmt::count(filed, QStringLiteral("screenshot"))
                                             + QStringLiteral(" into Pictures › Screenshots"),
                                                              QStringLiteral("tray.and.arrow.down"));
}

}  // namespace fennic
