// Pictures of the Ask bar in every style, palette and theme, for a person to look at:
//   AskFieldTest --gtest_also_run_disabled_tests --gtest_filter='*Render*'
// writes PNGs to $FENNIC_RENDER_DIR (or the temporary folder).
#include "ask/AskBar.h"
#include "library/Library.h"
#include "theme/DesktopLook.h"

#include <QDir>
#include <QPixmap>
#include <QTest>
#include <QVBoxLayout>
#include <gtest/gtest.h>

namespace fennic {
namespace {

TEST(AskRender, DISABLED_EveryStylePaletteAndTheme)
{
    DesktopLook::ensureIconTheme();
    const QString dir =
        qEnvironmentVariableIsSet("FENNIC_RENDER_DIR") ? qEnvironmentVariable("FENNIC_RENDER_DIR") : QDir::tempPath();
    const Date now = Date::fromIso(QStringLiteral("2026-03-10T12:00:00Z"));
    const struct {
        AskStyle style;
        const char* text;
    } rows[] = {
        {AskStyle::hero, ""},
        {AskStyle::hero, "pdfs from gmail last week over 5 MB"},
        {AskStyle::toolbar, ""},
        {AskStyle::toolbar, "pdfs from gmail last week"},
        {AskStyle::toolbar, "invoice pdfs from gmail hello"},
        {AskStyle::panel, "screenshots from today"},
        {AskStyle::describe, ""},
        {AskStyle::describe, "a white island"},
    };
    for (const bool dark : {false, true}) {
        for (const Theme theme : {Theme::playful, Theme::minimal}) {
            const QPalette palette = dark ? DesktopLook::darkPalette() : DesktopLook::lightPalette();
            QWidget window;
            window.setPalette(palette);
            window.setAutoFillBackground(true);
            auto* layout = new QVBoxLayout(&window);
            AskBar* focused = nullptr;
            for (const auto& row : rows) {
                auto* bar = new AskBar(row.style, &window);
                bar->field()->setAnalyzer([now](const QString& text) {
                    return SearchParser::analyze(text, now, Calendar{}, Library::home());
                });
                bar->setThemeStyle(ThemeStyle(theme, palette));
                bar->field()->setText(QString::fromUtf8(row.text));
                layout->addWidget(bar);
                if (!focused && row.style == AskStyle::toolbar && *row.text) focused = bar;
            }
            // A request longer than its field, scrolled to its end as while typing.
            auto* narrow = new AskBar(AskStyle::toolbar, &window);
            narrow->setFixedWidth(300);
            narrow->setThemeStyle(ThemeStyle(theme, palette));
            narrow->field()->setText(QStringLiteral("screenshots from today over 5 MB from gmail pdfs"));
            layout->addWidget(narrow);
            window.resize(620, 470);
            window.show();
            ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
            window.activateWindow();
            if (focused) focused->field()->setFocus();
            narrow->field()->ensureCursorVisible();
            QTest::qWait(50);
            const QString name = QStringLiteral("%1/ask-%2-%3.png") .arg(
                dir,
                dark                                          ? QStringLiteral("dark")
                                                              : QStringLiteral("light"),
                                      theme == Theme::playful ? QStringLiteral("playful") : QStringLiteral("minimal"));
            EXPECT_TRUE(window.grab().save(name)) << name.toStdString();
        }
    }
}

}  // namespace
}  // namespace fennic
