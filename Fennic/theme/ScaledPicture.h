#pragma once

#include <QImage>
#include <QPixmap>
#include <QRectF>
#include <QSize>

class QPainter;

namespace fennic {

// A thumbnail scaled smoothly to `size` device pixels, kept in the pixmap cache so that
// scrolling back over a card doesn't scale it again. GUI thread only.
QPixmap scaledPicture(const QImage& image, QSize size);

// `image` scaled to `size` device pixels with its corners rounded to `radius` device pixels
// (smoothed edges, transparent outside), for a screen of `dpr`, cached like scaledPicture.
// GUI thread only.
QPixmap roundedPicture(const QImage& image, QSize size, qreal radius, qreal dpr = 1.0);

// Draws `image` fitted into `target` with corners of `radius`, at whole device pixels. The
// rounding is cut into the cached pixmap once, so each paint is a plain copy: drawing through
// a rounded clip instead makes the paint engine blend the picture row by row on every paint,
// and at a fractional position filter it too. Returns where the picture went.
QRectF drawRoundedPicture(QPainter* painter, const QImage& image, const QRectF& target, qreal radius);

}  // namespace fennic
