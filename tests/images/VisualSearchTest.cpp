#include "images/VisualSearch.h"
#include "images/ConceptLabels.h"
#include "images/ImageAnalyzer.h"
#include "images/VisionModel.h"
#include "images/Vocabulary.h"
#include "images/WordNet.h"

#include <QDir>
#include <cmath>
#include <gtest/gtest.h>

using namespace fennic;

namespace {

using Scores = QHash<QString, float>;

// A record with these labels, colour shares and lines of text (boxes stacked down from the top).
ImageRecord record(const QString& path, Scores labels, Scores colors = {}, const QStringList& lines = {},
                   bool failed = false)
{
    QList<TextLine> textLines;
    float y = 0.9f;
    for (const QString& text : lines) {
        textLines.append(TextLine{text, 0.1f, y, 0.5f, 0.04f, 0.9f});
        y -= 0.1f;
    }
    return ImageRecord(path, 100, Date{}, std::move(labels), std::move(colors), std::move(textLines), QString(),
                       std::nullopt, 640, 480, failed);
}

ImageRecord page(const QString& path, const QStringList& lines, bool failed = false)
{
    return record(path, {}, {}, lines, failed);
}

QStringList paths(const QList<VisualMatch>& matches)
{
    QStringList out;
    for (const VisualMatch& m : matches) out.append(m.path);
    return out;
}

}  // namespace

TEST(VisualQuery, ParsesDescriptions)
{
    const std::tuple<const char*, QStringList, QStringList> cases[] = {
        {"", {}, {}},
        {"a photo of the", {}, {}},
        {"blue and white", {}, {"blue", "white"}},
        {"receipt with a coffee cup", {"receipt", "coffee", "cup"}, {}},
        {"a white island in a blue ocean", {"island", "ocean"}, {"white", "blue"}},
        {"Beaches, with NAVY boats!", {"beach", "boat"}, {"blue"}},
        {"grey cat on a gray sofa", {"cat", "sofa"}, {"gray"}},
        {"Ｐuppies near the café", {"puppy", "cafe"}, {}},
    };
    for (const auto& [text, concepts, colors] : cases) {
        SCOPED_TRACE(text);
        const VisualQuery q = VisualQuery::parse(QString::fromUtf8(text));
        QStringList words;
        for (const auto& part : q.concepts) words.append(part.word);
        EXPECT_EQ(words, concepts);
        EXPECT_EQ(q.colors, colors);
        EXPECT_EQ(q.isEmpty(), concepts.isEmpty() && colors.isEmpty());
    }
    const VisualQuery receipt = VisualQuery::parse("receipts and coffee");
    EXPECT_EQ(receipt.words, (QStringList{"receipts", "coffee"}));
    EXPECT_TRUE(receipt.concepts[0].telltales.contains("total"));
    // Telltales are folded like the text they are looked for in.
    EXPECT_TRUE(receipt.concepts[1].telltales.contains("cafe"));
    EXPECT_FLOAT_EQ(receipt.concepts[1].labels.value("coffee"), 1.0f);
}

TEST(Vocabulary, TablesPointAtColoursAndLabelsThatExist)
{
    for (const QString& colour : Vocabulary::colorWords())
        EXPECT_TRUE(ImageAnalyzer::colorNames().contains(colour)) << colour.toStdString();
    const QStringList& known = Vocabulary::allLabels();
    const bool modelLabels = VisionModel::locate().has_value();
    const auto& synonyms = Vocabulary::synonyms();
    for (auto it = synonyms.cbegin(); it != synonyms.cend(); ++it) {
        for (auto label = it.value().cbegin(); label != it.value().cend(); ++label) {
            SCOPED_TRACE(it.key().toStdString() + " -> " + label.key().toStdString());
            EXPECT_TRUE(label.value() > 0.0f && label.value() <= 1.0f) << label.value();
            if (modelLabels) {
                EXPECT_TRUE(known.contains(label.key()));
            }
        }
    }
}

TEST(Vocabulary, StemsPluralsAndLooksUpLabels)
{
    const std::pair<const char*, const char*> cases[] = {
        {"beaches", "beach"},  {"puppies", "puppy"}, {"dogs", "dog"},        {"boxes", "box"},
        {"children", "child"}, {"cat", "cat"},       {"glasses", "glasses"}, {"bus", "bus"},
        {"shoes", "shoe"},     {"wolves", "wolf"},   {"dress", "dress"},
    };
    for (const auto& [word, base] : cases) EXPECT_EQ(Vocabulary::stem(word), QString::fromLatin1(base)) << word;

    EXPECT_EQ(Vocabulary::labels("beaches"), Vocabulary::synonyms().value("beach"));
    if (VisionModel::locate()) {
        // A word that is itself a classifier label is used directly, its relatives weaker.
        const Scores tabby = Vocabulary::labels("tabby");
        EXPECT_EQ(tabby.value("tabby"), 1.0f);
        EXPECT_LT(tabby.value("persian_cat"), 0.5f);
    }
    EXPECT_TRUE(Vocabulary::labels("zzyzx").isEmpty());
    EXPECT_EQ(Vocabulary::display("coffee_mug"), QStringLiteral("coffee mug"));
}

