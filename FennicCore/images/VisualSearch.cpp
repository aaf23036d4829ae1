#include "images/VisualSearch.h"

#include "model/Fold.h"

#include <QRegularExpression>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <thread>

namespace fennic::VisualSearch {
namespace {

// Text hits: a base score and a little more for every place a word occurs.
constexpr float kTextBase = 1.0f;
constexpr float kTextPerPlace = 0.05f;

int occurrences(const QString& text, const QString& word)
{
    int n = 0;
    for (qsizetype at = text.indexOf(word); at >= 0; at = text.indexOf(word, at + word.size())) ++n;
    return n;
}

// Scores every record, on two threads for large sets (a search over tens of thousands of
// records is bound by reading them from memory), keeping the records' order.
template <typename Score> QList<VisualMatch> scoreAll(const QList<ImageRecord>& records, const Score& score)
{
    constexpr qsizetype kParallelFrom = 4096;
    auto run = [&records, &score](qsizetype from, qsizetype to, QList<VisualMatch>& out) {
        for (qsizetype i = from; i < to; ++i)
            if (auto match = score(records[i])) out.append(std::move(*match));
    };
    QList<VisualMatch> matches;
    if (records.size() < kParallelFrom || std::thread::hardware_concurrency() < 2) {
        run(0, records.size(), matches);
        return matches;
    }
    const qsizetype half = records.size() / 2;
    QList<VisualMatch> second;
    std::thread helper([&] { run(half, records.size(), second); });
    run(0, half, matches);
    helper.join();
    matches.append(std::move(second));
    return matches;
}

void sortBest(QList<VisualMatch>& matches)
{
    std::stable_sort(matches.begin(), matches.end(),
                     [](const VisualMatch& a, const VisualMatch& b) { return a.score > b.score; });
}

// Scores the folded record text against words; none unless every word occurs.
std::optional<VisualMatch> textMatch(const QStringList& words, const ImageRecord& record)
{
    if (words.isEmpty() || record.failed || record.folded.isEmpty()) return std::nullopt;
    int places = 0;
    for (const QString& word : words) {
        const int n = occurrences(record.folded, word);
        if (n == 0) return std::nullopt;
        places += n;
    }
    VisualMatch match;
    match.path = record.path;
    match.score = kTextBase + kTextPerPlace * float(places);
    match.matched = int(words.size());
    for (const QString& word : words) match.reasons.append(QStringLiteral("“%1” in text").arg(word));
    return match;
}

std::span<const float> floatsOf(const QByteArray& blob, std::vector<float>& scratch)
{
    const size_t count = size_t(blob.size()) / sizeof(float);
    if (reinterpret_cast<quintptr>(blob.constData()) % alignof(float) == 0)
        return {reinterpret_cast<const float*>(blob.constData()), count};
    scratch.resize(count);
    if (count > 0) std::memcpy(scratch.data(), blob.constData(), count * sizeof(float));
    return scratch;
}

}  // namespace

QString rawValue(Mode mode)
{
    switch (mode) {
    case Mode::everything: return QStringLiteral("everything");
    case Mode::text: return QStringLiteral("text");
    case Mode::describe: return QStringLiteral("describe");
    }
    return {};
}

QString title(Mode mode)
{
    switch (mode) {
    case Mode::everything: return QStringLiteral("Everything");
    case Mode::text: return QStringLiteral("Words in images");
    case Mode::describe: return QStringLiteral("What’s in them");
    }
    return {};
}

std::optional<Mode> modeFromRawValue(const QString& raw)
{
    for (Mode mode : {Mode::everything, Mode::text, Mode::describe})
        if (rawValue(mode) == raw) return mode;
    return std::nullopt;
}

QList<VisualMatch> search(const QString& query, Mode mode, const QList<ImageRecord>& records)
{
    const LabelEngine engine;
    switch (mode) {
    case Mode::everything: return everything(query, records, engine);
    case Mode::text: return text(query, records);
    case Mode::describe: return describe(query, records, engine);
    }
    return {};
}

QStringList textWords(const QString& query)
{
    static const QRegularExpression blanks(QStringLiteral("\\s+"));
    return Fold::text(query).split(blanks, Qt::SkipEmptyParts);
}

QList<VisualMatch> text(const QString& query, const QList<ImageRecord>& records)
{
    const QStringList words = textWords(query);
    if (words.isEmpty()) return {};
    QList<VisualMatch> matches =
        scoreAll(records, [&words](const ImageRecord& record) { return textMatch(words, record); });
    sortBest(matches);
    return matches;
}

QList<VisualMatch> describe(const QString& query, const QList<ImageRecord>& records, const DescriptionEngine& engine)
{
    const VisualQuery parsed = VisualQuery::parse(query);
    if (parsed.isEmpty()) return {};
    QList<VisualMatch> matches =
        scoreAll(records, [&engine, &parsed](const ImageRecord& record) { return engine.score(record, parsed); });
    sortBest(matches);
    return matches;
}

QList<VisualMatch> everything(const QString& query, const QList<ImageRecord>& records, const DescriptionEngine& engine)
{
    QList<VisualMatch> merged = text(query, records);
    QHash<QString, qsizetype> at;
    for (qsizetype i = 0; i < merged.size(); ++i) at.insert(merged[i].path, i);
    for (VisualMatch& match : describe(query, records, engine)) {
        const auto found = at.constFind(match.path);
        if (found == at.cend()) {
            merged.append(std::move(match));
            continue;
        }
        VisualMatch& both = merged[found.value()];
        both.score = std::max(both.score, match.score);
        both.matched = std::max(both.matched, match.matched);
        for (const QString& reason : match.reasons)
            if (!both.reasons.contains(reason)) both.reasons.append(reason);
    }
    sortBest(merged);
    return merged;
}

QList<QRectF> highlights(const QString& query, const ImageRecord& record)
{
    const QStringList words = textWords(query);
    QList<QRectF> boxes;
    if (words.isEmpty()) return boxes;
    for (const TextLine& line : record.lines) {
        const QString folded = Fold::text(line.text);
        for (const QString& word : words) {
            if (folded.contains(word)) {
                boxes.append(QRectF(line.x, line.y, line.w, line.h));
                break;
            }
        }
    }
    return boxes;
}

float distance(std::span<const float> a, std::span<const float> b)
{
    if (a.size() != b.size() || a.empty()) return std::numeric_limits<float>::infinity();
    // Eight independent sums let the compiler keep them in one vector register.
    float lanes[8] = {};
    size_t i = 0;
    for (; i + 8 <= a.size(); i += 8)
        for (size_t k = 0; k < 8; ++k) {
            const float d = a[i + k] - b[i + k];
            lanes[k] += d * d;
        }
    float sum = ((lanes[0] + lanes[1]) + (lanes[2] + lanes[3])) + ((lanes[4] + lanes[5]) + (lanes[6] + lanes[7]));
    for (; i < a.size(); ++i) {
        const float d = a[i] - b[i];
        sum += d * d;
    }
    return std::sqrt(sum);
}

QList<std::pair<QString, float>> similar(const QString& path, const QHash<QString, ImageRecord>& records, int limit,
                                         float maxDistance)
{
    QList<std::pair<QString, float>> near;
    const auto origin = records.constFind(path);
    if (origin == records.cend() || !origin->print || origin->print->size() < qsizetype(sizeof(float))) return near;
    std::vector<float> originScratch;
    std::vector<float> scratch;
    const std::span<const float> reference = floatsOf(*origin->print, originScratch);
    for (auto it = records.cbegin(); it != records.cend(); ++it) {
        if (it.key() == path || !it->print) continue;
        const float d = distance(reference, floatsOf(*it->print, scratch));
        if (d <= maxDistance) near.append({it.key(), d});
    }
    std::sort(near.begin(), near.end(), [](const auto& a, const auto& b) {
        return a.second != b.second ? a.second < b.second : a.first < b.first;
    });
    if (limit >= 0 && near.size() > limit) near.resize(limit);
    return near;
}

std::optional<float> visualScore(const VisualQuery& query, const ImageRecord& record)
{
    static const LabelEngine engine;
    std::optional<float> best;
    if (const auto match = engine.score(record, query)) best = match->score;
    if (const auto match = textMatch(query.words, record); match && (!best || match->score > *best))
        best = match->score;
    return best;
}

std::function<std::function<std::optional<float>(const ImageRecord&)>(const QString& description)> describer()
{
    return [](const QString& description) -> std::function<std::optional<float>(const ImageRecord&)> {
        const VisualQuery query = VisualQuery::parse(description);
        if (query.isEmpty()) return [](const ImageRecord&) { return std::optional<float>(); };
        return [query](const ImageRecord& record) { return visualScore(query, record); };
    };
}

QHash<QString, QString> recognisedText(const ImageIndex& index)
{
    QHash<QString, QString> ocr;
    for (auto it = index.records.cbegin(); it != index.records.cend(); ++it)
        if (!it->failed && !it->folded.isEmpty()) ocr.insert(it.key(), it->folded);
    return ocr;
}

}  // namespace fennic::VisualSearch
