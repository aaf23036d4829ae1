#include "CardDelegate.h"

#include "BrowserModel.h"
#include "NameHighlight.h"
#include "model/Fmt.h"
#include "theme/ScaledPicture.h"

#include <QApplication>
#include <QPainter>
#include <QTextLayout>
#include <algorithm>
#include <cmath>
#include <memory>

namespace fennic {

namespace {

constexpr int kMargin = 3;   // around the card, for its shadow and focus ring
constexpr int kPadding = 8;  // inside the card, around the picture and the text
constexpr int kTextGap = 6;  // between the picture and the name
constexpr int kLineGap = 2;  // between the name and the detail

}  // namespace

CardDelegate::CardDelegate(QObject* parent)
    : QStyledItemDelegate(parent),
      m_style(Theme::playful, QApplication::palette()),
      m_cardSize(AppSettings::kDefaultCardSize)
{ }

void CardDelegate::setThemeStyle(const ThemeStyle& style)
{
    m_style = style;
    m_backgrounds.clear();
}

void CardDelegate::setCardSize(double size)
{
    m_cardSize = std::clamp(size, AppSettings::kMinCardSize, AppSettings::kMaxCardSize);
    m_backgrounds.clear();
}

void CardDelegate::setHighlight(const QStringList& words)
{
    if (words == m_words) return;
    m_words = words;
    m_names.clear();  // the marks belong to the words
}

void CardDelegate::setDetail(SortKey key) { m_detail = key; }

QFont CardDelegate::detailFont(const QFont& base) const
{
    QFont font = base;
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * 0.9);
    else
        font.setPixelSize(std::max(8, int(font.pixelSize() * 0.9)));
    return font;
}

QSize CardDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const
{
    const QSize card = cardHint(option);
    return {std::max(card.width(), m_cellWidth), card.height()};
}

QSize CardDelegate::cardHint(const QStyleOptionViewItem& option) const
{
    const int side = int(std::lround(m_cardSize));
    const int nameHeight = 2 * QFontMetrics(option.font).lineSpacing();
    const int detailHeight = QFontMetrics(detailFont(option.font)).lineSpacing();
    return {side + 2 * (kPadding + kMargin),
            2 * kMargin + kPadding + side + kTextGap + nameHeight + kLineGap + detailHeight + kPadding};
}

QStringList CardDelegate::nameLines(const QString& name, const QFont& font, int width)
{
    if (name.isEmpty() || width <= 0) return {name};
    QTextLayout layout(name, font);
    QTextOption wrap;
    wrap.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(wrap);
    layout.beginLayout();
    QTextLine first = layout.createLine();
    first.setLineWidth(width);
    QTextLine second = layout.createLine();
    if (second.isValid()) second.setLineWidth(width);
    const QTextLine third = layout.createLine();
    layout.endLayout();

    const QString firstText = name.mid(first.textStart(), first.textLength());
    if (!second.isValid()) return {firstText};
    if (!third.isValid()) return {firstText, name.mid(second.textStart(), second.textLength())};
    const QString rest = name.mid(second.textStart());
    return {firstText, QFontMetrics(font).elidedText(rest, Qt::ElideMiddle, width)};
}

const CardDelegate::LaidName& CardDelegate::laidName(const QString& name, const QFont& font, int width) const
{
    const QString key = name + u'\n' + QString::number(width) + u'\n' + fontKey(font);
    if (const LaidName* laid = m_names.object(key)) return *laid;

    auto laid = std::make_unique<LaidName>();
    const QStringList lines = nameLines(name, font, width);
    const QList<NameHighlight::Range> marks = NameHighlight::ranges(lines.join(QString()), m_words);
    qsizetype offset = 0;
    for (const QString& text : lines) {
        auto layout = std::make_shared<QTextLayout>(text, font);
        layout->setCacheEnabled(true);
        layout->beginLayout();
        QTextLine line = layout->createLine();
        if (line.isValid()) line.setLineWidth(1e6);
        layout->endLayout();
        QList<QRectF> boxes;
        if (line.isValid())
            for (const auto& range : marks) {
                const qsizetype start = std::max(range.start, offset);
                const qsizetype end = std::min(range.start + range.length, offset + text.size());
                if (start >= end) continue;
                const qreal x1 = line.cursorToX(int(start - offset));
                const qreal x2 = line.cursorToX(int(end - offset));
                boxes.append(QRectF(std::min(x1, x2) - 1.5, 0, std::abs(x2 - x1) + 3, line.height()));
            }
        laid->lines.append(layout);
        laid->widths.append(line.isValid() ? line.naturalTextWidth() : 0);
        laid->marks.append(boxes);
        offset += text.size();
    }
    const LaidName* kept = laid.get();
    m_names.insert(key, laid.release());
    return *kept;
}

