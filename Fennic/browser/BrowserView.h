#pragma once

#include "BrowserModel.h"
#include "model/FileItem.h"
#include "search/SortKey.h"
#include "theme/ThemeStyle.h"

#include <QList>
#include <QPoint>
#include <QSet>
#include <QStringList>
#include <QTimer>
#include <QWidget>
#include <optional>
#include <utility>

class QAbstractItemView;
class QItemSelectionModel;
class QLabel;
class QListView;
class QStackedWidget;
class QTreeView;

namespace fennic {

class CardDelegate;
class ThumbnailLoader;

// The files of the current search, as a grid of cards or a list with columns. Both views show
// one model and share one selection, so switching between them keeps what is selected. The
// list comes in already in the settings' order: clicking a column header only asks for
// another order (sortRequested), and the window answers with a new list and setSort.
//
// Thumbnails are asked for only for the cards and rows being painted, and the loader is told
// which files are on screen after every scroll, resize and new list, so it serves those first.
// Nothing here waits for a thumbnail or reads the disk.
//
// Keys: Return activates the current file, Up on the first row leaves the results (to the Ask
// field), Ctrl+A selects all, Ctrl++ and Ctrl+- (and Ctrl+wheel) zoom the cards. Space and
// Delete are left to the window's actions.
class BrowserView : public QWidget {
    Q_OBJECT

public:
    struct EmptyState {
        QString iconName;
        QString title;
        QString detail;
    };

    // The zoom step of one Ctrl+wheel notch or Ctrl++ / Ctrl+-, in pixels of card size.
    static constexpr double kZoomStep = 20;

    explicit BrowserView(ThumbnailLoader& thumbnails, QWidget* parent = nullptr);
    ~BrowserView() override;

    BrowserModel& model() { return *m_model; }
    // The rows of the cards or lines on screen, first and last; none as (0, -1).
    std::pair<int, int> rowsOnScreen() const;
    // Shows a new list, keeping the selection of the files still in it. `diff` as for
    // BrowserModel::setItems.
    void setItems(const QList<FileItem>& items, const VisibleListDiff* diff = nullptr);
    void setViewMode(ViewMode mode);
    ViewMode viewMode() const { return m_mode; }
    void setCardSize(double size);
    // The list header's sort indicator (the list itself is already in this order).
    void setSort(SortKey key, bool ascending);
    void setThemeStyle(const ThemeStyle& style);
    // Words to mark in the cards' names (compared folded).
    void setHighlight(const QStringList& words);
    // Shown, centred, instead of the files while set.
    void setEmptyState(std::optional<EmptyState> state);
    bool isShowingEmptyState() const { return m_empty.has_value(); }

    // In list order.
    QList<FileItem> selectedItems() const;
    std::optional<FileItem> currentItem() const;
    // Selects the first file, makes it current and focuses the view.
    void selectFirst();
    // Selects exactly the listed files among those shown; the first becomes current.
    void selectPaths(const QSet<QString>& paths);
    void selectAll();
    void focusResults();

    // The view now shown (the grid or the list).
    QAbstractItemView* currentView() const;
    QListView* gridView() const { return m_grid; }
    QTreeView* listView() const { return m_list; }

Q_SIGNALS:
    void selectionChanged();
    // Double click or Return.
    void activated(const fennic::FileItem& item);
    void contextMenuRequested(const QPoint& globalPos);
    // Asks for the card size to change by `step` (positive: bigger).
    void zoomRequested(double step);
    // Up on the first row: focus goes back to where the request is typed.
    void moveOutOfTop();
    // A column header was clicked: the list should be in this order.
    void sortRequested(fennic::SortKey key, bool ascending);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool viewKeyPress(QAbstractItemView* view, QKeyEvent* event);
    bool isOnFirstRow(QAbstractItemView* view) const;
    void headerClicked(int section);
    void showSortIndicator();
    void showPage();
    void updateGridSize();
    void scheduleVisibleUpdate();
    void updateVisible();
    bool restoreSelection(const QStringList& paths, const QString& current);
    QList<int> selectedRows() const;
    void updateEmptyLook();

    ThumbnailLoader& m_thumbnails;
    BrowserModel* m_model;
    QItemSelectionModel* m_selection;
    CardDelegate* m_cards;
    QStackedWidget* m_stack;
    QListView* m_grid;
    QTreeView* m_list;
    QWidget* m_emptyPage;
    QLabel* m_emptyIcon;
    QLabel* m_emptyTitle;
    QLabel* m_emptyDetail;
    QTimer m_visibleTimer;
    QSize m_cardHint;
    int m_cellWidth = 0;

    ViewMode m_mode = ViewMode::grid;
    SortKey m_sortKey = SortKey::dateAdded;
    bool m_ascending = false;
    std::optional<EmptyState> m_empty;
    int m_wheelAngle = 0;  // Ctrl+wheel turn not yet acted on, in eighths of a degree
};

}  // namespace fennic
