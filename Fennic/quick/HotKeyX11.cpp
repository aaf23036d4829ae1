#include "HotKeyX11.h"

#include <QSocketNotifier>
#include <cstdlib>
#include <xcb/xcb.h>

namespace fennic {
namespace {

constexpr quint32 kNumLockKeySym = 0xff7f;
constexpr quint8 kBadAccess = 10;

// The stored modifier bits as X's: the record's `cmd` is the Ctrl key, `option` Alt and
// `control` the logo key (Super, Mod4 on every common keymap).
quint16 xModifiers(std::uint32_t mask)
{
    quint16 m = 0;
    if (mask & Shortcut::cmd) m |= XCB_MOD_MASK_CONTROL;
    if (mask & Shortcut::shift) m |= XCB_MOD_MASK_SHIFT;
    if (mask & Shortcut::option) m |= XCB_MOD_MASK_1;
    if (mask & Shortcut::control) m |= XCB_MOD_MASK_4;
    return m;
}

template <typename Reply> struct FreeReply {
    void operator()(Reply* r) const { std::free(r); }  // NOLINT(cppcoreguidelines-no-malloc): xcb allocates replies
};
template <typename Reply> using ReplyPtr = std::unique_ptr<Reply, FreeReply<Reply>>;

}  // namespace

HotKeyX11::HotKeyX11(const QByteArray& display, QObject* parent) : HotKeyRoute(parent)
{
    int screenNumber = 0;
    xcb_connection_t* c = xcb_connect(display.isEmpty() ? nullptr : display.constData(), &screenNumber);
    if (xcb_connection_has_error(c)) {
        xcb_disconnect(c);
        return;
    }
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(c));
    for (int i = 0; i < screenNumber && screens.rem; ++i) xcb_screen_next(&screens);
    if (!screens.rem) {
        xcb_disconnect(c);
        return;
    }
    m_connection = c;
    m_root = screens.data->root;
    m_locks = quint16(XCB_MOD_MASK_LOCK | numLockMask());
    m_notifier = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(c), QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &HotKeyX11::readEvents);
}

HotKeyX11::~HotKeyX11()
{
    unbind();
    m_notifier.reset();
    if (m_connection) xcb_disconnect(m_connection);
}

std::optional<quint8> HotKeyX11::keycodeFor(quint32 keysym) const
{
    const xcb_setup_t* setup = xcb_get_setup(m_connection);
    const quint8 first = setup->min_keycode;
    const int count = setup->max_keycode - first + 1;
    ReplyPtr<xcb_get_keyboard_mapping_reply_t> reply(xcb_get_keyboard_mapping_reply(
        m_connection, xcb_get_keyboard_mapping(m_connection, first, quint8(count)), nullptr));
    if (!reply) return std::nullopt;
    const xcb_keysym_t* syms = xcb_get_keyboard_mapping_keysyms(reply.get());
    const int perCode = reply->keysyms_per_keycode;
    // The key's own (unshifted) symbol first: that is the key the user pressed in Settings.
    for (int column = 0; column < perCode; ++column)
        for (int i = 0; i < count; ++i)
            if (syms[i * perCode + column] == keysym) return quint8(first + i);
    return std::nullopt;
}

quint16 HotKeyX11::numLockMask() const
{
    const auto numLock = keycodeFor(kNumLockKeySym);
    ReplyPtr<xcb_get_modifier_mapping_reply_t> reply(
        xcb_get_modifier_mapping_reply(m_connection, xcb_get_modifier_mapping(m_connection), nullptr));
    if (!numLock || !reply) return XCB_MOD_MASK_2;
    const xcb_keycode_t* codes = xcb_get_modifier_mapping_keycodes(reply.get());
    const int perModifier = reply->keycodes_per_modifier;
    for (int modifier = 0; modifier < 8; ++modifier)
        for (int k = 0; k < perModifier; ++k)
            if (codes[modifier * perModifier + k] == *numLock) return quint16(1u << modifier);
    return XCB_MOD_MASK_2;
}

