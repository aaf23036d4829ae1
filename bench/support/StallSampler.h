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
#include <thread>
#include <vector>

// Where the GUI thread spends a slow event. The event timers say which delivery was slow; this
// says what inside it was: while one delivery has run longer than `BENCH_SAMPLE_STALLS`
// milliseconds, a watchdog thread interrupts the GUI thread every millisecond and the signal
// handler records its stack. After the delivery the stacks are counted by function, so the
// report names the functions that held the thread longest (inclusive, like a profiler's
// "total"), with enough frames to tell a repaint from a relayout. Symbols come from the
// dynamic symbol table: link the benchmark with ENABLE_EXPORTS so its own functions show.
namespace fennic::bench {

class StallSampler {
public:
    StallSampler()
    {
        const QByteArray after = qgetenv("BENCH_SAMPLE_STALLS");
        if (after.isEmpty()) return;
        m_afterNs = qint64(after.toDouble() * 1e6);
        m_gui = pthread_self();
        instance() = this;
        void* warm[4];
        backtrace(warm, 4);  // loads the unwinder now, not first inside the handler
        struct sigaction action = {};
        action.sa_handler = &StallSampler::onSignal;
        action.sa_flags = SA_RESTART;
        sigemptyset(&action.sa_mask);
        sigaction(SIGRTMIN + 3, &action, nullptr);
        m_watchdog = std::thread([this] { watch(); });
    }
    ~StallSampler()
    {
        if (!m_watchdog.joinable()) return;
        m_quit = true;
        m_watchdog.join();
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
        m_since.store(now());
    }
    // Ends the delivery; returns the report when stacks were taken, otherwise nothing.
    QString leave(int top = 14)
    {
        if (!enabled()) return {};
        m_since.store(0);
        const int taken = std::min(m_samples.load(), kMaxSamples);
        if (taken == 0) return {};
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
        return QStringLiteral("      %1 samples, 1 ms apart, after the first %2 ms; functions holding the thread:\n%3\n"
                              "      leaves:\n%4")
                                  .arg(taken)
                                  .arg(double(m_afterNs) / 1e6)
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
    static void onSignal(int)
    {
        StallSampler* self = instance();
        if (!self) return;
        const int slot = self->m_samples.load();
        if (slot >= kMaxSamples) return;
        Sample& sample = self->m_stacks[slot];
        sample.depth = backtrace(sample.frames, kMaxFrames);
        self->m_samples.store(slot + 1);
    }
    void watch()
    {
        while (!m_quit) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            const qint64 since = m_since.load();
            if (since > 0 && now() - since > m_afterNs) pthread_kill(m_gui, SIGRTMIN + 3);
        }
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
    pthread_t m_gui = {};
    std::thread m_watchdog;
    std::atomic<bool> m_quit = false;
    std::atomic<qint64> m_since = 0;
    std::atomic<int> m_samples = 0;
    Sample m_stacks[kMaxSamples];
    QHash<void*, QString> m_names;
};

}  // namespace fennic::bench
