// The media player over mpv: what its lines mean, and how a child is started, asked, lost and ended. A script replaces
// mpv; the clock is fake. ViewerEndToEndTest plays real files with the real mpv.
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>

#include "core/Utf8.h"
#include "fake/Clock.h"
#include "platform/Environment.h"
#include "platform/Files.h"
#include "platform/linux/mpv/MpvPlayer.h"
#include "platform/linux/mpv/MpvState.h"
#include "support/Eventually.h"
#include "support/FileBytes.h"
#include "support/Processes.h"
#include "support/TemporaryFolder.h"

namespace zv::mpv {
namespace {

using namespace support;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(JsonMember, FindsAMemberAtTheTopLevelAlone) {
    struct Row {
        const char* object;
        const char* value;
    };
    for (const Row& row : {
             Row{R"({"a":1})", "1"},
             Row{R"( { "b" : 2 , "a" : 1.5e3 } )", "1.5e3"},
             Row{R"({"b":{"a":2},"a":1})", "1"},
             Row{R"({"b":[{"a":2},"}"],"a":"x,y}"})", "x,y}"},
             Row{R"({"b":"\"a\":3,","a":null})", "null"},
             Row{R"({"b":"a","c":1})", ""},
             Row{R"({"a":""})", ""},
             Row{R"([{"a":1}])", ""},
             Row{"", ""},
             Row{"{", ""},
             Row{R"({"a)", ""},
             Row{R"({"a")", ""},
             Row{R"({"a":)", ""},
             Row{R"({"a":"x)", "\"x"},
             Row{R"({"b":"\)", ""},
             Row{R"({1:2,"a":3})", ""},
             Row{"not json", ""},
         }) {
        EXPECT_EQ(JsonMember(row.object, "a"), row.value) << row.object;
    }
}

