#include "FileStrip.h"

#include "thumbnails/ThumbnailLoader.h"

#include <QApplication>
#include <QMimeDatabase>
#include <QPainter>
#include <QPainterPath>
#include <QToolButton>
#include <cmath>

namespace fennic {

FileStrip::FileStrip(ThumbnailLoader& thumbnails, QWidget* parent)
    : QWidget(parent), m_thumbnails(thumbnails), m_theme(Theme::playful, QApplication::palette())
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(&m_thumbnails, &ThumbnailLoader::ready, this, &FileStrip::showThumbnail);
}

void FileStrip::setFiles(const QList<FileItem>& files)
{
    m_files = files;
    for (QToolButton* card : std::as_const(m_cards)) {
        card->hide();
        card->deleteLater();
    }
    m_cards.clear();
    m_byPath.clear();

    const QFontMetrics fm(font());
    for (qsizetype i = 0; i < files.size(); ++i) {
        const FileItem& item = files.at(i);
        auto* card = new QToolButton(this);
        card->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
        card->setAutoRaise(true);
        card->setFocusPolicy(Qt::StrongFocus);
        card->setIconSize(QSize(kThumbSize, kThumbSize));
        card->setText(fm.elidedText(item.name, Qt::ElideMiddle, kThumbSize + 8));
        card->setToolTip(item.name);
        card->setAccessibleName(item.name);
        card->setAccessibleDescription(item.folderName());
        const auto cached = m_thumbnails.thumbnail({item.path, item.ext, qint64(std::floor(item.modified.toUnix()))});
        card->setIcon(cached ? QIcon(rounded(*cached)) : typeIcon(item));
        connect(card, &QToolButton::clicked, this, [this, item] { Q_EMIT activated(item); });
        m_cards.append(card);
        m_byPath.insert(item.path, card);
    }
    placeCards();
    updateGeometry();
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
    setFiles(m_files);  // the thumbnails' corners follow the theme
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
