#include "organise/Shelf.h"
#include "support/TempTree.h"

#include <QFile>
#include <QJsonDocument>
#include <gtest/gtest.h>

using namespace fennic;

namespace {

const QString a = QStringLiteral("/home/u/Documents/a.pdf");
const QString b = QStringLiteral("/home/u/Pictures/b.png");
const QString c = QStringLiteral("/home/u/Desktop/c.txt");

}  // namespace

TEST(ShelfTest, TagsAreNormalised)
{
    struct Row {
        const char* name;
        QString input;
        QString expected;
    };
    const Row rows[] = {
        {"spaces and one hash", QStringLiteral("  #My Tag "), QStringLiteral("my-tag")},
         {"every leading hash goes", QStringLiteral("##work"), QStringLiteral("work")},
          {"spaces after the hashes", QStringLiteral("# #  Holiday   Photos\n"), QStringLiteral("#-holiday-photos")},
           {"tabs and newlines inside", QStringLiteral("a\tb\nc"), QStringLiteral("a-b-c")},
            {"hash inside stays", QStringLiteral("c#"), QStringLiteral("c#")},
             {"non-ASCII lower-cased", QStringLiteral("ÉCOLE Été"), QStringLiteral("école-été")},
              {"only hashes", QStringLiteral(" ### "), QString()}, {"empty", QString(), QString()},
             };
    for (const Row& r : rows) EXPECT_EQ(Shelf::normalise(r.input), r.expected) << r.name;
}

TEST(ShelfTest, FavouritesToggleAndKeepStarOrder)
{
    Shelf shelf;
    shelf.toggleFavourite(a);
    shelf.toggleFavourite(b);
    shelf.toggleFavourite(c);
    EXPECT_EQ(shelf.favourites(), QStringList({a, b, c}));
    EXPECT_TRUE(shelf.isFavourite(b));

    shelf.toggleFavourite(b);
    EXPECT_FALSE(shelf.isFavourite(b));
    EXPECT_EQ(shelf.favourites(), QStringList({a, c}));
    shelf.toggleFavourite(b);
    EXPECT_EQ(shelf.favourites(), QStringList({a, c, b})) << "starred again goes to the end";
}

TEST(ShelfTest, TagsAreStoredOncePerPathRemovedAsGivenAndCounted)
{
    Shelf shelf;
    EXPECT_EQ(shelf.addTag(QStringLiteral("Receipts"), {a, c}), QStringLiteral("receipts"));
    EXPECT_EQ(shelf.addTag(QStringLiteral("#Holiday Photos"), {a, a, b}), QStringLiteral("holiday-photos"));
    EXPECT_EQ(shelf.addTag(QStringLiteral("holiday photos"), {a}), QStringLiteral("holiday-photos"));
    shelf.addTag(QStringLiteral("zebra"), {a, b, c});
    EXPECT_EQ(shelf.tagsOf(a), QStringList({"receipts", "holiday-photos", "zebra"}));
    const QList<Shelf::TagCount> counts{{"zebra", 3}, {"holiday-photos", 2}, {"receipts", 2}};
    EXPECT_EQ(shelf.allTags(), counts) << "most used first, ties by tag";

    EXPECT_EQ(shelf.addTag(QStringLiteral(" # "), {QStringLiteral("/x")}), std::nullopt);
    EXPECT_FALSE(shelf.tags().contains(QStringLiteral("/x"))) << "an empty tag creates no entry";
    EXPECT_EQ(shelf.pathsTagged(QStringLiteral("#HOLIDAY  photos")), QSet<QString>({a, b}));
    EXPECT_TRUE(shelf.pathsTagged(QStringLiteral("nothing")).isEmpty());

    shelf.removeTag(QStringLiteral("#receipts"), a);
    EXPECT_EQ(shelf.tagsOf(a).size(), 3) << "removing compares the text as given, not normalised";
    shelf.removeTag(QStringLiteral("receipts"), a);
    EXPECT_EQ(shelf.tagsOf(a), QStringList({"holiday-photos", "zebra"}));
    shelf.removeTag(QStringLiteral("holiday-photos"), b);
    shelf.removeTag(QStringLiteral("zebra"), b);
    EXPECT_FALSE(shelf.tags().contains(b)) << "a path left without tags loses its entry";
    shelf.removeTag(QStringLiteral("zebra"), QStringLiteral("/x"));  // unknown path: nothing happens
    EXPECT_EQ(shelf.tags().size(), 2);
}

