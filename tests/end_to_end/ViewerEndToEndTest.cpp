// The media viewer of the real program with the real mpv: real clips, real clicks, the pixels of the screen and the
// sound server's monitor.
#include <gmock/gmock.h>
#include <signal.h>

#include <cstring>
#include <filesystem>
#include <iterator>
#include <thread>

#include "support/Eventually.h"
#include "support/FileBytes.h"
#include "support/FrameNumber.h"
#include "support/InterfaceUser.h"
#include "support/MediaProbe.h"
#include "support/PrivateDisplay.h"
#include "support/Processes.h"
#include "support/ProgramRun.h"
#include "support/ServerWatch.h"
#include "support/SoundServer.h"

namespace zv {
namespace {

using namespace support;
namespace fs = std::filesystem;

constexpr char videoName[] = "ZVInternalVideo317";
constexpr Color galleryPanel = Rgb(24, 23, 28);
constexpr Color viewerPanel = Rgb(18, 18, 24);

// Design points of the overlay.
constexpr Point galleryTile{790, 140};
constexpr Point thumbnail{374, 204};
constexpr Point toGallery{101, 88};
constexpr Point playButton{243, 520};
constexpr Point fullscreenButton{887, 520};

/// The rectangle of the video that has these proportions, inside the video window.
Rectangle PictureIn(const Rectangle& window) {
    const int width = window.Height() * 16 / 9;
    const int left = window.left + (window.Width() - width) / 2;
    return {left, window.top, left + width, window.bottom};
}

std::vector<float> SamplesOf(const std::string& bytes) {
    std::vector<float> samples(bytes.size() / sizeof(float));
    std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(float));
    return samples;
}

/// The highest level of 1000 Hz in any half second of a growing file, after so many samples.
double LoudestLevel(const fs::path& file, std::size_t skip) {
    const std::vector<float> samples = SamplesOf(ReadBytes(file));
    double loudest = 0;
    for (auto at = samples.begin() + static_cast<std::ptrdiff_t>(std::min(skip, samples.size()));
         samples.end() - at >= 48000; at += 48000) {
        loudest = std::max(loudest, LevelOf({at, at + 48000}, 0, 1000));
    }
    return loudest;
}

/// A second of what the speakers play.
std::vector<float> Heard() {
    return SamplesOf(OutputOf({"ffmpeg", "-v", "error", "-f", "pulse", "-sample_rate", "48000", "-channels", "2", "-i",
                               "speakers.monitor", "-t", "1", "-f", "f32le", "-"}));
}

std::size_t EntriesOf(pid_t process, const char* list) {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator("/proc/" + std::to_string(process) + "/" + list), {}));
}

/// The ids of all children of a process, zombies included.
std::string ChildrenOf(pid_t process) {
    std::string children;
    for (const auto& task : fs::directory_iterator("/proc/" + std::to_string(process) + "/task")) {
        children += ReadBytes(task.path() / "children");
    }
    return children;
}

