#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>

class QLocalServer;

namespace fennic {

// Keeps one Fennic per user session: the first instance listens on a local socket, a later one
// hands its request ("activate", "quick-search") to it and quits.
//
//   SingleInstance instance;
//   if (instance.sendToRunning("activate")) return 0;
//   instance.listen();
//   connect(&instance, &SingleInstance::messageReceived, ...);
//
// The socket lives in XDG_RUNTIME_DIR (private to the user) when that is set, otherwise in the
// temporary folder. A message is one line of bytes without a newline.
class SingleInstance : public QObject {
    Q_OBJECT

public:
    // `name`: the socket's name, or a full path; empty takes defaultName().
    explicit SingleInstance(QString name = {}, QObject* parent = nullptr);
    ~SingleInstance() override;

    // "fennic-" and the user's name, and, when FENNIC_LIBRARY_ROOT is set, a short hash of it,
    // so that runs over a fixture library don't reach the user's own Fennic.
    static QString defaultName();
    // Where the socket is (or would be).
    const QString& serverName() const { return m_name; }

    // Hands the message to the running instance and waits (blocking, at most about
    // `timeoutMs`) until it confirms receipt. False when no instance is running.
    bool sendToRunning(const QByteArray& message, int timeoutMs = 1000);
    // Becomes the running instance. A socket left behind by an instance that crashed is
    // removed; false when another instance answers on it or the socket can't be made.
    bool listen();
    bool isListening() const;

Q_SIGNALS:
    void messageReceived(const QByteArray& message);

private:
    void acceptConnections();

    QString m_name;
    QLocalServer* m_server = nullptr;
};

}  // namespace fennic
