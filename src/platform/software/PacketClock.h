// Stamps for packets of a sound server, whose own idea of a packet's age jitters and is at times far off.
//
// Packets placed by the raw figure would leave gaps and overlaps of dozens of frames, and a sink that has just woken
// claims ages of most of a second for packets that are fresh. So stamps are counted in frames from an anchor. The
// anchor moves in one step when the smoothed error has grown past 3 ms, when packets prove to be newer than counted,
// as after a pause, or when the count runs into the future. Claims of being older are believed only when they last:
// frames in a row do not become older. Pure; the clock is read elsewhere. All times are in 100 ns.
#pragma once

#include <cstdint>
#include <optional>

namespace zv {

struct PacketClock {
    bool anchored = false;
    std::int64_t anchor = 0;
    std::int64_t frames = 0;       ///< at 48 kHz, counted from the anchor
    double smoothedError = 0;      ///< claimed less counted time
    std::int64_t newerFrames = 0;  ///< in a row, of packets that claim to be far newer than counted
    std::int64_t olderFrames = 0;
};

/// When the first of a packet's frames was captured. `age` is the server's claim of how old that frame is at `now`.
std::int64_t StampPacket(PacketClock& clock, std::int64_t now, std::optional<std::int64_t> age, std::uint32_t frames);

}  // namespace zv
