#include "DuplicatesPage.h"

#include "DuplicatesDelegate.h"
#include "DuplicatesModel.h"
#include "app/AppModel.h"
#include "app/DuplicateScan.h"
#include "app/Organiser.h"
#include "model/Fmt.h"
#include "theme/Icons.h"
#include "theme/Labels.h"
#include "thumbnails/ThumbnailLoader.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QListView>
#include <QMouseEvent>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollBar>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace fennic {

namespace {

constexpr int kMessageIconSize = 64;

QPushButton* button(const QString& text, QWidget* parent)
{
    auto* b = new QPushButton(text, parent);
    b->setAccessibleName(text);
    b->setAutoDefault(true);
    return b;
}

}  // namespace

DuplicatesPage::DuplicatesPage(AppModel& app, ThumbnailLoader& thumbnails, QWidget* parent)
    : QWidget(parent),
      m_app(app),
      m_thumbnails(thumbnails),
      m_style(Theme::playful, palette()),
      m_model(new DuplicatesModel(thumbnails, this)),
      m_delegate(new DuplicatesDelegate(this))
{
    setAccessibleName(QStringLiteral("Duplicates"));
    m_title = plainLabel(QStringLiteral("Duplicates"), this);
    scaleFont(m_title, 1.6, true);
    m_explanation = plainLabel(
        QStringLiteral("Identical copies are byte-for-byte the same file. Look-alikes are photos taken moments apart "
                       "that look the same. Fennic keeps one of each and moves the rest to the Trash, where Undo puts "
                       "them back."),
                       this);
    m_explanation->setWordWrap(true);

    m_stack = new QStackedWidget(this);
    m_start = makeStart();
    m_searching = makeSearching();
    m_results = makeResults();
    m_empty = makeEmpty();
    for (QWidget* page : {m_start, m_searching, m_results, m_empty}) m_stack->addWidget(page);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(28, 24, 28, 18);
    column->setSpacing(6);
    column->addWidget(m_title);
    column->addWidget(m_explanation);
    column->addSpacing(10);
    column->addWidget(m_stack, 1);

    DuplicateScan& scan = m_app.duplicates();
    connect(&scan, &DuplicateScan::duplicateGroupsChanged, this, &DuplicatesPage::groupsChanged);
    connect(&scan, &DuplicateScan::lookalikeGroupsChanged, this, &DuplicatesPage::groupsChanged);
    connect(&scan, &DuplicateScan::duplicateProgressChanged, this, &DuplicatesPage::progressChanged);
    connect(&scan, &DuplicateScan::duplicatesScannedChanged, this, &DuplicatesPage::follow);
    connect(m_delegate, &DuplicatesDelegate::keepRequested, this, &DuplicatesPage::rowActivated);

    m_visibleTimer.setObjectName(QStringLiteral("DuplicatesPage visible"));
    m_visibleTimer.setSingleShot(true);
    m_visibleTimer.setInterval(30);
    connect(&m_visibleTimer, &QTimer::timeout, this, &DuplicatesPage::updateVisible);

    m_model->setGroups(scan.duplicateGroups(), scan.lookalikeGroups());
    updateLook();
    progressChanged();
    follow();
}

DuplicatesPage::~DuplicatesPage() = default;

QWidget* DuplicatesPage::makeStart()
{
    auto* page = new QWidget;
    auto* column = new QVBoxLayout(page);
    column->setSpacing(12);
    m_startIcon = new QLabel(page);
    m_startIcon->setAlignment(Qt::AlignCenter);
    m_startIcon->setAccessibleName(QStringLiteral("Duplicates"));
    auto* note =
        plainLabel(QStringLiteral("Fennic compares every file in your folders. Nothing moves until you choose."), page);
    note->setAlignment(Qt::AlignCenter);
    note->setWordWrap(true);
    m_find = button(QStringLiteral("Find duplicates"), page);
    m_find->setDefault(true);
    connect(m_find, &QPushButton::clicked, this, &DuplicatesPage::findDuplicates);
    column->addStretch(1);
    column->addWidget(m_startIcon);
    column->addWidget(note);
    column->addSpacing(4);
    column->addWidget(m_find, 0, Qt::AlignHCenter);
    column->addStretch(2);
    return page;
}

QWidget* DuplicatesPage::makeSearching()
{
    auto* page = new QWidget;
    auto* column = new QVBoxLayout(page);
    column->setSpacing(10);
    m_progressText = plainLabel(QStringLiteral("Looking for duplicates…"), page);
    m_progressText->setAlignment(Qt::AlignCenter);
    scaleFont(m_progressText, 1.2, true);
    m_progress = new QProgressBar(page);
    m_progress->setRange(0, 1000);
    m_progress->setTextVisible(false);
    m_progress->setMaximumWidth(360);
    m_progress->setAccessibleName(QStringLiteral("Looking for duplicates"));
    column->addStretch(1);
    column->addWidget(m_progressText);
    column->addWidget(m_progress, 0, Qt::AlignHCenter);
    column->addStretch(2);
    return page;
}

