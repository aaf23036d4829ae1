#include "Shortcut.h"

#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>

namespace fennic {
namespace {

const QHash<std::uint32_t, QString>& keyNames()
{
    static const QHash<std::uint32_t, QString> names = [] {
        QHash<std::uint32_t, QString> n{
            {49, "Space"},
            {36, "↩"},
            {48, "⇥"},
            {51, "⌫"},
            {53, "⎋"},
            {123, "←"},
            {124, "→"},
            {125, "↓"},
            {126, "↑"},
            // letters at their ANSI-layout codes
            {0, "A"},
            {11, "B"},
            {8, "C"},
            {2, "D"},
            {14, "E"},
            {3, "F"},
            {5, "G"},
            {4, "H"},
            {34, "I"},
            {38, "J"},
            {40, "K"},
            {37, "L"},
            {46, "M"},
            {45, "N"},
            {31, "O"},
            {35, "P"},
            {12, "Q"},
            {15, "R"},
            {1, "S"},
            {17, "T"},
            {32, "U"},
            {9, "V"},
            {13, "W"},
            {7, "X"},
            {16, "Y"},
            {6, "Z"},
            // digits
            {29, "0"},
            {18, "1"},
            {19, "2"},
            {20, "3"},
            {21, "4"},
            {23, "5"},
            {22, "6"},
            {26, "7"},
            {28, "8"},
            {25, "9"},
            // function keys
            {122, "F1"},
            {120, "F2"},
            {99, "F3"},
            {118, "F4"},
            {96, "F5"},
            {97, "F6"},
            {98, "F7"},
            {100, "F8"},
            {101, "F9"},
            {109, "F10"},
            {103, "F11"},
            {111, "F12"},
            // punctuation
            {50, "`"},
            {27, "-"},
            {24, "="},
            {33, "["},
            {30, "]"},
            {41, ";"},
            {39, "'"},
            {43, ","},
            {47, "."},
            {44, "/"},
            {42, "\\"},
        };
        return n;
    }();
    return names;
}

const QHash<Shortcut, QString>& reserved()
{
    using S = Shortcut;
    static const QHash<Shortcut, QString> table{
        {S{S::spaceKey, S::cmd}, "Spotlight"},
        {S{S::spaceKey, S::option | S::cmd}, "Finder search"},
        {S{S::spaceKey, S::control}, "switching input sources"},
        {S{S::spaceKey, S::control | S::option}, "switching input sources"},
        {S{S::spaceKey, S::control | S::cmd}, "the emoji picker"},
        {S{12, S::cmd}, "Quit (⌘Q)"},
        {S{13, S::cmd}, "Close Window (⌘W)"},
        {S{48, S::cmd}, "the app switcher"},
        {S{20, S::shift | S::cmd}, "screenshots"},
        {S{21, S::shift | S::cmd}, "screenshots"},
        {S{23, S::shift | S::cmd}, "screenshots"},
        {S{12, S::control | S::cmd}, "Lock Screen"},
    };
    return table;
}

}  // namespace

QString Shortcut::display() const
{
    QString s;
    if (modifiers & control) s += u'⌃';
    if (modifiers & option) s += u'⌥';
    if (modifiers & shift) s += u'⇧';
    if (modifiers & cmd) s += u'⌘';
    return s + keyName(keyCode);
}

QString Shortcut::keyName(std::uint32_t code)
{
    const auto& names = keyNames();
    if (auto it = names.constFind(code); it != names.constEnd()) return *it;
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
        return QStringLiteral("Use at least one of ⌘, ⌃ or ⌥ so it doesn't get in the way of typing.");
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
