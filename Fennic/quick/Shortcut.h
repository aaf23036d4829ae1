#pragma once

#include <QByteArray>
#include <QHashFunctions>
#include <QKeyCombination>
#include <QString>
#include <cstdint>
#include <optional>

namespace fennic {

// A global keyboard shortcut as a virtual key code and a modifier mask. The codes are the
// ANSI-layout codes the settings have always stored; the hot-key layer and the shortcut
// recorder translate them to and from Qt's keys. The stored modifier bits keep their names
// but stand for a PC keyboard's keys: `cmd` is Ctrl, `option` is Alt, `control` is Super
// (Qt's Meta) and `shift` is Shift. Everything shown to the user names the keys that way.
struct Shortcut {
    std::uint32_t keyCode = 0;
    std::uint32_t modifiers = 0;

    static constexpr std::uint32_t cmd = 0x100;       // Ctrl
    static constexpr std::uint32_t shift = 0x200;     // Shift
    static constexpr std::uint32_t option = 0x800;    // Alt
    static constexpr std::uint32_t control = 0x1000;  // Super
    static constexpr std::uint32_t spaceKey = 49;

    // Ctrl+Shift+Space.
    static constexpr Shortcut standard() { return Shortcut{spaceKey, cmd | shift}; }

    // The key combination in Qt's terms, or none when the key code has no Qt key.
    std::optional<QKeyCombination> keyCombination() const;
    // The shortcut for a key pressed in the recorder, or none for a key the stored codes
    // cannot name (Home, a media key, a modifier alone, …). Keypad keys count as the main ones.
    static std::optional<Shortcut> fromKeyCombination(QKeyCombination combination);

    // The shortcut as the desktop writes it, modifiers first: "Ctrl+Shift+Space", "Super+L".
    QString display() const;
    // The key's name: "Space", "Return", "A", "F12", "Print", …; an unknown code is "Key N".
    static QString keyName(std::uint32_t code);
    // The owner of a shortcut the desktop or Fennic itself already uses, if any.
    static std::optional<QString> reservedOwner(const Shortcut& shortcut);
    // Why the shortcut can't be used, or none.
    std::optional<QString> problem() const;

    // {"keyCode": N, "modifiers": M}
    QByteArray toJson() const;
    // None for anything that is not such an object.
    static std::optional<Shortcut> fromJson(const QByteArray& json);

    friend bool operator==(const Shortcut&, const Shortcut&) = default;
};

inline size_t qHash(const Shortcut& s, size_t seed = 0) noexcept { return qHashMulti(seed, s.keyCode, s.modifiers); }

}  // namespace fennic
