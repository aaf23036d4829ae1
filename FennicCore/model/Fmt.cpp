#include "Fmt.h"

#include <QLocale>
#include <cmath>
#include <memory>
#include <unicode/datefmt.h>
#include <unicode/dtptngen.h>
#include <unicode/reldatefmt.h>
#include <unicode/smpdtfmt.h>

namespace fennic::Fmt {
namespace {

QString fromIcu(const icu::UnicodeString& s)
{
    return QString(reinterpret_cast<const QChar*>(s.getBuffer()), s.length());
}

icu::Locale icuLocale()
{
    const QString name = QLocale().name();
    if (name == u"C" || name.isEmpty()) return icu::Locale("en_US");
    return icu::Locale(name.toLatin1().constData());
}

UDate toUDate(Date d) { return d.toUnix() * 1000.0; }

// ICU's formatters are costly to make (locale data is loaded, patterns are compiled) and not
// safe to share between threads, while a list of dates formats thousands of them: each thread
// keeps its own, made again only when the locale changes.
struct Formatters {
    QString locale;
    std::unique_ptr<icu::DateFormat> dateTime;
    std::unique_ptr<icu::SimpleDateFormat> day;
    std::unique_ptr<icu::RelativeDateTimeFormatter> relative;
};

Formatters& formatters()
{
    thread_local Formatters f;
    const QString name = QLocale().name();
    if (f.locale != name) f = Formatters{name, nullptr, nullptr, nullptr};
    return f;
}

// Trims "5.0" to "5" and "1.20" to "1.2", the way the file-size style shows fractions.
QString trimmedDecimal(double value, int decimals)
{
    const QLocale locale;
    QString s = locale.toString(value, 'f', decimals);
    const QString point = locale.decimalPoint();
    if (decimals > 0 && s.contains(point)) {
        while (s.endsWith(u'0')) s.chop(1);
        if (s.endsWith(point)) s.chop(point.size());
    }
    return s;
}

}  // namespace

QString size(qint64 bytes)
{
    if (bytes == 0) return QStringLiteral("Zero bytes");
    const bool negative = bytes < 0;
    const double b = std::fabs(double(bytes));
    const QString sign = negative ? QStringLiteral("-") : QString();
    if (b < 1000)
        return sign + QLocale().toString(qint64(b)) + (b == 1 ? QStringLiteral(" byte") : QStringLiteral(" bytes"));

    struct Unit {
        const char* name;
        double scale;
        int decimals;
    };
    static constexpr Unit units[] = {{"kB", 1e3, 0}, {"MB", 1e6, 1}, {"GB", 1e9, 2}, {"TB", 1e12, 2}, {"PB", 1e15, 2}};
    for (size_t i = 0; i < std::size(units); ++i) {
        const Unit& u = units[i];
        const double factor = std::pow(10.0, u.decimals);
        const double value = std::round(b / u.scale * factor) / factor;
        if (value < 1000 || i + 1 == std::size(units))
            return sign + trimmedDecimal(value, u.decimals) + u' ' + QLatin1String(u.name);
    }
    return QString();
}

QString relative(Date date, Date now)
{
    const double diff = date - now;
    const double a = std::fabs(diff);
    if (a < 60) return QStringLiteral("just now");

    URelativeDateTimeUnit unit;
    double amount;
    if (a < 3600) {
        unit = UDAT_REL_UNIT_MINUTE;
        amount = std::floor(a / 60);
    } else if (a < 86400) {
        unit = UDAT_REL_UNIT_HOUR;
        amount = std::floor(a / 3600);
    } else if (a < 7 * 86400) {
        unit = UDAT_REL_UNIT_DAY;
        amount = std::floor(a / 86400);
    } else if (a < 30 * 86400) {
        unit = UDAT_REL_UNIT_WEEK;
        amount = std::floor(a / (7 * 86400));
    } else if (a < 365 * 86400) {
        unit = UDAT_REL_UNIT_MONTH;
        amount = std::floor(a / (30 * 86400));
    } else {
        unit = UDAT_REL_UNIT_YEAR;
        amount = std::floor(a / (365 * 86400));
    }

    UErrorCode status = U_ZERO_ERROR;
    Formatters& f = formatters();
    if (!f.relative) {
        auto made = std::make_unique<icu::RelativeDateTimeFormatter>(icuLocale(), nullptr, UDAT_STYLE_SHORT,
                                                                     UDISPCTX_CAPITALIZATION_NONE, status);
        if (U_SUCCESS(status)) f.relative = std::move(made);
    }
    icu::UnicodeString out;
    if (f.relative) f.relative->formatNumeric(diff < 0 ? -amount : amount, unit, out, status);
    if (!f.relative || U_FAILURE(status)) return QLocale().toString(date.toQDateTime(), QLocale::ShortFormat);
    return fromIcu(out);
}

QString date(Date date)
{
    Formatters& f = formatters();
    if (!f.dateTime)
        f.dateTime.reset(
            icu::DateFormat::createDateTimeInstance(icu::DateFormat::kMedium, icu::DateFormat::kShort, icuLocale()));
    if (!f.dateTime) return QLocale().toString(date.toQDateTime(), QLocale::ShortFormat);
    icu::UnicodeString out;
    f.dateTime->format(toUDate(date), out);
    return fromIcu(out);
}

QString day(Date date)
{
    Formatters& f = formatters();
    if (!f.day) {
        UErrorCode status = U_ZERO_ERROR;
        const icu::Locale locale = icuLocale();
        std::unique_ptr<icu::DateTimePatternGenerator> generator(
            icu::DateTimePatternGenerator::createInstance(locale, status));
        if (U_SUCCESS(status)) {
            const icu::UnicodeString pattern = generator->getBestPattern(icu::UnicodeString("EEEEdMMMM"), status);
            auto made = std::make_unique<icu::SimpleDateFormat>(pattern, locale, status);
            if (U_SUCCESS(status)) f.day = std::move(made);
        }
    }
    if (!f.day) return QLocale().toString(date.toQDateTime().date(), QStringLiteral("dddd d MMMM"));
    icu::UnicodeString out;
    f.day->format(toUDate(date), out);
    return fromIcu(out);
}

QString count(qint64 n, const QString& singular, const std::optional<QString>& plural)
{
    const QString noun = n == 1 ? singular : plural.value_or(singular + u's');
    return QLocale().toString(n) + u' ' + noun;
}

}  // namespace fennic::Fmt
