#pragma once

#include <QDialog>

class QCheckBox;
class QLabel;
class QProgressBar;
class QPushButton;
class QTextBrowser;

namespace fennic {

class Updater;

// The "Software Update" window: what the updater is doing in a headline and a line beneath,
// the release notes of the version on offer, the download's progress, and one main button for
// the next step (Download, Install and Relaunch, Try Again or Check Again) beside Later. It
// follows the updater's phase as it changes; nothing here touches the network itself.
class UpdateWindow : public QDialog {
    Q_OBJECT

public:
    explicit UpdateWindow(Updater& updater, QWidget* parent = nullptr);

    QLabel* headline() const { return m_headline; }
    QLabel* status() const { return m_status; }
    QTextBrowser* notes() const { return m_notes; }
    QProgressBar* progress() const { return m_progress; }
    // The button for the next step; its text says which.
    QPushButton* mainButton() const { return m_main; }
    QPushButton* laterButton() const { return m_later; }
    QCheckBox* automaticBox() const { return m_automatic; }

private:
    void refresh();
    void runMainStep();

    Updater& m_updater;
    QLabel* m_icon;
    QLabel* m_headline;
    QLabel* m_status;
    QTextBrowser* m_notes;
    QProgressBar* m_progress;
    QCheckBox* m_automatic;
    QPushButton* m_page;
    QPushButton* m_main;
    QPushButton* m_later;
};

}  // namespace fennic
