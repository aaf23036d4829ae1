#pragma once

#include "app/SidebarItem.h"
#include "organise/CleanupKind.h"
#include "theme/ThemeStyle.h"

#include <QTimer>
#include <QWidget>
#include <optional>

class QLabel;
class QProgressBar;
class QPushButton;
class QStackedWidget;
class QTreeView;
class QGridLayout;

namespace fennic {

class AppModel;
class CleanupCard;
class CleanupReviewModel;
class ThumbnailLoader;

// The clean-up pages: an overview with one card per rule that has something to propose, and a
// review of one rule's files, every one ticked, where the person unticks what to keep and
// sends the rest to the Trash (the notice that follows offers Undo).
//
// It follows the library: the cards and the review change when the suggestions are derived
// anew, and files that leave the library leave the review at once. Opening a card or going
// back asks the window to select the matching sidebar entry (sidebarItemRequested); the
// window tells the page what the sidebar selected with setSidebarItem.
//
// Threads: GUI thread only; nothing here reads the disk (pictures come from the loader).
class CleanupPage : public QWidget {
    Q_OBJECT

public:
    enum class State {
        loading,   // the library is being read and nothing is derived yet
        empty,     // no rule proposes anything
        overview,  // the cards
        review,    // one rule's files
    };

    CleanupPage(AppModel& app, ThumbnailLoader& thumbnails, QWidget* parent = nullptr);
    ~CleanupPage() override;

    void setThemeStyle(const ThemeStyle& style);
    // `SidebarItem::page(Kind::cleanup)` shows the overview, `SidebarItem::cleanupCard(kind)`
    // that rule's review; other entries are ignored.
    void setSidebarItem(const SidebarItem& item);

    State state() const;
    // The rule under review, none on the overview.
    std::optional<CleanupKind> reviewedKind() const { return m_reviewed; }

    // Opens a rule's review / returns to the overview, and asks for the sidebar to follow.
    void review(CleanupKind kind);
    void back();
    // Ticks / unticks every file of the review.
    void selectAll();
    void selectNone();
    // Sends the review's ticked files to the Trash.
    void moveCheckedToTrash();

    // The card of a rule while it proposes something, else null.
    CleanupCard* card(CleanupKind kind) const;
    CleanupReviewModel& reviewModel() const { return *m_model; }
    QTreeView* reviewView() const { return m_list; }
    QPushButton* trashButton() const { return m_trash; }

Q_SIGNALS:
    // The sidebar should select this entry (a card was opened, or Back was pressed).
    void sidebarItemRequested(const fennic::SidebarItem& item);

private:
    QWidget* makeOverview();
    QWidget* makeReview();
    QWidget* makeMessage(QLabel*& icon, QLabel*& title, QLabel*& detail, QProgressBar* busy = nullptr);
    void refresh();
    void showEvent(QShowEvent* event) override;
    void showReview(std::optional<CleanupKind> kind);
    void filesRemoved(const QSet<QString>& paths);
    void updateTotals();
    void updateLook();
    void scheduleVisibleUpdate();
    void updateVisible();

    AppModel& m_app;
    ThumbnailLoader& m_thumbnails;
    ThemeStyle m_style;
    CleanupReviewModel* m_model;
    std::optional<CleanupKind> m_reviewed;
    QTimer m_refreshTimer;
    QTimer m_visibleTimer;
    bool m_stale = false;  // the library changed while another page was shown

    QStackedWidget* m_stack = nullptr;
    QWidget* m_overview = nullptr;
    QWidget* m_loading = nullptr;
    QWidget* m_empty = nullptr;
    QWidget* m_reviewPage = nullptr;
    QLabel* m_overviewTitle = nullptr;
    QLabel* m_overviewDetail = nullptr;
    QLabel* m_reclaimable = nullptr;
    QGridLayout* m_cardGrid = nullptr;
    QList<CleanupCard*> m_cards;  // one per rule, in the rules' order; hidden while empty
    QLabel* m_loadingIcon = nullptr;
    QLabel* m_loadingTitle = nullptr;
    QLabel* m_loadingDetail = nullptr;
    QLabel* m_emptyIcon = nullptr;
    QLabel* m_emptyTitle = nullptr;
    QLabel* m_emptyDetail = nullptr;

    QPushButton* m_back = nullptr;
    QLabel* m_reviewTitle = nullptr;
    QLabel* m_reviewDetail = nullptr;
    QStackedWidget* m_reviewStack = nullptr;
    QTreeView* m_list = nullptr;
    QLabel* m_reviewEmpty = nullptr;
    QPushButton* m_selectAll = nullptr;
    QPushButton* m_selectNone = nullptr;
    QLabel* m_total = nullptr;
    QPushButton* m_trash = nullptr;
};

}  // namespace fennic
