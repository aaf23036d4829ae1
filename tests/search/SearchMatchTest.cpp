// Filters against files: each case's test, the context (recognised text, shelf, picture
// scores) and the prepared whole-library pass, which must agree with the per-file test.
#include "SearchTestSupport.h"
#include "search/SearchContext.h"
#include "search/SearchIndex.h"

#include <QRandomGenerator>
#include <gtest/gtest.h>

using namespace fennic;
using namespace fennic::test;

namespace {

using F = SearchFilter;

const Date kNow = at("2025-05-14T10:30:00");

FileItem item(const QString& path, qint64 size = 1000, Date added = kNow - 3600.0)
{
    FileItem f;
    f.path = path;
    f.name = path.section(u'/', -1);
    f.ext = pathExtension(f.name).toLower();
    f.size = size;
    f.created = added;
    f.modified = added;
    f.added = added;
    f.kind = FileKinds::classify(f.ext);
    return f;
}

bool holds(const FileItem& file, const SearchFilter& filter, const QHash<QString, QString>& ocr = {})
{
    return SearchParser::matches(file, {filter}, ocr);
}

QList<SearchFilter> parsed(const char* request)
{
    return SearchParser::parse(QString::fromUtf8(request), kNow, mondayFirst(), kHome).filters;
}

}  // namespace

TEST(SearchMatch, DatesUseTheEffectiveDateAndExcludeTheEnd)
{
    // Written in 1999, copied in today: it counts by when it was written.
    FileItem old = item("/h/old.xlsx", 1, kNow - 60.0);
    old.modified = at("1999-06-01T12:00:00");
    const QList<SearchFilter> from1999 = parsed("from 1999");
    EXPECT_TRUE(SearchParser::matches(old, from1999, {}));
    EXPECT_FALSE(SearchParser::matches(item("/h/new.xlsx", 1, kNow - 60.0), from1999, {}));

    const F range = F::date(at("2025-05-01"), at("2025-05-02"), "x");
    EXPECT_TRUE(holds(item("/h/start", 1, at("2025-05-01")), range));
    EXPECT_FALSE(holds(item("/h/end", 1, at("2025-05-02")), range));
}

TEST(SearchMatch, SizeBoundsKindsExtensionsAndScreenshots)
{
    const FileItem exact = item("/h/a.bin", 1'000'000);
    EXPECT_FALSE(holds(exact, F::maxSize(1'000'000, true)));
    EXPECT_TRUE(holds(exact, F::maxSize(1'000'000, false)));
    EXPECT_FALSE(holds(exact, F::minSize(1'000'000, true)));
    EXPECT_TRUE(holds(exact, F::minSize(1'000'000, false)));
    EXPECT_TRUE(holds(item("/h/b.bin", 1'000'001), F::minSize(1'000'000, true)));

    FileItem shot = item("/h/Desktop/Screenshot 1.png");
    shot.isScreenshot = true;
    EXPECT_TRUE(holds(shot, F::screenshot()));
    EXPECT_FALSE(holds(item("/h/a.png"), F::screenshot()));
    EXPECT_TRUE(holds(shot, F::kind(FileKind::image)));
    EXPECT_TRUE(holds(shot, F::exts({"jpg", "png"}, "x")));
    FileItem upper = item("/h/REPORT.PDF");
    upper.ext = QStringLiteral("PDF");  // compared without regard to case
    EXPECT_TRUE(holds(upper, F::exts({"pdf"}, "PDFs")));
    EXPECT_FALSE(holds(item("/h/a.docx"), F::exts({"pdf"}, "PDFs")));
}

TEST(SearchMatch, TextIsFoldedAndEveryWordMustOccur)
{
    EXPECT_TRUE(holds(item("/h/Docs/Résumé final.pdf"), F::text("resume")));
    EXPECT_TRUE(holds(item("/h/Docs/resume.pdf"), F::text("RÉSUMÉ")));
    EXPECT_TRUE(holds(item("/h/party plan.txt"), F::text("party plan")));
    EXPECT_TRUE(holds(item("/h/plan for the party.txt"), F::text("party plan")));
    EXPECT_FALSE(holds(item("/h/party.txt"), F::text("party plan")));
    // The folder path counts as searchable text too.
    EXPECT_TRUE(holds(item("/h/Taxes/2024/a.pdf"), F::text("taxes 2024")));
    EXPECT_TRUE(holds(item("/h/🎉 party.png"), F::text("🎉")));
    EXPECT_FALSE(holds(item("/h/😀.png"), F::text("🎉")));
}

