#pragma once

// Low-level readers the scanner shares between its directory walk (paths relative to an open
// directory) and its per-path public readers (dirfd = AT_FDCWD and an absolute path).
// Internal to the library; not for use outside FennicCore/library.

#include "library/Scanner.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct statx;

namespace fennic::FileAttributes {

// Which of the attributes the scanner cares about a file carries, from one listing of its
// attribute names.
struct Present {
    bool whereFromUser = false;  // carried-over where-from property list, "user." form
    bool whereFromOsx = false;   // the same, "osx." form
    bool origin = false;         // freedesktop origin URL
    bool referrer = false;       // freedesktop referrer URL
    bool screenCapture = false;  // carried-over screen-capture flag (either form)

    bool any() const { return whereFromUser || whereFromOsx || origin || referrer; }
};

// The file whose attributes are read: `name` relative to the open directory `dirfd`, whose
// own path is `dirPath` (for kernels without directory-relative attribute calls); or, with
// dirfd AT_FDCWD and no dirPath, `name` is the whole path. A final symbolic link is followed
// only with `follow`.
struct Target {
    int dirfd;
    const char* name;
    const char* dirPath = nullptr;
    bool follow = false;
};

// Which of the interesting attributes the file carries. Nothing when it has none or its file
// system keeps none.
Present list(const Target& target);

// The raw value of one attribute; none when absent, empty or unreadable.
std::optional<QByteArray> read(const Target& target, const char* name);

// The where-from list of a file whose attribute names are already known.
QStringList whereFroms(const Target& target, const Present& present);

// A property list that must be an array of strings; anything else gives an empty list.
QStringList decodeStringArray(const QByteArray& plist);

// The screenshot tools' own names: "Screenshot…", "Screen Shot…", "CleanShot…",
// "Simulator Screen…", in any letter case.
bool hasScreenshotName(const QString& name);

// The entries of one open directory, read in large batches straight from the kernel
// (getdents64) into one buffer, and sorted by their bytes so that a walk, and a capped walk,
// always comes out the same. "." and ".." are never listed. The one directory reader of the
// library: the scanner's walk, its application folders and package sizes all use it.
class DirectoryListing {
public:
    enum class Hidden {
        skip,
        include
    };

    struct Entry {
        std::string_view name;  // NUL-terminated inside the listing
        unsigned char type;     // DT_* as the directory reports it; DT_UNKNOWN when it does not say
    };

    // Replaces the entries with those of `fd`, read from its current offset; names beginning
    // with "." only with Hidden::include. Stops quietly at a read error.
    void read(int fd, Hidden hidden);
    const std::vector<Entry>& entries() const { return m_entries; }

private:
    std::string m_names;
    std::vector<Entry> m_entries;
};

// Opens a directory below `dirfd` without following a link and without touching its access
// time where the owner allows; -1 on failure.
int openDirectory(int dirfd, const char* path);

// Sum of the sizes of the regular files anywhere below an open directory, hidden ones
// included, links not followed.
qint64 directorySize(int dirfd);

// The mask of statx fields the scanner asks for.
unsigned statxMask();
// Entry values from a statx record (sizes only for non-directories).
EntryValues valuesFrom(const struct statx& stx, bool isPackage, bool isCloudPlaceholder);

// Whether a file name marks a sync client's stand-in for a file that is not downloaded.
bool isCloudPlaceholderName(QByteArrayView name);

}  // namespace fennic::FileAttributes
