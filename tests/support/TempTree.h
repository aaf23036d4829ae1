#pragma once

#include "model/Date.h"

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>
#include <optional>

namespace fennic::test {

// A real folder tree in a fresh temporary folder, removed when the value goes away. Paths
// given to the helpers are relative to root() (an absolute path inside the tree is taken as
// it is); every helper returns the absolute path.
class TempTree {
public:
    TempTree();

    const QString& root() const { return m_root; }
    QString path(const QString& relative) const;

    QString mkdir(const QString& relative);
    // Writes a file (parents made as needed), replacing any earlier content.
    QString write(const QString& relative, const QByteArray& content = QByteArray());
    // A file of `size` bytes of a repeating pattern derived from `seed`.
    QString writeSized(const QString& relative, qint64 size, int seed = 0);
    QString symlink(const QString& relative, const QString& target);
    // Sets access and modification times; the status-change time cannot be set and stays "now".
    void setTimes(const QString& relative, Date modified, std::optional<Date> accessed = std::nullopt);
    // Sets a user extended attribute; returns false when the file system refuses them.
    bool setXattr(const QString& relative, const char* name, const QByteArray& value);

private:
    QTemporaryDir m_dir;
    QString m_root;
};

// Whether the folder's file system accepts user extended attributes (tmpfs may not).
bool supportsXattrs(const QString& folder);

}  // namespace fennic::test
