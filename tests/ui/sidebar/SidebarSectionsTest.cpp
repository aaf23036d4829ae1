// What the sidebar lists, from the values it is built of.
#include "sidebar/SidebarSections.h"

#include <gtest/gtest.h>

using namespace fennic;

namespace {

const SidebarSection* find(const QList<SidebarSection>& sections, SidebarSection::Id id)
{
    for (const SidebarSection& s : sections)
        if (s.id == id) return &s;
    return nullptr;
}

QStringList titles(const SidebarSection& section)
{
    QStringList t;
    for (const SidebarEntry& e : section.entries) t << e.title;
    return t;
}

FileItem itemWith(const QString& path, FileKind kind, std::optional<QString> source = std::nullopt)
{
    FileItem item;
    item.path = path;
    item.kind = kind;
    item.sourceKey = std::move(source);
    return item;
}

}  // namespace

TEST(SidebarSections, EmptyLibraryShowsThePagesFoldersAndFavouritesOnly)
{
    SidebarSections::Sources in;
    in.defaultRoots = {"/h/Desktop", "/h/Documents"};
    const auto sections = SidebarSections::build(in);
    QList<SidebarSection::Id> ids;
    for (const SidebarSection& s : sections) ids << s.id;
    EXPECT_EQ(ids,
              (QList<SidebarSection::Id>{SidebarSection::Id::library, SidebarSection::Id::folders,
                                         SidebarSection::Id::collections, SidebarSection::Id::quickFilters}));
    EXPECT_EQ(titles(sections[0]), (QStringList{"Home", "Recents", "Find Images", "Duplicates", "Clean-up"}));
    EXPECT_EQ(titles(sections[2]), QStringList{"Favourites"});
    EXPECT_EQ(titles(sections[3]), (QStringList{"Large Files", "Screenshots"}));
}

TEST(SidebarSections, KindsWithFilesInDisplayOrderWithCounts)
{
    SidebarSections::Sources in;
    in.stats = LibraryStats(QList<FileItem>{itemWith("/a.txt", FileKind::document), itemWith("/b.png", FileKind::image),
                                            itemWith("/c.png", FileKind::image), itemWith("/d", FileKind::other)});
    const auto sections = SidebarSections::build(in);
    const SidebarSection* kinds = find(sections, SidebarSection::Id::kinds);
    ASSERT_TRUE(kinds);
    ASSERT_EQ(titles(*kinds), (QStringList{"Images", "Documents"})) << "kinds without files, and Other, are left out";
    EXPECT_EQ(kinds->entries[0].item, SidebarItem::ofKind(FileKind::image));
    EXPECT_EQ(kinds->entries[0].count, 2);
    EXPECT_EQ(kinds->entries[0].tint, FileKind::image);
    EXPECT_EQ(kinds->entries[0].accessibleText(), "Images, 2 files");
    EXPECT_EQ(kinds->entries[1].accessibleText(), "Documents, 1 file");
}

TEST(SidebarSections, FoldersListPinnedFirstOnceAndOnlyAddedOnesAreRemovable)
{
    SidebarSections::Sources in;
    in.defaultRoots = {"/h/Desktop", "/h/Documents", "/h/Downloads", "/h/Pictures", "/h/Movies", "/h/Music"};
    in.extraRoots = {"/data/Projects"};
    in.pinned = {"/h/Downloads", "/h/Documents/Taxes"};
    const auto sections = SidebarSections::build(in);
    const SidebarSection* folders = find(sections, SidebarSection::Id::folders);
    ASSERT_TRUE(folders);
    ASSERT_EQ(titles(*folders),
              (QStringList{"Downloads", "Taxes", "Desktop", "Documents", "Pictures", "Movies", "Music", "Projects"}));
    EXPECT_EQ(folders->entries[0].item, SidebarItem::folder("/h/Downloads", true));
    EXPECT_TRUE(folders->entries[0].pinned);
    EXPECT_FALSE(folders->entries[2].pinned);
    EXPECT_EQ(folders->entries[2].item, SidebarItem::folder("/h/Desktop"));
    EXPECT_FALSE(folders->entries[0].removable) << "a default folder stays in the library";
    EXPECT_TRUE(folders->entries[7].removable);
    EXPECT_EQ(folders->entries[0].iconNames.first(), "folder-download");
    EXPECT_EQ(folders->entries[7].iconNames.first(), "folder");
}

TEST(SidebarSections, ShelfGivesFavouritesCollectionsAndTagsWithCounts)
{
    SidebarSections::Sources in;
    in.shelf.toggleFavourite("/a");
    const auto trip = in.shelf.newCollection("Trip", {"/a", "/b"});
    in.shelf.addTag("receipts", {"/a", "/b", "/c"});
    in.shelf.addTag("tax", {"/a"});
    in.savedSearches = {SavedSearch::make("Big photos", "photos over 5 MB")};
    const auto sections = SidebarSections::build(in);

    const SidebarSection* collections = find(sections, SidebarSection::Id::collections);
    ASSERT_TRUE(collections);
    ASSERT_EQ(titles(*collections), (QStringList{"Favourites", "Trip"}));
    EXPECT_EQ(collections->entries[0].count, 1);
    EXPECT_EQ(collections->entries[1].item, SidebarItem::collection(trip->id));
    EXPECT_EQ(collections->entries[1].count, 2);
    EXPECT_TRUE(collections->entries[1].isRenamable());
    EXPECT_TRUE(collections->entries[0].acceptsFiles());
    EXPECT_FALSE(collections->entries[0].isRenamable());

    const SidebarSection* tags = find(sections, SidebarSection::Id::tags);
    ASSERT_TRUE(tags);
    EXPECT_EQ(titles(*tags), (QStringList{"receipts", "tax"})) << "most used first";
    EXPECT_EQ(tags->entries[0].count, 3);
    EXPECT_EQ(tags->entries[0].item, SidebarItem::tag("receipts"));

    const SidebarSection* saved = find(sections, SidebarSection::Id::savedSearches);
    ASSERT_TRUE(saved);
    EXPECT_EQ(titles(*saved), QStringList{"Big photos"});
    EXPECT_EQ(saved->entries[0].toolTip, "photos over 5 MB");
    EXPECT_FALSE(saved->entries[0].count);
}

TEST(SidebarSections, DownloadSourcesByCountWithTheirNames)
{
    const QList<FileItem> items{itemWith("/1", FileKind::document, QString("gmail")),
                                itemWith("/2", FileKind::document, QString("site:example.org")),
                                itemWith("/3", FileKind::image, QString("site:example.org")),
                                itemWith("/4", FileKind::image)};
    SidebarSections::Sources in;
    in.stats = LibraryStats(items);
    EXPECT_EQ(in.stats.bySource.size(), 2);

    const auto sections = SidebarSections::build(in);
    const SidebarSection* quick = find(sections, SidebarSection::Id::quickFilters);
    ASSERT_TRUE(quick);
    ASSERT_EQ(quick->entries.size(), 4);
    EXPECT_EQ(quick->entries[2].item, SidebarItem::downloadedFrom("site:example.org"));
    EXPECT_EQ(quick->entries[2].count, 2);
    EXPECT_EQ(quick->entries[3].title, "From Gmail");
    EXPECT_EQ(quick->entries[3].count, 1);
    EXPECT_NE(quick->entries[2].key(), quick->entries[3].key());
}
