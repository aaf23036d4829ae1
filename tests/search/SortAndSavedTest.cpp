// Sort orders (checked against a plain reference where one exists), view modes and saved
// searches in JSON.
#include "search/SavedSearch.h"
#include "search/SortKey.h"

#include <QJsonDocument>
#include <QRandomGenerator>
#include <algorithm>
#include <gtest/gtest.h>
#include <numeric>
#include <random>

using namespace fennic;

namespace {

FileItem file(const QString& name, FileKind kind, qint64 size = 0, double added = 0, double modified = 0)
{
    FileItem f;
    f.path = QStringLiteral("/h/") + name;
    f.name = name;
    f.kind = kind;
    f.size = size;
    f.added = Date{added};
    f.modified = Date{modified};
    return f;
}

QStringList names(const QList<FileItem>& items)
{
    QStringList out;
    for (const FileItem& f : items) out.append(f.name);
    return out;
}

}  // namespace

TEST(SortKeyTest, NamesAreNumericAndCaseInsensitiveAndKindsKeepNamesAscending)
{
    const QList<FileItem> plain = {file("file 10", FileKind::other), file("File 2", FileKind::other),
                                   file("apple", FileKind::other), file("Banana", FileKind::other)};
    EXPECT_EQ(names(SortKeys::sort(SortKey::name, plain, true)), (QStringList{"apple", "Banana", "File 2", "file 10"}));
    EXPECT_EQ(names(SortKeys::sort(SortKey::name, plain, false)),
              (QStringList{"file 10", "File 2", "Banana", "apple"}));

    const QList<FileItem> kinds = {
        file("IMG 10.png", FileKind::image), file("b.pdf", FileKind::document), file("IMG 2.png", FileKind::image),
        file("z.zip", FileKind::archive),    file("a.app", FileKind::app),      file("song.mp3", FileKind::music),
    };
    EXPECT_EQ(names(SortKeys::sort(SortKey::kind, kinds, true)),
              (QStringList{"a.app", "z.zip", "b.pdf", "IMG 2.png", "IMG 10.png", "song.mp3"}));
    EXPECT_EQ(names(SortKeys::sort(SortKey::kind, kinds, false)),
              (QStringList{"song.mp3", "IMG 2.png", "IMG 10.png", "b.pdf", "z.zip", "a.app"}));
}

TEST(SortKeyTest, NumericKeysAreStableInBothDirections)
{
    // Against a reference: std::stable_sort on the raw field, with ties in incoming order.
    QRandomGenerator rng(3);
    QList<FileItem> items;
    for (int i = 0; i < 300; ++i)
        items.append(
            file(QString::number(i), FileKind::other, rng.bounded(5), double(rng.bounded(7)), double(rng.bounded(6))));
    const std::pair<SortKey, double (*)(const FileItem&)> cases[] = {
        {SortKey::size, [](const FileItem& f) { return double(f.size); }},
        {SortKey::dateAdded, [](const FileItem& f) { return f.added.seconds; }},
        {SortKey::dateModified, [](const FileItem& f) { return f.modified.seconds; }},
    };
    for (const auto& [key, byField] : cases) {
        const auto field = byField;  // a lambda may not capture a structured binding in clang 14
        for (bool ascending : {true, false}) {
            SCOPED_TRACE(SortKeys::rawValue(key).toStdString() + (ascending ? " up" : " down"));
            QList<FileItem> expected = items;
            std::stable_sort(expected.begin(), expected.end(), [&](const FileItem& a, const FileItem& b) {
                return ascending ? field(a) < field(b) : field(b) < field(a);
            });
            EXPECT_EQ(names(SortKeys::sort(key, items, ascending)), names(expected));

            // The first few alone, from positions in a shuffled incoming order: ties keep it.
            std::vector<qsizetype> incoming(size_t(items.size()));
            std::iota(incoming.begin(), incoming.end(), qsizetype(0));
            std::shuffle(incoming.begin(), incoming.end(), std::mt19937(7));
            std::vector<qsizetype> all = incoming;
            SortKeys::sortPositions(key, items, all, ascending);
            for (size_t count : {size_t(0), size_t(1), size_t(12), size_t(299), size_t(300), size_t(400)}) {
                std::vector<qsizetype> first = incoming;
                SortKeys::firstPositions(key, items, first, ascending, count);
                const std::vector<qsizetype> want(all.begin(),
                                                  all.begin() + std::ptrdiff_t(std::min(count, all.size())));
                EXPECT_EQ(first, want) << count << " first";
            }
        }
    }
}

