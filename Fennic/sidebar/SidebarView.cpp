#include "SidebarView.h"

#include "SidebarDelegate.h"
#include "SidebarModel.h"
#include "app/AppModel.h"
#include "app/AppSettings.h"
#include "app/LibraryModel.h"
#include "app/Organiser.h"
#include "app/SearchSession.h"
#include "desktop/DesktopActions.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QMenu>
#include <QScopedValueRollback>

namespace fennic {

namespace {

// The first of the names the icon theme has.
QIcon themed(std::initializer_list<const char*> names)
{
    for (const char* name : names)
        if (QIcon::hasThemeIcon(QString::fromLatin1(name))) return QIcon::fromTheme(QString::fromLatin1(name));
    return {};
}

}  // namespace

SidebarView::SidebarView(AppModel& app, QWidget* parent)
    : QTreeView(parent),
      m_app(app),
      m_model(new SidebarModel(app, this)),
      m_delegate(new SidebarDelegate(ThemeStyle(app.settings().theme(), palette()), this))
{
    setAccessibleName(QStringLiteral("Sidebar"));
    setAccessibleDescription(QStringLiteral("Places to look in: library pages, kinds, folders, tags and collections"));
    setModel(m_model);
    setItemDelegate(m_delegate);
    setHeaderHidden(true);
    setRootIsDecorated(false);
    setItemsExpandable(false);
    setExpandsOnDoubleClick(false);
    setIndentation(0);
    setUniformRowHeights(false);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setEditTriggers(QAbstractItemView::EditKeyPressed);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    viewport()->setAttribute(Qt::WA_Hover);
    // The sidebar sits on the window's colour rather than a list's.
    viewport()->setBackgroundRole(QPalette::Window);
    setAcceptDrops(true);
    setDragDropMode(QAbstractItemView::DropOnly);
    setDefaultDropAction(Qt::CopyAction);
    setDropIndicatorShown(true);
    setMinimumWidth(180);

    expandAll();
    connect(m_model, &QAbstractItemModel::rowsInserted, this, [this](const QModelIndex& under, int first, int last) {
        if (under.isValid()) return;
        for (int row = first; row <= last; ++row) expand(m_model->index(row, 0));
    });
    // A rebuild that removes the selected row makes the view select a neighbour; the session
    // is not told, and its own entry is shown again once the rows are in place.
    connect(m_model, &SidebarModel::rowsAboutToBeUpdated, this, [this] { m_updating = true; });
    connect(m_model, &SidebarModel::rowsUpdated, this, [this] {
        m_updating = false;
        showSessionSelection(false);
    });
    connect(&m_app.search(), &SearchSession::sidebarChanged, this, [this] { showSessionSelection(true); });
    connect(&m_app.settings(), &AppSettings::themeChanged, this, &SidebarView::followThemeSettings);
    showSessionSelection(false);
}

void SidebarView::setThemeStyle(const ThemeStyle& style)
{
    m_delegate->setThemeStyle(style);
    viewport()->update();
}

const ThemeStyle& SidebarView::themeStyle() const { return m_delegate->themeStyle(); }

void SidebarView::followThemeSettings() { setThemeStyle(ThemeStyle(m_app.settings().theme(), palette())); }

void SidebarView::changeEvent(QEvent* event)
{
    QTreeView::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) setThemeStyle(ThemeStyle(themeStyle().theme(), palette()));
}

void SidebarView::selectionChanged(const QItemSelection& selected, const QItemSelection& deselected)
{
    QTreeView::selectionChanged(selected, deselected);
    if (m_following || m_updating) return;
    for (const QModelIndex& index : selected.indexes())
        if (const SidebarEntry* entry = m_model->entry(index)) {
            const QScopedValueRollback guard(m_following, true);
            m_app.search().setSidebar(entry->item);
            return;
        }
}

