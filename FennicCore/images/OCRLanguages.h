#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace fennic::OCRLanguages {

// Languages the settings offer by name, in this order.
const QStringList& wanted();
// Languages that must lead the recognition list (Chinese, Japanese, Korean).
const QStringList& cjk();
// Tried in a second pass when Chinese or Japanese characters turn up unasked.
const QStringList& secondPass();

// The recognition languages whose Tesseract data is installed, as identifiers ("en-US",
// "ja-JP", ...) in a fixed order; ["en-US"] when the data folder cannot be read. Reads the
// folder once per process. Any thread.
QStringList supported();

// The folder of Tesseract's language data: TESSDATA_PREFIX (or its "tessdata" subfolder)
// when set, otherwise Debian's folder.
QString dataPath();

// The Tesseract data name of an identifier ("ja-JP" -> "jpn"); none when there is no mapping.
std::optional<QString> tesseractCode(const QString& identifier);
// The identifier of a Tesseract data name ("chi_sim" -> "zh-Hans"); none for unmapped data
// such as "osd".
std::optional<QString> identifierFor(const QString& tesseractCode);

// The user's preferred languages (such as "de-CH", "ja_JP", "en") mapped onto supported
// identifiers by language code, then resolved.
QStringList defaults(const QStringList& preferred, const QStringList& supported);

struct Resolved {
    QStringList use;          // in recognition order: CJK languages first
    QStringList unavailable;  // requested but not supported
};
// Splits a request into readable and unreadable languages. Nothing readable gives ["en-US"]
// when supported, else the first three supported languages.
Resolved resolve(const QStringList& requested, const QStringList& supported);

// The display name of a language in `locale` (e.g. "Japanese" for "ja-JP" in "en-US"), or
// the identifier itself when the locale has no name for it.
QString name(const QString& identifier, const QString& locale);

// Whether the text holds any Han ideograph, Hiragana or Katakana.
bool hasHanOrKana(const QString& text);

}  // namespace fennic::OCRLanguages
