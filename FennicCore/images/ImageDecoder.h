#pragma once

#include <QImage>
#include <QString>

namespace fennic::ImageDecoder {

// Pictures are never decoded larger than this on their longest side.
inline constexpr int kMaxPixelSize = 2600;

struct Decoded {
    bool opened = false;    // the file could be opened as a picture
    qint64 pixelWidth = 0;  // of the picture in the file, 0 when unknown
    qint64 pixelHeight = 0;
    QImage image;  // null when decoding failed; orientation applied, downsampled
};

// Reads one picture: HEIC/HEIF through libheif, everything else through QImageReader with
// Debian's image-format plugins, the plugin chosen by the file's first bytes (so a PNG named
// ".jpg" reads, and a file that is no picture costs one small read). The image has its orientation
// applied and its longest side at most `maxPixelSize`. Never throws. Any thread.
Decoded read(const QString& path, int maxPixelSize = kMaxPixelSize);

}  // namespace fennic::ImageDecoder
