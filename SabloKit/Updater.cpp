#include "Updater.h"
#include "ArchiveStager.h"
#include "InstallScript.h"
#include "UpdateLogic.h"

#include <QCoreApplication>
#include <QDir>
#include <QFutureWatcher>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSettings>
#include <QStandardPaths>
#include <QtConcurrent/QtConcurrentRun>
#include <algorithm>
#include <openssl/crypto.h>

namespace fennic {
namespace {

const char* const kAutoUpdateKey = "SabloAutoUpdate";
const char* const kLastCheckedKey = "SabloLastChecked";

const QString kCheckFailed =
    QStringLiteral("Couldn’t check for updates. Check your internet connection and try again.");
const QString kBadStatus = QStringLiteral("The update file couldn’t be downloaded.");
const QString kTransport = QStringLiteral("The update couldn’t be downloaded. ");
const QString kTooLarge = QStringLiteral("The download was larger than expected.");
const QString kIncomplete = QStringLiteral("The download was incomplete.");
const QString kBadSignature = QStringLiteral("The update’s signature didn’t match, so it wasn’t installed.");

std::unique_ptr<QSettings> openSettings(const QString& file)
{
    if (!file.isEmpty()) return std::make_unique<QSettings>(file, QSettings::IniFormat);
    const QString name = QCoreApplication::applicationName();
    return std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope, name, name);
}

QString defaultStagingFolder()
{
    return QDir(QStandardPaths::writableLocation(QStandardPaths::CacheLocation))
        .filePath(QStringLiteral("SabloUpdate"));
}

// What this copy lacks to update itself, in words for the Settings window.
QString missingConfiguration(const BundleInfo& info)
{
    if (info.feedUrl.isEmpty() || info.publicKey.isEmpty())
        return QStringLiteral("Updates are off: this copy has no update address");
    return {};
}

}  // namespace

Updater::Updater(UpdaterEnvironment environment, QObject* parent) : Updater({}, {}, std::move(environment), parent)
{
    const BundleLocation location = BundleLocation::ofRunningApplication();
    if (location.folder.isEmpty()) {
        m_idleReason = location.idleReason;
        return;
    }
    m_bundleFolder = location.folder;
    m_info = BundleInfo::read(location.folder).value_or(BundleInfo{});
    m_idleReason = missingConfiguration(m_info);
}

Updater::Updater(const QString& bundleFolder, const BundleInfo& info, UpdaterEnvironment environment, QObject* parent)
    : QObject(parent),
      m_bundleFolder(bundleFolder),
      m_info(info),
      m_environment(std::move(environment)),
      m_settings(openSettings(m_environment.settingsFile))
{
    if (m_environment.stagingFolder.isEmpty()) m_environment.stagingFolder = defaultStagingFolder();
    m_systemVersion = m_environment.systemVersion.value_or(UpdateLogic::runningSystemVersion());
    m_idleReason = bundleFolder.isEmpty() ? QStringLiteral("Updates are off: this copy wasn’t installed from a release")
                                          : missingConfiguration(info);
    m_lastChecked = m_settings->value(QLatin1String(kLastCheckedKey)).toDateTime();
    m_timer.setInterval(kPollIntervalMs);
    connect(&m_timer, &QTimer::timeout, this, [this] { check(false); });
}

Updater::~Updater()
{
    if (m_reply) m_reply->abort();
}

bool Updater::automaticallyDownloads() const
{
    return m_settings->value(QLatin1String(kAutoUpdateKey), false).toBool();
}

void Updater::setAutomaticallyDownloads(bool on)
{
    if (on == automaticallyDownloads()) return;
    m_settings->setValue(QLatin1String(kAutoUpdateKey), on);
    m_settings->sync();
    Q_EMIT automaticallyDownloadsChanged();
}

void Updater::setPhase(Phase phase, double fraction, const QString& message)
{
    m_phase = phase;
    m_fraction = fraction;
    m_message = message;
    Q_EMIT phaseChanged();
}

QNetworkRequest Updater::request(const QString& url) const
{
    QNetworkRequest request{QUrl(url)};
    request.setHeader(
        QNetworkRequest::UserAgentHeader,
        QStringLiteral("%1/%2 Software Update").arg(QCoreApplication::applicationName(), m_info.shortVersion));
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    return request;
}

void Updater::start()
{
    if (m_started || !isEnabled()) return;
    m_started = true;
    if (QCoreApplication::instance())
        connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this, [this] { installOnQuit(); });
    m_timer.start();
    QTimer::singleShot(0, this, [this] { check(false); });
}

void Updater::check(bool userInitiated)
{
    if (!isEnabled() || m_phase == Phase::checking || m_phase == Phase::downloading || m_phase == Phase::ready
        || m_reply)
        return;
    setPhase(Phase::checking);
    QNetworkRequest feedRequest = request(m_info.feedUrl);
    feedRequest.setTransferTimeout(kFeedTimeoutMs);
    QNetworkReply* reply = m_network.get(feedRequest);
    m_reply = reply;
    connect(reply, &QNetworkReply::finished, this, [this, reply, userInitiated] { feedArrived(reply, userInitiated); });
}

