#pragma once

#include <QImage>
#include <QString>
#include <QStringList>

namespace fennic::test {

// Pictures drawn for the image tests and benchmarks, so that no binary fixtures are needed.

// Black text on white: one line per entry, `pixelSize`-pixel type, starting 20 px in and
// 20 px down, lines 1.8 x pixelSize apart. The family defaults to a CJK-capable sans.
QImage textPicture(const QStringList& lines, int pixelSize, QSize size,
                   const QString& family = QStringLiteral("Noto Sans CJK JP"));

// Where textPicture() put line `index`: its baseline y (top-left origin).
int textBaseline(int index, int pixelSize);

// A seaside scene: sky with clouds, sea with waves and foam, wet and dry sand, textured
// enough that the vision model takes it for a seashore.
QImage seaAndSand(QSize size, int seed = 1);

// Snow-capped mountains over a green valley.
QImage snowyMountains(QSize size, int seed = 1);

// A busy synthetic "photo" of random overlapping shapes; different seeds give unrelated pictures.
QImage randomScene(QSize size, int seed);

// An application screenshot drawn at `scale` device pixels per point: title bar, sidebar,
// heading, paragraphs and a button, all with `pixelSize`-point text (the heading larger) in
// DejaVu Sans, over a 720 x 450-point window. `words`, when given, receives every word drawn,
// in order. Different seeds give different text.
QImage screenshot(int seed, int pixelSize, qreal scale, QStringList* words = nullptr);

// The words screenshot() draws from: about 200 everyday English words and a few numbers.
const QStringList& dictionary();

// A shop receipt: shop name, items with prices, total, tax and card lines.
QImage receipt(QSize size);

// Saves and returns the path; JPEG quality -1 means the writer's default.
QString save(const QImage& image, const QString& path, int quality = -1);

}  // namespace fennic::test