TEST(ShelfTest, CollectionsHaveUniqueNamesAndKeepTheOrderFilesWereAdded)
{
    Shelf shelf;
    const auto trip = shelf.newCollection(QStringLiteral("  Trip\n"), {a, b, a});
    ASSERT_TRUE(trip);
    EXPECT_EQ(trip->name, "Trip");
    EXPECT_EQ(trip->paths, QStringList({a, b})) << "first occurrences kept in order";
    EXPECT_FALSE(trip->id.isNull());

    EXPECT_EQ(shelf.newCollection(QStringLiteral("trip"))->name, "trip 2");
    EXPECT_EQ(shelf.newCollection(QStringLiteral("TRIP"))->name, "TRIP 3");
    EXPECT_EQ(shelf.newCollection(QStringLiteral("Trip 2"))->name, "Trip 2 2");
    EXPECT_EQ(shelf.newCollection(QStringLiteral(" \t ")), std::nullopt);
    EXPECT_EQ(shelf.collections().size(), 4);

    // Renaming skips the uniqueness rule on purpose, and ignores an empty name.
    shelf.rename(trip->id, QStringLiteral(" trip 2 "));
    EXPECT_EQ(shelf.collection(trip->id)->name, "trip 2");
    shelf.rename(trip->id, QStringLiteral("  "));
    EXPECT_EQ(shelf.collection(trip->id)->name, "trip 2");

    // Files keep the order they were added in.
    const QUuid id = shelf.newCollection(QStringLiteral("Work"), {b})->id;
    shelf.add({a, b, c, a}, id);
    EXPECT_EQ(shelf.collection(id)->paths, QStringList({b, a, c})) << "a path already held stays where it is";

    shelf.remove({b, QStringLiteral("/not/held")}, id);
    EXPECT_EQ(shelf.collection(id)->paths, QStringList({a, c}));

    const Shelf before = shelf;
    shelf.add({b}, QUuid::createUuid());
    shelf.remove({a}, QUuid::createUuid());
    shelf.rename(QUuid::createUuid(), QStringLiteral("x"));
    shelf.deleteCollection(QUuid::createUuid());
    EXPECT_EQ(shelf, before) << "unknown ids are ignored";

    shelf.deleteCollection(id);
    EXPECT_EQ(shelf.collections().size(), 4);
    EXPECT_EQ(shelf.collection(id), std::nullopt);
}

TEST(ShelfTest, MoveCarriesStarTagsAndCollectionsToTheNewPath)
{
    const QString moved = QStringLiteral("/home/u/Pictures/Screenshots/2025-03/a.pdf");
    Shelf shelf;
    shelf.toggleFavourite(b);
    shelf.toggleFavourite(a);
    shelf.toggleFavourite(c);
    shelf.addTag(QStringLiteral("work"), {a, b});
    shelf.addTag(QStringLiteral("old"), {moved});
    const QUuid first = shelf.newCollection(QStringLiteral("One"), {c, a, b})->id;
    const QUuid second = shelf.newCollection(QStringLiteral("Two"), {b})->id;

    shelf.move(a, moved);

    EXPECT_EQ(shelf.favourites(), QStringList({b, moved, c})) << "same place in the order";
    EXPECT_TRUE(shelf.isFavourite(moved));
    EXPECT_FALSE(shelf.isFavourite(a));
    EXPECT_EQ(shelf.tagsOf(moved), QStringList({"work"})) << "replaces the list already there";
    EXPECT_EQ(shelf.pathsTagged(QStringLiteral("work")), QSet<QString>({b, moved}));
    EXPECT_EQ(shelf.collection(first)->paths, QStringList({c, moved, b}));
    EXPECT_EQ(shelf.collection(second)->paths, QStringList({b}));
}

