#include "CleanupCard.h"

#include "FileRows.h"
#include "browser/BrowserModel.h"
#include "model/Fmt.h"
#include "theme/DesktopLook.h"
#include "theme/Icons.h"
#include "thumbnails/ThumbnailLoader.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QVBoxLayout>

namespace fennic {

namespace {

constexpr int kPreviewSize = 56;
constexpr int kIconSize = 32;

QPixmap squared(const QImage& image, int edge, qreal ratio, double radius)
{
    // Fills the square (cropping the long side) with rounded corners, as the grid's cards do.
    const int px = qRound(edge * ratio);
    const QImage scaled = image.scaled(px, px, Qt::KeepAspectRatioByExpanding, Qt::SmoothTransformation);
    QPixmap out(px, px);
    out.fill(Qt::transparent);
    QPainter p(&out);
    p.setRenderHint(QPainter::Antialiasing);
    QPainterPath clip;
    clip.addRoundedRect(QRectF(0, 0, px, px), radius * ratio, radius * ratio);
    p.setClipPath(clip);
    p.drawImage(QPoint((px - scaled.width()) / 2, (px - scaled.height()) / 2), scaled);
    p.end();
    out.setDevicePixelRatio(ratio);
    return out;
}

// The type's icon on a soft rounded tile, for files without a picture of their own.
QPixmap iconTile(const QIcon& icon, int edge, qreal ratio, double radius, const QColor& tint)
{
    const int px = qRound(edge * ratio);
    QPixmap out(px, px);
    out.fill(Qt::transparent);
    out.setDevicePixelRatio(ratio);
    QPainter p(&out);
    p.setRenderHint(QPainter::Antialiasing);
    QPainterPath tile;
    tile.addRoundedRect(QRectF(0, 0, edge, edge), radius, radius);
    p.fillPath(tile, tint);
    const int inset = edge / 5;
    icon.paint(&p, QRect(inset, inset, edge - 2 * inset, edge - 2 * inset));
    p.end();
    return out;
}

}  // namespace

CleanupCard::CleanupCard(CleanupKind kind, ThumbnailLoader& thumbnails, QWidget* parent)
    : QWidget(parent),
      m_kind(kind),
      m_thumbnails(thumbnails),
      m_style(Theme::playful, palette()),
      m_icon(new QLabel(this)),
      m_title(new QLabel(CleanupKinds::title(kind), this)),
      m_detail(new QLabel(CleanupKinds::detail(kind), this)),
      m_summary(new QLabel(this)),
      m_review(new QPushButton(QStringLiteral("Review"), this))
{
    m_suggestion.kind = kind;
    setAccessibleName(CleanupKinds::title(kind));
    setAccessibleDescription(CleanupKinds::detail(kind));
    setMinimumWidth(280);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);

    QFont titleFont = m_title->font();
    titleFont.setBold(true);
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.15);
    m_title->setFont(titleFont);
    m_title->setTextFormat(Qt::PlainText);
    m_title->setAccessibleName(CleanupKinds::title(kind));
    m_detail->setTextFormat(Qt::PlainText);
    m_detail->setWordWrap(true);
    m_detail->setAccessibleName(CleanupKinds::detail(kind));
    m_summary->setTextFormat(Qt::PlainText);
    m_icon->setFixedSize(kIconSize, kIconSize);
    m_icon->setAccessibleName(CleanupKinds::title(kind));
    m_review->setAccessibleName(QStringLiteral("Review ") + CleanupKinds::title(kind));
    m_review->setCursor(Qt::PointingHandCursor);
    m_review->setDefault(false);
    m_review->setAutoDefault(true);

    auto* top = new QHBoxLayout;
    top->setSpacing(12);
    top->addWidget(m_icon, 0, Qt::AlignTop);
    auto* words = new QVBoxLayout;
    words->setSpacing(2);
    words->addWidget(m_title);
    words->addWidget(m_detail);
    words->addStretch(1);
    top->addLayout(words, 1);

    auto* previews = new QHBoxLayout;
    previews->setSpacing(6);
    for (int i = 0; i < kPreviewCount; ++i) {
        auto* label = new QLabel(this);
        label->setFixedSize(kPreviewSize, kPreviewSize);
        label->setAlignment(Qt::AlignCenter);
        label->hide();
        m_previews.append(label);
        previews->addWidget(label);
    }
    previews->addStretch(1);

    auto* bottom = new QHBoxLayout;
    bottom->addWidget(m_summary, 1);
    bottom->addWidget(m_review);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(18, 16, 18, 16);
    column->setSpacing(10);
    column->addLayout(top);
    column->addLayout(previews);
    column->addLayout(bottom);

    connect(m_review, &QPushButton::clicked, this, [this] { Q_EMIT reviewRequested(m_kind); });
    connect(&m_thumbnails, &ThumbnailLoader::ready, this, &CleanupCard::thumbnailReady);
    setThemeStyle(m_style);
}

