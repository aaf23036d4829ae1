// The desktop's search (the shell's search provider, KRunner) over a library of 250,000 files:
// how long the running application takes to answer one request, from the terms to the ranked
// results, as the D-Bus methods compute them (the bus's own round trip left out).
//
//   bench_desktopsearch FOLDER [--files N] [--runs R]
//
// FOLDER becomes FENNIC_LIBRARY_ROOT and holds a library cache of N synthetic items (default
// 250,000) built in memory; the model loads it as the application does at launch and prepares
// its search index, then each request is answered R times (default 15) after one warm-up.
#include "app/AppModel.h"
#include "app/LibraryModel.h"
#include "desktopsearch/DesktopSearch.h"
#include "desktopsearch/KRunnerProvider.h"
#include "library/Library.h"
#include "library/LibraryCache.h"
#include "library/Prefs.h"
#include "support/BenchTimer.h"
#include "support/SyntheticHome.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <cstdio>

using namespace fennic;

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() < 2) {
        std::fprintf(stderr, "usage: bench_desktopsearch FOLDER [--files N] [--runs R]\n");
        return 2;
    }
    const QString root = QDir(args[1]).absolutePath();
    int files = 250000, runs = 15;
    if (qsizetype i = args.indexOf("--files"); i > 0 && i + 1 < args.size()) files = args[i + 1].toInt();
    if (qsizetype i = args.indexOf("--runs"); i > 0 && i + 1 < args.size()) runs = args[i + 1].toInt();

    QDir().mkpath(root);
    qputenv("FENNIC_LIBRARY_ROOT", QFile::encodeName(root));
    qputenv("XDG_DATA_HOME", QFile::encodeName(root + "/.local/share"));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(root + "/.config"));
    Prefs::configure();
    const QList<FileItem> items =
        bench::items(Library::home(), bench::plan(files, 42), Date::fromQDateTime(QDateTime::currentDateTimeUtc()));
    LibraryCache::save(LibraryCache::defaultPath(), items);

    AppEnvironment env;
    AppModel model(env);
    model.waitForIdle();
    const bench::Stopwatch prepare;
    (void)model.library().searchIndex();  // the launch prepares it in the background
    std::printf("library: %lld items; search index ready after %.0f ms more\n",
                qlonglong(model.library().items().size()), prepare.ms());

    DesktopSearch search(model);
    KRunnerProvider runner(search);
    std::printf("%-38s %8s %10s %10s %10s\n", "request", "matches", "wall ms", "cpu ms", "KRunner ms");
    for (const char* request : {"invoice pdfs", "report", "pdfs from last week", "photos from last year", "screenshots",
                                "img", "IMG 2023", "music over 5 mb"}) {
        const QString text = QString::fromUtf8(request);
        qsizetype found = 0;
        const bench::Timing shell = bench::measure(runs, [&] { found = search.search(text).size(); });
        const bench::Timing krunner = bench::measure(runs, [&] { (void)runner.Match(text); });
        std::printf("%-38s %8lld %10.1f %10.1f %10.1f\n", request, qlonglong(found), shell.wallMs, shell.cpuMs,
                    krunner.wallMs);
    }
    return 0;
}
