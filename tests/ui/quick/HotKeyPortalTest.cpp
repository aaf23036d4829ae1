// The portal route against a stand-in desktop portal on a private bus: the shortcut is asked
// for in the portal's terms, its activation reaches pressed(), and a refusal arrives later as
// refused(). The stand-in answers from a thread of its own, since the route's first call
// waits for its answer.
#include "quick/HotKeyPortal.h"
#include "StandInPortal.h"
#include "support/PrivateBus.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QMutex>
#include <QSignalSpy>
#include <QTest>
#include <QThread>
#include <atomic>
#include <gtest/gtest.h>

using namespace fennic;

namespace {

class HotKeyPortalTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!bus.isRunning()) GTEST_SKIP() << "needs dbus-daemon";
        qDBusRegisterMetaType<BoundShortcut>();
        qDBusRegisterMetaType<QList<BoundShortcut>>();

        portalBus = bus.connect(QStringLiteral("portal"));
        portal.m_busName = QStringLiteral("portal");
        portal.moveToThread(&portalThread);
        portalThread.start();
        ASSERT_TRUE(portalBus.registerObject(kPortalPath, &portal,
                                             QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties));
        ASSERT_TRUE(portalBus.registerService(QStringLiteral("org.freedesktop.portal.Desktop")));
        client = bus.connect(QStringLiteral("client"));
    }
    void TearDown() override
    {
        route.reset();
        portalThread.quit();
        portalThread.wait();
    }

    test::PrivateBus bus;
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
