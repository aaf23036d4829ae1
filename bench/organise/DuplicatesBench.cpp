// Exact duplicates over a real tree: DuplicateFinder::exact against `jdupes -r` and
// `rmlint -T df` on the same files in the same run, and SHA-256 throughput against
// `openssl speed -evp sha256`.
//
//   bench_duplicates FOLDER [--files N] [--bytes B] [--runs R] [--seed S] [--fennic-only]
//
// FOLDER/tree is written once (N files, default 20,000, about B bytes, default 2 GB, of which
// one file in five is a copy of another) and reused by later runs with the same parameters.
// Every file is read once before timing, so the page cache is warm, then every variant runs
// R times (default 5), alternating; medians are reported. rmlint runs twice: as installed,
// and with --without-fiemap (by default it asks the file system for every file's physical
// layout to order its reads for spinning disks, which costs most of its time here).
//
// Bytes read are the `rchar` of /proc/PID/io: every byte a process got from read(2)-like
// calls, page cache included (with a warm cache `read_bytes`, the disk reads, is zero). For
// Fennic it is this process's counter across the timed call; a peer runs under `sh -c`, which
// prints its own /proc/$$/io after the peer has exited (the kernel adds a reaped child's
// counters to its parent), so the peer's bytes come with a few kB of the shell's own.
//
// Processor time (user + system, all threads) is shown beside the elapsed time: on a busy
// machine it is the steadier measure. For a peer it comes from the shell's `times`.
//
// Fennic runs exact() over the item list (the app runs it on the library it already holds) with
// two threads and with one, and as "walk + exact", which first lists the tree with the library
// scanner, as the peers must.

#include "library/Scanner.h"
#include "organise/DuplicateFinder.h"
#include "support/BenchTimer.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <random>
#include <thread>
#include <time.h>
#include <unistd.h>
#include <vector>

using namespace fennic;

namespace {

struct Options {
    QString folder;
    int files = 20000;
    qint64 bytes = 2'000'000'000;
    int runs = 5;
    quint64 seed = 42;
    bool fennicOnly = false;  // for profiling: only exact(), no peers, no hashing loop
};

struct Io {
    qint64 rchar = 0;
    qint64 readBytes = 0;
};

Io parseIo(const QByteArray& text)
{
    Io io;
    for (const QByteArray& line : text.split('\n')) {
        if (line.startsWith("rchar:")) io.rchar = line.mid(6).trimmed().toLongLong();
        if (line.startsWith("read_bytes:")) io.readBytes = line.mid(11).trimmed().toLongLong();
    }
    return io;
}

Io selfIo()
{
    QFile f(QStringLiteral("/proc/self/io"));
    if (!f.open(QIODevice::ReadOnly)) return {};
    return parseIo(f.readAll());
}

// Content of one file: a seeded xorshift stream, so copies are byte-identical and every
// original differs from every other.
void fill(std::vector<char>& buffer, qint64 size, quint64 seed)
{
    buffer.resize(size_t(size));
    quint64 x = seed * 0x9E3779B97F4A7C15ull + 1;
    qint64 i = 0;
    for (; i + 8 <= size; i += 8) {
        x ^= x << 13;
        x ^= x >> 7;
        x ^= x << 17;
        std::memcpy(buffer.data() + i, &x, 8);
    }
    if (i < size) std::memcpy(buffer.data() + i, &x, size_t(size - i));
}

bool writeFile(const QString& path, const std::vector<char>& data)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write(data.data(), qint64(data.size())) == qint64(data.size());
}

struct TreeFacts {
    int files = 0;
    int copies = 0;
    qint64 bytes = 0;
};

