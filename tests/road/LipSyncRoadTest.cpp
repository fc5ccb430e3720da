// Sound against picture in finished files: a clapper board plays on a real display and a real sound server, and every
// clap is found again in the file, in the picture and in the sound.
//
// The pictures carry the time at which they were painted, so that the video's place in time is known far better than
// to a frame. The offset of a clap is where its click stands in the file less where its flash would stand.
//
// Each stream's zero is the moment at which its own pipe was connected. The encoder connects to the sound only when it
// has probed the video, which takes it some frames; that gap stands in every file, and the program neither measures
// nor corrects it. So the gap is taken here from the pipes themselves and printed, and what is held to the allowed
// figures is the rest, which is the program's own, and the drift.
#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

#include "support/FrameNumber.h"
#include "support/PipeWatch.h"
#include "support/Road.h"
#include "support/SoundServer.h"
#include "support/SoundTrack.h"

namespace zv {
namespace {

using namespace support;
namespace fs = std::filesystem;

constexpr int claps = 10;
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
    std::istringstream lines(ReadAll(log));
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

/// Where an instant stands on the file's timeline, by the times that the pictures around it carry.
double PlaceInVideo(const std::vector<Picture>& pictures, double instant) {
    std::vector<double> differences;
    for (const Picture& picture : pictures) {
        if (picture.painted >= 0 && std::abs(picture.painted - instant) < 1) {
            differences.push_back(picture.stamp - picture.painted);
        }
    }
    return differences.size() < 20 ? NAN : instant + Median(differences) - paintingHalf;
}

/// The stamp of the first lit picture near a place.
double FlashNear(const std::vector<Picture>& pictures, double place) {
    for (const Picture& picture : pictures) {
        if (picture.lit && std::abs(picture.stamp - place) < 0.4) {
            return picture.stamp;
        }
    }
    return NAN;
}

/// Where the click near a place begins: the first sample of a third of its peak.
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

/// Measures all claps of a file, prints them and holds them to the allowed figures.
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
        // A clap at the very end may have its flash behind the last picture.
        if (std::isnan(place) || painterLate || place + 0.4 > pictures.back().stamp) {
            continue;
        }
        EXPECT_FALSE(std::isnan(click)) << "no click at " << place;
        EXPECT_FALSE(std::isnan(flash)) << "no flash at " << place;
        EXPECT_LE(std::abs(click - place + gap), allowedOffset) << "clap " << clap.number;
        offsets.push_back(click - place);
    }
    ASSERT_GE(offsets.size(), 3U) << "too few claps to judge";
    const double drift = offsets.back() - offsets.front();
    const double median = Median(offsets);
    std::printf(
        "%s: %zu claps, median %+.1f ms of which %+.1f ms lie between the connections, rest %+.1f ms, "
        "from first to last %+.1f ms\n",
        what, offsets.size(), median * 1000, -gap * 1000, (median + gap) * 1000, drift * 1000);
    EXPECT_LE(std::abs(drift), allowedDrift);
}

/// Seconds from the moment at which the encoder opened the video's pipe to that at which it opened the sound's.
double GapOfConnections(const PipeWatch& watch) {
    const auto video = watch.Opened("ZVVideo-");
    const auto audio = watch.Opened("ZVReelsAudio-");
    EXPECT_TRUE(video && audio);
    return video && audio ? *audio - *video : NAN;
}

struct LipSync : testing::Test {
    void SetUp() override { ASSERT_TRUE(server.Ready()) << server.Log(); }
    Spawned Clapper() {
        return Spawned({ZV_FLASH_AND_CLICK_PATH, "--count", std::to_string(claps), "--period", "6"},
                       {{"DISPLAY", display.Name()}}, log);
    }
    std::optional<fs::path> PathTold(const ProgramRun& run, const std::string& beginning) {
        const auto row = run.WaitForActivity(beginning);
        return row ? std::optional<fs::path>(row->substr(beginning.size())) : std::nullopt;
    }

    SoundServer server;
    PrivateDisplay display;
    TemporaryFolder folder{"zorvel-sync"};
    fs::path log = folder.Path() / "claps.log";
};

/// Of a second program on the same display: its keys must be other ones.
const std::map<std::string, std::string> otherKeys{
    {"bindKeys0", "89"}, {"bindKeys1", "122"}, {"bindKeys2", "84"}, {"bindKeys3", "85"}};

std::map<std::string, std::string> WithSound(std::map<std::string, std::string> settings) {
    settings.insert({"gameAudioEnabled", "1"});
    return settings;
}

// One minute of claps for all three: two programs look and listen side by side.
TEST_F(LipSync, AClipAndBothKindsOfRecordingKeepSoundWithPicture) {
    ProgramRun replaying({.display = display.Name(), .settings = WithSound({{"replaySeconds", "120"}})});
    const PipeWatch replayPipes(replaying.Home() / "runtime");
    ASSERT_TRUE(replaying.WaitForBuffer(2));
    auto settings = otherKeys;
    settings.insert({"instantReplay", "0"});
    ProgramRun recording({.display = display.Name(), .settings = WithSound(settings)});
    const PipeWatch recordingPipes(recording.Home() / "runtime");
    ASSERT_TRUE(recording.WaitForActivity("Replay stopped.").has_value());
    replaying.Press("ctrl+alt+r");
    ASSERT_TRUE(replaying.WaitForActivity("Recording started.").has_value());
    recording.Press("ctrl+alt+t");
    ASSERT_TRUE(recording.WaitForActivity("Recording started.").has_value());

    Spawned clapper = Clapper();
    ASSERT_EQ(clapper.WaitExit(180), 0);
    ASSERT_TRUE(replaying.WaitForBuffer(replaying.BufferedSeconds() + 2));
    replaying.Press("ctrl+alt+r");
    const auto fromReplay = PathTold(replaying, "Recording saved: ");
    ASSERT_TRUE(fromReplay.has_value());
    replaying.Press("alt+F10");
    const auto clip = PathTold(replaying, "Replay saved: ");
    ASSERT_TRUE(clip.has_value());
    recording.Press("ctrl+alt+t");
    const auto ownCapture = PathTold(recording, "Recording saved: ");
    ASSERT_TRUE(ownCapture.has_value());
    EXPECT_EQ(replaying.End(), 0);
    EXPECT_EQ(recording.End(), 0);

    const auto all = ReadClaps(log);
    ASSERT_EQ(all.size(), std::size_t{claps});
    const double replayGap = GapOfConnections(replayPipes);
    ExpectSoundWithPicture("clip", *clip, all, replayGap);
    ExpectSoundWithPicture("recording from the replay", *fromReplay, all, replayGap);
    ExpectSoundWithPicture("recording with its own capture", *ownCapture, all, GapOfConnections(recordingPipes));
}

}  // namespace
}  // namespace zv
