#include "platform/linux/x11/window/Atoms.h"

#include <string>
#include <vector>

#include "platform/linux/x11/CommandClient.h"
#include "platform/linux/x11/Xcb.h"

namespace zv::x11 {

Atoms InternAtoms(xcb_connection_t* connection, int screenNumber) {
    struct Row {
        xcb_atom_t Atoms::*atom;
        std::string name;
    };
    const std::string number = std::to_string(screenNumber);
    const std::vector<Row> rows = {
        {&Atoms::wmProtocols, "WM_PROTOCOLS"},
        {&Atoms::wmDeleteWindow, "WM_DELETE_WINDOW"},
        {&Atoms::netWmPing, "_NET_WM_PING"},
        {&Atoms::netWmName, "_NET_WM_NAME"},
        {&Atoms::netWmPid, "_NET_WM_PID"},
        {&Atoms::netActiveWindow, "_NET_ACTIVE_WINDOW"},
        {&Atoms::utf8String, "UTF8_STRING"},
        {&Atoms::windowClass, "_ZORVEL_WINDOW_CLASS"},
        {&Atoms::comeForward, "_ZORVEL_COME_FORWARD"},
        {&Atoms::commandSocket, commandSocketProperty},
        {&Atoms::netWmState, "_NET_WM_STATE"},
        {&Atoms::netWmStateAbove, "_NET_WM_STATE_ABOVE"},
        {&Atoms::netWmStateSkipTaskbar, "_NET_WM_STATE_SKIP_TASKBAR"},
        {&Atoms::netWmWindowType, "_NET_WM_WINDOW_TYPE"},
        {&Atoms::netWmWindowTypeDialog, "_NET_WM_WINDOW_TYPE_DIALOG"},
        {&Atoms::netWmWindowTypeNotification, "_NET_WM_WINDOW_TYPE_NOTIFICATION"},
        {&Atoms::netWmWindowOpacity, "_NET_WM_WINDOW_OPACITY"},
        {&Atoms::netWmIcon, "_NET_WM_ICON"},
        {&Atoms::netWorkarea, "_NET_WORKAREA"},
        {&Atoms::gtkThemeVariant, "_GTK_THEME_VARIANT"},
        {&Atoms::netWmWindowTypeDesktop, "_NET_WM_WINDOW_TYPE_DESKTOP"},
        {&Atoms::netWmWindowTypeDock, "_NET_WM_WINDOW_TYPE_DOCK"},
        {&Atoms::netClientListStacking, "_NET_CLIENT_LIST_STACKING"},
        {&Atoms::netSupportingWmCheck, "_NET_SUPPORTING_WM_CHECK"},
        {&Atoms::wmState, "WM_STATE"},
        {&Atoms::wmChangeState, "WM_CHANGE_STATE"},
        {&Atoms::manager, "MANAGER"},
        {&Atoms::xembedInfo, "_XEMBED_INFO"},
        {&Atoms::netSystemTrayOpcode, "_NET_SYSTEM_TRAY_OPCODE"},
        {&Atoms::traySelection, "_NET_SYSTEM_TRAY_S" + number},
        {&Atoms::compositorSelection, "_NET_WM_CM_S" + number},
    };
    std::vector<xcb_intern_atom_cookie_t> cookies;
    for (const Row& row : rows) {
        cookies.push_back(
            xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(row.name.size()), row.name.c_str()));
    }
    Atoms atoms;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const auto reply = Adopt(xcb_intern_atom_reply(connection, cookies[i], nullptr));
        atoms.*rows[i].atom = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    }
    return atoms;
}

}  // namespace zv::x11
