// Passive grabs on the root window: keys that the program receives no matter which window has the focus.
//
// A grab matches the locks exactly, so each key is grabbed four times: without a lock, with Caps Lock, with Num Lock
// and with both. With detectable auto-repeat a held key sends presses without releases between them, which
// distinguishes a repeat from a second press.
#include "platform/linux/x11/window/GlobalKeys.h"

#include <algorithm>
#include <array>
#include <tuple>
#include <utility>

#include "platform/Keyboard.h"
#include "platform/linux/x11/window/Session.h"

namespace zv {
namespace x11 {
namespace {

std::uint16_t MaskOf(const Keyboard& keyboard, std::uint32_t modifiers) {
    unsigned mask = 0;
    mask |= (modifiers & keyModifier::alt) != 0 ? keyboard.altMask : 0U;
    mask |= (modifiers & keyModifier::control) != 0 ? unsigned{XCB_MOD_MASK_CONTROL} : 0U;
    mask |= (modifiers & keyModifier::shift) != 0 ? unsigned{XCB_MOD_MASK_SHIFT} : 0U;
    return static_cast<std::uint16_t>(mask);
}

std::array<std::uint16_t, 4> MasksWithLocks(const Keyboard& keyboard, std::uint32_t modifiers) {
    const unsigned mask = MaskOf(keyboard, modifiers);
    const unsigned caps = XCB_MOD_MASK_LOCK;
    const unsigned num = keyboard.numLockMask;
    return {static_cast<std::uint16_t>(mask), static_cast<std::uint16_t>(mask | caps),
            static_cast<std::uint16_t>(mask | num), static_cast<std::uint16_t>(mask | caps | num)};
}

void Ungrab(Session& session, GlobalKey& key) {
    for (const xcb_keycode_t code : key.codes) {
        for (const std::uint16_t mask : MasksWithLocks(session.keyboard, key.modifiers)) {
            xcb_ungrab_key(session.connection.get(), code, session.screen->root, mask);
        }
    }
    xcb_flush(session.connection.get());
    key.codes.clear();
    key.down = false;
}

/// Returns true if the server accepted all four grabs. The accepted ones last until Ungrab.
bool GrabCode(Session& session, const GlobalKey& key, xcb_keycode_t code) {
    xcb_connection_t* connection = session.connection.get();
    std::vector<xcb_void_cookie_t> cookies;
    for (const std::uint16_t mask : MasksWithLocks(session.keyboard, key.modifiers)) {
        cookies.push_back(xcb_grab_key_checked(connection, 0, session.screen->root, mask, code, XCB_GRAB_MODE_ASYNC,
                                               XCB_GRAB_MODE_ASYNC));
    }
    bool accepted = true;
    for (const xcb_void_cookie_t cookie : cookies) {
        const Reply<xcb_generic_error_t> error(xcb_request_check(connection, cookie));
        accepted = accepted && !error;
    }
    return accepted && xcb_connection_has_error(connection) == 0;
}

/// Fails if another client holds one of the four combinations of a key code.
bool Grab(Session& session, GlobalKey& key) {
    const std::vector<xcb_keycode_t> codes = CodesOfVirtualKey(session, key.virtualKey);
    for (const xcb_keycode_t code : codes) {
        key.codes.push_back(code);
        if (!GrabCode(session, key, code)) {
            Ungrab(session, key);
            return false;
        }
    }
    return !codes.empty();
}

GlobalKey* KeyOfPress(Session& session, const xcb_key_press_event_t& press) {
    const unsigned relevant = static_cast<unsigned>(XCB_MOD_MASK_SHIFT) | static_cast<unsigned>(XCB_MOD_MASK_CONTROL) |
                              session.keyboard.altMask;
    for (GlobalKey& key : session.globalKeys) {
        const bool codeFits = std::find(key.codes.begin(), key.codes.end(), press.detail) != key.codes.end();
        if (codeFits && (press.state & relevant) == MaskOf(session.keyboard, key.modifiers)) {
            return &key;
        }
    }
    return nullptr;
}

void HandlePress(Session& session, const xcb_key_press_event_t& press) {
    GlobalKey* key = KeyOfPress(session, press);
    if (key == nullptr) {
        return;
    }
    const bool repeated = key->down;
    key->down = true;
    if (!repeated || (key->modifiers & keyModifier::noRepeat) == 0) {
        session.loop.queue.push_back({key->window, message::hotKey, static_cast<std::uintptr_t>(key->id), 0});
    }
}

void HandleRelease(Session& session, const xcb_key_release_event_t& release) {
    for (GlobalKey& key : session.globalKeys) {
        if (std::find(key.codes.begin(), key.codes.end(), release.detail) != key.codes.end()) {
            key.down = false;
        }
    }
}

}  // namespace

bool HandleKeyboardEvent(Session& session, const xcb_generic_event_t& event) {
    const std::uint8_t type = event.response_type & 0x7FU;
    // If one of our windows has the focus, a key press is an event of that window, not of the root.
    if (type == XCB_KEY_PRESS && reinterpret_cast<const xcb_key_press_event_t&>(event).event == session.screen->root) {
        HandlePress(session, reinterpret_cast<const xcb_key_press_event_t&>(event));
        return true;
    }
    if (type == XCB_KEY_RELEASE) {
        const auto& release = reinterpret_cast<const xcb_key_release_event_t&>(event);
        HandleRelease(session, release);
        return release.event == session.screen->root;
    }
    if (type == XCB_MAPPING_NOTIFY || (session.keyboard.xkbEvent != 0 && type == session.keyboard.xkbEvent)) {
        session.keyboard.mappingChanged = true;
        return true;
    }
    return false;
}

/// Servers report a change whenever another keyboard is used. A key with unchanged codes stays grabbed, because without
/// the grab a press could be lost or another program could grab the key.
void ApplyKeyboardMapping(Session& session) {
    Keyboard& keyboard = session.keyboard;
    if (!keyboard.mappingChanged) {
        return;
    }
    keyboard.mappingChanged = false;
    keyboard.virtualKeys.reset();
    const std::pair before{keyboard.altMask, keyboard.numLockMask};
    ReadModifiers(session);
    const std::pair now{keyboard.altMask, keyboard.numLockMask};
    struct MovedKey {
        GlobalKey* key;
        bool wasReserved;
    };
    std::vector<MovedKey> moved;
    for (GlobalKey& key : session.globalKeys) {
        if (before != now || CodesOfVirtualKey(session, key.virtualKey) != key.codes) {
            moved.push_back({&key, !key.codes.empty()});
        }
    }
    std::tie(keyboard.altMask, keyboard.numLockMask) = before;
    for (const MovedKey& each : moved) {
        Ungrab(session, *each.key);
    }
    std::tie(keyboard.altMask, keyboard.numLockMask) = now;
    for (const MovedKey& each : moved) {
        const bool reserved = Grab(session, *each.key);
        if (reserved != each.wasReserved) {
            session.loop.queue.push_back({each.key->window, message::globalKeyChanged,
                                          static_cast<std::uintptr_t>(each.key->id), reserved ? 1 : 0});
        }
    }
}

void UngrabKeysOf(Session& session, const AppWindow& window) {
    std::erase_if(session.globalKeys, [&](GlobalKey& key) {
        if (key.window != &window) {
            return false;
        }
        Ungrab(session, key);
        return true;
    });
}

}  // namespace x11

bool RegisterGlobalKey(AppWindow& window, int id, std::uint32_t modifiers, std::uint32_t virtualKey) {
    x11::Session& session = x11::CurrentSession();
    std::vector<x11::GlobalKey>& keys = session.globalKeys;
    constexpr std::uint32_t bits = keyModifier::alt | keyModifier::control | keyModifier::shift;
    const bool taken = std::any_of(keys.begin(), keys.end(), [&](const x11::GlobalKey& key) {
        return key.virtualKey == virtualKey && ((key.modifiers ^ modifiers) & bits) == 0;
    });
    if (taken || !session.connection) {
        return false;
    }
    x11::GlobalKey key{&window, id, modifiers, virtualKey, {}, false};
    if (!x11::Grab(session, key)) {
        return false;
    }
    keys.push_back(std::move(key));
    return true;
}

void UnregisterGlobalKey(AppWindow& window, int id) {
    x11::Session& session = x11::CurrentSession();
    std::erase_if(session.globalKeys, [&](x11::GlobalKey& key) {
        const bool fits = key.window == &window && key.id == id;
        if (fits) {
            x11::Ungrab(session, key);
        }
        return fits;
    });
}

}  // namespace zv
