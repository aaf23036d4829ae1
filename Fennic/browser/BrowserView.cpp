#include "BrowserView.h"

#include "CardDelegate.h"
#include "theme/Icons.h"
#include "theme/Labels.h"
#include "thumbnails/ThumbnailLoader.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QIcon>
#include <QItemSelectionModel>
#include <QKeyEvent>
#include <QLabel>
#include <QListView>
#include <QScrollBar>
#include <QStackedWidget>
#include <QStyledItemDelegate>
#include <QTreeView>
#include <QVBoxLayout>
#include <QWheelEvent>
#include <algorithm>

namespace fennic {

namespace {

constexpr int kGridGap = 6;          // between cards, on top of their own margins
constexpr int kListIconEdge = 20;    // icons and thumbnails in the list's name column
constexpr int kEmptyIconEdge = 64;   // the empty state's icon
constexpr int kVisibleDelayMs = 40;  // scrolling settles before the loader is told

// The list's rows: thumbnails shrink to the row's icon size instead of taking their own.
class ListDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        if (option->features.testFlag(QStyleOptionViewItem::HasDecoration))
            option->decorationSize = QSize(kListIconEdge, kListIconEdge);
    }
};

// The order a column starts in when first clicked: names and kinds A to Z, sizes and dates
// largest and newest first.
bool startsAscending(SortKey key) { return key == SortKey::name || key == SortKey::kind; }

}  // namespace

BrowserView::BrowserView(ThumbnailLoader& thumbnails, QWidget* parent)
    : QWidget(parent),
      m_thumbnails(thumbnails),
      m_model(new BrowserModel(thumbnails, this)),
      m_selection(new QItemSelectionModel(m_model, this)),
      m_cards(new CardDelegate(this)),
      m_stack(new QStackedWidget(this)),
      m_grid(new QListView),
      m_list(new QTreeView),
      m_emptyPage(new QWidget),
      m_emptyIcon(new QLabel),
      m_emptyTitle(new QLabel),
      m_emptyDetail(new QLabel)
{
    // The grid of cards.
    m_grid->setAccessibleName(tr("Results"));
    m_grid->setModel(m_model);
    m_grid->setSelectionModel(m_selection);
    m_grid->setItemDelegate(m_cards);
    // A wrapping list of cells, not the icon mode: the icon mode keeps a spatial index of every
    // cell and builds it again whenever the list changes (tens of milliseconds at 130,000
    // cards), while a list finds a cell's place from its row.
    m_grid->setViewMode(QListView::ListMode);
    m_grid->setMovement(QListView::Static);
    m_grid->setResizeMode(QListView::Adjust);
    m_grid->setFlow(QListView::LeftToRight);
    m_grid->setWrapping(true);
    m_grid->setUniformItemSizes(true);
    m_grid->setLayoutMode(QListView::Batched);
    m_grid->setBatchSize(500);
    m_grid->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_grid->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_grid->setSelectionRectVisible(true);
    m_grid->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_grid->setMouseTracking(true);
    m_grid->setFrameShape(QFrame::NoFrame);
    m_grid->setSpacing(0);

    // The list with columns.
    m_list->setAccessibleName(tr("Results list"));
    m_list->setModel(m_model);
    m_list->setSelectionModel(m_selection);
    m_list->setItemDelegate(new ListDelegate(m_list));
    m_list->setRootIsDecorated(false);
    m_list->setItemsExpandable(false);
    m_list->setExpandsOnDoubleClick(false);
    m_list->setUniformRowHeights(true);
    m_list->setAllColumnsShowFocus(true);
    m_list->setAlternatingRowColors(true);
    m_list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_list->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_list->setIconSize(QSize(kListIconEdge, kListIconEdge));
    m_list->setTextElideMode(Qt::ElideMiddle);
    m_list->setSortingEnabled(false);  // the list arrives sorted; a header click only asks
    m_list->setFrameShape(QFrame::NoFrame);
    QHeaderView* header = m_list->header();
    header->setAccessibleName(tr("Columns"));
    header->setSectionsClickable(true);
    header->setSortIndicatorShown(true);
    header->setStretchLastSection(true);
    header->setSectionResizeMode(QHeaderView::Interactive);
    header->resizeSection(int(BrowserModel::Column::name), 320);
    header->resizeSection(int(BrowserModel::Column::kind), 110);
    header->resizeSection(int(BrowserModel::Column::size), 90);
    header->resizeSection(int(BrowserModel::Column::dateAdded), 170);
    header->resizeSection(int(BrowserModel::Column::dateModified), 170);
    connect(header, &QHeaderView::sectionClicked, this, [this](int section) { headerClicked(section); });

    for (QAbstractItemView* view : {static_cast<QAbstractItemView*>(m_grid), static_cast<QAbstractItemView*>(m_list)}) {
        view->setDragEnabled(true);
        view->setAcceptDrops(false);
        view->setDragDropMode(QAbstractItemView::DragOnly);
        view->setDefaultDropAction(Qt::CopyAction);
        view->setEditTriggers(QAbstractItemView::NoEditTriggers);
        view->installEventFilter(this);
        view->viewport()->installEventFilter(this);
        connect(view, &QAbstractItemView::doubleClicked, this, [this](const QModelIndex& index) {
            if (index.isValid()) Q_EMIT activated(m_model->item(index.row()));
        });
        connect(view->verticalScrollBar(), &QScrollBar::valueChanged, this, [this] { scheduleVisibleUpdate(); });
    }
    connect(m_selection, &QItemSelectionModel::selectionChanged, this, [this] { Q_EMIT selectionChanged(); });

    // The empty state: an icon, a title and a line of detail, centred.
    m_emptyPage->setAccessibleName(tr("No results"));
    m_emptyIcon->setAlignment(Qt::AlignCenter);
    m_emptyTitle->setAlignment(Qt::AlignCenter);
    m_emptyTitle->setWordWrap(true);
    QFont titleFont = m_emptyTitle->font();
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.35);
    titleFont.setWeight(QFont::DemiBold);
    m_emptyTitle->setFont(titleFont);
    m_emptyDetail->setAlignment(Qt::AlignCenter);
    m_emptyDetail->setWordWrap(true);
    m_emptyDetail->setForegroundRole(QPalette::PlaceholderText);
    auto* emptyLayout = new QVBoxLayout(m_emptyPage);
    emptyLayout->setContentsMargins(48, 24, 48, 24);
    emptyLayout->addStretch(2);
    emptyLayout->addWidget(m_emptyIcon);
    emptyLayout->addSpacing(8);
    emptyLayout->addWidget(m_emptyTitle);
    emptyLayout->addWidget(m_emptyDetail);
    emptyLayout->addStretch(3);

    m_stack->addWidget(m_grid);
    m_stack->addWidget(m_list);
    m_stack->addWidget(m_emptyPage);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_stack);

    m_visibleTimer.setObjectName(QStringLiteral("BrowserView visible"));
    m_visibleTimer.setSingleShot(true);
    m_visibleTimer.setInterval(kVisibleDelayMs);
    connect(&m_visibleTimer, &QTimer::timeout, this, [this] { updateVisible(); });

    updateGridSize();
    showSortIndicator();
    showPage();
}

