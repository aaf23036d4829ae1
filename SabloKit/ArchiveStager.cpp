#include "ArchiveStager.h"
#include "BundleInfo.h"
#include "BundleManifest.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <archive.h>
#include <archive_entry.h>
#include <memory>
#include <optional>
#include <sys/stat.h>

namespace fennic::ArchiveStager {
namespace {

const QString kNoApp = QStringLiteral("The update didn’t contain an app.");
const QString kUnsafe =
    QStringLiteral("The update contained a file that would land outside its folder, so it wasn’t installed.");
const QString kUnreadable = QStringLiteral("The update couldn’t be opened.");
const QString kNoSpace = QStringLiteral("The update couldn’t be unpacked.");
const QString kMismatch = QStringLiteral("The downloaded update didn’t match this app.");
const QString kDamaged = QStringLiteral("The downloaded app’s code signature is damaged.");

using ReadArchive = std::unique_ptr<struct archive, decltype(&archive_read_free)>;
using WriteArchive = std::unique_ptr<struct archive, decltype(&archive_write_free)>;

// Whether a relative path, taken lexically, stays inside the folder it is relative to.
bool staysInside(const QString& relative)
{
    if (relative.isEmpty() || relative.startsWith(u'/')) return false;
    const QString clean = QDir::cleanPath(relative);
    return clean != u".." && !clean.startsWith(u"../");
}

bool hasDotDot(const QString& path)
{
    for (const QString& part : path.split(u'/'))
        if (part == u"..") return true;
    return false;
}

// Why `entry` may not be expanded, or none when it is safe.
std::optional<QString> refusal(struct archive_entry* entry)
{
    const char* rawPath = archive_entry_pathname(entry);
    if (!rawPath) return kUnreadable;
    const QString path = QFile::decodeName(rawPath);
    if (path.startsWith(u'/') || hasDotDot(path)) return kUnsafe;
    if (const char* hardlink = archive_entry_hardlink(entry)) {
        const QString target = QFile::decodeName(hardlink);
        if (target.startsWith(u'/') || hasDotDot(target)) return kUnsafe;
        return std::nullopt;
    }
    switch (archive_entry_filetype(entry)) {
    case AE_IFREG:
    case AE_IFDIR: return std::nullopt;
    case AE_IFLNK: {
        const char* rawTarget = archive_entry_symlink(entry);
        if (!rawTarget) return kUnsafe;
        const QString target = QFile::decodeName(rawTarget);
        if (target.startsWith(u'/')) return kUnsafe;
        const QString parent = QFileInfo(path).path();
        if (!staysInside(parent == u"." ? target : parent + u'/' + target)) return kUnsafe;
        return std::nullopt;
    }
    default: return kUnsafe;
    }
}

// Expands the zip at `zipPath` into `folder`; returns the failure, if any.
std::optional<QString> expand(const QString& zipPath, const QString& folder)
{
    ReadArchive reader(archive_read_new(), &archive_read_free);
    WriteArchive writer(archive_write_disk_new(), &archive_write_free);
    if (!reader || !writer) return kUnreadable;
    archive_read_support_format_zip(reader.get());
    // Ownership is never restored: the application belongs to the user who updates it. The
    // entries' own paths were checked by refusal(); the paths written are absolute because
    // they are prefixed with the staging folder (changing the working folder would affect
    // the whole process), so only the link and ".." guards are asked of libarchive.
    archive_write_disk_set_options(writer.get(),
                                   ARCHIVE_EXTRACT_TIME | ARCHIVE_EXTRACT_PERM | ARCHIVE_EXTRACT_SECURE_SYMLINKS
                                       | ARCHIVE_EXTRACT_SECURE_NODOTDOT);
    if (archive_read_open_filename(reader.get(), QFile::encodeName(zipPath).constData(), std::size_t{64} * 1024)
        != ARCHIVE_OK)
        return kUnreadable;
    const QByteArray root = QFile::encodeName(folder) + '/';
    for (;;) {
        struct archive_entry* entry = nullptr;
        const int status = archive_read_next_header(reader.get(), &entry);
        if (status == ARCHIVE_EOF) break;
        if (status != ARCHIVE_OK && status != ARCHIVE_WARN) return kUnreadable;
        if (auto why = refusal(entry)) return why;
        archive_entry_set_pathname(entry, (root + archive_entry_pathname(entry)).constData());
        if (const char* hardlink = archive_entry_hardlink(entry))
            archive_entry_set_hardlink(entry, (root + hardlink).constData());
        if (archive_write_header(writer.get(), entry) != ARCHIVE_OK) return kNoSpace;
        if (archive_entry_size(entry) > 0) {
            const void* block = nullptr;
            size_t size = 0;
            la_int64_t offset = 0;
            for (;;) {
                const int r = archive_read_data_block(reader.get(), &block, &size, &offset);
                if (r == ARCHIVE_EOF) break;
                if (r != ARCHIVE_OK && r != ARCHIVE_WARN) return kUnreadable;
                if (archive_write_data_block(writer.get(), block, size, offset) != ARCHIVE_OK) return kNoSpace;
            }
        }
        if (archive_write_finish_entry(writer.get()) != ARCHIVE_OK) return kNoSpace;
    }
    if (archive_write_close(writer.get()) != ARCHIVE_OK) return kNoSpace;
    return std::nullopt;
}

}  // namespace

StagedUpdate stage(const QByteArray& archive, const QString& stagingFolder)
{
    QDir staging(stagingFolder);
    if ((staging.exists() && !staging.removeRecursively()) || !QDir().mkpath(stagingFolder)) return {{}, kNoSpace};
    const QString zipPath = staging.filePath(QStringLiteral("update.zip"));
    QSaveFile zip(zipPath);
    if (!zip.open(QIODevice::WriteOnly) || zip.write(archive) != archive.size() || !zip.commit()) return {{}, kNoSpace};
    if (auto failure = expand(zipPath, stagingFolder)) return {{}, *failure};

    const QStringList folders = staging.entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden, QDir::Name);
    for (const QString& name : folders) {
        const QString candidate = staging.filePath(name);
        if (QFileInfo(candidate).isSymLink()) continue;
        if (QFileInfo::exists(QDir(candidate).filePath(QLatin1String(BundleInfo::kFileName)))) return {candidate, {}};
    }
    return {{}, kNoApp};
}

QString validate(const QString& appFolder, const QString& identifier, const QString& version)
{
    const auto info = BundleInfo::read(appFolder);
    if (!info || info->identifier != identifier || info->shortVersion != version) return kMismatch;
    if (!BundleManifest::matches(appFolder)) return kDamaged;
    return {};
}

}  // namespace fennic::ArchiveStager
