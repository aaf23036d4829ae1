#pragma once

#include "model/DownloadSource.h"
#include "model/FileItem.h"

#include <QList>
#include <QString>

// The two download views the app model derives on demand. Pure functions of the item list:
// no disk access, any thread.
namespace fennic {

// A place downloads came from and its files.
struct SourceGroup {
    DownloadSource source;
    QList<FileItem> files;  // newest first

    const QString& id() const { return source.key; }
};

// The items inside `downloadsFolder` (at any depth; the folder itself is not an item), newest
// first by FileItem::date, equal dates by path.
QList<FileItem> recentDownloads(const QList<FileItem>& items, const QString& downloadsFolder);

// The items that have a sourceKey, grouped by it, each group paired with
// DownloadSource::sourceFor(key). Groups with more files come first, equal counts by source
// name (ignoring letter case), then by key; files in a group newest first by date, equal dates by path.
QList<SourceGroup> sourceGroups(const QList<FileItem>& items);

}  // namespace fennic
