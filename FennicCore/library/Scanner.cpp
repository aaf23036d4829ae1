#include "Scanner.h"

#include "FileAttributes.h"
#include "library/CaptureDate.h"
#include "model/DownloadSource.h"
#include "model/FileKind.h"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#include <exiv2/exiv2.hpp>
#pragma GCC diagnostic pop

#include <QDir>
#include <QFile>
#include <QScopeGuard>
#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <thread>
#include <unistd.h>
#include <unordered_map>
#include <vector>

namespace fennic {
namespace {

namespace FA = FileAttributes;

// What an extension says about an entry, worked out once per distinct extension of a scan.
// Items share the lower-cased extension string, which keeps 250,000 items small.
struct ExtInfo {
    QString ext;
    FileKind kind = FileKind::other;
    bool screenshot = false;      // one of the screenshot extensions
    bool package = false;         // a folder with this extension is a package
    bool skippedPackage = false;  // ... and one that is left out whole
    bool dated = false;           // a picture whose camera date is looked for
};

struct TransparentHash {
    using is_transparent = void;
    size_t operator()(std::string_view s) const noexcept { return std::hash<std::string_view>{}(s); }
};

class ExtMemo {
public:
    const ExtInfo& lookup(std::string_view raw)
    {
        auto it = m_map.find(raw);
        if (it != m_map.end()) return it->second;
        ExtInfo info;
        bool ascii = true;
        for (char c : raw) ascii &= (static_cast<unsigned char>(c) < 0x80);
        if (ascii) {
            std::string lower(raw);
            for (char& c : lower)
                if (c >= 'A' && c <= 'Z') c = char(c - 'A' + 'a');
            info.ext = QString::fromLatin1(lower.data(), qsizetype(lower.size()));
        } else {
            info.ext = QString::fromUtf8(raw.data(), qsizetype(raw.size())).toLower();
        }
        info.kind = FileKinds::classify(info.ext);
        info.screenshot = Scanner::screenshotExtensions().contains(info.ext);
        info.package = Scanner::packageExtensions().contains(info.ext);
        info.skippedPackage = Scanner::skippedPackages().contains(info.ext);
        info.dated = info.kind == FileKind::image && CaptureDate::mayCarryDate(info.ext);
        return m_map.emplace(std::string(raw), std::move(info)).first->second;
    }

private:
    std::unordered_map<std::string, ExtInfo, TransparentHash, std::equal_to<>> m_map;
};

// The extension of a file name in bytes: after the last dot, none when the name starts with
// its only dot or ends in a dot (the same rule as pathExtension()).
std::string_view rawExtension(std::string_view name)
{
    const size_t dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0 || dot + 1 == name.size()) return {};
    return name.substr(dot + 1);
}

// Heavy folders pruned wherever they occur: dependency caches, version-control data, build
// outputs, the user's Library folder, the Trash. Compared exactly, letter case included.
constexpr std::string_view kSkippedDirectories[] = {
    "node_modules", ".git",  "Library", "Pods",   "DerivedData",      ".build", "venv",   ".venv", "__pycache__",
    ".gradle",      ".idea", ".next",   ".cache", "bower_components", "vendor", "target", ".Trash"};

bool isSkippedDirectoryName(std::string_view name)
{
    for (std::string_view n : kSkippedDirectories)
        if (n == name) return true;
    return false;
}

bool isAppName(std::string_view name)
{
    const std::string_view ext = rawExtension(name);
    return ext == "app" || ext == "AppImage" || ext == "appimage";
}

using DirEntry = FA::DirectoryListing::Entry;

unsigned char typeFromMode(quint16 mode)
{
    if (S_ISREG(mode)) return DT_REG;
    if (S_ISDIR(mode)) return DT_DIR;
    if (S_ISLNK(mode)) return DT_LNK;
    return DT_UNKNOWN;
}

bool statAt(int dirfd, const char* name, struct statx& stx)
{
    return ::statx(dirfd, name, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, FA::statxMask(), &stx) == 0;
}

qint64 itemSize(const EntryValues& v, int dirfd, const char* name)
{
    if (v.isPackage) {
        const int fd = FA::openDirectory(dirfd, name);
        if (fd < 0) return 0;
        const qint64 size = FA::directorySize(fd);
        ::close(fd);
        return size;
    }
    return v.fileSize.value_or(v.allocatedSize.value_or(0));
}

FileItem assemble(QString path, QString name, const QString& ext, FileKind kind, const EntryValues& v, qint64 size,
                  QStringList whereFrom, bool screenshot)
{
    FileItem item;
    item.path = std::move(path);
    item.name = std::move(name);
    item.ext = ext;
    item.size = size;
    item.created = v.created.value_or(Date::distantPast());
    item.modified = v.modified.value_or(item.created);
    item.added = v.added.value_or(item.created);
    item.kind = kind;
    item.isScreenshot = screenshot;
    if (!whereFrom.isEmpty()) item.sourceKey = DownloadSource::keyFor(whereFrom);
    item.whereFrom = std::move(whereFrom);
    return item;
}

// A QString that holds unpaired surrogates has no faithful file-name bytes.
bool isValidUtf16(QStringView s)
{
    for (qsizetype i = 0; i < s.size(); ++i) {
        const QChar c = s[i];
        if (c.isHighSurrogate()) {
            if (i + 1 >= s.size() || !s[i + 1].isLowSurrogate()) return false;
            ++i;
        } else if (c.isLowSurrogate()) {
            return false;
        }
    }
    return true;
}

// A folder being walked, shared by the walk and the item builder until both are done with its
// entries; its descriptor is closed when the last one lets go.
struct OpenFolder {
    int fd = -1;
    QString path;       // empty for "/", so that children are "/name"
    std::string bytes;  // the same path as bytes