TEST(SortKeyTest, StoredRawValuesReadBack)
{
    QStringList raw;
    for (SortKey key : SortKeys::allCases) {
        raw.append(SortKeys::rawValue(key));
        EXPECT_EQ(SortKeys::fromRawValue(SortKeys::rawValue(key)), key);
    }
    // Kept in the settings: a renamed value would lose the user's choice.
    EXPECT_EQ(raw, (QStringList{"dateAdded", "dateModified", "name", "size", "kind"}));
    EXPECT_EQ(SortKeys::fromRawValue(u"DateAdded"), std::nullopt);
    EXPECT_EQ(ViewModes::fromRawValue(u"list"), ViewMode::list);
    EXPECT_EQ(ViewModes::rawValue(ViewMode::grid), QStringLiteral("grid"));
    EXPECT_EQ(ViewModes::fromRawValue(u"table"), std::nullopt);
}

TEST(SavedSearchTest, RoundTripsThroughJson)
{
    const QList<SavedSearch> searches = {SavedSearch::make("Pdfs from gmail", "pdfs from gmail"),
                                         SavedSearch::make("Photos \u201Cbeach\u201D", "photos of a beach")};
    EXPECT_NE(searches[0].id, searches[1].id);
    const QByteArray json = SavedSearch::encodeList(searches);
    EXPECT_EQ(SavedSearch::decodeList(json), searches);
    EXPECT_EQ(searches[0].toJson().keys(), (QStringList{"id", "name", "query"}));
}

TEST(SavedSearchTest, AnEntryWithABadIdFailsAlone)
{
    const QByteArray json = R"([
        {"id": "E621E1F8-C36C-495A-93FC-0C247A3E6E5F", "name": "A", "query": "a"},
        {"id": "not-a-uuid", "name": "B", "query": "b"},
        {"id": "{E621E1F8-C36C-495A-93FC-0C247A3E6E5F}", "name": "C", "query": "c"},
        {"id": 12, "name": "D", "query": "d"},
        {"id": "e621e1f8-c36c-495a-93fc-0c247a3e6e50", "name": "E"},
        {"id": "e621e1f8-c36c-495a-93fc-0c247a3e6e51", "name": "F", "query": "f"}
    ])";
    const QList<SavedSearch> decoded = SavedSearch::decodeList(json);
    ASSERT_EQ(decoded.size(), 2);
    EXPECT_EQ(decoded[0].name, QStringLiteral("A"));
    EXPECT_EQ(decoded[1].query, QStringLiteral("f"));
    EXPECT_TRUE(SavedSearch::decodeList("{\"id\": 1}").isEmpty());
    EXPECT_TRUE(SavedSearch::decodeList("not json").isEmpty());
}

TEST(SavedSearchTest, ARequestIsKeptOnceUnderItsOwnName)
{
    const std::optional<SavedSearch> first = SavedSearch::forRequest("  pdfs from gmail ", {});
    ASSERT_TRUE(first.has_value());
    EXPECT_EQ(first->name, QStringLiteral("Pdfs from gmail"));
    EXPECT_EQ(first->query, QStringLiteral("pdfs from gmail"));
    EXPECT_FALSE(SavedSearch::forRequest("PDFs from Gmail", {*first}).has_value());
    EXPECT_FALSE(SavedSearch::forRequest("   ", {}).has_value());
    EXPECT_EQ(SavedSearch::forRequest("élan photos", {*first})->name, QStringLiteral("Élan photos"));
}
