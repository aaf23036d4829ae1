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

Calendar zone(const char* id, Qt::DayOfWeek first = Qt::Monday)
{
    return Calendar{QTimeZone(QByteArray(id)), first};
}

}  // namespace

TEST(LatelyTest, BucketBoundaries)
{
    // Wednesday 13 March 2024, 15:30 UTC.
    const Date now = at("2024-03-13T15:30:00Z");
    struct Case {
        const char* name;
        Date date;
        const char* bucket;  // nullptr: not listed
    };
    const Case cases[] = {
        {"start of today", at("2024-03-13T00:00:00Z"), "today"},
        {"last second of yesterday", at("2024-03-12T23:59:59Z"), "yesterday"},
        {"start of yesterday", at("2024-03-12T00:00:00Z"), "yesterday"},
        {"six days before today", at("2024-03-07T00:00:00Z"), "thisWeek"},
        {"just before the week", at("2024-03-06T23:59:59Z"), "earlier"},
        {"thirty days before today", at("2024-02-12T00:00:00Z"), "earlier"},
        {"thirty days and one second", at("2024-02-11T23:59:59Z"), nullptr},
        {"59 minutes ahead", now + 59 * 60, "today"},
        {"exactly an hour ahead", now + 3600, "today"},
        {"two hours ahead", now + 2 * 3600, nullptr},
        {"distant past", Date::distantPast(), nullptr},
        {"distant future", Date::distantFuture(), nullptr},
    };
    for (const Case& c : cases) {
        const auto groups = Lately::groups({file("/f", c.date)}, now, zone("UTC"), 30);
        if (!c.bucket) {
            EXPECT_TRUE(groups.isEmpty()) << c.name;
            continue;
        }
        ASSERT_EQ(groups.size(), 1) << c.name;
        EXPECT_EQ(Lately::rawValue(groups[0].bucket), QLatin1String(c.bucket)) << c.name;
    }
}

TEST(LatelyTest, GroupsInDisplayOrderSortedByPathWithoutApplications)
{
    const Date now = at("2024-03-13T15:30:00Z");
    FileItem copied = file("/c/old-edit.txt", now - 3600);
    copied.modified = now - 20 * 86400.0;  // arrived today, last edited 20 days ago: shown by the edit
    const QList<FileItem> items{
        file("/b/a.txt", now - 60),
        file("/x/week.txt", now - 4 * 86400.0),
        file("/a/z.txt", now - 7200),
        file("/Applications/New.app", now - 60, FileKind::app),
        file("/y/yesterday.txt", now - 86400.0),
        copied,
    };
    const auto groups = Lately::groups(items, now, zone("UTC"));
    EXPECT_EQ(layout(groups), (QStringList{"today:/a/z.txt", "today:/b/a.txt", "yesterday:/y/yesterday.txt",
                                           "thisWeek:/x/week.txt", "earlier:/c/old-edit.txt"}));
    ASSERT_EQ(groups.size(), 4);
    EXPECT_EQ(Lately::title(groups[2].bucket), "This week");

    EXPECT_TRUE(Lately::groups({}, now, zone("UTC")).isEmpty());
    // Only the buckets that hold files are listed.
    const auto onlyEarlier = Lately::groups({file("/e", now - 10 * 86400.0)}, now, zone("UTC"));
    ASSERT_EQ(onlyEarlier.size(), 1);
    EXPECT_EQ(onlyEarlier[0].bucket, Lately::Bucket::earlier);
}

TEST(LatelyTest, LargeBucketsAreInPlainStringOrder)
{
    // Many paths with long shared prefixes, paths that are prefixes of others, characters just
    // below and above "/", and text beyond the BMP (surrogates sort by code unit, above U+E000
    // characters would sort by code point): the bucket order must match sorting the strings.
    const Date now = at("2024-03-13T15:30:00Z");
    const QStringList tails{"a", "b", "a/b", "a!", "a0", "ab", "A", QString::fromUtf8("\xC3\xA9"), QString::fromUtf8("\xEF\xBD\x81"),
                            QString::fromUtf8("\xF0\x9F\xA6\x8A"), "IMG_0001.jpg", "IMG_0001.jpeg", "IMG_00010.jpg", ""};
    QList<FileItem> items;
    for (int album = 0; album < 12; ++album)
        for (const QString& a : tails)
            for (const QString& b : tails)
                items << file(QStringLiteral("/home/user/Pictures/Photos/2024/Album %1/").arg(album % 7) + a + u'/' + b, now - 60);
    // Scrambled, deterministically.
    for (qsizetype i = 0; i < items.size(); ++i) items.swapItemsAt(i, (i * 7919) % items.size());

    const auto groups = Lately::groups(items, now, zone("UTC"));
    ASSERT_EQ(groups.size(), 1);
    QStringList expected;
    for (const FileItem& f : items) expected << f.path;
    std::sort(expected.begin(), expected.end());
    QStringList actual;
    for (const FileItem& f : groups[0].files) actual << f.path;
    EXPECT_TRUE(actual == expected);
}

