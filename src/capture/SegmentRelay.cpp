#include "capture/SegmentRelay.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "capture/ReplayPlaylist.h"
#include "core/ThreadStart.h"
#include "platform/BytePipe.h"
#include "platform/SharedFile.h"

namespace zv {
namespace {

constexpr std::uint32_t readyMs = 5000;
constexpr std::uint32_t connectMs = 5000;
constexpr std::uint32_t writeMs = 5000;
constexpr std::uint32_t stopMs = 6000;
constexpr std::uint32_t pollMs = 25;
constexpr std::uint32_t pipeBytes = 0x100000;
constexpr std::size_t blockBytes = 0x40000;

std::atomic<std::uint32_t> pipeCounter{0};

}  // namespace

/// What the thread has on its own.
struct RelayWorker {
    SegmentRelay& relay;
    Text folder;
    Owned<BytePipe> pipe;
    Owned<PipeWrite> write;
    std::string lastSent;

    static void Run(SegmentRelay& relay, Text replayFolder) {
        PrepareForExceptions();
        RelayWorker worker{relay, std::move(replayFolder), nullptr, nullptr, {}};
        try {
            worker.Serve();
        } catch (...) {  // no memory: a fault like any other
            relay.running = false;
            Signal(*relay.readyEvent_);
        }
        // The reader's end of the stream comes before anybody learns that the thread has ended.
        worker.write.reset();
        worker.pipe.reset();
        Signal(*relay.endedEvent_);
    }

    void Serve() {
        if (!Open()) {
            Signal(*relay.readyEvent_);
            return;
        }
        relay.running = true;
        Signal(*relay.readyEvent_);
        if (ConnectPipe(*pipe, *relay.abortEvent_, connectMs) != PipeConnect::Connected) {
            return;  // still marked as running: the reader's own failure is what tells
        }
        while (!IsSignalled(*relay.stopEvent_) && SendNewSegments()) {
            WaitAny({relay.stopEvent_.get()}, pollMs);
        }
        relay.running = false;
    }

    bool Open() {
        PipeOptions options;
        options.bufferBytes = pipeBytes;
        if (Failed(MakeBytePipe(relay.pipeName_, options, pipe))) {
            return false;
        }
        write = MakePipeWrite(*pipe);
        return write != nullptr;
    }

    bool SendNewSegments() {
        for (const std::string& name : SegmentsToRelay(ReadSegmentList(folder), lastSent)) {
            if (!SendSegment(name)) {
                return false;
            }
            lastSent = name;
        }
        return true;
    }

    /// A read that fails ends the segment as its end does.
    bool SendSegment(const std::string& name) {
        const Owned<SharedFile> file = OpenSharedFile(SegmentPath(folder, name));
        if (!file) {
            return false;  // it has left the ring
        }
        const auto block = std::make_unique_for_overwrite<std::byte[]>(blockBytes);
        while (const std::size_t count = ReadBlock(*file, block.get(), blockBytes)) {
            if (!SendBlock(block.get(), count)) {
                return false;
            }
        }
        return true;
    }

    bool SendBlock(const std::byte* bytes, std::size_t count) {
        const WriteBegin begun = BeginWrite(*write, bytes, count);
        return begun == WriteBegin::Done ||
               (begun == WriteBegin::Pending && FinishWrite(*write, *relay.abortEvent_, writeMs) == WriteEnd::Done);
    }
};

SegmentRelay::SegmentRelay() = default;

SegmentRelay::~SegmentRelay() { Stop(); }

bool SegmentRelay::Start(const Text& replayFolder) {
    Stop();
    stopEvent_ = MakeEvent();
    abortEvent_ = MakeEvent();
    readyEvent_ = MakeEvent();
    endedEvent_ = MakeEvent();
    if (!stopEvent_ || !abortEvent_ || !readyEvent_ || !endedEvent_) {
        return false;
    }
    pipeName_ = zv::PipeName(u"ZVSegments-", ++pipeCounter);
    thread_ = std::thread(RelayWorker::Run, std::ref(*this), replayFolder);
    return WaitAny({readyEvent_.get()}, readyMs) == 0 && running;
}

void SegmentRelay::Stop() {
    if (thread_.joinable()) {
        Signal(*stopEvent_);
        if (WaitAny({endedEvent_.get()}, stopMs) == waitTimedOut) {
            Signal(*abortEvent_);
        }
        thread_.join();
    }
    stopEvent_.reset();
    abortEvent_.reset();
    readyEvent_.reset();
    endedEvent_.reset();
}

}  // namespace zv
