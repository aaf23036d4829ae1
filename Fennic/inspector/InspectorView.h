#pragma once

#include "images/ImageRecord.h"
#include "model/FileItem.h"
#include "quicklook/PoolReply.h"
#include "theme/ThemeStyle.h"

#include <QImage>
#include <QList>
#include <QPointer>
#include <QRectF>
#include <QStringList>
#include <QWidget>
#include <optional>

class QLabel;
class QMenu;
class QLineEdit;
class QScrollArea;
class QToolButton;
class QVBoxLayout;

namespace fennic {

class AppModel;
class InspectorPreview;
class ThumbnailLoader;

// The side pane that describes the selection. Nothing selected: a quiet hint. Several files:
// their count and total size, with the actions that apply to all. One file: a preview, its
// name, kind, size, dates, folder and origin, its star, tags and collections, and for pictures
// the text read in them (boxed over the preview, listed below with the searched words
// emphasised) and their labels.
//
// Follows the shelf and the image index for the file shown. Never reads the disk on the GUI
// thread: previews and picture sizes are read on a pool thread and arrive through `previewReady`.
class InspectorView : public QWidget {
    Q_OBJECT

public:
    static constexpr int kPreferredWidth = 300;

    explicit InspectorView(AppModel& app, QWidget* parent = nullptr);
    ~InspectorView() override;

    void setItems(const QList<FileItem>& selection);
    const QList<FileItem>& items() const { return m_items; }
    // The words of the current search: matching words of a picture's text are emphasised.
    void setHighlight(const QStringList& words);
    void setThemeStyle(const ThemeStyle& style);
    // Thumbnails for files that aren't pictures (optional; without one they show their type's icon).
    void setThumbnailLoader(ThumbnailLoader* loader);

    // Whether the one file's picture or thumbnail is shown (rather than its type's icon).
    bool previewShown() const;
    // The boxes of the recognised lines over the preview, in this widget's coordinates.
    QList<QRectF> textBoxRects() const;

    QSize sizeHint() const override { return {kPreferredWidth, 600}; }

Q_SIGNALS:
    void moreLikeThis(const QString& path);
    // The one file's picture or thumbnail arrived and is shown.
    void previewReady(const QString& path);

protected:
    void changeEvent(QEvent* event) override;

private:
    void rebuild();
    void buildEmpty();
    void buildMany();
    void buildOne(const FileItem& item);
    void loadPreview(const FileItem& item);
    void showThumbnail(const QString& path, const QImage& image);
    void refreshShelf();
    void refreshRecord();
    void refreshText();
    void addTagFromField();
    QMenu* collectionMenu(QWidget* parent);
    QLabel* heading(const QString& text);
    QLabel* value(const QString& text, const QString& accessibleName);
    void addRow(const QString& title, QWidget* value);
    ThemeStyle style() const;
    std::optional<ImageRecord> recordOf(const QString& path) const;

    AppModel& m_app;
    QList<FileItem> m_items;
    QStringList m_highlight;  // folded
    std::optional<ThemeStyle> m_style;
    QPointer<ThumbnailLoader> m_thumbnails;
    quint64 m_generation = 0;
    // The last preview read, kept so that a restyle or a shelf change never reads it again.
    QString m_previewPath;
    QImage m_previewImage;
    QSize m_pixelSize;  // read off the GUI thread when the image index has no record

    QScrollArea* m_scroll = nullptr;
    QWidget* m_content = nullptr;
    QVBoxLayout* m_layout = nullptr;
    // Parts of the one-file view that follow the shelf and the image index.
    InspectorPreview* m_preview = nullptr;
    QToolButton* m_star = nullptr;
    QWidget* m_tags = nullptr;
    QLineEdit* m_addTag = nullptr;
    QLabel* m_collections = nullptr;
    QLabel* m_pixels = nullptr;
    QLabel* m_pixelsHeading = nullptr;
    QWidget* m_textSection = nullptr;
    QLabel* m_textHeading = nullptr;
    QLabel* m_text = nullptr;
    QLabel* m_labelsHeading = nullptr;
    QWidget* m_labels = nullptr;
    QWidget* m_grid = nullptr;

    PoolReply m_reply{this};  // last: closed before the widgets go
};

}  // namespace fennic
