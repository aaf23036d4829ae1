#pragma once

#include "images/ImageRecord.h"
#include "model/FileItem.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>
#include <functional>
#include <optional>
#include <vector>

namespace fennic {

// Every analysed picture, keyed by path, and the file "images.plist" that keeps it across
// runs. A plain value: the indexing task fills a copy off the main thread and hands it back.
// No member touches the disk except load() and save().
struct ImageIndex {
    static constexpr qint64 currentVersion = 3;

    // The extensions of pictures that are read at all, in this order.
    static const QStringList& readableExtensions();
    // Files of this many bytes or more are never read.
    static constexpr qint64 kMaxFileSize = 80'000'000;
    // Modification dates further apart than this (seconds) count as a changed file.
    static constexpr double kModifiedTolerance = 1.0;

    qint64 version = currentVersion;
    QStringList languages;  // recognition languages the index was last built with
    QHash<QString, ImageRecord> records;

    ImageIndex() = default;
    ImageIndex(QStringList languages, QHash<QString, ImageRecord> records);

    // The binary property list form: a dictionary with "version", "languages" and "records";
    // records keyed by path, each with all thirteen record keys ("print" left out when
    // absent), lines as dictionaries of text/x/y/w/h/confidence, dates as native dates.
    // Written and read by BinaryPlistWriter/Reader (any property-list reader reads the file;
    // the tests check libplist); libplist's own writer takes minutes for 20,000 records.
    QByteArray encode() const;
    // None when the data is not a binary property list of this shape, lacks any required
    // key, holds a value of the wrong type, or has a version other than 3.
    static std::optional<ImageIndex> decode(const QByteArray& data);

    // Reads and decodes "images.plist"; none when missing, unreadable, damaged or of
    // another version (the caller then starts afresh). Any thread.
    static std::optional<ImageIndex> load(const QString& file);

    struct SaveResult {
        bool ok = false;
        QString error;  // what went wrong, for the log; empty on success
        explicit operator bool() const { return ok; }
    };
    // Creates the parent folders, encodes and writes atomically (temporary file, then rename):
    // a reader sees the old file or the new one, never half of one. Any thread.
    SaveResult save(const QString& file) const;

    // A picture kind, a readable extension and 0 < size < 80,000,000 bytes.
    static bool isIndexable(const FileItem& item);

    // The indexable items that must be read now: no record, a record read with other
    // languages, another size, or a modification date more than 1 s away. Screenshots first,
    // then newest first within each group (stable).
    QList<FileItem> pending(const QList<FileItem>& items, const QStringList& languages) const;

    // Removes every record whose path is not in `keeping`; returns how many went.
    int prune(const QSet<QString>& keeping);

    // Moves a record to a new path (after a rename or move by the application); nothing
    // happens when there is no record under `from`.
    void move(const QString& from, const QString& to);

    // Feature prints of the records by path, in the form look-alike search over files takes
    // (DuplicateFinder's FeaturePrintProvider). The function holds a copy of the records
    // (cheap: implicitly shared) and may outlive the index; none for a path without a record,
    // with a failed one or without a print. Never touches the disk.
    std::function<std::optional<QList<float>>(const QString& path)> printProvider() const;

    friend bool operator==(const ImageIndex&, const ImageIndex&) = default;
};

}  // namespace fennic
