// Spans: ranges over the request exactly as typed, in UTF-16 units, never overlapping, and
// removing a chip's filter from the text.
#include "SearchTestSupport.h"

#include <gtest/gtest.h>

using namespace fennic;
using namespace fennic::test;

namespace {

using F = SearchFilter;
using Role = ParsedQuery::Role;

const Date kNow = at("2025-05-14T10:30:00");

struct Piece {
    QString text;  // the stretch of the request the span covers
    Role role;
};

QList<Piece> pieces(const QString& request)
{
    const ParsedQuery q = SearchParser::parse(request, kNow, mondayFirst(), kHome);
    QList<Piece> out;
    for (const ParsedQuery::Span& s : q.spans) out.append({request.mid(s.location, s.length), s.role});
    return out;
}

void expectPieces(const QString& request, const QList<Piece>& expected)
{
    SCOPED_TRACE(request.toStdString());
    const QList<Piece> got = pieces(request);
    ASSERT_EQ(got.size(), expected.size());
    for (qsizetype i = 0; i < got.size(); ++i) {
        EXPECT_EQ(got[i].text, expected[i].text) << "span " << i;
        EXPECT_EQ(got[i].role, expected[i].role) << "span " << i;
    }
}

}  // namespace

TEST(SearchSpans, ChipsFillerAndTextInTypedOrder)
{
    expectPieces("pdfs from gmail last week",
                 {{"pdfs", Role::filter}, {"from gmail", Role::filter}, {"last week", Role::filter}});
    expectPieces("show me the resume pdfs",
                 {{"show", Role::filler},
                  {"me", Role::filler},
                  {"the", Role::filler},
                  {"resume", Role::text},
                  {"pdfs", Role::filter}});
    expectPieces("photos of a white island in a blue ocean",
                 {{"photos", Role::filter}, {"of a white island in a blue ocean", Role::filter}});
    expectPieces("pics at the beach",
                 {{"pics", Role::filter}, {"at", Role::filler}, {"the", Role::filler}, {"beach", Role::text}});
    expectPieces("\"party plan\"", {{"party", Role::text}, {"plan", Role::text}});
    // A chip taken from inside a description splits the description's span.
    expectPieces("images with a cat from last week at dusk",
                 {{"images", Role::filter},
                  {"with a cat from", Role::filter},
                  {"last week", Role::filter},
                  {"at dusk", Role::filter}});
}

TEST(SearchSpans, RangesCountFromTheRequestAsTyped)
{
    // Blanks are trimmed for the rules but the ranges still index the typed text.
    expectPieces("   Screenshots from TODAY  ",
                 {{"Screenshots", Role::filter}, {"from", Role::filler}, {"TODAY", Role::filter}});
    // Characters outside the basic plane take two UTF-16 units.
    expectPieces("😀 pdfs", {{"😀", Role::text}, {"pdfs", Role::filter}});
    // A capital whose full lower-case form is longer must not shift later ranges.
    expectPieces("İSTANBUL pdfs", {{"İSTANBUL", Role::text}, {"pdfs", Role::filter}});
}

TEST(SearchSpans, SpansNeverOverlapAndStayInsideTheText)
{
    const QStringList requests = {
        "pdfs from gmail last week over 5 MB",
        "photos of a beach from last week at sunset",
        "over #tag 5 mb",
        "older than a couple of weeks in my downloads",
        "  images with a cat from yesterday!!  ",
        "site:foo.com, site:bar.org; #x",
        "videos shot on my iphone since march 2024 under 2,5 gb",
    };
    for (const QString& request : requests) {
        SCOPED_TRACE(request.toStdString());
        const ParsedQuery q = SearchParser::parse(request, kNow, mondayFirst(), kHome);
        qsizetype end = 0;
        for (const ParsedQuery::Span& s : q.spans) {
            EXPECT_GE(s.location, end);
            EXPECT_GT(s.length, 0);
            EXPECT_LE(s.end(), request.size());
            EXPECT_EQ(s.role == Role::filter, s.filter.has_value());
            EXPECT_FALSE(request.mid(s.location, s.length).trimmed().isEmpty());
            if (s.filter) {
                EXPECT_TRUE(q.filters.contains(*s.filter)) << s.filter->id().toStdString();
            }
            end = s.end();
        }
    }
}

TEST(SearchSpans, RemovingAFilterCutsItsStretches)
{
    const QString request = QStringLiteral("pdfs from gmail last week");
    const ParsedQuery q = SearchParser::parse(request, kNow, mondayFirst(), kHome);
    EXPECT_EQ(q.removing(F::source("gmail", "Gmail"), request), QStringLiteral("pdfs last week"));
    EXPECT_EQ(q.removing(F::exts({"pdf"}, "PDFs"), request), QStringLiteral("from gmail last week"));
    // Every stretch of a duplicated filter (one filter, two spans) goes, and blanks collapse.
    const QString twice = QStringLiteral("  pdf   resume pdfs ");
    const ParsedQuery q2 = SearchParser::parse(twice, kNow, mondayFirst(), kHome);
    EXPECT_EQ(q2.removing(F::exts({"pdf"}, "PDFs"), twice), QStringLiteral("resume"));
    // A filter the request does not hold leaves the words as they were, blanks normalised.
    EXPECT_EQ(q2.removing(F::favourite(), twice), QStringLiteral("pdf resume pdfs"));
}
