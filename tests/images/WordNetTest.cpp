#include "images/WordNet.h"
#include "images/LabelEngine.h"
#include "images/VisualSearch.h"
#include "images/Vocabulary.h"

#include <gtest/gtest.h>

using namespace fennic;

namespace {

ImageRecord labelled(const QString& path, QHash<QString, float> labels)
{
    return ImageRecord(path, 100, Date{}, std::move(labels), {}, {}, QString(), std::nullopt, 640, 480, false);
}

}  // namespace

TEST(WordNet, PlacesNounsOnTheModelsClasses)
{
    if (!WordNet::available()) GTEST_SKIP() << "built without the model's class list";
    struct Row {
        const char* name;
        const char* word;
        const char* label;
        float low, high;  // inclusive bounds of the weight; 0 ... 0 means absent
    };
    const Row rows[] = {
        {"own sense's hyponym", "squirrel", "fox_squirrel", 1.0f, 1.0f},
        {"regular plural", "squirrels", "fox_squirrel", 1.0f, 1.0f},
        {"horse is a sorrel", "horses", "sorrel", 1.0f, 1.0f},
        {"a whole family", "monkey", "baboon", 1.0f, 1.0f},
        {"every breed", "dog", "komondor", 1.0f, 1.0f},
        {"synonym synset", "motorbike", "moped", 1.0f, 1.0f},
        {"rocket is a missile", "rocket", "missile", 1.0f, 1.0f},
        {"exception list", "geese", "goose", 1.0f, 1.0f},
        {"both cranes share a label", "crane", "crane", 1.0f, 1.0f},
        {"relatives one step up", "giraffe", "impala", 0.6f, 0.8f},
        {"relatives two steps up", "giraffe", "hog", 0.4f, 0.55f},
        {"own sense's relatives at half", "squirrel", "hamster", 0.3f, 0.4f},
        {"derived concept follows its classes", "dog", "dog", 1.0f, 1.0f},
        {"derived concept at the relatives' weight", "giraffe", "cattle", 0.6f, 0.8f},
        {"other senses ignored when one is seen", "horse", "horizontal_bar", 0.0f, 0.0f},
        {"rocket the salad plant ignored", "rocket", "corn", 0.0f, 0.0f},
        {"no relatives through people", "crane", "ballplayer", 0.0f, 0.0f},
        {"too general a hypernym", "squirrel", "komondor", 0.0f, 0.0f},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const float weight = WordNet::labels(QString::fromLatin1(row.word)).value(QString::fromLatin1(row.label));
        EXPECT_GE(weight, row.low) << row.word << " -> " << row.label;
        EXPECT_LE(weight, row.high) << row.word << " -> " << row.label;
    }
}

TEST(WordNet, WordsItCannotPlace)
{
    if (!WordNet::available()) GTEST_SKIP() << "built without the model's class list";
    const std::pair<const char*, const char*> rows[] = {
        {"no noun sense", "quickly"},
        {"not a word", "zzyzx"},
        {"a noun far from every class", "democracy"},
        {"empty", ""},
    };
    for (const auto& [name, word] : rows) EXPECT_TRUE(WordNet::labels(QString::fromLatin1(word)).isEmpty()) << name;
}

TEST(WordNet, BaseFormsFollowItsMorphology)
{
    const std::pair<const char*, const char*> rows[] = {
        {"horses", "horse"}, {"geese", "goose"},     {"boxes", "box"},       {"ponies", "pony"}, {"buses", "bus"},
        {"women", "woman"},  {"glasses", "glasses"}, {"churches", "church"}, {"mice", "mouse"},  {"giraffe", "giraffe"},
    };
    for (const auto& [word, base] : rows)
        EXPECT_EQ(WordNet::baseForm(QString::fromLatin1(word)).value_or(QString()), QString::fromLatin1(base)) << word;
    EXPECT_FALSE(WordNet::baseForm("quickly"));
    EXPECT_FALSE(WordNet::baseForm("zzyzx"));
}

TEST(WordNet, LabelNamesMeetTheRightSynsets)
{
    if (!WordNet::available()) GTEST_SKIP() << "built without the model's class list";
    // Classes named alike or named for a thing WordNet files elsewhere: the list's offset
    // order tells the bird from the machine and the house cat from the wild one.
    const std::tuple<const char*, const char*, bool> rows[] = {
        {"wading_bird", "crane", true},  {"lifting_device", "crane", true}, {"domestic_cat", "tiger_cat", true},
        {"wildcat", "tiger_cat", false}, {"globule", "bubble", true},       {"sign", "street_sign", true},
        {"big_cat", "tiger", true},      {"ruminant", "sorrel", false},
    };
    for (const auto& [noun, label, under] : rows)
        EXPECT_EQ(WordNet::classesUnder(QString::fromLatin1(noun)).contains(QString::fromLatin1(label)), under)
            << noun << " / " << label;
}

TEST(WordNet, DescriptionsFindPicturesOfNounsTheTablesLack)
{
    if (!WordNet::available()) GTEST_SKIP() << "built without the model's class list";
    const QList<ImageRecord> records{
        labelled("/squirrel.jpg", {{"fox_squirrel", 0.7f}}),
        labelled("/field-horse.jpg", {{"sorrel", 0.8f}, {"hay", 0.1f}}),
        labelled("/impala.jpg", {{"impala", 0.6f}}),
        labelled("/launch.jpg", {{"missile", 0.5f}, {"projectile", 0.3f}}),
        labelled("/beach.jpg", {{"beach", 0.9f}, {"seashore", 0.8f}}),
    };
    const LabelEngine engine;
    auto top = [&](const char* text) {
        const auto hits = VisualSearch::describe(QString::fromLatin1(text), records, engine);
        return hits.isEmpty() ? VisualMatch{} : hits.front();
    };
    EXPECT_EQ(top("a squirrel").path, "/squirrel.jpg");
    EXPECT_EQ(top("horses in a field").path, "/field-horse.jpg");
    EXPECT_EQ(top("a giraffe").path, "/impala.jpg");
    EXPECT_EQ(top("a rocket").path, "/launch.jpg");
    EXPECT_EQ(top("a giraffe").reasons, QStringList{"giraffe (impala)"});

    // A word nothing places is named in the reasons; the rest of the description still ranks.
    const VisualMatch beach = top("a zzyzx on the beach");
    EXPECT_EQ(beach.path, "/beach.jpg");
    EXPECT_TRUE(beach.reasons.contains(QStringLiteral("“zzyzx” not recognised")))
                << beach.reasons.join('|').toStdString();
}
