#pragma once

#include "model/Calendar.h"
#include "model/Date.h"
#include "model/FileItem.h"

#include <QList>
#include <QString>
#include <array>
#include <cstdint>
#include <optional>

// The recent files of the library grouped into day buckets, for the home page. Pure: the
// caller passes the time and the calendar, nothing reads the clock or the disk, so the GUI
// thread may compute it at every change of the item list.
namespace fennic::Lately {

// Day buckets in display order.
enum class Bucket : std::uint8_t {
    today,
    yesterday,
    thisWeek,
    earlier
};

inline constexpr std::array<Bucket, 4> allBuckets{Bucket::today, Bucket::yesterday, Bucket::thisWeek, Bucket::earlier};

QString rawValue(Bucket bucket);  // "today", "yesterday", "thisWeek", "earlier"
std::optional<Bucket> fromRawValue(QStringView raw);
QString title(Bucket bucket);  // "Today", "Yesterday", "This week", "Earlier"

// The files of one bucket, ordered by path.
struct Group {
    Bucket bucket = Bucket::today;
    QList<FileItem> files;

    Bucket id() const { return bucket; }
    friend bool operator==(const Group& a, const Group& b) { return a.bucket == b.bucket && a.files == b.files; }
};

// How far back the home page looks.
inline constexpr int kDefaultDays = 30;
// Dates further ahead of `now` than this are bogus and left out.
inline constexpr double kFutureSlack = 3600.0;

// The recent files: every item but applications whose date (FileItem::date) lies between the
// start of the day `days` calendar days before today and an hour after `now`, bucketed as
// today, yesterday (the previous calendar day), thisWeek (the five calendar days before that)
// and earlier. Buckets come in display order, empty ones left out; files in a bucket are
// sorted by path (plain UTF-16 comparison), not by date.
QList<Group> groups(const QList<FileItem>& items, Date now, const Calendar& calendar, int days = kDefaultDays);

}  // namespace fennic::Lately
