#pragma once

#include "model/FileItem.h"
#include "thumbnails/ThumbnailLoader.h"

#include <QIcon>
#include <QPixmap>
#include <QString>
#include <QVariant>

namespace fennic {

// What a row of a review list shows for one file: its picture and its folder, the same way
// on the clean-up review and the duplicates page. GUI thread only; nothing here opens a file.
namespace FileRows {

// The request the thumbnail loader keys a file's picture by.
ThumbnailLoader::Request thumbnailRequest(const FileItem& item);

// The file's thumbnail when the loader has it in memory (asking for it queues it), otherwise
// its type's icon. Only rows being painted ask, so only those are thumbnailed.
QVariant picture(ThumbnailLoader& thumbnails, const FileItem& item);

// The picture cut to a square (its middle) of `edge` pixels, for rows whose icons are squares.
QPixmap square(const QImage& image, int edge, qreal ratio);

// The icon of the file's type, by its name alone.
QIcon typeIcon(const FileItem& item);

// The folder the file is in, with the home folder written "~".
QString folderText(const FileItem& item);

// "12 Mar 2025, 14:05", or nothing for a file without a known date.
QString dateText(const FileItem& item);

}  // namespace FileRows

}  // namespace fennic
