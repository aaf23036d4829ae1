#include "BestMatches.h"

#include "app/AppModel.h"
#include "app/LibraryModel.h"
#include "app/SearchSession.h"
#include "library/Library.h"
#include "model/Fold.h"
#include "search/SearchIndex.h"
#include "search/SearchParser.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace fennic {
namespace {

// Points for one word of the request against a folded name.
constexpr int kWhole = 4;   // the name, or its stem, is the word
constexpr int kStart = 3;   // the name begins with it
constexpr int kInside = 2;  // a word inside the name begins with it ("q3-invoice")
constexpr int kPart = 1;    // the name holds it somewhere

bool isWordChar(char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || (c & 0x80); }

int wordScore(std::string_view name, std::string_view word)
{
    const size_t dot = name.rfind('.');
    const std::string_view stem = dot == std::string_view::npos || dot == 0 ? name : name.substr(0, dot);
    if (name == word || stem == word) return kWhole;
    if (name.starts_with(word)) return kStart;
    int best = 0;
    for (size_t at = name.find(word); at != std::string_view::npos; at = name.find(word, at + 1)) {
        if (!isWordChar(name[at - 1])) return kInside;
        best = kPart;
    }
    return best;
}

struct Ranked {
    int score;
    int weakest;  // the lowest score of one word
    Date modified;
    qsizetype position;
};

}  // namespace

QString BestMatches::requestFor(const QStringList& terms) { return terms.join(u' ').simplified(); }

QList<BestMatch> BestMatches::find(AppModel& app, const QString& request, qsizetype limit)
{
    if (limit <= 0 || request.trimmed().isEmpty()) return {};
    const AppEnvironment& env = app.environment();
    const ParsedQuery parsed = SearchParser::parse(request, env.now(), env.calendar(), Library::home());
    if (parsed.filters.isEmpty()) return {};

    std::vector<std::string> words;
    for (const SearchFilter& filter : parsed.filters)
        if (const auto* text = filter.as<SearchFilter::Text>())
            for (const QString& word : text->words.split(u' ', Qt::SkipEmptyParts))
                words.push_back(Fold::text(word).toStdString());

    const SearchIndex& index = app.library().searchIndex();
    const auto context = app.search().searchContext();
    const std::vector<qsizetype> positions = index.filter(parsed.filters, *context);

    std::vector<Ranked> ranked;
    ranked.reserve(positions.size());
    for (const qsizetype i : positions) {
        const std::string_view path = index.foldedPath(i);
        const std::string_view name = path.substr(path.rfind('/') + 1);
        int score = 0, weakest = kWhole;
        for (const std::string& word : words) {
            const int points = wordScore(name, word);
            score += points;
            weakest = std::min(weakest, points);
        }
        ranked.push_back(Ranked{score, weakest, index.items()[i].modified, i});
    }
    const auto better = [&index](const Ranked& a, const Ranked& b) {
        if (a.score != b.score) return a.score > b.score;
        if (a.modified != b.modified) return a.modified > b.modified;
        return index.items()[a.position].path < index.items()[b.position].path;
    };
    const size_t kept = std::min(ranked.size(), size_t(limit));
    std::partial_sort(ranked.begin(), ranked.begin() + qsizetype(kept), ranked.end(), better);

    QList<BestMatch> out;
    out.reserve(qsizetype(kept));
    const double most = double(kWhole) * double(words.size());
    for (size_t k = 0; k < kept; ++k) {
        const Ranked& r = ranked[k];
        const double relevance = words.empty() ? 0.5 : 0.3 + 0.7 * double(r.score) / most;
        const bool exact = !words.empty() && r.weakest >= kStart;
        out.append(BestMatch{index.items()[r.position], relevance, exact});
    }
    return out;
}

}  // namespace fennic
