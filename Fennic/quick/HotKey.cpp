#include "HotKey.h"

#include "HotKeyKde.h"
#include "HotKeyPortal.h"
#include "HotKeyX11.h"
#include "app/AppSettings.h"

#include <QDBusConnection>
#include <QGuiApplication>

namespace fennic {
namespace {

HotKey::Route offeredRoute()
{
    const QString platform = QGuiApplication::platformName();
    if (platform == QLatin1String("xcb")) return HotKey::Route::x11;
    if (platform.startsWith(QLatin1String("wayland"))) {
        const QDBusConnection bus = QDBusConnection::sessionBus();
        if (HotKeyPortal::version(bus)) return HotKey::Route::portal;
        if (HotKeyKde::available(bus)) return HotKey::Route::kde;
    }
    return HotKey::Route::none;
}

}  // namespace

HotKey::HotKey(QObject* parent) : HotKey(offeredRoute(), parent) { }

HotKey::HotKey(Route route, QObject* parent) : QObject(parent), m_route(route)
{
    switch (route) {
    case Route::x11: m_impl = std::make_unique<HotKeyX11>(); break;
    case Route::portal: m_impl = std::make_unique<HotKeyPortal>(); break;
    case Route::kde: m_impl = std::make_unique<HotKeyKde>(); break;
    case Route::none: break;
    }
    if (!m_impl) return;
    connect(m_impl.get(), &HotKeyRoute::pressed, this, [this] {
        if (action) action();
    });
    connect(m_impl.get(), &HotKeyRoute::refused, this, [this](const QString& reason) {
        m_current.reset();
        setFailure(reason);
    });
}

HotKey::~HotKey() = default;

QString HotKey::routeName(Route route)
{
    switch (route) {
    case Route::x11: return QStringLiteral("X11 key grab");
    case Route::portal: return QStringLiteral("Desktop portal");
    case Route::kde: return QStringLiteral("KDE global shortcuts");
    case Route::none: break;
    }
    return QStringLiteral("none");
}

bool HotKey::registerShortcut(const Shortcut& shortcut)
{
    m_current.reset();
    if (!m_impl) {
        setFailure(QStringLiteral("This desktop offers no global shortcuts to applications; bind a key to “%1” in your "
                                  "desktop’s keyboard settings.")
                                      .arg(QLatin1String(kCommand)));
        return false;
    }
    if (const auto reason = m_impl->bind(shortcut)) {
        setFailure(*reason);
        return false;
    }
    m_current = shortcut;
    setFailure(QString());
    return true;
}

void HotKey::unregister()
{
    if (m_impl) m_impl->unbind();
    m_current.reset();
    setFailure(QString());
}

void HotKey::setFailure(const QString& reason)
{
    m_failure = reason;
    Q_EMIT registrationChanged();
}

void HotKey::follow(AppSettings& settings)
{
    const auto apply = [this, &settings] {
        if (settings.quickSearchEnabled())
            registerShortcut(settings.quickShortcut());
        else
            unregister();
    };
    connect(&settings, &AppSettings::quickShortcutChanged, this, apply);
    connect(&settings, &AppSettings::quickSearchEnabledChanged, this, apply);
    apply();
}

}  // namespace fennic
