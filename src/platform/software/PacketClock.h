// Time stamps for packets of a sound server, whose reported packet ages jitter and are sometimes far off.
//
// Stamps from the reported age alone would have gaps and overlaps of dozens of frames, and a sink that has just resumed
// reports ages of most of a second for new packets. So stamps are counted in frames from an anchor. The anchor moves in
// one step when the smoothed error exceeds 3 ms, when packets are newer than counted, as after a pause, or when the
// count reaches the future. A report that packets are older is accepted only if it lasts. No clock is read here. All
// times are in 100 ns.
#pragma once

#include <cstdint>
#include <optional>

namespace zv {

struct PacketClock {
    bool anchored = false;
    std::int64_t anchor = 0;
    std::int64_t frames = 0;       ///< at 48 kHz, counted from the anchor
    double smoothedError = 0;      ///< reported minus counted time
    std::int64_t newerFrames = 0;  ///< consecutive, of packets reported as far newer than counted
    std::int64_t olderFrames = 0;
};

/// The time at which a packet's first frame was captured. `age` is the server's report of that frame's age at `now`.
std::int64_t StampPacket(PacketClock& clock, std::int64_t now, std::optional<std::int64_t> age, std::uint32_t frames);

}  // namespace zv
