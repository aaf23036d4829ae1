// The application model with a library of 250,000 files: construction from the cache, a
// settled request, and the longest stall of the GUI thread's event loop during a full scan
// followed by image indexing.
//
//   bench_app FOLDER [--files N] [--seconds S] [--save-every S]
//
// FOLDER becomes FENNIC_LIBRARY_ROOT; the synthetic home is written there once (reused later).
// Construction loads the image index a previous run left; the scan starts without one, so that
// every picture is read, and indexing writes the index every S seconds (5 unless told), so that
// index writes fall inside the measured time. With FENNIC_BENCH_SLOW_MS=N set, every event the GUI thread took longer
// than N ms to handle, and every gap between ticks over N ms, is printed to stderr.
#include "app/AppModel.h"
#include "app/AppSettings.h"
#include "app/ImageIndexer.h"
#include "app/LibraryModel.h"
#include "app/Organiser.h"
#include "app/SearchSession.h"
#include "app/Toast.h"
#include "library/Library.h"
#include "library/LibraryCache.h"
#include "library/Prefs.h"
#include "model/SupportFiles.h"
#include "quick/QuickSearchModel.h"
#include "support/BenchTimer.h"
#include "support/SyntheticHome.h"

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

qint64 slowReportNs()
{
    static const qint64 ns = qEnvironmentVariableIsSet("FENNIC_BENCH_SLOW_MS")
        ? qint64(qEnvironmentVariableIntValue("FENNIC_BENCH_SLOW_MS")) * 1000000
        : -1;
    return ns;
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
            if (m_last >= 0 && slowReportNs() >= 0 && now - m_last > slowReportNs())
                std::fprintf(stderr, "gap of %.1f ms at %.3f s\n", (now - m_last) / 1e6, now / 1e9);
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

// Reports every event the GUI thread took longer than FENNIC_BENCH_SLOW_MS to deliver, to find
// what makes the event loop stall.
class TimedApplication : public QGuiApplication {
public:
    using QGuiApplication::QGuiApplication;
    bool notify(QObject* receiver, QEvent* event) override
    {
        if (slowReportNs() < 0) return QGuiApplication::notify(receiver, event);
        QElapsedTimer t;
        t.start();
        const int type = event->type();
        const bool handled = QGuiApplication::notify(receiver, event);
        if (const qint64 ns = t.nsecsElapsed(); ns > slowReportNs())
            std::fprintf(stderr, "slow event: type %d to %s, %.1f ms\n", type, receiver->metaObject()->className(),
                         ns / 1e6);
        return handled;
    }
};

}  // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    TimedApplication app(argc, argv);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);  // keeps the order of results and slow-event lines
    const QStringList args = app.arguments();
    if (args.size() < 2) {
        std::fprintf(stderr, "usage: bench_app FOLDER [--files N] [--seconds S]\n");
        return 2;
    }
    const QString& root = args[1];
    int files = 250000;
    int seconds = 60;
    if (int i = args.indexOf("--files"); i > 0 && i + 1 < args.size()) files = args[i + 1].toInt();
    if (int i = args.indexOf("--seconds"); i > 0 && i + 1 < args.size()) seconds = args[i + 1].toInt();
    int saveEvery = 5;
    if (int i = args.indexOf("--save-every"); i > 0 && i + 1 < args.size()) saveEvery = args[i + 1].toInt();
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
    const QList<FileItem> items =
        bench::items(Library::home(), plan, Date::fromQDateTime(QDateTime::currentDateTimeUtc()));
    LibraryCache::save(LibraryCache::defaultPath(), items);
    std::vector<double> construct;
    qsizetype records = 0;
    for (int run = 0; run < 5; ++run) {
        const bench::Stopwatch clock;
        AppModel model(env);
        construct.push_back(clock.ms());
        records = model.images().imageRecords().size();
        if (model.library().items().size() != items.size())
            std::printf("warning: %lld items loaded\n", qlonglong(model.library().items().size()));
        model.waitForIdle();
    }
    std::printf("construction with %lld cached items and %lld image records: median %.0f ms (runs:",
                qlonglong(items.size()), qlonglong(records), bench::median(construct));
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
                model.search().setQuery(QString());
                model.search().setQuery(QString::fromUtf8(request));
                const bench::Stopwatch clock;
                shown = model.search().shownItems().size();
                times.push_back(clock.ms());
            }
            std::printf("request \"%s\": shownItems in median %.1f ms (%lld shown)\n", request, bench::median(times),
                        qlonglong(shown));
        }
        // The Quick Search panel answers every keystroke on the GUI thread (picture matches
        // follow from the pool): the time until its first rows are there.
        QuickSearchModel quick(model);
        for (const char* request : {"report", "invoice pdfs", "screenshots from last week"}) {
            std::vector<double> times;
            for (int run = 0; run < 7; ++run) {
                quick.setQuery(QString());
                const bench::Stopwatch clock;
                quick.setQuery(QString::fromUtf8(request));
                times.push_back(clock.ms());
            }
            std::printf("quick search \"%s\": first rows in median %.1f ms (%lld rows)\n", request,
                        bench::median(times), qlonglong(quick.results().size()));
        }
        model.waitForIdle();
    }

    // 3. The longest stall of the event loop during a full scan and image indexing.
    QFile::remove(SupportFiles::current().imageIndex());
    env.indexSaveIntervalMs = saveEvery * 1000;
    {
        int saves = 0;
        AppModel model(env);
        QObject::connect(&model.images(), &ImageIndexer::imageIndexSaved, [&saves] { ++saves; });
        StallMeter meter;
        meter.start();
        const bench::Stopwatch scanClock;
        model.library().scan();
        while (model.library().isScanning()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
        const double scanMs = scanClock.ms();
        const double scanStall = meter.longestMs();
        const bench::Stopwatch indexing;
        while (model.images().isIndexingImages() && indexing.seconds() < seconds)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
        std::printf("full scan of %lld items: %.0f ms; longest event-loop stall during the scan %.1f ms\n",
                    qlonglong(model.library().items().size()), scanMs, scanStall);
        std::printf("image indexing for %.0f s (%d of %d read): longest stall overall %.1f ms\n", indexing.seconds(),
                    model.images().ocrProgress().first, model.images().ocrProgress().second, meter.longestMs());
        model.images().setImageIndexPaused(true);  // saves what was read, off the GUI thread
        const bench::Stopwatch save;
        while (save.seconds() < 3) QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
        std::printf("after pausing and saving the index (%d index writes in all): longest stall overall %.1f ms\n",
                    saves, meter.longestMs());
    }
    return 0;
}
