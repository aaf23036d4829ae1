#pragma once

#include "AppEnvironment.h"
#include "model/FileItem.h"
#include "organise/FileOps.h"
#include "organise/Shelf.h"

#include <QList>
#include <QObject>
#include <QUuid>

namespace fennic {

class AppSettings;
class BackgroundTasks;
class ImageIndexer;
class LibraryModel;
class Toast;

// The user's organising actions: favourites, tags and collections (the shelf and
// "shelf.json"), moves to the Trash with Undo, and the two automatic rules that tidy files
// after every completed scan. Each action ends with at most one toast and a save of what
// changed.
//
// Threads: GUI thread only. Trash and put back move files on the calling thread (one rename
// per file); files are written on the pool.
class Organiser : public QObject {
    Q_OBJECT
    Q_PROPERTY(fennic::Shelf shelf READ shelf NOTIFY shelfChanged)

public:
    Organiser(AppEnvironment environment, AppSettings& settings, BackgroundTasks& tasks, LibraryModel& library,
              ImageIndexer& images, Toast& toast, QObject* parent = nullptr);

    const Shelf& shelf() const { return m_shelf; }
    // Reads "shelf.json" on the calling thread; a damaged file gives an empty shelf.
    void loadShelf();
    // Replaces the shelf and writes "shelf.json" on the pool; `shelfSaved` reports the result.
    void setShelf(const Shelf& shelf);
    // Stars every file, or unstars them all when all are starred.
    void toggleFavourite(const QList<FileItem>& items);
    void addTag(const QString& tag, const QList<FileItem>& items);
    void newCollection(const QString& name, const QList<FileItem>& items = {});
    void addToCollection(const QList<FileItem>& items, const QUuid& collection);
    void deleteCollection(const QUuid& collection);

    // Moves the files to the Trash and reports it in a toast that offers Undo.
    FileOps::TrashResult moveToTrash(const QList<FileItem>& items);
    // Puts back what a Trash action moved.
    QList<FileItem> putBack(const QList<FileOps::TrashedItem>& moved);
    // The last Trash action that moved something and was not put back yet (Ctrl+Z).
    bool canUndoTrash() const { return !m_lastTrash.isEmpty(); }
    void undoLastTrash();

    // The two automatic rules (when switched on): old installers to the Trash, Desktop
    // screenshots filed into month folders.
    void runAutomaticCleanup();

Q_SIGNALS:
    void shelfChanged();
    // "shelf.json" was written (or the write failed: `ok` false).
    void shelfSaved(bool ok);
    void collectionDeleted(const QUuid& collection);
    // The automatic rules ran after a completed scan.
    void automaticRulesRan();
    void canUndoTrashChanged();

private:
    void fileDesktopScreenshots();

    const AppEnvironment m_env;
    AppSettings& m_settings;
    BackgroundTasks& m_tasks;
    LibraryModel& m_library;
    ImageIndexer& m_images;
    Toast& m_toast;
    Shelf m_shelf;
    QList<FileOps::TrashedItem> m_lastTrash;
};

}  // namespace fennic
