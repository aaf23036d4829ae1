// The library cache and the derived views over a synthetic library of realistic items.
//
//   bench_cache [--files N] [--seed S] [--runs R] [--dir FOLDER]
//
// Builds N items (default 250,000) in memory from the synthetic home plan (no disk walk), then
// measures, each as the median of R runs (default 7) after one untimed warm-up:
//   - save: encode and write "index.json" atomically (temporary file, fsync, rename);
//   - load: read and decode it (the file is in the page cache after the save);
//   - encode and decode alone, without the file;
//   - LibraryStats plus Lately over the items.
// Resident memory of the loaded items is measured in a fresh child process that does nothing
// but load the file, so that the generator's garbage cannot hide or inflate it.
//
//   bench_cache --rss FILE   (the child mode) prints the resident growth of one load.

#include "library/Lately.h"
#include "library/LibraryCache.h"
#include "library/LibraryStats.h"
#include "support/BenchTimer.h"
#include "support/SyntheticHome.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <malloc.h>
#include <optional>
#include <unistd.h>
#include <vector>

using namespace fennic;

namespace {

qint64 residentBytes()
{
    QFile statm(QStringLiteral("/proc/self/statm"));
    if (!statm.open(QIODevice::ReadOnly)) return -1;
    const QList<QByteArray> fields = statm.readAll().split(' ');
    return fields.size() > 1 ? fields[1].toLongLong() * sysconf(_SC_PAGESIZE) : -1;
}

using bench::measure;
using bench::Timing;

// Child mode: the growth of resident memory from loading one cache, with the items alive.
int measureResident(const QString& file)
{
    const qint64 before = residentBytes();
    const auto items = LibraryCache::load(file);
    if (!items) {
        std::fprintf(stderr, "bench_cache: cannot load %s\n", qPrintable(file));
        return 1;
    }
    const qint64 afterLoad = residentBytes();
    // Hand back the freed parser scratch kept in the heap, to see what the items alone hold.
    malloc_trim(0);
    const qint64 afterTrim = residentBytes();
    std::printf("%lld %lld %lld\n", static_cast<long long>(items->size()), static_cast<long long>(afterLoad - before),
                static_cast<long long>(afterTrim - before));
    return 0;
}

QString option(const QStringList& args, const QString& name, const QString& fallback)
{
    const qsizetype i = args.indexOf(name);
    return i >= 0 && i + 1 < args.size() ? args[i + 1] : fallback;
}

}  // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() == 3 && args[1] == u"--rss") return measureResident(args[2]);

    const int files = option(args, QStringLiteral("--files"), QStringLiteral("250000")).toInt();
    const quint32 seed = option(args, QStringLiteral("--seed"), QStringLiteral("1")).toUInt();
    const int runs = option(args, QStringLiteral("--runs"), QStringLiteral("7")).toInt();
    QTemporaryDir tempDir;
    const QString dir = option(args, QStringLiteral("--dir"), tempDir.path());
    const QString file = dir + QStringLiteral("/index.json");

    // A fixed clock, so that the recent-file buckets are the same on every run.
    const Date now = Date::fromIso(QStringLiteral("2025-06-18T14:00:00Z"));
    const QList<FileItem> items = bench::items(QStringLiteral("/home/fennic"), bench::plan(files, seed), now);
    std::printf("items: %lld (seed %u), %d runs each, median\n", static_cast<long long>(items.size()), seed, runs);

    const Timing save = measure(runs, [&] {
        if (!LibraryCache::save(file, items)) qFatal("save failed");
    });
    const qint64 fileSize = QFileInfo(file).size();
    // Results are kept until the next run is prepared, so that freeing them is not timed.
    std::optional<QList<FileItem>> loaded;
    const Timing load = measure(
        runs,
        [&] {
            loaded = LibraryCache::load(file);
            if (!loaded) qFatal("load failed");
        },
        [&] { loaded.reset(); });
    loaded.reset();
    QByteArray json;
    const Timing encode = measure(
        runs, [&] { json = LibraryCache::encode(items); }, [&] { json.clear(); });
    const Timing decode = measure(
        runs,
        [&] {
            loaded = LibraryCache::decode(json);
            if (!loaded) qFatal("decode failed");
        },
        [&] { loaded.reset(); });
    loaded.reset();

    const Calendar calendar{QTimeZone::utc(), Qt::Monday};
    QList<Lately::Group> groups;
    const Timing stats = measure(
        runs,
        [&] {
            const LibraryStats totals(items);
            groups = Lately::groups(items, now, calendar);
            if (totals.totalCount != items.size()) qFatal("stats miscounted");
        },
        [&] { groups.clear(); });
    qint64 recent = 0;
    for (const Lately::Group& g : groups) recent += g.files.size();
    const Timing onlyStats = measure(runs, [&] { (void)LibraryStats(items); });

    std::printf("                               wall ms   cpu ms\n");
    std::printf("save (encode + atomic write): %8.1f %8.1f   file %.1f MB (%lld bytes, %.0f bytes/item)\n", save.wallMs,
                save.cpuMs, double(fileSize) / 1e6, static_cast<long long>(fileSize),
                double(fileSize) / double(items.size()));
    std::printf("load (read + decode):         %8.1f %8.1f\n", load.wallMs, load.cpuMs);
    std::printf("encode alone:                 %8.1f %8.1f\n", encode.wallMs, encode.cpuMs);
    std::printf("decode alone:                 %8.1f %8.1f\n", decode.wallMs, decode.cpuMs);
    std::printf("LibraryStats + Lately:        %8.2f %8.2f   (%lld recent files)\n", stats.wallMs, stats.cpuMs,
                static_cast<long long>(recent));
    std::printf("LibraryStats alone:           %8.2f %8.2f\n", onlyStats.wallMs, onlyStats.cpuMs);

    QProcess child;
    child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--rss"), file});
    child.waitForFinished(-1);
    const QList<QByteArray> rss = child.readAllStandardOutput().trimmed().split(' ');
    if (child.exitCode() != 0 || rss.size() != 3) {
        std::printf("resident memory: child failed\n");
        return 1;
    }
    const double n = rss[0].toDouble();
    std::printf("resident memory of loaded items: %.0f bytes/item (%.0f after malloc_trim), %.1f MB in all\n",
                rss[1].toDouble() / n, rss[2].toDouble() / n, rss[1].toDouble() / 1e6);
    return 0;
}
