#include "images/ConceptLabels.h"
#include "images/ImageAnalyzer.h"
#include "images/VisionModel.h"
#include "images/VisualSearch.h"
#include "images/Vocabulary.h"
#include "search/SearchContext.h"
#include "search/SearchParser.h"

#include <QDir>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>

using namespace fennic;

namespace {

QStringList conceptWords(const VisualQuery& q)
{
    QStringList out;
    for (const auto& c : q.concepts) out.append(c.word);
    return out;
}

ImageRecord record(const QString& path, QHash<QString, float> labels, QHash<QString, float> colors = {},
                   QStringList lines = {}, bool failed = false)
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

QByteArray blob(const std::vector<float>& values)
{
    return QByteArray(reinterpret_cast<const char*>(values.data()), qsizetype(values.size() * sizeof(float)));
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
    struct Case {
        const char* text;
        QStringList concepts;
        QStringList colors;
    };
    const Case cases[] = {
        {"", {}, {}},
        {"a photo of the", {}, {}},
        {"blue and white", {}, {QStringLiteral("blue"), QStringLiteral("white")}},
        {"receipt with a coffee cup", {QStringLiteral("receipt"), QStringLiteral("coffee"), QStringLiteral("cup")}, {}},
        {"a white island in a blue ocean", {QStringLiteral("island"), QStringLiteral("ocean")},
         {QStringLiteral("white"), QStringLiteral("blue")}},
        {"Beaches, with NAVY boats!", {QStringLiteral("beach"), QStringLiteral("boat")}, {QStringLiteral("blue")}},
        {"grey cat on a gray sofa", {QStringLiteral("cat"), QStringLiteral("sofa")}, {QStringLiteral("gray")}},
        {"Ｐuppies near the café", {QStringLiteral("puppy"), QStringLiteral("cafe")}, {}},
    };
    for (const Case& c : cases) {
        const VisualQuery q = VisualQuery::parse(QString::fromUtf8(c.text));
        EXPECT_EQ(conceptWords(q), c.concepts) << c.text;
        EXPECT_EQ(q.colors, c.colors) << c.text;
        EXPECT_EQ(q.isEmpty(), c.concepts.isEmpty() && c.colors.isEmpty()) << c.text;
    }
    const VisualQuery receipt = VisualQuery::parse(QStringLiteral("receipts and coffee"));
    EXPECT_EQ(receipt.words, (QStringList{QStringLiteral("receipts"), QStringLiteral("coffee")}));
    EXPECT_TRUE(receipt.concepts[0].telltales.contains(QStringLiteral("total")));
    // Telltales are folded like the text they are looked for in.
    EXPECT_TRUE(receipt.concepts[1].telltales.contains(QStringLiteral("cafe")));
    EXPECT_FLOAT_EQ(receipt.concepts[1].labels.value(QStringLiteral("coffee")), 1.0f);
}

TEST(Vocabulary, TablesHaveTheirShape)
{
    EXPECT_EQ(Vocabulary::colorWords().size(), 29);
    for (const QString& colour : Vocabulary::colorWords()) EXPECT_TRUE(ImageAnalyzer::colorNames().contains(colour));
    EXPECT_EQ(Vocabulary::broadLabels().size(), 12);
    EXPECT_EQ(Vocabulary::telltaleWords().size(), 11);
    EXPECT_EQ(Vocabulary::stopWords().size(), 101);  // 102 entries, "some" twice
    for (const char* word : {"photo", "background", "left", "containing", "the"})
        EXPECT_TRUE(Vocabulary::stopWords().contains(QString::fromLatin1(word))) << word;

    const auto& synonyms = Vocabulary::synonyms();
    EXPECT_GE(synonyms.size(), 123);
    const QStringList& known = Vocabulary::allLabels();
    const bool modelLabels = VisionModel::locate().has_value();
    for (auto it = synonyms.cbegin(); it != synonyms.cend(); ++it) {
        EXPECT_GE(it.value().size(), 3) << it.key().toStdString();
        EXPECT_LE(it.value().size(), 5) << it.key().toStdString();
        for (auto label = it.value().cbegin(); label != it.value().cend(); ++label) {
            EXPECT_GT(label.value(), 0.0f);
            EXPECT_LE(label.value(), 1.0f);
            if (modelLabels) {
                EXPECT_TRUE(known.contains(label.key())) << it.key().toStdString() << " -> " << label.key().toStdString();
            }
        }
    }
    // Rows that carry the meaning of the tables.
    EXPECT_FLOAT_EQ(synonyms.value(QStringLiteral("sea")).value(QStringLiteral("ocean")), 1.0f);
    EXPECT_FLOAT_EQ(synonyms.value(QStringLiteral("beach")).value(QStringLiteral("shore")), 0.9f);
    EXPECT_FLOAT_EQ(synonyms.value(QStringLiteral("coast")).value(QStringLiteral("cliff")), 0.6f);
    for (const char* word : {"snow", "dessert", "document", "airplane", "animal", "baby", "beer", "bicycle", "bird",
                             "boat", "book", "bridge", "building", "cake", "celebration", "chart", "child", "cityscape",
                             "computer", "concert", "crowd", "desert", "desk", "drink", "fire", "fireworks", "fish",
                             "flower", "food", "football"})
        EXPECT_TRUE(synonyms.contains(QString::fromLatin1(word))) << word;
}

TEST(Vocabulary, StemsPluralsAndLooksUpLabels)
{
    const std::pair<const char*, const char*> cases[] = {
        {"beaches", "beach"}, {"puppies", "puppy"}, {"dogs", "dog"},     {"boxes", "box"},   {"children", "child"},
        {"glasses", "glasses"}, {"bus", "bus"},     {"shoes", "shoe"},   {"wolves", "wolf"}, {"dress", "dress"},
        {"cat", "cat"},       {"cups", "cup"},      {"mountains", "mountain"},
    };
    for (const auto& [word, base] : cases)
        EXPECT_EQ(Vocabulary::stem(QString::fromLatin1(word)), QString::fromLatin1(base)) << word;

    EXPECT_EQ(Vocabulary::labels(QStringLiteral("beaches")), Vocabulary::synonyms().value(QStringLiteral("beach")));
    if (VisionModel::locate()) {
        // A word that is itself a classifier label is used directly.
        EXPECT_EQ(Vocabulary::labels(QStringLiteral("tabby")), (QHash<QString, float>{{QStringLiteral("tabby"), 1.0f}}));
    }
    EXPECT_TRUE(Vocabulary::labels(QStringLiteral("zzyzx")).isEmpty());
    EXPECT_EQ(Vocabulary::display(QStringLiteral("coffee_mug")), QStringLiteral("coffee mug"));
}

TEST(ConceptLabels, AggregateMemberProbabilities)
{
    // A fake model output over a small label list: indices matter for the spans.
    QStringList ids;
    for (int i = 0; i < 1001; ++i) ids.append(QStringLiteral("class%1").arg(i));
    ids[979] = QStringLiteral("seashore");
    ids[978] = QStringLiteral("sandbar");
    ids[969] = QStringLiteral("cup");
    ids[505] = QStringLiteral("coffee_mug");
    std::vector<float> p(1001, 0.0f);
    p[979] = 0.5f, p[978] = 0.2f;  // beach = 0.7
    p[969] = 0.02f, p[505] = 0.02f;  // cup = 0.04 (each class alone below 0.03)
    for (int i = 152; i <= 269; ++i) p[size_t(i)] = 0.001f;  // every dog breed a little: dog = 0.118
    p[270] = 0.5f;  // a wolf is no dog

    QHash<QString, float> labels{{QStringLiteral("cup"), 0.02f}};
    ConceptLabels::aggregate(p, ids, 0.03f, labels);
    EXPECT_NEAR(labels.value(QStringLiteral("beach")), 0.7f, 1e-6);
    EXPECT_NEAR(labels.value(QStringLiteral("ocean")), 0.7f, 1e-6);
    EXPECT_NEAR(labels.value(QStringLiteral("cup")), 0.04f, 1e-6);  // the concept replaces the class
    EXPECT_NEAR(labels.value(QStringLiteral("dog")), 0.118f, 1e-5);
    EXPECT_FALSE(labels.contains(QStringLiteral("cat")));

    p[978] = 0.9f;  // sums are capped at 1
    ConceptLabels::aggregate(p, ids, 0.03f, labels);
    EXPECT_FLOAT_EQ(labels.value(QStringLiteral("beach")), 1.0f);

    EXPECT_TRUE(ConceptLabels::fromTextCoverage(0.01f, 10).isEmpty());
    EXPECT_TRUE(ConceptLabels::fromTextCoverage(0.5f, 1).isEmpty());
    EXPECT_GT(ConceptLabels::fromTextCoverage(0.3f, 12).value(QStringLiteral("document")), 0.5f);
}

TEST(ConceptLabels, MembersAreTheModelsLabels)
{
    const auto folder = VisionModel::locate();
    if (!folder) GTEST_SKIP() << "the vision model is not installed";
    const QStringList ids = VisionModel::readLabels(QDir(*folder).filePath(QStringLiteral("labels.txt")));
    ASSERT_EQ(ids.size(), 1001);
    EXPECT_EQ(ids[979], QStringLiteral("seashore"));
    EXPECT_EQ(ids[505], QStringLiteral("coffee_mug"));
    for (const ConceptLabels::Concept& c : ConceptLabels::all()) {
        for (const QString& member : c.members) EXPECT_TRUE(ids.contains(member)) << c.name.toStdString() << " <- " << member.toStdString();
        for (const auto& [first, last] : c.spans) {
            EXPECT_GE(first, 1);
            EXPECT_LE(last, 1000);
            EXPECT_LE(first, last);
        }
    }
    // The spans cover the families they name.
    auto spanOf = [](const char* name) {
        for (const auto& c : ConceptLabels::all())
            if (c.name == QLatin1String(name)) return c.spans.front();
        return std::pair<int, int>{0, 0};
    };
    EXPECT_EQ(ids[spanOf("dog").first], QStringLiteral("chihuahua"));
    EXPECT_EQ(ids[spanOf("dog").second], QStringLiteral("mexican_hairless"));
    EXPECT_EQ(ids[spanOf("food").first], QStringLiteral("plate"));
}

TEST(LabelEngine, RanksMoreSatisfiedPartsThenStrongerLabels)
{
    const LabelEngine engine;
    const VisualQuery query = VisualQuery::parse(QStringLiteral("a beach under a blue sky"));
    const QList<ImageRecord> records{
        record(QStringLiteral("/strong-beach.jpg"), {{QStringLiteral("beach"), 0.95f}}),
        record(QStringLiteral("/weak-beach-blue.jpg"), {{QStringLiteral("beach"), 0.3f}}, {{QStringLiteral("blue"), 0.3f}}),
        record(QStringLiteral("/medium-beach.jpg"), {{QStringLiteral("beach"), 0.6f}}),
        record(QStringLiteral("/blue-only.jpg"), {{QStringLiteral("computer"), 0.9f}}, {{QStringLiteral("blue"), 0.9f}}),
    };
    const QList<VisualMatch> hits = VisualSearch::describe(query.raw, records, engine);
    EXPECT_EQ(paths(hits), (QStringList{QStringLiteral("/weak-beach-blue.jpg"), QStringLiteral("/strong-beach.jpg"),
                                        QStringLiteral("/medium-beach.jpg")}));
    EXPECT_EQ(hits[0].matched, 2);
    EXPECT_EQ(hits[1].matched, 1);
    EXPECT_TRUE(hits[0].reasons.contains(QStringLiteral("blue 30%")));
    EXPECT_TRUE(hits[1].reasons.contains(QStringLiteral("beach")));

    // Weak evidence satisfies nothing; broad labels count for half.
    EXPECT_FALSE(engine.score(record(QStringLiteral("/faint.jpg"), {{QStringLiteral("beach"), 0.1f}}), query));
    const VisualQuery people = VisualQuery::parse(QStringLiteral("people"));
    const auto broad = engine.score(record(QStringLiteral("/p.jpg"), {{QStringLiteral("people"), 0.8f}}), people);
    const auto specific = engine.score(record(QStringLiteral("/g.jpg"), {{QStringLiteral("groom"), 0.8f}}), people);
    ASSERT_TRUE(broad && specific);
    EXPECT_FLOAT_EQ(broad->score, 1.0f + 0.5f * (0.8f * 0.5f));
    EXPECT_FLOAT_EQ(specific->score, 1.0f + 0.5f * (0.8f * 0.6f));
}

TEST(LabelEngine, UsesTelltalesAndWordsInTheText)
{
    const LabelEngine engine;
    const VisualQuery receipt = VisualQuery::parse(QStringLiteral("receipt with a coffee cup"));
    const ImageRecord shopReceipt = record(QStringLiteral("/receipt.png"), {},
                                           {}, {QStringLiteral("Blue Bottle Café"), QStringLiteral("1 Flat White 4.50"),
                                                QStringLiteral("TOTAL 4.50"), QStringLiteral("VISA **** 1234")});
    const auto hit = engine.score(shopReceipt, receipt);
    ASSERT_TRUE(hit.has_value());
    EXPECT_EQ(hit->matched, 3);  // receipt by "total"/"visa", coffee by "café", cup by "flat white"
    EXPECT_TRUE(hit->reasons.first().contains(QStringLiteral("total"))) << hit->reasons.join(u'|').toStdString();

    const ImageRecord menu = record(QStringLiteral("/menu.png"), {}, {}, {QStringLiteral("Lunch Menu")});
    EXPECT_TRUE(engine.score(menu, VisualQuery::parse(QStringLiteral("menus"))));
    const ImageRecord cupboard = record(QStringLiteral("/kitchen.png"), {}, {}, {QStringLiteral("Cupboard doors")});
    EXPECT_FALSE(engine.score(cupboard, VisualQuery::parse(QStringLiteral("cup"))));
    EXPECT_TRUE(containsWord(QStringLiteral("two cups of tea"), QStringLiteral("cup")));
    EXPECT_TRUE(containsWord(QStringLiteral("sales up 12%"), QStringLiteral("%")));

    // Colours alone never satisfy a description that names things.
    const ImageRecord whiteWall = record(QStringLiteral("/wall.jpg"), {}, {{QStringLiteral("white"), 0.9f}});
    EXPECT_FALSE(engine.score(whiteWall, VisualQuery::parse(QStringLiteral("a white island"))));
    EXPECT_TRUE(engine.score(whiteWall, VisualQuery::parse(QStringLiteral("white"))));
}

TEST(VisualSearch, TextSearchNeedsEveryWordAndSkipsFailedRecords)
{
    QList<ImageRecord> records{
        record(QStringLiteral("/a.png"), {}, {}, {QStringLiteral("Invoice 2024"), QStringLiteral("invoice total")}),
        record(QStringLiteral("/b.png"), {}, {}, {QStringLiteral("Invoice total due")}),
        record(QStringLiteral("/c.png"), {}, {}, {QStringLiteral("Total only")}),
        record(QStringLiteral("/failed.png"), {}, {}, {QStringLiteral("invoice total")}, true),
        record(QStringLiteral("/cafe.png"), {}, {}, {QStringLiteral("CAFÉ Ｍenu")}),
    };
    EXPECT_TRUE(VisualSearch::text(QString(), records).isEmpty());
    EXPECT_TRUE(VisualSearch::text(QStringLiteral("   "), records).isEmpty());

    const auto hits = VisualSearch::text(QStringLiteral("INVOICE total"), records);
    EXPECT_EQ(paths(hits), (QStringList{QStringLiteral("/a.png"), QStringLiteral("/b.png")}));
    EXPECT_FLOAT_EQ(hits[0].score, 1.0f + 0.05f * 3);  // invoice twice, total once
    EXPECT_FLOAT_EQ(hits[1].score, 1.0f + 0.05f * 2);
    EXPECT_EQ(hits[0].matched, 2);
    EXPECT_FALSE(paths(VisualSearch::text(QStringLiteral("invoice"), records)).contains(QStringLiteral("/failed.png")));
    EXPECT_EQ(paths(VisualSearch::text(QStringLiteral("cafe menu"), records)), QStringList{QStringLiteral("/cafe.png")});
}

TEST(VisualSearch, EverythingMergesTextAndDescriptionHits)
{
    QList<ImageRecord> records{
        record(QStringLiteral("/beach-sign.jpg"), {{QStringLiteral("beach"), 0.9f}}, {}, {QStringLiteral("Beach closed")}),
        record(QStringLiteral("/beach.jpg"), {{QStringLiteral("beach"), 0.8f}}),
        record(QStringLiteral("/sign.png"), {}, {}, {QStringLiteral("Beach parking")}),
        record(QStringLiteral("/cat.jpg"), {{QStringLiteral("cat"), 0.9f}}),
    };
    const auto all = VisualSearch::search(QStringLiteral("beach"), VisualSearch::Mode::everything, records);
    EXPECT_EQ(all.size(), 3);
    EXPECT_EQ(all.front().path, QStringLiteral("/beach-sign.jpg"));
    EXPECT_GE(all.front().reasons.size(), 2);
    EXPECT_EQ(VisualSearch::search(QStringLiteral("beach"), VisualSearch::Mode::text, records).size(), 2);
    EXPECT_EQ(VisualSearch::search(QStringLiteral("beach"), VisualSearch::Mode::describe, records).size(), 3);
    for (auto mode : {VisualSearch::Mode::everything, VisualSearch::Mode::text, VisualSearch::Mode::describe}) {
        EXPECT_TRUE(VisualSearch::search(QString(), mode, records).isEmpty());
        EXPECT_EQ(VisualSearch::modeFromRawValue(VisualSearch::rawValue(mode)), mode);
    }
    EXPECT_EQ(VisualSearch::title(VisualSearch::Mode::describe), QStringLiteral("What’s in them"));

    const auto boxes = VisualSearch::highlights(QStringLiteral("PARKING"), records[2]);
    ASSERT_EQ(boxes.size(), 1);
    EXPECT_EQ(boxes[0], QRectF(0.1f, 0.9f, 0.5f, 0.04f));
    EXPECT_TRUE(VisualSearch::highlights(QStringLiteral("parking"), records[1]).isEmpty());
}

TEST(VisualSearch, VisualScoreTakesTheBetterOfLabelsAndText)
{
    const auto describer = VisualSearch::describer();
    const auto beach = describer(QStringLiteral("photos of a beach"));
    EXPECT_TRUE(beach(record(QStringLiteral("/b.jpg"), {{QStringLiteral("seashore"), 0.8f}})).has_value());
    EXPECT_FALSE(beach(record(QStringLiteral("/c.jpg"), {{QStringLiteral("tabby"), 0.8f}})).has_value());
    const ImageRecord strong = record(QStringLiteral("/s.jpg"), {{QStringLiteral("beach"), 0.9f}});
    const ImageRecord weak = record(QStringLiteral("/w.jpg"), {{QStringLiteral("beach"), 0.3f}});
    EXPECT_GT(*beach(strong), *beach(weak));

    // Words in the picture count too: "Blue Lagoon" on a poster; the label engine's reading
    // of the word (one part, word evidence 0.6) beats the plain text score of 1.05.
    const auto lagoon = describer(QStringLiteral("lagoon"));
    const ImageRecord poster = record(QStringLiteral("/p.png"), {}, {}, {QStringLiteral("Blue Lagoon tours")});
    ASSERT_TRUE(lagoon(poster).has_value());
    EXPECT_FLOAT_EQ(*lagoon(poster), 1.0f + 0.5f * 0.6f);
    const auto lagoons = describer(QStringLiteral("lagoon tours lagoon"));
    EXPECT_GT(*lagoons(poster), 2.0f);
    EXPECT_FALSE(describer(QStringLiteral("the of a"))(poster).has_value());
}

TEST(VisualSearch, ScoresDescriptionsForTheSearchBar)
{
    // The search bar's context, built from image records with this scorer: "photos of a
    // beach" keeps the beach picture (ranked by fit) and drops the others.
    QHash<QString, ImageRecord> images;
    for (const ImageRecord& r : {record(QStringLiteral("/p/beach.jpg"), {{QStringLiteral("beach"), 0.9f}}),
                                 record(QStringLiteral("/p/shore.jpg"), {{QStringLiteral("seashore"), 0.4f}}),
                                 record(QStringLiteral("/p/cat.jpg"), {{QStringLiteral("tabby"), 0.9f}})})
        images.insert(r.path, r);
    SearchContext context(images, Shelf(), VisualSearch::describer());
    const QString description = QStringLiteral("photos of a beach");
    const auto beach = context.visualScore(description, QStringLiteral("/p/beach.jpg"));
    const auto shore = context.visualScore(description, QStringLiteral("/p/shore.jpg"));
    ASSERT_TRUE(beach && shore);
    EXPECT_GT(*beach, *shore);
    EXPECT_FALSE(context.visualScore(description, QStringLiteral("/p/cat.jpg")).has_value());
    EXPECT_FALSE(context.visualScore(description, QStringLiteral("/p/unknown.jpg")).has_value());

    FileItem item;
    item.path = QStringLiteral("/p/beach.jpg");
    item.kind = FileKind::image;
    EXPECT_TRUE(SearchParser::matches(item, {SearchFilter::looks(description)}, context));
    item.path = QStringLiteral("/p/cat.jpg");
    EXPECT_FALSE(SearchParser::matches(item, {SearchFilter::looks(description)}, context));
}

TEST(VisualSearch, SimilarAndDistance)
{
    auto withPrint = [](const QString& path, std::vector<float> print) {
        ImageRecord r = record(path, {});
        r.print = blob(print);
        return r;
    };
    QHash<QString, ImageRecord> records;
    for (const ImageRecord& r : {withPrint(QStringLiteral("/o.jpg"), {0, 0, 0}), withPrint(QStringLiteral("/near.jpg"), {0.3f, 0, 0}),
                                 withPrint(QStringLiteral("/nearer.jpg"), {0.1f, 0, 0}),
                                 withPrint(QStringLiteral("/far.jpg"), {1.0f, 0, 0}),
                                 withPrint(QStringLiteral("/longer.jpg"), {0, 0, 0, 0}), record(QStringLiteral("/none.jpg"), {})})
        records.insert(r.path, r);

    const auto near = VisualSearch::similar(QStringLiteral("/o.jpg"), records, 80, 0.95f);
    ASSERT_EQ(near.size(), 2);
    EXPECT_EQ(near[0].first, QStringLiteral("/nearer.jpg"));
    EXPECT_FLOAT_EQ(near[0].second, 0.1f);
    EXPECT_EQ(near[1].first, QStringLiteral("/near.jpg"));
    EXPECT_EQ(VisualSearch::similar(QStringLiteral("/o.jpg"), records, 1, 0.95f).size(), 1);
    EXPECT_TRUE(VisualSearch::similar(QStringLiteral("/none.jpg"), records).isEmpty());
    EXPECT_TRUE(VisualSearch::similar(QStringLiteral("/missing.jpg"), records).isEmpty());

    // Prints of different lengths (a model print and a fallback print) are never alike.
    const std::vector<float> a(19, 0.25f), b(19, 0.0f), c(20, 0.25f);
    EXPECT_TRUE(std::isinf(VisualSearch::distance(a, c)));
    EXPECT_TRUE(std::isinf(VisualSearch::distance({}, {})));
    EXPECT_FLOAT_EQ(VisualSearch::distance(a, b), std::sqrt(19 * 0.0625f));  // 8 + 8 + a remainder of 3
}