TEST(ConceptLabels, AggregateMemberProbabilities)
{
    // A fake model output over a small label list: indices matter for the spans.
    QStringList ids;
    for (int i = 0; i < 1001; ++i) ids.append(QStringLiteral("class%1").arg(i));
    ids[979] = "seashore";
    ids[978] = "sandbar";
    ids[969] = "cup";
    ids[505] = "coffee_mug";
    // The dog breeds come from WordNet, in the model's order from output 152 on.
    const QStringList breeds = WordNet::classesUnder("dog");
    for (qsizetype i = 0; i < breeds.size(); ++i) ids[152 + i] = breeds[i];
    std::vector<float> p(1001, 0.0f);
    p[979] = 0.5f, p[978] = 0.2f;                            // beach = 0.7
    p[969] = 0.02f, p[505] = 0.02f;                          // cup = 0.04 (each class alone below 0.03)
    for (int i = 152; i <= 269; ++i) p[size_t(i)] = 0.001f;  // every dog breed a little: dog = 0.118
    p[270] = 0.5f;                                           // a wolf is no dog

    Scores labels{{"cup", 0.02f}};
    ConceptLabels::aggregate(p, ids, 0.03f, labels);
    EXPECT_NEAR(labels.value("beach"), 0.7f, 1e-6);
    EXPECT_NEAR(labels.value("ocean"), 0.7f, 1e-6);
    EXPECT_NEAR(labels.value("cup"), 0.04f, 1e-6);  // the concept replaces the class
    if (!breeds.isEmpty()) {
        EXPECT_NEAR(labels.value("dog"), 0.118f, 1e-5);
    }
    EXPECT_FALSE(labels.contains("cat"));

    p[978] = 0.9f;  // sums are capped at 1
    ConceptLabels::aggregate(p, ids, 0.03f, labels);
    EXPECT_FLOAT_EQ(labels.value("beach"), 1.0f);

    EXPECT_TRUE(ConceptLabels::fromTextCoverage(0.01f, 10).isEmpty());
    EXPECT_TRUE(ConceptLabels::fromTextCoverage(0.5f, 1).isEmpty());
    EXPECT_GT(ConceptLabels::fromTextCoverage(0.3f, 12).value("document"), 0.5f);
}

TEST(ConceptLabels, MembersAreTheModelsLabels)
{
    const auto folder = VisionModel::locate();
    if (!folder) GTEST_SKIP() << "the vision model is not installed";
    const QStringList ids = VisionModel::readLabels(QDir(*folder).filePath("labels.txt"));
    ASSERT_EQ(ids.size(), 1001);
    // The indices the fake output above stands on.
    EXPECT_EQ(ids[979], QStringLiteral("seashore"));
    EXPECT_EQ(ids[505], QStringLiteral("coffee_mug"));
    for (const ConceptLabels::Concept& c : ConceptLabels::all()) {
        for (const QString& member : c.members)
            EXPECT_TRUE(ids.contains(member)) << c.name.toStdString() << " <- " << member.toStdString();
        for (const auto& [first, last] : c.spans)
            EXPECT_TRUE(1 <= first && first <= last && last <= 1000) << first << ".." << last;
    }
    // Families come from WordNet's hierarchy: every dog breed, in the model's order, and the
    // dishes and the fruit under food.
    auto conceptNamed = [](const char* name) {
        for (const auto& c : ConceptLabels::all())
            if (c.name == QLatin1String(name)) return c;
        return ConceptLabels::Concept{};
    };
    const ConceptLabels::Concept dog = conceptNamed("dog");
    ASSERT_EQ(dog.hierarchy.size(), 118);
    EXPECT_EQ(dog.hierarchy.front(), QStringLiteral("chihuahua"));
    EXPECT_EQ(dog.hierarchy.back(), QStringLiteral("mexican_hairless"));
    EXPECT_TRUE(conceptNamed("food").members.contains(QStringLiteral("plate")));
    EXPECT_TRUE(conceptNamed("food").members.contains(QStringLiteral("granny_smith")));
    // Hand-written additions stay beside the hierarchy's members.
    EXPECT_TRUE(conceptNamed("car").members.contains(QStringLiteral("grille")));
    EXPECT_TRUE(conceptNamed("car").members.contains(QStringLiteral("sports_car")));
    // Scenes the hierarchy does not place keep their written rows.
    EXPECT_EQ(conceptNamed("beach").members, (QStringList{"seashore", "sandbar"}));
}

