// One of the buffers through which the video thread writes to its pipe while it encodes the next frames.
//
// Three are used in rotation. A slot's bytes must not be touched while its write is in flight, so that waiting for the
// slot is the back-pressure of the whole pipeline: a reader that stalls stops the loop within three frames.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/BytePipe.h"

namespace zv {

inline constexpr std::uint32_t videoPipeTimeoutMs = 10000;  ///< for the reader to connect, and for a write

struct PipeWriteSlot {
    PipeWriteSlot() = default;
    ~PipeWriteSlot() { ReleaseSlot(); }
    PipeWriteSlot(const PipeWriteSlot&) = delete;
    PipeWriteSlot& operator=(const PipeWriteSlot&) = delete;

    /// Cancels a write in flight, waits until that has landed and lets go of the write. Before its pipe goes.
    void ReleaseSlot();

    Owned<PipeWrite> write;
    bool pending = false;  ///< a write is in flight
    std::vector<std::byte> bytes;
};

/// Gives the slot its write and reserves its buffer. False when the system is out of handles.
bool PrepareSlot(PipeWriteSlot& slot, BytePipe& pipe);

enum class SlotWait {
    Free,      ///< nothing was in flight
    Finished,  ///< a write was in flight and all its bytes have been taken
    Lost       ///< stopped, timed out or failed; nothing is in flight any more
};

SlotWait WaitForSlot(PipeWriteSlot& slot, Event& stop);

/// Begins the write of all the slot's bytes. A pending write is noted in the slot.
WriteBegin WriteSlot(PipeWriteSlot& slot);

}  // namespace zv
