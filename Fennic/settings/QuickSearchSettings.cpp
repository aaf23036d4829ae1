#include "QuickSearchSettings.h"

#include "ShortcutRecorder.h"
#include "app/AppModel.h"
#include "app/AppSettings.h"
#include "theme/ThemeStyle.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace fennic {

QuickSearchSettings::QuickSearchSettings(AppModel& app, QWidget* parent)
    : SettingsSection(QStringLiteral("Quick Search"), parent), m_app(app),
                      m_enabled(new QCheckBox(QStringLiteral("Open Quick Search with a keyboard shortcut"), this)),
                                m_recorder(new ShortcutRecorder(app.settings(), this)), m_problem(new QLabel(this))
{
    QVBoxLayout* group = addGroup(QString());
    addNote(group,
            QStringLiteral("A small panel opens over any app, so you can find a file without switching to "
                                  "Fennic."));
    group->addWidget(m_enabled);
    m_enabled->setAccessibleName(m_enabled->text());

    auto* row = new QHBoxLayout;
    auto* label = new QLabel(QStringLiteral("Shortcut:"), this);
    label->setBuddy(m_recorder);
    row->addWidget(label);
    row->addWidget(m_recorder);
    row->addStretch(1);
    group->addLayout(row);
    m_problem->setWordWrap(true);
    m_problem->setAccessibleName(QStringLiteral("Shortcut problem"));
    m_problem->hide();
    group->addWidget(m_problem);
    addNote(group,
            QStringLiteral("Click the field and press the keys you want; Esc cancels, Backspace keeps the "
                                  "current one."));
    addNote(group,
            QStringLiteral("You can also bind the command “fennic --quick-search” to a shortcut in your "
                                  "desktop’s own keyboard settings."));
    finish();

    AppSettings& settings = m_app.settings();
    m_enabled->setChecked(settings.quickSearchEnabled());
    m_recorder->setEnabled(settings.quickSearchEnabled());
    connect(m_enabled, &QCheckBox::toggled, &settings, &AppSettings::setQuickSearchEnabled);
    connect(&settings, &AppSettings::quickSearchEnabledChanged, this, [this] {
        const bool on = m_app.settings().quickSearchEnabled();
        m_enabled->setChecked(on);
        m_recorder->setEnabled(on);
    });
    connect(m_recorder, &ShortcutRecorder::problemChanged, this, [this](const QString& problem) {
        m_problem->setText(problem);
        m_problem->setAccessibleDescription(problem);
        m_problem->setVisible(!problem.isEmpty());
    });
}

void QuickSearchSettings::setThemeStyle(const ThemeStyle& style)
{
    SettingsSection::setThemeStyle(style);
    QPalette palette = m_problem->palette();
    palette.setColor(QPalette::WindowText, style.errorColour());
    m_problem->setPalette(palette);
}

}  // namespace fennic
