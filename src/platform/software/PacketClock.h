// Time stamps for packets of a sound server, whose reported packet ages jitter and are sometimes far off.
//
// Stamps from the reported age alone would have gaps and overlaps of dozens of frames, and a sink that has just resumed
// reports ages of most of a second for new packets. So stamps are counted in frames from an anchor. The anchor is
// corrected in one step if the smoothed error exceeds 3 ms, if packets are newer than counted (as after a pause), or if
// the count is ahead of the current time. A report of older packets is accepted only if it persists. The caller passes
// the current time. All times are in 100 ns.
#pragma once

#include <cstdint>
#include <optional>

namespace zv {

struct PacketClock {
    bool anchored = false;
    std::int64_t anchor = 0;
    std::int64_t frames = 0;       ///< at 48 kHz, counted from the anchor
    double smoothedError = 0;      ///< reported minus counted time
    std::int64_t newerFrames = 0;  ///< consecutive frames whose packets were reported as much newer than counted
    std::int64_t olderFrames = 0;
};

/// Returns the time at which a packet's first frame was captured. `age` is the age of that frame at `now`, as reported
/// by the server.
std::int64_t StampPacket(PacketClock& clock, std::int64_t now, std::optional<std::int64_t> age, std::uint32_t frames);

}  // namespace zv
