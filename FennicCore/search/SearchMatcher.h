#pragma once

#include "SearchFilter.h"
#include "model/FileItem.h"

#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fennic {

class SearchContext;
class SearchIndex;

// What the cheap filters read of a file, packed small so that a pass over a whole library
// reads a few bytes per file instead of the whole record.
struct ItemFacts {
    double date = 0;  // FileItem::date(), seconds
    qint64 size = 0;
    quint64 extCode = 0;  // the extension lower-cased, packed into 8 bytes (see packed)
    FileKind kind = FileKind::other;
    bool isScreenshot = false;
    bool extPacked = false;  // false: the extension is longer than 8 bytes or not ASCII

    static ItemFacts of(const FileItem& item);
    // The packed form of an extension (any case), or none when it does not fit.
    static std::optional<quint64> packExt(const QString& ext);
};

// The filters of one request prepared for testing many files: request text folded once,
// tag sets looked up once, cheap tests run before expensive ones. Holds a reference to the
// context it was made with, which must outlive it; used on the context's thread only.
class SearchMatcher {
public:
    SearchMatcher(const QList<SearchFilter>& filters, SearchContext& context);

    // True when every filter holds (an empty list matches everything). Folds the item's path.
    bool matches(const FileItem& item) const;
    // The tests that need only the packed facts (kind, screenshot, date, sizes, extensions).
    bool factsMatch(const ItemFacts& facts) const;
    // The other tests, for item `position` of the index given to prepareForPass() (or -1 for
    // none), with the item's folded path already prepared (UTF-8) and whether its name is plain
    // ASCII. A file matches when both hold.
    bool restMatches(const FileItem& item, qsizetype position, std::string_view foldedPath, bool asciiName) const;

    // Readies the matcher for a pass over many files: for each text word, the files whose
    // recognised text holds it are found once, so that files whose names miss a word need no
    // lookup of their own. Without it each such image is looked up in the context.
    // With an index and `scanPaths` (set when many files pass the cheap tests), the files whose
    // paths hold the first text word are found in one scan of all the folded paths.
    void prepareForPass(const SearchIndex* index = nullptr, bool scanPaths = false);

    // UTF-8 of the folded form of `text`.
    static std::string foldedUtf8(const QString& text);

private:
    struct Check {
        SearchFilter::Case what = SearchFilter::Case::kind;
        int cost = 0;
        FileKind kind = FileKind::other;
        QStringList exts;
        std::vector<quint64> extCodes;  // the extensions that pack; the others compare as text
        bool allExtsPacked = true;
        Date from, to;
        qint64 bytes = 0;
        bool strict = false;
        QString key;      // source key, camera name, folder prefix, description
        QString siteKey;  // "site:" + domain for a domain source
        bool isDomain = false;
        QSet<QString> paths;             // tagged paths
        std::vector<std::string> words;  // folded text words, UTF-8
        QStringList wordTexts;           // the same as QString, for recognised text
        QString whole;                   // the words as typed (lower case), for the name fallback
        bool asciiWhole = true;
        bool ocrPrepared = false;
        std::vector<QSet<QString>> ocrHits;  // per word: paths whose recognised text holds it
        const SearchIndex* pathIndex = nullptr;
        std::vector<std::vector<quint8>> pathHits;  // first word: per item of pathIndex, found
    };

    static bool factHolds(const Check& check, const ItemFacts& facts);
    bool holds(const Check& check, const FileItem& item, qsizetype position, std::string_view foldedPath,
               bool asciiName) const;
    bool textHolds(const Check& check, const FileItem& item, qsizetype position, std::string_view foldedPath,
                   bool asciiName) const;
    static bool sourceHolds(const Check& check, const FileItem& item);

    SearchContext& m_context;
    std::vector<Check> m_factChecks;  // read only ItemFacts
    std::vector<Check> m_checks;      // the rest, cheapest first
};

}  // namespace fennic
