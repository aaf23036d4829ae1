#pragma once

#include "model/FileItem.h"
#include "theme/ThemeStyle.h"

#include <QHash>
#include <QList>
#include <QWidget>

class QToolButton;

namespace fennic {

class ThumbnailLoader;

// A short row of files as small cards: the thumbnail (its type's icon until the loader has
// one) over the name. Each card is a button with the file's name for screen readers;
// pressing one (click, Space, Return) reports the file. A file that stays in the row keeps
// its card when the row is refreshed, so the focus stays on it. A narrow row shows the cards that fit
// and hides the rest, so the row never makes the page wider than the window.
class FileStrip : public QWidget {
    Q_OBJECT

public:
    static constexpr int kThumbSize = 88;
    static constexpr int kCardWidth = kThumbSize + 16;
    static constexpr int kGap = 8;

    explicit FileStrip(ThumbnailLoader& thumbnails, QWidget* parent = nullptr);

    void setFiles(const QList<FileItem>& files);
    const QList<FileItem>& files() const { return m_files; }
    void setThemeStyle(const ThemeStyle& theme);
    // The cards, in order.
    QList<QToolButton*> cards() const { return m_cards; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

Q_SIGNALS:
    void activated(const fennic::FileItem& item);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void placeCards();
    QToolButton* newCard();
    void showFile(qsizetype index);
    void showThumbnail(const QString& path, const QImage& image);
    QIcon typeIcon(const FileItem& item) const;
    QPixmap rounded(const QImage& image) const;

    ThumbnailLoader& m_thumbnails;
    QList<FileItem> m_files;
    QList<QToolButton*> m_cards;
    QHash<QString, QToolButton*> m_byPath;
    ThemeStyle m_theme;
};

}  // namespace fennic
