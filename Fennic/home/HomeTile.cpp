#include "HomeTile.h"

#include "theme/Labels.h"

#include <QApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>

namespace fennic {

namespace {

constexpr int kIconBox = 40;
constexpr int kPadding = 12;

}  // namespace

HomeTile::HomeTile(QWidget* parent) : QAbstractButton(parent), m_theme(Theme::playful, QApplication::palette())
{
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setAttribute(Qt::WA_Hover);
}

void HomeTile::setContent(const QIcon& icon, const QString& title, const QString& detail, const QString& note)
{
    m_icon = icon;
    m_title = title;
    m_detail = detail;
    m_note = note;
    setText(title);
    updateAccessibleName();
    updateGeometry();
    update();
}

void HomeTile::setTint(const QColor& tint)
{
    m_tint = tint;
    update();
}

void HomeTile::setThemeStyle(const ThemeStyle& theme)
{
    m_theme = theme;
    update();
}

void HomeTile::setWide(bool wide)
{
    m_wide = wide;
    setSizePolicy(wide ? QSizePolicy::Expanding : QSizePolicy::Preferred, QSizePolicy::Fixed);
    updateGeometry();
}

void HomeTile::updateAccessibleName()
{
    QStringList parts{m_title};
    if (!m_detail.isEmpty()) parts << m_detail;
    if (!m_note.isEmpty()) parts << m_note;
    setSpokenName(this, parts.join(QStringLiteral(", ")));
    setHint(this, parts.join(QStringLiteral(" · ")));
}

QSize HomeTile::sizeHint() const
{
    const QFontMetrics fm(font());
    const int lines = 1 + (m_detail.isEmpty() ? 0 : 1) + (m_note.isEmpty() ? 0 : 1);
    const int textHeight = fm.height() * lines + 2 * (lines - 1);
    const int height = std::max(kIconBox, textHeight) + 2 * kPadding;
    QFont bold = font();
    bold.setBold(true);
    const int textWidth = std::max(
        {QFontMetrics(bold).horizontalAdvance(m_title), fm.horizontalAdvance(m_detail), fm.horizontalAdvance(m_note)});
    const int width = std::clamp(kPadding * 3 + kIconBox + textWidth, 168, m_wide ? 640 : 260);
    return {width, height};
}

QSize HomeTile::minimumSizeHint() const { return {140, sizeHint().height()}; }

void HomeTile::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QPalette& pal = palette();
    const double radius = m_theme.cardRadius();
    const QRectF card = QRectF(rect()).adjusted(1.5, 1.5, -1.5, -1.5);

    QColor fill = m_theme.cardBackground();
    if (m_tint.isValid() && m_theme.theme() == Theme::playful)
        fill = ThemeStyle::withOpacity(m_tint, m_theme.isDark() ? 0.16 : 0.10);
    if (isDown())
        fill = fill.darker(110);
    else if (m_hovered)
        fill = m_theme.isDark() ? fill.lighter(120) : fill.darker(104);
    QPainterPath path;
    path.addRoundedRect(card, radius, radius);
    p.fillPath(path, fill);
    if (m_theme.cardOutline().alpha() > 0) p.strokePath(path, QPen(m_theme.cardOutline(), 1));
    if (hasFocus()) p.strokePath(path, QPen(m_theme.accent(), 2));

    // The icon on its backdrop.
    const QRectF box(card.left() + kPadding, card.center().y() - kIconBox / 2.0, kIconBox, kIconBox);
    const QColor tint = m_tint.isValid() ? m_tint : m_theme.accent();
    QPainterPath backdrop;
    backdrop.addRoundedRect(box, std::min(radius, 10.0), std::min(radius, 10.0));
    p.fillPath(backdrop, ThemeStyle::withOpacity(tint, m_theme.theme() == Theme::playful ? 0.30 : 0.18));
    const int iconSize = 24;
    const QPixmap icon = m_icon.pixmap(QSize(iconSize, iconSize), devicePixelRatioF());
    p.drawPixmap(QRectF(box.center().x() - iconSize / 2.0, box.center().y() - iconSize / 2.0, iconSize, iconSize), icon,
                 QRectF(icon.rect()));

    // The words, centred as a block beside it.
    const QFontMetrics fm(font());
    QFont bold = font();
    bold.setBold(true);
    const QFontMetrics bm(bold);
    const int lines = 1 + (m_detail.isEmpty() ? 0 : 1) + (m_note.isEmpty() ? 0 : 1);
    const double blockHeight = bm.height() + (lines - 1) * (fm.height() + 2);
    const double left = box.right() + kPadding;
    const double width = card.right() - kPadding - left;
    double y = card.center().y() - blockHeight / 2;
    p.setFont(bold);
    p.setPen(pal.color(QPalette::WindowText));
    p.drawText(QRectF(left, y, width, bm.height()), Qt::AlignLeft | Qt::AlignVCenter,
               bm.elidedText(m_title, Qt::ElideRight, int(width)));
    y += bm.height() + 2;
    p.setFont(font());
    for (const QString* line : {&m_detail, &m_note}) {
        if (line->isEmpty()) continue;
        p.setPen(line == &m_detail ? pal.color(QPalette::WindowText) : m_theme.secondaryText());
        p.drawText(QRectF(left, y, width, fm.height()), Qt::AlignLeft | Qt::AlignVCenter,
                   fm.elidedText(*line, Qt::ElideRight, int(width)));
        y += fm.height() + 2;
    }
}

void HomeTile::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        click();
        return;
    }
    QAbstractButton::keyPressEvent(event);
}

void HomeTile::enterEvent(QEnterEvent* event)
{
    m_hovered = true;
    update();
    QAbstractButton::enterEvent(event);
}

void HomeTile::leaveEvent(QEvent* event)
{
    m_hovered = false;
    update();
    QAbstractButton::leaveEvent(event);
}

}  // namespace fennic
