#pragma once

#include "theme/ThemeStyle.h"

#include <QStyledItemDelegate>

namespace fennic {

// Paints one Quick Search row: the picture or type icon in a rounded square, the name, and
// beneath it the folder and, for a picture found by what it shows or says, why.
class QuickResultDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    explicit QuickResultDelegate(QObject* parent = nullptr);

    void setThemeStyle(const ThemeStyle& theme) { m_theme = theme; }
    // The height of every row, from the font.
    static int rowHeight(const QFont& font);

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

private:
    ThemeStyle m_theme;
};

}  // namespace fennic
