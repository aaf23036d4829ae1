// The request parser, rule by rule, through analyze(): each table row names what it pins.
#include "SearchTestSupport.h"

#include <gtest/gtest.h>

using namespace fennic;
using namespace fennic::test;

namespace {

using F = SearchFilter;

struct Row {
    const char* name;
    QString request;
    QList<SearchFilter> filters;
};

// Wednesday 14 May 2025, 10:30 UTC.
const Date kNow = at("2025-05-14T10:30");

void expectRows(const std::vector<Row>& rows, Date now = kNow, const Calendar& calendar = mondayFirst())
{
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.name) + ": \"" + row.request.toStdString() + "\"");
        EXPECT_EQ(SearchParser::analyze(row.request, now, calendar, kHome).query.filters, row.filters);
    }
}

// Date filters over UTC wall-clock times ("2025-05-14" is midnight): open after `from`,
// open before `to`, or from `from` up to (not including) `to`.
F since(const char* from, const char* label) { return F::date(at(from), Date::distantFuture(), label); }
F before(const char* to, const char* label) { return F::date(Date::distantPast(), at(to), label); }
F between(const char* from, const char* to, const char* label) { return F::date(at(from), at(to), label); }

F pdfs() { return F::exts({"pdf"}, "PDFs"); }
const F kImages = F::kind(FileKind::image);

}  // namespace