class ViewerEndToEnd : public testing::Test {
protected:
    std::unique_ptr<ProgramRun> Start(std::map<std::string, std::string> settings, Variables variables = {}) {
        settings["height"] = "720";
        settings["width"] = "1280";
        return std::make_unique<ProgramRun>(ProgramOptions{
            .display = display_.Name(), .settings = std::move(settings), .variables = std::move(variables)});
    }
    /// A program without replay whose gallery has one clip, of 5 s with a tone.
    std::unique_ptr<ProgramRun> StartWithClip(const Variables& variables = {}) {
        auto run = Start({{"instantReplay", "0"}}, variables);
        EXPECT_TRUE(run->WaitForActivity("Replay stopped.").has_value());
        clip_ = run->CaptureRoot() / "Game" / "clip.mp4";
        fs::create_directories(clip_.parent_path());
        OutputOf({"ffmpeg", "-v", "error", "-f", "lavfi", "-i", "color=0xC04020:s=640x360:r=30:d=5", "-f", "lavfi",
                  "-i", "sine=1000:d=5", "-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p",
                  clip_.string()});
        return run;
    }
    void Click(const Point& at) const {
        user_.Click(overlayName, at.x, at.y);
        user_.MovePointer(1, 719);
    }
    /// Opens the gallery and waits until it lists a capture.
    bool OpenGallery() const {
        if (!user_.OpenOverlay()) {
            return false;
        }
        Click(galleryTile);
        return user_.WaitColor(overlayName, 980, 540, galleryPanel) && Eventually([&] {
                   return user_.ColorOf(overlayName, thumbnail.x - 100, thumbnail.y - 45) != ScreenColor(galleryPanel);
               });
    }
    bool OpenClip() const {
        Click(thumbnail);
        return user_.WaitColor(overlayName, 30, 300, viewerPanel) && user_.WaitShown(videoName);
    }
    bool BackToGallery(const Point& button = toGallery) const {
        Click(button);
        return user_.WaitHidden(videoName) && user_.WaitColor(overlayName, 980, 540, galleryPanel);
    }
    bool WaitButton(const Text& label) const {
        return user_.WaitSays(overlayName, {{181, 502, 305, 538},
                                            label,
                                            color::primaryText,
                                            color::button,
                                            FontRole::Bold,
                                            TextLayout::CentredLine,
                                            {200, 506, 286, 534}});
    }
    bool WaitError(const Text& error) const {
        return user_.WaitSays(overlayName, {{34, 461, 977, 485}, error, color::purple, viewerPanel, FontRole::Small});
    }
    bool WaitClipColor() const {
        return Eventually([&] {
            const Rectangle video = user_.Client(videoName);
            const std::uint32_t pixel = user_.PixelAt((video.left + video.right) / 2, (video.top + video.bottom) / 2);
            return (pixel >> 16U) > 150 && (pixel & 0xFFU) < 80;
        });
    }
    /// The number of the frame that the video window shows.
    std::optional<std::uint32_t> ShownNumber() const {
        const Picture picture = user_.Grab(PictureIn(user_.Client(videoName)));
        std::vector<std::uint8_t> luma;
        for (const std::uint32_t pixel : picture.pixels) {
            luma.push_back(static_cast<std::uint8_t>(pixel >> 8U));
        }
        return ReadFrameNumber(luma, picture.width, picture.height);
    }
    std::uint32_t WaitNumber() const {
        std::optional<std::uint32_t> number;
        EXPECT_TRUE(Eventually([&] { return (number = ShownNumber()).has_value(); })) << "no frame is visible";
        return number.value_or(0);
    }
    bool WaitNumberAfter(std::uint32_t before) const {
        return Eventually([&] { return ShownNumber().value_or(0) > before; });
    }
    /// The number that stays for a second.
    std::optional<std::uint32_t> StandingNumber() const {
        std::optional<std::uint32_t> number;
        Eventually([&] {
            number = ShownNumber();
            std::this_thread::sleep_for(std::chrono::seconds(1));
            return number.has_value() && ShownNumber() == number;
        });
        return number;
    }
    /// The player of this run's clip.
    pid_t Player() const {
        std::vector<pid_t> players;
        Eventually([&] { return (players = ProcessesWith("-- " + clip_.string())).size() == 1; });
        return players.empty() ? -1 : players.front();
    }

    PrivateDisplay display_{"1280x720"};
    InterfaceUser user_{display_.Name()};
    OtherClient game_{display_.Name()};
    xcb_window_t desktop_ = game_.Cover({0, 0, 1280, 720}, 0x205080);  ///< so that the overlay's black is found
    fs::path clip_;
};

/// The frame number of each frame of a clip.
std::vector<std::uint32_t> NumbersOf(const fs::path& clip, const ClipFacts& facts) {
    std::vector<std::uint32_t> numbers;
    DecodeLuma(clip, facts.width, facts.height, [&](std::span<const std::uint8_t> luma) {
        numbers.push_back(ReadFrameNumber(luma, facts.width, facts.height).value_or(0));
    });
    return numbers;
}

/// The length of the longest run of frames without a number. What a capture draws over a window of ours is a moment
/// younger than the rest, so that single frames mix two numbers.
std::ptrdiff_t LongestUnreadable(const std::vector<std::uint32_t>& numbers) {
    std::ptrdiff_t longest = 0;
    for (auto at = numbers.begin(); at != numbers.end();) {
        const auto end = std::find_if(at, numbers.end(), [](std::uint32_t number) { return number != 0; });
        longest = std::max(longest, end - at);
        at = end == numbers.end() ? end : end + 1;
    }
    return longest;
}

