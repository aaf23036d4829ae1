#pragma once

#include "SettingsSection.h"

class QCheckBox;

namespace fennic {

class AppModel;

// The two automatic rules that tidy files after every scan, both off until turned on.
class RulesSettings : public SettingsSection {
    Q_OBJECT

public:
    explicit RulesSettings(AppModel& app, QWidget* parent = nullptr);

    QCheckBox* installerRule() const { return m_installers; }
    QCheckBox* screenshotRule() const { return m_screenshots; }

private:
    AppModel& m_app;
    QCheckBox* m_installers;
    QCheckBox* m_screenshots;
};

}  // namespace fennic
