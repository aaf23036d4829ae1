#include "HotKeyPortal.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusReply>
#include <QDBusVariant>

namespace fennic {
namespace {

const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kInterface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");
const QString kRequest = QStringLiteral("org.freedesktop.portal.Request");
const QString kShortcutId = QStringLiteral("quick-search");
constexpr int kTimeoutMs = 2000;

// One entry of BindShortcuts' list: (s id, a{sv} options).
struct PortalShortcut {
    QString id;
    QVariantMap options;
};

QDBusArgument& operator<<(QDBusArgument& arg, const PortalShortcut& s)
{
    arg.beginStructure();
    arg << s.id << s.options;
    arg.endStructure();
    return arg;
}

const QDBusArgument& operator>>(const QDBusArgument& arg, PortalShortcut& s)
{
    arg.beginStructure();
    arg >> s.id >> s.options;
    arg.endStructure();
    return arg;
}

}  // namespace
}  // namespace fennic

Q_DECLARE_METATYPE(fennic::PortalShortcut)

namespace fennic {

HotKeyPortal::HotKeyPortal(QDBusConnection bus, QObject* parent) : HotKeyRoute(parent), m_bus(std::move(bus))
{
    qDBusRegisterMetaType<PortalShortcut>();
    qDBusRegisterMetaType<QList<PortalShortcut>>();
    m_bus.connect(kService, kPath, kInterface, QStringLiteral("Activated"), this, SLOT(onActivated(QDBusMessage)));
}

HotKeyPortal::~HotKeyPortal() { unbind(); }

std::optional<uint> HotKeyPortal::version(const QDBusConnection& bus)
{
    if (!bus.isConnected()) return std::nullopt;
    QDBusMessage get = QDBusMessage::createMethodCall(
        kService, kPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    get.setArguments({kInterface, QStringLiteral("version")});
    const QDBusReply<QDBusVariant> reply = bus.call(get, QDBus::Block, kTimeoutMs);
    if (!reply.isValid()) return std::nullopt;
    bool ok = false;
    const uint v = reply.value().variant().toUInt(&ok);
    return ok && v > 0 ? std::optional(v) : std::nullopt;
}

QString HotKeyPortal::trigger(const Shortcut& shortcut)
{
    const auto sym = keySymFor(shortcut);
    if (!sym) return {};
    QString text;
    if (shortcut.modifiers & Shortcut::cmd) text += QStringLiteral("CTRL+");
    if (shortcut.modifiers & Shortcut::option) text += QStringLiteral("ALT+");
    if (shortcut.modifiers & Shortcut::shift) text += QStringLiteral("SHIFT+");
    if (shortcut.modifiers & Shortcut::control) text += QStringLiteral("LOGO+");
    return text + sym->name;
}

QString HotKeyPortal::requestPath(const QString& token) const
{
    // The portal names a request after the caller's unique bus name and the token it chose.
    QString sender = m_bus.baseService().mid(1);
    sender.replace(u'.', u'_');
    return kPath + QStringLiteral("/request/") + sender + u'/' + token;
}

void HotKeyPortal::stopListening(const QString& path, const char* slot)
{
    m_bus.disconnect(kService, path, kRequest, QStringLiteral("Response"), this, slot);
}

std::optional<QString> HotKeyPortal::bind(const Shortcut& shortcut)
{
    unbind();
    if (trigger(shortcut).isEmpty()) return QStringLiteral("The desktop cannot bind %1.").arg(shortcut.display());
    m_wanted = shortcut;
    const QString token = QStringLiteral("fennic_session_%1").arg(++m_serial);
    m_pendingRequest = requestPath(token);
    // Listening starts before the call, so that a quick answer is not missed.
    m_bus.connect(kService, m_pendingRequest, kRequest,
                  QStringLiteral("Response"), this, SLOT(onSessionCreated(uint, QVariantMap)));
    QDBusMessage create = QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("CreateSession"));
    create.setArguments(
        {QVariantMap{{QStringLiteral("handle_token"), token}, {QStringLiteral("session_handle_token"), token}}});
    const QDBusMessage reply = m_bus.call(create, QDBus::Block, kTimeoutMs);
    if (reply.type() == QDBusMessage::ErrorMessage) {
        stopListening(m_pendingRequest, SLOT(onSessionCreated(uint, QVariantMap)));
        m_pendingRequest.clear();
        m_wanted.reset();
        return QStringLiteral("The desktop portal refused global shortcuts: %1").arg(reply.errorMessage());
    }
    return std::nullopt;
}

void HotKeyPortal::onSessionCreated(uint response, const QVariantMap& results)
{
    stopListening(m_pendingRequest, SLOT(onSessionCreated(uint, QVariantMap)));
    m_pendingRequest.clear();
    if (!m_wanted) return;
    if (response != 0) {
        Q_EMIT refused(QStringLiteral("The desktop did not open a session for global shortcuts."));
        return;
    }
    m_session = results.value(QStringLiteral("session_handle")).toString();
    const QString token = QStringLiteral("fennic_bind_%1").arg(++m_serial);
    m_pendingRequest = requestPath(token);
    m_bus.connect(kService, m_pendingRequest, kRequest,
                  QStringLiteral("Response"), this, SLOT(onBound(uint, QVariantMap)));
    const QList<PortalShortcut> shortcuts{
        {kShortcutId,
         {{QStringLiteral("description"), QStringLiteral("Open Fennic's Quick Search")},
           {QStringLiteral("preferred_trigger"), trigger(*m_wanted)}}}};
    QDBusMessage bindCall =
        QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("BindShortcuts"));
    bindCall.setArguments({QVariant::fromValue(QDBusObjectPath(m_session)), QVariant::fromValue(shortcuts), QString(),
                           QVariantMap{{QStringLiteral("handle_token"), token}}});
    m_bus.asyncCall(bindCall, kTimeoutMs);
}

void HotKeyPortal::onBound(uint response, const QVariantMap&)
{
    stopListening(m_pendingRequest, SLOT(onBound(uint, QVariantMap)));
    m_pendingRequest.clear();
    if (response != 0 && m_wanted)
        Q_EMIT refused(QStringLiteral("The desktop did not allow %1 as a global shortcut.").arg(m_wanted->display()));
}

void HotKeyPortal::onActivated(const QDBusMessage& message)
{
    // (o session_handle, s shortcut_id, t timestamp, a{sv} options)
    const QVariantList args = message.arguments();
    if (args.size() < 2 || m_session.isEmpty()) return;
    if (args[0].value<QDBusObjectPath>().path() == m_session && args[1].toString() == kShortcutId) Q_EMIT pressed();
}

void HotKeyPortal::unbind()
{
    if (!m_pendingRequest.isEmpty()) {
        stopListening(m_pendingRequest, SLOT(onSessionCreated(uint, QVariantMap)));
        stopListening(m_pendingRequest, SLOT(onBound(uint, QVariantMap)));
        m_pendingRequest.clear();
    }
    if (!m_session.isEmpty())
        m_bus.send(QDBusMessage::createMethodCall(
            kService, m_session, QStringLiteral("org.freedesktop.portal.Session"), QStringLiteral("Close")));
    m_session.clear();
    m_wanted.reset();
}

}  // namespace fennic
