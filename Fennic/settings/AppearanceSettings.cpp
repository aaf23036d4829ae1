#include "AppearanceSettings.h"

#include "app/AppModel.h"
#include "app/AppSettings.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QRadioButton>
#include <QSlider>
#include <QVBoxLayout>
#include <cmath>

namespace fennic {

AppearanceSettings::AppearanceSettings(AppModel& app, QWidget* parent)
    : SettingsSection(QStringLiteral("Appearance"), parent), m_app(app),
                      m_playful(new QRadioButton(QStringLiteral("Playful"), this)),
                                m_minimal(new QRadioButton(QStringLiteral("Minimal"), this)),
                                          m_cardSize(new QSlider(Qt::Horizontal, this)),
                                          m_cardSizeValue(new QLabel(this))
{
    QVBoxLayout* theme = addGroup(QStringLiteral("Theme"));
    auto* themes = new QButtonGroup(this);
    themes->addButton(m_playful);
    themes->addButton(m_minimal);
    theme->addWidget(m_playful);
    addNote(theme, QStringLiteral("Rounded cards with coloured chips and accents."));
    theme->addWidget(m_minimal);
    addNote(theme, QStringLiteral("Flat and quiet, with chips in muted tints."));
    m_playful->setAccessibleName(QStringLiteral("Playful theme"));
    m_minimal->setAccessibleName(QStringLiteral("Minimal theme"));

    QVBoxLayout* cards = addGroup(QStringLiteral("Card size"));
    auto* row = new QHBoxLayout;
    auto* small = new QLabel(QStringLiteral("Small"), this);
    auto* large = new QLabel(QStringLiteral("Large"), this);
    small->setAccessibleName(small->text());
    large->setAccessibleName(large->text());
    row->addWidget(small);
    row->addWidget(m_cardSize, 1);
    row->addWidget(large);
    row->addWidget(m_cardSizeValue);
    cards->addLayout(row);
    m_cardSize->setRange(int(AppSettings::kMinCardSize), int(AppSettings::kMaxCardSize));
    m_cardSize->setSingleStep(10);
    m_cardSize->setPageStep(40);
    m_cardSize->setAccessibleName(QStringLiteral("Card size"));
    m_cardSizeValue->setAccessibleName(QStringLiteral("Card size in pixels"));
    m_cardSizeValue->setMinimumWidth(m_cardSizeValue->fontMetrics().horizontalAdvance(QStringLiteral("000 px")));
    addNote(cards, QStringLiteral("Ctrl+Plus and Ctrl+Minus change it in the window too."));
    finish();

    AppSettings& settings = m_app.settings();
    connect(m_playful, &QRadioButton::clicked, this, [this] { m_app.settings().setTheme(Theme::playful); });
    connect(m_minimal, &QRadioButton::clicked, this, [this] { m_app.settings().setTheme(Theme::minimal); });
    connect(m_cardSize, &QSlider::valueChanged, this, [this](int value) { m_app.settings().setCardSize(value); });
    connect(&settings, &AppSettings::themeChanged, this, &AppearanceSettings::refresh);
    connect(&settings, &AppSettings::cardSizeChanged, this, &AppearanceSettings::refresh);
    refresh();
}

void AppearanceSettings::refresh()
{
    const AppSettings& settings = m_app.settings();
    m_playful->setChecked(settings.theme() == Theme::playful);
    m_minimal->setChecked(settings.theme() == Theme::minimal);
    const int size = int(std::lround(settings.cardSize()));
    if (m_cardSize->value() != size) {
        const QSignalBlocker quiet(m_cardSize);  // the setting already holds this value
        m_cardSize->setValue(size);
    }
    m_cardSizeValue->setText(QLocale().toString(size) + QStringLiteral(" px"));
}

}  // namespace fennic
