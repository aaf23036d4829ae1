#pragma once

#include "ImageFinder.h"
#include "app/SearchSession.h"
#include "quicklook/PoolReply.h"
#include "theme/ThemeStyle.h"

#include <QList>
#include <QTimer>
#include <QWidget>
#include <memory>
#include <optional>

class QAbstractButton;
class QButtonGroup;
class QCheckBox;
class QComboBox;
class QLabel;
class QListView;
class QPushButton;
class QStackedWidget;

namespace fennic {

class AppModel;
class AskBar;
class FinderDelegate;
class FinderModel;
class ThumbnailLoader;

// Find Images: pictures found by the words written in them, by what they show, or by likeness
// to one picture. The description field, the mode and "More like this" are the search session's
// (findQuery, findMode, similarTo), so they survive leaving the page; the filters are the page's.
//
// The search runs on a pool thread over the library's pictures that have been read, the newest
// request winning, and the results come back as a grid of cards: the picture with the lines
// that hold the request's words marked on it, the name, why it was found and how well it fits.
// While pictures are being read a line says how far it got, with a button to pause; the results
// follow the reading as it goes.
//
// Keys: Return or a double click opens the picture with the desktop's application; Down in the
// field moves into the results; the context menu offers "More like this".
class FindImagesPage : public QWidget {
    Q_OBJECT

public:
    FindImagesPage(AppModel& app, ThumbnailLoader& thumbnails, QWidget* parent = nullptr);
    ~FindImagesPage() override;

    void setThemeStyle(const ThemeStyle& style);

    // What the page shows instead of the grid; none while it shows results.
    struct EmptyState {
        QString title;
        QString detail;
        bool examples = false;  // the example descriptions are offered
        friend bool operator==(const EmptyState&, const EmptyState&) = default;
    };
    const std::optional<EmptyState>& emptyState() const { return m_emptyState; }
    // A search for the current request is under way.
    bool isSearching() const { return m_shownGeneration != m_generation; }

    // The parts, for the window's focus chain and for tests.
    AskBar* askBar() const { return m_ask; }
    QAbstractButton* modeButton(FindMode mode) const;
    QCheckBox* favouritesOnlyBox() const { return m_favouritesOnly; }
    QComboBox* tagBox() const { return m_tags; }
    QPushButton* backButton() const { return m_back; }
    QPushButton* moreLikeThisButton() const { return m_more; }
    QPushButton* pauseButton() const { return m_pause; }
    QLabel* progressLabel() const { return m_progress; }
    QList<QPushButton*> exampleButtons() const { return m_examples; }
    QListView* grid() const { return m_grid; }
    FinderModel& results() const { return *m_model; }

    // "More like this" for the current picture.
    void showMoreLikeCurrent();
    // Puts the keyboard focus in the description field.
    void focusField();

Q_SIGNALS:
    // The pictures shown changed (a search came back).
    void resultsChanged();

protected:
    void showEvent(QShowEvent* event) override;

private:
    QWidget* buildHeader();
    QWidget* buildEmptyPage();
    void requestSearch();
    void startSearch();
    void applyResults(const QList<FoundPicture>& found);
    void updateModeButtons();
    void updateTags();
    void updateProgress();
    void updateSimilarBar();
    void updateState();
    void updateLook();
    void openCurrent();
    void showContextMenu(const QPoint& position);
    QString currentPath() const;

    AppModel& m_app;
    ThumbnailLoader& m_thumbnails;
    ThemeStyle m_style;
    AskBar* m_ask;
    QButtonGroup* m_modes;
    QCheckBox* m_favouritesOnly;
    QComboBox* m_tags;
    QWidget* m_similarBar;
    QLabel* m_similarLabel;
    QPushButton* m_back;
    QWidget* m_progressBar;
    QLabel* m_progress;
    QPushButton* m_pause;
    int m_pauseIconFor = -1;  // the paused state the pause button's icon shows, for this look
    QLabel* m_count;
    QPushButton* m_more;
    QStackedWidget* m_stack;
    QListView* m_grid;
    FinderModel* m_model;
    FinderDelegate* m_delegate;
    QWidget* m_emptyPage;
    QLabel* m_emptyIcon;
    QLabel* m_emptyTitle;
    QLabel* m_emptyDetail;
    QWidget* m_examplesRow;
    QList<QPushButton*> m_examples;
    std::optional<EmptyState> m_emptyState;

    QTimer m_requestTimer;         // gathers changes that come together into one search
    QTimer m_followTimer;          // follows the reading of pictures, at most once a second
    QTimer m_loadingTimer;         // shows the loading state only when a search takes a while
    QTimer m_progressTimer;        // follows the reading's count a few times a second
    bool m_progressStale = false;  // the count moved while another page was shown
    bool m_loadingShown = false;
    bool m_searchOnShow = false;                              // a change came while hidden: search when shown again
    std::shared_ptr<const ImageFinder::Pictures> m_pictures;  // none: gather again
    int m_picturesVersion = 0;                                // counts changes of the library and the records
    int m_generation = 0;                                     // of the newest request
    int m_shownGeneration = 0;                                // of the results shown
    PoolReply m_reply{this};
};

}  // namespace fennic
