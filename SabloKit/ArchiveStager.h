#pragma once

#include <QByteArray>
#include <QString>

namespace fennic {

// What staging an update gave: the staged application folder, or the failure to show.
struct StagedUpdate {
    QString appFolder;  // empty on failure
    QString failure;    // the user-facing message; empty on success

    bool ok() const { return failure.isEmpty(); }
};

// Unpacks a downloaded update beside the running application, never over it. All functions
// read and write the disk: call them off the GUI thread.
namespace ArchiveStager {

// Recreates `stagingFolder` empty, writes `archive` there as "update.zip", expands it and
// takes the first top-level folder (in name order) that holds the information file as the
// application. Entries that are absolute, climb with "..", are links leading out of the
// staging folder, or are neither files, folders nor links, refuse the whole archive.
StagedUpdate stage(const QByteArray& archive, const QString& stagingFolder);

// Checks the staged application: its information file must name `identifier` and `version`,
// and its manifest must seal exactly the files present. Returns the failure message, or an
// empty string when the application is the expected one and intact.
QString validate(const QString& appFolder, const QString& identifier, const QString& version);

}  // namespace ArchiveStager
}  // namespace fennic
