#pragma once

#include <QImage>
#include <QString>

namespace fennic {

// Makes the picture of one file for its thumbnail: pictures through Qt's image readers
// (decoded at the size wanted, turned the way the camera held them), videos through
// ffmpegthumbnailer (a frame from the first tenth), PDFs through Poppler (the first page).
// A null image when the file can't be read or its type has no picture; the caller then
// shows the type's icon.
//
// Threads: any; blocks the calling thread for as long as decoding takes (a video's helper is
// given a few seconds at most), so never call it on the GUI thread.
namespace ThumbnailMaker {

// Whether a picture can be tried for a file of this extension (lower case, without the dot).
bool canMake(const QString& ext);
QImage make(const QString& path, const QString& ext, int edge);

}  // namespace ThumbnailMaker

}  // namespace fennic
