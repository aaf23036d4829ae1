#include "CliRun.h"

#include <QProcess>

namespace fennic::test {

QStringList CliResult::outLines() const
{
    QStringList lines = out.split(u'\n');
    if (!lines.isEmpty() && lines.last().isEmpty()) lines.removeLast();
    return lines;
}

QProcessEnvironment cliEnvironment(const QString& libraryRoot)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    env.remove(QStringLiteral("FENNIC_LIBRARY_ROOT"));
    if (!libraryRoot.isEmpty()) env.insert(QStringLiteral("FENNIC_LIBRARY_ROOT"), libraryRoot);
    return env;
}

CliResult runCli(const QStringList& args, const QProcessEnvironment& env, int timeoutMs)
{
    QProcess process;
    process.setProcessEnvironment(env);
    process.start(QStringLiteral(FENNIC_CLI_PATH), args);
    CliResult result;
    if (!process.waitForStarted(timeoutMs)) return result;
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished();
        return result;
    }
    result.out = QString::fromUtf8(process.readAllStandardOutput());
    result.err = QString::fromUtf8(process.readAllStandardError());
    if (process.exitStatus() == QProcess::NormalExit) result.exitCode = process.exitCode();
    return result;
}

CliResult runCli(const QStringList& args, const QString& libraryRoot)
{
    return runCli(args, cliEnvironment(libraryRoot));
}

}  // namespace fennic::test
