// The home page over a small real library: its tiles tell the library's totals and open the
// kinds, the clean-up card tells what could be freed, a request typed in the large field
// shows its results in place and Esc brings the overview back, and an empty library says so.
#include "home/HomePage.h"
#include "app/AppModel.h"
#include "app/LibraryHome.h"
#include "app/LibraryModel.h"
#include "app/SearchSession.h"
#include "ask/AskBar.h"
#include "ask/AskField.h"
#include "browser/BrowserView.h"
#include "home/FileStrip.h"
#include "home/HomeTile.h"
#include "model/Fmt.h"
#include "theme/DesktopLook.h"
#include "thumbnails/ThumbnailLoader.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>
#include <gtest/gtest.h>

using namespace fennic;

namespace {

class HomeFixture : public test::LibraryHome {
public:
    explicit HomeFixture(bool withFiles = true)
    {
        DesktopLook::ensureIconTheme();
        if (withFiles) {
            tree.write("Documents/alpha report.txt", QByteArray(300, 'a'));
            tree.write("Documents/beta notes.txt", QByteArray(100, 'b'));
            tree.write("Documents/gamma.pdf", QByteArray("%PDF-1.4\n") + QByteArray(2000, 'g'));
            tree.write("Music/song.mp3", QByteArray("ID3") + QByteArray(5000, 's'));
            // An old screenshot: one for the screenshots row and one for clean-up.
            tree.write(shot, QByteArray(700, 'p'));
            tree.setTimes(shot, Date::fromIso("2025-01-02T10:00:00Z"));
        }
        env.settleDelayMs = 150;
    }

    // The page over the scanned library.
    HomePage& open()
    {
        model = std::make_unique<AppModel>(env);
        model->library().finishWelcome();
        EXPECT_TRUE(model->waitForIdle());
        return show();
    }

    HomePage& show()
    {
        if (!model) model = std::make_unique<AppModel>(env);
        page = std::make_unique<HomePage>(*model, thumbnails);
        page->resize(1000, 800);
        page->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(page.get()));
        EXPECT_TRUE(QTest::qWaitFor([&] { return page->isDigestCurrent(); }, 5000));
        return *page;
    }

    HomeTile* kindTile(FileKind kind) const
    {
        for (HomeTile* tile : page->kindTiles())
            if (tile->property("fileKind").toString() == FileKinds::rawValue(kind)) return tile;
        return nullptr;
    }

    const QString shot = QStringLiteral("Pictures/Screenshot from 2025-01-02 10-00-00.png");
    ThumbnailLoader thumbnails{ThumbnailCache(tree.path(".thumbnails"))};
    std::unique_ptr<AppModel> model;
    std::unique_ptr<HomePage> page;
};

}  // namespace

TEST(HomePage, KindTilesTellTheLibraryTotalsAndOpenTheirKind)
{
    HomeFixture f;
    HomePage& page = f.open();
    const LibraryStats& stats = f.model->library().stats();
    ASSERT_GT(stats.totalCount, 0);
    EXPECT_FALSE(page.isShowingEmptyState());

    int kinds = 0;
    for (FileKind kind : FileKinds::shelves) {
        const KindTotal total = stats.total(kind);
        HomeTile* tile = f.kindTile(kind);
        if (total.count == 0) {
            EXPECT_EQ(tile, nullptr) << "no tile for an empty kind";
            continue;
        }
        ++kinds;
        ASSERT_NE(tile, nullptr) << FileKinds::rawValue(kind).toStdString();
        EXPECT_EQ(tile->title(), FileKinds::title(kind));
        EXPECT_EQ(tile->detail(), Fmt::count(total.count, "file"));
        EXPECT_EQ(tile->note(), Fmt::size(total.size));
        EXPECT_TRUE(tile->accessibleName().startsWith(FileKinds::title(kind)));
    }
    EXPECT_EQ(page.kindTiles().size(), kinds);
    EXPECT_EQ(stats.total(FileKind::document).count, 3);

    // A click opens the kind; so does Space on a focused tile.
    QTest::mouseClick(f.kindTile(FileKind::music), Qt::LeftButton);
    EXPECT_EQ(f.model->search().sidebar(), SidebarItem::ofKind(FileKind::music));
    f.kindTile(FileKind::document)->setFocus();
    QTest::keyClick(f.kindTile(FileKind::document), Qt::Key_Space);
    EXPECT_EQ(f.model->search().sidebar(), SidebarItem::ofKind(FileKind::document));
}