QString CleanupCard::iconName(CleanupKind kind)
{
    switch (kind) {
    case CleanupKind::downloads: return QStringLiteral("folder-download");
    case CleanupKind::installers: return QStringLiteral("package-x-generic");
    case CleanupKind::screenshots: return QStringLiteral("applets-screenshooter");
    case CleanupKind::videos: return QStringLiteral("video-x-generic");
    case CleanupKind::apps: return QStringLiteral("application-x-executable");
    case CleanupKind::large: return QStringLiteral("drive-harddisk");
    }
    return QStringLiteral("edit-clear");
}

void CleanupCard::setSuggestion(const CleanupKinds::Suggestion& suggestion)
{
    m_suggestion = suggestion;
    m_summary->setText(summary());
    m_summary->setAccessibleName(summary());
    m_review->setAccessibleDescription(summary());
    setAccessibleDescription(CleanupKinds::detail(m_kind) + QStringLiteral(". ") + summary());
    showPreviews();
}

QString CleanupCard::summary() const
{
    return Fmt::count(m_suggestion.files.size(), CleanupKinds::noun(m_kind))
        + QStringLiteral(" · ") + Fmt::size(m_suggestion.size());
}

void CleanupCard::setThemeStyle(const ThemeStyle& style)
{
    m_style = style;
    setPalette(style.palette());
    QPalette soft = style.palette();
    soft.setColor(QPalette::WindowText, style.secondaryText());
    m_detail->setPalette(soft);
    m_summary->setPalette(soft);
    m_icon->setPixmap(
        Icons::themed(iconName(m_kind), style.palette(), {QStringLiteral("edit-clear")}).pixmap(kIconSize, kIconSize));
    showPreviews();
    update();
}

QStringList CleanupCard::previewPaths() const
{
    QStringList paths;
    for (const FileItem& f : m_suggestion.files) {
        if (paths.size() == kPreviewCount) break;
        paths.append(f.path);
    }
    return paths;
}

void CleanupCard::showPreviews()
{
    const qreal ratio = devicePixelRatioF();
    for (int i = 0; i < kPreviewCount; ++i) {
        QLabel* label = m_previews.at(i);
        if (i >= m_suggestion.files.size()) {
            label->hide();
            continue;
        }
        const FileItem& item = m_suggestion.files.at(i);
        const QVariant picture = FileRows::picture(m_thumbnails, item);
        if (picture.userType() == QMetaType::QImage)
            label->setPixmap(squared(picture.value<QImage>(), kPreviewSize, ratio, m_style.cardRadius() / 2));
        else
            label->setPixmap(iconTile(picture.value<QIcon>(), kPreviewSize, ratio, m_style.cardRadius() / 2,
                                      ThemeStyle::withOpacity(m_style.palette().color(QPalette::WindowText), 0.06)));
        label->setAccessibleName(item.name);
        label->setToolTip(item.name);
        label->show();
    }
}

void CleanupCard::thumbnailReady(const QString& path, const QImage& image)
{
    const qsizetype shown = std::min<qsizetype>(kPreviewCount, m_suggestion.files.size());
    for (qsizetype i = 0; i < shown; ++i) {
        if (m_suggestion.files.at(i).path != path) continue;
        m_previews.at(i)->setPixmap(squared(image, kPreviewSize, devicePixelRatioF(), m_style.cardRadius() / 2));
    }
}

void CleanupCard::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QRectF box = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    const double radius = m_style.cardRadius();
    p.setBrush(m_style.cardBackground());
    const QColor outline = m_style.cardOutline();
    if (outline.alpha() > 0)
        p.setPen(QPen(outline, 1));
    else
        p.setPen(Qt::NoPen);
    p.drawRoundedRect(box, radius, radius);
}

}  // namespace fennic
