#include "HotKeyKde.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusReply>

namespace fennic {
namespace {

const QString kService = QStringLiteral("org.kde.kglobalaccel");
const QString kPath = QStringLiteral("/kglobalaccel");
const QString kInterface = QStringLiteral("org.kde.KGlobalAccel");
const QString kComponent = QStringLiteral("io.github.fennic.Fennic");
const QString kAction = QStringLiteral("quick-search");
// How long a call to the service may take before Fennic gives up on it.
constexpr int kTimeoutMs = 2000;

// The action as the service names it: component and action, each by id and by display name.
QStringList actionId() { return {kComponent, kAction, QStringLiteral("Fennic"), QStringLiteral("Quick Search")}; }

QDBusMessage call(const QDBusConnection& bus, const QString& method, const QVariantList& args)
{
    QDBusMessage message = QDBusMessage::createMethodCall(kService, kPath, kInterface, method);
    message.setArguments(args);
    return bus.call(message, QDBus::Block, kTimeoutMs);
}

}  // namespace

HotKeyKde::HotKeyKde(QDBusConnection bus, QObject* parent) : HotKeyRoute(parent), m_bus(std::move(bus))
{
    qDBusRegisterMetaType<QList<int>>();
}

HotKeyKde::~HotKeyKde() { unbind(); }

bool HotKeyKde::available(const QDBusConnection& bus)
{
    return bus.isConnected() && bus.interface() && bus.interface()->isServiceRegistered(kService).value();
}

std::optional<QString> HotKeyKde::bind(const Shortcut& shortcut)
{
    unbind();
    const auto combination = shortcut.keyCombination();
    if (!combination) return QStringLiteral("KDE's global shortcuts cannot use %1.").arg(shortcut.display());
    const QString unreachable = QStringLiteral("KDE's global shortcut service did not answer.");
    if (call(m_bus, QStringLiteral("doRegister"), {actionId()}).type() == QDBusMessage::ErrorMessage)
        return unreachable;
    constexpr uint kSetPresent = 2, kNoAutoloading = 4;
    const QList<int> wanted{combination->toCombined()};
    const QDBusReply<QList<int>> given = call(
        m_bus, QStringLiteral("setShortcut"), {actionId(), QVariant::fromValue(wanted), kSetPresent | kNoAutoloading});
    if (!given.isValid()) return unreachable;
    if (given.value() != wanted) return QStringLiteral("Another application already uses %1.").arg(shortcut.display());
    const QDBusReply<QDBusObjectPath> component = call(m_bus, QStringLiteral("getComponent"), {kComponent});
    if (!component.isValid()) return unreachable;
    m_componentPath = component.value().path();
    m_bus.connect(kService, m_componentPath,
                  QStringLiteral("org.kde.kglobalaccel.Component"),
                                 QStringLiteral("globalShortcutPressed"), this, SLOT(onPressed(QDBusMessage)));
    return std::nullopt;
}

void HotKeyKde::unbind()
{
    if (m_componentPath.isEmpty()) return;
    m_bus.disconnect(kService, m_componentPath,
                     QStringLiteral("org.kde.kglobalaccel.Component"),
                                    QStringLiteral("globalShortcutPressed"), this, SLOT(onPressed(QDBusMessage)));
    // An empty key list frees the keys for others; the action stays known to the service.
    QDBusMessage message = QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("setShortcut"));
    message.setArguments({actionId(), QVariant::fromValue(QList<int>()), uint(2 | 4)});
    m_bus.send(message);
    m_componentPath.clear();
}

void HotKeyKde::onPressed(const QDBusMessage& message)
{
    // (s component, s action, x timestamp)
    const QVariantList args = message.arguments();
    if (args.size() >= 2 && args[0].toString() == kComponent && args[1].toString() == kAction) Q_EMIT pressed();
}

}  // namespace fennic
