#pragma once

#include <QImage>
#include <QSize>
#include <QString>

namespace fennic {

// Reading files for previews. Every function here reads the disk (or runs a helper program)
// and so runs on a pool thread only; each asserts that in debug builds. None throws or hangs:
// a file that vanished or can't be read gives an empty result with `error` saying why.
namespace PreviewReader {

struct Picture {
    QImage image;
    QSize pixelSize;  // the picture's own size (after its Exif rotation); invalid when unknown
    QString error;    // why there is no image; empty on success
};

struct Pages {
    QImage image;  // the page asked for
    int page = 0;
    int pageCount = 0;
    QString error;
};

struct Text {
    QString text;
    bool truncated = false;  // the file is longer than what was read
    QString error;
};

// The picture scaled to fit `bound` (never enlarged), turned upright as its metadata says.
Picture readImage(const QString& path, QSize bound);
// The picture's own size without decoding it.
QSize pixelSize(const QString& path);
// One page of a PDF, rendered to fit `bound`.
Pages readPdfPage(const QString& path, int page, QSize bound);
// The start of a text file (UTF-8 unless it starts with another encoding's byte-order mark).
Text readText(const QString& path, qint64 maxBytes = qint64(256) * 1024);
// A frame of a video made by ffmpegthumbnailer, at most `size` pixels wide or tall.
Picture videoFrame(const QString& path, int size = 1024);

// A short reason for a file that can't be opened: it vanished, is a folder, or can't be read.
// Empty when the file is there and readable.
QString unreadableReason(const QString& path);

}  // namespace PreviewReader
}  // namespace fennic
