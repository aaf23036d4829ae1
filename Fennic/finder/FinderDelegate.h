#pragma once

#include "theme/ThemeStyle.h"

#include <QIcon>
#include <QStyledItemDelegate>

namespace fennic {

// Paints one found picture as a card: the thumbnail with the lines that hold the request's
// words marked on it in translucent accent, the name, why it was found, and a small bar for
// how well it fits. A hovered or selected card shows a "More like this" button on its picture.
// Every card has the same size, so the grid lays out thousands without measuring each.
class FinderDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    explicit FinderDelegate(QObject* parent = nullptr);

    void setThemeStyle(const ThemeStyle& style);
    // The edge of the picture square, in device-independent pixels.
    static constexpr int kPictureSize = 168;

    // Where the picture is drawn inside a card at `rect`, and where its "More like this" button is.
    static QRectF pictureRect(const QRect& rect);
    static QRect moreButtonRect(const QRect& rect, const QFont& font);
    // A highlight box (TextLine fractions, lower-left origin) over a picture drawn at `target`.
    static QRectF boxOnPicture(const QRectF& box, const QRectF& target);

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;

Q_SIGNALS:
    void moreLikeThisClicked(const QModelIndex& index);

protected:
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override;

private:
    ThemeStyle m_style;
    QIcon m_placeholder;
    QIcon m_findIcon;
};

}  // namespace fennic
