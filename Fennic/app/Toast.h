#pragma once

#include <QObject>
#include <QString>
#include <QTimer>
#include <QUuid>
#include <functional>
#include <optional>

namespace fennic {

// The one transient notice of the application. A new message always replaces the current one
// (there is no queue) and hides itself after a delay: the long delay for errors and for
// messages that offer an action such as Undo, so that the offer can be used, the short one
// otherwise. GUI thread only; views show `current()` and follow `changed`.
class Toast : public QObject {
    Q_OBJECT

public:
    struct Message {
        QUuid id;
        QString text;
        QString symbol;
        bool isError = false;
        std::optional<QString> actionTitle;  // "Undo"
        std::function<void()> action;
    };

    Toast(int shortMs, int longMs, QObject* parent = nullptr);

    const std::optional<Message>& current() const { return m_current; }
    // Replaces the current message and restarts the hide timer.
    void show(const QString& text, const QString& symbol, bool isError = false,
              std::optional<QString> actionTitle = std::nullopt, std::function<void()> action = {});
    // Runs the current message's action (if any) and hides the message.
    void perform();
    void hide();
    // The delay the current message will stay for.
    int currentDuration() const;

Q_SIGNALS:
    // A message was shown or hidden.
    void changed();

private:
    int m_shortMs;
    int m_longMs;
    std::optional<Message> m_current;
    QTimer m_hideTimer;
};

}  // namespace fennic
