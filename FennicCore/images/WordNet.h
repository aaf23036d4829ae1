#pragma once

#include <QHash>
#include <QString>
#include <QStringList>
#include <optional>

namespace fennic::WordNet {

// English nouns onto the vision model's classes, through WordNet's noun hierarchy. The model's
// classes are WordNet noun synsets; a table generated at build time (scripts/wordnet-table,
// compiled in, so nothing is read at run time) holds the part of the hierarchy above them and
// every noun that reaches it within a few steps.
//
// A noun's classes:
// - its own senses and everything under them at full weight ("squirrel" -> fox_squirrel,
//   "horse" -> sorrel, "monkey" -> baboon); when some sense has classes of its own, senses
//   without are ignored ("horse" is not the gymnastic horse), and a sense the tagged corpus
//   never saw counts kRareSense unless no seen sense has classes ("crane": bird and machine);
// - the nearest relatives of a corpus-seen sense: the classes under its hypernyms, at a
//   weight that falls with each step up ("giraffe" -> the other ruminants), halved for a
//   sense with classes of its own;
// - relatives only of the same kind of thing (WordNet's lexicographer file: animal, artifact,
//   food...), never through people, and never through a hypernym over kMaxRelativeClasses
//   classes, which says too little.
// The concept labels derived from the hierarchy (ConceptLabels) follow their classes: a noun
// that covers all of a concept's classes gets the concept at the weakest of their weights.
//
// All functions are thread-safe; the table is unpacked once on first use.

inline constexpr float kRelativeWeight = 0.7f;      // classes one step up, for a sense without its own
inline constexpr float kStepFalloff = 0.7f;         // each further step up
inline constexpr float kMinRelativeWeight = 0.25f;  // relatives weaker than this are left out
inline constexpr int kMaxRelativeClasses = 40;      // hypernyms above this many classes say too little
inline constexpr float kRareSense = 0.6f;           // senses the tagged corpus never saw

// Whether the table was built with the model's classes (it is empty without the model).
bool available();

// The base form of a noun through WordNet's morphology: the word itself when it is a lemma,
// else its entry in the exception list ("mice" -> "mouse"), else the first detachment rule
// that yields a lemma ("horses" -> "horse", "boxes" -> "box", "ponies" -> "pony"). None when
// nothing yields a noun the table holds.
std::optional<QString> baseForm(const QString& word);

// The classifier labels a noun stands for (label identifiers and derived concept labels) with
// weights 0 ... 1, looked up by its base form. Empty when the noun cannot be placed: no noun
// sense, or none within reach of the model's classes. `word` is folded, words joined by "_".
QHash<QString, float> labels(const QString& word);

// The model's classes (label identifiers) under a noun's own sense: the first sense that has
// classes under it, corpus-seen senses first. Empty when it has none.
QStringList classesUnder(const QString& word);

}  // namespace fennic::WordNet
