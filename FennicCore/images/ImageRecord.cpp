#include "images/ImageRecord.h"

#include "model/Fold.h"

#include <algorithm>
#include <cstring>

namespace fennic {

size_t qHash(const TextLine& line, size_t seed) noexcept
{
    return qHashMulti(seed, line.text, line.x, line.y, line.w, line.h, line.confidence);
}

bool readsBefore(const TextLine& a, const TextLine& b)
{
    // Same row when the bottoms lie within this fraction of the image height of each other.
    constexpr float kRowTolerance = 0.01f;
    if (a.y - b.y > kRowTolerance) return true;
    if (b.y - a.y > kRowTolerance) return false;
    return a.x < b.x;
}

void sortIntoReadingOrder(QList<TextLine>& lines) { std::stable_sort(lines.begin(), lines.end(), readsBefore); }

ImageRecord::ImageRecord(QString path_, qint64 size_, Date modified_, QHash<QString, float> labels_,
                         QHash<QString, float> colors_, QList<TextLine> lines_, QString altText_,
                         std::optional<QByteArray> print_, qint64 pixelWidth_, qint64 pixelHeight_, bool failed_)
    : path(std::move(path_)),
      size(size_),
      modified(modified_),
      labels(std::move(labels_)),
      colors(std::move(colors_)),
      lines(std::move(lines_)),
      altText(std::move(altText_)),
      print(std::move(print_)),
      pixelWidth(pixelWidth_),
      pixelHeight(pixelHeight_),
      failed(failed_)
{
    refold();
}

QString ImageRecord::text() const
{
    QString joined;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (i > 0) joined += u'\n';
        joined += lines[i].text;
    }
    return joined;
}

std::vector<float> ImageRecord::featurePrint() const
{
    if (!print) return {};
    std::vector<float> values(size_t(print->size()) / sizeof(float));
    if (!values.empty()) std::memcpy(values.data(), print->constData(), values.size() * sizeof(float));
    return values;
}

QList<std::pair<QString, float>> ImageRecord::topLabels(int n) const
{
    QList<std::pair<QString, float>> all;
    all.reserve(labels.size());
    for (auto it = labels.cbegin(); it != labels.cend(); ++it) all.append({it.key(), it.value()});
    std::sort(all.begin(), all.end(), [](const auto& a, const auto& b) {
        return a.second != b.second ? a.second > b.second : a.first < b.first;
    });
    if (n >= 0 && all.size() > n) all.resize(n);
    return all;
}

void ImageRecord::refold()
{
    if (lines.isEmpty() && altText.isEmpty()) {
        folded.clear();
        return;
    }
    folded = Fold::text(text() + u'\n' + altText);
}

size_t qHash(const ImageRecord& r, size_t seed) noexcept
{
    // Labels and colours are unordered maps: combine their entries order-independently.
    size_t maps = 0;
    for (auto it = r.labels.cbegin(); it != r.labels.cend(); ++it) maps += qHashMulti(0, it.key(), it.value());
    for (auto it = r.colors.cbegin(); it != r.colors.cend(); ++it) maps += qHashMulti(1, it.key(), it.value());
    size_t lines = seed;
    for (const TextLine& line : r.lines) lines = qHash(line, lines);
    return qHashMulti(seed, r.path, r.size, r.modified.seconds, maps, lines, r.altText, r.print.value_or(QByteArray()),
                      r.print.has_value(), r.pixelWidth, r.pixelHeight, r.failed, r.langs, r.folded);
}

}  // namespace fennic
