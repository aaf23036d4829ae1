#include "model/Fold.h"

#include <gtest/gtest.h>

using namespace fennic;

namespace {

struct FoldRow {
    const char* name;
    const char16_t* input;
    const char16_t* folded;
};

const FoldRow kFoldRows[] = {
    {"ascii capitals", u"RESUME", u"resume"},
    {"acute accents", u"Résumé", u"resume"},
    {"capital with accent", u"ÉCOLE", u"ecole"},
    {"full-width letters", u"ＡＢＣ", u"abc"},
    {"full-width digits", u"ｆｉｌｅ１２", u"file12"},
    {"half-width katakana", u"ｶﾀｶﾅ", u"カタカナ"},
    {"german sharp s folds fully", u"Straße", u"strasse"},
    {"dotted capital I", u"İstanbul", u"istanbul"},
    {"greek final sigma", u"ΣΟΦΟΣ", u"σοφοσ"},
    {"decomposed input", u"Cafe\u0301", u"cafe"},
    {"emoji unchanged", u"😀🎉", u"😀🎉"},
    {"emoji with variation selector", u"❤️", u"❤️"},
    {"family emoji with joiners", u"👨‍👩‍👧", u"👨‍👩‍👧"},
    {"punctuation unchanged", u"a-b_c.d!?(e)", u"a-b_c.d!?(e)"},
    {"chinese unchanged", u"照片", u"照片"},
    {"empty", u"", u""},
    {"path", u"/Users/Ana/Documents/Über Plan.PDF", u"/users/ana/documents/uber plan.pdf"},
};

}  // namespace

TEST(FoldTest, FoldsCaseDiacriticsAndWidth)
{
    for (const FoldRow& row : kFoldRows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(Fold::text(QString::fromUtf16(row.input)), QString::fromUtf16(row.folded));
    }
}

TEST(FoldTest, FoldingIsIdempotent)
{
    for (const FoldRow& row : kFoldRows) {
        SCOPED_TRACE(row.name);
        const QString once = Fold::text(QString::fromUtf16(row.input));
        EXPECT_EQ(Fold::text(once), once);
        EXPECT_TRUE(Fold::isFolded(once));
    }
}

TEST(FoldTest, AlreadyFoldedAsciiIsSharedNotCopied)
{
    const QString s = QStringLiteral("already folded text");
    const QString folded = Fold::text(s);
    EXPECT_EQ(folded.constData(), s.constData());
}
