#include "ToastOverlay.h"

#include "app/Toast.h"
#include "theme/Icons.h"

#include <QAccessible>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>

namespace fennic {

ToastOverlay::ToastOverlay(Toast& toast, QWidget* parent)
    : QWidget(parent),
      m_toast(toast),
      m_style(Theme::playful, parent->palette()),
      m_icon(new QLabel(this)),
      m_text(new QLabel(this)),
      m_action(new QPushButton(this))
{
    setAttribute(Qt::WA_TranslucentBackground);
    setAccessibleName(QStringLiteral("Notice"));
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(16, 10, 10, 10);
    row->setSpacing(10);
    row->addWidget(m_icon);
    row->addWidget(m_text, 1);
    row->addWidget(m_action);
    m_text->setTextFormat(Qt::PlainText);
    m_action->setAccessibleName(QStringLiteral("Undo"));
    m_action->setCursor(Qt::PointingHandCursor);
    connect(m_action, &QPushButton::clicked, &m_toast, &Toast::perform);
    connect(&m_toast, &Toast::changed, this, &ToastOverlay::follow);
    parent->installEventFilter(this);
    hide();
}

void ToastOverlay::setThemeStyle(const ThemeStyle& style)
{
    m_style = style;
    follow();
}

QString ToastOverlay::text() const { return isVisible() ? m_text->text() : QString(); }

void ToastOverlay::follow()
{
    const auto& message = m_toast.current();
    if (!message) {
        hide();
        return;
    }
    m_isError = message->isError;
    // The notice sits on an inverted surface, as desktops draw their own notices.
    QPalette surface = palette();
    const QColor ink = m_isError ? QColor(Qt::white)
        : m_style.isDark()       ? QColor(0x24, 0x24, 0x24)
                                 : QColor(0xf6, 0xf5, 0xf4);
    surface.setColor(QPalette::WindowText, ink);
    m_text->setPalette(surface);
    m_icon->setPixmap(Icons::themed(Icons::forSymbol(message->symbol), surface).pixmap(QSize(20, 20)));
    m_text->setText(message->text);
    m_action->setVisible(message->actionTitle.has_value());
    if (message->actionTitle) {
        m_action->setText(*message->actionTitle);
        m_action->setAccessibleName(*message->actionTitle);
    }
    setAccessibleDescription(message->text);
    place();
    show();
    raise();
    QAccessibleEvent alert(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
    update();
}

void ToastOverlay::place()
{
    const QWidget* host = parentWidget();
    const int width = std::min(host->width() - 40, std::max(360, sizeHint().width()));
    const int height = sizeHint().height();
    setGeometry((host->width() - width) / 2, host->height() - height - 24, width, height);
}

bool ToastOverlay::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == parentWidget() && event->type() == QEvent::Resize && isVisible()) place();
    return QWidget::eventFilter(watched, event);
}

void ToastOverlay::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QRectF box = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    const double radius = m_style.theme() == Theme::playful ? box.height() / 2 : m_style.fieldRadius();
    QColor surface = m_style.isDark() ? QColor(0xf0, 0xf0, 0xf0) : QColor(0x30, 0x30, 0x34);
    if (m_isError) surface = m_style.errorColour();
    surface.setAlphaF(0.96f);
    QPainterPath path;
    path.addRoundedRect(box, radius, radius);
    p.fillPath(path, surface);
    if (m_style.theme() == Theme::playful && !m_isError) {
        p.setPen(QPen(ThemeStyle::withOpacity(m_style.accent(), 0.9), 1.5));
        p.drawPath(path);
    }
}

}  // namespace fennic
