#pragma once

#include <QString>
#include <QTextStream>

namespace fennic {

// The capture run (FENNIC_SNAPSHOT_DIR=DIR fennic): builds the demonstration library in a
// temporary folder, opens the window over it, lets the scan and image reading finish, then
// renders each view at 1280 × 800 in both themes to DIR/VIEW-THEME.png (and
// DIR/VIEW-THEME-dark.png for the views also captured on the dark palette), printing one line
// per file. Nothing outside the temporary folder and DIR is written: the demonstration keeps
// Fennic's own files, its Trash and its thumbnails there too.
namespace Snapshot {

// The views, in the order they are rendered, and those also rendered on the dark palette.
QStringList views();
QStringList darkViews();

// Points the process's data and cache folders into `scratch`; call before anything reads them.
void prepareEnvironment(const QString& scratch);

// Renders every view into `dir`; 0 when every file was written.
int run(const QString& dir, const QString& scratch, QTextStream& out);

}  // namespace Snapshot

}  // namespace fennic
