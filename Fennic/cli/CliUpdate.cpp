// fennic-cli update check|download|install: the self-updater without a window, for release
// checks and for scripts. It never changes the user's settings: it keeps its own in a
// temporary folder.
#include "CliCommand.h"
#include "SabloKit/BundleInfo.h"
#include "SabloKit/UpdateLogic.h"
#include "SabloKit/Updater.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QTemporaryDir>

namespace fennic::cli {
namespace {

enum class Goal {
    check,     // stop once the feed is answered
    download,  // go on to stage the offered version
    install,   // and hand it to the install script, which runs when this process ends
};

QString phaseLine(const Updater& updater)
{
    switch (updater.phase()) {
    case Updater::Phase::idle: return QStringLiteral("idle");
    case Updater::Phase::checking: return QStringLiteral("checking");
    case Updater::Phase::upToDate: return QStringLiteral("up to date (%1)").arg(updater.installedVersion());
    case Updater::Phase::available: return QStringLiteral("available %1").arg(updater.offeredVersion());
    case Updater::Phase::downloading: return QStringLiteral("downloading %1").arg(updater.offeredVersion());
    case Updater::Phase::ready:
        return QStringLiteral("ready %1: %2").arg(updater.offeredVersion(), updater.stagedApp());
    case Updater::Phase::failed: return QStringLiteral("failed");
    }
    return {};
}

bool finished(Updater::Phase phase, Goal goal)
{
    switch (phase) {
    case Updater::Phase::upToDate:
    case Updater::Phase::ready:
    case Updater::Phase::failed:
    case Updater::Phase::idle: return true;
    case Updater::Phase::available: return goal == Goal::check;
    case Updater::Phase::checking:
    case Updater::Phase::downloading: return false;
    }
    return true;
}

int runUpdate(CliArgs& args)
{
    const auto feedUrl = args.value(QStringLiteral("feed"));
    const auto publicKey = args.value(QStringLiteral("public-key"));
    const auto installed = args.value(QStringLiteral("installed"));
    const QStringList words = args.finish();
    const QString action = words.value(0);
    Goal goal = Goal::check;
    if (action == u"download")
        goal = Goal::download;
    else if (action == u"install")
        goal = Goal::install;
    else if (action != u"check" || words.size() != 1)
        throw UsageError{QStringLiteral("usage: fennic-cli update check|download|install [--feed URL] "
                                        "[--public-key BASE64] [--installed DIR]")};

    QString folder;
    if (installed) {
        folder = QFileInfo(*installed).absoluteFilePath();
    } else {
        const BundleLocation location = BundleLocation::ofRunningApplication();
        if (location.folder.isEmpty()) {
            err() << "fennic-cli: " << location.idleReason << " (give --installed DIR)\n";
            return 1;
        }
        folder = location.folder;
    }
    auto info = BundleInfo::read(folder);
    if (!info) {
        err() << "fennic-cli: " << folder << " has no readable " << BundleInfo::kFileName << '\n';
        return 1;
    }
    if (feedUrl) info->feedUrl = *feedUrl;
    if (publicKey) info->publicKey = *publicKey;

    const QTemporaryDir settings;
    UpdaterEnvironment environment;
    environment.settingsFile = QDir(settings.path()).filePath(QStringLiteral("update.ini"));
    Updater updater(folder, *info, environment);
    if (!updater.isEnabled()) {
        err() << "fennic-cli: " << updater.idleReason() << '\n';
        return 1;
    }

    QEventLoop loop;
    Updater::Phase shown = Updater::Phase::idle;
    const auto follow = [&] {
        const Updater::Phase phase = updater.phase();
        // Progress changes the fraction many times; one line per phase is enough.
        if (phase != shown) {
            shown = phase;
            out() << phaseLine(updater) << '\n';
            out().flush();
            if (phase == Updater::Phase::failed) err() << "fennic-cli: " << updater.message() << '\n';
        }
        if (phase == Updater::Phase::available && goal != Goal::check) {
            updater.download();
            return;
        }
        if (finished(phase, goal)) loop.quit();
    };
    QObject::connect(&updater, &Updater::phaseChanged, &loop, follow, Qt::QueuedConnection);
    updater.check(true);
    if (!finished(updater.phase(), goal)) loop.exec();

    switch (updater.phase()) {
    case Updater::Phase::upToDate:
    case Updater::Phase::available: return 0;
    case Updater::Phase::ready:
        if (goal != Goal::install) return 0;
        if (!updater.installOnQuit()) {
            err() << "fennic-cli: " << folder << " can’t be replaced by this user\n";
            return 1;
        }
        out() << "installing into " << folder << " when fennic-cli exits\n";
        return 0;
    default: return 1;
    }
}

const CliRegistration registration({"update",
                                    "update check|download|install [--feed URL] [--public-key BASE64] "
                                    "[--installed DIR]",
                                    runUpdate});

}  // namespace
}  // namespace fennic::cli
