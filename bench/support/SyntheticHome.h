#pragma once

#include "model/Date.h"
#include "model/FileItem.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

// A deterministic synthetic home folder for benchmarks: the six library folders with nested
// photo albums, screenshots, documents, source trees, downloads with where-from attributes,
// videos and music, plus what a scan must leave out (dependency and build folders, version
// control data, hidden files, symbolic links, sync placeholders, photo libraries) and an
// Applications folder with bundles and AppImages.
//
// The same (fileCount, seed) always gives the same plan. Dates are kept as ages (seconds
// before a `now` chosen later), so one plan serves any clock: write() ages them from the
// current time, items() from the `now` it is given.
namespace fennic::bench {

struct PlannedFile {
    enum class Type : quint8 {
        file,     // a regular file (logically `size` bytes; written sparse)
        symlink,  // a symbolic link to `linkTarget`; never listed
        package,  // a folder shown as one file; its contents come before it in the plan
    };

    QString relativePath;  // "/"-separated, relative to the home root, e.g. "Downloads/a.pdf"
    Type type = Type::file;
    // Whether a scan lists it: a package once (with the summed size of its contents), a file
    // only outside packages, skipped folders and hidden folders.
    bool listed = false;
    qint64 size = 0;  // file: logical size; package: sum of the sizes of its files
    double createdAgo = 0;
    double modifiedAgo = 0;
    double addedAgo = 0;
    std::optional<double> accessedAgo;  // applications: when last opened
    QStringList whereFrom;              // download origin: [own URL, referrer]
    bool carriedOverWhereFrom = false;  // stored as a property list, as copied from a Mac
    bool captureAttribute = false;      // carries the carried-over screen-capture attribute
    QString linkTarget;
};

// The library folders and application folders of a home root, as a scan is given them.
QStringList roots(const QString& root);
QStringList appFolders(const QString& root);

// A plan with exactly `fileCount` items listed from the roots, plus about an eighth more
// entries that a scan must leave out, plus eleven applications in "Applications" (and a few
// entries there that are not applications).
QList<PlannedFile> plan(int fileCount, quint32 seed);

// Writes the plan below `root` (created as needed): sparse files with their sizes, times
// (modification and access; creation and status-change times are the writing time, Linux can't
// set them), where-from and screen-capture attributes, links. Then a marker file
// ".fennic-synthetic-home" naming count and seed. Returns false if anything failed.
bool write(const QString& root, const QList<PlannedFile>& plan, int fileCount, quint32 seed);
// Whether `root` already holds a complete tree written for (fileCount, seed).
bool isWritten(const QString& root, int fileCount, quint32 seed);

// The items a scan of the written tree gives (roots first, then applications), built in
// memory from the plan: for benchmarks that need a realistic library without touching the
// disk. Dates are `now` minus the planned ages (a scan of the disk sees the writing time as
// creation and added date instead).
QList<FileItem> items(const QString& root, const QList<PlannedFile>& plan, Date now);

}  // namespace fennic::bench
