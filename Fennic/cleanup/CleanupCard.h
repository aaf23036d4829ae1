#pragma once

#include "organise/CleanupKind.h"
#include "theme/ThemeStyle.h"

#include <QImage>
#include <QList>
#include <QWidget>

class QLabel;
class QPushButton;

namespace fennic {

class ThumbnailLoader;

// One clean-up rule's card on the overview: its icon, title and explanation, how many files
// it proposes and their size, a few of their pictures, and the "Review" button (reached with
// Tab; Space opens the review).
class CleanupCard : public QWidget {
    Q_OBJECT

public:
    // The pictures shown along the bottom of a card.
    static constexpr int kPreviewCount = 4;

    CleanupCard(CleanupKind kind, ThumbnailLoader& thumbnails, QWidget* parent = nullptr);

    CleanupKind kind() const { return m_kind; }
    void setSuggestion(const CleanupKinds::Suggestion& suggestion);
    void setThemeStyle(const ThemeStyle& style);
    // The paths whose pictures the card shows, for the loader's list of what is on screen.
    QStringList previewPaths() const;
    // "12 files · 3.4 GB"
    QString summary() const;
    QPushButton* reviewButton() const { return m_review; }

    // The icon that stands for a rule.
    static QString iconName(CleanupKind kind);

Q_SIGNALS:
    void reviewRequested(fennic::CleanupKind kind);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void showPreviews();
    void thumbnailReady(const QString& path, const QImage& image);

    const CleanupKind m_kind;
    ThumbnailLoader& m_thumbnails;
    ThemeStyle m_style;
    CleanupKinds::Suggestion m_suggestion;
    QLabel* m_icon;
    QLabel* m_title;
    QLabel* m_detail;
    QLabel* m_summary;
    QList<QLabel*> m_previews;
    QPushButton* m_review;
};

}  // namespace fennic
