#include "SearchTables.h"

namespace fennic::SearchParser {

namespace {

QStringList list(std::initializer_list<const char*> words)
{
    QStringList out;
    out.reserve(qsizetype(words.size()));
    for (const char* w : words) out.append(QLatin1String(w));
    return out;
}

template <typename T> T lookup(const QList<std::pair<QString, T>>& table, const QString& word, T missing)
{
    for (const auto& [key, value] : table)
        if (key == word) return value;
    return missing;
}

}  // namespace

const QList<std::pair<QString, qint64>>& units()
{
    static const QList<std::pair<QString, qint64>> table = [] {
        QList<std::pair<QString, qint64>> t;
        const auto add = [&t](std::initializer_list<const char*> words, qint64 multiplier) {
            for (const char* w : words) t.append({QLatin1String(w), multiplier});
        };
        add({"b", "byte", "bytes"}, 1);
        add({"k", "kb", "kilobyte", "kilobytes"}, 1000);
        add({"m", "mb", "meg", "megs", "megabyte", "megabytes"}, 1000LL * 1000);
        add({"g", "gb", "gig", "gigs", "gigabyte", "gigabytes"}, 1000LL * 1000 * 1000);
        add({"t", "tb", "terabyte", "terabytes"}, 1000LL * 1000 * 1000 * 1000);
        return t;
    }();
    return table;
}

const QList<std::pair<QString, int>>& numberWords()
{
    static const QList<std::pair<QString, int>> table = {
        {QStringLiteral("a"), 1},           {QStringLiteral("an"), 1},      {QStringLiteral("one"), 1},
        {QStringLiteral("two"), 2},         {QStringLiteral("three"), 3},   {QStringLiteral("four"), 4},
        {QStringLiteral("five"), 5},        {QStringLiteral("six"), 6},     {QStringLiteral("seven"), 7},
        {QStringLiteral("eight"), 8},       {QStringLiteral("nine"), 9},    {QStringLiteral("ten"), 10},
        {QStringLiteral("eleven"), 11},     {QStringLiteral("twelve"), 12}, {QStringLiteral("a couple of"), 2},
        {QStringLiteral("a few"), 3},       {QStringLiteral("few"), 3},
    };
    return table;
}

const QStringList& months()
{
    static const QStringList table = list({"january", "february", "march", "april", "may", "june", "july", "august",
                                           "september", "october", "november", "december"});
    return table;
}

const QList<std::pair<QString, int>>& shortMonths()
{
    static const QList<std::pair<QString, int>> table = {
        {QStringLiteral("jan"), 0}, {QStringLiteral("feb"), 1},  {QStringLiteral("mar"), 2},
        {QStringLiteral("apr"), 3}, {QStringLiteral("jun"), 5},  {QStringLiteral("jul"), 6},
        {QStringLiteral("aug"), 7}, {QStringLiteral("sep"), 8},  {QStringLiteral("sept"), 8},
        {QStringLiteral("oct"), 9}, {QStringLiteral("nov"), 10}, {QStringLiteral("dec"), 11},
    };
    return table;
}

const QList<TypeWords>& typeWords()
{
    static const QList<TypeWords> table = [] {
        QList<TypeWords> t;
        const auto exts = [](std::initializer_list<const char*> e, const char* label) {
            return SearchFilter::exts(list(e), QLatin1String(label));
        };
        t.append({list({"pdf", "pdfs"}), exts({"pdf"}, "PDFs")});
        t.append({list({"screenshot", "screenshots", "screengrab", "screengrabs", "screen-shots"}),
                  SearchFilter::screenshot()});
        t.append({list({"image", "images", "photo", "photos", "picture", "pictures", "pics", "pic", "imgs", "img"}),
                  SearchFilter::kind(FileKind::image)});
        t.append(
            {list({"video", "videos", "movie", "movies", "clip", "clips", "recording", "recordings", "film", "films"}),
             SearchFilter::kind(FileKind::video)});
        t.append({list({"music", "song", "songs", "audio", "tracks", "podcast", "podcasts"}),
                  SearchFilter::kind(FileKind::music)});
        t.append({list({"doc", "docs", "document", "documents"}), SearchFilter::kind(FileKind::document)});
        t.append({list({"archive", "archives", "compressed"}), SearchFilter::kind(FileKind::archive)});
        t.append({list({"zip", "zips", "zipped"}), exts({"zip"}, "ZIPs")});
        t.append({list({"app", "apps", "applications", "programs"}), SearchFilter::kind(FileKind::app)});
        t.append({list({"installer", "installers", "dmg", "dmgs", "pkg", "pkgs", "disk images"}),
                  exts({"dmg", "pkg", "mpkg", "iso"}, "Installers")});
        t.append({list({"spreadsheet", "spreadsheets", "excel", "sheets", "xlsx"}),
                  exts({"xlsx", "xls", "csv", "numbers"}, "Spreadsheets")});
        t.append({list({"presentation", "presentations", "slides", "deck", "decks", "keynote", "keynotes", "powerpoint",
                        "pptx"}),
                  exts({"key", "ppt", "pptx"}, "Presentations")});
        t.append({list({"word", "docx"}), exts({"doc", "docx", "pages"}, "Word docs")});
        t.append({list({"gif", "gifs"}), exts({"gif"}, "GIFs")});
        t.append({list({"png", "pngs"}), exts({"png"}, "PNGs")});
        t.append({list({"jpg", "jpgs", "jpeg", "jpegs"}), exts({"jpg", "jpeg"}, "JPEGs")});
        t.append({list({"heic", "heics"}), exts({"heic"}, "HEIC")});
        t.append({list({"svg", "svgs"}), exts({"svg"}, "SVGs")});
        t.append({list({"mp4", "mp4s"}), exts({"mp4"}, "MP4s")});
        t.append({list({"mov", "movs"}), exts({"mov"}, "MOVs")});
        t.append({list({"mp3", "mp3s"}), exts({"mp3"}, "MP3s")});
        t.append({list({"csv", "csvs"}), exts({"csv"}, "CSVs")});
        t.append({list({"txt", "text files"}), exts({"txt"}, "Text files")});
        t.append({list({"epub", "epubs", "ebook", "ebooks", "books"}), exts({"epub"}, "eBooks")});
        return t;
    }();
    return table;
}

const QList<std::pair<QString, QString>>& sourceWords()
{
    static const QList<std::pair<QString, QString>> table = [] {
        QList<std::pair<QString, QString>> t;
        const auto add = [&t](std::initializer_list<const char*> words, const char* key) {
            for (const char* w : words) t.append({QLatin1String(w), QLatin1String(key)});
        };
        add({"gmail", "email", "e-mail", "mail"}, "gmail");
        add({"google drive", "drive"}, "drive");
        add({"chatgpt", "openai"}, "chatgpt");
        add({"claude"}, "claude");
        add({"canva"}, "canva");
        add({"twitter", "x"}, "x");
        add({"slack"}, "slack");
        add({"whatsapp"}, "whatsapp");
        add({"github"}, "github");
        add({"figma"}, "figma");
        add({"notion"}, "notion");
        add({"telegram"}, "telegram");
        add({"discord"}, "discord");
        add({"dropbox"}, "dropbox");
        add({"extensions", "extension"}, "extensions");
        return t;
    }();
    return table;
}

const QStringList& folders()
{
    static const QStringList table = list({"downloads", "desktop", "documents", "pictures", "movies", "music"});
    return table;
}

const QSet<QString>& stopWords()
{
    static const QSet<QString> table = [] {
        const QStringList words =
            list({"my",     "the",   "a",     "an",     "from",   "in",         "of",    "with",   "and",
                  "or",     "files", "file",  "that",   "show",   "me",         "all",   "find",   "any",
                  "some",   "which", "where", "is",     "are",    "for",        "on",    "to",     "containing",
                  "saying", "say",   "says",  "about",  "called", "named",      "stuff", "things", "i",
                  "were",   "was",   "got",   "get",    "made",   "downloaded", "saved", "added",  "taken",
                  "shot",   "those", "these", "please", "what",   "every"});
        return QSet<QString>(words.begin(), words.end());
    }();
    return table;
}

const QStringList& connectorWords()
{
    static const QStringList table = list({"from", "in", "on", "at", "of", "and", "or", "to", "by", "for", "the", "my",
                                           "a", "an", "which", "taken", "shot", "downloaded", "saved"});
    return table;
}

qint64 unitMultiplier(const QString& word) { return lookup<qint64>(units(), word, -1); }

int numberWordValue(const QString& word) { return lookup<int>(numberWords(), word, -1); }

int monthIndex(const QString& word)
{
    const qsizetype full = months().indexOf(word);
    if (full >= 0) return int(full);
    return lookup<int>(shortMonths(), word, -1);
}

const TypeWords* typeRow(const QString& word)
{
    for (const TypeWords& row : typeWords())
        if (row.words.contains(word)) return &row;
    return nullptr;
}

QString sourceKey(const QString& word) { return lookup<QString>(sourceWords(), word, QString()); }

}  // namespace fennic::SearchParser
