// Trash and put back of many small files through FileOps, with counts before and after.
//
//   bench_trash FOLDER [--files N]
//
// Works entirely inside FOLDER: XDG_DATA_HOME is pointed at FOLDER/data before anything reads
// it, so the Trash used is FOLDER/data/Trash and never the user's. N files (default 10,000)
// of 100 to 400 bytes are written into 20 folders, moved to the Trash in one call and put back
// in one call. Nothing may be lost: the files, the Trash entries and the content checksum are
// counted at each step.

#include "organise/FileOps.h"
#include "support/BenchTimer.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QThread>
#include <cstdio>

using namespace fennic;

namespace {

int countIn(const QString& folder)
{
    int n = 0;
    QDirIterator it(folder, QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        ++n;
    }
    return n;
}

// One digest over every file's path and content, in path order.
QByteArray checksum(const QList<FileItem>& items)
{
    QCryptographicHash h(QCryptographicHash::Sha256);
    for (const FileItem& item : items) {
        QFile f(item.path);
        if (!f.open(QIODevice::ReadOnly)) return "missing " + item.path.toUtf8();
        h.addData(item.path.toUtf8());
        h.addData(f.readAll());
    }
    return h.result().toHex();
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: bench_trash FOLDER [--files N]\n");
        return 2;
    }
    const QString folder = QDir(QString::fromLocal8Bit(argv[1])).absolutePath();
    qputenv("XDG_DATA_HOME", QFile::encodeName(folder + QStringLiteral("/data")));
    QCoreApplication app(argc, argv);
    int files = 10000;
    for (int i = 2; i + 1 < argc; ++i)
        if (QByteArray(argv[i]) == "--files") files = QByteArray(argv[i + 1]).toInt();

    const QString work = folder + QStringLiteral("/files");
    const QString trash = folder + QStringLiteral("/data/Trash");
    if (QDir(work).exists() || QDir(trash).exists()) {
        QDir(work).removeRecursively();
        QDir(trash).removeRecursively();
        // ext4 without a journal (as on the build machine) skips inodes freed in the last 30 s
        // when it allocates new ones, reading each candidate's inode to check; right after a
        // mass deletion that dominates every file creation, and the Trash makes one
        // ".trashinfo" per file. Let the previous run's deletions age first.
        std::printf("waiting 35 s for the previous run's deletions to settle\n");
        std::fflush(stdout);
        QThread::sleep(35);
    }
    QList<FileItem> items;
    for (int i = 0; i < files; ++i) {
        FileItem item;
        item.path = work + QStringLiteral("/folder%1/note %2.txt").arg(i % 20).arg(i);
        item.name = QStringLiteral("note %1.txt").arg(i);
        QDir().mkpath(work + QStringLiteral("/folder%1").arg(i % 20));
        QFile f(item.path);
        if (!f.open(QIODevice::WriteOnly)) return 1;
        f.write(QByteArray(100 + i % 300, char('a' + i % 26)) + QByteArray::number(i));
        items.append(item);
    }
    const QByteArray before = checksum(items);
    std::printf("before:    %6d files in place, %6d in Trash/files, %6d in Trash/info\n", countIn(work),
                countIn(trash + "/files"), countIn(trash + "/info"));

    bench::Stopwatch t;
    const FileOps::TrashResult result = FileOps::trash(items);
    const double trashSeconds = t.seconds();
    std::printf(
        "trash:     %6d files in place, %6d in Trash/files, %6d in Trash/info; moved %lld, failed %lld in %.2f s "
        "(%.0f files/s)\n",
        countIn(work), countIn(trash + "/files"), countIn(trash + "/info"), qlonglong(result.moved.size()),
        qlonglong(result.failed.size()), trashSeconds, files / trashSeconds);

    t.restart();
    const QList<FileItem> back = FileOps::putBack(result.moved);
    const double backSeconds = t.seconds();
    std::printf("put back:  %6d files in place, %6d in Trash/files, %6d in Trash/info; restored %lld in %.2f s "
                "(%.0f files/s)\n",
                countIn(work), countIn(trash + "/files"), countIn(trash + "/info"), qlonglong(back.size()), backSeconds,
                files / backSeconds);
    const bool same = checksum(items) == before;
    std::printf("content checksum %s\n", same ? "unchanged" : "CHANGED");
    return same && back.size() == files ? 0 : 1;
}
