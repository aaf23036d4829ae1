// Not a check: renders the browser in both themes and palettes for a person to look at.
// Run with --gtest_also_run_disabled_tests and FENNIC_RENDER_DIR set to a folder.
#include "browser/BrowserView.h"
#include "support/TempTree.h"
#include "support/TestItems.h"
#include "theme/DesktopLook.h"
#include "thumbnails/PlainPicture.h"
#include "thumbnails/ThumbnailLoader.h"

#include <QApplication>
#include <QListView>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

using namespace fennic;

TEST(BrowserRender, DISABLED_BothThemesAndPalettes)
{
    const QString out = qEnvironmentVariable("FENNIC_RENDER_DIR");
    if (out.isEmpty()) GTEST_SKIP() << "FENNIC_RENDER_DIR not set";
    DesktopLook::ensureIconTheme();
    test::TempTree tree;
    QList<FileItem> items;
    const auto add = [&](const QString& path, FileKind kind, qint64 size) {
        FileItem item = test::datedItem(path, size, kind, "2025-03-01T10:00:00Z");
        item.modified = Date::fromUnix(1'700'000'000);
        items.append(item);
    };
    add(test::writePicture(tree, "Pictures/Café sunset.png", QSize(800, 500), QColor(230, 120, 60)), FileKind::image,
        2'400'000);
    add(test::writePicture(tree, "Pictures/portrait.png", QSize(300, 600), QColor(60, 140, 90)), FileKind::image,
        900'000);
    add(tree.write("Documents/Quarterly report for the cafe on the corner of the street 2024 final.pdf", "x"),
        FileKind::document, 120'000);
    add(tree.write("Music/song.mp3", "x"), FileKind::music, 4'000'000);
    add(tree.write("Downloads/archive.zip", "x"), FileKind::archive, 12'000'000);
    add(tree.write("Documents/notes.txt", "x"), FileKind::document, 300);
    add(tree.write("Videos/clip.mkv", "x"), FileKind::video, 50'000'000);
    add(tree.write("Documents/cafe menu.odt", "x"), FileKind::document, 30'000);

    for (const bool dark : {false, true}) {
        for (const Theme theme : {Theme::playful, Theme::minimal}) {
            const QPalette palette = dark ? DesktopLook::darkPalette() : DesktopLook::lightPalette();
            QApplication::setPalette(palette);
            ThumbnailLoader loader(ThumbnailCache(tree.path("cache")));
            BrowserView view(loader);
            view.setThemeStyle(ThemeStyle(theme, palette));
            view.resize(860, 560);
            view.setItems(items);
            view.setHighlight({QStringLiteral("cafe")});
            view.show();
            view.activateWindow();
            ASSERT_TRUE(QTest::qWaitForWindowActive(&view));
            view.selectPaths({items[1].path, items[2].path});
            view.focusResults();
            QSignalSpy ready(&loader, &ThumbnailLoader::ready);
            view.grab();
            while (ready.count() < 2 && ready.wait(5000)) { }
            QTest::qWait(100);
            const QString name = QStringLiteral("%1/%2-%3").arg(
                out, Themes::rawValue(theme), dark ? QStringLiteral("dark") : QStringLiteral("light"));
            view.grab().save(name + QStringLiteral("-grid.png"));
            view.setViewMode(ViewMode::list);
            QTest::qWait(50);
            view.grab().save(name + QStringLiteral("-list.png"));
            view.setEmptyState(BrowserView::EmptyState{QStringLiteral("edit-find"),
                QStringLiteral("No files match"), QStringLiteral("Try fewer words, or ask about another folder.")});
            QTest::qWait(20);
            view.grab().save(name + QStringLiteral("-empty.png"));
        }
    }
}