TEST_F(ViewerEndToEnd, NightlyPlaysPausesAndSeeksAClipWhileTheReplayGoesOn) {
    SoundServer server;
    ASSERT_TRUE(server.Ready()) << server.Log();
    const Spawned desktop({MovingDesktopPath(), "--fps", "15", "--motion", "small"}, {{"DISPLAY", display_.Name()}},
                          "/dev/null");
    auto tone = std::make_unique<Spawned>(server.PlayTone("speakers", 1000, 0.5F, 1000, 0.5F, 120));
    const auto run = Start({{"gameAudioEnabled", "1"}, {"replaySeconds", "60"}});
    ASSERT_TRUE(run->WaitForBuffer(6));
    run->Press("alt+F10");
    const std::string beginning = "Replay saved: ";
    const auto saved = run->WaitForActivity(beginning);
    ASSERT_TRUE(saved.has_value());
    clip_ = saved->substr(beginning.size());
    tone.reset();
    // Recorded from here on, because the clip may have ended before a test on a busy machine listens.
    const fs::path ear = run->Home() / "ear.raw";
    const Spawned listener({"ffmpeg", "-v", "error", "-f", "pulse", "-sample_rate", "48000", "-channels", "2", "-i",
                            "speakers.monitor", "-flush_packets", "1", "-f", "f32le", ear.string()},
                           {}, "/dev/null");
    const ClipFacts facts = Probe(clip_);
    const std::vector<std::uint32_t> numbers = NumbersOf(clip_, facts);
    ASSERT_GT(numbers.size(), 60U);
    // The speakers may still play the end of the tone.
    std::size_t heard = 0;
    ASSERT_TRUE(Eventually([&] {
        const std::vector<float> samples = SamplesOf(ReadBytes(ear));
        heard = samples.size();
        return heard > 48000 && LevelOf({samples.end() - 48000, samples.end()}, 0, 1000) < 0.001;
    }));

    // It plays.
    ASSERT_TRUE(OpenGallery());
    ASSERT_TRUE(OpenClip());
    const std::uint32_t first = WaitNumber();
    EXPECT_TRUE(WaitNumberAfter(first));
    EXPECT_TRUE(Eventually([&] { return LoudestLevel(ear, heard) > 0.02; }));

    // A click on the video pauses it.
    const Rectangle video = user_.Client(videoName);
    user_.ClickAt((video.left + video.right) / 2, (video.top + video.bottom) / 2);
    EXPECT_TRUE(WaitButton(u"Play"));
    EXPECT_TRUE(StandingNumber().has_value());

    // A click on the bar shows that frame.
    for (const int target : {20, 5}) {
        Click({204 + 24 * target + 12, 473});
        const double frame = target * facts.duration / 31 * 30;
        const auto low = static_cast<std::ptrdiff_t>(std::max(frame - 2, 0.0));
        const auto high =
            std::min(static_cast<std::ptrdiff_t>(frame + 2), static_cast<std::ptrdiff_t>(numbers.size()) - 1);
        EXPECT_TRUE(Eventually([&] {
            const auto shown = ShownNumber();
            return shown &&
                   std::find(numbers.begin() + low, numbers.begin() + high + 1, *shown) != numbers.begin() + high + 1;
        })) << "target "
            << target << ": " << ShownNumber().value_or(0) << ", expected that of the frames " << low << " to " << high;
    }

    // It plays on, and hiding the overlay ends the sound.
    const auto standing = StandingNumber();
    ASSERT_TRUE(standing.has_value());
    Click(playButton);
    EXPECT_TRUE(WaitNumberAfter(*standing));
    ASSERT_TRUE(user_.CloseOverlay());
    EXPECT_TRUE(user_.WaitHidden(videoName));
    EXPECT_TRUE(Eventually([] { return MedianLevel(Heard(), 0, 1000) < 0.001; }));
    ASSERT_TRUE(user_.OpenOverlay());
    ASSERT_TRUE(user_.WaitShown(videoName));
    EXPECT_TRUE(WaitButton(u"Play")) << "it went on by itself";

    // Back to the gallery: the player has ended, and what was captured meanwhile shows neither overlay nor video.
    EXPECT_EQ(user_.Focus(), static_cast<xcb_window_t>(XCB_INPUT_FOCUS_POINTER_ROOT));
    EXPECT_TRUE(BackToGallery());
    EXPECT_TRUE(Eventually([&] { return ProcessesWith("-- " + clip_.string()).empty(); }));
    EXPECT_EQ(run->FfmpegChildren().size(), 1U);
    const std::size_t rows = run->Activity().size();
    run->Press("alt+F10");
    const auto second = run->WaitForActivity(beginning, rows);
    ASSERT_TRUE(second.has_value());
    const std::vector<std::uint32_t> later = NumbersOf(second->substr(beginning.size()), facts);
    EXPECT_GT(later.size(), numbers.size());
    EXPECT_LT(LongestUnreadable(later), 30) << "frames show the overlay or the video";
    EXPECT_EQ(run->End(), 0);
}

