// The root window as the server shows it, read in one request so that the picture is of one moment. Where windows of
// ours lie that no capture may show, what lies beneath them is put in their place.
#include "platform/ScreenGrab.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstddef>
#include <limits>
#include <span>

#include "core/Utf8.h"
#include "platform/linux/cairo/PngFile.h"
#include "platform/linux/posix/Posix.h"
#include "platform/linux/x11/XDisplay.h"
#include "platform/linux/x11/capture/ExcludedWindows.h"
#include "platform/linux/x11/capture/OccludedContent.h"

namespace zv {
namespace {

struct Channel {
    std::uint32_t mask = 0;
    int shift = 0;
    std::uint32_t greatest = 0;  ///< 255 on nearly every screen

    explicit Channel(std::uint32_t bits) : mask(bits), shift(std::countr_zero(bits)), greatest(0) {
        greatest = bits == 0 ? 0 : bits >> shift;
    }
    bool Usable() const { return greatest > 0 && greatest <= 0xFFFF; }
    std::uint8_t LevelIn(std::uint32_t pixel) const {
        const std::uint32_t value = (pixel & mask) >> shift;
        return static_cast<std::uint8_t>(greatest == 255 ? value : (value * 255 + greatest / 2) / greatest);
    }
};

/// How the bytes of the root window are to be read.
struct PixelLayout {
    Channel red{0};
    Channel green{0};
    Channel blue{0};
    std::size_t bytes = 0;   ///< of a pixel
    std::size_t rowPad = 0;  ///< rows are multiples of so many bytes
    bool highByteFirst = false;

