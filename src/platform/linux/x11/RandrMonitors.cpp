// Queries RandR 1.5 for the monitors, and their CRTCs for the rotation. The fallback is the root window, which is what
// a server without outputs has.
#include "platform/linux/x11/RandrMonitors.h"

#include <xcb/randr.h>

#include <algorithm>
#include <string_view>

#include "core/Utf8.h"
#include "platform/linux/x11/Extensions.h"
#include "platform/linux/x11/Xcb.h"

namespace zv::x11 {
namespace {

constexpr std::uint32_t upright = 1;

bool HasMonitors(xcb_connection_t* connection) {
    if (!HasExtension(connection, xcb_randr_id)) {
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
    return FromUtf8(std::string_view(xcb_get_atom_name_name(reply.get()), length));
}

/// RandR rotates counter-clockwise, the record clockwise.
std::uint32_t RotationOf(std::uint16_t rotation) {
    switch (rotation & 0xFU) {
        case XCB_RANDR_ROTATION_ROTATE_90:
            return 4;
        case XCB_RANDR_ROTATION_ROTATE_180:
            return 3;
        case XCB_RANDR_ROTATION_ROTATE_270:
            return 2;
        default:
            return upright;
    }
}

/// The rotation of the monitor's first output; none if it has no output.
std::uint32_t ReadRotation(xcb_connection_t* connection, const xcb_randr_monitor_info_t& monitor) {
    if (xcb_randr_monitor_info_outputs_length(&monitor) < 1) {
        return upright;
    }
    const xcb_randr_output_t output = *xcb_randr_monitor_info_outputs(&monitor);
    const Reply<xcb_randr_get_output_info_reply_t> info(xcb_randr_get_output_info_reply(
        connection, xcb_randr_get_output_info(connection, output, XCB_CURRENT_TIME), nullptr));
    if (info == nullptr || info->crtc == XCB_NONE) {
        return upright;
    }
    const Reply<xcb_randr_get_crtc_info_reply_t> crtc(xcb_randr_get_crtc_info_reply(
        connection, xcb_randr_get_crtc_info(connection, info->crtc, XCB_CURRENT_TIME), nullptr));
    return crtc == nullptr ? upright : RotationOf(crtc->rotation);
}

ScreenMonitor Describe(xcb_connection_t* connection, const xcb_randr_monitor_info_t& info) {
    ScreenMonitor monitor;
    monitor.output.deviceName = AtomName(connection, info.name);
    monitor.output.bounds = {info.x, info.y, info.x + info.width, info.y + info.height};
    monitor.output.described = !monitor.output.deviceName.empty();
    monitor.output.attached = true;
    monitor.primary = info.primary != 0;
    monitor.output.rotation = ReadRotation(connection, info);
    return monitor;
}

std::vector<ScreenMonitor> ReadRandr(xcb_connection_t* connection, xcb_window_t root) {
    std::vector<ScreenMonitor> monitors;
    const Reply<xcb_randr_get_monitors_reply_t> reply(
        xcb_randr_get_monitors_reply(connection, xcb_randr_get_monitors(connection, root, 1), nullptr));
    if (reply == nullptr) {
        return monitors;
    }
    for (auto each = xcb_randr_get_monitors_monitors_iterator(reply.get()); each.rem > 0;
         xcb_randr_monitor_info_next(&each)) {
        monitors.push_back(Describe(connection, *each.data));
    }
    return monitors;
}

/// The root window as one monitor, with the name that servers without real outputs use.
std::vector<ScreenMonitor> ReadRoot(xcb_connection_t* connection, xcb_window_t root) {
    const Reply<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(connection, xcb_get_geometry(connection, root), nullptr));
    if (geometry == nullptr) {
        return {};
    }
    ScreenMonitor monitor;
    monitor.output = {u"screen", {0, 0, geometry->width, geometry->height}, upright, true, true};
    return {monitor};
}

}  // namespace

MonitorEntry EntryOf(const ScreenMonitor& monitor) {
    const Rectangle& bounds = monitor.output.bounds;
    return {monitor.output.deviceName, bounds.left, bounds.top, bounds.Width(), bounds.Height(), -1, monitor.primary};
}

std::vector<ScreenMonitor> QueryMonitors(xcb_connection_t* connection, xcb_window_t root) {
    std::vector<ScreenMonitor> monitors;
    if (HasMonitors(connection)) {
        monitors = ReadRandr(connection, root);
    }
    if (monitors.empty()) {
        monitors = ReadRoot(connection, root);
    }
    if (xcb_connection_has_error(connection) != 0) {
        return {};
    }
    const auto isPrimary = [](const ScreenMonitor& monitor) { return monitor.primary; };
    if (!monitors.empty() && std::none_of(monitors.begin(), monitors.end(), isPrimary)) {
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
