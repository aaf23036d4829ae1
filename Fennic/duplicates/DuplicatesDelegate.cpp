#include "DuplicatesDelegate.h"

#include "DuplicatesModel.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QIcon>
#include <QImage>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QStyle>
#include <QStyleOptionButton>

namespace fennic {

namespace {

constexpr int kIndent = 28;
constexpr int kGap = 12;
constexpr int kSizeWidth = 80;
constexpr int kDateWidth = 150;

QString keepText() { return QStringLiteral("Keep this copy instead"); }

}  // namespace

DuplicatesDelegate::DuplicatesDelegate(QObject* parent)
    : QStyledItemDelegate(parent), m_style(Theme::playful, QApplication::palette())
{ }

void DuplicatesDelegate::setThemeStyle(const ThemeStyle& style) { m_style = style; }

QSize DuplicatesDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const
{
    return {option.rect.width() > 0 ? option.rect.width() : 600, kRowHeight};
}

QRect DuplicatesDelegate::keepRect(const QRect& row, const QFontMetrics& metrics)
{
    const int width = metrics.horizontalAdvance(keepText()) + 32;
    const int height = std::min(row.height() - 16, metrics.height() + 14);
    return {row.right() - kGap - width, row.top() + (row.height() - height) / 2, width, height};
}

void DuplicatesDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    switch (DuplicatesModel::RowKind(index.data(DuplicatesModel::RowKindRole).toInt())) {
    case DuplicatesModel::RowKind::section: paintSection(painter, option, index); break;
    case DuplicatesModel::RowKind::group: paintGroup(painter, option, index); break;
    case DuplicatesModel::RowKind::member: paintMember(painter, option, index); break;
    }
    painter->restore();
}

void DuplicatesDelegate::paintSection(QPainter* painter, const QStyleOptionViewItem& option,
                                      const QModelIndex& index) const
{
    const QRect r = option.rect.adjusted(kGap, 0, -kGap, 0);
    QFont title = option.font;
    title.setBold(true);
    title.setPointSizeF(title.pointSizeF() * 1.3);
    painter->setFont(title);
    painter->setPen(option.palette.color(QPalette::Text));
    const QString text = index.data(Qt::DisplayRole).toString();
    const QRect textBox = r.adjusted(0, 14, 0, 0);
    painter->drawText(textBox, Qt::AlignLeft | Qt::AlignVCenter, text);
    const int used = QFontMetrics(title).horizontalAdvance(text);
    painter->setFont(option.font);
    painter->setPen(m_style.secondaryText());
    painter->drawText(textBox.adjusted(used + kGap, 0, 0, 0), Qt::AlignLeft | Qt::AlignVCenter,
                      index.data(DuplicatesModel::DetailRole).toString());
}

void DuplicatesDelegate::paintGroup(QPainter* painter, const QStyleOptionViewItem& option,
                                    const QModelIndex& index) const
{
    const QRectF band = QRectF(option.rect).adjusted(kGap / 2.0, 10, -kGap / 2.0, -2);
    const double radius = std::min(m_style.cardRadius(), band.height() / 2);
    painter->setPen(Qt::NoPen);
    painter->setBrush(m_style.cardBackground());
    painter->drawRoundedRect(band, radius, radius);
    if (option.state & QStyle::State_Selected) {
        painter->setBrush(ThemeStyle::withOpacity(m_style.accent(), 0.18));
        painter->drawRoundedRect(band, radius, radius);
    }
    if (option.state & QStyle::State_HasFocus) {
        painter->setBrush(Qt::NoBrush);
        painter->setPen(QPen(m_style.accent(), 2));
        painter->drawRoundedRect(band.adjusted(1, 1, -1, -1), radius, radius);
    }
    const QRect text = band.toRect().adjusted(kGap, 0, -kGap, 0);
    QFont bold = option.font;
    bold.setBold(true);
    painter->setFont(bold);
    painter->setPen(option.palette.color(QPalette::Text));
    const QString title = index.data(Qt::DisplayRole).toString();
    painter->drawText(text, Qt::AlignLeft | Qt::AlignVCenter, title);
    painter->setFont(option.font);
    painter->setPen(m_style.secondaryText());
    painter->drawText(text, Qt::AlignRight | Qt::AlignVCenter, index.data(DuplicatesModel::DetailRole).toString());
}

