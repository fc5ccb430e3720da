// Positions on the output timeline: 48 kHz frames counted from the moment at which the reader connected.
//
// All times are in units of 100 ns of Counter100ns(). Pure arithmetic: the caller reads the clock.
#pragma once

#include <cstdint>

#include "audio/AudioRing.h"

namespace zv {

/// How long after its capture a packet may arrive and still be mixed.
inline constexpr std::int64_t outputLag = 1000000;

/// The output frames that should have been written by `now`; negative in the first 100 ms.
std::int64_t TargetFrame(std::int64_t now, std::int64_t captureStartTime);

/// The output range of a packet of `frames` frames whose first was captured at `position`. Both ends are rounded, to
/// the nearest with halves away from zero, so that packets with continuous stamps tile without a gap or an overlap.
FrameRange PacketRange(std::int64_t position, std::int64_t captureStartTime, std::uint32_t frames,
                       std::uint32_t sampleRate);

/// The capture time of the first frame of a packet that ends now.
std::int64_t PositionEndingNow(std::int64_t now, std::uint32_t frames, std::uint32_t sampleRate);

/// The first output frame of samples that are counted from a known start; the division truncates toward zero.
std::int64_t CountedFrame(std::int64_t startTime, std::int64_t captureStartTime, std::int64_t framesBefore);

}  // namespace zv
