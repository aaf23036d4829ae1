#include "HotKeyRoute.h"

namespace fennic {

std::optional<HotKeyRoute::KeySym> HotKeyRoute::keySymFor(const Shortcut& shortcut)
{
    const auto combination = shortcut.keyCombination();
    if (!combination) return std::nullopt;
    const int key = combination->key();
    // Letters and digits: X names them by their lower-case character, which is also the value.
    if (key >= Qt::Key_A && key <= Qt::Key_Z) {
        const QChar c = QChar(key + 0x20);
        return KeySym{quint32(c.unicode()), QString(c)};
    }
    if (key >= Qt::Key_0 && key <= Qt::Key_9) return KeySym{quint32(key), QString(QChar(key))};
    if (key >= Qt::Key_F1 && key <= Qt::Key_F12)
        return KeySym{quint32(0xffbe + (key - Qt::Key_F1)), QStringLiteral("F%1").arg(key - Qt::Key_F1 + 1)};
    struct Named {
        int key;
        quint32 value;
        const char* name;
    };
    static constexpr Named kNamed[] = {
        {Qt::Key_Space, 0x20, "space"},
        {Qt::Key_Return, 0xff0d, "Return"},
        {Qt::Key_Tab, 0xff09, "Tab"},
        {Qt::Key_Backspace, 0xff08, "BackSpace"},
        {Qt::Key_Escape, 0xff1b, "Escape"},
        {Qt::Key_Left, 0xff51, "Left"},
        {Qt::Key_Up, 0xff52, "Up"},
        {Qt::Key_Right, 0xff53, "Right"},
        {Qt::Key_Down, 0xff54, "Down"},
        {Qt::Key_QuoteLeft, 0x60, "grave"},
        {Qt::Key_Minus, 0x2d, "minus"},
        {Qt::Key_Equal, 0x3d, "equal"},
        {Qt::Key_BracketLeft, 0x5b, "bracketleft"},
        {Qt::Key_BracketRight, 0x5d, "bracketright"},
        {Qt::Key_Semicolon, 0x3b, "semicolon"},
        {Qt::Key_Apostrophe, 0x27, "apostrophe"},
        {Qt::Key_Comma, 0x2c, "comma"},
        {Qt::Key_Period, 0x2e, "period"},
        {Qt::Key_Slash, 0x2f, "slash"},
        {Qt::Key_Backslash, 0x5c, "backslash"},
        {Qt::Key_Print, 0xff61, "Print"},
        {Qt::Key_Delete, 0xffff, "Delete"},
    };
    for (const Named& n : kNamed)
        if (n.key == key) return KeySym{n.value, QString::fromLatin1(n.name)};
    return std::nullopt;
}

}  // namespace fennic