void Updater::feedArrived(QNetworkReply* reply, bool userInitiated)
{
    reply->deleteLater();
    m_reply = nullptr;
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const auto feed = reply->error() == QNetworkReply::NoError && (status == 200 || status == 0)
        ? UpdateFeed::decode(reply->readAll())
        : std::nullopt;
    if (!feed) {
        setPhase(Phase::failed, 0, kCheckFailed);
        return;
    }
    m_lastChecked = QDateTime::currentDateTimeUtc();
    m_settings->setValue(QLatin1String(kLastCheckedKey), m_lastChecked);
    Q_EMIT lastCheckedChanged();

    const bool supported =
        !feed->minimumSystemVersion || UpdateLogic::systemSupports(*feed->minimumSystemVersion, m_systemVersion);
    if (!UpdateLogic::isNewer(feed->version, m_info.shortVersion) || !supported) {
        setPhase(Phase::upToDate);
        return;
    }
    m_feed = feed;
    setPhase(Phase::available);
    const bool announce = UpdateLogic::shouldAnnounce(*m_settings, feed->version);
    if (automaticallyDownloads() && UpdateLogic::canInstallInPlace(m_bundleFolder)) download(*feed);
    if (announce && !userInitiated) Q_EMIT updateAnnounced();
}

void Updater::download()
{
    if (m_feed) download(*m_feed);
}

void Updater::download(const UpdateFeed& feed)
{
    if (!isEnabled() || m_reply || m_phase == Phase::downloading) return;
    m_feed = feed;
    m_stagedApp.clear();
    m_received.clear();
    m_tooLarge = false;
    setPhase(Phase::downloading, 0);
    QNetworkReply* reply = m_network.get(request(feed.download.url));
    m_reply = reply;
    const qint64 length = feed.download.length;
    connect(reply, &QNetworkReply::readyRead, this, [this, reply, length] {
        if (m_tooLarge) return;
        m_received += reply->readAll();
        if (m_received.size() > length) {
            // No reason to keep receiving what will be refused.
            m_tooLarge = true;
            reply->abort();
        }
    });
    connect(reply, &QNetworkReply::downloadProgress, this, [this, length](qint64 received, qint64) {
        if (m_phase != Phase::downloading || length <= 0) return;
        const double fraction = std::clamp(double(received) / double(length), 0.0, 1.0);
        if (fraction != m_fraction) setPhase(Phase::downloading, fraction);
    });
    connect(reply, &QNetworkReply::finished, this, [this, reply] { downloadFinished(reply); });
}

void Updater::downloadFinished(QNetworkReply* reply)
{
    reply->deleteLater();
    m_reply = nullptr;
    const UpdateFeed feed = *m_feed;
    if (!m_tooLarge) m_received += reply->readAll();
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    QString failure;
    if (m_tooLarge || m_received.size() > feed.download.length)
        failure = kTooLarge;
    else if (status.isValid() && status.toInt() != 200)
        failure = kBadStatus;
    else if (reply->error() != QNetworkReply::NoError)
        failure = kTransport + reply->errorString();
    else if (m_received.size() < feed.download.length)
        failure = kIncomplete;
    if (!failure.isEmpty()) {
        m_received.clear();
        setPhase(Phase::failed, 0, failure);
        return;
    }
    const QByteArray archive = std::exchange(m_received, QByteArray());
    stageInBackground(archive, feed);
}

void Updater::stageInBackground(const QByteArray& archive, const UpdateFeed& feed)
{
    const QString publicKey = m_info.publicKey;
    const QString identifier = m_info.identifier;
    const QString staging = m_environment.stagingFolder;
    auto* watcher = new QFutureWatcher<StagedUpdate>(this);
    connect(watcher, &QFutureWatcher<StagedUpdate>::finished, this, [this, watcher] {
        watcher->deleteLater();
        const StagedUpdate staged = watcher->result();
        if (!staged.ok()) {
            setPhase(Phase::failed, 0, staged.failure);
            return;
        }
        m_stagedApp = staged.appFolder;
        setPhase(Phase::ready, 1);
    });
    watcher->setFuture(QtConcurrent::run([archive, feed, publicKey, identifier, staging] {
        const auto work = [&]() -> StagedUpdate {
            if (!UpdateLogic::verify(archive, feed.download.edSignature, publicKey)) return {{}, kBadSignature};
            StagedUpdate staged = ArchiveStager::stage(archive, staging);
            if (!staged.ok()) return staged;
            const QString invalid = ArchiveStager::validate(staged.appFolder, identifier, feed.version);
            if (!invalid.isEmpty()) return {{}, invalid};
            return staged;
        };
        StagedUpdate result = work();
        // Pool threads may outlive the application's use of OpenSSL; free this thread's state now.
        OPENSSL_thread_stop();
        return result;
    }));
}

bool Updater::installOnQuit()
{
    if (m_installLaunched || m_stagedApp.isEmpty() || !UpdateLogic::canInstallInPlace(m_bundleFolder)) return false;
    m_installLaunched = InstallScript::launch(QCoreApplication::applicationPid(), m_stagedApp, m_bundleFolder,
                                              m_relaunch, m_environment.relaunchProgram);
    return m_installLaunched;
}

void Updater::installAndRelaunch()
{
    m_relaunch = true;
    if (m_environment.quit) {
        m_environment.quit();
        return;
    }
    QMetaObject::invokeMethod(QCoreApplication::instance(), &QCoreApplication::quit, Qt::QueuedConnection);
}

}  // namespace fennic
