#pragma once

#include "quick/Shortcut.h"

#include <QPushButton>

namespace fennic {

class AppSettings;

// The field that records the Quick Search shortcut. Clicking it (or Space or Return on it)
// starts recording; the next combination pressed is checked, and stored when it can be used
// or refused with the reason. Esc stops recording and keeps the stored shortcut; Backspace
// does the same and also clears a refusal.
class ShortcutRecorder : public QPushButton {
    Q_OBJECT

public:
    explicit ShortcutRecorder(AppSettings& settings, QWidget* parent = nullptr);

    bool isRecording() const { return m_recording; }
    void startRecording();
    // Why the last combination pressed was refused; empty when it wasn't.
    const QString& problem() const { return m_problem; }

Q_SIGNALS:
    void recordingChanged(bool recording);
    void problemChanged(const QString& problem);

protected:
    bool event(QEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    void stopRecording();
    void setProblem(const QString& problem);
    void record(QKeyCombination combination);
    void refresh();

    AppSettings& m_settings;
    bool m_recording = false;
    Qt::KeyboardModifiers m_held;  // modifiers held so far while recording
    QString m_problem;
};

}  // namespace fennic