const QStaticText& CardDelegate::laidDetail(const FileItem& item, const QFont& font, int width) const
{
    // Dates show to the minute, so a minute's worth of dates shares one entry.
    const bool dated = m_detail == SortKey::dateAdded || m_detail == SortKey::dateModified;
    const Date date = m_detail == SortKey::dateAdded ? item.added : item.modified;
    const qint64 value = dated ? qint64(std::floor(date.seconds / 60)) : item.size;
    const QString key = QString::number(int(dated ? m_detail : SortKey::size)) + u':' + QString::number(value) + u'\n'
        + QString::number(width) + u'\n' + fontKey(font);
    if (const QStaticText* laid = m_details.object(key)) return *laid;
    const QString detail = dated ? Fmt::date(date) : Fmt::size(item.size);
    auto laid = std::make_unique<QStaticText>(QFontMetrics(font).elidedText(detail, Qt::ElideRight, width));
    laid->setTextFormat(Qt::PlainText);
    laid->prepare(QTransform(), font);
    const QStaticText* kept = laid.get();
    m_details.insert(key, laid.release());
    return *kept;
}

const QString& CardDelegate::fontKey(const QFont& font) const
{
    // Two fonts at most: the name's and the detail's.
    for (const auto& [known, key] : m_fontKeys)
        if (known == font) return key;
    if (m_fontKeys.size() >= 4) m_fontKeys.clear();
    m_fontKeys.append({font, font.key()});
    return m_fontKeys.last().second;
}

QRectF CardDelegate::pictureRect(const QRectF& card) const
{
    const qreal side = std::round(m_cardSize);
    return {card.center().x() - side / 2, card.top() + kPadding - 1, side, side};
}

qreal CardDelegate::pictureRadius() const { return std::max(2.0, m_style.cardRadius() - kPadding / 2.0); }

QPixmap CardDelegate::background(const QStyleOptionViewItem& option, std::optional<FileKind> backdrop, qreal dpr) const
{
    const bool selected = option.state.testFlag(QStyle::State_Selected);
    const bool focused = option.state.testFlag(QStyle::State_HasFocus);
    const bool hovered = option.state.testFlag(QStyle::State_MouseOver);
    const QString key = QString::number(option.rect.width()) + u'x' + QString::number(option.rect.height()) + u' '
        + QString::number(dpr) + u' ' + QString::number(option.palette.cacheKey()) + u' '
        + QString::number(int(selected) | int(focused) << 1 | int(hovered) << 2) + u' '
        + QString::number(backdrop ? int(*backdrop) : -1);
    if (const auto it = m_backgrounds.constFind(key); it != m_backgrounds.cend()) return *it;

    // Drawn at the card's own offset within whole pixels, so the edges are smoothed exactly as
    // they would be on the view itself.
    QPixmap pixmap((QSizeF(option.rect.size()) * dpr).toSize());
    pixmap.setDevicePixelRatio(dpr);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF card =
        QRectF(QPointF(0, 0), QSizeF(option.rect.size())).adjusted(kMargin, kMargin, -kMargin, -kMargin);
    m_style.paintCard(&painter, card, option.palette, selected, focused, hovered);
    if (backdrop) {
        const bool playful = m_style.theme() == Theme::playful;
        const QColor kind = m_style.kindColour(*backdrop);
        painter.setPen(Qt::NoPen);
        painter.setBrush(ThemeStyle::withOpacity(kind, m_style.isDark() ? 0.22 : (playful ? 0.14 : 0.10)));
        painter.drawRoundedRect(pictureRect(card), pictureRadius(), pictureRadius());
    }
    painter.end();
    // A handful of looks at a time: card states times kinds, for one size and palette.
    if (m_backgrounds.size() >= 64) m_backgrounds.clear();
    m_backgrounds.insert(key, pixmap);
    return pixmap;
}

