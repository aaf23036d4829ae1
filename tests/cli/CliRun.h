#pragma once

#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <ostream>

// Readable QString values in test failure messages.
inline void PrintTo(const QString& s, std::ostream* os) { *os << '"' << s.toStdString() << '"'; }

namespace fennic::test {

// What one run of fennic-cli did.
struct CliResult {
    int exitCode = -1;  // -1 when the tool crashed, could not start or timed out
    QString out;
    QString err;
    QStringList outLines() const;  // stdout split into lines, without the final empty one
};

// The environment a test's fennic-cli runs in: the test's own (private HOME and XDG folders
// from the shared test main), a fixed C.UTF-8 locale so that number formats don't depend on the
// machine, and FENNIC_LIBRARY_ROOT set to `libraryRoot` when one is given.
QProcessEnvironment cliEnvironment(const QString& libraryRoot = {});

// Runs the built fennic-cli (FENNIC_CLI_PATH) with `args` and waits for it to finish.
CliResult runCli(const QStringList& args, const QProcessEnvironment& env = cliEnvironment(), int timeoutMs = 120000);
// The same with FENNIC_LIBRARY_ROOT pointing at `libraryRoot`.
CliResult runCli(const QStringList& args, const QString& libraryRoot);

}  // namespace fennic::test
