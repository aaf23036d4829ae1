#include "SearchContext.h"

#include "SearchMatcher.h"

namespace fennic {

SearchContext::SearchContext() = default;

SearchContext::SearchContext(QHash<QString, QString> recognisedText)
{
    m_lookups.recognisedText = std::move(recognisedText);
}

SearchContext::SearchContext(Lookups lookups) : m_lookups(std::move(lookups)) { }

SearchContext::~SearchContext() = default;

const QString* SearchContext::recognisedText(const QString& path) const
{
    const QHash<QString, QString>& text = m_lookups.recognisedText;
    if (text.isEmpty()) return nullptr;
    const auto it = text.constFind(path);
    return it != text.constEnd() ? &it.value() : nullptr;
}

void SearchContext::forEachRecognisedText(const std::function<void(const QString&, const QString&)>& visit) const
{
    const QHash<QString, QString>& text = m_lookups.recognisedText;
    for (auto it = text.cbegin(); it != text.cend(); ++it) visit(it.key(), it.value());
}

bool SearchContext::isFavourite(const QString& path) const
{
    return m_lookups.isFavourite && m_lookups.isFavourite(path);
}

QSet<QString> SearchContext::pathsTagged(const QString& tag) const
{
    return m_lookups.pathsTagged ? m_lookups.pathsTagged(tag) : QSet<QString>();
}

std::optional<float> SearchContext::visualScore(const QString& description, const QString& path)
{
    if (!m_lookups.describe) return std::nullopt;
    const QString key = description + u'\n' + path;
    const auto cached = m_scores.constFind(key);
    if (cached != m_scores.constEnd()) return cached.value();

    auto prepared = m_prepared.find(description);
    if (prepared == m_prepared.end()) prepared = m_prepared.insert(description, m_lookups.describe(description));
    const std::optional<float> score = *prepared ? (*prepared)(path) : std::nullopt;
    m_scores.insert(key, score);
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
