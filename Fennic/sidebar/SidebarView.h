#pragma once

#include "theme/ThemeStyle.h"

#include <QTreeView>

class QMenu;

namespace fennic {

class AppModel;
class SidebarDelegate;
class SidebarModel;

// The main window's sidebar: every place the user can look in (library pages, kinds,
// folders, favourites, tags, collections, saved searches, quick filters) in titled sections.
//
// Selecting an entry (by mouse or keyboard) sets the search session's sidebar entry; the view
// follows the session in turn, so an entry chosen elsewhere is shown selected. Right click or
// the Menu key opens the entry's actions; files dropped on a collection, a tag or Favourites
// are added to it. Takes the theme from the settings and follows palette changes;
// setThemeStyle overrides both until the next change.
class SidebarView : public QTreeView {
    Q_OBJECT

public:
    explicit SidebarView(AppModel& app, QWidget* parent = nullptr);

    SidebarModel& sidebarModel() const { return *m_model; }
    void setThemeStyle(const ThemeStyle& style);
    const ThemeStyle& themeStyle() const;

    // The actions of an entry, as its context menu shows them, or null when it has none. The
    // caller owns the menu. Actions are named for tests and scripting: "rename", "delete",
    // "pin", "removeFolder", "openFolder".
    QMenu* createContextMenu(const QModelIndex& index);

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;
    void changeEvent(QEvent* event) override;
    void selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) override;
    void drawBranches(QPainter*, const QRect&, const QModelIndex&) const override { }

private:
    // Selects the session's entry without telling the session back.
    void showSessionSelection(bool scroll);
    void deleteEntry(const QModelIndex& index);
    void followThemeSettings();

    AppModel& m_app;
    SidebarModel* m_model;
    SidebarDelegate* m_delegate;
    bool m_following = false;  // showing the session's entry
    bool m_updating = false;   // the model is rebuilding
};

}  // namespace fennic
