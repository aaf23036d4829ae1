#include "images/TextNeedles.h"

#include "images/LabelEngine.h"

namespace fennic {
int TextNeedles::add(const QString& needle)
{
    const int index = m_count++;
    bool singleWord = !needle.isEmpty();
    for (const QChar c : needle)
        if (!isWordCharacter(c)) singleWord = false;
    if (singleWord) {
        // Views of the stored copy stay valid: a QString's characters do not move with it.
        m_storage.append(needle);
        m_words[QStringView(m_storage.last())].append(index);
    } else
        m_others.append({needle, index});
    return index;
}

void TextNeedles::find(const QString& text, std::vector<bool>& found) const
{
    found.assign(size_t(m_count), false);
    if (text.isEmpty()) return;
    auto mark = [&](QStringView word) {
        if (const auto it = m_words.constFind(word); it != m_words.cend())
            for (int index : it.value()) found[size_t(index)] = true;
    };
    if (!m_words.isEmpty()) {
        const qsizetype n = text.size();
        qsizetype i = 0;
        while (i < n) {
            while (i < n && !isWordCharacter(text[i])) ++i;
            const qsizetype start = i;
            while (i < n && isWordCharacter(text[i])) ++i;
            if (i == start) continue;
            const QStringView word = QStringView(text).mid(start, i - start);
            mark(word);
            if (word.size() > 1 && word.back() == u's') {
                mark(word.chopped(1));
                if (word.size() > 2 && word[word.size() - 2] == u'e') mark(word.chopped(2));
            }
        }
    }
    for (const auto& [needle, index] : m_others)
        if (containsWord(text, needle)) found[size_t(index)] = true;
}

}  // namespace fennic
