#include "Toast.h"

namespace fennic {

Toast::Toast(int shortMs, int longMs, QObject* parent) : QObject(parent), m_shortMs(shortMs), m_longMs(longMs)
{
    m_hideTimer.setObjectName(QStringLiteral("Toast hide"));
    m_hideTimer.setSingleShot(true);
    m_hideTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_hideTimer, &QTimer::timeout, this, &Toast::hide);
}

void Toast::show(const QString& text, const QString& symbol, bool isError, std::optional<QString> actionTitle,
                 std::function<void()> action)
{
    m_hideTimer.stop();
    m_current = Message{QUuid::createUuid(), text, symbol, isError, std::move(actionTitle), std::move(action)};
    m_hideTimer.start(currentDuration());
    Q_EMIT changed();
}

int Toast::currentDuration() const
{
    if (!m_current) return 0;
    return (m_current->isError || m_current->action) ? m_longMs : m_shortMs;
}

void Toast::perform()
{
    if (!m_current) return;
    auto action = m_current->action;
    hide();
    if (action) action();
}

void Toast::hide()
{
    m_hideTimer.stop();
    if (!m_current) return;
    m_current.reset();
    Q_EMIT changed();
}

}  // namespace fennic
