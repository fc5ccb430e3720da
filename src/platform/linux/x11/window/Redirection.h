// The content that our excluded windows occlude, which the server keeps for captures (OccludedContent).
//
// While such a window is shown, every top-level window is redirected: it has a pixmap of its own, also where it is
// covered. The backdrop keeps what the screen showed before, for content that no top-level window has: a compositor may
// paint the desktop's background and panels itself. Both stay until no capture masks our windows any more, because a
// compositor may leave a full-screen window without a pixmap.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>

#include "platform/Rectangle.h"

namespace zv::x11 {

struct Session;

struct Redirection {
    bool kept = false;        ///< ReleaseOccludedContent has something to release
    bool redirected = false;  ///< the root's children have pixmaps
    xcb_pixmap_t backdrop = XCB_NONE;
    std::int32_t width = 0;  ///< of the backdrop
    std::int32_t height = 0;
    std::int64_t releaseDueNs = 0;  ///< 0: one of our windows is shown, or nothing is kept
};

/// Called before `bounds` are recorded for an excluded window. Waits until the server has executed it.
void KeepOccludedContent(Session& session, const Rectangle& bounds);

/// Called before an excluded window is shown or hidden. Masks the whole monitor for a while if a compositor runs and a
/// full-screen window is below: the compositor stops or starts to show that window directly, and until its next picture
/// the screen may show an old one.
void MaskTransition(Session& session, const Rectangle& bounds);

/// Called in every iteration of the loop. Releases the content some time after the last excluded window was hidden.
void ReleaseOccludedContent(Session& session, std::int64_t nowNs);

}  // namespace zv::x11
