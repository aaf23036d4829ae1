#pragma once

#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>

namespace fennic::Vocabulary {

// The fixed word tables of picture descriptions. All words are folded (lower case, no
// accents); the tables are built once on first use and are safe to read from any thread.

// Words that never carry meaning in a description ("a", "photo", "with", "left", ...).
const QSet<QString>& stopWords();

// Colour words and the colour name each stands for ("navy" -> "blue", "grey" -> "gray").
const QHash<QString, QString>& colorWords();

// Classifier labels too general to describe a picture by themselves; their evidence counts
// for less.
const QSet<QString>& broadLabels();

// Concepts whose presence words in a picture's text give away ("receipt" <- "total", "tax").
const QHash<QString, QStringList>& telltaleWords();

// Everyday words -> classifier labels that show them, with weights 0 ... 1 (a word's own
// label, when the classifier has one, weighs 1.0).
const QHash<QString, QHash<QString, float>>& synonyms();

// The base form of a word: plurals reduced ("beaches" -> "beach", "puppies" -> "puppy",
// "children" -> "child", "geese" -> "goose"); words the tables know are kept as they are, then
// WordNet's morphology decides, then common English rules.
QString stem(const QString& word);

// The labels for a word (after stemming): its synonyms row when it has one (those rows say
// what the hierarchy cannot: "sea" is the ocean and the shore); else the classes WordNet
// places it above or beside (WordNet.h), with the label of the same name at full weight when
// the classifier has one; empty when nothing places it.
QHash<QString, float> labels(const QString& word);

// Every label the classifier can give: the model's classes (from its label list, when the
// model is installed) and the concept labels. Read once per process.
const QStringList& allLabels();

// A word or label as reasons show it ("coffee_mug" -> "coffee mug").
QString display(const QString& word);

}  // namespace fennic::Vocabulary
