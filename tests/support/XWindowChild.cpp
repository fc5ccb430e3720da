// Another program's window, for the tests of the front window. Creates the window, prints its id and its process id,
// and keeps running. With "claim N" the window's property contains the process id N.
#include <unistd.h>
#include <xcb/xcb.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

namespace {

void Claim(xcb_connection_t* connection, xcb_window_t window, std::uint32_t process) {
    const char name[] = "_NET_WM_PID";
    xcb_intern_atom_reply_t* atom =
        xcb_intern_atom_reply(connection, xcb_intern_atom(connection, 0, sizeof name - 1, name), nullptr);
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, atom->atom, XCB_ATOM_CARDINAL, 32, 1, &process);
    std::free(atom);
}

}  // namespace

int main(int count, char** values) {
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection) != 0) {
        return 1;
    }
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    const xcb_window_t window = xcb_generate_id(connection);
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, 64, 64, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, XCB_CW_EVENT_MASK, &events);
    if (count > 2 && std::strcmp(values[1], "claim") == 0) {
        Claim(connection, window, static_cast<std::uint32_t>(std::stoul(values[2])));
    }
    xcb_map_window(connection, window);
    xcb_flush(connection);
    for (xcb_generic_event_t* event = xcb_wait_for_event(connection); event != nullptr;
         event = xcb_wait_for_event(connection)) {
        const int type = event->response_type & 0x7F;
        std::free(event);
        if (type == XCB_MAP_NOTIFY) {
            break;
        }
    }
    xcb_set_input_focus(connection, XCB_INPUT_FOCUS_NONE, window, XCB_CURRENT_TIME);
    std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
    std::printf("%u\n%d\n", window, getpid());
    std::fflush(stdout);
    for (;;) {
        std::this_thread::sleep_for(std::chrono::seconds(1));
    }
}