void SidebarView::showSessionSelection(bool scroll)
{
    const QScopedValueRollback guard(m_following, true);
    const QModelIndex index = m_model->indexOf(m_app.search().sidebar());
    if (!index.isValid()) {
        selectionModel()->clearSelection();
        return;
    }
    if (currentIndex() != index || !selectionModel()->isSelected(index))
        selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect);
    if (scroll) scrollTo(index, QAbstractItemView::EnsureVisible);
}

QMenu* SidebarView::createContextMenu(const QModelIndex& index)
{
    const SidebarEntry* entry = m_model->entry(index);
    if (!entry) return nullptr;
    using K = SidebarItem::Kind;
    const SidebarItem item = entry->item;
    auto* menu = new QMenu(this);
    menu->setAccessibleName(QStringLiteral("Actions for %1").arg(entry->title));
    const auto add = [menu](const QIcon& icon, const QString& text, const char* name) {
        QAction* action = menu->addAction(icon, text);
        action->setObjectName(QString::fromLatin1(name));
        return action;
    };

    if (entry->isRenamable()) {
        const QPersistentModelIndex target(index);
        connect(add(themed({"edit-rename", "document-edit"}), QStringLiteral("Rename…"), "rename"), &QAction::triggered,
                    this, [this, target] {
                        if (!target.isValid()) return;
                        setCurrentIndex(target);
                        edit(target);
                    });
        connect(add(themed({"edit-delete", "user-trash"}), QStringLiteral("Delete"), "delete"), &QAction::triggered,
                    this, [this, item] {
                        const QModelIndex current = m_model->indexOf(item);
                        if (current.isValid()) deleteEntry(current);
                    });
    } else if (item.kind == K::folder || item.kind == K::pinnedFolder) {
        const QString path = item.path;
        const bool pinned = entry->pinned;
        connect(add(themed({"view-pin", "view-pin-symbolic", "bookmark-new"}),
                    pinned ? QStringLiteral("Unpin") : QStringLiteral("Pin to Sidebar"), "pin"), &QAction::triggered,
                    this, [this, path] { m_app.library().pin(path); });
        if (entry->removable)
            connect(add(themed({"list-remove", "edit-delete"}), QStringLiteral("Remove from Library"), "removeFolder"),
                        &QAction::triggered, this, [this, path] {
                            // A pinned folder that leaves the library leaves the sidebar too.
                            if (m_app.library().pinnedFolders().contains(path)) m_app.library().pin(path);
                            m_app.library().removeFolder(path);
                        });
        menu->addSeparator();
        connect(add(themed({"system-file-manager", "folder-open", "folder"}),
                    QStringLiteral("Open in File Manager"), "openFolder"),
                    &QAction::triggered, this, [path] { DesktopActions::open({path}); });
    }
    if (menu->isEmpty()) {
        delete menu;
        return nullptr;
    }
    return menu;
}

void SidebarView::deleteEntry(const QModelIndex& index)
{
    const SidebarEntry* entry = m_model->entry(index);
    if (!entry) return;
    const SidebarItem item = entry->item;
    if (item.kind == SidebarItem::Kind::collection) {
        m_app.organiser().deleteCollection(item.id);
    } else if (item.kind == SidebarItem::Kind::savedSearch) {
        QList<SavedSearch> searches = m_app.search().savedSearches();
        searches.removeIf([&item](const SavedSearch& s) { return s.id == item.id; });
        if (m_app.search().sidebar() == item) m_app.search().setSidebar(SidebarItem::home());
        m_app.search().setSavedSearches(searches);
    }
}

void SidebarView::contextMenuEvent(QContextMenuEvent* event)
{
    const bool keyboard = event->reason() == QContextMenuEvent::Keyboard;
    const QModelIndex index = keyboard ? currentIndex() : indexAt(event->pos());
    QMenu* menu = createContextMenu(index);
    if (!menu) return;
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const QRect row = visualRect(index);
    const QPoint at = keyboard ? QPoint(row.left() + 24, row.bottom()) : event->pos();
    menu->popup(viewport()->mapToGlobal(at));
    event->accept();
}

}  // namespace fennic
