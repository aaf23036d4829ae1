// fennic-cli scan, list and stats: the library core without a window.
#include "CliCommand.h"

#include "library/CaptureDateFile.h"
#include "library/Lately.h"
#include "library/Library.h"
#include "library/LibraryCache.h"
#include "library/LibraryStats.h"
#include "library/Scanner.h"
#include "model/Calendar.h"
#include "model/Fmt.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <cstdio>

namespace fennic::cli {
namespace {

// Recent files listed per bucket in the text view; --json lists them all.
constexpr qsizetype kTextFilesPerBucket = 10;

void expectNoArguments(CliArgs& args, const char* command)
{
    const QStringList rest = args.finish();
    if (!rest.isEmpty())
        throw UsageError{QStringLiteral("%1 takes no arguments (got %2)").arg(QLatin1String(command), rest.first())};
}

// Large outputs go straight to stdout as bytes: a quarter of a million lines through a text
// stream would cost more than reading the cache.
void writeStdout(const QByteArray& bytes)
{
    out().flush();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
    std::fflush(stdout);
}

int runScan(CliArgs& args)
{
    expectNoArguments(args, "scan");
    const bool showProgress = progressOnTerminal();
    Scanner scanner(Library::defaultRoots(), Library::appFolders());
    // Pictures unchanged since the last scan keep the camera dates read then.
    if (auto known = CaptureDateFile::load(CaptureDateFile::defaultPath()))
        scanner.setKnownDates(std::make_shared<const CaptureDate::Memory>(std::move(*known)));

    QElapsedTimer timer;
    timer.start();
    const QList<FileItem> items = scanner.scan([showProgress](int count) {
        if (!showProgress) return;
        err() << "\rScanning… " << Fmt::count(count, QStringLiteral("item"));
        err().flush();
    });
    const double seconds = double(timer.nsecsElapsed()) / 1e9;
    if (showProgress) {
        err() << "\r\x1b[K";  // clear the progress line
        err().flush();
    }

    const QString file = LibraryCache::defaultPath();
    if (!LibraryCache::save(file, items)) {
        err() << "fennic-cli: could not write " << file << '\n';
        return 1;
    }
    // Without it the next scan only reads the dates again.
    CaptureDateFile::save(CaptureDateFile::defaultPath(), CaptureDate::remember(items));
    const LibraryStats stats(items);
    out() << "Scanned "
          << Fmt::count(items.size(), QStringLiteral("item"))
                        << ", " << Fmt::size(stats.totalSize) << ", in " << QString::number(seconds, 'f', 2)
                        << " s; library saved to " << Library::abbreviate(file) << '\n';
    return 0;
}

int runList(CliArgs& args)
{
    const bool json = args.flag(QStringLiteral("json"));
    expectNoArguments(args, "list");
    const auto items = cachedItems();
    if (!items) return 1;

    QByteArray bytes;
    bytes.reserve(items->size() * (json ? 320 : 100));
    for (const FileItem& item : *items) {
        bytes += json ? LibraryCache::encodeItem(item) : item.path.toUtf8();
        bytes += '\n';
    }
    writeStdout(bytes);
    return 0;
}

QJsonObject statsJson(const LibraryStats& stats, const QList<Lately::Group>& groups, Date now)
{
    QJsonObject byKind;
    for (const auto& [kind, total] : stats.byKind)
        byKind.insert(FileKinds::rawValue(kind), QJsonObject{{"count", total.count}, {"size", total.size}});
    QJsonArray lately;
    for (const Lately::Group& group : groups) {
        QJsonArray files;
        for (const FileItem& f : group.files) files.append(f.path);
        lately.append(QJsonObject{{"bucket", Lately::rawValue(group.bucket)},
                                  {"title", Lately::title(group.bucket)},
                                  {"count", group.files.size()},
                                  {"files", files}});
    }
    return QJsonObject{
        {"now", now.toIso()},
        {"totalCount", stats.totalCount},
        {"totalSize", stats.totalSize},
        {"byKind", byKind},
        {"screenshots", stats.screenshots},
        {"largeFiles", stats.largeFiles},
        {"largeFileSize", LibraryStats::largeFileSize},
        {"downloadedFrom", stats.downloadedFrom},
        {"lately", lately},
    };
}

void printStatsText(const LibraryStats& stats, const QList<Lately::Group>& groups, Date now)
{
    const QString item = QStringLiteral("item");
    QTextStream& s = out();
    s << "Library: " << Fmt::count(stats.totalCount, item) << ", " << Fmt::size(stats.totalSize) << '\n';
    for (const FileKind kind : FileKinds::allCases) {
        const KindTotal total = stats.total(kind);
        if (total.count == 0) continue;
        s << "  " << qSetFieldWidth(11) << Qt::left << FileKinds::title(kind) << qSetFieldWidth(14) << Qt::right
          << Fmt::count(total.count, item) << qSetFieldWidth(0) << "  " << Fmt::size(total.size) << '\n';
    }
    s << Qt::left;
    s << "Screenshots: " << Fmt::count(stats.screenshots, QStringLiteral("file")) << '\n';
    s << "Large files: "
      << Fmt::count(stats.largeFiles, QStringLiteral("file"))
                    << " over " << Fmt::size(LibraryStats::largeFileSize) << '\n';
    s << "Downloaded: " << Fmt::count(stats.downloadedFrom, QStringLiteral("file")) << " with a known source\n";

    s << "Recent files (last " << Lately::kDefaultDays << " days, as of " << Fmt::date(now) << "):";
    if (groups.isEmpty()) s << " none";
    s << '\n';
    for (const Lately::Group& group : groups) {
        s << "  " << Lately::title(group.bucket) << ": "
          << Fmt::count(group.files.size(), QStringLiteral("file")) << '\n';
        const qsizetype shown = std::min(group.files.size(), kTextFilesPerBucket);
        for (qsizetype i = 0; i < shown; ++i) s << "    " << Library::abbreviate(group.files[i].path) << '\n';
        if (group.files.size() > shown) s << "    … and " << (group.files.size() - shown) << " more\n";
    }
}

int runStats(CliArgs& args)
{
    const bool json = args.flag(QStringLiteral("json"));
    const std::optional<Date> fixedNow = args.date(QStringLiteral("now"));
    expectNoArguments(args, "stats");
    const auto items = cachedItems();
    if (!items) return 1;

    const Date now = fixedNow.value_or(Date::fromQDateTime(QDateTime::currentDateTimeUtc()));
    const LibraryStats stats(*items);
    const QList<Lately::Group> groups = Lately::groups(*items, now, Calendar::current(), Lately::kDefaultDays);
    if (json) {
        writeStdout(QJsonDocument(statsJson(stats, groups, now)).toJson(QJsonDocument::Indented));
    } else {
        printStatsText(stats, groups, now);
    }
    return 0;
}

const CliRegistration scanCommand({"scan", "scan    scan the library folders and applications, save the library",
                                   runScan});
const CliRegistration listCommand({"list", "list [--json]    the library's files, one per line", runList});
const CliRegistration statsCommand({"stats", "stats [--json] [--now ISO-8601]    totals by kind and the recent files",
                                    runStats});

}  // namespace
}  // namespace fennic::cli
