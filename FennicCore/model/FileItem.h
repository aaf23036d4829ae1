#pragma once

#include "Date.h"
#include "FileKind.h"

#include <QHashFunctions>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <functional>
#include <optional>

namespace fennic {

// One file (or package folder) of the library. A flat value, copied freely; identity,
// equality and hashing go by `path` alone. The scanner is the only producer of fresh items;
// the library cache stores them as JSON with these field names as keys.
struct FileItem {
    QString path;     // absolute path; also the identity
    QString name;     // last path component, extension included
    QString ext;      // lower-cased extension, empty when none
    qint64 size = 0;  // bytes; for a package, the sum of its contents
    Date created = Date::distantPast();
    Date modified = Date::distantPast();
    Date added = Date::distantPast();
    FileKind kind = FileKind::other;
    bool isScreenshot = false;
    QStringList whereFrom;  // download origin, as stored (own URL first, then the referrer)
    std::optional<QString> sourceKey;
    std::optional<Date> lastUsed;   // applications only
    std::optional<QString> camera;  // filled later from the image's metadata
    // When a photograph was taken, by the camera's own clock (Exif), read during the scan. The
    // library cache's keys are fixed, so these two travel beside it in their own file
    // (CaptureDateFile) and come back with it.
    std::optional<Date> taken;
    enum class TakenFrom : quint8 {
        unread,            // not looked for: not a photograph, or an item whose date was not kept
        fileSystem,        // looked for, none recorded: `created` stands in
        cameraClock,       // Exif DateTimeOriginal read in the local time zone (no offset recorded)
        cameraWithOffset,  // Exif DateTimeOriginal with its OffsetTimeOriginal
    };
    TakenFrom takenFrom = TakenFrom::unread;

    // Seconds by which `added` must exceed `modified` before the edit date is shown instead.
    static constexpr double kAddedLagForModifiedDate = 86400.0;

    const QString& id() const { return path; }
    QUrl url() const { return QUrl::fromLocalFile(path); }
    QString folderPath() const;
    QString folderName() const;
    QString displayName() const;
    // The date shown for the file: `modified` when the file arrived more than a day after its
    // last edit (a copy or download of an old file), otherwise when it arrived.
    Date date() const { return (added - modified) > kAddedLagForModifiedDate ? modified : added; }
    // A disk image, installer package or Linux package (".deb", ".rpm", ".flatpak", ".snap",
    // ".run", …): what the clean-up rules and the automatic installer rule propose.
    bool isInstaller() const;
    // When the picture was made: the camera's date when it recorded one, else `created`.
    // Copies made in one go share `created` but keep their cameras' dates.
    Date captureDate() const { return taken.value_or(created); }

    friend bool operator==(const FileItem& a, const FileItem& b) { return a.path == b.path; }
};

// The extension as paths show it: the text after the last "." of the last component, empty
// when there is no dot, the name starts with its only dot, or the name ends in a dot.
QString pathExtension(QStringView name);

inline size_t qHash(const FileItem& item, size_t seed = 0) noexcept { return qHash(item.path, seed); }

}  // namespace fennic

template <> struct std::hash<fennic::FileItem> {
    size_t operator()(const fennic::FileItem& item) const noexcept { return qHash(item.path); }
};
