#include "FinderDelegate.h"

#include "FinderModel.h"
#include "theme/Icons.h"
#include "theme/ScaledPicture.h"

#include <QApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>

namespace fennic {

namespace {

constexpr int kMargin = 3;   // around the card, for its shadow and focus ring
constexpr int kPadding = 8;  // inside the card
constexpr int kTextGap = 6;  // between the picture and the name
constexpr int kBarHeight = 4;

QFont smallFont(const QFont& base)
{
    QFont font = base;
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * 0.88);
    else
        font.setPixelSize(std::max(8, int(font.pixelSize() * 0.88)));
    return font;
}

QString moreLikeThisText() { return QStringLiteral("More like this"); }

}  // namespace

FinderDelegate::FinderDelegate(QObject* parent)
    : QStyledItemDelegate(parent), m_style(Theme::playful, QApplication::palette())
{
    setThemeStyle(m_style);
}

void FinderDelegate::setThemeStyle(const ThemeStyle& style)
{
    m_style = style;
    m_placeholder = Icons::themed(QStringLiteral("image-x-generic"), style.palette());
    m_findIcon = Icons::themed(QStringLiteral("edit-find"), style.palette());
}

QRectF FinderDelegate::pictureRect(const QRect& rect)
{
    const QRectF card = QRectF(rect).adjusted(kMargin, kMargin, -kMargin, -kMargin);
    return {card.center().x() - kPictureSize / 2.0, card.top() + kPadding, double(kPictureSize), double(kPictureSize)};
}

QRect FinderDelegate::moreButtonRect(const QRect& rect, const QFont& font)
{
    const QRectF picture = pictureRect(rect);
    const QFontMetrics metrics(smallFont(font));
    const int height = metrics.height() + 8;
    const int width = std::min(int(picture.width()) - 12, metrics.horizontalAdvance(moreLikeThisText()) + height + 10);
    return {int(picture.right()) - 6 - width, int(picture.bottom()) - 6 - height, width, height};
}

QRectF FinderDelegate::boxOnPicture(const QRectF& box, const QRectF& target)
{
    // Lines are measured from the picture's lower left; the screen counts down from the top.
    return {target.left() + box.x() * target.width(), target.top() + (1.0 - box.y() - box.height()) * target.height(),
            box.width() * target.width(), box.height() * target.height()};
}

QSize FinderDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const
{
    const int nameHeight = QFontMetrics(option.font).lineSpacing();
    const int smallHeight = QFontMetrics(smallFont(option.font)).lineSpacing();
    return {kPictureSize + 2 * (kPadding + kMargin),
            2 * kMargin + kPadding + kPictureSize + kTextGap + nameHeight + smallHeight + 6 + smallHeight + kPadding};
}

void FinderDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const QPalette& palette = option.palette;
    const bool selected = option.state.testFlag(QStyle::State_Selected);
    const bool focused = option.state.testFlag(QStyle::State_HasFocus);
    const bool hovered = option.state.testFlag(QStyle::State_MouseOver);
    const bool playful = m_style.theme() == Theme::playful;
    const qreal radius = m_style.cardRadius();
    const QColor accent = m_style.accent();

    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setRenderHint(QPainter::SmoothPixmapTransform);

    const QRectF card = QRectF(option.rect).adjusted(kMargin, kMargin, -kMargin, -kMargin);
    m_style.paintCard(painter, card, palette, selected, focused, hovered);

    // The picture, and the lines holding the request's words marked on it.
    const QRectF picture = pictureRect(option.rect);
    const qreal pictureRadius = std::max(2.0, radius - kPadding / 2.0);
    const QVariant decoration = index.data(Qt::DecorationRole);
    const QImage image = decoration.typeId() == QMetaType::QImage ? decoration.value<QImage>() : QImage();
    if (!image.isNull()) {
        const QSizeF fitted = QSizeF(image.size()).scaled(picture.size(), Qt::KeepAspectRatio);
        const QRectF target(picture.center().x() - fitted.width() / 2, picture.center().y() - fitted.height() / 2,
                            fitted.width(), fitted.height());
        const qreal dpr = painter->device() ? painter->device()->devicePixelRatioF() : 1.0;
        QPixmap pixmap = scaledPicture(image, (target.size() * dpr).toSize().expandedTo(QSize(1, 1)));
        pixmap.setDevicePixelRatio(dpr);
        QPainterPath clip;
        clip.addRoundedRect(target, pictureRadius, pictureRadius);
        painter->save();
        painter->setClipPath(clip, Qt::IntersectClip);
        painter->drawPixmap(target, pixmap, QRectF(pixmap.rect()));
        const auto boxes = index.data(FinderModel::HighlightsRole).value<QList<QRectF>>();
        painter->setPen(QPen(ThemeStyle::withOpacity(accent, 0.9), 1.5));
        painter->setBrush(ThemeStyle::withOpacity(accent, 0.28));
        for (const QRectF& box : boxes)
            painter->drawRoundedRect(boxOnPicture(box, target).adjusted(-2, -2, 2, 2), 3, 3);
        painter->restore();
    } else {
        const QColor kind = m_style.kindColour(FileKind(index.data(FinderModel::KindRole).toInt()));
        painter->setPen(Qt::NoPen);
        painter->setBrush(ThemeStyle::withOpacity(kind, m_style.isDark() ? 0.22 : (playful ? 0.14 : 0.10)));
        painter->drawRoundedRect(picture, pictureRadius, pictureRadius);
        const int iconEdge = int(picture.width() * 0.4);
        const QRect iconRect(int(picture.center().x()) - iconEdge / 2, int(picture.center().y()) - iconEdge / 2,
                             iconEdge, iconEdge);
        m_placeholder.paint(painter, iconRect, Qt::AlignCenter, QIcon::Normal);
    }

    const QFont small = smallFont(option.font);
    if (hovered || selected) {
        // "More like this", over the picture's lower right corner.
        const QRect button = moreButtonRect(option.rect, option.font);
        painter->setPen(QPen(ThemeStyle::withOpacity(palette.color(QPalette::Text), 0.15), 1));
        painter->setBrush(ThemeStyle::withOpacity(palette.color(QPalette::Base), 0.92));
        painter->drawRoundedRect(QRectF(button).adjusted(0.5, 0.5, -0.5, -0.5), button.height() / 2.0,
                                 button.height() / 2.0);
        const int iconEdge = button.height() - 10;
        m_findIcon.paint(painter, QRect(button.left() + 7, button.top() + 5, iconEdge, iconEdge));
        painter->setFont(small);
        painter->setPen(palette.color(QPalette::Text));
        const QRect label = button.adjusted(iconEdge + 11, 0, -8, 0);
        painter->drawText(label, Qt::AlignVCenter | Qt::AlignLeft,
                          QFontMetrics(small).elidedText(moreLikeThisText(), Qt::ElideRight, label.width()));
    }

    // The name, why it was found, and how well it fits.
    const int textWidth = int(card.width()) - 2 * kPadding;
    const qreal left = card.left() + kPadding;
    qreal top = picture.bottom() + kTextGap;
    const QFontMetrics nameMetrics(option.font);
    painter->setFont(option.font);
    painter->setPen(palette.color(QPalette::Text));
    painter->drawText(QRectF(left, top, textWidth, nameMetrics.lineSpacing()), Qt::AlignHCenter | Qt::AlignTop,
                      nameMetrics.elidedText(index.data(Qt::DisplayRole).toString(), Qt::ElideMiddle, textWidth));
    top += nameMetrics.lineSpacing();

    const QFontMetrics smallMetrics(small);
    painter->setFont(small);
    painter->setPen(m_style.secondaryText());
    const QString reasons = index.data(FinderModel::ReasonsRole).toStringList().join(QStringLiteral(" · "));
    painter->drawText(QRectF(left, top, textWidth, smallMetrics.lineSpacing()), Qt::AlignHCenter | Qt::AlignTop,
                      smallMetrics.elidedText(reasons, Qt::ElideRight, textWidth));
    top += smallMetrics.lineSpacing() + 6;

    const float fit = std::clamp(index.data(FinderModel::FitRole).toFloat(), 0.0f, 1.0f);
    const QString percent = QStringLiteral("%1%").arg(std::lround(fit * 100));
    const int percentWidth = smallMetrics.horizontalAdvance(QStringLiteral("100%"));
    const QRectF track(left, top + (smallMetrics.lineSpacing() - kBarHeight) / 2.0, textWidth - percentWidth - 6,
                       kBarHeight);
    painter->setPen(Qt::NoPen);
    painter->setBrush(ThemeStyle::withOpacity(palette.color(QPalette::Text), m_style.isDark() ? 0.16 : 0.10));
    painter->drawRoundedRect(track, kBarHeight / 2.0, kBarHeight / 2.0);
    if (fit > 0.0f) {
        painter->setBrush(accent);
        const QRectF filled(track.left(), track.top(), std::max<qreal>(kBarHeight, track.width() * fit), kBarHeight);
        painter->drawRoundedRect(filled, kBarHeight / 2.0, kBarHeight / 2.0);
    }
    painter->setPen(m_style.secondaryText());
    painter->drawText(QRectF(track.right() + 6, top, percentWidth, smallMetrics.lineSpacing()),
                      Qt::AlignRight | Qt::AlignTop, percent);
    painter->restore();
}

bool FinderDelegate::editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                                 const QModelIndex& index)
{
    if (event->type() == QEvent::MouseButtonRelease) {
        const auto* mouse = static_cast<QMouseEvent*>(event);
        if (mouse->button() == Qt::LeftButton
            && moreButtonRect(option.rect, option.font).contains(mouse->position().toPoint())) {
            Q_EMIT moreLikeThisClicked(index);
            return true;
        }
    }
    return QStyledItemDelegate::editorEvent(event, model, option, index);
}

}  // namespace fennic
