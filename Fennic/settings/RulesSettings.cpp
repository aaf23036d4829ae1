#include "RulesSettings.h"

#include "app/AppModel.h"
#include "app/AppSettings.h"

#include <QCheckBox>
#include <QVBoxLayout>

namespace fennic {

RulesSettings::RulesSettings(AppModel& app, QWidget* parent)
    : SettingsSection(
        QStringLiteral("Automatic Rules"), parent), m_app(app),
        // The extensions named are among those FileItem::isInstaller counts; .AppImage is not,
        // since an AppImage is the program itself rather than a leftover installer.
        m_installers(new QCheckBox(QStringLiteral("Move installers (.deb, .rpm, .flatpak, …) older than 30 days to the "
                                                "Trash"),
                                                  this)),
                     m_screenshots(new QCheckBox(
                         QStringLiteral("File Desktop screenshots into Pictures › Screenshots by month"), this))
{
    QVBoxLayout* rules = addGroup(QString());
    addNote(rules,
            QStringLiteral("These rules are off until you turn them on. Files only ever go to the Trash, and "
                                  "Fennic tells you each time it tidies something."));
    rules->addWidget(m_installers);
    rules->addWidget(m_screenshots);
    m_installers->setAccessibleName(m_installers->text());
    m_screenshots->setAccessibleName(m_screenshots->text());
    finish();

    AppSettings& settings = m_app.settings();
    m_installers->setChecked(settings.autoCleanInstallers());
    m_screenshots->setChecked(settings.autoFileScreenshots());
    connect(m_installers, &QCheckBox::toggled, &settings, &AppSettings::setAutoCleanInstallers);
    connect(m_screenshots, &QCheckBox::toggled, &settings, &AppSettings::setAutoFileScreenshots);
    connect(&settings, &AppSettings::autoCleanInstallersChanged, this,
            [this] { m_installers->setChecked(m_app.settings().autoCleanInstallers()); });
    connect(&settings, &AppSettings::autoFileScreenshotsChanged, this,
            [this] { m_screenshots->setChecked(m_app.settings().autoFileScreenshots()); });
}

}  // namespace fennic
