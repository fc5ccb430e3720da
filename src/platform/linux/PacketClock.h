// Stamps for packets of a sound server, whose latency figure jitters by some tenths of a millisecond.
//
// Packets placed by the raw figure would leave gaps and overlaps of dozens of frames. So the stamps are counted in
// frames from an anchor and follow the measured time slowly: one frame a packet while the smoothed error is large,
// and at once when the measured time stays far away, as after a pause of the stream. Pure; the clock is read
// elsewhere.
#pragma once

#include <cstdint>

namespace zv {

struct PacketClock {
    bool anchored = false;
    std::int64_t anchor = 0;   ///< 100 ns
    std::int64_t frames = 0;   ///< counted from the anchor
    double smoothedError = 0;  ///< measured less counted, 100 ns
    bool following = false;
    int farAway = 0;  ///< packets in a row that were far from the count
};

/// The stamp of the first of `frames` frames at 48 kHz; `measured` is what the latency says, both in 100 ns.
std::int64_t StampPacket(PacketClock& clock, std::int64_t measured, std::uint32_t frames);

/// A packet whose time could not be measured: the count goes on. False before the first measured one.
bool StampUnmeasured(PacketClock& clock, std::uint32_t frames, std::int64_t& stamp);

}  // namespace zv
