#include "BandedScrollBarStyle.h"

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <QStyleFactory>
#include <QStyleOptionSlider>
#include <algorithm>

namespace fennic {

namespace {

// The raster engine shares out a fill of 96 spans or more; an antialiased handle has up to four
// spans a line, so 20 lines stay below that.
constexpr int kBand = 20;

}  // namespace

BandedScrollBarStyle::BandedScrollBarStyle(QStyle* base, QObject* parent) : QProxyStyle(base) { setParent(parent); }

BandedScrollBarStyle* BandedScrollBarStyle::ofApplicationStyle(QObject* parent)
{
    QStyle* base = QStyleFactory::create(QApplication::style()->name());
    if (!base) return nullptr;
    return new BandedScrollBarStyle(base, parent);
}

void BandedScrollBarStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                                              QPainter* painter, const QWidget* widget) const
{
    const auto* slider = qstyleoption_cast<const QStyleOptionSlider*>(option);
    if (control != CC_ScrollBar || !slider || slider->orientation != Qt::Vertical || option->rect.height() <= kBand
        || painter->transform().type() > QTransform::TxTranslate) {
        QProxyStyle::drawComplexControl(control, option, painter, widget);
        return;
    }
    // Each band is drawn whole into a picture of its own size: a style may set its own clip
    // while it paints, so only the picture's edges reliably keep a band's fills short.
    const qreal ratio = painter->device() ? painter->device()->devicePixelRatio() : 1.0;
    const QRect area = option->rect;
    for (int top = area.top(); top <= area.bottom(); top += kBand) {
        const QRect band(area.left(), top, area.width(), std::min(kBand, area.bottom() + 1 - top));
        QImage picture((QSizeF(band.size()) * ratio).toSize(), QImage::Format_ARGB32_Premultiplied);
        picture.setDevicePixelRatio(ratio);
        picture.fill(Qt::transparent);
        QPainter bandPainter(&picture);
        bandPainter.setRenderHints(painter->renderHints());
        bandPainter.setFont(painter->font());
        bandPainter.setLayoutDirection(painter->layoutDirection());
        bandPainter.translate(-band.topLeft());
        QProxyStyle::drawComplexControl(control, option, &bandPainter, widget);
        bandPainter.end();
        painter->drawImage(band.topLeft(), picture);
    }
}

}  // namespace fennic
