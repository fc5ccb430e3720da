// The active window that the window manager publishes; without a window manager, the window that has the input focus.
//
// Requests that do not depend on one another are sent together. A query takes one round trip for the check of the
// connection, one for the window, one for each level between the window and the root, and three for the monitors.
#include "platform/FrontWindow.h"

#include <xcb/res.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>

#include "core/Utf8.h"
#include "platform/Environment.h"
#include "platform/linux/x11/Extensions.h"
#include "platform/linux/x11/RandrMonitors.h"
#include "platform/linux/x11/XDisplay.h"
#include "platform/linux/x11/window/Session.h"

namespace zv {
namespace {

bool EndsInExe(const std::string& path) {
    constexpr std::string_view ending = ".exe";
    return path.size() >= ending.size() &&
           std::equal(ending.begin(), ending.end(), path.end() - static_cast<std::ptrdiff_t>(ending.size()),
                      [](char expected, char unit) { return expected == unit || expected == (unit | 0x20); });
}

/// The path of the Windows program, with "/" as separator, if a compatibility layer's loader runs it. Empty otherwise.
std::string WindowsProgram(const std::string& process) {
    std::ifstream file("/proc/" + process + "/cmdline", std::ios::binary);
    std::string program;
    std::getline(file, program, '\0');
    if (!EndsInExe(program)) {
        return {};
    }
    std::replace(program.begin(), program.end(), '\\', '/');
    return program;
}

std::string ImageOf(const std::string& process) {
    std::string program = WindowsProgram(process);
    if (!program.empty()) {
        return program;
    }
    std::error_code code;
    std::string image = std::filesystem::read_symlink("/proc/" + process + "/exe", code).native();
    constexpr std::string_view replaced = " (deleted)";
    if (image.ends_with(replaced)) {
        image.resize(image.size() - replaced.size());
    }
    return image;
}

/// The process of the client that made the window; 0 if the server does not know it.
std::uint32_t ProcessOf(xcb_connection_t* connection, xcb_res_query_client_ids_cookie_t cookie) {
    const auto reply = Adopt(xcb_res_query_client_ids_reply(connection, cookie, nullptr));
    if (!reply) {
        return 0;
    }
    const auto ids = xcb_res_query_client_ids_ids_iterator(reply.get());
    const bool hasValue = ids.rem > 0 && xcb_res_client_id_value_value_length(ids.data) > 0;
    return hasValue ? *xcb_res_client_id_value_value(ids.data) : 0;
}

xcb_get_property_cookie_t RequestProperty(const XDisplay& display, xcb_window_t window, xcb_atom_t property,
                                          std::uint32_t units) {
    return xcb_get_property(display.connection, 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, units);
}

/// The first 32-bit value of a property.
std::optional<std::uint32_t> NumberOf(const XDisplay& display, xcb_get_property_cookie_t cookie) {
    const auto reply = Adopt(xcb_get_property_reply(display.connection, cookie, nullptr));
    if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) < 4) {
        return std::nullopt;
    }
    return *static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
}

