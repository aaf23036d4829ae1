#include "Library.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <climits>
#include <cstdlib>
#include <mutex>
#include <shared_mutex>

namespace fennic::Library {
namespace {

struct Overrides {
    std::shared_mutex mutex;
    std::optional<QString> home;
    std::optional<QStringList> appFolders;
};

Overrides& overrides()
{
    static Overrides o;
    return o;
}

QString withoutTrailingSlash(QString path)
{
    while (path.size() > 1 && path.endsWith(u'/')) path.chop(1);
    return path;
}

QString userFolder(QStandardPaths::StandardLocation location, const QString& name, const QString& homePath)
{
    QString folder = withoutTrailingSlash(QStandardPaths::writableLocation(location));
    if (folder.isEmpty() || folder == homePath || !folder.startsWith(u'/')) folder = homePath + u'/' + name;
    return folder;
}

}  // namespace

const QStringList& defaultFolderNames()
{
    static const QStringList names{"Desktop", "Documents", "Downloads", "Pictures", "Movies", "Music"};
    return names;
}

std::optional<QString> homeOverride()
{
    std::shared_lock lock(overrides().mutex);
    return overrides().home;
}

void setHomeOverride(std::optional<QString> folder)
{
    std::unique_lock lock(overrides().mutex);
    overrides().home = folder ? std::optional(withoutTrailingSlash(*folder)) : std::nullopt;
}

std::optional<QStringList> appFoldersOverride()
{
    std::shared_lock lock(overrides().mutex);
    return overrides().appFolders;
}

void setAppFoldersOverride(std::optional<QStringList> folders)
{
    std::unique_lock lock(overrides().mutex);
    overrides().appFolders = std::move(folders);
}

QString home()
{
    if (auto h = homeOverride()) return *h;
    return withoutTrailingSlash(QDir::homePath());
}

bool isOverridden() { return homeOverride().has_value(); }

QStringList defaultRoots()
{
    const QString h = home();
    const QStringList& names = defaultFolderNames();
    if (isOverridden()) {
        QStringList roots;
        for (const QString& name : names) roots << h + u'/' + name;
        return roots;
    }
    return {
        userFolder(QStandardPaths::DesktopLocation, names[0], h),
        userFolder(QStandardPaths::DocumentsLocation, names[1], h),
        userFolder(QStandardPaths::DownloadLocation, names[2], h),
        userFolder(QStandardPaths::PicturesLocation, names[3], h),
        userFolder(QStandardPaths::MoviesLocation, QStringLiteral("Videos"), h),
                   userFolder(QStandardPaths::MusicLocation, names[5], h),
        };
}

QString downloads()
{
    if (isOverridden()) return home() + QStringLiteral("/Downloads");
    return userFolder(QStandardPaths::DownloadLocation, QStringLiteral("Downloads"), home());
}

QStringList appFolders()
{
    if (auto folders = appFoldersOverride()) return *folders;
    return {QStringLiteral("/Applications"), home() + QStringLiteral("/Applications")};
}

QString realPath(const QString& folder)
{
    char resolved[PATH_MAX];
    const QByteArray encoded = QFile::encodeName(folder);
    if (::realpath(encoded.constData(), resolved) == nullptr) return folder;
    QString result = QFile::decodeName(resolved);
    if (!result.startsWith(u'/')) return folder;
    return result;
}

QString abbreviate(const QString& path)
{
    const QString h = home();
    if (path == h) return QStringLiteral("~");
    if (h != u"/" && path.startsWith(h) && path.size() > h.size() && path.at(h.size()) == u'/')
        return u'~' + path.mid(h.size());
    return path;
}

}  // namespace fennic::Library
