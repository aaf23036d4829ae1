#pragma once

#include "SearchFilter.h"

#include <QList>
#include <QString>
#include <optional>

namespace fennic {

// What a typed request asks for: the filters, and for each stretch of the typed text whether
// it produced a filter, is free text to search for, or is filler. A plain value.
struct ParsedQuery {
    enum class Role : quint8 {
        filter,
        text,
        filler
    };

    struct Span {
        // In UTF-16 units of the request exactly as typed (untrimmed).
        qsizetype location = 0;
        qsizetype length = 0;
        Role role = Role::filler;
        std::optional<SearchFilter> filter;  // set exactly when role is `filter`

        qsizetype end() const { return location + length; }
        friend bool operator==(const Span&, const Span&) = default;
    };

    QList<SearchFilter> filters;  // ordered by where they stand in the request; free text last
    QList<Span> spans;            // ordered by location; never overlapping

    static ParsedQuery empty() { return {}; }
    bool isEmpty() const { return filters.isEmpty() && spans.isEmpty(); }

    // The request `text` (the text these spans were made from) with every stretch whose span
    // produced `filter` cut out; the remaining words are joined by single blanks.
    QString removing(const SearchFilter& filter, const QString& text) const;

    friend bool operator==(const ParsedQuery&, const ParsedQuery&) = default;
};

// "filter", "text", "filler".
QString rawValue(ParsedQuery::Role role);

}  // namespace fennic