TEST(ShelfTest, FileRoundTripsWithSortedKeysAndAFailedSaveLeavesNothing)
{
    test::TempTree tree;
    Shelf shelf;
    // Values chosen so that insertion order, sorted order and hash order all differ.
    shelf.toggleFavourite(c);
    shelf.toggleFavourite(a);
    shelf.addTag(QStringLiteral("Zed"), {c, a});
    shelf.addTag(QStringLiteral("émoji 🦊"), {b});
    shelf.newCollection(QStringLiteral("Zoo"), {c, b});
    shelf.newCollection(QStringLiteral("Art \"quoted\""), {});

    const QString file = tree.path(QStringLiteral("shelf.json"));
    ASSERT_TRUE(shelf.save(file));
    const Shelf loaded = Shelf::load(file);
    EXPECT_EQ(loaded, shelf);
    EXPECT_TRUE(loaded.isFavourite(a));

    QFile f(file);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    const QByteArray text = f.readAll();
    // Compact, with the keys sorted at every level: what Qt writes back after reading it.
    EXPECT_EQ(text, QJsonDocument::fromJson(text).toJson(QJsonDocument::Compact));

    // Into a "folder" that is a file: fails and leaves the file alone.
    const QString blocker = tree.write(QStringLiteral("file"), "x");
    EXPECT_FALSE(shelf.save(blocker + QStringLiteral("/shelf.json")));
    EXPECT_EQ(QFile(blocker).size(), 1);
}

TEST(ShelfTest, DamagedOrForeignFilesGiveAnEmptyShelf)
{
    test::TempTree tree;
    Shelf good;
    good.newCollection(QStringLiteral("C"), {a});
    const QByteArray valid = good.encode();
    ASSERT_TRUE(Shelf::decode(valid));

    struct Row {
        const char* name;
        QByteArray bytes;
    };
    QByteArray truncated = valid.left(valid.size() / 2);
    QByteArray flipped = valid;
    flipped[flipped.indexOf('[')] = '{';
    const Row rows[] = {
        {"truncated", truncated},
        {"a flipped bracket", flipped},
        {"not JSON", "shelf"},
        {"an array", "[]"},
        {"missing tags", R"({"collections":[],"favourites":[]})"},
        {"missing favourites", R"({"collections":[],"tags":{}})"},
        {"missing collections", R"({"favourites":[],"tags":{}})"},
        {"favourite not a string", R"({"collections":[],"favourites":[1],"tags":{}})"},
        {"tags not lists", R"({"collections":[],"favourites":[],"tags":{"/a":"x"}})"},
        {"collection without id", R"({"collections":[{"name":"n","paths":[]}],"favourites":[],"tags":{}})"},
        {"collection with a bad id",
         R"({"collections":[{"id":"nope","name":"n","paths":[]}],"favourites":[],"tags":{}})"},
        {"collection name not a string",
         R"({"collections":[{"id":"6F9619FF-8B86-D011-B42D-00C04FC964FF","name":7,"paths":[]}],"favourites":[],"tags":{}})"},
        {"collection paths not strings",
         R"({"collections":[{"id":"6F9619FF-8B86-D011-B42D-00C04FC964FF","name":"n","paths":[null]}],"favourites":[],"tags":{}})"},
        {"empty file", ""},
    };
    for (const Row& r : rows) {
        EXPECT_EQ(Shelf::decode(r.bytes), std::nullopt) << r.name;
        const QString file = tree.write(QStringLiteral("damaged.json"), r.bytes);
        EXPECT_TRUE(Shelf::load(file).isEmpty()) << r.name;
    }
    EXPECT_TRUE(Shelf::load(tree.path(QStringLiteral("missing.json"))).isEmpty());

    // The next change overwrites the damaged file.
    const QString file = tree.write(QStringLiteral("shelf.json"), truncated);
    Shelf shelf = Shelf::load(file);
    shelf.toggleFavourite(b);
    ASSERT_TRUE(shelf.save(file));
    EXPECT_EQ(Shelf::load(file).favourites(), QStringList({b}));
}
