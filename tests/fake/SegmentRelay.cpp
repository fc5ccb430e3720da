#include "fake/SegmentRelay.h"

#include "fake/Calls.h"

namespace zv {

using fake::Call;
using fake::TheRelays;

namespace fake {

SegmentRelayControls& TheRelays() {
    static SegmentRelayControls controls;
    return controls;
}

void ResetRelays() { TheRelays() = {}; }

}  // namespace fake

SegmentRelay::SegmentRelay() {
    const Call call("SegmentRelay");
    TheRelays().alive.push_back(this);
}

SegmentRelay::~SegmentRelay() {
    const Call call("~SegmentRelay");
    std::erase(TheRelays().alive, this);
}

bool SegmentRelay::Start(const Text& replayFolder, const RelayLimits&) {
    const Call call("SegmentRelay::Start");
    TheRelays().folders.push_back(replayFolder);
    if (call.Fails()) {
        return false;
    }
    pipeName_ = TheRelays().pipeName;
    running = true;
    return true;
}

void SegmentRelay::Stop() {
    const Call call("SegmentRelay::Stop");
    running = false;
    if (TheRelays().onStop) {
        TheRelays().onStop();
    }
}

}  // namespace zv
