// The X-Resource extension's one request that is needed here is put together by hand: QueryClientIds (4) with one
// client asked for, whose answer is a list of (client, mask, length in bytes, values).
#include "platform/linux/x11/WindowOwner.h"

#include <xcb/xcbext.h>

#include <cstring>

namespace zv {
namespace {

constexpr std::uint8_t queryClientIds = 4;
constexpr std::uint32_t localClientPid = 2;

xcb_extension_t resourceExtension = {"X-Resource", 0};

struct ClientIdsRequest {
    std::uint8_t majorOpcode;
    std::uint8_t minorOpcode;
    std::uint16_t length;
    std::uint32_t count;
    std::uint32_t client;
    std::uint32_t mask;
};

/// One value follows it.
struct ClientIds {
    std::uint8_t type;
    std::uint8_t unused;
    std::uint16_t sequence;
    std::uint32_t length;  ///< of what follows the first 32 bytes, in units of 4 bytes
    std::uint32_t count;
    std::uint8_t padding[20];
    std::uint32_t client;
    std::uint32_t mask;
    std::uint32_t valueBytes;
    std::uint32_t value;
};
static_assert(sizeof(ClientIds) == 48);

unsigned SendQuery(xcb_connection_t* connection, xcb_window_t window) {
    ClientIdsRequest request{0, queryClientIds, 0, 1, window, localClientPid};
    const xcb_protocol_request_t protocol = {2, &resourceExtension, queryClientIds, 0};
    // The library uses up to two places in front of the first for itself, and puts opcode and length in.
    iovec parts[4] = {};
    parts[2] = {&request, sizeof request};
    parts[3] = {nullptr, 0};
    return xcb_send_request(connection, XCB_REQUEST_CHECKED, parts + 2, &protocol);
}

std::uint32_t ProcessFromServer(const XDisplay& display, xcb_window_t window) {
    const xcb_query_extension_reply_t* extension = xcb_get_extension_data(display.connection, &resourceExtension);
    if (extension == nullptr || extension->present == 0) {
        return 0;
    }
    xcb_generic_error_t* error = nullptr;
    const unsigned sequence = SendQuery(display.connection, window);
    const auto reply = Adopt(static_cast<ClientIds*>(xcb_wait_for_reply(display.connection, sequence, &error)));
    const auto failed = Adopt(error);
    constexpr std::uint32_t oneValue = 4;
    if (!reply || failed || reply->count < 1 || reply->length < oneValue || reply->valueBytes < sizeof reply->value) {
        return 0;
    }
    return reply->value;
}

xcb_window_t ParentOf(const XDisplay& display, xcb_window_t window) {
    const auto tree =
        Adopt(xcb_query_tree_reply(display.connection, xcb_query_tree(display.connection, window), nullptr));
    return tree ? tree->parent : 0;
}

std::uint32_t ProcessFromProperty(const XDisplay& display, xcb_window_t window) {
    while (window != 0 && window != display.root) {
        if (const auto process = NumberProperty(display, window, "_NET_WM_PID")) {
            return *process;
        }
        window = ParentOf(display, window);
    }
    return 0;
}

}  // namespace

xcb_window_t ActiveWindow(const XDisplay& display) {
    if (const auto active = NumberProperty(display, display.root, "_NET_ACTIVE_WINDOW")) {
        return *active;
    }
    const auto focus =
        Adopt(xcb_get_input_focus_reply(display.connection, xcb_get_input_focus(display.connection), nullptr));
    const bool named = focus && focus->focus != XCB_INPUT_FOCUS_NONE && focus->focus != XCB_INPUT_FOCUS_POINTER_ROOT &&
                       focus->focus != display.root;
    return named ? focus->focus : 0;
}

std::uint32_t ProcessOfWindow(const XDisplay& display, xcb_window_t window) {
    const std::uint32_t process = ProcessFromServer(display, window);
    return process != 0 ? process : ProcessFromProperty(display, window);
}

}  // namespace zv
