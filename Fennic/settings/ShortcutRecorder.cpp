#include "ShortcutRecorder.h"

#include "app/AppSettings.h"

#include <QKeyEvent>
#include <optional>

namespace fennic {

namespace {

// The modifier a key is, if it is one.
std::optional<Qt::KeyboardModifier> modifierOf(int key)
{
    switch (key) {
    case Qt::Key_Control: return Qt::ControlModifier;
    case Qt::Key_Shift: return Qt::ShiftModifier;
    case Qt::Key_Alt:
    case Qt::Key_AltGr: return Qt::AltModifier;
    case Qt::Key_Meta:
    case Qt::Key_Super_L:
    case Qt::Key_Super_R:
    case Qt::Key_Hyper_L:
    case Qt::Key_Hyper_R: return Qt::MetaModifier;
    default: return std::nullopt;
    }
}

// The modifiers held so far, as the finished shortcut will name them.
QString heldText(Qt::KeyboardModifiers held)
{
    QString text;
    if (held & Qt::ControlModifier) text += QStringLiteral("Ctrl+");
    if (held & Qt::AltModifier) text += QStringLiteral("Alt+");
    if (held & Qt::MetaModifier) text += QStringLiteral("Super+");
    if (held & Qt::ShiftModifier) text += QStringLiteral("Shift+");
    return text;
}

}  // namespace

ShortcutRecorder::ShortcutRecorder(AppSettings& settings, QWidget* parent) : QPushButton(parent), m_settings(settings)
{
    setFocusPolicy(Qt::StrongFocus);
    // Return elsewhere in the window must not start recording.
    setAutoDefault(false);
    setMinimumWidth(200);
    setAccessibleName(QStringLiteral("Quick Search shortcut"));
    connect(this, &QPushButton::clicked, this, [this] {
        if (!m_recording) startRecording();
    });
    connect(&m_settings, &AppSettings::quickShortcutChanged, this, &ShortcutRecorder::refresh);
    refresh();
}

void ShortcutRecorder::startRecording()
{
    if (m_recording) return;
    m_recording = true;
    m_held = {};
    setDown(true);
    setFocus(Qt::OtherFocusReason);
    refresh();
    Q_EMIT recordingChanged(true);
}

void ShortcutRecorder::stopRecording()
{
    if (!m_recording) return;
    m_recording = false;
    setDown(false);
    refresh();
    Q_EMIT recordingChanged(false);
}

void ShortcutRecorder::setProblem(const QString& problem)
{
    if (m_problem == problem) return;
    m_problem = problem;
    Q_EMIT problemChanged(m_problem);
}

bool ShortcutRecorder::event(QEvent* event)
{
    if (!m_recording) return QPushButton::event(event);
    switch (event->type()) {
    case QEvent::ShortcutOverride:
        // While recording, every key belongs to the recorder, not to the window's shortcuts.
        event->accept();
        return true;
    case QEvent::KeyPress: {
        auto* key = static_cast<QKeyEvent*>(event);
        const Qt::KeyboardModifiers modifiers = key->modifiers() & ~Qt::KeypadModifier;
        // A modifier's own press may or may not carry itself in the event's modifiers.
        if (const auto modifier = modifierOf(key->key())) {
            m_held = modifiers | *modifier;
            refresh();
        } else if (key->key() == Qt::Key_Escape && modifiers == Qt::NoModifier) {
            stopRecording();
        } else if (key->key() == Qt::Key_Backspace && modifiers == Qt::NoModifier) {
            setProblem(QString());
            stopRecording();
        } else {
            record(key->keyCombination());
        }
        return true;
    }
    case QEvent::KeyRelease: {
        auto* key = static_cast<QKeyEvent*>(event);
        if (const auto modifier = modifierOf(key->key())) {
            m_held = key->modifiers() & ~Qt::KeypadModifier & ~*modifier;
            refresh();
        }
        return true;
    }
    default: return QPushButton::event(event);
    }
}

void ShortcutRecorder::focusOutEvent(QFocusEvent* event)
{
    stopRecording();
    QPushButton::focusOutEvent(event);
}

void ShortcutRecorder::record(QKeyCombination combination)
{
    const std::optional<Shortcut> shortcut = Shortcut::fromKeyCombination(combination);
    // A key the stored codes can't name (Home, a media key): keep listening for another.
    if (!shortcut) return;
    if (const std::optional<QString> problem = shortcut->problem()) {
        setProblem(*problem);
        stopRecording();
        return;
    }
    setProblem(QString());
    m_settings.setQuickShortcut(*shortcut);
    stopRecording();
}

void ShortcutRecorder::refresh()
{
    const QString text =
        m_recording ? (m_held ? heldText(m_held) + QStringLiteral("…") : QStringLiteral("Press a shortcut…"))
                              : m_settings.quickShortcut().display();
    setText(text);
    setAccessibleDescription(m_recording ? QStringLiteral("Recording: press the new shortcut, Esc to cancel")
                                         : QStringLiteral("Press to record a new shortcut"));
}

}  // namespace fennic
