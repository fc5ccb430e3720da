// Screenshots. The root window is read in one request, so that the picture shows one moment. The program's own excluded
// windows are replaced by the content that they occlude.
#include "platform/ScreenGrab.h"

#include <cerrno>
#include <cstddef>
#include <limits>
#include <span>
#include <vector>

#include "core/Utf8.h"
#include "platform/linux/cairo/PngFile.h"
#include "platform/linux/posix/Posix.h"
#include "platform/linux/x11/PixelFormat.h"
#include "platform/linux/x11/XDisplay.h"
#include "platform/linux/x11/capture/ExcludedWindows.h"
#include "platform/linux/x11/capture/OccludedContent.h"

namespace zv {
namespace {

const xcb_screen_t* ScreenOfRoot(const XDisplay& display) {
    for (auto at = xcb_setup_roots_iterator(xcb_get_setup(display.connection)); at.rem > 0; xcb_screen_next(&at)) {
        if (at.data->root == display.root) {
            return at.data;
        }
    }
    return nullptr;
}

std::vector<std::uint8_t> RgbOf(std::span<const std::uint8_t> image) {
    const std::size_t count = image.size() / 4;
    std::vector<std::uint8_t> rgb(count * 3);
    for (std::size_t i = 0; i < count; ++i) {
        rgb[3 * i] = image[4 * i + 2];
        rgb[3 * i + 1] = image[4 * i + 1];
        rgb[3 * i + 2] = image[4 * i];
    }
    return rgb;
}

/// X has 16 bits for a coordinate or a length.
bool FitsTheProtocol(const Rectangle& area) {
    constexpr std::int32_t longest = std::numeric_limits<std::int16_t>::max();
    return area.left >= 0 && area.left <= longest && area.top >= 0 && area.top <= longest && area.Width() > 0 &&
           area.Width() <= longest && area.Height() > 0 && area.Height() <= longest;
}

/// Fails if the area is not completely on the screen, because the server refuses it.
Result ReadScreen(const Rectangle& area, Pixels& pixels) {
    const std::optional<XDisplay> display = ThreadDisplay();
    if (!display) {
        return ResultOfSystemError(ENXIO);
    }
    const xcb_screen_t& screen = *ScreenOfRoot(*display);
    if (!x11::IsSupported(display->connection, screen)) {
        return ResultOfSystemError(EOPNOTSUPP);
    }
    const std::int64_t startNs = MonotonicNs();
    const auto width = static_cast<std::uint16_t>(area.Width());
    const auto height = static_cast<std::uint16_t>(area.Height());
    const auto cookie =
        xcb_get_image(display->connection, XCB_IMAGE_FORMAT_Z_PIXMAP, display->root,
                      static_cast<std::int16_t>(area.left), static_cast<std::int16_t>(area.top), width, height, ~0U);
    xcb_generic_error_t* error = nullptr;
    const auto reply = Adopt(xcb_get_image_reply(display->connection, cookie, &error));
    const auto heldError = Adopt(error);
    if (!reply) {
        return ResultOfSystemError(heldError ? EINVAL : EPIPE);
    }
    const std::size_t stride = std::size_t{width} * 4;
    const std::span image(xcb_get_image_data(reply.get()), stride * height);
    if (static_cast<std::size_t>(xcb_get_image_data_length(reply.get())) < image.size()) {
        return ResultOfSystemError(EPROTO);
    }
    x11::OccludedContent occluded(display->connection, screen);
    occluded.Restore(x11::BoundsSince(startNs, area), {image.data(), stride, {area.left, area.top}});
    pixels = {width, height, RgbOf(image)};
    return resultOk;
}

}  // namespace

Result SaveScreenAsPng(const Rectangle& area, TextView path) {
    if (!FitsTheProtocol(area)) {
        return ResultOfSystemError(EINVAL);
    }
    Pixels pixels;
    const Result read = ReadScreen(area, pixels);
    return Failed(read) ? read : WritePng(pixels, ToUtf8(path));
}

}  // namespace zv
