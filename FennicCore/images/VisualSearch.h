#pragma once

#include "images/ImageIndex.h"
#include "images/ImageRecord.h"
#include "images/LabelEngine.h"
#include "images/VisualQuery.h"

#include <QHash>
#include <QList>
#include <QRectF>
#include <QString>
#include <functional>
#include <optional>
#include <span>
#include <utility>

namespace fennic::VisualSearch {

// Searches over image records in memory: words in pictures, descriptions of what they show,
// and look-alikes. Nothing here opens a file; every function is pure and thread-safe. Over
// large sets text() and describe() use one helper thread besides the calling one.

enum class Mode {
    everything,
    text,
    describe
};
QString rawValue(Mode mode);  // "everything", "text", "describe"
QString title(Mode mode);     // "Everything", "Words in images", "What’s in them"
std::optional<Mode> modeFromRawValue(const QString& raw);

// Beyond this distance two pictures are unrelated; "More like this" asks within it.
inline constexpr float kUnrelatedDistance = 0.95f;
// How many look-alikes "More like this" shows at most.
inline constexpr int kSimilarLimit = 80;

// Dispatches to text(), describe() (with the label engine) or everything().
QList<VisualMatch> search(const QString& query, Mode mode, const QList<ImageRecord>& records);

// The query folded and split on white space.
QStringList textWords(const QString& query);

// Words in pictures: records (never failed ones) whose folded text holds every query word;
// score 1 + 0.05 x the number of places the words occur. Best first, stable.
QList<VisualMatch> text(const QString& query, const QList<ImageRecord>& records);

// What pictures show: every record scored by `engine`; best first, stable.
QList<VisualMatch> describe(const QString& query, const QList<ImageRecord>& records, const DescriptionEngine& engine);

// Both searches over the same records; a picture found by both keeps its better score and
// both sets of reasons. Best first, stable.
QList<VisualMatch> everything(const QString& query, const QList<ImageRecord>& records, const DescriptionEngine& engine);

// The boxes (in TextLine's lower-left-origin fractions: x, y, w, h) of the record's lines
// that contain any of the query's words, for drawing highlights over the picture.
QList<QRectF> highlights(const QString& query, const ImageRecord& record);

// Look-alikes of the picture at `path`: records with prints within `maxDistance`, nearest
// first, at most `limit`; the picture itself is left out. Empty when it has no record or no
// print.
QList<std::pair<QString, float>> similar(const QString& path, const QHash<QString, ImageRecord>& records,
                                         int limit = kSimilarLimit, float maxDistance = kUnrelatedDistance);

// Euclidean distance, eight floats at a time; infinity for prints of different lengths or an
// empty one.
float distance(std::span<const float> a, std::span<const float> b);

// The score of one record for one parsed description, as the search bar's `looks` filter
// needs it: the better of the label engine's score and the text score of the description's
// content words against the record's text; none when neither fits.
std::optional<float> visualScore(const VisualQuery& query, const ImageRecord& record);

// A description scorer: parses the description once and returns the function that scores
// records against it (visualScore above). SearchSources turns it into the search bar's
// `looks` lookup.
std::function<std::function<std::optional<float>(const ImageRecord&)>(const QString& description)> describer();

// Folded recognised text by path, taken from the records (failed ones and ones without text
// left out), for the search bar's recognised-text lookup.
QHash<QString, QString> recognisedText(const ImageIndex& index);

}  // namespace fennic::VisualSearch
