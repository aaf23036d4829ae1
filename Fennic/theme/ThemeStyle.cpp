#include "ThemeStyle.h"

#include "DesktopLook.h"

#include <QPainter>
#include <QPen>
#include <array>

namespace fennic {

namespace {

// Tints chosen to stay readable behind text in both palettes: the light set is a little
// deeper, the dark set a little brighter. Order follows SearchFilter::Category.
constexpr std::array<QRgb, 7> kPlayfulLight{
    0xff2f7de1,  // what: blue
    0xffd9822b,  // when: orange
    0xff8a5cd6,  // size: violet
    0xff1e9e6a,  // place: green
    0xffc7427a,  // words: raspberry
    0xff0f9bb0,  // sight: teal
    0xffc9a20a,  // mine: gold
};
constexpr std::array<QRgb, 7> kPlayfulDark{
    0xff62a0f5, 0xfff0a04f, 0xffae8bf0, 0xff4cc793, 0xffe56b9f, 0xff3cc2d6, 0xffe6c13d,
};
// Minimal keeps the hues but takes most of their colour away.
constexpr std::array<QRgb, 7> kMinimalLight{
    0xff5a7394, 0xff94785a, 0xff7d6e94, 0xff5a8a74, 0xff946074, 0xff5a8890, 0xff8f8458,
};
constexpr std::array<QRgb, 7> kMinimalDark{
    0xff8ea3bf, 0xffbfa88e, 0xffaa9dc0, 0xff8fbaa5, 0xffc095a6, 0xff8fb7be, 0xffbab28b,
};

// Order follows FileKind.
constexpr std::array<QRgb, 7> kKindColours{
    0xff2f9be1,  // image
    0xffe14b4b,  // video
    0xffe1552f,  // music
    0xff4b6fe1,  // document
    0xffa07a4b,  // archive
    0xff7a4be1,  // app
    0xff7f8c8d,  // other
};

}  // namespace

ThemeStyle::ThemeStyle(Theme theme, const QPalette& palette)
    : m_theme(theme), m_palette(palette), m_dark(DesktopLook::isDark(palette))
{ }

QColor ThemeStyle::tokenColour(SearchFilter::Category category) const
{
    const auto index = static_cast<size_t>(category);
    const auto& table =
        m_theme == Theme::playful ? (m_dark ? kPlayfulDark : kPlayfulLight) : (m_dark ? kMinimalDark : kMinimalLight);
    return QColor::fromRgba(index < table.size() ? table[index] : table.back());
}

double ThemeStyle::chipFillOpacity() const
{
    if (m_theme == Theme::playful) return m_dark ? 0.28 : 0.16;
    return m_dark ? 0.20 : 0.10;
}

double ThemeStyle::chipStrokeOpacity() const
{
    if (m_theme == Theme::playful) return m_dark ? 0.70 : 0.55;
    return m_dark ? 0.45 : 0.35;
}

QColor ThemeStyle::kindColour(FileKind kind) const
{
    const auto index = static_cast<size_t>(kind);
    QColor c = QColor::fromRgba(index < kKindColours.size() ? kKindColours[index] : kKindColours.back());
    if (m_theme == Theme::minimal) c = QColor::fromHsl(c.hslHue(), c.hslSaturation() / 3, c.lightness());
    if (m_dark) c = c.lighter(125);
    return c;
}

QColor ThemeStyle::accent() const
{
    if (m_theme == Theme::playful) return QColor::fromRgba(m_dark ? 0xffff9a5c : 0xffe8702a);  // a fox's orange
    return m_palette.color(QPalette::Highlight);
}

double ThemeStyle::cardRadius() const { return m_theme == Theme::playful ? 12.0 : 4.0; }

double ThemeStyle::fieldRadius() const { return m_theme == Theme::playful ? 10.0 : 5.0; }

QColor ThemeStyle::cardBackground() const
{
    const QColor base = m_palette.color(QPalette::Base);
    if (m_theme == Theme::minimal) return base;
    // A faint wash of the accent keeps playful cards warm without hurting contrast.
    const QColor a = accent();
    const double t = m_dark ? 0.07 : 0.05;
    return QColor::fromRgbF(base.redF() * (1 - t) + a.redF() * t, base.greenF() * (1 - t) + a.greenF() * t,
                            base.blueF() * (1 - t) + a.blueF() * t);
}

QColor ThemeStyle::cardOutline() const
{
    if (m_theme == Theme::playful) return Qt::transparent;
    return withOpacity(m_palette.color(QPalette::WindowText), m_dark ? 0.18 : 0.12);
}

QColor ThemeStyle::secondaryText() const { return m_palette.color(QPalette::PlaceholderText); }

QColor ThemeStyle::errorColour() const { return QColor::fromRgba(m_dark ? 0xffff6b6b : 0xffc62828); }

void ThemeStyle::paintCard(QPainter* painter, const QRectF& card, const QPalette& palette, bool selected, bool focused,
                           bool hovered) const
{
    const bool playful = m_theme == Theme::playful;
    const qreal radius = cardRadius();
    const QColor tint = accent();
    if (playful) {
        // A soft shadow: a few widening, fading rounded rectangles under the card.
        QColor shadow = palette.color(QPalette::Shadow);
        const double strength = m_dark ? 0.35 : 0.10;
        for (int i = 3; i >= 1; --i) {
            shadow.setAlphaF(float(strength / i));
            painter->setPen(Qt::NoPen);
            painter->setBrush(shadow);
            painter->drawRoundedRect(card.adjusted(-i * 0.5, 0, i * 0.5, i * 0.8), radius + i * 0.5, radius + i * 0.5);
        }
    }
    painter->setPen(playful ? QPen(Qt::NoPen) : QPen(cardOutline(), 1));
    painter->setBrush(cardBackground());
    painter->drawRoundedRect(card.adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
    if (selected || hovered) {
        const double strength = selected ? (m_dark ? 0.30 : 0.18) : 0.07;
        painter->setPen(Qt::NoPen);
        painter->setBrush(withOpacity(tint, strength));
        painter->drawRoundedRect(card, radius, radius);
    }
    if (selected || focused) {
        const qreal width = focused ? 2.0 : 1.0;
        painter->setPen(QPen(withOpacity(tint, focused ? 1.0 : 0.7), width));
        painter->setBrush(Qt::NoBrush);
        painter->drawRoundedRect(card.adjusted(width / 2, width / 2, -width / 2, -width / 2), radius, radius);
    }
}

QColor ThemeStyle::withOpacity(QColor colour, double opacity)
{
    colour.setAlphaF(static_cast<float>(opacity));
    return colour;
}

}  // namespace fennic
