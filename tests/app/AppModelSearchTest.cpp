#include "AppTestSupport.h"
#include "support/TestItems.h"

#include "library/LibraryCache.h"

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
class SearchSession : public ::testing::Test {
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

TEST_F(SearchSession, EmptyResultsShowOnlyOnceTheRequestSettles)
{
    m->setQuery("pdfs");
    EXPECT_EQ(m->shownItems().size(), 4);
    EXPECT_FALSE(m->searchSettled());

    m->setQuery("pdfs from zzqx");
    EXPECT_TRUE(m->visibleItems().isEmpty());
    EXPECT_EQ(m->shownItems().size(), 4) << "the last results stay while typing";

    QSignalSpy settled(m, &AppModel::searchSettledChanged);
    ASSERT_TRUE(settled.wait(2000));
    EXPECT_TRUE(m->searchSettled());
    EXPECT_TRUE(m->shownItems().isEmpty());
}

TEST_F(SearchSession, ClearingTheRequestShowsTheSidebarEntryInSortOrder)
{
    m->setQuery("pdfs");
    ASSERT_FALSE(m->shownItems().isEmpty());
    m->setQuery("");
    EXPECT_TRUE(m->heldResults().isEmpty());
    EXPECT_EQ(names(m->shownItems()),
              (QStringList{"notes.txt", "invoice.pdf", "manual.pdf", "plan 2.pdf", "plan 10.pdf"}));

    m->setSortKeyRaw("name");
    m->setSortAscending(true);
    EXPECT_EQ(names(m->shownItems()),
              (QStringList{"invoice.pdf", "manual.pdf", "notes.txt", "plan 2.pdf", "plan 10.pdf"}));
    m->setSortKeyRaw("no-such-key");
    EXPECT_EQ(m->sortKey(), SortKey::dateAdded);
}

TEST_F(SearchSession, RequestsSearchTheWholeLibraryOrTheSelectedFolder)
{
    m->setQuery("pdfs");
    EXPECT_EQ(m->shownItems().size(), 4);
    m->setSidebar(SidebarItem::folder(f.tree.path("Documents/Work")));
    EXPECT_TRUE(m->heldResults().isEmpty()) << "a sidebar change drops held results";
    EXPECT_EQ(names(m->shownItems()), (QStringList{"plan 2.pdf", "plan 10.pdf"}));

    m->setSidebar(SidebarItem::downloadedFrom("gmail"));
    EXPECT_EQ(names(m->shownItems()), QStringList{"invoice.pdf"});
    m->setSidebar(SidebarItem::downloadedFrom(QString()));
    EXPECT_EQ(m->shownItems().size(), 2) << "every downloaded file, whatever its source";
    m->setSidebar(SidebarItem::page(SidebarItem::Kind::recents));
    EXPECT_EQ(m->shownItems().size(), 4);
}

TEST_F(SearchSession, SavingASearchTwiceKeepsOneEntry)
{
    m->setQuery("  pdfs from gmail ");
    m->saveCurrentSearch();
    ASSERT_EQ(m->savedSearches().size(), 1);
    EXPECT_EQ(m->savedSearches()[0].name, "Pdfs from gmail");
    EXPECT_EQ(m->savedSearches()[0].query, "pdfs from gmail");
    EXPECT_EQ(m->query(), "");
    EXPECT_EQ(m->sidebar(), SidebarItem::savedSearch(m->savedSearches()[0].id));
    ASSERT_TRUE(m->toast());
    EXPECT_EQ(m->toast()->text, "Saved “Pdfs from gmail” to the sidebar");
    EXPECT_EQ(m->toast()->symbol, "bookmark");
    EXPECT_EQ(names(m->shownItems()), QStringList{"invoice.pdf"}) << "the saved search's entry shows its results";

    m->setSidebar(SidebarItem::home());
    m->setQuery("PDFs from Gmail");
    m->saveCurrentSearch();
    EXPECT_EQ(m->savedSearches().size(), 1);

    // Saved searches persist.
    m->settings().sync();
    const QUuid id = m->savedSearches()[0].id;
    f.model.reset();
    AppModel& again = f.make();
    ASSERT_EQ(again.savedSearches().size(), 1);
    EXPECT_EQ(again.savedSearches()[0].id, id);
}

TEST_F(SearchSession, HighlightsComeFromTextFiltersOrTheFinder)
{
    m->setQuery("plan pdfs");
    EXPECT_EQ(m->highlightQuery(), QStringList{"plan"});
    m->setQuery("plan pdfs report");
    EXPECT_EQ(m->highlightQuery(), (QStringList{"plan", "report"})) << "each word on its own";
    m->setQuery("plan pdfs");
    m->setSidebar(SidebarItem::page(SidebarItem::Kind::findImages));
    m->setFindQuery("receipt");
    EXPECT_EQ(m->highlightQuery(), QStringList{"receipt"});
    m->setFindMode("describe");
    EXPECT_EQ(m->highlightQuery(), QStringList{"plan"});
}
