#pragma once

#include <QImage>
#include <QPixmap>
#include <QSize>

namespace fennic {

// A thumbnail scaled smoothly to `size` device pixels, kept in the pixmap cache so that
// scrolling back over a card doesn't scale it again. GUI thread only.
QPixmap scaledPicture(const QImage& image, QSize size);

}  // namespace fennic