TEST(MpvStateTest, KeepsThePropertiesThatMpvReports) {
    MpvState state;
    EXPECT_FALSE(ApplyLine(state, R"({"event":"property-change","id":1,"name":"time-pos","data":1.25})").changed);
    EXPECT_EQ(state.position, 12'500'000);
    ApplyLine(state, R"({"event":"property-change","id":1,"name":"time-pos"})");
    EXPECT_EQ(state.position, 12'500'000);
    for (const char* line :
         {R"({"event":"property-change","id":1,"name":"duration","data":10.016667})",
          R"({"event":"property-change","id":1,"name":"pause","data":true})",
          R"({"event":"property-change","id":1,"name":"eof-reached","data":true})",
          R"({"event":"property-change","id":1,"name":"seekable","data":false})", R"({"event":"file-loaded"})"}) {
        EXPECT_TRUE(ApplyLine(state, line).changed) << line;
        EXPECT_FALSE(ApplyLine(state, line).changed) << "twice: " << line;
    }
    EXPECT_EQ(state.duration, 100'166'670);
    EXPECT_TRUE(state.paused && state.ended && !state.seekable && state.loaded);
    for (const char* number : {"-3", "\"nan\"", "1e999", "x"}) {
        ApplyLine(state, std::string(R"({"event":"property-change","name":"duration","data":)") + number + "}");
        EXPECT_EQ(state.duration, 0) << number;
    }
    ApplyLine(state, R"({"event":"property-change","name":"duration","data":1e300})");
    EXPECT_EQ(state.duration, 10'000'000'000'000'000);
}

TEST(MpvStateTest, ShowsTheTargetOfASeekUntilMpvHasReachedIt) {
    const char* time = R"({"event":"property-change","name":"time-pos","data":2})";
    MpvState state;
    state.seeking = true;
    state.position = 7;
    ApplyLine(state, time);
    EXPECT_EQ(state.position, 7);
    EXPECT_TRUE(ApplyLine(state, R"({"event":"playback-restart"})").changed);
    ApplyLine(state, time);
    EXPECT_EQ(state.position, 20'000'000);
    state.seeking = true;
    ApplyLine(state, R"({"data":null,"request_id":2,"error":"success"})");
    EXPECT_TRUE(state.seeking);
    ApplyLine(state, R"({"request_id":2,"error":"error running command"})");
    EXPECT_FALSE(state.seeking);
}

TEST(MpvStateTest, HasACodeForEachReasonWhyAFileEnds) {
    struct Row {
        const char* reason;
        std::uint32_t code;
    };
    for (const Row& row :
         {Row{"unrecognized file format", 0x80070008U}, Row{"no audio or video data played", 0x80070008U},
          Row{"video output initialization failed", 0x80070013U}, Row{"loading failed", 0x80070005U},
          Row{"", 0x80070005U}}) {
        MpvState state{.loaded = true};
        const MpvReport report = ApplyLine(
            state, std::string(R"({"event":"end-file","reason":"error","file_error":")") + row.reason + "\"}");
        EXPECT_EQ(CodeOf(report.failure), row.code) << row.reason;
        EXPECT_FALSE(state.loaded);
    }
}

TEST(MpvStateTest, IgnoresWhatItDoesNotUnderstand) {
    for (const char* line :
         {"", "{}", "text", R"({"event":"idle"})", R"({"event":"property-change","name":"x","data":1})",
          R"({"request_id":0,"error":"success"})"}) {
        MpvState state{.loaded = true, .position = 5, .duration = 9};
        const MpvReport report = ApplyLine(state, line);
        EXPECT_FALSE(report.changed || report.signOfLife || Failed(report.failure)) << line;
        EXPECT_TRUE(state.loaded && state.position == 5 && state.duration == 9);
    }
}

/// A program named mpv that records its arguments and requests, and sends the lines that the test writes.
class MpvPlayer : public testing::Test {
protected:
    MpvPlayer() {
        fake::ResetClock();
        fake::TheClock().nowNs = 100'000'000'000;
        mkfifo(Path("events").c_str(), 0600);
        Install("printf '%s\\n' \"$@\" > arguments\ncat events >&3 &\ncat <&3 > requests\n");
        SetEnvironmentValue(u"PATH", FromPath(folder_.Path()) + u":" + path_);
        WriteBytes(file_, "video");
    }
    ~MpvPlayer() override {
        player_.reset();
        SetEnvironmentValue(u"PATH", path_);
    }

    std::filesystem::path Path(const std::string& name) const { return folder_.Path() / name; }
    void Install(const std::string& body) const {
        WriteBytes(Path("mpv"), "#!/bin/sh\ncd '" + folder_.Path().string() + "'\n" + body);
        chmod(Path("mpv").c_str(), 0700);
    }
    bool Open(const std::filesystem::path& file) {
        player_ = Player::Open(FromPath(file), 4711, [this](Result result) { results_.push_back(result); });
        return player_ != nullptr;
    }
    bool Open() { return Open(file_); }
    /// Sends lines in place of mpv.
    void Say(const std::string& lines) {
        if (!events_.Held()) {
            events_ = Descriptor(open(Path("events").c_str(), O_WRONLY | O_CLOEXEC));
        }
        ASSERT_EQ(write(events_.Get(), lines.data(), lines.size()), static_cast<ssize_t>(lines.size()));
    }
    /// Lets the player read until the condition holds.
    bool Wait(const std::function<bool()>& condition) {
        return Eventually([&] {
            DispatchPlayers();
            return condition();
        });
    }
    bool WaitRequest(const std::string& part) const {
        return Eventually([&] { return ReadBytes(Path("requests")).find(part) != std::string::npos; });
    }
    std::vector<std::string> ArgumentLines() const {
        std::vector<std::string> lines;
        std::istringstream text(ReadBytes(Path("arguments")));
        for (std::string line; std::getline(text, line);) {
            lines.push_back(line);
        }
        return lines;
    }
    /// Returns true if a process of this test's folder runs.
    bool AnyProcess() const { return !ProcessesWith(Path("mpv").string()).empty(); }
    void Load(double duration = 60) {
        Say(R"({"event":"property-change","name":"duration","data":)" + std::to_string(duration) +
            "}\n{\"event\":\"file-loaded\"}\n");
        ASSERT_TRUE(Wait([&] { return player_->IsLoaded(); }));
    }

    TemporaryFolder folder_{"zorvel-mpv"};
    Text path_ = EnvironmentValue(u"PATH");
    std::filesystem::path file_ = Path("clip.mp4");
    std::vector<Result> results_;
    std::unique_ptr<Player> player_;
    Descriptor events_;
};

TEST_F(MpvPlayer, GivesMpvTheWindowTheFileAndNothingOfTheUser) {
    ASSERT_TRUE(Open());
    ASSERT_TRUE(WaitRequest("observe_property"));
    const std::vector<std::string> arguments = ArgumentLines();
    EXPECT_THAT(arguments, Contains("--no-config"));
    EXPECT_THAT(arguments, Contains("--wid=4711"));
    EXPECT_THAT(arguments, Contains("--input-ipc-client=fd://3"));
    ASSERT_GE(arguments.size(), 2U);
    EXPECT_EQ(arguments[arguments.size() - 2], "--");
    EXPECT_EQ(arguments.back(), file_.string());
    EXPECT_TRUE(WaitRequest("\"time-pos\""));
    EXPECT_TRUE(WaitRequest("\"eof-reached\""));
}

TEST_F(MpvPlayer, OpensEveryNameAsALocalFile) {
    // The last one is no UTF-8.
    for (const char* name : {"-vo=null.mp4", "http:x.mp4", "a\"b\\c $(d) %d.mp4", "\xC3\x28.mp4"}) {
        std::filesystem::remove(Path("arguments"));
        std::filesystem::remove(Path("requests"));
        ASSERT_TRUE(Open(Path(name)));
        ASSERT_TRUE(WaitRequest("observe_property"));
        EXPECT_EQ(ArgumentLines().back(), Path(name).string());
    }
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder_.Path());
    std::filesystem::remove(Path("requests"));
    ASSERT_TRUE(Open("-relative.mp4"));
    std::filesystem::current_path(before);
    ASSERT_TRUE(WaitRequest("observe_property"));
    EXPECT_EQ(ArgumentLines().back(), Path("-relative.mp4").string());
}

