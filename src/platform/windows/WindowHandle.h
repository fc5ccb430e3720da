// The handles of windows and icons, for the files that pass them to the system.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/AppIcon.h"
#include "platform/Rectangle.h"
#include "platform/Window.h"
#include "platform/windows/Native.h"

namespace zv {

struct AppWindow {
    HWND handle = nullptr;  ///< null once the system has destroyed the window
    WindowProc procedure = nullptr;
    std::optional<std::uint32_t> colorKey;  ///< 0x00BBGGRR
    /// With a colour key, the parts of the client area that are the window's region; empty if it is the whole window. A
    /// transparent pixel of the region looks right, but the compositor passes its clicks on for some keys only.
    std::vector<Rectangle> region;
};

struct AppIcon {
    HICON handle = nullptr;
};

inline HICON IconHandle(const AppIcon* icon) { return icon != nullptr ? icon->handle : nullptr; }

}  // namespace zv
