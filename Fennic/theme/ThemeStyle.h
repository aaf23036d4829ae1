#pragma once

#include "app/AppSettings.h"
#include "model/FileKind.h"
#include "search/SearchFilter.h"

#include <QColor>
#include <QPalette>
#include <QRectF>

class QPainter;

namespace fennic {

// What a theme looks like on top of the desktop's palette: the colour of each kind of chip,
// the accents, the roundness of cards and fields. "playful" is rounded with coloured chips
// and accents; "minimal" is flat and quiet, with chips in muted tints. Both follow the
// desktop's light or dark palette, so text and backgrounds always come from the palette and
// only the tints come from here.
//
// A plain value: views make one from the current settings and palette when either changes.
class ThemeStyle {
public:
    ThemeStyle(Theme theme, const QPalette& palette);

    Theme theme() const { return m_theme; }
    const QPalette& palette() const { return m_palette; }
    // The palette's window is darker than its text.
    bool isDark() const { return m_dark; }

    // The tint of a chip for a filter of this category.
    QColor tokenColour(SearchFilter::Category category) const;
    // Opacities (0…1) of a chip's fill and its outline.
    double chipFillOpacity() const;
    double chipStrokeOpacity() const;
    // A tint for a kind of file (tiles, icons' backdrops, the kind dots of the sidebar).
    QColor kindColour(FileKind kind) const;

    // The accent of selections, focus rings and primary buttons.
    QColor accent() const;
    // Corner radius of cards and thumbnails, in device-independent pixels.
    double cardRadius() const;
    // Corner radius of the Ask field's frame and of toasts.
    double fieldRadius() const;
    // A card's background and its outline (none in the playful theme, a hairline in minimal).
    QColor cardBackground() const;
    QColor cardOutline() const;
    // A soft colour for secondary text (sizes, dates, folders).
    QColor secondaryText() const;
    // Error notices.
    QColor errorColour() const;

    // Paints a card's surface in `card`: the playful theme's soft shadow or the minimal theme's
    // hairline, the hover and selection tints, and the selection's outline, stronger on the
    // focused card so the keyboard's place shows among many selected ones. The painter should
    // be antialiased.
    void paintCard(QPainter* painter, const QRectF& card, const QPalette& palette, bool selected, bool focused,
                   bool hovered) const;

    // `colour` with its alpha set to `opacity`.
    static QColor withOpacity(QColor colour, double opacity);

private:
    Theme m_theme;
    QPalette m_palette;
    bool m_dark;
};

}  // namespace fennic
