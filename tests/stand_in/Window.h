// Windows, timers and keys that exist only as records. The test plays the system: it calls the procedures itself.
#pragma once

#include <functional>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "platform/Window.h"
#include "stand_in/Calls.h"

namespace zv::stand_in {

struct Combination {
    std::uint32_t modifiers = 0;
    std::uint32_t virtualKey = 0;
    auto operator<=>(const Combination&) const = default;
};

struct WindowControls {
    std::vector<WindowOptions> made;
    std::map<std::uintptr_t, std::uint32_t> timers;  ///< id to period, of whatever window
    std::map<int, Combination> keys;                 ///< reserved now
    std::set<Combination> takenByOthers;             ///< modifiers without noRepeat
    int shownWindows = 0;
    bool quitPosted = false;
    int quitCode = 0;
    void (*endRequest)() = nullptr;
    std::function<void()> loop;  ///< what happens while RunMessageLoop runs
    Text claimedName;
    Text broughtForward;
    bool otherCopyHasWindow = true;
    Text informationText;
    Text informationCaption;
};

WindowControls& TheWindows();
void ResetWindows();

}  // namespace zv::stand_in
