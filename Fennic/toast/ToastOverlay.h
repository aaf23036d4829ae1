#pragma once

#include "theme/ThemeStyle.h"

#include <QWidget>

class QLabel;
class QPushButton;

namespace fennic {

class Toast;

// The application's one notice, floating at the bottom centre of its parent: the notice's
// symbol, its sentence and, when it offers one, its action button ("Undo"). It is shown for
// exactly as long as the model keeps the notice (the model's timer hides it), and screen
// readers hear it as an alert.
class ToastOverlay : public QWidget {
    Q_OBJECT

public:
    ToastOverlay(Toast& toast, QWidget* parent);

    void setThemeStyle(const ThemeStyle& style);
    // The action button, for tests and keyboard users (Ctrl+Z reaches Undo through the window).
    QPushButton* actionButton() const { return m_action; }
    QString text() const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void follow();
    void place();

    Toast& m_toast;
    ThemeStyle m_style;
    bool m_isError = false;
    QLabel* m_icon;
    QLabel* m_text;
    QPushButton* m_action;
};

}  // namespace fennic
