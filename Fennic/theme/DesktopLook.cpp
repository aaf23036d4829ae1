#include "DesktopLook.h"

#include <QFileInfo>
#include <QIcon>
#include <QStandardPaths>

namespace fennic::DesktopLook {

namespace {

bool themeInstalled(const QString& name)
{
    for (const QString& base : QIcon::themeSearchPaths())
        if (QFileInfo::exists(base + QLatin1Char('/') + name + QStringLiteral("/index.theme"))) return true;
    return false;
}

}  // namespace

void ensureIconTheme()
{
    // Some platforms (offscreen among them) search only Qt's own resources for icon themes;
    // the desktop's icon folders are always worth searching too.
    QStringList paths = QIcon::themeSearchPaths();
    const QStringList installed = QStandardPaths::locateAll(QStandardPaths::GenericDataLocation,
                                                            QStringLiteral("icons"), QStandardPaths::LocateDirectory);
    bool added = false;
    for (const QString& dir : installed) {
        if (paths.contains(dir)) continue;
        paths.append(dir);
        added = true;
    }
    if (added) QIcon::setThemeSearchPaths(paths);
    if (!QIcon::themeName().isEmpty()
        && QIcon::themeName() != QStringLiteral("hicolor") && themeInstalled(QIcon::themeName()))
        return;
    for (const QString& name : {QStringLiteral("Adwaita"),
             QStringLiteral("breeze"),
                            QStringLiteral("Papirus"), QStringLiteral("elementary"), QStringLiteral("Tango")}) {
        if (themeInstalled(name)) {
            QIcon::setThemeName(name);
            break;
        }
    }
    QIcon::setFallbackThemeName(QStringLiteral("hicolor"));
}

QPalette lightPalette()
{
    QPalette p;
    const QColor window(0xf6, 0xf5, 0xf4);
    const QColor text(0x24, 0x1f, 0x31);
    p.setColor(QPalette::Window, window);
    p.setColor(QPalette::WindowText, text);
    p.setColor(QPalette::Base, Qt::white);
    p.setColor(QPalette::AlternateBase, QColor(0xf0, 0xef, 0xee));
    p.setColor(QPalette::Text, text);
    p.setColor(QPalette::Button, QColor(0xed, 0xec, 0xeb));
    p.setColor(QPalette::ButtonText, text);
    p.setColor(QPalette::BrightText, Qt::white);
    p.setColor(QPalette::Highlight, QColor(0x35, 0x84, 0xe4));
    p.setColor(QPalette::HighlightedText, Qt::white);
    p.setColor(QPalette::ToolTipBase, QColor(0xff, 0xff, 0xf0));
    p.setColor(QPalette::ToolTipText, text);
    p.setColor(QPalette::PlaceholderText, QColor(0x77, 0x76, 0x7b));
    p.setColor(QPalette::Link, QColor(0x1a, 0x5f, 0xb4));
    p.setColor(QPalette::Mid, QColor(0xc0, 0xbf, 0xbc));
    p.setColor(QPalette::Midlight, QColor(0xde, 0xdd, 0xda));
    p.setColor(QPalette::Dark, QColor(0x9a, 0x99, 0x96));
    p.setColor(QPalette::Light, Qt::white);
    p.setColor(QPalette::Shadow, QColor(0, 0, 0, 60));
    for (auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        p.setColor(QPalette::Disabled, role, QColor(0x9a, 0x99, 0x96));
    return p;
}

QPalette darkPalette()
{
    QPalette p;
    const QColor window(0x24, 0x24, 0x24);
    const QColor text(0xf0, 0xf0, 0xf0);
    p.setColor(QPalette::Window, window);
    p.setColor(QPalette::WindowText, text);
    p.setColor(QPalette::Base, QColor(0x1e, 0x1e, 0x1e));
    p.setColor(QPalette::AlternateBase, QColor(0x2a, 0x2a, 0x2a));
    p.setColor(QPalette::Text, text);
    p.setColor(QPalette::Button, QColor(0x35, 0x35, 0x35));
    p.setColor(QPalette::ButtonText, text);
    p.setColor(QPalette::BrightText, Qt::white);
    p.setColor(QPalette::Highlight, QColor(0x35, 0x84, 0xe4));
    p.setColor(QPalette::HighlightedText, Qt::white);
    p.setColor(QPalette::ToolTipBase, QColor(0x38, 0x38, 0x38));
    p.setColor(QPalette::ToolTipText, text);
    p.setColor(QPalette::PlaceholderText, QColor(0x9a, 0x99, 0x96));
    p.setColor(QPalette::Link, QColor(0x78, 0xae, 0xed));
    p.setColor(QPalette::Mid, QColor(0x48, 0x48, 0x48));
    p.setColor(QPalette::Midlight, QColor(0x3a, 0x3a, 0x3a));
    p.setColor(QPalette::Dark, QColor(0x18, 0x18, 0x18));
    p.setColor(QPalette::Light, QColor(0x50, 0x50, 0x50));
    p.setColor(QPalette::Shadow, QColor(0, 0, 0, 120));
    for (auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        p.setColor(QPalette::Disabled, role, QColor(0x77, 0x76, 0x7b));
    return p;
}

bool isDark(const QPalette& palette)
{
    return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

}  // namespace fennic::DesktopLook
