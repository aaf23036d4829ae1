#include "SearchIndex.h"

#include "SearchContext.h"
#include "SearchMatcher.h"
#include "model/Fold.h"

#include <algorithm>
#include <cstring>

namespace fennic {

namespace {

// Appends the folded path; plain ASCII (nearly every path) is lower-cased in place without
// building a string.
void appendFolded(std::string& out, const QString& path)
{
    const char16_t* p = reinterpret_cast<const char16_t*>(path.utf16());
    const qsizetype n = path.size();
    qsizetype i = 0;
    while (i < n && p[i] < 0x80) ++i;
    if (i == n) {
        const size_t at = out.size();
        out.resize(at + size_t(n));
        char* o = out.data() + at;
        for (qsizetype k = 0; k < n; ++k) {
            const char16_t c = p[k];
            o[k] = char((c >= u'A' && c <= u'Z') ? c + 32 : c);
        }
        return;
    }
    out += Fold::text(path).toStdString();
}

bool asciiOnly(const QString& s)
{
    const char16_t* p = reinterpret_cast<const char16_t*>(s.utf16());
    for (qsizetype i = 0; i < s.size(); ++i)
        if (p[i] >= 0x80) return false;
    return true;
}

}  // namespace

SearchIndex::SearchIndex(const QList<FileItem>& items) : m_items(items)
{
    m_offsets.reserve(size_t(items.size()) + 1);
    m_asciiName.reserve(size_t(items.size()));
    m_facts.reserve(size_t(items.size()));
    size_t estimate = 0;
    for (const FileItem& item : items) estimate += size_t(item.path.size());
    m_text.reserve(estimate + estimate / 16);
    m_offsets.push_back(0);
    for (const FileItem& item : items) {
        appendFolded(m_text, item.path);
        m_text.push_back('\0');
        m_offsets.push_back(quint32(m_text.size()));
        m_asciiName.push_back(asciiOnly(item.name) ? 1 : 0);
        m_facts.push_back(ItemFacts::of(item));
    }
}

std::vector<quint8> SearchIndex::pathsContaining(const std::string& needle) const
{
    const size_t n = size_t(m_items.size());
    if (needle.empty()) return std::vector<quint8>(n, 1);
    std::vector<quint8> hits(n, 0);
    const char* base = m_text.data();
    const size_t total = m_text.size();
    size_t pos = 0;
    size_t item = 0;
    while (pos < total) {
        const void* found = memmem(base + pos, total - pos, needle.data(), needle.size());
        if (!found) break;
        const size_t at = size_t(static_cast<const char*>(found) - base);
        item = size_t(std::upper_bound(m_offsets.begin() + qsizetype(item), m_offsets.end(), quint32(at))
                      - m_offsets.begin())
            - 1;
        hits[item] = 1;
        pos = m_offsets[item + 1];  // one hit per item is enough
    }
    return hits;
}

std::vector<qsizetype> SearchIndex::filter(const QList<SearchFilter>& filters, SearchContext& context,
                                           const std::atomic<bool>* cancel) const
{
    std::vector<qsizetype> out;
    const qsizetype n = m_items.size();
    if (filters.isEmpty()) {
        out.resize(size_t(n));
        for (qsizetype i = 0; i < n; ++i) out[size_t(i)] = i;
        return out;
    }
    SearchMatcher& matcher = context.matcher(filters);
    // Checking the flag for every item would cost more than the tests themselves; 4096 items
    // take well under a millisecond.
    const auto cancelled = [cancel](qsizetype i) {
        return cancel && (i & 4095) == 0 && cancel->load(std::memory_order_relaxed);
    };
    // First the packed facts alone (a few bytes per item), then the rest for the survivors.
    std::vector<qsizetype> candidates;
    for (qsizetype i = 0; i < n; ++i) {
        if (cancelled(i)) return out;
        if (matcher.factsMatch(m_facts[size_t(i)])) candidates.push_back(i);
    }
    // One scan of all the paths costs about as much as searching the paths of half of them
    // one by one (measured on the synthetic library), so it is kept for passes that most
    // items reach.
    matcher.prepareForPass(this, qsizetype(candidates.size()) * 2 > n);
    const FileItem* items = m_items.constData();
    for (size_t k = 0; k < candidates.size(); ++k) {
        const qsizetype i = candidates[k];
        if (cancelled(qsizetype(k))) break;
        if (matcher.restMatches(items[i], i, foldedPath(i), isAsciiName(i))) out.push_back(i);
    }
    return out;
}

QList<FileItem> SearchIndex::filtered(const QList<SearchFilter>& filters, SearchContext& context) const
{
    const std::vector<qsizetype> positions = filter(filters, context);
    QList<FileItem> out;
    out.reserve(qsizetype(positions.size()));
    for (qsizetype i : positions) out.append(m_items[i]);
    return out;
}

}  // namespace fennic
