// The request parser, rule by rule, through analyze(): each table row names what it pins.
#include "SearchTestSupport.h"
#include "search/SearchTables.h"

#include <gtest/gtest.h>

using namespace fennic;
using namespace fennic::test;

namespace {

using F = SearchFilter;

const Date kFuture = Date::distantFuture();
const Date kPast = Date::distantPast();

struct Row {
    const char* name;
    QString request;
    QList<SearchFilter> filters;
};

// Wednesday 14 May 2025, 10:30 UTC.
const Date kNow = at("2025-05-14T10:30:00");

void expectRows(const std::vector<Row>& rows, Date now = kNow, const Calendar& calendar = mondayFirst())
{
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.name) + ": \"" + row.request.toStdString() + "\"");
        const ParsedQuery query = SearchParser::analyze(row.request, now, calendar, kHome).query;
        EXPECT_EQ(query.filters, row.filters);
    }
}

F pdfs() { return F::exts({"pdf"}, "PDFs"); }
F spreadsheets() { return F::exts({"xlsx", "xls", "csv", "numbers"}, "Spreadsheets"); }

}  // namespace

TEST(SearchParserSizes, NumbersWithUnitsAndPrefixes)
{
    expectRows({
        {"over is a strict lower bound", "over 5 mb", {F::minSize(5'000'000, true)}},
        {"at least is inclusive, decimal point", "at least 1.5 gb", {F::minSize(1'500'000'000, false)}},
        {"comma is a decimal point", "under 2,5 MB", {F::maxSize(2'500'000, true)}},
        {"at most is inclusive", "at most 300 kb", {F::maxSize(300'000, false)}},
        {"no less than, plural unit word", "no less than 2 gigs", {F::minSize(2'000'000'000, false)}},
        {"up to, bytes", "up to 10 bytes", {F::maxSize(10, false)}},
        {"symbol >= without a blank", ">=3mb", {F::minSize(3'000'000, false)}},
        {"symbol <", "< 1 tb", {F::maxSize(1'000'000'000'000, true)}},
        {"symbol ≥ with one-letter unit", "≥ 2 k", {F::minSize(2'000, false)}},
        {"symbol ≤", "≤ 4 megabytes", {F::maxSize(4'000'000, false)}},
        {"bigger than", "bigger than 700 megabytes", {F::minSize(700'000'000, true)}},
        {"heavier than, meg", "heavier than 3 meg", {F::minSize(3'000'000, true)}},
        {"lighter than, kilobytes", "lighter than 12 kilobytes", {F::maxSize(12'000, true)}},
        {"powers of 1000, never 1024", "over 1 gigabyte", {F::minSize(1'000'000'000, true)}},
        {"fraction truncated to whole bytes", "over 1.0005 kb", {F::minSize(1'000, true)}},
        {"upper-case units", "OVER 5 MB", {F::minSize(5'000'000, true)}},
        {"two bounds", "over 1 mb under 3 mb", {F::minSize(1'000'000, true), F::maxSize(3'000'000, true)}},
        {"size without a prefix stays text", "5 mb pdfs", {pdfs(), F::text("5 mb")}},
        {"a unit must end its word", "over 5 mbx", {F::text("over 5 mbx")}},
    });
}

TEST(SearchParserSizes, SizeWords)
{
    expectRows({
        {"huge", "huge videos", {F::minSize(100'000'000, true), F::kind(FileKind::video)}},
        {"largest", "largest files", {F::minSize(100'000'000, true)}},
        {"tiny", "tiny images", {F::maxSize(1'000'000, true), F::kind(FileKind::image)}},
        {"small", "SMALL pdfs", {F::maxSize(1'000'000, true), pdfs()}},
        {"only whole words", "bigger smallish", {F::text("bigger smallish")}},
    });
}

TEST(SearchParserRelativeAges, OlderThan)
{
    expectRows({
        {"number word phrase", "older than a couple of weeks",
         {F::date(kPast, at("2025-04-30T10:30:00"), "Older than 2 weeks")}},
        {"months by the calendar", "older than 3 months", {F::date(kPast, at("2025-02-14T10:30:00"), "Older than 3 months")}},
        {"more than ... ago, singular", "more than 1 year ago",
         {F::date(kPast, at("2024-05-14T10:30:00"), "Older than 1 year")}},
        {"over a ... old", "over a year old", {F::date(kPast, at("2024-05-14T10:30:00"), "Older than 1 year")}},
        {"N units old", "2 weeks old", {F::date(kPast, at("2025-04-30T10:30:00"), "Older than 2 weeks")}},
        {"hours are exact", "older than 5 hours", {F::date(kPast, at("2025-05-14T05:30:00"), "Older than 5 hours")}},
        {"a few", "older than a few days", {F::date(kPast, at("2025-05-11T10:30:00"), "Older than 3 days")}},
        {"twelve", "older than twelve months", {F::date(kPast, at("2024-05-14T10:30:00"), "Older than 12 months")}},
        {"unreadable count falls to the age word", "older than 99999999999 days",
         {F::date(kPast, at("2024-11-14T10:30:00"), "Older than 6 months"), F::text("than 99999999999 days")}},
    });
}

TEST(SearchParserRelativeAges, LastAndPast)
{
    expectRows({
        {"last N days", "last 3 days", {F::date(at("2025-05-11T10:30:00"), kFuture, "Last 3 days")}},
        {"in the past N hours", "in the past 2 hours", {F::date(at("2025-05-14T08:30:00"), kFuture, "Last 2 hours")}},
        {"last 1 day stays singular", "last 1 day", {F::date(at("2025-05-13T10:30:00"), kFuture, "Last 1 day")}},
        {"last few weeks", "last few weeks", {F::date(at("2025-04-23T10:30:00"), kFuture, "Last 3 weeks")}},
        {"within the last ten days", "within the last ten days",
         {F::date(at("2025-05-04T10:30:00"), kFuture, "Last 10 days")}},
        {"past unit", "past week", {F::date(at("2025-05-07T10:30:00"), kFuture, "Past week")}},
        {"this past month", "this past month", {F::date(at("2025-04-14T10:30:00"), kFuture, "Past month")}},
        {"over the past year", "pdfs over the past year",
         {pdfs(), F::date(at("2024-05-14T10:30:00"), kFuture, "Past year")}},
        {"a month ago is not a count of one after last", "last a month", {F::text("last month")}},
    });
}

TEST(SearchParserRelativeAges, DaysKeepTheWallClockAcrossAClockChange)
{
    // Spain moved its clocks forward on 30 March 2025: two calendar days back is 47 hours.
    const Date now = at("2025-03-31T10:00:00", madrid());
    expectRows({{"two days over the change", "last 2 days",
                 {F::date(at("2025-03-29T10:00:00", madrid()), kFuture, "Last 2 days")}}},
               now, mondayFirst(madrid()));
    EXPECT_DOUBLE_EQ(now - at("2025-03-29T10:00:00", madrid()), 47 * 3600.0);
}

TEST(SearchParserNamedPeriods, DaysWeeksMonthsYears)
{
    expectRows({
        {"today", "today", {F::date(at("2025-05-14T00:00:00"), kFuture, "Today")}},
        {"yesterday", "yesterday", {F::date(at("2025-05-13T00:00:00"), at("2025-05-14T00:00:00"), "Yesterday")}},
        {"this week from Monday", "this week", {F::date(at("2025-05-12T00:00:00"), kFuture, "This week")}},
        {"last week is the previous calendar week", "last week",
         {F::date(at("2025-05-05T00:00:00"), at("2025-05-12T00:00:00"), "Last week")}},
        {"this month", "this month", {F::date(at("2025-05-01T00:00:00"), kFuture, "This month")}},
        {"last month", "last month", {F::date(at("2025-04-01T00:00:00"), at("2025-05-01T00:00:00"), "Last month")}},
        {"this year", "this year", {F::date(at("2025-01-01T00:00:00"), kFuture, "This year")}},
        {"last year", "last year", {F::date(at("2024-01-01T00:00:00"), at("2025-01-01T00:00:00"), "Last year")}},
        {"recency word", "newest", {F::date(at("2025-05-07T10:30:00"), kFuture, "Last 7 days")}},
        {"age word", "ancient photos", {F::date(kPast, at("2024-11-14T10:30:00"), "Older than 6 months"), F::kind(FileKind::image)}},
        {"weekend is not a week", "this weekend", {F::text("this weekend")}},
    });
}

TEST(SearchParserNamedPeriods, WeekStartsOnTheCalendarsFirstWeekday)
{
    const Calendar sunday = sundayFirst();
    expectRows({
        {"this week from Sunday", "this week", {F::date(at("2025-05-11T00:00:00"), kFuture, "This week")}},
        {"last week Sunday to Sunday", "last week",
         {F::date(at("2025-05-04T00:00:00"), at("2025-05-11T00:00:00"), "Last week")}},
    },
               kNow, sunday);

    // On a Sunday the Sunday-first week has just begun; the Monday-first one is ending.
    const Date sundayNow = at("2025-05-18T09:00:00");
    expectRows({{"Sunday, Sunday-first", "this week", {F::date(at("2025-05-18T00:00:00"), kFuture, "This week")}}},
               sundayNow, sunday);
    expectRows({{"Sunday, Monday-first", "this week", {F::date(at("2025-05-12T00:00:00"), kFuture, "This week")}},
                {"Sunday, Monday-first, last week", "last week",
                 {F::date(at("2025-05-05T00:00:00"), at("2025-05-12T00:00:00"), "Last week")}}},
               sundayNow, mondayFirst());
}

TEST(SearchParserNamedPeriods, MonthAndYearBoundaries)
{
    const Date firstOfMarch = at("2025-03-01T08:00:00");
    expectRows({
        {"yesterday is in February", "yesterday",
         {F::date(at("2025-02-28T00:00:00"), at("2025-03-01T00:00:00"), "Yesterday")}},
        {"last month is February", "last month",
         {F::date(at("2025-02-01T00:00:00"), at("2025-03-01T00:00:00"), "Last month")}},
        {"last week crosses the month", "last week",
         {F::date(at("2025-02-17T00:00:00"), at("2025-02-24T00:00:00"), "Last week")}},
    },
               firstOfMarch);

    const Date newYear = at("2025-01-01T05:00:00");  // a Wednesday
    expectRows({
        {"yesterday is last year", "yesterday",
         {F::date(at("2024-12-31T00:00:00"), at("2025-01-01T00:00:00"), "Yesterday")}},
        {"last month is December", "last month",
         {F::date(at("2024-12-01T00:00:00"), at("2025-01-01T00:00:00"), "Last month")}},
        {"last year", "last year", {F::date(at("2024-01-01T00:00:00"), at("2025-01-01T00:00:00"), "Last year")}},
        {"this week began last year", "this week", {F::date(at("2024-12-30T00:00:00"), kFuture, "This week")}},
        {"last week", "last week", {F::date(at("2024-12-23T00:00:00"), at("2024-12-30T00:00:00"), "Last week")}},
        {"a month name still to come is last year", "in december",
         {F::date(at("2024-12-01T00:00:00"), at("2025-01-01T00:00:00"), "December 2024")}},
    },
               newYear);
}

TEST(SearchParserNamedPeriods, DayBoundariesFollowTheCalendarsZone)
{
    // 23:30 UTC is already 01:30 the next day in Madrid.
    const Date now = at("2025-05-14T23:30:00");
    expectRows({{"today in Madrid", "today", {F::date(at("2025-05-15T00:00:00", madrid()), kFuture, "Today")}}}, now,
               mondayFirst(madrid()));
    expectRows({{"today in UTC", "today", {F::date(at("2025-05-14T00:00:00"), kFuture, "Today")}}}, now, mondayFirst());
}

TEST(SearchParserMonthsAndYears, MonthsTakeTheMostRecentYear)
{
    expectRows({
        {"past month this year", "in march", {F::date(at("2025-03-01T00:00:00"), at("2025-04-01T00:00:00"), "March 2025")}},
        {"month still to come is last year", "in december",
         {F::date(at("2024-12-01T00:00:00"), at("2025-01-01T00:00:00"), "December 2024")}},
        {"the current month counts as this year", "may", {F::date(at("2025-05-01T00:00:00"), at("2025-06-01T00:00:00"), "May 2025")}},
        {"since a month", "since june", {F::date(at("2024-06-01T00:00:00"), kFuture, "Since June 2024")}},
        {"abbreviation with year", "from sept 2023",
         {F::date(at("2023-09-01T00:00:00"), at("2023-10-01T00:00:00"), "September 2023")}},
        {"sep and sept agree", "sep 2023", {F::date(at("2023-09-01T00:00:00"), at("2023-10-01T00:00:00"), "September 2023")}},
        {"no preposition", "jan 2020", {F::date(at("2020-01-01T00:00:00"), at("2020-02-01T00:00:00"), "January 2020")}},
        {"december runs into the next year", "in december 2024",
         {F::date(at("2024-12-01T00:00:00"), at("2025-01-01T00:00:00"), "December 2024")}},
        {"capitals", "In MARCH", {F::date(at("2025-03-01T00:00:00"), at("2025-04-01T00:00:00"), "March 2025")}},
    });
}

TEST(SearchParserMonthsAndYears, Years)
{
    expectRows({
        {"since a year", "since 2020", {F::date(at("2020-01-01T00:00:00"), kFuture, "Since 2020")}},
        {"one calendar year", "from 1999", {F::date(at("1999-01-01T00:00:00"), at("2000-01-01T00:00:00"), "1999")}},
        {"spreadsheets from 1999", "spreadsheets from 1999",
         {spreadsheets(), F::date(at("1999-01-01T00:00:00"), at("2000-01-01T00:00:00"), "1999")}},
        {"during", "during 2024", {F::date(at("2024-01-01T00:00:00"), at("2025-01-01T00:00:00"), "2024")}},
        {"a year needs its preposition", "2024 photos", {F::kind(FileKind::image), F::text("2024")}},
        {"only 19xx and 20xx", "from 2150", {F::text("2150")}},
    });
}

TEST(SearchParserCameras, CameraWordsAndDisplayNames)
{
    expectRows({
        {"taken with my iphone", "photos taken with my iphone", {F::kind(FileKind::image), F::camera("iPhone")}},
        {"shot on a pixel", "shot on a pixel", {F::camera("Pixel")}},
        {"from my gopro", "videos from my gopro", {F::kind(FileKind::video), F::camera("GoPro")}},
        {"any camera", "with the camera", {F::camera("Camera")}},
        {"ipad", "on my ipad", {F::camera("iPad")}},
        {"capitalised brand", "Taken On Canon", {F::camera("Canon")}},
        {"a brand alone is text", "nikon", {F::text("nikon")}},
    });
}

TEST(SearchParserSources, WordsDomainsAndSitePrefix)
{
    expectRows({
        {"from gmail", "from gmail", {F::source("gmail", "Gmail")}},
        {"two-word source", "downloaded from google drive", {F::source("drive", "Google Drive")}},
        {"via twitter is x", "via twitter", {F::source("x", "X")}},
        {"in my email", "in my email", {F::source("gmail", "Gmail")}},
        {"hyphenated e-mail", "off the e-mail", {F::source("gmail", "Gmail")}},
        {"extensions", "from extension", {F::source("extensions", "Extensions")}},
        {"x inside a source phrase", "from x", {F::source("x", "X")}},
        {"a lone x is text", "x", {F::text("x")}},
        {"web domain", "from example.com", {F::source("example.com", "example.com")}},
        {"scheme and www dropped", "downloaded from https://www.docs.example.org/path",
         {F::source("docs.example.org", "docs.example.org"), F::text("/path")}},
        {"a known word with a domain ending is a domain", "from gmail.com", {F::source("gmail.com", "gmail.com")}},
        {"site prefix", "site:example.com", {F::source("example.com", "example.com")}},
        {"site prefix with www and path", "resume site:www.foo.org/bar",
         {F::source("foo.org", "foo.org"), F::text("resume")}},
        {"site prefix of a known key", "site:gmail", {F::source("gmail", "Gmail")}},
        {"site prefix ends at a comma", "site:a.io, pdfs", {F::source("a.io", "a.io"), pdfs()}},
    });
}

TEST(SearchParserFolders, FolderWordsResolveAgainstHome)
{
    expectRows({
        {"in my downloads", "in my downloads", {F::folder("/home/ana/Downloads", "Downloads")}},
        {"inside the desktop folder", "inside the desktop folder", {F::folder("/home/ana/Desktop", "Desktop")}},
        {"from documents is a folder, not a kind", "pdfs from documents",
         {pdfs(), F::folder("/home/ana/Documents", "Documents")}},
        {"documents alone is a kind", "documents", {F::kind(FileKind::document)}},
        {"music folder", "songs in music", {F::kind(FileKind::music), F::folder("/home/ana/Music", "Music")}},
    });
    const ParsedQuery trailingSlash =
        SearchParser::parse("on desktop", kNow, mondayFirst(), QStringLiteral("/home/ana/"));
    EXPECT_EQ(trailingSlash.filters, QList<SearchFilter>{F::folder("/home/ana/Desktop", "Desktop")});
}

TEST(SearchParserLooks, DescriptionsOfPictures)
{
    expectRows({
        {"photos of", "photos of a white island in a blue ocean",
         {F::kind(FileKind::image), F::looks("a white island in a blue ocean")}},
        {"showing", "pictures showing a red car", {F::kind(FileKind::image), F::looks("a red car")}},
        {"that look like", "screenshots that look like a receipt", {F::screenshot(), F::looks("a receipt")}},
        {"looks like alone", "looks like a dog", {F::looks("a dog")}},
        {"with, chip taken from the middle", "images with a cat from last week",
         {F::kind(FileKind::image), F::looks("a cat"),
          F::date(at("2025-05-05T00:00:00"), at("2025-05-12T00:00:00"), "Last week")}},
        {"nothing left to describe", "photos of today",
         {F::kind(FileKind::image), F::date(at("2025-05-14T00:00:00"), kFuture, "Today")}},
        {"trailing punctuation", "photos of a beach!", {F::kind(FileKind::image), F::looks("a beach")}},
    });
}

TEST(SearchParserKinds, TypeWordsFirstRowWins)
{
    expectRows({
        {"pdf", "pdf", {pdfs()}},
        {"screenshot, hyphenated plural", "screen-shots", {F::screenshot()}},
        {"photo", "photo", {F::kind(FileKind::image)}},
        {"recordings", "recordings", {F::kind(FileKind::video)}},
        {"podcast", "podcast", {F::kind(FileKind::music)}},
        {"doc", "doc", {F::kind(FileKind::document)}},
        {"compressed", "compressed", {F::kind(FileKind::archive)}},
        {"zipped", "zipped", {F::exts({"zip"}, "ZIPs")}},
        {"programs", "programs", {F::kind(FileKind::app)}},
        {"disk images phrase beats images", "disk images", {F::exts({"dmg", "pkg", "mpkg", "iso"}, "Installers")}},
        {"upper-case DMG", "DMG", {F::exts({"dmg", "pkg", "mpkg", "iso"}, "Installers")}},
        {"sheets means spreadsheets", "sheets", {spreadsheets()}},
        {"csv as a word is only in its own row", "csv", {F::exts({"csv"}, "CSVs")}},
        {"xlsx is a spreadsheet word", "xlsx", {spreadsheets()}},
        {"keynote", "keynote", {F::exts({"key", "ppt", "pptx"}, "Presentations")}},
        {"word means Word documents", "word", {F::exts({"doc", "docx", "pages"}, "Word docs")}},
        {"gifs", "gifs", {F::exts({"gif"}, "GIFs")}},
        {"pngs", "pngs", {F::exts({"png"}, "PNGs")}},
        {"jpeg", "jpeg", {F::exts({"jpg", "jpeg"}, "JPEGs")}},
        {"heic", "heic", {F::exts({"heic"}, "HEIC")}},
        {"svg", "svg", {F::exts({"svg"}, "SVGs")}},
        {"mp4s", "mp4s", {F::exts({"mp4"}, "MP4s")}},
        {"mov", "mov", {F::exts({"mov"}, "MOVs")}},
        {"mp3", "mp3", {F::exts({"mp3"}, "MP3s")}},
        {"text files phrase", "text files", {F::exts({"txt"}, "Text files")}},
        {"books", "books", {F::exts({"epub"}, "eBooks")}},
        {"list punctuation", "pdfs, docs", {pdfs(), F::kind(FileKind::document)}},
        {"two kinds in order", "videos and songs", {F::kind(FileKind::video), F::kind(FileKind::music)}},
    });
}

TEST(SearchParserKinds, TablesHaveTheirFullSize)
{
    EXPECT_EQ(SearchParser::units().size(), 23);
    EXPECT_EQ(SearchParser::numberWords().size(), 17);
    EXPECT_EQ(SearchParser::months().size(), 12);
    EXPECT_EQ(SearchParser::shortMonths().size(), 12);
    EXPECT_EQ(SearchParser::typeWords().size(), 24);
    EXPECT_EQ(SearchParser::sourceWords().size(), 22);
    EXPECT_EQ(SearchParser::folders().size(), 6);
    EXPECT_EQ(SearchParser::stopWords().size(), 51);
    EXPECT_EQ(SearchParser::connectorWords().size(), 19);
}

TEST(SearchParserTagsAndFavourites, TagsAndStars)
{
    expectRows({
        {"tag lower-cased", "#Work-2024", {F::tag("work-2024")}},
        {"a letter before # is no tag", "x#tag", {F::text("x#tag")}},
        {"tag with underscore and letters", "pdfs #tax_2024", {pdfs(), F::tag("tax_2024")}},
        {"favourites", "my favourites", {F::favourite()}},
        {"American spelling and starred", "favored starred", {F::favourite()}},
    });
}

TEST(SearchParserFreeText, LeftoverWords)
{
    expectRows({
        {"one word", "resume", {F::text("resume")}},
        {"stop words dropped", "show me the budget files for 2024", {F::text("budget 2024")}},
        {"quoted phrase searched as words", "\"party plan\"", {F::text("party plan")}},
        {"curly quotes and brackets", "\u201Cparty\u201D (plan)", {F::text("party plan")}},
        {"accents kept in the request", "Résumé", {F::text("résumé")}},
        {"emoji kept", "🎉 party", {F::text("🎉 party")}},
        {"free text sorts after every chip", "resume pdfs", {pdfs(), F::text("resume")}},
        {"connector beside a chip is filler", "pics at the beach", {F::kind(FileKind::image), F::text("beach")}},
        {"connector away from chips is text", "beach at night", {F::text("beach at night")}},
        {"only stop words", "the files", {}},
    });
}

TEST(SearchParserFreeText, BlankRequestsAreEmpty)
{
    for (const char* text : {"", "   ", "\t\n"}) {
        const SearchParser::Analysis a = SearchParser::analyze(QString::fromUtf8(text), kNow, mondayFirst(), kHome);
        EXPECT_EQ(a.query, ParsedQuery::empty()) << text;
        EXPECT_TRUE(a.query.isEmpty());
    }
}

TEST(SearchParserTypicalRequests, ExamplesReadAsIntended)
{
    const F lastWeek = F::date(at("2025-05-05T00:00:00"), at("2025-05-12T00:00:00"), "Last week");
    expectRows({
        {"pdfs from gmail last week", "pdfs from gmail last week", {pdfs(), F::source("gmail", "Gmail"), lastWeek}},
        {"with a size", "pdfs from gmail last week over 5 MB",
         {pdfs(), F::source("gmail", "Gmail"), lastWeek, F::minSize(5'000'000, true)}},
        {"pdfs from last week over 5 MB", "pdfs from last week over 5 MB", {pdfs(), lastWeek, F::minSize(5'000'000, true)}},
        {"screenshots from today", "screenshots from today",
         {F::screenshot(), F::date(at("2025-05-14T00:00:00"), kFuture, "Today")}},
        {"other letter cases", "PDFs From GMAIL Last Week", {pdfs(), F::source("gmail", "Gmail"), lastWeek}},
        {"island", "photos of a white island in a blue ocean",
         {F::kind(FileKind::image), F::looks("a white island in a blue ocean")}},
        {"chips in typed order", "last week pdfs from gmail", {lastWeek, pdfs(), F::source("gmail", "Gmail")}},
        {"duplicates dropped", "pdf pdfs today today",
         {pdfs(), F::date(at("2025-05-14T00:00:00"), kFuture, "Today")}},
        {"everything at once", "big #tax pdfs from my downloads in march with resume",
         {F::minSize(100'000'000, true), F::tag("tax"), pdfs(), F::folder("/home/ana/Downloads", "Downloads"),
          F::date(at("2025-03-01T00:00:00"), at("2025-04-01T00:00:00"), "March 2025"), F::text("resume")}},
    });
}

TEST(SearchParserTypicalRequests, SameRequestSameResult)
{
    const QString request = QStringLiteral("pdfs from gmail last week over 5 MB");
    EXPECT_EQ(SearchParser::parse(request, kNow, mondayFirst(), kHome),
              SearchParser::parse(request, kNow, mondayFirst(), kHome));
    EXPECT_EQ(SearchParser::analyze(request, kNow, mondayFirst(), kHome).working,
              QStringLiteral("pdfs from gmail last week over 5 mb"));
}