void CardDelegate::paint(QPainter* painter, const QStyleOptionViewItem& cell, const QModelIndex& index) const
{
    if (cell.rect.isEmpty()) return;  // a row the view has not placed yet
    QStyleOptionViewItem option = cell;
    const int width = std::min(cell.rect.width(), int(std::lround(m_cardSize)) + 2 * (kPadding + kMargin));
    option.rect = QRect(cell.rect.x() + (cell.rect.width() - width) / 2, cell.rect.y(), width, cell.rect.height());

    const QVariant itemValue = index.data(BrowserModel::ItemRole);
    if (!itemValue.canConvert<FileItem>()) return;
    const FileItem item = itemValue.value<FileItem>();
    const QPalette& palette = option.palette;
    const QColor accent = m_style.accent();

    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    // No smoothing of pictures here: the card's body and its picture are copied at whole pixels,
    // and with smoothing on the raster engine would blend them row by row on its thread pool.
    painter->setRenderHint(QPainter::SmoothPixmapTransform, false);

    const QRectF card = QRectF(option.rect).adjusted(kMargin, kMargin, -kMargin, -kMargin);
    const QRectF picture = pictureRect(card);
    const QVariant decoration = index.data(Qt::DecorationRole);
    const QImage image = decoration.typeId() == QMetaType::QImage ? decoration.value<QImage>() : QImage();
    const qreal dpr = painter->device() ? painter->device()->devicePixelRatioF() : 1.0;
    // The card, with the picture's tinted backdrop while it has no thumbnail.
    const std::optional<FileKind> backdrop = image.isNull() ? std::optional(item.kind) : std::nullopt;
    painter->drawPixmap(option.rect.topLeft(), background(option, backdrop, dpr));

    // The picture.
    const qreal side = picture.width();
    if (!image.isNull()) {
        const QSizeF fitted = QSizeF(image.size()).scaled(picture.size(), Qt::KeepAspectRatio);
        const QRectF target(picture.center().x() - fitted.width() / 2, picture.center().y() - fitted.height() / 2,
                            fitted.width(), fitted.height());
        drawRoundedPicture(painter, image, target, pictureRadius());
    } else {
        const QIcon icon = decoration.typeId() == QMetaType::QIcon ? decoration.value<QIcon>() : QIcon();
        const int iconEdge = int(side * 0.48);
        const QRect iconRect(int(picture.center().x()) - iconEdge / 2, int(picture.center().y()) - iconEdge / 2,
                             iconEdge, iconEdge);
        painter->setRenderHint(QPainter::SmoothPixmapTransform);  // an icon may be scaled to fit
        icon.paint(painter, iconRect, Qt::AlignCenter, QIcon::Normal);
        painter->setRenderHint(QPainter::SmoothPixmapTransform, false);
    }

    // The name, its marked words, and the detail.
    const int textWidth = int(card.width()) - 2 * kPadding;
    const QFontMetricsF nameMetrics(option.font);
    qreal top = picture.bottom() + kTextGap;
    const LaidName& name = laidName(item.displayName(), option.font, textWidth);
    const QColor markColour = ThemeStyle::withOpacity(accent, m_style.isDark() ? 0.45 : 0.28);
    for (qsizetype i = 0; i < name.lines.size(); ++i) {
        const QPointF topLeft(card.center().x() - name.widths[i] / 2, top);
        painter->setPen(Qt::NoPen);
        painter->setBrush(markColour);
        for (const QRectF& box : name.marks[i]) painter->drawRoundedRect(box.translated(topLeft), 3, 3);
        painter->setPen(palette.color(QPalette::Text));
        name.lines[i]->draw(painter, topLeft);
        top += nameMetrics.lineSpacing();
    }
    if (name.lines.size() < 2) top += nameMetrics.lineSpacing();

    const QFont small = detailFont(option.font);
    const QStaticText& laid = laidDetail(item, small, textWidth);
    painter->setFont(small);
    painter->setPen(m_style.secondaryText());
    painter->drawStaticText(QPointF(card.left() + kPadding + (textWidth - laid.size().width()) / 2, top + kLineGap),
                            laid);
    painter->restore();
}

}  // namespace fennic
