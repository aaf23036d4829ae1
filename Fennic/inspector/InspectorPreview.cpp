#include "InspectorPreview.h"

#include <QPainter>
#include <QPainterPath>
#include <algorithm>

namespace fennic {

namespace {

constexpr int kIconCardHeight = 160;
constexpr int kIconSide = 96;
// A very tall picture (a long screenshot) is shown at most this many widths high.
constexpr double kMaxAspect = 2.0;

}  // namespace

InspectorPreview::InspectorPreview(QWidget* parent) : QWidget(parent)
{
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    setMinimumHeight(64);
}

void InspectorPreview::setImage(const QImage& image)
{
    m_image = image;
    updateGeometry();
    update();
}

void InspectorPreview::setIcon(const QIcon& icon)
{
    m_icon = icon;
    update();
}

void InspectorPreview::setLines(const QList<TextLine>& lines)
{
    m_lines = lines;
    update();
}

void InspectorPreview::setLook(double radius, QColor card, QColor box)
{
    m_radius = radius;
    m_card = card;
    m_box = box;
    update();
}

int InspectorPreview::heightForWidth(int width) const
{
    if (m_image.isNull() || m_image.width() <= 0) return kIconCardHeight;
    const double aspect = std::min(kMaxAspect, double(m_image.height()) / m_image.width());
    return std::max(48, qRound(width * aspect));
}

QSize InspectorPreview::sizeHint() const { return {280, heightForWidth(280)}; }

QRectF InspectorPreview::imageRect() const
{
    if (m_image.isNull() || m_image.width() <= 0 || m_image.height() <= 0) return {};
    QSizeF size(m_image.size());
    size.scale(QSizeF(rect().size()), Qt::KeepAspectRatio);
    const QRectF area(rect());
    return {area.center().x() - size.width() / 2, area.center().y() - size.height() / 2, size.width(), size.height()};
}

QRectF InspectorPreview::lineRect(const TextLine& line, const QRectF& imageRect)
{
    const double left = imageRect.left() + double(line.x) * imageRect.width();
    const double top = imageRect.top() + (1.0 - double(line.y) - double(line.h)) * imageRect.height();
    return {left, top, double(line.w) * imageRect.width(), double(line.h) * imageRect.height()};
}

QList<QRectF> InspectorPreview::boxRects() const
{
    QList<QRectF> boxes;
    const QRectF area = imageRect();
    if (area.isEmpty()) return boxes;
    boxes.reserve(m_lines.size());
    for (const TextLine& line : m_lines) boxes.append(lineRect(line, area));
    return boxes;
}

void InspectorPreview::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::SmoothPixmapTransform);
    const QRectF area = imageRect();
    if (area.isEmpty()) {
        const QRectF card = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
        p.setPen(Qt::NoPen);
        p.setBrush(m_card.isValid() ? m_card : palette().color(QPalette::Base));
        p.drawRoundedRect(card, m_radius, m_radius);
        const int side = std::min({kIconSide, width() - 16, height() - 16});
        if (!m_icon.isNull() && side > 0) {
            const QRect iconRect(rect().center().x() - side / 2, rect().center().y() - side / 2, side, side);
            m_icon.paint(&p, iconRect);
        }
        return;
    }
    QPainterPath clip;
    clip.addRoundedRect(area, m_radius, m_radius);
    p.setClipPath(clip);
    p.drawImage(area, m_image);
    if (m_lines.isEmpty()) return;
    const QColor tint = m_box.isValid() ? m_box : palette().color(QPalette::Highlight);
    QColor fill = tint;
    fill.setAlphaF(0.22f);
    QColor edge = tint;
    edge.setAlphaF(0.85f);
    p.setPen(QPen(edge, 1.2));
    p.setBrush(fill);
    for (const QRectF& box : boxRects()) p.drawRoundedRect(box.adjusted(-1, -1, 1, 1), 2, 2);
}

}  // namespace fennic
