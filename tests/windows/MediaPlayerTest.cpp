// The media player over a double of the system's, which judges every call.
#include "platform/MediaPlayer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <mutex>
#include <stdexcept>
#include <vector>

#include "platform/Environment.h"
#include "platform/Files.h"
#include "platform/Session.h"
#include "platform/Window.h"
#include "support/FileBytes.h"
#include "windows/DriverScene.h"
#include "windows/ObjectCounts.h"
#include "windows/ProgramInterface.h"

namespace zv::windows {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr COLORREF videoColor = RGB(20, 120, 200);
constexpr std::int64_t second = 10'000'000;

class Player : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(OpenSession());
        SetEnvironmentValue(u"ZV_TEST_REPORT", FromPath(Report()));
        SetEnvironmentValue(u"ZV_TEST_SCRIPT", FromPath(folder_.Path() / "script"));
        support::WriteBytes(Video(), "a video");
        WindowOptions options;
        options.className = u"ZVInternalVideo317";
        options.frame = WindowFrame::Bare;
        options.left = 300;
        options.top = 200;
        options.width = 160;
        options.height = 90;
        options.visible = true;
        options.topmost = true;
        options.noActivate = true;
        options.procedure = [](AppWindow& window, std::uint32_t code, std::uintptr_t wParam, std::intptr_t lParam) {
            return DefaultProcedure(window, code, wParam, lParam);
        };
        window_ = MakeWindow(options);
        ASSERT_TRUE(window_);
        Script("");
    }
    void TearDown() override {
        player_.reset();
        window_.reset();
        EXPECT_THAT(ReportLines(Report(), "complaint: "), IsEmpty());
    }

    std::filesystem::path Report() const { return folder_.Path() / "report"; }
    std::filesystem::path Video() const { return folder_.Path() / "video.mp4"; }

    /// Calls are counted from 1 again when the next file is opened.
    void Script(const std::string& text) const {
        std::ofstream(folder_.Path() / "script") << text << "\nset run " << ++runs << "\n";
    }

    bool Open() {
        player_ = OpenMediaPlayer(FromPath(Video()), *window_, [this](Result result) {
            const std::lock_guard guard(mutex_);
            results_.push_back(CodeOf(result));
            threads_.push_back(GetCurrentThreadId());
        });
        return player_ != nullptr;
    }
    bool OpenAndPlay() {
        return Open() && Eventually([this] { return MediaState(*player_) == PlayerState::Playing; });
    }

    /// Dispatches messages until `condition` holds.
    template <class Condition>
    static bool Eventually(Condition condition) {
        return support::Eventually([&] {
            MSG message;
            while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
                DispatchMessageW(&message);
            }
            return condition();
        });
    }

    std::vector<std::uint32_t> Results() {
        const std::lock_guard guard(mutex_);
        return results_;
    }
    bool EventuallyReports(std::uint32_t code) {
        return Eventually([&] { return testing::Value(Results(), Contains(code)); });
    }

    static inline int runs = 0;
    support::TemporaryFolder folder_;
    std::mutex mutex_;
    std::vector<std::uint32_t> results_;
    std::vector<DWORD> threads_;
    Owned<AppWindow> window_;
    Owned<MediaPlayer> player_;
};

TEST_F(Player, PlaysAFileOnceItIsOpen) {
    Script("set open 300");
    ASSERT_TRUE(Open());
    EXPECT_EQ(MediaState(*player_), PlayerState::Empty);
    EXPECT_EQ(MediaDuration(*player_), 0);
    EXPECT_EQ(MediaPosition(*player_), 0);
    EXPECT_FALSE(SeekMedia(*player_, 0));
    ASSERT_TRUE(Eventually([this] { return MediaState(*player_) == PlayerState::Playing; }));
    EXPECT_EQ(MediaDuration(*player_), 30 * second);
    EXPECT_TRUE(Eventually([this] { return MediaPosition(*player_) > 0; }));
    PauseMedia(*player_);
    ASSERT_TRUE(Eventually([this] { return MediaState(*player_) == PlayerState::Paused; }));
    ASSERT_TRUE(SeekMedia(*player_, 12 * second + 7));
    EXPECT_EQ(MediaPosition(*player_), 12 * second + 7);
    PlayMedia(*player_);
    EXPECT_TRUE(Eventually([this] { return MediaPosition(*player_) > 12 * second + 7; }));
    SetMediaVolume(*player_, 0.6F);
    player_.reset();
    const std::vector<std::string> calls = ReportLines(Report(), "note: mfplay: ");
    EXPECT_THAT(calls, ElementsAre("MFPCreateMediaPlayer " + Video().string(), "state 2", "Pause", "state 3",
                                   "SetPosition 120000007", "Play", "state 2", "SetVolume 60", "Shutdown"));
}

