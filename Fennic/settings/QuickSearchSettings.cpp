#include "QuickSearchSettings.h"

#include "ShortcutRecorder.h"
#include "app/AppModel.h"
#include "app/AppSettings.h"
#include "quick/HotKey.h"
#include "theme/ThemeStyle.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace fennic {

QuickSearchSettings::QuickSearchSettings(AppModel& app, QWidget* parent)
    : SettingsSection(QStringLiteral("Quick Search"), parent), m_app(app),
                      m_enabled(new QCheckBox(QStringLiteral("Open Quick Search with a keyboard shortcut"), this)),
                                m_recorder(new ShortcutRecorder(app.settings(), this)), m_problem(new QLabel(this)),
                                m_status(new QLabel(this))
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
    m_status->setWordWrap(true);
    m_status->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_status->setAccessibleName(QStringLiteral("Shortcut status"));
    m_status->hide();
    group->addWidget(m_status);
    addNote(group,
            QStringLiteral("You can also bind the command “%1” to a shortcut in your desktop’s own keyboard "
                           "settings.")
                               .arg(QLatin1String(HotKey::kCommand)))
                ->setTextInteractionFlags(Qt::TextSelectableByMouse);
    finish();

    AppSettings& settings = m_app.settings();
    m_enabled->setChecked(settings.quickSearchEnabled());
    m_recorder->setEnabled(settings.quickSearchEnabled());
    connect(m_enabled, &QCheckBox::toggled, &settings, &AppSettings::setQuickSearchEnabled);
    connect(&settings, &AppSettings::quickSearchEnabledChanged, this, [this] {
        const bool on = m_app.settings().quickSearchEnabled();
        m_enabled->setChecked(on);
        m_recorder->setEnabled(on);
        refreshStatus();
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
    m_errorColour = style.errorColour();
    QPalette palette = m_problem->palette();
    palette.setColor(QPalette::WindowText, style.errorColour());
    m_problem->setPalette(palette);
    refreshStatus();
}

void QuickSearchSettings::setHotKey(HotKey* hotKey)
{
    if (m_hotKey) disconnect(m_hotKey, nullptr, this, nullptr);
    m_hotKey = hotKey;
    if (m_hotKey) connect(m_hotKey, &HotKey::registrationChanged, this, &QuickSearchSettings::refreshStatus);
    refreshStatus();
}

void QuickSearchSettings::refreshStatus()
{
    if (!m_hotKey || !m_app.settings().quickSearchEnabled()) {
        m_status->hide();
        return;
    }
    QString text;
    const bool failed = !m_hotKey->current().has_value();
    if (!failed)
        text = QStringLiteral("%1 works in every application (through the %2).") .arg(m_hotKey->current()->display(),
                                                                                      m_hotKey->routeName());
    else if (!m_hotKey->failureReason().isEmpty())
        text = m_hotKey->failureReason();
    else
        text = QStringLiteral("The shortcut is not registered.");
    m_status->setText(text);
    m_status->setAccessibleDescription(text);
    // A failure reads in the error tint; the working route in the ordinary text colour.
    QPalette palette = m_enabled->palette();
    if (failed && m_errorColour.isValid()) palette.setColor(QPalette::WindowText, m_errorColour);
    m_status->setPalette(palette);
    m_status->show();
}

}  // namespace fennic
