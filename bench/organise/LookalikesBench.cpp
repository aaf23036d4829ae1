// Look-alike photos at scale, and `fennic-cli duplicates` against `jdupes -r` on one tree.
//
//   bench_lookalikes FOLDER [--tree DIR | --home DIR] [--cli PATH] [--runs R] [--photos DIR]
//
// 1. DuplicateFinder::lookalikes over 5,000 pictures sharing one copy time, with stored
//    1,280-float prints as far apart as unrelated photos are (about 0.76; real ones lie at 0.82
//    on median): a folder copied in one go, without camera dates.
// 2. The same over 5,000 stand-in pictures sharing one copy time (".jpg" files of random bytes,
//    written once into FOLDER/standins) that cannot be decoded, with the application's own
//    print provider (stored prints first, then decoding and the vision model).
// 3. With --tree (the 20,000-file tree that bench_duplicates writes, FOLDER/tree there):
//    `fennic-cli duplicates` (look-alikes included), `fennic-cli duplicates --exact-only` and
//    `jdupes -r TREE`, alternating, R runs each (default 5), medians of wall and processor time
//    (user + system of the child). The CLI's library is a fixture home (FENNIC_LIBRARY_ROOT =
//    FOLDER/clihome) whose Documents folder links to TREE, scanned once with `fennic-cli scan`
//    before the timed runs; every file of TREE is read once first so the page cache is warm.
//    With --home instead (a synthetic home that bench_scan writes, e.g. `bench_scan DIR --files
//    20000`), the home itself is the CLI's library and jdupes walks all of it: its pictures are
//    sparse stand-ins that cannot be decoded, written in one go, so they share one copy time.
// 4. With --photos: what reading the camera's date costs per file (CaptureDate::read, as the
//    scan calls it), over every file of DIR, 20 rounds, warm cache.

#include "images/ImageAnalyzer.h"
#include "images/ImageIndex.h"
#include "library/CaptureDate.h"
#include "organise/DuplicateFinder.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fcntl.h>
#include <random>
#include <sys/resource.h>
#include <time.h>
#include <unistd.h>
#include <vector>

using namespace fennic;

namespace {

constexpr int kPictures = 5000;
constexpr int kPrintLength = 1280;

double cpuMs()
{
    timespec ts{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return double(ts.tv_sec) * 1e3 + double(ts.tv_nsec) / 1e6;
}

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v.empty() ? 0.0 : v[v.size() / 2];
}

QList<FileItem> crowd(const QString& folder)
{
    QList<FileItem> items;
    for (int i = 0; i < kPictures; ++i) {
        FileItem f;
        f.path = QStringLiteral("%1/IMG_%2.jpg").arg(folder).arg(i, 4, 10, QChar(u'0'));
        f.name = QFileInfo(f.path).fileName();
        f.ext = QStringLiteral("jpg");
        f.kind = FileKind::image;
        f.size = 2'000'000 + i;
        f.created = f.modified = f.added = Date{7.0e8};
        items.append(f);
    }
    return items;
}

void lookalikesOverACrowd(int runs)
{
    // Absolute values of Gaussian vectors, scaled like real prints (non-negative, length 0.9).
    std::mt19937_64 random(42);
    std::normal_distribution<float> gauss;
    const QList<FileItem> items = crowd(QStringLiteral("/bench/Pictures"));
    QHash<QString, DuplicateFinder::FeaturePrint> prints;
    for (const FileItem& f : items) {
        DuplicateFinder::FeaturePrint p(kPrintLength);
        double norm = 0;
        for (float& x : p) x = std::abs(gauss(random)), norm += double(x) * x;
        for (float& x : p) x = float(x / std::sqrt(norm) * 0.9);
        prints.insert(f.path, p);
    }
    const DuplicateFinder::FeaturePrintProvider provider = [&](const QString& path) { return prints.value(path); };
    std::vector<double> ms, cpu;
    qsizetype groups = 0;
    for (int r = 0; r < runs; ++r) {
        QElapsedTimer t;
        t.start();
        const double c = cpuMs();
        groups = DuplicateFinder::lookalikes(items, DuplicateFinder::kLookalikeWindow,
                                             DuplicateFinder::kLookalikeThreshold, provider)
                     .size();
        ms.push_back(double(t.nsecsElapsed()) / 1e6);
        cpu.push_back(cpuMs() - c);
    }
    std::printf("lookalikes, %d pictures sharing one copy time, stored prints: median %.1f ms wall, %.1f ms CPU "
                "(%zu runs), %lld groups\n",
                kPictures, median(ms), median(cpu), ms.size(), qlonglong(groups));
}

void lookalikesOverStandIns(const QString& folder, int runs)
{
    const QString dir = folder + QStringLiteral("/standins");
    QDir().mkpath(dir);
    std::mt19937_64 random(7);
    QList<FileItem> items = crowd(dir);
    for (FileItem& f : items) {
        if (QFileInfo::exists(f.path)) continue;
        QByteArray bytes(4096, Qt::Uninitialized);
        for (char& c : bytes) c = char(random());
        QFile out(f.path);
        if (out.open(QIODevice::WriteOnly)) out.write(bytes);
    }
    const auto provider = ImageAnalyzer::printProvider(ImageIndex());
    std::vector<double> ms, cpu;
    for (int r = 0; r < runs; ++r) {
        QElapsedTimer t;
        t.start();
        const double c = cpuMs();
        DuplicateFinder::lookalikes(items, DuplicateFinder::kLookalikeWindow, DuplicateFinder::kLookalikeThreshold,
                                    provider);
        ms.push_back(double(t.nsecsElapsed()) / 1e6);
        cpu.push_back(cpuMs() - c);
    }
    std::printf("lookalikes, %d stand-ins that cannot be decoded, sharing one copy time: median %.1f ms wall, %.1f ms "
                "CPU (%zu runs)\n",
                kPictures, median(ms), median(cpu), ms.size());
}

struct Timing {
    std::vector<double> wall, cpu;
};

// Runs a program to its end, output discarded; wall and processor time of the child.
bool timeRun(const QString& program, const QStringList& args, const QProcessEnvironment& env, Timing& into)
{
    QProcess p;
    p.setProcessEnvironment(env);
    p.setStandardOutputFile(QProcess::nullDevice());
    p.setStandardErrorFile(QProcess::nullDevice());
    rusage before{};
    ::getrusage(RUSAGE_CHILDREN, &before);
    QElapsedTimer t;
    t.start();
    p.start(program, args);
    if (!p.waitForFinished(-1) || p.exitStatus() != QProcess::NormalExit) return false;
    const double wall = double(t.nsecsElapsed()) / 1e9;
    rusage after{};
    ::getrusage(RUSAGE_CHILDREN, &after);
    auto seconds = [](const timeval& tv) { return double(tv.tv_sec) + double(tv.tv_usec) / 1e6; };
    into.wall.push_back(wall);
    into.cpu.push_back(seconds(after.ru_utime) - seconds(before.ru_utime) + seconds(after.ru_stime)
                       - seconds(before.ru_stime));
    return true;
}

void warm(const QString& tree)
{
    std::vector<char> buffer(1 << 20);
    QDirIterator it(tree, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const int fd = ::open(QFile::encodeName(it.next()).constData(), O_RDONLY);
        if (fd < 0) continue;
        while (::read(fd, buffer.data(), buffer.size()) > 0) { }
        ::close(fd);
    }
}

int cliAgainstJdupes(const QString& folder, const QString& tree, bool treeIsHome, const QString& cli, int runs)
{
    QString home = QFileInfo(tree).absoluteFilePath();
    if (!treeIsHome) {
        home = QDir(folder).absoluteFilePath(QStringLiteral("clihome"));
        QDir().mkpath(home);
        const QString documents = home + QStringLiteral("/Documents");
        if (!QFileInfo(documents).exists() && !QFile::link(QFileInfo(tree).absoluteFilePath(), documents)) {
            std::fprintf(stderr, "cannot link %s\n", qPrintable(documents));
            return 1;
        }
    }
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("FENNIC_LIBRARY_ROOT"), home);
    Timing scan;
    if (!timeRun(cli, {QStringLiteral("scan")}, env, scan)) {
        std::fprintf(stderr, "fennic-cli scan failed\n");
        return 1;
    }
    warm(tree);
    Timing full, exactOnly, jdupes;
    for (int r = 0; r < runs; ++r) {
        timeRun(cli, {QStringLiteral("duplicates")}, env, full);
        timeRun(cli, {QStringLiteral("duplicates"), QStringLiteral("--exact-only")}, env, exactOnly);
        timeRun(QStringLiteral("jdupes"), {QStringLiteral("-r"), tree}, env, jdupes);
    }
    auto row = [](const char* name, const Timing& t) {
        std::printf("| %s | %.2f s | %.2f s |\n", name, median(t.wall), median(t.cpu));
    };
    std::printf("\n%d runs each, alternating; medians\n| Command | Wall | CPU (user + system) |\n|---|---|---|\n",
                runs);
    row("`fennic-cli duplicates`", full);
    row("`fennic-cli duplicates --exact-only`", exactOnly);
    row("`jdupes -r`", jdupes);
    return 0;
}

