#include "organise/Shelf.h"
#include "support/TempTree.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
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
        {"only hashes", QStringLiteral(" ### "), QString()},
        {"empty", QString(), QString()},
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

    // Toggling twice at the end of the order restores the earlier list exactly.
    const Shelf before = shelf;
    shelf.toggleFavourite(QStringLiteral("/new"));
    shelf.toggleFavourite(QStringLiteral("/new"));
    EXPECT_EQ(shelf, before);
}

TEST(ShelfTest, AddingTagsStoresEachNormalisedTagOncePerPath)
{
    Shelf shelf;
    EXPECT_EQ(shelf.addTag(QStringLiteral("#Holiday Photos"), {a, a, b}), QStringLiteral("holiday-photos"));
    EXPECT_EQ(shelf.addTag(QStringLiteral("holiday photos"), {a}), QStringLiteral("holiday-photos"));
    EXPECT_EQ(shelf.tagsOf(a), QStringList({"holiday-photos"}));
    EXPECT_EQ(shelf.addTag(QStringLiteral("Receipts"), {a}), QStringLiteral("receipts"));
    EXPECT_EQ(shelf.tagsOf(a), QStringList({"holiday-photos", "receipts"}));

    EXPECT_EQ(shelf.addTag(QStringLiteral(" # "), {c}), std::nullopt);
    EXPECT_FALSE(shelf.tags().contains(c)) << "an empty tag creates no entry";
    EXPECT_TRUE(shelf.tagsOf(c).isEmpty());

    EXPECT_EQ(shelf.pathsTagged(QStringLiteral("#HOLIDAY  photos")), QSet<QString>({a, b}));
    EXPECT_TRUE(shelf.pathsTagged(QStringLiteral("nothing")).isEmpty());
}

TEST(ShelfTest, RemovingATagComparesTheTextAsGiven)
{
    Shelf shelf;
    shelf.addTag(QStringLiteral("work"), {a, b});
    shelf.addTag(QStringLiteral("urgent"), {a});

    shelf.removeTag(QStringLiteral("#work"), a);
    EXPECT_EQ(shelf.tagsOf(a), QStringList({"work", "urgent"})) << "an un-normalised form removes nothing";

    shelf.removeTag(QStringLiteral("work"), a);
    EXPECT_EQ(shelf.tagsOf(a), QStringList({"urgent"}));
    shelf.removeTag(QStringLiteral("urgent"), a);
    EXPECT_FALSE(shelf.tags().contains(a)) << "a path left without tags loses its entry";
    shelf.removeTag(QStringLiteral("work"), c);  // unknown path: nothing happens
    EXPECT_EQ(shelf.tags().size(), 1);
}

TEST(ShelfTest, AllTagsCountPathsMostUsedFirstThenByName)
{
    Shelf shelf;
    shelf.addTag(QStringLiteral("zebra"), {a, b, c});
    shelf.addTag(QStringLiteral("beta"), {a, b});
    shelf.addTag(QStringLiteral("alpha"), {c, b});
    shelf.addTag(QStringLiteral("solo"), {a});
    const QList<Shelf::TagCount> expected{{"zebra", 3}, {"alpha", 2}, {"beta", 2}, {"solo", 1}};
    EXPECT_EQ(shelf.allTags(), expected);
}

TEST(ShelfTest, CollectionNamesAreMadeUniqueIgnoringCase)
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
}

TEST(ShelfTest, CollectionsKeepTheOrderFilesWereAdded)
{
    Shelf shelf;
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
    EXPECT_TRUE(shelf.collections().isEmpty());
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
    EXPECT_TRUE(shelf.tagsOf(a).isEmpty());
    EXPECT_EQ(shelf.pathsTagged(QStringLiteral("work")), QSet<QString>({b, moved}));
    EXPECT_EQ(shelf.collection(first)->paths, QStringList({c, moved, b}));
    EXPECT_EQ(shelf.collection(second)->paths, QStringList({b}));
}

TEST(ShelfTest, FileRoundTripsWithSortedKeys)
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
    EXPECT_EQ(loaded.collections().at(1).name, "Art \"quoted\"");

    QFile f(file);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    const QByteArray text = f.readAll();
    EXPECT_LT(text.indexOf("\"collections\""), text.indexOf("\"favourites\""));
    EXPECT_LT(text.indexOf("\"favourites\""), text.indexOf("\"tags\""));
    EXPECT_LT(text.indexOf("\"id\""), text.indexOf("\"name\""));
    EXPECT_LT(text.indexOf("\"name\""), text.indexOf("\"paths\""));
    EXPECT_LT(text.indexOf(c.toUtf8() + "\":"), text.indexOf(a.toUtf8() + "\":")) << "tag map keys sorted (Desktop < Documents)";
    const QJsonObject root = QJsonDocument::fromJson(text).object();
    EXPECT_FALSE(QUuid::fromString(root["collections"][0]["id"].toString()).isNull());
}

TEST(ShelfTest, DamagedOrForeignFilesGiveAnEmptyShelf)
{
    test::TempTree tree;
    Shelf good;
    good.toggleFavourite(a);
    good.addTag(QStringLiteral("x"), {a});
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
        {"collection with a bad id", R"({"collections":[{"id":"nope","name":"n","paths":[]}],"favourites":[],"tags":{}})"},
        {"collection paths not strings", R"({"collections":[{"id":"6F9619FF-8B86-D011-B42D-00C04FC964FF","name":"n","paths":[null]}],"favourites":[],"tags":{}})"},
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

TEST(ShelfTest, SaveIntoAMissingFolderFailsAndLeavesNothing)
{
    test::TempTree tree;
    Shelf shelf;
    shelf.toggleFavourite(a);
    const QString blocker = tree.write(QStringLiteral("file"), "x");
    EXPECT_FALSE(shelf.save(blocker + QStringLiteral("/shelf.json")));
    EXPECT_EQ(QFile(blocker).size(), 1);
}
