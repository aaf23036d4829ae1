#pragma once

#include "SearchFilter.h"
#include "SearchMatcher.h"
#include "model/FileItem.h"

#include <QList>
#include <atomic>
#include <string>
#include <string_view>
#include <vector>

namespace fennic {

class SearchContext;

// What a whole-library search pass needs prepared once per list of items: every item's
// folded path (UTF-8, all in one buffer) and whether its name is plain ASCII. Keep one beside
// the list and rebuild it when the list changes (isFor() tells). Building folds every path
// once; a pass then folds only the request. Immutable after construction: may be read from
// several threads at once.
class SearchIndex {
public:
    SearchIndex() = default;
    explicit SearchIndex(const QList<FileItem>& items);

    // True when this index was built from this very list, unchanged (the same shared data).
    bool isFor(const QList<FileItem>& items) const
    {
        return items.size() == m_items.size() && items.constData() == m_items.constData();
    }
    const QList<FileItem>& items() const { return m_items; }
    qsizetype size() const { return m_items.size(); }

    std::string_view foldedPath(qsizetype i) const
    {
        // Each path is followed by a NUL, which no folded word contains: a match found by
        // scanning the whole buffer never runs from one path into the next.
        return std::string_view(m_text).substr(m_offsets[size_t(i)],
                                               m_offsets[size_t(i) + 1] - m_offsets[size_t(i)] - 1);
    }
    // One flag per item: whether its folded path contains `needle` (UTF-8 of folded text).
    // One scan of the whole buffer, far cheaper than a search per item.
    std::vector<quint8> pathsContaining(const std::string& needle) const;
    bool isAsciiName(qsizetype i) const { return m_asciiName[size_t(i)] != 0; }
    const ItemFacts& facts(qsizetype i) const { return m_facts[size_t(i)]; }

    // Positions (in list order) of the items for which every filter holds. `cancel`, when
    // given, is checked as the pass goes; a cancelled pass returns what it found so far.
    // Runs on the calling thread (the context's caches are not shared).
    std::vector<qsizetype> filter(const QList<SearchFilter>& filters, SearchContext& context,
                                  const std::atomic<bool>* cancel = nullptr) const;
    // The same, as items.
    QList<FileItem> filtered(const QList<SearchFilter>& filters, SearchContext& context) const;

private:
    QList<FileItem> m_items;
    std::string m_text;
    std::vector<quint32> m_offsets;  // size() + 1 entries into m_text
    std::vector<quint8> m_asciiName;
    std::vector<ItemFacts> m_facts;
};

}  // namespace fennic
