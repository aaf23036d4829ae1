#pragma once

#include <QByteArray>
#include <QHashFunctions>
#include <QJsonObject>
#include <QJsonValue>
#include <QList>
#include <QString>
#include <QUuid>
#include <optional>

namespace fennic {

// A search kept in the sidebar. It keeps the request text, not the parsed filters, so relative
// dates ("last week") are worked out again whenever it is opened. JSON keys are the field names.
struct SavedSearch {
    QUuid id;       // identity
    QString name;   // shown in the sidebar
    QString query;  // the request text

    // A new saved search with a fresh random id.
    static SavedSearch make(const QString& name, const QString& query);
    // The entry to keep for a typed request: the request trimmed, named after itself with its
    // first character upper-cased. None when it is blank or when `existing` already holds the
    // same query (compared without regard to case).
    static std::optional<SavedSearch> forRequest(const QString& request, const QList<SavedSearch>& existing);

    // {"id": "E621E1F8-C36C-495A-93FC-0C247A3E6E5F", "name": ..., "query": ...}
    QJsonObject toJson() const;
    // None unless the value is an object whose "id" is a UUID and whose "name" and "query" are
    // strings.
    static std::optional<SavedSearch> fromJson(const QJsonValue& value);

    // A JSON array of saved searches.
    static QByteArray encodeList(const QList<SavedSearch>& searches);
    // The entries of a JSON array that decode; an entry that fails is left out, and text that
    // is not a JSON array gives an empty list.
    static QList<SavedSearch> decodeList(const QByteArray& json);

    friend bool operator==(const SavedSearch&, const SavedSearch&) = default;
};

size_t qHash(const SavedSearch& search, size_t seed = 0) noexcept;

}  // namespace fennic
