#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <vector>

namespace fennic::ConceptLabels {

// Everyday labels the classifier's own classes lack ("beach", "dog", "food", "document"),
// each gathered from member classes of the model: its confidence is the sum of its members'
// probabilities, capped at 1. Where WordNet places the word above the model's classes, the
// members are those classes (every dog breed under "dog"), plus the few related classes the
// hierarchy files elsewhere (a car's grille); scenes the hierarchy does not place ("beach",
// "snow", "kitchen") are written by hand. Members are named by the model's label identifiers
// or by ranges of its output indices.
struct Concept {
    QString name;
    QStringList members;                     // label identifiers: `hierarchy`, then those added by hand
    std::vector<std::pair<int, int>> spans;  // inclusive ranges of output indices
    QStringList hierarchy;                   // the classes WordNet places under the concept's noun
};

// The whole table, in a fixed order. Built once; any thread.
const QList<Concept>& all();

// The concept names, in table order, then the labels earned from text.
QStringList names();

// Labels a picture earns from the text found in it rather than from the model's classes:
// "document" and "text". The model's flat-graphics classes (envelopes, book jackets, web
// sites) fire on too many pictures to stand for documents.
const QStringList& textLabels();

// Adds the concept labels to `labels` from the model's output: `probabilities[i]` belongs to
// `identifiers[i]`. Concepts whose confidence stays below `minimum` are left out; a concept
// named like one of the model's classes replaces that class's value.
void aggregate(const std::vector<float>& probabilities, const QStringList& identifiers, float minimum,
               QHash<QString, float>& labels);

// Labels earned from the text found in a picture: "document" and "text" when the lines'
// boxes cover enough of it, with a confidence that grows with the covered share.
QHash<QString, float> fromTextCoverage(float coveredShare, int lineCount);

}  // namespace fennic::ConceptLabels
