#pragma once

#include "model/FileItem.h"
#include "theme/ThemeStyle.h"

#include <QHash>
#include <QList>
#include <QWidget>

class QHBoxLayout;
class QToolButton;

namespace fennic {

class ThumbnailLoader;

// A short row of files as small cards: the thumbnail (its type's icon until the loader has
// one) over the name. Each card is a button with the file's name for screen readers;
// pressing one (click, Space, Return) reports the file.
class FileStrip : public QWidget {
    Q_OBJECT

public:
    static constexpr int kThumbSize = 88;

    explicit FileStrip(ThumbnailLoader& thumbnails, QWidget* parent = nullptr);

    void setFiles(const QList<FileItem>& files);
    const QList<FileItem>& files() const { return m_files; }
    void setThemeStyle(const ThemeStyle& theme);
    // The cards, in order.
    QList<QToolButton*> cards() const { return m_cards; }

Q_SIGNALS:
    void activated(const fennic::FileItem& item);

private:
    void showThumbnail(const QString& path, const QImage& image);
    QIcon typeIcon(const FileItem& item) const;
    QPixmap rounded(const QImage& image) const;

    ThumbnailLoader& m_thumbnails;
    QHBoxLayout* m_row;
    QList<FileItem> m_files;
    QList<QToolButton*> m_cards;
    QHash<QString, QToolButton*> m_byPath;
    ThemeStyle m_theme;
};

}  // namespace fennic
