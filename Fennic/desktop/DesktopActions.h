#pragma once

#include "model/FileItem.h"

#include <QIcon>
#include <QList>
#include <QString>
#include <QStringList>
#include <functional>

class QMimeData;
class QObject;

namespace fennic {

// What the desktop does with files: open them, open them with another application, show them
// in the file manager, and put them on the clipboard so that file managers and other
// applications paste them. Nothing here waits on a slow operation on the GUI thread: launching
// goes through the desktop, the file manager is asked asynchronously, pictures for the
// clipboard load on a pool thread. Call these from the GUI thread.
namespace DesktopActions {

// An application that can open a file.
struct Application {
    QString id;  // the desktop file's id, "org.gnome.TextEditor.desktop"
    QString name;
    QIcon icon;
};

// Opens each file (or folder) with the desktop's default application.
void open(const QStringList& paths);

// The applications registered for the file's type (worked out from its name, the file is not
// read), the default one first. The first call reads the desktop's application list, which
// GIO then keeps in memory; findApplicationsFor does that on a pool thread.
QList<Application> applicationsFor(const QString& path);
// The same on a pool thread; `done` is called on `context`'s thread unless `context` has gone.
void findApplicationsFor(const QString& path, QObject* context, std::function<void(QList<Application>)> done);

// Opens the files with the application of that desktop file id; false when there is no such
// application or it could not be started.
bool openWith(const QString& appId, const QStringList& paths);

// Shows the files selected in the desktop's file manager (org.freedesktop.FileManager1 on the
// session bus); without one, or when it fails, opens their folders instead.
void showInFolder(const QStringList& paths);

// The files as the clipboard and drags carry them: their URLs (text/uri-list), their paths as
// plain text, and the list GNOME's file manager pastes ("x-special/gnome-copied-files"). It
// never reads a file, so a picture's pixels are not in it: copy() adds them once loaded.
QMimeData* mimeDataFor(const QList<FileItem>& items);
// Whether copy() puts the picture itself on the clipboard too: exactly one file, a picture in a
// format Qt reads.
bool copiesImage(const QList<FileItem>& items);

// Puts the files on the clipboard at once. For a single picture, the picture is loaded on a
// pool thread and added when it arrives, provided the clipboard still holds this copy.
void copy(const QList<FileItem>& items);
// Puts the files' paths on the clipboard as text, one a line.
void copyPaths(const QList<FileItem>& items);

}  // namespace DesktopActions
}  // namespace fennic
