#include "SearchParser.h"

#include "SearchDates.h"
#include "SearchTables.h"
#include "model/DownloadSource.h"

#include <QRegularExpression>
#include <algorithm>
#include <cmath>
#include <functional>
#include <optional>
#include <vector>

namespace fennic::SearchParser {

namespace {

using Re = QRegularExpression;
using SearchDates::Unit;

Re compile(const QString& pattern, Re::PatternOptions extra = {})
{
    Re re(pattern, Re::CaseInsensitiveOption | Re::UseUnicodePropertiesOption | extra);
    if (!re.isValid()) qFatal("SearchParser: cannot compile %s: %s", qPrintable(pattern), qPrintable(re.errorString()));
    re.optimize();
    return re;
}

// Words joined by "|", escaped; a phrase matches with any run of blanks between its words.
QString alternation(const QStringList& words)
{
    QStringList escaped;
    escaped.reserve(words.size());
    for (const QString& w : words) escaped.append(Re::escape(w).replace(QStringLiteral("\\ "), QStringLiteral("\\s+")));
    return escaped.join(u'|');
}

template <typename T> QStringList keys(const QList<std::pair<QString, T>>& table)
{
    QStringList out;
    for (const auto& entry : table) out.append(entry.first);
    return out;
}

// The count of a relative age: digits or a number word. Longer phrases come first so the
// alternation reads "a few" before "a".
QString countPattern(bool allowOne)
{
    QStringList words = keys(numberWords());
    if (!allowOne) {
        words.removeAll(QStringLiteral("a"));
        words.removeAll(QStringLiteral("an"));
        words.removeAll(QStringLiteral("one"));
    }
    std::stable_sort(words.begin(), words.end(),
                     [](const QString& a, const QString& b) { return a.size() > b.size(); });
    return QStringLiteral("([0-9]+|") + alternation(words) + u')';
}

struct Patterns {
    Re site, tag, favourite;
    Re sizeAtLeast, sizeAtMost, sizeOver, sizeUnder, sizeBig, sizeSmall;
    Re olderThan, unitsOld, lastCount, pastUnit;
    Re today, yesterday, thisPeriod, lastPeriod, recent, old;
    Re month, year, camera, sourceWord, sourceDomain, folder, looks;
};

const Patterns& patterns()
{
    static const Patterns p = [] {
        Patterns r;
        const QString unitWords = alternation(keys(units()));
        const QString number = QStringLiteral("([0-9]+(?:[.,][0-9]+)?)\\s*(") + unitWords + QStringLiteral(")\\b");
        const QString ageUnit = QStringLiteral("(hours?|days?|weeks?|months?|years?)\\b");
        QStringList monthWords = months();
        monthWords += keys(shortMonths());

        r.site = compile(QStringLiteral("(?<![\\p{L}\\p{N}])site:([^\\s,;]+)"));
        r.tag = compile(QStringLiteral("(?<![\\p{L}\\p{N}])#([\\p{L}\\p{N}][\\p{L}\\p{N}_-]*)"));
        r.favourite = compile(QStringLiteral("\\b(favou?rites?|favou?red|starred)\\b"));
        r.sizeAtLeast = compile(QStringLiteral("(?:\\bat least|\\bno less than|>=|≥)\\s*") + number);
        r.sizeAtMost = compile(QStringLiteral("(?:\\bat most|\\bno more than|\\bup to|<=|≤)\\s*") + number);
        r.sizeOver = compile(QStringLiteral("(?:\\bover|\\bbigger than|\\blarger than|\\bmore than|\\babove|"
                                            "\\bgreater than|\\bheavier than|>)\\s*")
                                            + number);
        r.sizeUnder = compile(QStringLiteral("(?:\\bunder|\\bsmaller than|\\bless than|\\bbelow|\\blighter than|<)\\s*")
                                             + number);
        r.sizeBig = compile(QStringLiteral("\\b(huge|big|large|biggest|largest)\\b"));
        r.sizeSmall = compile(QStringLiteral("\\b(tiny|small)\\b"));
        r.olderThan =
            compile(QStringLiteral("\\b(?:older than|more than|over)\\s+") + countPattern(true)
                                   + QStringLiteral("\\s*") + ageUnit + QStringLiteral("(?:\\s+old\\b|\\s+ago\\b)?"));
        r.unitsOld = compile(QStringLiteral("\\b") + countPattern(true)
                                            + QStringLiteral("\\s*") + ageUnit + QStringLiteral("\\s+old\\b"));
        r.lastCount = compile(QStringLiteral("(?:\\bin the |\\bfrom the |\\bwithin the |\\bover the |\\bduring the )?"
                                             "\\b(?:last|past)\\s+")
                                             + countPattern(false) + QStringLiteral("\\s*") + ageUnit);
        r.pastUnit = compile(QStringLiteral("(?:\\bin the |\\bfrom the |\\bwithin the |\\bover the |\\bduring the |"
                                            "\\bthis )?\\bpast (hour|day|week|month|year)\\b"));
        r.today = compile(QStringLiteral("\\btoday\\b"));
        r.yesterday = compile(QStringLiteral("\\byesterday\\b"));
        r.thisPeriod = compile(QStringLiteral("\\bthis (week|month|year)\\b"));
        r.lastPeriod = compile(QStringLiteral("\\blast (week|month|year)\\b"));
        r.recent = compile(QStringLiteral("\\b(recent|recently|new|newest|latest|fresh)\\b"));
        r.old = compile(QStringLiteral("\\b(old|older|oldest|ancient)\\b"));
        r.month = compile(QStringLiteral("(\\bin |\\bfrom |\\bduring |\\bsince )?\\b(") + alternation(monthWords)
                                         + QStringLiteral(")\\b(?:\\s+([0-9]{4})\\b)?"));
        r.year = compile(QStringLiteral("\\b(in |from |during |since )(19[0-9]{2}|20[0-9]{2})\\b"));
        r.camera = compile(QStringLiteral("\\b(?:from|taken on|taken with|shot on|shot with|on|with) "
                                          "(?:my |an |a |the )?(iphone|ipad|pixel|samsung|galaxy|canon|nikon|sony|"
                                          "fujifilm|gopro|camera)\\b"));
        // A word followed by ".com" is a web domain, which the domain rule reads whole.
        r.sourceWord =
            compile(QStringLiteral("\\b(?:downloaded from|from|via|on|in|off) (?:my |the )?(")
                                   + alternation(keys(sourceWords())) + QStringLiteral(")\\b(?!\\.[a-z0-9])"));
        r.sourceDomain = compile(QStringLiteral("\\b(?:downloaded from|from|via|off) (?:https?://)?(?:www\\.)?"
                                                "([a-z0-9-]+(?:\\.[a-z0-9-]+)*\\.[a-z]{2,})\\b"));
        r.folder = compile(QStringLiteral("\\b(?:in|inside|on|from) (?:my |the )?(") + alternation(folders())
                                          + QStringLiteral(")(?: folder)?\\b"));
        r.looks = compile(QStringLiteral("(?:\\b(?:photos?|images?|pictures?|pics|screenshots?|scans?|illustrations?|"
                                         "drawings?)\\s+((?:of|showing|depicting|with|that shows?|that look like|like)"
                                         "\\s+.*)$)|(?:\\b((?:looks? like|showing|depicting)\\s+.*)$)"),
                                         Re::DotMatchesEverythingOption);
        return r;
    }();
    return p;
}

// Characters trimmed from both ends of a leftover word. Besides quotes, brackets and sentence
// marks, list punctuation, so that "pdfs, docs" reads two type words.
bool isTrimmed(QChar c)
{
    static const QString kTrim = QStringLiteral("\"'\u201C\u201D\u2018\u2019.!?(),;:");
    return kTrim.contains(c);
}

// Lower-cases code point by code point, keeping every code point's UTF-16 length, so that an
// index into the result is an index into the input.
QString lowerKeepingLength(QStringView s)
{
    QString out(s.size(), Qt::Uninitialized);
    QChar* o = out.data();
    for (qsizetype i = 0; i < s.size(); ++i) {
        const QChar c = s[i];
        if (c.unicode() < 0x80) {
            o[i] = (c >= u'A' && c <= u'Z') ? QChar(c.unicode() + 32) : c;
        } else if (c.isHighSurrogate() && i + 1 < s.size() && s[i + 1].isLowSurrogate()) {
            const char32_t code = QChar::surrogateToUcs4(c, s[i + 1]);
            const char32_t lower = QChar::toLower(code);
            const bool keep = !QChar::requiresSurrogates(lower);
            o[i] = keep ? c : QChar(QChar::highSurrogate(lower));
            o[i + 1] = keep ? s[i + 1] : QChar(QChar::lowSurrogate(lower));
            ++i;
        } else {
            const char32_t lower = QChar::toLower(char32_t(c.unicode()));
            o[i] = QChar::requiresSurrogates(lower) ? c : QChar(char16_t(lower));
        }
    }
    return out;
}

QString capitalised(const QString& word) { return word.isEmpty() ? word : word.left(1).toUpper() + word.mid(1); }

QString plural(qint64 n, Unit unit)
{
    return QString::number(n) + u' ' + SearchDates::singular(unit) + (n == 1 ? QString() : QStringLiteral("s"));
}

// The count of a relative age; none when it cannot be read (too many digits).
std::optional<qint64> readCount(const QString& text)
{
    const QString word = text.simplified();
    if (!word.isEmpty() && word[0].isDigit()) {
        bool ok = false;
        const qint64 n = word.toLongLong(&ok);
        // Past a million units no calendar answer means anything; treat as unreadable.
        if (!ok || n > 1000000) return std::nullopt;
        return n;
    }
    const int n = numberWordValue(word);
    return n < 0 ? std::nullopt : std::optional<qint64>(n);
}

std::optional<qint64> readBytes(const QString& number, const QString& unit)
{
    QString digits = number;
    digits.replace(u',', u'.');
    bool ok = false;
    const double value = digits.toDouble(&ok);
    const qint64 multiplier = unitMultiplier(unit);
    if (!ok || multiplier < 0) return std::nullopt;
    const double bytes = std::trunc(value * double(multiplier));
    if (!(bytes >= 0.0 && bytes < 9.2e18)) return std::nullopt;
    return qint64(bytes);
}

QString cameraName(const QString& word)
{
    if (word == u"iphone") return QStringLiteral("iPhone");
    if (word == u"ipad") return QStringLiteral("iPad");
    if (word == u"gopro") return QStringLiteral("GoPro");
    return capitalised(word);
}

// One pass over one request: the working text with taken stretches blanked, the spans found
// so far and the filters in the order they were found.
class Parser {
public:
    Parser(const QString& typed, Date now, const Calendar& calendar, const QString& home)
        : m_now(now), m_calendar(calendar), m_home(home)
    {
        qsizetype begin = 0;
        qsizetype end = typed.size();
        while (begin < end && typed[begin].isSpace()) ++begin;
        while (end > begin && typed[end - 1].isSpace()) --end;
        m_offset = begin;
        m_working = lowerKeepingLength(QStringView(typed).mid(begin, end - begin));
        m_text = m_working;
        m_taken.assign(size_t(m_text.size()), false);
        while (m_home.size() > 1 && m_home.endsWith(u'/')) m_home.chop(1);
    }

