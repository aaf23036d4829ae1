// The main window over a library of 250,000 files: launch to the first painted results,
// the chips redrawn per keystroke, a settled request repainted, a page of grid scrolled with
// thumbnails pending, the longest stall of the GUI thread while a scan, image reading and
// thumbnailing run together, and the memory of it all.
//
//   bench_window FOLDER [--files N] [--seconds S]
//
// FOLDER becomes FENNIC_LIBRARY_ROOT; the synthetic home is written there once and reused.
// Runs offscreen: painting is real (the raster engine into the offscreen backing store), only
// nothing reaches a screen.
#include "app/AppModel.h"
#include "app/AppSettings.h"
#include "app/ImageIndexer.h"
#include "app/LibraryModel.h"
#include "app/SearchSession.h"
#include "ask/AskBar.h"
#include "ask/AskField.h"
#include "browser/BrowserView.h"
#include "home/HomePage.h"
#include "library/Library.h"
#include "library/LibraryCache.h"
#include "library/Prefs.h"
#include "model/SupportFiles.h"
#include "quickpanel/QuickPanel.h"
#include "support/BenchTimer.h"
#include "support/PaintCounter.h"
#include "support/PressureLog.h"
#include "support/Pump.h"
#include "support/StallMeter.h"
#include "support/StallSampler.h"
#include "support/SyntheticHome.h"
#include "theme/BandedStyle.h"
#include "theme/DesktopLook.h"
#include "thumbnails/ThumbnailLoader.h"
#include "window/MainWindow.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QKeyEvent>
#include <QListView>
#include <QMetaEnum>
#include <QScrollBar>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <vector>

using namespace fennic;
using fennic::bench::PaintCounter;
using fennic::bench::StallMeter;

namespace {

// An application that times every event it delivers and remembers the slowest, so that a
// stall can be traced to what caused it.
class TimedApplication : public QApplication {
public:
    using QApplication::QApplication;

    bool notify(QObject* receiver, QEvent* event) override
    {
        if (++m_depth > 1) {
            const bool handled = QApplication::notify(receiver, event);
            --m_depth;
            return handled;
        }
        QElapsedTimer clock;
        clock.start();
        const auto began = bench::PressureLog::Clock::now();
        // A timer is known by its name (the window's own timers are named after their owners).
        const QByteArray name = receiver->objectName().isEmpty() ? QByteArray(receiver->metaObject()->className())
                                                                 : receiver->objectName().toUtf8();
        // The event by its name ("UpdateRequest" is a repaint, "LayoutRequest" a new layout).
        const char* known = QMetaEnum::fromType<QEvent::Type>().valueToKey(int(event->type()));
        const QByteArray type = known ? QByteArray(known) : QByteArray::number(int(event->type()));
        m_sampler.enter();
        const bool handled = QApplication::notify(receiver, event);
        const QString stacks = m_sampler.leave();
        const double ms = double(clock.nsecsElapsed()) / 1e6;
        if (ms > 4 && m_log)
            m_events.append({QStringLiteral("%1 ms %2 (%3)").arg(ms, 0, 'f', 1).arg(QString::fromUtf8(name), QString::fromUtf8(type)), began,
                bench::PressureLog::Clock::now(), ms > 16});
        if (!stacks.isEmpty())
            std::printf("    %.1f ms in %s (%s):\n%s\n", ms, name.constData(), type.constData(), qPrintable(stacks));
        if (ms > m_slowestMs) {
            m_slowestMs = ms;
            m_slowest = QStringLiteral("%1 (%2)").arg(QString::fromUtf8(name), QString::fromUtf8(type));
        }
        --m_depth;
        return handled;
    }
    bool m_log = qEnvironmentVariableIsSet("BENCH_LOG_EVENTS");
    struct Event {
        QString text;
        bench::PressureLog::Clock::time_point began;
        bench::PressureLog::Clock::time_point ended;
        bool stall;  // over 16 ms: what the machine waited for meanwhile is added
    };
    QList<Event> m_events;
    bench::PressureLog m_pressure;
    void resetSlowest()
    {
        QStringList events;
        for (const Event& event : std::as_const(m_events))
            events << (event.stall ? QStringLiteral("%1 [%2]").arg(
                event.text, bench::PressureLog::describe(m_pressure.between(event.began, event.ended)))
                                   : event.text);
        if (m_log && !events.isEmpty()) std::printf("  events over 4 ms: %s\n", qPrintable(events.join(u"; ")));
        m_events.clear();
        m_slowestMs = 0;
        m_slowest.clear();
    }
    QString slowest() const { return QStringLiteral("%1 ms in %2").arg(m_slowestMs, 0, 'f', 1).arg(m_slowest); }

private:
    bench::StallSampler m_sampler;
    int m_depth = 0;
    double m_slowestMs = 0;
    QString m_slowest;
};

double residentMb()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) return 0;
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith("VmRSS:")) return line.mid(6).trimmed().split(' ').first().toDouble() / 1024.0;
    return 0;
}

