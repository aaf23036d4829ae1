// Pictures drawn with rounded corners: copied at whole pixels, unfiltered inside, cut at the
// corners, and transparent outside the rounding, at any position and screen scale.
#include "theme/ScaledPicture.h"

#include <QImage>
#include <QPainter>
#include <gtest/gtest.h>

using namespace fennic;

namespace {

QImage canvas(qreal dpr)
{
    QImage image(QSize(200, 120) * dpr, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(dpr);
    image.fill(Qt::white);
    return image;
}

QImage stripes(QSize size = QSize(80, 40))
{
    // Columns of alternating colours: any filtering or half-pixel shift would mix them.
    QImage image(size, QImage::Format_RGB32);
    for (int x = 0; x < image.width(); ++x)
        for (int y = 0; y < image.height(); ++y) image.setPixel(x, y, x % 2 ? qRgb(255, 0, 0) : qRgb(0, 0, 255));
    return image;
}

}  // namespace

TEST(RoundedPicture, LandsOnWholePixelsUnfilteredWithItsCornersCut)
{
    for (const qreal dpr : {1.0, 2.0}) {
        SCOPED_TRACE(dpr);
        QImage target = canvas(dpr);
        QPainter painter(&target);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        const QRectF asked(20.4, 10.6, 80, 40);
        // A picture of the screen's own pixel size, as thumbnails are made.
        const QRectF placed = drawRoundedPicture(&painter, stripes(QSize(80, 40) * dpr), asked, 8);
        painter.end();

        // Within half a device pixel of what was asked, on whole device pixels.
        const QRectF device(placed.topLeft() * dpr, placed.size() * dpr);
        EXPECT_NEAR(placed.left(), asked.left(), 0.5 / dpr);
        EXPECT_NEAR(placed.top(), asked.top(), 0.5 / dpr);
        EXPECT_EQ(device.left(), std::round(device.left()));
        EXPECT_EQ(device.top(), std::round(device.top()));
        EXPECT_EQ(device.size(), QSizeF(80, 40) * dpr);

        // Inside, the picture's own colours, copied rather than blended.
        const QPoint inside = device.center().toPoint();
        const QRgb a = target.pixel(inside);
        const QRgb b = target.pixel(inside + QPoint(1, 0));
        EXPECT_TRUE(a == qRgb(255, 0, 0) || a == qRgb(0, 0, 255)) << std::hex << a;
        EXPECT_TRUE(b == qRgb(255, 0, 0) || b == qRgb(0, 0, 255)) << std::hex << b;
        EXPECT_NE(a, b);

        // The corners are cut: the outermost pixel shows the background, the edge's middle does not.
        const QPoint corners[] = {device.topLeft().toPoint(), device.topRight().toPoint() - QPoint(1, 0),
                                  device.bottomLeft().toPoint() - QPoint(0, 1),
                                  device.bottomRight().toPoint() - QPoint(1, 1)};
        for (const QPoint corner : corners) EXPECT_EQ(target.pixel(corner), qRgb(255, 255, 255)) << corner.x();
        EXPECT_NE(target.pixel(QPoint(inside.x(), int(device.top()))), qRgb(255, 255, 255));
        // Outside the picture nothing was touched.
        EXPECT_EQ(target.pixel(QPoint(int(device.left()) - 1, inside.y())), qRgb(255, 255, 255));
        EXPECT_EQ(target.pixel(QPoint(int(device.right()), inside.y())), qRgb(255, 255, 255));
    }
}

TEST(RoundedPicture, SmallerThanTwiceTheRadiusStillDraws)
{
    QImage target = canvas(1);
    QPainter painter(&target);
    const QRectF placed = drawRoundedPicture(&painter, stripes(), QRectF(10, 10, 6, 6), 8);
    painter.end();
    EXPECT_EQ(placed.size(), QSizeF(6, 6));
    EXPECT_NE(target.pixel(13, 13), qRgb(255, 255, 255)) << "the middle of a picture smaller than its rounding";
}
