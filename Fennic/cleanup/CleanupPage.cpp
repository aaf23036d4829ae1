#include "CleanupPage.h"

#include "CleanupCard.h"
#include "CleanupReviewModel.h"
#include "app/AppModel.h"
#include "app/LibraryModel.h"
#include "app/Organiser.h"
#include "model/Fmt.h"
#include "theme/Icons.h"
#include "theme/Labels.h"
#include "thumbnails/ThumbnailLoader.h"

#include <QAction>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QStackedWidget>
#include <QTreeView>
#include <QVBoxLayout>

namespace fennic {

namespace {

constexpr int kMessageIconSize = 64;

}  // namespace

CleanupPage::CleanupPage(AppModel& app, ThumbnailLoader& thumbnails, QWidget* parent)
    : QWidget(parent),
      m_app(app),
      m_thumbnails(thumbnails),
      m_style(Theme::playful, palette()),
      m_model(new CleanupReviewModel(thumbnails, this))
{
    setAccessibleName(QStringLiteral("Clean up"));
    m_stack = new QStackedWidget(this);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_stack);

    m_overview = makeOverview();
    m_loading = makeMessage(m_loadingIcon, m_loadingTitle, m_loadingDetail, new QProgressBar);
    setLabelText(m_loadingTitle, QStringLiteral("Looking for files to clean up…"));
    setLabelText(m_loadingDetail, QStringLiteral("Fennic is reading your folders."));
    m_empty = makeMessage(m_emptyIcon, m_emptyTitle, m_emptyDetail);
    setLabelText(m_emptyTitle, QStringLiteral("Nothing to clean up"));
    setLabelText(m_emptyDetail, QStringLiteral("Your folders are tidy. Fennic looks again after every scan."));
    m_reviewPage = makeReview();
    for (QWidget* page : {m_overview, m_loading, m_empty, m_reviewPage}) m_stack->addWidget(page);

    m_refreshTimer.setObjectName(QStringLiteral("CleanupPage refresh"));
    m_refreshTimer.setSingleShot(true);
    m_refreshTimer.setInterval(0);
    connect(&m_refreshTimer, &QTimer::timeout, this, &CleanupPage::refresh);
    const auto later = [this] { m_refreshTimer.start(); };
    LibraryModel& library = m_app.library();
    connect(&library, &LibraryModel::suggestionsChanged, this, later);
    connect(&library, &LibraryModel::derivedChanged, this, later);
    connect(&library, &LibraryModel::isScanningChanged, this, &CleanupPage::refresh);
    connect(&library, &LibraryModel::itemsRemoved, this, &CleanupPage::filesRemoved);
    connect(&library, &LibraryModel::filesLeft, this, &CleanupPage::filesRemoved);
    connect(m_model, &CleanupReviewModel::checkedChanged, this, &CleanupPage::updateTotals);

    m_visibleTimer.setObjectName(QStringLiteral("CleanupPage visible"));
    m_visibleTimer.setSingleShot(true);
    m_visibleTimer.setInterval(30);
    connect(&m_visibleTimer, &QTimer::timeout, this, &CleanupPage::updateVisible);

    updateLook();
    refresh();
}

CleanupPage::~CleanupPage() = default;

QWidget* CleanupPage::makeOverview()
{
    auto* scroll = new QScrollArea;
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setAccessibleName(QStringLiteral("Clean-up suggestions"));
    auto* content = new QWidget;
    content->setAccessibleName(QStringLiteral("Clean-up suggestions"));
    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(32, 28, 32, 28);
    column->setSpacing(6);

    m_overviewTitle = plainLabel(QStringLiteral("Clean up"), content);
    scaleFont(m_overviewTitle, 1.6, true);
    m_overviewDetail =
        plainLabel(QStringLiteral("Nothing moves until you review it, and everything goes to the Trash."), content);
    m_overviewDetail->setWordWrap(true);
    m_reclaimable = plainLabel(QString(), content);
    scaleFont(m_reclaimable, 1.0, true);
    column->addWidget(m_overviewTitle);
    column->addWidget(m_overviewDetail);
    column->addSpacing(4);
    column->addWidget(m_reclaimable);
    column->addSpacing(14);

    m_cardGrid = new QGridLayout;
    m_cardGrid->setHorizontalSpacing(16);
    m_cardGrid->setVerticalSpacing(16);
    for (const CleanupKind kind : CleanupKinds::allCases) {
        auto* card = new CleanupCard(kind, m_thumbnails, content);
        connect(card, &CleanupCard::reviewRequested, this, &CleanupPage::review);
        card->hide();
        m_cards.append(card);
    }
    column->addLayout(m_cardGrid);
    column->addStretch(1);
    scroll->setWidget(content);
    return scroll;
}

