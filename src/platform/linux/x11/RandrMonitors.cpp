// Queries the monitors from RandR 1.5, and their rotation from their CRTCs. Falls back to the root window, for servers
// without outputs.
#include "platform/linux/x11/RandrMonitors.h"

#include <xcb/randr.h>

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

#include "core/Utf8.h"
#include "platform/linux/x11/Extensions.h"
#include "platform/linux/x11/Xcb.h"

namespace zv::x11 {
namespace {

constexpr std::uint32_t upright = 1;

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

struct PendingMonitor {
    ScreenMonitor monitor;
    std::optional<xcb_randr_output_t> output = std::nullopt;  ///< the first one, whose rotation counts
    xcb_get_atom_name_cookie_t name = {};
    xcb_randr_get_output_info_cookie_t outputInfo = {};
    std::optional<xcb_randr_get_crtc_info_cookie_t> crtcInfo = std::nullopt;
};

/// Sends the queries about a monitor that do not depend on a reply.
PendingMonitor SendQueries(xcb_connection_t* connection, const xcb_randr_monitor_info_t& info) {
    PendingMonitor pending;
    pending.monitor.output.bounds = {info.x, info.y, info.x + info.width, info.y + info.height};
    pending.monitor.output.attached = true;
    pending.monitor.output.rotation = upright;  // of a monitor without an output
    pending.monitor.primary = info.primary != 0;
    pending.name = xcb_get_atom_name(connection, info.name);
    if (xcb_randr_monitor_info_outputs_length(&info) > 0) {
        pending.output = *xcb_randr_monitor_info_outputs(&info);
        pending.outputInfo = xcb_randr_get_output_info(connection, *pending.output, XCB_CURRENT_TIME);
    }
    return pending;
}

void ReadNameAndQueryRotation(xcb_connection_t* connection, PendingMonitor& pending) {
    const Reply<xcb_get_atom_name_reply_t> name(xcb_get_atom_name_reply(connection, pending.name, nullptr));
    if (name != nullptr) {
        const auto length = static_cast<std::size_t>(xcb_get_atom_name_name_length(name.get()));
        pending.monitor.output.deviceName = FromUtf8(std::string_view(xcb_get_atom_name_name(name.get()), length));
    }
    pending.monitor.output.described = !pending.monitor.output.deviceName.empty();
    if (!pending.output) {
        return;
    }
    const Reply<xcb_randr_get_output_info_reply_t> info(
        xcb_randr_get_output_info_reply(connection, pending.outputInfo, nullptr));
    if (info != nullptr && info->crtc != XCB_NONE) {
        pending.crtcInfo = xcb_randr_get_crtc_info(connection, info->crtc, XCB_CURRENT_TIME);
    }
}

void ReadRotation(xcb_connection_t* connection, PendingMonitor& pending) {
    if (!pending.crtcInfo) {
        return;
    }
    const Reply<xcb_randr_get_crtc_info_reply_t> crtc(
        xcb_randr_get_crtc_info_reply(connection, *pending.crtcInfo, nullptr));
    if (crtc != nullptr) {
        pending.monitor.output.rotation = RotationOf(crtc->rotation);
    }
}

/// Takes three round trips for any number of monitors. Returns an empty list if the server's RandR is older than 1.5.
std::vector<ScreenMonitor> ReadRandr(xcb_connection_t* connection, xcb_window_t root) {
    if (!HasExtension(connection, xcb_randr_id)) {
        return {};
    }
    const auto versionCookie = xcb_randr_query_version(connection, 1, 5);
    const auto monitorsCookie = xcb_randr_get_monitors(connection, root, 1);
    const Reply<xcb_randr_query_version_reply_t> version(
        xcb_randr_query_version_reply(connection, versionCookie, nullptr));
    const Reply<xcb_randr_get_monitors_reply_t> reply(
        xcb_randr_get_monitors_reply(connection, monitorsCookie, nullptr));
    if (version == nullptr || reply == nullptr) {
        return {};
    }
    std::vector<PendingMonitor> pending;
    for (auto each = xcb_randr_get_monitors_monitors_iterator(reply.get()); each.rem > 0;
         xcb_randr_monitor_info_next(&each)) {
        pending.push_back(SendQueries(connection, *each.data));
    }
    for (PendingMonitor& each : pending) {
        ReadNameAndQueryRotation(connection, each);
    }
    std::vector<ScreenMonitor> monitors;
    for (PendingMonitor& each : pending) {
        ReadRotation(connection, each);
        monitors.push_back(std::move(each.monitor));
    }
    return monitors;
}

/// The root window as the only monitor, with the name that servers without real outputs use.
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
    std::vector<ScreenMonitor> monitors = ReadRandr(connection, root);
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

MonitorEntry MonitorShowing(const std::vector<ScreenMonitor>& monitors, const Rectangle& part) {
    const ScreenMonitor* best = nullptr;
    std::int64_t most = 0;
    for (const ScreenMonitor& monitor : monitors) {
        const std::int64_t pixels = Intersection(monitor.output.bounds, part).Area();
        if (pixels > most || (best == nullptr && monitor.primary)) {
            best = &monitor;
            most = pixels;
        }
    }
    return best != nullptr ? EntryOf(*best) : MonitorEntry{};
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
