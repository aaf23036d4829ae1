#pragma once

#include "theme/ThemeStyle.h"

#include <QStyledItemDelegate>

namespace fennic {

// Paints the rows of the duplicates list, all of one height: headings in large type, a
// group's summary on a tinted band, and each member with its picture, name, folder, size and
// date, and on the right either the "Keep" mark or a "Keep this copy instead" button. A click
// on that button asks for the member to be kept (keepRequested); the page also takes Return
// on a member row for the same thing.
class DuplicatesDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    static constexpr int kRowHeight = 56;
    static constexpr int kPictureSize = 40;

    explicit DuplicatesDelegate(QObject* parent = nullptr);

    void setThemeStyle(const ThemeStyle& style);

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override;

    // Where a member row's button (or its Keep mark) sits within the row.
    static QRect keepRect(const QRect& row, const QFontMetrics& metrics);

Q_SIGNALS:
    void keepRequested(const QModelIndex& index);

private:
    void paintSection(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;
    void paintGroup(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;
    void paintMember(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;

    ThemeStyle m_style;
};

}  // namespace fennic
