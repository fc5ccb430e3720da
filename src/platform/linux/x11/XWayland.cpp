#include "platform/linux/x11/XWayland.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "platform/linux/x11/RandrMonitors.h"
#include "platform/linux/x11/Xcb.h"

namespace zv::x11 {

bool IsXWayland(xcb_connection_t* connection, xcb_window_t root) {
    constexpr std::string_view extension = "XWAYLAND";
    const xcb_query_extension_cookie_t query =
        xcb_query_extension(connection, static_cast<std::uint16_t>(extension.size()), extension.data());
    const std::vector<ScreenMonitor> monitors = QueryMonitors(connection, root);
    const Reply<xcb_query_extension_reply_t> reply(xcb_query_extension_reply(connection, query, nullptr));
    return (reply && reply->present != 0) || std::any_of(monitors.begin(), monitors.end(), [](const auto& monitor) {
               return monitor.output.deviceName.starts_with(u"XWAYLAND");
           });
}

}  // namespace zv::x11
