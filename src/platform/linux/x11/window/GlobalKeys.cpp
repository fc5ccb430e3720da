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
#include <string>
#include <tuple>
#include <utility>

#include "platform/Keyboard.h"
#include "platform/linux/x11/window/WindowSession.h"

namespace zv {
namespace x11 {
namespace {

/// Virtual-key codes whose symbols follow one another.
struct SymbolRange {
    std::uint32_t first, last;
    xcb_keysym_t firstSymbol;
};
constexpr SymbolRange symbolRanges[] = {
    {48, 57, XK_0},      // digits
    {65, 90, XK_a},      // letters
    {96, 105, XK_KP_0},  // digits of the keypad
    {106, 111, XK_KP_Multiply},
    {112, 135, XK_F1},  // F1 to F24
};

/// The X key symbol of a Windows virtual-key code, 0 when there is none.
xcb_keysym_t KeysymOf(std::uint32_t virtualKey) {
    for (const SymbolRange& range : symbolRanges) {
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

/// The first two symbols of every key.
void ReadSymbols(Session& session) {
    xcb_connection_t* connection = session.connection.get();
    const xcb_setup_t* setup = xcb_get_setup(connection);
    const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
    const Reply<xcb_get_keyboard_mapping_reply_t> mapping(xcb_get_keyboard_mapping_reply(
        connection, xcb_get_keyboard_mapping(connection, setup->min_keycode, count), nullptr));
    std::vector<xcb_keysym_t>& symbols = session.keyboard.symbols;
    symbols.assign(512, 0);
    const xcb_keysym_t* rows = mapping ? xcb_get_keyboard_mapping_keysyms(mapping.get()) : nullptr;
    const int columns = mapping ? mapping->keysyms_per_keycode : 0;
    for (int key = 0; key < count && rows != nullptr; ++key) {
        const auto at = static_cast<std::size_t>(2 * (setup->min_keycode + key));
        symbols[at] = columns > 0 ? rows[key * columns] : 0;
        symbols[at + 1] = columns > 1 ? rows[key * columns + 1] : 0;
    }
}

struct NamedKey {
    std::uint32_t virtualKey;
    xcb_keysym_t symbol;
    const char16_t* name;
};
constexpr NamedKey namedKeys[] = {
    {8, XK_BackSpace, u"Backspace"}, {9, XK_Tab, u"Tab"},         {9, XK_ISO_Left_Tab, u"Tab"},
    {13, XK_Return, u"Enter"},       {13, XK_KP_Enter, u"Enter"}, {16, XK_Shift_L, u"Shift"},
    {16, XK_Shift_R, u"Shift"},      {17, XK_Control_L, u"Ctrl"}, {17, XK_Control_R, u"Ctrl"},
    {18, XK_Alt_L, u"Alt"},          {18, XK_Alt_R, u"Alt"},      {20, XK_Caps_Lock, u"Caps Lock"},
    {27, XK_Escape, u"Esc"},         {32, XK_space, u"Space"},    {33, XK_Prior, u"Page Up"},
    {34, XK_Next, u"Page Down"},     {35, XK_End, u"End"},        {36, XK_Home, u"Home"},
    {37, XK_Left, u"Left"},          {38, XK_Up, u"Up"},          {39, XK_Right, u"Right"},
    {40, XK_Down, u"Down"},          {45, XK_Insert, u"Insert"},  {46, XK_Delete, u"Delete"},
};

std::uint32_t VirtualKeyOfSymbol(xcb_keysym_t symbol) {
    for (const NamedKey& key : namedKeys) {
        if (key.symbol == symbol) {
            return key.virtualKey;
        }
    }
    for (const SymbolRange& range : symbolRanges) {
        if (symbol >= range.firstSymbol && symbol - range.firstSymbol <= range.last - range.first) {
            return range.first + (symbol - range.firstSymbol);
        }
    }
    return 0;
}

/// "F1" and the like.
Text PrefixedNumber(const char16_t* prefix, std::uint32_t number) {
    const std::string digits = std::to_string(number);
    return prefix + Text(digits.begin(), digits.end());
}

}  // namespace

std::uint32_t VirtualKeyOf(Session& session, xcb_keycode_t code) {
    if (session.keyboard.symbols.empty()) {
        ReadSymbols(session);
    }
    const auto at = static_cast<std::size_t>(2 * code);
    const std::uint32_t plain = VirtualKeyOfSymbol(session.keyboard.symbols[at]);
    return plain != 0 ? plain : VirtualKeyOfSymbol(session.keyboard.symbols[at + 1]);
}

std::uint32_t ModifiersOf(const Session& session, std::uint16_t state) {
    std::uint32_t modifiers = 0;
    modifiers |= (state & session.keyboard.altMask) != 0 ? keyModifier::alt : 0U;
    modifiers |= (state & XCB_MOD_MASK_CONTROL) != 0 ? keyModifier::control : 0U;
    modifiers |= (state & XCB_MOD_MASK_SHIFT) != 0 ? keyModifier::shift : 0U;
    return modifiers;
}

void OpenKeyboard(Session& session) {
    OpenXkb(session);
    ReadModifiers(session);
}

bool HandleKeyboardEvent(Session& session, const xcb_generic_event_t& event) {
    const std::uint8_t type = event.response_type & 0x7FU;
    // What a window of ours has the focus for comes to that window, not to the root.
    if (type == XCB_KEY_PRESS && reinterpret_cast<const xcb_key_press_event_t&>(event).event == session.screen->root) {
        HandlePress(session, reinterpret_cast<const xcb_key_press_event_t&>(event));
        return true;
    }
    if (type == XCB_KEY_RELEASE) {
        const auto& release = reinterpret_cast<const xcb_key_release_event_t&>(event);
        HandleRelease(session.keyboard, release);
        return release.event == session.screen->root;
    }
    if (type == XCB_MAPPING_NOTIFY || (session.keyboard.xkbEvent != 0 && type == session.keyboard.xkbEvent)) {
        session.keyboard.mappingChanged = true;
        return true;
    }
    return false;
}

/// Servers tell of a change whenever another keyboard is typed on. A key that stays where it is is not let go for it:
/// the press that comes at that moment would be lost, or another program could take the key.
void FollowKeyboardMapping(Session& session) {
    Keyboard& keyboard = session.keyboard;
    if (!keyboard.mappingChanged) {
        return;
    }
    keyboard.mappingChanged = false;
    keyboard.symbols.clear();
    const std::pair before{keyboard.altMask, keyboard.numLockMask};
    ReadModifiers(session);
    const std::pair now{keyboard.altMask, keyboard.numLockMask};
    std::vector<GlobalKey*> moved;
    for (GlobalKey& key : keyboard.keys) {
        if (before != now || CodesOf(session, KeysymOf(key.virtualKey)) != key.codes) {
            moved.push_back(&key);
        }
    }
    std::tie(keyboard.altMask, keyboard.numLockMask) = before;
    for (GlobalKey* key : moved) {
        Ungrab(session, *key);
    }
    std::tie(keyboard.altMask, keyboard.numLockMask) = now;
    for (GlobalKey* key : moved) {
        Grab(session, *key);
    }
}

}  // namespace x11

Text KeyName(std::uint32_t virtualKey) {
    for (const x11::NamedKey& key : x11::namedKeys) {
        if (key.virtualKey == virtualKey) {
            return key.name;
        }
    }
    if ((virtualKey >= 48 && virtualKey <= 57) || (virtualKey >= 65 && virtualKey <= 90)) {
        return Text(1, static_cast<char16_t>(virtualKey));
    }
    if (virtualKey >= 96 && virtualKey <= 105) {
        return x11::PrefixedNumber(u"Num ", virtualKey - 96);
    }
    if (virtualKey >= 112 && virtualKey <= 135) {
        return x11::PrefixedNumber(u"F", virtualKey - 111);
    }
    return {};
}

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
