// What the other services of this folder need of an event: its handle.
#pragma once

#include "platform/Event.h"
#include "platform/windows/Native.h"

namespace zv {

struct Event {
    Handle handle;
};

}  // namespace zv
