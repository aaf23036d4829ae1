#include "images/LabelEngine.h"

#include "images/Vocabulary.h"

#include <QStringBuilder>
#include <cmath>

namespace fennic {
bool isWordCharacter(QChar c)
{
    const char16_t u = c.unicode();
    if (u < 0x80) return (u >= u'a' && u <= u'z') || (u >= u'A' && u <= u'Z') || (u >= u'0' && u <= u'9');
    return c.isLetterOrNumber() || c.isMark();
}

namespace {

QString percent(float share) { return QString::number(int(std::lround(share * 100.0f))) + u'%'; }

QString quoted(const QString& word) { return u'“' % word % QStringLiteral("” in text"); }

}  // namespace

bool containsWord(const QString& text, const QString& word)
{
    if (word.isEmpty()) return false;
    // Words made of punctuation ("%") match wherever they occur.
    const bool wordLike = isWordCharacter(word.front()) && isWordCharacter(word.back());
    auto endsAt = [&text](qsizetype i) { return i >= text.size() || !isWordCharacter(text[i]); };
    for (qsizetype at = text.indexOf(word); at >= 0; at = text.indexOf(word, at + 1)) {
        if (!wordLike) return true;
        if (at > 0 && isWordCharacter(text[at - 1])) continue;
        const qsizetype end = at + word.size();
        if (endsAt(end)) return true;
        if (text[end] == u's' && endsAt(end + 1)) return true;
        if (text[end] == u'e' && end + 1 < text.size() && text[end + 1] == u's' && endsAt(end + 2)) return true;
    }
    return false;
}

std::optional<VisualMatch> LabelEngine::score(const ImageRecord& record, const VisualQuery& query) const
{
    const qsizetype parts = query.concepts.size() + query.colors.size();
    if (parts == 0) return std::nullopt;

    // Words in the picture's text: one pass over it for all of the query's words when the
    // query is prepared, a search per word otherwise.
    const VisualQuery::Prepared* ready = query.prepared.get();
    if (ready && ready->wordNeedle.size() != size_t(query.concepts.size())) ready = nullptr;
    const VisualQuery::Prepared* scan = ready && ready->scanText ? ready : nullptr;
    thread_local std::vector<bool> found;
    if (scan) scan->needles.find(record.folded, found);

    // Label evidence per concept: the record's own few labels looked up in the query's table.
    thread_local std::vector<float> labelEvidenceOf;
    thread_local std::vector<const QString*> bestLabelOf;
    if (ready) {
        labelEvidenceOf.assign(size_t(query.concepts.size()), 0.0f);
        bestLabelOf.assign(size_t(query.concepts.size()), nullptr);
        for (auto it = record.labels.cbegin(); it != record.labels.cend(); ++it) {
            const auto users = ready->labelConcepts.constFind(it.key());
            if (users == ready->labelConcepts.cend() || it.value() <= 0.0f) continue;
            const float discount = Vocabulary::broadLabels().contains(it.key()) ? kBroadDiscount : 1.0f;
            for (const auto& [target, weight] : users.value()) {
                const float evidence = std::min(1.0f, it.value() * weight * discount);
                float& best = labelEvidenceOf[size_t(target)];
                const QString*& label = bestLabelOf[size_t(target)];
                if (evidence > best || (evidence == best && label && users.key() < *label))
                    best = evidence, label = &users.key();
            }
        }
    }

    VisualMatch match;
    float evidenceSum = 0.0f;
    qsizetype index = -1;
    int conceptsSeen = 0;
    int extraTelltales = 0;
    for (const VisualQuery::Concept& part : query.concepts) {
        ++index;
        float labelEvidence = ready ? labelEvidenceOf[size_t(index)] : 0.0f;
        const QString* bestLabel = ready ? bestLabelOf[size_t(index)] : nullptr;
        for (auto it = part.labels.cbegin(); !ready && it != part.labels.cend(); ++it) {
            const auto label = record.labels.constFind(it.key());
            if (label == record.labels.cend() || label.value() <= 0.0f) continue;
            const float discount = Vocabulary::broadLabels().contains(it.key()) ? kBroadDiscount : 1.0f;
            const float evidence = std::min(1.0f, label.value() * it.value() * discount);
            if (evidence > labelEvidence || (evidence == labelEvidence && bestLabel && it.key() < *bestLabel))
                labelEvidence = evidence, bestLabel = &it.key();
        }
        const QString* telltale = nullptr;
        int telltales = 0;
        for (qsizetype t = 0; t < part.telltales.size(); ++t) {
            const bool present = scan && size_t(t) < scan->telltaleNeedle[size_t(index)].size()
                ? found[size_t(scan->telltaleNeedle[size_t(index)][size_t(t)])]
                : containsWord(record.folded, part.telltales[t]);
            if (!present) continue;
            if (!telltale) telltale = &part.telltales[t];
            ++telltales;
        }
        const bool wordInText =
            scan ? found[size_t(scan->wordNeedle[size_t(index)])] : containsWord(record.folded, part.word);
        const float telltaleEvidence = telltales > 0 ? kTelltaleEvidence : 0.0f;
        const float wordEvidence = wordInText ? kWordEvidence : 0.0f;
        const float evidence = 1.0f - (1.0f - labelEvidence) * (1.0f - telltaleEvidence) * (1.0f - wordEvidence);
        evidenceSum += evidence;
        const QString shown = Vocabulary::display(part.word);
        if (evidence < kMinEvidence) {
            // A word nothing places is named, so that the hits found for the rest of the
            // description do not look like an answer to it.
            if (part.labels.isEmpty() && part.telltales.isEmpty())
                match.reasons.append(QString(u'“' % shown % QStringLiteral("” not recognised")));
            continue;
        }
        ++conceptsSeen;
        extraTelltales += std::max(0, telltales - 1);
        // The reason names the strongest of the sources.
        if (labelEvidence >= telltaleEvidence && labelEvidence >= wordEvidence)
            match.reasons.append(!bestLabel || *bestLabel == part.word
                                     ? shown
                                     : QString(shown % QStringLiteral(" (") % Vocabulary::display(*bestLabel) % u')'));
        else if (telltaleEvidence >= wordEvidence && !wordInText && telltale)
            match.reasons.append(QString(shown % QStringLiteral(": ") % quoted(*telltale)));
        else
            match.reasons.append(quoted(shown));
    }
    if (!query.concepts.isEmpty() && conceptsSeen == 0) return std::nullopt;

    int coloursSeen = 0;
    for (const QString& colour : query.colors) {
        const float share = record.colors.value(colour);
        evidenceSum += std::min(1.0f, share * kColorScale);
        if (share < kMinColorShare) continue;
        ++coloursSeen;
        match.reasons.append(QString(colour % u' ' % percent(share)));
    }
    match.matched = conceptsSeen + coloursSeen;
    if (match.matched == 0) return std::nullopt;
    match.path = record.path;
    match.score = kPartWeight * float(match.matched) + kEvidenceWeight * evidenceSum / float(parts)
        + kTelltaleBonus * float(std::min(extraTelltales, 10));
    return match;
}

}  // namespace fennic
