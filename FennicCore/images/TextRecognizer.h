#pragma once

#include <QImage>
#include <QList>
#include <QRect>
#include <QString>
#include <optional>

namespace fennic::TextRecognizer {

// Tesseract 5 (LSTM engine, dictionary on) behind one seam.
//
// Tesseract is loaded on first use with its OpenMP threading off: OMP_THREAD_LIMIT=1 goes into
// the environment first (read when the OpenMP runtime loads), and since Qt's own libraries
// usually load that runtime at start-up, no parallel region is allowed to become active
// either. On two cores Tesseract's default threading makes recognition several times slower. One recogniser per
// language set
// ("jpn+eng") is initialised on first use and kept for the life of the process; calls with
// the same set wait for each other, calls with different sets run side by side.

// One recognised line in the pixels of the image given: top-left origin.
struct Line {
    QString text;  // trimmed, never empty
    QRect box;
    float confidence;  // 0 ... 1
};

// Whether the Tesseract library could be loaded.
bool available();

// How the picture is laid out: a whole page or screen to be segmented, or one line of text.
enum class Layout {
    page,
    singleLine
};

// Recognises the text lines of `image` (8-bit grey, or anything else as RGB) with the
// Tesseract language data named by `languages` ("eng", "jpn+eng"), in Tesseract's order.
// None when Tesseract or the language data cannot be loaded. Any thread.
std::optional<QList<Line>> recognize(const QImage& image, const QString& languages, Layout layout = Layout::page);

}  // namespace fennic::TextRecognizer
