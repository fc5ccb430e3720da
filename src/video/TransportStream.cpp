// Sections, packets and PES, in that order. The sections never change, so their packets are made at compile time.
// A PES packet is never assembled: its 14 header bytes and the access unit go straight into the packets, so that each
// byte of a picture is copied once.
#include "video/TransportStream.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace zv {
namespace {

using Packet = std::array<std::uint8_t, tsPacketSize>;

constexpr std::uint8_t syncByte = 0x47;
constexpr std::uint8_t streamTypeH264 = 0x1B;
constexpr std::uint16_t patPid = 0;
constexpr std::uint16_t pmtPid = 0x1000;
constexpr std::uint16_t videoPid = 0x0100;
constexpr std::uint64_t ticksPerSecond = 90000;

constexpr std::size_t pesHeaderSize = 14;
constexpr std::size_t payloadLimit = tsPacketSize - 4;
constexpr std::size_t firstPayloadLimit = payloadLimit - 8;  // room for the adaptation field with its PCR

constexpr std::uint8_t randomAccessFlag = 0x40;
constexpr std::uint8_t pcrFlag = 0x10;

constexpr std::uint8_t LowByte(std::uint64_t value) { return static_cast<std::uint8_t>(value & 0xFF); }

// Sections

constexpr std::array<std::uint32_t, 256> MakeCrcTable() {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t index = 0; index < 256; ++index) {
        std::uint32_t value = index << 24;
        for (int bit = 0; bit < 8; ++bit) {
            value = (value << 1) ^ ((value & 0x80000000U) != 0 ? 0x04C11DB7U : 0U);
        }
        table[index] = value;
    }
    return table;
}

constexpr std::array<std::uint32_t, 256> crcTable = MakeCrcTable();

constexpr std::uint32_t Crc(std::span<const std::uint8_t> bytes) {
    std::uint32_t crc = 0xFFFFFFFFU;
    for (const std::uint8_t byte : bytes) {
        crc = (crc << 8) ^ crcTable[(crc >> 24) ^ byte];
    }
    return crc;
}

constexpr std::array<std::uint8_t, 12> patSection = {
    0x00,           0xB0, 0x0D,  // program association, 13 bytes follow
    0x00,           0x01,        // transport_stream_id 1
    0xC1,           0x00, 0x00,  // version 0, current, section 0 of 0
    0x00,           0x01, 0xE0 | LowByte(pmtPid >> 8),
    LowByte(pmtPid)};  // program 1 and the PID of its map

constexpr std::array<std::uint8_t, 17> pmtSection = {0x02,
                                                     0xB0,
                                                     0x12,  // program map, 18 bytes follow
                                                     0x00,
                                                     0x01,  // program_number 1
                                                     0xC1,
                                                     0x00,
                                                     0x00,  // version 0, current, section 0 of 0
                                                     0xE0 | LowByte(videoPid >> 8),
                                                     LowByte(videoPid),  // the PCR comes with the video
                                                     0xF0,
                                                     0x00,            // no program descriptors
                                                     streamTypeH264,  //
                                                     0xE0 | LowByte(videoPid >> 8),
                                                     LowByte(videoPid),  //
                                                     0xF0,
                                                     0x00};  // no stream descriptors

/// The packet of a section, with a continuity counter of 0.
template <std::size_t size>
constexpr Packet MakeSectionPacket(std::uint16_t pid, const std::array<std::uint8_t, size>& section) {
    Packet packet{};
    packet.fill(0xFF);
    packet[0] = syncByte;
    packet[1] = LowByte((pid >> 8) | 0x40);  // a section starts here
    packet[2] = LowByte(pid);
    packet[3] = 0x10;  // payload only
    packet[4] = 0x00;  // pointer_field
    std::size_t at = 5;
    for (const std::uint8_t byte : section) {
        packet[at++] = byte;
    }
    const std::uint32_t crc = Crc(section);
    for (int shift = 24; shift >= 0; shift -= 8) {
        packet[at++] = LowByte(crc >> shift);
    }
    return packet;
}

constexpr Packet patPacket = MakeSectionPacket(patPid, patSection);
constexpr Packet pmtPacket = MakeSectionPacket(pmtPid, pmtSection);

std::uint8_t* PutSectionPacket(std::uint8_t* to, const Packet& packet, std::uint32_t& counter) {
    std::memcpy(to, packet.data(), packet.size());
    to[3] = LowByte(0x10 | (counter++ & 0x0F));
    return to + tsPacketSize;
}

// Packets of the video stream

/// Adaptation field, stuffing included, for `payload` bytes below payloadLimit. Fills up to the end of the packet, a
/// constant size that needs no loop. The payload then overwrites the end, and also the flags of a field of length 0.
void PutAdaptationField(std::uint8_t* packet, std::size_t payload, std::uint8_t flags) {
    packet[4] = LowByte(payloadLimit - 1 - payload);
    packet[5] = flags;
    std::memset(packet + 6, 0xFF, tsPacketSize - 6);
}

/// 33 bits of base that equal the PTS, reserved bits set, extension 0.
void PutPcr(std::uint8_t* to, std::uint64_t pts) {
    to[0] = LowByte(pts >> 25);
    to[1] = LowByte(pts >> 17);
    to[2] = LowByte(pts >> 9);
    to[3] = LowByte(pts >> 1);
    to[4] = LowByte(((pts << 7) & 0x80) | 0x7E);
    to[5] = 0x00;
}

