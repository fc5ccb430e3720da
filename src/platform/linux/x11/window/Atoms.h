// The atoms that the windows use.
#pragma once

#include <xcb/xcb.h>

namespace zv::x11 {

struct Atoms {
    xcb_atom_t wmProtocols = XCB_ATOM_NONE;
    xcb_atom_t wmDeleteWindow = XCB_ATOM_NONE;
    xcb_atom_t netWmPing = XCB_ATOM_NONE;
    xcb_atom_t netWmName = XCB_ATOM_NONE;
    xcb_atom_t netWmPid = XCB_ATOM_NONE;
    xcb_atom_t netActiveWindow = XCB_ATOM_NONE;
    xcb_atom_t utf8String = XCB_ATOM_NONE;
    xcb_atom_t windowClass = XCB_ATOM_NONE;    ///< property of each window of the program: its class name
    xcb_atom_t comeForward = XCB_ATOM_NONE;    ///< message from a second copy to the first one's window
    xcb_atom_t commandSocket = XCB_ATOM_NONE;  ///< property of the selection's owner: the path of its CommandServer
    xcb_atom_t netWmState = XCB_ATOM_NONE;
    xcb_atom_t netWmStateAbove = XCB_ATOM_NONE;
    xcb_atom_t netWmStateSkipTaskbar = XCB_ATOM_NONE;
    xcb_atom_t netWmWindowType = XCB_ATOM_NONE;
    xcb_atom_t netWmWindowTypeDialog = XCB_ATOM_NONE;
    xcb_atom_t netWmWindowTypeNotification = XCB_ATOM_NONE;
    xcb_atom_t netWmWindowOpacity = XCB_ATOM_NONE;
    xcb_atom_t netWmIcon = XCB_ATOM_NONE;
    xcb_atom_t netWorkarea = XCB_ATOM_NONE;
    xcb_atom_t gtkThemeVariant = XCB_ATOM_NONE;
    xcb_atom_t netWmWindowTypeDesktop = XCB_ATOM_NONE;
    xcb_atom_t netWmWindowTypeDock = XCB_ATOM_NONE;
    xcb_atom_t netClientListStacking = XCB_ATOM_NONE;
    xcb_atom_t netSupportingWmCheck = XCB_ATOM_NONE;
    xcb_atom_t wmState = XCB_ATOM_NONE;
    xcb_atom_t wmChangeState = XCB_ATOM_NONE;
    xcb_atom_t manager = XCB_ATOM_NONE;
    xcb_atom_t xembedInfo = XCB_ATOM_NONE;
    xcb_atom_t netSystemTrayOpcode = XCB_ATOM_NONE;
    xcb_atom_t traySelection = XCB_ATOM_NONE;        ///< _NET_SYSTEM_TRAY_S and the screen's number
    xcb_atom_t compositorSelection = XCB_ATOM_NONE;  ///< _NET_WM_CM_S and the screen's number
};

/// Waits for the server once.
Atoms InternAtoms(xcb_connection_t* connection, int screenNumber);

}  // namespace zv::x11
