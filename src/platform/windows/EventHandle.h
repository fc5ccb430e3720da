// The handle of an event, for the other services of this folder.
#pragma once

#include "platform/Event.h"
#include "platform/windows/Native.h"

namespace zv {

struct Event {
    Handle handle;
};

}  // namespace zv
