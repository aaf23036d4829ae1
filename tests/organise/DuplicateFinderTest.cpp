#include "organise/DuplicateFinder.h"
#include "support/TempTree.h"
#include "support/TestItems.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <gtest/gtest.h>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

using namespace fennic;
using namespace fennic::DuplicateFinder;

namespace {

FileItem itemAt(const QString& path, Date created = Date{0})
{
    FileItem f = test::itemAt(path);
    f.size = QFileInfo(path).size();
    f.created = f.modified = f.added = created;
    return f;
}

QStringList pathsOf(const QList<FileItem>& files)
{
    QStringList paths;
    for (const FileItem& f : files) paths << f.path;
    return paths;
}

using PathSets = std::set<std::set<QString>>;

PathSets pathSets(const QList<DuplicateGroup>& groups)
{
    PathSets result;
    for (const DuplicateGroup& g : groups) {
        std::set<QString> paths;
        for (const FileItem& f : g.files) paths.insert(f.path);
        result.insert(paths);
    }
    return result;
}

QByteArray pattern(qint64 size, int seed)
{
    std::vector<quint32> words(size_t(size / 4 + 1));
    QRandomGenerator random{quint32(seed)};
    random.fillRange(words.data(), qsizetype(words.size()));
    return QByteArray(reinterpret_cast<const char*>(words.data()), size);
}

}  // namespace