TEST_F(Player, PositionsAreIntegersOf64Bits) {
    // VT_I8, VT_UI8, VT_R8, VT_I4
    for (const auto& [type, duration] :
         {std::pair{20, 5 * second}, {21, 5 * second}, {5, 0 * second}, {3, 0 * second}}) {
        Script("set duration 50000000\nset type " + std::to_string(type));
        ASSERT_TRUE(OpenAndPlay());
        EXPECT_EQ(MediaDuration(*player_), duration) << type;
        if (duration > 0) {
            EXPECT_TRUE(Eventually([this] { return MediaPosition(*player_) > 0; })) << type;
        } else {
            Sleep(30);  // the double has played by then
            EXPECT_EQ(MediaPosition(*player_), 0) << type;
        }
        player_.reset();
    }
}

TEST_F(Player, FailingCallsAreReportedOrIgnored) {
    Script("fail MFPCreateMediaPlayer 1 80070005");
    EXPECT_FALSE(Open());
    std::string script;
    for (const char* call : {"Play", "Pause", "SetPosition", "GetPosition", "GetDuration", "GetState", "SetVolume",
                             "UpdateVideo", "Shutdown"}) {
        script += std::string("fail ") + call + " 1+ C00D36B2\n";
    }
    Script(script);
    ASSERT_TRUE(Open());
    ASSERT_TRUE(EventuallyReports(0));
    PlayMedia(*player_);
    PauseMedia(*player_);
    SetMediaVolume(*player_, 1);
    UpdateVideo(*player_);
    EXPECT_FALSE(SeekMedia(*player_, 0));
    EXPECT_EQ(MediaPosition(*player_), 0);
    EXPECT_EQ(MediaDuration(*player_), 0);
    EXPECT_EQ(MediaState(*player_), PlayerState::Empty);
}

TEST_F(Player, ReportsAFileThatIsMissingOrCannotBePlayed) {
    Script("set broken C00D36C4");
    ASSERT_TRUE(Open());
    EXPECT_TRUE(EventuallyReports(0xC00D36C4));
    EXPECT_EQ(MediaState(*player_), PlayerState::Empty);
    player_.reset();
    Script("set breaks 100 C00D36BB");
    ASSERT_TRUE(OpenAndPlay());
    EXPECT_TRUE(EventuallyReports(0xC00D36BB));
    player_.reset();
    std::filesystem::remove(Video());
    Script("");
    ASSERT_TRUE(Open());
    EXPECT_TRUE(EventuallyReports(0x80070002));
}

TEST_F(Player, EventsMayComeFromItsOwnThread) {
    Script("set thread own\nset broken C00D36C4");
    ASSERT_TRUE(Open());
    ASSERT_TRUE(EventuallyReports(0xC00D36C4));
    const std::lock_guard guard(mutex_);
    EXPECT_NE(threads_.at(0), GetCurrentThreadId());
}

TEST_F(Player, EventsMayComeDuringItsEndAndAfterwards) {
    Script("set farewell C00D36B2");
    ASSERT_TRUE(OpenAndPlay());
    player_.reset();
    // One comes from the last call, one from another thread after it.
    EXPECT_TRUE(Eventually([this] { return std::ranges::count(Results(), 0xC00D36B2U) == 2; }));
}

TEST_F(Player, AnExceptionOfAnEventEndsThere) {
    int events = 0;
    player_ = OpenMediaPlayer(FromPath(Video()), *window_, [&](Result) {
        ++events;
        throw std::runtime_error("event");
    });
    ASSERT_TRUE(player_);
    EXPECT_TRUE(Eventually([&] { return events >= 2; }));
    EXPECT_EQ(MediaState(*player_), PlayerState::Playing);
    player_.reset();
}

TEST_F(Player, DrawsItsFrameOrBlack) {
    constexpr POINT inside{301, 288};
    const auto shows = [&](COLORREF color) {
        return Eventually([&] {
            UpdateVideo(*player_);
            return PixelAt(inside) == color;
        });
    };
    ASSERT_TRUE(OpenAndPlay());
    EXPECT_TRUE(shows(videoColor));
    player_.reset();
    Script("set open 600000");
    ASSERT_TRUE(Open());
    EXPECT_TRUE(shows(black));
}

TEST_F(Player, AHundredLeaveNothingBehind) {
    Script("set open 0");
    const auto open = [this](int times) {
        for (int i = 0; i < times; ++i) {
            ASSERT_TRUE(Open());
            UpdateVideo(*player_);
            player_.reset();
        }
    };
    open(10);
    const ObjectCounts counts(GetCurrentProcessId());
    const int handles = counts.Handles();
    const int objects = counts.GraphicsObjects();
    const int userObjects = ObjectCounts::UserObjects();
    open(100);
    EXPECT_LT(counts.Handles(), handles + 20);
    EXPECT_LT(counts.GraphicsObjects(), objects + 20);
    EXPECT_LT(ObjectCounts::UserObjects(), userObjects + 20);
}

}  // namespace
}  // namespace zv::windows
