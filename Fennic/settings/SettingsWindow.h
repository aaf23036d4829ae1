#pragma once

#include <QDialog>

class QListWidget;
class QStackedWidget;

namespace fennic {

class AppModel;
class AppearanceSettings;
class ImageSettings;
class LibrarySettings;
class QuickSearchSettings;
class RulesSettings;
class UpdateSettings;

// Fennic's settings: a list of sections beside the section shown. Every control applies at
// once and follows the settings as they change elsewhere, so there is nothing to confirm; the
// window is not modal and may stay open beside the main window.
class SettingsWindow : public QDialog {
    Q_OBJECT

public:
    enum class Tab {
        library,
        images,
        rules,
        quickSearch,
        appearance,
        updates
    };

    explicit SettingsWindow(AppModel& app, QWidget* parent = nullptr);

    // Shows the section, selecting it in the list.
    void showTab(Tab tab);
    Tab currentTab() const;

    LibrarySettings* librarySection() const { return m_library; }
    ImageSettings* imageSection() const { return m_images; }
    RulesSettings* rulesSection() const { return m_rules; }
    QuickSearchSettings* quickSearchSection() const { return m_quickSearch; }
    AppearanceSettings* appearanceSection() const { return m_appearance; }
    UpdateSettings* updateSection() const { return m_updates; }

protected:
    void changeEvent(QEvent* event) override;

private:
    void applyLook();
    void addSection(const QString& title, const QString& icon, QWidget* section);

    AppModel& m_app;
    QListWidget* m_sections;
    QStackedWidget* m_pages;
    LibrarySettings* m_library;
    ImageSettings* m_images;
    RulesSettings* m_rules;
    QuickSearchSettings* m_quickSearch;
    AppearanceSettings* m_appearance;
    UpdateSettings* m_updates;
    QStringList m_icons;  // one icon name per section, re-tinted when the palette changes
};

}  // namespace fennic
