// DuplicateFinder::exact: the byte-identical file search.
//
// Strategy. Only files with a size twin are read. A size bucket is read in lock-step: first
// the 64 KiB prefix of every member, then 1 MiB at a time, and after each step the members
// are split by what they read. A member left without a twin is closed and never read again,
// so most files cost one 64 KiB read. The members still together at the end of their files
// have been compared byte for byte, so they form a group as they are: no digest is needed,
// and the work is one read of each candidate and a comparison.
//
// A bucket with very many members would need one buffer per member; those are hashed file by
// file instead (the SHA-256 of the prefix of each, then of the rest of those whose prefix
// digest has a twin), and grouped by digest.
//
// Buckets go to a pool of threads, largest first so both cores finish together; the calling
// thread only reports progress.
#include "DuplicateFinder.h"

#include "Sha256.h"

#include <QFile>
#include <algorithm>
#include <condition_variable>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <sys/stat.h>
#include <thread>
#include <vector>

namespace fennic::DuplicateFinder {
namespace {

// Buckets with more members are hashed file by file rather than read in lock-step.
constexpr std::size_t kLockstepMembers = 16;

using Digest = Sha256::Digest;
using Groups = std::vector<std::vector<qsizetype>>;  // item indices of each group found

struct OpenMember {
    qsizetype item = 0;
    std::unique_ptr<ReadOnlyFile> file;
};

// Per-thread read buffers, one per member of a lock-step bucket.
class Buffers {
public:
    char* at(std::size_t i)
    {
        while (m_buffers.size() <= i) m_buffers.push_back(std::make_unique<char[]>(std::size_t(kHashChunk)));
        return m_buffers[i].get();
    }

private:
    std::vector<std::unique_ptr<char[]>> m_buffers;
};

// Opens the members in order and keeps the first name of each file (volume, file number):
// two names of one file are never a pair. Members that cannot be opened are left out.
std::vector<OpenMember> openMembers(const QList<FileItem>& items, const std::vector<qsizetype>& indices)
{
    std::vector<OpenMember> open;
    std::vector<std::pair<dev_t, ino_t>> seen;
    for (qsizetype i : indices) {
        auto file = std::make_unique<ReadOnlyFile>(items[i].path);
        struct stat st { };
        if (!file->isOpen() || ::fstat(file->fd(), &st) != 0) continue;
        const std::pair<dev_t, ino_t> key{st.st_dev, st.st_ino};
        if (std::find(seen.begin(), seen.end(), key) != seen.end()) continue;
        seen.push_back(key);
        open.push_back({i, std::move(file)});
    }
    return open;
}

void groupByDigest(std::map<Digest, std::vector<qsizetype>>& byDigest, Groups& groups)
{
    for (auto& [digest, members] : byDigest)
        if (members.size() >= 2) groups.push_back(std::move(members));
}

Groups lockstep(std::vector<OpenMember>& open, Buffers& buffers, const std::atomic<bool>* stop)
{
    Groups groups;
    // Members (positions in `open`) known to hold equal bytes so far.
    std::vector<std::vector<std::size_t>> sets(1);
    for (std::size_t k = 0; k < open.size(); ++k) sets.front().push_back(k);
    std::vector<qint64> got(open.size(), 0);
    qint64 offset = 0;
    qint64 chunk = kPrefixBytes;
    while (!sets.empty()) {
        if (stop && stop->load(std::memory_order_relaxed)) return {};
        std::vector<std::vector<std::size_t>> next;
        for (const std::vector<std::size_t>& set : sets) {
            // Split the set by the bytes each member has at this step; a read error leaves the
            // member out.
            std::vector<std::vector<std::size_t>> parts;
            for (std::size_t k : set) {
                got[k] = open[k].file->readAt(offset, buffers.at(k), chunk);
                if (got[k] < 0) continue;
                auto same = std::find_if(parts.begin(), parts.end(), [&](const std::vector<std::size_t>& part) {
                    const std::size_t r = part.front();
                    return got[r] == got[k] && std::memcmp(buffers.at(r), buffers.at(k), std::size_t(got[k])) == 0;
                });
                if (same == parts.end())
                    parts.push_back({k});
                else
                    same->push_back(k);
            }
            for (auto& part : parts) {
                if (part.size() < 2) continue;    // no twin left: never read again
                if (got[part.front()] < chunk) {  // end of these files: equal throughout
                    std::vector<qsizetype> items;
                    items.reserve(part.size());
                    for (std::size_t k : part) items.push_back(open[k].item);
                    groups.push_back(std::move(items));
                } else {
                    next.push_back(std::move(part));
                }
            }
        }
        sets = std::move(next);
        offset += chunk;
        chunk = kHashChunk;
    }
    return groups;
}

// Items of a crowded bucket without their second names (see openMembers), found without
// keeping the files open: such a bucket may hold more files than a process may open.
std::vector<qsizetype> distinctFiles(const QList<FileItem>& items, const std::vector<qsizetype>& indices)
{
    std::vector<qsizetype> distinct;
    std::vector<std::pair<dev_t, ino_t>> seen;
    for (qsizetype i : indices) {
        struct stat st { };
        if (::stat(QFile::encodeName(items[i].path).constData(), &st) == 0) {
            const std::pair<dev_t, ino_t> key{st.st_dev, st.st_ino};
            if (std::find(seen.begin(), seen.end(), key) != seen.end()) continue;
            seen.push_back(key);
        }
        distinct.push_back(i);
    }
    return distinct;
}

// The plain way for crowded buckets: every member's prefix digest, then the full digest of
// those whose prefix digest has a twin (continuing from the prefix, not reading it again).
Groups fileByFile(const QList<FileItem>& items, const std::vector<qsizetype>& members, char* buffer,
                  const std::atomic<bool>* stop)
{
    struct Hashed {
        qsizetype item;
        Sha256 running;
        bool complete;
    };
    std::map<Digest, std::vector<Hashed>> byPrefix;
    for (qsizetype i : members) {
        if (stop && stop->load(std::memory_order_relaxed)) return {};
        ReadOnlyFile file(items[i].path);
        Sha256 digest;
        const auto fed = feedFile(file, digest, 0, kPrefixBytes, buffer, kHashChunk);
        if (!fed || !digest.valid()) continue;
        const Digest prefix = digest.clone().finish();
        byPrefix[prefix].push_back(Hashed{i, std::move(digest), *fed < kPrefixBytes});
    }
    std::map<Digest, std::vector<qsizetype>> byFull;
    for (auto& [prefix, hashed] : byPrefix) {
        if (hashed.size() < 2) continue;
        for (Hashed& h : hashed) {
            if (stop && stop->load(std::memory_order_relaxed)) return {};
            if (!h.complete) {
                ReadOnlyFile file(items[h.item].path);
                if (!feedFile(file, h.running, kPrefixBytes, std::nullopt, buffer, kHashChunk)) continue;
            }
            byFull[h.running.finish()].push_back(h.item);
        }
    }
    Groups groups;
    groupByDigest(byFull, groups);
    return groups;
}

struct Bucket {
    qint64 size = 0;
    std::vector<qsizetype> members;  // item indices, in input order
    Groups groups;
};

class ExactSearch {
public:
    ExactSearch(const QList<FileItem>& items, const std::atomic<bool>* stop) : m_items(items), m_stop(stop) { }

