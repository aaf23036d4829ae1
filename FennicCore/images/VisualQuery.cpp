#include "images/VisualQuery.h"

#include "images/Vocabulary.h"
#include "model/Fold.h"

namespace fennic {

VisualQuery VisualQuery::parse(const QString& text)
{
    VisualQuery query;
    query.raw = text;
    // Fold first so that full-width letters and accents split like ordinary ones.
    const QString folded = Fold::text(text);
    qsizetype start = -1;
    auto take = [&](qsizetype end) {
        const QString word = folded.mid(start, end - start);
        start = -1;
        if (Vocabulary::stopWords().contains(word)) return;
        if (const auto colour = Vocabulary::colorWords().constFind(word); colour != Vocabulary::colorWords().cend()) {
            if (!query.colors.contains(colour.value())) query.colors.append(colour.value());
            return;
        }
        Concept entry;
        entry.word = Vocabulary::stem(word);
        entry.labels = Vocabulary::labels(word);
        for (const QString& telltale : Vocabulary::telltaleWords().value(entry.word)) {
            const QString foldedTelltale = Fold::text(telltale);
            if (!entry.telltales.contains(foldedTelltale)) entry.telltales.append(foldedTelltale);
        }
        query.concepts.append(entry);
        query.words.append(word);
    };
    for (qsizetype i = 0; i < folded.size(); ++i) {
        const QChar c = folded[i];
        const bool inWord = c.isLetterOrNumber() || c.isMark() || c.isSurrogate();
        if (inWord && start < 0) start = i;
        if (!inWord && start >= 0) take(i);
    }
    if (start >= 0) take(folded.size());
    query.prepare();
    return query;
}

QStringList VisualQuery::unrecognised() const
{
    QStringList out;
    for (const Concept& part : concepts)
        if (part.labels.isEmpty() && part.telltales.isEmpty()) out.append(Vocabulary::display(part.word));
    return out;
}

void VisualQuery::prepare()
{
    // With only a few words to look for, searching for each directly is faster than reading
    // every text word by word.
    constexpr int kDirectSearchLimit = 6;
    auto ready = std::make_shared<Prepared>();
    for (qsizetype i = 0; i < concepts.size(); ++i)
        for (auto it = concepts[i].labels.cbegin(); it != concepts[i].labels.cend(); ++it)
            ready->labelConcepts[it.key()].append({int(i), it.value()});
    for (const Concept& part : concepts) {
        ready->wordNeedle.push_back(ready->needles.add(part.word));
        std::vector<int> telltales;
        for (const QString& telltale : part.telltales) telltales.push_back(ready->needles.add(telltale));
        ready->telltaleNeedle.push_back(std::move(telltales));
    }
    ready->scanText = ready->needles.size() > kDirectSearchLimit;
    prepared = std::move(ready);
}

}  // namespace fennic
