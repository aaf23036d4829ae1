#include "Fold.h"

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

namespace fennic::Fold {

namespace {

bool isVariationSelector(UChar32 c) { return (c >= 0xFE00 && c <= 0xFE0F) || (c >= 0xE0100 && c <= 0xE01EF); }

// The Halfwidth and Fullwidth Forms block: compatibility-decomposing just this block gives
// the ordinary forms without touching other compatibility characters (ligatures, superscripts).
bool isWidthForm(UChar32 c) { return c >= 0xFF00 && c <= 0xFFEF; }

const icu::Normalizer2* nfd()
{
    static const icu::Normalizer2* n = [] {
        UErrorCode status = U_ZERO_ERROR;
        return icu::Normalizer2::getNFDInstance(status);
    }();
    return n;
}

const icu::Normalizer2* nfc()
{
    static const icu::Normalizer2* n = [] {
        UErrorCode status = U_ZERO_ERROR;
        return icu::Normalizer2::getNFCInstance(status);
    }();
    return n;
}

const icu::Normalizer2* nfkc()
{
    static const icu::Normalizer2* n = [] {
        UErrorCode status = U_ZERO_ERROR;
        return icu::Normalizer2::getNFKCInstance(status);
    }();
    return n;
}

QString foldUnicode(const QString& s)
{
    icu::UnicodeString in(false, reinterpret_cast<const UChar*>(s.utf16()), int32_t(s.size()));

    // Width first, so that a full-width capital is then case-folded like any other.
    icu::UnicodeString widened;
    const icu::Normalizer2* compat = nfkc();
    for (int32_t i = 0; i < in.length();) {
        const UChar32 c = in.char32At(i);
        const int32_t n = U16_LENGTH(c);
        if (isWidthForm(c) && compat) {
            UErrorCode status = U_ZERO_ERROR;
            icu::UnicodeString mapped = compat->normalize(in.tempSubString(i, n), status);
            widened.append(U_SUCCESS(status) ? mapped : in.tempSubString(i, n));
        } else {
            widened.append(c);
        }
        i += n;
    }

    // Full case folding before decomposition: "İ" folds to "i" plus a combining dot, which
    // the mark removal below then drops.
    widened.foldCase(U_FOLD_CASE_DEFAULT);

    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeString decomposed = nfd() ? nfd()->normalize(widened, status) : widened;
    if (U_FAILURE(status)) decomposed = widened;

    icu::UnicodeString stripped;
    for (int32_t i = 0; i < decomposed.length();) {
        const UChar32 c = decomposed.char32At(i);
        if (u_charType(c) != U_NON_SPACING_MARK || isVariationSelector(c)) stripped.append(c);
        i += U16_LENGTH(c);
    }

    status = U_ZERO_ERROR;
    icu::UnicodeString composed = nfc() ? nfc()->normalize(stripped, status) : stripped;
    if (U_FAILURE(status)) composed = stripped;
    return QString(reinterpret_cast<const QChar*>(composed.getBuffer()), composed.length());
}

}  // namespace

QString text(const QString& s)
{
    const char16_t* p = reinterpret_cast<const char16_t*>(s.utf16());
    const qsizetype n = s.size();
    qsizetype firstUpper = -1;
    for (qsizetype i = 0; i < n; ++i) {
        const char16_t c = p[i];
        if (c >= 0x80) return foldUnicode(s);
        if (firstUpper < 0 && c >= u'A' && c <= u'Z') firstUpper = i;
    }
    if (firstUpper < 0) return s;
    QString out = s;
    char16_t* q = reinterpret_cast<char16_t*>(out.data());
    for (qsizetype i = firstUpper; i < n; ++i) {
        if (q[i] >= u'A' && q[i] <= u'Z') q[i] = char16_t(q[i] + (u'a' - u'A'));
    }
    return out;
}

bool isFolded(const QString& s) { return text(s) == s; }

}  // namespace fennic::Fold
