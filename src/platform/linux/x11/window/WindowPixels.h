// Painting the windows.
#pragma once

#include "platform/Window.h"

namespace zv::x11 {

struct Session;

/// Sends message::paint to one window that has to be painted. Returns false if there is none.
bool DispatchPaint(Session& session);

/// Releases the shared memory and the graphics context.
void ReleasePixels(Session& session, AppWindow& window);

/// Empties the input shape.
void MakeClickThrough(Session& session, AppWindow& window);

}  // namespace zv::x11
