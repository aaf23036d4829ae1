#pragma once

#include <QFont>
#include <QLabel>
#include <QString>
#include <QWidget>

namespace fennic {

// Small pieces the pages build their text from. A label is plain text (a file name never
// turns into markup) and is read by screen readers as what it says.
inline QLabel* plainLabel(const QString& text, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    label->setAccessibleName(text);
    return label;
}

// Qt tells screen readers of a new name at every call, even one that repeats the old name: a
// label refreshed a few times a second would keep interrupting them.
inline void setSpokenName(QWidget* widget, const QString& name)
{
    if (widget->accessibleName() != name) widget->setAccessibleName(name);
}

// The same for a tooltip, which Qt also announces at every call.
inline void setHint(QWidget* widget, const QString& hint)
{
    if (widget->toolTip() != hint) widget->setToolTip(hint);
}

inline void setLabelText(QLabel* label, const QString& text)
{
    label->setText(text);
    setSpokenName(label, text);
}

// The widget's font scaled from the desktop's, for headings.
inline void scaleFont(QWidget* widget, double factor, bool bold)
{
    QFont font = widget->font();
    font.setPointSizeF(font.pointSizeF() * factor);
    font.setBold(bold);
    widget->setFont(font);
}

}  // namespace fennic
