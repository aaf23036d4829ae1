#pragma once

#include <QTimer>
#include <QWidget>

class QLabel;
class QProgressBar;
class QToolButton;

namespace fennic {

class AppModel;

// The window's status line: the library's total, the running scan ("Scanning… 12,408
// files"), and image reading with its progress and a pause button.
class StatusLine : public QWidget {
    Q_OBJECT

public:
    StatusLine(AppModel& app, QWidget* parent = nullptr);

    // What the line says now, for tests and screen readers.
    QString summary() const;

protected:
    void changeEvent(QEvent* event) override;

private:
    void refresh();
    // Sets a count's text without laying the window out again: the label keeps a fixed size
    // that only ever grows, so a new number changes nothing around it.
    static void setSteadyText(QLabel* label, const QString& text);

    AppModel& m_app;
    QLabel* m_total;
    QLabel* m_scan;
    QLabel* m_reading;
    QProgressBar* m_readingBar;
    QToolButton* m_pause;
    // Counts move many times a second during a scan and image reading; the line follows them
    // a few times a second, since each new text is measured and laid out again.
    QTimer m_progressTimer;
    int m_pauseIconFor = -1;  // the paused state the pause button's icon shows
};

}  // namespace fennic
