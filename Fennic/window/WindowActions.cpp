#include "WindowActions.h"

#include "app/AppModel.h"
#include "app/AppSettings.h"
#include "app/LibraryModel.h"
#include "app/Organiser.h"
#include "app/SearchSession.h"
#include "desktop/DesktopActions.h"
#include "theme/Icons.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QInputDialog>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace fennic {

WindowActions::WindowActions(AppModel& app, Window window, QObject* parent)
    : QObject(parent), m_app(app), m_window(std::move(window))
{
    const QPalette palette = m_window.widget->palette();
    AppSettings& settings = m_app.settings();
    SearchSession& search = m_app.search();

    // File
    make(Id::open, QStringLiteral("&Open"), QKeySequence(Qt::Key_Return), QStringLiteral("document-open"), [this] {
             openSelection();
         });
    make(Id::showInFolder,
         QStringLiteral("Show in &Folder"),
                        QKeySequence(QStringLiteral("Ctrl+Alt+R")), QStringLiteral("folder-open"), [this] {
                            DesktopActions::showInFolder(pathsOf(m_window.selection()));
                        });
    make(Id::quickLook,
         QStringLiteral("&Quick Look"), QKeySequence(Qt::Key_Space), QStringLiteral("document-preview"), [this] {
             const auto chosen = m_window.selection();
             if (!chosen.isEmpty() && m_window.quickLook) m_window.quickLook(chosen.first());
         });
    make(Id::addFolder,
         QStringLiteral("&Add Folder to Library…"),
                        QKeySequence(QStringLiteral("Ctrl+Shift+O")),
                                     QStringLiteral("folder-new"), [this] { addFolder(); });
    make(Id::scanNow,
         QStringLiteral("&Scan Now"), QKeySequence(QStringLiteral("Ctrl+R")), QStringLiteral("view-refresh"), [this] {
             m_app.library().scan();
         });
    make(Id::quit,
         QStringLiteral("&Quit"), QKeySequence::Quit, QStringLiteral("application-exit"), [] { QApplication::quit(); });

    // Edit
    make(Id::undo, QStringLiteral("&Undo Move to Trash"), QKeySequence::Undo, QStringLiteral("edit-undo"), [this] {
             undoLastTrash();
         });
    make(Id::copy, QStringLiteral("&Copy"), QKeySequence::Copy, QStringLiteral("edit-copy"), [this] {
             DesktopActions::copy(m_window.selection());
         });
    make(Id::copyPath,
         QStringLiteral("Copy &Path"),
                        QKeySequence(QStringLiteral("Ctrl+Shift+C")), QStringLiteral("edit-copy"), [this] {
                            DesktopActions::copyPaths(m_window.selection());
                        });
    make(Id::selectAll,
         QStringLiteral("Select &All"), QKeySequence::SelectAll, QStringLiteral("edit-select-all"), [this] {
             if (m_window.selectAll) m_window.selectAll();
         });
    make(Id::find, QStringLiteral("&Find"), QKeySequence::Find, QStringLiteral("edit-find"), [this] {
             if (m_window.focusAsk) m_window.focusAsk();
         });
    make(Id::ask,
         QStringLiteral("As&k Fennic"),
                        QKeySequence(QStringLiteral("Ctrl+L")), QStringLiteral("system-search"), [this] {
                            if (m_window.focusAsk) m_window.focusAsk();
                        });
    QAction* trash = make(Id::moveToTrash,
                          QStringLiteral("Move to &Trash"), QKeySequence::Delete,
                                         QStringLiteral("user-trash"), [this] { trashSelection(); });
    trash->setShortcuts({QKeySequence::Delete, QKeySequence(QStringLiteral("Ctrl+Backspace"))});

    // Organise
    make(Id::favourite,
         QStringLiteral("&Favourite"), QKeySequence(QStringLiteral("Ctrl+D")), QStringLiteral("starred"), [this] {
             m_app.organiser().toggleFavourite(m_window.selection());
         });
    make(Id::tag,
         QStringLiteral("&Tag…"), QKeySequence(QStringLiteral("Ctrl+T")), QStringLiteral("bookmark-new"), [this] {
             tagSelection();
         });
    make(Id::addToCollection,
         QStringLiteral("Add to &Collection…"),
                        QKeySequence(QStringLiteral("Ctrl+Shift+A")),
                                     QStringLiteral("view-paged"), [this] { addSelectionToCollection(); });
    make(Id::newCollection,
         QStringLiteral("&New Collection from Selection…"),
                        QKeySequence(QStringLiteral("Ctrl+Shift+N")),
                                     QStringLiteral("folder-new"), [this] { newCollectionFromSelection(); });
    make(Id::saveSearch, QStringLiteral("&Save Search"), QKeySequence::Save, QStringLiteral("document-save"), [this] {
             m_app.search().saveCurrentSearch();
         });

    // View
    m_viewGroup = new QActionGroup(this);
    QAction* grid = make(
        Id::asGrid,
        QStringLiteral("as &Grid"), QKeySequence(QStringLiteral("Ctrl+1")), QStringLiteral("view-grid"), [&settings] {
            settings.setViewMode(ViewMode::grid);
        });
    QAction* list = make(
        Id::asList,
        QStringLiteral("as &List"), QKeySequence(QStringLiteral("Ctrl+2")), QStringLiteral("view-list"), [&settings] {
            settings.setViewMode(ViewMode::list);
        });
    for (QAction* a : {grid, list}) {
        a->setCheckable(true);
        m_viewGroup->addAction(a);
    }
    m_sortGroup = new QActionGroup(this);
    int digit = 3;
    for (const SortKey key : SortKeys::allCases) {
        auto* a = new QAction(SortKeys::title(key), this);
        a->setCheckable(true);
        a->setData(SortKeys::rawValue(key));
        a->setShortcut(QKeySequence(QStringLiteral("Ctrl+%1").arg(digit++)));
        connect(a, &QAction::triggered, this, [&settings, key] { settings.setSortKey(key); });
        m_sortGroup->addAction(a);
        m_sortKeys.append(a);
    }
    QAction* ascending =
        make(Id::sortAscending,
             QStringLiteral("&Ascending"), QKeySequence(QStringLiteral("Ctrl+Alt+A")), QString(), [&settings] {
                 settings.setSortAscending(!settings.sortAscending());
             });
    ascending->setCheckable(true);
    make(Id::zoomIn, QStringLiteral("Zoom &In"), QKeySequence::ZoomIn, QStringLiteral("zoom-in"), [&settings] {
             settings.zoom(20);
         });
    make(Id::zoomOut, QStringLiteral("Zoom &Out"), QKeySequence::ZoomOut, QStringLiteral("zoom-out"), [&settings] {
             settings.zoom(-20);
         });
    QAction* inspector =
        make(Id::inspector,
             QStringLiteral("&Inspector"),
                            QKeySequence(QStringLiteral("Ctrl+I")), QStringLiteral("sidebar-show-right"), [this] {
                                if (m_window.toggleInspector) m_window.toggleInspector();
                            });
    inspector->setCheckable(true);
    make(Id::toggleTheme,
         QStringLiteral("&Minimal Look"), QKeySequence(QStringLiteral("Ctrl+Shift+T")), QString(), [&settings] {
                                              settings.toggleTheme();
                                          })->setCheckable(true);

    // Go
    const auto go = [&search](SidebarItem::Kind kind) {
        return [&search, kind] { search.setSidebar(SidebarItem::page(kind)); };
    };
    make(Id::goHome,
         QStringLiteral("&Home"),
                        QKeySequence(QStringLiteral("Alt+Home")),
                                     QStringLiteral("go-home"), go(SidebarItem::Kind::home));
    make(Id::goRecents,
         QStringLiteral("&Recents"),
                        QKeySequence(QStringLiteral("Alt+2")),
                                     QStringLiteral("document-open-recent"), go(SidebarItem::Kind::recents));
    make(Id::goFindImages,
         QStringLiteral("Find &Images"),
                        QKeySequence(QStringLiteral("Alt+3")),
                                     QStringLiteral("image-x-generic"), go(SidebarItem::Kind::findImages));
    make(Id::goDuplicates,
         QStringLiteral("&Duplicates"),
                        QKeySequence(QStringLiteral("Alt+4")),
                                     QStringLiteral("edit-copy"), go(SidebarItem::Kind::duplicates));
    make(Id::goCleanup,
         QStringLiteral("&Clean-up"),
                        QKeySequence(QStringLiteral("Alt+5")),
                                     QStringLiteral("edit-clear-all"), go(SidebarItem::Kind::cleanup));

    make(Id::quickSearch,
         QStringLiteral("&Quick Search Panel"),
                        QKeySequence(QStringLiteral("Ctrl+Shift+Space")), QStringLiteral("system-search"), [this] {
                            if (m_window.showQuickSearch) m_window.showQuickSearch();
                        });

    make(Id::settings,
         QStringLiteral("&Preferences…"),
                        QKeySequence(QStringLiteral("Ctrl+,")), QStringLiteral("preferences-system"), [this] {
                            if (m_window.showSettings) m_window.showSettings();
                        });

    // Help
    make(Id::shortcuts,
         QStringLiteral("&Keyboard Shortcuts"),
                        QKeySequence(QStringLiteral("Ctrl+?")),
                                     QStringLiteral("preferences-desktop-keyboard-shortcuts"),
                                                    [this] { showShortcuts(); });
    make(Id::checkForUpdates,
         QStringLiteral("Check for &Updates…"), QKeySequence(), QStringLiteral("system-software-update"), [this] {
             if (m_window.checkForUpdates) m_window.checkForUpdates();
         });
    make(Id::about,
         QStringLiteral("&About Fennic"),
                        QKeySequence(QStringLiteral("Shift+F1")),
                                     QStringLiteral("help-about"), [this] { showAbout(); });

    // Return and Space belong to the results: in the Ask field they type and submit.
    for (Id id : {Id::open, Id::quickLook}) {
        QAction* a = action(id);
        a->setShortcutContext(Qt::WidgetWithChildrenShortcut);
        for (QWidget* w : std::as_const(m_window.browserWidgets)) w->addAction(a);
    }
    // The others work anywhere in the window (a text field still keeps its own Delete,
    // Ctrl+C and Ctrl+Z while it has the focus).
    for (QAction* a : std::as_const(m_actions))
        if (a->shortcutContext() != Qt::WidgetWithChildrenShortcut) m_window.widget->addAction(a);
    for (QAction* a : std::as_const(m_sortKeys)) m_window.widget->addAction(a);
    setPalette(palette);

    for (auto signal : {&AppSettings::viewModeChanged, &AppSettings::sortKeyChanged, &AppSettings::sortAscendingChanged,
                        &AppSettings::themeChanged, &AppSettings::cardSizeChanged})
        connect(&settings, signal, this, &WindowActions::refresh);
    connect(&m_app.organiser(), &Organiser::canUndoTrashChanged, this, &WindowActions::refresh);
    connect(&m_app.search(), &SearchSession::queryChanged, this, &WindowActions::refresh);
    refresh();
}

