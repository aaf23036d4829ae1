#pragma once

#include "model/FileItem.h"
#include "organise/FileOps.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <functional>
#include <optional>

class QAction;
class QActionGroup;
class QMenu;
class QMenuBar;
class QWidget;

namespace fennic {

class AppModel;

// Every action of the main window, once: its menu entry, its keyboard shortcut and what it
// does to the selection. The menu bar and the browser's context menu are built from the same
// actions, so a shortcut always matches the entry that names it.
class WindowActions : public QObject {
    Q_OBJECT

public:
    enum class Id {
        open,
        showInFolder,
        quickLook,
        addFolder,
        scanNow,
        quit,
        undo,
        copy,
        copyPath,
        selectAll,
        find,
        ask,
        moveToTrash,
        favourite,
        tag,
        addToCollection,
        newCollection,
        saveSearch,
        asGrid,
        asList,
        sortAscending,
        zoomIn,
        zoomOut,
        inspector,
        toggleTheme,
        goHome,
        goRecents,
        goFindImages,
        goDuplicates,
        goCleanup,
        quickSearch,
        settings,
        shortcuts,
        checkForUpdates,
        about,
    };

    // What the actions need from the window.
    struct Window {
        QWidget* widget = nullptr;                       // parent of dialogs
        std::function<QList<FileItem>()> selection;      // the browser's selected files
        std::function<void()> focusAsk;                  // Ctrl+F, Ctrl+L
        std::function<void()> selectAll;                 // in the browser
        std::function<void(const FileItem&)> quickLook;  // Space
        std::function<void()> toggleInspector;
        std::function<bool()> inspectorShown;
        std::function<void()> showSettings;     // Ctrl+,
        std::function<void()> showQuickSearch;  // the panel
        std::function<void()> checkForUpdates;  // the Software Update window
        // Widgets where the browser-only keys (Return, Space) apply.
        QList<QWidget*> browserWidgets;
    };

    WindowActions(AppModel& app, Window window, QObject* parent = nullptr);

    QAction* action(Id id) const { return m_actions.value(id); }
    // The menus of the menu bar: File, Edit, View, Go, Organise, Help.
    void fillMenuBar(QMenuBar* bar);
    // The context menu over the current selection.
    QMenu* contextMenu(QWidget* parent);
    // Enables what applies to the current selection and state.
    void refresh();
    // Draws the actions' icons for a new palette.
    void setPalette(const QPalette& palette);

    // The actions, for tests.
    void openSelection();
    void trashSelection();
    void undoLastTrash();
    bool canUndo() const { return m_lastTrash.has_value(); }

private:
    static QStringList pathsOf(const QList<FileItem>& items);
    QAction* make(Id id, const QString& text, const QKeySequence& key, const QString& icon, std::function<void()> run);
    void fillOpenWith(QMenu* menu);
    void tagSelection();
    void addSelectionToCollection();
    void newCollectionFromSelection();
    void addFolder();
    void showShortcuts();
    void showAbout();

    AppModel& m_app;
    Window m_window;
    QHash<Id, QAction*> m_actions;
    QActionGroup* m_viewGroup = nullptr;
    QActionGroup* m_sortGroup = nullptr;
    QList<QAction*> m_sortKeys;
    QMenu* m_openWith = nullptr;
    // What the last Trash action moved, for Undo.
    std::optional<QList<FileOps::TrashedItem>> m_lastTrash;
};

}  // namespace fennic
