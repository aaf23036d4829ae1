#pragma once

#include "SettingsSection.h"

#include <QColor>
#include <QPointer>

class QCheckBox;
class QLabel;

namespace fennic {

class AppModel;
class HotKey;
class ShortcutRecorder;

// Quick Search: whether the global shortcut opens the panel, which shortcut it is, and (once
// given the application's HotKey) how the desktop hears it or why it could not.
class QuickSearchSettings : public SettingsSection {
    Q_OBJECT

public:
    explicit QuickSearchSettings(AppModel& app, QWidget* parent = nullptr);

    QCheckBox* enabledBox() const { return m_enabled; }
    ShortcutRecorder* recorder() const { return m_recorder; }
    QLabel* problemLabel() const { return m_problem; }
    // The line that says how the shortcut is heard, or why registering it failed.
    QLabel* statusLabel() const { return m_status; }

    // The application's one HotKey, whose registration the section reports (none: the status
    // line stays hidden). The HotKey follows the settings itself (HotKey::follow), so a
    // shortcut recorded here is registered at once.
    void setHotKey(HotKey* hotKey);

    void setThemeStyle(const ThemeStyle& style) override;

private:
    void refreshStatus();

    AppModel& m_app;
    QCheckBox* m_enabled;
    ShortcutRecorder* m_recorder;
    QLabel* m_problem;
    QLabel* m_status;
    QPointer<HotKey> m_hotKey;
    QColor m_errorColour;  // from the theme; invalid until the window gives one
};

}  // namespace fennic