TEST(SearchParser, SizeBoundsUnitsAndWords)
{
    expectRows({
        {"over is a strict lower bound, powers of 1000", "over 5 mb", {F::minSize(5'000'000, true)}},
        {"at least is inclusive, decimal point", "at least 1.5 gb", {F::minSize(1'500'000'000, false)}},
        {"comma is a decimal point", "under 2,5 MB", {F::maxSize(2'500'000, true)}},
        {"up to is inclusive, bytes", "up to 10 bytes", {F::maxSize(10, false)}},
        {"no less than, plural unit word", "no less than 2 gigs", {F::minSize(2'000'000'000, false)}},
        {"symbol >= without a blank", ">=3mb", {F::minSize(3'000'000, false)}},
        {"symbol <", "< 1 tb", {F::maxSize(1'000'000'000'000, true)}},
        {"symbol ≥ with one-letter unit", "≥ 2 k", {F::minSize(2'000, false)}},
        {"fraction truncated to whole bytes", "over 1.0005 kb", {F::minSize(1'000, true)}},
        {"two bounds", "over 1 mb under 3 mb", {F::minSize(1'000'000, true), F::maxSize(3'000'000, true)}},
        {"size without a prefix stays text", "5 mb pdfs", {pdfs(), F::text("5 mb")}},
        {"a unit must end its word", "over 5 mbx", {F::text("over 5 mbx")}},
        {"size word huge", "huge videos", {F::minSize(100'000'000, true), F::kind(FileKind::video)}},
        {"size word tiny", "tiny images", {F::maxSize(1'000'000, true), kImages}},
        {"size words only as whole words", "bigger smallish", {F::text("bigger smallish")}},
    });
}

TEST(SearchParser, RelativeAges)
{
    expectRows({
        {"number word phrase", "older than a couple of weeks", {before("2025-04-30T10:30", "Older than 2 weeks")}},
        {"months by the calendar", "older than 3 months", {before("2025-02-14T10:30", "Older than 3 months")}},
        {"more than ... ago, singular", "more than 1 year ago", {before("2024-05-14T10:30", "Older than 1 year")}},
        {"over a ... old is an age", "over a year old", {before("2024-05-14T10:30", "Older than 1 year")}},
        {"N units old", "2 weeks old", {before("2025-04-30T10:30", "Older than 2 weeks")}},
        {"a few", "older than a few days", {before("2025-05-11T10:30", "Older than 3 days")}},
        {"unreadable count falls to the age word",
         "older than 99999999999 days",
         {before("2024-11-14T10:30", "Older than 6 months"), F::text("than 99999999999 days")}},
        {"last N days", "last 3 days", {since("2025-05-11T10:30", "Last 3 days")}},
        {"in the past N hours", "in the past 2 hours", {since("2025-05-14T08:30", "Last 2 hours")}},
        {"last 1 day stays singular", "last 1 day", {since("2025-05-13T10:30", "Last 1 day")}},
        {"within the last, number word", "within the last ten days", {since("2025-05-04T10:30", "Last 10 days")}},
        {"past unit", "past week", {since("2025-05-07T10:30", "Past week")}},
        {"over the past year is no size", "pdfs over the past year", {pdfs(), since("2024-05-14T10:30", "Past year")}},
        {"a month ago is not a count of one after last", "last a month", {F::text("last month")}},
    });
}

TEST(SearchParser, NamedPeriodsFollowTheCalendar)
{
    expectRows({
        {"today", "today", {since("2025-05-14", "Today")}},
        {"yesterday", "yesterday", {between("2025-05-13", "2025-05-14", "Yesterday")}},
        {"this week from Monday", "this week", {since("2025-05-12", "This week")}},
        {"last week is the previous calendar week", "last week", {between("2025-05-05", "2025-05-12", "Last week")}},
        {"this month", "this month", {since("2025-05-01", "This month")}},
        {"last month", "last month", {between("2025-04-01", "2025-05-01", "Last month")}},
        {"this year", "this year", {since("2025-01-01", "This year")}},
        {"last year", "last year", {between("2024-01-01", "2025-01-01", "Last year")}},
        {"recency word", "newest", {since("2025-05-07T10:30", "Last 7 days")}},
        {"age word", "ancient photos", {before("2024-11-14T10:30", "Older than 6 months"), kImages}},
        {"weekend is not a week", "this weekend", {F::text("this weekend")}},
    });

    const Calendar sunday = sundayFirst();
    expectRows({{"this week from Sunday", "this week", {since("2025-05-11", "This week")}},
                {"last week Sunday to Sunday", "last week", {between("2025-05-04", "2025-05-11", "Last week")}}},
               kNow, sunday);
    // On a Sunday the Sunday-first week has just begun; the Monday-first one is ending.
    const Date sundayNow = at("2025-05-18T09:00");
    expectRows({{"Sunday, Sunday-first", "this week", {since("2025-05-18", "This week")}}}, sundayNow, sunday);
    expectRows({{"Sunday, Monday-first", "this week", {since("2025-05-12", "This week")}}}, sundayNow);

    expectRows(
        {
            {"yesterday is in February", "yesterday", {between("2025-02-28", "2025-03-01", "Yesterday")}},
            {"last month is February", "last month", {between("2025-02-01", "2025-03-01", "Last month")}},
            {"last week crosses the month", "last week", {between("2025-02-17", "2025-02-24", "Last week")}},
        },
        at("2025-03-01T08:00"));
    expectRows(
        {
            {"yesterday is last year", "yesterday", {between("2024-12-31", "2025-01-01", "Yesterday")}},
            {"last month is December", "last month", {between("2024-12-01", "2025-01-01", "Last month")}},
            {"this week began last year", "this week", {since("2024-12-30", "This week")}},
            {"last week", "last week", {between("2024-12-23", "2024-12-30", "Last week")}},
            {"a month name still to come is last year",
             "in december",
             {between("2024-12-01", "2025-01-01", "December 2024")}},
        },
        at("2025-01-01T05:00"));  // a Wednesday
}

TEST(SearchParser, DaysFollowTheCalendarsZoneAndWallClock)
{
    // 23:30 UTC is already 01:30 the next day in Madrid.
    const Date late = at("2025-05-14T23:30");
    expectRows({{"today in Madrid", "today", {F::date(at("2025-05-15", madrid()), Date::distantFuture(), "Today")}}},
               late, mondayFirst(madrid()));
    expectRows({{"today in UTC", "today", {since("2025-05-14", "Today")}}}, late);

    // Spain moved its clocks forward on 30 March 2025: two calendar days back is 47 hours.
    const Date now = at("2025-03-31T10:00", madrid());
    const Date twoDaysBack = at("2025-03-29T10:00", madrid());
    expectRows(
        {{"two days over the change", "last 2 days", {F::date(twoDaysBack, Date::distantFuture(), "Last 2 days")}}},
        now, mondayFirst(madrid()));
    EXPECT_DOUBLE_EQ(now - twoDaysBack, 47 * 3600.0);
}

TEST(SearchParser, MonthsAndYears)
{
    expectRows({
        {"past month this year", "in march", {between("2025-03-01", "2025-04-01", "March 2025")}},
        {"the current month counts as this year", "may", {between("2025-05-01", "2025-06-01", "May 2025")}},
        {"since a month", "since june", {since("2024-06-01", "Since June 2024")}},
        {"abbreviation with year", "from sept 2023", {between("2023-09-01", "2023-10-01", "September 2023")}},
        {"no preposition", "jan 2020", {between("2020-01-01", "2020-02-01", "January 2020")}},
        {"since a year", "since 2020", {since("2020-01-01", "Since 2020")}},
        {"one calendar year", "from 1999", {between("1999-01-01", "2000-01-01", "1999")}},
        {"during", "during 2024", {between("2024-01-01", "2025-01-01", "2024")}},
        {"a year needs its preposition", "2024 photos", {kImages, F::text("2024")}},
        {"only 19xx and 20xx", "from 2150", {F::text("2150")}},
    });
}

TEST(SearchParser, CamerasSourcesAndFolders)
{
    expectRows({
        {"taken with my iphone", "photos taken with my iphone", {kImages, F::camera("iPhone")}},
        {"from my gopro is a camera", "videos from my gopro", {F::kind(FileKind::video), F::camera("GoPro")}},
        {"any camera", "with the camera", {F::camera("Camera")}},
        {"capitalised brand", "Taken On Canon", {F::camera("Canon")}},
        {"a brand alone is text", "nikon", {F::text("nikon")}},

        {"from gmail", "from gmail", {F::source("gmail", "Gmail")}},
        {"two-word source", "downloaded from google drive", {F::source("drive", "Google Drive")}},
        {"in my email", "in my email", {F::source("gmail", "Gmail")}},
        {"x inside a source phrase", "from x", {F::source("x", "X")}},
        {"a lone x is text", "x", {F::text("x")}},
        {"scheme and www dropped",
         "downloaded from https://www.docs.example.org/path",
         {F::source("docs.example.org", "docs.example.org"), F::text("/path")}},
        {"a known word with a domain ending is a domain", "from gmail.com", {F::source("gmail.com", "gmail.com")}},
        {"site prefix with www and path",
         "resume site:www.foo.org/bar",
         {F::source("foo.org", "foo.org"), F::text("resume")}},
        {"site prefix of a known key", "site:gmail", {F::source("gmail", "Gmail")}},
        {"site prefix ends at a comma", "site:a.io, pdfs", {F::source("a.io", "a.io"), pdfs()}},

        {"in my downloads", "in my downloads", {F::folder("/home/ana/Downloads", "Downloads")}},
        {"inside the desktop folder", "inside the desktop folder", {F::folder("/home/ana/Desktop", "Desktop")}},
        {"from documents is a folder", "pdfs from documents", {pdfs(), F::folder("/home/ana/Documents", "Documents")}},
        {"documents alone is a kind", "documents", {F::kind(FileKind::document)}},
        {"music folder", "songs in music", {F::kind(FileKind::music), F::folder("/home/ana/Music", "Music")}},
    });
    EXPECT_EQ(SearchParser::parse("on desktop", kNow, mondayFirst(), QStringLiteral("/home/ana/")).filters,
                                  QList<SearchFilter>{F::folder("/home/ana/Desktop", "Desktop")})
              << "a home with a trailing slash";
}

TEST(SearchParser, KindsDescriptionsTagsAndText)
{
    expectRows({
        {"screenshot, hyphenated plural", "screen-shots", {F::screenshot()}},
        {"disk images phrase beats images", "disk images", {F::exts({"dmg", "pkg", "mpkg", "iso"}, "Installers")}},
        {"csv is its own row, not the spreadsheets'", "csv", {F::exts({"csv"}, "CSVs")}},
        {"list punctuation", "pdfs, docs", {pdfs(), F::kind(FileKind::document)}},
        {"two kinds in order", "videos and songs", {F::kind(FileKind::video), F::kind(FileKind::music)}},

        {"photos of",
         "photos of a white island in a blue ocean",
         {kImages, F::looks("a white island in a blue ocean")}},
        {"showing", "pictures showing a red car", {kImages, F::looks("a red car")}},
        {"that look like", "screenshots that look like a receipt", {F::screenshot(), F::looks("a receipt")}},
        {"looks like alone", "looks like a dog", {F::looks("a dog")}},
        {"with, chip taken from the middle",
         "images with a cat from last week",
         {kImages, F::looks("a cat"), between("2025-05-05", "2025-05-12", "Last week")}},
        {"a description runs on past a chip",
         "images with a cat from last week at dusk",
         {kImages, F::looks("a cat from at dusk"), between("2025-05-05", "2025-05-12", "Last week")}},
        {"nothing left to describe", "photos of today", {kImages, since("2025-05-14", "Today")}},
        {"trailing punctuation", "photos of a beach!", {kImages, F::looks("a beach")}},

        {"tag lower-cased", "#Work-2024", {F::tag("work-2024")}},
        {"a letter before # is no tag", "x#tag", {F::text("x#tag")}},
        {"tag with underscore and letters", "pdfs #tax_2024", {pdfs(), F::tag("tax_2024")}},
        {"favourites", "my favourites", {F::favourite()}},

        {"stop words dropped", "show me the budget files for 2024", {F::text("budget 2024")}},
        {"quoted phrase searched as words", "\"party plan\"", {F::text("party plan")}},
        {"curly quotes and brackets", "\u201Cparty\u201D (plan)", {F::text("party plan")}},
        {"accents kept in the request", "Résumé", {F::text("résumé")}},
        {"emoji kept", "🎉 party", {F::text("🎉 party")}},
        {"free text sorts after every chip", "resume pdfs", {pdfs(), F::text("resume")}},
        {"connector beside a chip is filler", "pics at the beach", {kImages, F::text("beach")}},
        {"connector away from chips is text", "beach at night", {F::text("beach at night")}},
        {"only stop words", "the files", {}},
    });
    for (const char* blank : {"", "   ", "\t\n"})
        EXPECT_EQ(SearchParser::parse(blank, kNow, mondayFirst(), kHome), ParsedQuery::empty()) << '"' << blank << '"';
    EXPECT_EQ(SearchParser::analyze(" PDFs From GMAIL ", kNow, mondayFirst(), kHome).working,
              QStringLiteral("pdfs from gmail"));
}

TEST(SearchParser, TypicalRequests)
{
    const F lastWeek = between("2025-05-05", "2025-05-12", "Last week");
    expectRows({
        {"from before a date", "pdfs from last week over 5 MB", {pdfs(), lastWeek, F::minSize(5'000'000, true)}},
        {"any letter case", "PDFs From GMAIL Last Week", {pdfs(), F::source("gmail", "Gmail"), lastWeek}},
        {"duplicates dropped", "pdf pdfs today today", {pdfs(), since("2025-05-14", "Today")}},
        {"everything at once, chips in typed order",
         "big #tax pdfs from my downloads in march with resume",
         {F::minSize(100'000'000, true), F::tag("tax"), pdfs(), F::folder("/home/ana/Downloads", "Downloads"),
          between("2025-03-01", "2025-04-01", "March 2025"), F::text("resume")}},
    });
}
