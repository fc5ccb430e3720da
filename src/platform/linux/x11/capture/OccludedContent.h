// The content that the program's own windows occlude, for captures and screenshots that must not show these windows.
//
// While one of our windows is shown, the server keeps a pixmap of every top-level window. OccludedContent composes the
// pixmaps of all other windows in stacking order, in the bounds of our windows. Below the windows it draws the
// wallpaper; if the desktop has published none, what the screen showed there before.
#pragma once

#include <xcb/render.h>
#include <xcb/xcb.h>

#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "platform/Rectangle.h"
#include "platform/linux/x11/SharedMemory.h"
#include "platform/software/Damage.h"

namespace zv::x11 {

/// Pixels of the root window: 4 bytes each.
struct RootPixels {
    std::uint8_t* bytes = nullptr;
    std::size_t stride = 0;  ///< bytes a row
    Point origin;            ///< of the first pixel, in the root's coordinates
};

/// Used by one connection and its thread.
class OccludedContent {
public:
    OccludedContent(xcb_connection_t* connection, const xcb_screen_t& screen);

    /// Replaces `parts` of the root, which lie inside `pixels`, by the content that our windows occlude there, or by
    /// black if the server cannot compose it. Parts that are too many rows together are replaced as one box. Waits for
    /// the server three times for any number of parts and windows, once more if the shared memory has to grow, and once
    /// more for each invisible window that covers all parts.
    void Restore(const Damage& parts, const RootPixels& pixels);

private:
    struct Layer {
        xcb_window_t window;
        Rectangle bounds;  ///< with its border
        int border;
        xcb_visualid_t visual;
    };
    struct Scene {
        std::vector<Layer> layers;  ///< the visible windows of other programs, the lowest first
        /// The wallpaper or the backdrop.
        xcb_pixmap_t background = XCB_NONE;
    };
    /// A part of the root, and its first row in the picture in which all parts are composed one below the other.
    struct Tile {
        Rectangle part;
        std::int32_t top = 0;
    };
    struct Tiles {
        std::array<Tile, Damage::most> each;
        std::size_t count = 0;
        std::int32_t width = 0;
        std::int32_t height = 0;
        std::span<const Tile> All() const { return {each.data(), count}; }
    };

    bool Open();
    xcb_render_pictformat_t FormatOf(xcb_visualid_t visual) const;
    static Tiles TilesOf(const Damage& parts);
    bool IsGuard(xcb_window_t window, const Rectangle& bounds, const Tiles& tiles) const;
    Scene ReadScene(const Tiles& tiles) const;
    void DrawBackground(xcb_render_picture_t target, const Tiles& tiles, xcb_pixmap_t background) const;
    void DrawLayer(xcb_render_picture_t target, const Tiles& tiles, const Layer& layer) const;
    bool Compose(const Tiles& tiles);
    bool Fetch(xcb_pixmap_t pixmap, const Tiles& tiles);

    xcb_connection_t* connection_;
    const xcb_screen_t& screen_;
    enum class State { Closed, Ready, Unsupported } state_ = State::Closed;
    xcb_atom_t rootPixmapProperty_ = XCB_ATOM_NONE;
    struct VisualFormat {
        xcb_visualid_t visual;
        xcb_render_pictformat_t format;
    };
    std::vector<VisualFormat> formats_;
    SharedMemory memory_;
};

}  // namespace zv::x11
