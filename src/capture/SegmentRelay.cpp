#include "capture/SegmentRelay.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "capture/ReplayPlaylist.h"
#include "platform/BytePipe.h"
#include "platform/SharedFile.h"

namespace zv {
namespace {

constexpr std::uint32_t readyMs = 5000;
constexpr std::uint32_t stopMs = 6000;
constexpr std::uint32_t pipeBytes = 0x100000;
constexpr std::size_t blockBytes = 0x40000;

std::atomic<std::uint32_t> pipeCounter{0};

}  // namespace

/// What the thread owns.
struct RelayWorker {
    SegmentRelay& relay;
    Text folder;
    RelayLimits limits;
    Owned<BytePipe> pipe;
    Owned<PipeWrite> write;  ///< destroyed before its pipe
    std::string lastSent;

    void Serve() {
        if (!Open()) {
            return;
        }
        relay.worker_.ReportReady();
        if (ConnectPipe(*pipe, *relay.abortEvent_, limits.connectMs) != PipeConnect::Connected) {
            return;  // `running` stays set: the failure of the reader is reported instead
        }
        while (!relay.worker_.StopRequested() && SendNewSegments()) {
            WaitAny({&relay.worker_.StopEvent()}, limits.pollMs);
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

    /// Treats a failed read as the end of the segment.
    bool SendSegment(const std::string& name) {
        const Owned<SharedFile> file = OpenSharedFile(SegmentPath(folder, name));
        if (!file) {
            return false;  // FFmpeg has deleted it
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
        return begun == WriteBegin::Done || (begun == WriteBegin::Pending &&
                                             FinishWrite(*write, *relay.abortEvent_, limits.writeMs) == WriteEnd::Done);
    }
};

SegmentRelay::SegmentRelay() = default;

SegmentRelay::~SegmentRelay() { Stop(); }

bool SegmentRelay::Start(const Text& replayFolder, const RelayLimits& limits) {
    Stop();
    abortEvent_ = MakeEvent();
    if (!abortEvent_) {
        return false;
    }
    pipeName_ = zv::PipeName(u"ZVSegments-", ++pipeCounter);
    WorkerOptions options;
    options.readyMs = readyMs;
    return worker_.Start(std::move(options), [this, replayFolder, limits] {
        RelayWorker{*this, replayFolder, limits, nullptr, nullptr, {}}.Serve();
    });
}

void SegmentRelay::Stop() {
    worker_.RequestStop();
    if (!worker_.EndsWithin(stopMs)) {
        Signal(*abortEvent_);
    }
    worker_.Stop();
    abortEvent_.reset();
}

}  // namespace zv
