#pragma once

#include "model/FileItem.h"
#include "search/ParsedQuery.h"

#include <QList>
#include <QObject>
#include <QTimer>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>

namespace fennic {

class AppModel;

// One row of the Quick Search panel: a file, why it matched, and whether it was found by what
// the picture shows or says rather than by its name.
struct QuickResult {
    FileItem item;
    std::optional<QString> reason;
    bool isImageMatch = false;
    friend bool operator==(const QuickResult&, const QuickResult&) = default;
};

// The model of the Quick Search panel: the request, at most twelve results from the app model's
// library and image index, the selected row and short flash confirmations. GUI thread only;
// the panel's view binds to it.
class QuickSearchModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString query READ query WRITE setQuery NOTIFY queryChanged)
    Q_PROPERTY(int index READ index NOTIFY indexChanged)
    Q_PROPERTY(bool browsing READ browsing NOTIFY browsingChanged)
    Q_PROPERTY(bool searching READ searching NOTIFY searchingChanged)
    Q_PROPERTY(bool previewing READ previewing WRITE setPreviewing NOTIFY previewingChanged)
    Q_PROPERTY(QString flash READ flashText NOTIFY flashChanged)

public:
    static constexpr int kMaxResults = 12;

    explicit QuickSearchModel(AppModel& app, QObject* parent = nullptr);
    ~QuickSearchModel() override;

    const QString& query() const { return m_query; }
    void setQuery(const QString& text);
    const QList<QuickResult>& results() const { return m_results; }
    int index() const { return m_index; }
    bool browsing() const { return m_browsing; }
    // The request changed and its rows are still being looked for (the last request's stay
    // shown meanwhile).
    bool searching() const { return m_searching; }
    bool previewing() const { return m_previewing; }
    void setPreviewing(bool on);
    const std::optional<QString>& flash() const { return m_flash; }
    QString flashText() const { return m_flash.value_or(QString()); }
    std::optional<QuickResult> selected() const;

    // Moves the selection by `step` rows, kept within the list; nothing on an empty list.
    void move(int step);
    // Shows a short confirmation that clears itself.
    void show(const QString& flash);
    // Re-reads the results for the current request on a pool thread: the files the request's
    // filters hold for, then pictures found by what they show or say, each added when found
    // unless the request changed meanwhile. An empty request clears them at once.
    void recompute();

    // Ctrl+T: the recognised text of the selected picture, or none (and the flash "No text in this
    // one").
    std::optional<QString> copyText();
    // Ctrl+Backspace: moves the selected file to the Trash through the app model (which offers Undo).
    void trashSelected();

    // What the panel's keys do outside the panel. By default: the desktop's opener for files
    // and folders, and the clipboard.
    struct Actions {
        std::function<void(const QString& path)> open;
        std::function<void(const QString& path)> reveal;
        std::function<void(const QString& path)> copyImage;
        std::function<void(const QString& text)> copyText;
    };
    static Actions desktopActions();
    Actions actions = desktopActions();

    // The panel's keys: Down and Up move; Enter opens the selected file; Space, once browsing,
    // toggles the preview; Esc closes the preview, then the panel; Ctrl+C copies the picture
    // (unless the field has a selection, which the field copies); Ctrl+T copies its text;
    // Ctrl+R shows it in its folder; Ctrl+Backspace (or Ctrl+Del) moves it to the Trash. True
    // when the key was used.
    bool handle(int key, Qt::KeyboardModifiers modifiers, bool fieldHasSelection);

    static constexpr const char* kHelp =
        "A small panel opens over any app: Enter opens, Space previews, Ctrl+C copies the image, Ctrl+T its text, "
        "Ctrl+R shows it in the file manager, Ctrl+Backspace moves it to the Trash.";

    std::function<void()> close;

Q_SIGNALS:
    void queryChanged();
    void resultsChanged();
    void indexChanged();
    void browsingChanged();
    void searchingChanged();
    void previewingChanged();
    void flashChanged();

private:
    static QuickResult resultFor(const FileItem& item, const ParsedQuery& parsed);
    void setResults(const QList<QuickResult>& results);
    void setSearching(bool on);

    AppModel& m_app;
    int m_generation = 0;
    QString m_query;
    QList<QuickResult> m_results;
    int m_index = 0;
    bool m_browsing = false;
    bool m_searching = false;
    std::shared_ptr<std::atomic<bool>> m_cancel;  // set when the search under way is no longer wanted
    bool m_previewing = false;
    std::optional<QString> m_flash;
    QTimer m_flashTimer;
};

}  // namespace fennic
