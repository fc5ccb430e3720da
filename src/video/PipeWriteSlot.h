// One of the buffers through which the video thread writes to its pipe while it encodes the next frames.
//
// Three are used in rotation. A slot's bytes must not change while its write is pending, so that waiting for the slot
// is the back-pressure of the whole pipeline: a reader that stalls stops the loop within three frames.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/BytePipe.h"

namespace zv {

inline constexpr std::uint32_t videoPipeTimeoutMs = 10000;  ///< for the reader to connect, and for a write

struct PipeWriteSlot {
    std::vector<std::byte> bytes;
    Owned<PipeWrite> write;  ///< destroyed before the bytes
};

/// Creates the slot's write and reserves its buffer. Returns false if the system is out of handles.
bool PrepareSlot(PipeWriteSlot& slot, BytePipe& pipe);

enum class SlotWait {
    Free,      ///< nothing was pending
    Finished,  ///< a write was pending and all its bytes are with the system
    Lost       ///< stopped, timed out or failed; no write is pending
};

SlotWait WaitForSlot(PipeWriteSlot& slot, Event& stop);

/// Begins the write of all the slot's bytes.
WriteBegin WriteSlot(PipeWriteSlot& slot);

}  // namespace zv
