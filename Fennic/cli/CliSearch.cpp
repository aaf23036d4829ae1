// fennic-cli parse and ask: the request parser and the search over the cached library,
// without a window.
#include "CliCommand.h"
#include "context/SearchSources.h"
#include "images/ImageIndex.h"
#include "library/Library.h"
#include "library/LibraryCache.h"
#include "model/SupportFiles.h"
#include "organise/Shelf.h"
#include "search/SearchContext.h"
#include "search/SearchIndex.h"
#include "search/SearchParser.h"
#include "search/SortKey.h"

#include <QDateTime>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimeZone>
#include <algorithm>

namespace fennic::cli {
namespace {

// The calendar day numbers people pass: 1 = Sunday, 2 = Monday ... 7 = Saturday.
int calendarWeekday(Qt::DayOfWeek day) { return day == Qt::Sunday ? 1 : int(day) + 1; }

struct Clock {
    Date now;
    Calendar calendar;
};

// --now, --tz and --first-weekday, each defaulting to the machine's current value.
Clock clockOptions(CliArgs& args)
{
    Clock clock{Date::fromQDateTime(QDateTime::currentDateTimeUtc()), Calendar::current()};
    if (const auto now = args.date(QStringLiteral("now"))) clock.now = *now;
    if (const auto tz = args.value(QStringLiteral("tz"))) {
        const QTimeZone zone(tz->toUtf8());
        if (!zone.isValid()) throw UsageError{QStringLiteral("--tz: unknown time zone ") + *tz};
        clock.calendar.timeZone = zone;
    }
    if (const auto day = args.value(QStringLiteral("first-weekday"))) {
        bool ok = false;
        const int n = day->toInt(&ok);
        if (!ok || n < 1 || n > 7)
            throw UsageError{QStringLiteral("--first-weekday: a number from 1 (Sunday) to 7 (Saturday), not ") + *day};
        clock.calendar.firstWeekday = n == 1 ? Qt::Sunday : Qt::DayOfWeek(n - 1);
    }
    return clock;
}

QString request(CliArgs& args, const char* command)
{
    const QStringList rest = args.finish();
    if (rest.size() != 1)
        throw UsageError{QStringLiteral("%1 needs one request in quotes, e.g. %1 \"pdfs from last week\"") .arg(
            QLatin1String(command))};
    return rest.first();
}

QJsonObject filterJson(const SearchFilter& filter)
{
    QJsonObject o{{QStringLiteral("case"), filter.caseName()}};
    if (const auto* k = filter.as<SearchFilter::Kind>()) {
        o.insert(QStringLiteral("kind"), FileKinds::rawValue(k->kind));
    } else if (const auto* e = filter.as<SearchFilter::Exts>()) {
        o.insert(QStringLiteral("exts"), QJsonArray::fromStringList(e->exts));
    } else if (const auto* d = filter.as<SearchFilter::DateRange>()) {
        o.insert(QStringLiteral("from"), d->from.toIso());
        o.insert(QStringLiteral("to"), d->to.toIso());
    } else if (const auto* atLeast = filter.as<SearchFilter::MinSize>()) {
        o.insert(QStringLiteral("bytes"), double(atLeast->bytes));
        o.insert(QStringLiteral("strict"), atLeast->strict);
    } else if (const auto* atMost = filter.as<SearchFilter::MaxSize>()) {
        o.insert(QStringLiteral("bytes"), double(atMost->bytes));
        o.insert(QStringLiteral("strict"), atMost->strict);
    } else if (const auto* s = filter.as<SearchFilter::Source>()) {
        o.insert(QStringLiteral("key"), s->key);
        o.insert(QStringLiteral("name"), s->name);
    } else if (const auto* c = filter.as<SearchFilter::Camera>()) {
        o.insert(QStringLiteral("name"), c->name);
    } else if (const auto* f = filter.as<SearchFilter::Folder>()) {
        o.insert(QStringLiteral("path"), f->path);
        o.insert(QStringLiteral("name"), f->name);
    } else if (const auto* t = filter.as<SearchFilter::Text>()) {
        o.insert(QStringLiteral("words"), t->words);
    } else if (const auto* l = filter.as<SearchFilter::Looks>()) {
        o.insert(QStringLiteral("description"), l->description);
    } else if (const auto* tag = filter.as<SearchFilter::Tag>()) {
        o.insert(QStringLiteral("name"), tag->name);
    }
    o.insert(QStringLiteral("label"), filter.label());
    o.insert(QStringLiteral("category"), rawValue(filter.category()));
    o.insert(QStringLiteral("symbol"), filter.symbol());
    o.insert(QStringLiteral("isType"), filter.isType());
    o.insert(QStringLiteral("id"), filter.id());
    return o;
}

QJsonObject queryJson(const QString& text, const SearchParser::Analysis& analysis, const Clock& clock,
                      const QString& home)
{
    const ParsedQuery& q = analysis.query;
    QJsonArray filters;
    for (const SearchFilter& f : q.filters) filters.append(filterJson(f));
    QJsonArray spans;
    for (const ParsedQuery::Span& s : q.spans) {
        QJsonObject o{{QStringLiteral("location"), double(s.location)},
                       {QStringLiteral("length"), double(s.length)},
                        {QStringLiteral("role"), rawValue(s.role)},
                         {QStringLiteral("text"), text.mid(s.location, s.length)}};
        if (s.filter) o.insert(QStringLiteral("filter"), double(q.filters.indexOf(*s.filter)));
        spans.append(o);
    }
    return QJsonObject{
        {QStringLiteral("request"), text},
         {QStringLiteral("working"), analysis.working},
          {QStringLiteral("now"), clock.now.toIso()},
           {QStringLiteral("timeZone"), QString::fromUtf8(clock.calendar.timeZone.id())},
            {QStringLiteral("firstWeekday"), calendarWeekday(clock.calendar.firstWeekday)},
             {QStringLiteral("home"), home},
              {QStringLiteral("filters"), filters},
               {QStringLiteral("spans"), spans},
              };
}

void printJson(const QJsonObject& o) { out() << QJsonDocument(o).toJson(QJsonDocument::Indented); }

int runParse(CliArgs& args)
{
    const bool json = args.flag(QStringLiteral("json"));
    const Clock clock = clockOptions(args);
    const QString home = QDir::cleanPath(args.value(QStringLiteral("home")).value_or(Library::home()));
    const QString text = request(args, "parse");
    const SearchParser::Analysis analysis = SearchParser::analyze(text, clock.now, clock.calendar, home);
    if (json) {
        printJson(queryJson(text, analysis, clock, home));
        return 0;
    }
    for (const SearchFilter& f : analysis.query.filters)
        out() << rawValue(f.category()) << '\t' << f.caseName() << '\t' << f.label() << '\n';
    for (const ParsedQuery::Span& s : analysis.query.spans)
        out() << s.location << '+' << s.length << '\t' << rawValue(s.role) << '\t' << text.mid(s.location, s.length)
              << '\n';
    return 0;
}

int runAsk(CliArgs& args)
{
    const bool json = args.flag(QStringLiteral("json"));
    const bool ascending = args.flag(QStringLiteral("ascending"));
    const QString sortName = args.value(QStringLiteral("sort")).value_or(SortKeys::rawValue(SortKey::dateAdded));
    const std::optional<SortKey> sortKey = SortKeys::fromRawValue(sortName);
    if (!sortKey) {
        QStringList keys;
        for (SortKey k : SortKeys::allCases) keys.append(SortKeys::rawValue(k));
        throw UsageError{QStringLiteral("--sort: one of %1, not %2").arg(keys.join(QStringLiteral(", ")), sortName)};
    }
    const Clock clock = clockOptions(args);
    const QString text = request(args, "ask");

    const QString cachePath = LibraryCache::defaultPath();
    const std::optional<QList<FileItem>> items = LibraryCache::load(cachePath);
    if (!items) {
        err() << "fennic-cli: no readable library cache at " << cachePath << " (run fennic-cli scan first)\n";
        return 1;
    }

    const QString home = Library::home();
    const SearchParser::Analysis analysis = SearchParser::analyze(text, clock.now, clock.calendar, home);
    const SupportFiles support = SupportFiles::current();
    SearchContext context(
        SearchSources::of(ImageIndex::load(support.imageIndex()).value_or(ImageIndex()), Shelf::load(support.shelf())));

    const SearchIndex index(*items);
    std::vector<qsizetype> hits = index.filter(analysis.query.filters, context);
    const auto looks = std::find_if(analysis.query.filters.begin(), analysis.query.filters.end(),
                                    [](const SearchFilter& f) { return f.caseOf() == SearchFilter::Case::looks; });
    if (looks != analysis.query.filters.end()) {
        // A description orders by how well each picture fits it, whatever the sort settings.
        const QString description = looks->as<SearchFilter::Looks>()->description;
        std::vector<std::pair<float, qsizetype>> scored;
        scored.reserve(hits.size());
        for (qsizetype i : hits)
            scored.emplace_back(context.visualScore(description, (*items)[i].path).value_or(0.0f), i);
        std::stable_sort(scored.begin(), scored.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
        for (size_t i = 0; i < scored.size(); ++i) hits[i] = scored[i].second;
    } else {
        SortKeys::sortPositions(*sortKey, *items, hits, ascending);
    }

    if (json) {
        QJsonObject o = queryJson(text, analysis, clock, home);
        QJsonArray paths;
        for (qsizetype i : hits) paths.append((*items)[i].path);
        o.insert(QStringLiteral("sort"), SortKeys::rawValue(*sortKey));
        o.insert(QStringLiteral("ascending"), ascending);
        o.insert(QStringLiteral("count"), double(hits.size()));
        o.insert(QStringLiteral("paths"), paths);
        printJson(o);
        return 0;
    }
    for (qsizetype i : hits) out() << (*items)[i].path << '\n';
    return 0;
}

const CliRegistration parseCommand({"parse",
                                    "parse \"REQUEST\" [--now ISO-8601] [--tz ZONE] [--first-weekday 1..7] "
                                    "[--home PATH] [--json]   show the filters and spans of a request",
                                    runParse});
const CliRegistration askCommand({"ask",
                                  "ask \"REQUEST\" [--sort KEY] [--ascending] [--json] [--now ISO-8601] [--tz ZONE] "
                                  "[--first-weekday 1..7]   the cached library's files that match, one path a line",
                                  runAsk});

}  // namespace
}  // namespace fennic::cli