TEST_F(MpvPlayer, IsNullWithoutMpv) {
    SetEnvironmentValue(u"PATH", u"/nonexistent");
    EXPECT_FALSE(Open());
    EXPECT_THAT(results_, IsEmpty());
}

TEST_F(MpvPlayer, SendsRequestsAndShowsTheirEffectAtOnce) {
    ASSERT_TRUE(Open());
    EXPECT_FALSE(player_->IsPlaying());
    EXPECT_TRUE(player_->Seek(0)) << "before the file is loaded";
    Load();
    EXPECT_TRUE(player_->IsPlaying());
    EXPECT_EQ(player_->Duration(), 600'000'000);
    player_->SetVolume(0.6F);
    EXPECT_TRUE(WaitRequest(R"("volume",60.000002)"));
    player_->Pause(true);
    EXPECT_FALSE(player_->IsPlaying());
    EXPECT_TRUE(WaitRequest(R"({"command":["set_property","pause",true]})"));
    EXPECT_TRUE(player_->Seek(123'456'789));
    EXPECT_EQ(player_->Position(), 123'456'789);
    EXPECT_TRUE(WaitRequest(R"({"command":["seek",12.345679,"absolute+exact"],"request_id":2})"));
    player_->Pause(false);
    EXPECT_TRUE(player_->IsPlaying());
    EXPECT_TRUE(WaitRequest(R"({"command":["set_property","pause",false]})"));
    Say("{\"event\":\"playback-restart\"}\n{\"event\":\"property-change\",\"name\":\"time-pos\",\"data\":61}\n");
    EXPECT_TRUE(Wait([&] { return player_->Position() == 600'000'000; })) << "never past the end";
    Say("{\"event\":\"property-change\",\"name\":\"time-pos\",\"data\":59}\n"
        "{\"event\":\"property-change\",\"name\":\"eof-reached\",\"data\":true}\n");
    EXPECT_TRUE(Wait([&] { return !player_->IsPlaying(); }));
    EXPECT_EQ(player_->Position(), 600'000'000) << "the last frame is the end";
    EXPECT_TRUE(player_->Seek(0));
    EXPECT_EQ(player_->Position(), 0);
    Say("{\"event\":\"property-change\",\"name\":\"seekable\",\"data\":false}\n");
    EXPECT_TRUE(Wait([&] { return !player_->Seek(1); }));
    EXPECT_EQ(ReadBytes(Path("requests")).find("seek\",0.0000001"), std::string::npos);
}

TEST_F(MpvPlayer, NotifiesOfChangesButNotOfEachFrame) {
    ASSERT_TRUE(Open());
    Load();
    results_.clear();
    Say("{\"event\":\"property-change\",\"name\":\"time-pos\",\"data\":2}\n");
    ASSERT_TRUE(Wait([&] { return player_->Position() == 20'000'000; }));
    EXPECT_THAT(results_, IsEmpty());
    Say("{\"event\":\"property-change\",\"name\":\"pause\",\"data\":true}\n");
    ASSERT_TRUE(Wait([&] { return !results_.empty(); }));
    EXPECT_THAT(results_, ElementsAre(resultOk));
}

TEST_F(MpvPlayer, TheMessageLoopWaitsForItsSocket) {
    std::vector<pollfd> sources;
    AddPlayerDescriptors(sources);
    EXPECT_THAT(sources.size(), 0U);
    ASSERT_TRUE(Open());
    AddPlayerDescriptors(sources);
    ASSERT_EQ(sources.size(), 1U);
    EXPECT_EQ(poll(sources.data(), 1, 0), 0);
    Say("{}\n");
    EXPECT_EQ(poll(sources.data(), 1, generousMs), 1);
    player_.reset();
    sources.clear();
    AddPlayerDescriptors(sources);
    EXPECT_THAT(sources.size(), 0U);
}

