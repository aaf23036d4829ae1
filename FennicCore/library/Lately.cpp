#include "Lately.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace fennic::Lately {
namespace {

struct BucketText {
    const char16_t* raw;
    const char16_t* title;
};

constexpr BucketText kTexts[] = {
    {u"today", u"Today"},
    {u"yesterday", u"Yesterday"},
    {u"thisWeek", u"This week"},
    {u"earlier", u"Earlier"},
};

// Sorting a bucket by path is most of the cost of groups(), and paths in a bucket share long
// prefixes ("/home/me/Pictures/Photos/2025/..."), which plain comparisons read again and again.
// So the sort goes by 64-bit keys of four UTF-16 units at a time, skipping the prefix a run
// has in common and recursing into runs of equal keys: the same order as comparing the whole
// strings unit by unit, at the cost of integer compares.
struct SortEntry {
    std::uint64_t key;
    QStringView path;  // the item's path, held here so that sorting never reads the item
    const FileItem* item;
};

bool pathLess(const SortEntry& a, const SortEntry& b) { return a.path < b.path; }

// Units [at, at + 4) of the path, the first in the highest bits; 0 past the end.
std::uint64_t keyAt(QStringView path, qsizetype at)
{
    std::uint64_t key = 0;
    for (qsizetype i = at; i < at + 4; ++i) key = (key << 16) | (i < path.size() ? path[i].unicode() : 0u);
    return key;
}

bool keyHasEnd(std::uint64_t key)
{
    for (int shift = 0; shift < 64; shift += 16)
        if (((key >> shift) & 0xFFFF) == 0) return true;
    return false;
}

// The paths live in separate heap blocks, so walking a run is a chain of cache misses; asking
// for the text a few entries ahead overlaps them.
constexpr qsizetype kPrefetchDistance = 8;

void prefetchAhead(const SortEntry* e, const SortEntry* end)
{
    if (end - e > kPrefetchDistance) __builtin_prefetch(e[kPrefetchDistance].path.data());
}

void sortByPath(SortEntry* begin, SortEntry* end, qsizetype depth)
{
    constexpr qsizetype kSmallRun = 12;
    if (end - begin < 2) return;
    if (end - begin <= kSmallRun) {
        std::sort(begin, end, pathLess);
        return;
    }
    // Skip what every path of the run has in common beyond `depth`.
    const QStringView first = begin->path;
    qsizetype common = first.size();
    for (const SortEntry* e = begin + 1; e != end && common > depth; ++e) {
        prefetchAhead(e, end);
        const qsizetype limit = std::min(common, e->path.size());
        qsizetype i = depth;
        while (i < limit && e->path[i] == first[i]) ++i;
        common = i;
    }
    depth = common;
    for (SortEntry* e = begin; e != end; ++e) {
        prefetchAhead(e, end);
        e->key = keyAt(e->path, depth);
    }
    std::sort(begin, end, [](const SortEntry& a, const SortEntry& b) { return a.key < b.key; });
    for (SortEntry* run = begin; run != end;) {
        SortEntry* runEnd = run + 1;
        while (runEnd != end && runEnd->key == run->key) ++runEnd;
        if (runEnd - run > 1) {
            // Paths that end inside these units (or hold a NUL) are compared whole.
            if (keyHasEnd(run->key)) {
                std::sort(run, runEnd, pathLess);
            } else {
                sortByPath(run, runEnd, depth + 4);
            }
        }
        run = runEnd;
    }
}

}  // namespace

QString rawValue(Bucket bucket) { return QString::fromUtf16(kTexts[static_cast<int>(bucket)].raw); }

QString title(Bucket bucket) { return QString::fromUtf16(kTexts[static_cast<int>(bucket)].title); }

std::optional<Bucket> fromRawValue(QStringView raw)
{
    for (const Bucket b : allBuckets)
        if (raw == QStringView(kTexts[static_cast<int>(b)].raw)) return b;
    return std::nullopt;
}

QList<Group> groups(const QList<FileItem>& items, Date now, const Calendar& calendar, int days)
{
    // Day boundaries come from calendar dates, so a day with a clock change is still one day.
    const QDate today = calendar.day(now);
    const Date todayStart = calendar.startOfDay(today);
    const Date yesterdayStart = calendar.startOfDay(today.addDays(-1));
    const Date weekStart = calendar.startOfDay(today.addDays(-6));
    const Date cutoff = calendar.startOfDay(today.addDays(-days));
    const Date latest = now + kFutureSlack;

    // Pointers first: sorting them is cheaper than sorting whole items, which are copied once
    // into the result at the end.
    std::array<std::vector<SortEntry>, allBuckets.size()> buckets;
    for (const FileItem& item : items) {
        if (item.kind == FileKind::app) continue;
        const Date d = item.date();
        if (d < cutoff || d > latest) continue;
        const Bucket b = d >= todayStart ? Bucket::today
            : d >= yesterdayStart        ? Bucket::yesterday
            : d >= weekStart             ? Bucket::thisWeek
                                         : Bucket::earlier;
        buckets[static_cast<size_t>(b)].push_back(SortEntry{0, item.path, &item});
    }

    QList<Group> result;
    for (const Bucket b : allBuckets) {
        auto& files = buckets[static_cast<size_t>(b)];
        if (files.empty()) continue;
        sortByPath(files.data(), files.data() + files.size(), 0);
        Group group{b, {}};
        group.files.reserve(qsizetype(files.size()));
        for (size_t i = 0; i < files.size(); ++i) {
            // Copying an item touches its record and the counters of its strings.
            if (i + kPrefetchDistance < files.size()) {
                const FileItem* ahead = files[i + kPrefetchDistance].item;
                __builtin_prefetch(ahead);
                __builtin_prefetch(ahead->name.constData());
            }
            group.files.append(*files[i].item);
        }
        result.append(std::move(group));
    }
    return result;
}

}  // namespace fennic::Lately