QWidget* DuplicatesPage::makeResults()
{
    auto* page = new QWidget;
    auto* column = new QVBoxLayout(page);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(8);
    m_keepNote = plainLabel(QStringLiteral("The copy marked Keep in each group stays where it is. The others go to the "
                                           "Trash, and you can click Undo right after to put them back."),
                                           page);
    m_keepNote->setWordWrap(true);

    m_view = new QListView(page);
    m_view->setModel(m_model);
    m_view->setItemDelegate(m_delegate);
    m_view->setUniformItemSizes(true);
    m_view->setMouseTracking(true);
    m_view->setSelectionMode(QAbstractItemView::SingleSelection);
    m_view->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_view->setFrameShape(QFrame::NoFrame);
    m_view->setAccessibleName(QStringLiteral("Duplicate groups"));
    m_view->setAccessibleDescription(
        QStringLiteral("Press Return on a copy to keep it instead of the one marked Keep."));
    m_view->viewport()->installEventFilter(this);
    connect(m_view, &QListView::activated, this, &DuplicatesPage::rowActivated);
    connect(m_view->verticalScrollBar(), &QScrollBar::valueChanged, this, &DuplicatesPage::scheduleVisibleUpdate);
    connect(m_model, &QAbstractItemModel::modelReset, this, &DuplicatesPage::scheduleVisibleUpdate);

    m_total = plainLabel(QString(), page);
    scaleFont(m_total, 1.0, true);
    m_again = button(QStringLiteral("Find Again"), page);
    m_again->setToolTip(QStringLiteral("Look through your folders again"));
    m_clean = button(QStringLiteral("Move every copy not marked Keep to the Trash"), page);
    connect(m_again, &QPushButton::clicked, this, &DuplicatesPage::findDuplicates);
    connect(m_clean, &QPushButton::clicked, this, &DuplicatesPage::moveCopiesToTrash);
    auto* footer = new QHBoxLayout;
    footer->setSpacing(8);
    footer->addWidget(m_total, 1);
    footer->addWidget(m_again);
    footer->addWidget(m_clean);

    column->addWidget(m_keepNote);
    column->addWidget(m_view, 1);
    column->addLayout(footer);
    return page;
}

QWidget* DuplicatesPage::makeEmpty()
{
    auto* page = new QWidget;
    auto* column = new QVBoxLayout(page);
    column->setSpacing(8);
    m_emptyIcon = new QLabel(page);
    m_emptyIcon->setAlignment(Qt::AlignCenter);
    m_emptyTitle = plainLabel(QStringLiteral("No duplicates found"), page);
    m_emptyTitle->setAlignment(Qt::AlignCenter);
    scaleFont(m_emptyTitle, 1.35, true);
    m_emptyDetail = plainLabel(QStringLiteral("Every file in your folders is one of a kind."), page);
    m_emptyDetail->setAlignment(Qt::AlignCenter);
    m_emptyDetail->setWordWrap(true);
    m_emptyAgain = button(QStringLiteral("Find Again"), page);
    connect(m_emptyAgain, &QPushButton::clicked, this, &DuplicatesPage::findDuplicates);
    column->addStretch(1);
    column->addWidget(m_emptyIcon);
    column->addSpacing(4);
    column->addWidget(m_emptyTitle);
    column->addWidget(m_emptyDetail);
    column->addSpacing(6);
    column->addWidget(m_emptyAgain, 0, Qt::AlignHCenter);
    column->addStretch(2);
    return page;
}

bool DuplicatesPage::eventFilter(QObject* watched, QEvent* event)
{
    // The buttons are painted, so the row under the pointer is repainted as it moves.
    if (watched == m_view->viewport() && (event->type() == QEvent::MouseMove || event->type() == QEvent::Leave)) {
        int row = -1;
        if (event->type() == QEvent::MouseMove)
            row = m_view->indexAt(static_cast<QMouseEvent*>(event)->position().toPoint()).row();
        if (row != m_hoveredRow) {
            if (m_hoveredRow >= 0) m_view->update(m_model->index(m_hoveredRow));
            m_hoveredRow = row;
        }
        if (row >= 0) m_view->update(m_model->index(row));
    }
    return QWidget::eventFilter(watched, event);
}

void DuplicatesPage::setThemeStyle(const ThemeStyle& style)
{
    m_style = style;
    setPalette(style.palette());
    m_delegate->setThemeStyle(style);
    updateLook();
    m_view->viewport()->update();
}