    void makeBuckets();
    void run(int threads, const Progress& progress);
    QList<DuplicateGroup> groups(const QString& downloads) const;

private:
    void work();
    void process(Bucket& bucket, Buffers& buffers);

    const QList<FileItem>& m_items;
    const std::atomic<bool>* m_stop;
    std::vector<Bucket> m_buckets;     // by size, largest first: the order of the result
    std::vector<std::size_t> m_order;  // most work first: the order of processing

    std::mutex m_lock;
    std::condition_variable m_bucketDone;
    std::size_t m_next = 0;      // next position in m_order (guarded by m_lock)
    std::size_t m_finished = 0;  // buckets done (guarded by m_lock)
};

void ExactSearch::makeBuckets()
{
    std::map<qint64, std::vector<qsizetype>, std::greater<>> bySize;
    for (qsizetype i = 0; i < m_items.size(); ++i) {
        const FileItem& f = m_items[i];
        if (f.kind == FileKind::app || f.size < kMinimumSize) continue;
        bySize[f.size].push_back(i);
    }
    for (auto& [size, indices] : bySize)
        if (indices.size() >= 2) m_buckets.push_back(Bucket{size, std::move(indices), {}});
    m_order.resize(m_buckets.size());
    for (std::size_t b = 0; b < m_order.size(); ++b) m_order[b] = b;
    // The bytes a bucket may need read, as a measure of its work.
    auto work = [&](std::size_t b) { return double(m_buckets[b].size) * double(m_buckets[b].members.size()); };
    std::stable_sort(m_order.begin(), m_order.end(), [&](std::size_t a, std::size_t b) { return work(a) > work(b); });
}

void ExactSearch::process(Bucket& bucket, Buffers& buffers)
{
    if (bucket.members.size() > kLockstepMembers) {
        const std::vector<qsizetype> distinct = distinctFiles(m_items, bucket.members);
        if (distinct.size() >= 2) bucket.groups = fileByFile(m_items, distinct, buffers.at(0), m_stop);
        return;
    }
    std::vector<OpenMember> open = openMembers(m_items, bucket.members);
    if (open.size() >= 2) bucket.groups = lockstep(open, buffers, m_stop);
}

void ExactSearch::work()
{
    Buffers buffers;
    std::unique_lock lock(m_lock);
    while (m_next < m_order.size()) {
        Bucket& bucket = m_buckets[m_order[m_next++]];
        lock.unlock();
        if (!(m_stop && m_stop->load(std::memory_order_relaxed))) process(bucket, buffers);
        lock.lock();
        ++m_finished;
        m_bucketDone.notify_all();
    }
}

void ExactSearch::run(int threads, const Progress& progress)
{
    const std::size_t total = m_buckets.size();
    if (total > 0) {
        if (progress) progress(0.0);
        if (threads <= 0) threads = int(std::max(1u, std::thread::hardware_concurrency()));
        threads = int(std::min<std::size_t>(std::size_t(threads), total));
        std::vector<std::thread> pool;
        pool.reserve(std::size_t(threads));
        for (int t = 0; t < threads; ++t) pool.emplace_back([this] { work(); });
        {
            std::unique_lock lock(m_lock);
            std::size_t reported = 0;
            while (m_finished < total) {
                m_bucketDone.wait(lock, [&] { return m_finished != reported; });
                reported = m_finished;
                if (progress && reported < total) {
                    lock.unlock();
                    progress(double(reported) / double(total));
                    lock.lock();
                }
            }
        }
        for (std::thread& t : pool) t.join();
    }
    if (progress) progress(1.0);
}

QList<DuplicateGroup> ExactSearch::groups(const QString& downloads) const
{
    QList<DuplicateGroup> result;
    for (const Bucket& bucket : m_buckets) {
        std::vector<QList<FileItem>> found;
        for (const auto& items : bucket.groups) {
            QList<FileItem> files;
            files.reserve(qsizetype(items.size()));
            for (qsizetype i : items) files.append(m_items[i]);
            std::sort(files.begin(), files.end(), [](const FileItem& a, const FileItem& b) { return a.path < b.path; });
            found.push_back(std::move(files));
        }
        // Several groups of one size: in order of their first path, so runs repeat exactly.
        std::sort(found.begin(), found.end(),
                  [](const QList<FileItem>& a, const QList<FileItem>& b) { return a.first().path < b.first().path; });
        for (QList<FileItem>& files : found) {
            const QString keep = preferredKeeper(files, downloads).path;
            result.append(DuplicateGroup{QUuid::createUuid(), std::move(files), keep, false});
        }
    }
    std::stable_sort(result.begin(), result.end(), [](const DuplicateGroup& a, const DuplicateGroup& b) {
        return a.reclaimable() > b.reclaimable();
    });
    return result;
}

}  // namespace

QList<DuplicateGroup> exact(const QList<FileItem>& items, const QString& downloads, const Progress& progress,
                            const std::atomic<bool>* stop, int threads)
{
    ExactSearch search(items, stop);
    search.makeBuckets();
    search.run(threads, progress);
    if (stop && stop->load()) return {};
    return search.groups(downloads);
}

}  // namespace fennic::DuplicateFinder
