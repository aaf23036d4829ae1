#include "images/Vocabulary.h"

#include "images/ConceptLabels.h"
#include "images/VisionModel.h"
#include "images/WordNet.h"

#include <QDir>

namespace fennic::Vocabulary {
namespace {

QSet<QString> setOf(std::initializer_list<const char*> words)
{
    QSet<QString> set;
    for (const char* w : words) set.insert(QString::fromUtf8(w));
    return set;
}

QStringList listOf(std::initializer_list<const char*> words)
{
    QStringList list;
    for (const char* w : words) list.append(QString::fromUtf8(w));
    return list;
}

// Plurals that no suffix rule reduces.
const QHash<QString, QString>& irregularPlurals()
{
    static const QHash<QString, QString> table = [] {
        QHash<QString, QString> t;
        const std::pair<const char*, const char*> rows[] = {
            {"children", "child"}, {"men", "man"},     {"women", "woman"},  {"mice", "mouse"},    {"geese", "goose"},
            {"feet", "foot"},      {"teeth", "tooth"}, {"knives", "knife"}, {"leaves", "leaf"},   {"wolves", "wolf"},
            {"shelves", "shelf"},  {"loaves", "loaf"}, {"kids", "kid"},     {"people", "people"}, {"sheep", "sheep"},
            {"fish", "fish"},      {"dice", "die"},    {"calves", "calf"},  {"halves", "half"},   {"lives", "life"},
        };
        for (const auto& [plural, single] : rows) t.insert(QString::fromLatin1(plural), QString::fromLatin1(single));
        return t;
    }();
    return table;
}

bool known(const QString& word)
{
    return synonyms().contains(word) || telltaleWords().contains(word) || colorWords().contains(word)
        || allLabels().contains(word);
}

}  // namespace

const QSet<QString>& stopWords()
{
    static const QSet<QString> words = setOf({
        "a",          "an",         "the",    "of",      "in",         "on",        "at",     "with",    "and",
        "or",         "by",         "near",   "some",    "my",         "our",       "your",   "his",     "her",
        "their",      "this",       "that",   "these",   "those",      "there",     "is",     "are",     "was",
        "were",       "be",         "it",     "its",     "to",         "from",      "for",    "photo",   "photos",
        "picture",    "pictures",   "image",  "images",  "pic",        "pics",      "shot",   "showing", "shows",
        "show",       "has",        "have",   "having",  "containing", "contains",  "like",   "looks",   "look",
        "kind",       "sort",       "lot",    "lots",    "few",        "one",       "two",    "three",   "big",
        "small",      "little",     "large",  "tiny",    "nice",       "beautiful", "pretty", "old",     "new",
        "any",        "just",       "where",  "what",    "which",      "who",       "me",     "i",       "we",
        "you",        "find",       "see",    "seen",    "next",       "front",     "behind", "under",   "over",
        "into",       "onto",       "inside", "outside", "middle",     "top",       "bottom", "left",    "right",
        "background", "foreground",
    });
    return words;
}

const QHash<QString, QString>& colorWords()
{
    static const QHash<QString, QString> words = [] {
        QHash<QString, QString> t;
        const std::pair<const char*, const char*> rows[] = {
            {"red", "red"},       {"crimson", "red"},     {"scarlet", "red"}, {"orange", "orange"},
            {"yellow", "yellow"}, {"golden", "yellow"},   {"gold", "yellow"}, {"green", "green"},
            {"teal", "teal"},     {"turquoise", "teal"},  {"cyan", "teal"},   {"aqua", "teal"},
            {"blue", "blue"},     {"navy", "blue"},       {"azure", "blue"},  {"purple", "purple"},
            {"violet", "purple"}, {"lavender", "purple"}, {"pink", "pink"},   {"magenta", "pink"},
            {"brown", "brown"},   {"beige", "brown"},     {"tan", "brown"},   {"white", "white"},
            {"grey", "gray"},     {"gray", "gray"},       {"silver", "gray"}, {"black", "black"},
            {"dark", "black"},
        };
        for (const auto& [word, colour] : rows) t.insert(QString::fromLatin1(word), QString::fromLatin1(colour));
        return t;
    }();
    return words;
}

const QSet<QString>& broadLabels()
{
    static const QSet<QString> labels =
        setOf({"outdoor", "structure", "material", "conveyance", "machine", "daytime", "land", "people", "adult",
               "consumer_electronics", "liquid", "recreation"});
    return labels;
}

const QHash<QString, QStringList>& telltaleWords()
{
    static const QHash<QString, QStringList> table{
        {QStringLiteral("coffee"),
                        listOf({"coffee", "cafe", "café", "latte", "cappuccino", "espresso", "flat white", "americano",
                                "mocha", "macchiato"})},
         {QStringLiteral("cup"), listOf({"cup", "latte", "cappuccino", "espresso", "flat white", "mug"})},
          {QStringLiteral("tea"), listOf({"tea", "chai", "matcha"})},
           {QStringLiteral("receipt"),
                           listOf({"receipt", "total", "subtotal", "tax", "vat", "change", "cash", "visa", "mastercard",
                                   "amount", "paid"})},
            {QStringLiteral("bill"), listOf({"total", "subtotal", "tax", "amount due", "invoice", "bill"})},
             {QStringLiteral("invoice"), listOf({"invoice", "amount due", "bill to", "total"})},
              {QStringLiteral("menu"), listOf({"menu", "starters", "mains", "desserts"})},
               {QStringLiteral("ticket"), listOf({"ticket", "boarding", "gate", "seat", "admit"})},
                {QStringLiteral("passport"), listOf({"passport"})},
                 {QStringLiteral("chart"), listOf({"revenue", "growth", "%"})},
                  {QStringLiteral("map"), listOf({"street", "road", "avenue"})},
                 };
    return table;
}

QString stem(const QString& word)
{
    if (word.size() < 4 || known(word)) return word;
    if (const auto it = irregularPlurals().constFind(word); it != irregularPlurals().cend()) return it.value();
    // A base the tables know wins ("shoes" -> "shoe", "wolves" -> "wolf"); otherwise the
    // common English rules decide.
    QStringList candidates;
    if (word.endsWith(u"ies")) candidates.append(word.chopped(3) + u'y');
    if (word.endsWith(u"ves"))
        candidates.append(word.chopped(3) + u'f'), candidates.append(word.chopped(3) + QStringLiteral("fe"));
    if (word.endsWith(u"es")) candidates.append(word.chopped(2));
    if (word.endsWith(u's')) candidates.append(word.chopped(1));
    for (const QString& candidate : candidates)
        if (known(candidate)) return candidate;
    // Then WordNet's morphology, which knows every noun ("horses", "geese", "ponies").
    if (const auto base = WordNet::baseForm(word)) return *base;
    if (word.endsWith(u"ies")) return word.chopped(3) + u'y';
    for (const char* suffix : {"ches", "shes", "sses", "xes", "zes"})
        if (word.endsWith(QLatin1String(suffix))) return word.chopped(2);
    if (word.endsWith(u's') && !word.endsWith(u"ss") && !word.endsWith(u"us") && !word.endsWith(u"is"))
        return word.chopped(1);
    return word;
}

QHash<QString, float> labels(const QString& word)
{
    const QString base = stem(word);
    if (const auto it = synonyms().constFind(base); it != synonyms().cend()) return it.value();
    QHash<QString, float> found = WordNet::labels(base);
    if (found.isEmpty() && base != word) found = WordNet::labels(word);
    if (allLabels().contains(base))
        found.insert(base, 1.0f);
    else if (base != word && allLabels().contains(word))
        found.insert(word, 1.0f);
    return found;
}

const QStringList& allLabels()
{
    static const QStringList labels = [] {
        QStringList all;
        if (const auto folder = VisionModel::locate())
            all = VisionModel::readLabels(QDir(*folder).filePath(QStringLiteral("labels.txt")));
        all.removeAll(QStringLiteral("background"));
        for (const QString& name : ConceptLabels::names()) all.append(name);
        all.removeDuplicates();
        return all;
    }();
    return labels;
}

QString display(const QString& word)
{
    QString shown = word;
    shown.replace(u'_', u' ');
    return shown;
}

}  // namespace fennic::Vocabulary
