// The request parser and the whole-library search pass over a synthetic library of realistic
// items.
//
//   bench_search [--files N] [--seed S] [--runs R]
//
// Builds N items (default 250,000) in memory from the synthetic home plan, then reports the
// median (and the CPU time of the measuring thread) of R runs (default 15) after one warm-up:
//   - parse of three typical requests (R x 20 runs each, since one parse is short);
//   - building the prepared index (folded paths) once;
//   - two-word text filter plus a kind filter, survivors sorted by date added (newest first);
//   - a date filter alone (and sorted);
//   - one word over every path, next to `grep -F -i -c WORD` over a file of the same paths,
//     and the ratio of the two.

#include "search/SearchContext.h"
#include "search/SearchIndex.h"
#include "search/SearchParser.h"
#include "search/SortKey.h"
#include "support/BenchTimer.h"
#include "support/SyntheticHome.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimeZone>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

using namespace fennic;

namespace {

using bench::measure;
using bench::Timing;

int intOption(const QStringList& args, const QString& name, int fallback)
{
    const qsizetype i = args.indexOf(name);
    return (i >= 0 && i + 1 < args.size()) ? args[i + 1].toInt() : fallback;
}

}  // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    const int files = intOption(args, QStringLiteral("--files"), 250000);
    const quint32 seed = quint32(intOption(args, QStringLiteral("--seed"), 1));
    const int runs = intOption(args, QStringLiteral("--runs"), 15);

    const Date now = Date::fromIso(QStringLiteral("2025-05-14T10:30:00Z"));
    const Calendar calendar{QTimeZone(QByteArrayLiteral("Europe/Madrid")), Qt::Monday};
    const QString home = QStringLiteral("/home/bench");
    const QList<FileItem> items = bench::items(home, bench::plan(files, seed), now);
    std::printf("library: %lld items (seed %u), %d runs per measurement\n", static_cast<long long>(items.size()), seed,
                runs);

    std::printf("\nparse (median per request):\n");
    for (const char* request : {"pdfs from gmail last week over 5 MB", "photos of a white island in a blue ocean",
                                "screenshots from today"}) {
        const QString text = QString::fromUtf8(request);
        const Timing t = measure(runs * 20, [&] { (void)SearchParser::parse(text, now, calendar, home); });
        std::printf("  %-42s %8.1f us wall %8.1f us cpu\n", request, t.wallMs * 1000, t.cpuMs * 1000);
    }

    SearchIndex index;
    const Timing build = measure(3, [&] { index = SearchIndex(items); });
    std::printf("\nprepare the index (fold %lld paths): %.1f ms wall, %.1f ms cpu\n",
                static_cast<long long>(items.size()), build.wallMs, build.cpuMs);

    // Recognised text for one image in ten, as an indexed library would have.
    QHash<QString, QString> ocr;
    for (const FileItem& f : items)
        if (f.kind == FileKind::image && qHash(f.path) % 10 == 0)
            ocr.insert(f.path, QStringLiteral("total due thank you"));

    const auto pass = [&](const char* request, bool print) {
        const QList<SearchFilter> filters =
            SearchParser::parse(QString::fromUtf8(request), now, calendar, home).filters;
        std::size_t found = 0;
        const Timing t = measure(runs, [&] {
            SearchContext context(ocr);
            std::vector<qsizetype> hits = index.filter(filters, context);
            SortKeys::sortPositions(SortKey::dateAdded, index.items(), hits, false);
            found = hits.size();
        });
        if (print) std::printf("  %-42s %8.2f ms wall %8.2f ms cpu  (%zu found)\n", request, t.wallMs, t.cpuMs, found);
        return t;
    };
    std::printf("\nfilter %lld items and sort the survivors by date added:\n", static_cast<long long>(items.size()));
    pass("documents tax return", true);
    pass("photos beach day", true);
    pass("pdfs invoice 2024", true);
    pass("last month", true);
    pass("this year", true);
    pass("older than 2 years", true);

    // Quick Search keeps twelve rows: the first letters of a request match most of the library,
    // and sorting every match to keep twelve is most of the work.
    std::printf("\nthe first 12 by date added, as Quick Search asks (filter, then sort all or select 12):\n");
    for (const char* request : {"i", "in", "inv"}) {
        const QList<SearchFilter> filters =
            SearchParser::parse(QString::fromUtf8(request), now, calendar, home).filters;
        std::size_t found = 0;
        for (const bool all : {true, false}) {
            const Timing t = measure(runs, [&] {
                SearchContext context(ocr);
                std::vector<qsizetype> hits = index.filter(filters, context);
                found = hits.size();
                if (all) {
                    SortKeys::sortPositions(SortKey::dateAdded, index.items(), hits, false);
                    hits.resize(std::min<std::size_t>(hits.size(), 12));
                } else {
                    SortKeys::firstPositions(SortKey::dateAdded, index.items(), hits, false, 12);
                }
            });
            std::printf("  %-6s %-16s %8.2f ms wall %8.2f ms cpu  (%zu found)\n", request,
                        all ? "sort all" : "select 12", t.wallMs, t.cpuMs, found);
        }
    }

    // One word against grep over the same paths, in the same run.
    QTemporaryDir dir;
    const QString pathsFile = dir.filePath(QStringLiteral("paths.txt"));
    {
        QFile out(pathsFile);
        if (!out.open(QIODevice::WriteOnly)) return 1;
        QByteArray all;
        for (const FileItem& f : items) all += f.path.toUtf8() + '\n';
        out.write(all);
    }
    const char* word = "invoice";
    std::printf("\none word (\"%s\") over every path:\n", word);
    const Timing ours = pass(word, true);
    QByteArray grepCount;
    const Timing grep = measure(runs, [&] {
        QProcess p;
        p.start(QStringLiteral("grep"),
            {QStringLiteral("-F"), QStringLiteral("-i"), QStringLiteral("-c"), QLatin1String(word), pathsFile});
        p.waitForFinished(-1);
        grepCount = p.readAllStandardOutput().trimmed();
    });
    std::printf("  %-42s %8.2f ms wall  (%s lines; includes starting the process)\n",
                "grep -F -i -c over the paths file", grep.wallMs, grepCount.constData());
    std::printf("  ratio grep / fennic (wall): %.2f\n", ours.wallMs > 0 ? grep.wallMs / ours.wallMs : 0.0);
    return 0;
}
