#include "AppTestSupport.h"
#include "support/TestItems.h"

#include "library/LibraryCache.h"

#include <QTest>
#include <gtest/gtest.h>

using namespace fennic;
using fennic::test::AppFixture;

namespace {

FileItem fileAt(const QString& path, qint64 size, Date added, std::optional<QString> source = std::nullopt)
{
    FileItem i = test::itemAt(path);
    i.size = size;
    i.created = i.modified = i.added = added;
    i.sourceKey = std::move(source);
    return i;
}

QStringList names(const QList<FileItem>& items)
{
    QStringList out;
    for (const FileItem& i : items) out << i.name;
    return out;
}

// A library given through the cache, so that sources and dates are exactly as chosen.
class SearchRequests : public ::testing::Test {
protected:
    void SetUp() override
    {
        f.env.settleDelayMs = 40;
        const QString h = f.tree.root();
        const Date now = f.now;
        LibraryCache::save(
            LibraryCache::defaultPath(),
            {
                fileAt(h + "/Downloads/invoice.pdf", 200, now - 3600, QStringLiteral("gmail")),
                       fileAt(h + "/Downloads/manual.pdf", 900, now - 7200, QStringLiteral("site:example.com")),
                              fileAt(h + "/Documents/notes.txt", 50, now - 60),
                              fileAt(h + "/Documents/Work/plan 10.pdf", 400, now - 86400 * 3),
                              fileAt(h + "/Documents/Work/plan 2.pdf", 300, now - 86400 * 2),
                });
        m = &f.make();
    }

    AppFixture f;
    AppModel* m = nullptr;
};

}  // namespace

TEST_F(SearchRequests, EmptyResultsShowOnlyOnceTheRequestSettles)
{
    m->search().setQuery("pdfs");
    EXPECT_EQ(m->search().shownItems().size(), 4);
    EXPECT_FALSE(m->search().searchSettled());

    m->search().setQuery("pdfs from zzqx");
    EXPECT_TRUE(m->search().visibleItems().isEmpty());
    EXPECT_EQ(m->search().shownItems().size(), 4) << "the last results stay while typing";

    QSignalSpy settled(&m->search(), &SearchSession::searchSettledChanged);
    ASSERT_TRUE(settled.wait(2000));
    EXPECT_TRUE(m->search().searchSettled());
    EXPECT_TRUE(m->search().shownItems().isEmpty());
}

TEST_F(SearchRequests, ClearingTheRequestShowsTheSidebarEntryInSortOrder)
{
    m->search().setQuery("pdfs");
    ASSERT_FALSE(m->search().shownItems().isEmpty());
    m->search().setQuery("");
    EXPECT_TRUE(m->search().heldResults().isEmpty());
    EXPECT_EQ(names(m->search().shownItems()),
              (QStringList{"notes.txt", "invoice.pdf", "manual.pdf", "plan 2.pdf", "plan 10.pdf"}));

    m->settings().setSortKey(SortKey::name);
    m->settings().setSortAscending(true);
    EXPECT_EQ(names(m->search().shownItems()),
              (QStringList{"invoice.pdf", "manual.pdf", "notes.txt", "plan 2.pdf", "plan 10.pdf"}));
}

TEST_F(SearchRequests, RequestsSearchTheWholeLibraryOrTheSelectedFolder)
{
    m->search().setQuery("pdfs");
    EXPECT_EQ(m->search().shownItems().size(), 4);
    m->search().setSidebar(SidebarItem::folder(f.tree.path("Documents/Work")));
    EXPECT_TRUE(m->search().heldResults().isEmpty()) << "a sidebar change drops held results";
    EXPECT_EQ(names(m->search().shownItems()), (QStringList{"plan 2.pdf", "plan 10.pdf"}));

    m->search().setSidebar(SidebarItem::downloadedFrom("gmail"));
    EXPECT_EQ(names(m->search().shownItems()), QStringList{"invoice.pdf"});
    m->search().setSidebar(SidebarItem::downloadedFrom(QString()));
    EXPECT_EQ(m->search().shownItems().size(), 2) << "every downloaded file, whatever its source";
    m->search().setSidebar(SidebarItem::page(SidebarItem::Kind::recents));
    EXPECT_EQ(m->search().shownItems().size(), 4);
}

TEST_F(SearchRequests, SavingASearchTwiceKeepsOneEntry)
{
    m->search().setQuery("  pdfs from gmail ");
    m->search().saveCurrentSearch();
    ASSERT_EQ(m->search().savedSearches().size(), 1);
    EXPECT_EQ(m->search().savedSearches()[0].name, "Pdfs from gmail");
    EXPECT_EQ(m->search().savedSearches()[0].query, "pdfs from gmail");
    EXPECT_EQ(m->search().query(), "");
    EXPECT_EQ(m->search().sidebar(), SidebarItem::savedSearch(m->search().savedSearches()[0].id));
    ASSERT_TRUE(m->toast().current());
    EXPECT_EQ(m->toast().current()->text, "Saved “Pdfs from gmail” to the sidebar");
    EXPECT_EQ(m->toast().current()->symbol, "bookmark");
    EXPECT_EQ(names(m->search().shownItems()), QStringList{"invoice.pdf"})
        << "the saved search's entry shows its results";

    m->search().setSidebar(SidebarItem::home());
    m->search().setQuery("PDFs from Gmail");
    m->search().saveCurrentSearch();
    EXPECT_EQ(m->search().savedSearches().size(), 1);

    // Saved searches persist.
    m->settings().sync();
    const QUuid id = m->search().savedSearches()[0].id;
    f.model.reset();
    AppModel& again = f.make();
    ASSERT_EQ(again.search().savedSearches().size(), 1);
    EXPECT_EQ(again.search().savedSearches()[0].id, id);
}

