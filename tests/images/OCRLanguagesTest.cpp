#include "images/OCRLanguages.h"
#include <QFileInfo>

#include <gtest/gtest.h>

using namespace fennic;

TEST(OCRLanguages, SupportedComesFromTheInstalledData)
{
    // The build machine installs English, Spanish, both Chinese scripts, Japanese, Korean and
    // Hindi; each shows up under its identifier, English first.
    const QStringList supported = OCRLanguages::supported();
    ASSERT_FALSE(supported.isEmpty());
    EXPECT_EQ(supported.first(), QStringLiteral("en-US"));
    for (const QString& language : supported) {
        const auto code = OCRLanguages::tesseractCode(language);
        ASSERT_TRUE(code.has_value()) << language.toStdString();
        EXPECT_TRUE(QFileInfo::exists(OCRLanguages::dataPath() + u'/' + *code + QStringLiteral(".traineddata")));
        EXPECT_EQ(OCRLanguages::identifierFor(*code), language);
    }
    for (const char* wanted : {"es-ES", "zh-Hans", "zh-Hant", "ja-JP", "ko-KR", "hi-IN"})
        EXPECT_TRUE(supported.contains(QString::fromLatin1(wanted))) << wanted;
    EXPECT_FALSE(supported.contains(QStringLiteral("osd")));
    EXPECT_EQ(OCRLanguages::tesseractCode(QStringLiteral("zh-Hans")), QStringLiteral("chi_sim"));
    EXPECT_EQ(OCRLanguages::tesseractCode(QStringLiteral("ja-JP")), QStringLiteral("jpn"));
    EXPECT_FALSE(OCRLanguages::tesseractCode(QStringLiteral("tlh-KL")).has_value());
}

TEST(OCRLanguages, ResolveOrdersCjkFirstAndReportsWhatCannotBeRead)
{
    const QStringList supported{QStringLiteral("en-US"), QStringLiteral("es-ES"), QStringLiteral("zh-Hans"), QStringLiteral("ja-JP"), QStringLiteral("ko-KR")};
    struct Case {
        const char* name;
        QStringList requested;
        QStringList use;
        QStringList unavailable;
    };
    const Case cases[] = {
        {"CJK first",
         {QStringLiteral("en-US"), QStringLiteral("ko-KR")}, {QStringLiteral("ko-KR"), QStringLiteral("en-US")}, {}},
          {"requested order kept within groups",
           {QStringLiteral("es-ES"),
               QStringLiteral("ja-JP"), QStringLiteral("en-US"), QStringLiteral("zh-Hans")},
                   {QStringLiteral("ja-JP"),
                                   QStringLiteral("zh-Hans"), QStringLiteral("es-ES"), QStringLiteral("en-US")}, {}},
                    {"only a missing language",
                     {QStringLiteral("fr-FR")}, {QStringLiteral("en-US")}, {QStringLiteral("fr-FR")}},
                      {"duplicates dropped",
                       {QStringLiteral("es-ES"),
                                       QStringLiteral("es-ES"), QStringLiteral("de-DE"), QStringLiteral("de-DE")},
                                                      {QStringLiteral("es-ES")}, {QStringLiteral("de-DE")}},
                                                      {"nothing requested", {}, {QStringLiteral("en-US")}, {}},
                                       };
    for (const Case& c : cases) {
        const auto resolved = OCRLanguages::resolve(c.requested, supported);
        EXPECT_EQ(resolved.use, c.use) << c.name;
        EXPECT_EQ(resolved.unavailable, c.unavailable) << c.name;
    }
    // Without English, the first three supported languages stand in.
    const auto noEnglish = OCRLanguages::resolve(
        {QStringLiteral("fr-FR")},
         {QStringLiteral("es-ES"), QStringLiteral("ja-JP"), QStringLiteral("de-DE"), QStringLiteral("it-IT")});
    EXPECT_EQ(noEnglish.use, (QStringList{QStringLiteral("ja-JP"), QStringLiteral("es-ES"), QStringLiteral("de-DE")}));
}

TEST(OCRLanguages, DefaultsMapPreferredLanguagesByCode)
{
    const QStringList supported{QStringLiteral("en-US"),
        QStringLiteral("es-ES"), QStringLiteral("zh-Hans"), QStringLiteral("zh-Hant"), QStringLiteral("ja-JP")};
    EXPECT_EQ(
        OCRLanguages::defaults({QStringLiteral("en-GB"), QStringLiteral("ja_JP"), QStringLiteral("en")}, supported),
                               (QStringList{QStringLiteral("ja-JP"), QStringLiteral("en-US")}));
    EXPECT_EQ(OCRLanguages::defaults({QStringLiteral("zh-TW")}, supported), QStringList{QStringLiteral("zh-Hans")});
    EXPECT_EQ(OCRLanguages::defaults({QStringLiteral("de-DE"), QStringLiteral("es-MX")}, supported),
                                     QStringList{QStringLiteral("es-ES")});
    EXPECT_EQ(OCRLanguages::defaults({}, supported), QStringList{QStringLiteral("en-US")});
}

TEST(OCRLanguages, NamesAndScripts)
{
    EXPECT_EQ(OCRLanguages::name(QStringLiteral("ja-JP"), QStringLiteral("en-US")), QStringLiteral("Japanese (Japan)"));
    EXPECT_EQ(OCRLanguages::name(QStringLiteral("zh-Hans"), QStringLiteral("en-US")),
                                 QStringLiteral("Chinese (Simplified)"));
    EXPECT_EQ(OCRLanguages::name(QStringLiteral("es-ES"), QStringLiteral("es-ES")), QStringLiteral("español (España)"));
    EXPECT_EQ(OCRLanguages::name(QStringLiteral("qq-ZZ"), QStringLiteral("en-US")), QStringLiteral("qq-ZZ"));

    struct Case {
        const char* text;
        bool expected;
    };
    const Case cases[] = {
        {"plain text", false},
        {"東京", true},
        {"ひらがな", true},
        {"カタカナ", true},
        {"한국어", false},
        {"Résumé ＡＢＣ", false},
        {"mixed 漢 text", true},
        {"\xF0\xA0\x80\x80", true},  // U+20000, beyond the BMP
        {"", false},
    };
    for (const Case& c : cases) EXPECT_EQ(OCRLanguages::hasHanOrKana(QString::fromUtf8(c.text)), c.expected) << c.text;
}
