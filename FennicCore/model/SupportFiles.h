#pragma once

#include <QString>
#include <optional>

namespace fennic {

// Where Fennic keeps its own files: the support folder and the names of the files in it.
// This is the only code that knows either, so the library cache, the image index, the shelf
// and the tools that read them always agree. It sits at the bottom of the core so that every
// part can reach it.
//
// The folder is FIXTURE/.fennic-support when FENNIC_LIBRARY_ROOT names a fixture library,
// otherwise "Fennic" under the XDG data home. A plain value; safe on any thread.
class SupportFiles {
public:
    // The folder this process uses, read from the environment on every call and created (with
    // parents) when missing; a failure to create it is ignored.
    static SupportFiles current();
    // The folder a fixture library rooted at `root` uses; not created.
    static SupportFiles forFixture(const QString& root);
    // FENNIC_LIBRARY_ROOT made absolute; none when the variable is unset or empty.
    static std::optional<QString> fixtureRoot();

    const QString& dir() const { return m_dir; }
    // The library cache, "index.json".
    QString libraryCache() const { return file(QStringLiteral("index.json")); }
    // The image index, "images.plist".
    QString imageIndex() const { return file(QStringLiteral("images.plist")); }
    // The shelf, "shelf.json".
    QString shelf() const { return file(QStringLiteral("shelf.json")); }
    // Any other file of the application's own, by name.
    QString file(const QString& name) const;

private:
    explicit SupportFiles(QString dir) : m_dir(std::move(dir)) { }

    QString m_dir;
};

}  // namespace fennic
