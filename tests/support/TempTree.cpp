#include "TempTree.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace fennic::test {

TempTree::TempTree() : m_dir(QDir::tempPath() + QStringLiteral("/fennic-tree-XXXXXX"))
{
    // Tests compare item paths, so the root must already be canonical.
    m_root = QFileInfo(m_dir.path()).canonicalFilePath();
}

QString TempTree::path(const QString& relative) const
{
    if (relative.startsWith(m_root + u'/')) return relative;
    return relative.isEmpty() ? m_root : m_root + u'/' + relative;
}

QString TempTree::mkdir(const QString& relative)
{
    QString p = path(relative);
    QDir().mkpath(p);
    return p;
}

QString TempTree::write(const QString& relative, const QByteArray& content)
{
    QString p = path(relative);
    QDir().mkpath(QFileInfo(p).absolutePath());
    QFile f(p);
    if (f.open(QIODevice::WriteOnly | QIODevice::Truncate)) f.write(content);
    return p;
}

QString TempTree::writeSized(const QString& relative, qint64 size, int seed)
{
    QByteArray data(size, Qt::Uninitialized);
    quint32 x = 2166136261u ^ quint32(seed);
    for (qint64 i = 0; i < size; ++i) {
        x ^= x << 13;
        x ^= x >> 17;
        x ^= x << 5;
        data[i] = char(x & 0xff);
    }
    return write(relative, data);
}

QString TempTree::symlink(const QString& relative, const QString& target)
{
    QString p = path(relative);
    QDir().mkpath(QFileInfo(p).absolutePath());
    ::symlink(QFile::encodeName(target).constData(), QFile::encodeName(p).constData());
    return p;
}

void TempTree::setTimes(const QString& relative, Date modified, std::optional<Date> accessed)
{
    auto toSpec = [](Date d) {
        const double unix = d.toUnix();
        timespec ts{};
        ts.tv_sec = static_cast<time_t>(unix);
        ts.tv_nsec = static_cast<long>((unix - double(ts.tv_sec)) * 1e9);
        if (ts.tv_nsec < 0) {
            ts.tv_nsec += 1000000000L;
            ts.tv_sec -= 1;
        }
        return ts;
    };
    timespec times[2];
    times[0] = accessed ? toSpec(*accessed) : timespec{0, UTIME_OMIT};
    times[1] = toSpec(modified);
    ::utimensat(AT_FDCWD, QFile::encodeName(path(relative)).constData(), times, AT_SYMLINK_NOFOLLOW);
}

bool TempTree::setXattr(const QString& relative, const char* name, const QByteArray& value)
{
    return ::lsetxattr(QFile::encodeName(path(relative)).constData(), name, value.constData(), size_t(value.size()), 0)
        == 0;
}

bool supportsXattrs(const QString& folder)
{
    const QString probe = folder + QStringLiteral("/.xattr-probe");
    QFile f(probe);
    if (!f.open(QIODevice::WriteOnly)) return false;
    f.close();
    const bool ok = ::setxattr(QFile::encodeName(probe).constData(), "user.fennic.probe", "1", 1, 0) == 0;
    QFile::remove(probe);
    return ok;
}

}  // namespace fennic::test
