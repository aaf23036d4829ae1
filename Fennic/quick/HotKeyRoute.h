#pragma once

#include "Shortcut.h"

#include <QObject>
#include <QString>
#include <optional>

namespace fennic {

// One way of hearing a global shortcut: an X11 key grab, the desktop portal or KDE's global
// accelerator service. HotKey owns one and speaks to it only through this interface.
// GUI thread only.
class HotKeyRoute : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    // Starts listening for the shortcut (replacing whatever was bound). None when it is bound
    // (or, for routes that ask the desktop, when the request went out: a refusal that comes
    // later arrives as refused()); otherwise the reason, as a sentence for the user.
    virtual std::optional<QString> bind(const Shortcut& shortcut) = 0;
    // Stops listening; nothing when nothing is bound.
    virtual void unbind() = 0;

    // An X keysym and its name, as X servers and the desktops' shortcut strings spell it.
    struct KeySym {
        quint32 value = 0;
        QString name;  // "space", "a", "F12", "Return"
    };
    // The keysym of the shortcut's key; none for a key code the stored codes don't name.
    static std::optional<KeySym> keySymFor(const Shortcut& shortcut);

Q_SIGNALS:
    // The shortcut was pressed: once per press, auto-repeat left out.
    void pressed();
    // The desktop refused a shortcut after bind() had returned.
    void refused(const QString& reason);
};

}  // namespace fennic
