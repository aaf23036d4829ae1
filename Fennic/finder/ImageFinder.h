#pragma once

#include "app/SearchSession.h"
#include "images/ImageRecord.h"
#include "images/VisualSearch.h"
#include "model/FileItem.h"
#include "organise/Shelf.h"

#include <QHash>
#include <QList>
#include <QRectF>
#include <QString>
#include <QStringList>
#include <memory>
#include <optional>

namespace fennic {

// One picture the finder shows: the file, how well it fits and why.
struct FoundPicture {
    FileItem item;
    float score = 0.0f;  // the search's own score, higher is better
    float fit = 0.0f;    // 0 … 1: the score against the best one shown, or the likeness
    QStringList reasons;
    // Boxes of the recognised lines holding the request's words, as fractions of the picture
    // with the origin at its lower left (TextLine's convention).
    QList<QRectF> highlights;

    friend bool operator==(const FoundPicture&, const FoundPicture&) = default;
};

// The finder's search, a pure function of plain values so that it runs on a pool thread: the
// library's pictures that have a record, searched by words, by description or by likeness, and
// narrowed by the shelf.
namespace ImageFinder {

// The library's pictures with their records, gathered once for many requests: pairing 250,000
// files with 20,000 records costs more than searching them. Holds its own list rather than the
// indexer's map, so that keeping it never makes the indexer copy its map to add a record.
struct Pictures {
    QList<ImageRecord> records;          // of pictures in the library, in the library's order
    QList<FileItem> items;               // the file of each record, at the same place
    QHash<QString, qsizetype> position;  // by path, the place in both lists
};
std::shared_ptr<const Pictures> gather(const QList<FileItem>& library, const QHash<QString, ImageRecord>& records);

struct Request {
    QString query;
    VisualSearch::Mode mode = VisualSearch::Mode::everything;
    std::optional<QString> similarTo;
    bool favouritesOnly = false;
    QString tag;  // empty: any tag
    Shelf shelf;
};

// How many found pictures get highlight boxes: the rest are far down the grid, and boxes are
// worked out from each line's text.
inline constexpr int kHighlightLimit = 2000;

// Look-alikes of `similarTo` (the picture itself first) when set; otherwise the request's
// matches, best first; nothing for a blank request.
QList<FoundPicture> find(const Request& request, const Pictures& pictures);

VisualSearch::Mode modeFor(FindMode mode);

}  // namespace ImageFinder

}  // namespace fennic
