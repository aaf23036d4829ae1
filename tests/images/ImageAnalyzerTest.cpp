#include "images/ImageAnalyzer.h"
#include "Pictures.h"
#include "images/ImageDecoder.h"
#include "images/VisionModel.h"
#include "images/VisualSearch.h"
#include "support/TempTree.h"

#include <QFile>
#include <QFileInfo>
#include <QImageWriter>
#include <cstring>
#include <libheif/heif.h>
#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif
#include <QPainter>
#include <gtest/gtest.h>

using namespace fennic;
using fennic::test::TempTree;

namespace {

FileItem itemFor(const QString& path)
{
    FileItem item;
    item.path = path;
    item.name = QFileInfo(path).fileName();
    item.ext = QFileInfo(path).suffix().toLower();
    item.size = QFileInfo(path).size();
    item.modified = Date::fromQDateTime(QFileInfo(path).lastModified());
    item.kind = FileKind::image;
    return item;
}

QStringList texts(const ImageRecord& record)
{
    QStringList out;
    for (const TextLine& line : record.lines) out.append(line.text);
    return out;
}

// A seaside picture, a smaller and more compressed copy of it, and unrelated pictures (a page
// of text among them), saved in `tree`.
struct Lookalikes {
    QString original;
    QString copy;
    QStringList others;
    QString page;
};

Lookalikes saveLookalikes(const TempTree& tree)
{
    const QImage sea = test::seaAndSand(QSize(900, 600));
    Lookalikes set{
        test::save(sea, tree.path("beach.jpg"), 92),
        test::save(sea.scaled(450, 300, Qt::KeepAspectRatio, Qt::SmoothTransformation), tree.path("beach small.jpg"),
                   55),
        {test::save(test::randomScene(QSize(600, 400), 3), tree.path("shapes.png")),
         test::save(test::snowyMountains(QSize(600, 400)), tree.path("alps.jpg"), 90)},
        test::save(test::textPicture({"Plain words"}, 40, QSize(600, 400), "DejaVu Sans"), tree.path("page.png"))};
    set.others.append(set.page);
    return set;
}

// The copy lies within look-alike distance of `print` (the original's), the others beyond it.
void expectLookalikes(const Lookalikes& set, const std::vector<float>& print)
{
    EXPECT_LT(VisualSearch::distance(print, ImageAnalyzer::featurePrint(set.copy)), 0.45f);
    for (const QString& other : set.others)
        EXPECT_GT(VisualSearch::distance(print, ImageAnalyzer::featurePrint(other)), 0.45f) << other.toStdString();
}

}  // namespace