void DuplicatesPage::updateLook()
{
    QPalette soft = m_style.palette();
    soft.setColor(QPalette::WindowText, m_style.secondaryText());
    for (QLabel* label : {m_explanation, m_emptyDetail, m_keepNote}) label->setPalette(soft);
    const QPalette& pal = m_style.palette();
    m_startIcon->setPixmap(Icons::themed(QStringLiteral("edit-copy"), pal).pixmap(kMessageIconSize, kMessageIconSize));
    m_emptyIcon->setPixmap(
        Icons::themed(QStringLiteral("emblem-ok"), pal,
                                     {QStringLiteral("object-select")}).pixmap(kMessageIconSize, kMessageIconSize));
    m_find->setIcon(Icons::themed(QStringLiteral("edit-find"), pal, {QStringLiteral("system-search")}));
    m_clean->setIcon(Icons::themed(QStringLiteral("user-trash"), pal));
    // The list sits on the window's colour, with the groups' bands as its cards.
    QPalette listPalette = pal;
    listPalette.setColor(QPalette::Base, pal.color(QPalette::Window));
    m_view->setPalette(listPalette);
}

DuplicatesPage::State DuplicatesPage::state() const
{
    const QWidget* shown = m_stack->currentWidget();
    if (shown == m_searching) return State::searching;
    if (shown == m_results) return State::results;
    if (shown == m_empty) return State::empty;
    return State::start;
}

void DuplicatesPage::findDuplicates() { m_app.duplicates().findDuplicates(); }

void DuplicatesPage::keepInstead(const QString& path)
{
    const int row = m_model->rowOf(path);
    if (const DuplicateGroup* group = m_model->groupAt(row)) m_app.duplicates().setKeep(group->id, path);
}

void DuplicatesPage::rowActivated(const QModelIndex& index)
{
    if (const auto member = m_model->memberAt(index.row())) keepInstead(member->path);
}

qint64 DuplicatesPage::reclaimable() const { return m_model->reclaimable(); }

void DuplicatesPage::moveCopiesToTrash()
{
    // One Trash action for everything, so that one Undo puts it all back. A file in both an
    // exact group and a look-alike group goes once.
    QList<FileItem> files;
    QSet<QString> seen;
    const DuplicateScan& scan = m_app.duplicates();
    for (const QList<DuplicateGroup>* groups : {&scan.duplicateGroups(), &scan.lookalikeGroups()})
        for (const DuplicateGroup& g : *groups)
            for (const FileItem& f : g.toTrash())
                if (!seen.contains(f.path)) {
                    seen.insert(f.path);
                    files.append(f);
                }
    if (!files.isEmpty()) m_app.organiser().moveToTrash(files);
}

void DuplicatesPage::groupsChanged()
{
    const DuplicateScan& scan = m_app.duplicates();
    // Keep the place in the list when groups leave it.
    const int scrolled = m_view->verticalScrollBar()->value();
    const QString current = m_model->memberAt(m_view->currentIndex().row()).value_or(FileItem{}).path;
    m_model->setGroups(scan.duplicateGroups(), scan.lookalikeGroups());
    m_view->verticalScrollBar()->setValue(scrolled);
    if (const int row = current.isEmpty() ? -1 : m_model->rowOf(current); row >= 0)
        m_view->setCurrentIndex(m_model->index(row));
    follow();
}

void DuplicatesPage::progressChanged()
{
    const auto progress = m_app.duplicates().duplicateProgress();
    if (progress) {
        m_progress->setValue(int(*progress * 1000));
        m_progress->setAccessibleDescription(QStringLiteral("%1%").arg(int(*progress * 100)));
    }
    follow();
}

void DuplicatesPage::follow()
{
    const DuplicateScan& scan = m_app.duplicates();
    QWidget* page = m_start;
    if (scan.duplicateProgress())
        page = m_searching;
    else if (m_model->groupCount() > 0)
        page = m_results;
    else if (scan.duplicatesScanned())
        page = m_empty;
    const qint64 total = reclaimable();
    setLabelText(m_total, Fmt::size(total) + QStringLiteral(" can be freed"));
    m_clean->setAccessibleDescription(Fmt::size(total) + QStringLiteral(" can be freed"));
    m_clean->setEnabled(total > 0);
    if (m_stack->currentWidget() != page) {
        const bool hadFocus = m_stack->currentWidget() && m_stack->currentWidget()->isAncestorOf(focusWidget());
        m_stack->setCurrentWidget(page);
        if (hadFocus) page->setFocus(Qt::OtherFocusReason);
        if (page == m_results && m_view->isVisible()) m_view->setFocus(Qt::OtherFocusReason);
    }
    scheduleVisibleUpdate();
}

void DuplicatesPage::scheduleVisibleUpdate() { m_visibleTimer.start(); }

void DuplicatesPage::updateVisible()
{
    if (!isVisible() || state() != State::results || m_model->rowCount() == 0) return;
    const QRect area = m_view->viewport()->rect();
    const QModelIndex top = m_view->indexAt(area.topLeft());
    const QModelIndex bottom = m_view->indexAt(QPoint(0, area.bottom()));
    const int first = top.isValid() ? top.row() : 0;
    const int last = bottom.isValid() ? bottom.row() : m_model->rowCount() - 1;
    QSet<QString> paths;
    for (int row = first; row <= last; ++row)
        if (const auto member = m_model->memberAt(row)) paths.insert(member->path);
    m_thumbnails.setVisible(paths);
}

}  // namespace fennic