    Analysis run();

private:
    struct Found {
        SearchFilter filter;
        qsizetype first;  // start of the earliest span that produced it
    };
    struct Token {
        qsizetype start;
        qsizetype end;
    };

    using Maker = std::function<std::optional<SearchFilter>(const QRegularExpressionMatch&)>;

    // Every match of `re` that `make` turns into a filter takes its range (or the range of
    // capture `group`).
    void each(const Re& re, const Maker& make, int group = 0);
    void take(qsizetype start, qsizetype end, const SearchFilter& filter);

    void sites();
    void sizes();
    void relativeAges();
    void namedPeriods();
    void monthsAndYears();
    void places();
    void looks();
    void kinds();
    void leftovers();

    std::vector<Token> tokens() const;
    Token trimmed(Token t) const;
    QString word(Token t) const { return m_text.mid(t.start, t.end - t.start); }

    Date m_now;
    Calendar m_calendar;
    QString m_home;
    qsizetype m_offset = 0;
    QString m_working;
    QString m_text;
    std::vector<bool> m_taken;
    QList<ParsedQuery::Span> m_spans;
    QList<Found> m_found;
    QStringList m_textWords;
};

void Parser::each(const Re& re, const Maker& make, int group)
{
    QRegularExpressionMatchIterator it = re.globalMatch(m_text);
    while (it.hasNext()) {
        const QRegularExpressionMatch m = it.next();
        if (m.capturedStart(group) < 0) continue;
        if (const std::optional<SearchFilter> filter = make(m))
            take(m.capturedStart(group), m.capturedEnd(group), *filter);
    }
}

void Parser::take(qsizetype start, qsizetype end, const SearchFilter& filter)
{
    // A range may enclose stretches an earlier rule took (a blank run inside "\s+" or ".*");
    // each untaken piece becomes a span of its own so spans never overlap.
    qsizetype first = -1;
    qsizetype i = start;
    while (i < end) {
        while (i < end && (m_taken[size_t(i)] || m_text[i].isSpace())) ++i;
        qsizetype j = i;
        while (j < end && !m_taken[size_t(j)]) ++j;
        qsizetype k = j;
        while (k > i && m_text[k - 1].isSpace()) --k;
        if (k > i) {
            m_spans.append({i, k - i, ParsedQuery::Role::filter, filter});
            if (first < 0) first = i;
        }
        i = j;
    }
    for (qsizetype p = start; p < end; ++p) {
        m_taken[size_t(p)] = true;
        m_text[p] = u' ';
    }
    if (first < 0) return;
    for (Found& f : m_found) {
        if (f.filter == filter) {
            f.first = std::min(f.first, first);
            return;
        }
    }
    m_found.append({filter, first});
}

void Parser::sites()
{
    each(patterns().site, [](const QRegularExpressionMatch& m) -> std::optional<SearchFilter> {
        QString domain = m.captured(1);
        for (const char* prefix : {"https://", "http://", "www."})
            if (domain.startsWith(QLatin1String(prefix))) domain = domain.mid(qsizetype(qstrlen(prefix)));
        domain = domain.section(u'/', 0, 0);
        while (domain.endsWith(u'.')) domain.chop(1);
        if (domain.isEmpty()) return std::nullopt;
        for (const DownloadSource::Known& known : DownloadSource::known())
            if (known.source.key == domain) return SearchFilter::source(domain, known.source.name);
        return SearchFilter::source(domain, domain);
    });
}

void Parser::sizes()
{
    const Patterns& p = patterns();
    const auto bound = [](bool min, bool strict) {
        return [min, strict](const QRegularExpressionMatch& m) -> std::optional<SearchFilter> {
            const std::optional<qint64> bytes = readBytes(m.captured(1), m.captured(2));
            if (!bytes) return std::nullopt;
            return min ? SearchFilter::minSize(*bytes, strict) : SearchFilter::maxSize(*bytes, strict);
        };
    };
    each(p.sizeAtLeast, bound(true, false));
    each(p.sizeAtMost, bound(false, false));
    each(p.sizeOver, bound(true, true));
    each(p.sizeUnder, bound(false, true));
    each(p.sizeBig, [](const auto&) { return SearchFilter::minSize(100'000'000, true); });
    each(p.sizeSmall, [](const auto&) { return SearchFilter::maxSize(1'000'000, true); });
}

void Parser::relativeAges()
{
    const Patterns& p = patterns();
    const auto olderThan = [this](const QRegularExpressionMatch& m) -> std::optional<SearchFilter> {
        const std::optional<qint64> n = readCount(m.captured(1));
        if (!n) return std::nullopt;
        const Unit unit = SearchDates::unitFor(m.capturedView(2));
        return SearchFilter::date(Date::distantPast(), SearchDates::minus(m_now, unit, *n, m_calendar),
                                  QStringLiteral("Older than ") + plural(*n, unit));
    };
    each(p.olderThan, olderThan);
    each(p.unitsOld, olderThan);
    each(p.lastCount, [this](const QRegularExpressionMatch& m) -> std::optional<SearchFilter> {
        const std::optional<qint64> n = readCount(m.captured(1));
        if (!n) return std::nullopt;
        const Unit unit = SearchDates::unitFor(m.capturedView(2));
        return SearchFilter::date(SearchDates::minus(m_now, unit, *n, m_calendar), Date::distantFuture(),
                                  QStringLiteral("Last ") + plural(*n, unit));
    });
    each(p.pastUnit, [this](const QRegularExpressionMatch& m) -> std::optional<SearchFilter> {
        const Unit unit = SearchDates::unitFor(m.capturedView(1));
        return SearchFilter::date(SearchDates::minus(m_now, unit, 1, m_calendar), Date::distantFuture(),
                                  QStringLiteral("Past ") + SearchDates::singular(unit));
    });
}

void Parser::namedPeriods()
{
    const Patterns& p = patterns();
    each(p.today, [this](const auto&) {
        return SearchFilter::date(SearchDates::startOfPeriod(Unit::day, m_now, m_calendar), Date::distantFuture(),
                                  QStringLiteral("Today"));
    });
    each(p.yesterday, [this](const auto&) {
        return SearchFilter::date(SearchDates::startOfPreviousPeriod(Unit::day, m_now, m_calendar),
                                  SearchDates::startOfPeriod(Unit::day, m_now, m_calendar),
                                  QStringLiteral("Yesterday"));
    });
    each(p.thisPeriod, [this](const QRegularExpressionMatch& m) {
        const Unit unit = SearchDates::unitFor(m.capturedView(1));
        return SearchFilter::date(SearchDates::startOfPeriod(unit, m_now, m_calendar), Date::distantFuture(),
                                  QStringLiteral("This ") + SearchDates::singular(unit));
    });
    each(p.lastPeriod, [this](const QRegularExpressionMatch& m) {
        const Unit unit = SearchDates::unitFor(m.capturedView(1));
        return SearchFilter::date(SearchDates::startOfPreviousPeriod(unit, m_now, m_calendar),
                                  SearchDates::startOfPeriod(unit, m_now, m_calendar),
                                  QStringLiteral("Last ") + SearchDates::singular(unit));
    });
    // After the relative ages, so "older than 2 weeks" has already been taken whole.
    each(p.recent, [this](const auto&) {
        return SearchFilter::date(SearchDates::minus(m_now, Unit::day, 7, m_calendar), Date::distantFuture(),
                                  QStringLiteral("Last 7 days"));
    });
    each(p.old, [this](const auto&) {
        return SearchFilter::date(Date::distantPast(), SearchDates::minus(m_now, Unit::month, 6, m_calendar),
                                  QStringLiteral("Older than 6 months"));
    });
}

void Parser::monthsAndYears()
{
    const Patterns& p = patterns();
    each(p.month, [this](const QRegularExpressionMatch& m) -> std::optional<SearchFilter> {
        const int index = monthIndex(m.captured(2));
        if (index < 0) return std::nullopt;
        const int month = index + 1;
        int year = 0;
        if (m.capturedStart(3) >= 0) {
            year = m.captured(3).toInt();
        } else {
            // The most recent such month: this year unless the month is still to come.
            const QDate today = m_calendar.day(m_now);
            year = month <= today.month() ? today.year() : today.year() - 1;
        }
        const std::optional<Date> start = SearchDates::startOfMonth(year, month, m_calendar);
        if (!start) return std::nullopt;
        const QString name = capitalised(months()[index]) + u' ' + QString::number(year);
        if (m.captured(1).trimmed() == u"since")
            return SearchFilter::date(*start, Date::distantFuture(), QStringLiteral("Since ") + name);
        const std::optional<Date> end = month == 12 ? SearchDates::startOfMonth(year + 1, 1, m_calendar)
                                                    : SearchDates::startOfMonth(year, month + 1, m_calendar);
        if (!end) return std::nullopt;
        return SearchFilter::date(*start, *end, name);
    });
    each(p.year, [this](const QRegularExpressionMatch& m) -> std::optional<SearchFilter> {
        const int year = m.captured(2).toInt();
        const std::optional<Date> start = SearchDates::startOfYear(year, m_calendar);
        const std::optional<Date> end = SearchDates::startOfYear(year + 1, m_calendar);
        if (!start || !end) return std::nullopt;
        if (m.captured(1).trimmed() == u"since")
            return SearchFilter::date(*start, Date::distantFuture(), QStringLiteral("Since ") + m.captured(2));
        return SearchFilter::date(*start, *end, m.captured(2));
    });
}

void Parser::places()
{
    const Patterns& p = patterns();
    each(p.camera, [](const QRegularExpressionMatch& m) { return SearchFilter::camera(cameraName(m.captured(1))); });
    each(p.sourceWord, [](const QRegularExpressionMatch& m) -> std::optional<SearchFilter> {
        const QString key = sourceKey(m.captured(1).simplified());
        if (key.isEmpty()) return std::nullopt;
        return SearchFilter::source(key, DownloadSource::sourceFor(key).name);
    });
    each(p.sourceDomain, [](const QRegularExpressionMatch& m) {
        const QString domain = m.captured(1);
        return SearchFilter::source(domain, domain);
    });
    each(p.folder, [this](const QRegularExpressionMatch& m) {
        const QString name = capitalised(m.captured(1));
        const QString base = m_home == u"/" ? QString() : m_home;
        return SearchFilter::folder(base + u'/' + name, name);
    });
}

void Parser::looks()
{
    static const QStringList kLeading = {
        QStringLiteral("of"),        QStringLiteral("that"),  QStringLiteral("with"), QStringLiteral("showing"),
                                                                                                     QStringLiteral("depicting"), QStringLiteral("shows"), QStringLiteral("show"), QStringLiteral("look"),
                                                                                                                                                                                                  QStringLiteral("looks"),     QStringLiteral("like")};
    QRegularExpressionMatch m = patterns().looks.match(m_text);
    if (!m.hasMatch()) return;
    const int group = m.capturedStart(1) >= 0 ? 1 : 2;
    QStringList words = m.captured(group).simplified().split(u' ', Qt::SkipEmptyParts);
    while (!words.isEmpty() && kLeading.contains(words.first())) words.removeFirst();
    // A chip taken out of the middle ("with a cat from last week") leaves its connector behind.
    while (!words.isEmpty() && connectorWords().contains(words.last())) words.removeLast();
    QString description = words.join(u' ');
    while (!description.isEmpty() && isTrimmed(description.back())) description.chop(1);
    while (!description.isEmpty() && isTrimmed(description.front())) description.remove(0, 1);
    if (description.isEmpty()) return;
    take(m.capturedStart(group), m.capturedEnd(group), SearchFilter::looks(description));
}

std::vector<Parser::Token> Parser::tokens() const
{
    std::vector<Token> out;
    qsizetype i = 0;
    const qsizetype n = m_text.size();
    while (i < n) {
        while (i < n && m_text[i].isSpace()) ++i;
        qsizetype j = i;
        while (j < n && !m_text[j].isSpace()) ++j;
        if (j > i) out.push_back({i, j});
        i = j;
    }
    return out;
}

Parser::Token Parser::trimmed(Token t) const
{
    while (t.start < t.end && isTrimmed(m_text[t.start])) ++t.start;
    while (t.end > t.start && isTrimmed(m_text[t.end - 1])) --t.end;
    return t;
}

void Parser::kinds()
{
    const std::vector<Token> all = tokens();
    for (size_t i = 0; i < all.size(); ++i) {
        const Token t = trimmed(all[i]);
        if (t.start == t.end) continue;
        if (i + 1 < all.size()) {
            const Token next = trimmed(all[i + 1]);
            const bool adjacent =
                std::none_of(m_taken.begin() + t.end, m_taken.begin() + next.start, [](bool b) { return b; });
            if (adjacent && next.start < next.end) {
                const TypeWords* row = typeRow(word(t) + u' ' + word(next));
                if (row) {
                    take(t.start, next.end, row->filter);
                    ++i;
                    continue;
                }
            }
        }
        if (const TypeWords* row = typeRow(word(t))) take(t.start, t.end, row->filter);
    }
}

void Parser::leftovers()
{
    struct Item {
        qsizetype start;
        qsizetype end;
        bool isChip;
        QString word;  // leftover words only
    };
    QList<Item> items;
    for (const ParsedQuery::Span& s : m_spans) items.append({s.location, s.end(), true, {}});
    for (const Token& raw : tokens()) {
        const Token t = trimmed(raw);
        // A word of nothing but trimmed marks ("--" aside) carries nothing.
        if (t.start == t.end) {
            items.append({raw.start, raw.end, false, {}});
        } else {
            items.append({t.start, t.end, false, word(t)});
        }
    }
    std::sort(items.begin(), items.end(), [](const Item& a, const Item& b) { return a.start < b.start; });

    // Connector words in a run that touches a chip are filler, never free text.
    const QStringList& connectors = connectorWords();
    std::vector<bool> beside(size_t(items.size()), false);
    for (qsizetype i = 0; i < items.size();) {
        if (items[i].isChip || !connectors.contains(items[i].word)) {
            ++i;
            continue;
        }
        qsizetype j = i;
        while (j < items.size() && !items[j].isChip && connectors.contains(items[j].word)) ++j;
        const bool touches = (i > 0 && items[i - 1].isChip) || (j < items.size() && items[j].isChip);
        for (qsizetype k = i; k < j; ++k) beside[size_t(k)] = touches;
        i = j;
    }

    const QSet<QString>& stops = stopWords();
    for (qsizetype i = 0; i < items.size(); ++i) {
        const Item& item = items[i];
        if (item.isChip) continue;
        const bool filler = item.word.isEmpty() || beside[size_t(i)] || stops.contains(item.word);
        m_spans.append({item.start, item.end - item.start, filler ? ParsedQuery::Role::filler : ParsedQuery::Role::text,
                        std::nullopt});
        if (!filler) m_textWords.append(item.word);
    }
}

Analysis Parser::run()
{
    if (m_text.isEmpty()) return {ParsedQuery::empty(), m_working};
    const Patterns& p = patterns();

    sites();
    each(p.tag, [](const QRegularExpressionMatch& m) { return SearchFilter::tag(m.captured(1)); });
    each(p.favourite, [](const auto&) { return SearchFilter::favourite(); });
    sizes();
    relativeAges();
    namedPeriods();
    monthsAndYears();
    places();
    looks();
    kinds();
    leftovers();

    ParsedQuery query;
    std::stable_sort(m_found.begin(), m_found.end(), [](const Found& a, const Found& b) { return a.first < b.first; });
    for (const Found& f : m_found) query.filters.append(f.filter);
    if (!m_textWords.isEmpty()) {
        const SearchFilter text = SearchFilter::text(m_textWords.join(u' '));
        if (!query.filters.contains(text)) query.filters.append(text);
    }
    std::sort(m_spans.begin(), m_spans.end(),
              [](const ParsedQuery::Span& a, const ParsedQuery::Span& b) { return a.location < b.location; });
    for (ParsedQuery::Span& s : m_spans) s.location += m_offset;
    query.spans = m_spans;
    return {query, m_working};
}

}  // namespace

void prepare() { patterns(); }

Analysis analyze(const QString& text, Date now, const Calendar& calendar, const QString& home)
{
    return Parser(text, now, calendar, home).run();
}

ParsedQuery parse(const QString& text, Date now, const Calendar& calendar, const QString& home)
{
    return analyze(text, now, calendar, home).query;
}

}  // namespace fennic::SearchParser
