#include "platform/linux/PacketClock.h"

#include <cmath>

namespace zv {
namespace {

constexpr double farLimit = 300000;     ///< 30 ms
constexpr int farPackets = 5;           ///< so many in a row move the anchor
constexpr double followAbove = 30000;   ///< 3 ms of smoothed error begin a correction
constexpr double followUntil = 5000;    ///< 0.5 ms end it
constexpr double oneFrame = 625.0 / 3;  ///< 100 ns
constexpr double smoothing = 1.0 / 64;

std::int64_t Counted(const PacketClock& clock) { return clock.anchor + clock.frames * 625 / 3; }

void Anchor(PacketClock& clock, std::int64_t measured) {
    clock = PacketClock();
    clock.anchored = true;
    clock.anchor = measured;
}

void FollowSlowly(PacketClock& clock, double error) {
    clock.smoothedError += (error - clock.smoothedError) * smoothing;
    const double size = std::abs(clock.smoothedError);
    clock.following = size > (clock.following ? followUntil : followAbove);
    if (clock.following) {
        const int step = clock.smoothedError > 0 ? 1 : -1;
        clock.frames += step;
        clock.smoothedError -= step * oneFrame;
    }
}

}  // namespace

std::int64_t StampPacket(PacketClock& clock, std::int64_t measured, std::uint32_t frames) {
    if (!clock.anchored) {
        Anchor(clock, measured);
    }
    const auto error = static_cast<double>(measured - Counted(clock));
    if (std::abs(error) <= farLimit) {
        clock.farAway = 0;
        FollowSlowly(clock, error);
    } else if (++clock.farAway >= farPackets) {
        Anchor(clock, measured);
    }
    const std::int64_t stamp = Counted(clock);
    clock.frames += frames;
    return stamp;
}

bool StampUnmeasured(PacketClock& clock, std::uint32_t frames, std::int64_t& stamp) {
    stamp = Counted(clock);
    clock.frames += frames;
    return clock.anchored;
}

}  // namespace zv