TEST(DuplicateFinderTest, HashIsSha256InLowerCaseHex)
{
    test::TempTree tree;
    // Across chunk boundaries and with limits inside, at and beyond a chunk.
    const QByteArray big = pattern(2 * kHashChunk + 12345, 7);
    const QString path = tree.write("big.bin", big);
    auto expected = [&](qint64 n) {
        return QString::fromLatin1(QCryptographicHash::hash(big.left(n), QCryptographicHash::Sha256).toHex());
    };
    EXPECT_EQ(hash(tree.write("empty", "")), expected(0));
    EXPECT_EQ(hash(path), expected(big.size()));
    for (qint64 limit : {qint64(1), kPrefixBytes, kHashChunk, kHashChunk + 1, big.size(), big.size() + 100})
        EXPECT_EQ(hash(path, limit), expected(limit)) << limit;

    EXPECT_EQ(hash(tree.path("missing")), std::nullopt);
    EXPECT_EQ(hash(tree.mkdir("folder")), std::nullopt) << "a folder cannot be read";
    const QString fifo = tree.path("pipe");
    ASSERT_EQ(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    EXPECT_EQ(hash(fifo), std::nullopt) << "a named pipe is turned away, not waited on";
}

TEST(DuplicateFinderTest, ExactFindsOnlyTrueCopies)
{
    const QByteArray big = pattern(2 * kHashChunk + 500, 1);
    auto flipped = [&](qint64 at) {
        QByteArray c = big;
        c[at] = char(~c[at]);
        return c;
    };
    const QByteArray small = pattern(1024, 2);
    const QByteArray prefix = big.left(kPrefixBytes);
    struct Row {
        const char* name;
        QList<QByteArray> contents;      // one file each
        std::set<std::set<int>> groups;  // indices into contents
    };
    const Row rows[] = {
        {"1,023 identical bytes are too small", {small.left(1023), small.left(1023)}, {}},
        {"1,024 identical bytes are reported", {small, small}, {{0, 1}}},
        {"same size, different content", {pattern(5000, 3), pattern(5000, 4)}, {}},
        {"same first 64 KiB, different last byte", {big, flipped(big.size() - 1)}, {}},
        {"differing in the first byte after 64 KiB", {big, flipped(kPrefixBytes)}, {}},
        {"identical, exactly 64 KiB", {prefix, prefix}, {{0, 1}}},
        {"copies over three chunks, with members parting ways in the second chunk or the last byte",
         {big, flipped(kHashChunk + 10), big, flipped(kHashChunk + 10), flipped(big.size() - 1)},
         {{0, 2}, {1, 3}}},
    };
    for (const Row& r : rows) {
        test::TempTree tree;
        QList<FileItem> items;
        for (const QByteArray& c : r.contents)
            items.append(itemAt(tree.write(QStringLiteral("Documents/%1.bin").arg(items.size()), c)));
        PathSets expected;
        for (const std::set<int>& group : r.groups) {
            std::set<QString> paths;
            for (int i : group) paths.insert(items[i].path);
            expected.insert(paths);
        }
        const QList<DuplicateGroup> groups = exact(items, tree.path("Downloads"));
        EXPECT_EQ(pathSets(groups), expected) << r.name;
    }
}

TEST(DuplicateFinderTest, HardLinksAreOneFileButACopyBesideThemIsNot)
{
    test::TempTree tree;
    const QByteArray content = pattern(4096, 9);
    const QString original = tree.write("Documents/original.bin", content);
    const QString link = tree.path("Pictures/link.bin");
    tree.mkdir("Pictures");
    ASSERT_EQ(::link(QFile::encodeName(original).constData(), QFile::encodeName(link).constData()), 0);
    const QString copy = tree.write("Music/copy.bin", content);
    ASSERT_TRUE(inodeKey(original));
    EXPECT_EQ(inodeKey(original), inodeKey(link));
    EXPECT_NE(inodeKey(original), inodeKey(copy));
    EXPECT_EQ(inodeKey(tree.path("gone")), std::nullopt);

    EXPECT_TRUE(exact({itemAt(original), itemAt(link)}, tree.path("Downloads")).isEmpty());
    const auto groups = exact({itemAt(link), itemAt(original), itemAt(copy)}, tree.path("Downloads"));
    EXPECT_EQ(pathSets(groups), PathSets({{link, copy}})) << "the first name of the linked file stays";
}

TEST(DuplicateFinderTest, KeeperPrefersOutsideDownloadsThenOlderThenShorter)
{
    const QString downloads = QStringLiteral("/h/Downloads");
    auto f = [](const char* path, double created) { return itemAt(QString::fromUtf8(path), Date{created}); };
    struct Row {
        const char* name;
        QList<FileItem> files;
        const char* keep;
    };
    const Row rows[] = {
        {"Documents copy kept though the Downloads copy is older",
         {f("/h/Downloads/a.pdf", 1), f("/h/Documents/a.pdf", 9)},
         "/h/Documents/a.pdf"},
        {"a folder that merely starts with Downloads is outside",
         {f("/h/Downloads/a.pdf", 1), f("/h/Downloads2/a.pdf", 9)},
         "/h/Downloads2/a.pdf"},
        {"then the earlier created",
         {f("/h/Documents/b.pdf", 5), f("/h/Pictures/longer-name.pdf", 4)},
         "/h/Pictures/longer-name.pdf"},
        {"then the shorter path", {f("/h/Documents/long.pdf", 5), f("/h/Music/s.pdf", 5)}, "/h/Music/s.pdf"},
        {"then the group's order", {f("/h/Music/x.pdf", 5), f("/h/Music/y.pdf", 5)}, "/h/Music/x.pdf"},
        {"all in Downloads: the oldest",
         {f("/h/Downloads/1.pdf", 8), f("/h/Downloads/2.pdf", 3)},
         "/h/Downloads/2.pdf"},
    };
    for (const Row& r : rows) EXPECT_EQ(preferredKeeper(r.files, downloads).path, r.keep) << r.name;
}

TEST(DuplicateFinderTest, ExactSkipsWhatItCannotUseAndKeepsTheCopyOutsideDownloads)
{
    test::TempTree tree;
    const QByteArray content = pattern(2000, 21);
    const FileItem inDocuments = itemAt(tree.write("Documents/z-small.bin", content), Date{100});
    const FileItem inDownloads = itemAt(tree.write("Downloads/small.bin", content), Date{1});
    const FileItem lone = itemAt(tree.write("Pictures/lone.bin", pattern(2000, 23)));
    const FileItem app = itemAt(tree.write("Applications/Tool.app", content));  // kind app
    const FileItem gone = itemAt(tree.write("Documents/gone.bin", content));
    QFile::remove(gone.path);
    FileItem folder = itemAt(tree.mkdir("Documents/folder.bin"));
    folder.size = content.size();
    const auto groups = exact({app, gone, inDownloads, folder, inDocuments, lone}, tree.path("Downloads"));
    ASSERT_EQ(groups.size(), 1);
    EXPECT_EQ(pathSets(groups), PathSets({{inDownloads.path, inDocuments.path}})) << "no app, vanished file or folder";
    EXPECT_EQ(groups[0].keep, inDocuments.path) << "though the copy in Downloads is older";
    ASSERT_EQ(groups[0].toTrash().size(), 1);
    EXPECT_EQ(groups[0].toTrash().first().path, inDownloads.path);

    std::vector<double> reports;
    EXPECT_TRUE(exact({}, tree.path("Downloads"), [&](double p) { reports.push_back(p); }).isEmpty());
    EXPECT_EQ(reports, std::vector<double>({1.0}));
    const std::atomic<bool> stop{true};
    EXPECT_TRUE(exact({inDownloads, inDocuments}, tree.path("Downloads"), {}, &stop).isEmpty());
}

// The oracle: every candidate hashed whole, grouped by content, hard links and small files
// left out by hand; exact() must find the same groups, in the same order and with the same
// keepers and a steady progress, with one thread and with several.
TEST(DuplicateFinderTest, ExactAgreesWithHashingEveryFile)
{
    test::TempTree tree;
    QRandomGenerator random{20250301u};
    const qint64 sizes[] = {1023, 1024, 4096, kPrefixBytes, kPrefixBytes + 1, 200000, kHashChunk + 7};
    QList<QByteArray> contents;
    for (int i = 0; i < 14; ++i) {
        QByteArray c = pattern(sizes[random.bounded(int(std::size(sizes)))], i);
        contents.append(c);
        // A twin differing only near the end, so the prefix pass cannot tell them apart.
        if (c.size() > kPrefixBytes) {
            c[c.size() - 2] = char(~c[c.size() - 2]);
            contents.append(c);
        }
    }
    QList<FileItem> items;
    for (int i = 0; i < 120; ++i) {
        const QString path =
            tree.write(QStringLiteral("d%1/f%2.bin").arg(i % 5).arg(i), contents[random.bounded(int(contents.size()))]);
        items.append(itemAt(path, Date{double(random.bounded(1000))}));
        if (i % 17 == 0) {
            const QString link = tree.path(QStringLiteral("d%1/link%2.bin").arg(i % 5).arg(i));
            ASSERT_EQ(::link(QFile::encodeName(path).constData(), QFile::encodeName(link).constData()), 0);
            items.append(itemAt(link));
        }
    }

    // A crowded size bucket (more than 16 files of one size) is hashed file by file rather
    // than read in lock-step; make sure both ways are exercised.
    for (int i = 0; i < 30; ++i) {
        QByteArray c = pattern(3000, 100 + i % 5);
        if (i % 7 == 0) c[2999] = char(~c[2999]);
        items.append(itemAt(tree.write(QStringLiteral("crowd/c%1.bin").arg(i), c)));
    }
    std::map<qint64, int> perSize;
    for (const FileItem& f : items) ++perSize[f.size];
    EXPECT_TRUE(std::any_of(perSize.begin(), perSize.end(), [](const auto& e) { return e.second > 16; }));
    EXPECT_TRUE(
        std::any_of(perSize.begin(), perSize.end(), [](const auto& e) { return e.second >= 2 && e.second <= 16; }));

    std::map<std::pair<qint64, QByteArray>, std::set<QString>> byContent;
    std::set<QString> seenInodes;
    for (const FileItem& f : items) {
        if (f.size < 1024 || !seenInodes.insert(*inodeKey(f.path)).second) continue;
        QFile file(f.path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        byContent[{f.size, QCryptographicHash::hash(file.readAll(), QCryptographicHash::Sha256)}].insert(f.path);
    }
    PathSets expected;
    for (const auto& [key, paths] : byContent)
        if (paths.size() >= 2) expected.insert(paths);
    ASSERT_GT(expected.size(), 3u);

    for (int threads : {1, 2, 4}) {
        std::vector<double> reports;
        const auto groups = exact(
            items, tree.path("Downloads"), [&](double p) { reports.push_back(p); }, nullptr, threads);
        EXPECT_EQ(pathSets(groups), expected) << threads << " threads";
        ASSERT_FALSE(reports.empty());
        EXPECT_EQ(reports.front(), 0.0);
        EXPECT_EQ(reports.back(), 1.0);
        EXPECT_TRUE(std::is_sorted(reports.begin(), reports.end()));
        for (const DuplicateGroup& g : groups) {
            EXPECT_TRUE(std::is_sorted(g.files.begin(), g.files.end(),
                                       [](const FileItem& a, const FileItem& b) { return a.path < b.path; }));
            EXPECT_EQ(g.keep, preferredKeeper(g.files, tree.path("Downloads")).path);
        }
        for (qsizetype i = 1; i < groups.size(); ++i) EXPECT_GE(groups[i - 1].reclaimable(), groups[i].reclaimable());
    }
}

TEST(DuplicateFinderTest, LookalikesJoinPicturesTakenCloseTogether)
{
    auto photo = [](const QString& name, double created, qint64 size, FileKind kind = FileKind::image) {
        FileItem f = itemAt(QStringLiteral("/h/Pictures/") + name, Date{created});
        f.kind = kind;
        f.size = size;
        return f;
    };
    // Prints on a line: the distance between two pictures is the gap between their numbers.
    QHash<QString, FeaturePrint> prints;
    auto add = [&](const FileItem& f, float x) { prints.insert(f.path, FeaturePrint{x, 0.0f}); };
    int calls = 0;
    const FeaturePrintProvider provider = [&](const QString& path) -> std::optional<FeaturePrint> {
        ++calls;
        if (!prints.contains(path)) return std::nullopt;
        return prints.value(path);
    };

    struct Row {
        const char* name;
        QList<FileItem> items;
        std::vector<float> xs;   // one per item; NaN: no print
        std::vector<int> group;  // the one group's item indices in created order; empty: none
        int keep;
    };
    const float none = std::numeric_limits<float>::quiet_NaN();
    const Row rows[] = {
        {"10 s apart, distance 0.3: larger kept",
         {photo("a.jpg", 0, 100), photo("b.jpg", 10, 300)},
         {0.0f, 0.3f},
         {0, 1},
         1},
        {"181 s apart: never compared", {photo("a.jpg", 0, 100), photo("b.jpg", 181, 300)}, {0.0f, 0.1f}, {}, 0},
        {"exactly 180 s apart: compared", {photo("a.jpg", 0, 100), photo("b.jpg", 180, 300)}, {0.0f, 0.1f}, {0, 1}, 1},
        {"distance 0.45: not alike", {photo("a.jpg", 0, 100), photo("b.jpg", 1, 300)}, {0.0f, 0.45f}, {}, 0},
        {"a chain joins into one group; equal sizes keep the earliest",
         {photo("c.jpg", 20, 500), photo("a.jpg", 0, 500), photo("b.jpg", 10, 200)},
         {0.8f, 0.0f, 0.4f},
         {1, 2, 0},
         1},
        {"no print never joins",
         {photo("a.jpg", 0, 100), photo("b.jpg", 5, 300), photo("c.jpg", 6, 50)},
         {0.0f, none, 0.1f},
         {0, 2},
         0},
        {"svg, non-images and huge files are no candidates",
         {photo("a.svg", 0, 100), photo("b.jpg", 1, 60000000), photo("c.pdf", 2, 100, FileKind::document),
          photo("d.jpg", 3, 10)},
         {0.0f, 0.0f, 0.0f, 0.0f},
         {},
         0},
    };
    for (const Row& r : rows) {
        prints.clear();
        for (qsizetype i = 0; i < r.items.size(); ++i)
            if (!std::isnan(r.xs[size_t(i)])) add(r.items[i], r.xs[size_t(i)]);
        const auto groups = lookalikes(r.items, kLookalikeWindow, kLookalikeThreshold, provider);
        ASSERT_EQ(groups.size(), r.group.empty() ? 0 : 1) << r.name;
        if (r.group.empty()) continue;
        QStringList want;
        for (int i : r.group) want << r.items[i].path;
        EXPECT_EQ(pathsOf(groups[0].files), want) << r.name;
        EXPECT_EQ(groups[0].keep, r.items[r.keep].path) << r.name;
        EXPECT_TRUE(groups[0].isLookalike);
    }

    // Prints are made lazily and once: a picture with no neighbour in time is never analysed.
    calls = 0;
    QList<FileItem> spread;
    for (int i = 0; i < 60; ++i) {
        spread.append(photo(QStringLiteral("p%1.jpg").arg(i), i * 1000.0, 10));
        add(spread.last(), 0.0f);
    }
    spread.append(photo("close.jpg", 59 * 1000.0 + 1, 10));
    add(spread.last(), 0.0f);
    std::vector<double> reports;
    const auto groups =
        lookalikes(spread, kLookalikeWindow, kLookalikeThreshold, provider, [&](double p) { reports.push_back(p); });
    EXPECT_EQ(groups.size(), 1);
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(reports, std::vector<double>({0.0, 25.0 / 61, 50.0 / 61}));
}

TEST(DuplicateFinderTest, PicturesCopiedInOneGoMeetTheirNeighboursByName)
{
    // 5,000 pictures sharing one moment, listed in no particular order; every print is far from
    // every other except a burst of three consecutive names, and a pair 100 names apart.
    QList<FileItem> copied;
    QHash<QString, FeaturePrint> prints;
    for (int i = 0; i < 5000; ++i) {
        const int number = (i * 7919) % 5000;  // a permutation of 0 ... 4999
        FileItem f = itemAt(QStringLiteral("/h/Pictures/IMG_%1.jpg").arg(number, 4, 10, QChar(u'0')), Date{0});
        f.kind = FileKind::image;
        f.size = 1000 + number;
        copied.append(f);
        float x = float(number);
        if (number >= 2500 && number <= 2502) x = 2500.0f + 0.1f * float(number - 2500);
        if (number == 4100) x = 4000.1f;
        prints.insert(f.path, FeaturePrint{x, 0.0f});
    }
    int calls = 0;
    const FeaturePrintProvider provider = [&](const QString& path) -> std::optional<FeaturePrint> {
        ++calls;
        return prints.value(path);
    };
    const auto groups = lookalikes(copied, kLookalikeWindow, kLookalikeThreshold, provider);
    ASSERT_EQ(groups.size(), 1);
    EXPECT_EQ(pathsOf(groups[0].files),
              QStringList({"/h/Pictures/IMG_2500.jpg", "/h/Pictures/IMG_2501.jpg", "/h/Pictures/IMG_2502.jpg"}));
    EXPECT_EQ(calls, 5000) << "each picture is analysed once";
}

TEST(DuplicateFinderTest, DistanceNeedsPrintsOfOneLength)
{
    EXPECT_FLOAT_EQ(*distance({0.0f, 3.0f}, {4.0f, 0.0f}), 5.0f);
    EXPECT_EQ(distance({1.0f}, {1.0f, 2.0f}), std::nullopt);
    EXPECT_EQ(distance({}, {}), std::nullopt);
}

TEST(DuplicateFinderTest, PruneDropsGoneMembersAndShrunkGroups)
{
    auto f = [](const char* p) { return itemAt(QString::fromUtf8(p)); };
    const DuplicateGroup three{QUuid::createUuid(), {f("/a"), f("/b"), f("/c")}, "/b", false};
    const DuplicateGroup pair{QUuid::createUuid(), {f("/x"), f("/y")}, "/x", false};

    auto pruned = DuplicateGroup::prune({three, pair}, {"/b"});
    ASSERT_EQ(pruned.size(), 2);
    EXPECT_EQ(pruned[0].files.size(), 2);
    EXPECT_EQ(pruned[0].keep, "/a") << "the first remaining member is kept";
    EXPECT_EQ(pruned[0].id, three.id);

    pruned = DuplicateGroup::prune({three, pair}, {"/y"});
    ASSERT_EQ(pruned.size(), 1) << "a pair that lost one copy is gone";
    EXPECT_EQ(pruned[0].keep, "/b");

    EXPECT_TRUE(DuplicateGroup::prune({three, pair}, {"/a", "/b", "/c", "/x", "/y"}).isEmpty());
}
