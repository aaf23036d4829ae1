#include "SettingsWindow.h"

#include "AppearanceSettings.h"
#include "ImageSettings.h"
#include "LibrarySettings.h"
#include "QuickSearchSettings.h"
#include "RulesSettings.h"
#include "UpdateSettings.h"
#include "app/AppModel.h"
#include "app/AppSettings.h"
#include "theme/Icons.h"
#include "theme/ThemeStyle.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QScrollArea>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace fennic {

SettingsWindow::SettingsWindow(AppModel& app, QWidget* parent)
    : QDialog(parent),
      m_app(app),
      m_sections(new QListWidget(this)),
      m_pages(new QStackedWidget(this)),
      m_library(new LibrarySettings(app, this)),
      m_images(new ImageSettings(app, this)),
      m_rules(new RulesSettings(app, this)),
      m_quickSearch(new QuickSearchSettings(app, this)),
      m_appearance(new AppearanceSettings(app, this)),
      m_updates(new UpdateSettings(this))
{
    setWindowTitle(QStringLiteral("Fennic Settings"));
    setAccessibleName(QStringLiteral("Settings"));
    setModal(false);
    setSizeGripEnabled(true);
    resize(760, 560);

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    row->addWidget(m_sections);
    row->addWidget(m_pages, 1);
    m_sections->setAccessibleName(QStringLiteral("Settings sections"));
    m_sections->setFixedWidth(190);
    m_sections->setIconSize(QSize(20, 20));
    m_sections->setFrameShape(QFrame::NoFrame);
    m_sections->setSpacing(2);

    // The order follows Tab.
    addSection(QStringLiteral("Library"), QStringLiteral("folder"), m_library);
    addSection(QStringLiteral("Image Reading"), QStringLiteral("image-x-generic"), m_images);
    addSection(QStringLiteral("Automatic Rules"), QStringLiteral("edit-clear-all"), m_rules);
    addSection(QStringLiteral("Quick Search"), QStringLiteral("system-search"), m_quickSearch);
    addSection(QStringLiteral("Appearance"), QStringLiteral("preferences-desktop-theme"), m_appearance);
    addSection(QStringLiteral("Updates"), QStringLiteral("system-software-update"), m_updates);

    connect(m_sections, &QListWidget::currentRowChanged, m_pages, &QStackedWidget::setCurrentIndex);
    connect(&m_app.settings(), &AppSettings::themeChanged, this, &SettingsWindow::applyLook);
    m_sections->setCurrentRow(0);
    applyLook();
}

void SettingsWindow::addSection(const QString& title, const QString& icon, QWidget* section)
{
    auto* item = new QListWidgetItem(title, m_sections);
    item->setData(Qt::AccessibleTextRole, title);
    m_icons.append(icon);
    auto* scroll = new QScrollArea(this);
    scroll->setWidget(section);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setAccessibleName(title);
    m_pages->addWidget(scroll);
}

void SettingsWindow::showTab(Tab tab) { m_sections->setCurrentRow(int(tab)); }

SettingsWindow::Tab SettingsWindow::currentTab() const { return Tab(std::max(0, m_sections->currentRow())); }

void SettingsWindow::changeEvent(QEvent* event)
{
    QDialog::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) applyLook();
}

void SettingsWindow::applyLook()
{
    const ThemeStyle style(m_app.settings().theme(), palette());
    for (int row = 0; row < m_sections->count(); ++row)
        m_sections->item(row)->setIcon(Icons::themed(m_icons.value(row), palette()));
    // The list of sections sits on the window's colour, a shade apart from the content.
    QPalette side = palette();
    side.setColor(QPalette::Base, palette().color(QPalette::Window));
    m_sections->setPalette(side);
    for (SettingsSection* section : findChildren<SettingsSection*>()) section->setThemeStyle(style);
}

}  // namespace fennic
