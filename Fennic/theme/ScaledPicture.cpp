#include "ScaledPicture.h"

#include <QPixmapCache>

namespace fennic {

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

}  // namespace fennic
