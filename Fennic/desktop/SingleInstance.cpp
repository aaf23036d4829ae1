#include "SingleInstance.h"

#include <QCryptographicHash>
#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <pwd.h>
#include <unistd.h>

namespace fennic {

namespace {

// The running instance answers every message with this byte once it has it.
constexpr char kReceived = '\x06';

QString userName()
{
    if (const passwd* pw = getpwuid(getuid()); pw && pw->pw_name) return QString::fromLocal8Bit(pw->pw_name);
    const QString user = qEnvironmentVariable("USER");
    return user.isEmpty() ? QString::number(getuid()) : user;
}

}  // namespace

SingleInstance::SingleInstance(QString name, QObject* parent)
    : QObject(parent), m_name(name.isEmpty() ? defaultName() : std::move(name))
{
    // A bare name goes into the user's private runtime folder rather than the shared /tmp.
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!m_name.contains(u'/') && !runtime.isEmpty() && QDir(runtime).exists()) m_name = QDir(runtime).filePath(m_name);
}

SingleInstance::~SingleInstance() = default;

QString SingleInstance::defaultName()
{
    QString name = QStringLiteral("fennic-") + userName();
    const QByteArray root = qgetenv("FENNIC_LIBRARY_ROOT");
    if (!root.isEmpty())
        name += u'-' + QString::fromLatin1(QCryptographicHash::hash(root, QCryptographicHash::Sha1).toHex().left(12));
    return name;
}

bool SingleInstance::sendToRunning(const QByteArray& message, int timeoutMs)
{
    QLocalSocket socket;
    socket.connectToServer(m_name);
    if (!socket.waitForConnected(timeoutMs)) return false;
    socket.write(message + '\n');
    if (!socket.waitForBytesWritten(timeoutMs)) return false;
    while (socket.state() == QLocalSocket::ConnectedState || socket.bytesAvailable() > 0) {
        if (socket.bytesAvailable() == 0 && !socket.waitForReadyRead(timeoutMs)) break;
        if (socket.readAll().contains(kReceived)) {
            socket.disconnectFromServer();
            return true;
        }
    }
    return false;
}

bool SingleInstance::isListening() const { return m_server && m_server->isListening(); }

bool SingleInstance::listen()
{
    if (isListening()) return true;
    // A socket that answers belongs to a running instance. One that doesn't was left by an
    // instance that crashed; Qt's listen() would replace it, and so would it a live one's,
    // hence the check first.
    {
        QLocalSocket probe;
        probe.connectToServer(m_name);
        if (probe.waitForConnected(250)) {
            probe.abort();
            return false;
        }
    }
    if (!m_server) {
        m_server = new QLocalServer(this);
        m_server->setSocketOptions(QLocalServer::UserAccessOption);
        connect(m_server, &QLocalServer::newConnection, this, &SingleInstance::acceptConnections);
    }
    QLocalServer::removeServer(m_name);
    return m_server->listen(m_name);
}

void SingleInstance::acceptConnections()
{
    while (QLocalSocket* socket = m_server->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        // A client that sends a long line without its end is dropped.
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            if (!socket->canReadLine()) {
                if (socket->bytesAvailable() > 4096) socket->abort();
                return;
            }
            const QByteArray line = socket->readLine().chopped(1);
            socket->write(&kReceived, 1);
            socket->flush();
            socket->disconnectFromServer();
            Q_EMIT messageReceived(line);
        });
    }
}

}  // namespace fennic
