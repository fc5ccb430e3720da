// Monitors are RandR's, or the whole root window on a server that has none. They all count as outputs of the first
// adapter, since one X screen is one desktop image whatever drives its monitors.
#include "platform/Monitors.h"

#include <xcb/randr.h>

#include <algorithm>
#include <string>

#include "Adapters.h"
#include "Posix.h"
#include "XDisplay.h"

namespace zv {
namespace {

constexpr std::uint32_t identity = 1;

struct Monitor {
    MonitorRecord record;
    std::uint32_t rotation = identity;
};

bool HasMonitors(const XDisplay& display) {
    const xcb_query_extension_reply_t* extension = xcb_get_extension_data(display.connection, &xcb_randr_id);
    if (extension == nullptr || extension->present == 0) {
        return false;
    }
    const auto cookie = xcb_randr_query_version(display.connection, 1, 5);
    const auto version = Held(xcb_randr_query_version_reply(display.connection, cookie, nullptr));
    return version && (version->major_version > 1 || version->minor_version >= 5);
}

/// False when the name is gone already.
bool ReadName(const XDisplay& display, xcb_atom_t atom, Text& name) {
    const auto reply =
        Held(xcb_get_atom_name_reply(display.connection, xcb_get_atom_name(display.connection, atom), nullptr));
    if (!reply) {
        return false;
    }
    const auto length = static_cast<std::size_t>(xcb_get_atom_name_name_length(reply.get()));
    name = FromBytes({xcb_get_atom_name_name(reply.get()), length});
    return true;
}

/// RandR turns counter-clockwise, the record clockwise.
std::uint32_t RotationOf(std::uint16_t rotation) {
    if ((rotation & XCB_RANDR_ROTATION_ROTATE_90) != 0) {
        return 4;
    }
    if ((rotation & XCB_RANDR_ROTATION_ROTATE_180) != 0) {
        return 3;
    }
    return (rotation & XCB_RANDR_ROTATION_ROTATE_270) != 0 ? 2 : identity;
}

/// How the picture of an output is turned; a monitor without an output of its own is not.
std::uint32_t ReadRotation(const XDisplay& display, const xcb_randr_monitor_info_t* monitor) {
    if (xcb_randr_monitor_info_outputs_length(monitor) < 1) {
        return identity;
    }
    const xcb_randr_output_t output = xcb_randr_monitor_info_outputs(monitor)[0];
    const auto outputCookie = xcb_randr_get_output_info(display.connection, output, XCB_CURRENT_TIME);
    const auto info = Held(xcb_randr_get_output_info_reply(display.connection, outputCookie, nullptr));
    if (!info || info->crtc == 0) {
        return identity;
    }
    const auto crtcCookie = xcb_randr_get_crtc_info(display.connection, info->crtc, XCB_CURRENT_TIME);
    const auto crtc = Held(xcb_randr_get_crtc_info_reply(display.connection, crtcCookie, nullptr));
    return crtc ? RotationOf(crtc->rotation) : identity;
}

bool ReadMonitor(const XDisplay& display, const xcb_randr_monitor_info_t* info, Monitor& monitor) {
    if (!ReadName(display, info->name, monitor.record.deviceName)) {
        return false;
    }
    monitor.record.left = info->x;
    monitor.record.top = info->y;
    monitor.record.right = info->x + info->width;
    monitor.record.bottom = info->y + info->height;
    monitor.record.primary = info->primary != 0;
    monitor.rotation = ReadRotation(display, info);
    return true;
}

std::vector<Monitor> ReadRandr(const XDisplay& display) {
    std::vector<Monitor> monitors;
    const auto cookie = xcb_randr_get_monitors(display.connection, display.root, 1);
    const auto reply = Held(xcb_randr_get_monitors_reply(display.connection, cookie, nullptr));
    if (!reply) {
        return monitors;
    }
    for (auto at = xcb_randr_get_monitors_monitors_iterator(reply.get()); at.rem > 0;
         xcb_randr_monitor_info_next(&at)) {
        Monitor monitor;
        if (ReadMonitor(display, at.data, monitor)) {
            monitors.push_back(monitor);
        }
    }
    return monitors;
}

/// The root window as one monitor, under the name that servers without real outputs give theirs.
std::vector<Monitor> ReadRoot(const XDisplay& display) {
    const auto cookie = xcb_get_geometry(display.connection, display.root);
    const auto geometry = Held(xcb_get_geometry_reply(display.connection, cookie, nullptr));
    if (!geometry) {
        return {};
    }
    Monitor monitor;
    monitor.record = {u"screen", 0, 0, geometry->width, geometry->height, true};
    return {monitor};
}

/// False when there is no display.
bool ReadMonitors(std::vector<Monitor>& monitors) {
    const std::optional<XDisplay> display = ThreadDisplay();
    if (!display) {
        return false;
    }
    if (HasMonitors(*display)) {
        monitors = ReadRandr(*display);
    }
    if (monitors.empty()) {
        monitors = ReadRoot(*display);
    }
    const auto isPrimary = [](const Monitor& monitor) { return monitor.record.primary; };
    if (!monitors.empty() && std::none_of(monitors.begin(), monitors.end(), isPrimary)) {
        monitors.front().record.primary = true;
    }
    return true;
}

}  // namespace

bool ListAdapterRecords(std::vector<AdapterRecord>& adapters) { return ReadAdapters("/sys/class/drm", adapters); }

std::vector<MonitorRecord> ListMonitorRecords() {
    std::vector<Monitor> monitors;
    ReadMonitors(monitors);
    std::vector<MonitorRecord> records;
    for (Monitor& monitor : monitors) {
        records.push_back(std::move(monitor.record));
    }
    return records;
}

bool ListFirstAdapterOutputs(std::vector<OutputRecord>& outputs) {
    outputs.clear();
    std::vector<Monitor> monitors;
    if (!ReadMonitors(monitors)) {
        return false;
    }
    for (const Monitor& monitor : monitors) {
        const MonitorRecord& record = monitor.record;
        outputs.push_back(
            {record.deviceName, record.left, record.top, record.right, record.bottom, monitor.rotation, true, true});
    }
    return true;
}

}  // namespace zv
