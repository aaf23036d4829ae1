#include "AskBar.h"

#include "theme/DesktopLook.h"

#include <QPainter>
#include <QPainterPath>
#include <QToolButton>
#include <QWindow>
#include <cmath>

namespace fennic {

namespace {

// The first of the names the icon theme has, trying each also as its symbolic variant (the
// form some themes ship only).
QIcon themeIcon(std::initializer_list<const char*> names)
{
    for (const char* name : names) {
        const QString plain = QString::fromLatin1(name);
        for (const QString& candidate : {plain, plain + QStringLiteral("-symbolic")})
            if (QIcon::hasThemeIcon(candidate)) return QIcon::fromTheme(candidate);
    }
    return {};
}

// The icon drawn in one colour: monochrome theme icons then follow the palette, light on dark
// and dark on light, like the text beside them.
QPixmap tinted(const QIcon& icon, int size, qreal ratio, const QColor& colour)
{
    QPixmap pixmap = icon.pixmap(QSize(size, size), ratio);
    if (pixmap.isNull()) return pixmap;
    QPainter painter(&pixmap);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(pixmap.rect(), colour);
    return pixmap;
}

// Where the magnifier stands from the frame's left edge.
int magnifierLeft(double scale) { return int(std::lround(10 * scale)); }

}  // namespace

AskBar::AskBar(AskStyle style, QWidget* parent)
    : QWidget(parent),
      m_field(new AskField(style, this)),
      m_clear(new QToolButton(this)),
      m_theme(Theme::playful, palette())
{
    setFocusProxy(m_field);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setFixedHeight(AskStyles::height(style));
    setCursor(Qt::IBeamCursor);

    m_clear->setAutoRaise(true);
    m_clear->setCursor(Qt::ArrowCursor);
    m_clear->setToolTip(QStringLiteral("Clear the search (Esc)"));
    m_clear->setAccessibleName(QStringLiteral("Clear the search"));
    // Esc clears from the keyboard, so Tab goes from the field straight on to what follows.
    m_clear->setFocusPolicy(Qt::NoFocus);
    m_clear->hide();
    connect(m_clear, &QToolButton::clicked, this, [this] {
        m_field->clearText();
        m_field->setFocus(Qt::OtherFocusReason);
    });
    connect(m_field, &QPlainTextEdit::textChanged, this, &AskBar::updateClearButton);
    connect(m_field, &AskField::focusChanged, this, [this] { update(); });

    updateIcons();
    layoutParts();
}

void AskBar::setAskStyle(AskStyle style)
{
    m_field->setAskStyle(style);
    setFixedHeight(AskStyles::height(style));
    updateIcons();
    layoutParts();
    updateGeometry();
    update();
}

void AskBar::setThemeStyle(const ThemeStyle& theme)
{
    m_theme = theme;
    m_field->setThemeStyle(theme);
    update();
}

QSize AskBar::sizeHint() const { return {420, AskStyles::height(m_field->askStyle())}; }

QSize AskBar::minimumSizeHint() const { return {160, AskStyles::height(m_field->askStyle())}; }

void AskBar::layoutParts()
{
    const AskStyle style = m_field->askStyle();
    const double s = AskStyles::scale(style);
    const int h = height();
    const int left = AskStyles::showsMagnifier(style)
        ? magnifierLeft(s) + int(std::lround(m_magnifier.deviceIndependentSize().width() + 2 * s))
        : int(std::lround(4 * s));
    const int button = !m_clear->isHidden() ? h - int(std::lround(10 * s)) : 0;
    const int right = int(std::lround(5 * s)) + button;
    m_field->setGeometry(left, (h - m_field->height()) / 2, std::max(0, width() - left - right), m_field->height());
    if (button > 0) m_clear->setGeometry(width() - right, (h - button) / 2, button, button);
}

void AskBar::updateIcons()
{
    const double s = AskStyles::scale(m_field->askStyle());
    const qreal ratio =
        window() && window()->windowHandle() ? window()->windowHandle()->devicePixelRatio() : devicePixelRatioF();
    const QColor soft = palette().color(QPalette::PlaceholderText);
    m_magnifier = tinted(themeIcon({"system-search", "edit-find"}), int(std::lround(16 * s)), ratio, soft);
    const int clearSize = int(std::lround(16 * s));
    const QPixmap clear = tinted(themeIcon({"edit-clear"}), clearSize, ratio, soft);
    m_clear->setIcon(clear.isNull() ? QIcon::fromTheme(QStringLiteral("edit-clear")) : QIcon(clear));
    m_clear->setIconSize(QSize(clearSize, clearSize));
}

void AskBar::updateClearButton()
{
    const bool show = !m_field->document()->isEmpty();
    if (show == !m_clear->isHidden()) return;
    m_clear->setVisible(show);
    layoutParts();
}

void AskBar::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    // Copied at whole pixels: the field's caret blinks every half second and each blink repaints
    // the frame beneath it. Stroked afresh, the antialiased ring is long enough for Qt's raster
    // engine to share it out to other threads and wait for them, which stalls the window while
    // the library is busy.
    painter.drawPixmap(0, 0, frame());

    if (AskStyles::showsMagnifier(m_field->askStyle()) && !m_magnifier.isNull()) {
        painter.setRenderHint(QPainter::Antialiasing);
        const double s = AskStyles::scale(m_field->askStyle());
        const QSizeF size = m_magnifier.deviceIndependentSize();
        painter.drawPixmap(QPointF(magnifierLeft(s), std::round((height() - size.height()) / 2)), m_magnifier);
    }
}

const QPixmap& AskBar::frame()
{
    const bool focused = m_field->hasFocus();
    const QColor outline = focused
        ? m_theme.accent()
        : ThemeStyle::withOpacity(palette().color(QPalette::WindowText), DesktopLook::isDark(palette()) ? 0.22 : 0.18);
    const QColor base = palette().color(QPalette::Base);
    const qreal ratio = devicePixelRatioF();
    const FrameLook look{size(), ratio, focused, outline.rgba(), base.rgba(), m_theme.fieldRadius()};
    if (look == m_frameLook && !m_frame.isNull()) return m_frame;
    m_frameLook = look;
    m_frame = QPixmap((QSizeF(size()) * ratio).toSize());
    m_frame.setDevicePixelRatio(ratio);
    m_frame.fill(Qt::transparent);
    QPainter painter(&m_frame);
    painter.setRenderHint(QPainter::Antialiasing);
    const double ring = focused ? 2.0 : 1.0;
    const QRectF frame = QRectF(rect()).adjusted(ring / 2, ring / 2, -ring / 2, -ring / 2);
    const double radius = std::min(look.radius, frame.height() / 2);
    painter.setPen(QPen(outline, ring));
    painter.setBrush(base);
    painter.drawRoundedRect(frame, radius, radius);
    return m_frame;
}

void AskBar::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    layoutParts();
}

void AskBar::mousePressEvent(QMouseEvent* event)
{
    // A click on the frame or the magnifier is a click meant for the field.
    m_field->setFocus(Qt::MouseFocusReason);
    QWidget::mousePressEvent(event);
}

void AskBar::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::StyleChange) {
        updateIcons();
        update();
    }
}

}  // namespace fennic