    bool Usable() const { return red.Usable() && green.Usable() && blue.Usable() && bytes >= 2 && rowPad > 0; }
};

const xcb_screen_t* ScreenOfRoot(const XDisplay& display) {
    for (auto at = xcb_setup_roots_iterator(xcb_get_setup(display.connection)); at.rem > 0; xcb_screen_next(&at)) {
        if (at.data->root == display.root) {
            return at.data;
        }
    }
    return nullptr;
}

const xcb_visualtype_t* VisualOf(const xcb_screen_t& screen) {
    for (auto depth = xcb_screen_allowed_depths_iterator(&screen); depth.rem > 0; xcb_depth_next(&depth)) {
        for (auto at = xcb_depth_visuals_iterator(depth.data); at.rem > 0; xcb_visualtype_next(&at)) {
            if (at.data->visual_id == screen.root_visual) {
                return at.data;
            }
        }
    }
    return nullptr;
}

PixelLayout LayoutOf(const XDisplay& display) {
    PixelLayout layout;
    const xcb_screen_t* screen = ScreenOfRoot(display);
    const xcb_visualtype_t* visual = screen != nullptr ? VisualOf(*screen) : nullptr;
    if (visual == nullptr || visual->_class != XCB_VISUAL_CLASS_TRUE_COLOR) {
        return layout;
    }
    layout.red = Channel(visual->red_mask);
    layout.green = Channel(visual->green_mask);
    layout.blue = Channel(visual->blue_mask);
    const xcb_setup_t* setup = xcb_get_setup(display.connection);
    layout.highByteFirst = setup->image_byte_order == XCB_IMAGE_ORDER_MSB_FIRST;
    for (auto at = xcb_setup_pixmap_formats_iterator(setup); at.rem > 0; xcb_format_next(&at)) {
        if (at.data->depth == screen->root_depth) {
            layout.bytes = at.data->bits_per_pixel / 8U;
            layout.rowPad = at.data->scanline_pad / 8U;
        }
    }
    return layout;
}

std::uint32_t PixelAt(const std::uint8_t* bytes, const PixelLayout& layout) {
    std::uint32_t pixel = 0;
    for (std::size_t i = 0; i < layout.bytes; ++i) {
        const std::size_t place = layout.highByteFirst ? layout.bytes - 1 - i : i;
        pixel |= std::uint32_t{bytes[i]} << (8 * place);
    }
    return pixel;
}

/// False when the server has sent fewer bytes than the size calls for.
bool Unpack(std::span<const std::uint8_t> image, const PixelLayout& layout, Pixels& pixels) {
    const std::size_t width = pixels.width;
    const std::size_t stride = (width * layout.bytes + layout.rowPad - 1) / layout.rowPad * layout.rowPad;
    if (image.size() < stride * pixels.height) {
        return false;
    }
    pixels.rgb.resize(width * pixels.height * 3);
    std::uint8_t* out = pixels.rgb.data();
    for (std::size_t y = 0; y < pixels.height; ++y) {
        const std::uint8_t* row = image.data() + y * stride;
        for (std::size_t x = 0; x < width; ++x) {
            const std::uint32_t pixel = PixelAt(row + x * layout.bytes, layout);
            *out++ = layout.red.LevelIn(pixel);
            *out++ = layout.green.LevelIn(pixel);
            *out++ = layout.blue.LevelIn(pixel);
        }
    }
    return true;
}

/// Puts what lies beneath the windows of ours that were on the screen in place of them, black where that cannot be
/// told.
void TakeOursOut(const ScreenArea& area, const Damage& covered, x11::BeneathWindows& beneath, const PixelLayout& layout,
                 Pixels& pixels) {
    for (const Rectangle& part : covered.Rectangles()) {
        Pixels drawn{static_cast<std::uint32_t>(part.Width()), static_cast<std::uint32_t>(part.Height()), {}};
        const std::uint8_t* bytes = layout.bytes == 4 ? beneath.Draw(part) : nullptr;
        const std::size_t rowBytes = std::size_t{drawn.width} * 3;
        if (bytes == nullptr || !Unpack({bytes, std::size_t{drawn.width} * drawn.height * 4}, layout, drawn)) {
            drawn.rgb.assign(rowBytes * drawn.height, 0);
        }
        for (std::size_t y = 0; y < drawn.height; ++y) {
            const std::size_t row = static_cast<std::size_t>(part.top - area.top) + y;
            const std::size_t column = static_cast<std::size_t>(part.left - area.left);
            std::copy_n(drawn.rgb.begin() + static_cast<std::ptrdiff_t>(y * rowBytes), rowBytes,
                        pixels.rgb.begin() + static_cast<std::ptrdiff_t>((row * pixels.width + column) * 3));
        }
    }
}

/// X counts places and sizes in 16 bits.
bool FitsTheProtocol(const ScreenArea& area) {
    constexpr std::int32_t longest = std::numeric_limits<std::int16_t>::max();
    return area.left >= 0 && area.left <= longest && area.top >= 0 && area.top <= longest && area.width > 0 &&
           area.width <= longest && area.height > 0 && area.height <= longest;
}

/// An area that is not wholly on the screen is refused by the server.
Result ReadScreen(const ScreenArea& area, Pixels& pixels) {
    const std::optional<XDisplay> display = ThreadDisplay();
    if (!display) {
        return ResultOfSystemError(ENXIO);
    }
    const PixelLayout layout = LayoutOf(*display);
    if (!layout.Usable()) {
        return ResultOfSystemError(ENOTSUP);
    }
    const Rectangle bounds{area.left, area.top, area.left + area.width, area.top + area.height};
    const std::int64_t startNs = MonotonicNs();
    const auto width = static_cast<std::uint16_t>(area.width);
    const auto height = static_cast<std::uint16_t>(area.height);
    const auto cookie =
        xcb_get_image(display->connection, XCB_IMAGE_FORMAT_Z_PIXMAP, display->root,
                      static_cast<std::int16_t>(area.left), static_cast<std::int16_t>(area.top), width, height, ~0U);
    xcb_generic_error_t* error = nullptr;
    const auto reply = Adopt(xcb_get_image_reply(display->connection, cookie, &error));
    const auto heldError = Adopt(error);
    if (!reply) {
        return ResultOfSystemError(heldError ? EINVAL : EPIPE);
    }
    const std::span image(xcb_get_image_data(reply.get()),
                          static_cast<std::size_t>(xcb_get_image_data_length(reply.get())));
    pixels.width = width;
    pixels.height = height;
    if (!Unpack(image, layout, pixels)) {
        return ResultOfSystemError(EPROTO);
    }
    x11::BeneathWindows beneath(display->connection, *ScreenOfRoot(*display));
    TakeOursOut(area, x11::PlacesSince(startNs, bounds), beneath, layout, pixels);
    return resultOk;
}

}  // namespace

Result SaveScreenAsPng(const ScreenArea& area, TextView path) {
    if (!FitsTheProtocol(area)) {
        return ResultOfSystemError(EINVAL);
    }
    Pixels pixels;
    const Result read = ReadScreen(area, pixels);
    return Failed(read) ? read : WritePng(pixels, ToUtf8(path));
}

}  // namespace zv
