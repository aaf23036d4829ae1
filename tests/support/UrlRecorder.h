#pragma once

#include <QDesktopServices>
#include <QList>
#include <QObject>
#include <QUrl>

namespace fennic::test {

// Receives what would have gone to the desktop's default application.
class UrlRecorder : public QObject {
    Q_OBJECT

public:
    UrlRecorder() { QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "open"); }
    ~UrlRecorder() override { QDesktopServices::unsetUrlHandler(QStringLiteral("file")); }
    QList<QUrl> urls;

public Q_SLOTS:
    void open(const QUrl& url) { urls << url; }
};

}  // namespace fennic::test
