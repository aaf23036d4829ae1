#pragma once

#include "SettingsSection.h"

class QLabel;
class QListWidget;
class QProgressBar;
class QPushButton;
class QTimer;

namespace fennic {

class AppModel;

// The library's folders: the default ones, those the user added (which can be removed), the
// pinned ones, and a scan on demand with the time of the last one.
class LibrarySettings : public SettingsSection {
    Q_OBJECT

public:
    explicit LibrarySettings(AppModel& app, QWidget* parent = nullptr);

    QListWidget* folderList() const { return m_folders; }
    // Adds a folder to the library, as choosing it in the folder dialog does.
    void addFolder(const QString& folder);

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void chooseFolder();
    void refreshFolders();
    void refreshButtons();
    void refreshScan();
    QString selectedFolder() const;

    AppModel& m_app;
    QListWidget* m_folders;
    QPushButton* m_add;
    QPushButton* m_remove;
    QPushButton* m_pin;
    QPushButton* m_scanNow;
    QLabel* m_scanLine;
    QProgressBar* m_scanBar;
    QTimer* m_clock;  // keeps "3 min. ago" current while the section is shown
};

}  // namespace fennic
