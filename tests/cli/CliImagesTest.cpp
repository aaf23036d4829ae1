// fennic-cli images index/show/find/similar, run as a real process over pictures drawn into a
// real fixture folder.
#include "CliRun.h"
#include "images/ImageIndex.h"
#include "images/VisionModel.h"
#include "support/TempTree.h"

#include <QFileInfo>
#include <QFont>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPainter>
#include <gtest/gtest.h>

using namespace fennic;
using fennic::test::runCli;

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

QJsonArray jsonArray(const QString& text)
{
    return QJsonDocument::fromJson(text.toUtf8()).array();
}

}  // namespace

TEST(CliImagesTest, IndexesAFolderThenFindsShowsAndComparesPictures)
{
    test::TempTree tree;
    const QString root = tree.path(QStringLiteral("home"));
    tree.mkdir(QStringLiteral("home/Pictures"));
    const QString shot = tree.path(QStringLiteral("home/Pictures/Screenshot invoice.png"));
    ASSERT_TRUE(page(QStringLiteral("Quarterly invoice 4471")).save(shot));
    const QString original = tree.path(QStringLiteral("home/Pictures/Blobs.png"));
    ASSERT_TRUE(blobs(1).save(original));
    ASSERT_TRUE(blobs(1).scaled(360, 240, Qt::KeepAspectRatio, Qt::SmoothTransformation)
                    .save(tree.path(QStringLiteral("home/Pictures/Blobs small.jpg")), nullptr, 85));
    ASSERT_TRUE(blobs(4).save(tree.path(QStringLiteral("home/Pictures/Other.png"))));
    tree.write(QStringLiteral("home/Pictures/broken.png"), QByteArray("\x89PNG\r\n\x1a\nbroken", 14));

    ASSERT_EQ(runCli({QStringLiteral("scan")}, root).exitCode, 0);
    const auto index = runCli({QStringLiteral("images"), QStringLiteral("index"), QStringLiteral("--languages"),
                               QStringLiteral("en-US,xx-YY")},
                              root);
    ASSERT_EQ(index.exitCode, 0) << index.err.toStdString();
    EXPECT_TRUE(index.out.startsWith(QStringLiteral("Read 5 pictures in "))) << index.out.toStdString();
    EXPECT_TRUE(index.out.contains(QStringLiteral("1 unreadable"))) << index.out.toStdString();
    EXPECT_TRUE(index.err.contains(QStringLiteral("xx-YY"))) << index.err.toStdString();
    const auto saved = ImageIndex::load(root + QStringLiteral("/.fennic-support/images.plist"));
    ASSERT_TRUE(saved.has_value());
    EXPECT_EQ(saved->records.size(), 5);
    EXPECT_EQ(saved->languages, QStringList{QStringLiteral("en-US")});

    // Nothing changed: nothing is read again.
    const auto again = runCli({QStringLiteral("images"), QStringLiteral("index"), QStringLiteral("--languages"),
                               QStringLiteral("en-US")},
                              root);
    ASSERT_EQ(again.exitCode, 0) << again.err.toStdString();
    EXPECT_TRUE(again.out.startsWith(QStringLiteral("Nothing to read"))) << again.out.toStdString();

    // Words in a picture.
    const auto find = runCli({QStringLiteral("images"), QStringLiteral("find"), QStringLiteral("invoice 4471"),
                              QStringLiteral("--mode"), QStringLiteral("text"), QStringLiteral("--json")},
                             root);
    ASSERT_EQ(find.exitCode, 0) << find.err.toStdString();
    const QJsonArray hits = jsonArray(find.out);
    ASSERT_EQ(hits.size(), 1) << find.out.toStdString();
    const QString shotPath = hits[0].toObject().value(QStringLiteral("path")).toString();
    EXPECT_TRUE(shotPath.endsWith(QStringLiteral("Screenshot invoice.png")));
    EXPECT_GE(hits[0].toObject().value(QStringLiteral("score")).toDouble(), 1.1);
    EXPECT_EQ(hits[0].toObject().value(QStringLiteral("matched")).toInt(), 2);

    // The record, with its line and box.
    const auto show = runCli({QStringLiteral("images"), QStringLiteral("show"), shotPath, QStringLiteral("--json")}, root);
    ASSERT_EQ(show.exitCode, 0) << show.err.toStdString();
    const QJsonObject record = QJsonDocument::fromJson(show.out.toUtf8()).object();
    EXPECT_EQ(record.value(QStringLiteral("pixelWidth")).toInt(), 640);
    EXPECT_FALSE(record.value(QStringLiteral("failed")).toBool());
    const QJsonArray lines = record.value(QStringLiteral("lines")).toArray();
    ASSERT_EQ(lines.size(), 1);
    EXPECT_EQ(lines[0].toObject().value(QStringLiteral("text")).toString(), QStringLiteral("Quarterly invoice 4471"));
    EXPECT_NEAR(lines[0].toObject().value(QStringLiteral("x")).toDouble(), 20.0 / 640, 0.02);
    const auto text = runCli({QStringLiteral("images"), QStringLiteral("show"), shotPath}, root);
    EXPECT_TRUE(text.out.contains(QStringLiteral("Quarterly invoice 4471"))) << text.out.toStdString();

    const auto broken = runCli({QStringLiteral("images"), QStringLiteral("show"), root + QStringLiteral("/Pictures/broken.png"),
                                QStringLiteral("--json")},
                               root);
    ASSERT_EQ(broken.exitCode, 0) << broken.err.toStdString();
    EXPECT_TRUE(QJsonDocument::fromJson(broken.out.toUtf8()).object().value(QStringLiteral("failed")).toBool());

    // Look-alikes: the resized copy, nearest first and well within the look-alike distance.
    const auto similar = runCli({QStringLiteral("images"), QStringLiteral("similar"), original, QStringLiteral("--json")}, root);
    ASSERT_EQ(similar.exitCode, 0) << similar.err.toStdString();
    const QJsonArray near = jsonArray(similar.out);
    ASSERT_FALSE(near.isEmpty()) << similar.out.toStdString();
    EXPECT_TRUE(near[0].toObject().value(QStringLiteral("path")).toString().endsWith(QStringLiteral("Blobs small.jpg")));
    EXPECT_LT(near[0].toObject().value(QStringLiteral("distance")).toDouble(), 0.45);
    for (const QJsonValue& hit : near)
        EXPECT_FALSE(hit.toObject().value(QStringLiteral("path")).toString().endsWith(QStringLiteral("Blobs.png")));
}

