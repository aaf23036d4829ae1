#pragma once

#include <QDateTime>
#include <compare>
#include <cstdint>

namespace fennic {

// A point in time as seconds (with fraction) since 2001-01-01T00:00:00Z, the form the
// library cache and the image index store. A plain double keeps FileItem small and makes
// the on-disk value round-trip exactly.
struct Date {
    double seconds = 0.0;

    // Seconds between the Unix epoch and the reference date.
    static constexpr double kUnixOffset = 978307200.0;
    static constexpr Date distantPast() { return Date{-63113904000.0}; }
    static constexpr Date distantFuture() { return Date{63113904000.0}; }

    static constexpr Date fromUnix(std::int64_t sec, std::uint32_t nsec = 0)
    {
        return Date{double(sec) - kUnixOffset + double(nsec) * 1e-9};
    }
    static Date fromQDateTime(const QDateTime& dt)
    {
        return Date{double(dt.toMSecsSinceEpoch()) / 1000.0 - kUnixOffset};
    }
    static Date fromIso(const QString& iso);  // invalid text gives the distant past

    double toUnix() const { return seconds + kUnixOffset; }
    QDateTime toQDateTime(const QTimeZone& zone) const;
    QDateTime toQDateTime() const;  // in the local time zone
    QString toIso() const;          // UTC, with milliseconds

    constexpr Date operator+(double s) const { return Date{seconds + s}; }
    constexpr Date operator-(double s) const { return Date{seconds - s}; }
    constexpr double operator-(Date o) const { return seconds - o.seconds; }
    constexpr auto operator<=>(const Date&) const = default;
};

}  // namespace fennic
