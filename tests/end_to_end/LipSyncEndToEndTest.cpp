// The offset between sound and picture in finished files. A clapper board plays on a real display and a real sound
// server, and the test finds each clap in the picture and in the sound of the file.
//
// Each picture contains the time at which it was painted, so that times in the video are known better than to a frame.
// The offset of a clap is the time of its click in the file minus the time of its flash.
//
// Time 0 of each stream is the connection of its pipe. FFmpeg opens the sound's pipe after it has probed 64 KiB of the
// video, so the gap between the two depends on the bitrate (here the program's default). The program neither measures
// nor corrects it. The test measures the gap at the pipes and prints it. The limits apply to the rest of the offset and
// to its drift.
#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

#include "support/Eventually.h"
#include "support/FileBytes.h"
#include "support/FrameNumber.h"
#include "support/MediaProbe.h"
#include "support/PipeWatch.h"
#include "support/PrivateDisplay.h"
#include "support/Processes.h"
#include "support/ProgramRun.h"
#include "support/SoundServer.h"
#include "support/SoundTrack.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

using namespace support;
namespace fs = std::filesystem;

constexpr double allowedOffset = 0.060;
constexpr double allowedDrift = 0.020;
constexpr double lateFlash = 0.010;     ///< a flash that the painter brought later than this says nothing
constexpr double paintingHalf = 0.005;  ///< a time on the screen is 5 ms old in the mean

struct Clap {
    int number = 0;
    double instant = 0;  ///< seconds of CLOCK_MONOTONIC
    double painted = 0;
    int underflows = 0;
};

std::vector<Clap> ReadClaps(const fs::path& log) {
    std::vector<Clap> read;
    std::istringstream lines(ReadBytes(log));
    std::string word;
    for (Clap clap; lines >> word >> clap.number >> clap.instant >> clap.painted >> clap.underflows;) {
        clap.instant /= 1e6;
        clap.painted /= 1e6;
        read.push_back(clap);
    }
    return read;
}

struct Picture {
    double stamp = 0;    ///< seconds in the file
    double painted = 0;  ///< seconds of CLOCK_MONOTONIC, negative when the picture carries no time
    bool lit = false;
};

std::vector<Picture> ReadPictures(const fs::path& file) {
    const ClipFacts facts = Probe(file);
    std::vector<Picture> pictures;
    DecodeLuma(file, 1920, 1080, [&](std::span<const std::uint8_t> luma) {
        if (pictures.size() < facts.seconds.size()) {
            const auto number = ReadFrameNumber(luma, 1920, 1080);
            pictures.push_back({facts.seconds[pictures.size()], number ? *number / 1000.0 : -1,
                                luma[std::size_t{1920} * 900 + 1500] > 128});
        }
    });
    EXPECT_EQ(pictures.size(), facts.seconds.size());
    return pictures;
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values.empty() ? NAN : values[values.size() / 2];
}

/// Converts a painting time to a time in the file, by the times in the pictures around it.
double PlaceInVideo(const std::vector<Picture>& pictures, double instant) {
    std::vector<double> differences;
    for (const Picture& picture : pictures) {
        if (picture.painted >= 0 && std::abs(picture.painted - instant) < 1) {
            differences.push_back(picture.stamp - picture.painted);
        }
    }
    return differences.size() < 20 ? NAN : instant + Median(differences) - paintingHalf;
}

/// The time of the first lit picture near a time in the file.
double FlashNear(const std::vector<Picture>& pictures, double place) {
    for (const Picture& picture : pictures) {
        if (picture.lit && std::abs(picture.stamp - place) < 0.4) {
            return picture.stamp;
        }
    }
    return NAN;
}

/// The start of the click near a time in the file: its first sample of at least a third of its peak.
double ClickNear(const SoundTrack& sound, double place) {
    const double from = std::max(0.0, place - 0.4);
    const std::vector<float> around = sound.Between(from, place + 0.4);
    float peak = 0;
    for (const float sample : around) {
        peak = std::max(peak, std::abs(sample));
    }
    for (std::size_t i = 0; peak > 0.2F && i < around.size(); ++i) {
        if (std::abs(around[i]) > peak / 3) {
            return from + static_cast<double>(i / 2) / 48000;
        }
    }
    return NAN;
}

