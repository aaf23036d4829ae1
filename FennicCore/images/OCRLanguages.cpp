#include "images/OCRLanguages.h"

#include <QDir>
#include <QFileInfo>
#include <unicode/uloc.h>

#include <array>
#include <utility>

namespace fennic::OCRLanguages {
namespace {

// Recognition language identifiers and the Tesseract data that reads each, in the order in
// which supported() lists them.
constexpr std::array<std::pair<const char*, const char*>, 28> kCodes{{
    {"en-US", "eng"}, {"es-ES", "spa"}, {"zh-Hans", "chi_sim"}, {"zh-Hant", "chi_tra"}, {"ja-JP", "jpn"},
    {"ko-KR", "kor"}, {"hi-IN", "hin"}, {"fr-FR", "fra"},       {"de-DE", "deu"},       {"it-IT", "ita"},
    {"pt-BR", "por"}, {"ru-RU", "rus"}, {"uk-UA", "ukr"},       {"nl-NL", "nld"},       {"sv-SE", "swe"},
    {"da-DK", "dan"}, {"nb-NO", "nor"}, {"fi-FI", "fin"},       {"pl-PL", "pol"},       {"cs-CZ", "ces"},
    {"tr-TR", "tur"}, {"ar-SA", "ara"}, {"he-IL", "heb"},       {"el-GR", "ell"},       {"th-TH", "tha"},
    {"vi-VN", "vie"}, {"id-ID", "ind"}, {"ro-RO", "ron"},
}};

QStringList readSupported()
{
    const QDir folder(dataPath());
    if (!folder.exists()) return {QStringLiteral("en-US")};
    QStringList found;
    for (const auto& [identifier, code] : kCodes)
        if (QFileInfo(folder.filePath(QString::fromLatin1(code) + QStringLiteral(".traineddata"))).isFile())
            found.append(QString::fromLatin1(identifier));
    if (found.isEmpty()) return {QStringLiteral("en-US")};
    return found;
}

QString languageCode(const QString& identifier)
{
    qsizetype end = identifier.size();
    for (qsizetype i = 0; i < identifier.size(); ++i) {
        if (identifier[i] == u'-' || identifier[i] == u'_') {
            end = i;
            break;
        }
    }
    return identifier.left(end);
}

}  // namespace

const QStringList& wanted()
{
    static const QStringList list{
        QStringLiteral("en-US"), QStringLiteral("es-ES"), QStringLiteral("zh-Hans"),
                                                                         QStringLiteral("ja-JP"), QStringLiteral("ko-KR"), QStringLiteral("hi-IN")};
    return list;
}

const QStringList& cjk()
{
    static const QStringList list{
        QStringLiteral("zh-Hans"),  QStringLiteral("zh-Hant"), QStringLiteral("yue-Hans"),
                                                                              QStringLiteral("yue-Hant"), QStringLiteral("ja-JP"),   QStringLiteral("ko-KR")};
    return list;
}

const QStringList& secondPass()
{
    static const QStringList list{QStringLiteral("ja-JP"), QStringLiteral("zh-Hans"), QStringLiteral("zh-Hant")};
    return list;
}

QString dataPath()
{
    const QString prefix = qEnvironmentVariable("TESSDATA_PREFIX");
    if (!prefix.isEmpty()) {
        const QString nested = QDir(prefix).filePath(QStringLiteral("tessdata"));
        return QFileInfo(nested).isDir() ? nested : QDir(prefix).absolutePath();
    }
    return QStringLiteral("/usr/share/tesseract-ocr/5/tessdata");
}

QStringList supported()
{
    static const QStringList languages = readSupported();
    return languages;
}

std::optional<QString> tesseractCode(const QString& identifier)
{
    for (const auto& [id, code] : kCodes)
        if (identifier == QLatin1String(id)) return QString::fromLatin1(code);
    return std::nullopt;
}

std::optional<QString> identifierFor(const QString& tesseractCode)
{
    for (const auto& [id, code] : kCodes)
        if (tesseractCode == QLatin1String(code)) return QString::fromLatin1(id);
    return std::nullopt;
}

QStringList defaults(const QStringList& preferred, const QStringList& supported)
{
    QStringList picked;
    for (const QString& language : preferred) {
        const QString code = languageCode(language);
        if (code.isEmpty()) continue;
        QString match;
        if (supported.contains(code)) {
            match = code;
        } else {
            for (const QString& candidate : supported) {
                if (candidate.startsWith(code + u'-')) {
                    match = candidate;
                    break;
                }
            }
        }
        if (!match.isEmpty() && !picked.contains(match)) picked.append(match);
    }
    return resolve(picked, supported).use;
}

Resolved resolve(const QStringList& requested, const QStringList& supported)
{
    Resolved result;
    QStringList seen;
    for (const QString& language : requested) {
        if (seen.contains(language)) continue;
        seen.append(language);
        (supported.contains(language) ? result.use : result.unavailable).append(language);
    }
    if (result.use.isEmpty()) {
        if (supported.contains(QStringLiteral("en-US")))
            result.use = {QStringLiteral("en-US")};
        else
            result.use = supported.mid(0, 3);
    }
    // Tesseract, like other recognisers, reads Chinese, Japanese and Korean reliably only when
    // their data leads the list.
    QStringList ordered;
    for (const QString& language : result.use)
        if (cjk().contains(language)) ordered.append(language);
    for (const QString& language : result.use)
        if (!cjk().contains(language)) ordered.append(language);
    result.use = ordered;
    return result;
}

QString name(const QString& identifier, const QString& locale)
{
    char icuId[ULOC_FULLNAME_CAPACITY] = {};
    char icuLocale[ULOC_FULLNAME_CAPACITY] = {};
    UErrorCode status = U_ZERO_ERROR;
    uloc_forLanguageTag(identifier.toUtf8().constData(), icuId, sizeof icuId, nullptr, &status);
    if (U_FAILURE(status) || icuId[0] == '\0') return identifier;
    status = U_ZERO_ERROR;
    uloc_forLanguageTag(locale.toUtf8().constData(), icuLocale, sizeof icuLocale, nullptr, &status);
    if (U_FAILURE(status)) return identifier;

    // ICU echoes the language code back when it has no name for it.
    UChar language[128] = {};
    status = U_ZERO_ERROR;
    const int32_t languageLength = uloc_getDisplayLanguage(icuId, icuLocale, language, 128, &status);
    char code[ULOC_LANG_CAPACITY] = {};
    UErrorCode codeStatus = U_ZERO_ERROR;
    uloc_getLanguage(icuId, code, sizeof code, &codeStatus);
    if (U_FAILURE(status) || languageLength <= 0
        || QString::fromUtf16(language, languageLength) == QString::fromLatin1(code))
        return identifier;

    UChar display[256] = {};
    status = U_ZERO_ERROR;
    const int32_t length = uloc_getDisplayName(icuId, icuLocale, display, 256, &status);
    if (U_FAILURE(status) || length <= 0) return identifier;
    return QString::fromUtf16(display, length);
}

bool hasHanOrKana(const QString& text)
{
    const qsizetype n = text.size();
    for (qsizetype i = 0; i < n; ++i) {
        char32_t c = text[i].unicode();
        if (c < 0x2E80) continue;  // nothing below the CJK radicals is Han or kana
        if (QChar::isHighSurrogate(c) && i + 1 < n && text[i + 1].isLowSurrogate())
            c = QChar::surrogateToUcs4(char16_t(c), text[++i].unicode());
        switch (QChar::script(c)) {
        case QChar::Script_Han:
        case QChar::Script_Hiragana:
        case QChar::Script_Katakana: return true;
        default: break;
        }
    }
    return false;
}

}  // namespace fennic::OCRLanguages
