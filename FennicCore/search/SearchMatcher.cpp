#include "SearchMatcher.h"

#include "SearchContext.h"
#include "SearchIndex.h"
#include "SearchParser.h"
#include "model/Fold.h"

#include <QUrl>
#include <algorithm>
#include <cstring>

namespace fennic {

namespace {

bool isAscii(const QString& s)
{
    const char16_t* p = reinterpret_cast<const char16_t*>(s.utf16());
    for (qsizetype i = 0; i < s.size(); ++i)
        if (p[i] >= 0x80) return false;
    return true;
}

// Paths are short, so the set-up of a general substring search (memmem builds a shift table
// per call) costs more than the search; finding the first byte with memchr and comparing the
// rest is cheaper here.
bool contains(std::string_view haystack, const std::string& needle)
{
    const size_t n = needle.size();
    if (n == 0) return true;
    if (n > haystack.size()) return false;
    const char first = needle[0];
    const char* p = haystack.data();
    const char* const last = haystack.data() + (haystack.size() - n);
    while (p <= last) {
        p = static_cast<const char*>(std::memchr(p, first, size_t(last - p) + 1));
        if (!p) return false;
        if (std::memcmp(p + 1, needle.data() + 1, n - 1) == 0) return true;
        ++p;
    }
    return false;
}

// Cheap tests first, so the costly ones (text, pictures) see only files that passed the rest.
int costOf(SearchFilter::Case c)
{
    switch (c) {
    case SearchFilter::Case::kind:
    case SearchFilter::Case::exts:
    case SearchFilter::Case::screenshot:
    case SearchFilter::Case::minSize:
    case SearchFilter::Case::maxSize:
    case SearchFilter::Case::date: return 0;
    case SearchFilter::Case::favourite:
    case SearchFilter::Case::folder:
    case SearchFilter::Case::camera:
    case SearchFilter::Case::source:
    case SearchFilter::Case::tag: return 1;
    case SearchFilter::Case::text: return 2;
    case SearchFilter::Case::looks: return 3;
    }
    return 3;
}

}  // namespace

std::optional<quint64> ItemFacts::packExt(const QString& ext)
{
    if (ext.size() > 8) return std::nullopt;
    quint64 code = 0;
    for (qsizetype i = 0; i < ext.size(); ++i) {
        char16_t c = ext[i].unicode();
        if (c == 0 || c >= 0x80) return std::nullopt;
        if (c >= u'A' && c <= u'Z') c = char16_t(c + 32);
        code |= quint64(c) << (8 * i);
    }
    return code;
}

ItemFacts ItemFacts::of(const FileItem& item)
{
    ItemFacts f;
    f.date = item.date().seconds;
    f.size = item.size;
    f.kind = item.kind;
    f.isScreenshot = item.isScreenshot;
    const std::optional<quint64> code = packExt(item.ext);
    f.extPacked = code.has_value();
    f.extCode = code.value_or(0);
    return f;
}

std::string SearchMatcher::foldedUtf8(const QString& text) { return Fold::text(text).toStdString(); }

SearchMatcher::SearchMatcher(const QList<SearchFilter>& filters, SearchContext& context) : m_context(context)
{
    for (const SearchFilter& filter : filters) {
        Check c;
        c.what = filter.caseOf();
        c.cost = costOf(c.what);
        if (const auto* k = filter.as<SearchFilter::Kind>()) {
            c.kind = k->kind;
        } else if (const auto* e = filter.as<SearchFilter::Exts>()) {
            c.exts = e->exts;
            for (const QString& ext : e->exts) {
                const std::optional<quint64> code = ItemFacts::packExt(ext);
                if (code) c.extCodes.push_back(*code);
                c.allExtsPacked = c.allExtsPacked && code.has_value();
            }
        } else if (const auto* d = filter.as<SearchFilter::DateRange>()) {
            c.from = d->from;
            c.to = d->to;
        } else if (const auto* atLeast = filter.as<SearchFilter::MinSize>()) {
            c.bytes = atLeast->bytes;
            c.strict = atLeast->strict;
        } else if (const auto* atMost = filter.as<SearchFilter::MaxSize>()) {
            c.bytes = atMost->bytes;
            c.strict = atMost->strict;
        } else if (const auto* s = filter.as<SearchFilter::Source>()) {
            c.key = s->key;
            // Named sources have plain keys; a key with a dot is a web domain.
            c.isDomain = s->key.contains(u'.');
            if (c.isDomain) c.siteKey = QStringLiteral("site:") + s->key;
        } else if (const auto* cam = filter.as<SearchFilter::Camera>()) {
            c.key = cam->name;
        } else if (const auto* f = filter.as<SearchFilter::Folder>()) {
            c.key = f->path.endsWith(u'/') ? f->path : f->path + u'/';
        } else if (const auto* t = filter.as<SearchFilter::Text>()) {
            c.whole = t->words.toLower();
            c.asciiWhole = isAscii(c.whole);
            c.wordTexts = Fold::text(c.whole).split(u' ', Qt::SkipEmptyParts);
            for (const QString& w : std::as_const(c.wordTexts)) c.words.push_back(w.toStdString());
        } else if (const auto* l = filter.as<SearchFilter::Looks>()) {
            c.key = l->description;
        } else if (const auto* tag = filter.as<SearchFilter::Tag>()) {
            c.paths = context.pathsTagged(tag->name);
        }
        // An extension list that does not pack (a long or non-ASCII extension) compares as text.
        const bool factOnly = c.cost == 0 && (c.what != SearchFilter::Case::exts || c.allExtsPacked);
        (factOnly ? m_factChecks : m_checks).push_back(std::move(c));
    }
    std::stable_sort(m_checks.begin(), m_checks.end(), [](const Check& a, const Check& b) { return a.cost < b.cost; });
}

void SearchMatcher::prepareForPass(const SearchIndex* index, bool scanPaths)
{
    for (Check& c : m_checks) {
        if (c.what != SearchFilter::Case::text) continue;
        // A scan of every path pays off only when most files reach the text test; once cheaper
        // filters have thinned them out, searching the survivors' paths costs less. Later words
        // are searched only in the paths that hold the first.
        if (index && scanPaths && c.pathIndex != index && &c == &m_checks.front() && !c.words.empty()) {
            c.pathHits = {index->pathsContaining(c.words.front())};
            c.pathIndex = index;
        }
        if (c.ocrPrepared) continue;
        c.ocrHits.assign(c.words.size(), {});
        const auto scan = [&c](const QString& path, const QString& text) {
            for (qsizetype i = 0; i < c.wordTexts.size(); ++i)
                if (text.contains(c.wordTexts[i])) c.ocrHits[size_t(i)].insert(path);
        };
        m_context.forEachRecognisedText(scan);
        c.ocrPrepared = true;
    }
}

bool SearchMatcher::matches(const FileItem& item) const
{
    const bool needsText = std::any_of(m_checks.begin(), m_checks.end(),
                                       [](const Check& c) { return c.what == SearchFilter::Case::text; });
    if (!factsMatch(ItemFacts::of(item))) return false;
    if (!needsText) return restMatches(item, -1, {}, true);
    const std::string folded = foldedUtf8(item.path);
    return restMatches(item, -1, folded, isAscii(item.name));
}

bool SearchMatcher::factsMatch(const ItemFacts& facts) const
{
    for (const Check& check : m_factChecks)
        if (!factHolds(check, facts)) return false;
    return true;
}

bool SearchMatcher::restMatches(const FileItem& item, qsizetype position, std::string_view foldedPath,
                                bool asciiName) const
{
    for (const Check& check : m_checks)
        if (!holds(check, item, position, foldedPath, asciiName)) return false;
    return true;
}

bool SearchMatcher::factHolds(const Check& c, const ItemFacts& f)
{
    switch (c.what) {
    case SearchFilter::Case::kind: return f.kind == c.kind;
    case SearchFilter::Case::exts:
        return f.extPacked && std::find(c.extCodes.begin(), c.extCodes.end(), f.extCode) != c.extCodes.end();
    case SearchFilter::Case::screenshot: return f.isScreenshot;
    case SearchFilter::Case::date: return c.from.seconds <= f.date && f.date < c.to.seconds;
    case SearchFilter::Case::minSize: return c.strict ? f.size > c.bytes : f.size >= c.bytes;
    case SearchFilter::Case::maxSize: return c.strict ? f.size < c.bytes : f.size <= c.bytes;
    default: return true;
    }
}

bool SearchMatcher::holds(const Check& c, const FileItem& item, qsizetype position, std::string_view foldedPath,
                          bool asciiName) const
{
    switch (c.what) {
    case SearchFilter::Case::kind: return item.kind == c.kind;
    case SearchFilter::Case::exts:
        return std::any_of(c.exts.begin(), c.exts.end(),
                           [&item](const QString& e) { return item.ext.compare(e, Qt::CaseInsensitive) == 0; });
    case SearchFilter::Case::screenshot: return item.isScreenshot;
    case SearchFilter::Case::date: {
        const Date d = item.date();
        return c.from <= d && d < c.to;
    }
    case SearchFilter::Case::minSize: return c.strict ? item.size > c.bytes : item.size >= c.bytes;
    case SearchFilter::Case::maxSize: return c.strict ? item.size < c.bytes : item.size <= c.bytes;
    case SearchFilter::Case::source: return sourceHolds(c, item);
    case SearchFilter::Case::camera:
        if (!item.camera || item.camera->isEmpty()) return false;
        return c.key == u"Camera" || item.camera->startsWith(c.key, Qt::CaseInsensitive);
    case SearchFilter::Case::folder: return item.path.startsWith(c.key);
    case SearchFilter::Case::tag: return c.paths.contains(item.path);
    case SearchFilter::Case::favourite: return m_context.isFavourite(item.path);
    case SearchFilter::Case::text: return textHolds(c, item, position, foldedPath, asciiName);
    case SearchFilter::Case::looks: return m_context.visualScore(c.key, item.path).has_value();
    }
    return false;
}

bool SearchMatcher::textHolds(const Check& c, const FileItem& item, qsizetype position, std::string_view foldedPath,
                              bool asciiName) const
{
    // The name is the path's last component, so the folded path covers both.
    const bool scanned = position >= 0 && c.pathIndex != nullptr;
    const auto inPath = [&](size_t word) {
        return (scanned && word == 0) ? c.pathHits[0][size_t(position)] != 0 : contains(foldedPath, c.words[word]);
    };
    bool all = true;
    for (size_t i = 0; i < c.words.size() && all; ++i) all = inPath(i);
    if (all) return true;

    if (item.kind == FileKind::image && c.ocrPrepared) {
        all = true;
        for (size_t i = 0; i < c.words.size() && all; ++i) all = inPath(i) || c.ocrHits[i].contains(item.path);
        if (all) return true;
    } else if (item.kind == FileKind::image) {
        if (const QString* ocr = m_context.recognisedText(item.path)) {
            all = true;
            for (size_t i = 0; i < c.words.size() && all; ++i)
                all = inPath(i) || ocr->contains(c.wordTexts[qsizetype(i)]);
            if (all) return true;
        }
    }

    // Folding already covers case for plain ASCII on both sides; only other text can differ
    // under the case-insensitive comparison.
    if (c.asciiWhole && asciiName) return false;
    return item.name.contains(c.whole, Qt::CaseInsensitive);
}

bool SearchMatcher::sourceHolds(const Check& c, const FileItem& item)
{
    if (item.sourceKey && *item.sourceKey == c.key) return true;
    if (!c.isDomain) return false;
    if (item.sourceKey && *item.sourceKey == c.siteKey) return true;
    for (const QString& entry : item.whereFrom) {
        const QString host = QUrl(entry).host().toLower();
        if (host.isEmpty()) continue;
        if (host == c.key || (host.endsWith(c.key) && host.at(host.size() - c.key.size() - 1) == u'.')) return true;
    }
    return false;
}

namespace SearchParser {

bool matches(const FileItem& item, const QList<SearchFilter>& filters, const QHash<QString, QString>& ocr)
{
    if (filters.isEmpty()) return true;
    SearchContext context(ocr);
    return context.matcher(filters).matches(item);
}

bool matches(const FileItem& item, const QList<SearchFilter>& filters, SearchContext& context)
{
    if (filters.isEmpty()) return true;
    return context.matcher(filters).matches(item);
}

}  // namespace SearchParser
}  // namespace fennic
