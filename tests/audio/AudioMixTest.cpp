#include "audio/AudioMix.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace zv {
namespace {

void Fill(AudioRing& ring, std::int64_t first, std::int64_t count, StereoFrame frame) {
    for (std::int64_t t = first; t < first + count; ++t) {
        StoreFrame(ring, t, frame);
    }
}

TEST(AudioRing, StartsWithTwoSecondsOfSilenceWithoutStamps) {
    const AudioRing ring;
    EXPECT_EQ(ring.samples.size(), 96000U);
    EXPECT_EQ(ring.samples.size() * sizeof(StereoFrame), 768000U);
    EXPECT_TRUE(std::all_of(ring.stamps.begin(), ring.stamps.end(), [](std::int64_t s) { return s == -1; }));
    EXPECT_EQ(ring.stamps.size(), 96000U);
    EXPECT_EQ(ring.readPosition, 0);
}

TEST(AudioRing, AcceptsFramesFromTheReadPositionToTwoSecondsAhead) {
    AudioRing ring;
    ring.readPosition = 1000;
    const auto taken = [&ring](std::int64_t begin, std::int64_t end) {
        const FrameRange part = Acceptable(ring, {begin, end});
        return std::pair(part.begin, part.end);
    };
    EXPECT_EQ(taken(1000, 97000), std::pair(std::int64_t{1000}, std::int64_t{97000}));
    EXPECT_EQ(taken(900, 1100), std::pair(std::int64_t{1000}, std::int64_t{1100}));
    EXPECT_EQ(taken(96900, 97100), std::pair(std::int64_t{96900}, std::int64_t{97000}));
    const FrameRange late = Acceptable(ring, {100, 1000});
    EXPECT_EQ(late.begin, late.end);
    const FrameRange early = Acceptable(ring, {97000, 97480});
    EXPECT_EQ(early.begin, early.end);
}

TEST(AudioRing, AFrameFromTwoSecondsAgoReadsAsSilence) {
    AudioRing ring;
    Fill(ring, 0, 480, {0.5F, 0.25F});
    AudioMix mix{.system = &ring, .microphone = nullptr, .nextBlockFrame = 96000, .block = {}};
    FillBlock(mix);
    EXPECT_TRUE(std::all_of(mix.block.begin(), mix.block.end(), [](float v) { return v == 0; }));
}

TEST(AudioRing, ALaterPacketOverwritesAnEarlierOneAtTheSameTime) {
    AudioRing ring;
    Fill(ring, 0, 480, {0.5F, 0.5F});
    Fill(ring, 100, 10, {0.25F, 0.125F});
    AudioMix mix{.system = &ring, .microphone = nullptr, .nextBlockFrame = 0, .block = {}};
    FillBlock(mix);
    EXPECT_EQ(mix.block[2 * 99], 0.5F);
    EXPECT_EQ(mix.block[2 * 100], 0.25F);
    EXPECT_EQ(mix.block[2 * 100 + 1], 0.125F);
    EXPECT_EQ(mix.block[2 * 110], 0.5F);
}

TEST(AudioMix, ABlockThatWrapsAroundTheEndOfTheRingIsWhole) {
    AudioRing ring;
    ring.readPosition = 95760;
    for (std::int64_t t = 95760; t < 96240; ++t) {
        StoreFrame(ring, t, {static_cast<float>(t - 95760) / 1024, 0.5F});
    }
    AudioMix mix{.system = &ring, .microphone = nullptr, .nextBlockFrame = 95760, .block = {}};
    FillBlock(mix);
    for (std::size_t i = 0; i < blockFrames; ++i) {
        ASSERT_EQ(mix.block[2 * i], static_cast<float>(i) / 1024);
        ASSERT_EQ(mix.block[2 * i + 1], 0.5F);
    }
}

TEST(AudioMix, OnlyMixedFramesArePast) {
    AudioRing ring;
    AudioMix mix{.system = &ring, .microphone = nullptr, .nextBlockFrame = 0, .block = {}};
    FillBlock(mix);
    EXPECT_EQ(ring.readPosition, 480);
    FinishBlock(mix);
    FillBlock(mix);
    EXPECT_EQ(ring.readPosition, 960);
    ring.readPosition = 5000;
    FillBlock(mix);
    EXPECT_EQ(ring.readPosition, 5000);
}

TEST(AudioMix, SystemSoundAndMicrophoneAtFullScaleClipToOne) {
    AudioRing system;
    AudioRing microphone;
    Fill(system, 0, 480, {1.0F, -1.0F});
    Fill(microphone, 0, 480, {1.0F, -1.0F});
    AudioMix mix{.system = &system, .microphone = &microphone, .nextBlockFrame = 0, .block = {}};
    FillBlock(mix);
    for (std::size_t i = 0; i < blockFrames; ++i) {
        ASSERT_EQ(mix.block[2 * i], 1.0F);
        ASSERT_EQ(mix.block[2 * i + 1], -1.0F);
    }
}

TEST(AudioMix, SystemSoundAndMicrophoneAreAddedAtFullGain) {
    AudioRing system;
    AudioRing microphone;
    Fill(system, 0, 480, {0.25F, -0.5F});
    Fill(microphone, 0, 240, {0.5F, 0.125F});
    AudioMix mix{.system = &system, .microphone = &microphone, .nextBlockFrame = 0, .block = {}};
    FillBlock(mix);
    EXPECT_EQ(mix.block[0], 0.75F);
    EXPECT_EQ(mix.block[1], -0.375F);
    EXPECT_EQ(mix.block[2 * 240], 0.25F);
    EXPECT_EQ(mix.block[2 * 240 + 1], -0.5F);
}

TEST(AudioMix, ASourceThatIsOffIsLeftOut) {
    AudioRing microphone;
    Fill(microphone, 0, 480, {0.5F, 0.25F});
    AudioMix mix{.system = nullptr, .microphone = &microphone, .nextBlockFrame = 0, .block = {}};
    FillBlock(mix);
    EXPECT_EQ(mix.block[0], 0.5F);
    EXPECT_EQ(mix.block[959], 0.25F);
}

TEST(AudioMix, TheSumIsClippedAndNotTheSources) {
    AudioRing system;
    AudioRing microphone;
    Fill(system, 0, 480, {3.0F, 3.0F});
    Fill(microphone, 0, 480, {-2.5F, -2.5F});
    AudioMix mix{.system = &system, .microphone = &microphone, .nextBlockFrame = 0, .block = {}};
    FillBlock(mix);
    EXPECT_EQ(mix.block[0], 0.5F);
}

TEST(AudioMix, NeverWritesAValueThatIsNotANumber) {
    AudioRing system;
    AudioRing microphone;
    constexpr float infinity = std::numeric_limits<float>::infinity();
    Fill(system, 0, 480, {infinity, std::nanf("")});
    Fill(microphone, 0, 480, {-infinity, 0.5F});
    AudioMix mix{.system = &system, .microphone = &microphone, .nextBlockFrame = 0, .block = {}};
    FillBlock(mix);
    EXPECT_EQ(mix.block[0], 0.0F);
    EXPECT_EQ(mix.block[1], 0.0F);
}

}  // namespace
}  // namespace zv