TEST(LatelyTest, WeekIsTheFiveDaysBeforeYesterdayWhateverTheFirstWeekday)
{
    // Monday 11 March 2024: a calendar week starting on Monday began today, one starting on
    // Sunday began yesterday; the buckets must not care.
    const Date now = at("2024-03-11T09:00:00Z");
    const QList<FileItem> items{
        file("/sun", at("2024-03-10T12:00:00Z")),
        file("/fri", at("2024-03-08T12:00:00Z")),
        file("/tue", at("2024-03-05T12:00:00Z")),
        file("/mon-before", at("2024-03-04T12:00:00Z")),
    };
    const QStringList expected{"yesterday:/sun", "thisWeek:/fri", "thisWeek:/tue", "earlier:/mon-before"};
    EXPECT_EQ(layout(Lately::groups(items, now, zone("UTC", Qt::Monday))), expected);
    EXPECT_EQ(layout(Lately::groups(items, now, zone("UTC", Qt::Sunday))), expected);
}

TEST(LatelyTest, DaysFollowTheCalendarsTimeZone)
{
    // 03:00 UTC is still the evening before in New York.
    const Date now = at("2024-03-13T03:00:00Z");
    const QList<FileItem> items{file("/f", at("2024-03-12T05:00:00Z"))};
    EXPECT_EQ(layout(Lately::groups(items, now, zone("UTC"))), QStringList{"yesterday:/f"});
    EXPECT_EQ(layout(Lately::groups(items, now, zone("America/New_York"))), QStringList{"today:/f"});
}

TEST(LatelyTest, DayStartsSurviveClockChanges)
{
    const Calendar berlin = zone("Europe/Berlin");
    ASSERT_TRUE(berlin.timeZone.isValid());

    // Clocks went forward on Sunday 31 March 2024, so that day had 23 hours: yesterday began
    // 23 hours (not 24) before today did.
    const Date spring = at("2024-04-01T10:00:00+02:00");
    const QList<FileItem> springItems{
        file("/a-start-of-sunday", at("2024-03-31T00:00:00+01:00")),
        file("/b-late-saturday", at("2024-03-30T23:30:00+01:00")),
        file("/c-monday", at("2024-04-01T00:00:00+02:00")),
    };
    EXPECT_EQ(layout(Lately::groups(springItems, spring, berlin)),
              (QStringList{"today:/c-monday", "yesterday:/a-start-of-sunday", "thisWeek:/b-late-saturday"}));

    // Clocks went back on Sunday 27 October 2024: a 25-hour day, all of it yesterday.
    const Date autumn = at("2024-10-28T08:00:00+01:00");
    const QList<FileItem> autumnItems{
        file("/a-first-minute", at("2024-10-27T00:00:00+02:00")),
        file("/b-last-minute", at("2024-10-27T23:59:00+01:00")),
        file("/c-saturday", at("2024-10-26T23:59:59+02:00")),
    };
    EXPECT_EQ(layout(Lately::groups(autumnItems, autumn, berlin)),
              (QStringList{"yesterday:/a-first-minute", "yesterday:/b-last-minute", "thisWeek:/c-saturday"}));

    // The thirty-day cutoff counts calendar days across the change too.
    const Date cutoffEdge = at("2024-03-02T00:00:00+01:00");  // 30 calendar days before 1 April
    EXPECT_EQ(layout(Lately::groups({file("/edge", cutoffEdge)}, spring, berlin)), QStringList{"earlier:/edge"});
    EXPECT_TRUE(Lately::groups({file("/edge", cutoffEdge - 1)}, spring, berlin).isEmpty());
}

TEST(LatelyTest, BucketNames)
{
    for (const Lately::Bucket b : Lately::allBuckets) EXPECT_EQ(Lately::fromRawValue(Lately::rawValue(b)), b);
    EXPECT_EQ(Lately::rawValue(Lately::Bucket::thisWeek), "thisWeek");
    EXPECT_EQ(Lately::title(Lately::Bucket::today), "Today");
    EXPECT_FALSE(Lately::fromRawValue(u"ThisWeek").has_value());
}
