// The gallery and the viewer of the program as it ships, used by mouse and keyboard from another program, over doubles
// of the shell's thumbnails and of the media player.
#include <gmock/gmock.h>

#include "support/FileBytes.h"
#include "support/PngBytes.h"
#include "windows/ProgramInterface.h"
#include "windows/drivers/ShellImages.h"

namespace zv::windows {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr wchar_t videoClass[] = L"ZVInternalVideo317";
constexpr COLORREF videoColor = RGB(20, 120, 200);
constexpr int playing = 2;
constexpr int paused = 3;
constexpr COLORREF viewerPanel = RGB(18, 18, 24);
constexpr COLORREF galleryPanel = RGB(24, 23, 28);
constexpr COLORREF track = RGB(44, 47, 62);

/// The screen's color of one of the thumbnails' colors.
COLORREF Quarter(std::size_t index) {
    const std::uint32_t color = drivers::pictureColors.at(index);
    return RGB(color >> 16U & 0xFFU, color >> 8U & 0xFFU, color & 0xFFU);
}

class LibraryPages : public ProgramInterface {
protected:
    void SetUp() override {
        ProgramInterface::SetUp();
        Setting("instantReplay=0");
        Setting("notifications=0");
    }
    void TearDown() override {
        ProgramInterface::TearDown();
        EXPECT_THAT(ReportLines(Report(), "complaint: "), IsEmpty());
        if (HasFailure()) {
            std::cerr << support::ReadBytes(Report());
        }
    }

    /// Writes a capture. Later ones are older, so that they follow in the gallery.
    std::filesystem::path Capture(const std::string& name, const std::string& bytes = "a video") {
        const std::filesystem::path path = folder_.Path() / "captures" / "Game" / name;
        std::filesystem::create_directories(path.parent_path());
        support::WriteBytes(path, bytes);
        std::filesystem::last_write_time(
            path, std::filesystem::file_time_type::clock::now() - std::chrono::hours(++captures_));
        return path;
    }

    /// Opens the overlay at the gallery and waits for the thumbnail of the first capture.
    static void OpenGallery() {
        OpenOverlay();
        ASSERT_TRUE(ClickUntil(OnOverlay(790, 140), IsGalleryPageShown));
    }

    /// The screen position of a point of a cell's thumbnail, relative to its centre.
    static POINT InCell(int cell, int dx, int dy) {
        return OnOverlay(374 + 237 * (cell % 3) + dx, 204 + 178 * (cell / 3) + dy);
    }
    static bool EventuallyShowsThumbnail(int cell) {
        return Eventually([&] {
            return PixelAt(InCell(cell, -40, -25)) == Quarter(0) && PixelAt(InCell(cell, 40, -25)) == Quarter(1) &&
                   PixelAt(InCell(cell, -40, 25)) == Quarter(2) && PixelAt(InCell(cell, 40, 25)) == Quarter(3);
        });
    }

    static bool IsGalleryPageShown() { return PixelAt(OnOverlay(600, 545)) == galleryPanel; }
    static bool IsViewerPageShown() { return PixelAt(OnOverlay(600, 551)) == viewerPanel; }

    /// Sends a click to the overlay, which is painted before and afterwards.
    static void Press(POINT at) {
        const HWND overlay = Find(overlayClass);
        ScreenToClient(overlay, &at);
        const LPARAM position = MAKELPARAM(at.x, at.y);
        for (const UINT code : {WM_PAINT, WM_LBUTTONDOWN, WM_LBUTTONUP, WM_PAINT}) {
            SendMessageW(overlay, code, code == WM_LBUTTONDOWN ? MK_LBUTTON : 0, code == WM_PAINT ? 0 : position);
        }
    }
    /// Presses until the condition holds: a move of the real pointer between the two messages of a click ends the
    /// press.
    template <class Condition>
    static bool PressTargetUntil(POINT at, Condition condition) {
        return Eventually([&] {
            Press(at);
            return Eventually(condition, betweenTriesMs);
        });
    }
    /// Opens the capture in a cell and waits for the viewer's page.
    static void OpenViewer(int cell) { ASSERT_TRUE(PressTargetUntil(InCell(cell, 0, 0), IsViewerPageShown)); }
    static void OpenVideo(int cell) {
        OpenViewer(cell);
        ASSERT_TRUE(Eventually([] { return IsShown(videoClass); }));
    }
    static void LeaveViewer() { ASSERT_TRUE(PressTargetUntil(OnOverlay(101, 88), IsGalleryPageShown)); }

