#include "TestHttpServer.h"

#include <QTcpSocket>

namespace fennic::test {

TestHttpServer::TestHttpServer()
{
    listen(QHostAddress::LocalHost, 0);
    connect(this, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket* socket = nextPendingConnection()) {
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { answer(socket); });
        }
    });
}

QString TestHttpServer::url(const QString& path) const
{
    return QStringLiteral("http://127.0.0.1:%1%2").arg(serverPort()).arg(path);
}

void TestHttpServer::answer(QTcpSocket* socket)
{
    QByteArray request = socket->property("request").toByteArray() + socket->readAll();
    socket->setProperty("request", request);
    if (!request.contains("\r\n\r\n")) return;
    const QList<QByteArray> words = request.left(request.indexOf("\r\n")).split(' ');
    const QString path = words.size() >= 2 ? QString::fromLatin1(words[1]) : QString();
    m_requests[path] += 1;

    const auto found = m_responses.constFind(path);
    const Response response = found != m_responses.constEnd() ? *found : Response{"not here", 404, {}};
    const QByteArray reason = response.status == 200 ? "OK" : "Not Found";
    QByteArray head = "HTTP/1.1 " + QByteArray::number(response.status) + ' ' + reason + "\r\n";
    head += "Content-Length: " + QByteArray::number(response.body.size()) + "\r\n";
    head += "Content-Type: application/octet-stream\r\nConnection: close\r\n\r\n";
    socket->write(head);
    socket->write(response.dropAfter ? response.body.left(*response.dropAfter) : response.body);
    // Closes once everything written has gone out.
    socket->disconnectFromHost();
}

}  // namespace fennic::test
