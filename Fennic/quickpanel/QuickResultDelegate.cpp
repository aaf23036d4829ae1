#include "QuickResultDelegate.h"

#include "QuickResultModel.h"
#include "cleanup/FileRows.h"

#include <QApplication>
#include <QFontMetrics>
#include <QIcon>
#include <QPainter>
#include <QPainterPath>

namespace fennic {

namespace {

constexpr int kPad = 8;
constexpr int kPicture = 36;

QFont secondaryFont(const QFont& base)
{
    QFont font = base;
    font.setPointSizeF(base.pointSizeF() * 0.88);
    return font;
}

}  // namespace

QuickResultDelegate::QuickResultDelegate(QObject* parent)
    : QStyledItemDelegate(parent), m_theme(Theme::playful, QApplication::palette())
{ }

int QuickResultDelegate::rowHeight(const QFont& font)
{
    const int text = QFontMetrics(font).height() + QFontMetrics(secondaryFont(font)).height() + 2;
    return std::max(kPicture, text) + 2 * kPad;
}

QSize QuickResultDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const
{
    return {option.rect.width(), rowHeight(option.font)};
}

void QuickResultDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    const QPalette& palette = option.palette;
    const bool selected = option.state.testFlag(QStyle::State_Selected);
    const QRectF row = QRectF(option.rect).adjusted(4, 1, -4, -1);
    const double radius = std::min(m_theme.cardRadius(), 8.0);
    if (selected) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(palette.color(QPalette::Highlight));
        painter->drawRoundedRect(row, radius, radius);
    } else if (option.state.testFlag(QStyle::State_MouseOver)) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(ThemeStyle::withOpacity(palette.color(QPalette::Text), 0.06));
        painter->drawRoundedRect(row, radius, radius);
    }

    // The picture, cut to a rounded square; an icon stands on its own.
    const QRect picture(option.rect.left() + 4 + kPad, option.rect.center().y() - kPicture / 2 + 1, kPicture, kPicture);
    const QVariant decoration = index.data(Qt::DecorationRole);
    if (decoration.typeId() == QMetaType::QImage) {
        const qreal ratio = painter->device()->devicePixelRatioF();
        QPainterPath clip;
        clip.addRoundedRect(QRectF(picture), 6, 6);
        painter->setClipPath(clip);
        painter->drawPixmap(picture, FileRows::square(decoration.value<QImage>(), kPicture, ratio));
        painter->setClipping(false);
    } else if (decoration.typeId() == QMetaType::QIcon) {
        decoration.value<QIcon>().paint(painter, picture.adjusted(2, 2, -2, -2));
    }

    const QColor text = palette.color(selected ? QPalette::HighlightedText : QPalette::Text);
    const QColor soft = selected ? ThemeStyle::withOpacity(text, 0.8) : m_theme.secondaryText();
    const int left = picture.right() + 1 + kPad + 2;
    const int width = int(row.right()) - kPad - left;
    const QFont nameFont = option.font;
    const QFont smallFont = secondaryFont(option.font);
    const QFontMetrics nameMetrics(nameFont);
    const QFontMetrics smallMetrics(smallFont);
    const int block = nameMetrics.height() + 2 + smallMetrics.height();
    const int top = option.rect.center().y() - block / 2 + 1;

    painter->setFont(nameFont);
    painter->setPen(text);
    painter->drawText(QRect(left, top, width, nameMetrics.height()), Qt::AlignLeft | Qt::AlignVCenter,
                      nameMetrics.elidedText(index.data(Qt::DisplayRole).toString(), Qt::ElideMiddle, width));

    // The folder, then (for pictures found by what they show) the reason in the accent.
    const QRect second(left, top + nameMetrics.height() + 2, width, smallMetrics.height());
    painter->setFont(smallFont);
    const QString reason = index.data(QuickResultModel::ReasonRole).toString();
    int folderWidth = width;
    if (!reason.isEmpty()) {
        const QString shown = smallMetrics.elidedText(reason, Qt::ElideRight, width * 3 / 5);
        const int reasonWidth = smallMetrics.horizontalAdvance(shown);
        painter->setPen(selected ? text : m_theme.accent());
        painter->drawText(second, Qt::AlignRight | Qt::AlignVCenter, shown);
        folderWidth = width - reasonWidth - 12;
    }
    painter->setPen(soft);
    painter->drawText(QRect(second.left(), second.top(), std::max(0, folderWidth), second.height()),
                      Qt::AlignLeft | Qt::AlignVCenter,
                      smallMetrics.elidedText(index.data(QuickResultModel::FolderRole).toString(), Qt::ElideMiddle,
                                              std::max(0, folderWidth)));
    painter->restore();
}

}  // namespace fennic
