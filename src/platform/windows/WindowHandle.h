// The handles of windows and icons, for the files that pass them to the system.
#pragma once

#include "platform/AppIcon.h"
#include "platform/Window.h"
#include "platform/windows/Native.h"

namespace zv {

struct AppWindow {
    HWND handle = nullptr;  ///< null once the system has destroyed the window
    WindowProc procedure = nullptr;
};

struct AppIcon {
    HICON handle = nullptr;
};

inline HICON IconHandle(const AppIcon* icon) { return icon != nullptr ? icon->handle : nullptr; }

}  // namespace zv
