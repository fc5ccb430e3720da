// Sends a window's pixels to the server, through shared memory if possible. With a colour key, the pixels of other
// colours are the window's shape.
#include <xcb/shape.h>

#include <algorithm>
#include <cstring>
#include <span>
#include <utility>

#include "platform/linux/x11/window/Session.h"
#include "platform/software/PaintedParts.h"

namespace zv {
namespace x11 {
namespace {

struct Picture {
    const std::uint32_t* pixels = nullptr;
    int width = 0;
    int height = 0;
    int top = 0;  ///< of its first row in the window

    std::span<const std::uint32_t> Row(int y) const {
        return {pixels + static_cast<std::size_t>(y) * static_cast<std::size_t>(width),
                static_cast<std::size_t>(width)};
    }
};

void SetShape(Session& session, const AppWindow& window, xcb_shape_kind_t kind,
              const std::vector<xcb_rectangle_t>& parts) {
    xcb_shape_rectangles(session.connection.get(), XCB_SHAPE_SO_SET, kind, XCB_CLIP_ORDERING_YX_BANDED, window.id, 0, 0,
                         static_cast<std::uint32_t>(parts.size()), parts.data());
}

xcb_rectangle_t ServerRectangle(const Rectangle& part) {
    return {static_cast<std::int16_t>(part.left), static_cast<std::int16_t>(part.top),
            static_cast<std::uint16_t>(part.Width()), static_cast<std::uint16_t>(part.Height())};
}

void UpdateShape(Session& session, AppWindow& window, const Picture& picture) {
    std::vector<Rectangle> parts =
        PaintedParts({picture.pixels, picture.width, picture.height}, *window.transparentPixel);
    if (parts == window.shape) {
        return;
    }
    std::vector<xcb_rectangle_t> rectangles(parts.size());
    std::transform(parts.begin(), parts.end(), rectangles.begin(), ServerRectangle);
    SetShape(session, window, XCB_SHAPE_SK_BOUNDING, rectangles);
    SetShape(session, window, XCB_SHAPE_SK_INPUT, rectangles);
    window.shape = std::move(parts);
}

/// Waits until the server has read the last picture. Returns false if memory of this size cannot be shared.
bool PrepareUpload(Session& session, PixelUpload& upload, std::size_t bytes) {
    xcb_connection_t* connection = session.connection.get();
    if (upload.pending) {
        std::free(xcb_request_check(connection, *std::exchange(upload.pending, std::nullopt)));
    }
    return upload.memory.Size() >= bytes || Succeeded(upload.memory.Attach(connection, bytes, ServerAccess::Read));
}

void PutShared(Session& session, AppWindow& window, const Picture& picture, std::size_t bytes) {
    std::memcpy(window.upload.memory.Bytes().get(), picture.pixels, bytes);
    const auto width = static_cast<std::uint16_t>(picture.width);
    const auto height = static_cast<std::uint16_t>(picture.height);
    window.upload.pending =
        xcb_shm_put_image_checked(session.connection.get(), window.id, window.context, width, height, 0, 0, width,
                                  height, 0, static_cast<std::int16_t>(picture.top), session.screen->root_depth,
                                  XCB_IMAGE_FORMAT_Z_PIXMAP, 0, window.upload.memory.Segment(), 0);
}

/// Sends the largest number of rows in each request that the server accepts.
void PutCopied(Session& session, AppWindow& window, const Picture& picture) {
    xcb_connection_t* connection = session.connection.get();
    const std::size_t rowBytes = static_cast<std::size_t>(picture.width) * 4;
    const std::size_t most = std::size_t{xcb_get_maximum_request_length(connection)} * 4 - 64;
    const int rows = static_cast<int>(std::max<std::size_t>(most / std::max<std::size_t>(rowBytes, 1), 1));
    for (int y = 0; y < picture.height; y += rows) {
        const int count = std::min(rows, picture.height - y);
        xcb_put_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, window.id, window.context,
                      static_cast<std::uint16_t>(picture.width), static_cast<std::uint16_t>(count), 0,
                      static_cast<std::int16_t>(picture.top + y), 0, session.screen->root_depth,
                      static_cast<std::uint32_t>(rowBytes * static_cast<std::size_t>(count)),
                      reinterpret_cast<const std::uint8_t*>(picture.Row(y).data()));
    }
}

}  // namespace

bool DispatchPaint(Session& session) {
    const auto found = std::find_if(session.windows.begin(), session.windows.end(),
                                    [](const AppWindow* window) { return window->mustPaint && window->viewable; });
    if (found == session.windows.end()) {
        return false;
    }
    (*found)->mustPaint = false;
    Send(**found, message::paint);
    return true;
}

void ReleasePixels(Session& session, AppWindow& window) {
    if (window.upload.pending) {
        xcb_discard_reply(session.connection.get(), window.upload.pending->sequence);
    }
    window.upload = {};
    if (window.context != XCB_NONE) {
        xcb_free_gc(session.connection.get(), window.context);
    }
}

void MakeClickThrough(Session& session, AppWindow& window) { SetShape(session, window, XCB_SHAPE_SK_INPUT, {}); }

}  // namespace x11

