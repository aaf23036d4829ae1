#include "DuplicateFinder.h"

#include "Sha256.h"

#include <QFile>
#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>
#include <sys/stat.h>
#include <vector>

namespace fennic::DuplicateFinder {
namespace {

bool inFolder(const QString& path, const QString& folder)
{
    const QString prefix = folder.endsWith(u'/') ? folder : folder + u'/';
    return path.startsWith(prefix);
}

// Union-find over candidate indices: find() halves paths as it walks (each visited entry is
// pointed at its grandparent), join() hangs one root under the other.
class UnionFind {
public:
    explicit UnionFind(qsizetype n) : m_parent(size_t(n)) { std::iota(m_parent.begin(), m_parent.end(), qsizetype(0)); }

    qsizetype find(qsizetype x)
    {
        while (m_parent[size_t(x)] != x) {
            m_parent[size_t(x)] = m_parent[size_t(m_parent[size_t(x)])];
            x = m_parent[size_t(x)];
        }
        return x;
    }

    void join(qsizetype a, qsizetype b)
    {
        const qsizetype ra = find(a);
        const qsizetype rb = find(b);
        if (ra != rb) m_parent[size_t(ra)] = rb;
    }

private:
    std::vector<qsizetype> m_parent;
};

}  // namespace

std::optional<QString> hash(const QString& path, std::optional<qint64> limit)
{
    ReadOnlyFile file(path);
    if (!file.isOpen()) return std::nullopt;
    Sha256 digest;
    if (!digest.valid()) return std::nullopt;
    const auto buffer = std::make_unique<char[]>(size_t(kHashChunk));
    if (!feedFile(file, digest, 0, limit, buffer.get(), kHashChunk)) return std::nullopt;
    return Sha256::hex(digest.finish());
}

std::optional<QString> inodeKey(const QString& path)
{
    struct stat st { };
    if (::stat(QFile::encodeName(path).constData(), &st) != 0) return std::nullopt;
    return QString::number(quint64(st.st_dev)) + u'-' + QString::number(quint64(st.st_ino));
}

FileItem preferredKeeper(const QList<FileItem>& files, const QString& downloads)
{
    if (files.isEmpty()) return FileItem();
    QList<FileItem> sorted = files;
    std::stable_sort(sorted.begin(), sorted.end(), [&](const FileItem& a, const FileItem& b) {
        const bool aDown = inFolder(a.path, downloads);
        const bool bDown = inFolder(b.path, downloads);
        if (aDown != bDown) return !aDown;
        if (a.created != b.created) return a.created < b.created;
        return a.path.size() < b.path.size();
    });
    return sorted.first();
}

std::optional<float> distance(const FeaturePrint& a, const FeaturePrint& b)
{
    if (a.isEmpty() || a.size() != b.size()) return std::nullopt;
    double sum = 0;
    for (qsizetype i = 0; i < a.size(); ++i) {
        const double d = double(a[i]) - double(b[i]);
        sum += d * d;
    }
    const double result = std::sqrt(sum);
    if (!std::isfinite(result)) return std::nullopt;
    return float(result);
}

QList<DuplicateGroup> lookalikes(const QList<FileItem>& items, double window, float threshold,
                                 const FeaturePrintProvider& prints, const Progress& progress,
                                 const std::atomic<bool>* stop)
{
    QList<FileItem> candidates;
    for (const FileItem& f : items)
        if (f.kind == FileKind::image && f.size < kLookalikeMaxSize && f.ext != u"svg") candidates.append(f);
    std::stable_sort(candidates.begin(), candidates.end(),
                     [](const FileItem& a, const FileItem& b) { return a.captureDate() < b.captureDate(); });

    const qsizetype n = candidates.size();
    // Made lazily, once per candidate: most pictures have no neighbour within the window.
    std::vector<std::optional<std::optional<FeaturePrint>>> cache(static_cast<std::size_t>(n));
    auto printOf = [&](qsizetype i) -> const std::optional<FeaturePrint>& {
        auto& slot = cache[size_t(i)];
        if (!slot) slot = prints ? prints(candidates[i].path) : std::nullopt;
        return *slot;
    };

    UnionFind sets(n);
    for (qsizetype i = 0; i < n; ++i) {
        if (stop && stop->load(std::memory_order_relaxed)) return {};
        if (i % 25 == 0 && progress) progress(double(i) / double(n));
        for (qsizetype j = i + 1; j < n; ++j) {
            if (candidates[j].captureDate() - candidates[i].captureDate() > window) break;
            const auto& a = printOf(i);
            if (!a) break;  // a picture without a print never joins a group
            const auto& b = printOf(j);
            if (!b) continue;
            const auto d = distance(*a, *b);
            if (d && *d < threshold) sets.join(i, j);
        }
    }

    // Groups in order of their first member, members in candidate order.
    QHash<qsizetype, qsizetype> groupOfRoot;
    QList<QList<FileItem>> members;
    for (qsizetype i = 0; i < n; ++i) {
        const qsizetype root = sets.find(i);
        auto it = groupOfRoot.find(root);
        if (it == groupOfRoot.end()) {
            it = groupOfRoot.insert(root, members.size());
            members.append(QList<FileItem>());
        }
        members[*it].append(candidates[i]);
    }
    QList<DuplicateGroup> groups;
    for (const QList<FileItem>& files : std::as_const(members)) {
        if (files.size() < 2) continue;
        const FileItem* keep = &files.first();
        for (const FileItem& f : files)
            if (f.size > keep->size) keep = &f;
        groups.append(DuplicateGroup{QUuid::createUuid(), files, keep->path, true});
    }
    std::stable_sort(groups.begin(), groups.end(), [](const DuplicateGroup& a, const DuplicateGroup& b) {
        return a.reclaimable() > b.reclaimable();
    });
    return groups;
}

}  // namespace fennic::DuplicateFinder