void PutHeader(std::uint8_t* packet, bool first, bool adaptation, std::uint32_t& counter) {
    const std::array<std::uint8_t, 4> header = {syncByte, LowByte((videoPid >> 8) | (first ? 0x40U : 0U)),
                                                LowByte(videoPid),
                                                LowByte((adaptation ? 0x30U : 0x10U) | (counter++ & 0x0F))};
    std::memcpy(packet, header.data(), header.size());
}

/// For sizes that are not constant. Not memcpy: for a small known bound the compiler emits a string instruction, whose
/// start-up costs more than copying several packets.
void PutBytes(std::uint8_t* to, const std::byte* from, std::size_t size) {
    if (size != 0) {
        std::memmove(to, from, size);
    }
}

// PES

constexpr std::array<std::uint8_t, 9> pesStart = {0x00, 0x00, 0x01, 0xE0,  // start code, first video stream
                                                  0x00, 0x00,              // unbounded
                                                  0x80, 0x80, 0x05};       // nothing but a PTS, 5 bytes

/// Writes into the packet directly: a copy from a local array would stall until each byte of the array is stored.
void PutPesHeader(std::uint8_t* to, std::uint64_t pts) {
    std::memcpy(to, pesStart.data(), pesStart.size());
    to[9] = LowByte(((pts >> 29) & 0x0E) | 0x21);
    to[10] = LowByte(pts >> 22);
    to[11] = LowByte(((pts >> 14) & 0xFF) | 0x01);
    to[12] = LowByte(pts >> 7);
    to[13] = LowByte(((pts << 1) & 0xFF) | 0x01);
}

std::size_t PacketsOf(std::size_t pesSize) {
    if (pesSize <= firstPayloadLimit) {
        return 1;
    }
    return 1 + (pesSize - firstPayloadLimit + payloadLimit - 1) / payloadLimit;
}

struct Frame {
    const std::byte* bytes = nullptr;
    std::size_t left = 0;
    std::uint64_t pts = 0;
    bool keyFrame = false;
};

std::uint8_t* PutFirstPacket(std::uint8_t* packet, Frame& frame, std::uint32_t& counter) {
    const std::size_t payload = std::min(pesHeaderSize + frame.left, firstPayloadLimit);
    PutHeader(packet, true, true, counter);
    PutAdaptationField(packet, payload, frame.keyFrame ? randomAccessFlag | pcrFlag : pcrFlag);
    PutPcr(packet + 6, frame.pts);
    std::uint8_t* to = packet + tsPacketSize - payload;
    PutPesHeader(to, frame.pts);
    const std::size_t copied = payload - pesHeaderSize;
    PutBytes(to + pesHeaderSize, frame.bytes, copied);
    frame.bytes += copied;
    frame.left -= copied;
    return packet + tsPacketSize;
}

/// The hot loop: a header of four bytes and a copy of constant size. The cursors are locals because a stored byte may
/// alias any object behind a reference.
std::uint8_t* PutFullPackets(std::uint8_t* packet, Frame& frame, std::uint32_t& counter) {
    const std::byte* from = frame.bytes;
    const std::byte* const end = from + frame.left / payloadLimit * payloadLimit;
    std::uint32_t number = counter;
    for (; from != end; from += payloadLimit) {
        PutHeader(packet, false, false, number);
        std::memcpy(packet + 4, from, payloadLimit);
        packet += tsPacketSize;
    }
    counter = number;
    frame.bytes = from;
    frame.left %= payloadLimit;
    return packet;
}

void PutLastPacket(std::uint8_t* packet, const Frame& frame, std::uint32_t& counter) {
    PutHeader(packet, false, true, counter);
    PutAdaptationField(packet, frame.left, 0x00);
    PutBytes(packet + tsPacketSize - frame.left, frame.bytes, frame.left);
}

}  // namespace

std::uint32_t SectionCrc(std::span<const std::uint8_t> section) { return Crc(section); }

void MuxFrame(TsMuxState& state, std::span<const std::byte> accessUnit, std::uint32_t frameIndex, std::uint32_t fps,
              std::vector<std::byte>& outBytes) {
    Frame frame;
    frame.bytes = accessUnit.data();
    frame.left = accessUnit.size();
    frame.pts = frameIndex * ticksPerSecond / fps;
    frame.keyFrame = frameIndex % fps == 0;

    const std::size_t tables = frame.keyFrame ? 2 : 0;
    // Not cleared first: every byte is written below, and resize initializes only the bytes beyond the last frame's.
    outBytes.resize((tables + PacketsOf(pesHeaderSize + frame.left)) * tsPacketSize);
    auto* packet = reinterpret_cast<std::uint8_t*>(outBytes.data());
    if (frame.keyFrame) {
        packet = PutSectionPacket(packet, patPacket, state.patCounter);
        packet = PutSectionPacket(packet, pmtPacket, state.pmtCounter);
    }
    packet = PutFirstPacket(packet, frame, state.videoCounter);
    packet = PutFullPackets(packet, frame, state.videoCounter);
    if (frame.left != 0) {
        PutLastPacket(packet, frame, state.videoCounter);
    }
}

}  // namespace zv
