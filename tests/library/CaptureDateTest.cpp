#include "library/CaptureDate.h"
#include "library/CaptureDateFile.h"
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

TEST(CaptureDateTest, TheScanDatesPicturesAndRemembersThemUntilTheyChange)
{
    TempTree tree;
    const QString dated = photo(tree, "Pictures/dated.jpg", "2023:08:14 18:30:05", "+01:00");
    const QString clock = photo(tree, "Pictures/clock.jpg", "2023:08:14 18:30:05");
    const QString undated = photo(tree, "Pictures/undated.jpg", nullptr);
    const QString fake = tree.write("Pictures/fake.jpg", "plain text");
    const QString notes = tree.write("Pictures/notes.txt", "2023:08:14 18:30:05");
    // A whole second, which the file system keeps exactly, so that it can be put back below.
    const Date stamp = utc(2023, 9, 1, 12, 0, 0);
    tree.setTimes(dated, stamp);
    QList<FileItem> items = Scanner({tree.path("Pictures")}, {}).scan();
    ASSERT_EQ(items.size(), 5);
    auto byPath = [](const QList<FileItem>& list, const QString& path) {
        for (const FileItem& item : list)
            if (item.path == path) return item;
        ADD_FAILURE() << path.toStdString();
        return FileItem();
    };
    EXPECT_EQ(byPath(items, dated).taken, utc(2023, 8, 14, 17, 30, 5));
    EXPECT_EQ(byPath(items, dated).takenFrom, Taken::cameraWithOffset);
    EXPECT_EQ(byPath(items, dated).captureDate(), utc(2023, 8, 14, 17, 30, 5));
    EXPECT_EQ(byPath(items, clock).taken, local(2023, 8, 14, 18, 30, 5));
    EXPECT_EQ(byPath(items, clock).takenFrom, Taken::cameraClock);
    for (const QString& path : {undated, fake}) {
        EXPECT_FALSE(byPath(items, path).taken) << path.toStdString();
        EXPECT_EQ(byPath(items, path).takenFrom, Taken::fileSystem) << "looked for, none found";
        EXPECT_EQ(byPath(items, path).captureDate(), byPath(items, path).created);
    }
    EXPECT_EQ(byPath(items, notes).takenFrom, Taken::unread) << "only pictures are opened";

    // A later scan takes the remembered date of an unchanged picture without opening it: the
    // picture's date is rewritten in place and its modification time put back, so only a
    // reread would see the new date.
    const CaptureDate::Memory memory = CaptureDate::remember(items);
    EXPECT_EQ(memory.size(), 4);
    ASSERT_EQ(byPath(items, dated).modified, stamp);
    {
        QFile file(dated);
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        QByteArray bytes = file.readAll();
        const qsizetype at = bytes.indexOf("2023:08:14 18:30:05");
        ASSERT_GT(at, 0);
        bytes.replace(at, 19, "1999:01:01 00:00:00");
        ASSERT_TRUE(file.seek(0));
        ASSERT_EQ(file.write(bytes), bytes.size());
    }
    tree.setTimes(dated, stamp);
    Scanner again({tree.path("Pictures")}, {});
    again.setKnownDates(std::make_shared<const CaptureDate::Memory>(memory));
    const QList<FileItem> rescanned = again.scan();
    EXPECT_EQ(byPath(rescanned, dated).taken, utc(2023, 8, 14, 17, 30, 5)) << "remembered, not reread";
    EXPECT_EQ(byPath(rescanned, clock).taken, local(2023, 8, 14, 18, 30, 5));
    EXPECT_EQ(byPath(rescanned, undated).takenFrom, Taken::fileSystem);

    // A picture edited since is read again.
    tree.setTimes(dated, stamp + 60.0);
    const QList<FileItem> edited = again.scan();
    EXPECT_EQ(byPath(edited, dated).taken, utc(1998, 12, 31, 23, 0, 0));
    EXPECT_EQ(byPath(edited, dated).takenFrom, Taken::cameraWithOffset);
}

TEST(CaptureDateTest, DatesSurviveTheirFileAndADamagedFileIsIgnored)
{
    using From = FileItem::TakenFrom;
    CaptureDate::Memory memory;
    memory.insert("/home/u/Pictures/a.jpg", {120, Date{7.5e8}, Date{7.4e8 + 0.25}, From::cameraWithOffset});
    memory.insert("/home/u/Pictures/b.jpg", {64, Date{7.5e8}, std::nullopt, From::fileSystem});
    memory.insert("/home/u/Pictures/ç 日本.jpg", {1, Date{-1.0}, Date{3.0}, From::cameraClock});
    const QByteArray bytes = CaptureDateFile::encode(memory);
    EXPECT_EQ(CaptureDateFile::decode(bytes), memory);
    EXPECT_EQ(CaptureDateFile::decode(CaptureDateFile::encode({})), CaptureDate::Memory());

    for (qsizetype cut = 0; cut < bytes.size(); cut += 5)
        EXPECT_FALSE(CaptureDateFile::decode(bytes.left(cut))) << "cut at " << cut;
    EXPECT_FALSE(CaptureDateFile::decode(bytes + "x")) << "trailing bytes";
    QByteArray wrongSignature = bytes;
    wrongSignature[0] = 'x';
    EXPECT_FALSE(CaptureDateFile::decode(wrongSignature));
    CaptureDate::Memory undated;
    undated.insert("/home/u/Pictures/b.jpg", memory["/home/u/Pictures/b.jpg"]);
    QByteArray unknownSource = CaptureDateFile::encode(undated);
    ASSERT_EQ(CaptureDateFile::decode(unknownSource), undated);
    unknownSource[unknownSource.size() - 1] = char(9);  // where the date came from
    EXPECT_FALSE(CaptureDateFile::decode(unknownSource));

    TempTree tree;
    const QString file = tree.path("capture-dates");
    ASSERT_TRUE(CaptureDateFile::save(file, memory));
    EXPECT_EQ(CaptureDateFile::load(file), memory);
    EXPECT_FALSE(CaptureDateFile::load(tree.path("missing")));

    // Recalled only onto the pictures whose size and modification time still match.
    FileItem same;
    same.path = "/home/u/Pictures/a.jpg";
    same.name = "a.jpg";
    same.ext = "jpg";
    same.size = 120;
    same.modified = Date{7.5e8};
    same.kind = FileKind::image;
    FileItem grown = same;
    grown.size = 121;
    QList<FileItem> items{same, grown};
    CaptureDate::recall(items, memory);
    EXPECT_EQ(items[0].taken, Date{7.4e8 + 0.25});
    EXPECT_EQ(items[0].takenFrom, From::cameraWithOffset);
    EXPECT_EQ(items[1].takenFrom, From::unread);
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

    // Items from a cache without its dates file carry no camera dates until they are read again.
    for (FileItem& f : items) f.taken.reset(), f.takenFrom = Taken::unread;
    EXPECT_EQ(groupsOf(items).size(), 1);
    EXPECT_EQ(groupsOf(items).front().size(), 6);
    CaptureDate::fillMissing(items);
    EXPECT_EQ(groupsOf(items), QList<QStringList>{burst});
}