QStringList WindowActions::pathsOf(const QList<FileItem>& items)
{
    QStringList paths;
    paths.reserve(items.size());
    for (const FileItem& item : items) paths.append(item.path);
    return paths;
}

QAction* WindowActions::make(Id id, const QString& text, const QKeySequence& key, const QString& icon,
                             std::function<void()> run)
{
    auto* a = new QAction(text, this);
    if (!key.isEmpty()) a->setShortcut(key);
    // The icon name waits in the data until the palette is known to tint it.
    a->setData(icon);
    connect(a, &QAction::triggered, this, [run = std::move(run)] { run(); });
    m_actions.insert(id, a);
    return a;
}

void WindowActions::setPalette(const QPalette& palette)
{
    for (QAction* a : std::as_const(m_actions))
        if (!a->data().toString().isEmpty()) a->setIcon(Icons::themed(a->data().toString(), palette));
}

void WindowActions::refresh()
{
    const QList<FileItem> chosen = m_window.selection ? m_window.selection() : QList<FileItem>();
    const bool some = !chosen.isEmpty();
    for (Id id : {Id::open, Id::showInFolder, Id::quickLook, Id::copy, Id::copyPath, Id::moveToTrash, Id::favourite,
                  Id::tag, Id::addToCollection})
        action(id)->setEnabled(some);
    if (m_openWith) m_openWith->setEnabled(chosen.size() == 1);
    action(Id::undo)->setEnabled(m_app.organiser().canUndoTrash());
    action(Id::saveSearch)->setEnabled(!m_app.search().query().trimmed().isEmpty());
    action(Id::addToCollection)->setEnabled(some && !m_app.organiser().shelf().collections().isEmpty());

    const bool allStarred = some && std::all_of(chosen.begin(), chosen.end(), [this](const FileItem& i) {
                                return m_app.organiser().shelf().isFavourite(i.path);
                            });
    action(Id::favourite)
        ->setText(allStarred ? QStringLiteral("Remove from &Favourites") : QStringLiteral("&Favourite"));

    const AppSettings& settings = m_app.settings();
    action(Id::asGrid)->setChecked(settings.viewMode() == ViewMode::grid);
    action(Id::asList)->setChecked(settings.viewMode() == ViewMode::list);
    for (QAction* a : std::as_const(m_sortKeys)) a->setChecked(a->data().toString() == settings.sortKeyRaw());
    action(Id::sortAscending)->setChecked(settings.sortAscending());
    action(Id::zoomIn)->setEnabled(settings.cardSize() < AppSettings::kMaxCardSize);
    action(Id::zoomOut)->setEnabled(settings.cardSize() > AppSettings::kMinCardSize);
    action(Id::toggleTheme)->setChecked(settings.theme() == Theme::minimal);
    if (m_window.inspectorShown) action(Id::inspector)->setChecked(m_window.inspectorShown());
}

