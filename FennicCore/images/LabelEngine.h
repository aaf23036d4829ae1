#pragma once

#include "images/ImageRecord.h"
#include "images/VisualQuery.h"

#include <QString>
#include <QStringList>
#include <optional>

namespace fennic {

// One hit of a visual search.
struct VisualMatch {
    QString path;
    float score = 0.0f;   // higher is better
    int matched = 0;      // parts of the query the picture satisfied
    QStringList reasons;  // short, human-readable: "beach (seashore)", "blue 34%", "“total” in text"

    friend bool operator==(const VisualMatch&, const VisualMatch&) = default;
};

// Scores one image record against one parsed description. score() must be safe to call from
// several threads at once (a search over many records spreads them over the cores).
class DescriptionEngine {
public:
    virtual ~DescriptionEngine() = default;
    virtual QString name() const = 0;
    // None when the record does not match the query.
    virtual std::optional<VisualMatch> score(const ImageRecord& record, const VisualQuery& query) const = 0;
};

// Matches labels, colours and text of records.
//
// Each concept gathers evidence from three sources, combined as independent chances
// (1 - (1 - a)(1 - b)(1 - c)): the best of its labels in the record (confidence x the
// concept's weight, halved for broad labels), a telltale word in the picture's text, and the
// concept's own word in that text. A colour's evidence is its share of the picture, scaled.
// A part (concept or colour) is satisfied when its evidence reaches a minimum; the score is
// one point per satisfied part plus up to half a point for the mean evidence of all parts,
// so a picture satisfying more parts always ranks above one satisfying fewer, and among
// equals the stronger labels win. When the query names things, at least one of them must be
// satisfied: colours alone do not make a hit for "a white island in a blue ocean".
class LabelEngine final : public DescriptionEngine {
public:
    static constexpr float kWordEvidence = 0.6f;       // the concept's word is in the picture's text
    static constexpr float kTelltaleEvidence = 0.65f;  // a telltale word is in the picture's text
    static constexpr float kMinEvidence = 0.2f;        // a concept counts as seen from here on
    static constexpr float kMinColorShare = 0.04f;     // a colour counts as present from this share on
    static constexpr float kTelltaleBonus = 0.001f;    // per further telltale word found, to break ties
    static constexpr float kBroadDiscount = 0.5f;      // weight of a broad label's evidence
    static constexpr float kPartWeight = 1.0f;         // score of one satisfied part
    static constexpr float kColorScale = 4.0f;         // a quarter of the picture is full colour evidence
    static constexpr float kEvidenceWeight = 0.5f;     // weight of the mean evidence, below one part

    QString name() const override { return QStringLiteral("labels"); }
    std::optional<VisualMatch> score(const ImageRecord& record, const VisualQuery& query) const override;
};

// Whether `word` occurs in folded `text` as a word: starting at a word boundary and ending at
// one, or followed by a plural "s"/"es" ("cup" is in "two cups" but not in "cupboard").
bool containsWord(const QString& text, const QString& word);
// Whether a character belongs to a word (letters, digits and combining marks).
bool isWordCharacter(QChar c);

}  // namespace fennic
