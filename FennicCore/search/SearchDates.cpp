#include "SearchDates.h"

namespace fennic::SearchDates {

namespace {

// Keeps the sub-millisecond part of `now`, which QDateTime would drop.
Date shifted(Date now, const QDateTime& from, const QDateTime& to) { return now + double(from.msecsTo(to)) / 1000.0; }

QDate weekStart(QDate day, const Calendar& calendar)
{
    const int back = (day.dayOfWeek() - int(calendar.firstWeekday) + 7) % 7;
    return day.addDays(-back);
}

}  // namespace

Unit unitFor(QStringView word)
{
    if (word.startsWith(u"hour")) return Unit::hour;
    if (word.startsWith(u"day")) return Unit::day;
    if (word.startsWith(u"week")) return Unit::week;
    if (word.startsWith(u"month")) return Unit::month;
    return Unit::year;
}

QString singular(Unit unit)
{
    switch (unit) {
    case Unit::hour: return QStringLiteral("hour");
    case Unit::day: return QStringLiteral("day");
    case Unit::week: return QStringLiteral("week");
    case Unit::month: return QStringLiteral("month");
    case Unit::year: return QStringLiteral("year");
    }
    return {};
}

Date minus(Date now, Unit unit, qint64 n, const Calendar& calendar)
{
    if (unit == Unit::hour) return now - double(n) * 3600.0;
    const QDateTime start = calendar.dateTime(now);
    if (!start.isValid()) return now;
    QDateTime end;
    switch (unit) {
    case Unit::hour: break;
    case Unit::day: end = start.addDays(-n); break;
    case Unit::week:
        if (n > std::numeric_limits<qint64>::max() / 7) return now;
        end = start.addDays(-7 * n);
        break;
    case Unit::month:
        if (n > std::numeric_limits<int>::max()) return now;
        end = start.addMonths(-int(n));
        break;
    case Unit::year:
        if (n > std::numeric_limits<int>::max()) return now;
        end = start.addYears(-int(n));
        break;
    }
    return end.isValid() ? shifted(now, start, end) : now;
}

Date startOfPeriod(Unit unit, Date now, const Calendar& calendar)
{
    const QDate today = calendar.day(now);
    switch (unit) {
    case Unit::hour: {
        const QDateTime t = calendar.dateTime(now);
        return shifted(now, t, QDateTime(t.date(), QTime(t.time().hour(), 0), calendar.timeZone));
    }
    case Unit::day: return calendar.startOfDay(today);
    case Unit::week: return calendar.startOfDay(weekStart(today, calendar));
    case Unit::month: return calendar.startOfDay(QDate(today.year(), today.month(), 1));
    case Unit::year: return calendar.startOfDay(QDate(today.year(), 1, 1));
    }
    return now;
}

Date startOfPreviousPeriod(Unit unit, Date now, const Calendar& calendar)
{
    const QDate today = calendar.day(now);
    switch (unit) {
    case Unit::hour: return startOfPeriod(Unit::hour, now, calendar) - 3600.0;
    case Unit::day: return calendar.startOfDay(today.addDays(-1));
    case Unit::week: return calendar.startOfDay(weekStart(today, calendar).addDays(-7));
    case Unit::month: return calendar.startOfDay(QDate(today.year(), today.month(), 1).addMonths(-1));
    case Unit::year: return calendar.startOfDay(QDate(today.year() - 1, 1, 1));
    }
    return now;
}

std::optional<Date> startOfMonth(int year, int month, const Calendar& calendar)
{
    const QDate day(year, month, 1);
    if (!day.isValid()) return std::nullopt;
    return calendar.startOfDay(day);
}

std::optional<Date> startOfYear(int year, const Calendar& calendar) { return startOfMonth(year, 1, calendar); }

}  // namespace fennic::SearchDates
