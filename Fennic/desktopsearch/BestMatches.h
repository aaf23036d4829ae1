#pragma once

#include "model/FileItem.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace fennic {

class AppModel;

// One file found for the desktop's search, with how well it fits the request.
struct BestMatch {
    FileItem item;
    // 0.3 … 1: how much of the request's words the file's name holds, and how early; 0.5 for
    // a request without words ("pdfs from last week"), where every match fits alike.
    double relevance = 0;
    // Every word of the request begins the name or is its stem.
    bool exact = false;
    friend bool operator==(const BestMatch&, const BestMatch&) = default;
};

// The best matches for a request typed into the desktop's own search, as the shell's search
// provider and KRunner show them. The request is read by the application's parser, so "invoice
// pdfs" means what it means in the Ask field; the library is filtered through its prepared
// search index (one pass over compact data, no text folded per file), and the survivors are
// ranked by where the request's words sit in their names, then newest first.
namespace BestMatches {

// The terms the shell sends, as one request.
QString requestFor(const QStringList& terms);
// At most `limit` matches, best first; none for a request without any filter.
// GUI thread (reads the app model).
QList<BestMatch> find(AppModel& app, const QString& request, qsizetype limit);

}  // namespace BestMatches
}  // namespace fennic
