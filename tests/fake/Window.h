// Windows, timers and keys that exist only as records. The test simulates the system and calls the procedures.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "fake/Calls.h"
#include "platform/InformationBox.h"
#include "platform/Keyboard.h"
#include "platform/Session.h"
#include "platform/SingleInstance.h"
#include "platform/Window.h"

namespace zv::fake {

struct Combination {
    std::uint32_t modifiers = 0;
    std::uint32_t virtualKey = 0;
    auto operator<=>(const Combination&) const = default;
};

/// The state of one window, and the calls on it.
struct WindowRecord {
    WindowOptions options;
    bool shown = false;
    bool icon = false;  ///< minimized; also set by a test
    bool topmost = false;
    Rectangle bounds;
    int dpi = 96;  ///< set by a test
    int invalidations = 0;
    bool mustPaint = false;
    std::vector<std::uint32_t> pixels;  ///< of the last PutPixels
    int pixelWidth = 0;
    int pixelHeight = 0;
    int pixelTop = 0;
    std::optional<std::uint32_t> colorKey;
    std::optional<std::uint8_t> alpha;
    bool excluded = false;
    bool darkFrame = false;
    bool hasMouse = false;
    int leaveTracks = 0;
    std::optional<CursorShape> cursor;
    const AppIcon* bigIcon = nullptr;
    const AppIcon* littleIcon = nullptr;
    std::map<std::uintptr_t, std::uint32_t> timers;  ///< id to period
};

struct WindowControls {
    std::vector<WindowOptions> made;
    std::map<std::uintptr_t, std::uint32_t> timers;  ///< id to period, of all windows
    std::map<int, Combination> keys;                 ///< reserved now
    std::set<Combination> reservedByOthers;          ///< modifiers without noRepeat
    int shownWindows = 0;
    Text captureObstacle;
    bool quitPosted = false;
    int quitCode = 0;
    void (*endRequest)() = nullptr;
    std::function<void()> loop;  ///< called by RunMessageLoop
    Text taskbarIdentity;
    Text claimedName;
    Text broughtForward;
    bool otherCopyHasWindow = true;
    Text informationText;
    Text informationCaption;
    AppWindow* inFront = nullptr;  ///< the last window passed to ShowInFront
    Point cursor;
    std::uint32_t heldModifiers = 0;
    std::map<std::uint32_t, Text> keyNames;
};

WindowControls& TheWindows();
void ResetWindows();

WindowRecord& RecordOf(AppWindow& window);
/// The newest existing window of this class, or null.
AppWindow* FindWindowOf(TextView className);
/// Sends message::paint if the window is shown and a paint is due, like the system.
void PaintIfNeeded(AppWindow& window);

}  // namespace zv::fake
