#pragma once

#include "BundleInfo.h"
#include "UpdateFeed.h"

#include <QByteArray>
#include <QDateTime>
#include <QNetworkAccessManager>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>
#include <functional>
#include <memory>
#include <optional>

class QNetworkReply;
class QSettings;

namespace fennic {

// What an Updater uses from its surroundings besides the installed application. Every field
// has a default fit for the running application; tests and the command-line tool set them.
struct UpdaterEnvironment {
    // INI file holding "SabloAutoUpdate", "SabloLastChecked" and "SabloAnnounced-…"; empty
    // means the application's own user settings (~/.config/APPNAME/APPNAME.ini).
    QString settingsFile;
    // Where updates are unpacked; empty means "SabloUpdate" in the application's cache folder.
    QString stagingFolder;
    // The distribution's version for "minimumSystemVersion"; none reads /etc/os-release.
    std::optional<QString> systemVersion;
    // Asks the application to quit (installAndRelaunch); none queues QCoreApplication::quit().
    std::function<void()> quit;
    // The program the install script starts after replacing the application, relative to it.
    QString relaunchProgram = QStringLiteral("bin/fennic");
};

// Keeps the installed application current: polls the feed named in its information file,
// downloads and checks the offered archive, stages it in the cache folder and, when the
// application quits, hands the replacement to a script that runs after the process has ended.
// The installed copy is never touched while the application runs.
//
// Lives on the GUI thread; network replies arrive there and the signature check, unpacking and
// sealing check run on the global thread pool.
class Updater : public QObject {
    Q_OBJECT
    Q_PROPERTY(fennic::Updater::Phase phase READ phase NOTIFY phaseChanged)
    Q_PROPERTY(double fraction READ fraction NOTIFY phaseChanged)
    Q_PROPERTY(QString message READ message NOTIFY phaseChanged)
    Q_PROPERTY(QString offeredVersion READ offeredVersion NOTIFY phaseChanged)
    Q_PROPERTY(QString notes READ notes NOTIFY phaseChanged)
    Q_PROPERTY(QString releasePage READ releasePage NOTIFY phaseChanged)
    Q_PROPERTY(QString installedVersion READ installedVersion CONSTANT)
    Q_PROPERTY(QDateTime lastChecked READ lastChecked NOTIFY lastCheckedChanged)
    Q_PROPERTY(bool automaticallyDownloads READ automaticallyDownloads WRITE setAutomaticallyDownloads NOTIFY
                   automaticallyDownloadsChanged)
    Q_PROPERTY(bool enabled READ isEnabled CONSTANT)
    Q_PROPERTY(QString idleReason READ idleReason CONSTANT)

public:
    enum class Phase {
        idle,         // nothing asked yet, or updates are off (idleReason says why)
        checking,     // the feed is being fetched
        upToDate,     // nothing newer that this system can run
        available,    // feed() offers a newer version
        downloading,  // feed()'s archive is arriving; fraction() tells how much
        ready,        // feed()'s version is staged and installs when the application quits
        failed,       // message() says what went wrong
    };
    Q_ENUM(Phase)

    static constexpr int kPollIntervalMs = 6 * 60 * 60 * 1000;
    static constexpr int kFeedTimeoutMs = 20 * 1000;

    // For the running application: its folder is the parent of the executable's folder when
    // that holds the information file; otherwise the updater stays idle and idleReason() says
    // why (a system package, a build tree).
    explicit Updater(UpdaterEnvironment environment = {}, QObject* parent = nullptr);
    // For the application folder `bundleFolder` described by `info` (which may override what
    // the folder's own information file says).
    Updater(const QString& bundleFolder, const BundleInfo& info, UpdaterEnvironment environment = {},
            QObject* parent = nullptr);
    ~Updater() override;

    Phase phase() const { return m_phase; }
    double fraction() const { return m_fraction; }             // 0 … 1 while downloading
    QString message() const { return m_message; }              // the failure, while failed
    std::optional<UpdateFeed> feed() const { return m_feed; }  // the last version offered
    QString offeredVersion() const { return m_feed ? m_feed->version : QString(); }
    QString notes() const { return m_feed ? m_feed->notes : QString(); }
    QString releasePage() const { return m_feed ? m_feed->url : QString(); }  // the feed's "url"
    QString installedVersion() const { return m_info.shortVersion; }
    QDateTime lastChecked() const { return m_lastChecked; }  // invalid when never checked
    bool automaticallyDownloads() const;
    void setAutomaticallyDownloads(bool on);
    // Whether this copy can update itself: it has a folder, a feed URL and a public key.
    bool isEnabled() const { return m_idleReason.isEmpty(); }
    QString idleReason() const { return m_idleReason; }
    QString bundleFolder() const { return m_bundleFolder; }
    QString stagedApp() const { return m_stagedApp; }  // empty until ready
    bool relaunchAfterInstall() const { return m_relaunch; }
    void setRelaunchAfterInstall(bool on) { m_relaunch = on; }

    // Installs on quit (QCoreApplication::aboutToQuit), checks every six hours and checks once
    // soon after returning to the event loop. Does nothing when updates are off.
    void start();
    // One check of the feed. A user-initiated check never raises updateAnnounced() (the user
    // is already looking) but still counts the version as announced. Ignored while a check or
    // download runs or an update is ready.
    void check(bool userInitiated);
    // Fetches, verifies, stages and validates `feed`'s archive. Ignored while one runs.
    void download(const UpdateFeed& feed);
    // Starts the install script for the staged application when there is one and the
    // installed folder can be replaced in place; the script waits for this process to end.
    // Returns whether it was started. Runs at most once.
    bool installOnQuit();

public Q_SLOTS:
    void checkNow() { check(true); }
    // Downloads the version last offered (after "available", or again after a failure).
    void download();
    // Installs with relaunch: sets relaunchAfterInstall and asks the application to quit.
    void installAndRelaunch();

Q_SIGNALS:
    void phaseChanged();  // phase, fraction, message or feed changed
    void lastCheckedChanged();
    void automaticallyDownloadsChanged();
    // An automatic check found a version not announced before: show the update window.
    void updateAnnounced();

private:
    void setPhase(Phase phase, double fraction = 0, const QString& message = {});
    QNetworkRequest request(const QString& url) const;
    void feedArrived(QNetworkReply* reply, bool userInitiated);
    void downloadFinished(QNetworkReply* reply);
    void stageInBackground(const QByteArray& archive, const UpdateFeed& feed);

    QString m_bundleFolder;
    BundleInfo m_info;
    UpdaterEnvironment m_environment;
    QString m_idleReason;
    QString m_systemVersion;
    std::unique_ptr<QSettings> m_settings;
    QNetworkAccessManager m_network;
    QTimer m_timer;

    Phase m_phase = Phase::idle;
    double m_fraction = 0;
    QString m_message;
    std::optional<UpdateFeed> m_feed;
    QDateTime m_lastChecked;
    QString m_stagedApp;
    bool m_relaunch = false;
    bool m_started = false;
    bool m_installLaunched = false;

    QPointer<QNetworkReply> m_reply;
    QByteArray m_received;
    bool m_tooLarge = false;
};

}  // namespace fennic
