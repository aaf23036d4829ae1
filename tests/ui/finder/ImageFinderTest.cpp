// The finder's search over plain values: which pictures take part, the filters and look-alikes.
#include "finder/ImageFinder.h"
#include "FinderFixture.h"

#include <gtest/gtest.h>

using namespace fennic;

namespace {

ImageRecord recordFor(const QString& path, QHash<QString, float> labels, QList<TextLine> lines = {},
                      std::optional<QByteArray> print = std::nullopt)
{
    return ImageRecord(path, 100, Date{}, std::move(labels), {}, std::move(lines), QString(), std::move(print), 640,
                       480, false);
}

QStringList pathsOf(const QList<FoundPicture>& found)
{
    QStringList paths;
    for (const FoundPicture& picture : found) paths << picture.item.path;
    return paths;
}

}  // namespace

TEST(ImageFinder, OnlyPicturesOfTheLibraryWithARecordTakePart)
{
    const QList<FileItem> library{test::itemAt("/h/a.jpg"), test::itemAt("/h/b.png"), test::itemAt("/h/notes.txt")};
    QHash<QString, ImageRecord> records;
    for (const QString path : {"/h/a.jpg", "/h/notes.txt", "/h/gone.jpg"})
        records.insert(path, recordFor(path, {{"beach", 0.9f}}, {test::lineAt("beach", 0, 0, 1, 0.1f)}));

    const auto pictures = ImageFinder::gather(library, records);
    ASSERT_EQ(pictures->records.size(), 1);
    EXPECT_EQ(pictures->records.first().path, "/h/a.jpg");

    ImageFinder::Request request;
    request.query = "beach";
    EXPECT_EQ(pathsOf(ImageFinder::find(request, *pictures)), QStringList{"/h/a.jpg"});
    request.query = "   ";
    EXPECT_TRUE(ImageFinder::find(request, *pictures).isEmpty()) << "a blank request finds nothing";
    request.similarTo = "/h/gone.jpg";
    EXPECT_TRUE(ImageFinder::find(request, *pictures).isEmpty()) << "look-alikes of a picture no longer there";
}

TEST(ImageFinder, FiltersNarrowAndLookAlikesComeNearestFirst)
{
    QList<FileItem> library;
    QHash<QString, ImageRecord> records;
    const std::pair<const char*, std::vector<float>> prints[] = {{"/h/o.jpg", {0, 0, 0, 0}},
                                                                 {"/h/far.jpg", {1, 1, 0, 0}},
                                                                 {"/h/near.jpg", {0.4f, 0, 0, 0}},
                                                                 {"/h/nearer.jpg", {0.1f, 0, 0, 0}}};
    for (const auto& [path, print] : prints) {
        library.append(test::itemAt(path));
        records.insert(path, recordFor(path, {{"beach", 0.5f}}, {}, test::printOf(print)));
    }
    const auto pictures = ImageFinder::gather(library, records);

    ImageFinder::Request request;
    request.similarTo = "/h/o.jpg";
    const QList<FoundPicture> alike = ImageFinder::find(request, *pictures);
    EXPECT_EQ(pathsOf(alike), (QStringList{"/h/o.jpg", "/h/nearer.jpg", "/h/near.jpg"}));
    EXPECT_GT(alike[1].fit, alike[2].fit) << "nearer looks more alike";

    request.similarTo.reset();
    request.query = "beach";
    request.mode = VisualSearch::Mode::describe;
    request.shelf.toggleFavourite("/h/near.jpg");
    request.shelf.toggleFavourite("/h/far.jpg");
    request.shelf.addTag("trip", {"/h/near.jpg", "/h/o.jpg"});
    request.favouritesOnly = true;
    EXPECT_EQ(pathsOf(ImageFinder::find(request, *pictures)), (QStringList{"/h/far.jpg", "/h/near.jpg"}));
    request.tag = "trip";
    EXPECT_EQ(pathsOf(ImageFinder::find(request, *pictures)), QStringList{"/h/near.jpg"});
    request.favouritesOnly = false;
    EXPECT_EQ(pathsOf(ImageFinder::find(request, *pictures)), (QStringList{"/h/o.jpg", "/h/near.jpg"}));
}
