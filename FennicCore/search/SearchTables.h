#pragma once

#include "SearchFilter.h"

#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>
#include <utility>

// The fixed word tables the request parser recognises. Every word is lower-case ASCII and is
// looked up with words the parser has already lower-cased. Each table is built once, on first
// use (thread-safe static initialisation), and never changes afterwards; the ordered tables
// keep the order in which they are tried.
namespace fennic::SearchParser {

struct TypeWords {
    QStringList words;  // single words, or a two-word phrase such as "disk images"
    SearchFilter filter;
};

// Unit word -> byte multiplier (powers of 1000), in the order listed. 23 entries.
const QList<std::pair<QString, qint64>>& units();
// Number word -> value, in the order listed ("a couple of" and "a few" are phrases). 17 entries.
const QList<std::pair<QString, int>>& numberWords();
// Full month names, January first. 12 entries.
const QStringList& months();
// Abbreviation -> month index (0 = January); no "may". 12 entries.
const QList<std::pair<QString, int>>& shortMonths();
// Tried in this order; the first row holding a word gives its filter. 24 rows.
const QList<TypeWords>& typeWords();
// Source word -> download-source key, in the order listed. 22 entries.
const QList<std::pair<QString, QString>>& sourceWords();
// Library folders of the home folder, lower case. 6 entries.
const QStringList& folders();
// Words dropped from free text. 51 entries.
const QSet<QString>& stopWords();
// Words left over beside a chip that are filler, never free text. 19 entries.
const QStringList& connectorWords();

// Lookups (nothing found: -1, or none).
qint64 unitMultiplier(const QString& word);
int numberWordValue(const QString& word);
int monthIndex(const QString& word);  // full name or abbreviation
const TypeWords* typeRow(const QString& word);
QString sourceKey(const QString& word);

}  // namespace fennic::SearchParser
