#include "BandedStyle.h"

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <QStyleFactory>
#include <QStyleOptionProgressBar>
#include <QStyleOptionSlider>
#include <algorithm>
#include <functional>

namespace fennic {

namespace {

// The raster engine shares out a fill of 96 spans or more. An antialiased handle has up to four
// spans a line, so 20 lines stay below that; a progress bar's diagonal stripes, four pixels
// apart, cross a 16-pixel column about seven times a line.
constexpr int kBandHeight = 20;
constexpr int kProgressColumn = 16;

bool onlyTranslated(const QPainter* painter) { return painter->transform().type() <= QTransform::TxTranslate; }

// Draws `draw` tile by tile over `area`. Each tile is drawn whole into a picture of its own
// size: a style may set its own clip while it paints, so only the picture's edges reliably keep
// a tile's fills short.
void drawInTiles(QPainter* painter, const QRect& area, QSize tile, const std::function<void(QPainter*)>& draw)
{
    const qreal ratio = painter->device() ? painter->device()->devicePixelRatio() : 1.0;
    for (int top = area.top(); top <= area.bottom(); top += tile.height()) {
        for (int left = area.left(); left <= area.right(); left += tile.width()) {
            const QRect piece(left, top, std::min(tile.width(), area.right() + 1 - left),
                              std::min(tile.height(), area.bottom() + 1 - top));
            QImage picture((QSizeF(piece.size()) * ratio).toSize(), QImage::Format_ARGB32_Premultiplied);
            picture.setDevicePixelRatio(ratio);
            picture.fill(Qt::transparent);
            QPainter piecePainter(&picture);
            piecePainter.setRenderHints(painter->renderHints());
            piecePainter.setFont(painter->font());
            piecePainter.setLayoutDirection(painter->layoutDirection());
            piecePainter.setPen(painter->pen());
            piecePainter.setBrush(painter->brush());
            piecePainter.translate(-piece.topLeft());
            draw(&piecePainter);
            piecePainter.end();
            painter->drawImage(piece.topLeft(), picture);
        }
    }
}

}  // namespace

BandedStyle::BandedStyle(QStyle* base) : QProxyStyle(base) { }

BandedStyle* BandedStyle::ofApplicationStyle(QObject* parent)
{
    const QStyle* current = QApplication::style();
    if (const auto* banded = qobject_cast<const BandedStyle*>(current)) current = banded->baseStyle();
    QStyle* base = QStyleFactory::create(current->name());
    if (!base) return nullptr;
    auto* style = new BandedStyle(base);
    style->setParent(parent);
    return style;
}

void BandedStyle::install()
{
    if (qobject_cast<BandedStyle*>(QApplication::style())) return;
    // The application takes the new style and deletes its old one, so the base is a new
    // instance of the same style rather than the one in use.
    if (BandedStyle* style = ofApplicationStyle(nullptr)) QApplication::setStyle(style);
}

void BandedStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                                     const QWidget* widget) const
{
    const auto* slider = qstyleoption_cast<const QStyleOptionSlider*>(option);
    if (control != CC_ScrollBar || !slider || slider->orientation != Qt::Vertical
        || option->rect.height() <= kBandHeight || !onlyTranslated(painter)) {
        QProxyStyle::drawComplexControl(control, option, painter, widget);
        return;
    }
    drawInTiles(painter, option->rect, QSize(option->rect.width(), kBandHeight),
                [&](QPainter* p) { QProxyStyle::drawComplexControl(control, option, p, widget); });
}

void BandedStyle::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                              const QWidget* widget) const
{
    const auto* bar = qstyleoption_cast<const QStyleOptionProgressBar*>(option);
    if (element != CE_ProgressBar || !bar || !bar->state.testFlag(State_Horizontal)
        || option->rect.width() <= kProgressColumn || !onlyTranslated(painter)) {
        QProxyStyle::drawControl(element, option, painter, widget);
        return;
    }
    drawInTiles(painter, option->rect, QSize(kProgressColumn, kBandHeight),
                [&](QPainter* p) { QProxyStyle::drawControl(element, option, p, widget); });
}

}  // namespace fennic