TEST(SearchMatch, RecognisedTextCountsForImagesOnly)
{
    const QHash<QString, QString> ocr = {
        {QStringLiteral("/h/IMG_1.png"), QStringLiteral("total due 42 eur")},
         {QStringLiteral("/h/notes.txt"), QStringLiteral("total due")},
        };
    EXPECT_TRUE(holds(item("/h/IMG_1.png"), F::text("total"), ocr));
    // One word in the name, one in the picture's text.
    EXPECT_TRUE(holds(item("/h/IMG_1.png"), F::text("img total"), ocr));
    EXPECT_FALSE(holds(item("/h/IMG_1.png"), F::text("receipt"), ocr));
    EXPECT_FALSE(holds(item("/h/notes.txt"), F::text("due"), ocr));
}

TEST(SearchMatch, PlacesSourcesCamerasFolders)
{
    FileItem mail = item("/h/Downloads/a.pdf");
    mail.whereFrom = {QStringLiteral("https://mail.google.com/mail/u/0")};
    mail.sourceKey = QStringLiteral("gmail");
    EXPECT_TRUE(holds(mail, F::source("gmail", "Gmail")));
    EXPECT_FALSE(holds(mail, F::source("drive", "Google Drive")));

    FileItem site = item("/h/Downloads/b.zip");
    site.whereFrom = {QStringLiteral("https://files.example.com/b.zip"), QStringLiteral("https://www.example.com/")};
    site.sourceKey = QStringLiteral("site:example.com");
    EXPECT_TRUE(holds(site, F::source("example.com", "example.com")));
    EXPECT_TRUE(holds(site, F::source("files.example.com", "files.example.com")));
    EXPECT_FALSE(holds(site, F::source("ample.com", "ample.com")));
    EXPECT_FALSE(holds(item("/h/c.zip"), F::source("example.com", "example.com")));

    FileItem photo = item("/h/Pictures/IMG_2.heic");
    photo.camera = QStringLiteral("iPhone 15 Pro");
    EXPECT_TRUE(holds(photo, F::camera("iPhone")));
    EXPECT_TRUE(holds(photo, F::camera("Camera")));
    EXPECT_FALSE(holds(photo, F::camera("Canon")));
    EXPECT_FALSE(holds(item("/h/Pictures/x.png"), F::camera("Camera")));

    const F downloads = F::folder("/h/Downloads", "Downloads");
    EXPECT_TRUE(holds(mail, downloads));
    EXPECT_FALSE(holds(item("/h/DownloadsOld/a.pdf"), downloads));
    EXPECT_FALSE(holds(item("/h/Downloads"), downloads));
}

TEST(SearchMatch, TagsAndFavouritesComeFromTheLookups)
{
    SearchContext::Lookups lookups;
    lookups.isFavourite = [](const QString& path) { return path == u"/h/star.txt"; };
    QStringList tagsAskedFor;
    lookups.pathsTagged = [&](const QString& tag) {
        tagsAskedFor.append(tag);
        return tag == u"work" ? QSet<QString>{QStringLiteral("/h/w.txt")} : QSet<QString>();
    };
    SearchContext context(lookups);
    EXPECT_TRUE(SearchParser::matches(item("/h/star.txt"), {F::favourite()}, context));
    EXPECT_FALSE(SearchParser::matches(item("/h/w.txt"), {F::favourite()}, context));
    EXPECT_TRUE(SearchParser::matches(item("/h/w.txt"), parsed("#work"), context));
    EXPECT_FALSE(SearchParser::matches(item("/h/star.txt"), parsed("#work"), context));
    // The tagged paths are asked for once per prepared filter list, not once per file.
    EXPECT_EQ(tagsAskedFor, QStringList{"work"});
    // Without lookups nothing is a favourite or tagged.
    EXPECT_FALSE(holds(item("/h/star.txt"), F::favourite()));
    EXPECT_FALSE(holds(item("/h/w.txt"), F::tag("work")));
}

TEST(SearchMatch, LooksNeedsAScore)
{
    const QString beach = QStringLiteral("/h/beach.jpg");
    const QString office = QStringLiteral("/h/office.jpg");
    int prepared = 0;
    int scored = 0;
    SearchContext::Lookups lookups;
    lookups.describe = [&](const QString& description) -> SearchContext::PathScorer {
        ++prepared;
        return [&, description](const QString& path) -> std::optional<float> {
            ++scored;
            if (path.contains(u"beach") && description.contains(u"beach")) return 0.8f;
            return std::nullopt;
        };
    };
    SearchContext context(lookups);
    const QList<SearchFilter> filters = {F::looks("a beach")};
    EXPECT_TRUE(SearchParser::matches(item(beach), filters, context));
    EXPECT_FALSE(SearchParser::matches(item(office), filters, context));
    // Asked again in the same pass: answered from the caches, misses included.
    EXPECT_TRUE(SearchParser::matches(item(beach), filters, context));
    EXPECT_FALSE(SearchParser::matches(item(office), filters, context));
    EXPECT_EQ(context.visualScore("a beach", beach), 0.8f);
    EXPECT_EQ(prepared, 1);
    EXPECT_EQ(scored, 2);

    EXPECT_FALSE(holds(item(beach), F::looks("a beach"))) << "no scorer: nothing looks like anything";
}

