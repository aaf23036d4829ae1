#pragma once

#include <QString>
#include <QStringList>

namespace fennic::InstallScript {

// The shell script that replaces the installed application after the running process has
// ended. Its arguments: the process to wait for, the staged application folder, the installed
// folder, "1" to start the new copy afterwards or "0", and the program to start, relative to
// the application folder. It waits at most one minute (600 × 0.1 s) for the process, moves the
// old copy aside, copies the new one in with "cp -a" and puts the old copy back when the copy
// fails, so the installed application is never missing; then it removes the staging folder
// (the staged application's parent).
QString text();

// The arguments for "/bin/sh": "-c", the script, "sablo-update" as its name, then the
// script's own arguments.
QStringList arguments(qint64 pid, const QString& stagedApp, const QString& installedApp, bool relaunch,
                      const QString& program = QStringLiteral("bin/fennic"));

// Starts the script detached, its output and errors to the null device; does not wait. False
// when it could not be started.
bool launch(qint64 pid, const QString& stagedApp, const QString& installedApp, bool relaunch,
            const QString& program = QStringLiteral("bin/fennic"));

}  // namespace fennic::InstallScript
