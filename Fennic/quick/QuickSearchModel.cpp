#include "QuickSearchModel.h"

#include "app/AppModel.h"
#include "app/ImageIndexer.h"
#include "app/LibraryModel.h"
#include "app/Organiser.h"
#include "app/SearchSession.h"
#include "images/VisualSearch.h"
#include "library/Library.h"
#include "model/Fold.h"
#include "search/SearchParser.h"

#include "system/WorkerPool.h"

#include <QClipboard>
#include <QCoreApplication>
#include <QDesktopServices>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QMimeData>
#include <QPointer>
#include <QSet>
#include <QThreadPool>
#include <QUrl>
#include <algorithm>

namespace fennic {

QuickSearchModel::QuickSearchModel(AppModel& app, QObject* parent) : QObject(parent), m_app(app)
{
    m_flashTimer.setObjectName(QStringLiteral("QuickSearchModel flash"));
    m_flashTimer.setSingleShot(true);
    connect(&m_flashTimer, &QTimer::timeout, this, [this] {
        m_flash.reset();
        Q_EMIT flashChanged();
    });
}

QuickSearchModel::~QuickSearchModel()
{
    if (m_cancel) m_cancel->store(true);  // nobody is left to show what it finds
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
    const int generation = ++m_generation;
    if (m_cancel) m_cancel->store(true);  // the request it worked for is gone
    m_cancel.reset();
    const QString request = m_query.trimmed();
    ParsedQuery parsed;
    if (!request.isEmpty()) {
        const AppEnvironment& env = m_app.environment();
        parsed = SearchParser::parse(request, env.now(), env.calendar(), Library::home());
    }
    const bool pictures = !m_app.images().imageRecords().isEmpty();
    if (request.isEmpty() || (parsed.filters.isEmpty() && !pictures)) {
        setSearching(false);
        setResults({});
        return;
    }

    // Filtering a large library takes longer than a frame, so the rows come from the pool.
    // Until they do, the last request's rows stay, so the list does not blink at every key.
    setSearching(true);
    auto cancel = std::make_shared<std::atomic<bool>>(false);
    m_cancel = cancel;
    QPointer<QuickSearchModel> self(this);
    // Back on the GUI thread through the application object: the panel's model may be gone by
    // then, which only the GUI thread can tell.
    const auto deliver = [self, generation](QList<QuickResult> rows, bool more) {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [self, generation, rows = std::move(rows), more] {
                if (!self || generation != self->m_generation) return;
                if (more) {
                    if (!rows.isEmpty()) self->setResults(self->m_results + rows);
                    return;
                }
                self->setSearching(false);
                self->setResults(rows);
            },
            Qt::QueuedConnection);
    };
    WorkerPool::shared()->start([deliver, cancel, request, parsed, in = m_app.search().matchInputs(),
                                 records = pictures ? m_app.images().imageRecords() : QHash<QString, ImageRecord>()] {
        QList<QuickResult> results;
        if (!parsed.filters.isEmpty())
            for (const FileItem& item : SearchSession::matching(in, parsed.filters, kMaxResults, cancel.get()))
                results.append(resultFor(item, parsed));
        if (cancel->load()) return;
        deliver(results, false);
        if (results.size() >= kMaxResults || records.isEmpty()) return;

        // Then pictures found by what they show or say, not already shown.
        QSet<QString> taken;
        for (const QuickResult& row : std::as_const(results)) taken.insert(row.item.path);
        const qsizetype room = kMaxResults - results.size();
        QList<VisualMatch> matches;
        for (const VisualMatch& match :
             VisualSearch::search(request, VisualSearch::Mode::everything, records.values())) {
            if (matches.size() >= room) break;
            if (!taken.contains(match.path)) matches.append(match);
        }
        if (matches.isEmpty() || cancel->load()) return;
        QHash<QString, qsizetype> wanted;
        for (qsizetype i = 0; i < matches.size(); ++i) wanted.insert(matches[i].path, i);
        QList<std::optional<FileItem>> found(matches.size());
        for (const FileItem& item : in.items)
            if (auto it = wanted.constFind(item.path); it != wanted.constEnd()) found[*it] = item;
        QList<QuickResult> rows;
        for (qsizetype i = 0; i < matches.size(); ++i) {
            if (!found[i]) continue;  // a record of a file that is no longer in the library
            const QStringList& reasons = matches[i].reasons;
            rows.append(QuickResult{
                *found[i], reasons.isEmpty() ? std::nullopt : std::optional(reasons.join(QStringLiteral(", "))), true});
        }
        deliver(rows, true);
    });
}

