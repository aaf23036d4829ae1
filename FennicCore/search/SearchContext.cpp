#include "SearchContext.h"

#include "SearchMatcher.h"

namespace fennic {

SearchContext::SearchContext() = default;

SearchContext::SearchContext(QHash<QString, QString> ocr) : ocr(std::move(ocr)) { }

SearchContext::SearchContext(QHash<QString, ImageRecord> images, Shelf shelf, DescriptionScorer describe)
    : images(std::move(images)), shelf(std::move(shelf)), describe(std::move(describe))
{
    const QStringList& starred = this->shelf.favourites();
    favourites = QSet<QString>(starred.begin(), starred.end());
}

SearchContext::SearchContext(QHash<QString, ImageRecord> images, QHash<QString, QString> ocr, Shelf shelf,
                             DescriptionScorer describe)
    : SearchContext(std::move(images), std::move(shelf), std::move(describe))
{
    this->ocr = std::move(ocr);
    m_textGivenApart = true;
}

SearchContext::~SearchContext() = default;

const QString* SearchContext::recognisedText(const QString& path) const
{
    if (!ocr.isEmpty()) {
        const auto it = ocr.constFind(path);
        if (it != ocr.constEnd()) return &it.value();
    }
    if (!images.isEmpty() && !m_textGivenApart) {
        const auto it = images.constFind(path);
        if (it != images.constEnd() && !it->searchText().isEmpty()) return &it->searchText();
    }
    return nullptr;
}

void SearchContext::forEachRecognisedText(const std::function<void(const QString&, const QString&)>& visit) const
{
    for (auto it = ocr.cbegin(); it != ocr.cend(); ++it) visit(it.key(), it.value());
    if (m_textGivenApart) return;
    for (auto it = images.cbegin(); it != images.cend(); ++it)
        if (!it->searchText().isEmpty() && !ocr.contains(it.key())) visit(it.key(), it->searchText());
}

std::optional<float> SearchContext::visualScore(const QString& description, const QString& path)
{
    const QString key = description + u'\n' + path;
    const auto cached = scores.constFind(key);
    if (cached != scores.constEnd()) return cached.value();

    std::optional<float> score;
    const auto record = images.constFind(path);
    if (record != images.constEnd() && describe) {
        auto prepared = queries.find(description);
        if (prepared == queries.end()) prepared = queries.insert(description, describe(description));
        if (*prepared) score = (*prepared)(record.value());
    }
    scores.insert(key, score);
    return score;
}

SearchMatcher& SearchContext::matcher(const QList<SearchFilter>& filters)
{
    if (!m_matcher || m_matcherFilters != filters) {
        m_matcher = std::make_unique<SearchMatcher>(filters, *this);
        m_matcherFilters = filters;
    }
    return *m_matcher;
}

}  // namespace fennic