void captureDates(const QString& photos)
{
    QStringList files;
    for (const QFileInfo& info : QDir(photos).entryInfoList(QDir::Files, QDir::Name))
        files.append(info.absoluteFilePath());
    if (files.isEmpty()) return;
    int dated = 0;
    for (const QString& f : files) dated += CaptureDate::read(f).has_value();  // warms the cache
    constexpr int kRounds = 20;
    QElapsedTimer t;
    t.start();
    const double c = cpuMs();
    for (int r = 0; r < kRounds; ++r)
        for (const QString& f : files) (void)CaptureDate::read(f);
    const double perFile = double(t.nsecsElapsed()) / 1e3 / double(kRounds * files.size());
    const double cpuPerFile = (cpuMs() - c) * 1e3 / double(kRounds * files.size());
    std::printf("CaptureDate::read over %lld files (%d with a camera date): %.1f µs wall, %.1f µs CPU per file\n",
                qlonglong(files.size()), dated, perFile, cpuPerFile);
}

}  // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() < 2) {
        std::fprintf(stderr, "usage: bench_lookalikes FOLDER [--tree DIR] [--cli PATH] [--runs R]\n");
        return 2;
    }
    const QString& folder = args[1];
    QString tree;
    bool treeIsHome = false;
    QString cli = QStringLiteral(FENNIC_CLI_PATH);
    QString photos;
    int runs = 5;
    for (int i = 2; i + 1 < args.size(); ++i) {
        if (args[i] == u"--tree")
            tree = args[++i];
        else if (args[i] == u"--home")
            tree = args[++i], treeIsHome = true;
        else if (args[i] == u"--cli")
            cli = args[++i];
        else if (args[i] == u"--runs")
            runs = std::max(1, args[++i].toInt());
        else if (args[i] == u"--photos")
            photos = args[++i];
    }
    QDir().mkpath(folder);
    if (!photos.isEmpty()) captureDates(photos);
    lookalikesOverACrowd(runs);
    lookalikesOverStandIns(folder, runs);
    if (!tree.isEmpty()) return cliAgainstJdupes(folder, tree, treeIsHome, cli, runs);
    return 0;
}
