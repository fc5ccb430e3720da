// The window in front, as a test sets it. Calls are recorded as "LookUpFrontWindow".
#pragma once

#include "platform/FrontWindow.h"

namespace zv::fake {

FrontWindow& TheFront();

}  // namespace zv::fake
