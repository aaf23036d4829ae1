// Full scan of a synthetic home folder against a bare readdir+statx loop over the same tree.
//
//   bench_scan FOLDER [--files N] [--seed S] [--runs R]
//
// The tree is written into FOLDER once (N listed files, default 250,000; FOLDER must be new or
// empty) and reused by later runs with the same N and seed. Both walks then run R times each (default 7), alternating,
// after one untimed warm-up each, so that the page cache is warm; the medians are compared.
//
// The baseline is what any walk must pay at least: getdents through readdir, and one statx
// (no link following, the same fields the scanner asks for) per entry. For fairness it prunes
// like the scanner does: hidden names and the skipped folder names are not entered. It does
// not sort names, read attributes, recognise packages or build any item.

#include "library/CaptureDate.h"
#include "library/CaptureDateFile.h"
#include "library/Scanner.h"
#include "support/BenchTimer.h"
#include "support/SyntheticHome.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <malloc.h>
#include <string_view>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>
#include <vector>

using namespace fennic;

namespace {

struct BaselineCount {
    qint64 entries = 0;
    qint64 files = 0;
};

bool isSkippedName(const char* name)
{
    static const QSet<QByteArray> names = [] {
        QSet<QByteArray> s;
        for (const QString& n : Scanner::skippedDirectories()) s.insert(n.toUtf8());
        return s;
    }();
    return names.contains(QByteArray::fromRawData(name, qsizetype(std::strlen(name))));
}

void baselineWalk(int fd, BaselineCount& count)
{
    DIR* dir = ::fdopendir(fd);
    if (!dir) {
        ::close(fd);
        return;
    }
    while (const dirent* d = ::readdir(dir)) {
        if (d->d_name[0] == '.') continue;
        struct statx stx;
        if (::statx(fd, d->d_name, AT_SYMLINK_NOFOLLOW,
                    STATX_TYPE | STATX_MODE | STATX_SIZE | STATX_BLOCKS | STATX_MTIME | STATX_CTIME | STATX_ATIME
                        | STATX_BTIME,
                    &stx)
            != 0)
            continue;
        ++count.entries;
        if (S_ISREG(stx.stx_mode)) {
            ++count.files;
        } else if (S_ISDIR(stx.stx_mode) && !isSkippedName(d->d_name)) {
            const int sub = ::openat(fd, d->d_name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
            if (sub >= 0) baselineWalk(sub, count);
        }
    }
    ::closedir(dir);
}

BaselineCount baseline(const QStringList& roots)
{
    BaselineCount count;
    for (const QString& root : roots) {
        const int fd = ::open(QFile::encodeName(root).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (fd >= 0) baselineWalk(fd, count);
    }
    return count;
}

QByteArray loadAverage()
{
    QFile f(QStringLiteral("/proc/loadavg"));
    return f.open(QIODevice::ReadOnly) ? f.readAll().split(' ').mid(0, 3).join(' ') : QByteArray("?");
}

int usage()
{
    std::fprintf(stderr, "usage: bench_scan FOLDER [--files N] [--seed S] [--runs R]\n");
    return 2;
}

}  // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments().mid(1);
    if (args.isEmpty() || args[0].startsWith(u'-')) return usage();
    const QString& root = args[0];
    int files = 250000;
    quint32 seed = 1;
    int runs = 7;
    for (qsizetype i = 1; i < args.size(); i += 2) {
        if (i + 1 >= args.size()) return usage();
        bool ok = false;
        const int value = args[i + 1].toInt(&ok);
        if (!ok || value <= 0) return usage();
        if (args[i] == u"--files")
            files = value;
        else if (args[i] == u"--seed")
            seed = quint32(value);
        else if (args[i] == u"--runs")
            runs = value;
        else
            return usage();
    }

    if (!bench::isWritten(root, files, seed)) {
        // Never write over somebody's folder, nor mix two plans in one tree.
        if (QDir(root).exists() && !QDir(root).isEmpty()) {
            std::fprintf(stderr, "%s is not empty and holds no tree for these settings: name an empty or new folder\n",
                         qPrintable(root));
            return 1;
        }
        bench::Stopwatch clock;
        const QList<bench::PlannedFile> plan = bench::plan(files, seed);
        std::printf("planned %lld entries in %.2f s\n", (long long)plan.size(), clock.seconds());
        clock.restart();
        if (!bench::write(root, plan, files, seed)) {
            std::fprintf(stderr, "could not write the synthetic home into %s\n", qPrintable(root));
            return 1;
        }
        std::printf("wrote the tree in %.2f s\n", clock.seconds());
    } else {
        std::printf("reusing the tree in %s\n", qPrintable(root));
    }

    const QStringList roots = bench::roots(root);
    const Scanner scanner(roots, bench::appFolders(root));

    // Warm-up (untimed): fills the page, inode and dentry caches; the first scan also gives
    // the heap cost of its result.
    const BaselineCount counted = baseline(roots);
    const size_t heapBefore = mallinfo2().uordblks;
    QList<FileItem> items = scanner.scan();
    const size_t heapAfter = mallinfo2().uordblks;
    const double bytesPerItem = double(heapAfter - heapBefore) / double(std::max<qsizetype>(1, items.size()));
    const qsizetype itemCount = items.size();
    // A later scan (every launch after the first) remembers the camera dates of pictures that
    // have not changed; the plain scan above opens every picture, as the first scan must.
    const auto known = std::make_shared<const CaptureDate::Memory>(CaptureDate::remember(items));
    Scanner rescanner = scanner;
    rescanner.setKnownDates(known);
    items = QList<FileItem>();

    std::printf("load average before the runs: %s\n", loadAverage().constData());
    std::vector<double> baseTimes, baseCpu;
    std::vector<double> scanTimes, scanCpu;
    std::vector<double> rescanTimes, rescanCpu;
    for (int r = 0; r < runs; ++r) {
        bench::Stopwatch clock;
        double cpu = bench::processCpuSeconds();
        const BaselineCount c = baseline(roots);
        baseTimes.push_back(clock.seconds());
        baseCpu.push_back(bench::processCpuSeconds() - cpu);
        if (c.entries != counted.entries) std::fprintf(stderr, "warning: the tree changed during the runs\n");
        clock.restart();
        cpu = bench::processCpuSeconds();
        const QList<FileItem> scanned = scanner.scan();
        scanTimes.push_back(clock.seconds());
        scanCpu.push_back(bench::processCpuSeconds() - cpu);
        if (scanned.size() != itemCount) std::fprintf(stderr, "warning: the item count changed during the runs\n");
        clock.restart();
        cpu = bench::processCpuSeconds();
        const QList<FileItem> rescanned = rescanner.scan();
        rescanTimes.push_back(clock.seconds());
        rescanCpu.push_back(bench::processCpuSeconds() - cpu);
    }
    std::printf("load average after the runs: %s\n", loadAverage().constData());

    const double base = bench::median(baseTimes);
    const double scan = bench::median(scanTimes);
    std::printf("baseline readdir+statx: %lld entries statted, %lld regular files; wall median %.3f s (min %.3f s), "
                "CPU median %.3f s, over %d runs\n",
                (long long)counted.entries, (long long)counted.files, base, bench::minimum(baseTimes),
                bench::median(baseCpu), runs);
    std::printf(
        "Scanner::scan:          %lld items; wall median %.3f s (min %.3f s), CPU median %.3f s (both threads), "
        "over %d runs\n",
        (long long)itemCount, scan, bench::minimum(scanTimes), bench::median(scanCpu), runs);
    std::printf("ratio scan/baseline, wall medians: %.2f; CPU medians: %.2f\n", scan / base,
                bench::median(scanCpu) / bench::median(baseCpu));
    const double rescan = bench::median(rescanTimes);
    std::printf("Scanner::scan, %lld camera dates remembered: wall median %.3f s (min %.3f s), CPU median %.3f s\n",
                (long long)known->size(), rescan, bench::minimum(rescanTimes), bench::median(rescanCpu));
    std::printf("ratio rescan/baseline, wall medians: %.2f; CPU medians: %.2f\n", rescan / base,
                bench::median(rescanCpu) / bench::median(baseCpu));
    std::printf("heap held by the scan result: %.0f bytes per item\n", bytesPerItem);

    // What keeping the dates between launches costs: the "capture-dates" file, coded in memory.
    std::vector<double> encodeTimes, decodeTimes;
    QByteArray coded;
    for (int r = 0; r < runs; ++r) {
        bench::Stopwatch clock;
        coded = CaptureDateFile::encode(*known);
        encodeTimes.push_back(clock.seconds());
        clock.restart();
        const auto decoded = CaptureDateFile::decode(coded);
        decodeTimes.push_back(clock.seconds());
        if (!decoded || decoded->size() != known->size())
            std::fprintf(stderr, "warning: the dates did not round-trip\n");
    }
    std::printf("capture dates file: %lld pictures, %.1f MB; encode median %.1f ms, decode median %.1f ms\n",
                (long long)known->size(), double(coded.size()) / 1e6, bench::median(encodeTimes) * 1e3,
                bench::median(decodeTimes) * 1e3);
    return 0;
}
