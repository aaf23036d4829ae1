#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QTcpServer>
#include <optional>

namespace fennic::test {

// A small HTTP/1.1 server on 127.0.0.1 for the updater's tests: answers GET requests with the
// bytes registered for a path, 404 for anything else, and can misbehave on purpose.
class TestHttpServer : public QTcpServer {
    Q_OBJECT

public:
    struct Response {
        QByteArray body;
        int status = 200;
        // Send only this many bytes of the body while announcing all of it, then close.
        std::optional<qsizetype> dropAfter;
    };

    TestHttpServer();

    void serve(const QString& path, const QByteArray& body)
    {
        m_responses.insert(path, Response{body, 200, std::nullopt});
    }
    void serve(const QString& path, const Response& response) { m_responses.insert(path, response); }
    QString url(const QString& path) const;
    int requestCount(const QString& path) const { return m_requests.value(path); }

private:
    void answer(QTcpSocket* socket);

    QHash<QString, Response> m_responses;
    QHash<QString, int> m_requests;
};

}  // namespace fennic::test
