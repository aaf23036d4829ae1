// Feeds arbitrary text to the request parser. Besides crashes it checks what the chips rely
// on: every span lies inside the text as given, spans never overlap, a filter span names a
// filter of the query, and removing a chip and matching a file both cope with any result.
#include "search/SearchParser.h"

#include <QTimeZone>
#include <cstdint>
#include <cstdlib>

namespace {

void check(const QString& text, fennic::Date now, const fennic::Calendar& calendar)
{
    using namespace fennic;
    const SearchParser::Analysis a = SearchParser::analyze(text, now, calendar, QStringLiteral("/home/fuzz"));
    qsizetype end = 0;
    for (const ParsedQuery::Span& s : a.query.spans) {
        if (s.location < end || s.length <= 0 || s.end() > text.size()) std::abort();
        if ((s.role == ParsedQuery::Role::filter) != s.filter.has_value()) std::abort();
        if (s.filter && !a.query.filters.contains(*s.filter)) std::abort();
        end = s.end();
    }
    FileItem item;
    item.path = QStringLiteral("/home/fuzz/Downloads/") + text.left(40) + QStringLiteral(".pdf");
    item.name = item.path.section(u'/', -1);
    item.ext = QStringLiteral("pdf");
    (void)SearchParser::matches(item, a.query.filters, QHash<QString, QString>{{item.path, text}});
    for (const SearchFilter& f : a.query.filters) {
        (void)f.label();
        (void)f.id();
        const QString rest = a.query.removing(f, text);
        if (rest.size() > text.size()) std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace fennic;
    static const Calendar utcMonday{QTimeZone::utc(), Qt::Monday};
    static const Calendar madridSunday{QTimeZone(QByteArrayLiteral("Europe/Madrid")), Qt::Sunday};
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    // As UTF-8, and as raw UTF-16 (which reaches lone surrogates and odd code units).
    check(QString::fromUtf8(bytes), Date{768911400.0}, utcMonday);
    check(QString(reinterpret_cast<const QChar*>(data), qsizetype(size / 2)), Date{757382400.0}, madridSunday);
    return 0;
}
