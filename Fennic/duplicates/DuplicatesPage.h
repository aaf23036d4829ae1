#pragma once

#include "theme/ThemeStyle.h"

#include <QTimer>
#include <QWidget>

class QLabel;
class QListView;
class QModelIndex;
class QProgressBar;
class QPushButton;
class QStackedWidget;

namespace fennic {

class AppModel;
class DuplicatesDelegate;
class DuplicatesModel;
class ThumbnailLoader;

// The duplicates page: what it does and the "Find duplicates" button before a search, the
// search's progress while it runs, then the identical copies and the look-alike photos, group
// by group, each with the member that stays marked "Keep". Any other member can be kept
// instead (its button, or Return on its row); one button sends every member not marked Keep
// to the Trash, and the notice that follows offers Undo. Groups leave the list as their files
// leave the library.
//
// The list is one model and one view with rows of one height, so thousands of groups open at
// once, and only the rows on screen ask for pictures.
//
// Threads: GUI thread only; the search runs on the application's pool.
class DuplicatesPage : public QWidget {
    Q_OBJECT

public:
    enum class State {
        start,      // no search yet
        searching,  // a search runs
        results,    // groups to review
        empty,      // the search found none (or every group was dealt with)
    };

    DuplicatesPage(AppModel& app, ThumbnailLoader& thumbnails, QWidget* parent = nullptr);
    ~DuplicatesPage() override;

    void setThemeStyle(const ThemeStyle& style);
    State state() const;

    // Starts a search (ignored while one runs).
    void findDuplicates();
    // Keeps the member at `path` in its group instead of the one kept now.
    void keepInstead(const QString& path);
    // Sends every member not marked Keep, of every group, to the Trash.
    void moveCopiesToTrash();
    // What moveCopiesToTrash would free.
    qint64 reclaimable() const;

    DuplicatesModel& model() const { return *m_model; }
    QListView* view() const { return m_view; }
    QPushButton* findButton() const { return m_find; }
    QPushButton* cleanButton() const { return m_clean; }
    QProgressBar* progressBar() const { return m_progress; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* makeStart();
    QWidget* makeSearching();
    QWidget* makeResults();
    QWidget* makeEmpty();
    void follow();
    void groupsChanged();
    void progressChanged();
    void rowActivated(const QModelIndex& index);
    void updateLook();
    void scheduleVisibleUpdate();
    void updateVisible();

    AppModel& m_app;
    ThumbnailLoader& m_thumbnails;
    ThemeStyle m_style;
    DuplicatesModel* m_model;
    DuplicatesDelegate* m_delegate;
    QTimer m_visibleTimer;
    int m_hoveredRow = -1;  // the row under the pointer, whose button lights up

    QLabel* m_title = nullptr;
    QLabel* m_explanation = nullptr;
    QStackedWidget* m_stack = nullptr;
    QWidget* m_start = nullptr;
    QWidget* m_searching = nullptr;
    QWidget* m_results = nullptr;
    QWidget* m_empty = nullptr;
    QLabel* m_startIcon = nullptr;
    QPushButton* m_find = nullptr;
    QProgressBar* m_progress = nullptr;
    QLabel* m_progressText = nullptr;
    QLabel* m_keepNote = nullptr;
    QListView* m_view = nullptr;
    QLabel* m_total = nullptr;
    QPushButton* m_again = nullptr;
    QPushButton* m_clean = nullptr;
    QLabel* m_emptyIcon = nullptr;
    QLabel* m_emptyTitle = nullptr;
    QLabel* m_emptyDetail = nullptr;
    QPushButton* m_emptyAgain = nullptr;
};

}  // namespace fennic
