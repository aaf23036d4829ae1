#pragma once

// A stand-in for KDE's global accelerator service, for the KDE route's tests.
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QList>
#include <QMutex>
#include <QObject>
#include <QStringList>

inline const QString kComponentPath = QStringLiteral("/component/io_github_fennic_Fennic");

// The service's side, as far as a client sees it.
class StandInAccelerators : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.KGlobalAccel")

public:
    QString busName;   // the connection it is exported on
    int takenKey = 0;  // a key combination someone else holds

    QList<int> given() const
    {
        QMutexLocker lock(&m_mutex);
        return m_given;
    }

    // The user pressed the action's keys.
    void press(const QString& action)
    {
        QDBusMessage signal = QDBusMessage::createSignal(
            kComponentPath, QStringLiteral("org.kde.kglobalaccel.Component"), QStringLiteral("globalShortcutPressed"));
        signal << QStringLiteral("io.github.fennic.Fennic") << action << qlonglong(0);
        QDBusConnection(busName).send(signal);
    }

public Q_SLOTS:
    void doRegister(const QStringList&) { }
    QList<int> setShortcut(const QStringList& actionId, const QList<int>& keys, uint)
    {
        if (actionId.value(1) != QLatin1String("quick-search")) return {};
        if (keys.contains(takenKey)) return {};
        QMutexLocker lock(&m_mutex);
        m_given = keys;
        return keys;
    }
    QDBusObjectPath getComponent(const QString&) { return QDBusObjectPath(kComponentPath); }

private:
    mutable QMutex m_mutex;
    QList<int> m_given;
};
