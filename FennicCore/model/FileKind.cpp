#include "FileKind.h"

#include <QHash>
#include <QMimeDatabase>
#include <QMimeType>
#include <mutex>
#include <shared_mutex>

namespace fennic::FileKinds {
namespace {

struct KindText {
    const char* raw;
    const char* title;
    const char* singular;
    const char* symbol;
};

constexpr KindText kTexts[] = {
    {"image", "Images", "Image", "photo"},
    {"video", "Videos", "Video", "film"},
    {"music", "Music", "Song", "music.note"},
    {"document", "Documents", "Document", "doc.text"},
    {"archive", "Archives", "Archive", "archivebox"},
    {"app", "Apps", "App", "square.grid.2x2"},
    {"other", "Other", "File", "doc"},
};

const KindText& text(FileKind kind) { return kTexts[static_cast<int>(kind)]; }

// The shared-mime-info types that stand for "conforms to ..." of a platform type system.
// Kept in one place so that the mapping can be read and tested as a table.
struct MimeTable {
    // Archive formats themselves. Office and packaged formats inherit application/zip, so
    // "is an archive" is decided by the type's own name, never by inheritance from zip.
    QSet<QString> archives{
        "application/zip",
        "application/x-tar",
        "application/gzip",
        "application/x-gzip",
        "application/x-bzip",
        "application/x-bzip2",
        "application/x-xz",
        "application/x-7z-compressed",
        "application/vnd.rar",
        "application/x-rar",
        "application/x-rar-compressed",
        "application/x-compressed-tar",
        "application/x-bzip-compressed-tar",
        "application/x-bzip2-compressed-tar",
        "application/x-xz-compressed-tar",
        "application/x-zstd-compressed-tar",
        "application/x-lzma-compressed-tar",
        "application/zstd",
        "application/x-zstd",
        "application/x-lzma",
        "application/x-lzip",
        "application/x-lz4",
        "application/x-cpio",
        "application/x-archive",
        "application/x-lha",
        "application/x-arj",
        "application/x-ace",
        "application/x-stuffit",
        "application/vnd.ms-cab-compressed",
        "application/x-cd-image",
        "application/x-apple-diskimage",
        "application/java-archive",
        "application/x-compress",
        "application/vnd.debian.binary-package",
        "application/x-deb",
        "application/x-rpm",
        "application/x-xar",
        "application/x-source-rpm",
    };
    // Program text: never a document even though it is text.
    QSet<QString> sourceCode{
        "text/x-csrc",       "text/x-chdr",
        "text/x-c++src",     "text/x-c++hdr",
        "text/x-objcsrc",    "text/x-objc++src",
        "text/x-python",     "text/x-python3",
        "text/x-java",       "application/javascript",
        "text/javascript",   "application/x-javascript",
        "text/x-go",         "text/x-rust",
        "text/rust",         "application/x-shellscript",
        "text/x-sh",         "application/x-perl",
        "text/x-perl",       "application/x-ruby",
        "text/x-ruby",       "application/x-php",
        "text/x-php",        "text/x-csharp",
        "text/x-kotlin",     "text/x-swift",
        "text/x-scala",      "text/x-haskell",
        "text/x-lua",        "text/x-pascal",
        "text/x-fortran",    "application/sql",
        "text/x-sql",        "text/x-makefile",
        "text/x-cmake",      "application/x-typescript",
        "text/x-typescript", "text/x-dsrc",
        "text/x-erlang",     "text/x-ocaml",
        "text/x-tcl",        "text/x-vala",
        "text/css",          "text/x-scss",
        "text/x-sass",       "application/x-desktop",
        "text/x-dart",       "text/x-elixir",
        "text/x-meson",      "text/x-qml",
        "text/x-groovy",     "text/x-gradle",
        "text/x-crystal",    "text/x-cobol",
        "text/x-verilog",    "text/x-svhdr",
        "text/x-svsrc",      "text/x-vhdl",
        "text/x-adasrc",     "text/x-common-lisp",
        "text/x-emacs-lisp", "text/x-eiffel",
        "text/x-idl",        "text/x-literate-haskell",
        "text/x-moc",        "text/x-opencl-src",
        "text/x-matlab",     "text/x-modelica",
        "text/x-scons",      "text/x-sagemath",
        "text/x-scheme",     "text/tcl",
        "text/x-twig",       "text/vbscript",
        "text/x-genie",      "text/x-ooc",
    };
    QSet<QString> structuredData{"application/json", "application/xml", "text/xml"};
    QSet<QString> richText{"text/rtf", "application/rtf"};
};

const MimeTable& mimeTable()
{
    static const MimeTable table;
    return table;
}

bool nameOrAncestorIn(const QMimeType& type, const QSet<QString>& set)
{
    if (set.contains(type.name())) return true;
    for (const QString& alias : type.aliases())
        if (set.contains(alias)) return true;
    for (const QString& ancestor : type.allAncestors())
        if (set.contains(ancestor)) return true;
    return false;
}

bool nameOrAncestorHasPrefix(const QMimeType& type, QStringView prefix)
{
    if (type.name().startsWith(prefix)) return true;
    for (const QString& ancestor : type.allAncestors())
        if (ancestor.startsWith(prefix)) return true;
    return false;
}

bool nameOrAncestorContains(const QMimeType& type, std::initializer_list<const char*> words)
{
    QStringList names = type.allAncestors();
    names.prepend(type.name());
    for (const QString& n : names)
        for (const char* w : words)
            if (n.contains(QLatin1String(w))) return true;
    return false;
}

FileKind classifyByMime(const QString& lowerExt)
{
    static const QMimeDatabase db;
    const QMimeType type = db.mimeTypeForFile(QStringLiteral("x.") + lowerExt, QMimeDatabase::MatchExtension);
    if (!type.isValid() || type.isDefault()) return FileKind::other;

    const MimeTable& t = mimeTable();
    if (nameOrAncestorHasPrefix(type, u"image/")) return FileKind::image;
    if (nameOrAncestorHasPrefix(type, u"video/")) return FileKind::video;
    if (nameOrAncestorHasPrefix(type, u"audio/")) return FileKind::music;
    if (t.archives.contains(type.name())) return FileKind::archive;
    for (const QString& alias : type.aliases())
        if (t.archives.contains(alias)) return FileKind::archive;
    if (nameOrAncestorIn(type, t.sourceCode) || nameOrAncestorIn(type, t.structuredData)) return FileKind::other;
    if (type.inherits(QStringLiteral("application/pdf"))
                      || nameOrAncestorContains(type,
                                                {"presentation", "powerpoint", "spreadsheet", "ms-excel",
                                                 "wordprocessing", "opendocument.text", "msword"}))
        return FileKind::document;
    if (type.inherits(QStringLiteral("text/plain")) || nameOrAncestorIn(type, t.richText)) return FileKind::document;
    return FileKind::other;
}

}  // namespace

QString rawValue(FileKind kind) { return QString::fromLatin1(text(kind).raw); }
QString title(FileKind kind) { return QString::fromLatin1(text(kind).title); }
QString singular(FileKind kind) { return QString::fromLatin1(text(kind).singular); }
QString symbol(FileKind kind) { return QString::fromLatin1(text(kind).symbol); }

std::optional<FileKind> fromRawValue(QStringView raw)
{
    for (FileKind k : allCases)
        if (raw == QLatin1String(text(k).raw)) return k;
    return std::nullopt;
}

const QSet<QString>& archiveExts()
{
    static const QSet<QString> set{"zip", "rar", "7z",  "tar", "gz",  "tgz", "bz2",
                                   "xz",  "dmg", "pkg", "iso", "jar", "sit", "cab"};
    return set;
}

const QSet<QString>& documentExts()
{
    static const QSet<QString> set{"pdf",  "doc", "docx", "pages",   "txt", "rtf",  "rtfd", "md",  "key", "ppt",
                                   "pptx", "xls", "xlsx", "numbers", "csv", "epub", "odt",  "ods", "odp", "tex"};
    return set;
}

FileKind classify(const QString& ext)
{
    const QString lower = ext.toLower();
    if (lower.isEmpty()) return FileKind::other;
    if (lower == u"app" || lower == u"appimage") return FileKind::app;
    if (archiveExts().contains(lower)) return FileKind::archive;
    if (documentExts().contains(lower)) return FileKind::document;

    static std::shared_mutex mutex;
    static QHash<QString, FileKind> memo;
    {
        std::shared_lock lock(mutex);
        auto it = memo.constFind(lower);
        if (it != memo.constEnd()) return *it;
    }
    const FileKind kind = classifyByMime(lower);
    std::unique_lock lock(mutex);
    memo.insert(lower, kind);
    return kind;
}

}  // namespace fennic::FileKinds
