#pragma once

#include "model/Date.h"
#include "model/FileItem.h"

#include <QString>
#include <QStringList>
#include <QTextStream>
#include <optional>

namespace fennic::cli {

// A usage mistake: main() prints "fennic-cli: MESSAGE" and exits with status 2.
struct UsageError {
    QString message;
};

// Options of one command. Each accessor consumes what it reads; finish() then rejects
// anything left that looks like an option, so a misspelt flag is never silently ignored.
class CliArgs {
public:
    explicit CliArgs(QStringList args) : m_args(std::move(args)) { }

    bool flag(const QString& name);                     // --name
    std::optional<QString> value(const QString& name);  // --name VALUE or --name=VALUE
    std::optional<Date> date(const QString& name);      // an ISO-8601 value; throws UsageError if bad
    QStringList finish();                               // the positional arguments that remain

private:
    QStringList m_args;
};

using CommandFunction = int (*)(CliArgs& args);

struct CliCommand {
    const char* name;      // first word, e.g. "scan", or "images" for a group
    const char* synopsis;  // one usage line shown by `fennic-cli help`
    CommandFunction run;
};

// Registers a command at static-initialisation time; use one static instance per command.
struct CliRegistration {
    explicit CliRegistration(CliCommand command);
};

QTextStream& out();
QTextStream& err();
// The cached library ("index.json"), or none after printing why there is none (never scanned,
// or unreadable).
std::optional<QList<FileItem>> cachedItems();
// True when standard error is a terminal, so that progress lines may be drawn.
bool progressOnTerminal();

}  // namespace fennic::cli
