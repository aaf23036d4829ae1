#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <memory>
#include <vector>

#include "images/TextNeedles.h"

namespace fennic {

// A picture description taken apart: what things it asks for (concepts), which colours, and
// its remaining content words. A plain value; parse() is pure and thread-safe.
struct VisualQuery {
    struct Concept {
        QString word;                  // stemmed and folded: "beaches" -> "beach"
        QHash<QString, float> labels;  // classifier labels that show it, with weights
        QStringList telltales;         // folded words whose presence in a picture's text gives it away
        friend bool operator==(const Concept&, const Concept&) = default;
    };

    QString raw;              // the description as typed
    QList<Concept> concepts;  // one per content word, in the order typed
    QStringList colors;       // colour names asked for, each once, in the order typed
    QStringList words;        // the content words (not colours), folded, in the order typed

    // The query arranged for scoring many records: which concepts each label serves (so a
    // record's few labels are looked up in one small table) and, when there are more than a
    // few words to look for in pictures' text, those words prepared for reading each text once.
    // Made by parse() and prepare(); the label engine works from the fields above when it is
    // missing or out of date.
    struct Prepared {
        QHash<QString, QList<std::pair<int, float>>> labelConcepts;  // label -> (concept, weight)
        bool scanText = false;                                       // use the needles below
        TextNeedles needles;
        std::vector<int> wordNeedle;                   // per concept
        std::vector<std::vector<int>> telltaleNeedle;  // per concept, per telltale
    };
    std::shared_ptr<const Prepared> prepared;

    bool isEmpty() const { return concepts.isEmpty() && colors.isEmpty() && words.isEmpty(); }

    // The concepts' words that nothing places on a classifier label or telltale ("zzyzx",
    // "democracy"), as reasons show them: a picture can match them only through its text.
    QStringList unrecognised() const;

    // Splits into words (runs of letters and digits), folds them and drops stop words; a
    // colour word adds its colour, every other word becomes a concept and is kept in `words`.
    static VisualQuery parse(const QString& text);

    // (Re)builds `prepared` after the concepts changed.
    void prepare();

    // Equal when the parsed parts are equal (the prepared form follows from them).
    friend bool operator==(const VisualQuery& a, const VisualQuery& b)
    {
        return a.raw == b.raw && a.concepts == b.concepts && a.colors == b.colors && a.words == b.words;
    }
};

}  // namespace fennic
