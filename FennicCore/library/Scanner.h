#pragma once

#include "library/CaptureDate.h"
#include "model/FileItem.h"

#include <QByteArray>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>

namespace fennic {

// What one directory entry tells about itself, read with one statx call that never follows a
// symbolic link. Values the file system does not report are absent.
struct EntryValues {
    bool isDirectory = false;
    bool isPackage = false;  // a directory whose extension marks it as one document
    bool isRegularFile = false;
    bool isSymbolicLink = false;
    bool isCloudPlaceholder = false;  // a sync client's stand-in for a file not downloaded
    std::optional<qint64> fileSize;
    std::optional<qint64> allocatedSize;
    std::optional<Date> created;
    std::optional<Date> modified;
    std::optional<Date> added;
    std::optional<Date> accessed;
};

// Walks the library's folders and turns every file worth showing into a FileItem.
// An immutable value: scan() may run on any thread and reports progress on that thread.
//
// The walk reads each folder once (names sorted, so that results and a capped walk are always
// the same) and makes one statx per entry, relative to the open folder, never following a
// link. Reading a file's extended attributes costs a second lookup about as dear as its statx,
// so a scan hands the accepted entries in order to one helper thread that reads attributes and
// builds the items while the walk goes on.
class Scanner {
public:
    static constexpr int kDefaultMaxItems = 250000;
    static constexpr int kProgressEvery = 500;

    Scanner(QStringList roots, QStringList appFolders, int maxItems = kDefaultMaxItems);

    const QStringList& roots() const { return m_roots; }
    const QStringList& appFolders() const { return m_appFolders; }
    int maxItems() const { return m_maxItems; }

    // Camera dates learnt by an earlier scan: a picture whose size and modification time are
    // unchanged takes its date from here instead of being opened again.
    void setKnownDates(std::shared_ptr<const CaptureDate::Memory> known) { m_knownDates = std::move(known); }

    // The walk: roots first (standardised, redundant roots dropped, symbolic links never
    // followed, hidden entries, skipped folders, skipped packages, sync placeholders and names
    // that are not UTF-8 left out, at most maxItems items, in depth-first name order), then
    // the applications of appFolders (not counted against maxItems). `progress` gets the
    // running count every 500 items, on the calling thread. Setting `cancel` stops the walk
    // early and returns what was found so far. Blocking; never fails: anything unreadable is
    // skipped. Uses one helper thread for the duration of the call. Every picture that may
    // carry a camera date gets it (`taken`, `takenFrom`), read or remembered.
    QList<FileItem> scan(const std::function<void(int)>& progress = {},
                         const std::atomic<bool>* cancel = nullptr) const;

    // Builds an item from a path and its already read values (attributes, a picture's camera
    // date and, for a package, its size are read here); none when the path holds unpaired surrogates and so names no
    // file faithfully.
    static std::optional<FileItem> makeItem(const QString& path, const EntryValues& values);
    // Reads the values of one path first (without following a final link); none when they
    // can't be read, e.g. the file has vanished.
    static std::optional<FileItem> makeItem(const QString& path);
    static std::optional<EntryValues> readValues(const QString& path);

    // The download origin: a carried-over where-from property list when present, otherwise
    // [origin URL, referrer URL] from the freedesktop attributes (absent ones left out).
    static QStringList whereFroms(const QString& path);
    static bool isScreenshot(const QString& path, const QString& name, const QString& ext);
    // Sum of the sizes of everything below a folder (hidden files included, links not).
    static qint64 directorySize(const QString& path);
    // When an application was last opened: its access time, none when the file system is
    // mounted without access times.
    static std::optional<Date> lastUsedDate(const QString& path);
    // Exif model, else make, of an image (libexiv2); none when unreadable or absent. Reads the
    // file: call it off the GUI thread.
    static std::optional<QString> cameraModel(const QString& path);
    // Raw value of one extended attribute (of the link target); none if absent or empty.
    static std::optional<QByteArray> xattrData(const QString& path, const char* name);

    static const QSet<QString>& skippedDirectories();
    static const QSet<QString>& skippedPackages();
    static const QSet<QString>& packageExtensions();  // every extension that makes a folder a package
    static const QSet<QString>& screenshotExtensions();

private:
    QStringList m_roots;
    QStringList m_appFolders;
    int m_maxItems;
    std::shared_ptr<const CaptureDate::Memory> m_knownDates;
};

}  // namespace fennic
