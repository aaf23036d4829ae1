#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace fennic {

// Where the words of a request appear in a file name, so a card can mark them. Names and
// words compare folded (Fold::text: case, accents and width ignored), but the ranges are
// positions in the name as written, so "cafe" marks all of "Café" and "CAFE\u0301" alike.
namespace NameHighlight {

struct Range {
    qsizetype start = 0;
    qsizetype length = 0;
    friend bool operator==(const Range&, const Range&) = default;
};

// The ranges of `name` (UTF-16 positions) matching any of `words`, in order, overlapping and
// touching matches merged. Empty words match nothing.
QList<Range> ranges(const QString& name, const QStringList& words);

}  // namespace NameHighlight

}  // namespace fennic
