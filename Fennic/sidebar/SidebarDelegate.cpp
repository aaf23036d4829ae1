#include "SidebarDelegate.h"

#include "SidebarModel.h"

#include <QAbstractItemView>
#include <QLocale>
#include <QPainter>
#include <QPainterPath>

namespace fennic {

namespace {

constexpr int kSideMargin = 6;    // between the view's edge and a row's highlight
constexpr int kInnerMargin = 10;  // between the highlight's edge and the icon or count
constexpr int kIconSize = 16;
constexpr int kIconGap = 9;

QFont headerFont(const QFont& base)
{
    QFont font = base;
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * 0.82);
    else
        font.setPixelSize(std::max(9, font.pixelSize() * 82 / 100));
    font.setWeight(QFont::DemiBold);
    font.setCapitalization(QFont::AllUppercase);
    font.setLetterSpacing(QFont::PercentageSpacing, 106);
    return font;
}

QRect highlightRect(const QStyleOptionViewItem& option)
{
    return option.rect.adjusted(kSideMargin, 1, -kSideMargin, -1);
}

QRect iconRect(const QStyleOptionViewItem& option)
{
    const QRect r = highlightRect(option);
    return {r.left() + kInnerMargin, r.center().y() - kIconSize / 2 + 1, kIconSize, kIconSize};
}

}  // namespace

SidebarDelegate::SidebarDelegate(const ThemeStyle& style, QObject* parent) : QStyledItemDelegate(parent), m_style(style)
{ }

QSize SidebarDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const int width = option.rect.width() > 0 ? option.rect.width() : 180;
    if (index.data(SidebarModel::IsSectionRole).toBool()) {
        const QFontMetrics fm(headerFont(option.font));
        // More air above a section than inside it; the first needs less.
        return {width, fm.height() + (index.row() == 0 ? 10 : 20)};
    }
    return {width, std::max(option.fontMetrics.height() + 12, kIconSize + 14)};
}

void SidebarDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    if (index.data(SidebarModel::IsSectionRole).toBool())
        paintHeader(painter, option, index);
    else
        paintEntry(painter, option, index);
    painter->restore();
}

void SidebarDelegate::paintHeader(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const ThemeStyle style(m_style.theme(), option.palette);
    const QFont font = headerFont(option.font);
    painter->setFont(font);
    painter->setPen(style.secondaryText());
    const QRect text = option.rect.adjusted(kSideMargin + kInnerMargin, 0, -kSideMargin - kInnerMargin, -4);
    const QString title = QFontMetrics(font).elidedText(index.data().toString(), Qt::ElideRight, text.width());
    painter->drawText(text, Qt::AlignLeft | Qt::AlignBottom, title);
}

void SidebarDelegate::paintEntry(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const ThemeStyle style(m_style.theme(), option.palette);
    const QPalette& palette = option.palette;
    const bool playful = style.theme() == Theme::playful;
    const bool selected = option.state.testFlag(QStyle::State_Selected);
    const bool hovered = option.state.testFlag(QStyle::State_MouseOver);
    const auto* view = qobject_cast<const QAbstractItemView*>(option.widget);
    const bool focused = option.state.testFlag(QStyle::State_HasFocus) && view && view->hasFocus();
    const double radius = playful ? 8.0 : 4.0;

    // The highlight: a wash of the accent in the playful theme, the desktop's selection colour
    // (with its own text colour) in the minimal one.
    const QRectF box = QRectF(highlightRect(option)).adjusted(0.5, 0.5, -0.5, -0.5);
    QColor text = palette.color(QPalette::WindowText);
    QColor secondary = style.secondaryText();
    if (selected) {
        const QColor fill = playful ? ThemeStyle::withOpacity(style.accent(), style.isDark() ? 0.32 : 0.20)
                                    : palette.color(QPalette::Highlight);
        painter->setPen(Qt::NoPen);
        painter->setBrush(fill);
        painter->drawRoundedRect(box, radius, radius);
        if (!playful) text = secondary = palette.color(QPalette::HighlightedText);
    } else if (hovered) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(ThemeStyle::withOpacity(palette.color(QPalette::WindowText), 0.07));
        painter->drawRoundedRect(box, radius, radius);
    }
    if (focused) {
        QColor ring = playful ? style.accent() : palette.color(QPalette::Highlight);
        if (selected && !playful) ring = palette.color(QPalette::HighlightedText);
        painter->setPen(QPen(ring, 1.5));
        painter->setBrush(Qt::NoBrush);
        painter->drawRoundedRect(box.adjusted(0.75, 0.75, -0.75, -0.75), radius, radius);
    }

    // The icon, on a soft backdrop of its kind's tint in the playful theme.
    const QRect icon = iconRect(option);
    const QVariant tint = index.data(SidebarModel::TintRole);
    if (playful && tint.isValid()) {
        const QColor kind = style.kindColour(static_cast<FileKind>(tint.toInt()));
        painter->setPen(Qt::NoPen);
        painter->setBrush(ThemeStyle::withOpacity(kind, style.isDark() ? 0.38 : 0.24));
        painter->drawRoundedRect(QRectF(icon).adjusted(-3, -3, 3, 3), 5, 5);
    }
    const auto iconValue = index.data(Qt::DecorationRole).value<QIcon>();
    iconValue.paint(painter, icon, Qt::AlignCenter,
                    option.state.testFlag(QStyle::State_Enabled) ? QIcon::Normal : QIcon::Disabled);

    // The count, right-aligned.
    const QRect inner = highlightRect(option).adjusted(kInnerMargin, 0, -kInnerMargin, 0);
    int right = inner.right();
    const QVariant count = index.data(SidebarModel::CountRole);
    painter->setFont(option.font);
    if (count.isValid()) {
        const QString number = QLocale().toString(count.toLongLong());
        const int width = option.fontMetrics.horizontalAdvance(number);
        painter->setPen(secondary);
        painter->drawText(QRect(right - width + 1, inner.top(), width, inner.height()),
                          Qt::AlignRight | Qt::AlignVCenter, number);
        right -= width + 8;
    }
    // A pin for pinned folders, drawn so that it takes the text's colours.
    if (index.data(SidebarModel::PinnedRole).toBool()) {
        const QPointF head(right - 5.0, inner.center().y() - 2.5);
        painter->setPen(QPen(secondary, 1.6, Qt::SolidLine, Qt::RoundCap));
        painter->drawLine(head, head + QPointF(-3.5, 7.0));
        painter->setPen(Qt::NoPen);
        painter->setBrush(secondary);
        painter->drawEllipse(head, 3.5, 3.5);
        right -= 16;
    }

    const int left = icon.right() + 1 + kIconGap;
    const QRect titleRect(left, inner.top(), std::max(0, right - left), inner.height());
    painter->setPen(text);
    const QString title = option.fontMetrics.elidedText(index.data().toString(), Qt::ElideRight, titleRect.width());
    painter->drawText(titleRect, Qt::AlignLeft | Qt::AlignVCenter, title);
}

QWidget* SidebarDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                                       const QModelIndex& index) const
{
    QWidget* editor = QStyledItemDelegate::createEditor(parent, option, index);
    if (editor) editor->setAccessibleName(QStringLiteral("New name for %1").arg(index.data().toString()));
    return editor;
}

void SidebarDelegate::updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                                           const QModelIndex&) const
{
    const QRect inner = highlightRect(option);
    const int left = iconRect(option).right() + 1 + kIconGap - 4;
    editor->setGeometry(QRect(left, inner.top(), inner.right() - left - 4, inner.height()));
}

}  // namespace fennic
