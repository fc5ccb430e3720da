// The record of one window of the program.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/Rectangle.h"
#include "platform/Window.h"
#include "platform/linux/x11/SharedMemory.h"

namespace zv {

namespace x11 {

/// The memory that the server reads a window's pixels from.
struct PixelUpload {
    SharedMemory memory;
    std::optional<xcb_void_cookie_t> pending;  ///< the request that may still read it
};

}  // namespace x11

/// Belongs to the interface thread.
struct AppWindow {
    xcb_window_t id = XCB_WINDOW_NONE;
    WindowProc procedure = nullptr;
    bool shown = false;
    bool destroyed = false;  ///< has received message::destroy
    bool bare = false;       ///< override-redirect: the window manager ignores it
    bool topmost = false;
    bool excluded = false;   ///< from captures
    bool viewable = false;   ///< mapped by the server
    bool mustMap = false;    ///< shown, but not mapped before the message loop runs
    bool mustPaint = false;  ///< message::paint is due
    bool tracksLeave = false;
    AppWindow* owner = nullptr;                    ///< stays below this window
    xcb_window_t previousFocus = XCB_WINDOW_NONE;  ///< the window that had the focus before this one
    int width = 0;                                 ///< of the client area, at the last message::size
    int height = 0;
    Rectangle bounds;                               ///< of a bare window: as last requested, or as another client set
    unsigned configureSequence = 0;                 ///< sequence number of the last request for `bounds`
    Rectangle suggestedBounds;                      ///< the last message::dpiChanged points to it
    std::optional<std::uint32_t> transparentPixel;  ///< 0x00RRGGBB: the colour key
    std::vector<Rectangle> shape;                   ///< the server's current bounding shape, with a colour key
    xcb_gcontext_t context = XCB_NONE;
    x11::PixelUpload upload;
    std::int64_t raisesSinceNs = 0;  ///< beginning of the second that `raises` counts in
    int raises = 0;
};

namespace x11 {

/// Sends message::destroy and releases all resources of the window except its record.
void DestroyAppWindow(AppWindow& window);

}  // namespace x11
}  // namespace zv
