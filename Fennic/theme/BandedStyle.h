#pragma once

#include <QProxyStyle>

namespace fennic {

// The application's style, with one change: the controls that repaint while the library is
// busy (vertical scroll bars, progress bars) are painted in small tiles, each the whole drawing
// made in a picture of the tile's size and copied into place, so the pixels are the same.
//
// Why: Qt's raster engine hands a fill of a hundred or more spans (a scroll bar's groove, its
// edge line, a tall handle, a progress bar's stripes) to the global thread pool in pieces and
// blocks the GUI thread until they are done. While the library is scanned and its pictures
// read, those threads wait for a core, so a repaint that should take a millisecond stalled the
// window for 10 to 80 ms while the GUI thread itself slept. A tile small enough stays under that
// threshold and is filled at once on the GUI thread.
//
// Threads: GUI thread only, like every style.
class BandedStyle : public QProxyStyle {
    Q_OBJECT

public:
    // A new instance of the application's style wrapped this way, or null when that style can't
    // be made again by its name (the caller then keeps the application's style).
    static BandedStyle* ofApplicationStyle(QObject* parent);
    // Makes the application's style banded; a style already banded is kept.
    static void install();

    void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                            const QWidget* widget = nullptr) const override;
    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget = nullptr) const override;

private:
    explicit BandedStyle(QStyle* base);
};

}  // namespace fennic