BrowserView::~BrowserView()
{
    // The views go before the model and the delegate they use, and unwatched: half-destroyed,
    // they are no longer views.
    for (QAbstractItemView* view : {static_cast<QAbstractItemView*>(m_grid), static_cast<QAbstractItemView*>(m_list)}) {
        view->viewport()->removeEventFilter(this);
        view->removeEventFilter(this);
    }
    delete m_stack;
}

void BrowserView::setItems(const QList<FileItem>& items, const VisibleListDiff* diff)
{
    // A reset forgets the selection, so its paths are kept to restore it; range changes keep
    // it by themselves (and cost nothing here while the person types).
    if (!m_model->wouldReset(items)) {
        m_model->setItems(items, diff);
        scheduleVisibleUpdate();
        return;
    }
    const QList<int> rows = selectedRows();
    QStringList selected;
    selected.reserve(rows.size());
    for (const int row : rows) selected.append(m_model->item(row).path);
    const QModelIndex current = m_selection->currentIndex();
    const QString currentPath = current.isValid() ? m_model->item(current.row()).path : QString();
    m_model->setItems(items);
    // The reset dropped the selection without a word; say so when none of it came back.
    if (!restoreSelection(selected, currentPath) && !selected.isEmpty()) Q_EMIT selectionChanged();
    scheduleVisibleUpdate();
}

void BrowserView::setViewMode(ViewMode mode)
{
    if (mode == m_mode) return;
    const bool hadFocus = currentView()->hasFocus();
    m_mode = mode;
    showPage();
    if (const QModelIndex current = m_selection->currentIndex(); current.isValid()) currentView()->scrollTo(current);
    if (hadFocus) currentView()->setFocus();
    scheduleVisibleUpdate();
}

