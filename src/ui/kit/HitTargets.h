// The mouse rules of a window of pages, and the order of the keyboard focus.
//
// The targets of the last paint are the only list of what can be clicked; a button that was painted disabled is not in
// it. Interface thread.
#pragma once

#include <cstdint>

#include "platform/Window.h"
#include "ui/kit/UiState.h"

namespace zv {

/// Returns the id of the first target that contains the point, in design pixels, or noTarget.
std::int32_t HitTest(const UiState& state, Point point);

/// Ends a press whose release the window did not receive, at the next move without the button. Called with each
/// message, before HandleMouseMessage.
void EndLostPress(AppWindow& window, UiState& state, std::uint32_t code, std::uintptr_t wParam);

/// Returns true if the message was a mouse message and is handled.
bool HandleMouseMessage(AppWindow& window, UiState& state, std::uint32_t code, std::intptr_t lParam);

/// Runs the action of the first target with that id, if there is one. Calls UiState::afterAction in every case.
void ActivateTarget(UiState& state, std::int32_t id);

/// Moves the focus to the next target in the list, or to the previous one. Returns false if there are no targets.
bool MoveFocus(UiState& state, bool backwards);

}  // namespace zv
