// The record of an event, for services that wait for an event together with something else.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/Event.h"
#include "platform/linux/posix/Posix.h"

namespace zv {

struct Event {
    Descriptor descriptor;                  ///< an eventfd, readable while the event is signalled
    std::atomic<std::uint64_t> signals{0};  ///< orders writes before Signal before reads after the wait
};

}  // namespace zv
