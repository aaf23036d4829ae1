#include "DuplicateFinder.h"

#include "Sha256.h"

#include <QFile>
#include <algorithm>
#include <cmath>
#include <limits>
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

constexpr float kNoLimit = std::numeric_limits<float>::infinity();

// The squared distance of two vectors of n floats, eight lanes at a time (which the compiler
// turns into vector instructions); it stops early, with some value above `limit`, once the
// partial sum passes `limit`: most pairs of pictures are far apart and show it early.
float squaredDistance(const float* a, const float* b, qsizetype n, float limit)
{
    constexpr qsizetype kLanes = 8;
    constexpr qsizetype kBlock = 128;  // floats between checks against the limit
    float lanes[kLanes] = {};
    qsizetype i = 0;
    while (i + kLanes <= n) {
        const qsizetype blockEnd = std::min(n - n % kLanes, i + kBlock);
        for (; i < blockEnd; i += kLanes)
            for (qsizetype k = 0; k < kLanes; ++k) {
                const float d = a[i + k] - b[i + k];
                lanes[k] += d * d;
            }
        float partial = 0.0f;
        for (float lane : lanes) partial += lane;
        if (partial > limit) return partial;
    }
    float sum = 0.0f;
    for (float lane : lanes) sum += lane;
    for (; i < n; ++i) {
        const float d = a[i] - b[i];
        sum += d * d;
    }
    return sum;
}

// Whether two prints lie closer than `threshold`; prints of different or zero length never do.
bool closerThan(const FeaturePrint& a, const FeaturePrint& b, float threshold)
{
    if (a.isEmpty() || a.size() != b.size()) return false;
    const float limit = threshold * threshold;
    const float sum = squaredDistance(a.constData(), b.constData(), a.size(), limit);
    return std::isfinite(sum) && sum < limit;
}

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
    const float result = std::sqrt(squaredDistance(a.constData(), b.constData(), a.size(), kNoLimit));
    if (!std::isfinite(result)) return std::nullopt;
    return result;
}

QList<DuplicateGroup> lookalikes(const QList<FileItem>& items, double window, float threshold,
                                 const FeaturePrintProvider& prints, const Progress& progress,
                                 const std::atomic<bool>* stop)
{
    QList<FileItem> candidates;
    for (const FileItem& f : items)
        if (f.kind == FileKind::image && f.size < kLookalikeMaxSize && f.ext != u"svg") candidates.append(f);
    // Pictures of one moment (a folder copied in one go, without camera dates) in name order,
    // which is the order cameras number them in.
    std::stable_sort(candidates.begin(), candidates.end(), [](const FileItem& a, const FileItem& b) {
        if (a.captureDate() != b.captureDate()) return a.captureDate() < b.captureDate();
        return a.path < b.path;
    });

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
        const qsizetype last = std::min(n - 1, i + kLookalikeNeighbours);
        for (qsizetype j = i + 1; j <= last; ++j) {
            if (candidates[j].captureDate() - candidates[i].captureDate() > window) break;
            const auto& a = printOf(i);
            if (!a) break;  // a picture without a print never joins a group
            const auto& b = printOf(j);
            if (!b) continue;
            if (closerThan(*a, *b, threshold)) sets.join(i, j);
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