std::string BytesOf(const XDisplay& display, xcb_get_property_cookie_t cookie) {
    const auto reply = Adopt(xcb_get_property_reply(display.connection, cookie, nullptr));
    if (!reply || reply->format != 8) {
        return {};
    }
    return {static_cast<const char*>(xcb_get_property_value(reply.get())),
            static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
}

xcb_window_t ActiveWindow(const XDisplay& display) {
    const auto activeCookie = RequestProperty(display, display.root, display.atoms.netActiveWindow, 1);
    const auto focusCookie = xcb_get_input_focus(display.connection);
    const std::optional<std::uint32_t> active = NumberOf(display, activeCookie);
    const auto focus = Adopt(xcb_get_input_focus_reply(display.connection, focusCookie, nullptr));
    if (active) {
        return *active;
    }
    const bool named = focus && focus->focus != XCB_INPUT_FOCUS_NONE && focus->focus != XCB_INPUT_FOCUS_POINTER_ROOT &&
                       focus->focus != display.root;
    return named ? focus->focus : xcb_window_t{XCB_WINDOW_NONE};
}

/// The server's data about one window.
struct WindowFacts {
    xcb_window_t parent = XCB_WINDOW_NONE;
    Rectangle bounds;                      ///< in the parent
    std::uint32_t process = 0;             ///< that made the window; 0 if the server does not know it
    std::optional<std::uint32_t> claimed;  ///< process according to the window's own property
    std::optional<std::uint32_t> type;
    std::string classNames;
};

WindowFacts QueryFacts(const XDisplay& display, xcb_window_t window) {
    xcb_connection_t* connection = display.connection;
    const bool hasProcessIds = x11::HasExtension(connection, xcb_res_id);
    const xcb_res_client_id_spec_t client{window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    xcb_res_query_client_ids_cookie_t processCookie{};
    if (hasProcessIds) {
        processCookie = xcb_res_query_client_ids(connection, 1, &client);
    }
    const auto treeCookie = xcb_query_tree(connection, window);
    const auto geometryCookie = xcb_get_geometry(connection, window);
    const auto claimedCookie = RequestProperty(display, window, display.atoms.netWmPid, 1);
    const auto typeCookie = RequestProperty(display, window, display.atoms.netWmWindowType, 1);
    const auto classCookie = RequestProperty(display, window, XCB_ATOM_WM_CLASS, 256);
    WindowFacts facts;
    facts.process = hasProcessIds ? ProcessOf(connection, processCookie) : 0;
    if (const auto tree = Adopt(xcb_query_tree_reply(connection, treeCookie, nullptr))) {
        facts.parent = tree->parent;
    }
    if (const auto geometry = Adopt(xcb_get_geometry_reply(connection, geometryCookie, nullptr))) {
        const int border = 2 * geometry->border_width;
        facts.bounds = {geometry->x, geometry->y, geometry->x + geometry->width + border,
                        geometry->y + geometry->height + border};
    }
    facts.claimed = NumberOf(display, claimedCookie);
    facts.type = NumberOf(display, typeCookie);
    facts.classNames = BytesOf(display, classCookie);
    return facts;
}

/// The desktop and its panels have the class names of Windows; all other windows have their own.
Text ClassNameOf(const XDisplay& display, const WindowFacts& window) {
    if (window.type == display.atoms.netWmWindowTypeDesktop) {
        return u"Progman";
    }
    if (window.type == display.atoms.netWmWindowTypeDock) {
        return u"Shell_TrayWnd";
    }
    // The names of the instance and of the class, each followed by a null byte.
    std::string names = window.classNames;
    const std::size_t end = names.find('\0');
    names.erase(0, end == std::string::npos ? 0 : end + 1);
    names.erase(std::min(names.find('\0'), names.size()));
    return FromUtf8(names);
}

}  // namespace

FrontWindow LookUpFrontWindow() {
    const std::optional<XDisplay> display = ThreadDisplay();
    const xcb_window_t window = display ? ActiveWindow(*display) : xcb_window_t{XCB_WINDOW_NONE};
    if (window == XCB_WINDOW_NONE) {
        return {};
    }
    WindowFacts facts = QueryFacts(*display, window);
    FrontWindow front;
    front.className = ClassNameOf(*display, facts);
    const std::uint32_t process = facts.process;
    std::optional<std::uint32_t> claimed = facts.claimed;
    while (facts.parent != display->root && facts.parent != XCB_WINDOW_NONE) {
        facts = QueryFacts(*display, facts.parent);
        claimed = claimed ? claimed : facts.claimed;
    }
    front.bounds = facts.bounds;
    front.processId = process != 0 ? process : claimed.value_or(0);
    front.dpi = x11::CurrentSession().dpi;
    front.monitor = x11::MonitorShowing(x11::QueryMonitors(display->connection, display->root), front.bounds);
    if (front.processId == OwnProcessId()) {
        front.kind = FrontKind::Own;
        return front;
    }
    front.imagePath = front.processId != 0 ? FromUtf8(ImageOf(std::to_string(front.processId))) : Text();
    front.kind = front.imagePath.empty() ? FrontKind::Unknown : FrontKind::Known;
    return front;
}

}  // namespace zv