TEST(LabelEngine, RanksMoreSatisfiedPartsThenStrongerLabels)
{
    const LabelEngine engine;
    const VisualQuery query = VisualQuery::parse("a beach under a blue sky");
    const QList<ImageRecord> records{
        record("/strong-beach.jpg", {{"beach", 0.95f}}),
        record("/weak-beach-blue.jpg", {{"beach", 0.3f}}, {{"blue", 0.3f}}),
        record("/medium-beach.jpg", {{"beach", 0.6f}}),
        record("/blue-only.jpg", {{"computer", 0.9f}}, {{"blue", 0.9f}}),
    };
    const QList<VisualMatch> hits = VisualSearch::describe(query.raw, records, engine);
    EXPECT_EQ(paths(hits), (QStringList{"/weak-beach-blue.jpg", "/strong-beach.jpg", "/medium-beach.jpg"}));
    EXPECT_EQ(hits[0].matched, 2);
    EXPECT_EQ(hits[1].matched, 1);
    EXPECT_TRUE(hits[0].reasons.contains("blue 30%"));
    EXPECT_TRUE(hits[1].reasons.contains("beach"));

    // Weak evidence satisfies nothing; broad labels count for half.
    EXPECT_FALSE(engine.score(record("/faint.jpg", {{"beach", 0.1f}}), query));
    const VisualQuery people = VisualQuery::parse("people");
    const auto broad = engine.score(record("/p.jpg", {{"people", 0.8f}}), people);
    const auto specific = engine.score(record("/g.jpg", {{"groom", 0.8f}}), people);
    ASSERT_TRUE(broad && specific);
    EXPECT_FLOAT_EQ(broad->score, 1.0f + 0.5f * (0.8f * 0.5f));
    EXPECT_FLOAT_EQ(specific->score, 1.0f + 0.5f * (0.8f * 0.6f));
}

TEST(LabelEngine, UsesTelltalesAndWordsInTheText)
{
    const LabelEngine engine;
    const ImageRecord shopReceipt =
        page("/receipt.png", {"Blue Bottle Café", "1 Flat White 4.50", "TOTAL 4.50", "VISA **** 1234"});
    const auto hit = engine.score(shopReceipt, VisualQuery::parse("receipt with a coffee cup"));
    ASSERT_TRUE(hit.has_value());
    EXPECT_EQ(hit->matched, 3);  // receipt by "total"/"visa", coffee by "café", cup by "flat white"
    EXPECT_TRUE(hit->reasons.first().contains("total")) << hit->reasons.join(u'|').toStdString();

    EXPECT_TRUE(engine.score(page("/menu.png", {"Lunch Menu"}), VisualQuery::parse("menus")));
    EXPECT_FALSE(engine.score(page("/kitchen.png", {"Cupboard doors"}), VisualQuery::parse("cup")));
    EXPECT_TRUE(containsWord("two cups of tea", "cup"));
    EXPECT_TRUE(containsWord("sales up 12%", "%"));

    // Colours alone never satisfy a description that names things.
    const ImageRecord whiteWall = record("/wall.jpg", {}, {{"white", 0.9f}});
    EXPECT_FALSE(engine.score(whiteWall, VisualQuery::parse("a white island")));
    EXPECT_TRUE(engine.score(whiteWall, VisualQuery::parse("white")));
}

TEST(VisualSearch, TextSearchNeedsEveryWordAndSkipsFailedRecords)
{
    const QList<ImageRecord> records{
        page("/a.png", {"Invoice 2024", "invoice total"}),
        page("/b.png", {"Invoice total due"}),
        page("/c.png", {"Total only"}),
        page("/failed.png", {"invoice total"}, true),
        page("/cafe.png", {"CAFÉ Ｍenu"}),
    };
    EXPECT_TRUE(VisualSearch::text(QString(), records).isEmpty());
    EXPECT_TRUE(VisualSearch::text("   ", records).isEmpty());

    const auto hits = VisualSearch::text("INVOICE total", records);
    EXPECT_EQ(paths(hits), (QStringList{"/a.png", "/b.png"}));
    EXPECT_FLOAT_EQ(hits[0].score, 1.0f + 0.05f * 3);  // invoice twice, total once
    EXPECT_FLOAT_EQ(hits[1].score, 1.0f + 0.05f * 2);
    EXPECT_EQ(hits[0].matched, 2);
    EXPECT_FALSE(paths(VisualSearch::text("invoice", records)).contains("/failed.png"));
    EXPECT_EQ(paths(VisualSearch::text("cafe menu", records)), QStringList{"/cafe.png"});
}

