#pragma once

#include "theme/ThemeStyle.h"

#include <QStyledItemDelegate>

namespace fennic {

// Draws the sidebar's rows: section headers in small capitals of the secondary text colour,
// entries with their icon (on a kind-tinted backdrop in the playful theme), the title, a pin
// for pinned folders and the count on the right. Text colours come from the palette, tints
// from the ThemeStyle.
class SidebarDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    explicit SidebarDelegate(const ThemeStyle& style, QObject* parent = nullptr);

    void setThemeStyle(const ThemeStyle& style) { m_style = style; }
    const ThemeStyle& themeStyle() const { return m_style; }

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    // A line edit for renaming in place, named for screen readers.
    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const override;

private:
    void paintHeader(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;
    void paintEntry(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;

    ThemeStyle m_style;
};

}  // namespace fennic
