#include "ScaledPicture.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmapCache>
#include <algorithm>
#include <cmath>

namespace fennic {
namespace {

// Scales each pixel of one corner square by how much of it lies inside the corner's arc, so
// the edge is smoothed without a painter (whose fills of this size wait on other threads).
void cutCorner(QImage& image, int left, int top, int side, QPointF centre, qreal radius)
{
    for (int y = top; y < top + side; ++y) {
        auto* row = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = left; x < left + side; ++x) {
            const qreal distance = std::hypot(x + 0.5 - centre.x(), y + 0.5 - centre.y());
            const qreal cover = std::clamp(radius + 0.5 - distance, 0.0, 1.0);
            if (cover >= 1.0) continue;
            const QRgb p = row[x];
            row[x] = qRgba(int(qRed(p) * cover), int(qGreen(p) * cover), int(qBlue(p) * cover), int(qAlpha(p) * cover));
        }
    }
}

}  // namespace

QPixmap scaledPicture(const QImage& image, QSize size)
{
    const QString key =
        QStringLiteral("fennic-picture:%1:%2x%3").arg(image.cacheKey()).arg(size.width()).arg(size.height());
    QPixmap pixmap;
    if (QPixmapCache::find(key, &pixmap)) return pixmap;
    pixmap = QPixmap::fromImage(image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    QPixmapCache::insert(key, pixmap);
    return pixmap;
}

QPixmap roundedPicture(const QImage& image, QSize size, qreal radius, qreal dpr)
{
    const QString key = QStringLiteral("fennic-rounded:%1:%2x%3:%4:%5")
                                           .arg(image.cacheKey())
                                           .arg(size.width())
                                           .arg(size.height())
                                           .arg(radius)
                                           .arg(dpr);
    QPixmap pixmap;
    if (QPixmapCache::find(key, &pixmap)) return pixmap;
    QImage picture = image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                         .convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const qreal r = std::min({radius, picture.width() / 2.0, picture.height() / 2.0});
    const int side = int(std::ceil(r));
    if (side > 0) {
        const int right = picture.width() - side;
        const int bottom = picture.height() - side;
        cutCorner(picture, 0, 0, side, {r, r}, r);
        cutCorner(picture, right, 0, side, {picture.width() - r, r}, r);
        cutCorner(picture, 0, bottom, side, {r, picture.height() - r}, r);
        cutCorner(picture, right, bottom, side, {picture.width() - r, picture.height() - r}, r);
    }
    pixmap = QPixmap::fromImage(std::move(picture));
    // Set before it is shared: setting it on a copy would copy the pixels.
    pixmap.setDevicePixelRatio(dpr);
    QPixmapCache::insert(key, pixmap);
    return pixmap;
}

QRectF drawRoundedPicture(QPainter* painter, const QImage& image, const QRectF& target, qreal radius)
{
    const QTransform device = painter->deviceTransform();
    if (device.type() > QTransform::TxScale || device.m11() != device.m22()) {
        // Rotated or stretched: nothing to align to, so clip as before.
        QPainterPath clip;
        clip.addRoundedRect(target, radius, radius);
        painter->save();
        painter->setClipPath(clip, Qt::IntersectClip);
        painter->drawImage(target, image);
        painter->restore();
        return target;
    }
    const qreal scale = device.m11();
    const QRectF exact = device.mapRect(target);
    const QRect pixels(int(std::lround(exact.left())), int(std::lround(exact.top())),
                       std::max(1, int(std::lround(exact.width()))), std::max(1, int(std::lround(exact.height()))));
    const QPixmap pixmap = roundedPicture(image, pixels.size(), radius * scale, scale);
    const QRectF placed = device.inverted().mapRect(QRectF(pixels));
    // Copied one to one, so smoothing has nothing to do; asked for, it would also keep the raster
    // engine off its plain blending path and have it hand the rows to its thread pool.
    const bool smooth = painter->testRenderHint(QPainter::SmoothPixmapTransform);
    painter->setRenderHint(QPainter::SmoothPixmapTransform, false);
    painter->drawPixmap(placed.topLeft(), pixmap);
    painter->setRenderHint(QPainter::SmoothPixmapTransform, smooth);
    return placed;
}

}  // namespace fennic