TEST_F(MpvPlayer, ReportsOnceThatMpvHasEnded) {
    Install("exit 1\n");
    ASSERT_TRUE(Open());
    ASSERT_TRUE(Wait([&] { return !results_.empty(); }));
    EXPECT_THAT(results_, ElementsAre(ResultOf(0x80070020U)));  // EPIPE
    EXPECT_FALSE(player_->IsPlaying());
    player_->Pause(true);
    player_->Pause(false);
    player_->SetVolume(1);
    EXPECT_FALSE(player_->Seek(0));
    DispatchPlayers();
    EXPECT_EQ(results_.size(), 1U);
}

TEST_F(MpvPlayer, ReportsAFileThatCannotBePlayedAndEndsMpv) {
    ASSERT_TRUE(Open());
    Say("{\"event\":\"end-file\",\"reason\":\"error\",\"file_error\":\"unrecognized file format\"}\n");
    ASSERT_TRUE(Wait([&] { return !results_.empty(); }));
    EXPECT_THAT(results_, ElementsAre(ResultOf(0x80070008U)));
    EXPECT_TRUE(Eventually([&] { return !AnyProcess(); }));
    // A missing file has its own code.
    events_.Reset();
    results_.clear();
    ASSERT_TRUE(Open(Path("gone.mp4")));
    Say("{\"event\":\"end-file\",\"reason\":\"error\",\"file_error\":\"loading failed\"}\n");
    ASSERT_TRUE(Wait([&] { return !results_.empty(); }));
    EXPECT_EQ(results_.back(), ResultOf(0x80070002U));
}

TEST_F(MpvPlayer, AChildThatAnswersNothingForTenSecondsCountsAsHung) {
    ASSERT_TRUE(Open());
    Load();
    results_.clear();
    constexpr std::int64_t second = 1'000'000'000;
    EXPECT_TRUE(player_->IsPlaying());
    ASSERT_TRUE(WaitRequest(R"({"command":["get_property","pid"],"request_id":1})"));
    fake::TheClock().nowNs += 9 * second;
    EXPECT_TRUE(player_->IsPlaying());
    Say("{\"data\":1,\"request_id\":1,\"error\":\"success\"}\n{\"event\":\"property-change\",\"name\":\"time-pos\","
        "\"data\":5}\n");
    ASSERT_TRUE(Wait([&] { return player_->Position() == 50'000'000; }));
    fake::TheClock().nowNs += 2 * second;
    EXPECT_TRUE(player_->IsPlaying()) << "asks again";
    fake::TheClock().nowNs += 10 * second;
    EXPECT_TRUE(player_->IsPlaying());
    fake::TheClock().nowNs += second;
    EXPECT_FALSE(player_->IsPlaying());
    EXPECT_THAT(results_, ElementsAre(ResultOf(0x8007006EU)));  // ETIMEDOUT
    EXPECT_TRUE(Eventually([&] { return !AnyProcess(); }));
}

TEST_F(MpvPlayer, AnAnswerThatWasNotReadYetCounts) {
    ASSERT_TRUE(Open());
    Load();
    player_->IsPlaying();
    Say("{\"request_id\":1,\"error\":\"success\"}\n");
    pollfd source{player_->Socket(), POLLIN, 0};
    ASSERT_EQ(poll(&source, 1, generousMs), 1);
    fake::TheClock().nowNs += 60'000'000'000;  // this process was stopped, not mpv
    EXPECT_TRUE(player_->IsPlaying());
}

TEST_F(MpvPlayer, SurvivesAFloodAndALineWithoutEnd) {
    Install(
        "yes '{\"event\":\"property-change\",\"name\":\"time-pos\",\"data\":1}' | head -c 3000000 >&3\n"
        "head -c 3000000 /dev/zero >&3\nprintf '\\n{\"event\":\"file-loaded\"}\\n' >&3\ncat <&3\n");
    ASSERT_TRUE(Open());
    EXPECT_TRUE(Wait([&] { return player_->IsLoaded(); }));
}

TEST_F(MpvPlayer, NeverWaitsForAStoppedChild) {
    Install("kill -STOP $$\n");
    ASSERT_TRUE(Open());
    for (int i = 0; i < 100'000; ++i) {
        player_->Pause(false);  // more than the socket holds
    }
    DispatchPlayers();
    EXPECT_THAT(results_, IsEmpty());
    player_.reset();
    EXPECT_TRUE(Eventually([&] { return !AnyProcess(); }));
}

}  // namespace
}  // namespace zv::mpv
