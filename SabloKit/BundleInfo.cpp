#include "BundleInfo.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

namespace fennic {
namespace {

constexpr const char* kIdentifier = "CFBundleIdentifier";
constexpr const char* kVersion = "CFBundleShortVersionString";
constexpr const char* kFeedUrl = "SabloUpdateFeedURL";
constexpr const char* kPublicKey = "SabloUpdatePublicKey";

QString text(const QJsonObject& object, const char* key) { return object.value(QLatin1String(key)).toString(); }

}  // namespace

std::optional<BundleInfo> BundleInfo::decode(const QByteArray& json)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) return std::nullopt;
    const QJsonObject root = document.object();
    BundleInfo info{text(root, kIdentifier), text(root, kVersion), text(root, kFeedUrl), text(root, kPublicKey)};
    if (info.identifier.isEmpty() || info.shortVersion.isEmpty()) return std::nullopt;
    return info;
}

QByteArray BundleInfo::encode() const
{
    QJsonObject root;
    root.insert(QLatin1String(kIdentifier), identifier);
    root.insert(QLatin1String(kVersion), shortVersion);
    root.insert(QLatin1String(kFeedUrl), feedUrl);
    root.insert(QLatin1String(kPublicKey), publicKey);
    return QJsonDocument(root).toJson(QJsonDocument::Indented);
}

std::optional<BundleInfo> BundleInfo::read(const QString& folder)
{
    QFile file(QDir(folder).filePath(QLatin1String(kFileName)));
    // The file is a few hundred bytes; anything large is not ours.
    constexpr qint64 kLargest = qint64{64} * 1024;
    if (!file.open(QIODevice::ReadOnly) || file.size() > kLargest) return std::nullopt;
    return decode(file.readAll());
}

bool BundleInfo::write(const QString& folder) const
{
    QSaveFile file(QDir(folder).filePath(QLatin1String(kFileName)));
    if (!file.open(QIODevice::WriteOnly)) return false;
    file.write(encode());
    return file.commit();
}

BundleLocation BundleLocation::ofRunningApplication(const QString& executableFolder)
{
    const QString binFolder = executableFolder.isEmpty() ? QCoreApplication::applicationDirPath() : executableFolder;
    const QString folder = QFileInfo(binFolder + QStringLiteral("/..")).canonicalFilePath();
    if (folder.isEmpty() || !QFileInfo::exists(QDir(folder).filePath(QLatin1String(BundleInfo::kFileName)))) {
        if (folder == u"/usr" || folder.startsWith(u"/usr/"))
            return {{}, QStringLiteral("Updated by the system’s package manager")};
        return {{}, QStringLiteral("Updates are off: this copy wasn’t installed from a release")};
    }
    if (!BundleInfo::read(folder))
        return {{}, QStringLiteral("Updates are off: the app’s information file is damaged")};
    return {folder, {}};
}

}  // namespace fennic