QWidget* CleanupPage::makeMessage(QLabel*& icon, QLabel*& title, QLabel*& detail, QProgressBar* busy)
{
    auto* page = new QWidget;
    auto* column = new QVBoxLayout(page);
    column->setContentsMargins(32, 32, 32, 32);
    column->setSpacing(8);
    icon = new QLabel(page);
    icon->setAlignment(Qt::AlignCenter);
    title = plainLabel(QString(), page);
    title->setAlignment(Qt::AlignCenter);
    scaleFont(title, 1.35, true);
    detail = plainLabel(QString(), page);
    detail->setAlignment(Qt::AlignCenter);
    detail->setWordWrap(true);
    column->addStretch(1);
    column->addWidget(icon);
    column->addSpacing(6);
    column->addWidget(title);
    column->addWidget(detail);
    if (busy) {
        busy->setParent(page);
        busy->setRange(0, 0);
        busy->setTextVisible(false);
        busy->setMaximumWidth(260);
        busy->setAccessibleName(QStringLiteral("Reading your folders"));
        column->addSpacing(8);
        column->addWidget(busy, 0, Qt::AlignHCenter);
    }
    column->addStretch(2);
    return page;
}

QWidget* CleanupPage::makeReview()
{
    auto* page = new QWidget;
    auto* column = new QVBoxLayout(page);
    column->setContentsMargins(24, 18, 24, 18);
    column->setSpacing(10);

    m_back = new QPushButton(QStringLiteral("Back"), page);
    m_back->setAccessibleName(QStringLiteral("Back to Clean up"));
    m_back->setToolTip(QStringLiteral("Back to Clean up (Alt+Left)"));
    m_back->setFlat(true);
    auto* backAction = new QAction(page);
    backAction->setShortcut(QKeySequence(Qt::ALT | Qt::Key_Left));
    backAction->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    page->addAction(backAction);
    connect(backAction, &QAction::triggered, this, &CleanupPage::back);
    connect(m_back, &QPushButton::clicked, this, &CleanupPage::back);

    m_reviewTitle = plainLabel(QString(), page);
    scaleFont(m_reviewTitle, 1.45, true);
    m_reviewDetail = plainLabel(QString(), page);
    m_reviewDetail->setWordWrap(true);
    auto* heading = new QVBoxLayout;
    heading->setSpacing(2);
    heading->addWidget(m_reviewTitle);
    heading->addWidget(m_reviewDetail);
    auto* top = new QHBoxLayout;
    top->setSpacing(12);
    top->addWidget(m_back, 0, Qt::AlignTop);
    top->addLayout(heading, 1);
    column->addLayout(top);

    m_list = new QTreeView(page);
    m_list->setModel(m_model);
    m_list->setAccessibleName(QStringLiteral("Files to review"));
    m_list->setAccessibleDescription(
        QStringLiteral("Ticked files go to the Trash. Press Space to untick a file and keep it."));
    m_list->setRootIsDecorated(false);
    m_list->setUniformRowHeights(true);
    m_list->setAllColumnsShowFocus(true);
    m_list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_list->setIconSize(QSize(CleanupReviewModel::kPictureSize, CleanupReviewModel::kPictureSize));
    m_list->setTextElideMode(Qt::ElideMiddle);
    m_list->header()->setStretchLastSection(false);
    m_list->header()->setSectionResizeMode(int(CleanupReviewModel::Column::name), QHeaderView::Stretch);
    m_list->header()->setSectionResizeMode(int(CleanupReviewModel::Column::folder), QHeaderView::Interactive);
    m_list->header()->resizeSection(int(CleanupReviewModel::Column::folder), 220);
    m_list->header()->resizeSection(int(CleanupReviewModel::Column::size), 90);
    m_list->header()->resizeSection(int(CleanupReviewModel::Column::date), 170);
    connect(m_list->verticalScrollBar(), &QScrollBar::valueChanged, this, &CleanupPage::scheduleVisibleUpdate);
    connect(m_model, &QAbstractItemModel::modelReset, this, &CleanupPage::scheduleVisibleUpdate);
    connect(m_model, &QAbstractItemModel::rowsRemoved, this, &CleanupPage::scheduleVisibleUpdate);

    m_reviewEmpty = plainLabel(QStringLiteral("Nothing to clean up"), page);
    m_reviewEmpty->setAlignment(Qt::AlignCenter);
    scaleFont(m_reviewEmpty, 1.2, true);
    m_reviewStack = new QStackedWidget(page);
    m_reviewStack->addWidget(m_list);
    m_reviewStack->addWidget(m_reviewEmpty);
    column->addWidget(m_reviewStack, 1);

    m_selectAll = new QPushButton(QStringLiteral("Select All"), page);
    m_selectAll->setAccessibleName(QStringLiteral("Select All"));
    m_selectNone = new QPushButton(QStringLiteral("Select None"), page);
    m_selectNone->setAccessibleName(QStringLiteral("Select None"));
    m_total = plainLabel(QString(), page);
    m_trash = new QPushButton(QStringLiteral("Move to Trash"), page);
    m_trash->setAccessibleName(QStringLiteral("Move to Trash"));
    m_trash->setDefault(true);
    connect(m_selectAll, &QPushButton::clicked, this, &CleanupPage::selectAll);
    connect(m_selectNone, &QPushButton::clicked, this, &CleanupPage::selectNone);
    connect(m_trash, &QPushButton::clicked, this, &CleanupPage::moveCheckedToTrash);
    auto* footer = new QHBoxLayout;
    footer->setSpacing(8);
    footer->addWidget(m_selectAll);
    footer->addWidget(m_selectNone);
    footer->addSpacing(8);
    footer->addWidget(m_total, 1);
    footer->addWidget(m_trash);
    column->addLayout(footer);
    return page;
}

