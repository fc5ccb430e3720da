// A screen whose pictures are a few bytes of text. A call can be told to fail, to throw, or to wait in its hook; see
// Calls.h, where its name is "SaveScreenAsPng". A failing call leaves a broken file, as a full disk does.
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

/// What was asked for so far, oldest first.
std::vector<Grab> Grabs();
void ResetScreenGrab();

}  // namespace zv::fake