void DuplicatesDelegate::paintMember(QPainter* painter, const QStyleOptionViewItem& option,
                                     const QModelIndex& index) const
{
    const QRect row = option.rect;
    const QPalette& pal = option.palette;
    if (option.state & (QStyle::State_Selected | QStyle::State_HasFocus)) {
        const QRectF band = QRectF(row).adjusted(kGap / 2.0, 2, -kGap / 2.0, -2);
        const double radius = std::min(m_style.cardRadius(), band.height() / 2);
        painter->setPen(Qt::NoPen);
        painter->setBrush(
            ThemeStyle::withOpacity(m_style.accent(), (option.state & QStyle::State_Selected) ? 0.18 : 0.0));
        painter->drawRoundedRect(band, radius, radius);
        if (option.state & QStyle::State_HasFocus) {
            painter->setBrush(Qt::NoBrush);
            painter->setPen(QPen(m_style.accent(), 2));
            painter->drawRoundedRect(band.adjusted(1, 1, -1, -1), radius, radius);
        }
    }

    // The picture: the thumbnail filling a rounded square, or the type's icon on a soft tile.
    const QRect picture(row.left() + kIndent, row.top() + (row.height() - kPictureSize) / 2, kPictureSize,
                        kPictureSize);
    const double radius = std::max(4.0, m_style.cardRadius() / 2);
    const QVariant decoration = index.data(Qt::DecorationRole);
    QPainterPath clip;
    clip.addRoundedRect(QRectF(picture), radius, radius);
    if (decoration.userType() == QMetaType::QImage) {
        const QImage image = decoration.value<QImage>();
        const QSizeF fill = QSizeF(image.size()).scaled(QSizeF(picture.size()), Qt::KeepAspectRatioByExpanding);
        const QRectF target(
            QPointF(picture.center().x() + 0.5 - fill.width() / 2, picture.center().y() + 0.5 - fill.height() / 2),
            fill);
        painter->save();
        painter->setClipPath(clip);
        painter->setRenderHint(QPainter::SmoothPixmapTransform);
        painter->drawImage(target, image);
        painter->restore();
    } else {
        painter->fillPath(clip, ThemeStyle::withOpacity(pal.color(QPalette::Text), 0.06));
        const QIcon icon = decoration.value<QIcon>();
        icon.paint(painter, picture.adjusted(6, 6, -6, -6));
    }

    const bool kept = index.data(DuplicatesModel::KeptRole).toBool();
    const QFontMetrics metrics(option.font);
    const QRect keep = keepRect(row, metrics);
    int right = keep.left() - kGap;
    const QRect date(right - kDateWidth, row.top(), kDateWidth, row.height());
    right = date.left() - kGap;
    const QRect size(right - kSizeWidth, row.top(), kSizeWidth, row.height());
    right = size.left() - kGap;

    const int textLeft = picture.right() + kGap;
    const QRect words(textLeft, row.top() + 8, std::max(0, right - textLeft), row.height() - 16);
    QFont nameFont = option.font;
    if (kept) nameFont.setBold(true);
    painter->setFont(nameFont);
    painter->setPen(pal.color(QPalette::Text));
    const QString name = index.data(Qt::DisplayRole).toString();
    painter->drawText(words, Qt::AlignLeft | Qt::AlignTop,
                      QFontMetrics(nameFont).elidedText(name, Qt::ElideMiddle, words.width()));
    painter->setFont(option.font);
    painter->setPen(m_style.secondaryText());
    const QString folder = index.data(DuplicatesModel::DetailRole).toString();
    painter->drawText(words, Qt::AlignLeft | Qt::AlignBottom,
                      metrics.elidedText(folder, Qt::ElideMiddle, words.width()));
    painter->drawText(size, Qt::AlignRight | Qt::AlignVCenter, index.data(DuplicatesModel::SizeRole).toString());
    painter->drawText(date, Qt::AlignRight | Qt::AlignVCenter,
                      metrics.elidedText(index.data(DuplicatesModel::DateRole).toString(), Qt::ElideRight, kDateWidth));

    if (kept) {
        // The kept member wears a filled mark in the accent, where the others have a button.
        const QString mark = QStringLiteral("Keep");
        QFont bold = option.font;
        bold.setBold(true);
        const int width = QFontMetrics(bold).horizontalAdvance(mark) + 28;
        const QRectF pill(keep.right() - width, keep.top() + 2, width, keep.height() - 4);
        painter->setPen(Qt::NoPen);
        painter->setBrush(m_style.accent());
        painter->drawRoundedRect(pill, pill.height() / 2, pill.height() / 2);
        painter->setFont(bold);
        painter->setPen(pal.color(QPalette::HighlightedText));
        painter->drawText(pill, Qt::AlignCenter, mark);
    } else {
        QStyleOptionButton button;
        button.rect = keep;
        button.text = keepText();
        button.palette = pal;
        button.fontMetrics = metrics;
        button.state = QStyle::State_Enabled | QStyle::State_Raised;
        if (const auto* view = qobject_cast<const QAbstractItemView*>(option.widget)) {
            if (keep.contains(view->viewport()->mapFromGlobal(QCursor::pos()))) button.state |= QStyle::State_MouseOver;
        }
        const QWidget* widget = option.widget;
        QStyle* style = widget ? widget->style() : QApplication::style();
        style->drawControl(QStyle::CE_PushButton, &button, painter, widget);
    }
}

bool DuplicatesDelegate::editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                                     const QModelIndex& index)
{
    if (event->type() == QEvent::MouseButtonRelease
        && DuplicatesModel::RowKind(index.data(DuplicatesModel::RowKindRole).toInt())
            == DuplicatesModel::RowKind::member
        && !index.data(DuplicatesModel::KeptRole).toBool()) {
        const auto* mouse = static_cast<QMouseEvent*>(event);
        if (mouse->button() == Qt::LeftButton
            && keepRect(option.rect, QFontMetrics(option.font)).contains(mouse->position().toPoint())) {
            Q_EMIT keepRequested(index);
            return true;
        }
    }
    return QStyledItemDelegate::editorEvent(event, model, option, index);
}

}  // namespace fennic