TEST_F(ViewerEndToEnd, TheVideoCoversTheBlackRectangleAndTakesNoFocus) {
    const auto run = StartWithClip();
    game_.SetFocus(desktop_);
    ASSERT_TRUE(OpenGallery());
    ASSERT_TRUE(OpenClip());
    EXPECT_TRUE(WaitClipColor());
    // 1280 / 1010 = 1.26732...; the overlay is 1280 by 719.
    const Rectangle overlay = user_.Client(overlayName);
    const double scale = user_.Scale(overlayName);
    const auto scaled = [&](int left, int top, int right, int bottom) {
        return Rectangle{overlay.left + static_cast<int>(left * scale), overlay.top + static_cast<int>(top * scale),
                         overlay.left + static_cast<int>(right * scale),
                         overlay.top + static_cast<int>(bottom * scale)};
    };
    EXPECT_EQ(user_.Client(videoName), scaled(150, 126, 860, 446));
    Click(fullscreenButton);
    EXPECT_TRUE(Eventually([&] { return user_.Client(videoName) == scaled(22, 65, 988, 459); }));
    EXPECT_TRUE(WaitClipColor());
    EXPECT_EQ(user_.Focus(), desktop_);
    // Nothing of the page's black remains beside the video.
    const Rectangle video = user_.Client(videoName);
    EXPECT_EQ(user_.PixelAt(video.left - 1, video.top + 50), ScreenColor(viewerPanel));
    EXPECT_EQ(user_.PixelAt(video.right, video.top + 50), ScreenColor(viewerPanel));
    EXPECT_EQ(user_.PixelAt(video.left + 50, video.top - 1), ScreenColor(viewerPanel));
    EXPECT_EQ(user_.PixelAt(video.left + 50, video.bottom), ScreenColor(viewerPanel));
    // A key goes to the game, a click to the video.
    game_.Events(XCB_KEY_PRESS);
    user_.TapKey(XK_w);
    EXPECT_TRUE(Eventually([&] { return game_.Events(XCB_KEY_PRESS) == 1; }));
    user_.ClickAt(video.left + 100, video.top + 100);
    EXPECT_TRUE(WaitButton(u"Play"));
    EXPECT_EQ(user_.Focus(), desktop_);
    EXPECT_EQ(run->End(), 0);
}

TEST_F(ViewerEndToEnd, SaysWhyAFileCannotBePlayed) {
    const auto run = StartWithClip();
    ASSERT_TRUE(OpenGallery());
    fs::rename(clip_, clip_.string() + ".away");
    Click(thumbnail);
    EXPECT_TRUE(
        WaitError(u"Windows cannot play this file (0x80070002). Check that the file is complete and its codec"
                  u" is installed."));
    ASSERT_TRUE(BackToGallery());
    WriteBytes(clip_, "no video");
    Click(thumbnail);
    EXPECT_TRUE(
        WaitError(u"Windows cannot play this file (0x80070008). Check that the file is complete and its codec"
                  u" is installed."));
    // A playlist is no video, whatever its name.
    ASSERT_TRUE(BackToGallery());
    WriteBytes(clip_, "#EXTM3U\n" + clip_.string() + ".away\n");
    Click(thumbnail);
    EXPECT_TRUE(
        WaitError(u"Windows cannot play this file (0x80070008). Check that the file is complete and its codec"
                  u" is installed."));
    // The file is back.
    ASSERT_TRUE(BackToGallery());
    fs::rename(clip_.string() + ".away", clip_);
    ASSERT_TRUE(OpenClip());
    EXPECT_TRUE(WaitClipColor());
    EXPECT_EQ(run->End(), 0);
    EXPECT_TRUE(ProcessesWith("-- " + clip_.string()).empty()) << "the player outlived the program";
}

TEST_F(ViewerEndToEnd, WithoutMpvItSaysSo) {
    const auto run = StartWithClip({{"PATH", "/nonexistent"}, {"ZV_FFMPEG", "/usr/bin/ffmpeg"}});
    ASSERT_TRUE(OpenGallery());
    Click(thumbnail);
    EXPECT_TRUE(WaitError(u"The Windows media player component could not open this file."));
    EXPECT_EQ(run->End(), 0);
}

