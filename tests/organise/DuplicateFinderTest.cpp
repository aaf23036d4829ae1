#include "organise/DuplicateFinder.h"
#include "support/TempTree.h"

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
    FileItem f;
    f.path = path;
    f.name = QFileInfo(path).fileName();
    f.ext = pathExtension(f.name).toLower();
    f.kind = FileKinds::classify(f.ext);
    f.size = QFileInfo(path).size();
    f.created = f.modified = f.added = created;
    return f;
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
    EXPECT_EQ(hash(tree.write("abc.txt", "abc")),
              QStringLiteral("ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"));
    EXPECT_EQ(hash(tree.write("empty", "")),
              QStringLiteral("e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"));

    // Across chunk boundaries and with limits inside, at and beyond a chunk.
    const QByteArray big = pattern(2 * kHashChunk + 12345, 7);
    const QString path = tree.write("big.bin", big);
    auto expected = [&](qint64 n) {
        return QString::fromLatin1(QCryptographicHash::hash(big.left(n), QCryptographicHash::Sha256).toHex());
    };
    EXPECT_EQ(hash(path), expected(big.size()));
    for (qint64 limit : {qint64(1), kPrefixBytes, kHashChunk, kHashChunk + 1, big.size(), big.size() + 100})
        EXPECT_EQ(hash(path, limit), expected(limit)) << limit;

    EXPECT_EQ(hash(tree.path("missing")), std::nullopt);
    EXPECT_EQ(hash(tree.mkdir("folder")), std::nullopt) << "a folder cannot be read";
    const QString fifo = tree.path("pipe");
    ASSERT_EQ(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    EXPECT_EQ(hash(fifo), std::nullopt) << "a named pipe is turned away, not waited on";
}

TEST(DuplicateFinderTest, InodeKeyIsSharedByHardLinksOnly)
{
    test::TempTree tree;
    const QString a = tree.write("a", "one");
    const QString b = tree.write("b", "one");
    const QString link = tree.path("link");
    ASSERT_EQ(::link(QFile::encodeName(a).constData(), QFile::encodeName(link).constData()), 0);
    ASSERT_TRUE(inodeKey(a));
    EXPECT_EQ(inodeKey(a), inodeKey(link));
    EXPECT_NE(inodeKey(a), inodeKey(b));
    EXPECT_TRUE(inodeKey(a)->contains(u'-'));
    EXPECT_EQ(inodeKey(tree.path("gone")), std::nullopt);
}

TEST(DuplicateFinderTest, ExactFindsOnlyTrueCopies)
{
    struct Row {
        const char* name;
        QByteArray first;
        QByteArray second;
        bool group;
    };
    const QByteArray big = pattern(3 * kPrefixBytes, 1);
    QByteArray sameStartOtherTail = big;
    sameStartOtherTail[sameStartOtherTail.size() - 1] = char(~sameStartOtherTail.back());
    QByteArray sameStartOtherByteAtPrefixEnd = big;
    sameStartOtherByteAtPrefixEnd[kPrefixBytes] = char(~big[kPrefixBytes]);
    QByteArray exactlyPrefix = big.left(kPrefixBytes);
    const Row rows[] = {
        {"1,023 identical bytes are too small", pattern(1023, 2), pattern(1023, 2), false},
        {"1,024 identical bytes are reported", pattern(1024, 2), pattern(1024, 2), true},
        {"same size, different content", pattern(5000, 3), pattern(5000, 4), false},
        {"same first 64 KiB, different last byte", big, sameStartOtherTail, false},
        {"differing in the first byte after 64 KiB", big, sameStartOtherByteAtPrefixEnd, false},
        {"identical beyond 64 KiB", big, big, true},
        {"identical, exactly 64 KiB", exactlyPrefix, exactlyPrefix, true},
        {"identical over two chunks", pattern(kHashChunk + 3, 5), pattern(kHashChunk + 3, 5), true},
    };
    for (const Row& r : rows) {
        test::TempTree tree;
        const QList<FileItem> items{itemAt(tree.write("Documents/one.bin", r.first)),
                                    itemAt(tree.write("Documents/two.bin", r.second))};
        const QList<DuplicateGroup> groups = exact(items, tree.path("Downloads"));
        ASSERT_EQ(groups.size(), r.group ? 1 : 0) << r.name;
        if (!r.group) continue;
        EXPECT_FALSE(groups[0].isLookalike);
        EXPECT_EQ(groups[0].files.size(), 2) << r.name;
        EXPECT_EQ(groups[0].reclaimable(), r.first.size()) << r.name;
    }
}

