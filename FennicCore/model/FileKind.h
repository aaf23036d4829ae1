#pragma once

#include <QSet>
#include <QString>
#include <array>
#include <cstdint>
#include <optional>

namespace fennic {

// The coarse kind of a file, in display order.
enum class FileKind : std::uint8_t {
    image,
    video,
    music,
    document,
    archive,
    app,
    other
};

namespace FileKinds {

inline constexpr std::array<FileKind, 7> allCases{FileKind::image,    FileKind::video,   FileKind::music,
                                                  FileKind::document, FileKind::archive, FileKind::app,
                                                  FileKind::other};
// The kinds with a shelf of their own in the interface; `other` never has one.
inline constexpr std::array<FileKind, 6> shelves{FileKind::image,    FileKind::video,   FileKind::music,
                                                 FileKind::document, FileKind::archive, FileKind::app};

QString rawValue(FileKind kind);  // "image", "video", ... (also the JSON value and the id)
std::optional<FileKind> fromRawValue(QStringView raw);
QString title(FileKind kind);     // "Images"
QString singular(FileKind kind);  // "Image"
QString symbol(FileKind kind);    // icon name, "photo"

const QSet<QString>& archiveExts();
const QSet<QString>& documentExts();

// The kind of a file name extension (any letter case). Decided by the two fixed sets first,
// then by the shared-mime-info type of the extension. Thread-safe; results are memoised
// per extension, so a scan asks the type database once per distinct extension.
FileKind classify(const QString& ext);

}  // namespace FileKinds
}  // namespace fennic