    /// Waits until the media player has this state.
    bool EventuallyHasState(int state) const {
        return Eventually([&] {
            const std::vector<std::string> states = ReportLines(Report(), "note: mfplay: state ");
            return !states.empty() && states.back() == std::to_string(state);
        });
    }
    /// What the media player was asked to do, without repetitions.
    std::vector<std::string> PlayerCalls() const {
        std::vector<std::string> calls = ReportLines(Report(), "note: mfplay: ");
        std::erase_if(calls, [](const std::string& call) { return call.starts_with("state "); });
        calls.erase(std::unique(calls.begin(), calls.end()), calls.end());
        return calls;
    }
    bool EventuallyCalls(const std::string& last) const {
        return Eventually([&] {
            const std::vector<std::string> calls = PlayerCalls();
            return !calls.empty() && calls.back() == last;
        });
    }

    /// Clicks a point of the overlay once and waits for a call of the player.
    void ExpectCallAfterClick(int x, int y, const std::string& call) const {
        Click(OnOverlay(x, y));
        EXPECT_TRUE(EventuallyCalls(call)) << call << " after " << testing::PrintToString(PlayerCalls());
    }

    /// A sentence replaces the progress bar.
    static bool EventuallyShowsError() {
        return Eventually([] { return PixelAt(OnOverlay(960, 474)) == viewerPanel && IsViewerPageShown(); });
    }

private:
    int captures_ = 0;
};

TEST_F(LibraryPages, TheGalleryShowsTheShellsThumbnails) {
    Script("set picture wide.mp4 640 360 top-down");
    Script("set picture none.mp4 320 180 bottom-up");
    Script("fail GetImage 3 8004B200");
    for (const char* name : {"newest.mp4", "wide.mp4", "none.mp4", "last.png"}) {
        Capture(name);
    }
    ASSERT_TRUE(Start());
    const Game game;
    OpenGallery();
    EXPECT_TRUE(EventuallyShowsThumbnail(0));
    EXPECT_TRUE(EventuallyShowsThumbnail(1));
    EXPECT_TRUE(EventuallyShowsThumbnail(3));
    EXPECT_NE(PixelAt(InCell(2, -40, -25)), Quarter(0));
    EXPECT_EQ(GetForegroundWindow(), game.Window());
    // Each was requested once, whatever has been painted since, also the one that the shell does not have.
    const HWND overlay = Find(overlayClass);
    for (int i = 0; i < 20; ++i) {
        InvalidateRect(overlay, nullptr, FALSE);
        SendMessageW(overlay, WM_NULL, 0, 0);
    }
    EXPECT_EQ(ReportLines(Report(), "note: dxgi: GetImage").size(), 4U);
    EXPECT_TRUE(EndProgram());
}

TEST_F(LibraryPages, ASlowShellHoldsUpNothing) {
    Script("delay GetImage 1 3000");
    Capture("slow.mp4");
    ASSERT_TRUE(Start());
    const Game game;
    OpenGallery();
    ASSERT_TRUE(Eventually([&] { return !ReportLines(Report(), "note: dxgi: GetImage").empty(); }));
    // The gallery and the viewer work meanwhile.
    OpenViewer(0);
    EXPECT_TRUE(Eventually([] { return IsShown(videoClass); }));
    LeaveViewer();
    // The end of the program waits for the shell.
    EXPECT_TRUE(EndProgram());
}

TEST_F(LibraryPages, AVideoPlaysOverTheGameAndStopsWithTheOverlay) {
    const std::filesystem::path path = Capture("clip.mp4");
    ASSERT_TRUE(Start());
    const Game game;
    OpenGallery();
    ASSERT_TRUE(EventuallyShowsThumbnail(0));
    OpenVideo(0);
    const HWND video = Find(videoClass);
    wchar_t title[64] = {};
    GetWindowTextW(video, title, 64);
    EXPECT_STREQ(title, L"ZV internal player");
    EXPECT_EQ(GetWindow(video, GW_OWNER), Find(overlayClass));
    EXPECT_EQ(static_cast<DWORD>(GetWindowLongPtrW(video, GWL_EXSTYLE)),
              DWORD{WS_EX_NOACTIVATE | WS_EX_TOOLWINDOW | WS_EX_TOPMOST});
    EXPECT_EQ(static_cast<DWORD>(GetWindowLongPtrW(video, GWL_STYLE)) & ~DWORD{WS_CLIPSIBLINGS},
              DWORD{WS_POPUP | WS_VISIBLE});
    EXPECT_EQ(BoundsOf(video), (Rectangle{284, 239, 1633, 847}));
    EXPECT_THAT(ReportLines(Report(), "note: "), Contains("dxgi: display affinity of ZVInternalVideo317 is 17"));
    EXPECT_EQ(SendMessageW(video, WM_MOUSEACTIVATE, 0, 0), MA_NOACTIVATE);

    // The picture, the bar and the buttons. The double's video is 30 s long.
    ASSERT_TRUE(EventuallyHasState(playing));
    EXPECT_TRUE(Eventually([] { return PixelAt(OnOverlay(500, 300)) == videoColor; }));
    EXPECT_TRUE(Eventually([] { return PixelAt(OnOverlay(206, 474)) != track; })) << "no progress";
    // Sent to the window: Wine sometimes keeps an owned window below its owner, where no click reaches it.
    SendMessageW(video, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(400, 200));
    SendMessageW(video, WM_LBUTTONUP, 0, MAKELPARAM(400, 200));
    ASSERT_TRUE(EventuallyHasState(paused));
    EXPECT_EQ(PlayerCalls().back(), "Pause");
    const std::size_t before = PlayerCalls().size();
    ExpectCallAfterClick(204 + 24 * 10 + 12, 473, "SetPosition 96774193");
    ExpectCallAfterClick(459, 520, "SetPosition 196774193");
    ExpectCallAfterClick(360, 520, "SetPosition 96774193");
    ExpectCallAfterClick(360, 520, "SetPosition 0");
    ExpectCallAfterClick(747, 520, "SetVolume 70");
    ExpectCallAfterClick(538, 520, "SetVolume 60");
    ExpectCallAfterClick(643, 520, "SetVolume 0");
    ExpectCallAfterClick(643, 520, "SetVolume 60");
    ExpectCallAfterClick(243, 520, "Play");
    EXPECT_TRUE(EventuallyHasState(playing));
    EXPECT_EQ(GetForegroundWindow(), game.Window());

    // Hiding the overlay pauses the video. It comes back paused.
    ASSERT_TRUE(PressUntil({VK_MENU, 'X'}, [] { return !IsShown(overlayClass); }));
    EXPECT_TRUE(EventuallyCalls("Pause"));
    EXPECT_TRUE(Eventually([] { return !IsShown(videoClass); }));
    EXPECT_TRUE(EventuallyHasState(paused));
    ASSERT_TRUE(PressUntil({VK_MENU, 'X'}, [] { return IsShown(overlayClass); }));
    EXPECT_TRUE(Eventually([] { return IsShown(videoClass); }));
    EXPECT_EQ(PlayerCalls().back(), "Pause");
    EXPECT_EQ(GetForegroundWindow(), game.Window());

    LeaveViewer();
    EXPECT_EQ(Find(videoClass), nullptr);
    EXPECT_TRUE(EventuallyShowsThumbnail(0));
    std::vector<std::string> calls = PlayerCalls();
    EXPECT_EQ(calls.at(0), "MFPCreateMediaPlayer " + path.string());
    EXPECT_EQ(calls.at(1), "SetVolume 60");
    calls.erase(calls.begin(), calls.begin() + static_cast<std::ptrdiff_t>(before));
    EXPECT_THAT(
        calls, ElementsAre("SetPosition 96774193", "SetPosition 196774193", "SetPosition 96774193", "SetPosition 0",
                           "SetVolume 70", "SetVolume 60", "SetVolume 0", "SetVolume 60", "Play", "Pause", "Shutdown"));
    EXPECT_TRUE(EndProgram());
    EXPECT_EQ(PlayerCalls().back(), "ends");
}

TEST_F(LibraryPages, TheVideoCoversItsPartOfTheOverlayAtEverySize) {
    Capture("clip.mp4");
    ASSERT_TRUE(Start());
    const Game game;
    OpenGallery();
    OpenVideo(0);
    const HWND video = Find(videoClass);
    const HWND overlay = Find(overlayClass);
    const auto placeOverlay = [&](const Rectangle& bounds) {
        SetWindowPos(overlay, nullptr, bounds.left, bounds.top, bounds.Width(), bounds.Height(),
                     SWP_NOZORDER | SWP_NOACTIVATE);
    };
    const auto follows = [&](const Rectangle& bounds) {
        return Eventually([&] { return BoundsOf(video) == bounds && IsWindowVisible(video) != FALSE; });
    };
    placeOverlay({200, 150, 907, 547});  // 707 by 397
    EXPECT_TRUE(follows({304, 238, 801, 461}));
    placeOverlay({300, 100, 1007, 497});
    EXPECT_TRUE(follows({404, 188, 901, 411}));
    placeOverlay({10, 20, 515, 304});  // half
    EXPECT_TRUE(follows({85, 83, 440, 243}));
    placeOverlay({0, 0, 1920, 1079});
    EXPECT_TRUE(follows({284, 239, 1633, 847}));
    for (const Rectangle& bounds : {Rectangle{41, 123, 1876, 871}, Rectangle{284, 239, 1633, 847}}) {
        EXPECT_TRUE(PressTargetUntil(OnOverlay(887, 520), [&] { return BoundsOf(video) == bounds; }));
    }
    EXPECT_EQ(GetForegroundWindow(), game.Window());
    EXPECT_TRUE(EndProgram());
}

TEST_F(LibraryPages, AVideoThatIsGoneOrHasNoPlayerShowsASentence) {
    const std::filesystem::path library = "C:\\windows\\system32\\mfplay.dll";
    const std::filesystem::path aside = "C:\\windows\\system32\\aside.dll";
    Capture("clip.mp4");
    const std::filesystem::path gone = Capture("gone.mp4");
    ASSERT_TRUE(Start());
    const Game game;
    OpenGallery();
    ASSERT_TRUE(EventuallyShowsThumbnail(1));
    std::filesystem::remove(gone);
    OpenViewer(1);
    EXPECT_TRUE(EventuallyShowsError());
    EXPECT_TRUE(EndProgram());

    // An edition of Windows without media features: the program starts, and has nothing to play with.
    std::filesystem::rename(library, aside);
    std::filesystem::remove(DataFolder() / "History" / "activity.log");
    const bool started = Start();
    if (started) {
        OpenGallery();
        OpenViewer(0);
    }
    const bool shown = EventuallyShowsError();
    std::filesystem::rename(aside, library);
    EXPECT_TRUE(started && shown);
    EXPECT_TRUE(EndProgram());
}

TEST_F(LibraryPages, AnImageIsDecodedAndABrokenOneShowsASentence) {
    std::string rows;
    for (int y = 0; y < 10; ++y) {
        rows += std::string("\xC0\x10\x20") + "\xC0\x10\x20" + "\x10\xC0\x20" + "\x10\xC0\x20";
    }
    Capture("picture.png", support::PngBytes({4, 10, 8, 2, rows}));
    const std::string whole = support::PngBytes({4, 10, 8, 2, rows});
    Capture("broken.png", whole.substr(0, whole.size() - 15));
    ASSERT_TRUE(Start());
    const Game game;
    OpenGallery();
    OpenViewer(0);
    // Fitted into 710 by 320 around (505, 286): 128 by 320.
    EXPECT_TRUE(Eventually([] {
        return PixelAt(OnOverlay(450, 286)) == RGB(0xC0, 0x10, 0x20) &&
               PixelAt(OnOverlay(560, 286)) == RGB(0x10, 0xC0, 0x20);
    }));
    EXPECT_EQ(Find(videoClass), nullptr);
    // There is no sentence.
    const auto isWritten = [] {
        for (int x = 40; x < 200; ++x) {
            if (PixelAt(OnOverlay(x, 473)) != viewerPanel) {
                return true;
            }
        }
        return false;
    };
    EXPECT_FALSE(isWritten());
    LeaveViewer();
    OpenViewer(1);
    EXPECT_TRUE(Eventually(isWritten));
    EXPECT_TRUE(EndProgram());
}

}  // namespace
}  // namespace zv::windows