TEST(SearchMatch, AllFiltersMustHoldAndNoFiltersMatchEverything)
{
    FileItem pdf = item("/h/Downloads/tax return.pdf", 6'000'000);
    EXPECT_TRUE(SearchParser::matches(pdf, {}, {}));
    EXPECT_TRUE(SearchParser::matches(pdf, parsed("tax pdfs over 5 mb today"), {}));
    EXPECT_FALSE(SearchParser::matches(pdf, parsed("tax pdfs over 7 mb today"), {}));
    EXPECT_FALSE(SearchParser::matches(pdf, parsed("tax images"), {}));
}

TEST(SearchMatch, PreparedLibraryPassAgreesWithThePerFileTest)
{
    // A mixed library, then many requests: the index pass must give exactly the files the
    // one-file test keeps.
    QRandomGenerator rng(7);
    const QStringList words = {"Résumé", "party", "plan", "IMG", "Budget", "ÉCOLE", "tax", "🎉", "notes", "Straße"};
    const QStringList exts = {"pdf", "png", "jpg", "docx", "zip", "mp4", "txt", "xlsx", "dmg"};
    QList<FileItem> files;
    QHash<QString, QString> ocr;
    for (int i = 0; i < 600; ++i) {
        const QString name =
            words[rng.bounded(words.size())] + u' ' + QString::number(i) + u'.' + exts[rng.bounded(exts.size())];
        const QString folder = QStringList{"Downloads", "Desktop", "Documents/Taxes"}[rng.bounded(3)];
        FileItem f = item(QStringLiteral("/home/ana/") + folder + u'/' + name, rng.bounded(20'000'000),
                                         kNow - double(rng.bounded(400)) * 86400.0);
        f.isScreenshot = rng.bounded(10) == 0;
        if (rng.bounded(5) == 0) f.sourceKey = QStringLiteral("gmail");
        if (f.kind == FileKind::image && rng.bounded(3) == 0) ocr.insert(f.path, QStringLiteral("total plan"));
        files.append(f);
    }
    const SearchIndex index(files);
    ASSERT_TRUE(index.isFor(files));
    for (const char* request : {"resume", "party plan", "ecole pdfs", "strasse", "🎉 images", "total", "pdfs from gmail",
                                "in my downloads over 5 mb", "last month", "screenshots from this year", "tax 1",
                                "older than 3 months under 1 mb", ""}) {
        SCOPED_TRACE(request);
        const QList<SearchFilter> filters = parsed(request);
        SearchContext fast(ocr);
        const std::vector<qsizetype> got = index.filter(filters, fast);
        std::vector<qsizetype> expected;
        for (qsizetype i = 0; i < files.size(); ++i)
            if (SearchParser::matches(files[i], filters, ocr)) expected.push_back(i);
        EXPECT_EQ(got, expected);
    }
    QList<FileItem> changed = files;
    changed[0].size += 1;
    EXPECT_FALSE(index.isFor(changed));
}

TEST(SearchMatch, ChipLabelsAndIds)
{
    EXPECT_EQ(F::kind(FileKind::image).label(), QStringLiteral("Images"));
    EXPECT_EQ(F::minSize(5'000'000, false).label(), QStringLiteral("At least 5 MB"));
    EXPECT_EQ(F::minSize(5'000'000, true).label(), QStringLiteral("Over 5 MB"));
    EXPECT_EQ(F::maxSize(2'500'000, true).label(), QStringLiteral("Under 2.5 MB"));
    EXPECT_EQ(F::maxSize(1'000, false).label(), QStringLiteral("At most 1 kB"));
    EXPECT_EQ(F::looks("a beach").label(), QStringLiteral("Showing \u201Ca beach\u201D"));

    // Every filter keys its chip by an id of its own; the type filters are the "what" ones.
    const QList<SearchFilter> filters = {
        F::kind(FileKind::image),
        F::exts({"pdf"}, "PDFs"),
        F::screenshot(),
        F::date(kNow, kNow, "Last week"),
        F::minSize(5, false),
        F::minSize(5, true),
        F::maxSize(5, true),
        F::maxSize(5, false),
        F::source("gmail", "Gmail"),
        F::camera("iPhone"),
        F::folder("/h/Downloads", "Downloads"),
        F::text("party plan"),
        F::looks("party plan"),
        F::tag("party plan"),
        F::favourite(),
    };
    QSet<QString> ids;
    for (const SearchFilter& filter : filters) {
        ids.insert(filter.id());
        EXPECT_EQ(filter.isType(), filter.category() == SearchFilter::Category::what) << filter.id().toStdString();
    }
    EXPECT_EQ(ids.size(), filters.size());
}
