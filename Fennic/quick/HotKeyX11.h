#pragma once

#include "HotKeyRoute.h"

#include <QByteArray>
#include <memory>
#include <vector>

struct xcb_connection_t;
class QSocketNotifier;

namespace fennic {

// The shortcut as a passive key grab on the X root window. It keeps a connection of its own
// to the X server (so it works whatever Qt's platform is) and reads key presses from it
// through a socket notifier on the GUI thread. The grab is repeated with Caps Lock and
// Num Lock held, so either lock being on does not hide the shortcut. Modifiers: Ctrl, Shift,
// Alt (Mod1) and Super (Mod4).
class HotKeyX11 : public HotKeyRoute {
    Q_OBJECT

public:
    // Connects to `display` (":1"); empty: the one $DISPLAY names.
    explicit HotKeyX11(const QByteArray& display = {}, QObject* parent = nullptr);
    ~HotKeyX11() override;

    // Whether the X server could be reached.
    bool isConnected() const { return m_connection != nullptr; }

    // Refused when another client grabs the combination already, or the keyboard has no key
    // for it.
    std::optional<QString> bind(const Shortcut& shortcut) override;
    void unbind() override;

private:
    struct Grab {
        quint8 keycode = 0;
        quint16 modifiers = 0;  // without the lock variants
    };

    std::optional<quint8> keycodeFor(quint32 keysym) const;
    quint16 numLockMask() const;
    void readEvents();

    xcb_connection_t* m_connection = nullptr;
    quint32 m_root = 0;
    std::unique_ptr<QSocketNotifier> m_notifier;
    std::optional<Grab> m_grab;
    quint16 m_locks = 0;  // Caps Lock and Num Lock as modifier bits
    bool m_down = false;  // the grabbed key is held: a repeat is not a new press
};

}  // namespace fennic
