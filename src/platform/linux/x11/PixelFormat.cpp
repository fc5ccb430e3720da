#include "platform/linux/x11/PixelFormat.h"

#include <cstdint>

namespace zv::x11 {
namespace {

bool HasPixelsOfFourBytes(const xcb_setup_t& setup, std::uint8_t depth) {
    for (auto format = xcb_setup_pixmap_formats_iterator(&setup); format.rem > 0; xcb_format_next(&format)) {
        if (format.data->depth == depth) {
            return format.data->bits_per_pixel == 32 && setup.image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST;
        }
    }
    return false;
}

const xcb_visualtype_t* RootVisual(const xcb_screen_t& screen) {
    for (auto depth = xcb_screen_allowed_depths_iterator(&screen); depth.rem > 0; xcb_depth_next(&depth)) {
        for (auto visual = xcb_depth_visuals_iterator(depth.data); visual.rem > 0; xcb_visualtype_next(&visual)) {
            if (visual.data->visual_id == screen.root_visual) {
                return visual.data;
            }
        }
    }
    return nullptr;
}

}  // namespace

bool IsSupported(xcb_connection_t* connection, const xcb_screen_t& screen) {
    const xcb_visualtype_t* visual = RootVisual(screen);
    return visual != nullptr && visual->_class == XCB_VISUAL_CLASS_TRUE_COLOR && visual->red_mask == 0xFF0000U &&
           visual->green_mask == 0xFF00U && visual->blue_mask == 0xFFU &&
           HasPixelsOfFourBytes(*xcb_get_setup(connection), screen.root_depth);
}

}  // namespace zv::x11
