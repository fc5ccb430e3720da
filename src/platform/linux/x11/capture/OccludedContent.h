// What lies beneath the program's own windows, for captures that must not show them.
//
// As long as one of them is up, every window of the screen keeps a picture of its own; here the pictures of all others
// are put over one another, from the bottom to the top, where ours lie. One connection, one thread.
#pragma once

#include <xcb/render.h>
#include <xcb/shm.h>
#include <xcb/xcb.h>

#include <memory>
#include <vector>

#include "platform/Rectangle.h"
#include "platform/software/Surface.h"

namespace zv::x11 {

class BeneathWindows {
public:
    BeneathWindows(xcb_connection_t* connection, const xcb_screen_t& screen);
    ~BeneathWindows();
    BeneathWindows(const BeneathWindows&) = delete;
    BeneathWindows& operator=(const BeneathWindows&) = delete;

    /// Draws what lies beneath ours in `part` of the root into memory of this object: rows of as many pixels as the
    /// part is wide, as the root's own. Null when the server cannot. Valid until the next call.
    const std::uint8_t* Draw(const Rectangle& part);

private:
    struct Layer {
        xcb_window_t window;
        Rectangle bounds;  ///< with its border
        int border;
        xcb_visualid_t visual;
    };

    bool Open();
    xcb_render_pictformat_t FormatOf(xcb_visualid_t visual) const;
    std::vector<Layer> Layers() const;
    void DrawBackground(xcb_render_picture_t target, const Rectangle& part) const;
    void DrawLayer(xcb_render_picture_t target, const Rectangle& part, const Layer& layer) const;
    bool Fetch(xcb_pixmap_t pixmap, const Rectangle& part);

    xcb_connection_t* connection_;
    const xcb_screen_t& screen_;
    enum class State { Closed, Ready, Impossible } state_ = State::Closed;
    xcb_atom_t rootPicture_ = XCB_ATOM_NONE;
    struct VisualFormat {
        xcb_visualid_t visual;
        xcb_render_pictformat_t format;
    };
    std::vector<VisualFormat> formats_;
    std::shared_ptr<PixelStore> store_;
    xcb_shm_seg_t segment_ = XCB_NONE;
};

}  // namespace zv::x11
