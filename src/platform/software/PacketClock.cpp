#include "platform/software/PacketClock.h"

#include <algorithm>
#include <cstdlib>

namespace zv {
namespace {

constexpr std::int64_t millisecond = 10000;

/// The first arrival may be a buffer that a sink has rendered ahead, or a backlog. The next one shows which.
constexpr std::int64_t startTime = 15 * millisecond;

/// A monitor delivers sound before it is played: the latency that the stream asks its sink for.
constexpr std::int64_t monitorLead = 20 * millisecond;

constexpr std::int64_t gapLateness = 35 * millisecond;  ///< above the average
/// Samples that have arrived regularly for so long are no backlog. The mix waits 100 ms for a packet.
constexpr std::int64_t holdTime = 40 * millisecond;
constexpr std::int64_t holdFrames = 1920;

/// Samples arrive in fragments of 20 ms, so the average is 10 ms if the newest sample of each has just been captured.
constexpr std::int64_t expectedLateness = 10 * millisecond;
constexpr std::int64_t smoothing = 50;
constexpr std::int64_t largestDeviation = 5 * millisecond;  ///< single observations count no more than that

constexpr std::int64_t longestPacket = 960;      ///< 20 ms: long packets cost the audio worker less
constexpr std::int64_t shortestCorrected = 480;  ///< so that the pitch changes by 0.4 percent at most

std::int64_t Duration(std::int64_t frames) { return frames * 625 / 3; }

std::int64_t Counted(const PacketClock& clock) { return clock.anchor + Duration(clock.frames); }

/// A sink may render a whole buffer at once. A microphone cannot be ahead.
std::int64_t MostAhead(const PacketClock& clock) { return (clock.rendersAhead ? 1000 : 50) * millisecond; }

void Anchor(PacketClock& clock, std::int64_t position) {
    clock.anchored = true;
    clock.anchor = position;
    clock.frames = 0;
    clock.lateness = expectedLateness;
    clock.heldSince.reset();
}

void Hold(PacketClock& clock, std::int64_t now, std::int64_t lateness) {
    if (!clock.heldSince) {
        clock.heldSince = now;
        clock.heldLateness = 0;
        clock.heldObservations = 0;
    }
    clock.heldLateness += lateness;
    ++clock.heldObservations;
}

void ObserveLateness(PacketClock& clock, std::int64_t now, std::int64_t lateness) {
    const std::int64_t deviation = lateness - clock.lateness;
    if (deviation > gapLateness) {
        return Hold(clock, now, lateness);
    }
    clock.heldSince.reset();
    clock.lateness += std::clamp(deviation, -largestDeviation, largestDeviation) / smoothing;
}

void SkipGap(PacketClock& clock) {
    clock.anchor += clock.heldLateness / clock.heldObservations - clock.lateness;
    clock.heldSince.reset();
}

/// Frames to add to a packet.
std::int64_t Correction(const PacketClock& clock) {
    const std::int64_t error = clock.lateness - expectedLateness;
    const std::int64_t frames = std::abs(error) > 20 * millisecond ? 2 : std::abs(error) > 10 * millisecond ? 1 : 0;
    return error < 0 ? -frames : frames;
}

StereoSample Between(StereoSample from, StereoSample to, float weight) {
    return {from.left + (to.left - from.left) * weight, from.right + (to.right - from.right) * weight};
}

}  // namespace

void ObserveArrivals(PacketClock& clock, std::int64_t now, std::int64_t waiting, std::int64_t arrived) {
    if (arrived > 0) {
        // The position that makes the newest sample current.
        const std::int64_t first = now + (clock.rendersAhead ? monitorLead : 0) - Duration(waiting);
        clock.firstArrival = std::min(clock.firstArrival, now);
        if (!clock.anchored && now - clock.firstArrival < startTime) {
            return;
        }
        if (!clock.anchored || Counted(clock) - first > MostAhead(clock)) {
            Anchor(clock, first);
        }
        ObserveLateness(clock, now, first - Counted(clock));
    }
    if (clock.heldSince && now - *clock.heldSince >= holdTime && waiting >= holdFrames) {
        SkipGap(clock);
    }
}

PlannedPacket PlanPacket(const PacketClock& clock, std::int64_t waiting) {
    if (!clock.anchored || clock.heldSince) {
        return {};
    }
    const std::int64_t added = waiting > shortestCorrected ? Correction(clock) : 0;
    const std::int64_t output = std::min(longestPacket, (waiting + added) / 3 * 3);
    if (output <= 0) {
        return {};
    }
    return {static_cast<std::uint32_t>(output - added), static_cast<std::uint32_t>(output), Counted(clock)};
}

void FinishPacket(PacketClock& clock, const PlannedPacket& packet) { clock.frames += packet.output; }

void CorrectLength(std::span<const StereoSample> input, std::span<StereoSample> output) {
    const double step = static_cast<double>(input.size()) / static_cast<double>(output.size());
    for (std::size_t i = 0; i < output.size(); ++i) {
        const double at = static_cast<double>(i) * step;
        const auto from = static_cast<std::size_t>(at);
        const std::size_t to = std::min(from + 1, input.size() - 1);
        output[i] = Between(input[from], input[to], static_cast<float>(at - static_cast<double>(from)));
    }
}

}  // namespace zv