TEST_F(SearchRequests, HighlightsComeFromTextFiltersOrTheFinder)
{
    m->search().setQuery("plan pdfs");
    EXPECT_EQ(m->search().highlightQuery(), QStringList{"plan"});
    m->search().setQuery("plan pdfs report");
    EXPECT_EQ(m->search().highlightQuery(), (QStringList{"plan", "report"})) << "each word on its own";
    m->search().setQuery("plan pdfs");
    m->search().setSidebar(SidebarItem::page(SidebarItem::Kind::findImages));
    m->search().setFindQuery("receipt");
    EXPECT_EQ(m->search().highlightQuery(), QStringList{"receipt"});
    m->search().setFindMode(FindMode::describe);
    EXPECT_EQ(m->search().highlightQuery(), QStringList{"plan"});
}

TEST_F(SearchRequests, AnEntryThatGoesAwayGivesWayToHome)
{
    m->organiser().newCollection("Taxes", {m->library().items().first()});
    const QUuid taxes = m->organiser().shelf().collections().first().id;
    m->organiser().newCollection("Trips");
    const QUuid trips = m->organiser().shelf().collections().last().id;

    m->search().setSidebar(SidebarItem::collection(taxes));
    EXPECT_EQ(m->search().shownItems().size(), 1);
    m->organiser().deleteCollection(trips);
    EXPECT_EQ(m->search().sidebar(), SidebarItem::collection(taxes)) << "another collection went";
    m->organiser().deleteCollection(taxes);
    EXPECT_EQ(m->search().sidebar(), SidebarItem::home());

    f.tree.mkdir("Elsewhere/Deep");
    m->library().addFolder(f.tree.path("Elsewhere"));
    ASSERT_TRUE(m->waitForIdle());
    m->search().setSidebar(SidebarItem::folder(f.tree.path("Documents")));
    m->library().removeFolder(f.tree.path("Elsewhere"));
    EXPECT_EQ(m->search().sidebar(), SidebarItem::folder(f.tree.path("Documents"))) << "not inside the folder";
    m->library().addFolder(f.tree.path("Elsewhere"));
    ASSERT_TRUE(m->waitForIdle());
    m->search().setSidebar(SidebarItem::folder(f.tree.path("Elsewhere/Deep")));
    m->library().removeFolder(f.tree.path("Elsewhere"));
    EXPECT_EQ(m->search().sidebar(), SidebarItem::home());
    ASSERT_TRUE(m->waitForIdle());
}

TEST_F(SearchRequests, AListPreparedOnThePoolLandsOnlyForTheRequestStillAsked)
{
    SearchSession& s = m->search();
    s.setQuery("pdfs");
    ASSERT_FALSE(s.isVisibleReady());
    s.prepareVisibleItems();
    // Changed while the first list is worked out: that list must never land.
    s.setQuery("from gmail");
    s.prepareVisibleItems();
    QSignalSpy shown(&s, &SearchSession::shownItemsChanged);
    ASSERT_TRUE(QTest::qWaitFor([&] { return s.isVisibleReady(); }, 5000));
    EXPECT_GE(shown.count(), 1) << "the window hears that the list is ready";
    EXPECT_EQ(names(s.visibleItems()), QStringList{"invoice.pdf"});
    QTest::qWait(50);
    EXPECT_EQ(names(s.visibleItems()), QStringList{"invoice.pdf"}) << "no stale list arrives later";

    // The same list as worked out on the spot, for a sidebar entry with its own files.
    s.setSidebar(SidebarItem::folder(f.tree.path("Documents/Work")));
    s.setQuery("pdf");
    s.prepareVisibleItems();
    ASSERT_TRUE(QTest::qWaitFor([&] { return s.isVisibleReady(); }, 5000));
    EXPECT_EQ(names(s.visibleItems()), (QStringList{"plan 2.pdf", "plan 10.pdf"}));

    // Asked for at once while one is being prepared: worked out here, and the pool's is dropped.
    s.setQuery("plan 10");
    s.prepareVisibleItems();
    EXPECT_EQ(names(s.visibleItems()), QStringList{"plan 10.pdf"});
    QTest::qWait(50);
    EXPECT_EQ(names(s.visibleItems()), QStringList{"plan 10.pdf"});
}

TEST_F(SearchRequests, AListOnItsWayForAnotherEntryNeverReplacesTheNewEntrysOwn)
{
    SearchSession& s = m->search();
    s.setQuery("pdfs");
    s.prepareVisibleItems();
    s.setSidebar(SidebarItem::folder(f.tree.path("Documents/Work")));
    s.prepareVisibleItems();
    ASSERT_TRUE(QTest::qWaitFor([&] { return s.isVisibleReady(); }, 5000));
    QTest::qWait(50);
    EXPECT_EQ(names(s.visibleItems()), (QStringList{"plan 2.pdf", "plan 10.pdf"}));
}