void BrowserView::setCardSize(double size)
{
    m_cards->setCardSize(size);
    updateGridSize();
    scheduleVisibleUpdate();
}

void BrowserView::setSort(SortKey key, bool ascending)
{
    m_sortKey = key;
    m_ascending = ascending;
    m_cards->setDetail(key);
    showSortIndicator();
    m_grid->viewport()->update();
}

void BrowserView::setThemeStyle(const ThemeStyle& style)
{
    m_cards->setThemeStyle(style);
    m_grid->viewport()->update();
    updateEmptyLook();
}

void BrowserView::setHighlight(const QStringList& words)
{
    m_cards->setHighlight(words);
    m_grid->viewport()->update();
}

void BrowserView::setEmptyState(std::optional<EmptyState> state)
{
    m_empty = std::move(state);
    if (m_empty) {
        m_emptyTitle->setText(m_empty->title);
        setSpokenName(m_emptyTitle, m_empty->title);
        m_emptyDetail->setText(m_empty->detail);
        setSpokenName(m_emptyDetail, m_empty->detail);
        m_emptyDetail->setVisible(!m_empty->detail.isEmpty());
        setSpokenName(m_emptyPage, m_empty->title);
        updateEmptyLook();
    }
    showPage();
}

QList<FileItem> BrowserView::selectedItems() const
{
    QList<FileItem> items;
    const QList<int> rows = selectedRows();
    items.reserve(rows.size());
    for (const int row : rows) items.append(m_model->item(row));
    return items;
}

std::optional<FileItem> BrowserView::currentItem() const
{
    const QModelIndex current = m_selection->currentIndex();
    if (!current.isValid()) return std::nullopt;
    return m_model->item(current.row());
}

