#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace fennic {

// The library's folder locations. Two process-wide overrides (set once at start-up by
// Prefs::configure(), read from any thread afterwards) let a fixture folder stand in for the
// user's home; everything else is derived from them. Folders are absolute paths without a
// trailing slash.
namespace Library {

// "Desktop", "Documents", "Downloads", "Pictures", "Movies", "Music".
const QStringList& defaultFolderNames();

std::optional<QString> homeOverride();
void setHomeOverride(std::optional<QString> folder);
std::optional<QStringList> appFoldersOverride();
void setAppFoldersOverride(std::optional<QStringList> folders);

QString home();
bool isOverridden();
// The six default folders. Without an override these are the XDG user folders (Videos stands
// for Movies); a user folder that is unset or equal to the home folder falls back to
// home/NAME, so that a misconfigured user-dirs file never makes the whole home a root.
QStringList defaultRoots();
QString downloads();
// "/Applications" and home/"Applications", or the override.
QStringList appFolders();

// The canonical path of a folder with every symbolic link resolved; the input unchanged when
// that fails or gives something that is not absolute.
QString realPath(const QString& folder);
// The path for display with the home folder as "~".
QString abbreviate(const QString& path);

}  // namespace Library
}  // namespace fennic