    OpenFolder(int fd_, QString path_, std::string bytes_) : fd(fd_), path(std::move(path_)), bytes(std::move(bytes_))
    { }
    OpenFolder(const OpenFolder&) = delete;
    OpenFolder& operator=(const OpenFolder&) = delete;
    ~OpenFolder() { ::close(fd); }
};

// A run of entries of one folder that become items, in walk order.
struct Run {
    struct Entry {
        quint32 nameOffset;
        quint32 nameLength;
        const ExtInfo* ext;
        EntryValues values;
    };
    std::shared_ptr<const OpenFolder> folder;
    std::string names;  // NUL-terminated names, back to back
    std::vector<Entry> entries;
};

// The camera's date of a picture: remembered from an earlier scan while the file is unchanged,
// else read through the open folder (usually one small read).
void dateItem(FileItem& item, int dirfd, const char* name, const CaptureDate::Memory* known)
{
    if (const CaptureDate::Known* k =
            known ? CaptureDate::lookUp(*known, item.path, item.size, item.modified) : nullptr) {
        item.taken = k->taken;
        item.takenFrom = k->from;
        return;
    }
    if (const auto reading = CaptureDate::readAt(dirfd, name)) {
        item.taken = reading->date;
        item.takenFrom = reading->from;
    } else {
        item.takenFrom = FileItem::TakenFrom::fileSystem;
    }
}

// The second stage: reads each entry's attributes and builds its item. Reading attributes is
// a second lookup of every file, about as costly as its statx, so it runs beside the walk.
void buildRun(const Run& run, QList<FileItem>& out, const CaptureDate::Memory* known)
{
    const OpenFolder& folder = *run.folder;
    for (const Run::Entry& e : run.entries) {
        const char* name = run.names.data() + e.nameOffset;
        const FA::Target target{folder.fd, name, folder.bytes.c_str()};
        const FA::Present attrs = FA::list(target);
        QString fileName = QString::fromUtf8(name, qsizetype(e.nameLength));
        const bool screenshot = e.ext->screenshot && (attrs.screenCapture || FA::hasScreenshotName(fileName));
        QString path;
        path.reserve(folder.path.size() + 1 + fileName.size());
        path.append(folder.path).append(u'/').append(fileName);
        FileItem item = assemble(std::move(path), std::move(fileName), e.ext->ext, e.ext->kind, e.values,
                                 itemSize(e.values, folder.fd, name),
                                 attrs.any() ? FA::whereFroms(target, attrs) : QStringList(), screenshot);
        if (e.ext->dated && e.values.isRegularFile) dateItem(item, folder.fd, name, known);
        out.append(std::move(item));
    }
}

// Several runs handed over at once, so that the threads meet rarely; or, when the walk had to
// build them itself, their finished items (and no runs).
struct Packet {
    std::vector<Run> runs;
    QList<FileItem> built;

