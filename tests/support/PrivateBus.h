#pragma once

#include <QDBusConnection>
#include <QProcess>
#include <QStringList>

namespace fennic::test {

// A session bus daemon of the test's own, so nothing is published on the user's bus. The
// connections made through connect() are closed, and the daemon stopped, when it goes away.
class PrivateBus {
public:
    PrivateBus()
    {
        m_daemon.start(QStringLiteral("dbus-daemon"),
                                      {QStringLiteral("--session"),
                                                      QStringLiteral("--nofork"), QStringLiteral("--print-address")});
        if (!m_daemon.waitForStarted(5000) || !m_daemon.waitForReadyRead(5000)) return;
        m_address = QString::fromUtf8(m_daemon.readLine()).trimmed();
    }
    ~PrivateBus()
    {
        for (const QString& name : m_names) QDBusConnection::disconnectFromBus(name);
        m_daemon.kill();
        m_daemon.waitForFinished(5000);
    }
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    bool isRunning() const { return !m_address.isEmpty(); }
    QDBusConnection connect(const QString& name)
    {
        m_names << name;
        return QDBusConnection::connectToBus(m_address, name);
    }

private:
    QProcess m_daemon;
    QString m_address;
    QStringList m_names;
};

}  // namespace fennic::test
