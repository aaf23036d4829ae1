#pragma once

#include <QString>
#include <QStringView>
#include <array>
#include <optional>
#include <utility>

namespace fennic {

// The raw strings of an enumeration whose values are stored or shown by name: one table per
// enumeration, read both ways. The names are part of the settings file's format.
template <typename Enum, std::size_t N> struct RawNames {
    std::array<std::pair<Enum, const char16_t*>, N> names;

    QString rawValue(Enum value) const
    {
        for (const auto& [e, name] : names)
            if (e == value) return QString::fromUtf16(name);
        return QString::fromUtf16(names.front().second);
    }
    // None for an unknown string; the caller then keeps its default.
    std::optional<Enum> fromRawValue(QStringView raw) const
    {
        for (const auto& [e, name] : names)
            if (raw == QStringView(name)) return e;
        return std::nullopt;
    }
};

}  // namespace fennic
