// A relay without a thread or a pipe.
#pragma once

#include <functional>
#include <vector>

#include "capture/SegmentRelay.h"

namespace zv::fake {

struct SegmentRelayControls {
    std::vector<Text> folders;         ///< of each start
    std::vector<SegmentRelay*> alive;  ///< every relay that has not been destroyed
    Text pipeName = u"segment pipe";
    std::function<void()> onStop;  ///< what the end of the stream does to its reader
};

/// Faults by name through FailCall: "SegmentRelay::Start" answers false.
SegmentRelayControls& TheRelays();
void ResetRelays();

}  // namespace zv::fake
