#pragma once

#include "model/Date.h"
#include "model/FileItem.h"

#include <QList>
#include <QString>

namespace fennic {

// The demonstration library: a small home of real files that shows what Fennic does, for
// captures and for trying Fennic without pointing it at one's own folders. Photographs and
// screenshots drawn here (a beach, an island, mountains, signs and a receipt with words in
// several languages), PDFs, documents, music and video stand-ins, downloads that carry where
// they came from, an old installer, an exact copy and a look-alike. The items come back with
// dates spread over the two years before `now`, since a file's own dates can't be set that far.
//
// Threads: any, once a QGuiApplication exists (it draws and writes PDFs). Writes only under
// `root`.
namespace FennicDemo {

struct Library {
    QString root;           // the demonstration home: Desktop, Documents, Downloads, Pictures, Movies, Music
    QList<FileItem> items;  // every file, as a scan reads it, with the demonstration's dates
};

Library build(const QString& root, Date now);

}  // namespace FennicDemo

}  // namespace fennic