void CleanupPage::setThemeStyle(const ThemeStyle& style)
{
    m_style = style;
    setPalette(style.palette());
    for (CleanupCard* card : std::as_const(m_cards)) card->setThemeStyle(style);
    updateLook();
}

void CleanupPage::updateLook()
{
    QPalette soft = m_style.palette();
    soft.setColor(QPalette::WindowText, m_style.secondaryText());
    for (QLabel* label : {m_overviewDetail, m_loadingDetail, m_emptyDetail, m_reviewDetail, m_total})
        label->setPalette(soft);
    m_loadingIcon->setPixmap(
        Icons::themed(QStringLiteral("edit-find"), m_style.palette(),
                                     {QStringLiteral("system-search")}).pixmap(kMessageIconSize, kMessageIconSize));
    m_emptyIcon->setPixmap(
        Icons::themed(QStringLiteral("emblem-ok"), m_style.palette(),
                                     {QStringLiteral("object-select"), QStringLiteral("checkbox-checked")})
                                         .pixmap(kMessageIconSize, kMessageIconSize));
    m_back->setIcon(Icons::themed(QStringLiteral("go-previous"), m_style.palette()));
    m_trash->setIcon(Icons::themed(QStringLiteral("user-trash"), m_style.palette()));
}

void CleanupPage::setSidebarItem(const SidebarItem& item)
{
    if (item.kind == SidebarItem::Kind::cleanup)
        showReview(std::nullopt);
    else if (item.kind == SidebarItem::Kind::cleanupCard)
        showReview(item.cleanup);
}

void CleanupPage::review(CleanupKind kind)
{
    showReview(kind);
    m_list->setFocus();
    Q_EMIT sidebarItemRequested(SidebarItem::cleanupCard(kind));
}

void CleanupPage::back()
{
    showReview(std::nullopt);
    Q_EMIT sidebarItemRequested(SidebarItem::page(SidebarItem::Kind::cleanup));
}

void CleanupPage::showReview(std::optional<CleanupKind> kind)
{
    const bool changed = kind != m_reviewed;
    m_reviewed = kind;
    if (kind) {
        setLabelText(m_reviewTitle, CleanupKinds::title(*kind));
        setLabelText(m_reviewDetail, CleanupKinds::detail(*kind));
        // A review opened afresh starts with every file ticked.
        if (changed) m_model->setFiles({});
    }
    refresh();
    if (kind && changed) {
        m_list->scrollToTop();
        // The first file takes the keyboard without looking chosen.
        if (m_model->rowCount() > 0)
            m_list->selectionModel()->setCurrentIndex(m_model->index(0, 0), QItemSelectionModel::NoUpdate);
    }
}

CleanupPage::State CleanupPage::state() const
{
    const QWidget* shown = m_stack->currentWidget();
    if (shown == m_reviewPage) return State::review;
    if (shown == m_loading) return State::loading;
    if (shown == m_empty) return State::empty;
    return State::overview;
}

CleanupCard* CleanupPage::card(CleanupKind kind) const
{
    CleanupCard* c = m_cards.at(qsizetype(kind));
    return c->isHidden() ? nullptr : c;
}

void CleanupPage::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (m_stale) refresh();
}

