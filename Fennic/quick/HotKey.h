#pragma once

#include "Shortcut.h"

#include <QObject>
#include <QString>
#include <functional>
#include <memory>
#include <optional>

namespace fennic {

class AppSettings;
class HotKeyRoute;

// The Quick Search shortcut, heard wherever the user is: one call of `action` per press, on
// the GUI thread. How it is heard depends on the desktop:
//   X11 (Qt's xcb platform)   a passive key grab on the root window;
//   Wayland                   the desktop portal's GlobalShortcuts where the portal offers
//                             it, else KDE's global accelerator service where it runs;
//   otherwise                 nothing: registration fails, and the user binds the command
//                             `fennic --quick-search` in the desktop's keyboard settings.
// GUI thread only.
class HotKey : public QObject {
    Q_OBJECT

public:
    enum class Route : quint8 {
        none,
        x11,
        portal,
        kde
    };

    // The command that opens Quick Search, for binding in the desktop's own settings.
    static constexpr const char* kCommand = "fennic --quick-search";

    // The route the running desktop offers (asks the session bus on Wayland).
    explicit HotKey(QObject* parent = nullptr);
    // A given route; x11 connects to the display $DISPLAY names whatever Qt's platform is.
    explicit HotKey(Route route, QObject* parent = nullptr);
    ~HotKey() override;

    // Called once per press of the registered shortcut.
    std::function<void()> action;

    // Replaces the registered shortcut (unregistering the previous one). False when it could
    // not be registered: current() is then none and failureReason() says why.
    bool registerShortcut(const Shortcut& shortcut);
    void unregister();
    // The registered shortcut; none when nothing is registered or registration failed.
    const std::optional<Shortcut>& current() const { return m_current; }
    Route route() const { return m_route; }
    // "X11 key grab", "Desktop portal", "KDE global shortcuts", "none".
    static QString routeName(Route route);
    QString routeName() const { return routeName(m_route); }
    // Why the last registration failed, as a sentence for the user; empty after a success.
    const QString& failureReason() const { return m_failure; }

    // Keeps the registration in step with the settings: registers their shortcut now when
    // Quick Search is on, again whenever the shortcut changes, and nothing while it is off.
    void follow(AppSettings& settings);

Q_SIGNALS:
    // current(), failureReason() or both changed.
    void registrationChanged();

private:
    void setFailure(const QString& reason);

    Route m_route = Route::none;
    std::unique_ptr<HotKeyRoute> m_impl;
    std::optional<Shortcut> m_current;
    QString m_failure;
};

}  // namespace fennic
