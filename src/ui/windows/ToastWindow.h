// The window of the notification. Mouse clicks pass through it. Interface thread only.
#pragma once

#include <cstdint>

#include "platform/Window.h"

namespace zv {

/// Sets UiGlobals::toastWindow at message::create and clears it at message::destroy.
std::intptr_t ToastProc(AppWindow& window, std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam);

}  // namespace zv
