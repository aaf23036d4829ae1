#pragma once

#include "Date.h"

#include <QDate>
#include <QDateTime>
#include <QLocale>
#include <QTimeZone>
#include <cmath>

namespace fennic {

// The calendar that day and week arithmetic is done in: a time zone and the first day of the
// week. Code whose answer depends on "today" takes a Calendar (and a `now`) as arguments and
// never reads the clock or the system settings itself, so tests can fix both.
struct Calendar {
    QTimeZone timeZone = QTimeZone::utc();
    Qt::DayOfWeek firstWeekday = Qt::Monday;

    // The user's calendar: the system time zone and the locale's first weekday.
    static Calendar current() { return Calendar{QTimeZone::systemTimeZone(), QLocale().firstDayOfWeek()}; }

    // The moment as a date and time in this calendar's zone. Milliseconds are truncated, not
    // rounded, so that a moment just before midnight never lands on the next day.
    QDateTime dateTime(Date date) const
    {
        const auto ms = static_cast<qint64>(std::floor(date.toUnix() * 1000.0));
        return QDateTime::fromMSecsSinceEpoch(ms, timeZone);
    }
    // The calendar day a moment falls on.
    QDate day(Date date) const { return dateTime(date).date(); }
    // The first moment of a calendar day (not always 00:00 where a clock change skips it).
    Date startOfDay(QDate day) const { return Date::fromQDateTime(day.startOfDay(timeZone)); }
};

}  // namespace fennic
