// The inside of an event, for the services of this folder that wait for one together with something else.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/Event.h"
#include "platform/linux/posix/Posix.h"

namespace zv {

struct Event {
    Descriptor descriptor;                  ///< an eventfd, readable while the event is signalled
    std::atomic<std::uint64_t> signals{0};  ///< orders what the signaller wrote before what the waiter reads
};

}  // namespace zv