TEST_F(ViewerEndToEnd, APlayerThatDiesCostsTheVideoAlone) {
    const auto run = StartWithClip();
    ASSERT_TRUE(OpenGallery());
    const Text error =
        u"Windows cannot play this file (0x80070020). Check that the file is complete and its codec is installed.";
    for (const char* step : {"starting", "playing", "paused", "seeking"}) {
        ASSERT_TRUE(OpenClip()) << step;
        const std::string name = step;
        if (name != "starting") {
            ASSERT_TRUE(WaitClipColor()) << step;
        }
        if (name == "paused") {
            Click(playButton);
            ASSERT_TRUE(WaitButton(u"Play"));
        } else if (name == "seeking") {
            Click({204 + 24 * 16, 473});
        }
        ASSERT_EQ(kill(Player(), SIGKILL), 0) << step;
        EXPECT_TRUE(WaitError(error)) << step;
        Click(playButton);
        ASSERT_TRUE(BackToGallery());
    }
    EXPECT_EQ(run->End(), 0);
}

// These take longer.

TEST_F(ViewerEndToEnd, NightlyAPlayerThatHangsIsReportedAndKilled) {
    const auto run = StartWithClip();
    ASSERT_TRUE(OpenGallery());
    for (const bool playing : {false, true}) {
        ASSERT_TRUE(OpenClip());
        if (playing) {
            ASSERT_TRUE(WaitClipColor());
        }
        const pid_t player = Player();
        ASSERT_EQ(kill(player, SIGSTOP), 0);
        // The program still responds at once.
        Click(playButton);
        Click(fullscreenButton);
        EXPECT_TRUE(user_.WaitColor(overlayName, 30, 80, color::black));
        EXPECT_TRUE(
            WaitError(u"Windows cannot play this file (0x8007006E). Check that the file is complete and its codec is"
                      u" installed."));
        EXPECT_TRUE(Eventually([&] { return ProcessesWith("-- " + clip_.string()).empty(); }));
        ASSERT_TRUE(BackToGallery({98, 520}));  // the button of the full screen
    }
    EXPECT_EQ(run->End(), 0);
}

TEST_F(ViewerEndToEnd, NightlyAFileThatIsCutAndASoundServerThatDiesAreSurvived) {
    SoundServer server;
    ASSERT_TRUE(server.Ready()) << server.Log();
    const auto run = StartWithClip();
    ASSERT_TRUE(OpenGallery());
    ASSERT_TRUE(OpenClip());
    ASSERT_TRUE(WaitClipColor());
    EXPECT_TRUE(Eventually([] { return MedianLevel(Heard(), 0, 1000) > 0.001; }));
    server.Server().Send(SIGKILL);
    // It can be played to its end.
    Click({204 + 24 * 30, 473});
    EXPECT_TRUE(WaitButton(u"Play"));
    ASSERT_TRUE(BackToGallery());
    ASSERT_TRUE(OpenClip());
    EXPECT_TRUE(WaitClipColor()) << "without a sound server";
    fs::resize_file(clip_, fs::file_size(clip_) / 2);
    Click({204 + 24 * 30, 473});
    EXPECT_TRUE(BackToGallery());
    EXPECT_EQ(run->End(), 0);
}

TEST_F(ViewerEndToEnd, NightlyAHundredOpeningsLeaveNothingBehind) {
    const auto run = StartWithClip();
    ASSERT_TRUE(OpenGallery());
    const pid_t program = run->Process().Pid();
    const xcb_window_t overlay = user_.WindowOf(overlayName);
    std::size_t files = 0;
    std::size_t threads = 0;
    std::uint32_t resources = 0;
    for (int i = 0; i < 100 && !HasFailure(); ++i) {
        ASSERT_TRUE(OpenClip());
        ASSERT_TRUE(WaitClipColor());
        ASSERT_TRUE(BackToGallery());
        ASSERT_TRUE(Eventually([&] { return ProcessesWith("-- " + clip_.string()).empty(); }));
        if (i == 5) {
            files = EntriesOf(program, "fd");
            threads = EntriesOf(program, "task");
            resources = ResourcesOf(user_.Get(), overlay);
        }
    }
    EXPECT_LE(EntriesOf(program, "fd"), files);
    EXPECT_LE(EntriesOf(program, "task"), threads);
    EXPECT_LE(ResourcesOf(user_.Get(), overlay), resources);
    EXPECT_TRUE(Eventually([&] { return ChildrenOf(program).empty(); })) << "a child that nobody reaps";
    EXPECT_EQ(run->End(), 0);
}

}  // namespace
}  // namespace zv
