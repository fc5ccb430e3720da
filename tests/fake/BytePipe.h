// A pipe whose reader is a list of byte strings. The test sets the results of its functions.
//
// Calls are recorded under the names of the header's functions. A failing MakeBytePipe returns the planned code.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "platform/BytePipe.h"

namespace zv::fake {

struct PipeControls {
    PipeConnect connect = PipeConnect::Connected;
    bool connectAwaitsStop = false;            ///< ConnectPipe waits for its stop event, then returns `connect`
    bool writesAwaitStop = false;              ///< FinishWrite waits for its stop event, then returns `finish`
    bool writeRefusedByHandles = false;        ///< MakePipeWrite returns null
    std::function<WriteBegin(int nth)> begin;  ///< null: every write is complete at once
    std::function<WriteEnd(int nth)> finish;   ///< null: every pending write completes
    Result failure = resultGenericFailure;     ///< the result of WriteFailure

    // Recorded arguments, read while no call runs
    std::vector<Text> names;
    PipeOptions options;
    std::vector<std::uint32_t> connectTimeouts;
    std::vector<std::uint32_t> finishTimeouts;
    std::vector<std::vector<std::byte>> received;  ///< the bytes of each completed write, in order
    int inFlight = 0;
    int mostInFlight = 0;
    bool touchedInFlight = false;  ///< a write's bytes changed, or it was begun again, before it had ended
    int livePipes = 0;
    int liveWrites = 0;
    bool pipeClosedBeforeWrites = false;
};

PipeControls& ThePipe();
void ResetPipe();

}  // namespace zv::fake
