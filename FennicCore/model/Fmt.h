#pragma once

#include "Date.h"

#include <QString>
#include <optional>

namespace fennic::Fmt {

// Byte counts in the decimal file style: "Zero bytes", "1 byte", "999 bytes", "12 kB",
// "5.2 MB", "1.23 GB". Digits follow the default QLocale.
QString size(qint64 bytes);

// "just now" within a minute either way; otherwise a short relative phrase such as
// "3 hr. ago" or "in 2 days" in the default locale's language.
QString relative(Date date, Date now);

// An abbreviated date with a short time, e.g. "12 Mar 2025, 14:05" (locale-dependent).
QString date(Date date);

// Weekday, day and month without the year, e.g. "Wednesday 12 March" (locale-dependent).
QString day(Date date);

// "1 file", "2 files", "0 files", "3 matches" (with the plural given); `n` grouped by locale.
QString count(qint64 n, const QString& singular, const std::optional<QString>& plural = std::nullopt);

}  // namespace fennic::Fmt
