#include "FileAttributes.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <limits>
#include <plist/plist.h>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <vector>

// Directory-relative attribute calls (Linux 6.13). The numbers are shared by the architectures
// that use the common system-call table; elsewhere only the path-based calls are used.
#if defined(__x86_64__) || defined(__aarch64__)
#ifndef SYS_getxattrat
#define SYS_getxattrat 464
#endif
#ifndef SYS_listxattrat
#define SYS_listxattrat 465
#endif
#endif

namespace fennic::FileAttributes {
namespace {

constexpr char kWhereFromUser[] = "user.com.apple.metadata:kMDItemWhereFroms";
constexpr char kWhereFromOsx[] = "osx.com.apple.metadata:kMDItemWhereFroms";
constexpr char kOrigin[] = "user.xdg.origin.url";
constexpr char kReferrer[] = "user.xdg.referrer.url";
constexpr char kCaptureUser[] = "user.com.apple.metadata:kMDItemIsScreenCapture";
constexpr char kCaptureOsx[] = "osx.com.apple.metadata:kMDItemIsScreenCapture";

#ifdef SYS_listxattrat
// Cleared on the first ENOSYS: the kernel predates the calls, use paths from then on.
std::atomic<bool> g_haveAtCalls{true};

struct XattrArgs {
    quint64 value;
    quint32 size;
    quint32 flags;
};
#endif

std::string fullPath(const Target& t)
{
    if (!t.dirPath) return t.name;
    return std::string(t.dirPath) + '/' + t.name;
}

ssize_t listNames(const Target& t, char* list, size_t size)
{
#ifdef SYS_listxattrat
    if (t.dirfd != AT_FDCWD && g_haveAtCalls.load(std::memory_order_relaxed)) {
        const long r = ::syscall(SYS_listxattrat, t.dirfd, t.name, t.follow ? 0 : AT_SYMLINK_NOFOLLOW, list, size);
        if (r >= 0 || errno != ENOSYS) return r;
        g_haveAtCalls.store(false, std::memory_order_relaxed);
    }
#endif
    const std::string path = fullPath(t);
    return t.follow ? ::listxattr(path.c_str(), list, size) : ::llistxattr(path.c_str(), list, size);
}

ssize_t getValue(const Target& t, const char* name, void* value, size_t size)
{
#ifdef SYS_getxattrat
    if (t.dirfd != AT_FDCWD && g_haveAtCalls.load(std::memory_order_relaxed)) {
        XattrArgs args{quint64(reinterpret_cast<quintptr>(value)), quint32(size), 0};
        const long r =
            ::syscall(SYS_getxattrat, t.dirfd, t.name, t.follow ? 0 : AT_SYMLINK_NOFOLLOW, name, &args, sizeof args);
        if (r >= 0 || errno != ENOSYS) return r;
        g_haveAtCalls.store(false, std::memory_order_relaxed);
    }
#endif
    const std::string path = fullPath(t);
    return t.follow ? ::getxattr(path.c_str(), name, value, size) : ::lgetxattr(path.c_str(), name, value, size);
}

QString urlText(const QByteArray& value)
{
    // Some tools store the terminating NUL with the text.
    qsizetype n = value.size();
    while (n > 0 && value[n - 1] == '\0') --n;
    return QString::fromUtf8(value.constData(), n);
}

}  // namespace

Present list(const Target& t)
{
    Present present;
    char stack[1024];
    std::vector<char> heap;
    char* buf = stack;
    ssize_t n = listNames(t, stack, sizeof stack);
    if (n < 0 && errno == ERANGE) {
        // More names than fit on the stack: ask for the size, then read them all.
        const ssize_t need = listNames(t, nullptr, 0);
        if (need <= 0) return present;
        heap.resize(size_t(need));
        buf = heap.data();
        n = listNames(t, buf, heap.size());
    }
    if (n <= 0) return present;
    for (const char* p = buf; p < buf + n;) {
        const size_t len = ::strnlen(p, size_t(buf + n - p));
        const QByteArrayView name(p, qsizetype(len));
        if (name == kOrigin)
            present.origin = true;
        else if (name == kReferrer)
            present.referrer = true;
        else if (name == kWhereFromUser)
            present.whereFromUser = true;
        else if (name == kWhereFromOsx)
            present.whereFromOsx = true;
        else if (name == kCaptureUser || name == kCaptureOsx)
            present.screenCapture = true;
        p += len + 1;
    }
    return present;
}

std::optional<QByteArray> read(const Target& t, const char* name)
{
    // Most values are short URLs: try a stack buffer before asking for the size.
    char stack[2048];
    ssize_t n = getValue(t, name, stack, sizeof stack);
    if (n > 0) return QByteArray(stack, n);
    if (n == 0 || errno != ERANGE) return std::nullopt;
    for (int attempt = 0; attempt < 3; ++attempt) {
        const ssize_t size = getValue(t, name, nullptr, 0);
        if (size <= 0) return std::nullopt;
        QByteArray value(size, Qt::Uninitialized);
        n = getValue(t, name, value.data(), size_t(size));
        if (n > 0) {
            value.truncate(n);
            return value;
        }
        if (n == 0 || errno != ERANGE) return std::nullopt;  // grew in between: try again
    }
    return std::nullopt;
}

QStringList whereFroms(const Target& t, const Present& present)
{
    // A carried-over property list decides whenever it is present, even when it holds
    // something unusable; the freedesktop pair is read only without one.
    if (present.whereFromUser || present.whereFromOsx) {
        std::optional<QByteArray> plist;
        if (present.whereFromUser) plist = read(t, kWhereFromUser);
        if (!plist && present.whereFromOsx) plist = read(t, kWhereFromOsx);
        if (plist) return decodeStringArray(*plist);
    }
    QStringList out;
    if (present.origin)
        if (auto v = read(t, kOrigin)) out << urlText(*v);
    if (present.referrer)
        if (auto v = read(t, kReferrer)) out << urlText(*v);
    return out;
}

QStringList decodeStringArray(const QByteArray& data)
{
    if (data.isEmpty() || data.size() > std::numeric_limits<uint32_t>::max()) return {};
    plist_t root = nullptr;
    plist_from_memory(data.constData(), uint32_t(data.size()), &root);
    if (!root) return {};
    QStringList out;
    bool ok = plist_get_node_type(root) == PLIST_ARRAY;
    const uint32_t count = ok ? plist_array_get_size(root) : 0;
    for (uint32_t i = 0; ok && i < count; ++i) {
        plist_t item = plist_array_get_item(root, i);
        if (!item || plist_get_node_type(item) != PLIST_STRING) {
            ok = false;
            break;
        }
        char* text = nullptr;
        plist_get_string_val(item, &text);
        out << QString::fromUtf8(text ? text : "");
        std::free(text);
    }
    plist_free(root);
    return ok ? out : QStringList();
}

bool hasScreenshotName(const QString& name)
{
    static constexpr QLatin1StringView kPrefixes[] = {QLatin1StringView("screenshot"), QLatin1StringView("screen shot"),
                                                      QLatin1StringView("cleanshot"),
                                                      QLatin1StringView("simulator screen")};
    // Most names are ASCII at the front and compare without lower-casing into a new string.
    // A character outside ASCII there could lower-case into one (the dotted capital I does),
    // so then the whole name is lower-cased as the rule says.
    const QStringView head = QStringView(name).left(16);
    bool ascii = true;
    for (QChar c : head) ascii &= c.unicode() < 0x80;
    if (!ascii) {
        const QString lower = name.toLower();
        for (QLatin1StringView prefix : kPrefixes)
            if (lower.startsWith(prefix)) return true;
        return false;
    }
    for (QLatin1StringView prefix : kPrefixes) {
        if (head.size() < prefix.size()) continue;
        qsizetype i = 0;
        while (i < prefix.size() && QChar::toLower(head[i].unicode()) == char16_t(prefix[i].unicode())) ++i;
        if (i == prefix.size()) return true;
    }
    return false;
}

void DirectoryListing::read(int fd, Hidden hidden)
{
    m_names.clear();
    std::vector<std::pair<size_t, unsigned char>> spans;
    alignas(8) char buf[32768];
    for (;;) {
        const ssize_t n = ::getdents64(fd, buf, sizeof buf);
        if (n <= 0) break;
        for (ssize_t off = 0; off < n;) {
            const auto* d = reinterpret_cast<const dirent64*>(buf + off);
            off += d->d_reclen;
            if (d->d_name[0] == '.') {
                if (hidden == Hidden::skip) continue;
                if (d->d_name[1] == '\0' || (d->d_name[1] == '.' && d->d_name[2] == '\0')) continue;
            }
            spans.emplace_back(m_names.size(), d->d_type);
            m_names.append(d->d_name);
            m_names.push_back('\0');
        }
    }
    // Views are taken only now: appending may have moved the buffer.
    m_entries.clear();
    m_entries.reserve(spans.size());
    for (const auto& [offset, type] : spans) m_entries.push_back({std::string_view(m_names.data() + offset), type});
    std::sort(m_entries.begin(), m_entries.end(), [](const Entry& a, const Entry& b) { return a.name < b.name; });
}

int openDirectory(int dirfd, const char* path)
{
    // A scan must not make bundles look recently used, so it reads folders without updating
    // their access time; the kernel allows that only to the owner.
    int fd = ::openat(dirfd, path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NOATIME);
    if (fd < 0 && errno == EPERM) fd = ::openat(dirfd, path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    return fd;
}

qint64 directorySize(int dirfd)
{
    qint64 total = 0;
    DirectoryListing listing;
    listing.read(dirfd, DirectoryListing::Hidden::include);
    for (const DirectoryListing::Entry& e : listing.entries()) {
        const char* name = e.name.data();
        unsigned char t = e.type;
        struct statx stx { };
        if (t == DT_REG || t == DT_UNKNOWN) {
            if (::statx(dirfd, name, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, STATX_TYPE | STATX_SIZE, &stx) != 0)
                continue;
            t = S_ISREG(stx.stx_mode) ? DT_REG : S_ISDIR(stx.stx_mode) ? DT_DIR : DT_UNKNOWN;
        }
        if (t == DT_REG) {
            total += qint64(stx.stx_size);
        } else if (t == DT_DIR) {
            const int fd = openDirectory(dirfd, name);
            if (fd < 0) continue;
            total += directorySize(fd);
            ::close(fd);
        }
    }
    return total;
}

unsigned statxMask()
{
    return STATX_TYPE | STATX_MODE | STATX_SIZE | STATX_BLOCKS | STATX_MTIME | STATX_CTIME | STATX_ATIME | STATX_BTIME;
}

EntryValues valuesFrom(const struct statx& stx, bool isPackage, bool isCloudPlaceholder)
{
    auto date = [](const statx_timestamp& t) { return Date::fromUnix(t.tv_sec, t.tv_nsec); };
    EntryValues v;
    const unsigned mask = stx.stx_mask;
    if (mask & STATX_TYPE) {
        v.isDirectory = S_ISDIR(stx.stx_mode);
        v.isRegularFile = S_ISREG(stx.stx_mode);
        v.isSymbolicLink = S_ISLNK(stx.stx_mode);
    }
    v.isPackage = isPackage && v.isDirectory;
    v.isCloudPlaceholder = isCloudPlaceholder && !v.isDirectory;
    if (!v.isDirectory) {
        // A folder has no size of its own; a package's size is the sum of its contents.
        if (mask & STATX_SIZE) v.fileSize = qint64(stx.stx_size);
        if (mask & STATX_BLOCKS) v.allocatedSize = qint64(stx.stx_blocks) * 512;
    }
    if (mask & STATX_MTIME) v.modified = date(stx.stx_mtime);
    if (mask & STATX_CTIME) v.added = date(stx.stx_ctime);
    if (mask & STATX_ATIME) v.accessed = date(stx.stx_atime);
    if (mask & STATX_BTIME)
        v.created = date(stx.stx_btime);
    else if (v.modified && v.added)
        v.created = std::min(*v.modified, *v.added);
    else
        v.created = v.modified ? v.modified : v.added;
    return v;
}

bool isCloudPlaceholderName(QByteArrayView name) { return name.endsWith(".nextcloud") || name.endsWith(".owncloud"); }

}  // namespace fennic::FileAttributes
