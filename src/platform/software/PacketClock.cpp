#include "platform/software/PacketClock.h"

#include <algorithm>
#include <cmath>

namespace zv {
namespace {

constexpr std::int64_t millisecond = 10000;
constexpr std::int64_t plausibleAge = 100 * millisecond;  ///< of a stream's first packet
constexpr std::int64_t farLimit = 30 * millisecond;
constexpr std::int64_t futureLimit = 50 * millisecond;  ///< a monitor source delivers sound before it is played
constexpr std::int64_t newerLimit = 48 * 50;            ///< frames: 50 ms
constexpr std::int64_t olderLimit = 48000 * 5;          ///< frames: 5 s
constexpr double stepLimit = 3.0 * millisecond;         ///< of smoothed error
constexpr double smoothing = 1.0 / 64;

std::int64_t Duration(std::int64_t frames) { return frames * 625 / 3; }

std::int64_t Counted(const PacketClock& clock) { return clock.anchor + Duration(clock.frames); }

void Anchor(PacketClock& clock, std::int64_t time) {
    clock = {};
    clock.anchored = true;
    clock.anchor = time;
}

void FollowSmoothed(PacketClock& clock, std::int64_t error) {
    clock.newerFrames = 0;
    clock.olderFrames = 0;
    clock.smoothedError += (static_cast<double>(error) - clock.smoothedError) * smoothing;
    if (std::abs(clock.smoothedError) > stepLimit) {
        Anchor(clock, Counted(clock) + std::llround(clock.smoothedError));
    }
}

void Compare(PacketClock& clock, std::int64_t claimed, std::uint32_t frames) {
    const std::int64_t error = claimed - Counted(clock);
    if (std::abs(error) <= farLimit) {
        return FollowSmoothed(clock, error);
    }
    clock.newerFrames = error > 0 ? clock.newerFrames + frames : 0;
    clock.olderFrames = error < 0 ? clock.olderFrames + frames : 0;
    if (clock.newerFrames >= newerLimit || clock.olderFrames >= olderLimit) {
        Anchor(clock, claimed);
    }
}

}  // namespace

std::int64_t StampPacket(PacketClock& clock, std::int64_t now, std::optional<std::int64_t> age, std::uint32_t frames) {
    if (!clock.anchored) {
        const bool believable = age && *age <= plausibleAge && *age >= -futureLimit;
        Anchor(clock, now - (believable ? *age : Duration(frames)));
    } else if (age) {
        Compare(clock, now - *age, frames);
    }
    if (Counted(clock) > now + futureLimit) {
        Anchor(clock, now - Duration(frames));
    }
    const std::int64_t stamp = Counted(clock);
    clock.frames += frames;
    return stamp;
}

}  // namespace zv
