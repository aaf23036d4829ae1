#include "CleanupKind.h"

#include <QSet>
#include <algorithm>

namespace fennic::CleanupKinds {
namespace {

struct Texts {
    const char* raw;
    const char* title;
    const char* detail;
    const char* symbol;
};

// Indexed by the enumeration's value.
constexpr Texts kTexts[] = {
    {"downloads", "Forgotten downloads", "In Downloads and untouched for over 3 months", "arrow.down.circle"},
    {"installers", "Old installers", ".deb, .rpm, .flatpak, .snap and other installers older than a week",
     "shippingbox"},
    {"screenshots", "Old screenshots", "Screenshots older than a month", "camera.viewfinder"},
    {"videos", "Big old videos", "Videos over 200 MB, untouched for 6 months", "film.stack"},
    {"apps", "Unused apps", "Apps you haven\u2019t opened in 3 months", "square.grid.2x2"},
    {"large", "Very large files", "Files over 1 GB anywhere in your folders", "externaldrive"},
};

const Texts& texts(CleanupKind kind) { return kTexts[static_cast<std::size_t>(kind)]; }

constexpr qint64 kBigVideoBytes = 200'000'000;
constexpr qint64 kLargeFileBytes = 1'000'000'000;

QString withSlash(const QString& folder) { return folder.endsWith(u'/') ? folder : folder + u'/'; }

bool directlyIn(const FileItem& item, const QString& folderWithSlash)
{
    // The parent is everything up to the last "/", so comparing that prefix and checking that
    // no further "/" follows is the same as comparing the parent folder with a trailing "/".
    const qsizetype slash = item.path.lastIndexOf(u'/');
    return slash + 1 == folderWithSlash.size() && item.path.startsWith(folderWithSlash);
}

bool proposes(CleanupKind kind, const FileItem& f, Date now, const QString& downloadsWithSlash)
{
    switch (kind) {
    case CleanupKind::downloads:
        return directlyIn(f, downloadsWithSlash) && !f.isInstaller() && now - std::max(f.modified, f.added) > 90 * kDay;
    case CleanupKind::installers: return f.isInstaller() && now - f.added > 7 * kDay;
    case CleanupKind::screenshots: {
        if (!f.isScreenshot) return false;
        // An old screenshot copied in recently keeps its own date.
        const Date reference = (f.added - f.modified) > kDay ? f.modified : f.added;
        return now - reference > 30 * kDay;
    }
    case CleanupKind::videos:
        return f.kind == FileKind::video && f.size > kBigVideoBytes && now - f.modified > 180 * kDay;
    case CleanupKind::apps:
        return f.kind == FileKind::app && f.path.contains(u"/Applications/") && f.lastUsed
            && now - *f.lastUsed > 90 * kDay;
    case CleanupKind::large: return f.size > kLargeFileBytes;
    }
    return false;
}

void sortProposals(QList<FileItem>& files)
{
    std::sort(files.begin(), files.end(), [](const FileItem& a, const FileItem& b) {
        if (a.size != b.size) return a.size > b.size;
        return a.path < b.path;
    });
}

}  // namespace

QString rawValue(CleanupKind kind) { return QString::fromLatin1(texts(kind).raw); }

std::optional<CleanupKind> fromRawValue(QStringView raw)
{
    for (CleanupKind kind : allCases)
        if (raw == QLatin1String(texts(kind).raw)) return kind;
    return std::nullopt;
}

QString title(CleanupKind kind) { return QString::fromUtf8(texts(kind).title); }
QString detail(CleanupKind kind) { return QString::fromUtf8(texts(kind).detail); }
QString symbol(CleanupKind kind) { return QString::fromLatin1(texts(kind).symbol); }
QString noun(CleanupKind kind) { return kind == CleanupKind::apps ? QStringLiteral("app") : QStringLiteral("file"); }

qint64 Suggestion::size() const
{
    qint64 total = 0;
    for (const FileItem& f : files) total += f.size;
    return total;
}

QList<FileItem> files(CleanupKind kind, const QList<FileItem>& items, Date now, const QString& downloads)
{
    const QString folder = withSlash(downloads);
    QList<FileItem> result;
    for (const FileItem& f : items)
        if (proposes(kind, f, now, folder)) result.append(f);
    sortProposals(result);
    return result;
}

QList<Suggestion> suggestions(const QList<FileItem>& items, Date now, const QString& downloads)
{
    const QString folder = withSlash(downloads);
    QList<Suggestion> result;
    for (CleanupKind kind : allCases) result.append(Suggestion{kind, {}});
    for (const FileItem& f : items)
        for (Suggestion& s : result)
            if (proposes(s.kind, f, now, folder)) s.files.append(f);
    for (Suggestion& s : result) sortProposals(s.files);
    return result;
}

QString autoInstallerSetting()
{
    return QStringLiteral("Move installers (.deb, .rpm, .flatpak, .snap, .run, .dmg, .pkg) older than 30 days to the Trash");
}

QList<FileItem> autoInstallers(const QList<FileItem>& items, Date now)
{
    QList<FileItem> stale;
    for (const FileItem& item : items)
        if (item.isInstaller() && now - item.added > kAutoInstallerAge) stale.append(item);
    return stale;
}

qint64 reclaimable(const QList<Suggestion>& suggestions)
{
    QSet<QString> counted;
    qint64 total = 0;
    for (const Suggestion& s : suggestions)
        for (const FileItem& f : s.files)
            if (!counted.contains(f.path)) {
                counted.insert(f.path);
                total += f.size;
            }
    return total;
}

}  // namespace fennic::CleanupKinds
