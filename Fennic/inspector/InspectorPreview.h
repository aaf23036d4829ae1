#pragma once

#include "images/ImageRecord.h"

#include <QColor>
#include <QIcon>
#include <QImage>
#include <QList>
#include <QRectF>
#include <QWidget>

namespace fennic {

// The inspector's preview: the picture (or a thumbnail, or the type's icon) scaled to the
// pane's width with rounded corners, and the lines of text recognised in it drawn over it as
// translucent boxes.
class InspectorPreview : public QWidget {
public:
    explicit InspectorPreview(QWidget* parent = nullptr);

    // A picture drawn edge to edge, with the text boxes over it.
    void setImage(const QImage& image);
    // The type's icon in the middle of a card, while there is no picture (or for good).
    void setIcon(const QIcon& icon);
    bool hasImage() const { return !m_image.isNull(); }
    const QImage& image() const { return m_image; }
    void setLines(const QList<TextLine>& lines);
    void setLook(double radius, QColor card, QColor box);

    // Where the picture is drawn, in this widget's coordinates; empty without a picture.
    QRectF imageRect() const;
    // The boxes of the recognised lines in this widget's coordinates, in the order of the lines.
    QList<QRectF> boxRects() const;
    // One line's box over a picture drawn at `imageRect`. The line's fractions have their origin
    // at the picture's lower left; widgets count from the top, so y is flipped.
    static QRectF lineRect(const TextLine& line, const QRectF& imageRect);

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QImage m_image;
    QIcon m_icon;
    QList<TextLine> m_lines;
    double m_radius = 8;
    QColor m_card;
    QColor m_box;
};

}  // namespace fennic
