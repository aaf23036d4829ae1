#pragma once

#include <cxxabi.h>
#include <dlfcn.h>
#include <execinfo.h>
#include <pthread.h>
#include <signal.h>
#include <time.h>
#include <unistd.h>

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QStringList>
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

// Where the GUI thread spends a slow event. The event timers say which delivery was slow; this
// says what inside it was. With `BENCH_SAMPLE_STALLS` set to a number of milliseconds, a timer
// on the GUI thread's own processor clock interrupts it every millisecond it runs, and while a
// delivery has lasted longer than that number the handler records the thread's stack. After
// the delivery the stacks are counted by function, so the report names the functions that held
// the thread (inclusive, like a profiler's "total"). The report also splits the delivery's time
// into time on a processor, time waiting for one (the kernel's run-queue delay) and the rest,
// spent blocked; reading those counters costs a few microseconds per event. Symbols come from the dynamic symbol table
// and, for functions with internal linkage, from the executable's debug information: link the benchmark with
// ENABLE_EXPORTS so its own functions show.
namespace fennic::bench {

class StallSampler {
public:
    StallSampler()
    {
        const QByteArray after = qgetenv("BENCH_SAMPLE_STALLS");
        if (after.isEmpty()) return;
        m_afterNs = qint64(after.toDouble() * 1e6);
        m_tid = int(gettid());
        instance() = this;
        void* warm[4];
        backtrace(warm, 4);  // loads the unwinder now, not first inside the handler
        struct sigaction action = {};
        action.sa_handler = &StallSampler::onSignal;
        action.sa_flags = SA_RESTART;
        sigemptyset(&action.sa_mask);
        sigaction(SIGPROF, &action, nullptr);
        // BENCH_SAMPLE_CLOCK=wall samples by the wall clock instead, so that a thread blocked
        // in a wait is caught where it waits.
        clockid_t cpu = CLOCK_MONOTONIC;
        if (qgetenv("BENCH_SAMPLE_CLOCK") != "wall") pthread_getcpuclockid(pthread_self(), &cpu);
        sigevent event = {};
        event.sigev_notify = SIGEV_THREAD_ID;
        event.sigev_signo = SIGPROF;
        event._sigev_un._tid = m_tid;
        if (timer_create(cpu, &event, &m_timer) != 0) {
            m_afterNs = 0;
            return;
        }
        itimerspec every = {{0, 1000000}, {0, 1000000}};
        timer_settime(m_timer, 0, &every, nullptr);
    }
    ~StallSampler()
    {
        if (!enabled()) return;
        timer_delete(m_timer);
        instance() = nullptr;
    }
    StallSampler(const StallSampler&) = delete;
    StallSampler& operator=(const StallSampler&) = delete;

    bool enabled() const { return m_afterNs > 0; }

    // Around the outermost delivery of one event.
    void enter()
    {
        if (!enabled()) return;
        m_samples.store(0);
        m_atEnter = sched();
        m_since.store(m_atEnter.at);
    }
    // Ends the delivery; returns the report when stacks were taken, otherwise nothing.
    QString leave(int top = 0)
    {
        if (!enabled()) return {};
        // BENCH_SAMPLE_TOP sets how many functions the report names.
        if (top <= 0) top = std::max(1, qEnvironmentVariableIntValue("BENCH_SAMPLE_TOP"));
        if (!qEnvironmentVariableIsSet("BENCH_SAMPLE_TOP")) top = 14;
        const qint64 since = m_since.exchange(0);
        const int taken = std::min(m_samples.load(), kMaxSamples);
        if (now() - since <= m_afterNs) return {};
        // The whole delivery: on a processor, waiting for one, and blocked.
        const Sched last = sched();
        const double wallMs = double(last.at - m_atEnter.at) / 1e6;
        const double runMs = double(last.run - m_atEnter.run) / 1e6;
        const double waitMs = double(last.wait - m_atEnter.wait) / 1e6;
        QString split =
            QStringLiteral("      %1 ms on a processor, %2 ms waiting for one, %3 ms blocked; %4 page faults")
                               .arg(runMs, 0, 'f', 1)
                               .arg(waitMs, 0, 'f', 1)
                               .arg(std::max(0.0, wallMs - runMs - waitMs), 0, 'f', 1)
                               .arg(last.faults - m_atEnter.faults);
        if (taken == 0) return split;
        // Inclusive counts per function (a function counted once per sample however deep it
        // recurses), from the leaf up to the delivery itself, and how far from the delivery each
        // sits, so that among functions on every stack the most specific comes first.
        QHash<QString, int> inclusive;
        QHash<QString, int> height;
        QHash<QString, int> leaves;
        for (int s = 0; s < taken; ++s) {
            const Sample& sample = m_stacks[s];
            QStringList path;
            // Frames 0-1 are the handler and the signal trampoline.
            for (int f = 2; f < sample.depth; ++f) {
                const QString name = symbol(sample.frames[f]);
                if (name.startsWith(QLatin1String("QApplicationPrivate::notify_helper"))) break;
                if (!name.isEmpty() && !path.contains(name)) path.append(name);
            }
            if (path.isEmpty()) continue;
            ++leaves[path.first()];
            for (int i = 0; i < path.size(); ++i) {
                ++inclusive[path[i]];
                height[path[i]] = std::max(height.value(path[i]), int(path.size()) - i);
            }
        }
        auto ranked = [&height](const QHash<QString, int>& counts, int most) {
            QList<QPair<int, QString>> order;
            for (auto it = counts.begin(); it != counts.end(); ++it) order.append({it.value(), it.key()});
            std::sort(order.begin(), order.end(), [&height](const auto& a, const auto& b) {
                return a.first != b.first ? a.first > b.first : height.value(a.second) > height.value(b.second);
            });
            QStringList lines;
            for (int i = 0; i < std::min<int>(most, int(order.size())); ++i)
                lines.append(QStringLiteral("        %1 %2").arg(order[i].first, 3).arg(order[i].second));
            return lines.join(u'\n');
        };
        return split
            + QStringLiteral("\n      %1 samples, one per millisecond of the sampling clock past the threshold; functions "
                             "holding the thread:\n%2\n      leaves:\n%3")
                       .arg(taken)
                       .arg(ranked(inclusive, top), ranked(leaves, 6));
    }

private:
    static constexpr int kMaxSamples = 400;
    static constexpr int kMaxFrames = 64;
    struct Sample {
        void* frames[kMaxFrames];
        int depth = 0;
    };