// The tree: originals with log-uniform sizes from 1 KiB to 512 KiB plus a few 16 MiB files
// (videos), some originals sharing a size with another original (same size, other content),
// some sharing the first 64 KiB and the size but not the tail, and one file in five a copy of
// a random earlier original. Files are spread over 100 folders.
TreeFacts makeTree(const Options& o, const QString& root)
{
    const QString marker = root + QStringLiteral("/.params");
    const QByteArray params =
        QByteArray::number(o.files) + ' ' + QByteArray::number(o.bytes) + ' ' + QByteArray::number(o.seed) + " v1";
    TreeFacts facts;
    QFile m(marker);
    if (m.open(QIODevice::ReadOnly)) {
        const QList<QByteArray> parts = m.readAll().split('\n');
        if (parts.size() >= 2 && parts[0] == params) {
            const QList<QByteArray> f = parts[1].split(' ');
            facts = {f.value(0).toInt(), f.value(1).toInt(), f.value(2).toLongLong()};
            return facts;
        }
    }
    QDir(root).removeRecursively();
    QDir().mkpath(root);
    std::mt19937_64 random(o.seed);
    const int copies = o.files / 5;
    const int bigFiles = std::max(1, int(o.bytes / 100'000'000));  // about a sixth of the bytes
    const int originals = o.files - copies;
    // Log-uniform between 1 KiB and the largest size that brings the total near the target.
    std::uniform_real_distribution<double> logSize(std::log(1024.0), std::log(512.0 * 1024));
    struct Original {
        qint64 size;
        quint64 seed;
        qint64 sharedPrefixWith;  // -1, or the seed whose first 64 KiB it repeats
    };
    std::vector<Original> made;
    made.reserve(size_t(originals));
    std::vector<char> buffer;
    std::vector<char> other;
    auto pathOf = [&](int index) {
        return root + QStringLiteral("/d%1/f%2.bin").arg(index % 100, 2, 10, QChar(u'0')).arg(index);
    };
    for (int d = 0; d < 100; ++d) QDir().mkpath(root + QStringLiteral("/d%1").arg(d, 2, 10, QChar(u'0')));

    for (int i = 0; i < originals; ++i) {
        Original orig{qint64(std::exp(logSize(random))), random(), -1};
        if (i < bigFiles) orig.size = qint64(16) * 1024 * 1024 + qint64(random() % 4096);
        const auto roll = random() % 100;
        if (i > bigFiles && roll < 5) {
            orig.size = made[size_t(random() % made.size())].size;  // a size twin, other content
        } else if (i > bigFiles && roll < 7) {
            const Original& base = made[size_t(random() % made.size())];
            if (base.size > 65536 + 16) {
                orig.size = base.size;
                orig.sharedPrefixWith = qint64(base.seed);
            }
        }
        fill(buffer, orig.size, orig.seed);
        if (orig.sharedPrefixWith >= 0) {
            fill(other, orig.size, quint64(orig.sharedPrefixWith));
            std::copy(other.begin(), other.begin() + 65536, buffer.begin());
        }
        writeFile(pathOf(i), buffer);
        made.push_back(orig);
        facts.bytes += orig.size;
    }
    for (int c = 0; c < copies; ++c) {
        const size_t source = size_t(random() % made.size());
        const Original& orig = made[source];
        fill(buffer, orig.size, orig.seed);
        if (orig.sharedPrefixWith >= 0) {
            fill(other, orig.size, quint64(orig.sharedPrefixWith));
            std::copy(other.begin(), other.begin() + 65536, buffer.begin());
        }
        writeFile(pathOf(originals + c), buffer);
        facts.bytes += orig.size;
    }
    facts.files = o.files;
    facts.copies = copies;
    if (m.open(QIODevice::WriteOnly | QIODevice::Truncate))
        m.write(params + '\n' + QByteArray::number(facts.files) + ' ' + QByteArray::number(facts.copies) + ' '
                + QByteArray::number(facts.bytes) + '\n');
    return facts;
}

void warmFile(const QString& path)
{
    static std::vector<char> buffer(1 << 20);
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY);
    if (fd < 0) return;
    while (::read(fd, buffer.data(), buffer.size()) > 0) { }
    ::close(fd);
}

void warm(const QString& root)
{
    QDirIterator it(root, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) warmFile(it.next());
}

struct Run {
    double seconds = 0;
    double cpu = 0;  // user + system seconds, all threads
    Io io;
    int groups = 0;
    int files = 0;  // members of all groups
};

// Group output of both peers: one path per line, a blank line between groups.
void countGroups(const QByteArray& text, Run& run)
{
    bool inGroup = false;
    for (const QByteArray& line : text.split('\n')) {
        if (line.trimmed().isEmpty()) {
            inGroup = false;
            continue;
        }
        if (!inGroup) ++run.groups;
        inGroup = true;
        ++run.files;
    }
}

