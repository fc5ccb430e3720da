// Another client of a display: simulates the user's keyboard and mouse, or a program with windows and grabbed keys.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>
#include <xcb/randr.h>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "platform/Rectangle.h"

namespace zv::support {

constexpr xcb_keycode_t noKey = 0;

struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};
template <class T>
using Reply = std::unique_ptr<T, FreeReply>;

class OtherClient {
public:
    explicit OtherClient(const std::string& display) : connection_(xcb_connect(display.c_str(), nullptr)) {
        root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
    }
    ~OtherClient() { xcb_disconnect(connection_); }
    OtherClient(const OtherClient&) = delete;
    OtherClient& operator=(const OtherClient&) = delete;

    xcb_connection_t* Get() const { return connection_; }
    xcb_window_t Root() const { return root_; }

    xcb_keycode_t CodeOf(xcb_keysym_t symbol) const {
        const xcb_setup_t* setup = xcb_get_setup(connection_);
        const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
        const Reply<xcb_get_keyboard_mapping_reply_t> mapping(xcb_get_keyboard_mapping_reply(
            connection_, xcb_get_keyboard_mapping(connection_, setup->min_keycode, count), nullptr));
        const xcb_keysym_t* symbols = xcb_get_keyboard_mapping_keysyms(mapping.get());
        for (int i = 0; i < count; ++i) {
            if (symbols[i * mapping->keysyms_per_keycode] == symbol) {
                return static_cast<xcb_keycode_t>(setup->min_keycode + i);
            }
        }
        return noKey;
    }
    void Press(xcb_keycode_t code) const { Fake(XCB_KEY_PRESS, code); }
    void Release(xcb_keycode_t code) const { Fake(XCB_KEY_RELEASE, code); }
    void Tap(xcb_keycode_t code) const {
        Press(code);
        Release(code);
    }
    void TapWith(xcb_keysym_t modifier, xcb_keycode_t code) const {
        Press(CodeOf(modifier));
        Tap(code);
        Release(CodeOf(modifier));
    }
    bool GrabKey(xcb_keycode_t code, std::uint16_t mask) const {
        const xcb_void_cookie_t cookie =
            xcb_grab_key_checked(connection_, 0, root_, mask, code, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        return !Reply<xcb_generic_error_t>(xcb_request_check(connection_, cookie));
    }
    void UngrabKey(xcb_keycode_t code, std::uint16_t mask) const {
        xcb_ungrab_key(connection_, code, root_, mask);
        Sync();
    }
    std::vector<xcb_window_t> TopLevels() const { return ChildrenOf(root_); }
    std::vector<xcb_window_t> ChildrenOf(xcb_window_t window) const {
        const Reply<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(connection_, xcb_query_tree(connection_, window), nullptr));
        if (!tree) {
            return {};
        }
        const xcb_window_t* first = xcb_query_tree_children(tree.get());
        return {first, first + xcb_query_tree_children_length(tree.get())};
    }
    std::string Property(xcb_window_t window, const std::string& name) const {
        const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
            connection_, xcb_get_property(connection_, 0, window, Atom(name), XCB_GET_PROPERTY_TYPE_ANY, 0, 100),
            nullptr));
        return reply ? std::string(static_cast<const char*>(xcb_get_property_value(reply.get())),
                                   static_cast<std::size_t>(xcb_get_property_value_length(reply.get())))
                     : std::string();
    }
    bool IsMapped(xcb_window_t window) const {
        const Reply<xcb_get_window_attributes_reply_t> reply(
            xcb_get_window_attributes_reply(connection_, xcb_get_window_attributes(connection_, window), nullptr));
        return reply && reply->map_state != XCB_MAP_STATE_UNMAPPED;
    }
    /// The window with that title, 0 if there is none.
    xcb_window_t Find(const std::string& title) const {
        for (const xcb_window_t window : TopLevels()) {
            if (Property(window, "_NET_WM_NAME") == title) {
                return window;
            }
        }
        return XCB_WINDOW_NONE;
    }
    xcb_atom_t Atom(const std::string& name) const {
        return Reply<xcb_intern_atom_reply_t>(
                   xcb_intern_atom_reply(
                       connection_,
                       xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.c_str()), nullptr))
            ->atom;
    }
    void CloseByBox(xcb_window_t window) const {
        xcb_client_message_event_t event{};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = window;
        event.type = Atom("WM_PROTOCOLS");
        event.data.data32[0] = Atom("WM_DELETE_WINDOW");
        xcb_send_event(connection_, 0, window, 0, reinterpret_cast<const char*>(&event));
        Sync();
    }
    /// Switches the only output off and makes the screen smaller: several events for one change.
    void ShrinkScreen() const {
        const Reply<xcb_randr_get_screen_resources_current_reply_t> resources(
            xcb_randr_get_screen_resources_current_reply(
                connection_, xcb_randr_get_screen_resources_current(connection_, root_), nullptr));
        ASSERT_EQ(resources->num_crtcs, 1);
        const xcb_randr_crtc_t crtc = xcb_randr_get_screen_resources_current_crtcs(resources.get())[0];
        xcb_randr_set_crtc_config(connection_, crtc, XCB_CURRENT_TIME, resources->config_timestamp, 0, 0, XCB_NONE,
                                  XCB_RANDR_ROTATION_ROTATE_0, 0, nullptr);
        xcb_randr_set_screen_size(connection_, root_, 640, 480, 169, 127);
        Sync();
    }
    void Sync() const { std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr)); }

    void MovePointer(int x, int y) const {
        xcb_test_fake_input(connection_, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, root_, static_cast<std::int16_t>(x),
                            static_cast<std::int16_t>(y), 0);
        Sync();
    }
    void PressButton(std::uint8_t button) const { Fake(XCB_BUTTON_PRESS, button); }
    void ReleaseButton(std::uint8_t button) const { Fake(XCB_BUTTON_RELEASE, button); }
    void ClickAt(int x, int y, std::uint8_t button = 1) const {
        MovePointer(x, y);
        PressButton(button);
        ReleaseButton(button);
    }
    /// A pixel of the screen as 0x00RRGGBB.
    std::uint32_t PixelAt(int x, int y) const {
        const Reply<xcb_get_image_reply_t> image(
            xcb_get_image_reply(connection_,
                                xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, root_,
                                              static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 1, 1, ~0U),
                                nullptr));
        std::uint32_t pixel = 0;
        if (image) {
            std::memcpy(&pixel, xcb_get_image_data(image.get()), 4);
        }
        return pixel & 0xFFFFFFU;
    }
    xcb_window_t Focus() const {
        const Reply<xcb_get_input_focus_reply_t> reply(
            xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
        return reply ? reply->focus : xcb_window_t{XCB_WINDOW_NONE};
    }
    void SetFocus(xcb_window_t window) const {
        xcb_set_input_focus(connection_, XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME);
        Sync();
    }
    Rectangle BoundsOf(xcb_window_t window) const {
        const Reply<xcb_get_geometry_reply_t> at(
            xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, window), nullptr));
        return at ? Rectangle{at->x, at->y, at->x + at->width, at->y + at->height} : Rectangle{};
    }
    /// Maps an override-redirect window of one colour, which receives clicks and keys.
    xcb_window_t Cover(const Rectangle& bounds, std::uint32_t color) const {
        const xcb_window_t window = xcb_generate_id(connection_);
        const std::uint32_t values[] = {color, 1, XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_KEY_PRESS};
        xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window, root_, static_cast<std::int16_t>(bounds.left),
                          static_cast<std::int16_t>(bounds.top), static_cast<std::uint16_t>(bounds.Width()),
                          static_cast<std::uint16_t>(bounds.Height()), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK,
                          values);
        xcb_map_window(connection_, window);
        Sync();
        return window;
    }
    /// The same with the property of its process id, as a game's window.
    xcb_window_t CoverAsGame(const Rectangle& bounds, std::uint32_t color) const {
        const xcb_window_t window = Cover(bounds, color);
        const auto process = static_cast<std::uint32_t>(getpid());
        xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, Atom("_NET_WM_PID"), XCB_ATOM_CARDINAL, 32, 1,
                            &process);
        Sync();
        return window;
    }
    /// The number of events of that type since the last call.
    int Events(std::uint8_t type) const {
        Sync();
        int count = 0;
        while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_)}) {
            count += (event->response_type & 0x7FU) == type ? 1 : 0;
        }
        return count;
    }

private:
    void Fake(std::uint8_t type, xcb_keycode_t code) const {
        xcb_test_fake_input(connection_, type, code, XCB_CURRENT_TIME, root_, 0, 0, 0);
        Sync();
    }

    xcb_connection_t* connection_;
    xcb_window_t root_;
};

}  // namespace zv::support
