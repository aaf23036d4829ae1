#include "quick/Shortcut.h"

#include <QSet>
#include <gtest/gtest.h>

using namespace fennic;
using S = Shortcut;

namespace {

constexpr std::uint32_t kAllModifiers = S::control | S::option | S::shift | S::cmd;

// Every shortcut a recorder could produce with a named key: each key under each combination
// of the four modifiers.
QList<S> everyNamedShortcut()
{
    QList<S> all;
    for (std::uint32_t code = 0; code < 256; ++code) {
        if (S::keyName(code).startsWith("Key ")) continue;
        for (std::uint32_t bits = 0; bits < 16; ++bits) {
            std::uint32_t mask = 0;
            if (bits & 1) mask |= S::cmd;
            if (bits & 2) mask |= S::shift;
            if (bits & 4) mask |= S::option;
            if (bits & 8) mask |= S::control;
            all.append(S{code, mask});
        }
    }
    return all;
}

}  // namespace

TEST(ShortcutTest, DisplayNamesKeysTheWayTheDesktopWritesThem)
{
    struct Row {
        const char* name;
        S shortcut;
        const char* display;
    };
    const Row rows[] = {
        {"the default", S::standard(), "Ctrl+Shift+Space"},
        {"every modifier, Qt's order", S{0, kAllModifiers}, "Super+Ctrl+Alt+Shift+A"},
        {"the stored control bit is Super", S{37, S::control}, "Super+L"},
        {"the stored option bit is Alt", S{111, S::option}, "Alt+F12"},
        {"forward delete", S{117, S::cmd | S::option}, "Ctrl+Alt+Del"},
        {"print screen", S{105, S::option}, "Alt+Print"},
        {"punctuation", S{50, S::option}, "Alt+`"},
        {"unknown key after its modifiers", S{200, S::cmd | S::shift}, "Ctrl+Shift+Key 200"},
        {"unknown key alone", S{200, 0}, "Key 200"},
    };
    for (const Row& r : rows) EXPECT_EQ(r.shortcut.display(), QString::fromUtf8(r.display)) << r.name;

    const std::pair<std::uint32_t, const char*> names[] = {
        {36, "Return"}, {48, "Tab"},  {51, "Backspace"}, {53, "Esc"}, {123, "Left"},    {42, "\\"},
        {122, "F1"},    {111, "F12"}, {0, "A"},          {29, "0"},   {200, "Key 200"},
    };
    for (const auto& [code, name] : names) EXPECT_EQ(S::keyName(code), QString::fromUtf8(name)) << code;
}

TEST(ShortcutTest, KeyTableHasSeventyDistinctNames)
{
    // The 68 keys of an ANSI keyboard's main block, plus Print and Delete for the desktops'
    // own shortcuts.
    QSet<QString> names;
    for (std::uint32_t code = 0; code < 256; ++code) {
        const QString n = S::keyName(code);
        if (!n.startsWith("Key ")) names.insert(n);
    }
    EXPECT_EQ(names.size(), 70);
}

TEST(ShortcutTest, QtKeysRoundTripThroughTheStoredCodes)
{
    for (const S& s : everyNamedShortcut()) {
        const auto combination = s.keyCombination();
        ASSERT_TRUE(combination.has_value()) << s.display().toStdString();
        EXPECT_EQ(S::fromKeyCombination(*combination), s) << s.display().toStdString();
    }
    EXPECT_EQ(S::standard().keyCombination(), Qt::CTRL | Qt::SHIFT | Qt::Key_Space);
    EXPECT_EQ((S{37, S::control}).keyCombination(), Qt::META | Qt::Key_L);
    EXPECT_EQ((S{118, S::option}).keyCombination(), Qt::ALT | Qt::Key_F4);
    EXPECT_FALSE((S{200, S::cmd}).keyCombination().has_value());
}