Run runPeer(const QString& command)
{
    QProcess p;
    p.setProcessChannelMode(QProcess::SeparateChannels);
    // The marker line separates the peer's output from the shell's /proc/$$/io.
    p.start(QStringLiteral("/bin/sh"),
        {QStringLiteral("-c"), command + QStringLiteral(" 2>/dev/null; echo @@IO@@; cat /proc/$$/io; times")});
    bench::Stopwatch t;
    p.waitForFinished(-1);
    Run run;
    run.seconds = t.seconds();
    const QByteArray all = p.readAllStandardOutput();
    const qsizetype cut = all.indexOf("@@IO@@\n");
    countGroups(all.left(cut), run);
    run.io = parseIo(all.mid(cut));
    // The last line of `times`: the children's user and system time, as "0m1.351s 0m1.447s".
    const QList<QByteArray> lines = all.trimmed().split('\n');
    static const QRegularExpression time(QStringLiteral("(\\d+)m([0-9.]+)s"));
    auto it = time.globalMatch(QString::fromLatin1(lines.last()));
    while (it.hasNext()) {
        const auto m = it.next();
        run.cpu += m.captured(1).toDouble() * 60 + m.captured(2).toDouble();
    }
    return run;
}

Run runFennic(const QList<FileItem>& items, int threads)
{
    const Io before = selfIo();
    const double cpu = bench::processCpuSeconds();
    bench::Stopwatch t;
    const QList<DuplicateGroup> groups =
        DuplicateFinder::exact(items, QStringLiteral("/nonexistent/Downloads"), {}, nullptr, threads);
    Run run;
    run.seconds = t.seconds();
    run.cpu = bench::processCpuSeconds() - cpu;
    const Io after = selfIo();
    run.io = {after.rchar - before.rchar, after.readBytes - before.readBytes};
    run.groups = int(groups.size());
    for (const DuplicateGroup& g : groups) run.files += int(g.files.size());
    return run;
}

Run runFennicWithWalk(const QString& root)
{
    const Io before = selfIo();
    const double cpu = bench::processCpuSeconds();
    bench::Stopwatch t;
    const QList<FileItem> items = Scanner({root}, {}).scan();
    const QList<DuplicateGroup> groups = DuplicateFinder::exact(items, QStringLiteral("/nonexistent/Downloads"));
    Run run;
    run.seconds = t.seconds();
    run.cpu = bench::processCpuSeconds() - cpu;
    const Io after = selfIo();
    run.io = {after.rchar - before.rchar, after.readBytes - before.readBytes};
    run.groups = int(groups.size());
    for (const DuplicateGroup& g : groups) run.files += int(g.files.size());
    return run;
}

Run median(std::vector<Run> runs)
{
    std::sort(runs.begin(), runs.end(), [](const Run& a, const Run& b) { return a.seconds < b.seconds; });
    return runs[runs.size() / 2];
}

struct Throughput {
    double wall = 0;  // bytes per second of elapsed time
    double cpu = 0;   // bytes per second of this thread's processor time (what openssl speed reports)
};

Throughput hashThroughput(const QString& file, qint64 size)
{
    DuplicateFinder::hash(file);  // warm
    bench::Stopwatch t;
    const double cpu = bench::threadCpuMs() / 1e3;
    int rounds = 0;
    while (t.seconds() < 3) {
        DuplicateFinder::hash(file);
        ++rounds;
    }
    const double bytes = double(size) * rounds;
    return {bytes / t.seconds(), bytes / (bench::threadCpuMs() / 1e3 - cpu)};
}

double opensslSpeed()
{
    QProcess p;
    p.start(QStringLiteral("openssl"), {"speed", "-seconds", "3", "-bytes", "1048576", "-evp", "sha256"});
    p.waitForFinished(-1);
    // "sha256   1706595.43k" in the summary: thousands of bytes per second.
    const QRegularExpression line(QStringLiteral("^sha256\\s+([0-9.]+)k"), QRegularExpression::MultilineOption);
    const auto match = line.match(QString::fromUtf8(p.readAllStandardOutput()));
    return match.hasMatch() ? match.captured(1).toDouble() * 1000.0 : 0.0;
}

