#include "platform/linux/x11/window/Keyboard.h"

#include <X11/keysym.h>
#include <xcb/xcb.h>
// The header uses this keyword of C++ as a name.
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit

#include <algorithm>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "platform/Keyboard.h"
#include "platform/linux/x11/Extensions.h"
#include "platform/linux/x11/window/Session.h"

namespace zv {
namespace x11 {
namespace {

/// Consecutive virtual-key codes with consecutive symbols.
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

/// The letters and digits of a PC keyboard with the US layout, by key code. For layouts that have no Latin letters.
struct PositionRange {
    xcb_keycode_t first;
    std::string_view virtualKeys;
};
constexpr PositionRange positionRanges[] = {
    {10, "1234567890"},
    {24, "QWERTYUIOP"},
    {38, "ASDFGHJKL"},
    {52, "ZXCVBNM"},
};

/// The symbols of every key. A row has those of all groups: the plain and the shifted symbol of the first group, the
/// same of the second group, then the rest.
class Mapping {
public:
    explicit Mapping(xcb_connection_t* connection) {
        const xcb_setup_t* setup = xcb_get_setup(connection);
        if (setup == nullptr) {
            return;
        }
        first_ = setup->min_keycode;
        count_ = setup->max_keycode - setup->min_keycode + 1;
        reply_ = Adopt(xcb_get_keyboard_mapping_reply(
            connection, xcb_get_keyboard_mapping(connection, first_, static_cast<std::uint8_t>(count_)), nullptr));
    }

    std::span<const xcb_keysym_t> SymbolsOf(unsigned code) const {
        if (!reply_ || code < first_ || code >= first_ + count_) {
            return {};
        }
        const std::size_t columns = reply_->keysyms_per_keycode;
        return {xcb_get_keyboard_mapping_keysyms(reply_.get()) + (code - first_) * columns, columns};
    }

private:
    Reply<xcb_get_keyboard_mapping_reply_t> reply_;
    xcb_keycode_t first_ = 0;
    unsigned count_ = 0;
};

/// The mask of the modifier that the key of `symbol` sets; `fallback` if it sets none.
std::uint16_t ModifierOf(Session& session, const Mapping& mapping, xcb_keysym_t symbol, std::uint16_t fallback) {
    xcb_connection_t* connection = session.connection.get();
    const auto produces = [&](xcb_keycode_t code) {
        const std::span<const xcb_keysym_t> symbols = mapping.SymbolsOf(code);
        return std::find(symbols.begin(), symbols.end(), symbol) != symbols.end();
    };
    const Reply<xcb_get_modifier_mapping_reply_t> modifiers(
        xcb_get_modifier_mapping_reply(connection, xcb_get_modifier_mapping(connection), nullptr));
    if (!modifiers) {
        return fallback;
    }
    const xcb_keycode_t* rows = xcb_get_modifier_mapping_keycodes(modifiers.get());
    const int width = modifiers->keycodes_per_modifier;
    for (int modifier = 0; modifier < 8; ++modifier) {
        const xcb_keycode_t* row = rows + modifier * width;
        if (std::any_of(row, row + width, produces)) {
            return static_cast<std::uint16_t>(1 << modifier);
        }
    }
    return fallback;
}

void OpenXkb(Session& session) {
    xcb_connection_t* connection = session.connection.get();
    if (!HasExtension(connection, xcb_xkb_id)) {
        return;
    }
    session.keyboard.xkbEvent = xcb_get_extension_data(connection, &xcb_xkb_id)->first_event;
    constexpr xcb_xkb_device_spec_t keyboard = XCB_XKB_ID_USE_CORE_KBD;
    constexpr std::uint32_t detectableRepeat = XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT;
    constexpr std::uint16_t events = XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
    constexpr std::uint16_t allParts = 0xFF;
    xcb_discard_reply(connection, xcb_xkb_use_extension(connection, 1, 0).sequence);
    xcb_discard_reply(
        connection,
        xcb_xkb_per_client_flags(connection, keyboard, detectableRepeat, detectableRepeat, 0, 0, 0).sequence);
    xcb_xkb_select_events(connection, keyboard, events, 0, events, allParts, allParts, nullptr);
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

/// The code of the first symbol that has one. So a key has one code no matter which group is active.
std::uint32_t VirtualKeyOfSymbols(std::span<const xcb_keysym_t> symbols) {
    for (const xcb_keysym_t symbol : symbols) {
        if (const std::uint32_t virtualKey = VirtualKeyOfSymbol(symbol)) {
            return virtualKey;
        }
    }
    return 0;
}

/// Assigns the letters and digits that no key produces to the keys that have them on the US layout.
void AssignByPosition(VirtualKeys& keys) {
    const VirtualKeys bySymbol = keys;
    for (const PositionRange& range : positionRanges) {
        for (std::size_t i = 0; i < range.virtualKeys.size(); ++i) {
            const auto virtualKey = static_cast<std::uint32_t>(range.virtualKeys[i]);
            std::uint32_t& key = keys[range.first + i];
            if (key == 0 && std::find(bySymbol.begin(), bySymbol.end(), virtualKey) == bySymbol.end()) {
                key = virtualKey;
            }
        }
    }
}

const VirtualKeys& VirtualKeysOf(Session& session) {
    std::optional<VirtualKeys>& keys = session.keyboard.virtualKeys;
    if (!keys) {
        keys.emplace();
        const Mapping mapping(session.connection.get());
        for (unsigned code = 0; code < keys->size(); ++code) {
            (*keys)[code] = VirtualKeyOfSymbols(mapping.SymbolsOf(code));
        }
        AssignByPosition(*keys);
    }
    return *keys;
}

/// Joins a prefix and a number, for example "F1".
Text PrefixedNumber(const char16_t* prefix, std::uint32_t number) {
    const std::string digits = std::to_string(number);
    return prefix + Text(digits.begin(), digits.end());
}

}  // namespace

void ReadModifiers(Session& session) {
    const Mapping mapping(session.connection.get());
    session.keyboard.altMask = ModifierOf(session, mapping, XK_Alt_L, XCB_MOD_MASK_1);
    session.keyboard.numLockMask = ModifierOf(session, mapping, XK_Num_Lock, XCB_MOD_MASK_2);
}

std::vector<xcb_keycode_t> CodesOfVirtualKey(Session& session, std::uint32_t virtualKey) {
    const VirtualKeys& keys = VirtualKeysOf(session);
    std::vector<xcb_keycode_t> codes;
    for (std::size_t code = 0; code < keys.size(); ++code) {
        if (virtualKey != 0 && keys[code] == virtualKey) {
            codes.push_back(static_cast<xcb_keycode_t>(code));
        }
    }
    return codes;
}

std::uint32_t VirtualKeyOf(Session& session, xcb_keycode_t code) { return VirtualKeysOf(session)[code]; }

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

}  // namespace zv
