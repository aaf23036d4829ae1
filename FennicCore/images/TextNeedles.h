#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <vector>

namespace fennic {

// A set of words to look for in pictures' folded text, prepared once per search so that each
// record's text is read once, word by word, instead of once per word looked for. A needle is
// found where containsWord() (LabelEngine.h) would find it: as a whole word, or followed by a
// plural "s" or "es"; needles that are phrases or punctuation are searched for directly.
class TextNeedles {
public:
    // Adds a needle; returns its index in the vectors find() fills.
    int add(const QString& needle);
    int size() const { return m_count; }

    // Marks in `found` (resized to size()) the needles that occur in `text`.
    void find(const QString& text, std::vector<bool>& found) const;

private:
    QStringList m_storage;                    // owns the text m_words' views point into
    QHash<QStringView, QList<int>> m_words;   // single words -> needle indices
    QList<std::pair<QString, int>> m_others;  // phrases and punctuation
    int m_count = 0;
};

}  // namespace fennic
