// fennic-cli images index/show/find/similar, run as a real process over pictures drawn into a
// real fixture folder.
#include "CliRun.h"
#include "images/ImageIndex.h"
#include "model/SupportFiles.h"
#include "support/TempTree.h"

#include <QFont>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPainter>
#include <gtest/gtest.h>
#include <tuple>

using namespace fennic;

namespace {

QImage page(const QString& text)
{
    QImage image(640, 120, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(30);
    painter.setFont(font);
    painter.drawText(20, 70, text);
    return image;
}

// Soft blobs of colour: a picture with no text, resized copies of which look alike.
QImage blobs(int seed)
{
    QImage image(480, 320, QImage::Format_RGB32);
    image.fill(QColor::fromHsv(seed * 70 % 360, 120, 220));
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    for (int i = 0; i < 12; ++i) {
        painter.setBrush(QColor::fromHsv((seed * 53 + i * 29) % 360, 200, 90 + (i * 37) % 160));
        painter.drawEllipse(QPointF((seed * 97 + i * 71) % 480, (seed * 31 + i * 53) % 320), 40 + i * 5, 30 + i * 4);
    }
    return image;
}

// fennic-cli images ARGS over the library in `root`.
test::CliResult images(const QStringList& args, const QString& root)
{
    return test::runCli(QStringList{"images"} + args, root);
}

QJsonDocument json(const test::CliResult& r) { return QJsonDocument::fromJson(r.out.toUtf8()); }

}  // namespace

TEST(CliImagesTest, IndexesAFolderThenFindsShowsAndComparesPictures)
{
    test::TempTree tree;
    const QString root = tree.mkdir("home");
    const QString shot = tree.write("home/Pictures/Screenshot invoice.png");
    ASSERT_TRUE(page("Quarterly invoice 4471").save(shot));
    const QString original = tree.path("home/Pictures/Blobs.png");
    ASSERT_TRUE(blobs(1).save(original));
    ASSERT_TRUE(blobs(1)
                    .scaled(360, 240, Qt::KeepAspectRatio, Qt::SmoothTransformation)
                    .save(tree.path("home/Pictures/Blobs small.jpg"), nullptr, 85));
    const QString broken = tree.write("home/Pictures/broken.png", QByteArray("\x89PNG\r\n\x1a\nbroken", 14));

    ASSERT_EQ(test::runCli({"scan"}, root).exitCode, 0);
    const auto index = images({"index", "--languages", "en-US,xx-YY"}, root);
    ASSERT_EQ(index.exitCode, 0) << index.err.toStdString();
    EXPECT_TRUE(index.out.startsWith("Read 4 pictures in ") && index.out.contains("1 unreadable"))
        << index.out.toStdString();
    EXPECT_TRUE(index.err.contains("xx-YY")) << index.err.toStdString();
    // Saved in the library's support folder, with the languages it could read.
    EXPECT_EQ(ImageIndex::load(SupportFiles::forFixture(root).imageIndex()).value_or(ImageIndex()).languages,
              QStringList{"en-US"});

    // Nothing changed: nothing is read again.
    const auto again = images({"index", "--languages", "en-US"}, root);
    EXPECT_TRUE(again.exitCode == 0 && again.out.startsWith("Nothing to read")) << again.out.toStdString();

    // Words in a picture, then its record with the line.
    const auto find = images({"find", "invoice 4471", "--mode", "text", "--json"}, root);
    ASSERT_EQ(find.exitCode, 0) << find.err.toStdString();
    const QJsonArray hits = json(find).array();
    ASSERT_EQ(hits.size(), 1) << find.out.toStdString();
    EXPECT_EQ(hits[0]["path"].toString(), shot);
    EXPECT_EQ(hits[0]["matched"].toInt(), 2);

    const auto show = images({"show", shot, "--json"}, root);
    ASSERT_EQ(show.exitCode, 0) << show.err.toStdString();
    const QJsonObject record = json(show).object();
    EXPECT_EQ(record["pixelWidth"].toInt(), 640);
    EXPECT_FALSE(record["failed"].toBool());
    EXPECT_EQ(record["lines"][0]["text"].toString(), "Quarterly invoice 4471");
    EXPECT_TRUE(images({"show", shot}, root).out.contains("Quarterly invoice 4471"));
    EXPECT_TRUE(json(images({"show", broken, "--json"}, root)).object()["failed"].toBool());

    // Look-alikes: the resized copy, well within the look-alike distance.
    const auto similar = images({"similar", original, "--json"}, root);
    ASSERT_EQ(similar.exitCode, 0) << similar.err.toStdString();
    const QJsonArray near = json(similar).array();
    EXPECT_TRUE(near[0]["path"].toString().endsWith("Blobs small.jpg")) << similar.out.toStdString();
    const double distance = near[0]["distance"].toDouble(-1);
    EXPECT_TRUE(distance >= 0 && distance < 0.45) << distance;
}

TEST(CliImagesTest, UsageMistakesAndMissingRecords)
{
    test::TempTree tree;
    const QString root = tree.mkdir("home");
    const std::tuple<const char*, QStringList, int> cases[] = {
        {"no subcommand", {}, 2},
        {"unknown subcommand", {"paint"}, 2},
        {"find without a query", {"find"}, 2},
        {"bad mode", {"find", "x", "--mode=colour"}, 2},
        {"mode for show", {"show", "a.png", "--mode", "text"}, 2},
        {"languages for find", {"find", "x", "--languages", "en-US"}, 2},
        {"two paths", {"similar", "a.png", "b.png"}, 2},
        {"misspelt flag, not a query word", {"find", "x", "--jsn"}, 2},
        {"index without a library", {"index"}, 1},
        {"show without a record", {"show", root + "/none.png"}, 1},
        {"similar without a record", {"similar", root + "/none.png"}, 1},
    };
    for (const auto& [name, args, exitCode] : cases) {
        const auto run = images(args, root);
        EXPECT_EQ(run.exitCode, exitCode) << name << ": " << run.err.toStdString();
        EXPECT_FALSE(run.err.isEmpty()) << name;
    }
    // An empty index finds nothing, quietly.
    const auto find = images({"find", "beach", "--json"}, root);
    EXPECT_EQ(find.exitCode, 0);
    EXPECT_TRUE(json(find).array().isEmpty());
    // Words nothing places are named, so that no hits do not read as "no such pictures".
    const auto unknown = images({"find", "a zzyzx on the beach", "--mode", "describe"}, root);
    EXPECT_EQ(unknown.exitCode, 0);
    EXPECT_TRUE(unknown.out.contains(QStringLiteral("Not recognised: \u201Czzyzx\u201D"))) << unknown.out.toStdString();
    EXPECT_FALSE(unknown.out.contains(QStringLiteral("beach\u201D")));
}
