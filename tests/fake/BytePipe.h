// A pipe whose reader is a list of byte strings and whose outcomes a test decides.
//
// Calls are noted under the names of the header's functions; a failing MakeBytePipe answers the planned code.
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
    bool connectAwaitsStop = false;            ///< ConnectPipe lasts until its stop event, then answers `connect`
    bool writesAwaitStop = false;              ///< FinishWrite lasts until its stop event, then answers `finish`
    bool writeRefusedByHandles = false;        ///< MakePipeWrite answers null
    std::function<WriteBegin(int nth)> begin;  ///< null: every write is done at once
    std::function<WriteEnd(int nth)> finish;   ///< null: every pending write is done
    Result failure = resultGenericFailure;     ///< what WriteFailure answers

    // What it was given, read while nothing runs
    std::vector<Text> names;
    PipeOptions options;
    std::vector<std::uint32_t> connectTimeouts;
    std::vector<std::uint32_t> finishTimeouts;
    std::vector<std::vector<std::byte>> received;  ///< of each write that got through, in order
    int inFlight = 0;
    int mostInFlight = 0;
    bool touchedInFlight = false;  ///< bytes changed or a write was begun anew before it had ended
    int livePipes = 0;
    int liveWrites = 0;
    bool pipeClosedBeforeWrites = false;
};

PipeControls& ThePipe();
void ResetPipe();

}  // namespace zv::fake
