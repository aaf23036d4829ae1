#include "images/ImageAnalyzer.h"

#include "images/ConceptLabels.h"
#include "images/ImageDecoder.h"
#include "images/OCRLanguages.h"
#include "images/TextRecognizer.h"
#include "images/VisionModel.h"

#include <QPainter>
#include <algorithm>
#include <cmath>
#include <exception>

namespace fennic::ImageAnalyzer {
namespace {

// The palette's drawing: 48 x 48 pixels, premultiplied RGBA.
constexpr int kPaletteSide = 48;
constexpr float kMinimumColorShare = 0.02f;

// Lines read this poorly by the chosen languages are checked for Chinese or Japanese script.
constexpr float kProbeBelowConfidence = 0.6f;
constexpr int kMaxProbes = 8;
constexpr int kMinProbeHeight = 8;
constexpr int kProbePadding = 4;
// Second-pass lines are the same line as a first-pass one beyond this overlap of their boxes.
constexpr float kSameLineOverlap = 0.5f;
// A first-pass fragment this much inside a better second-pass line belongs to it.
constexpr float kFragmentInside = 0.6f;
// Readings below this confidence are texture and noise (photos give plenty), not text.
constexpr float kMinimumLineConfidence = 0.4f;

QImage overWhite(const QImage& image, QImage::Format format)
{
    if (!image.hasAlphaChannel()) return image.convertToFormat(format);
    QImage flat(image.size(), QImage::Format_RGB32);
    flat.setDotsPerMeterX(image.dotsPerMeterX());
    flat.setDotsPerMeterY(image.dotsPerMeterY());
    flat.fill(Qt::white);
    QPainter painter(&flat);
    painter.drawImage(QPoint(0, 0), image);
    painter.end();
    return flat.convertToFormat(format);
}

TextLine toTextLine(const TextRecognizer::Line& line, QSize page)
{
    const float width = float(page.width());
    const float height = float(page.height());
    const QRect& box = line.box;
    return TextLine{line.text,
                    float(box.left()) / width,
                    (height - float(box.top() + box.height())) / height,
                    float(box.width()) / width,
                    float(box.height()) / height,
                    line.confidence};
}

QRect pixelBox(const TextLine& line, QSize page)
{
    const double w = page.width();
    const double h = page.height();
    return QRect(int(std::lround(line.x * w)), int(std::lround((1.0 - line.y - line.h) * h)),
                 int(std::lround(line.w * w)), int(std::lround(line.h * h)));
}

float overlap(const TextLine& a, const TextLine& b)
{
    const float left = std::max(a.x, b.x);
    const float right = std::min(a.x + a.w, b.x + b.w);
    const float bottom = std::max(a.y, b.y);
    const float top = std::min(a.y + a.h, b.y + b.h);
    if (right <= left || top <= bottom) return 0.0f;
    const float intersection = (right - left) * (top - bottom);
    const float united = a.w * a.h + b.w * b.h - intersection;
    return united > 0.0f ? intersection / united : 0.0f;
}

// How much of `part`'s box lies inside `whole`'s.
float insideShare(const TextLine& part, const TextLine& whole)
{
    const float left = std::max(part.x, whole.x);
    const float right = std::min(part.x + part.w, whole.x + whole.w);
    const float bottom = std::max(part.y, whole.y);
    const float top = std::min(part.y + part.h, whole.y + whole.h);
    const float area = part.w * part.h;
    if (right <= left || top <= bottom || area <= 0.0f) return 0.0f;
    return (right - left) * (top - bottom) / area;
}

QString joinedText(const QList<TextLine>& lines)
{
    QStringList texts;
    for (const TextLine& line : lines) texts.append(line.text);
    return texts.join(u'\n');
}

QList<TextLine> read(const QImage& page, const QString& codes, TextRecognizer::Layout layout)
{
    QList<TextLine> lines;
    if (const auto found = TextRecognizer::recognize(page, codes, layout))
        for (const TextRecognizer::Line& line : *found) lines.append(toTextLine(line, page.size()));
    return lines;
}

QString codesFor(const QStringList& languages, const QStringList& supported)
{
    QStringList codes;
    for (const QString& language : languages)
        if (supported.contains(language))
            if (const auto code = OCRLanguages::tesseractCode(language)) codes.append(*code);
    if (codes.isEmpty()) codes.append(QStringLiteral("eng"));
    return codes.join(u'+');
}

// Automatic language detection, as far as Tesseract allows it: data for Latin script reads
// Chinese or Japanese lines as low-confidence garbage, so such lines are read again alone with
// Japanese data (whose script covers kana and most Han characters). A reading in Han or kana
// that is more confident than the first replaces it, which lets the second pass see the script.
void probeForHanOrKana(const QImage& page, QList<TextLine>& lines, const QStringList& supported)
{
    QString probe;
    for (const QString& language : {QStringLiteral("ja-JP"), QStringLiteral("zh-Hans"), QStringLiteral("zh-Hant")}) {
        if (supported.contains(language)) {
            probe = *OCRLanguages::tesseractCode(language);
            break;
        }
    }
    if (probe.isEmpty()) return;
    int probes = 0;
    for (TextLine& line : lines) {
        if (line.confidence >= kProbeBelowConfidence || probes >= kMaxProbes) continue;
        const QRect box =
            pixelBox(line, page.size()).adjusted(-kProbePadding, -kProbePadding, kProbePadding, kProbePadding)
            & page.rect();
        if (box.height() < kMinProbeHeight || box.width() < box.height()) continue;
        ++probes;
        const QList<TextLine> reread = read(page.copy(box), probe, TextRecognizer::Layout::singleLine);
        if (reread.isEmpty()) continue;
        QStringList texts;
        float confidence = 0.0f;
        for (const TextLine& part : reread) texts.append(part.text), confidence += part.confidence;
        confidence /= float(reread.size());
        const QString text = texts.join(u' ');
        if (OCRLanguages::hasHanOrKana(text) && confidence > line.confidence) {
            line.text = text;
            line.confidence = confidence;
        }
    }
}

// A second pass for Chinese or Japanese that nobody asked for, merged into the first: a line
// of the second pass replaces the first-pass line it overlaps (intersection over union above
// one half) when it is more confident, and is added when it overlaps none.
void secondPass(const QImage& page, QList<TextLine>& lines, const QStringList& supported)
{
    const QString text = joinedText(lines);
    bool kana = false;
    for (const QChar c : text)
        if (c.script() == QChar::Script_Hiragana || c.script() == QChar::Script_Katakana) kana = true;
    // Kana mean Japanese; Han characters alone more likely Chinese.
    const QStringList order = kana ? QStringList{
        QStringLiteral("ja-JP"),
                       QStringLiteral("zh-Hans"), QStringLiteral("zh-Hant")}
                       : QStringList{QStringLiteral("zh-Hans"), QStringLiteral("zh-Hant"), QStringLiteral("ja-JP")};
    for (const QString& language : order) {
        if (!supported.contains(language)) continue;
        QStringList pair{language};
        if (supported.contains(QStringLiteral("en-US"))) pair.append(QStringLiteral("en-US"));
        const QList<TextLine> second = read(page, codesFor(pair, supported), TextRecognizer::Layout::page);
        if (second.isEmpty()) continue;
        for (const TextLine& candidate : second) {
            TextLine* same = nullptr;
            float best = kSameLineOverlap;
            for (TextLine& line : lines) {
                const float o = overlap(candidate, line);
                if (o > best) best = o, same = &line;
            }
            if (!same)
                lines.append(candidate);
            else if (candidate.confidence > same->confidence)
                *same = candidate;
            // Latin data splits a line of CJK into fragments; those lying mostly inside a
            // more confident reading of the whole line are part of it.
            const TextLine whole = same ? *same : candidate;
            lines.removeIf([&whole](const TextLine& line) {
                return line.confidence < whole.confidence && line != whole
                    && insideShare(line, whole) > kFragmentInside;
            });
        }
        return;
    }
}

bool isNoise(const TextLine& line)
{
    if (line.confidence < kMinimumLineConfidence) return true;
    for (const QChar c : line.text)
        if (c.isLetterOrNumber()) return false;
    return true;
}

}  // namespace

QList<TextLine> recognizeText(const QImage& image, const QStringList& requested)
{
    const QStringList languages = requested.isEmpty() ? QStringList{QStringLiteral("en-US")} : requested;
    const QStringList supported = OCRLanguages::supported();
    const QImage page = overWhite(image, QImage::Format_RGB888);
    QList<TextLine> lines = read(page, codesFor(languages, supported), TextRecognizer::Layout::page);

    bool askedForHanOrKana = false;
    for (const QString& language : OCRLanguages::secondPass())
        if (languages.contains(language)) askedForHanOrKana = true;
    if (!askedForHanOrKana) {
        probeForHanOrKana(page, lines, supported);
        if (OCRLanguages::hasHanOrKana(joinedText(lines))) secondPass(page, lines, supported);
    }
    lines.removeIf(isNoise);
    sortIntoReadingOrder(lines);
    return lines;
}

namespace {

float textCoverage(const QList<TextLine>& lines)
{
    float covered = 0.0f;
    for (const TextLine& line : lines) covered += line.w * line.h;
    return std::min(covered, 1.0f);
}

QByteArray toBlob(const std::vector<float>& values)
{
    return QByteArray(reinterpret_cast<const char*>(values.data()), qsizetype(values.size() * sizeof(float)));
}

}  // namespace

const QStringList& colorNames()
{
    static const QStringList names{
        QStringLiteral("red"),   QStringLiteral("orange"), QStringLiteral("yellow"), QStringLiteral("green"),
                                                                                                    QStringLiteral("teal"),  QStringLiteral("blue"),   QStringLiteral("purple"), QStringLiteral("pink"),
                                                                                                                                                                                                QStringLiteral("brown"), QStringLiteral("white"),  QStringLiteral("gray"),   QStringLiteral("black")};
    return names;
}

QString colorName(float r, float g, float b)
{
    const float max = std::max({r, g, b});
    const float min = std::min({r, g, b});
    const float chroma = max - min;
    const float saturation = max > 0.0f ? chroma / max : 0.0f;
    if (max <= 0.0f || max < 0.16f || saturation < 0.14f) {
        if (max < 0.16f) return QStringLiteral("black");
        if (max > 0.82f) return QStringLiteral("white");
        if (max < 0.3f) return QStringLiteral("black");
        return QStringLiteral("gray");
    }
    if (max > 0.9f && saturation < 0.22f) return QStringLiteral("white");

    float hue = 0.0f;
    if (max == r)
        hue = (g - b) / chroma;
    else if (max == g)
        hue = (b - r) / chroma + 2.0f;
    else
        hue = (r - g) / chroma + 4.0f;
    hue *= 60.0f;
    if (hue < 0.0f) hue += 360.0f;

    // The dark cut-offs for brown differ per hue band on purpose: dark reds read as brown
    // sooner than dark yellows.
    if (hue < 14.0f || hue >= 345.0f) {
        if (max < 0.45f) return QStringLiteral("brown");
        if (max > 0.75f && saturation < 0.45f) return QStringLiteral("pink");
        return QStringLiteral("red");
    }
    if (hue < 42.0f) return max < 0.6f ? QStringLiteral("brown") : QStringLiteral("orange");
    if (hue < 68.0f) return max < 0.5f ? QStringLiteral("brown") : QStringLiteral("yellow");
    if (hue < 160.0f) return QStringLiteral("green");
    if (hue < 195.0f) return QStringLiteral("teal");
    if (hue < 255.0f) return QStringLiteral("blue");
    if (hue < 290.0f) return QStringLiteral("purple");
    return QStringLiteral("pink");
}

QHash<QString, float> palette(const QImage& image)
{
    if (image.isNull()) return {};
    // Averaging premultiplied pixels weighs each by its coverage, as drawing into a
    // premultiplied context does.
    QImage small = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    if (small.size() != QSize(kPaletteSide, kPaletteSide))
        small = small.scaled(kPaletteSide, kPaletteSide, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    const QImage context = small.convertToFormat(QImage::Format_RGBA8888_Premultiplied);
    if (context.isNull()) return {};

    QHash<QString, int> counts;
    int counted = 0;
    for (int y = 0; y < context.height(); ++y) {
        const uchar* row = context.constScanLine(y);
        for (int x = 0; x < context.width(); ++x) {
            const uchar* p = row + 4 * std::ptrdiff_t(x);
            const float alpha = float(p[3]) / 255.0f;
            if (alpha <= 0.5f) continue;
            const float r = std::min(1.0f, float(p[0]) / 255.0f / alpha);
            const float g = std::min(1.0f, float(p[1]) / 255.0f / alpha);
            const float b = std::min(1.0f, float(p[2]) / 255.0f / alpha);
            ++counts[colorName(r, g, b)];
            ++counted;
        }
    }
    QHash<QString, float> shares;
    if (counted == 0) return shares;
    for (auto it = counts.cbegin(); it != counts.cend(); ++it) {
        const float share = float(it.value()) / float(counted);
        if (share >= kMinimumColorShare) shares.insert(it.key(), share);
    }
    return shares;
}

std::vector<float> fallbackPrint(const QImage& image)
{
    // 16 x 16 brightness (zero-mean: the layout of light and dark) and a 4 x 4 layout of the
    // two colour-opponent channels, area-averaged, so re-encoding noise washes out.
    constexpr int kGrid = 16;
    constexpr int kColourGrid = 4;
    constexpr float kColourWeight = 0.5f;
    if (image.isNull()) return {};
    const QImage small = overWhite(image, QImage::Format_RGB32)
                             .scaled(kGrid, kGrid, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                             .convertToFormat(QImage::Format_RGB888);
    std::vector<float> values;
    values.reserve(kGrid * kGrid + 2 * kColourGrid * kColourGrid);
    float opponentRG[kColourGrid][kColourGrid] = {};
    float opponentYB[kColourGrid][kColourGrid] = {};
    double mean = 0.0;
    for (int y = 0; y < kGrid; ++y) {
        const uchar* row = small.constScanLine(y);
        for (int x = 0; x < kGrid; ++x) {
            const uchar* p = row + 3 * std::ptrdiff_t(x);
            const float r = p[0] / 255.0f, g = p[1] / 255.0f, b = p[2] / 255.0f;
            const float luma = 0.299f * r + 0.587f * g + 0.114f * b;
            values.push_back(luma);
            mean += luma;
            const int cy = y * kColourGrid / kGrid, cx = x * kColourGrid / kGrid;
            opponentRG[cy][cx] += (r - g);
            opponentYB[cy][cx] += (r + g) / 2.0f - b;
        }
    }
    mean /= kGrid * kGrid;
    for (float& v : values) v -= float(mean);
    constexpr float kCellArea = float(kGrid * kGrid) / float(kColourGrid * kColourGrid);
    for (int cy = 0; cy < kColourGrid; ++cy)
        for (int cx = 0; cx < kColourGrid; ++cx) {
            values.push_back(kColourWeight * opponentRG[cy][cx] / kCellArea);
            values.push_back(kColourWeight * opponentYB[cy][cx] / kCellArea);
        }
    double norm = 0.0;
    for (float v : values) norm += double(v) * v;
    norm = std::sqrt(norm);
    if (norm > 1e-9)
        for (float& v : values) v = float(v / norm * VisionModel::kPrintScale);
    return values;
}

void analyze(const QImage& image, ImageRecord& record, const QStringList& languages, Text text)
{
    if (text == Text::read)
        record.lines = recognizeText(image, languages);
    else
        record.lines.clear();

    record.labels.clear();
    if (const auto model = VisionModel::shared()) {
        if (const auto seen = model->run(image)) {
            record.labels = seen->labels;
            record.print = toBlob(seen->print);
            // Text that covers much of the picture makes it a document, whatever the classes say.
            const auto fromText = ConceptLabels::fromTextCoverage(textCoverage(record.lines), int(record.lines.size()));
            for (auto it = fromText.cbegin(); it != fromText.cend(); ++it)
                record.labels[it.key()] = std::max(record.labels.value(it.key()), it.value());
        }
    } else {
        record.print = toBlob(fallbackPrint(image));
    }
    record.colors = palette(image);
}

ImageRecord analyze(const FileItem& item, const QStringList& languages, Text text)
{
    ImageRecord record(item.path, item.size, item.modified, {}, {}, {}, QString(), std::nullopt, 0, 0, false);
    try {
        const ImageDecoder::Decoded decoded = ImageDecoder::read(item.path);
        record.pixelWidth = decoded.pixelWidth;
        record.pixelHeight = decoded.pixelHeight;
        if (!decoded.opened || decoded.image.isNull())
            record.failed = true;
        else
            analyze(decoded.image, record, languages, text);
    } catch (const std::exception&) {
        record = ImageRecord(item.path, item.size, item.modified, {}, {}, {}, QString(), std::nullopt, 0, 0, true);
    }
    // Kept on failures too, so that a failed file is read again only when it or the language
    // choice changes.
    if (text == Text::read) record.langs = languages.join(u',');
    record.refold();
    return record;
}

std::vector<float> featurePrint(const QString& path)
{
    const ImageDecoder::Decoded decoded = ImageDecoder::read(path);
    if (decoded.image.isNull()) return {};
    if (const auto model = VisionModel::shared()) {
        const auto seen = model->run(decoded.image);
        return seen ? seen->print : std::vector<float>{};
    }
    return fallbackPrint(decoded.image);
}

std::function<std::optional<QList<float>>(const QString& path)> printProvider(const ImageIndex& index)
{
    return [fromIndex = index.printProvider()](const QString& path) -> std::optional<QList<float>> {
        if (auto stored = fromIndex(path)) return stored;
        const std::vector<float> made = featurePrint(path);
        if (made.empty()) return std::nullopt;
        return QList<float>(made.begin(), made.end());
    };
}

}  // namespace fennic::ImageAnalyzer
