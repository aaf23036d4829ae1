#pragma once

#include "AskField.h"
#include "AskStyle.h"
#include "theme/ThemeStyle.h"

#include <QIcon>
#include <QWidget>

class QToolButton;

namespace fennic {

// An Ask field in its rounded frame: the palette's base colour, a ring in the accent while
// the field has the focus, a magnifier at the left (every style but describe) and a button
// that clears the request, shown only while there is one. Focusing the bar focuses the field.
class AskBar : public QWidget {
    Q_OBJECT

public:
    explicit AskBar(AskStyle style, QWidget* parent = nullptr);

    AskField* field() { return m_field; }
    // The clear button: empties the field as an edit of the person's (textEdited("")).
    QToolButton* clearButton() { return m_clear; }

    // Restyles the field and the frame together.
    void setAskStyle(AskStyle style);
    void setThemeStyle(const ThemeStyle& theme);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void layoutParts();
    void updateIcons();
    void updateClearButton();
    // The frame and its ring, drawn once per size, focus and colours.
    const QPixmap& frame();

    AskField* m_field;
    QToolButton* m_clear;
    ThemeStyle m_theme;
    QPixmap m_magnifier;
    struct FrameLook {
        QSize size;
        qreal ratio = 0;
        bool focused = false;
        QRgb outline = 0;
        QRgb base = 0;
        double radius = 0;
        friend bool operator==(const FrameLook&, const FrameLook&) = default;
    };
    QPixmap m_frame;
    FrameLook m_frameLook;  // what m_frame was drawn for
};

}  // namespace fennic
