// A picture on an X screen whose pixels a test can compute.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <vector>

namespace zv::support {

/// Noise that does not compress, different in every part. 0x00RRGGBB.
constexpr std::uint32_t ColorAt(int x, int y) {
    std::uint32_t mixed = static_cast<std::uint32_t>(x) * 0x9E3779B1U + static_cast<std::uint32_t>(y) * 0x85EBCA77U;
    mixed = (mixed ^ mixed >> 15U) * 0x2C1B3C6DU;
    return (mixed ^ mixed >> 12U) & 0xFFFFFFU;
}

/// Another client whose window covers a part of the screen.
class ScreenPainting {
public:
    /// `display` null means the process's own.
    ScreenPainting(const char* display, int left, int top, int width, int height)
        : left_(left), top_(top), width_(width), height_(height) {
        int number = 0;
        connection_ = xcb_connect(display, &number);
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
        depth_ = screen->root_depth;
        root_ = screen->root;
        window_ = xcb_generate_id(connection_);
        const std::uint32_t noManager = 1;
        xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window_, root_, static_cast<std::int16_t>(left),
                          static_cast<std::int16_t>(top), static_cast<std::uint16_t>(width),
                          static_cast<std::uint16_t>(height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                          XCB_CW_OVERRIDE_REDIRECT, &noManager);
        xcb_map_window(connection_, window_);
    }
    ~ScreenPainting() { xcb_disconnect(connection_); }
    ScreenPainting(const ScreenPainting&) = delete;
    ScreenPainting& operator=(const ScreenPainting&) = delete;

    /// The picture is the window's background, which the server repaints. `pixelAt` gets desktop coordinates.
    template <class Unit, class PixelAt>
    void Fill(PixelAt pixelAt) {
        const xcb_pixmap_t picture = xcb_generate_id(connection_);
        xcb_create_pixmap(connection_, depth_, picture, window_, static_cast<std::uint16_t>(width_),
                          static_cast<std::uint16_t>(height_));
        const xcb_gcontext_t context = xcb_generate_id(connection_);
        xcb_create_gc(connection_, context, picture, 0, nullptr);
        const int padded = (width_ * static_cast<int>(sizeof(Unit)) + 3) / 4 * 4 / static_cast<int>(sizeof(Unit));
        std::vector<Unit> row(static_cast<std::size_t>(padded));
        for (int y = 0; y < height_; ++y) {
            for (int x = 0; x < width_; ++x) {
                row[static_cast<std::size_t>(x)] = static_cast<Unit>(pixelAt(left_ + x, top_ + y));
            }
            xcb_put_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, picture, context, static_cast<std::uint16_t>(width_),
                          1, 0, static_cast<std::int16_t>(y), 0, depth_,
                          static_cast<std::uint32_t>(row.size() * sizeof(Unit)),
                          reinterpret_cast<const std::uint8_t*>(row.data()));
        }
        xcb_change_window_attributes(connection_, window_, XCB_CW_BACK_PIXMAP, &picture);
        xcb_clear_area(connection_, 0, window_, 0, 0, 0, 0);
        xcb_free_pixmap(connection_, picture);
        xcb_free_gc(connection_, context);
        Sync();
    }
    void MovePointer(int x, int y) {
        xcb_warp_pointer(connection_, XCB_NONE, root_, 0, 0, 0, 0, static_cast<std::int16_t>(x),
                         static_cast<std::int16_t>(y));
        Sync();
    }

private:
    void Sync() { std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr)); }

    int left_;
    int top_;
    int width_;
    int height_;
    std::uint8_t depth_ = 0;
    xcb_window_t root_ = 0;
    xcb_window_t window_ = 0;
    xcb_connection_t* connection_ = nullptr;
};

}  // namespace zv::support
