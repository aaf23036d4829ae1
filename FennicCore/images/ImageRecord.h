#pragma once

#include "model/Date.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <optional>
#include <utility>
#include <vector>

namespace fennic {

// One recognised line of text. Boxes are fractions of the image with the origin at the
// LOWER left: (x, y) is the left/bottom corner, y = 0 is the bottom edge of the picture.
struct TextLine {
    QString text;  // trimmed, never empty
    float x = 0.0f;
    float y = 0.0f;
    float w = 0.0f;
    float h = 0.0f;
    float confidence = 0.0f;  // 0 ... 1

    friend bool operator==(const TextLine&, const TextLine&) = default;
};

size_t qHash(const TextLine& line, size_t seed = 0) noexcept;

// Reading order of lines: higher on the page first (a y more than 0.01 higher); lines
// whose y values are within 0.01 of each other form a row, read left to right.
bool readsBefore(const TextLine& a, const TextLine& b);
// Sorts into reading order, stably.
void sortIntoReadingOrder(QList<TextLine>& lines);

// What was seen in one image: a plain value, copied freely. Keys of the image index file
// equal these field names. `folded` caches the folded text of the lines and altText so that
// text search costs one substring test per record; call refold() after editing either.
struct ImageRecord {
    QString path;                     // absolute path, also the record's key in the index
    qint64 size = 0;                  // bytes when the file was read
    Date modified;                    // modification date when the file was read
    QHash<QString, float> labels;     // classifier label -> confidence (>= 0.03 only)
    QHash<QString, float> colors;     // colour name -> share of the opaque pixels (>= 0.02 only)
    QList<TextLine> lines;            // in reading order
    QString altText;                  // "" for analysed images
    std::optional<QByteArray> print;  // raw native-endian 32-bit floats, no header
    qint64 pixelWidth = 0;
    qint64 pixelHeight = 0;
    bool failed = false;  // could not be opened or decoded
    QString langs;        // recognition languages in force, joined by ","
    QString folded;       // folded search text, see refold()

    ImageRecord() = default;
    // A record as analysis or supplied data builds it: `langs` starts empty and `folded` is
    // computed from the lines and alt text.
    ImageRecord(QString path, qint64 size, Date modified, QHash<QString, float> labels, QHash<QString, float> colors,
                QList<TextLine> lines, QString altText, std::optional<QByteArray> print, qint64 pixelWidth,
                qint64 pixelHeight, bool failed);

    // The lines' text joined with "\n".
    QString text() const;
    // The stored folded text (what text search matches against).
    const QString& searchText() const { return folded; }
    // The print as floats (one per 4 bytes, a trailing remainder ignored); empty without one.
    std::vector<float> featurePrint() const;
    // At most n labels, strongest first (ties by name, so the order is stable).
    QList<std::pair<QString, float>> topLabels(int n) const;
    // Recomputes `folded`: "" when there are no lines and no alt text; otherwise the folded
    // form of text() + "\n" + altText.
    void refold();

    friend bool operator==(const ImageRecord&, const ImageRecord&) = default;
};

size_t qHash(const ImageRecord& record, size_t seed = 0) noexcept;

}  // namespace fennic