void InvalidateWindow(AppWindow& window) { window.mustPaint = true; }

void PaintNow(AppWindow& window) {
    if (window.mustPaint && window.shown && !window.destroyed) {
        window.mustPaint = false;
        x11::Send(window, message::paint);
    }
}

namespace x11 {
namespace {

void Put(AppWindow& window, const Picture& picture, bool whole) {
    Session& session = CurrentSession();
    xcb_connection_t* connection = session.connection.get();
    window.mustPaint = false;
    if (picture.width <= 0 || picture.height <= 0 || window.destroyed || xcb_connection_has_error(connection) != 0) {
        return;
    }
    if (window.context == XCB_NONE) {
        const std::uint32_t noExposures = 0;
        window.context = xcb_generate_id(connection);
        xcb_create_gc(connection, window.context, window.id, XCB_GC_GRAPHICS_EXPOSURES, &noExposures);
    }
    if (window.transparentPixel && whole) {
        UpdateShape(session, window, picture);
    }
    const std::size_t bytes = static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height) * 4;
    if (PrepareUpload(session, window.upload, bytes)) {
        PutShared(session, window, picture, bytes);
    } else {
        PutCopied(session, window, picture);
    }
    xcb_flush(connection);
}

}  // namespace
}  // namespace x11

void PutPixels(AppWindow& window, const std::uint32_t* pixels, int width, int height) {
    x11::Put(window, {pixels, width, height}, true);
}

void PutPixelRows(AppWindow& window, const std::uint32_t* pixels, int width, int rows, int top) {
    x11::Put(window, {pixels, width, rows, top}, false);
}

void SetColorKey(AppWindow& window, std::uint32_t color) {
    const std::uint32_t pixel = (color & 0xFFU) << 16U | (color & 0xFF00U) | (color >> 16U & 0xFFU);
    if (window.transparentPixel == pixel) {
        return;
    }
    window.transparentPixel = pixel;
    // The window is invisible and not clickable before it is first painted.
    x11::Session& session = x11::CurrentSession();
    x11::SetShape(session, window, XCB_SHAPE_SK_BOUNDING, {});
    x11::SetShape(session, window, XCB_SHAPE_SK_INPUT, {});
    window.shape.clear();
    InvalidateWindow(window);
}

void SetConstantAlpha(AppWindow& window, std::uint8_t alpha) {
    x11::Session& session = x11::CurrentSession();
    const std::uint32_t opacity = alpha * 0x01010101U;
    xcb_change_property(session.connection.get(), XCB_PROP_MODE_REPLACE, window.id, session.atoms.netWmWindowOpacity,
                        XCB_ATOM_CARDINAL, 32, 1, &opacity);
    xcb_flush(session.connection.get());
}

}  // namespace zv
