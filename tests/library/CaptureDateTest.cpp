#include "library/CaptureDate.h"
#include "library/Scanner.h"
#include "organise/DuplicateFinder.h"
#include "support/TempTree.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QTimeZone>
#include <gtest/gtest.h>

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#include <exiv2/exiv2.hpp>
#pragma GCC diagnostic pop

using namespace fennic;
using Taken = FileItem::TakenFrom;
using test::TempTree;

namespace {

Date utc(int y, int mo, int d, int h, int mi, int s)
{
    return Date::fromQDateTime(QDateTime(QDate(y, mo, d), QTime(h, mi, s), QTimeZone(0)));
}

Date local(int y, int mo, int d, int h, int mi, int s)
{
    return Date::fromQDateTime(QDateTime(QDate(y, mo, d), QTime(h, mi, s), QTimeZone::systemTimeZone()));
}

// A real JPEG carrying the given Exif date fields (empty ones left out).
QString photo(TempTree& tree, const QString& rel, const char* dateTime, const char* offset = nullptr,
              const char* subSeconds = nullptr, Qt::GlobalColor colour = Qt::darkCyan)
{
    QString path = tree.path(rel);
    QDir().mkpath(QFileInfo(path).absolutePath());
    QImage image(64, 48, QImage::Format_RGB32);
    image.fill(colour);
    EXPECT_TRUE(image.save(path, "JPEG"));
    auto img = Exiv2::ImageFactory::open(QFile::encodeName(path).toStdString());
    img->readMetadata();
    Exiv2::ExifData& exif = img->exifData();
    exif["Exif.Image.Model"] = std::string("Test camera");
    if (dateTime) exif["Exif.Photo.DateTimeOriginal"] = std::string(dateTime);
    if (offset) exif["Exif.Photo.OffsetTimeOriginal"] = std::string(offset);
    if (subSeconds) exif["Exif.Photo.SubSecTimeOriginal"] = std::string(subSeconds);
    img->writeMetadata();
    return path;
}

}  // namespace

TEST(CaptureDateTest, ParsesExifDates)
{
    struct Row {
        const char* name;
        const char* dateTime;
        const char* subSeconds;
        const char* offset;
        std::optional<CaptureDate::Reading> expected;
    };
    const Row rows[] = {
        {"with offset", "2024:05:01 10:00:00", "", "+02:00",
         CaptureDate::Reading{utc(2024, 5, 1, 8, 0, 0), Taken::cameraWithOffset}},
        {"west of Greenwich", "2024:05:01 10:00:00", "", "-05:30",
         CaptureDate::Reading{utc(2024, 5, 1, 15, 30, 0), Taken::cameraWithOffset}},
        {"fraction of a second", "2024:05:01 10:00:00", "25", "+00:00",
         CaptureDate::Reading{utc(2024, 5, 1, 10, 0, 0) + 0.25, Taken::cameraWithOffset}},
        {"no offset: local time", "2024:05:01 10:00:00", "", "",
         CaptureDate::Reading{local(2024, 5, 1, 10, 0, 0), Taken::cameraClock}},
        {"unreadable offset ignored", "2024:05:01 10:00:00", "", "2 hours",
         CaptureDate::Reading{local(2024, 5, 1, 10, 0, 0), Taken::cameraClock}},
        {"blank date", "    :  :     :  :  ", "", "+02:00", std::nullopt},
        {"impossible date", "2024:13:45 25:00:00", "", "", std::nullopt},
        {"empty", "", "", "", std::nullopt},
    };
    for (const Row& row : rows)
        EXPECT_EQ(CaptureDate::parse(row.dateTime, row.subSeconds, row.offset), row.expected) << row.name;
}

TEST(CaptureDateTest, ScannedPicturesGetTheCamerasDateWhenLookalikesAreSought)
{
    TempTree tree;
    const QString dated = photo(tree, "Pictures/dated.jpg", "2023:08:14 18:30:05", "+01:00");
    const QString undated = photo(tree, "Pictures/undated.jpg", nullptr);
    tree.write("Pictures/fake.jpg", "plain text");
    QList<FileItem> items = Scanner({tree.path("Pictures")}, {}).scan();
    ASSERT_EQ(items.size(), 3);
    CaptureDate::fillMissing(items);
    for (const FileItem& item : items) {
        SCOPED_TRACE(item.name.toStdString());
        if (item.path == dated) {
            EXPECT_EQ(item.taken, utc(2023, 8, 14, 17, 30, 5));
            EXPECT_EQ(item.takenFrom, Taken::cameraWithOffset);
            EXPECT_EQ(item.captureDate(), *item.taken);
        } else {
            EXPECT_FALSE(item.taken);
            EXPECT_EQ(item.takenFrom, Taken::fileSystem);
            EXPECT_EQ(item.captureDate(), item.created);
        }
    }
    (void)undated;
}

TEST(CaptureDateTest, LookalikesGoByWhenPhotosWereTakenNotWhenTheyWereCopied)
{
    // All written (copied) within moments of each other; the cameras' dates tell a burst of
    // three from three pictures taken days apart. Every picture shows the same thing, so only
    // the times keep them apart.
    TempTree tree;
    const QStringList burst{
        photo(tree, "Pictures/burst-1.jpg", "2024:07:01 12:00:00", "+02:00"),
        photo(tree, "Pictures/burst-2.jpg", "2024:07:01 12:00:02", "+02:00"),
        photo(tree, "Pictures/burst-3.jpg", "2024:07:01 12:00:05", "+02:00"),
    };
    photo(tree, "Pictures/monday.jpg", "2024:06:03 09:00:00", "+02:00");
    photo(tree, "Pictures/wednesday.jpg", "2024:06:05 09:00:00", "+02:00");
    photo(tree, "Pictures/friday.jpg", "2024:06:07 09:00:00", "+02:00");

    QList<FileItem> items = Scanner({tree.path("Pictures")}, {}).scan();
    ASSERT_EQ(items.size(), 6);
    CaptureDate::fillMissing(items);
    Date first = items.first().created, last = first;
    for (const FileItem& f : items) first = std::min(first, f.created), last = std::max(last, f.created);
    ASSERT_LT(last - first, DuplicateFinder::kLookalikeWindow) << "the copies must share one copy time";

    int printsMade = 0;
    const DuplicateFinder::FeaturePrintProvider same = [&](const QString&) {
        ++printsMade;
        return std::optional<DuplicateFinder::FeaturePrint>(DuplicateFinder::FeaturePrint{0.1f, 0.2f});
    };
    auto groupsOf = [&](const QList<FileItem>& list) {
        const auto groups = DuplicateFinder::lookalikes(list, DuplicateFinder::kLookalikeWindow,
                                                        DuplicateFinder::kLookalikeThreshold, same);
        QList<QStringList> out;
        for (const DuplicateGroup& g : groups) {
            QStringList paths;
            for (const FileItem& f : g.files) paths.append(f.path);
            out.append(paths);
        }
        return out;
    };
    EXPECT_EQ(groupsOf(items), QList<QStringList>{burst});
    EXPECT_EQ(printsMade, 3) << "pictures days apart are never compared, so never analysed";

    // Items loaded from the cache carry no camera dates until they are read again.
    for (FileItem& f : items) f.taken.reset(), f.takenFrom = Taken::fileSystem;
    EXPECT_EQ(groupsOf(items).size(), 1);
    EXPECT_EQ(groupsOf(items).front().size(), 6);
    CaptureDate::fillMissing(items);
    EXPECT_EQ(groupsOf(items), QList<QStringList>{burst});
}
