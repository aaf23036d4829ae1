#include "NameHighlight.h"

#include "model/Fold.h"

#include <algorithm>
#include <vector>

namespace fennic::NameHighlight {

namespace {

// The name folded one code point at a time, remembering which code point of the name each
// folded character came from, so a match in the folded text maps back to the name.
struct FoldedName {
    QString text;
    std::vector<qsizetype> from;  // per folded character: start of its code point in the name
    std::vector<qsizetype> to;    // per folded character: end of its code point in the name
};

FoldedName foldName(const QString& name)
{
    FoldedName folded;
    folded.text.reserve(name.size());
    folded.from.reserve(size_t(name.size()));
    folded.to.reserve(size_t(name.size()));
    for (qsizetype i = 0; i < name.size();) {
        const QChar c = name.at(i);
        const qsizetype width = (c.isHighSurrogate() && i + 1 < name.size() && name.at(i + 1).isLowSurrogate()) ? 2 : 1;
        QString piece;
        if (c.unicode() < 0x80) {
            piece = QString(c.toLower());
        } else {
            piece = Fold::text(name.mid(i, width));
        }
        if (piece.isEmpty() && !folded.to.empty()) {
            // A mark that folds away (a combining accent) belongs with the character before it,
            // so a highlight never splits a letter from its accent.
            folded.to.back() = i + width;
        }
        for (const QChar f : std::as_const(piece)) {
            folded.text.append(f);
            folded.from.push_back(i);
            folded.to.push_back(i + width);
        }
        i += width;
    }
    return folded;
}

}  // namespace

QList<Range> ranges(const QString& name, const QStringList& words)
{
    QList<Range> found;
    if (name.isEmpty() || words.isEmpty()) return found;
    const FoldedName folded = foldName(name);
    // Matches in folded positions first, [start, end).
    std::vector<std::pair<qsizetype, qsizetype>> spans;
    for (const QString& word : words) {
        const QString needle = Fold::text(word.trimmed());
        if (needle.isEmpty()) continue;
        for (qsizetype at = folded.text.indexOf(needle); at >= 0; at = folded.text.indexOf(needle, at + 1))
            spans.emplace_back(at, at + needle.size());
    }
    std::sort(spans.begin(), spans.end());
    for (const auto& [start, end] : spans) {
        const qsizetype from = folded.from[size_t(start)];
        const qsizetype to = folded.to[size_t(end - 1)];
        if (!found.isEmpty() && from <= found.last().start + found.last().length) {
            Range& last = found.last();
            last.length = std::max(last.start + last.length, to) - last.start;
        } else {
            found.append(Range{from, to - from});
        }
    }
    return found;
}

}  // namespace fennic::NameHighlight
