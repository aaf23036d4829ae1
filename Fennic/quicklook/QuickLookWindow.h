#pragma once

#include "PoolReply.h"
#include "model/FileItem.h"
#include "theme/ThemeStyle.h"

#include <QDialog>
#include <QImage>
#include <optional>

class QLabel;
class QPlainTextEdit;
class QStackedWidget;
class QToolButton;

namespace fennic {

// A quick, in-app look at one file without opening it: pictures fit to the window, the pages
// of a PDF, the start of a text file, a frame of a video, or for anything else its type's icon
// with name, size and kind. Everything is read on a pool thread; until it arrives the window
// shows the type's icon. Space or Esc closes it, Return opens the file in its default
// application, Page Up/Page Down (or the arrow keys) turn the pages of a PDF.
//
// Not modal: the window beside it keeps working, and showItem() switches files while open.
class QuickLookWindow : public QDialog {
    Q_OBJECT

public:
    // What the window shows.
    enum class Content : quint8 {
        loading,  // the type's icon while the file is read
        picture,
        pdf,
        text,
        video,    // a frame with a play symbol
        details,  // icon, name, size and kind: nothing to preview in this kind of file
        problem,  // the file vanished or can't be read; see problem()
    };

    explicit QuickLookWindow(QWidget* parent = nullptr);
    ~QuickLookWindow() override;

    // Shows the window (sized to about 70% of the parent window, centred on it) with this file;
    // while open, switches to it.
    void showItem(const FileItem& item);
    const FileItem& item() const { return m_item; }
    void setThemeStyle(const ThemeStyle& style);
    // A passive window is shown beside one that keeps the keyboard (the Quick Search panel,
    // whose keys move through the files it shows): it is never activated and takes no focus.
    void setPassive(bool passive);

    Content content() const { return m_content; }
    // The picture, page or video frame shown (null for text, details and problems).
    QImage shownImage() const;
    QString shownText() const;
    // Why the file can't be previewed, when content() is problem.
    const QString& problem() const { return m_problem; }
    // For PDFs: the page shown (from 0) and how many there are.
    int page() const { return m_page; }
    int pageCount() const { return m_pageCount; }
    // Turns to a page of the PDF shown (clamped); it arrives asynchronously.
    void showPage(int page);

Q_SIGNALS:
    // The window was closed (Esc, Space, the close button or the window manager).
    void closed();
    // What the file holds arrived and is shown (or the problem is).
    void contentShown();

public Q_SLOTS:
    void done(int result) override;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void placeOnParent();
    void showDetails(Content content);
    void showPicture(const QImage& image, Content content);
    void showProblem(const QString& reason);
    void updateCaption();
    void openExternally();
    QSize pictureBound() const;
    void applyStyle();

    FileItem m_item;
    std::optional<ThemeStyle> m_style;
    Content m_content = Content::loading;
    QString m_problem;
    QString m_caption;  // kind and size, or the page, beside the name
    int m_page = 0;
    int m_pageCount = 0;
    quint64 m_generation = 0;
    bool m_passive = false;  // results of an earlier file or page are dropped

    QLabel* m_name = nullptr;
    QLabel* m_info = nullptr;
    QToolButton* m_open = nullptr;
    QToolButton* m_close = nullptr;
    QStackedWidget* m_stack = nullptr;
    class QuickLookPicture* m_picture = nullptr;
    QPlainTextEdit* m_text = nullptr;
    QLabel* m_detailIcon = nullptr;
    QLabel* m_detailName = nullptr;
    QLabel* m_detailInfo = nullptr;
    QLabel* m_hint = nullptr;

    PoolReply m_reply{this};  // last: closed before the widgets go
};

}  // namespace fennic
