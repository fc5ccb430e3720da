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
    std::function<void()> onStop;  ///< called at the end of the stream, to simulate its reader
};

/// FailCall for "SegmentRelay::Start" makes it return false.
SegmentRelayControls& TheRelays();
void ResetRelays();

}  // namespace zv::fake