TEST(DuplicateFinderTest, MembersThatPartWaysLateFormSeparateGroups)
{
    test::TempTree tree;
    const QByteArray a = pattern(kHashChunk * 2 + 500, 31);
    QByteArray b = a;
    b[kHashChunk + 10] = char(~b[kHashChunk + 10]);  // differs in the second megabyte only
    QByteArray c = a;
    c[c.size() - 1] = char(~c.back());               // differs in the very last byte
    const QList<FileItem> items{itemAt(tree.write("1.bin", a)), itemAt(tree.write("2.bin", b)),
                                itemAt(tree.write("3.bin", a)), itemAt(tree.write("4.bin", b)),
                                itemAt(tree.write("5.bin", c))};
    const auto groups = exact(items, tree.path("Downloads"));
    EXPECT_EQ(pathSets(groups), PathSets({{items[0].path, items[2].path}, {items[1].path, items[3].path}}));
}

TEST(DuplicateFinderTest, HardLinksAreOneFileButACopyBesideThemIsNot)
{
    test::TempTree tree;
    const QByteArray content = pattern(4096, 9);
    const QString original = tree.write("Documents/original.bin", content);
    const QString link = tree.path("Pictures/link.bin");
    tree.mkdir("Pictures");
    ASSERT_EQ(::link(QFile::encodeName(original).constData(), QFile::encodeName(link).constData()), 0);

    EXPECT_TRUE(exact({itemAt(original), itemAt(link)}, tree.path("Downloads")).isEmpty());

    const QString copy = tree.write("Music/copy.bin", content);
    const auto groups = exact({itemAt(link), itemAt(original), itemAt(copy)}, tree.path("Downloads"));
    EXPECT_EQ(pathSets(groups), PathSets({{link, copy}})) << "the first name of the linked file stays";
}

TEST(DuplicateFinderTest, ExactSkipsAppsVanishedAndUnreadableFiles)
{
    test::TempTree tree;
    const QByteArray content = pattern(3000, 11);
    FileItem app = itemAt(tree.write("Applications/Tool.app", content));
    app.kind = FileKind::app;
    const FileItem a = itemAt(tree.write("Documents/a.bin", content));
    const FileItem b = itemAt(tree.write("Documents/b.bin", content));
    const FileItem gone = itemAt(tree.write("Documents/gone.bin", content));
    QFile::remove(gone.path);
    FileItem folder = itemAt(tree.mkdir("Documents/folder.bin"));
    folder.size = 3000;
    const auto groups = exact({app, gone, a, folder, b}, tree.path("Downloads"));
    EXPECT_EQ(pathSets(groups), PathSets({{a.path, b.path}}));
}

TEST(DuplicateFinderTest, KeeperPrefersOutsideDownloadsThenOlderThenShorter)
{
    const QString downloads = QStringLiteral("/h/Downloads");
    auto f = [](const char* path, double created) {
        FileItem i;
        i.path = QString::fromUtf8(path);
        i.created = Date{created};
        return i;
    };
    struct Row {
        const char* name;
        QList<FileItem> files;
        const char* keep;
    };
    const Row rows[] = {
        {"Documents copy kept though the Downloads copy is older",
         {f("/h/Downloads/a.pdf", 1), f("/h/Documents/a.pdf", 9)}, "/h/Documents/a.pdf"},
        {"a folder that merely starts with Downloads is outside",
         {f("/h/Downloads/a.pdf", 1), f("/h/Downloads2/a.pdf", 9)}, "/h/Downloads2/a.pdf"},
        {"then the earlier created", {f("/h/Documents/b.pdf", 5), f("/h/Pictures/longer-name.pdf", 4)},
         "/h/Pictures/longer-name.pdf"},
        {"then the shorter path", {f("/h/Documents/long.pdf", 5), f("/h/Music/s.pdf", 5)}, "/h/Music/s.pdf"},
        {"then the group's order", {f("/h/Music/x.pdf", 5), f("/h/Music/y.pdf", 5)}, "/h/Music/x.pdf"},
        {"all in Downloads: the oldest", {f("/h/Downloads/1.pdf", 8), f("/h/Downloads/2.pdf", 3)},
         "/h/Downloads/2.pdf"},
    };
    for (const Row& r : rows) EXPECT_EQ(preferredKeeper(r.files, downloads).path, r.keep) << r.name;
}

