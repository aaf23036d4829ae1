#pragma once

#include "SettingsSection.h"

class QCheckBox;
class QLabel;

namespace fennic {

class AppModel;
class ShortcutRecorder;

// Quick Search: whether the global shortcut opens the panel, and which shortcut it is.
class QuickSearchSettings : public SettingsSection {
    Q_OBJECT

public:
    explicit QuickSearchSettings(AppModel& app, QWidget* parent = nullptr);

    QCheckBox* enabledBox() const { return m_enabled; }
    ShortcutRecorder* recorder() const { return m_recorder; }
    QLabel* problemLabel() const { return m_problem; }

    void setThemeStyle(const ThemeStyle& style) override;

private:
    AppModel& m_app;
    QCheckBox* m_enabled;
    ShortcutRecorder* m_recorder;
    QLabel* m_problem;
};

}  // namespace fennic