    bool isBuilt() const { return runs.empty(); }
};

// The hand-over from the walk to the item builder. Bounded, so that the entries in flight and
// the folders they keep open stay few however far the walk runs ahead; when it is full, the
// walk builds its packet itself rather than wait, so both threads stay busy whichever stage is
// the slower one on this tree.
class PacketQueue {
public:
    // False, leaving `packet` untouched, when the queue is full of unbuilt packets. A built
    // packet is always taken.
    bool tryPush(Packet& packet)
    {
        std::lock_guard lock(m_mutex);
        if (!packet.isBuilt() && m_unbuilt >= kMaxUnbuilt) return false;
        if (!packet.isBuilt()) ++m_unbuilt;
        m_packets.push_back(std::move(packet));
        m_notEmpty.notify_one();
        return true;
    }
    void close()
    {
        std::lock_guard lock(m_mutex);
        m_closed = true;
        m_notEmpty.notify_one();
    }
    std::optional<Packet> pop()
    {
        std::unique_lock lock(m_mutex);
        m_notEmpty.wait(lock, [&] { return !m_packets.empty() || m_closed; });
        if (m_packets.empty()) return std::nullopt;
        Packet packet = std::move(m_packets.front());
        m_packets.pop_front();
        if (!packet.isBuilt()) --m_unbuilt;
        return packet;
    }

private:
    static constexpr size_t kMaxUnbuilt = 16;
    std::mutex m_mutex;
    std::condition_variable m_notEmpty;
    std::deque<Packet> m_packets;
    size_t m_unbuilt = 0;
    bool m_closed = false;
};

void buildItems(PacketQueue& queue, QList<FileItem>& out, const CaptureDate::Memory* known)
{
    while (std::optional<Packet> packet = queue.pop()) {
        out.append(std::move(packet->built));
        for (const Run& run : packet->runs) buildRun(run, out, known);
    }
}

// The first stage, on the scanning thread: the depth-first walk of the roots in name order,
// deciding from each entry's type, name and statx which entries become items.
class Walker {
public:
    Walker(int maxItems, const std::function<void(int)>& progress, const std::atomic<bool>* cancel, PacketQueue& queue,
           const CaptureDate::Memory* known)
        : m_maxItems(maxItems), m_progress(progress), m_cancel(cancel), m_queue(queue), m_known(known)
    { }

    bool stopped() const { return m_stop; }
    ExtMemo& exts() { return m_exts; }

