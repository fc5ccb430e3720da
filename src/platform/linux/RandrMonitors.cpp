// Asks RandR 1.5 for its monitors and their CRTCs for the rotation. The one fallback is the root window, which is what
// a server without outputs shows.
#include "platform/linux/RandrMonitors.h"

#include <xcb/randr.h>

#include <algorithm>
#include <string_view>

#include "platform/linux/Posix.h"
#include "platform/linux/Xcb.h"

namespace zv::x11 {
namespace {

bool HasMonitors(xcb_connection_t* connection) {
    const xcb_query_extension_reply_t* extension = xcb_get_extension_data(connection, &xcb_randr_id);
    if (extension == nullptr || extension->present == 0) {
        return false;
    }
    const Reply<xcb_randr_query_version_reply_t> version(
        xcb_randr_query_version_reply(connection, xcb_randr_query_version(connection, 1, 5), nullptr));
    return version != nullptr && (version->major_version > 1 || version->minor_version >= 5);
}

Text AtomName(xcb_connection_t* connection, xcb_atom_t atom) {
    const Reply<xcb_get_atom_name_reply_t> reply(
        xcb_get_atom_name_reply(connection, xcb_get_atom_name(connection, atom), nullptr));
    if (reply == nullptr) {
        return {};
    }
    const auto length = static_cast<std::size_t>(xcb_get_atom_name_name_length(reply.get()));
    return FromBytes(std::string_view(xcb_get_atom_name_name(reply.get()), length));
}

/// 1 identity, 2 to 4 turned by 90, 180 and 270 degrees; 0 for an output without a CRTC.
std::uint32_t RotationOf(xcb_connection_t* connection, xcb_randr_output_t output) {
    const Reply<xcb_randr_get_output_info_reply_t> info(xcb_randr_get_output_info_reply(
        connection, xcb_randr_get_output_info(connection, output, XCB_CURRENT_TIME), nullptr));
    if (info == nullptr || info->crtc == XCB_NONE) {
        return 0;
    }
    const Reply<xcb_randr_get_crtc_info_reply_t> crtc(xcb_randr_get_crtc_info_reply(
        connection, xcb_randr_get_crtc_info(connection, info->crtc, XCB_CURRENT_TIME), nullptr));
    if (crtc == nullptr) {
        return 0;
    }
    switch (crtc->rotation & 0xFU) {
        case XCB_RANDR_ROTATION_ROTATE_90:
            return 2;
        case XCB_RANDR_ROTATION_ROTATE_180:
            return 3;
        case XCB_RANDR_ROTATION_ROTATE_270:
            return 4;
        default:
            return 1;
    }
}

ScreenMonitor Describe(xcb_connection_t* connection, const xcb_randr_monitor_info_t& info) {
    ScreenMonitor monitor;
    monitor.output.deviceName = AtomName(connection, info.name);
    monitor.output.left = info.x;
    monitor.output.top = info.y;
    monitor.output.right = info.x + info.width;
    monitor.output.bottom = info.y + info.height;
    monitor.output.described = !monitor.output.deviceName.empty();
    monitor.output.attached = true;
    monitor.primary = info.primary != 0;
    // The iteration's record is followed by the monitor's outputs; the first one tells the rotation.
    if (xcb_randr_monitor_info_outputs_length(&info) > 0) {
        monitor.output.rotation = RotationOf(connection, *xcb_randr_monitor_info_outputs(&info));
    }
    return monitor;
}

ScreenMonitor WholeScreen(const xcb_screen_t& screen) {
    ScreenMonitor monitor;
    monitor.output.deviceName = u"screen";
    monitor.output.right = screen.width_in_pixels;
    monitor.output.bottom = screen.height_in_pixels;
    monitor.output.rotation = 1;
    monitor.output.described = true;
    monitor.output.attached = true;
    return monitor;
}

}  // namespace

std::vector<ScreenMonitor> QueryMonitors(xcb_connection_t* connection, const xcb_screen_t& screen) {
    std::vector<ScreenMonitor> monitors;
    if (HasMonitors(connection)) {
        const Reply<xcb_randr_get_monitors_reply_t> reply(
            xcb_randr_get_monitors_reply(connection, xcb_randr_get_monitors(connection, screen.root, 1), nullptr));
        if (reply != nullptr) {
            for (auto each = xcb_randr_get_monitors_monitors_iterator(reply.get()); each.rem > 0;
                 xcb_randr_monitor_info_next(&each)) {
                monitors.push_back(Describe(connection, *each.data));
            }
        }
    }
    if (xcb_connection_has_error(connection) != 0) {
        return {};
    }
    if (monitors.empty()) {
        monitors.push_back(WholeScreen(screen));
    }
    if (std::none_of(monitors.begin(), monitors.end(), [](const auto& monitor) { return monitor.primary; })) {
        monitors.front().primary = true;
    }
    return monitors;
}

const xcb_screen_t* ScreenOf(xcb_connection_t* connection, int index) {
    if (xcb_connection_has_error(connection) != 0) {
        return nullptr;
    }
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (; index > 0 && screens.rem > 1; --index) {
        xcb_screen_next(&screens);
    }
    return screens.data;
}

}  // namespace zv::x11
