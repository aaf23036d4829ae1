#include "SortKey.h"

#include <QCollator>
#include <QCollatorSortKey>
#include <algorithm>
#include <numeric>

namespace fennic {

namespace SortKeys {

namespace {

// What a date or size key orders by; none for name and kind.
std::optional<double> numericValue(SortKey key, const FileItem& f)
{
    switch (key) {
    case SortKey::dateAdded: return f.added.seconds;
    case SortKey::dateModified: return f.modified.seconds;
    // Sizes past 2^53 bytes would lose precision as doubles; no file is that large.
    case SortKey::size: return double(f.size);
    case SortKey::name:
    case SortKey::kind: break;
    }
    return std::nullopt;
}

// Kinds ranked by their raw names as strings: app, archive, document, image, music, other,
// video.
int kindRank(FileKind kind)
{
    static const std::array<int, 7> ranks = [] {
        std::array<FileKind, 7> byName = FileKinds::allCases;
        std::sort(byName.begin(), byName.end(),
                  [](FileKind a, FileKind b) { return FileKinds::rawValue(a) < FileKinds::rawValue(b); });
        std::array<int, 7> r{};
        for (int i = 0; i < 7; ++i) r[size_t(byName[size_t(i)])] = i;
        return r;
    }();
    return ranks[size_t(kind)];
}

QCollator nameCollator()
{
    QCollator collator;  // the default locale
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    return collator;
}

// Collation keys of the names at `positions`, computed once each rather than per comparison.
std::vector<QCollatorSortKey> nameKeys(const QList<FileItem>& items, const std::vector<qsizetype>& positions,
                                       std::vector<qsizetype>& slotOf)
{
    const QCollator collator = nameCollator();
    std::vector<QCollatorSortKey> keys;
    keys.reserve(positions.size());
    slotOf.assign(size_t(items.size()), -1);
    for (qsizetype p : positions) {
        slotOf[size_t(p)] = qsizetype(keys.size());
        keys.push_back(collator.sortKey(items[p].name));
    }
    return keys;
}

}  // namespace

QString rawValue(SortKey key)
{
    switch (key) {
    case SortKey::dateAdded: return QStringLiteral("dateAdded");
    case SortKey::dateModified: return QStringLiteral("dateModified");
    case SortKey::name: return QStringLiteral("name");
    case SortKey::size: return QStringLiteral("size");
    case SortKey::kind: return QStringLiteral("kind");
    }
    return {};
}

QString title(SortKey key)
{
    switch (key) {
    case SortKey::dateAdded: return QStringLiteral("Date Added");
    case SortKey::dateModified: return QStringLiteral("Date Modified");
    case SortKey::name: return QStringLiteral("Name");
    case SortKey::size: return QStringLiteral("Size");
    case SortKey::kind: return QStringLiteral("Kind");
    }
    return {};
}

std::optional<SortKey> fromRawValue(QStringView raw)
{
    for (SortKey key : allCases)
        if (raw == rawValue(key)) return key;
    return std::nullopt;
}

void sortPositions(SortKey key, const QList<FileItem>& items, std::vector<qsizetype>& positions, bool ascending)
{
    const FileItem* it = items.constData();
    // `before(a, b)` in ascending order; descending swaps the operands, so equal items still
    // keep their incoming order.
    const auto run = [&](auto before) {
        if (ascending)
            std::stable_sort(positions.begin(), positions.end(), before);
        else
            std::stable_sort(positions.begin(), positions.end(),
                             [&](qsizetype a, qsizetype b) { return before(b, a); });
    };
    // Numeric keys are copied out beside their positions first: sorting compact pairs touches
    // far less memory than reaching into the items on every comparison.
    const auto byNumber = [&](auto field) {
        std::vector<std::pair<double, qsizetype>> keyed;
        keyed.reserve(positions.size());
        for (qsizetype p : positions) keyed.emplace_back(field(it[p]), p);
        const auto before = [](const auto& a, const auto& b) { return a.first < b.first; };
        if (ascending)
            std::stable_sort(keyed.begin(), keyed.end(), before);
        else
            std::stable_sort(keyed.begin(), keyed.end(), [&](const auto& a, const auto& b) { return before(b, a); });
        for (size_t i = 0; i < keyed.size(); ++i) positions[i] = keyed[i].second;
    };
    switch (key) {
    case SortKey::dateAdded:
    case SortKey::dateModified:
    case SortKey::size: byNumber([key](const FileItem& f) { return *numericValue(key, f); }); return;
    case SortKey::name: {
        std::vector<qsizetype> slot;
        const std::vector<QCollatorSortKey> keys = nameKeys(items, positions, slot);
        run([&](qsizetype a, qsizetype b) {
            return keys[size_t(slot[size_t(a)])].compare(keys[size_t(slot[size_t(b)])]) < 0;
        });
        return;
    }
    case SortKey::kind: {
        std::vector<qsizetype> slot;
        const std::vector<QCollatorSortKey> keys = nameKeys(items, positions, slot);
        const auto byName = [&](qsizetype a, qsizetype b) {
            return keys[size_t(slot[size_t(a)])].compare(keys[size_t(slot[size_t(b)])]) < 0;
        };
        // Names stay ascending whatever the direction: only the kinds turn round.
        std::stable_sort(positions.begin(), positions.end(), [&](qsizetype a, qsizetype b) {
            const int ka = kindRank(it[a].kind);
            const int kb = kindRank(it[b].kind);
            if (ka != kb) return ascending ? ka < kb : kb < ka;
            return byName(a, b);
        });
        return;
    }
    }
}

void firstPositions(SortKey key, const QList<FileItem>& items, std::vector<qsizetype>& positions, bool ascending,
                    size_t count)
{
    // Names need a collation key for every item whichever few are kept: no cheaper way there.
    if (positions.size() <= count || !numericValue(key, FileItem())) {
        sortPositions(key, items, positions, ascending);
        if (positions.size() > count) positions.resize(count);
        return;
    }
    // (value, place in the incoming order, position): the place breaks ties, so equal items
    // keep their incoming order as in the stable sort.
    struct Keyed {
        double value;
        size_t place;
        qsizetype position;
    };
    std::vector<Keyed> keyed;
    keyed.reserve(positions.size());
    const FileItem* it = items.constData();
    for (size_t i = 0; i < positions.size(); ++i)
        keyed.push_back({*numericValue(key, it[positions[i]]), i, positions[i]});
    const auto mid = keyed.begin() + std::ptrdiff_t(count);
    std::partial_sort(keyed.begin(), mid, keyed.end(), [ascending](const Keyed& a, const Keyed& b) {
        if (a.value != b.value) return ascending ? a.value < b.value : b.value < a.value;
        return a.place < b.place;
    });
    positions.resize(count);
    for (size_t i = 0; i < count; ++i) positions[i] = keyed[i].position;
}

QList<FileItem> sort(SortKey key, const QList<FileItem>& items, bool ascending)
{
    std::vector<qsizetype> positions(size_t(items.size()));
    std::iota(positions.begin(), positions.end(), qsizetype(0));
    sortPositions(key, items, positions, ascending);
    QList<FileItem> out;
    out.reserve(items.size());
    for (qsizetype p : positions) out.append(items[p]);
    return out;
}

}  // namespace SortKeys

namespace ViewModes {

QString rawValue(ViewMode mode) { return mode == ViewMode::grid ? QStringLiteral("grid") : QStringLiteral("list"); }

std::optional<ViewMode> fromRawValue(QStringView raw)
{
    if (raw == u"grid") return ViewMode::grid;
    if (raw == u"list") return ViewMode::list;
    return std::nullopt;
}

}  // namespace ViewModes
}  // namespace fennic