    static StallSampler*& instance()
    {
        static StallSampler* sampler = nullptr;
        return sampler;
    }
    static qint64 now()
    {
        timespec t;
        clock_gettime(CLOCK_MONOTONIC, &t);
        return qint64(t.tv_sec) * 1000000000 + t.tv_nsec;
    }
    // The thread's time on a processor and waiting for one, from the kernel.
    struct Sched {
        qint64 at = 0;
        qint64 run = 0;
        qint64 wait = 0;
        qint64 faults = 0;  // minor and major page faults
    };
    Sched sched() const
    {
        Sched s;
        s.at = now();
        char path[64];
        std::snprintf(path, sizeof path, "/proc/self/task/%d/schedstat", m_tid);
        if (FILE* file = std::fopen(path, "r")) {
            long long run = 0;
            long long wait = 0;
            if (std::fscanf(file, "%lld %lld", &run, &wait) == 2) {
                s.run = run;
                s.wait = wait;
            }
            std::fclose(file);
        }
        std::snprintf(path, sizeof path, "/proc/self/task/%d/stat", m_tid);
        if (FILE* file = std::fopen(path, "r")) {
            char line[1024];
            const size_t got = std::fread(line, 1, sizeof line - 1, file);
            line[got] = 0;
            // Fields after the command's closing parenthesis: minflt is the 8th, majflt the 10th.
            if (const char* close = std::strrchr(line, ')')) {
                long long minor = 0;
                long long major = 0;
                if (std::sscanf(close + 2, "%*c %*d %*d %*d %*d %*d %*u %lld %*u %lld", &minor, &major) == 2)
                    s.faults = minor + major;
            }
            std::fclose(file);
        }
        return s;
    }
    static void onSignal(int)
    {
        StallSampler* self = instance();
        if (!self) return;
        const qint64 since = self->m_since.load();
        if (since == 0 || now() - since <= self->m_afterNs) return;
        const int slot = self->m_samples.load();
        if (slot >= kMaxSamples) return;
        Sample& sample = self->m_stacks[slot];
        sample.depth = backtrace(sample.frames, kMaxFrames);
        self->m_samples.store(slot + 1);
    }
    QString symbol(void* address)
    {
        if (auto it = m_names.constFind(address); it != m_names.constEnd()) return *it;
        Dl_info info = {};
        QString name;
        if (dladdr(address, &info) && info.dli_sname) {
            int status = 0;
            char* demangled = abi::__cxa_demangle(info.dli_sname, nullptr, nullptr, &status);
            name = QString::fromUtf8(status == 0 && demangled ? demangled : info.dli_sname);
            std::free(demangled);
            // The signature's arguments make the lines too long to read; the name says enough.
            if (const int paren = name.indexOf(u'('); paren > 0) name.truncate(paren);
        } else if (info.dli_fname && QByteArray(info.dli_fname) == executable()) {
            name = lookUp(quintptr(address) - quintptr(info.dli_fbase) - 1);
        }
        if (name.isEmpty() && info.dli_fname) {
            name = QStringLiteral("%1+0x%2")
                                      .arg(QString::fromUtf8(info.dli_fname).section(u'/', -1))
                                      .arg(quintptr(address) - quintptr(info.dli_fbase), 0, 16);
        }
        m_names.insert(address, name);
        return name;
    }

    static QByteArray executable()
    {
        static const QByteArray path = [] {
            char buffer[4096];
            const ssize_t n = readlink("/proc/self/exe", buffer, sizeof buffer);
            return n > 0 ? QByteArray(buffer, int(n)) : QByteArray();
        }();
        return path;
    }
    // A function with internal linkage is not in the dynamic symbol table; its debug
    // information names it.
    static QString lookUp(quintptr offset)
    {
        const QByteArray command =
            "addr2line -f -C -e '" + executable() + "' 0x" + QByteArray::number(qulonglong(offset), 16);
        FILE* pipe = popen(command.constData(), "r");
        if (!pipe) return {};
        char line[1024] = {};
        const bool read = std::fgets(line, sizeof line, pipe) != nullptr;
        pclose(pipe);
        QString name = read ? QString::fromUtf8(line).trimmed() : QString();
        if (const int paren = name.indexOf(u'('); paren > 0) name.truncate(paren);
        return name == QLatin1String("??") ? QString() : name;
    }

    qint64 m_afterNs = 0;
    int m_tid = 0;
    timer_t m_timer = {};
    std::atomic<qint64> m_since = 0;
    Sched m_atEnter;
    std::atomic<int> m_samples = 0;
    Sample m_stacks[kMaxSamples];
    QHash<void*, QString> m_names;
};

}  // namespace fennic::bench
