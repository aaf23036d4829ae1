#pragma once

#include "SettingsSection.h"

class QLabel;
class QRadioButton;
class QSlider;

namespace fennic {

class AppModel;

// The look: the playful or the minimal theme, and the size of the cards in the grid.
class AppearanceSettings : public SettingsSection {
    Q_OBJECT

public:
    explicit AppearanceSettings(AppModel& app, QWidget* parent = nullptr);

    QRadioButton* playfulButton() const { return m_playful; }
    QRadioButton* minimalButton() const { return m_minimal; }
    QSlider* cardSizeSlider() const { return m_cardSize; }

private:
    void refresh();

    AppModel& m_app;
    QRadioButton* m_playful;
    QRadioButton* m_minimal;
    QSlider* m_cardSize;
    QLabel* m_cardSizeValue;
};

}  // namespace fennic
