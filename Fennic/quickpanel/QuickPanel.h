#pragma once

#include "quick/QuickSearchModel.h"
#include "theme/ThemeStyle.h"

#include <QWidget>
#include <memory>

class QLabel;
class QListView;

namespace fennic {

class AppModel;
class AskBar;
class QuickLookWindow;
class QuickResultDelegate;
class QuickResultModel;
class ThumbnailLoader;

// The Quick Search panel: a small frameless window centred near the top of the screen, above
// other applications, with an Ask field, the best dozen matches for what is typed (following
// every keystroke), short confirmations and a line of help. The keyboard does everything:
// Up and Down move, Return opens, Space previews, Esc closes the preview and then the panel,
// Ctrl+C, Ctrl+T, Ctrl+R and Ctrl+Backspace act on the selected file. It closes when it loses
// the focus, as a panel summoned over another application should.
//
//   QuickPanel panel(app, thumbnails);
//   panel.present();   // from the global shortcut or `fennic --quick-search`
class QuickPanel : public QWidget {
    Q_OBJECT

public:
    QuickPanel(AppModel& app, ThumbnailLoader& thumbnails, QWidget* parent = nullptr);
    ~QuickPanel() override;

    QuickSearchModel& model() { return m_model; }
    AskBar* askBar() const { return m_ask; }
    QListView* resultList() const { return m_list; }
    // The flash and the empty-result line as shown (empty when hidden).
    QString flashText() const;
    QString emptyText() const;
    // The preview beside the panel, once one was opened.
    QuickLookWindow* preview() const { return m_preview.get(); }

    void setThemeStyle(const ThemeStyle& theme);

    // Shows the panel over whatever is in front, on the screen under the pointer, with the
    // field focused and the last request selected so that typing replaces it.
    void present();
    // Hides the panel and its preview.
    void dismiss();

Q_SIGNALS:
    void presented();
    void dismissed();

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    bool handleKey(QKeyEvent* event);
    void resultsChanged();
    void selectionFromModel();
    void previewChanged();
    void placeOnScreen();
    void placePreview();
    void fitHeight();
    void applyStyle();

    QuickSearchModel m_model;
    ThumbnailLoader& m_thumbnails;
    ThemeStyle m_theme;
    AskBar* m_ask;
    QLabel* m_flash;
    QListView* m_list;
    QuickResultModel* m_rows;
    QuickResultDelegate* m_delegate;
    QLabel* m_empty;
    QLabel* m_help;
    std::unique_ptr<QuickLookWindow> m_preview;
};

}  // namespace fennic
