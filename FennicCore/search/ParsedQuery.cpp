#include "ParsedQuery.h"

namespace fennic {

QString rawValue(ParsedQuery::Role role)
{
    switch (role) {
    case ParsedQuery::Role::filter: return QStringLiteral("filter");
    case ParsedQuery::Role::text: return QStringLiteral("text");
    case ParsedQuery::Role::filler: return QStringLiteral("filler");
    }
    return {};
}

QString ParsedQuery::removing(const SearchFilter& filter, const QString& text) const
{
    QString cut = text;
    for (const Span& span : spans) {
        if (span.role != Role::filter || !span.filter || *span.filter != filter) continue;
        const qsizetype from = qBound<qsizetype>(0, span.location, cut.size());
        const qsizetype to = qBound<qsizetype>(from, span.end(), cut.size());
        // Blank rather than remove, so that the words on either side never run together.
        for (qsizetype i = from; i < to; ++i) cut[i] = u' ';
    }
    return cut.simplified();
}

}  // namespace fennic