void CleanupPage::refresh()
{
    m_refreshTimer.stop();
    // Behind another page the cards wait: a scan changes the suggestions many times over.
    if (window()->isVisible() && !isVisible()) {
        m_stale = true;
        return;
    }
    m_stale = false;
    const LibraryModel& library = m_app.library();
    const QList<CleanupKinds::Suggestion>& suggestions = library.suggestions();

    if (m_reviewed) {
        QList<FileItem> files;
        for (const CleanupKinds::Suggestion& s : suggestions)
            if (s.kind == *m_reviewed) files = s.files;
        m_model->setFiles(files);
        m_reviewStack->setCurrentWidget(m_model->rowCount() > 0 ? static_cast<QWidget*>(m_list) : m_reviewEmpty);
        m_stack->setCurrentWidget(m_reviewPage);
        updateTotals();
        scheduleVisibleUpdate();
        return;
    }

    // Cards in the rules' order, two to a row when there is room.
    while (m_cardGrid->count() > 0) delete m_cardGrid->takeAt(0);
    int placed = 0;
    for (CleanupCard* card : std::as_const(m_cards)) {
        const auto it = std::find_if(suggestions.cbegin(), suggestions.cend(),
                                     [card](const CleanupKinds::Suggestion& s) { return s.kind == card->kind(); });
        if (it == suggestions.cend() || it->files.isEmpty()) {
            card->hide();
            continue;
        }
        card->setSuggestion(*it);
        m_cardGrid->addWidget(card, placed / 2, placed % 2);
        card->show();
        ++placed;
    }
    const bool derived = !suggestions.isEmpty();
    if (!derived && (library.isScanning() || !library.items().isEmpty())) {
        m_stack->setCurrentWidget(m_loading);
    } else if (placed == 0) {
        m_stack->setCurrentWidget(m_empty);
    } else {
        setLabelText(m_reclaimable, Fmt::size(library.reclaimable()) + QStringLiteral(" to review"));
        m_stack->setCurrentWidget(m_overview);
    }
    scheduleVisibleUpdate();
}

void CleanupPage::filesRemoved(const QSet<QString>& paths)
{
    if (!m_reviewed) return;
    QList<FileItem> staying;
    staying.reserve(m_model->files().size());
    for (const FileItem& f : m_model->files())
        if (!paths.contains(f.path)) staying.append(f);
    if (staying.size() == m_model->files().size()) return;
    m_model->setFiles(staying);
    m_reviewStack->setCurrentWidget(m_model->rowCount() > 0 ? static_cast<QWidget*>(m_list) : m_reviewEmpty);
}

void CleanupPage::updateTotals()
{
    const int checked = m_model->checkedCount();
    const int all = m_model->rowCount();
    const QString noun = m_reviewed ? CleanupKinds::noun(*m_reviewed) : QStringLiteral("file");
    setLabelText(m_total,
                 QStringLiteral("%1 of %2 ticked · %3") .arg(QLocale().toString(checked), Fmt::count(all, noun),
                                                             Fmt::size(m_model->checkedSize())));
    m_trash->setEnabled(checked > 0);
    m_selectAll->setEnabled(checked < all);
    m_selectNone->setEnabled(checked > 0);
}

void CleanupPage::selectAll() { m_model->setAllChecked(true); }

void CleanupPage::selectNone() { m_model->setAllChecked(false); }

void CleanupPage::moveCheckedToTrash()
{
    const QList<FileItem> files = m_model->checkedFiles();
    if (files.isEmpty()) return;
    m_app.organiser().moveToTrash(files);
}

void CleanupPage::scheduleVisibleUpdate() { m_visibleTimer.start(); }

void CleanupPage::updateVisible()
{
    if (!isVisible()) return;
    QSet<QString> paths;
    if (state() == State::overview) {
        for (const CleanupCard* card : std::as_const(m_cards))
            if (!card->isHidden())
                for (const QString& path : card->previewPaths()) paths.insert(path);
    } else if (state() == State::review && m_model->rowCount() > 0) {
        const QRect area = m_list->viewport()->rect();
        const QModelIndex top = m_list->indexAt(area.topLeft());
        const QModelIndex bottom = m_list->indexAt(QPoint(0, area.bottom()));
        const int first = top.isValid() ? top.row() : 0;
        const int last = bottom.isValid() ? bottom.row() : m_model->rowCount() - 1;
        for (int row = first; row <= last; ++row) paths.insert(m_model->files().at(row).path);
    } else {
        return;
    }
    m_thumbnails.setVisible(paths);
}

}  // namespace fennic
