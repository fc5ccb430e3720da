// The process in front, as a test sets it.
#pragma once

#include "platform/Foreground.h"

namespace zv::fake {

struct ForegroundControls {
    ForegroundProcess process;
    int lookUps = 0;
};

ForegroundControls& TheForeground();

}  // namespace zv::fake
