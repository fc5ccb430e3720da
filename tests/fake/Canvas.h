// A canvas that records what is drawn, one command a line, in units of the canvas:
//
//   fill 0,0,190,740 21,23,32
//   round 16,122,174,168 corner 12 57,47,84
//   frame 19,125,171,165 depth 1 151,119,255
//   text 24,24,170,60 30/700 151,119,255 "ZORVEL"        ("centred" or "wrapped" follows the font)
//   push 37,38 scale 0.48 ... pop
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "fake/Calls.h"
#include "platform/Canvas.h"

namespace zv::fake {

/// What has been drawn into a canvas, in order.
const std::vector<std::string>& Drawn(const Canvas& canvas);

/// The lines of all canvases with this beginning, in drawing order.
std::vector<std::string> Drawings(const std::string& beginning = {});

int LiveCanvases();
int LiveFonts();

/// Clears the recorded lines of all canvases.
void ResetCanvas();

}  // namespace zv::fake