TEST(DuplicateFinderTest, ExactOrdersGroupsAndMembersAndReportsProgress)
{
    test::TempTree tree;
    const QByteArray small = pattern(2000, 21);
    const QByteArray large = pattern(90000, 22);
    const FileItem s2 = itemAt(tree.write("Documents/z-small.bin", small), Date{100});
    const FileItem s1 = itemAt(tree.write("Downloads/small.bin", small), Date{1});
    const FileItem l1 = itemAt(tree.write("Music/b.bin", large), Date{5});
    const FileItem l2 = itemAt(tree.write("Music/a.bin", large), Date{5});
    const FileItem l3 = itemAt(tree.write("Pictures/c.bin", large), Date{2});
    const FileItem lone = itemAt(tree.write("Pictures/lone.bin", pattern(2000, 23)));

    std::vector<double> reports;
    const auto groups = exact({s1, s2, l1, l2, l3, lone}, tree.path("Downloads"),
                              [&](double p) { reports.push_back(p); });
    ASSERT_EQ(groups.size(), 2);
    EXPECT_EQ(groups[0].reclaimable(), 2 * large.size()) << "largest reclaimable first";
    QStringList paths;
    for (const FileItem& f : groups[0].files) paths << f.path;
    EXPECT_EQ(paths, QStringList({l2.path, l1.path, l3.path})) << "members by path";
    EXPECT_EQ(groups[0].keep, l3.path) << "earliest created";
    EXPECT_EQ(groups[1].keep, s2.path) << "outside Downloads";
    EXPECT_EQ(groups[1].toTrash().size(), 1);
    EXPECT_EQ(groups[1].toTrash().first().path, s1.path);

    ASSERT_FALSE(reports.empty());
    EXPECT_EQ(reports.front(), 0.0);
    EXPECT_EQ(reports.back(), 1.0);
    EXPECT_TRUE(std::is_sorted(reports.begin(), reports.end()));

    reports.clear();
    EXPECT_TRUE(exact({}, tree.path("Downloads"), [&](double p) { reports.push_back(p); }).isEmpty());
    EXPECT_EQ(reports, std::vector<double>({1.0}));

    const std::atomic<bool> stop{true};
    EXPECT_TRUE(exact({s1, s2, l1, l2}, tree.path("Downloads"), {}, &stop).isEmpty());
}

