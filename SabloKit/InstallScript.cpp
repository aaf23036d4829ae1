#include "InstallScript.h"

#include <QProcess>

namespace fennic::InstallScript {

QString text()
{
    // The move aside and the copy are separate steps: when the move itself fails, the
    // installed copy is still in place and must not be touched.
    return QStringLiteral(R"sh(PID="$1"; SRC="$2"; DEST="$3"; RELAUNCH="$4"; PROGRAM="$5"
i=0; while kill -0 "$PID" 2>/dev/null && [ $i -lt 600 ]; do sleep 0.1; i=$((i+1)); done
OLD="$DEST.sablo-old"; rm -rf "$OLD"
if mv "$DEST" "$OLD"; then
  if cp -a "$SRC" "$DEST"; then rm -rf "$OLD"; else rm -rf "$DEST"; mv "$OLD" "$DEST"; fi
fi
rm -rf "$(dirname "$SRC")"
[ "$RELAUNCH" = 1 ] && "$DEST/$PROGRAM" </dev/null >/dev/null 2>&1 &
exit 0
)sh");
}

QStringList arguments(qint64 pid, const QString& stagedApp, const QString& installedApp, bool relaunch,
                      const QString& program)
{
    return {QStringLiteral("-c"), text(),
                           QStringLiteral("sablo-update"), QString::number(pid), stagedApp, installedApp,
                                          relaunch ? QStringLiteral("1") : QStringLiteral("0"), program};
}

bool launch(qint64 pid, const QString& stagedApp, const QString& installedApp, bool relaunch, const QString& program)
{
    QProcess process;
    process.setProgram(QStringLiteral("/bin/sh"));
    process.setArguments(arguments(pid, stagedApp, installedApp, relaunch, program));
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    return process.startDetached();
}

}  // namespace fennic::InstallScript