    void walkRoot(const QString& root)
    {
        const QByteArray bytes = QFile::encodeName(root);
        const int fd = ::open(bytes.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (fd < 0) return;
        const bool isSlash = root == u"/";
        walk(std::make_shared<const OpenFolder>(fd, isSlash ? QString() : root,
                                                isSlash ? std::string() : bytes.toStdString()));
    }

    // Hands over the last runs; call once the roots are walked.
    void finish()
    {
        endRun();
        send();
    }

private:
    bool shouldStop()
    {
        if (m_count >= m_maxItems || (m_cancel && m_cancel->load(std::memory_order_relaxed))) m_stop = true;
        return m_stop;
    }

    // Closes the current run of one folder's entries into the packet being filled.
    void endRun()
    {
        if (m_run.entries.empty()) return;
        m_pendingEntries += m_run.entries.size();
        m_packet.runs.push_back(std::move(m_run));
        m_run = Run();
        if (m_pendingEntries >= kPacketEntries || m_packet.runs.size() >= kPacketRuns) send();
    }

    void send()
    {
        if (m_packet.runs.empty()) return;
        if (!m_queue.tryPush(m_packet)) {
            for (const Run& run : m_packet.runs) buildRun(run, m_packet.built, m_known);
            m_packet.runs.clear();
            m_queue.tryPush(m_packet);
        }
        m_packet = Packet();
        m_pendingEntries = 0;
    }

    void walk(const std::shared_ptr<const OpenFolder>& folder)
    {
        // Hidden entries (and "." and "..") are never library items.
        FA::DirectoryListing listing;
        listing.read(folder->fd, FA::DirectoryListing::Hidden::skip);
        for (const DirEntry& e : listing.entries()) {
            if (shouldStop()) return;
            visit(folder, e);
        }
    }

    void visit(const std::shared_ptr<const OpenFolder>& folder, const DirEntry& e)
    {
        const int fd = folder->fd;
        const char* name = e.name.data();
        // A name that is not UTF-8 could not be shown or acted on faithfully: leave it, and
        // everything below it, out.
        if (!QByteArrayView(e.name.data(), qsizetype(e.name.size())).isValidUtf8()) return;
        struct statx stx;
        bool haveStat = false;
        unsigned char type = e.type;
        if (type == DT_UNKNOWN) {
            if (!statAt(fd, name, stx)) return;
            haveStat = true;
            type = typeFromMode(stx.stx_mode);
        }
        if (type == DT_LNK) return;
        const ExtInfo& x = m_exts.lookup(rawExtension(e.name));
        if (type == DT_DIR) {
            if (!x.package) {
                if (isSkippedDirectoryName(e.name)) return;
                const int sub = FA::openDirectory(fd, name);
                if (sub < 0) return;
                walk(std::make_shared<const OpenFolder>(
                    sub, folder->path + u'/' + QString::fromUtf8(e.name.data(), qsizetype(e.name.size())),
                    folder->bytes + '/' + std::string(e.name)));
                return;
            }
            if (x.skippedPackage) return;
        } else if (type != DT_REG) {
            return;  // sockets, pipes, devices
        }
        if (!haveStat && !statAt(fd, name, stx)) return;
        // The entry may have been replaced since the folder was read.
        const bool isDir = S_ISDIR(stx.stx_mode);
        if (!(S_ISREG(stx.stx_mode) || (isDir && x.package))) return;
        if (!isDir && FA::isCloudPlaceholderName(QByteArrayView(e.name.data(), qsizetype(e.name.size())))) return;

        if (m_run.folder != folder) {
            endRun();
            m_run.folder = folder;
        }
        m_run.entries.push_back(
            {quint32(m_run.names.size()), quint32(e.name.size()), &x, FA::valuesFrom(stx, isDir, false)});
        m_run.names.append(e.name);
        m_run.names.push_back('\0');
        if (m_run.entries.size() >= kPacketEntries) endRun();
        ++m_count;
        if (m_progress && m_count % Scanner::kProgressEvery == 0) m_progress(int(m_count));
    }

    // A packet goes when it holds this many entries, or runs (each run keeps its folder open
    // until built, so this also bounds the open folders to 16 × 16 beyond the walk's own).
    static constexpr size_t kPacketEntries = 512;
    static constexpr size_t kPacketRuns = 16;
    const qsizetype m_maxItems;
    const std::function<void(int)>& m_progress;
    const std::atomic<bool>* m_cancel;
    PacketQueue& m_queue;
    const CaptureDate::Memory* m_known;
    ExtMemo m_exts;
    Run m_run;
    Packet m_packet;
    size_t m_pendingEntries = 0;
    qsizetype m_count = 0;  // entries handed over: each becomes exactly one item
    bool m_stop = false;
};

QString standardise(const QString& path)
{
    return QDir::cleanPath(QDir::isAbsolutePath(path) ? path : QDir::current().absoluteFilePath(path));
}

bool isInside(const QString& path, const QString& folder)
{
    if (folder == u"/") return path.size() > 1 && path.startsWith(u'/');
    return path.size() > folder.size() && path.startsWith(folder) && path[folder.size()] == u'/';
}

// Roots in order, without those that lie inside another root or repeat an earlier one.
QStringList distinctRoots(const QStringList& roots)
{
    QStringList standard;
    for (const QString& r : roots) standard << standardise(r);
    QStringList kept;
    for (qsizetype i = 0; i < standard.size(); ++i) {
        bool drop = standard.indexOf(standard[i]) < i;
        for (qsizetype j = 0; j < standard.size() && !drop; ++j) drop = isInside(standard[i], standard[j]);
        if (!drop) kept << standard[i];
    }
    return kept;
}

bool recordsAccessTimes(int fd)
{
    struct statvfs fs { };
    return ::fstatvfs(fd, &fs) != 0 || !(fs.f_flag & ST_NOATIME);
}

}  // namespace

Scanner::Scanner(QStringList roots, QStringList appFolders, int maxItems)
    : m_roots(std::move(roots)), m_appFolders(std::move(appFolders)), m_maxItems(maxItems)
{ }

QList<FileItem> Scanner::scan(const std::function<void(int)>& progress, const std::atomic<bool>* cancel) const
{
    QList<FileItem> out;
    const QStringList roots = distinctRoots(m_roots);
    PacketQueue queue;
    Walker walker(m_maxItems, progress, cancel, queue, m_knownDates.get());
    {
        std::thread builder(buildItems, std::ref(queue), std::ref(out), m_knownDates.get());
        // Whatever happens to the walk, the builder is told to finish and joined.
        const auto joinBuilder = qScopeGuard([&] {
            queue.close();
            builder.join();
        });
        for (const QString& root : roots) {
            if (walker.stopped()) break;
            walker.walkRoot(root);
        }
        walker.finish();
    }

    // Applications are listed once each. Only an application folder inside a root can repeat
    // an item already found, so only then are the roots' paths collected.
    QSet<QString> seen;
    bool rootsCollected = false;
    for (const QString& rawFolder : m_appFolders) {
        if (cancel && cancel->load(std::memory_order_relaxed)) break;
        const QString folder = standardise(rawFolder);
        if (!rootsCollected && std::any_of(roots.begin(), roots.end(), [&](const QString& r) {
                return folder == r || isInside(folder, r);
            })) {
            for (const FileItem& item : std::as_const(out)) seen.insert(item.path);
            rootsCollected = true;
        }
        const QByteArray folderBytes = QFile::encodeName(folder);
        const int fd = ::open(folderBytes.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (fd < 0) continue;
        const bool withAccessTimes = recordsAccessTimes(fd);
        FA::DirectoryListing listing;
        listing.read(fd, FA::DirectoryListing::Hidden::skip);
        const QString prefix = folder == u"/" ? QString() : folder;
        for (const DirEntry& e : listing.entries()) {
            if (!isAppName(e.name) || !QByteArrayView(e.name.data(), qsizetype(e.name.size())).isValidUtf8()) continue;
            QString name = QString::fromUtf8(e.name.data(), qsizetype(e.name.size()));
            QString path = prefix + u'/' + name;
            if (seen.contains(path)) continue;
            struct statx stx;
            if (!statAt(fd, e.name.data(), stx)) continue;
            seen.insert(path);
            const ExtInfo& x = walker.exts().lookup(rawExtension(e.name));
            const EntryValues values = FA::valuesFrom(stx, x.package, false);
            const FA::Target target{fd, e.name.data(), prefix.isEmpty() ? "" : folderBytes.constData()};
            const FA::Present attrs = FA::list(target);
            const bool screenshot = x.screenshot && (attrs.screenCapture || FA::hasScreenshotName(name));
            FileItem item =
                assemble(std::move(path), std::move(name), x.ext, x.kind, values, itemSize(values, fd, e.name.data()),
                         attrs.any() ? FA::whereFroms(target, attrs) : QStringList(), screenshot);
            // Read before the package's size walk, which must not count as a use.
            if (withAccessTimes) item.lastUsed = values.accessed;
            out.append(std::move(item));
        }
        ::close(fd);
    }
    return out;
}

std::optional<FileItem> Scanner::makeItem(const QString& path, const EntryValues& values)
{
    if (!isValidUtf16(path)) return std::nullopt;
    QString name = path.mid(path.lastIndexOf(u'/') + 1);
    const QString ext = pathExtension(name).toLower();
    const QByteArray bytes = QFile::encodeName(path);
    const qint64 size = itemSize(values, AT_FDCWD, bytes.constData());
    FileItem item = assemble(path, name, ext, FileKinds::classify(ext), values, size, whereFroms(path),
                             isScreenshot(path, name, ext));
    if (values.isRegularFile) CaptureDate::fill(item);
    return item;
}

std::optional<FileItem> Scanner::makeItem(const QString& path)
{
    const std::optional<EntryValues> values = readValues(path);
    if (!values) return std::nullopt;
    return makeItem(path, *values);
}

std::optional<EntryValues> Scanner::readValues(const QString& path)
{
    if (!isValidUtf16(path)) return std::nullopt;
    const QByteArray bytes = QFile::encodeName(path);
    struct statx stx;
    if (!statAt(AT_FDCWD, bytes.constData(), stx)) return std::nullopt;
    const QString name = path.mid(path.lastIndexOf(u'/') + 1);
    return FA::valuesFrom(stx, packageExtensions().contains(pathExtension(name).toLower()),
                          FA::isCloudPlaceholderName(QByteArrayView(bytes)));
}

QStringList Scanner::whereFroms(const QString& path)
{
    const QByteArray bytes = QFile::encodeName(path);
    const FA::Target target{AT_FDCWD, bytes.constData(), nullptr, true};
    const FA::Present attrs = FA::list(target);
    return attrs.any() ? FA::whereFroms(target, attrs) : QStringList();
}

bool Scanner::isScreenshot(const QString& path, const QString& name, const QString& ext)
{
    if (!screenshotExtensions().contains(ext)) return false;
    const QByteArray bytes = QFile::encodeName(path);
    if (FA::list(FA::Target{AT_FDCWD, bytes.constData(), nullptr, true}).screenCapture) return true;
    return FA::hasScreenshotName(name);
}

qint64 Scanner::directorySize(const QString& path)
{
    const int fd = FA::openDirectory(AT_FDCWD, QFile::encodeName(path).constData());
    if (fd < 0) return 0;
    const qint64 size = FA::directorySize(fd);
    ::close(fd);
    return size;
}

std::optional<Date> Scanner::lastUsedDate(const QString& path)
{
    const QByteArray bytes = QFile::encodeName(path);
    struct statvfs fs { };
    if (::statvfs(bytes.constData(), &fs) == 0 && (fs.f_flag & ST_NOATIME)) return std::nullopt;
    struct statx stx;
    if (::statx(AT_FDCWD, bytes.constData(), AT_SYMLINK_NOFOLLOW, STATX_ATIME, &stx) != 0
        || !(stx.stx_mask & STATX_ATIME))
        return std::nullopt;
    return Date::fromUnix(stx.stx_atime.tv_sec, stx.stx_atime.tv_nsec);
}

std::optional<QString> Scanner::cameraModel(const QString& path)
{
    static const bool quiet = [] {
        Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
        return true;
    }();
    (void)quiet;
    // Only regular files: opening a pipe or a device could block or read forever.
    const QByteArray bytes = QFile::encodeName(path);
    struct stat st { };
    if (::stat(bytes.constData(), &st) != 0 || !S_ISREG(st.st_mode)) return std::nullopt;
    try {
        auto image = Exiv2::ImageFactory::open(std::string(bytes.constData(), size_t(bytes.size())));
        if (!image.get()) return std::nullopt;
        image->readMetadata();
        const Exiv2::ExifData& exif = image->exifData();
        for (const char* key : {"Exif.Image.Model", "Exif.Image.Make"}) {
            const auto it = exif.findKey(Exiv2::ExifKey(key));
            if (it == exif.end() || it->typeId() != Exiv2::asciiString) continue;
            // Cameras pad these fields with NULs and spaces.
            const QString text = QString::fromUtf8(it->toString().c_str()).trimmed();
            if (!text.isEmpty()) return text;
        }
    } catch (const std::exception&) {
        // Not an image exiv2 can read, or a damaged one: no camera.
    }
    return std::nullopt;
}

std::optional<QByteArray> Scanner::xattrData(const QString& path, const char* name)
{
    const QByteArray bytes = QFile::encodeName(path);
    return FA::read(FA::Target{AT_FDCWD, bytes.constData(), nullptr, true}, name);
}

const QSet<QString>& Scanner::skippedDirectories()
{
    static const QSet<QString> set = [] {
        QSet<QString> s;
        for (std::string_view n : kSkippedDirectories) s.insert(QString::fromLatin1(n.data(), qsizetype(n.size())));
        return s;
    }();
    return set;
}

const QSet<QString>& Scanner::skippedPackages()
{
    static const QSet<QString> set{
        "photoslibrary",        "photolibrary", "musiclibrary", "tvlibrary",  "fcpbundle", "imovielibrary", "aplibrary",
        "migratedphotolibrary", "xcodeproj",    "xcworkspace",  "playground", "bundle",    "framework"};
    return set;
}

const QSet<QString>& Scanner::packageExtensions()
{
    static const QSet<QString> set = [] {
        QSet<QString> s = skippedPackages();
        for (const char* e : {"app", "rtfd", "pages", "key", "numbers", "bundle", "plugin", "kext", "sparsebundle"})
            s.insert(QString::fromLatin1(e));
        return s;
    }();
    return set;
}

const QSet<QString>& Scanner::screenshotExtensions()
{
    static const QSet<QString> set{"png", "jpg", "jpeg", "heic", "tiff"};
    return set;
}

}  // namespace fennic