void print(const char* name, const Run& r)
{
    std::printf("  %-30s %7.3f s wall %7.3f s cpu  %5d groups %6d files  rchar %7.1f MB  read_bytes %5.1f MB\n", name,
                r.seconds, r.cpu, r.groups, r.files, double(r.io.rchar) / 1e6, double(r.io.readBytes) / 1e6);
}

}  // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    Options o;
    QStringList args = app.arguments().mid(1);
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString& a = args[i];
        auto next = [&] { return i + 1 < args.size() ? args[++i] : QString(); };
        if (a == u"--files")
            o.files = next().toInt();
        else if (a == u"--bytes")
            o.bytes = next().toLongLong();
        else if (a == u"--runs")
            o.runs = std::max(1, next().toInt());
        else if (a == u"--seed")
            o.seed = next().toULongLong();
        else if (a == u"--fennic-only")
            o.fennicOnly = true;
        else if (!a.startsWith(u"--"))
            o.folder = a;
    }
    if (o.folder.isEmpty()) {
        std::fprintf(stderr, "usage: bench_duplicates FOLDER [--files N] [--bytes B] [--runs R] [--seed S]\n");
        return 2;
    }
    const QString root = QDir(o.folder).absoluteFilePath(QStringLiteral("tree"));
    bench::Stopwatch t;
    const TreeFacts facts = makeTree(o, root);
    std::printf("tree: %s, %d files, %d copies, %.2f GB (ready in %.1f s)\n", qPrintable(root), facts.files,
                facts.copies, double(facts.bytes) / 1e9, t.seconds());
    warm(root);

    const QList<FileItem> items = Scanner({root}, {}).scan();
    std::printf("cores: %u; runs: %d each, alternating, warm cache; medians:\n", std::thread::hardware_concurrency(),
                o.runs);
    const QString quotedRoot = QStringLiteral("'") + root + QStringLiteral("'");
    std::vector<Run> fennic, fennicOne, walk, jdupes, rmlint, rmlintNoFiemap;
    if (o.fennicOnly) {
        for (int r = 0; r < o.runs; ++r) fennic.push_back(runFennic(items, 0));
        print("fennic exact (2 threads)", median(fennic));
        return 0;
    }
    for (int r = 0; r < o.runs; ++r) {
        fennic.push_back(runFennic(items, 0));
        jdupes.push_back(runPeer(QStringLiteral("jdupes -q -r ") + quotedRoot));
        rmlint.push_back(runPeer(QStringLiteral("rmlint -T df -o fdupes ") + quotedRoot));
        rmlintNoFiemap.push_back(runPeer(QStringLiteral("rmlint -T df --without-fiemap -o fdupes ") + quotedRoot));
        walk.push_back(runFennicWithWalk(root));
        fennicOne.push_back(runFennic(items, 1));
    }
    print("fennic exact (2 threads)", median(fennic));
    print("fennic exact (1 thread)", median(fennicOne));
    print("fennic walk + exact", median(walk));
    print("jdupes -r", median(jdupes));
    print("rmlint -T df", median(rmlint));
    print("rmlint -T df --without-fiemap", median(rmlintNoFiemap));

    // Hashing: one large file in the page cache, one thread, against OpenSSL's own loop.
    const QString big = QDir(o.folder).absoluteFilePath(QStringLiteral("hash-1GiB.bin"));
    const qint64 bigSize = qint64(1) << 30;
    if (QFileInfo(big).size() != bigSize) {
        std::vector<char> chunk;
        QFile f(big);
        if (f.open(QIODevice::WriteOnly | QIODevice::Truncate))
            for (int i = 0; i < 64; ++i) {
                fill(chunk, bigSize / 64, quint64(i) + 7);
                f.write(chunk.data(), qint64(chunk.size()));
            }
    }
    warmFile(big);
    const Throughput ours = hashThroughput(big, bigSize);
    const double openssl = opensslSpeed();
    std::printf("hash (1 GiB file, page cache, 1 thread): %.0f MB/s of processor time (%.0f MB/s elapsed); "
                "openssl speed -evp sha256 (1 MiB blocks, processor time): %.0f MB/s\n",
                ours.cpu / 1e6, ours.wall / 1e6, openssl / 1e6);
    const Run best = median(fennic);
    std::printf("exact (2 threads) read %.0f MB/s\n", double(best.io.rchar) / best.seconds / 1e6);
    return 0;
}
