// Keys that reach the program from inside any other one: passive grabs on the root window.
//
// A grab matches the locks exactly, so each key is reserved four times: without a lock, with Caps Lock, with Num Lock
// and with both. Detectable auto-repeat makes a held key a row of presses without releases between them, which tells
// a repeat from a second press.
#include <X11/keysym.h>
#include <sys/uio.h>
#include <xcb/xcbext.h>

#include <algorithm>
#include <array>

#include "platform/linux/WindowSession.h"

namespace zv {
namespace x11 {
namespace {

/// The X key symbol of a Windows virtual-key code, 0 when there is none.
xcb_keysym_t KeysymOf(std::uint32_t virtualKey) {
    struct Range {
        std::uint32_t first, last;
        xcb_keysym_t firstSymbol;
    };
    static constexpr Range ranges[] = {
        {48, 57, XK_0},      // digits
        {65, 90, XK_a},      // letters
        {96, 105, XK_KP_0},  // digits of the keypad
        {106, 111, XK_KP_Multiply},
        {112, 135, XK_F1},  // F1 to F24
    };
    for (const Range& range : ranges) {
        if (virtualKey >= range.first && virtualKey <= range.last) {
            return range.firstSymbol + (virtualKey - range.first);
        }
    }
    return 0;
}

/// The keys that carry a symbol: those that give it without Shift if there are any, else those that give it at all.
std::vector<xcb_keycode_t> CodesOf(Session& session, xcb_keysym_t symbol) {
    xcb_connection_t* connection = session.connection.get();
    const xcb_setup_t* setup = xcb_get_setup(connection);
    if (symbol == 0 || setup == nullptr) {
        return {};
    }
    const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
    const Reply<xcb_get_keyboard_mapping_reply_t> mapping(xcb_get_keyboard_mapping_reply(
        connection, xcb_get_keyboard_mapping(connection, setup->min_keycode, count), nullptr));
    if (!mapping) {
        return {};
    }
    const xcb_keysym_t* symbols = xcb_get_keyboard_mapping_keysyms(mapping.get());
    const int columns = mapping->keysyms_per_keycode;
    std::vector<xcb_keycode_t> plain;
    std::vector<xcb_keycode_t> any;
    for (int key = 0; key < count; ++key) {
        const xcb_keysym_t* row = symbols + key * columns;
        const auto code = static_cast<xcb_keycode_t>(setup->min_keycode + key);
        if (columns > 0 && row[0] == symbol) {
            plain.push_back(code);
        }
        if (std::find(row, row + columns, symbol) != row + columns) {
            any.push_back(code);
        }
    }
    return plain.empty() ? any : plain;
}

/// The mask of the modifier that the key of `symbol` sets, `fallback` when none does.
std::uint16_t ModifierOf(Session& session, xcb_keysym_t symbol, std::uint16_t fallback) {
    xcb_connection_t* connection = session.connection.get();
    const std::vector<xcb_keycode_t> codes = CodesOf(session, symbol);
    const Reply<xcb_get_modifier_mapping_reply_t> mapping(
        xcb_get_modifier_mapping_reply(connection, xcb_get_modifier_mapping(connection), nullptr));
    if (!mapping) {
        return fallback;
    }
    const xcb_keycode_t* rows = xcb_get_modifier_mapping_keycodes(mapping.get());
    const int width = mapping->keycodes_per_modifier;
    for (int modifier = 0; modifier < 8; ++modifier) {
        const xcb_keycode_t* row = rows + modifier * width;
        if (std::find_first_of(row, row + width, codes.begin(), codes.end()) != row + width) {
            return static_cast<std::uint16_t>(1 << modifier);
        }
    }
    return fallback;
}

void ReadModifiers(Session& session) {
    session.keyboard.altMask = ModifierOf(session, XK_Alt_L, XCB_MOD_MASK_1);
    session.keyboard.numLockMask = ModifierOf(session, XK_Num_Lock, XCB_MOD_MASK_2);
}

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

/// True when the server accepted all four grabs of one key. What was accepted stays until Ungrab.
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

/// Another client that holds one of the four combinations refuses the whole key.
bool Grab(Session& session, GlobalKey& key) {
    const std::vector<xcb_keycode_t> codes = CodesOf(session, KeysymOf(key.virtualKey));
    for (const xcb_keycode_t code : codes) {
        key.codes.push_back(code);
        if (!GrabCode(session, key, code)) {
            Ungrab(session, key);
            return false;
        }
    }
    return !codes.empty();
}

// XKB, of which only three requests are needed. Numbers are the protocol's.
xcb_extension_t xkbExtension = {"XKEYBOARD", 0};
constexpr std::uint16_t xkbCoreKeyboard = 0x0100;

struct XkbUseExtension {
    std::uint8_t majorOpcode = 0, minorOpcode = 0;
    std::uint16_t length = 0;
    std::uint16_t wantedMajor = 1, wantedMinor = 0;
};

struct XkbSelectEvents {
    std::uint8_t majorOpcode = 0, minorOpcode = 0;
    std::uint16_t length = 0;
    std::uint16_t deviceSpec = xkbCoreKeyboard;
    std::uint16_t affectWhich = 3;  ///< a new keyboard, a changed map
    std::uint16_t clear = 0, selectAll = 3;
    std::uint16_t affectMap = 0xFF, map = 0xFF;
};

struct XkbPerClientFlags {
    std::uint8_t majorOpcode = 0, minorOpcode = 0;
    std::uint16_t length = 0;
    std::uint16_t deviceSpec = xkbCoreKeyboard, pad = 0;
    std::uint32_t change = 1, value = 1;  ///< detectable auto-repeat
    std::uint32_t controlsToChange = 0, autoControls = 0, autoControlValues = 0;
};

/// XCB fills in opcodes and length. It needs two free vectors in front of the request's own.
template <class Request>
void SendXkb(xcb_connection_t* connection, std::uint8_t minorOpcode, Request request, bool hasReply) {
    const xcb_protocol_request_t protocol = {1, &xkbExtension, minorOpcode, static_cast<std::uint8_t>(!hasReply)};
    std::array<iovec, 3> parts{};
    parts[2] = {&request, sizeof request};
    const unsigned sequence = xcb_send_request(connection, hasReply ? XCB_REQUEST_CHECKED : 0, &parts[2], &protocol);
    if (hasReply) {
        xcb_generic_error_t* error = nullptr;
        std::free(xcb_wait_for_reply(connection, sequence, &error));
        std::free(error);
    }
}

void OpenXkb(Session& session) {
    xcb_connection_t* connection = session.connection.get();
    const xcb_query_extension_reply_t* extension = xcb_get_extension_data(connection, &xkbExtension);
    if (extension == nullptr || extension->present == 0) {
        return;
    }
    session.keyboard.xkbEvent = extension->first_event;
    SendXkb(connection, 0, XkbUseExtension{}, true);
    SendXkb(connection, 21, XkbPerClientFlags{}, true);
    SendXkb(connection, 1, XkbSelectEvents{}, false);
}

GlobalKey* KeyOfPress(Keyboard& keyboard, const xcb_key_press_event_t& press) {
    const unsigned relevant =
        static_cast<unsigned>(XCB_MOD_MASK_SHIFT) | static_cast<unsigned>(XCB_MOD_MASK_CONTROL) | keyboard.altMask;
    for (GlobalKey& key : keyboard.keys) {
        const bool codeFits = std::find(key.codes.begin(), key.codes.end(), press.detail) != key.codes.end();
        if (codeFits && (press.state & relevant) == MaskOf(keyboard, key.modifiers)) {
            return &key;
        }
    }
    return nullptr;
}

void HandlePress(Session& session, const xcb_key_press_event_t& press) {
    GlobalKey* key = KeyOfPress(session.keyboard, press);
    if (key == nullptr) {
        return;
    }
    const bool repeated = key->down;
    key->down = true;
    if (!repeated || (key->modifiers & keyModifier::noRepeat) == 0) {
        session.queue.push_back({key->window, message::hotKey, static_cast<std::uintptr_t>(key->id), 0});
    }
}

void HandleRelease(Keyboard& keyboard, const xcb_key_release_event_t& release) {
    for (GlobalKey& key : keyboard.keys) {
        if (std::find(key.codes.begin(), key.codes.end(), release.detail) != key.codes.end()) {
            key.down = false;
        }
    }
}

}  // namespace

void OpenKeyboard(Session& session) {
    OpenXkb(session);
    ReadModifiers(session);
}

bool HandleKeyboardEvent(Session& session, const xcb_generic_event_t& event) {
    const std::uint8_t type = event.response_type & 0x7FU;
    if (type == XCB_KEY_PRESS) {
        HandlePress(session, reinterpret_cast<const xcb_key_press_event_t&>(event));
        return true;
    }
    if (type == XCB_KEY_RELEASE) {
        HandleRelease(session.keyboard, reinterpret_cast<const xcb_key_release_event_t&>(event));
        return true;
    }
    if (type == XCB_MAPPING_NOTIFY || (session.keyboard.xkbEvent != 0 && type == session.keyboard.xkbEvent)) {
        session.keyboard.mappingChanged = true;
        return true;
    }
    return false;
}

void FollowKeyboardMapping(Session& session) {
    if (!session.keyboard.mappingChanged) {
        return;
    }
    session.keyboard.mappingChanged = false;
    for (GlobalKey& key : session.keyboard.keys) {
        Ungrab(session, key);
    }
    ReadModifiers(session);
    for (GlobalKey& key : session.keyboard.keys) {
        Grab(session, key);
    }
}

}  // namespace x11

bool RegisterGlobalKey(AppWindow& window, int id, std::uint32_t modifiers, std::uint32_t virtualKey) {
    x11::Session& session = x11::CurrentSession();
    std::vector<x11::GlobalKey>& keys = session.keyboard.keys;
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
    std::erase_if(session.keyboard.keys, [&](x11::GlobalKey& key) {
        const bool fits = key.window == &window && key.id == id;
        if (fits) {
            x11::Ungrab(session, key);
        }
        return fits;
    });
}

}  // namespace zv
