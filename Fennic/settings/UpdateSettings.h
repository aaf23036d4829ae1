#pragma once

#include "SettingsSection.h"

#include <QPointer>
#include <QTimer>

class QCheckBox;
class QLabel;
class QPushButton;

namespace fennic {

class Updater;

// Updates: whether new versions download by themselves ("SabloAutoUpdate"), Check Now, when
// Fennic last looked and what it found. Without an updater, or when this copy can't update
// itself (a system package keeps it current), the section says so and offers nothing to press.
class UpdateSettings : public SettingsSection {
    Q_OBJECT

public:
    explicit UpdateSettings(QWidget* parent = nullptr);

    void setUpdater(Updater* updater);

    QCheckBox* automaticBox() const { return m_automatic; }
    QPushButton* checkButton() const { return m_check; }
    QLabel* statusLabel() const { return m_status; }
    QLabel* lastCheckedLabel() const { return m_lastChecked; }

Q_SIGNALS:
    // The person asked to see the update on offer.
    void showUpdateRequested();

private:
    void refresh();

    QPointer<Updater> m_updater;
    QCheckBox* m_automatic;
    QPushButton* m_check;
    QPushButton* m_show;
    QLabel* m_version;
    QLabel* m_status;
    QLabel* m_lastChecked;
    QTimer m_clock;  // "today at …" turns into "yesterday at …"
};

}  // namespace fennic
