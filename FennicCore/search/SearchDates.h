#pragma once

#include "model/Calendar.h"
#include "model/Date.h"

#include <QStringView>
#include <optional>

// Calendar arithmetic for date words: starts of days, weeks, months and years, and moments a
// number of units before `now`, all in the calendar passed in (its zone and first weekday).
namespace fennic::SearchDates {

enum class Unit : quint8 {
    hour,
    day,
    week,
    month,
    year
};

// By the word's beginning: "hour…", "day…", "week…", "month…", anything else a year.
Unit unitFor(QStringView word);
// "hour", "day", "week", "month", "year".
QString singular(Unit unit);

// `now` minus n units of the calendar (hours exactly; days, weeks, months and years by the
// calendar, so a day across a clock change keeps the time of day). `now` itself when the
// calendar cannot compute it. The fraction of a second of `now` is kept.
Date minus(Date now, Unit unit, qint64 n, const Calendar& calendar);

// The first moment of the day, week (from the calendar's first weekday), month or year that
// holds `now`; for `hour`, the first moment of the hour.
Date startOfPeriod(Unit unit, Date now, const Calendar& calendar);
// The first moment of the period before the one that holds `now`.
Date startOfPreviousPeriod(Unit unit, Date now, const Calendar& calendar);

// The first moment of the first day of a month (1...12) or of a year; none when out of range.
std::optional<Date> startOfMonth(int year, int month, const Calendar& calendar);
std::optional<Date> startOfYear(int year, const Calendar& calendar);

}  // namespace fennic::SearchDates
