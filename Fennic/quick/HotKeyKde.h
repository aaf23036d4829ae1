#pragma once

#include "HotKeyRoute.h"

#include <QDBusConnection>
#include <QDBusMessage>

namespace fennic {

// The shortcut through KDE's global accelerator service (org.kde.kglobalaccel), which Plasma
// runs on X11 and on Wayland. The service answers with the keys it actually gave the action;
// anything else than the one asked for means another action holds them.
class HotKeyKde : public HotKeyRoute {
    Q_OBJECT

public:
    explicit HotKeyKde(QDBusConnection bus = QDBusConnection::sessionBus(), QObject* parent = nullptr);
    ~HotKeyKde() override;

    // Whether the service is running on `bus` (one round trip).
    static bool available(const QDBusConnection& bus);

    std::optional<QString> bind(const Shortcut& shortcut) override;
    void unbind() override;

private Q_SLOTS:
    void onPressed(const QDBusMessage& message);

private:
    QDBusConnection m_bus;
    QString m_componentPath;
};

}  // namespace fennic
