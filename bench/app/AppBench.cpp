// The application model with a library of 250,000 files: construction from the cache, a
// settled request, and the longest stall of the GUI thread's event loop during a full scan
// followed by image indexing.
//
//   bench_app FOLDER [--files N] [--seconds S]
//
// FOLDER becomes FENNIC_LIBRARY_ROOT; the synthetic home is written there once (reused later).
#include "support/SyntheticHome.h"
#include "app/AppModel.h"
#include "library/Library.h"
#include "library/LibraryCache.h"
#include "library/Prefs.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <vector>

using namespace fennic;

namespace {

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v.empty() ? 0 : v[v.size() / 2];
}

// Ticks the event loop every millisecond and remembers the longest gap between two ticks.
class StallMeter {
public:
    StallMeter()
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&m_timer, &QTimer::timeout, [this] {
            const qint64 now = m_clock.nsecsElapsed();
            if (m_last >= 0) m_longest = std::max(m_longest, now - m_last);
            m_last = now;
        });
    }
    void start()
    {
        m_clock.start();
        m_last = -1;
        m_longest = 0;
        m_timer.start(1);
    }
    double longestMs() const { return double(m_longest) / 1e6; }

private:
    QTimer m_timer;
    QElapsedTimer m_clock;
    qint64 m_last = -1;
    qint64 m_longest = 0;
};

}  // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() < 2) {
        std::fprintf(stderr, "usage: bench_app FOLDER [--files N] [--seconds S]\n");
        return 2;
    }
    const QString root = args[1];
    int files = 250000;
    int seconds = 60;
    if (int i = args.indexOf("--files"); i > 0 && i + 1 < args.size()) files = args[i + 1].toInt();
    if (int i = args.indexOf("--seconds"); i > 0 && i + 1 < args.size()) seconds = args[i + 1].toInt();
    const quint32 seed = 42;

    qputenv("FENNIC_LIBRARY_ROOT", QFile::encodeName(root));
    qputenv("XDG_DATA_HOME", QFile::encodeName(root + "/.local/share"));
    Prefs::configure();
    const auto plan = bench::plan(files, seed);
    if (!bench::isWritten(root, files, seed)) {
        std::printf("writing a synthetic home of %d files to %s ...\n", files, qPrintable(root));
        if (!bench::write(root, plan, files, seed)) return 1;
    }

    AppEnvironment env;
    env.settleDelayMs = 700;

    // 1. Construction from a cache of the whole library.
    const QList<FileItem> items = bench::items(Library::home(), plan, Date::fromQDateTime(QDateTime::currentDateTimeUtc()));
    LibraryCache::save(LibraryCache::defaultPath(), items);
    std::vector<double> construct;
    for (int run = 0; run < 5; ++run) {
        QElapsedTimer t;
        t.start();
        AppModel model(env);
        construct.push_back(t.nsecsElapsed() / 1e6);
        if (model.items().size() != items.size()) std::printf("warning: %lld items loaded\n", qlonglong(model.items().size()));
        model.waitForIdle();
    }
    std::printf("construction with %lld cached items: median %.0f ms (runs:", qlonglong(items.size()), median(construct));
    for (double c : construct) std::printf(" %.0f", c);
    std::printf(")\n");

    // 2. A settled request recomputing the shown list.
    {
        AppModel model(env);
        for (const char* request : {"pdfs from gmail last week over 5 MB", "report", "photos from last year",
                                    "screenshots", "invoice pdfs"}) {
            std::vector<double> times;
            qsizetype shown = 0;
            for (int run = 0; run < 7; ++run) {
                model.setQuery(QString());
                model.setQuery(QString::fromUtf8(request));
                QElapsedTimer t;
                t.start();
                shown = model.shownItems().size();
                times.push_back(t.nsecsElapsed() / 1e6);
            }
            std::printf("request \"%s\": shownItems in median %.1f ms (%lld shown)\n", request, median(times),
                        qlonglong(shown));
        }
        model.waitForIdle();
    }

    // 3. The longest stall of the event loop during a full scan and image indexing.
    {
        AppModel model(env);
        StallMeter meter;
        meter.start();
        QElapsedTimer t;
        t.start();
        model.scan();
        while (model.isScanning()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
        const double scanMs = t.nsecsElapsed() / 1e6;
        const double scanStall = meter.longestMs();
        QElapsedTimer indexing;
        indexing.start();
        while (model.isIndexingImages() && indexing.elapsed() < seconds * 1000)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
        std::printf("full scan of %lld items: %.0f ms; longest event-loop stall during the scan %.1f ms\n",
                    qlonglong(model.items().size()), scanMs, scanStall);
        std::printf("image indexing for %.0f s (%d of %d read, then the index saved): longest stall overall %.1f ms\n",
                    indexing.elapsed() / 1000.0, model.ocrProgress().first, model.ocrProgress().second,
                    meter.longestMs());
        model.setImageIndexPaused(true);  // saves what was read, off the GUI thread
        QElapsedTimer save;
        save.start();
        while (save.elapsed() < 3000) QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
        std::printf("after pausing and saving the index: longest stall overall %.1f ms\n", meter.longestMs());
    }
    return 0;
}
