#pragma once

#include "SearchFilter.h"
#include "images/ImageRecord.h"
#include "organise/Shelf.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <functional>
#include <memory>
#include <optional>

namespace fennic {

class SearchMatcher;

// What testing filters needs beyond the file itself: recognised text, image records, the
// shelf (favourites and tags) and the picture-description scores of one search pass. Built
// once per pass and used by that pass alone, on one thread; its caches grow during the pass
// and need no locking. Not copyable: hand it around by reference.
class SearchContext {
public:
    // Scores one image record against a description prepared earlier; none when nothing of the
    // description fits. Expected to take the better of the label score and the score of the
    // description's words against the record's recognised text.
    using RecordScorer = std::function<std::optional<float>(const ImageRecord& record)>;
    // Prepares (parses) a description once per pass and gives the scorer for it. Supplied by
    // whoever builds the context (the image search code); without one, `looks` matches nothing.
    using DescriptionScorer = std::function<RecordScorer(const QString& description)>;

    SearchContext();
    // Recognised text alone (path -> folded text): no image records, an empty shelf.
    explicit SearchContext(QHash<QString, QString> ocr);
    // Image records (whose folded text serves as the recognised text), the shelf and the
    // description scorer. Copies are cheap: the containers are implicitly shared.
    SearchContext(QHash<QString, ImageRecord> images, Shelf shelf, DescriptionScorer describe = {});
    // The same, with the recognised text given apart (path -> folded text of the records that
    // have any): text searches then look only there, which is much quicker when most pictures
    // hold no text.
    SearchContext(QHash<QString, ImageRecord> images, QHash<QString, QString> ocr, Shelf shelf,
                  DescriptionScorer describe = {});
    ~SearchContext();
    SearchContext(const SearchContext&) = delete;
    SearchContext& operator=(const SearchContext&) = delete;

    QHash<QString, QString> ocr;         // path -> folded recognised text (read only)
    QHash<QString, ImageRecord> images;  // path -> image record (read only)
    Shelf shelf;                         // favourites and tags (read only)
    QSet<QString> favourites;            // taken from the shelf once
    DescriptionScorer describe;
    QHash<QString, RecordScorer> queries;         // description -> its prepared scorer
    QHash<QString, std::optional<float>> scores;  // description + "\n" + path -> score

    // The folded recognised text of a file: from `ocr`, else (unless the text was given apart)
    // from its image record; null when there is none.
    const QString* recognisedText(const QString& path) const;

    // Every file's folded recognised text, as recognisedText() would give it, once each.
    void forEachRecognisedText(const std::function<void(const QString& path, const QString& text)>& visit) const;

    // The score of one image for one description, or none when the file has no image record,
    // no scorer is set, or nothing of the description fits. Prepares each description once
    // and scores each (description, path) once per pass; a missing score is cached too.
    std::optional<float> visualScore(const QString& description, const QString& path);

    // The filters prepared for matching, kept while the same list is asked for again.
    SearchMatcher& matcher(const QList<SearchFilter>& filters);

private:
    bool m_textGivenApart = false;
    QList<SearchFilter> m_matcherFilters;
    std::unique_ptr<SearchMatcher> m_matcher;
};

}  // namespace fennic