std::optional<QString> HotKeyX11::bind(const Shortcut& shortcut)
{
    unbind();
    if (!m_connection) return QStringLiteral("Fennic could not reach the X server to set up the shortcut.");
    const auto sym = keySymFor(shortcut);
    const auto keycode = sym ? keycodeFor(sym->value) : std::nullopt;
    if (!keycode)
        return QStringLiteral("This keyboard has no %1 key; choose another shortcut.").arg(
            Shortcut::keyName(shortcut.keyCode));

    const Grab grab{*keycode, xModifiers(shortcut.modifiers)};
    const quint16 numLock = m_locks & ~quint16(XCB_MOD_MASK_LOCK);
    const quint16 variants[] = {0, XCB_MOD_MASK_LOCK, numLock, quint16(XCB_MOD_MASK_LOCK | numLock)};
    std::vector<xcb_void_cookie_t> cookies;
    for (quint16 lock : variants)
        cookies.push_back(xcb_grab_key_checked(m_connection, 1, m_root, quint16(grab.modifiers | lock), grab.keycode,
                                               XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    bool taken = false, failed = false;
    for (const xcb_void_cookie_t cookie : cookies) {
        ReplyPtr<xcb_generic_error_t> error(xcb_request_check(m_connection, cookie));
        if (error) (error->error_code == kBadAccess ? taken : failed) = true;
    }
    m_grab = grab;
    // Checking the grabs read from the socket; events that came with the replies wait in
    // xcb's queue, where the notifier would not see them.
    readEvents();
    if (!taken && !failed) return std::nullopt;
    unbind();  // releases the variants that did succeed
    if (taken) return QStringLiteral("Another application already uses %1.").arg(shortcut.display());
    return QStringLiteral("The X server refused the shortcut %1.").arg(shortcut.display());
}

void HotKeyX11::unbind()
{
    if (!m_grab || !m_connection) return;
    const quint16 numLock = m_locks & ~quint16(XCB_MOD_MASK_LOCK);
    for (quint16 lock : {quint16(0), quint16(XCB_MOD_MASK_LOCK), numLock, quint16(XCB_MOD_MASK_LOCK | numLock)})
        xcb_ungrab_key(m_connection, m_grab->keycode, m_root, quint16(m_grab->modifiers | lock));
    xcb_flush(m_connection);
    m_grab.reset();
    m_down = false;
}

void HotKeyX11::readEvents()
{
    if (!m_connection) return;
    std::vector<ReplyPtr<xcb_generic_event_t>> events;
    while (xcb_generic_event_t* event = xcb_poll_for_event(m_connection)) events.emplace_back(event);
    int presses = 0;
    for (size_t i = 0; i < events.size(); ++i) {
        const quint8 type = events[i]->response_type & 0x7f;
        if (type != XCB_KEY_PRESS && type != XCB_KEY_RELEASE) continue;
        const auto* key = reinterpret_cast<const xcb_key_press_event_t*>(events[i].get());
        if (!m_grab || key->detail != m_grab->keycode) continue;
        if (type == XCB_KEY_RELEASE) {
            // The server's auto-repeat sends a release and a press with the same time: that
            // pair is the key still held, not let go.
            if (i + 1 < events.size() && (events[i + 1]->response_type & 0x7f) == XCB_KEY_PRESS) {
                const auto* next = reinterpret_cast<const xcb_key_press_event_t*>(events[i + 1].get());
                if (next->detail == key->detail && next->time == key->time) {
                    ++i;
                    continue;
                }
            }
            m_down = false;
            continue;
        }
        if ((key->state & ~m_locks & 0xff) != m_grab->modifiers || m_down) continue;
        m_down = true;
        ++presses;
    }
    for (int i = 0; i < presses; ++i) Q_EMIT pressed();
}

}  // namespace fennic
