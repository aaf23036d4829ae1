#pragma once

#include <QByteArray>
#include <QString>

namespace fennic::BundleManifest {

// The application folder's seal ("Manifest.sha256" at its top), one line per file in the
// form sha256sum writes: 64 lower-case hex digits, two spaces, the path relative to the
// folder. Regular files are hashed by their contents, symbolic links by their target text;
// folders are not listed. The manifest does not list itself.
inline constexpr const char* kFileName = "Manifest.sha256";

// The manifest text for `folder` as it is now, paths in byte order; empty when a file cannot
// be read or the folder holds something other than files, links and folders. Reads the disk.
QByteArray compute(const QString& folder);

// Writes compute(folder) into the folder; false when that fails.
bool write(const QString& folder);

// Whether the folder's manifest lists exactly the files and links present, each with its
// digest. Reads every file.
bool matches(const QString& folder);

}  // namespace fennic::BundleManifest
