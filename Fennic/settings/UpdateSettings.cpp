#include "UpdateSettings.h"

#include "SabloKit/Updater.h"
#include "theme/Labels.h"
#include "update/UpdateTexts.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace fennic {

UpdateSettings::UpdateSettings(QWidget* parent) : SettingsSection(QStringLiteral("Updates"), parent)
{
    QVBoxLayout* group = addGroup(QString());
    m_version = plainLabel(QString(), this);
    m_version->setWordWrap(true);
    group->addWidget(m_version);

    m_automatic = new QCheckBox(QStringLiteral("Download updates automatically"), this);
    m_automatic->setAccessibleName(m_automatic->text());
    group->addWidget(m_automatic);
    connect(m_automatic, &QCheckBox::toggled, this, [this](bool on) {
        if (m_updater) m_updater->setAutomaticallyDownloads(on);
    });

    auto* row = new QHBoxLayout;
    m_check = new QPushButton(QStringLiteral("Check Now"), this);
    m_check->setAccessibleName(QStringLiteral("Check for updates now"));
    connect(m_check, &QPushButton::clicked, this, [this] {
        if (m_updater) m_updater->checkNow();
    });
    m_show = new QPushButton(QStringLiteral("Show Update…"), this);
    m_show->setAccessibleName(QStringLiteral("Show the update"));
    connect(m_show, &QPushButton::clicked, this, &UpdateSettings::showUpdateRequested);
    row->addWidget(m_check);
    row->addWidget(m_show);
    row->addStretch(1);
    group->addLayout(row);

    m_status = plainLabel(QString(), this);
    m_status->setWordWrap(true);
    group->addWidget(m_status);
    m_lastChecked = addNote(group, QString());

    m_clock.setInterval(60 * 1000);
    connect(&m_clock, &QTimer::timeout, this, &UpdateSettings::refresh);
    m_clock.start();
    finish();
    refresh();
}

void UpdateSettings::setUpdater(Updater* updater)
{
    if (m_updater) disconnect(m_updater, nullptr, this, nullptr);
    m_updater = updater;
    if (updater) {
        connect(updater, &Updater::phaseChanged, this, &UpdateSettings::refresh);
        connect(updater, &Updater::lastCheckedChanged, this, &UpdateSettings::refresh);
        connect(updater, &Updater::automaticallyDownloadsChanged, this, &UpdateSettings::refresh);
    }
    refresh();
}

void UpdateSettings::refresh()
{
    const bool enabled = m_updater && m_updater->isEnabled();
    const QString version = QCoreApplication::applicationVersion();
    if (!m_updater)
        setLabelText(m_version,
                     QStringLiteral("Fennic %1. Updates come from where Fennic was installed.").arg(version));
    else if (!enabled)
        setLabelText(m_version, QStringLiteral("Fennic %1. %2.").arg(version, m_updater->idleReason()));
    else
        setLabelText(m_version,
                     QStringLiteral("Fennic %1 keeps itself up to date.").arg(m_updater->installedVersion()));

    m_automatic->setVisible(enabled);
    m_check->setVisible(enabled);
    m_lastChecked->setVisible(enabled);
    if (!enabled) {
        m_show->hide();
        m_status->hide();
        return;
    }
    {
        const QSignalBlocker quiet(m_automatic);
        m_automatic->setChecked(m_updater->automaticallyDownloads());
    }
    using Phase = Updater::Phase;
    const Phase phase = m_updater->phase();
    m_check->setEnabled(phase != Phase::checking && phase != Phase::downloading);
    m_show->setVisible(phase == Phase::available || phase == Phase::downloading || phase == Phase::ready);
    const QString status = UpdateTexts::status(*m_updater);
    setLabelText(m_status, status);
    m_status->setVisible(!status.isEmpty());
    setLabelText(m_lastChecked, UpdateTexts::lastChecked(m_updater->lastChecked(), QDateTime::currentDateTime()));
}

}  // namespace fennic
