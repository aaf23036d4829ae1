#include "SearchSources.h"

#include "images/VisualSearch.h"

namespace fennic::SearchSources {

SearchContext::Lookups of(const QHash<QString, ImageRecord>& records, const QHash<QString, QString>& recognisedText,
                          const Shelf& shelf)
{
    SearchContext::Lookups lookups;
    lookups.recognisedText = recognisedText;
    lookups.isFavourite = [shelf](const QString& path) { return shelf.isFavourite(path); };
    lookups.pathsTagged = [shelf](const QString& tag) { return shelf.pathsTagged(tag); };
    lookups.describe = [records,
                        describe = VisualSearch::describer()](const QString& description) -> SearchContext::PathScorer {
        auto scoreRecord = describe(description);
        if (!scoreRecord) return {};
        return [records, scoreRecord = std::move(scoreRecord)](const QString& path) -> std::optional<float> {
            const auto record = records.constFind(path);
            if (record == records.constEnd()) return std::nullopt;
            return scoreRecord(record.value());
        };
    };
    return lookups;
}

SearchContext::Lookups of(const ImageIndex& index, const Shelf& shelf)
{
    return of(index.records, VisualSearch::recognisedText(index), shelf);
}

}  // namespace fennic::SearchSources
