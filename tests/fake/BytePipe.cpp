#include "fake/BytePipe.h"

#include <algorithm>

#include "fake/Calls.h"
#include "platform/Event.h"

namespace zv {

struct BytePipe {};
struct PipeWrite {
    bool inFlight = false;
    const std::byte* bytes = nullptr;
    std::vector<std::byte> copy;
};

namespace fake {

PipeControls& ThePipe() {
    static PipeControls pipe;
    return pipe;
}

void ResetPipe() {
    const int pipes = ThePipe().livePipes;
    const int writes = ThePipe().liveWrites;
    ThePipe() = {};
    ThePipe().livePipes = pipes;
    ThePipe().liveWrites = writes;
}

namespace {

void Complete(PipeWrite& write) {
    PipeControls& pipe = ThePipe();
    if (!write.inFlight) {
        return;
    }
    pipe.touchedInFlight = pipe.touchedInFlight || !std::equal(write.copy.begin(), write.copy.end(), write.bytes);
    write.inFlight = false;
    --pipe.inFlight;
}

}  // namespace
}  // namespace fake

using fake::Call;
using fake::ThePipe;

template <>
void Closer<BytePipe>::operator()(BytePipe* pipe) const noexcept {
    const Call call("~BytePipe");
    ThePipe().pipeClosedBeforeWrites = ThePipe().pipeClosedBeforeWrites || ThePipe().liveWrites != 0;
    --ThePipe().livePipes;
    delete pipe;
}

template <>
void Closer<PipeWrite>::operator()(PipeWrite* write) const noexcept {
    const Call call("~PipeWrite");
    fake::Complete(*write);
    --ThePipe().liveWrites;
    delete write;
}

Text PipeName(TextView stem, std::uint32_t counter) {
    return u"pipe:" + Text(stem) + u"4711-" + DecimalUnsigned(counter);
}

Result MakeBytePipe(TextView name, const PipeOptions& options, Owned<BytePipe>& pipe) {
    const Call call("MakeBytePipe");
    ThePipe().names.emplace_back(name);
    ThePipe().options = options;
    if (call.Fails()) {
        return call.Code();
    }
    ++ThePipe().livePipes;
    pipe = Owned<BytePipe>(new BytePipe);
    return resultOk;
}

PipeConnect ConnectPipe(BytePipe&, Event& stop, std::uint32_t timeoutMs) {
    const Call call("ConnectPipe");
    ThePipe().connectTimeouts.push_back(timeoutMs);
    if (ThePipe().connectAwaitsStop) {
        WaitAny({&stop}, waitForever);
    }
    return ThePipe().connect;
}

Owned<PipeWrite> MakePipeWrite(BytePipe&, Result* code) {
    const Call call("MakePipeWrite");
    if (ThePipe().writeRefusedByHandles) {
        if (code != nullptr) {
            *code = ResultOf(0x800705AA);
        }
        return nullptr;
    }
    ++ThePipe().liveWrites;
    return Owned<PipeWrite>(new PipeWrite);
}

WriteBegin BeginWrite(PipeWrite& write, const std::byte* bytes, std::size_t size) {
    const Call call("BeginWrite");
    fake::PipeControls& pipe = ThePipe();
    pipe.touchedInFlight = pipe.touchedInFlight || write.inFlight;
    const WriteBegin begun = pipe.begin ? pipe.begin(fake::CountOf("BeginWrite")) : WriteBegin::Done;
    if (begun == WriteBegin::Refused) {
        return begun;
    }
    pipe.received.emplace_back(bytes, bytes + size);
    if (begun == WriteBegin::Pending) {
        write.inFlight = true;
        write.bytes = bytes;
        write.copy.assign(bytes, bytes + size);
        pipe.mostInFlight = std::max(pipe.mostInFlight, ++pipe.inFlight);
    }
    return begun;
}

bool IsPending(const PipeWrite& write) { return write.inFlight; }

WriteEnd FinishWrite(PipeWrite& write, Event& stop, std::uint32_t timeoutMs) {
    const Call call("FinishWrite");
    ThePipe().finishTimeouts.push_back(timeoutMs);
    if (ThePipe().writesAwaitStop) {
        WaitAny({&stop}, waitForever);
    }
    const WriteEnd end = ThePipe().finish ? ThePipe().finish(fake::CountOf("FinishWrite")) : WriteEnd::Done;
    fake::Complete(write);
    return end;
}

void CancelWrite(PipeWrite& write) {
    const Call call("CancelWrite");
    fake::Complete(write);
}

Result WriteFailure(const PipeWrite&) { return ThePipe().failure; }

void DisconnectPipe(BytePipe&) { const Call call("DisconnectPipe"); }

}  // namespace zv
