#pragma once

#include "search/ParsedQuery.h"
#include "search/SearchFilter.h"
#include "search/SearchParser.h"

#include <QDateTime>
#include <QTimeZone>
#include <ostream>

namespace fennic {

// Readable failures: filters print as their ids, spans as range, role and filter.
inline void PrintTo(const SearchFilter& filter, std::ostream* os) { *os << filter.id().toStdString(); }
inline void PrintTo(const ParsedQuery::Span& span, std::ostream* os)
{
    *os << "[" << span.location << "+" << span.length << " " << rawValue(span.role).toStdString();
    if (span.filter) *os << " " << span.filter->id().toStdString();
    *os << "]";
}

namespace test {

// A moment written as local wall-clock time in a zone, e.g. at("2025-05-14T10:30", madrid()).
inline Date at(const char* isoLocal, const QTimeZone& zone = QTimeZone::utc())
{
    QDateTime dt = QDateTime::fromString(QLatin1String(isoLocal), Qt::ISODate);
    dt.setTimeZone(zone);
    return Date::fromQDateTime(dt);
}

inline QTimeZone madrid() { return QTimeZone(QByteArrayLiteral("Europe/Madrid")); }
inline Calendar mondayFirst(const QTimeZone& zone = QTimeZone::utc()) { return Calendar{zone, Qt::Monday}; }
inline Calendar sundayFirst(const QTimeZone& zone = QTimeZone::utc()) { return Calendar{zone, Qt::Sunday}; }

inline const QString kHome = QStringLiteral("/home/ana");

}  // namespace test
}  // namespace fennic
