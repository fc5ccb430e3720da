// Positions for the samples of a sound server, from the times at which they arrive.
//
// A server's reports of latency cannot be used: they wander by 100 ms for some time after a start, are most of a second
// for a sink that has just resumed, and are negative for a sink behind a network. The samples themselves follow each
// other without a hole, so positions are counted in frames. Lateness is the age of the newest sample that has arrived,
// according to the count. If its average leaves a small range, the count is corrected by a frame or two in a packet,
// which the caller adds or removes by interpolation. If samples stay much later than usual, there was a gap before
// them, and the count skips it. All times are in 100 ns. Frames are at 48 kHz. The caller passes the current time.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <span>

namespace zv {

struct PacketClock {
    bool rendersAhead = false;  ///< the source is the monitor of a sink, which may deliver sound before it is played

    std::int64_t firstArrival = std::numeric_limits<std::int64_t>::max();
    bool anchored = false;
    std::int64_t anchor = 0;    ///< the position of the first counted frame
    std::int64_t frames = 0;    ///< counted since the anchor
    std::int64_t lateness = 0;  ///< average

    std::optional<std::int64_t> heldSince;  ///< packets are held while late samples may still be followed by a backlog
    std::int64_t heldLateness = 0;          ///< the sum of the observations since then
    std::int64_t heldObservations = 0;
};

/// Called at each look at the stream. `waiting` frames have arrived and are not delivered yet, `arrived` of them since
/// the last look.
void ObserveArrivals(PacketClock& clock, std::int64_t now, std::int64_t waiting, std::int64_t arrived);

/// The next packet: the first `input` of the waiting frames, resampled to `output` frames.
struct PlannedPacket {
    std::uint32_t input = 0;
    std::uint32_t output = 0;  ///< 0: no packet yet; else a multiple of 3, because 3 frames are 625 units
    std::int64_t position = 0;
};

PlannedPacket PlanPacket(const PacketClock& clock, std::int64_t waiting);

/// Called when the packet has been delivered.
void FinishPacket(PacketClock& clock, const PlannedPacket& packet);

struct StereoSample {
    float left = 0;
    float right = 0;
};

/// Stretches or shrinks a packet's input to its output by linear interpolation.
void CorrectLength(std::span<const StereoSample> input, std::span<StereoSample> output);

}  // namespace zv
