#include "video/PipeWriteSlot.h"

namespace zv {
namespace {

constexpr std::size_t reservedBytes = 0x40000;

}  // namespace

bool PrepareSlot(PipeWriteSlot& slot, BytePipe& pipe) {
    slot.write = MakePipeWrite(pipe);
    slot.bytes.reserve(reservedBytes);
    return slot.write != nullptr;
}

SlotWait WaitForSlot(PipeWriteSlot& slot, Event& stop) {
    if (!IsPending(*slot.write)) {
        return SlotWait::Free;
    }
    return FinishWrite(*slot.write, stop, videoPipeTimeoutMs) == WriteEnd::Done ? SlotWait::Finished : SlotWait::Lost;
}

WriteBegin WriteSlot(PipeWriteSlot& slot) { return BeginWrite(*slot.write, slot.bytes.data(), slot.bytes.size()); }

}  // namespace zv
