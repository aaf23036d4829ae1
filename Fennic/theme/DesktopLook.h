#pragma once

#include <QPalette>

namespace fennic {

// The desktop's look as Qt finds it, made whole where a bare session leaves gaps: an icon
// theme when the platform names none (a window manager without a desktop, the offscreen
// platform of captures and tests), and the two palettes captures and tests switch between.
namespace DesktopLook {

// Keeps the platform's icon theme when it has one; otherwise uses the first installed of the
// common freedesktop themes, so that icons by standard name ("edit-clear", "folder") resolve.
void ensureIconTheme();

// A light and a dark palette in the manner of the desktop's own (used when a capture or a test
// asks for one theme explicitly; the running application keeps the desktop's palette).
QPalette lightPalette();
QPalette darkPalette();

// Whether a palette is dark: its window is darker than its text.
bool isDark(const QPalette& palette);

}  // namespace DesktopLook

}  // namespace fennic
