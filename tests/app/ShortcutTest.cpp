#include "quick/Shortcut.h"

#include <QSet>
#include <gtest/gtest.h>

using namespace fennic;
using S = Shortcut;

TEST(ShortcutTest, DisplayOrdersModifiersAndNamesKeys)
{
    EXPECT_EQ(S::standard().display(), "⇧⌘Space");
    EXPECT_EQ((S{0, S::control | S::option | S::shift | S::cmd}).display(), "⌃⌥⇧⌘A");
    EXPECT_EQ((S{111, S::option}).display(), "⌥F12");
    EXPECT_EQ(S::keyName(36), "↩");
    EXPECT_EQ(S::keyName(42), "\\");
    EXPECT_EQ(S::keyName(122), "F1");
    EXPECT_EQ(S::keyName(200), "Key 200");
}

TEST(ShortcutTest, KeyTableHasSixtyEightDistinctNames)
{
    QSet<QString> names;
    for (std::uint32_t code = 0; code < 256; ++code) {
        const QString n = S::keyName(code);
        if (!n.startsWith("Key ")) names.insert(n);
    }
    EXPECT_EQ(names.size(), 68);
}

TEST(ShortcutTest, ProblemsRefuseTypingKeysAndReservedShortcuts)
{
    EXPECT_EQ((S{S::spaceKey, S::shift}).problem(),
              "Use at least one of ⌘, ⌃ or ⌥ so it doesn't get in the way of typing.");
    EXPECT_EQ((S{S::spaceKey, 0}).problem().has_value(), true);
    EXPECT_EQ((S{S::spaceKey, S::option | S::cmd}).problem(), "⌥⌘Space is already used by Finder search.");
    EXPECT_EQ((S{S::spaceKey, S::cmd}).problem(), "⌘Space is already used by Spotlight.");
    EXPECT_EQ((S{21, S::shift | S::cmd}).problem(), "⇧⌘4 is already used by screenshots.");
    EXPECT_EQ((S{12, S::control | S::cmd}).problem(), "⌃⌘Q is already used by Lock Screen.");
    EXPECT_FALSE(S::standard().problem().has_value());
    EXPECT_FALSE((S{12, S::option | S::cmd}).problem().has_value());
}

TEST(ShortcutTest, JsonRoundTripAndRejections)
{
    const S s{40, S::control | S::option};
    EXPECT_EQ(S::fromJson(s.toJson()), s);
    EXPECT_EQ(S::fromJson(R"({"keyCode":49,"modifiers":768})"), S::standard());
    EXPECT_FALSE(S::fromJson("").has_value());
    EXPECT_FALSE(S::fromJson(R"({"keyCode":"49","modifiers":768})").has_value());
    EXPECT_FALSE(S::fromJson(R"({"keyCode":49})").has_value());
    EXPECT_FALSE(S::fromJson(R"({"keyCode":-1,"modifiers":0})").has_value());
    EXPECT_FALSE(S::fromJson(R"([49,768])").has_value());
}