TEST(ColorName, NamesTheTableCases)
{
    struct Case {
        float r, g, b;
        const char* name;
    };
    const Case cases[] = {
        {1, 1, 1, "white"},
        {0.5f, 0.5f, 0.5f, "gray"},
        {0.2f, 0.2f, 0.2f, "black"},
        {0.1f, 0.05f, 0, "black"},
        {1, 0, 0, "red"},
        {0.4f, 0, 0, "brown"},
        {1, 0.6f, 0.6f, "pink"},
        {1, 0.5f, 0, "orange"},
        {0.5f, 0.25f, 0, "brown"},
        {0, 0, 1, "blue"},
        {0, 1, 1, "teal"},
        {0.6f, 0.2f, 1, "purple"},
        {1, 0, 0.8f, "pink"},
        {0, 0, 0, "black"},
        {0.95f, 0.9f, 0.85f, "white"},
        {1, 1, 0, "yellow"},
        {0.45f, 0.45f, 0, "brown"},
        {0, 0.6f, 0, "green"},
        {0.85f, 0.85f, 0.8f, "white"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ImageAnalyzer::colorName(c.r, c.g, c.b), QString::fromLatin1(c.name))
            << c.r << ' ' << c.g << ' ' << c.b;
}

TEST(Palette, SharesOfOpaquePixelsAboveTwoPercent)
{
    // 48 x 48 is the palette's own size, so pixels are counted one for one: 2,304 in all.
    QImage image(48, 48, QImage::Format_ARGB32);
    image.fill(QColor(0, 0, 255));
    for (int x = 0; x < 47; ++x) image.setPixelColor(x, 0, QColor(255, 0, 0));   // 2.04 %
    for (int x = 0; x < 23; ++x) image.setPixelColor(x, 10, QColor(0, 255, 0));  // 1.0 %
    const auto shares = ImageAnalyzer::palette(image);
    EXPECT_NEAR(shares.value("red"), 47.0f / 2304.0f, 1e-6);
    EXPECT_FALSE(shares.contains("green"));
    EXPECT_NEAR(shares.value("blue"), float(2304 - 70) / 2304.0f, 1e-6);

    // Transparent pixels do not count. Left half translucent red (alpha 0.6, counted as red,
    // not as a darker colour), right half alpha 0.5 (ignored).
    image.fill(Qt::transparent);
    EXPECT_TRUE(ImageAnalyzer::palette(image).isEmpty());
    for (int y = 0; y < 48; ++y)
        for (int x = 0; x < 48; ++x)
            image.setPixelColor(x, y, x < 24 ? QColor(255, 0, 0, 153) : QColor(0, 0, 255, 127));
    EXPECT_EQ(ImageAnalyzer::palette(image), (QHash<QString, float>{{"red", 1.0f}}));

    // A transparent PNG file read end to end.
    TempTree tree;
    QImage logo(200, 100, QImage::Format_ARGB32);
    logo.fill(Qt::transparent);
    QPainter(&logo).fillRect(0, 0, 100, 100, QColor(255, 200, 0));
    const ImageRecord record = ImageAnalyzer::analyze(itemFor(test::save(logo, tree.path("logo.png"))), {"en-US"});
    EXPECT_FALSE(record.failed);
    EXPECT_EQ(record.colors.keys(), QStringList{"yellow"});
}

TEST(ImageAnalyzer, ReadsAScreenshotInReadingOrderWithLowerLeftBoxes)
{
    TempTree tree;
    const QStringList lines{"Quarterly report draft", "Invoice number 4471", "Meeting with Daniel on Friday"};
    const QString path =
        test::save(test::textPicture(lines, 28, QSize(900, 260), "DejaVu Sans"), tree.path("Screenshot 1.png"));
    const FileItem item = itemFor(path);
    const ImageRecord record = ImageAnalyzer::analyze(item, {"en-US"});

    ASSERT_FALSE(record.failed);
    ASSERT_EQ(texts(record), lines);
    EXPECT_EQ(record.pixelWidth, 900);
    EXPECT_EQ(record.pixelHeight, 260);
    EXPECT_EQ(record.langs, QStringLiteral("en-US"));
    EXPECT_EQ(record.size, item.size);
    EXPECT_TRUE(record.searchText().contains(QStringLiteral("invoice number 4471")));
    for (int i = 0; i < 3; ++i) {
        const TextLine& line = record.lines[i];
        EXPECT_TRUE(line.confidence > 0.8f && line.confidence <= 1.0f) << line.confidence;
        // Text starts 20 px in; the baseline is at textBaseline() from the top, so the box's
        // bottom (descenders included) sits a little below it, measured from the bottom.
        EXPECT_NEAR(line.x, 20.0f / 900.0f, 6.0f / 900.0f);
        const float baselineFromBottom = (260.0f - float(test::textBaseline(i, 28))) / 260.0f;
        EXPECT_NEAR(line.y, baselineFromBottom, 10.0f / 260.0f) << line.text.toStdString();
        EXPECT_NEAR(line.h, 28.0f / 260.0f, 12.0f / 260.0f);
        EXPECT_GT(line.w, 0.3f);
    }
}

TEST(ImageAnalyzer, SecondPassFindsJapaneseThatWasNotAskedFor)
{
    TempTree tree;
    const QStringList lines{"Meeting notes for Tuesday", "東京駅で待ち合わせしましょう", "Total due: 42.50 EUR"};
    const QString path = test::save(test::textPicture(lines, 28, QSize(700, 220)), tree.path("notes.png"));

    const ImageRecord english = ImageAnalyzer::analyze(itemFor(path), {"en-US"});
    ASSERT_EQ(english.lines.size(), 3) << texts(english).join(u'|').toStdString();
    EXPECT_EQ(english.lines[0].text, QStringLiteral("Meeting notes for Tuesday"));
    EXPECT_TRUE(english.lines[1].text.contains(QStringLiteral("東京駅"))) << english.lines[1].text.toStdString();
    EXPECT_TRUE(english.lines[2].text.contains(QStringLiteral("42.50")));

    const ImageRecord japanese = ImageAnalyzer::analyze(itemFor(path), {"ja-JP", "en-US"});
    EXPECT_EQ(japanese.langs, QStringLiteral("ja-JP,en-US"));
    EXPECT_TRUE(japanese.text().contains(QStringLiteral("待ち合わせ"))) << japanese.text().toStdString();
}

TEST(ImageDecoder, ReadsEveryReadableFormatAndDownsamplesLargePictures)
{
    TempTree tree;
    const QImage picture = test::randomScene(QSize(120, 80), 5);
    for (const char* format : {"png", "jpg", "webp", "tiff", "bmp"}) {
        const ImageDecoder::Decoded decoded =
            ImageDecoder::read(test::save(picture, tree.path("picture." + QString(format))));
        EXPECT_TRUE(decoded.opened) << format;
        EXPECT_EQ(decoded.image.size(), QSize(120, 80)) << format;
        EXPECT_EQ(decoded.pixelWidth, 120) << format;
    }
    // Qt reads GIF but cannot write it: a one-pixel GIF by hand.
    const QString gif = tree.write("dot.gif",
                                   QByteArray("GIF89a\x01\x00\x01\x00\x80\x00\x00\xff\xff\xff\x00\x00\x00"
                                              ",\x00\x00\x00\x00\x01\x00\x01\x00\x00\x02\x02\x44\x01\x00;",
                                              35));
    EXPECT_EQ(ImageDecoder::read(gif).image.size(), QSize(1, 1));
    // The bytes decide, not the name: a PNG named like a JPEG reads; what is no picture at all
    // (zeros, random bytes, text) is not opened as one.
    QFile::rename(test::save(picture, tree.path("misnamed.png")), tree.path("misnamed.jpg"));
    EXPECT_EQ(ImageDecoder::read(tree.path("misnamed.jpg")).image.size(), QSize(120, 80));
    QByteArray noise(4096, '\0');
    for (qsizetype i = 0; i < noise.size(); ++i) noise[i] = char((i * 7919 + 13) % 251);
    for (const QString& path : {tree.write("zeros.jpg", QByteArray(4096, '\0')), tree.write("noise.jpg", noise),
                                tree.write("notes.png", "just some words")}) {
        const ImageDecoder::Decoded decoded = ImageDecoder::read(path);
        EXPECT_FALSE(decoded.opened) << path.toStdString();
        EXPECT_TRUE(decoded.image.isNull()) << path.toStdString();
    }
    // Never decoded beyond 2,600 pixels on the longest side; the record keeps the file's size.
    const ImageDecoder::Decoded wide =
        ImageDecoder::read(test::save(test::randomScene(QSize(3000, 600), 6), tree.path("wide.png")));
    EXPECT_EQ(wide.image.size(), QSize(2600, 520));
    EXPECT_EQ(wide.pixelWidth, 3000);
    EXPECT_EQ(wide.pixelHeight, 600);
}

TEST(ImageAnalyzer, UnreadableFilesAreMarkedFailed)
{
    TempTree tree;
    for (const QString& path :
         {tree.write("broken.png", QByteArray("\x89PNG\r\n\x1a\nnot really", 18)), tree.path("gone.jpg")}) {
        FileItem item = itemFor(path);
        item.size = 18;
        const ImageRecord record = ImageAnalyzer::analyze(item, {"en-US", "ja-JP"});
        EXPECT_TRUE(record.failed) << path.toStdString();
        EXPECT_TRUE(record.lines.isEmpty());
        EXPECT_TRUE(record.labels.isEmpty());
        EXPECT_FALSE(record.print.has_value());
        EXPECT_EQ(record.langs, QStringLiteral("en-US,ja-JP"));
        EXPECT_EQ(record.size, 18);
    }
}

TEST(ImageAnalyzer, AppliesTheOrientationOfTheFile)
{
    TempTree tree;
    // Stored on its side, tagged to be turned a quarter clockwise for display.
    const QImage upright = test::textPicture({"Sideways label"}, 36, QSize(420, 90), "DejaVu Sans");
    QImageWriter writer(tree.path("turned.jpg"));
    writer.setTransformation(QImageIOHandler::TransformationRotate90);
    ASSERT_TRUE(writer.write(upright.transformed(QTransform().rotate(-90))));
    const ImageRecord record = ImageAnalyzer::analyze(itemFor(tree.path("turned.jpg")), {});
    ASSERT_FALSE(record.failed);
    EXPECT_EQ(record.text(), QStringLiteral("Sideways label"));
    EXPECT_EQ(record.langs, QString());
}

// Encodes a picture as HEIC; false when this libheif cannot encode.
static bool writeHeif(const QImage& picture, const QString& path)
{
#ifdef __SANITIZE_ADDRESS__
    // The HEVC encoder (only the tests encode) keeps a buffer it never frees.
    __lsan::ScopedDisabler encoderLeaks;
#endif
    heif_context* context = heif_context_alloc();
    heif_encoder* encoder = nullptr;
    if (heif_context_get_encoder_for_format(context, heif_compression_HEVC, &encoder).code != heif_error_Ok) {
        heif_context_free(context);
        return false;
    }
    const QImage rgb = picture.convertToFormat(QImage::Format_RGB888);
    heif_image* image = nullptr;
    heif_image_create(rgb.width(), rgb.height(), heif_colorspace_RGB, heif_chroma_interleaved_RGB, &image);
    heif_image_add_plane(image, heif_channel_interleaved, rgb.width(), rgb.height(), 8);
    int stride = 0;
    uint8_t* pixels = heif_image_get_plane(image, heif_channel_interleaved, &stride);
    for (int y = 0; y < rgb.height(); ++y)
        std::memcpy(pixels + std::ptrdiff_t(y) * stride, rgb.constScanLine(y), size_t(rgb.width()) * 3);
    heif_encoder_set_lossy_quality(encoder, 80);
    const bool ok = heif_context_encode_image(context, image, encoder, nullptr, nullptr).code == heif_error_Ok
        && heif_context_write_to_file(context, QFile::encodeName(path).constData()).code == heif_error_Ok;
    heif_image_release(image);
    heif_encoder_release(encoder);
    heif_context_free(context);
    return ok;
}

TEST(ImageAnalyzer, ReadsHeifThroughLibheif)
{
    TempTree tree;
    // Named .jpg on purpose: the content decides how a file is read, not its name.
    const QString path = tree.path("IMG_0001.jpg");
    if (!writeHeif(test::seaAndSand(QSize(320, 200)), path)) GTEST_SKIP() << "libheif cannot encode HEIC here";
    const ImageRecord record = ImageAnalyzer::analyze(itemFor(path), {"en-US"});
    ASSERT_FALSE(record.failed);
    EXPECT_EQ(record.pixelWidth, 320);
    EXPECT_EQ(record.pixelHeight, 200);
    EXPECT_GT(record.colors.value("blue"), 0.2f);
    EXPECT_TRUE(record.print.has_value());
}

// The model's prints and labels on pictures drawn here: a seaside scene is a beach, a resized
// and re-compressed copy is a look-alike, other pictures are not.
TEST(ImageAnalyzer, ModelLabelsAndLookalikes)
{
    if (!VisionModel::shared()) GTEST_SKIP() << "the vision model is not installed";
    TempTree tree;
    const Lookalikes set = saveLookalikes(tree);
    const ImageRecord record = ImageAnalyzer::analyze(itemFor(set.original), {"en-US"});
    EXPECT_GT(record.labels.value("beach"), 0.5f);
    EXPECT_GT(record.labels.value("seashore"), 0.5f);
    for (auto it = record.labels.cbegin(); it != record.labels.cend(); ++it) EXPECT_GE(it.value(), 0.03f);
    EXPECT_EQ(record.featurePrint().size(), 1280u);
    EXPECT_TRUE(record.lines.isEmpty()) << record.text().toStdString();
    EXPECT_GT(record.colors.value("blue"), 0.3f);

    const auto hits = VisualSearch::describe("a beach by the sea", {record}, LabelEngine());
    ASSERT_EQ(hits.size(), 1);
    EXPECT_EQ(hits[0].matched, 2);

    const std::vector<float> print = ImageAnalyzer::featurePrint(set.original);
    EXPECT_NEAR(VisualSearch::distance(print, record.featurePrint()), 0.0f, 1e-4);
    expectLookalikes(set, print);
}

// Without the model Fennic runs on: no labels, and a small classical print that still finds
// re-saved and resized copies.
TEST(ImageAnalyzer, WorksWithoutTheModel)
{
    TempTree tree;
    qputenv("FENNIC_MODEL_DIR", QFile::encodeName(tree.mkdir("no-model")));
    VisionModel::resetSharedForTesting();
    EXPECT_FALSE(VisionModel::locate().has_value());

    const Lookalikes set = saveLookalikes(tree);
    const ImageRecord record = ImageAnalyzer::analyze(itemFor(set.page), {"en-US"});
    EXPECT_TRUE(record.labels.isEmpty());
    EXPECT_EQ(record.text(), QStringLiteral("Plain words"));
    EXPECT_FALSE(record.colors.isEmpty());
    const std::vector<float> print = ImageAnalyzer::featurePrint(set.original);
    EXPECT_EQ(print.size(), 288u);
    expectLookalikes(set, print);

    qunsetenv("FENNIC_MODEL_DIR");
    VisionModel::resetSharedForTesting();
}
