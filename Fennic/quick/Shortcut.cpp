#include "Shortcut.h"

#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QKeySequence>
#include <utility>

namespace fennic {
namespace {

struct KeyCode {
    std::uint32_t code;
    Qt::Key key;
};

// The stored ANSI-layout codes and the Qt keys they stand for.
constexpr KeyCode kKeys[] = {
    {49, Qt::Key_Space},
    {36, Qt::Key_Return},
    {48, Qt::Key_Tab},
    {51, Qt::Key_Backspace},
    {53, Qt::Key_Escape},
    {123, Qt::Key_Left},
    {124, Qt::Key_Right},
    {125, Qt::Key_Down},
    {126, Qt::Key_Up},
    // letters
    {0, Qt::Key_A},
    {11, Qt::Key_B},
    {8, Qt::Key_C},
    {2, Qt::Key_D},
    {14, Qt::Key_E},
    {3, Qt::Key_F},
    {5, Qt::Key_G},
    {4, Qt::Key_H},
    {34, Qt::Key_I},
    {38, Qt::Key_J},
    {40, Qt::Key_K},
    {37, Qt::Key_L},
    {46, Qt::Key_M},
    {45, Qt::Key_N},
    {31, Qt::Key_O},
    {35, Qt::Key_P},
    {12, Qt::Key_Q},
    {15, Qt::Key_R},
    {1, Qt::Key_S},
    {17, Qt::Key_T},
    {32, Qt::Key_U},
    {9, Qt::Key_V},
    {13, Qt::Key_W},
    {7, Qt::Key_X},
    {16, Qt::Key_Y},
    {6, Qt::Key_Z},
    // digits
    {29, Qt::Key_0},
    {18, Qt::Key_1},
    {19, Qt::Key_2},
    {20, Qt::Key_3},
    {21, Qt::Key_4},
    {23, Qt::Key_5},
    {22, Qt::Key_6},
    {26, Qt::Key_7},
    {28, Qt::Key_8},
    {25, Qt::Key_9},
    // function keys
    {122, Qt::Key_F1},
    {120, Qt::Key_F2},
    {99, Qt::Key_F3},
    {118, Qt::Key_F4},
    {96, Qt::Key_F5},
    {97, Qt::Key_F6},
    {98, Qt::Key_F7},
    {100, Qt::Key_F8},
    {101, Qt::Key_F9},
    {109, Qt::Key_F10},
    {103, Qt::Key_F11},
    {111, Qt::Key_F12},
    // punctuation
    {50, Qt::Key_QuoteLeft},
    {27, Qt::Key_Minus},
    {24, Qt::Key_Equal},
    {33, Qt::Key_BracketLeft},
    {30, Qt::Key_BracketRight},
    {41, Qt::Key_Semicolon},
    {39, Qt::Key_Apostrophe},
    {43, Qt::Key_Comma},
    {47, Qt::Key_Period},
    {44, Qt::Key_Slash},
    {42, Qt::Key_Backslash},
    // PC keys the desktops' own shortcuts use, at the codes such keyboards report there:
    // Print Screen sits where F13 would, Delete is the forward delete.
    {105, Qt::Key_Print},
    {117, Qt::Key_Delete},
};

// What Qt reports for a key pressed together with Shift on a US layout, and for keypad keys:
// the key whose code is stored.
constexpr std::pair<Qt::Key, Qt::Key> kSameKey[] = {
    {Qt::Key_Enter, Qt::Key_Return},
    {Qt::Key_Backtab, Qt::Key_Tab},
    {Qt::Key_AsciiTilde, Qt::Key_QuoteLeft},
    {Qt::Key_Exclam, Qt::Key_1},
    {Qt::Key_At, Qt::Key_2},
    {Qt::Key_NumberSign, Qt::Key_3},
    {Qt::Key_Dollar, Qt::Key_4},
    {Qt::Key_Percent, Qt::Key_5},
    {Qt::Key_AsciiCircum, Qt::Key_6},
    {Qt::Key_Ampersand, Qt::Key_7},
    {Qt::Key_Asterisk, Qt::Key_8},
    {Qt::Key_ParenLeft, Qt::Key_9},
    {Qt::Key_ParenRight, Qt::Key_0},
    {Qt::Key_Underscore, Qt::Key_Minus},
    {Qt::Key_Plus, Qt::Key_Equal},
    {Qt::Key_BraceLeft, Qt::Key_BracketLeft},
    {Qt::Key_BraceRight, Qt::Key_BracketRight},
    {Qt::Key_Colon, Qt::Key_Semicolon},
    {Qt::Key_QuoteDbl, Qt::Key_Apostrophe},
    {Qt::Key_Less, Qt::Key_Comma},
    {Qt::Key_Greater, Qt::Key_Period},
    {Qt::Key_Question, Qt::Key_Slash},
    {Qt::Key_Bar, Qt::Key_Backslash},
};

std::optional<Qt::Key> qtKey(std::uint32_t code)
{
    for (const KeyCode& k : kKeys)
        if (k.code == code) return k.key;
    return std::nullopt;
}

std::optional<std::uint32_t> codeOf(Qt::Key key)
{
    for (const auto& [reported, stored] : kSameKey)
        if (key == reported) key = stored;
    for (const KeyCode& k : kKeys)
        if (k.key == key) return k.code;
    return std::nullopt;
}

Qt::KeyboardModifiers qtModifiers(std::uint32_t mask)
{
    Qt::KeyboardModifiers m;
    m.setFlag(Qt::ControlModifier, mask & Shortcut::cmd);
    m.setFlag(Qt::AltModifier, mask & Shortcut::option);
    m.setFlag(Qt::MetaModifier, mask & Shortcut::control);
    m.setFlag(Qt::ShiftModifier, mask & Shortcut::shift);
    return m;
}

// Qt's own text for a key sequence, with the logo key called Super as the desktops call it.
QString nativeText(QKeyCombination combination)
{
    QString text = QKeySequence(combination).toString(QKeySequence::NativeText);
    text.replace(QStringLiteral("Meta+"), QStringLiteral("Super+"));
    return text;
}

const QHash<Shortcut, QString>& reserved()
{
    using S = Shortcut;
    constexpr std::uint32_t ctrl = S::cmd, alt = S::option, super = S::control, shift = S::shift;
    constexpr std::uint32_t space = S::spaceKey, tab = 48, backtick = 50, period = 47, print = 105, del = 117;
    const QString screenshots = QStringLiteral("the screenshot tool");
    static const QHash<Shortcut, QString> table{
        {S{space, super}, "switching input sources"},
        {S{space, super | shift}, "switching input sources"},
        {S{space, ctrl}, "the input method"},
        {S{period, super}, "the emoji picker"},
        {S{space, alt}, "KRunner"},
        {S{122, alt}, "the application launcher"},              // F1
        {S{120, alt}, "the Run dialog"},                        // F2
        {S{0, super}, "GNOME Shell\u2019s app grid"},           // A
        {S{9, super}, "GNOME Shell\u2019s notification list"},  // V
        {S{2, super}, "showing the desktop"},                   // D
        {S{14, super}, "the file manager"},                     // E
        {S{17, ctrl | alt}, "the terminal"},                    // T
        {S{tab, alt}, "the app switcher"},
        {S{tab, alt | shift}, "the app switcher"},
        {S{tab, super}, "the app switcher"},
        {S{tab, super | shift}, "the app switcher"},
        {S{backtick, alt}, "switching windows of an app"},
        {S{126, super}, "window tiling"},  // arrows
        {S{125, super}, "window tiling"},
        {S{123, super}, "window tiling"},
        {S{124, super}, "window tiling"},
        {S{123, ctrl | alt}, "switching workspaces"},
        {S{124, ctrl | alt}, "switching workspaces"},
        {S{print, alt}, screenshots},
        {S{print, ctrl}, screenshots},
        {S{print, ctrl | shift}, screenshots},
        {S{print, ctrl | alt}, screenshots},
        {S{print, super}, screenshots},
        {S{print, super | shift}, screenshots},
        {S{1, super | shift}, screenshots},               // S
        {S{15, ctrl | alt | shift}, "screen recording"},  // R
        {S{37, super}, "Lock Screen"},                    // L
        {S{37, ctrl | alt}, "Lock Screen"},
        {S{del, ctrl | alt}, "Log Out"},
        {S{118, alt}, "Close Window (Alt+F4)"},
        {S{13, ctrl}, "Close Window (Ctrl+W)"},
        {S{12, ctrl}, "Quit (Ctrl+Q)"},
    };
    return table;
}

}  // namespace

std::optional<QKeyCombination> Shortcut::keyCombination() const
{
    const auto key = qtKey(keyCode);
    if (!key) return std::nullopt;
    return QKeyCombination(qtModifiers(modifiers), *key);
}

std::optional<Shortcut> Shortcut::fromKeyCombination(QKeyCombination combination)
{
    const auto code = codeOf(combination.key());
    if (!code) return std::nullopt;
    const Qt::KeyboardModifiers m = combination.keyboardModifiers();
    std::uint32_t mask = 0;
    if (m & Qt::ControlModifier) mask |= cmd;
    if (m & Qt::AltModifier) mask |= option;
    if (m & Qt::MetaModifier) mask |= control;
    if (m & Qt::ShiftModifier) mask |= shift;
    return Shortcut{*code, mask};
}

QString Shortcut::display() const
{
    if (const auto combination = keyCombination()) return nativeText(*combination);
    // A key without a Qt name: Qt's modifier text (taken from the same modifiers on Space),
    // then the key's number.
    const QString withSpace = nativeText(QKeyCombination(qtModifiers(modifiers), Qt::Key_Space));
    return withSpace.chopped(keyName(spaceKey).size()) + keyName(keyCode);
}

QString Shortcut::keyName(std::uint32_t code)
{
    if (const auto key = qtKey(code)) return nativeText(QKeyCombination(*key));
    return QStringLiteral("Key ") + QString::number(code);
}

std::optional<QString> Shortcut::reservedOwner(const Shortcut& shortcut)
{
    const auto& table = reserved();
    if (auto it = table.constFind(shortcut); it != table.constEnd()) return *it;
    return std::nullopt;
}

std::optional<QString> Shortcut::problem() const
{
    if ((modifiers & (cmd | control | option)) == 0)
        return QStringLiteral("Use at least one of Ctrl, Alt or Super so it doesn't get in the way of typing.");
    if (auto owner = reservedOwner(*this)) return display() + QStringLiteral(" is already used by ") + *owner + u'.';
    return std::nullopt;
}

QByteArray Shortcut::toJson() const
{
    QJsonObject o{{"keyCode", qint64(keyCode)}, {"modifiers", qint64(modifiers)}};
    return QJsonDocument(o).toJson(QJsonDocument::Compact);
}

std::optional<Shortcut> Shortcut::fromJson(const QByteArray& json)
{
    QJsonParseError error{};
    const QJsonDocument doc = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !doc.isObject()) return std::nullopt;
    const QJsonObject o = doc.object();
    const QJsonValue key = o.value(QStringLiteral("keyCode"));
    const QJsonValue mods = o.value(QStringLiteral("modifiers"));
    if (!key.isDouble() || !mods.isDouble()) return std::nullopt;
    const double k = key.toDouble(), m = mods.toDouble();
    if (k < 0 || m < 0 || k > 0xffffffffu || m > 0xffffffffu || k != double(qint64(k)) || m != double(qint64(m)))
        return std::nullopt;
    return Shortcut{std::uint32_t(k), std::uint32_t(m)};
}

}  // namespace fennic
