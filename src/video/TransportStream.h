// Muxes H.264 access units into an MPEG-2 transport stream (ISO/IEC 13818-1) with one program and one video stream.
//
// Pure logic: bytes and two integers in, bytes out. All times follow from the frame's index, never from a clock. Tables
// precede every frame whose index is a multiple of the rate, at which the encoder makes key frames; every frame carries
// a PCR that equals its PTS.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace zv {

inline constexpr std::size_t tsPacketSize = 188;

/// Packets written so far on each PID; a packet carries the low four bits.
struct TsMuxState {
    std::uint32_t patCounter = 0;
    std::uint32_t pmtCounter = 0;
    std::uint32_t videoCounter = 0;
};

/// Replaces `outBytes` with the packets of one frame. `fps` is at least 1. The access unit must not lie in `outBytes`.
/// Allocates only while `outBytes` still has to grow.
void MuxFrame(TsMuxState& state, std::span<const std::byte> accessUnit, std::uint32_t frameIndex, std::uint32_t fps,
              std::vector<std::byte>& outBytes);

/// CRC-32/MPEG-2 of a section: polynomial 0x04C11DB7, initial value all ones, nothing reflected or inverted.
std::uint32_t SectionCrc(std::span<const std::uint8_t> section);

}  // namespace zv
