#pragma once

#include <QProxyStyle>

namespace fennic {

// The application's style, with one change: a vertical scroll bar is painted in bands twenty
// pixels tall, each the whole drawing made in a picture of the band's size and copied into
// place, so the pixels are the same.
//
// Why: Qt's raster engine hands a fill of a hundred or more spans (a scroll bar's groove, its
// edge line, a tall handle) to the global thread pool in pieces and blocks the GUI thread until
// they are done. On a busy machine those threads wait for a core, so every scroll step of a
// long list stalled the window for 10 to 80 ms while the GUI thread itself slept. A band short
// enough stays under that threshold and is filled at once on the GUI thread.
//
// Threads: GUI thread only, like every style.
class BandedScrollBarStyle : public QProxyStyle {
    Q_OBJECT

public:
    // A new instance of the application's style wrapped this way, or null when that style can't
    // be made again by its name (the widget then keeps the application's style).
    static BandedScrollBarStyle* ofApplicationStyle(QObject* parent);

    void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                            const QWidget* widget = nullptr) const override;

private:
    BandedScrollBarStyle(QStyle* base, QObject* parent);
};

}  // namespace fennic