TEST(CliImagesTest, UsageMistakesAndMissingRecords)
{
    test::TempTree tree;
    const QString root = tree.mkdir(QStringLiteral("home"));
    struct Case {
        const char* name;
        QStringList args;
        int exitCode;
    };
    const Case cases[] = {
        {"no subcommand", {QStringLiteral("images")}, 2},
        {"unknown subcommand", {QStringLiteral("images"), QStringLiteral("paint")}, 2},
        {"find without a query", {QStringLiteral("images"), QStringLiteral("find")}, 2},
        {"bad mode", {QStringLiteral("images"), QStringLiteral("find"), QStringLiteral("x"), QStringLiteral("--mode=colour")}, 2},
        {"mode for show", {QStringLiteral("images"), QStringLiteral("show"), QStringLiteral("a.png"), QStringLiteral("--mode"), QStringLiteral("text")}, 2},
        {"languages for find", {QStringLiteral("images"), QStringLiteral("find"), QStringLiteral("x"), QStringLiteral("--languages"), QStringLiteral("en-US")}, 2},
        {"two paths", {QStringLiteral("images"), QStringLiteral("similar"), QStringLiteral("a.png"), QStringLiteral("b.png")}, 2},
        {"misspelt flag", {QStringLiteral("images"), QStringLiteral("show"), QStringLiteral("a.png"), QStringLiteral("--jsn")}, 2},
        {"index without a library", {QStringLiteral("images"), QStringLiteral("index")}, 1},
        {"show without a record", {QStringLiteral("images"), QStringLiteral("show"), root + QStringLiteral("/none.png")}, 1},
        {"similar without a record", {QStringLiteral("images"), QStringLiteral("similar"), root + QStringLiteral("/none.png")}, 1},
    };
    for (const Case& c : cases) {
        const auto run = runCli(c.args, root);
        EXPECT_EQ(run.exitCode, c.exitCode) << c.name << ": " << run.err.toStdString();
        EXPECT_FALSE(run.err.isEmpty()) << c.name;
    }
    // An empty index finds nothing, quietly.
    const auto find = runCli({QStringLiteral("images"), QStringLiteral("find"), QStringLiteral("beach"), QStringLiteral("--json")}, root);
    EXPECT_EQ(find.exitCode, 0);
    EXPECT_TRUE(jsonArray(find.out).isEmpty());
}