void BrowserView::selectFirst()
{
    if (m_model->rowCount() == 0) return;
    const QModelIndex first = m_model->index(0, 0);
    m_selection->setCurrentIndex(first, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    currentView()->scrollTo(first);
    focusResults();
}

void BrowserView::selectPaths(const QSet<QString>& paths)
{
    QItemSelection selection;
    int first = -1;
    int runStart = -1;
    const int count = m_model->rowCount();
    const int lastColumn = BrowserModel::kColumnCount - 1;
    for (int row = 0; row <= count; ++row) {
        const bool wanted = row < count && paths.contains(m_model->item(row).path);
        if (wanted && runStart < 0) runStart = row;
        if (wanted && first < 0) first = row;
        if (!wanted && runStart >= 0) {
            selection.select(m_model->index(runStart, 0), m_model->index(row - 1, lastColumn));
            runStart = -1;
        }
    }
    m_selection->select(selection, QItemSelectionModel::ClearAndSelect);
    if (first >= 0) {
        const QModelIndex index = m_model->index(first, 0);
        m_selection->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
        currentView()->scrollTo(index);
    }
}

void BrowserView::selectAll()
{
    const int count = m_model->rowCount();
    if (count == 0) return;
    const QItemSelection all(m_model->index(0, 0), m_model->index(count - 1, BrowserModel::kColumnCount - 1));
    m_selection->select(all, QItemSelectionModel::ClearAndSelect);
}

void BrowserView::focusResults()
{
    QAbstractItemView* view = currentView();
    if (!m_selection->currentIndex().isValid() && m_model->rowCount() > 0)
        m_selection->setCurrentIndex(m_model->index(0, 0), QItemSelectionModel::NoUpdate);
    if (m_empty)
        m_emptyPage->setFocus(Qt::OtherFocusReason);
    else
        view->setFocus(Qt::OtherFocusReason);
}

QAbstractItemView* BrowserView::currentView() const
{
    if (m_mode == ViewMode::list) return m_list;
    return m_grid;
}

bool BrowserView::eventFilter(QObject* watched, QEvent* event)
{
    QAbstractItemView* view = nullptr;
    if (watched == m_grid || watched == m_grid->viewport())
        view = m_grid;
    else if (watched == m_list || watched == m_list->viewport())
        view = m_list;
    if (!view) return QWidget::eventFilter(watched, event);

    switch (event->type()) {
    case QEvent::KeyPress:
        if (watched == view) return viewKeyPress(view, static_cast<QKeyEvent*>(event));
        break;
    case QEvent::Wheel: {
        auto* wheel = static_cast<QWheelEvent*>(event);
        if (!wheel->modifiers().testFlag(Qt::ControlModifier)) break;
        // Touchpads send small steps; a notch's worth zooms one step.
        m_wheelAngle += wheel->angleDelta().y();
        while (std::abs(m_wheelAngle) >= 120) {
            const int sign = m_wheelAngle > 0 ? 1 : -1;
            m_wheelAngle -= sign * 120;
            Q_EMIT zoomRequested(sign * kZoomStep);
        }
        return true;
    }
    case QEvent::ContextMenu: {
        auto* menu = static_cast<QContextMenuEvent*>(event);
        QPoint global = menu->globalPos();
        if (menu->reason() == QContextMenuEvent::Keyboard) {
            // From the keyboard: at the current file, or the middle of the view.
            const QModelIndex current = m_selection->currentIndex();
            const QRect rect = current.isValid() ? view->visualRect(current) : QRect();
            const QPoint local = rect.isValid() && view->viewport()->rect().intersects(rect)
                ? QPoint(rect.left() + std::min(rect.width() / 2, 48), rect.center().y())
                : view->viewport()->rect().center();
            global = view->viewport()->mapToGlobal(local);
        }
        Q_EMIT contextMenuRequested(global);
        return true;
    }
    case QEvent::Resize:
        if (watched == m_grid) updateGridSize();
        if (watched == view->viewport()) scheduleVisibleUpdate();
        break;
    default: break;
    }
    return QWidget::eventFilter(watched, event);
}

bool BrowserView::viewKeyPress(QAbstractItemView* view, QKeyEvent* event)
{
    const Qt::KeyboardModifiers modifiers = event->modifiers() & ~Qt::KeypadModifier;
    const int key = event->key();
    if (modifiers == Qt::NoModifier && (key == Qt::Key_Return || key == Qt::Key_Enter)) {
        if (const auto item = currentItem()) Q_EMIT activated(*item);
        return true;
    }
    if (modifiers == Qt::NoModifier && key == Qt::Key_Up && isOnFirstRow(view)) {
        Q_EMIT moveOutOfTop();
        return true;
    }
    if (modifiers == Qt::ControlModifier || modifiers == (Qt::ControlModifier | Qt::ShiftModifier)) {
        if (key == Qt::Key_Plus || key == Qt::Key_Equal) {
            Q_EMIT zoomRequested(kZoomStep);
            return true;
        }
        if (key == Qt::Key_Minus) {
            Q_EMIT zoomRequested(-kZoomStep);
            return true;
        }
    }
    if (modifiers == Qt::NoModifier && (key == Qt::Key_Space || key == Qt::Key_Delete)) {
        // The window's actions (preview, move to the wastebasket) own these; the view would
        // otherwise take Space to select. Passed on unhandled to the window.
        event->ignore();
        return true;
    }
    return false;
}

bool BrowserView::isOnFirstRow(QAbstractItemView* view) const
{
    const QModelIndex current = m_selection->currentIndex();
    if (!current.isValid() || current.row() == 0) return true;
    if (view == m_list) return false;
    // In the grid, any card of the top line is on the first row.
    return view->visualRect(current).top() <= view->visualRect(m_model->index(0, 0)).top();
}

void BrowserView::headerClicked(int section)
{
    const auto key = BrowserModel::sortKeyFor(BrowserModel::Column(section));
    if (!key) {
        // Not an order the list can take: the header keeps showing the current one.
        showSortIndicator();
        return;
    }
    const bool ascending = *key == m_sortKey ? !m_ascending : startsAscending(*key);
    setSort(*key, ascending);
    Q_EMIT sortRequested(*key, ascending);
}

void BrowserView::showSortIndicator()
{
    m_list->header()->setSortIndicator(int(BrowserModel::columnFor(m_sortKey)),
                                       m_ascending ? Qt::AscendingOrder : Qt::DescendingOrder);
}

void BrowserView::showPage()
{
    QWidget* page = m_empty ? m_emptyPage : static_cast<QWidget*>(currentView());
    m_stack->setCurrentWidget(page);
    setFocusProxy(page);
}

void BrowserView::updateGridSize()
{
    QStyleOptionViewItem option;
    option.initFrom(m_grid);
    const QSize card = m_cards->cardHint(option);
    // The cards share out the width: as many columns as fit, the rest spread between them.
    // The scroll bar's width is always set aside, so its coming and going never changes the
    // number of columns (which could make it come and go again).
    const int scrollBar = m_grid->style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, m_grid);
    const int width = m_grid->width() - 2 * m_grid->frameWidth() - scrollBar;
    const int minimum = card.width() + kGridGap;
    const int columns = std::max(1, width / minimum);
    const QSize cell(std::max(minimum, width / columns), card.height() + kGridGap);
    if (cell != m_grid->gridSize()) m_grid->setGridSize(cell);
    if (card != m_cardHint || cell.width() != m_cellWidth) {
        m_cardHint = card;
        m_cellWidth = cell.width();
        m_cards->setCellWidth(m_cellWidth);
        // The view keeps the size of its first cell; a new size lays every cell out again.
        Q_EMIT m_cards->sizeHintChanged(QModelIndex());
        m_grid->doItemsLayout();
    }
}

