#include "CliCommand.h"
#include "library/CaptureDateFile.h"
#include "library/LibraryCache.h"
#include "library/Prefs.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFileInfo>
#include <algorithm>
#include <unistd.h>
#include <vector>

namespace fennic::cli {
namespace {

std::vector<CliCommand>& registry()
{
    static std::vector<CliCommand> commands;
    return commands;
}

void printUsage(QTextStream& stream)
{
    auto commands = registry();
    std::sort(commands.begin(), commands.end(),
              [](const CliCommand& a, const CliCommand& b) { return qstrcmp(a.name, b.name) < 0; });
    stream << "usage: fennic-cli COMMAND [OPTIONS]\n\ncommands:\n";
    for (const CliCommand& c : commands) stream << "  " << c.synopsis << '\n';
    stream << "\nFENNIC_LIBRARY_ROOT places the library and Fennic's own files inside one folder.\n";
    stream.flush();
}

}  // namespace

CliRegistration::CliRegistration(CliCommand command) { registry().push_back(command); }

QTextStream& out()
{
    static QTextStream stream(stdout);
    return stream;
}

QTextStream& err()
{
    static QTextStream stream(stderr);
    return stream;
}

bool progressOnTerminal() { return isatty(STDERR_FILENO) == 1; }

std::optional<QList<FileItem>> cachedItems()
{
    const QString file = LibraryCache::defaultPath();
    if (!QFileInfo::exists(file)) {
        err() << "fennic-cli: no library yet: run fennic-cli scan\n";
        return std::nullopt;
    }
    auto items = LibraryCache::load(file);
    if (items)
        if (const auto dates = CaptureDateFile::load(CaptureDateFile::defaultPath()))
            CaptureDate::recall(*items, *dates);
    if (!items) err() << "fennic-cli: the library cache " << file << " is unreadable or damaged: run fennic-cli scan\n";
    return items;
}

bool CliArgs::flag(const QString& name)
{
    const QString option = QStringLiteral("--") + name;
    const qsizetype i = m_args.indexOf(option);
    if (i < 0) return false;
    m_args.removeAt(i);
    return true;
}

std::optional<QString> CliArgs::value(const QString& name)
{
    const QString option = QStringLiteral("--") + name;
    for (qsizetype i = 0; i < m_args.size(); ++i) {
        const QString& a = m_args[i];
        if (a == option) {
            if (i + 1 >= m_args.size()) throw UsageError{option + QStringLiteral(" needs a value")};
            const QString v = m_args[i + 1];
            m_args.remove(i, 2);
            return v;
        }
        if (a.startsWith(option + u'=')) {
            const QString v = a.mid(option.size() + 1);
            m_args.removeAt(i);
            return v;
        }
    }
    return std::nullopt;
}

std::optional<Date> CliArgs::date(const QString& name)
{
    const auto text = value(name);
    if (!text) return std::nullopt;
    QDateTime dt = QDateTime::fromString(*text, Qt::ISODateWithMs);
    if (!dt.isValid()) dt = QDateTime::fromString(*text, Qt::ISODate);
    if (!dt.isValid()) throw UsageError{QStringLiteral("--%1: not an ISO-8601 date: %2").arg(name, *text)};
    return Date::fromQDateTime(dt);
}

QStringList CliArgs::finish()
{
    for (const QString& a : m_args)
        if (a.startsWith(u"--")) throw UsageError{QStringLiteral("unknown option ") + a};
    return m_args;
}

}  // namespace fennic::cli

int main(int argc, char** argv)
{
    using namespace fennic::cli;
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Fennic"));
    fennic::Prefs::configure();

    QStringList args = app.arguments().mid(1);
    if (args.isEmpty() || args.first() == u"help" || args.first() == u"--help" || args.first() == u"-h") {
        printUsage(args.isEmpty() ? err() : out());
        return args.isEmpty() ? 2 : 0;
    }
    const QString name = args.takeFirst();
    for (const CliCommand& command : registry()) {
        if (name != QLatin1String(command.name)) continue;
        try {
            CliArgs cliArgs(args);
            const int status = command.run(cliArgs);
            out().flush();
            err().flush();
            return status;
        } catch (const UsageError& e) {
            out().flush();
            err() << "fennic-cli: " << e.message << '\n';
            err().flush();
            return 2;
        }
    }
    err() << "fennic-cli: unknown command " << name << " (try fennic-cli help)\n";
    err().flush();
    return 2;
}
