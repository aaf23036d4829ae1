#pragma once

#include "SearchFilter.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <functional>
#include <memory>
#include <optional>

namespace fennic {

class SearchMatcher;

// What testing filters needs beyond the file itself: recognised text, favourites, tags and the
// picture-description scores of one search pass. Search knows neither the image index nor the
// shelf; whoever owns them hands in small lookups (see context/SearchSources.h for the one over
// both). Built once per pass and used by that pass alone, on one thread; its caches grow during
// the pass and need no locking. Not copyable: hand it around by reference.
class SearchContext {
public:
    // Scores one file against a description prepared earlier; none when the file has no image
    // record or nothing of the description fits.
    using PathScorer = std::function<std::optional<float>(const QString& path)>;
    // Prepares (parses) a description once per pass and gives the scorer for it.
    using DescriptionScorer = std::function<PathScorer(const QString& description)>;

    // Everything a pass reads of the outside world. Each member may be left empty: no text in
    // pictures, no favourites, no tags, and `looks` then matches nothing. The lookups are
    // called on the pass's thread and must stay valid for the pass; the containers are
    // implicitly shared, so filling them from the owner's own maps copies nothing.
    struct Lookups {
        // Path -> folded recognised text, only for files that have some.
        QHash<QString, QString> recognisedText;
        // Whether the file is starred.
        std::function<bool(const QString& path)> isFavourite;
        // The paths carrying a tag as typed (the lookup normalises it).
        std::function<QSet<QString>(const QString& tag)> pathsTagged;
        DescriptionScorer describe;
    };

    SearchContext();
    // Recognised text alone (path -> folded text).
    explicit SearchContext(QHash<QString, QString> recognisedText);
    explicit SearchContext(Lookups lookups);
    ~SearchContext();
    SearchContext(const SearchContext&) = delete;
    SearchContext& operator=(const SearchContext&) = delete;

    // The folded recognised text of a file; null when there is none.
    const QString* recognisedText(const QString& path) const;
    // Every file's folded recognised text, once each.
    void forEachRecognisedText(const std::function<void(const QString& path, const QString& text)>& visit) const;
    bool isFavourite(const QString& path) const;
    QSet<QString> pathsTagged(const QString& tag) const;

    // The score of one image for one description, or none when no scorer is set or the scorer
    // has none. Prepares each description once and scores each (description, path) once per
    // pass; a missing score is cached too.
    std::optional<float> visualScore(const QString& description, const QString& path);

    // The filters prepared for matching, kept while the same list is asked for again.
    SearchMatcher& matcher(const QList<SearchFilter>& filters);

private:
    Lookups m_lookups;
    QHash<QString, PathScorer> m_prepared;          // description -> its prepared scorer
    QHash<QString, std::optional<float>> m_scores;  // description + "\n" + path -> score
    QList<SearchFilter> m_matcherFilters;
    std::unique_ptr<SearchMatcher> m_matcher;
};

}  // namespace fennic
