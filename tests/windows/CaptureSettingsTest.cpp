// Capture settings of the program as it ships, changed by clicks while the replay runs: the command line of the next
// FFmpeg, and the streams of the files saved afterwards.
#include <gmock/gmock.h>

#include <sstream>

#include "core/ReadSharedFile.h"
#include "platform/Environment.h"
#include "windows/FileSound.h"
#include "windows/ProgramInterface.h"

namespace zv::windows {
namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// Positions on the overlay.
constexpr Point microphoneButton{747, 200};
constexpr Point speakersButton{789, 200};
constexpr Point replayTile{385, 150};
constexpr Point saveButton{423, 291};
constexpr Point replayButton{606, 291};

class CaptureSettings : public ProgramInterface {
protected:
    void SetUp() override {
        ProgramInterface::SetUp();
        SetEnvironmentValue(u"ZV_TEST_COMMANDS", FromPath(folder_.Path() / "commands"));
        Script("set images 30");
        InstallSound();
    }

    /// The command lines of all captures started so far.
    std::vector<std::string> Captures() const {
        std::vector<std::string> captures;
        std::istringstream lines(ReadSharedFile(FromPath(folder_.Path() / "commands"), 0x100000));
        for (std::string line; std::getline(lines, line);) {
            if (line.find("live.m3u8") != std::string::npos) {
                captures.push_back(line);
            }
        }
        return captures;
    }

    /// Clicks until the settings file has the setting, waits until a new capture has replaced the running one, and
    /// returns the new capture's command line.
    std::string Switch(Point at, const std::string& setting) {
        const std::vector<DWORD> before = ProcessesNamed(L"ffmpeg.exe");
        const std::size_t captures = Captures().size();
        EXPECT_TRUE(ClickUntil(OnOverlay(at.x, at.y), [&] { return HasSetting(setting); })) << setting;
        EXPECT_TRUE(Eventually([&] { return Captures().size() > captures; })) << setting;
        EXPECT_TRUE(Eventually([&] {
            const std::vector<DWORD> now = ProcessesNamed(L"ffmpeg.exe");
            return std::none_of(before.begin(), before.end(),
                                [&](DWORD id) { return std::find(now.begin(), now.end(), id) != now.end(); });
        })) << "the capture before it runs on";
        EXPECT_EQ(Captures().size(), captures + 1);
        return Captures().back();
    }

    /// Waits until the program has buffered 3 segments and saves from the open popover.
    std::filesystem::path Save() {
        EXPECT_TRUE(Eventually([this] { return ListedSegments() >= 3; }));
        const std::size_t before = Activity().size();
        const auto saved = [&] {
            const std::vector<std::string> texts = Activity();
            return texts.size() > before && texts.back().starts_with(words);
        };
        EXPECT_TRUE(ClickUntil(OnOverlay(saveButton.x, saveButton.y), saved)) << testing::PrintToString(Activity());
        return Activity().back().substr(std::string(words).size());
    }

    std::string StreamsOf(const std::filesystem::path& file) {
        return RunShell(folder_.Path(), "ffprobe -v error -show_entries stream=codec_type -of csv=p=0 \"$1\"", {file});
    }

    void ExpectLevels(const std::filesystem::path& file, double speakers, double microphone) {
        const std::vector<float> sound = SoundOf(folder_.Path(), file);
        EXPECT_NEAR(MedianLevel(sound, 0, speakersHz), speakers, 0.05) << file;
        EXPECT_NEAR(MedianLevel(sound, 0, microphoneHz), microphone, 0.05) << file;
    }

    static constexpr const char* words = "Replay saved: ";
};

const auto withSound =
    AllOf(ContainsRegex("-f f32le .*ZVReelsAudio-.* -map 1:a:0 .* -c:a aac "), Not(HasSubstr(" -an ")));
const auto withoutSound = AllOf(HasSubstr(" -map 0:v:0 -an "), Not(HasSubstr("f32le")));

TEST_F(CaptureSettings, SwitchesSoundByClicksWhileTheReplayRuns) {
    ASSERT_TRUE(Start());
    ASSERT_EQ(Captures().size(), 1U);
    EXPECT_THAT(Captures()[0], withoutSound);
    const Game game;
    OpenOverlay();
    Click(OnOverlay(replayTile.x, replayTile.y));
    const std::filesystem::path silent = Save();
    EXPECT_EQ(StreamsOf(silent), "video\n");

    EXPECT_THAT(Switch(speakersButton, "gameAudioEnabled=1"), withSound);
    EXPECT_THAT(Switch(microphoneButton, "micEnabled=1"), withSound);
    const std::filesystem::path both = Save();
    EXPECT_EQ(StreamsOf(both), "video\naudio\n");
    ExpectLevels(both, 0.5, 0.25);

    EXPECT_THAT(Switch(speakersButton, "gameAudioEnabled=0"), withSound);
    ExpectLevels(Save(), 0, 0.25);
    EXPECT_THAT(Switch(microphoneButton, "micEnabled=0"), withoutSound);
    EXPECT_EQ(GetForegroundWindow(), game.Window());
    EXPECT_TRUE(EndProgram());
    EXPECT_THAT(ReportLines(Report(), "complaint: "), IsEmpty());
}

TEST_F(CaptureSettings, SwitchesTheReplayOffAndOnByClicks) {
    Setting("gameAudioEnabled=1");
    ASSERT_TRUE(Start());
    const Game game;
    OpenOverlay();
    Click(OnOverlay(replayTile.x, replayTile.y));
    EXPECT_TRUE(
        ClickUntil(OnOverlay(replayButton.x, replayButton.y), [this] { return HasSetting("instantReplay=0"); }));
    EXPECT_TRUE(EventuallyLogs("Replay stopped."));
    EXPECT_TRUE(ProcessesNamed(L"ffmpeg.exe").empty());
    EXPECT_EQ(ListedSegments(), 0U) << "the buffered segments were dropped";
    EXPECT_EQ(Captures().size(), 1U);

    EXPECT_THAT(Switch(replayButton, "instantReplay=1"), withSound);
    ExpectLevels(Save(), 0.5, 0);
    EXPECT_TRUE(EndProgram());
    EXPECT_THAT(ReportLines(Report(), "complaint: "), IsEmpty());
}

}  // namespace
}  // namespace zv::windows
