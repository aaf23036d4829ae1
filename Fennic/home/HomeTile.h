#pragma once

#include "theme/ThemeStyle.h"

#include <QAbstractButton>
#include <QColor>
#include <QIcon>

namespace fennic {

// A card of the home page that opens something when pressed: an icon on a tinted backdrop, a
// title and up to two lines of detail (a count, a size). Keyboard focus draws a ring in the
// accent; Space and Return press it.
class HomeTile : public QAbstractButton {
    Q_OBJECT

public:
    explicit HomeTile(QWidget* parent = nullptr);

    // What the card shows; the accessible name follows ("Images, 12 files, 4.5 MB").
    void setContent(const QIcon& icon, const QString& title, const QString& detail, const QString& note = {});
    const QString& title() const { return m_title; }
    const QString& detail() const { return m_detail; }
    const QString& note() const { return m_note; }
    // The tint of the icon's backdrop (a kind's colour, the accent); invalid: the theme's card.
    void setTint(const QColor& tint);
    void setThemeStyle(const ThemeStyle& theme);
    // A wide card stands alone in its row (the clean-up card); a compact one sits in a flow.
    void setWide(bool wide);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    void updateAccessibleName();

    QIcon m_icon;
    QString m_title;
    QString m_detail;
    QString m_note;
    QColor m_tint;
    ThemeStyle m_theme;
    bool m_wide = false;
    bool m_hovered = false;
};

}  // namespace fennic