void WindowActions::fillMenuBar(QMenuBar* bar)
{
    QMenu* file = bar->addMenu(QStringLiteral("&File"));
    file->addAction(action(Id::open));
    m_openWith = file->addMenu(QStringLiteral("Open &With"));
    connect(m_openWith, &QMenu::aboutToShow, this, [this] { fillOpenWith(m_openWith); });
    file->addAction(action(Id::showInFolder));
    file->addAction(action(Id::quickLook));
    file->addSeparator();
    file->addAction(action(Id::addFolder));
    file->addAction(action(Id::scanNow));
    file->addSeparator();
    file->addAction(action(Id::quit));

    QMenu* edit = bar->addMenu(QStringLiteral("&Edit"));
    for (Id id : {Id::undo}) edit->addAction(action(id));
    edit->addSeparator();
    for (Id id : {Id::copy, Id::copyPath, Id::selectAll}) edit->addAction(action(id));
    edit->addSeparator();
    for (Id id : {Id::find, Id::ask}) edit->addAction(action(id));
    edit->addSeparator();
    edit->addAction(action(Id::moveToTrash));
    edit->addSeparator();
    edit->addAction(action(Id::settings));

    QMenu* view = bar->addMenu(QStringLiteral("&View"));
    view->addAction(action(Id::asGrid));
    view->addAction(action(Id::asList));
    QMenu* sort = view->addMenu(QStringLiteral("&Sort By"));
    sort->addActions(m_sortKeys);
    sort->addSeparator();
    sort->addAction(action(Id::sortAscending));
    view->addSeparator();
    view->addAction(action(Id::zoomIn));
    view->addAction(action(Id::zoomOut));
    view->addSeparator();
    view->addAction(action(Id::inspector));
    view->addAction(action(Id::toggleTheme));

    QMenu* goMenu = bar->addMenu(QStringLiteral("&Go"));
    for (Id id : {Id::goHome, Id::goRecents, Id::goFindImages, Id::goDuplicates, Id::goCleanup})
        goMenu->addAction(action(id));
    goMenu->addSeparator();
    goMenu->addAction(action(Id::quickSearch));

    QMenu* organise = bar->addMenu(QStringLiteral("&Organise"));
    for (Id id : {Id::favourite, Id::tag, Id::addToCollection, Id::newCollection}) organise->addAction(action(id));
    organise->addSeparator();
    organise->addAction(action(Id::saveSearch));

    QMenu* help = bar->addMenu(QStringLiteral("&Help"));
    help->addAction(action(Id::shortcuts));
    help->addAction(action(Id::checkForUpdates));
    help->addSeparator();
    help->addAction(action(Id::about));
}

