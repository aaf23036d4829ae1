#include "library/Lately.h"

#include <gtest/gtest.h>

using namespace fennic;

// Readable QString values in test failure messages.
inline void PrintTo(const QString& s, std::ostream* os) { *os << '"' << s.toStdString() << '"'; }

namespace {

Date at(const char* iso) { return Date::fromIso(QString::fromLatin1(iso)); }

FileItem file(const QString& path, Date date, FileKind kind = FileKind::document)
{
    FileItem f;
    f.path = path;
    f.created = date;
    f.modified = date;
    f.added = date;
    f.kind = kind;
    return f;
}

// Which bucket each listed path landed in, as "bucket:path" in result order.
QStringList layout(const QList<Lately::Group>& groups)
{
    QStringList out;
    for (const Lately::Group& g : groups)
        for (const FileItem& f : g.files) out << Lately::rawValue(g.bucket) + u':' + f.path;
    return out;
}

Calendar zone(const char* id, Qt::DayOfWeek first = Qt::Monday) { return Calendar{QTimeZone(QByteArray(id)), first}; }

}  // namespace

TEST(LatelyTest, BucketsFollowCalendarDaysInTheCalendarsZone)
{
    // Wednesday 13 March 2024, 15:30 UTC.
    const Date wednesday = at("2024-03-13T15:30:00Z");
    const Calendar utc = zone("UTC");
    const auto one = [](Date date) { return QList<FileItem>{file("/f", date)}; };
    FileItem copied = file("/c/old-edit.txt", wednesday - 3600);
    copied.modified = wednesday - 20 * 86400.0;  // arrived today, last edited 20 days ago: shown by the edit
    // Monday 11 March 2024: a calendar week starting on Monday began today, one starting on
    // Sunday began yesterday; the buckets must not care.
    const Date monday = at("2024-03-11T09:00:00Z");
    const QList<FileItem> week{file("/sun", at("2024-03-10T12:00:00Z")), file("/fri", at("2024-03-08T12:00:00Z")),
                               file("/tue", at("2024-03-05T12:00:00Z")),
                               file("/mon-before", at("2024-03-04T12:00:00Z"))};
    const QStringList weekLayout{"yesterday:/sun", "thisWeek:/fri", "thisWeek:/tue", "earlier:/mon-before"};
    // Berlin's clocks went forward on Sunday 31 March 2024 (a 23-hour day) and back on Sunday
    // 27 October 2024 (a 25-hour day, all of it yesterday the day after).
    const Calendar berlin = zone("Europe/Berlin");
    const Date spring = at("2024-04-01T10:00:00+02:00");
    const Date cutoffEdge = at("2024-03-02T00:00:00+01:00");  // 30 calendar days before 1 April

    struct Case {
        const char* name;
        QList<FileItem> items;
        Date now;
        Calendar calendar;
        QStringList expected;
    } cases[] = {
        {"start of today", one(at("2024-03-13T00:00:00Z")), wednesday, utc, {"today:/f"}},
        {"last second of yesterday", one(at("2024-03-12T23:59:59Z")), wednesday, utc, {"yesterday:/f"}},
        {"start of yesterday", one(at("2024-03-12T00:00:00Z")), wednesday, utc, {"yesterday:/f"}},
        {"six days before today", one(at("2024-03-07T00:00:00Z")), wednesday, utc, {"thisWeek:/f"}},
        {"just before the week", one(at("2024-03-06T23:59:59Z")), wednesday, utc, {"earlier:/f"}},
        {"thirty days before today", one(at("2024-02-12T00:00:00Z")), wednesday, utc, {"earlier:/f"}},
        {"thirty days and one second", one(at("2024-02-11T23:59:59Z")), wednesday, utc, {}},
        {"59 minutes ahead", one(wednesday + 59 * 60), wednesday, utc, {"today:/f"}},
        {"exactly an hour ahead", one(wednesday + 3600), wednesday, utc, {"today:/f"}},
        {"two hours ahead", one(wednesday + 2 * 3600), wednesday, utc, {}},
        {"distant past", one(Date::distantPast()), wednesday, utc, {}},
        {"distant future", one(Date::distantFuture()), wednesday, utc, {}},
        {"display order, by path, without applications",
         {file("/b/a.txt", wednesday - 60), file("/x/week.txt", wednesday - 4 * 86400.0),
          file("/a/z.txt", wednesday - 7200), file("/Applications/New.app", wednesday - 60, FileKind::app),
          file("/y/yesterday.txt", wednesday - 86400.0), copied},
         wednesday,
         utc,
         {"today:/a/z.txt", "today:/b/a.txt", "yesterday:/y/yesterday.txt", "thisWeek:/x/week.txt",
          "earlier:/c/old-edit.txt"}},
        {"no files", {}, wednesday, utc, {}},
        {"week after a Monday start", week, monday, zone("UTC", Qt::Monday), weekLayout},
        {"week after a Sunday start", week, monday, zone("UTC", Qt::Sunday), weekLayout},
        // 03:00 UTC is still the evening before in New York.
        {"UTC day", one(at("2024-03-12T05:00:00Z")), at("2024-03-13T03:00:00Z"), utc, {"yesterday:/f"}},
        {"New York day",
         one(at("2024-03-12T05:00:00Z")),
         at("2024-03-13T03:00:00Z"),
         zone("America/New_York"),
         {"today:/f"}},
        {"23-hour day",
         {file("/a-start-of-sunday", at("2024-03-31T00:00:00+01:00")),
          file("/b-late-saturday", at("2024-03-30T23:30:00+01:00")),
          file("/c-monday", at("2024-04-01T00:00:00+02:00"))},
         spring,
         berlin,
         {"today:/c-monday", "yesterday:/a-start-of-sunday", "thisWeek:/b-late-saturday"}},
        {"25-hour day",
         {file("/a-first-minute", at("2024-10-27T00:00:00+02:00")),
          file("/b-last-minute", at("2024-10-27T23:59:00+01:00")),
          file("/c-saturday", at("2024-10-26T23:59:59+02:00"))},
         at("2024-10-28T08:00:00+01:00"),
         berlin,
         {"yesterday:/a-first-minute", "yesterday:/b-last-minute", "thisWeek:/c-saturday"}},
        // The thirty-day cutoff counts calendar days across the clock change too.
        {"cutoff across a clock change", one(cutoffEdge), spring, berlin, {"earlier:/f"}},
        {"just before that cutoff", one(cutoffEdge - 1), spring, berlin, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ASSERT_TRUE(c.calendar.timeZone.isValid());
        const QList<Lately::Group> groups = Lately::groups(c.items, c.now, c.calendar);
        EXPECT_EQ(layout(groups), c.expected);
        // One non-empty group per bucket, in display order.
        for (qsizetype i = 0; i < groups.size(); ++i) {
            EXPECT_FALSE(groups[i].files.isEmpty());
            EXPECT_TRUE(i == 0 || groups[i - 1].bucket < groups[i].bucket) << "group " << i;
        }
    }
}

TEST(LatelyTest, LargeBucketsAreInPlainStringOrder)
{
    // Many paths with long shared prefixes, paths that are prefixes of others, characters just
    // below and above "/", and text beyond the BMP (surrogates sort by code unit, above U+E000
    // characters would sort by code point): the bucket order must match sorting the strings.
    const Date now = at("2024-03-13T15:30:00Z");
    const QStringList tails{"a",
                            "b",
                            "a/b",
                            "a!",
                            "a0",
                            "ab",
                            "A",
                            QString::fromUtf8("\xC3\xA9"),
                            QString::fromUtf8("\xEF\xBD\x81"),
                            QString::fromUtf8("\xF0\x9F\xA6\x8A"),
                            "IMG_0001.jpg",
                            "IMG_0001.jpeg",
                            "IMG_00010.jpg",
                            ""};
    QList<FileItem> items;
    QStringList expected;
    for (int album = 0; album < 12; ++album)
        for (const QString& a : tails)
            for (const QString& b : tails)
                items << file(QStringLiteral("/home/user/Pictures/Photos/2024/Album %1/").arg(album % 7) + a + u'/' + b,
                                             now - 60);
    // Scrambled, deterministically.
    for (qsizetype i = 0; i < items.size(); ++i) items.swapItemsAt(i, (i * 7919) % items.size());
    for (const FileItem& f : items) expected << QStringLiteral("today:") + f.path;
    std::sort(expected.begin(), expected.end());
    EXPECT_TRUE(layout(Lately::groups(items, now, zone("UTC"))) == expected);
}

TEST(LatelyTest, RawValuesRoundTripAndAreCaseSensitive)
{
    for (const Lately::Bucket b : Lately::allBuckets) EXPECT_EQ(Lately::fromRawValue(Lately::rawValue(b)), b);
    EXPECT_FALSE(Lately::fromRawValue(u"ThisWeek").has_value());
}
