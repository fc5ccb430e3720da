#include "video/TransportStream.h"

#include <gtest/gtest.h>

#include <array>
#include <random>

namespace zv {
namespace {

using Bytes = std::vector<std::uint8_t>;

std::vector<std::byte> Unit(std::size_t size) {
    std::vector<std::byte> unit(size);
    for (std::size_t index = 0; index < size; ++index) {
        unit[index] = static_cast<std::byte>(1 + index % 250);  // never 0x00 or 0xFF
    }
    return unit;
}

Bytes Mux(TsMuxState& state, const std::vector<std::byte>& unit, std::uint32_t frameIndex, std::uint32_t fps) {
    std::vector<std::byte> out;
    MuxFrame(state, unit, frameIndex, fps, out);
    Bytes bytes;
    for (const std::byte byte : out) {
        bytes.push_back(std::to_integer<std::uint8_t>(byte));
    }
    return bytes;
}

Bytes MuxOne(std::size_t unitSize, std::uint32_t frameIndex, std::uint32_t fps) {
    TsMuxState state;
    return Mux(state, Unit(unitSize), frameIndex, fps);
}

Bytes PacketAt(const Bytes& stream, std::size_t index) {
    const auto begin = stream.begin() + static_cast<std::ptrdiff_t>(index * tsPacketSize);
    return {begin, begin + tsPacketSize};
}

Bytes Part(const Bytes& bytes, std::size_t from, std::size_t to) {
    return {bytes.begin() + static_cast<std::ptrdiff_t>(from), bytes.begin() + static_cast<std::ptrdiff_t>(to)};
}

Bytes Padded(Bytes head) {
    head.resize(tsPacketSize, 0xFF);
    return head;
}

/// A packet with its payload at the end and 0xFF between.
Bytes Stuffed(Bytes head, const Bytes& payload) {
    head.resize(tsPacketSize - payload.size(), 0xFF);
    head.insert(head.end(), payload.begin(), payload.end());
    return head;
}

Bytes UnitBytes(std::size_t from, std::size_t to) {
    Bytes bytes;
    for (std::size_t index = from; index < to; ++index) {
        bytes.push_back(static_cast<std::uint8_t>(1 + index % 250));
    }
    return bytes;
}

Bytes Joined(Bytes first, const Bytes& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

const Bytes patWithCrc = {0x47, 0x40, 0x00, 0x10, 0x00, 0x00, 0xB0, 0x0D, 0x00, 0x01, 0xC1,
                          0x00, 0x00, 0x00, 0x01, 0xF0, 0x00, 0x2A, 0xB1, 0x04, 0xB2};
const Bytes pmtWithCrc = {0x47, 0x50, 0x00, 0x10, 0x00, 0x02, 0xB0, 0x12, 0x00, 0x01, 0xC1, 0x00, 0x00,
                          0xE1, 0x00, 0xF0, 0x00, 0x1B, 0xE1, 0x00, 0xF0, 0x00, 0x15, 0xBD, 0x4D, 0x56};
const Bytes pesOfPtsZero = {0x00, 0x00, 0x01, 0xE0, 0x00, 0x00, 0x80, 0x80, 0x05, 0x21, 0x00, 0x01, 0x00, 0x01};
const Bytes pesOfPts1500 = {0x00, 0x00, 0x01, 0xE0, 0x00, 0x00, 0x80, 0x80, 0x05, 0x21, 0x00, 0x01, 0x0B, 0xB9};

TEST(TransportStream, TheFirstFrameIsTablesAndARandomAccessPacketWithClockZero) {
    const Bytes stream = MuxOne(5, 0, 60);
    ASSERT_EQ(stream.size(), 3 * tsPacketSize);
    EXPECT_EQ(PacketAt(stream, 0), Padded(patWithCrc));
    EXPECT_EQ(PacketAt(stream, 1), Padded(pmtWithCrc));
    EXPECT_EQ(PacketAt(stream, 2), Stuffed({0x47, 0x41, 0x00, 0x30, 164, 0x50, 0x00, 0x00, 0x00, 0x00, 0x7E, 0x00},
                                           Joined(pesOfPtsZero, UnitBytes(0, 5))));
}

TEST(TransportStream, TheSecondFrameAtSixtyHasNoTablesAndTimeFifteenHundred) {
    const Bytes stream = MuxOne(5, 1, 60);
    ASSERT_EQ(stream.size(), tsPacketSize);
    EXPECT_EQ(stream, Stuffed({0x47, 0x41, 0x00, 0x30, 164, 0x10, 0x00, 0x00, 0x02, 0xEE, 0x7E, 0x00},
                              Joined(pesOfPts1500, UnitBytes(0, 5))));
}

TEST(TransportStream, SectionsEndInTheirCrc) {
    const std::array<std::uint8_t, 12> pat = {0x00, 0xB0, 0x0D, 0x00, 0x01, 0xC1, 0x00, 0x00, 0x00, 0x01, 0xF0, 0x00};
    const std::array<std::uint8_t, 17> pmt = {0x02, 0xB0, 0x12, 0x00, 0x01, 0xC1, 0x00, 0x00, 0xE1,
                                              0x00, 0xF0, 0x00, 0x1B, 0xE1, 0x00, 0xF0, 0x00};
    const std::array<std::uint8_t, 9> check = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    EXPECT_EQ(SectionCrc(pat), 0x2AB104B2U);
    EXPECT_EQ(SectionCrc(pmt), 0x15BD4D56U);
    EXPECT_EQ(SectionCrc(check), 0x0376E6E7U);  // the published check value of the algorithm
}

TEST(TransportStream, PtsNinetyThousandHasItsPublishedBytes) {
    const Bytes second = PacketAt(MuxOne(5, 60, 60), 2);
    EXPECT_EQ(Part(second, tsPacketSize - 10, tsPacketSize - 5), (Bytes{0x21, 0x00, 0x05, 0xBF, 0x21}));
    EXPECT_EQ(Part(second, 6, 12), (Bytes{0x00, 0x00, 0xAF, 0xC8, 0x7E, 0x00}));
}

TEST(TransportStream, AnOddTimeKeepsItsLowestBitInTheClock) {
    const Bytes packet = MuxOne(5, 1, 240);
    EXPECT_EQ(Part(packet, 6, 12), (Bytes{0x00, 0x00, 0x00, 0xBB, 0xFE, 0x00}));
    EXPECT_EQ(Part(packet, tsPacketSize - 10, tsPacketSize - 5), (Bytes{0x21, 0x00, 0x01, 0x02, 0xEF}));
}

TEST(TransportStream, AFirstPacketWithRoomForMoreIsStuffed) {
    const Bytes stream = MuxOne(175 - 14, 1, 60);
    EXPECT_EQ(stream, Stuffed({0x47, 0x41, 0x00, 0x30, 8, 0x10, 0x00, 0x00, 0x02, 0xEE, 0x7E, 0x00, 0xFF},
                              Joined(pesOfPts1500, UnitBytes(0, 161))));
}

TEST(TransportStream, APesOf176BytesFillsTheFirstPacketWithoutStuffing) {
    const Bytes stream = MuxOne(176 - 14, 1, 60);
    Bytes expected = {0x47, 0x41, 0x00, 0x30, 7, 0x10, 0x00, 0x00, 0x02, 0xEE, 0x7E, 0x00};
    EXPECT_EQ(stream, Joined(Joined(expected, pesOfPts1500), UnitBytes(0, 162)));
}

TEST(TransportStream, APesOf177BytesNeedsASecondPacketWithOneByte) {
    const Bytes stream = MuxOne(177 - 14, 1, 60);
    ASSERT_EQ(stream.size(), 2 * tsPacketSize);
    EXPECT_EQ(PacketAt(stream, 0)[3], 0x30);
    EXPECT_EQ(PacketAt(stream, 0)[4], 7);
    EXPECT_EQ(PacketAt(stream, 1), Stuffed({0x47, 0x01, 0x00, 0x31, 182, 0x00}, UnitBytes(162, 163)));
}

TEST(TransportStream, ALastPacketOf183BytesHasAnEmptyAdaptationField) {
    const Bytes stream = MuxOne(176 + 183 - 14, 1, 60);
    ASSERT_EQ(stream.size(), 2 * tsPacketSize);
    EXPECT_EQ(PacketAt(stream, 1), Joined({0x47, 0x01, 0x00, 0x31, 0}, UnitBytes(162, 345)));
}

TEST(TransportStream, ALastPacketOf184BytesHasNoAdaptationField) {
    const Bytes stream = MuxOne(176 + 184 - 14, 1, 60);
    ASSERT_EQ(stream.size(), 2 * tsPacketSize);
    EXPECT_EQ(PacketAt(stream, 1), Joined({0x47, 0x01, 0x00, 0x11}, UnitBytes(162, 346)));
}

TEST(TransportStream, ALastPacketOf182BytesHasFlagsAndNoStuffing) {
    const Bytes stream = MuxOne(176 + 182 - 14, 1, 60);
    ASSERT_EQ(stream.size(), 2 * tsPacketSize);
    EXPECT_EQ(PacketAt(stream, 1), Joined({0x47, 0x01, 0x00, 0x31, 1, 0x00}, UnitBytes(162, 344)));
}

TEST(TransportStream, AnEmptyAccessUnitIsAHeaderAlone) {
    const Bytes stream = MuxOne(0, 1, 60);
    EXPECT_EQ(stream, Stuffed({0x47, 0x41, 0x00, 0x30, 169, 0x10, 0x00, 0x00, 0x02, 0xEE, 0x7E, 0x00}, pesOfPts1500));
}

TEST(TransportStream, PacketsAreAsManyAsTheBytesNeed) {
    const std::pair<std::size_t, std::size_t> rows[] = {{14, 1},  {175, 1}, {176, 1}, {177, 2}, {359, 2},
                                                        {360, 2}, {361, 3}, {543, 3}, {544, 3}, {545, 4}};
    for (const auto& [pesSize, packets] : rows) {
        EXPECT_EQ(MuxOne(pesSize - 14, 1, 60).size(), packets * tsPacketSize) << pesSize;
    }
}

TEST(TransportStream, TablesPrecedeEachKeyFrameOnceASecond) {
    TsMuxState state;
    for (std::uint32_t frame = 0; frame < 30 * 20; ++frame) {
        const Bytes stream = Mux(state, Unit(5), frame, 30);
        if (frame % 30 != 0) {
            EXPECT_EQ(stream.size(), tsPacketSize) << frame;
            EXPECT_EQ(stream[5], 0x10) << frame;
            continue;
        }
        ASSERT_EQ(stream.size(), 3 * tsPacketSize) << frame;
        const auto counter = static_cast<std::uint8_t>(0x10 | (frame / 30 % 16));
        EXPECT_EQ(PacketAt(stream, 0)[3], counter) << frame;
        EXPECT_EQ(PacketAt(stream, 1)[3], counter) << frame;
        EXPECT_EQ(PacketAt(stream, 2)[5], 0x50) << frame;
    }
    EXPECT_EQ(state.patCounter, 20U);
    EXPECT_EQ(state.pmtCounter, 20U);
    EXPECT_EQ(state.videoCounter, 600U);
}

TEST(TransportStream, TheVideoCounterRunsOnAcrossFramesAndWraps) {
    TsMuxState state;
    std::uint8_t expected = 0;
    for (std::uint32_t frame = 1; frame < 30; ++frame) {
        const Bytes stream = Mux(state, Unit(frame * 100), frame, 60);
        for (std::size_t at = 0; at < stream.size(); at += tsPacketSize) {
            EXPECT_EQ(stream[at + 3] & 0x0F, expected) << frame;
            expected = static_cast<std::uint8_t>((expected + 1) % 16);
        }
    }
}

TEST(TransportStream, ACounterBeyond32BitsWrapsToo) {
    TsMuxState state;
    state.videoCounter = 0xFFFFFFFFU;
    const Bytes stream = Mux(state, Unit(300), 1, 60);
    EXPECT_EQ(PacketAt(stream, 0)[3], 0x3F);
    EXPECT_EQ(PacketAt(stream, 1)[3] & 0x0F, 0);
}

// An independent reader: finds packets by their PID and reassembles the PES.
struct Reassembled {
    Bytes payload;
    std::uint64_t pts = 0;
    std::uint64_t pcrBase = 0;
    bool randomAccess = false;
    std::size_t tables = 0;
};

std::uint64_t ReadPts(const Bytes& pes) {
    return (std::uint64_t{pes[9]} >> 1 & 7) << 30 | std::uint64_t{pes[10]} << 22 | (std::uint64_t{pes[11]} >> 1) << 15 |
           std::uint64_t{pes[12]} << 7 | std::uint64_t{pes[13]} >> 1;
}

std::size_t ReadAdaptation(const Bytes& packet, Reassembled& frame) {
    if ((packet[3] & 0x20) == 0) {
        return 4;
    }
    const std::size_t length = packet[4];
    if (length > 0 && (packet[5] & 0x10) != 0) {
        frame.pcrBase = std::uint64_t{packet[6]} << 25 | std::uint64_t{packet[7]} << 17 |
                        std::uint64_t{packet[8]} << 9 | std::uint64_t{packet[9]} << 1 | packet[10] >> 7;
    }
    if (length > 0 && (packet[5] & 0x40) != 0) {
        frame.randomAccess = true;
    }
    return 5 + length;
}

Reassembled Reassemble(const Bytes& stream) {
    Reassembled frame;
    Bytes pes;
    for (std::size_t index = 0; index < stream.size() / tsPacketSize; ++index) {
        const Bytes packet = PacketAt(stream, index);
        EXPECT_EQ(packet[0], 0x47);
        const int pid = (packet[1] & 0x1F) << 8 | packet[2];
        if (pid != 0x100) {
            ++frame.tables;
            continue;
        }
        EXPECT_EQ((packet[1] & 0x40) != 0, pes.empty());
        const std::size_t from = ReadAdaptation(packet, frame);
        pes.insert(pes.end(), packet.begin() + static_cast<std::ptrdiff_t>(from), packet.end());
    }
    frame.pts = ReadPts(pes);
    frame.payload = Part(pes, 14, pes.size());
    return frame;
}

TEST(TransportStream, EveryFrameIsDemuxedWholeAndWithItsTime) {
    std::mt19937 random(20261121);  // fixed seed
    std::uniform_int_distribution<std::size_t> sizes(1, 5000);
    std::vector<std::byte> out;
    for (const std::uint32_t fps : {30U, 60U, 120U, 240U}) {
        TsMuxState state;
        for (std::uint32_t frame = 0; frame < 250; ++frame) {
            const std::size_t size = frame % 50 == 7 ? 200000 : sizes(random);
            const Reassembled back = Reassemble(Mux(state, Unit(size), frame, fps));
            ASSERT_EQ(back.payload, UnitBytes(0, size)) << frame << " of " << size;
            ASSERT_EQ(back.pts, std::uint64_t{frame} * (90000 / fps)) << frame;
            ASSERT_EQ(back.pcrBase, back.pts);
            ASSERT_EQ(back.randomAccess, frame % fps == 0);
            ASSERT_EQ(back.tables, frame % fps == 0 ? 2U : 0U);
        }
    }
}

TEST(TransportStream, TheStepOfTimeIsAWholeNumberAtEveryRate) {
    const std::pair<std::uint32_t, std::uint64_t> rows[] = {{30, 3000}, {60, 1500}, {120, 750}, {240, 375}};
    for (const auto& [fps, step] : rows) {
        for (const std::uint32_t frame : {1U, 2U, 1001U, 1'000'000U}) {
            EXPECT_EQ(Reassemble(MuxOne(20, frame, fps)).pts, frame * step) << fps;
        }
    }
}

TEST(TransportStream, TimesWrapAfter33Bits) {
    // 5726623 * 1500 is 92 ticks short of 2^33; one frame later the time is 1408.
    const Bytes before = MuxOne(5, 5726623, 60);
    EXPECT_EQ(Part(before, 6, 12), (Bytes{0xFF, 0xFF, 0xFF, 0xD2, 0x7E, 0x00}));
    EXPECT_EQ(Part(before, 178, 183), (Bytes{0x2F, 0xFF, 0xFF, 0xFF, 0x49}));
    const Bytes after = MuxOne(5, 5726624, 60);
    EXPECT_EQ(Part(after, 6, 12), (Bytes{0x00, 0x00, 0x02, 0xC0, 0x7E, 0x00}));
    EXPECT_EQ(Part(after, 178, 183), (Bytes{0x21, 0x00, 0x01, 0x0B, 0x01}));
}

TEST(TransportStream, TheOutputBufferIsReplaced) {
    TsMuxState state;
    std::vector<std::byte> out(50000, std::byte{0xAA});
    MuxFrame(state, Unit(300), 1, 60, out);
    ASSERT_EQ(out.size(), 2 * tsPacketSize);
    TsMuxState fresh;
    const Bytes expected = Mux(fresh, Unit(300), 1, 60);
    for (std::size_t index = 0; index < expected.size(); ++index) {
        ASSERT_EQ(std::to_integer<std::uint8_t>(out[index]), expected[index]) << index;
    }
}

TEST(TransportStream, AGrownBufferKeepsItsMemory) {
    TsMuxState state;
    std::vector<std::byte> out;
    MuxFrame(state, Unit(100000), 0, 60, out);
    const std::byte* memory = out.data();
    for (std::uint32_t frame = 1; frame <= 200; ++frame) {
        MuxFrame(state, Unit(500 * (frame % 200)), frame, 60, out);
        ASSERT_EQ(out.data(), memory);
    }
}

}  // namespace
}  // namespace zv