QMenu* WindowActions::contextMenu(QWidget* parent)
{
    refresh();
    auto* menu = new QMenu(parent);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(action(Id::open));
    QMenu* with = menu->addMenu(QStringLiteral("Open &With"));
    with->setEnabled(m_window.selection().size() == 1);
    connect(with, &QMenu::aboutToShow, this, [this, with] { fillOpenWith(with); });
    menu->addAction(action(Id::showInFolder));
    menu->addAction(action(Id::quickLook));
    menu->addSeparator();
    for (Id id : {Id::copy, Id::copyPath}) menu->addAction(action(id));
    menu->addSeparator();
    for (Id id : {Id::favourite, Id::tag, Id::addToCollection, Id::newCollection}) menu->addAction(action(id));
    menu->addSeparator();
    menu->addAction(action(Id::moveToTrash));
    return menu;
}

void WindowActions::fillOpenWith(QMenu* menu)
{
    menu->clear();
    const QList<FileItem> chosen = m_window.selection();
    if (chosen.size() != 1) return;
    const QString path = chosen.first().path;
    // The first look at the desktop's applications reads their files: done on the pool, the
    // menu fills in when the answer comes.
    QAction* waiting = menu->addAction(QStringLiteral("Looking for applications…"));
    waiting->setEnabled(false);
    DesktopActions::findApplicationsFor(path, menu, [menu, path](const QList<DesktopActions::Application>& apps) {
        menu->clear();
        if (apps.isEmpty()) {
            menu->addAction(QStringLiteral("No applications for this type"))->setEnabled(false);
            return;
        }
        for (const auto& app : apps) {
            QAction* a = menu->addAction(app.icon, app.name);
            QObject::connect(a, &QAction::triggered, menu,
                             [id = app.id, path] { DesktopActions::openWith(id, {path}); });
        }
    });
}