// The oracle: every candidate hashed whole, grouped by content, hard links and small files
// left out by hand; exact() must find the same groups with one thread and with several.
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
        const QString path = tree.write(QStringLiteral("d%1/f%2.bin").arg(i % 5).arg(i),
                                        contents[random.bounded(int(contents.size()))]);
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
    EXPECT_TRUE(std::any_of(perSize.begin(), perSize.end(), [](const auto& e) { return e.second >= 2 && e.second <= 16; }));

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
        const auto groups = exact(items, tree.path("Downloads"), {}, nullptr, threads);
        EXPECT_EQ(pathSets(groups), expected) << threads << " threads";
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
    auto photo = [](const char* name, double created, qint64 size) {
        FileItem f;
        f.path = QStringLiteral("/h/Pictures/") + QString::fromUtf8(name);
        f.name = QString::fromUtf8(name);
        f.ext = pathExtension(f.name).toLower();
        f.kind = FileKind::image;
        f.size = size;
        f.created = Date{created};
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
        std::vector<float> xs;  // one per item; NaN: no print
        std::vector<std::vector<int>> groups;  // item indices, in created order
        std::vector<int> keeps;
    };
    const float none = std::numeric_limits<float>::quiet_NaN();
    const Row rows[] = {
        {"10 s apart, distance 0.3: larger kept",
         {photo("a.jpg", 0, 100), photo("b.jpg", 10, 300)}, {0.0f, 0.3f}, {{0, 1}}, {1}},
        {"181 s apart: never compared", {photo("a.jpg", 0, 100), photo("b.jpg", 181, 300)}, {0.0f, 0.1f}, {}, {}},
        {"exactly 180 s apart: compared", {photo("a.jpg", 0, 100), photo("b.jpg", 180, 300)}, {0.0f, 0.1f}, {{0, 1}}, {1}},
        {"distance 0.45: not alike", {photo("a.jpg", 0, 100), photo("b.jpg", 1, 300)}, {0.0f, 0.45f}, {}, {}},
        {"a chain joins into one group; equal sizes keep the earliest",
         {photo("c.jpg", 20, 500), photo("a.jpg", 0, 500), photo("b.jpg", 10, 200)}, {0.8f, 0.0f, 0.4f},
         {{1, 2, 0}}, {1}},
        {"no print never joins", {photo("a.jpg", 0, 100), photo("b.jpg", 5, 300), photo("c.jpg", 6, 50)},
         {0.0f, none, 0.1f}, {{0, 2}}, {0}},
        {"svg, non-images and huge files are no candidates",
         {photo("a.svg", 0, 100), photo("b.jpg", 1, 60000000), photo("c.pdf", 2, 100), photo("d.jpg", 3, 10)},
         {0.0f, 0.0f, 0.0f, 0.0f}, {}, {}},
    };
    for (const Row& r : rows) {
        prints.clear();
        QList<FileItem> items = r.items;
        if (QString(r.name).startsWith(u"svg")) items[2].kind = FileKind::document;
        for (qsizetype i = 0; i < items.size(); ++i)
            if (!std::isnan(r.xs[size_t(i)])) add(items[i], r.xs[size_t(i)]);
        const auto groups = lookalikes(items, kLookalikeWindow, kLookalikeThreshold, provider);
        ASSERT_EQ(groups.size(), r.groups.size()) << r.name;
        for (size_t g = 0; g < r.groups.size(); ++g) {
            QStringList got, want;
            for (const FileItem& f : groups[qsizetype(g)].files) got << f.path;
            for (int i : r.groups[g]) want << items[i].path;
            EXPECT_EQ(got, want) << r.name;
            EXPECT_EQ(groups[qsizetype(g)].keep, items[r.keeps[g]].path) << r.name;
            EXPECT_TRUE(groups[qsizetype(g)].isLookalike);
        }
    }

    // Prints are made lazily and once: a picture with no neighbour in time is never analysed.
    calls = 0;
    QList<FileItem> spread;
    for (int i = 0; i < 60; ++i) {
        spread.append(photo(QByteArray("p" + QByteArray::number(i) + ".jpg").constData(), i * 1000.0, 10));
        add(spread.last(), 0.0f);
    }
    spread.append(photo("close.jpg", 59 * 1000.0 + 1, 10));
    add(spread.last(), 0.0f);
    std::vector<double> reports;
    const auto groups = lookalikes(spread, kLookalikeWindow, kLookalikeThreshold, provider,
                                   [&](double p) { reports.push_back(p); });
    EXPECT_EQ(groups.size(), 1);
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(reports, std::vector<double>({0.0, 25.0 / 61, 50.0 / 61}));
}

TEST(DuplicateFinderTest, DistanceNeedsPrintsOfOneLength)
{
    EXPECT_FLOAT_EQ(*distance({0.0f, 3.0f}, {4.0f, 0.0f}), 5.0f);
    EXPECT_EQ(distance({1.0f}, {1.0f, 2.0f}), std::nullopt);
    EXPECT_EQ(distance({}, {}), std::nullopt);
}

TEST(DuplicateFinderTest, PruneDropsGoneMembersAndShrunkGroups)
{
    auto f = [](const char* p, qint64 size = 10) {
        FileItem i;
        i.path = QString::fromUtf8(p);
        i.size = size;
        return i;
    };
    const DuplicateGroup three{QUuid::createUuid(), {f("/a"), f("/b"), f("/c")}, "/b", false};
    const DuplicateGroup pair{QUuid::createUuid(), {f("/x"), f("/y")}, "/x", false};

    auto pruned = DuplicateGroup::prune({three, pair}, {"/b"});
    ASSERT_EQ(pruned.size(), 2);
    EXPECT_EQ(pruned[0].files.size(), 2);
    EXPECT_EQ(pruned[0].keep, "/a") << "the first remaining member is kept";
    EXPECT_EQ(pruned[0].id, three.id);
    EXPECT_EQ(pruned[0].reclaimable(), 10);

    pruned = DuplicateGroup::prune({three, pair}, {"/y"});
    ASSERT_EQ(pruned.size(), 1) << "a pair that lost one copy is gone";
    EXPECT_EQ(pruned[0].keep, "/b");

    EXPECT_TRUE(DuplicateGroup::prune({three, pair}, {"/a", "/b", "/c", "/x", "/y"}).isEmpty());
    EXPECT_EQ(DuplicateGroup::prune({pair}, {}).size(), 1);
}