using bench::pump;
using bench::pumpUntil;

}  // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    TimedApplication app(argc, argv);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const QStringList args = app.arguments();
    if (args.size() < 2) {
        std::fprintf(stderr, "usage: bench_window FOLDER [--files N] [--seconds S]\n");
        return 2;
    }
    const QString& root = args[1];
    int files = 250000;
    int seconds = 30;
    if (int i = args.indexOf("--files"); i > 0 && i + 1 < args.size()) files = args[i + 1].toInt();
    if (int i = args.indexOf("--seconds"); i > 0 && i + 1 < args.size()) seconds = args[i + 1].toInt();
    const quint32 seed = 42;

    qputenv("FENNIC_LIBRARY_ROOT", QFile::encodeName(root));
    qputenv("XDG_DATA_HOME", QFile::encodeName(root + "/.local/share"));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(root + "/.cache"));
    Prefs::configure();
    DesktopLook::ensureIconTheme();
    BandedStyle::install();
    {
        const auto plan = bench::plan(files, seed);
        if (!bench::isWritten(root, files, seed)) {
            std::printf("writing a synthetic home of %d files to %s ...\n", files, qPrintable(root));
            if (!bench::write(root, plan, files, seed)) return 1;
        }
        // The benchmark's own copy of the items goes before anything is measured.
        const QList<FileItem> items =
            bench::items(Library::home(), plan, Date::fromQDateTime(QDateTime::currentDateTimeUtc()));
        LibraryCache::save(LibraryCache::defaultPath(), items);
    }
    QFile::remove(SupportFiles::current().imageIndex());
    QDir(root + "/.cache/thumbnails").removeRecursively();
    const double baseMb = residentMb();

    // 1. Launch: the model reads the cache, the window is built and shows its first results.
    AppEnvironment env;
    env.settingsFile = root + "/bench-window-settings.ini";
    const bench::Stopwatch launch;
    AppModel model(env);
    const double modelMs = launch.ms();
    ThumbnailLoader thumbnails;
    MainWindow window(model, thumbnails);
    window.resize(1280, 800);
    auto* grid = window.browser()->findChild<QListView*>();
    if (!grid) return 1;
    PaintCounter gridPaints(grid->viewport());
    // The window opens on Home: the library's totals, recent files and downloads.
    PaintCounter homePaints(window.homePage());
    window.show();
    pumpUntil([&] { return homePaints.paints > 0; }, 30000);
    const double launchMs = launch.ms();
    std::printf("launch with %lld cached items: model %.0f ms, Home painted at %.0f ms\n",
                qlonglong(model.library().items().size()), modelMs, launchMs);
    // The browser from here on: the largest kind of file.
    FileKind largest = FileKind::document;
    for (const FileKind kind : FileKinds::allCases)
        if (model.library().stats().total(kind).count > model.library().stats().total(largest).count) largest = kind;
    model.search().setSidebar(SidebarItem::ofKind(largest));
    pumpUntil([&] { return gridPaints.paints > 0; }, 30000);
    std::printf("the browser over the largest kind (%lld files) painted at %.0f ms\n",
                qlonglong(model.library().stats().total(largest).count), launch.ms());

    // 2. Chips: each keystroke restyles the field and repaints it. Keys come 70 ms apart (a fast
    //    typist) with the event loop running between them, as they do from the window system:
    //    each key starts the list's work on its thread, and that work runs between the keys.
    //    Then the same keys once more back to back, with no event loop between them: harsher
    //    than any typist, since the GUI thread never sleeps and the list's thread wakes at every
    //    key; shown beside the other for comparison.
    AskField* field = window.askBar()->field();
    field->setFocus();
    const auto typeChips = [&](int gapMs, const char* how) {
        field->setText(QString());
        model.search().setQuery(QString());
        pump(200);
        std::vector<double> keystrokes;
        std::vector<double> busy;  // the GUI thread's own processor time in each
        for (const QChar c : QStringLiteral("pdfs from gmail last week over 5 MB")) {
            QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(c));
            QKeyEvent release(QEvent::KeyRelease, 0, Qt::NoModifier, QString(c));
            const bench::Stopwatch clock;
            const double cpu = bench::threadCpuMs();
            QApplication::sendEvent(field, &press);
            QApplication::sendEvent(field, &release);
            window.askBar()->repaint();
            keystrokes.push_back(clock.ms());
            busy.push_back(bench::threadCpuMs() - cpu);
            if (gapMs > 0) pump(gapMs);
        }
        const auto worst = std::max_element(keystrokes.begin(), keystrokes.end());
        std::printf(
            "chips redrawn per keystroke, %s: median %.2f ms, worst %.2f ms (key %d of %zu; busy %.2f ms in it)\n", how,
            bench::median(keystrokes), *worst, int(worst - keystrokes.begin()) + 1, keystrokes.size(),
            busy.at(std::size_t(worst - keystrokes.begin())));
    };
    typeChips(70, "keys 70 ms apart");
    typeChips(0, "keys back to back");

    // 2b. The Quick Search panel: from the hot key's callback to the panel painted, the first
    //     time (when it is made) and later; then, per keystroke typed 70 ms apart, the key
    //     handled and the panel repainted, and the key's rows shown (they follow every key
    //     without a typing pause, found on the pool).
    for (int run = 0; run < 4; ++run) {
        const bench::Stopwatch clock;
        window.showQuickSearch();
        QuickPanel* panel = window.quickPanel();
        PaintCounter panelPaints(panel);
        pumpUntil([&] { return panelPaints.paints > 0; }, 3000);
        std::printf("Quick Search panel %s painted %.1f ms after the hot key\n", run == 0 ? "made and" : "shown and",
                    clock.ms());
        panel->dismiss();
        pump(200);
    }
    {
        window.showQuickSearch();
        QuickPanel* panel = window.quickPanel();
        AskField* quickField = panel->askBar()->field();
        std::vector<double> keys;
        std::vector<double> rows;
        for (const QChar c : QStringLiteral("invoice pdfs from last year")) {
            QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(c));
            const bench::Stopwatch clock;
            QApplication::sendEvent(quickField, &press);
            panel->repaint();
            keys.push_back(clock.ms());
            pumpUntil([&] { return !panel->model().searching(); }, 3000);
            panel->repaint();
            rows.push_back(clock.ms());
            pump(std::max(0, 70 - int(clock.ms())));
        }
        std::printf("Quick Search per keystroke, 70 ms apart: key handled and panel repainted median %.1f ms, worst "
                    "%.1f ms; the key's rows shown median %.1f ms, worst %.1f ms (%zu keys, %lld rows at the end)\n",
                    bench::median(keys), *std::max_element(keys.begin(), keys.end()), bench::median(rows),
                    *std::max_element(rows.begin(), rows.end()), keys.size(),
                    qlonglong(panel->model().results().size()));
        panel->dismiss();
        field->setFocus();
    }

    // 3. A request: from setting it (as the Ask field does) to the repainted browser, once the
    //    typing pause has passed; the keys before it were typed.
    //    Typed key by key into the Ask field, 70 ms apart; the time counts from the last key.
    //    The list itself is also worked out on the spot once, to show what the pool does.
    for (const char* request : {"report", "photos from last year", "screenshots", "invoice pdfs"}) {
        std::vector<double> repaints;
        std::vector<double> lists;
        for (int run = 0; run < 5; ++run) {
            field->setText(QString());
            model.search().setQuery(QString());
            pump(900);
            const QString typed = QString::fromUtf8(request);
            for (qsizetype i = 0; i + 1 < typed.size(); ++i) {
                QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(typed[i]));
                QApplication::sendEvent(field, &press);
                pump(70);
            }
            const int before = gridPaints.paints;
            const bench::Stopwatch clock;
            QKeyEvent last(QEvent::KeyPress, 0, Qt::NoModifier, QString(typed.back()));
            QApplication::sendEvent(field, &last);
            pumpUntil([&] { return gridPaints.paints != before; }, 3000);
            repaints.push_back(clock.ms());
            model.search().setSidebar(SidebarItem::home());
            model.search().setSidebar(SidebarItem::ofKind(largest));
            const bench::Stopwatch work;
            model.search().visibleItems();
            lists.push_back(work.ms());
        }
        std::printf("request \"%s\" typed: browser painted %.1f ms after the last key (median; the typing pause is "
                    "%d ms), worst %.1f ms; the list alone takes %.1f ms (%lld shown)\n",
                    request, bench::median(repaints), 120, *std::max_element(repaints.begin(), repaints.end()),
                    bench::median(lists), qlonglong(model.search().shownItems().size()));
    }
    model.search().setQuery(QString());
    pump(800);

    // 4. Scrolling the grid by a page, thumbnails pending.
    std::vector<double> pages;
    QScrollBar* bar = grid->verticalScrollBar();
    for (int page = 0; page < 40; ++page) {
        const bench::Stopwatch clock;
        bar->setValue(bar->value() + bar->pageStep());
        grid->viewport()->repaint();
        pages.push_back(clock.ms());
        QApplication::processEvents();
    }
    std::printf("grid scrolled by a page: median %.2f ms, worst %.2f ms (%zu pages, %d thumbnails queued)\n",
                bench::median(pages), *std::max_element(pages.begin(), pages.end()), pages.size(), thumbnails.queued());

    // 5. Scan, image reading and thumbnailing together, scrolling meanwhile.
    StallMeter meter;
    meter.start();
    app.resetSlowest();
    const auto scanStart = bench::PressureLog::Clock::now();
    model.library().scan();
    QTimer scroller;
    scroller.setObjectName(QStringLiteral("bench scroller"));
    QObject::connect(&scroller, &QTimer::timeout, [&] {
        bar->setValue(bar->value() + bar->pageStep() / 2);
        if (bar->value() >= bar->maximum()) bar->setValue(0);
    });
    scroller.start(250);
    pumpUntil([&] { return !model.library().isScanning(); }, 120000);
    const double scanStall = meter.longestMs();
    const QString scanSplit = meter.describeLongest();
    const auto scanPressure = app.m_pressure.between(meter.longestStart(), meter.longestEnd());
    const auto scanEnd = bench::PressureLog::Clock::now();
    const double scanBusiest = meter.longestBusyMs();
    const double scanUnheld = meter.longestUnheldMs();
    const QString scanSpeed = meter.describeSpeed();
    const QString scanSlowest = app.slowest();
    app.resetSlowest();
    pump(seconds * 1000);
    scroller.stop();
    meter.stop();
    // "Busy" is the GUI thread's own processor time in the longest stall: the rest of that
    // stall it was off its core, waiting for one or blocked. The busiest gap is the most
    // processor time it spent between two ticks anywhere in the run.
    std::printf("scan of %lld items with the window open: longest stall %.1f ms (%s; busiest gap %.1f ms); "
                "with image reading (%d read) and thumbnailing for %d s more: longest stall %.1f ms (%s; "
                "busiest gap %.1f ms)\n",
                qlonglong(model.library().items().size()), scanStall, qPrintable(scanSplit), scanBusiest,
                model.images().ocrProgress().first, seconds, meter.longestMs(), qPrintable(meter.describeLongest()),
                meter.longestBusyMs());
    std::printf("longest stall with the hypervisor's holds of the GUI thread's core taken out: scan %.1f ms, whole run "
                "%.1f ms\n",
                scanUnheld, meter.longestUnheldMs());
    std::printf("the GUI thread's core during the scan: %s; during the whole run: %s\n", qPrintable(scanSpeed),
                qPrintable(meter.describeSpeed()));
    std::printf("slowest event during the scan: %s; afterwards: %s\n", qPrintable(scanSlowest),
                qPrintable(app.slowest()));
    // The machine's own state over each phase tells a stall of the application from time the
    // machine was held up: steal, and how late the sampling thread (which only sleeps) woke.
    const auto readEnd = bench::PressureLog::Clock::now();
    std::printf("during the longest stall of the scan the machine's %s\n",
                qPrintable(bench::PressureLog::describe(scanPressure)));
    std::printf(
        "during the longest stall of the whole run the machine's %s\n",
        qPrintable(bench::PressureLog::describe(app.m_pressure.between(meter.longestStart(), meter.longestEnd()))));
    std::printf("over the whole scan the machine's %s\n",
                qPrintable(bench::PressureLog::describe(app.m_pressure.between(scanStart, scanEnd))));
    std::printf("over the whole reading the machine's %s\n",
                qPrintable(bench::PressureLog::describe(app.m_pressure.between(scanEnd, readEnd))));
    app.resetSlowest();

    // 6. Memory with the thumbnail cache filled by scrolling through the library.
    for (int page = 0; page < 400; ++page) {
        bar->setValue((page * bar->pageStep()) % std::max(1, bar->maximum()));
        grid->viewport()->repaint();
        pump(20);
    }
    pump(3000);
    std::printf("resident memory: %.0f MB (%.0f MB before the model; %d thumbnails queued)\n", residentMb(), baseMb,
                thumbnails.queued());
    model.images().setImageIndexPaused(true);
    model.waitForIdle(30000);
    return 0;
}
