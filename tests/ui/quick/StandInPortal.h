#pragma once

// A stand-in for the desktop portal's GlobalShortcuts interface, for the portal route's tests.
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QMetaObject>
#include <QMutex>
#include <QVariantMap>
#include <atomic>

// At global scope: the bus matches a slot's parameters by their type names as written.
struct BoundShortcut {
    QString id;
    QVariantMap options;
};

inline QDBusArgument& operator<<(QDBusArgument& arg, const BoundShortcut& s)
{
    arg.beginStructure();
    arg << s.id << s.options;
    arg.endStructure();
    return arg;
}

inline const QDBusArgument& operator>>(const QDBusArgument& arg, BoundShortcut& s)
{
    arg.beginStructure();
    arg >> s.id >> s.options;
    arg.endStructure();
    return arg;
}

Q_DECLARE_METATYPE(BoundShortcut)

inline const QString kPortalPath = QStringLiteral("/org/freedesktop/portal/desktop");
inline const QString kInterface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");

// The portal's side of GlobalShortcuts, as far as a client sees it.
class StandInPortal : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.GlobalShortcuts")
    Q_PROPERTY(uint version READ version)

public:
    uint version() const { return 1; }
    std::atomic<uint> bindAnswer{0};  // 0: granted; otherwise the portal's refusal code

    QString trigger() const
    {
        QMutexLocker lock(&m_mutex);
        return m_trigger;
    }
    QString session() const
    {
        QMutexLocker lock(&m_mutex);
        return m_session;
    }

    // The user pressed the bound shortcut.
    void press(const QString& id)
    {
        QDBusMessage activated = QDBusMessage::createSignal(kPortalPath, kInterface, QStringLiteral("Activated"));
        activated << QVariant::fromValue(QDBusObjectPath(session())) << id << qulonglong(0) << QVariantMap();
        QDBusConnection(m_busName).send(activated);
    }

    QString m_busName;  // the connection it is exported on

public Q_SLOTS:
    QDBusObjectPath CreateSession(const QVariantMap& options)
    {
        const QString sender = senderPart();
        {
            QMutexLocker lock(&m_mutex);
            m_session = kPortalPath
                + QStringLiteral("/session/") + sender + u'/'
                                 + options.value(QStringLiteral("session_handle_token")).toString();
        }
        return answerLater(options, 0, {{QStringLiteral("session_handle"), session()}});
    }

    QDBusObjectPath BindShortcuts(const QDBusObjectPath& sessionPath, const QList<BoundShortcut>& shortcuts,
                                  const QString&, const QVariantMap& options)
    {
        {
            QMutexLocker lock(&m_mutex);
            if (sessionPath.path() == m_session && shortcuts.size() == 1)
                m_trigger = shortcuts[0].id + u' ' + shortcuts[0].options.value("preferred_trigger").toString();
        }
        return answerLater(options, bindAnswer.load(), {});
    }

private:
    QString senderPart() const
    {
        QString sender = message().service().mid(1);
        return sender.replace(u'.', u'_');
    }

    // A portal answers a request with its Response signal after the call has returned.
    QDBusObjectPath answerLater(const QVariantMap& options, uint response, const QVariantMap& results)
    {
        const QString path = kPortalPath
            + QStringLiteral("/request/") + senderPart() + u'/'
                             + options.value(QStringLiteral("handle_token")).toString();
        QMetaObject::invokeMethod(
            this,
            [this, path, response, results] {
                QDBusMessage signal =
                    QDBusMessage::createSignal(path, QStringLiteral("org.freedesktop.portal.Request"), "Response");
                signal << response << results;
                QDBusConnection(m_busName).send(signal);
            },
            Qt::QueuedConnection);
        return QDBusObjectPath(path);
    }

    mutable QMutex m_mutex;
    QString m_session;
    QString m_trigger;
};