/// Measures all claps of a file, prints them and checks them against the limits.
void ExpectSoundWithPicture(const char* what, const fs::path& file, const std::vector<Clap>& all, double gap) {
    const std::vector<Picture> pictures = ReadPictures(file);
    const SoundTrack sound = ReadSound(file);
    std::vector<double> offsets;
    int underflows = 0;
    for (const Clap& clap : all) {
        const double place = PlaceInVideo(pictures, clap.instant);
        const double click = std::isnan(place) ? NAN : ClickNear(sound, place);
        const double flash = std::isnan(place) ? NAN : FlashNear(pictures, place);
        const bool painterLate = clap.painted - clap.instant > lateFlash || clap.underflows != underflows;
        underflows = clap.underflows;
        std::printf("%s, clap %d at %.3f s: sound %+.1f ms against the picture's time, %+.1f ms against the flash%s\n",
                    what, clap.number, place, (click - place) * 1000, (click - flash) * 1000,
                    painterLate ? " (left out: the painter was late)" : "");
        // The flash of a clap at the very end may come after the last picture.
        if (std::isnan(place) || painterLate || place + 0.4 > pictures.back().stamp) {
            continue;
        }
        EXPECT_FALSE(std::isnan(click)) << "no click at " << place;
        EXPECT_FALSE(std::isnan(flash)) << "no flash at " << place;
        EXPECT_LE(std::abs(click - place + gap), allowedOffset) << "clap " << clap.number;
        offsets.push_back(click - place);
    }
    ASSERT_GE(offsets.size(), 3U) << "too few claps";
    const double drift = offsets.back() - offsets.front();
    const double median = Median(offsets);
    std::printf(
        "%s: %zu claps, median %+.1f ms of which %+.1f ms lie between the connections, rest %+.1f ms, "
        "from first to last %+.1f ms\n",
        what, offsets.size(), median * 1000, -gap * 1000, (median + gap) * 1000, drift * 1000);
    EXPECT_LE(std::abs(drift), allowedDrift);
}

/// Seconds between FFmpeg's openings of the video's pipe and of the sound's pipe.
double GapOfConnections(const PipeWatch& watch) {
    const auto video = watch.Opened("ZVVideo-");
    const auto audio = watch.Opened("ZVReelsAudio-");
    EXPECT_TRUE(video && audio);
    return video && audio ? *audio - *video : NAN;
}

/// A private display with the program and a clapper board.
struct Scene {
    Scene(const std::string& key, const std::string& value)
        : run({.display = display.Name(),
               .settings = {{"gameAudioEnabled", "1"}, {"bitrateMbps", "40"}, {key, value}}}),
          pipes(run.Home() / "runtime") {}

    void StartClapping(std::size_t claps) {
        clapper = Spawned({ZV_FLASH_AND_CLICK_PATH, "--count", std::to_string(claps), "--period", "6"},
                          {{"DISPLAY", display.Name()}}, log);
    }
    void ToggleRecording() const { run.Press("ctrl+alt+r"); }
    std::optional<fs::path> PathTold(const std::string& beginning) const {
        const auto row = run.WaitForActivity(beginning);
        return row ? std::optional<fs::path>(row->substr(beginning.size())) : std::nullopt;
    }

    PrivateDisplay display;
    TemporaryFolder folder{"zorvel-sync"};
    fs::path log = folder.Path() / "claps.log";
    ProgramRun run;
    PipeWatch pipes;
    Spawned clapper;
};

/// A clip and both kinds of recording at the same time: two programs, each with its own clapper board. Both hear both
/// boards, whose claps are 3 s apart.
void ExpectFilesKeepSoundWithPicture(std::size_t claps) {
    SoundServer server;
    ASSERT_TRUE(server.Ready()) << server.Log();
    Scene replay("replaySeconds", "120");
    Scene own("instantReplay", "0");
    ASSERT_TRUE(replay.run.WaitForBuffer(2));
    ASSERT_TRUE(own.run.WaitForActivity("Replay stopped.").has_value());
    for (const Scene* scene : {&replay, &own}) {
        scene->ToggleRecording();
        ASSERT_TRUE(scene->run.WaitForActivity("Recording started.").has_value());
    }
    replay.StartClapping(claps);
    ASSERT_TRUE(Eventually([&] { return !ReadClaps(replay.log).empty(); }));
    own.StartClapping(claps);
    ASSERT_EQ(replay.clapper.WaitExit(180), 0);
    ASSERT_EQ(own.clapper.WaitExit(180), 0);

    ASSERT_TRUE(replay.run.WaitForBuffer(replay.run.BufferedSeconds() + 2));
    replay.ToggleRecording();
    const auto fromReplay = replay.PathTold("Recording saved: ");
    ASSERT_TRUE(fromReplay.has_value());
    replay.run.Press("alt+F10");
    const auto clip = replay.PathTold("Replay saved: ");
    ASSERT_TRUE(clip.has_value());
    own.ToggleRecording();
    const auto ownCapture = own.PathTold("Recording saved: ");
    ASSERT_TRUE(ownCapture.has_value());
    EXPECT_EQ(replay.run.End(), 0);
    EXPECT_EQ(own.run.End(), 0);

    const auto seenByReplay = ReadClaps(replay.log);
    const auto seenByOwn = ReadClaps(own.log);
    ASSERT_EQ(seenByReplay.size(), claps);
    ASSERT_EQ(seenByOwn.size(), claps);
    const double gap = GapOfConnections(replay.pipes);
    ExpectSoundWithPicture("clip", *clip, seenByReplay, gap);
    ExpectSoundWithPicture("recording from the replay", *fromReplay, seenByReplay, gap);
    ExpectSoundWithPicture("recording with its own capture", *ownCapture, seenByOwn, GapOfConnections(own.pipes));
}

TEST(LipSync, AClipAndBothKindsOfRecordingKeepSoundWithPicture) { ExpectFilesKeepSoundWithPicture(5); }

TEST(LipSync, FilesOfAMinuteKeepSoundWithPicture) { ExpectFilesKeepSoundWithPicture(10); }

}  // namespace
}  // namespace zv
