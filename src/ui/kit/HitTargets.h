// All that the mouse does to a window of pages, and the order in which the keyboard's focus goes round.
//
// What can be clicked is what the last paint registered: there is no other list of buttons, and a button that was
// painted disabled is not in it. Interface thread.
#pragma once

#include <cstdint>

#include "platform/Window.h"
#include "ui/kit/UiState.h"

namespace zv {

/// The first target that holds the point, in design pixels; noTarget when none does.
std::int32_t HitTest(const UiState& state, Point point);

/// True when the message was one of the mouse's and needs nothing more.
bool HandleMouseMessage(AppWindow& window, UiState& state, std::uint32_t code, std::intptr_t lParam);

/// Runs the action of the first target with that id, if there is one, and has main window and overlay painted anew in
/// any case.
void ActivateTarget(UiState& state, std::int32_t id);

/// Gives the focus to the next target in the list, or the one before. False, and nothing changes, without any.
bool MoveFocus(UiState& state, bool backwards);

/// Has the main window and the overlay painted anew, as far as they exist.
void InvalidatePages();

}  // namespace zv
