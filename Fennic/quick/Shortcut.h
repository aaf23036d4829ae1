#pragma once

#include <QByteArray>
#include <QHashFunctions>
#include <QString>
#include <cstdint>
#include <optional>

namespace fennic {

// A global keyboard shortcut as a virtual key code and a modifier mask. The codes are the
// ANSI-layout codes the settings have always stored; the hot-key layer maps them to the
// display server's key symbols.
struct Shortcut {
    std::uint32_t keyCode = 0;
    std::uint32_t modifiers = 0;

    static constexpr std::uint32_t cmd = 0x100;
    static constexpr std::uint32_t shift = 0x200;
    static constexpr std::uint32_t option = 0x800;
    static constexpr std::uint32_t control = 0x1000;
    static constexpr std::uint32_t spaceKey = 49;

    // ⇧⌘Space.
    static constexpr Shortcut standard() { return Shortcut{spaceKey, cmd | shift}; }

    // "⌃⌥⇧⌘" (the ones present) followed by the key's name, e.g. "⇧⌘Space".
    QString display() const;
    // The key's name: "Space", "↩", "A", "F12", …; an unknown code is "Key N".
    static QString keyName(std::uint32_t code);
    // The owner of a shortcut the system or Fennic itself already uses, if any.
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
