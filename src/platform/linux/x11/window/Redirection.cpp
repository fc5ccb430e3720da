#include "platform/linux/x11/window/Redirection.h"

#include <xcb/composite.h>
#include <xcb/xfixes.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>
#include <vector>

#include "platform/linux/posix/Posix.h"
#include "platform/linux/x11/Extensions.h"
#include "platform/linux/x11/capture/ExcludedWindows.h"
#include "platform/linux/x11/window/Session.h"
#include "platform/linux/x11/window/WindowStacking.h"

namespace zv::x11 {
namespace {

/// Longer than bounds stay masked, and than a capture takes that has read them.
constexpr std::int64_t releaseDelayNs = 2 * lingerNs;

xcb_rectangle_t ToServer(const Rectangle& area) {
    return {static_cast<std::int16_t>(area.left), static_cast<std::int16_t>(area.top),
            static_cast<std::uint16_t>(area.Width()), static_cast<std::uint16_t>(area.Height())};
}

void RedirectWindows(Session& session) {
    xcb_connection_t* connection = session.connection.get();
    if (!session.redirection.redirected) {
        xcb_discard_reply(connection, xcb_composite_query_version(connection, 0, 4).sequence);
        xcb_composite_redirect_subwindows(connection, session.screen->root, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
        session.redirection.redirected = true;
    }
}

/// Waits for the server.
bool IsComposited(const Session& session) {
    return SelectionOwner(session, session.atoms.compositorSelection).value_or(XCB_WINDOW_NONE) != XCB_WINDOW_NONE;
}

xcb_gcontext_t MakeContext(xcb_connection_t* connection, xcb_drawable_t drawable) {
    const xcb_gcontext_t context = xcb_generate_id(connection);
    const std::array<std::uint32_t, 2> values{XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS, 0};
    xcb_create_gc(connection, context, drawable, XCB_GC_SUBWINDOW_MODE | XCB_GC_GRAPHICS_EXPOSURES, values.data());
    return context;
}

void FreeBackdrop(Session& session) {
    if (session.redirection.backdrop != XCB_NONE) {
        PublishBackdrop(XCB_NONE);
        xcb_free_pixmap(session.connection.get(), std::exchange(session.redirection.backdrop, XCB_NONE));
    }
}

/// Replaces the backdrop by a black one if it does not have the size of the screen. Waits for the server.
bool PrepareBackdrop(Session& session) {
    xcb_connection_t* connection = session.connection.get();
    Redirection& kept = session.redirection;
    const auto screen =
        Adopt(xcb_get_geometry_reply(connection, xcb_get_geometry(connection, session.screen->root), nullptr));
    if (!screen || (kept.backdrop != XCB_NONE && kept.width == screen->width && kept.height == screen->height)) {
        return screen != nullptr;
    }
    FreeBackdrop(session);
    kept.width = screen->width;
    kept.height = screen->height;
    kept.backdrop = xcb_generate_id(connection);
    xcb_create_pixmap(connection, screen->depth, kept.backdrop, session.screen->root, screen->width, screen->height);
    const xcb_gcontext_t context = MakeContext(connection, kept.backdrop);
    const xcb_rectangle_t all{0, 0, screen->width, screen->height};
    xcb_poly_fill_rectangle(connection, kept.backdrop, context, 1, &all);
    xcb_free_gc(connection, context);
    return true;
}

/// Copies what the screen shows, except where it may show one of our windows.
void CopyToBackdrop(Session& session, const Rectangle& bounds) {
    xcb_connection_t* connection = session.connection.get();
    const Redirection& kept = session.redirection;
    const Rectangle area = Intersection(bounds, {0, 0, kept.width, kept.height});
    if (area.IsEmpty()) {
        return;
    }
    const Damage ours = BoundsSince(MonotonicNs(), area);
    std::vector<xcb_rectangle_t> masked;
    std::transform(ours.Rectangles().begin(), ours.Rectangles().end(), std::back_inserter(masked), ToServer);
    const xcb_rectangle_t whole = ToServer(area);
    const xcb_xfixes_region_t copied = xcb_generate_id(connection);
    const xcb_xfixes_region_t omitted = xcb_generate_id(connection);
    xcb_discard_reply(connection, xcb_xfixes_query_version(connection, 2, 0).sequence);
    xcb_xfixes_create_region(connection, copied, 1, &whole);
    xcb_xfixes_create_region(connection, omitted, static_cast<std::uint32_t>(masked.size()), masked.data());
    xcb_xfixes_subtract_region(connection, copied, omitted, copied);
    const xcb_gcontext_t context = MakeContext(connection, kept.backdrop);
    xcb_xfixes_set_gc_clip_region(connection, context, copied, 0, 0);
    xcb_copy_area(connection, session.screen->root, kept.backdrop, context, whole.x, whole.y, whole.x, whole.y,
                  whole.width, whole.height);
    xcb_free_gc(connection, context);
    xcb_xfixes_destroy_region(connection, copied);
    xcb_xfixes_destroy_region(connection, omitted);
}

}  // namespace

void KeepOccludedContent(Session& session, const Rectangle& bounds) {
    if (!HasExtensions(session.connection.get(), {&xcb_composite_id, &xcb_xfixes_id})) {
        return;
    }
    session.redirection.kept = true;
    RedirectWindows(session);
    if (PrepareBackdrop(session)) {
        CopyToBackdrop(session, bounds);
    }
    Synchronize(session);
    PublishBackdrop(session.redirection.backdrop);
}

void MaskTransition(Session& session, const Rectangle& bounds) {
    const auto monitor = IsComposited(session) ? FullScreenMonitor(session, bounds) : std::nullopt;
    if (monitor) {
        RecordBounds(XCB_WINDOW_NONE, *monitor);
        RecordHidden(XCB_WINDOW_NONE);
    }
}

void ReleaseOccludedContent(Session& session, std::int64_t nowNs) {
    Redirection& kept = session.redirection;
    const bool anyShown = std::any_of(session.windows.begin(), session.windows.end(),
                                      [](const AppWindow* window) { return window->excluded && window->shown; });
    if (!kept.kept || anyShown) {
        kept.releaseDueNs = 0;
        return;
    }
    if (kept.releaseDueNs == 0) {
        kept.releaseDueNs = nowNs + releaseDelayNs;
    }
    if (nowNs < kept.releaseDueNs) {
        return;
    }
    kept.kept = false;
    kept.releaseDueNs = 0;
    FreeBackdrop(session);
    // A full-screen game is faster without it. The server keeps what the windows show.
    if (std::exchange(kept.redirected, false)) {
        xcb_composite_unredirect_subwindows(session.connection.get(), session.screen->root,
                                            XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    }
    xcb_flush(session.connection.get());
}

}  // namespace zv::x11
