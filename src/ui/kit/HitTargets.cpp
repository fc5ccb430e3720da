#include "ui/kit/HitTargets.h"

#include <algorithm>

namespace zv {
namespace {

std::int32_t LowWord(std::intptr_t value) { return static_cast<std::int16_t>(value & 0xFFFF); }
std::int32_t HighWord(std::intptr_t value) { return static_cast<std::int16_t>(value >> 16 & 0xFFFF); }

/// The position of a mouse message in design pixels. It is negative if a captured mouse is left of the window or above.
Point DesignPoint(const UiState& state, std::intptr_t lParam) {
    return {static_cast<std::int32_t>(LowWord(lParam) / state.scale),
            static_cast<std::int32_t>(HighWord(lParam) / state.scale)};
}

void OnMove(AppWindow& window, UiState& state, std::intptr_t lParam) {
    const std::int32_t id = HitTest(state, DesignPoint(state, lParam));
    if (id != state.hoverId) {
        state.hoverId = id;
        InvalidateWindow(window);
    }
    TrackMouseLeave(window);
}

void OnDown(AppWindow& window, UiState& state, std::intptr_t lParam) {
    if (state.targets.empty()) {
        PaintNow(window);  // a window that was never painted has no targets yet
    }
    const std::int32_t id = HitTest(state, DesignPoint(state, lParam));
    state.pressedId = id;
    state.focusId = id;
    if (id != noTarget && IsWindowShown(window)) {
        CaptureMouse(window);
    }
    InvalidateWindow(window);
}

void OnUp(AppWindow& window, UiState& state, std::intptr_t lParam) {
    const std::int32_t id = HitTest(state, DesignPoint(state, lParam));
    const std::int32_t pressed = state.pressedId;
    state.pressedId = noTarget;
    if (HasMouseCapture(window)) {
        ReleaseMouse(window);
    }
    if (id != noTarget && id == pressed) {
        ActivateTarget(state, id);
    }
}

void OnCancel(AppWindow& window, UiState& state, bool release) {
    state.pressedId = noTarget;
    if (release && HasMouseCapture(window)) {
        ReleaseMouse(window);
    }
    InvalidateWindow(window);
}

bool OnSetCursor(AppWindow& window, const UiState& state, std::intptr_t lParam) {
    if (LowWord(lParam) != hitCode::client) {
        return false;
    }
    SetCursorShape(window, state.hoverId != noTarget ? CursorShape::Hand : CursorShape::Arrow);
    return true;
}

/// Returns -1 without a focus. Targets that share an id count as one, or the focus would never get past them.
std::int32_t IndexOfFocus(const UiState& state, bool first) {
    std::int32_t index = -1;
    for (std::size_t i = 0; i < state.targets.size() && !(first && index >= 0); ++i) {
        if (state.targets[i].id == state.focusId) {
            index = static_cast<std::int32_t>(i);
        }
    }
    return index;
}

}  // namespace

std::int32_t HitTest(const UiState& state, Point point) {
    for (const HitTarget& target : state.targets) {
        const Rectangle& box = target.box;
        if (point.x >= box.left && point.x < box.right && point.y >= box.top && point.y < box.bottom) {
            return target.id;
        }
    }
    return noTarget;
}

void EndLostPress(AppWindow& window, UiState& state, std::uint32_t code, std::uintptr_t wParam) {
    const bool held = (wParam & mouseState::leftButton) != 0;
    if (code == message::mouseMove && !held && state.pressedId != noTarget) {
        OnCancel(window, state, true);
    }
}

bool HandleMouseMessage(AppWindow& window, UiState& state, std::uint32_t code, std::intptr_t lParam) {
    switch (code) {
        case message::mouseMove:
            OnMove(window, state, lParam);
            return true;
        case message::mouseLeave:
            state.hoverId = noTarget;
            InvalidateWindow(window);
            return true;
        case message::leftButtonDown:
            OnDown(window, state, lParam);
            return true;
        case message::leftButtonUp:
            OnUp(window, state, lParam);
            return true;
        case message::captureChanged:
        case message::cancelMode:
            OnCancel(window, state, code == message::cancelMode);
            return true;
        case message::setCursor:
            return OnSetCursor(window, state, lParam);
        default:
            return false;
    }
}

void ActivateTarget(UiState& state, std::int32_t id) {
    const auto found = std::find_if(state.targets.begin(), state.targets.end(),
                                    [id](const HitTarget& target) { return target.id == id; });
    if (found != state.targets.end() && found->action) {
        const std::function<void()> action = found->action;  // a paint during the action destroys the target
        action();
    }
    if (state.afterAction != nullptr) {
        state.afterAction();
    }
}

bool MoveFocus(UiState& state, bool backwards) {
    const auto count = static_cast<std::int32_t>(state.targets.size());
    if (count == 0) {
        return false;
    }
    const std::int32_t index = IndexOfFocus(state, backwards);
    const std::int32_t next = (backwards ? index + count - 1 : index + 1) % count;
    state.focusId = state.targets[static_cast<std::size_t>(next)].id;
    return true;
}

}  // namespace zv
