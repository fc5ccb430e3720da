// A screen whose pictures are a few bytes of text. Calls are recorded as "SaveScreenAsPng" and can be made to fail, to
// throw or to wait in a hook (Calls.h). A failing call leaves a broken file, like a full disk.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "platform/ScreenGrab.h"

namespace zv::fake {

inline constexpr char screenBytes[] = "a whole picture";

struct Grab {
    Rectangle area;
    Text path;
};

/// The arguments of all calls so far, the oldest first.
std::vector<Grab> Grabs();
void ResetScreenGrab();

}  // namespace zv::fake
