#pragma once

#include "ParsedQuery.h"
#include "SearchFilter.h"
#include "model/Calendar.h"
#include "model/Date.h"
#include "model/FileItem.h"

#include <QHash>
#include <QList>
#include <QString>

namespace fennic {

class SearchContext;

// Plain-English requests ("pdfs from gmail last week over 5 MB") turned into filters and
// spans, and the test of filters against files. Pure functions: the parse depends only on the
// text, `now`, the calendar and the home folder (it never reads the clock), so the same input
// always gives the same output. Safe to call from any thread.
namespace SearchParser {

struct Analysis {
    ParsedQuery query;
    // The request lower-cased and trimmed: what the rules read (before any stretch is taken).
    QString working;
};

// The full analysis of a request: filters in the order they stand in the text (free text
// last) and spans over the request as typed, in UTF-16 units. Never fails; a blank request
// gives ParsedQuery::empty(). `home` is the home folder that folder words resolve against.
Analysis analyze(const QString& text, Date now, const Calendar& calendar, const QString& home);
// Compiles the rules' patterns now instead of at the first request: some milliseconds of
// compiling and mapping code that are better spent on a background thread at launch than on
// the first key a person types. Calling it again does nothing.
void prepare();
// analyze(...).query.
ParsedQuery parse(const QString& text, Date now, const Calendar& calendar, const QString& home);

// True when every filter holds for the item (an empty list matches everything). This form
// builds a context from recognised text alone (path -> folded text): no image records, an
// empty shelf.
bool matches(const FileItem& item, const QList<SearchFilter>& filters, const QHash<QString, QString>& ocr);
// The same test against a full context. The filters are prepared once and kept in the
// context while the same list is passed again, so a pass over a library folds request text
// only once.
bool matches(const FileItem& item, const QList<SearchFilter>& filters, SearchContext& context);

}  // namespace SearchParser
}  // namespace fennic
