// The KDE route against a stand-in global accelerator service on a private bus: the shortcut is
// given to the service as Qt's key code, a combination the service gives to someone else is
// refused with the reason, and the service's press signal reaches pressed(). The stand-in
// answers from a thread of its own, since the route waits for its answers.
#include "quick/HotKeyKde.h"
#include "StandInAccelerators.h"
#include "support/PrivateBus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QMutex>
#include <QSignalSpy>
#include <QTest>
#include <QThread>
#include <gtest/gtest.h>

using namespace fennic;

namespace {

class HotKeyKdeTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!bus.isRunning()) GTEST_SKIP() << "needs dbus-daemon";
        qDBusRegisterMetaType<QList<int>>();
        QDBusConnection serviceBus = bus.connect(QStringLiteral("accelerators"));
        service.busName = QStringLiteral("accelerators");
        service.moveToThread(&serviceThread);
        serviceThread.start();
        ASSERT_TRUE(
            serviceBus.registerObject(QStringLiteral("/kglobalaccel"), &service, QDBusConnection::ExportAllSlots));
        ASSERT_TRUE(serviceBus.registerService(QStringLiteral("org.kde.kglobalaccel")));
        client = bus.connect(QStringLiteral("client"));
    }
    void TearDown() override
    {
        route.reset();
        serviceThread.quit();
        serviceThread.wait();
    }

    test::PrivateBus bus;
    QThread serviceThread;
    StandInAccelerators service;
    QDBusConnection client{QString()};
    std::unique_ptr<HotKeyKde> route;
};

}  // namespace

TEST_F(HotKeyKdeTest, GivesTheKeysToTheServiceAndHearsPresses)
{
    EXPECT_TRUE(HotKeyKde::available(client));
    route = std::make_unique<HotKeyKde>(client);
    QSignalSpy pressed(route.get(), &HotKeyRoute::pressed);
    const auto refusal = route->bind(Shortcut::standard());
    ASSERT_FALSE(refusal.has_value()) << qPrintable(*refusal);
    EXPECT_EQ(service.given(), QList<int>{int(Qt::ControlModifier | Qt::ShiftModifier) | Qt::Key_Space});

    QMetaObject::invokeMethod(&service, [this] { service.press(QStringLiteral("another-action")); });
    QMetaObject::invokeMethod(&service, [this] { service.press(QStringLiteral("quick-search")); });
    ASSERT_TRUE(QTest::qWaitFor([&] { return pressed.count() >= 1; }, 5000));
    QTest::qWait(100);
    EXPECT_EQ(pressed.count(), 1) << "another action's press is not ours";
}

TEST_F(HotKeyKdeTest, KeysTheServiceGivesElsewhereAreRefused)
{
    service.takenKey = int(Qt::ControlModifier | Qt::ShiftModifier) | Qt::Key_Space;
    route = std::make_unique<HotKeyKde>(client);
    EXPECT_EQ(route->bind(Shortcut::standard()), QStringLiteral("Another application already uses Ctrl+Shift+Space."));
    EXPECT_FALSE(route->bind(Shortcut{40, Shortcut::cmd | Shortcut::option}).has_value());
}

TEST(HotKeyKde, WithoutTheServiceItIsNotAvailable)
{
    EXPECT_FALSE(HotKeyKde::available(QDBusConnection(QStringLiteral("no such bus"))));
}
