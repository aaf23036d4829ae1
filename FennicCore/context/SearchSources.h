#pragma once

#include "images/ImageIndex.h"
#include "images/ImageRecord.h"
#include "organise/Shelf.h"
#include "search/SearchContext.h"

#include <QHash>
#include <QString>

// The lookups a search pass reads, made from the image index and the shelf. This is the one
// place that sees search, images and organising together, so that none of the three has to
// know another: search asks through SearchContext::Lookups, and the owners of the records
// build them here.
namespace fennic::SearchSources {

// Lookups over image records, their recognised text (path -> folded text of the records that
// have any, as VisualSearch::recognisedText gives it) and the shelf, with VisualSearch's
// description scores. Nothing is copied: the maps and the shelf are implicitly shared, so
// this is cheap enough to call for every request.
SearchContext::Lookups of(const QHash<QString, ImageRecord>& records, const QHash<QString, QString>& recognisedText,
                          const Shelf& shelf);

// The same over a whole image index; its recognised text is gathered here, once per call.
SearchContext::Lookups of(const ImageIndex& index, const Shelf& shelf);

}  // namespace fennic::SearchSources
