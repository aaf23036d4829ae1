// A search pass over a real image index and shelf: the lookups must give search what the
// records and the shelf hold, and nothing for files they do not know.
#include "context/SearchSources.h"
#include "search/SearchParser.h"

#include <QTimeZone>
#include <gtest/gtest.h>

using namespace fennic;

namespace {

ImageRecord record(const QString& path, QHash<QString, float> labels, const QStringList& lines, bool failed = false)
{
    QList<TextLine> textLines;
    for (const QString& text : lines) textLines.append(TextLine{text, 0.1f, 0.5f, 0.5f, 0.04f, 0.9f});
    return ImageRecord(path, 100, Date{}, std::move(labels), {}, std::move(textLines), QString(), std::nullopt, 640,
                       480, failed);
}

FileItem file(const QString& path)
{
    FileItem f;
    f.path = path;
    f.name = path.section(u'/', -1);
    f.ext = f.name.section(u'.', -1).toLower();
    f.kind = FileKinds::classify(f.ext);
    return f;
}

QList<SearchFilter> parsed(const char* request)
{
    return SearchParser::parse(QString::fromUtf8(request), Date{}, Calendar{QTimeZone::utc(), Qt::Monday},
                               QStringLiteral("/h")).filters;
}

class SearchSourcesTest : public ::testing::Test {
protected:
    SearchSourcesTest()
    {
        for (const ImageRecord& r :
             {record("/h/receipt.png", {}, {"Café Total 12,50"}), record("/h/beach.jpg", {{"beach", 0.9f}}, {}),
              record("/h/broken.png", {}, {"Total"}, true)})
            index.records.insert(r.path, r);
        shelf.toggleFavourite(QStringLiteral("/h/beach.jpg"));
        shelf.addTag(QStringLiteral("#Work"), {QStringLiteral("/h/receipt.png")});
    }

    ImageIndex index;
    Shelf shelf;
};

}  // namespace

TEST_F(SearchSourcesTest, RecognisedTextComesFromReadableRecordsFolded)
{
    SearchContext context(SearchSources::of(index, shelf));
    ASSERT_NE(context.recognisedText("/h/receipt.png"), nullptr);
    EXPECT_TRUE(context.recognisedText("/h/receipt.png")->contains(u"cafe total"));
    EXPECT_EQ(context.recognisedText("/h/beach.jpg"), nullptr) << "a record without text";
    EXPECT_EQ(context.recognisedText("/h/broken.png"), nullptr) << "a failed record";
    EXPECT_TRUE(SearchParser::matches(file("/h/receipt.png"), parsed("café"), context));
    EXPECT_FALSE(SearchParser::matches(file("/h/broken.png"), parsed("total"), context));
}

TEST_F(SearchSourcesTest, FavouritesAndTagsComeFromTheShelf)
{
    SearchContext context(SearchSources::of(index.records, {}, shelf));
    EXPECT_TRUE(SearchParser::matches(file("/h/beach.jpg"), {SearchFilter::favourite()}, context));
    EXPECT_FALSE(SearchParser::matches(file("/h/receipt.png"), {SearchFilter::favourite()}, context));
    // The tag as typed is normalised the shelf's way.
    EXPECT_TRUE(SearchParser::matches(file("/h/receipt.png"), {SearchFilter::tag("Work")}, context));
    EXPECT_FALSE(SearchParser::matches(file("/h/beach.jpg"), {SearchFilter::tag("work")}, context));
}

TEST_F(SearchSourcesTest, DescriptionsScoreOnlyFilesWithRecords)
{
    SearchContext context(SearchSources::of(index, shelf));
    EXPECT_TRUE(context.visualScore("a beach", "/h/beach.jpg").has_value());
    EXPECT_FALSE(context.visualScore("a beach", "/h/receipt.png").has_value());
    EXPECT_FALSE(context.visualScore("a beach", "/h/unknown.jpg").has_value()) << "no record";
}
