// The portal route against a stand-in desktop portal on a private bus: the shortcut is asked
// for in the portal's terms, its activation reaches pressed(), and a refusal arrives later as
// refused(). The stand-in answers from a thread of its own, since the route's first call
// waits for its answer.
#include "quick/HotKeyPortal.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QMutex>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>
#include <QThread>
#include <atomic>
#include <gtest/gtest.h>

using namespace fennic;

// At global scope: the bus matches a slot's parameters by their type names as written.
struct BoundShortcut {
    QString id;
    QVariantMap options;
};

QDBusArgument& operator<<(QDBusArgument& arg, const BoundShortcut& s)
{
    arg.beginStructure();
    arg << s.id << s.options;
    arg.endStructure();
    return arg;
}

const QDBusArgument& operator>>(const QDBusArgument& arg, BoundShortcut& s)
{
    arg.beginStructure();
    arg >> s.id >> s.options;
    arg.endStructure();
    return arg;
}

Q_DECLARE_METATYPE(BoundShortcut)

namespace {

const QString kPortalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kInterface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");

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

class HotKeyPortalTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        daemon.start(QStringLiteral("dbus-daemon"),
                                    {QStringLiteral("--session"),
                                                    QStringLiteral("--nofork"), QStringLiteral("--print-address")});
        if (!daemon.waitForStarted(5000) || !daemon.waitForReadyRead(5000)) GTEST_SKIP() << "needs dbus-daemon";
        const QString address = QString::fromUtf8(daemon.readLine()).trimmed();
        qDBusRegisterMetaType<BoundShortcut>();
        qDBusRegisterMetaType<QList<BoundShortcut>>();

        portalBus = QDBusConnection::connectToBus(address, QStringLiteral("portal"));
        portal.m_busName = QStringLiteral("portal");
        portal.moveToThread(&portalThread);
        portalThread.start();
        ASSERT_TRUE(portalBus.registerObject(kPortalPath, &portal,
                                             QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties));
        ASSERT_TRUE(portalBus.registerService(QStringLiteral("org.freedesktop.portal.Desktop")));
        client = QDBusConnection::connectToBus(address, QStringLiteral("client"));
    }
    void TearDown() override
    {
        route.reset();
        portalThread.quit();
        portalThread.wait();
        QDBusConnection::disconnectFromBus(QStringLiteral("client"));
        QDBusConnection::disconnectFromBus(QStringLiteral("portal"));
        daemon.kill();
        daemon.waitForFinished(5000);
    }

    QProcess daemon;
    QThread portalThread;
    StandInPortal portal;
    QDBusConnection portalBus{QString()};
    QDBusConnection client{QString()};
    std::unique_ptr<HotKeyPortal> route;
};

}  // namespace

TEST_F(HotKeyPortalTest, BindsThroughASessionAndHearsActivations)
{
    EXPECT_EQ(HotKeyPortal::version(client), 1u);
    route = std::make_unique<HotKeyPortal>(client);
    QSignalSpy pressed(route.get(), &HotKeyRoute::pressed);
    QSignalSpy refused(route.get(), &HotKeyRoute::refused);
    ASSERT_FALSE(route->bind(Shortcut::standard()).has_value());
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return portal.trigger() == QStringLiteral("quick-search CTRL+SHIFT+space"); }, 5000))
        << qPrintable(portal.trigger());

    QMetaObject::invokeMethod(&portal, [this] { portal.press(QStringLiteral("quick-search")); });
    ASSERT_TRUE(QTest::qWaitFor([&] { return pressed.count() == 1; }, 5000));
    QMetaObject::invokeMethod(&portal, [this] { portal.press(QStringLiteral("someone-else")); });
    QMetaObject::invokeMethod(&portal, [this] { portal.press(QStringLiteral("quick-search")); });
    ASSERT_TRUE(QTest::qWaitFor([&] { return pressed.count() == 2; }, 5000));
    EXPECT_EQ(refused.count(), 0);
}

TEST_F(HotKeyPortalTest, ARefusalArrivesAfterBinding)
{
    portal.bindAnswer = 2;
    route = std::make_unique<HotKeyPortal>(client);
    QSignalSpy refused(route.get(), &HotKeyRoute::refused);
    ASSERT_FALSE(route->bind(Shortcut{40, Shortcut::cmd | Shortcut::option}).has_value());
    ASSERT_TRUE(QTest::qWaitFor([&] { return refused.count() == 1; }, 5000));
    EXPECT_EQ(portal.trigger(), QStringLiteral("quick-search CTRL+ALT+k"));
    EXPECT_TRUE(refused[0][0].toString().contains("Ctrl+Alt+K"));
}

TEST(HotKeyPortal, WithoutAPortalThereIsNoVersion)
{
    EXPECT_FALSE(HotKeyPortal::version(QDBusConnection(QStringLiteral("no such bus"))).has_value());
}

#include "HotKeyPortalTest.moc"
