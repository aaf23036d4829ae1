// One instance per session, over real local sockets in the test's private runtime folder.
#include "desktop/SingleInstance.h"

#include <QDir>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTest>
#include <future>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace fennic;

namespace {

// Sends from another thread, as a second process would, while this thread serves.
bool sendFromElsewhere(const QString& name, const QByteArray& message)
{
    auto sent = std::async(std::launch::async, [name, message] {
        SingleInstance second(name);
        return second.sendToRunning(message, 3000);
    });
    while (sent.wait_for(std::chrono::milliseconds(5)) != std::future_status::ready) QTest::qWait(5);
    return sent.get();
}

}  // namespace

TEST(SingleInstance, SecondInstanceReachesTheFirst)
{
    SingleInstance first(QStringLiteral("fennic-test-reach"));
    EXPECT_TRUE(first.serverName().startsWith(qEnvironmentVariable("XDG_RUNTIME_DIR")));
    EXPECT_FALSE(first.sendToRunning("activate", 300)) << "nobody is running yet";
    ASSERT_TRUE(first.listen());
    QSignalSpy received(&first, &SingleInstance::messageReceived);

    EXPECT_TRUE(sendFromElsewhere(first.serverName(), "activate"));
    EXPECT_TRUE(sendFromElsewhere(first.serverName(), "quick-search"));
    ASSERT_EQ(received.size(), 2);
    EXPECT_EQ(received[0][0].toByteArray(), "activate");
    EXPECT_EQ(received[1][0].toByteArray(), "quick-search");

    SingleInstance rival(QStringLiteral("fennic-test-reach"));
    EXPECT_FALSE(rival.listen()) << "the running instance keeps its socket";
    EXPECT_TRUE(sendFromElsewhere(first.serverName(), "activate")) << "and still answers";
}

TEST(SingleInstance, SocketLeftByACrashDoesNotStopListening)
{
    const QString path = QDir(qEnvironmentVariable("XDG_RUNTIME_DIR")).filePath("fennic-test-stale");
    // A socket file nobody listens on, as a crashed instance leaves it.
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_GE(fd, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray encoded = QFile::encodeName(path);
    ASSERT_LT(encoded.size(), qsizetype(sizeof(address.sun_path)));
    std::copy(encoded.cbegin(), encoded.cend(), address.sun_path);
    ASSERT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    ::close(fd);
    ASSERT_TRUE(QFileInfo::exists(path));

    SingleInstance instance(path);
    EXPECT_FALSE(instance.sendToRunning("activate", 300));
    ASSERT_TRUE(instance.listen());
    QSignalSpy received(&instance, &SingleInstance::messageReceived);
    EXPECT_TRUE(sendFromElsewhere(path, "activate"));
    EXPECT_EQ(received.size(), 1);
}

TEST(SingleInstance, DefaultNameIsPerUserAndPerFixtureLibrary)
{
    qunsetenv("FENNIC_LIBRARY_ROOT");
    const QString plain = SingleInstance::defaultName();
    EXPECT_TRUE(plain.startsWith("fennic-"));
    qputenv("FENNIC_LIBRARY_ROOT", "/tmp/fixture-one");
    const QString one = SingleInstance::defaultName();
    qputenv("FENNIC_LIBRARY_ROOT", "/tmp/fixture-two");
    const QString two = SingleInstance::defaultName();
    qunsetenv("FENNIC_LIBRARY_ROOT");
    EXPECT_TRUE(one.startsWith(plain + "-"));
    EXPECT_NE(one, two);
    EXPECT_FALSE(one.contains('/'));
}
