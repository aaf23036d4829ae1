#include "UpdateFeed.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <cmath>

namespace fennic {
namespace {

// A JSON number that is a whole byte count. JSON numbers are doubles, so anything beyond 2^53
// could not have been meant exactly.
std::optional<qint64> byteCount(const QJsonValue& value)
{
    if (!value.isDouble()) return std::nullopt;
    const double d = value.toDouble();
    constexpr double kLargestExact = 9007199254740992.0;
    if (!std::isfinite(d) || d < 0 || d > kLargestExact || std::floor(d) != d) return std::nullopt;
    return static_cast<qint64>(d);
}

std::optional<QString> text(const QJsonObject& object, const char* key)
{
    const QJsonValue value = object.value(QLatin1String(key));
    if (!value.isString()) return std::nullopt;
    return value.toString();
}

}  // namespace

std::optional<UpdateFeed> UpdateFeed::decode(const QByteArray& json)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) return std::nullopt;
    const QJsonObject root = document.object();
    const QJsonValue downloadValue = root.value(QLatin1String("download"));
    if (!downloadValue.isObject()) return std::nullopt;
    const QJsonObject download = downloadValue.toObject();

    UpdateFeed feed;
    const auto version = text(root, "version");
    const auto downloadUrl = text(download, "url");
    const auto length = byteCount(download.value(QLatin1String("length")));
    const auto signature = text(download, "edSignature");
    if (!version || version->trimmed().isEmpty() || !downloadUrl || downloadUrl->isEmpty() || !length || !signature)
        return std::nullopt;
    feed.version = version->trimmed();
    feed.url = text(root, "url").value_or(QString());
    feed.notes = text(root, "notes").value_or(QString());
    const auto minimum = text(root, "minimumSystemVersion");
    if (minimum && !minimum->trimmed().isEmpty()) feed.minimumSystemVersion = minimum->trimmed();
    feed.download = UpdateDownload{*downloadUrl, *length, *signature};
    return feed;
}

QByteArray UpdateFeed::encode() const
{
    QJsonObject root;
    root.insert(QLatin1String("version"), version);
    root.insert(QLatin1String("url"), url);
    root.insert(QLatin1String("notes"), notes);
    if (minimumSystemVersion) root.insert(QLatin1String("minimumSystemVersion"), *minimumSystemVersion);
    QJsonObject archive;
    archive.insert(QLatin1String("url"), download.url);
    archive.insert(QLatin1String("length"), double(download.length));
    archive.insert(QLatin1String("edSignature"), download.edSignature);
    root.insert(QLatin1String("download"), archive);
    return QJsonDocument(root).toJson(QJsonDocument::Indented);
}

}  // namespace fennic
