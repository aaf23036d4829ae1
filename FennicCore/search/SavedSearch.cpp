#include "SavedSearch.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>

namespace fennic {

namespace {

// The one written form of a UUID: 8-4-4-4-12 hex digits, no braces. Upper case is written;
// either case is read.
bool isUuidText(const QString& text)
{
    static const QRegularExpression re(
        QStringLiteral("^[0-9a-fA-F]{8}-[0-9a-fA-F]{4}-[0-9a-fA-F]{4}-[0-9a-fA-F]{4}-[0-9a-fA-F]{12}$"));
    return re.match(text).hasMatch();
}

}  // namespace

SavedSearch SavedSearch::make(const QString& name, const QString& query)
{
    return SavedSearch{QUuid::createUuid(), name, query};
}

std::optional<SavedSearch> SavedSearch::forRequest(const QString& request, const QList<SavedSearch>& existing)
{
    const QString query = request.trimmed();
    if (query.isEmpty()) return std::nullopt;
    for (const SavedSearch& s : existing)
        if (s.query.compare(query, Qt::CaseInsensitive) == 0) return std::nullopt;
    // Upper-case the first character (a surrogate pair counts as one).
    const qsizetype first = query.front().isHighSurrogate() && query.size() > 1 ? 2 : 1;
    return make(query.left(first).toUpper() + query.mid(first), query);
}

QJsonObject SavedSearch::toJson() const
{
    return QJsonObject{
        {QStringLiteral("id"), id.toString(QUuid::WithoutBraces).toUpper()},
         {QStringLiteral("name"), name},
          {QStringLiteral("query"), query},
         };
}

std::optional<SavedSearch> SavedSearch::fromJson(const QJsonValue& value)
{
    if (!value.isObject()) return std::nullopt;
    const QJsonObject o = value.toObject();
    const QJsonValue id = o.value(QStringLiteral("id"));
    const QJsonValue name = o.value(QStringLiteral("name"));
    const QJsonValue query = o.value(QStringLiteral("query"));
    if (!id.isString() || !name.isString() || !query.isString()) return std::nullopt;
    if (!isUuidText(id.toString())) return std::nullopt;
    return SavedSearch{QUuid::fromString(id.toString()), name.toString(), query.toString()};
}

QByteArray SavedSearch::encodeList(const QList<SavedSearch>& searches)
{
    QJsonArray array;
    for (const SavedSearch& s : searches) array.append(s.toJson());
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

QList<SavedSearch> SavedSearch::decodeList(const QByteArray& json)
{
    QList<SavedSearch> out;
    const QJsonDocument doc = QJsonDocument::fromJson(json);
    if (!doc.isArray()) return out;
    for (const QJsonValue v : doc.array())
        if (std::optional<SavedSearch> s = fromJson(v)) out.append(*s);
    return out;
}

size_t qHash(const SavedSearch& search, size_t seed) noexcept
{
    return qHashMulti(seed, search.id, search.name, search.query);
}

}  // namespace fennic