TEST(HomePage, CleanupCardTellsTheReclaimableTotalAndOpensCleanup)
{
    HomeFixture f;
    HomePage& page = f.open();
    // A file two rules propose counts once, as on the Clean-up page.
    const qint64 reclaimable = CleanupKinds::reclaimable(f.model->library().suggestions());
    ASSERT_GT(reclaimable, 0) << "the old screenshot is worth cleaning up";
    HomeTile* card = page.cleanupTile();
    EXPECT_EQ(card->detail(), Fmt::size(reclaimable) + " to reclaim");
    QTest::mouseClick(card, Qt::LeftButton);
    EXPECT_EQ(f.model->search().sidebar(), SidebarItem::page(SidebarItem::Kind::cleanup));
}

TEST(HomePage, ARequestShowsItsResultsInPlaceAndEscBringsTheOverviewBack)
{
    HomeFixture f;
    HomePage& page = f.open();
    SearchSession& search = f.model->search();
    AskField* field = page.heroBar()->field();
    field->setFocus();
    QTest::keyClicks(field, "txt");
    EXPECT_EQ(search.query(), "txt");
    EXPECT_TRUE(search.homeResults());
    EXPECT_TRUE(page.isShowingResults());
    QTest::qWait(f.env.settleDelayMs + 100);
    QStringList names;
    for (const FileItem& item : page.results()->model().items()) names << item.name;
    names.sort();
    EXPECT_EQ(names, (QStringList{"alpha report.txt", "beta notes.txt"})) << "over the whole library";

    // Down moves into the results; an opened result is reported.
    QSignalSpy opened(&page, &HomePage::fileActivated);
    QTest::keyClick(field, Qt::Key_Down);
    ASSERT_EQ(page.results()->selectedItems().size(), 1);
    QTest::keyClick(page.results()->currentView(), Qt::Key_Return);
    EXPECT_EQ(opened.count(), 1);

    field->setFocus();
    QTest::keyClick(field, Qt::Key_Escape);
    EXPECT_TRUE(search.query().isEmpty());
    EXPECT_FALSE(search.homeResults());
    EXPECT_FALSE(page.isShowingResults());

    // The toolbar's field and this one show the same request; clearing it anywhere returns.
    search.setQuery("pdf");
    EXPECT_EQ(field->text(), "pdf");
    EXPECT_TRUE(page.isShowingResults());
    page.heroBar()->clearButton()->click();
    EXPECT_TRUE(search.query().isEmpty());
    EXPECT_FALSE(page.isShowingResults());
}

TEST(HomePage, RowsShowRecentFilesAndScreenshotsAndOpenTheirPages)
{
    HomeFixture f;
    HomePage& page = f.open();
    const QList<Lately::Group>& lately = f.model->library().lately();
    ASSERT_FALSE(lately.isEmpty());
    ASSERT_EQ(page.recentStrips().size(), lately.size());
    EXPECT_EQ(page.recentStrips().first()->files().size(),
              std::min<qsizetype>(lately.first().files.size(), HomeDigest::kPerRow));
    EXPECT_EQ(page.recentStrips().first()->accessibleName(), Lately::title(lately.first().bucket));

    FileStrip* shots = page.screenshotStrip();
    ASSERT_EQ(shots->files().size(), 1);
    EXPECT_EQ(shots->files().first().path, f.tree.path(f.shot));
    ASSERT_EQ(shots->cards().size(), 1);
    EXPECT_EQ(shots->cards().first()->accessibleName(), shots->files().first().name);
    QSignalSpy opened(&page, &HomePage::fileActivated);
    QTest::mouseClick(shots->cards().first(), Qt::LeftButton);
    ASSERT_EQ(opened.count(), 1);
    EXPECT_EQ(opened.first().first().value<FileItem>().path, f.tree.path(f.shot));
    EXPECT_FALSE(page.largeFileStrip()->isVisibleTo(&page)) << "no large files, no row";

    for (QPushButton* all : page.findChildren<QPushButton*>())
        if (all->accessibleName() == "Show all recent files" && all->isVisible()) {
            all->click();
            break;
        }
    EXPECT_EQ(f.model->search().sidebar(), SidebarItem::page(SidebarItem::Kind::recents));
}

TEST(HomePage, AnEmptyLibrarySaysItIsReadingThenOffersToAddAFolder)
{
    HomeFixture f(false);
    HomePage& page = f.show();
    f.model->library().finishWelcome();
    ASSERT_TRUE(f.model->library().isScanning());
    EXPECT_TRUE(page.isShowingEmptyState());
    EXPECT_EQ(page.emptyStateTitle(), "Fennic is reading your folders…");
    ASSERT_TRUE(f.model->waitForIdle());
    EXPECT_TRUE(QTest::qWaitFor([&] { return page.addFolderButton()->isVisible(); }, 2000));
    EXPECT_TRUE(page.isShowingEmptyState());
    EXPECT_NE(page.emptyStateTitle(), "Fennic is reading your folders…");
    EXPECT_TRUE(page.kindTiles().isEmpty());
}

