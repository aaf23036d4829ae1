#pragma once

#include <QHashFunctions>
#include <QString>
#include <QStringList>
#include <QUuid>

namespace fennic {

// A named gathering of files that does not move them. Identified by `id`, which is fixed at
// creation; `paths` are absolute paths in the order they were added, each held once.
// Encoded in "shelf.json" with the keys "id" (standard textual UUID), "name" and "paths".
struct FileCollection {
    QUuid id;
    QString name;
    QStringList paths;

    friend bool operator==(const FileCollection&, const FileCollection&) = default;
};

inline size_t qHash(const FileCollection& c, size_t seed = 0) noexcept { return qHash(c.id, seed); }

}  // namespace fennic