void WindowActions::openSelection()
{
    const QList<FileItem> chosen = m_window.selection();
    if (chosen.isEmpty()) return;
    DesktopActions::open(pathsOf(chosen));
}

void WindowActions::trashSelection()
{
    const QList<FileItem> chosen = m_window.selection();
    if (!chosen.isEmpty()) m_app.organiser().moveToTrash(chosen);
}

void WindowActions::undoLastTrash() { m_app.organiser().undoLastTrash(); }

void WindowActions::tagSelection()
{
    const QList<FileItem> chosen = m_window.selection();
    if (chosen.isEmpty()) return;
    QStringList known;
    for (const auto& t : m_app.organiser().shelf().allTags()) known.append(t.tag);
    bool ok = false;
    const QString tag = QInputDialog::getItem(m_window.widget,
                                              QStringLiteral("Tag"),
                                                             chosen.size() == 1
                                                             ? QStringLiteral("Tag “%1” with:").arg(chosen.first().name)
                                                             : QStringLiteral("Tag %1 files with:").arg(chosen.size()),
                                                                              known, -1, true, &ok);
    if (ok) m_app.organiser().addTag(tag, chosen);
}

void WindowActions::addSelectionToCollection()
{
    const QList<FileItem> chosen = m_window.selection();
    const auto& collections = m_app.organiser().shelf().collections();
    if (chosen.isEmpty() || collections.isEmpty()) return;
    QStringList names;
    for (const auto& c : collections) names.append(c.name);
    bool ok = false;
    const QString name = QInputDialog::getItem(
        m_window.widget, QStringLiteral("Add to Collection"), QStringLiteral("Collection:"), names, 0, false, &ok);
    if (!ok) return;
    const qsizetype at = names.indexOf(name);
    if (at >= 0) m_app.organiser().addToCollection(chosen, collections.at(at).id);
}

void WindowActions::newCollectionFromSelection()
{
    bool ok = false;
    const QString name =
        QInputDialog::getText(m_window.widget,
                              QStringLiteral("New Collection"),
                                             QStringLiteral("Name of the collection:"), QLineEdit::Normal,
                                                            QStringLiteral("New Collection"), &ok);
    if (ok) m_app.organiser().newCollection(name.trimmed(), m_window.selection());
}

void WindowActions::addFolder()
{
    auto* dialog = new QFileDialog(m_window.widget, QStringLiteral("Add a Folder to the Library"));
    dialog->setFileMode(QFileDialog::Directory);
    dialog->setOption(QFileDialog::ShowDirsOnly);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QFileDialog::fileSelected, this,
            [this](const QString& folder) { m_app.library().addFolder(folder); });
    dialog->open();
}

void WindowActions::showShortcuts()
{
    auto* dialog = new QDialog(m_window.widget);
    dialog->setWindowTitle(QStringLiteral("Keyboard Shortcuts"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    auto* layout = new QVBoxLayout(dialog);
    auto* table = new QTreeWidget(dialog);
    table->setAccessibleName(QStringLiteral("Keyboard shortcuts"));
    table->setHeaderLabels({QStringLiteral("Action"), QStringLiteral("Keys")});
    table->setRootIsDecorated(false);
    QList<QAction*> all = m_actions.values();
    all += m_sortKeys;
    std::sort(all.begin(), all.end(), [](QAction* a, QAction* b) { return a->text() < b->text(); });
    for (QAction* a : std::as_const(all)) {
        if (a->shortcuts().isEmpty()) continue;
        QStringList keys;
        for (const QKeySequence& k : a->shortcuts()) keys.append(k.toString(QKeySequence::NativeText));
        new QTreeWidgetItem(table, {QString(a->text()).remove(QLatin1Char('&')), keys.join(QStringLiteral(", "))});
    }
    table->resizeColumnToContents(0);
    layout->addWidget(table);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, dialog);
    connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    layout->addWidget(buttons);
    dialog->resize(460, 560);
    dialog->open();
}

void WindowActions::showAbout()
{
    QMessageBox::about(
        m_window.widget,
        QStringLiteral("About Fennic"),
                       QStringLiteral("<h3>Fennic %1</h3><p>Your everyday folders in one quiet library that never "
                                      "leaves this computer.</p><p>Ask for files in plain English, describe a "
                                      "picture, or type words written inside it.</p>")
                                          .arg(QCoreApplication::applicationVersion()));
}

}  // namespace fennic