void BrowserView::scheduleVisibleUpdate() { m_visibleTimer.start(); }

std::pair<int, int> BrowserView::rowsOnScreen() const
{
    const int count = m_model->rowCount();
    if (count == 0 || m_empty) return {0, -1};
    const QAbstractItemView* view = currentView();
    const QRect area = view->viewport()->rect();
    int first = count;
    int last = -1;
    const auto probe = [&](QPoint point) {
        const QModelIndex index = view->indexAt(point);
        if (!index.isValid()) return false;
        first = std::min(first, index.row());
        last = std::max(last, index.row());
        return true;
    };
    if (view == m_list) {
        probe(QPoint(1, 1));
        probe(QPoint(1, area.bottom()));
        if (first < count && last < 0) last = first;
        if (first < count && view->indexAt(QPoint(1, area.bottom())).row() < 0) last = count - 1;
    } else {
        // Cards are laid out row by row, each inside its grid cell with a margin around it, so
        // every card from the first of the top row on screen to the last of the bottom row is
        // on screen. Those rows are found probing down from the top edge and up from the bottom
        // one, a third of a card apart, which can't step over a card.
        const int stepX = std::max(8, m_grid->gridSize().width() / 3);
        const int stepY = std::max(8, m_grid->gridSize().height() / 3);
        const auto probeRow = [&](int y) {
            bool hit = false;
            for (int x = 0; x <= area.right() + stepX - 1; x += stepX)
                hit |= probe(QPoint(std::min(x, area.right()), y));
            return hit;
        };
        for (int y = 0; y <= area.bottom(); y += stepY)
            if (probeRow(y)) break;
        for (int y = area.bottom(); y >= 0; y -= stepY)
            if (probeRow(y)) break;
    }
    if (last < first) return {0, -1};
    return {first, last};
}

void BrowserView::updateVisible()
{
    const auto [first, last] = rowsOnScreen();
    QSet<QString> paths;
    paths.reserve(std::max(0, last - first + 1));
    for (int row = first; row <= last; ++row) paths.insert(m_model->item(row).path);
    m_thumbnails.setVisible(paths);
}

bool BrowserView::restoreSelection(const QStringList& paths, const QString& current)
{
    QList<int> rows;
    rows.reserve(paths.size());
    for (const QString& path : paths)
        if (const int row = m_model->rowOf(path); row >= 0) rows.append(row);
    std::sort(rows.begin(), rows.end());
    QItemSelection selection;
    const int lastColumn = BrowserModel::kColumnCount - 1;
    for (qsizetype i = 0; i < rows.size();) {
        qsizetype j = i;
        while (j + 1 < rows.size() && rows[j + 1] == rows[j] + 1) ++j;
        selection.select(m_model->index(rows[i], 0), m_model->index(rows[j], lastColumn));
        i = j + 1;
    }
    m_selection->select(selection, QItemSelectionModel::ClearAndSelect);
    if (const int row = current.isEmpty() ? -1 : m_model->rowOf(current); row >= 0)
        m_selection->setCurrentIndex(m_model->index(row, 0), QItemSelectionModel::NoUpdate);
    return !rows.isEmpty();
}

QList<int> BrowserView::selectedRows() const
{
    QList<int> rows;
    for (const QItemSelectionRange& range : m_selection->selection())
        for (int row = range.top(); row <= range.bottom(); ++row) rows.append(row);
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    return rows;
}

void BrowserView::updateEmptyLook()
{
    if (!m_empty) return;
    const QIcon icon = Icons::themed(m_empty->iconName, palette(), {QStringLiteral("edit-find")});
    m_emptyIcon->setPixmap(icon.pixmap(QSize(kEmptyIconEdge, kEmptyIconEdge), devicePixelRatioF()));
    m_emptyIcon->setVisible(!icon.isNull());
}

}  // namespace fennic