void QuickSearchModel::setSearching(bool on)
{
    if (on == m_searching) return;
    m_searching = on;
    Q_EMIT searchingChanged();
}

QuickResult QuickSearchModel::resultFor(const FileItem& item, const ParsedQuery& parsed)
{
    // A picture kept for words its name does not hold was found by what it says.
    QStringList inText;
    if (item.kind == FileKind::image) {
        const QString path = Fold::text(item.path);
        for (const SearchFilter& filter : parsed.filters)
            if (const auto* text = filter.as<SearchFilter::Text>())
                for (const QString& word : text->words.split(u' ', Qt::SkipEmptyParts))
                    if (!path.contains(Fold::text(word))) inText.append(QStringLiteral("“%1” in text").arg(word));
    }
    if (inText.isEmpty()) return QuickResult{item, std::nullopt, false};
    return QuickResult{item, inText.join(QStringLiteral(", ")), true};
}

void QuickSearchModel::setResults(const QList<QuickResult>& results)
{
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

QuickSearchModel::Actions QuickSearchModel::desktopActions()
{
    Actions a;
    a.open = [](const QString& path) { QDesktopServices::openUrl(QUrl::fromLocalFile(path)); };
    a.reveal = [](const QString& path) {
        QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(path).absolutePath()));
    };
    a.copyImage = [](const QString& path) {
        auto* data = new QMimeData;
        data->setUrls({QUrl::fromLocalFile(path)});
        data->setImageData(QImage(path));
        QGuiApplication::clipboard()->setMimeData(data);
    };
    a.copyText = [](const QString& text) { QGuiApplication::clipboard()->setText(text); };
    return a;
}

bool QuickSearchModel::handle(int key, Qt::KeyboardModifiers modifiers, bool fieldHasSelection)
{
    const bool command = modifiers.testFlag(Qt::ControlModifier);
    const auto row = selected();
    switch (key) {
    case Qt::Key_Down: move(1); return true;
    case Qt::Key_Up: move(-1); return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (!row) return false;
        if (actions.open) actions.open(row->item.path);
        if (close) close();
        return true;
    case Qt::Key_Space:
        if (!m_browsing || command) return false;  // a space typed into the request
        setPreviewing(!m_previewing);
        return true;
    case Qt::Key_Escape:
        if (m_previewing)
            setPreviewing(false);
        else if (close)
            close();
        return true;
    default: break;
    }
    if (!command || !row) return false;
    switch (key) {
    case Qt::Key_C:
        if (fieldHasSelection || row->item.kind != FileKind::image) return false;
        if (actions.copyImage) actions.copyImage(row->item.path);
        show(QStringLiteral("Copied the image"));
        return true;
    case Qt::Key_T:
        if (const auto text = copyText(); text && actions.copyText) actions.copyText(*text);
        return true;
    case Qt::Key_R:
        if (actions.reveal) actions.reveal(row->item.path);
        return true;
    case Qt::Key_Backspace:
    case Qt::Key_Delete: trashSelected(); return true;
    default: return false;
    }
}

std::optional<QString> QuickSearchModel::copyText()
{
    const auto row = selected();
    if (row) {
        const auto record = m_app.images().imageRecords().constFind(row->item.path);
        if (record != m_app.images().imageRecords().constEnd() && !record->lines.isEmpty()) return record->text();
    }
    show(QStringLiteral("No text in this one"));
    return std::nullopt;
}

void QuickSearchModel::trashSelected()
{
    const auto row = selected();
    if (!row) return;
    const auto result = m_app.organiser().moveToTrash({row->item});
    if (!result.moved.isEmpty()) {
        show(QStringLiteral("Moved to the Trash — Ctrl+Z in Fennic puts it back"));
        // Gone from the list at once; the rows that take its place come with the search.
        QList<QuickResult> rest = m_results;
        rest.removeIf([&](const QuickResult& r) { return r.item.path == row->item.path; });
        setResults(rest);
    }
    recompute();
}

}  // namespace fennic
