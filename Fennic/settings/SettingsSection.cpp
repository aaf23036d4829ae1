#include "SettingsSection.h"

#include "theme/ThemeStyle.h"

#include <QLabel>
#include <QVBoxLayout>

namespace fennic {

SettingsSection::SettingsSection(const QString& title, QWidget* parent)
    : QWidget(parent), m_column(new QVBoxLayout(this))
{
    setAccessibleName(title);
    m_column->setContentsMargins(24, 20, 24, 20);
    m_column->setSpacing(18);
    auto* heading = new QLabel(title, this);
    QFont font = heading->font();
    font.setPointSizeF(font.pointSizeF() * 1.4);
    font.setBold(true);
    heading->setFont(font);
    heading->setAccessibleName(title);
    m_column->addWidget(heading);
}

void SettingsSection::setThemeStyle(const ThemeStyle& style)
{
    for (QLabel* note : std::as_const(m_notes)) {
        QPalette palette = note->palette();
        palette.setColor(QPalette::WindowText, style.secondaryText());
        note->setPalette(palette);
    }
}

QVBoxLayout* SettingsSection::addGroup(const QString& title)
{
    auto* group = new QVBoxLayout;
    group->setSpacing(8);
    if (!title.isEmpty()) {
        auto* label = new QLabel(title, this);
        QFont font = label->font();
        font.setBold(true);
        label->setFont(font);
        label->setAccessibleName(title);
        group->addWidget(label);
    }
    m_column->addLayout(group);
    return group;
}

QLabel* SettingsSection::addNote(QVBoxLayout* group, const QString& text)
{
    auto* note = new QLabel(text, this);
    note->setWordWrap(true);
    note->setAccessibleName(text);
    note->setTextInteractionFlags(Qt::TextSelectableByMouse);
    group->addWidget(note);
    m_notes.append(note);
    return note;
}

void SettingsSection::finish() { m_column->addStretch(1); }

}  // namespace fennic
