#include "FileStrip.h"

#include "theme/Labels.h"
#include "thumbnails/ThumbnailLoader.h"

#include <QApplication>
#include <QMimeDatabase>
#include <QPainter>
#include <QPainterPath>
#include <QToolButton>
#include <cmath>
#include <utility>

namespace fennic {

FileStrip::FileStrip(ThumbnailLoader& thumbnails, QWidget* parent)
    : QWidget(parent), m_thumbnails(thumbnails), m_theme(Theme::playful, QApplication::palette())
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(&m_thumbnails, &ThumbnailLoader::ready, this, &FileStrip::showThumbnail);
}

void FileStrip::setFiles(const QList<FileItem>& files)
{
    // A file still in the row keeps its card, wherever it moves, and a card whose file left
    // takes a new one: the card under the person's keys keeps the focus while a scan refreshes
    // the row, and a screen reader hears only the cards whose file changed.
    QHash<QString, FileItem> shown;
    for (const FileItem& item : std::as_const(m_files)) shown.insert(item.path, item);
    QHash<QString, QToolButton*> byPath = std::exchange(m_byPath, {});
    QList<QToolButton*> cards(files.size(), nullptr);
    QList<bool> kept(files.size(), false);  // the card showed this file already
    for (qsizetype i = 0; i < files.size(); ++i) {
        cards[i] = byPath.take(files.at(i).path);
        kept[i] = cards[i] != nullptr;
    }
    QList<QToolButton*> spare;
    for (QToolButton* card : std::as_const(m_cards))
        if (!cards.contains(card)) spare << card;

    m_files = files;
    for (qsizetype i = 0; i < files.size(); ++i) {
        const FileItem& item = files.at(i);
        if (!cards[i]) cards[i] = spare.isEmpty() ? newCard() : spare.takeFirst();
        m_byPath.insert(item.path, cards[i]);
    }
    for (QToolButton* card : std::as_const(spare)) {
        card->hide();
        card->deleteLater();
    }
    m_cards = cards;
    for (qsizetype i = 0; i < files.size(); ++i) {
        const FileItem& item = files.at(i);
        const auto before = shown.constFind(item.path);
        const bool same =
            kept.at(i) && before->name == item.name && before->modified == item.modified && before->ext == item.ext;
        if (!same) showFile(i);
        if (i > 0) setTabOrder(m_cards.at(i - 1), m_cards.at(i));
    }
    placeCards();
    updateGeometry();
}

QToolButton* FileStrip::newCard()
{
    auto* card = new QToolButton(this);
    card->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    card->setAutoRaise(true);
    card->setFocusPolicy(Qt::StrongFocus);
    card->setIconSize(QSize(kThumbSize, kThumbSize));
    connect(card, &QToolButton::clicked, this, [this, card] {
        const qsizetype index = m_cards.indexOf(card);
        if (index >= 0 && index < m_files.size()) Q_EMIT activated(m_files.at(index));
    });
    return card;
}

void FileStrip::showFile(qsizetype index)
{
    const FileItem& item = m_files.at(index);
    QToolButton* card = m_cards.at(index);
    card->setText(QFontMetrics(font()).elidedText(item.name, Qt::ElideMiddle, kThumbSize + 8));
    setHint(card, item.name);
    setSpokenName(card, item.name);
    card->setAccessibleDescription(item.folderName());
    const auto cached = m_thumbnails.thumbnail({item.path, item.ext, qint64(std::floor(item.modified.toUnix()))});
    card->setIcon(cached ? QIcon(rounded(*cached)) : typeIcon(item));
}

void FileStrip::placeCards()
{
    int x = 0;
    for (QToolButton* card : std::as_const(m_cards)) {
        const QSize size(kCardWidth, card->sizeHint().height());
        const bool fits = x + size.width() <= width();
        card->setGeometry(QRect(QPoint(x, 0), size));
        card->setVisible(fits);
        x += size.width() + kGap;
    }
}

QSize FileStrip::sizeHint() const
{
    const int height = m_cards.isEmpty() ? 0 : m_cards.first()->sizeHint().height();
    const auto n = int(m_cards.size());
    return {n > 0 ? n * kCardWidth + (n - 1) * kGap : 0, height};
}

QSize FileStrip::minimumSizeHint() const { return {kCardWidth, sizeHint().height()}; }

void FileStrip::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    placeCards();
}

void FileStrip::setThemeStyle(const ThemeStyle& theme)
{
    m_theme = theme;
    // The thumbnails' corners follow the theme.
    for (qsizetype i = 0; i < m_files.size(); ++i) showFile(i);
}

void FileStrip::showThumbnail(const QString& path, const QImage& image)
{
    if (QToolButton* card = m_byPath.value(path)) card->setIcon(QIcon(rounded(image)));
}

QIcon FileStrip::typeIcon(const FileItem& item) const
{
    // By the name alone: the contents are never read here.
    static const QMimeDatabase types;
    const QMimeType type = types.mimeTypeForFile(item.name, QMimeDatabase::MatchExtension);
    QIcon icon = QIcon::fromTheme(type.iconName());
    if (icon.isNull())
        icon = QIcon::fromTheme(type.genericIconName(), QIcon::fromTheme(QStringLiteral("text-x-generic")));
    return icon;
}

QPixmap FileStrip::rounded(const QImage& image) const
{
    const qreal dpr = devicePixelRatioF();
    QPixmap out(QSize(kThumbSize, kThumbSize) * dpr);
    out.setDevicePixelRatio(dpr);
    out.fill(Qt::transparent);
    QPainter p(&out);
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::SmoothPixmapTransform);
    QPainterPath clip;
    const double radius = std::min(m_theme.cardRadius(), 10.0);
    clip.addRoundedRect(QRectF(0, 0, kThumbSize, kThumbSize), radius, radius);
    p.setClipPath(clip);
    // Fill the square, cropping the longer side.
    const QSizeF size = QSizeF(image.size()).scaled(QSizeF(kThumbSize, kThumbSize), Qt::KeepAspectRatioByExpanding);
    p.drawImage(QRectF((kThumbSize - size.width()) / 2, (kThumbSize - size.height()) / 2, size.width(), size.height()),
                image);
    return out;
}

}  // namespace fennic