TEST(VisualSearch, EverythingMergesTextAndDescriptionHits)
{
    const QList<ImageRecord> records{
        record("/beach-sign.jpg", {{"beach", 0.9f}}, {}, {"Beach closed"}),
        record("/beach.jpg", {{"beach", 0.8f}}),
        page("/sign.png", {"Beach parking"}),
        record("/cat.jpg", {{"cat", 0.9f}}),
    };
    const auto all = VisualSearch::search("beach", VisualSearch::Mode::everything, records);
    EXPECT_EQ(all.size(), 3);
    EXPECT_EQ(all.front().path, QStringLiteral("/beach-sign.jpg"));
    EXPECT_GE(all.front().reasons.size(), 2);
    EXPECT_EQ(VisualSearch::search("beach", VisualSearch::Mode::text, records).size(), 2);
    EXPECT_EQ(VisualSearch::search("beach", VisualSearch::Mode::describe, records).size(), 3);
    for (auto mode : {VisualSearch::Mode::everything, VisualSearch::Mode::text, VisualSearch::Mode::describe}) {
        EXPECT_TRUE(VisualSearch::search(QString(), mode, records).isEmpty());
        EXPECT_EQ(VisualSearch::modeFromRawValue(VisualSearch::rawValue(mode)), mode);
    }

    const auto boxes = VisualSearch::highlights("PARKING", records[2]);
    ASSERT_EQ(boxes.size(), 1);
    EXPECT_EQ(boxes[0], QRectF(0.1f, 0.9f, 0.5f, 0.04f));
    EXPECT_TRUE(VisualSearch::highlights("parking", records[1]).isEmpty());
}

TEST(VisualSearch, DescriberScoresDescriptionsForTheSearchBar)
{
    // How a score decides a `looks` filter is SearchMatch's concern.
    const auto describe = VisualSearch::describer();
    const auto beach = describe(QStringLiteral("photos of a beach"));
    const auto strong = beach(record("/p/beach.jpg", {{"beach", 0.9f}}));
    const auto weak = beach(record("/p/shore.jpg", {{"seashore", 0.4f}}));
    ASSERT_TRUE(strong && weak);
    EXPECT_GT(*strong, *weak);
    EXPECT_FALSE(beach(record("/p/cat.jpg", {{"tabby", 0.9f}})).has_value());

    // Words in the picture count too, by the better of two readings: the label engine's (one
    // part, word evidence 0.6) beats the plain text score of 1.05.
    const ImageRecord poster = page("/p/poster.png", {"Blue Lagoon tours"});
    EXPECT_FLOAT_EQ(describe("lagoon")(poster).value_or(0), 1.0f + 0.5f * 0.6f);
    EXPECT_GT(describe("lagoon tours lagoon")(poster).value_or(0), 2.0f);
    EXPECT_FALSE(describe("the of a")(poster).has_value());
}

TEST(VisualSearch, SimilarAndDistance)
{
    QHash<QString, ImageRecord> records;
    const std::pair<const char*, std::vector<float>> prints[] = {
        {"/o.jpg", {0, 0, 0}},   {"/near.jpg", {0.3f, 0, 0}},   {"/nearer.jpg", {0.1f, 0, 0}},
        {"/far.jpg", {1, 0, 0}}, {"/longer.jpg", {0, 0, 0, 0}},
    };
    for (const auto& [path, print] : prints) {
        ImageRecord r = record(path, {});
        r.print = QByteArray(reinterpret_cast<const char*>(print.data()), qsizetype(print.size() * sizeof(float)));
        records.insert(r.path, r);
    }
    records.insert("/none.jpg", record("/none.jpg", {}));

    const auto near = VisualSearch::similar("/o.jpg", records, 80, 0.95f);
    ASSERT_EQ(near.size(), 2);
    EXPECT_EQ(near[0].first, QStringLiteral("/nearer.jpg"));
    EXPECT_FLOAT_EQ(near[0].second, 0.1f);
    EXPECT_EQ(near[1].first, QStringLiteral("/near.jpg"));
    EXPECT_EQ(VisualSearch::similar("/o.jpg", records, 1, 0.95f).size(), 1);
    EXPECT_TRUE(VisualSearch::similar("/none.jpg", records).isEmpty());
    EXPECT_TRUE(VisualSearch::similar("/missing.jpg", records).isEmpty());

    // Prints of different lengths (a model print and a fallback print) are never alike.
    const std::vector<float> a(19, 0.25f), b(19, 0.0f), c(20, 0.25f);
    EXPECT_TRUE(std::isinf(VisualSearch::distance(a, c)));
    EXPECT_TRUE(std::isinf(VisualSearch::distance({}, {})));
    EXPECT_FLOAT_EQ(VisualSearch::distance(a, b), std::sqrt(19 * 0.0625f));  // 8 + 8 + a remainder of 3
}
