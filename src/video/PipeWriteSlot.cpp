#include "video/PipeWriteSlot.h"

namespace zv {
namespace {

constexpr std::size_t reservedBytes = 0x40000;

}  // namespace

void PipeWriteSlot::ReleaseSlot() {
    if (pending) {
        CancelWrite(*write);
        pending = false;
    }
    write.reset();
}

bool PrepareSlot(PipeWriteSlot& slot, BytePipe& pipe) {
    slot.write = MakePipeWrite(pipe);
    slot.bytes.reserve(reservedBytes);
    return slot.write != nullptr;
}

SlotWait WaitForSlot(PipeWriteSlot& slot, Event& stop) {
    if (!slot.pending) {
        return SlotWait::Free;
    }
    slot.pending = false;  // whatever the answer, the write is over
    return FinishWrite(*slot.write, stop, videoPipeTimeoutMs) == WriteEnd::Done ? SlotWait::Finished : SlotWait::Lost;
}

WriteBegin WriteSlot(PipeWriteSlot& slot) {
    const WriteBegin begun = BeginWrite(*slot.write, slot.bytes.data(), slot.bytes.size());
    slot.pending = begun == WriteBegin::Pending;
    return begun;
}

}  // namespace zv
