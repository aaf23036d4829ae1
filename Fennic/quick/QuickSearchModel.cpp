#include "QuickSearchModel.h"

#include "app/AppModel.h"
#include "images/VisualSearch.h"
#include "library/Library.h"
#include "search/SearchParser.h"

#include <QSet>
#include <algorithm>

namespace fennic {

QuickSearchModel::QuickSearchModel(AppModel& app, QObject* parent) : QObject(parent), m_app(app)
{
    m_flashTimer.setSingleShot(true);
    connect(&m_flashTimer, &QTimer::timeout, this, [this] {
        m_flash.reset();
        Q_EMIT flashChanged();
    });
}

void QuickSearchModel::setQuery(const QString& text)
{
    if (text == m_query) return;
    m_query = text;
    Q_EMIT queryChanged();
    recompute();
}

void QuickSearchModel::recompute()
{
    QList<QuickResult> results;
    const QString request = m_query.trimmed();
    if (!request.isEmpty()) {
        const AppEnvironment& env = m_app.environment();
        const ParsedQuery parsed = SearchParser::parse(request, env.now(), env.calendar(), Library::home());
        QSet<QString> taken;
        if (!parsed.filters.isEmpty()) {
            auto context = m_app.searchContext();
            QList<FileItem> kept;
            for (const FileItem& item : m_app.items())
                if (SearchParser::matches(item, parsed.filters, *context)) kept.append(item);
            kept = SortKeys::sort(m_app.sortKey(), kept, m_app.sortAscending());
            for (const FileItem& item : kept) {
                if (results.size() >= kMaxResults) break;
                results.append(QuickResult{item, std::nullopt, false});
                taken.insert(item.path);
            }
        }
        if (results.size() < kMaxResults && !m_app.imageRecords().isEmpty()) {
            QHash<QString, const FileItem*> byPath;
            for (const FileItem& item : m_app.items()) byPath.insert(item.path, &item);
            const QList<ImageRecord> records = m_app.imageRecords().values();
            for (const VisualMatch& match : VisualSearch::search(request, VisualSearch::Mode::everything, records)) {
                if (results.size() >= kMaxResults) break;
                const FileItem* item = byPath.value(match.path);
                if (!item || taken.contains(match.path)) continue;
                taken.insert(match.path);
                results.append(QuickResult{*item,
                                           match.reasons.isEmpty() ? std::nullopt
                                                                   : std::optional(match.reasons.join(QStringLiteral(", "))),
                                           true});
            }
        }
    }
    m_results = results;
    Q_EMIT resultsChanged();
    const int clamped = m_results.isEmpty() ? 0 : std::clamp(m_index, 0, int(m_results.size()) - 1);
    if (clamped != m_index) {
        m_index = clamped;
        Q_EMIT indexChanged();
    }
}

void QuickSearchModel::move(int step)
{
    if (m_results.isEmpty()) return;
    if (!m_browsing) {
        m_browsing = true;
        Q_EMIT browsingChanged();
    }
    const int next = std::clamp(m_index + step, 0, int(m_results.size()) - 1);
    if (next == m_index) return;
    m_index = next;
    Q_EMIT indexChanged();
}

void QuickSearchModel::setPreviewing(bool on)
{
    if (on == m_previewing) return;
    m_previewing = on;
    Q_EMIT previewingChanged();
}

std::optional<QuickResult> QuickSearchModel::selected() const
{
    if (m_index < 0 || m_index >= m_results.size()) return std::nullopt;
    return m_results[m_index];
}

void QuickSearchModel::show(const QString& flash)
{
    m_flashTimer.stop();
    m_flash = flash;
    Q_EMIT flashChanged();
    m_flashTimer.start(m_app.environment().flashMs);
}

std::optional<QString> QuickSearchModel::copyText()
{
    const auto row = selected();
    if (row) {
        const auto record = m_app.imageRecords().constFind(row->item.path);
        if (record != m_app.imageRecords().constEnd() && !record->lines.isEmpty()) return record->text();
    }
    show(QStringLiteral("No text in this one"));
    return std::nullopt;
}

void QuickSearchModel::trashSelected()
{
    const auto row = selected();
    if (!row) return;
    const auto result = m_app.moveToTrash({row->item});
    if (!result.moved.isEmpty()) show(QStringLiteral("Moved to the Trash — ⌘Z in Fennic puts it back"));
    recompute();
}

}  // namespace fennic
