#pragma once

#include "images/ImageIndex.h"
#include "images/ImageRecord.h"
#include "model/FileItem.h"

#include <QHash>
#include <QImage>
#include <QString>
#include <QStringList>
#include <functional>
#include <optional>
#include <vector>

namespace fennic::ImageAnalyzer {

// The twelve colour names a record may hold, in this order.
const QStringList& colorNames();

// Whether a picture's text is read. A record read without it keeps no languages, so that it is
// pending again once text is read.
enum class Text {
    read,
    skip
};

// Reads one picture and returns its record: text lines, labels, feature print, colours and
// pixel size. Never throws and never fails: a file that cannot be opened or decoded gives a
// record with `failed` set. `languages` are recognition language identifiers in recognition
// order (OCRLanguages::resolve's `use`); they are stored in the record's `langs`. Runs on the
// calling thread (a background thread in the application); any thread.
ImageRecord analyze(const FileItem& item, const QStringList& languages, Text text = Text::read);

// Runs text recognition, the vision model and the palette on an already decoded picture and
// fills the record's `lines`, `labels`, `print` and `colors`. An empty language list means
// en-US. Does not refold the record.
void analyze(const QImage& image, ImageRecord& record, const QStringList& languages, Text text = Text::read);

// Text recognition alone, as analyze() runs it: the lines of a decoded picture in reading
// order, with the second pass for Chinese or Japanese that was not asked for. An empty
// language list means en-US.
QList<TextLine> recognizeText(const QImage& image, const QStringList& languages);

// The picture's dominant colours: colour name -> share of its opaque pixels, shares under
// 0.02 left out; empty for a fully transparent picture. Works on a 48 x 48 copy.
QHash<QString, float> palette(const QImage& image);

// The name of one colour (channels 0 ... 1), one of colorNames().
QString colorName(float r, float g, float b);

// The feature print of a picture file as the index would store it: the vision model's when
// the model is present, the fallback descriptor's otherwise. Empty when the file cannot be
// decoded. For look-alike search over files that have no current record.
std::vector<float> featurePrint(const QString& path);

// Feature prints for look-alike search over files (DuplicateFinder's FeaturePrintProvider):
// the index's print when `index` has a usable record for the path, otherwise one made from
// the file now (featurePrint()). None when the file cannot be decoded. The function keeps a
// copy of the records; call it off the GUI thread, it may read files.
std::function<std::optional<QList<float>>(const QString& path)> printProvider(const ImageIndex& index);

// The classical descriptor that stands in for the model's print when the model is missing:
// a coarse layout of brightness and colour, zero-mean, scaled like the model's prints, so a
// resized or re-compressed copy lies far inside 0.45 of its original.
std::vector<float> fallbackPrint(const QImage& image);

}  // namespace fennic::ImageAnalyzer
