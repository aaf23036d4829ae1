#pragma once

#include <QFont>
#include <QString>

namespace fennic {

// Where an Ask field stands, which sets its size and its hint: the large field of the empty
// window (hero), the window's toolbar, a side panel, and the field that describes a picture
// in words (describe), which never shows chips.
enum class AskStyle : quint8 {
    hero,
    toolbar,
    panel,
    describe
};

// The measures of each style. Lengths are in device-independent pixels.
namespace AskStyles {

// The hint shown while the field is empty.
QString placeholder(AskStyle style);
// How much larger than the toolbar's the chips' insets, dots and corners are drawn.
double scale(AskStyle style);
// The text size relative to the application's font.
double fontFactor(AskStyle style);
// The application's font `base` at the style's size.
QFont font(AskStyle style, const QFont& base);
// The height of the field's frame.
int height(AskStyle style);
// Whether the frame shows a magnifier at its left (every style but describe).
bool showsMagnifier(AskStyle style);

}  // namespace AskStyles

}  // namespace fennic
