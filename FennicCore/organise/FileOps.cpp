#include "FileOps.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

namespace fennic::FileOps {
namespace {

LogSink& logSink()
{
    static LogSink sink;
    return sink;
}

void log(const QString& line)
{
    if (const LogSink& sink = logSink()) {
        sink(line);
        return;
    }
    ::syslog(LOG_USER | LOG_WARNING, "%s", line.toUtf8().constData());
}

QByteArray native(const QString& path) { return QFile::encodeName(path); }

bool exists(const QString& path)
{
    struct stat st { };
    // Not following links: a dangling link still occupies its place.
    return ::lstat(native(path).constData(), &st) == 0 || errno != ENOENT;
}

bool makeFolder(const QString& path)
{
    if (::mkdir(native(path).constData(), 0700) == 0) return true;
    return errno == EEXIST && QFileInfo(path).isDir();
}

// The Trash folder holding `trashed` (".../Trash/files/NAME" gives ".../Trash"), when the
// path really lies in the "files" folder of a home or volume Trash.
std::optional<QString> trashFolderOf(const QString& trashed, const std::optional<QString>& home)
{
    if (!QDir::isAbsolutePath(trashed)) return std::nullopt;
    const QString clean = QDir::cleanPath(trashed);
    const QFileInfo files(QFileInfo(clean).path());
    if (files.fileName() != u"files") return std::nullopt;
    const QString trash = files.path();
    const QString name = QFileInfo(trash).fileName();
    const QString parentName = QFileInfo(QFileInfo(trash).path()).fileName();
    const bool isHome = home && QDir::cleanPath(*home) == trash;
    const bool isVolume = name.startsWith(u".Trash-") || parentName == u".Trash";
    if (!isHome && !isVolume) return std::nullopt;
    return trash;
}

QString infoFileOf(const QString& trashFolder, const QString& trashed)
{
    return trashFolder + QStringLiteral("/info/") + QFileInfo(trashed).fileName() + QStringLiteral(".trashinfo");
}

// Folders that a Trash fallback may make under the working folder, and whether they were
// there before, so that only what the fallback made is removed again.
struct StrayFolders {
    QString files = QDir::current().absoluteFilePath(QStringLiteral("files"));
    QString info = QDir::current().absoluteFilePath(QStringLiteral("info"));
    bool hadFiles = exists(files);
    bool hadInfo = exists(info);

    void tidy() const
    {
        // rmdir removes only empty folders; a folder that holds anything stays.
        if (!hadFiles) ::rmdir(native(files).constData());
        if (!hadInfo) ::rmdir(native(info).constData());
    }
};

// The file went somewhere that is not a Trash (a Trash that could not be set up makes Qt fall
// back to the working folder): bring it home again and drop the stray entry. Returns the
// reason to report.
QString undoStrayMove(const QString& original, const QString& stray, const StrayFolders& folders)
{
    const QString where = QFileInfo(stray).absoluteFilePath();
    if (!exists(where)) return QStringLiteral("The Trash could not be used.");
    if (!moveNoReplace(where, original))
        return QStringLiteral("The Trash could not be used, and the file was left at ") + where + u'.';
    QFile::remove(QFileInfo(QFileInfo(where).path()).path()
                  + QStringLiteral("/info/") + QFileInfo(where).fileName() + QStringLiteral(".trashinfo"));
    folders.tidy();
    return QStringLiteral("The Trash could not be used.");
}

}  // namespace

bool moveNoReplace(const QString& from, const QString& to)
{
    const QByteArray src = native(from);
    const QByteArray dst = native(to);
    if (::renameat2(AT_FDCWD, src.constData(), AT_FDCWD, dst.constData(), RENAME_NOREPLACE) == 0) return true;
    if (errno != EINVAL && errno != ENOSYS) return false;
    // A file system without the no-replace flag: a hard link fails on an existing name, and
    // for a folder the last-moment check is the best that remains.
    if (::link(src.constData(), dst.constData()) == 0) {
        if (::unlink(src.constData()) == 0) return true;
        const int saved = errno;
        ::unlink(dst.constData());
        errno = saved;
        return false;
    }
    if (exists(to)) {
        errno = EEXIST;
        return false;
    }
    return ::rename(src.constData(), dst.constData()) == 0;
}

void setLogSink(LogSink sink) { logSink() = std::move(sink); }

std::optional<QString> homeTrash()
{
    QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (data.isEmpty()) return std::nullopt;
    if (!QDir().mkpath(data)) return std::nullopt;
    const QString trash = data + QStringLiteral("/Trash");
    if (!makeFolder(trash)
        || !makeFolder(trash + QStringLiteral("/files")) || !makeFolder(trash + QStringLiteral("/info")))
        return std::nullopt;
    return trash;
}

TrashResult trash(const QList<FileItem>& items)
{
    TrashResult result;
    if (items.isEmpty()) return result;
    // Set up before the first move: without it Qt cannot make the home Trash and puts the
    // file into "files/" under the working folder instead.
    const std::optional<QString> home = homeTrash();
    std::optional<StrayFolders> stray;
    if (!home) stray.emplace();
    for (const FileItem& item : items) {
        QString reason;
        if (!exists(item.path)) {
            reason = QString::fromLocal8Bit(std::strerror(ENOENT));
        } else {
            QFile file(item.path);
            if (file.moveToTrash()) {
                const QString location = file.fileName();
                if (trashFolderOf(location, home)) {
                    result.moved.append(TrashedItem{item, QDir::cleanPath(location)});
                    continue;
                }
                reason = undoStrayMove(item.path, location, stray.value_or(StrayFolders()));
            } else {
                reason = file.errorString();
                if (reason.isEmpty() || reason == u"Unknown error")
                    reason = QStringLiteral("The file could not be moved.");
            }
        }
        result.failed.append(item);
        result.reasons.append(reason);
        log(QStringLiteral("Fennic: could not trash ") + item.path + QStringLiteral(": ") + reason);
    }
    return result;
}

QList<FileItem> putBack(const QList<TrashedItem>& moved)
{
    QList<FileItem> restored;
    const std::optional<QString> home = homeTrash();
    for (const TrashedItem& pair : moved) {
        if (!pair.trashed) continue;
        const QString& destination = pair.item.path;
        if (exists(destination)) continue;  // never overwrite whatever took the old place
        if (!QDir().mkpath(QFileInfo(destination).path())) continue;
        if (!moveNoReplace(*pair.trashed, destination)) continue;
        if (const auto folder = trashFolderOf(*pair.trashed, home)) QFile::remove(infoFileOf(*folder, *pair.trashed));
        restored.append(pair.item);
    }
    return restored;
}

}  // namespace fennic::FileOps
