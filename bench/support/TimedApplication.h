#pragma once

#include <QApplication>
#include <QElapsedTimer>
#include <QEvent>
#include <QMetaEnum>
#include <QStringList>
#include <QTimerEvent>
#include <cstdio>

#include "BenchTimer.h"
#include "StallSampler.h"

// An application that times every event it delivers from the event loop (nested deliveries
// count in their outermost one) and, with `BENCH_LOG_EVENTS` set in the environment, lists
// those that took longer than `thresholdMs`: when, how long, the GUI thread's own part of it,
// the receiver (a timer or helper object by its parent too, since "QTimer" alone says
// nothing) and the event's type. So a stall seen by the StallMeter can be traced to what
// caused it; with `BENCH_SAMPLE_STALLS` as well, the functions inside the slow ones are listed. `note` adds a line of
// the benchmark's own (a slow step done outside the loop).
namespace fennic::bench {

class TimedApplication : public QApplication {
public:
    using QApplication::QApplication;

    bool notify(QObject* receiver, QEvent* event) override
    {
        if (!m_log || ++m_depth > 1) {
            const bool handled = QApplication::notify(receiver, event);
            if (m_log) --m_depth;
            return handled;
        }
        // Read before delivery: the receiver may delete itself, and the event with it.
        const QString who = describe(receiver);
        const QString what = typeName(event);
        const double cpu = threadCpuMs();
        QElapsedTimer clock;
        clock.start();
        m_sampler.enter();
        const bool handled = QApplication::notify(receiver, event);
        const QString stacks = m_sampler.leave();
        const double ms = double(clock.nsecsElapsed()) / 1e6;
        if (ms > thresholdMs) note(QStringLiteral("%1 (%2)").arg(who, what), ms, threadCpuMs() - cpu);
        if (!stacks.isEmpty()) m_lines.append(stacks);
        --m_depth;
        return handled;
    }

    bool logging() const { return m_log; }

    // Adds a line to the log: `what` took `ms`, of which the GUI thread worked `cpuMs`.
    void note(const QString& what, double ms, double cpuMs)
    {
        if (!m_log) return;
        m_lines.append(QStringLiteral("    at %1 ms: %2 ms (GUI thread %3 ms) %4")
                                          .arg(double(m_since.nsecsElapsed()) / 1e6, 0, 'f', 0)
                                          .arg(ms, 0, 'f', 1)
                                          .arg(cpuMs, 0, 'f', 1)
                                          .arg(what));
    }

    // Prints what was logged since the last call under `heading`, and starts again.
    void print(const char* heading)
    {
        if (m_log && !m_lines.isEmpty())
            std::printf("  %s, events over %.0f ms:\n%s\n", heading, thresholdMs, qPrintable(m_lines.join(u'\n')));
        restart();
    }
    void restart()
    {
        m_lines.clear();
        m_since.start();
    }

    double thresholdMs = 4;

private:
    static QString describe(const QObject* object)
    {
        QString text = QString::fromLatin1(object->metaObject()->className());
        if (!object->objectName().isEmpty()) text += QStringLiteral(" \"%1\"").arg(object->objectName());
        if (const QObject* parent = object->parent(); parent && !object->isWidgetType())
            text += QStringLiteral(" of %1").arg(QString::fromLatin1(parent->metaObject()->className()));
        return text;
    }
    static QString typeName(const QEvent* event)
    {
        static const QMetaEnum types = QMetaEnum::fromType<QEvent::Type>();
        const char* key = types.valueToKey(int(event->type()));
        QString text = key ? QString::fromLatin1(key) : QString::number(int(event->type()));
        if (event->type() == QEvent::Timer)
            text += QStringLiteral(" %1").arg(static_cast<const QTimerEvent*>(event)->timerId());
        return text;
    }

    bool m_log = qEnvironmentVariableIsSet("BENCH_LOG_EVENTS");
    StallSampler m_sampler;
    int m_depth = 0;
    QStringList m_lines;
    QElapsedTimer m_since;
};

}  // namespace fennic::bench
