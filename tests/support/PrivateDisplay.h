// X servers of a test: without a screen, real clients and input. Linux only.
#pragma once

#include <string>

#include "support/DisplayNumber.h"
#include "support/Processes.h"
#include "support/TemporaryFolder.h"

namespace zv::support {

/// Xvfb: one output of a fixed size, no primary. Xorg with the dummy driver: real mode changes and a primary.
enum class DisplayKind { Plain, Changeable };

class PrivateDisplay {
public:
    explicit PrivateDisplay(const std::string& size = "1920x1080", DisplayKind kind = DisplayKind::Plain);
    ~PrivateDisplay();
    /// Runs xrandr on it.
    void Change(const Arguments& arguments) const;
    const std::string& Name() const { return name_; }
    Spawned& Server() { return server_; }

private:
    TemporaryFolder folder_{"zorvel-display"};
    int number_ = FreshDisplayNumber();
    std::string name_ = ":" + std::to_string(number_);
    Spawned server_;
};

/// Presses and releases a key with its modifiers, such as "alt+F10", as a keyboard would.
void PressKey(const std::string& display, const std::string& combination);

}  // namespace zv::support
