#include "UpdateTexts.h"

#include "SabloKit/Updater.h"

#include <QLocale>
#include <cmath>

namespace fennic::UpdateTexts {

QString status(const Updater& updater)
{
    using Phase = Updater::Phase;
    switch (updater.phase()) {
    case Phase::idle: return {};
    case Phase::checking: return QStringLiteral("Checking for updates…");
    case Phase::upToDate: return QStringLiteral("Fennic %1 is the newest version.").arg(updater.installedVersion());
    case Phase::available:
        return QStringLiteral("Fennic %1 is available. You have %2.") .arg(updater.offeredVersion(),
                                                                           updater.installedVersion());
    case Phase::downloading:
        return QStringLiteral("Downloading Fennic %1… %2%") .arg(updater.offeredVersion()).arg(int(std::floor(updater.fraction() * 100)));
    case Phase::ready:
        return QStringLiteral("Fennic %1 is ready. It installs when you quit Fennic.").arg(updater.offeredVersion());
    case Phase::failed: return updater.message();
    }
    return {};
}

QString headline(const Updater& updater)
{
    using Phase = Updater::Phase;
    switch (updater.phase()) {
    case Phase::idle:
    case Phase::checking: return QStringLiteral("Software Update");
    case Phase::upToDate: return QStringLiteral("Fennic is up to date");
    case Phase::available:
    case Phase::downloading: return QStringLiteral("A new version of Fennic is available");
    case Phase::ready: return QStringLiteral("Fennic %1 is ready to install").arg(updater.offeredVersion());
    case Phase::failed: return QStringLiteral("The update didn’t go through");
    }
    return {};
}

QString lastChecked(const QDateTime& when, const QDateTime& now)
{
    if (!when.isValid()) return QStringLiteral("Not checked yet");
    const QLocale locale;
    const QDateTime local = when.toLocalTime();
    const QString time = locale.toString(local.time(), QLocale::ShortFormat);
    const QDate today = now.toLocalTime().date();
    if (local.date() == today) return QStringLiteral("Last checked: today at %1").arg(time);
    if (local.date() == today.addDays(-1)) return QStringLiteral("Last checked: yesterday at %1").arg(time);
    return QStringLiteral("Last checked: %1").arg(locale.toString(local, QLocale::ShortFormat));
}

}  // namespace fennic::UpdateTexts
