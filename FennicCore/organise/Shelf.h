#pragma once

#include "FileCollection.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>
#include <optional>

namespace fennic {

// The user's own layer over the library: starred files, free-form tags and named
// collections. Files never move because of it; it records absolute paths only.
//
// A plain value (copy it freely; copies are cheap, Qt containers share their data). No
// operation fails: unknown paths, unknown collection ids and empty names or tags are ignored,
// and an empty tag or name is reported only as "no result". Not thread-safe; the app model
// owns one on the main thread and hands copies to background work.
//
// Stored as "shelf.json" in the support folder: {"collections": [...], "favourites": [...],
// "tags": {path: [tag, ...]}} with sorted keys, written atomically.
class Shelf {
public:
    struct TagCount {
        QString tag;
        int count = 0;
        friend bool operator==(const TagCount&, const TagCount&) = default;
    };

    // Starred files in the order they were starred, each once.
    const QStringList& favourites() const { return m_favourites; }
    // Tags per file; a path without tags has no entry. Tags are stored normalised.
    const QHash<QString, QStringList>& tags() const { return m_tags; }
    // In creation order.
    const QList<FileCollection>& collections() const { return m_collections; }
    // The collection with that id, or none.
    std::optional<FileCollection> collection(const QUuid& id) const;
    bool isEmpty() const { return m_favourites.isEmpty() && m_tags.isEmpty() && m_collections.isEmpty(); }

    // --- favourites
    bool isFavourite(const QString& path) const { return m_favouriteSet.contains(path); }
    // Removes the path's first occurrence if starred, otherwise appends it at the end.
    void toggleFavourite(const QString& path);

    // --- tags
    // The one tag form used everywhere: trimmed, every leading "#" stripped, trimmed again,
    // lower-cased, runs of whitespace inside turned into single "-". "  #My Tag " -> "my-tag".
    static QString normalise(const QString& tag);
    // Normalises the tag; when that is empty does nothing and returns none. Otherwise appends
    // it to each path's list unless already there, and returns the normalised tag.
    std::optional<QString> addTag(const QString& tag, const QStringList& paths);
    // Removes every entry equal to `tag` exactly as given (not normalised) from the path's
    // list; a path left without tags loses its entry.
    void removeTag(const QString& tag, const QString& path);
    // The path's tags, or an empty list.
    QStringList tagsOf(const QString& path) const { return m_tags.value(path); }
    // The paths carrying the tag (normalised before comparing).
    QSet<QString> pathsTagged(const QString& tag) const;
    // Every distinct tag with the number of paths that carry it, most used first, ties by
    // tag in plain string order.
    QList<TagCount> allTags() const;

    // --- collections
    // Trims the name; empty makes nothing. Otherwise makes the name unique among collections
    // (case-insensitively: "Trip", "Trip 2", "Trip 3", ...), de-duplicates the paths keeping
    // first occurrences, draws a fresh id, appends the collection and returns it.
    std::optional<FileCollection> newCollection(const QString& name, const QStringList& paths = {});
    // Appends, in order, each path the collection does not hold yet.
    void add(const QStringList& paths, const QUuid& to);
    // Removes every given path from the collection, keeping the order of the others.
    void remove(const QStringList& paths, const QUuid& from);
    // Sets the trimmed name (ignored when empty). Deliberately not made unique.
    void rename(const QUuid& id, const QString& name);
    // Removes the collection(s) with that id; the files are untouched.
    void deleteCollection(const QUuid& id);

    // Keeps the shelf in step with a file that moved from `from` to `to`: the favourite keeps
    // its place in the order, the tag list moves (replacing any list under `to`), and every
    // occurrence in a collection is replaced in place.
    void move(const QString& from, const QString& to);

    // --- storage
    // JSON with sorted keys. Compact; the file is small.
    QByteArray encode() const;
    // None unless the text is a JSON object with all three keys of the right types and every
    // collection has a valid id, a name and a list of paths.
    static std::optional<Shelf> decode(const QByteArray& json);
    // The shelf stored in `file`; an empty shelf when it is missing, unreadable or damaged.
    static Shelf load(const QString& file);
    // Writes atomically (temporary file, then rename). False when writing failed; the earlier
    // file is then left as it was. Never call it on the GUI thread with a slow disk.
    bool save(const QString& file) const;

    friend bool operator==(const Shelf& a, const Shelf& b)
    {
        return a.m_favourites == b.m_favourites && a.m_tags == b.m_tags && a.m_collections == b.m_collections;
    }

private:
    FileCollection* find(const QUuid& id);

    QStringList m_favourites;
    QSet<QString> m_favouriteSet;  // mirrors m_favourites for constant-time lookups while searching
    QHash<QString, QStringList> m_tags;
    QList<FileCollection> m_collections;
};

}  // namespace fennic