TEST(ShortcutTest, RecorderKeysMapToTheKeyTheyAreOn)
{
    struct Row {
        const char* name;
        QKeyCombination pressed;
        std::optional<S> recorded;
    };
    const Row rows[] = {
        {"Shift+1 arrives as !", Qt::CTRL | Qt::SHIFT | Qt::Key_Exclam, S{18, S::cmd | S::shift}},
        {"Shift+/ arrives as ?", Qt::ALT | Qt::SHIFT | Qt::Key_Question, S{44, S::option | S::shift}},
        {"Shift+Tab arrives as Backtab", Qt::ALT | Qt::SHIFT | Qt::Key_Backtab, S{48, S::option | S::shift}},
        {"keypad Enter is Return", QKeyCombination(Qt::ControlModifier | Qt::KeypadModifier, Qt::Key_Enter),
         S{36, S::cmd}},
        {"keypad digit is the digit", QKeyCombination(Qt::ControlModifier | Qt::KeypadModifier, Qt::Key_5),
         S{23, S::cmd}},
        {"Meta is the stored control bit", Qt::META | Qt::Key_Space, S{S::spaceKey, S::control}},
        {"Home has no stored code", Qt::CTRL | Qt::Key_Home, std::nullopt},
        {"a modifier alone", QKeyCombination(Qt::ControlModifier, Qt::Key_Control), std::nullopt},
    };
    for (const Row& r : rows) EXPECT_EQ(S::fromKeyCombination(r.pressed), r.recorded) << r.name;
}

TEST(ShortcutTest, ProblemsRefuseTypingKeysAndTheDesktopsShortcuts)
{
    struct Row {
        const char* name;
        S shortcut;
        std::optional<const char*> problem;
    };
    const char* typing = "Use at least one of Ctrl, Alt or Super so it doesn't get in the way of typing.";
    const Row rows[] = {
        {"shift alone", S{S::spaceKey, S::shift}, typing},
        {"no modifier", S{S::spaceKey, 0}, typing},
        {"shift with print", S{105, S::shift}, typing},
        {"input sources", S{S::spaceKey, S::control}, "Super+Space is already used by switching input sources."},
        {"input sources back", S{S::spaceKey, S::control | S::shift},
         "Super+Shift+Space is already used by switching input sources."},
        {"input method", S{S::spaceKey, S::cmd}, "Ctrl+Space is already used by the input method."},
        {"KRunner", S{S::spaceKey, S::option}, "Alt+Space is already used by KRunner."},
        {"run dialog", S{120, S::option}, "Alt+F2 is already used by the Run dialog."},
        {"app grid", S{0, S::control}, "Super+A is already used by GNOME Shell\u2019s app grid."},
        {"app switcher", S{48, S::option}, "Alt+Tab is already used by the app switcher."},
        {"windows of an app", S{50, S::option}, "Alt+` is already used by switching windows of an app."},
        {"window screenshot", S{105, S::option}, "Alt+Print is already used by the screenshot tool."},
        {"area screenshot", S{1, S::control | S::shift}, "Super+Shift+S is already used by the screenshot tool."},
        {"lock", S{37, S::control}, "Super+L is already used by Lock Screen."},
        {"log out", S{117, S::cmd | S::option}, "Ctrl+Alt+Del is already used by Log Out."},
        {"close window", S{118, S::option}, "Alt+F4 is already used by Close Window (Alt+F4)."},
        {"quit", S{12, S::cmd}, "Ctrl+Q is already used by Quit (Ctrl+Q)."},
        {"the default is free", S::standard(), std::nullopt},
        {"Ctrl+Alt+Q is free", S{12, S::option | S::cmd}, std::nullopt},
        {"Super+Shift+Space is taken but Ctrl+Super+Space is free", S{S::spaceKey, S::control | S::cmd}, std::nullopt},
    };
    for (const Row& r : rows) {
        const auto expected = r.problem ? std::optional(QString::fromUtf8(*r.problem)) : std::nullopt;
        EXPECT_EQ(r.shortcut.problem(), expected) << r.name;
    }
}

TEST(ShortcutTest, ShownTextsNeverUseAnotherPlatformsKeyNames)
{
    const QStringList foreign{"⌘",       "⌥",      "⌃",       "⇧",    "↩",      "⌫",        "⎋",
                              "Command", "Option", "Control", "Meta", "Finder", "Spotlight"};
    for (const S& s : everyNamedShortcut()) {
        const QString shown = s.display() + u'\n' + s.problem().value_or(QString());
        for (const QString& word : foreign)
            EXPECT_FALSE(shown.contains(word)) << shown.toStdString() << " names " << word.toStdString();
    }
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
