#pragma once

#include <QWidget>

class QLabel;
class QVBoxLayout;

namespace fennic {

class ThemeStyle;

// The frame every settings section shares: a heading, then groups of rows, each group with a
// title and an optional note in the secondary tint.
class SettingsSection : public QWidget {
    Q_OBJECT

public:
    SettingsSection(const QString& title, QWidget* parent = nullptr);

    // Recolours the notes; called by the window when the theme or the palette changes.
    virtual void setThemeStyle(const ThemeStyle& style);

protected:
    // A titled group; rows go into the returned layout.
    QVBoxLayout* addGroup(const QString& title);
    // A wrapped line of explanation in the secondary tint.
    QLabel* addNote(QVBoxLayout* group, const QString& text);
    void finish();

    QVBoxLayout* m_column;
    QList<QLabel*> m_notes;
};

}  // namespace fennic
