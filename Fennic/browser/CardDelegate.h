#pragma once

#include "search/SortKey.h"
#include "theme/ThemeStyle.h"

#include "model/FileKind.h"

#include <QCache>
#include <QHash>
#include <QPixmap>
#include <QStaticText>
#include <QStringList>
#include <QStyledItemDelegate>
#include <QTextLayout>
#include <memory>
#include <optional>

namespace fennic {

// Paints one file of the grid as a card: its thumbnail (or its type's icon on a backdrop
// tinted by its kind while there is none), its name on up to two lines with the words of the
// request marked, and one detail below. The picture is a square of the card size; the text
// adds a fixed height below it. Every card has the same size, so the grid lays out 250,000 of
// them without measuring each.
//
// The look follows the ThemeStyle: playful cards are rounded, warm and softly shadowed,
// minimal cards are flat with a hairline outline. Colours come from the view's palette and the
// style's tints only.
class CardDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    explicit CardDelegate(QObject* parent = nullptr);

    void setThemeStyle(const ThemeStyle& style);
    const ThemeStyle& themeStyle() const { return m_style; }
    // The edge of the picture square, in device-independent pixels.
    void setCardSize(double size);
    double cardSize() const { return m_cardSize; }
    // Words to mark in names (compared folded).
    void setHighlight(const QStringList& words);
    // The detail under the name: the date the list is sorted by, or the size otherwise.
    void setDetail(SortKey key);

    // The card's own size, and the width of the grid's cells: a cell wider than its card shares
    // out the row's spare width, and the card is drawn centred in it.
    QSize cardHint(const QStyleOptionViewItem& option) const;
    void setCellWidth(int width) { m_cellWidth = width; }

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;

    // The name as a card shows it in `width` pixels: one or two lines; when two are not
    // enough, the second loses its middle to an ellipsis so the end (the extension) stays.
    static QStringList nameLines(const QString& name, const QFont& font, int width);

private:
    // A card's name laid out once: its lines ready to draw and the boxes of its marked words,
    // relative to each line's top left. Scrolling repaints the same cards again and again, and
    // laying out text is most of what painting a card costs.
    struct LaidName {
        QList<std::shared_ptr<QTextLayout>> lines;
        QList<qreal> widths;
        QList<QList<QRectF>> marks;
    };
    const LaidName& laidName(const QString& name, const QFont& font, int width) const;
    // The item's detail line (its size or a date, after the sort) elided to `width`, formatted
    // and laid out once per value.
    const QStaticText& laidDetail(const FileItem& item, const QFont& font, int width) const;
    // `font.key()`, remembered: the key is formatted from every attribute of the font, and
    // each card's cache lookups need it at every paint.
    const QString& fontKey(const QFont& font) const;
    QFont detailFont(const QFont& base) const;
    // Where the picture goes within a card.
    QRectF pictureRect(const QRectF& card) const;
    qreal pictureRadius() const;
    // The card's body (shadow, fill, selection and focus) over the whole cell, and the
    // picture's tinted backdrop when a kind is given. Smoothing rounded edges is most of what
    // a card without text changes costs, and every card in one state looks the same, so each
    // look is drawn once and copied.
    QPixmap background(const QStyleOptionViewItem& option, std::optional<FileKind> backdrop, qreal dpr) const;

    ThemeStyle m_style;
    double m_cardSize;
    int m_cellWidth = 0;
    QStringList m_words;
    SortKey m_detail = SortKey::name;
    mutable QCache<QString, LaidName> m_names{4000};
    mutable QCache<QString, QStaticText> m_details{1000};
    mutable QList<std::pair<QFont, QString>> m_fontKeys;
    mutable QHash<QString, QPixmap> m_backgrounds;
};

}  // namespace fennic
