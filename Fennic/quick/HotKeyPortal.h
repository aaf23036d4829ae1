#pragma once

#include "HotKeyRoute.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QVariantMap>
#include <optional>

namespace fennic {

// The shortcut through the desktop portal's GlobalShortcuts interface, the way a Wayland
// desktop lets applications have one. The portal works in requests answered later (it may ask
// the user first): bind() opens a session and asks for the shortcut as a preferred trigger,
// and returns at once; a refusal arrives as refused(). Each bind starts a new session, since
// portals let a session bind its shortcuts only once.
class HotKeyPortal : public HotKeyRoute {
    Q_OBJECT

public:
    explicit HotKeyPortal(QDBusConnection bus = QDBusConnection::sessionBus(), QObject* parent = nullptr);
    ~HotKeyPortal() override;

    // The interface's version when the running portal offers it (one round trip), else none.
    static std::optional<uint> version(const QDBusConnection& bus);
    // The shortcut as the portal's preferred trigger: "CTRL+SHIFT+space"; empty for a key
    // without a name.
    static QString trigger(const Shortcut& shortcut);

    std::optional<QString> bind(const Shortcut& shortcut) override;
    void unbind() override;

private Q_SLOTS:
    void onSessionCreated(uint response, const QVariantMap& results);
    void onBound(uint response, const QVariantMap& results);
    void onActivated(const QDBusMessage& message);

private:
    QString requestPath(const QString& token) const;
    void stopListening(const QString& path, const char* slot);

    QDBusConnection m_bus;
    std::optional<Shortcut> m_wanted;
    QString m_pendingRequest;  // the request whose answer is awaited
    QString m_session;         // the open session's object path
    int m_serial = 0;
};

}  // namespace fennic