TEST(HomePage, DownloadSourcesAndLargeFilesComeFromTheWholeLibrary)
{
    HomeFixture f;
    HomePage& page = f.open();
    QList<FileItem> items = f.model->library().items();
    const auto add = [&](const QString& name, qint64 size, std::optional<QString> source) {
        FileItem item = items.first();
        item.path = f.tree.path("Downloads/" + name);
        item.name = name;
        item.size = size;
        item.sourceKey = std::move(source);
        items << item;
    };
    add("invoice.pdf", 10, "gmail");
    add("statement.pdf", 10, "gmail");
    add("paper.pdf", 10, "site:example.org");
    add("disk.iso", LibraryStats::largeFileSize + 1, std::nullopt);
    f.model->library().replaceItems(items);
    ASSERT_TRUE(f.model->waitForIdle());
    ASSERT_TRUE(QTest::qWaitFor([&] { return page.isDigestCurrent() && page.sourceTiles().size() == 2; }, 5000));

    HomeTile* gmail = page.sourceTiles().at(0);
    EXPECT_EQ(gmail->title(), "Gmail") << "the source with most files first";
    EXPECT_EQ(gmail->detail(), "2 files");
    EXPECT_EQ(page.sourceTiles().at(1)->title(), "example.org");
    QTest::mouseClick(gmail, Qt::LeftButton);
    EXPECT_EQ(f.model->search().sidebar(), SidebarItem::downloadedFrom("gmail"));

    ASSERT_EQ(page.largeFileStrip()->files().size(), 1);
    EXPECT_EQ(page.largeFileStrip()->files().first().name, "disk.iso");
    EXPECT_TRUE(page.largeFileStrip()->isVisibleTo(&page));
}

TEST(HomePage, ARefreshKeepsTheRowsCardsAndTilesSoTheFocusStays)
{
    HomeFixture f;
    HomePage& page = f.open();
    page.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&page));
    QList<FileItem> items = f.model->library().items();
    const auto add = [&](const QString& name, std::optional<QString> source) {
        FileItem item = items.first();
        for (const FileItem& other : std::as_const(items)) item.added = std::max(item.added, other.added + 1);
        item.modified = item.added;
        item.path = f.tree.path("Downloads/" + name);
        item.name = name;
        item.sourceKey = std::move(source);
        items << item;
    };
    const auto refreshWith = [&] {
        f.model->library().replaceItems(items);
        ASSERT_TRUE(f.model->waitForIdle());
        ASSERT_TRUE(QTest::qWaitFor([&] { return page.isDigestCurrent(); }, 5000));
    };
    add("statement.pdf", "gmail");
    refreshWith();

    ASSERT_FALSE(page.recentStrips().isEmpty());
    FileStrip* today = page.recentStrips().first();
    ASSERT_GE(today->cards().size(), 2);
    QToolButton* focused = today->cards().at(1);
    const QString focusedName = focused->accessibleName();
    focused->setFocus(Qt::TabFocusReason);
    ASSERT_EQ(QApplication::focusWidget(), focused);
    HomeTile* gmail = page.sourceTiles().value(0);
    ASSERT_NE(gmail, nullptr);

    // A scan finds a newer file: it joins the row at the front, the others keep their cards.
    add("invoice.pdf", "gmail");
    refreshWith();
    ASSERT_EQ(page.recentStrips().first(), today) << "the row stays";
    EXPECT_EQ(today->files().first().name, "invoice.pdf");
    EXPECT_EQ(today->cards().first()->accessibleName(), "invoice.pdf");
    EXPECT_TRUE(today->cards().contains(focused));
    EXPECT_EQ(focused->accessibleName(), focusedName) << "the focused card still names its file";
    EXPECT_EQ(QApplication::focusWidget(), focused);
    EXPECT_EQ(page.sourceTiles().value(0), gmail) << "the source's tile stays";
    EXPECT_EQ(gmail->detail(), "2 files");

    // Pressing a card that moved opens the file it shows now.
    QSignalSpy opened(&page, &HomePage::fileActivated);
    QTest::keyClick(focused, Qt::Key_Space);
    ASSERT_EQ(opened.count(), 1);
    EXPECT_EQ(opened.first().first().value<FileItem>().name, focusedName);

    // A file that left takes its card with it; the row never holds more than it shows.
    items.removeIf([&](const FileItem& item) { return item.name == focusedName; });
    refreshWith();
    EXPECT_FALSE(today->cards().contains(focused));
    EXPECT_EQ(today->cards().size(), today->files().size());
    for (qsizetype i = 0; i < today->files().size(); ++i)
        EXPECT_EQ(today->cards().at(i)->accessibleName(), today->files().at(i).name);
}
