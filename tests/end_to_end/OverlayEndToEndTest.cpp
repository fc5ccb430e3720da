// The quick overlay of the real program over another program's window. Real keys and clicks.
#include "support/Eventually.h"
#include "support/InterfaceUser.h"
#include "support/MediaProbe.h"
#include "support/Openbox.h"
#include "support/PrivateDisplay.h"
#include "support/Processes.h"
#include "support/ProgramRun.h"
#include "support/SoundServer.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

using namespace support;

constexpr std::uint32_t gameColor = 0x205080;

// Coordinates in the tile page, in design pixels.
constexpr Point close{995, 23};
constexpr Point openApp{250, 195};
constexpr Point broadcast{250, 100};
constexpr Point replayTile{385, 200};
constexpr Point recordTile{513, 200};
constexpr Point screenshotTile{641, 200};
constexpr Point gallery{790, 140};
constexpr Point microphone{747, 205};
constexpr Point sound{789, 205};
constexpr Point gear{832, 190};
constexpr Point betweenTiles{600, 450};
constexpr Point saveReplay{423, 291};
// On a tile's frame, away from its corner.
constexpr Point recordFrame{450, 150};
constexpr Point replayFrame{322, 150};

class OverlayEndToEnd : public testing::Test {
protected:
    ProgramOptions Options(const std::string& replay) const {
        return {.display = display_.Name(), .settings = {{"instantReplay", replay}}};
    }
    static void AwaitStart(const ProgramRun& run) { ASSERT_TRUE(run.WaitForActivity("Replay ").has_value()); }
    void Click(const Point& place, std::uint8_t button = 1) const {
        user_.Click(overlayName, place.x, place.y, button);
    }
    /// The game: full screen, with the keyboard focus.
    xcb_window_t StartGame() const {
        const xcb_window_t window = game_.Cover({0, 0, 1920, 1080}, gameColor);
        game_.SetFocus(window);
        return window;
    }
    bool WaitFrame(const Point& frame, Color color) const {
        return user_.WaitColor(overlayName, frame.x, frame.y, color);
    }

    TemporaryFolder folder_{"zorvel-overlay"};
    PrivateDisplay display_;
    InterfaceUser user_{display_.Name()};
    OtherClient game_{display_.Name()};
};

TEST_F(OverlayEndToEnd, OpensOverAGameThatKeepsItsKeysAndTheClicksBetweenTheTiles) {
    const xcb_window_t window = StartGame();
    const ProgramRun run(Options("0"));
    AwaitStart(run);
    ASSERT_TRUE(user_.OpenOverlay());
    // As large as fits the monitor, with its own proportions.
    const Rectangle place = user_.Client(overlayName);
    EXPECT_EQ(place.top, 0);
    EXPECT_NEAR(place.Width(), 1920, 1);
    EXPECT_NEAR(place.Height(), 1079, 1);
    EXPECT_EQ(user_.Focus(), window);

    game_.Events(XCB_KEY_PRESS);
    user_.TapKey(XK_w);
    EXPECT_TRUE(Eventually([&] { return game_.Events(XCB_KEY_PRESS) == 1; })) << "the game received no key";
    EXPECT_EQ(user_.ColorOf(overlayName, betweenTiles.x, betweenTiles.y), gameColor);
    Click(betweenTiles);
    EXPECT_TRUE(Eventually([&] { return game_.Events(XCB_BUTTON_PRESS) == 1; }))
        << "the game received no click between the tiles";
    EXPECT_TRUE(user_.Shows(overlayName));
    // A tile receives the click; the game keeps the focus.
    Click(replayTile);
    EXPECT_TRUE(user_.WaitColor(overlayName, 323, 300, Rgb(24, 19, 34))) << "the popover's panel";
    EXPECT_EQ(game_.Events(XCB_BUTTON_PRESS), 0);
    EXPECT_EQ(user_.Focus(), window);
}

/// A window that the window manager frames and focuses. It receives key events.
xcb_window_t OpenManagedWindow(const OtherClient& client) {
    const xcb_window_t window = xcb_generate_id(client.Get());
    const std::uint32_t values[] = {gameColor, XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_KEY_PRESS};
    xcb_create_window(client.Get(), XCB_COPY_FROM_PARENT, window, client.Root(), 0, 0, 1500, 900, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK,
                      values);
    xcb_map_window(client.Get(), window);
    client.Sync();
    return window;
}

TEST_F(OverlayEndToEnd, UnderAWindowManagerTheOtherProgramStaysTheActiveOne) {
    const Spawned manager = StartOpenbox(display_.Name(), folder_.Path());
    const xcb_window_t window = OpenManagedWindow(game_);
    const std::string active(reinterpret_cast<const char*>(&window), sizeof window);
    ASSERT_TRUE(Eventually(
        [&] { return user_.Focus() == window && user_.Property(user_.Root(), "_NET_ACTIVE_WINDOW") == active; }));
    const ProgramRun run(Options("0"));
    AwaitStart(run);
    ASSERT_TRUE(user_.OpenOverlay());
    Click(replayTile);
    ASSERT_TRUE(user_.WaitColor(overlayName, 323, 300, Rgb(24, 19, 34)));
    EXPECT_EQ(user_.Focus(), window);
    EXPECT_EQ(user_.Property(user_.Root(), "_NET_ACTIVE_WINDOW"), active);
    game_.Events(XCB_KEY_PRESS);
    user_.TapKey(XK_w);
    EXPECT_TRUE(Eventually([&] { return game_.Events(XCB_KEY_PRESS) == 1; }));
    EXPECT_TRUE(user_.CloseOverlay());
    EXPECT_EQ(user_.Focus(), window);
}

TEST_F(OverlayEndToEnd, ClosesByKeyCrossAndRightClickAndReopensOnTheSamePage) {
    StartGame();
    const ProgramRun run(Options("0"));
    AwaitStart(run);
    ASSERT_TRUE(user_.OpenOverlay());
    Click(close);
    EXPECT_TRUE(user_.WaitHidden(overlayName));
    ASSERT_TRUE(user_.OpenOverlay());
    Click(replayTile, 3);
    EXPECT_TRUE(user_.WaitHidden(overlayName));
    ASSERT_TRUE(user_.OpenOverlay());
    EXPECT_TRUE(user_.CloseOverlay());

    ASSERT_TRUE(user_.OpenOverlay());
    Click(gear);
    const Words heading{{300, 79, 700, 115}, u"Settings",    color::primaryText,
                        color::overlayPanel, FontRole::Bold, TextLayout::CentredLine};
    EXPECT_TRUE(user_.WaitSays(overlayName, heading));
    EXPECT_TRUE(user_.CloseOverlay());
    EXPECT_EQ(user_.PixelAt(960, 300), gameColor) << "a part of the overlay is still visible";
    ASSERT_TRUE(user_.OpenOverlay());
    EXPECT_TRUE(user_.WaitSays(overlayName, heading));
}

TEST_F(OverlayEndToEnd, OpenAppHidesItAndShowsTheMainWindow) {
    StartGame();
    const ProgramRun run(Options("0"));
    AwaitStart(run);
    ASSERT_TRUE(user_.OpenOverlay());
    EXPECT_FALSE(user_.Shows(mainWindowName));
    Click(openApp);
    EXPECT_TRUE(user_.WaitHidden(overlayName));
    EXPECT_TRUE(user_.WaitShown(mainWindowName));
    EXPECT_TRUE(Eventually([&] { return user_.Focus() == user_.WindowOf(mainWindowName); }));
}

TEST_F(OverlayEndToEnd, TheRecordTileStartsARecordingAndStopSavesIt) {
    StartGame();
    const ProgramRun run(Options("0"));
    AwaitStart(run);
    ASSERT_TRUE(user_.OpenOverlay());
    ASSERT_TRUE(WaitFrame(recordFrame, color::black));
    const Words title{{453, 97, 573, 117}, u"Stop recording", color::primaryText,
                      color::black,        FontRole::Small,   TextLayout::CentredLine};
    Click(recordTile);
    ASSERT_TRUE(run.WaitForActivity("Recording started").has_value());
    user_.MovePointer(5, 1000);
    EXPECT_TRUE(user_.WaitSays(overlayName, title));
    EXPECT_TRUE(WaitFrame(recordFrame, color::purple));
    EXPECT_TRUE(WaitFrame(replayFrame, color::purple)) << "the disabled tile has no frame";
    EXPECT_TRUE(Eventually([&] { return !run.Children().empty(); }));
    EXPECT_TRUE(WaitRecorded(run));
    Click(recordTile);
    const auto row = run.WaitForActivity("Recording saved: ");
    ASSERT_TRUE(row.has_value());
    user_.MovePointer(5, 1000);
    EXPECT_TRUE(WaitFrame(recordFrame, color::black));
    const ClipFacts facts = Probe(row->substr(std::string("Recording saved: ").size()));
    EXPECT_EQ(facts.codec, "h264");
    EXPECT_EQ(facts.width, 1920);
    EXPECT_GT(facts.duration, 1);
}

TEST_F(OverlayEndToEnd, MicrophoneAndSoundAreSwitchedAndSaved) {
    StartGame();
    const ProgramRun run(Options("0"));
    AwaitStart(run);
    ASSERT_TRUE(user_.OpenOverlay());
    const auto label = [](int left, int right, const Text& text, Color color) {
        return Words{{left, 196, right, 217}, text, color, color::black, FontRole::Small, TextLayout::CentredLine};
    };
    EXPECT_TRUE(user_.WaitSays(overlayName, label(726, 768, u"Off", color::primaryText)));
    EXPECT_EQ(SettingOf(run, "micEnabled"), "0");
    Click(microphone);
    EXPECT_TRUE(WaitSetting(run, "micEnabled", "1"));
    user_.MovePointer(5, 1000);
    EXPECT_TRUE(user_.WaitSays(overlayName, label(726, 768, u"On", color::purple)));
    Click(sound);
    EXPECT_TRUE(WaitSetting(run, "gameAudioEnabled", "1"));
    user_.MovePointer(5, 1000);
    EXPECT_TRUE(user_.WaitSays(overlayName, label(768, 810, u"On", color::purple)));
    Click(microphone);
    EXPECT_TRUE(WaitSetting(run, "micEnabled", "0"));
    EXPECT_EQ(SettingOf(run, "gameAudioEnabled"), "1");
}

TEST_F(OverlayEndToEnd, ThePopoverSavesTheReplay) {
    StartGame();
    const ProgramRun run(Options("1"));
    ASSERT_TRUE(run.WaitForBuffer(3));
    ASSERT_TRUE(user_.OpenOverlay());
    EXPECT_TRUE(WaitFrame(replayFrame, color::purple)) << "the replay is off";
    Click(replayTile);
    ASSERT_TRUE(user_.WaitColor(overlayName, 340, 291, color::purple)) << "saving is disabled";
    Click(saveReplay);
    EXPECT_TRUE(user_.WaitSays(toastName, {{68, 8, 314, 68}, u"Clip saved", color::primaryText, color::toast}));
    const auto row = run.WaitForActivity("Replay saved: ");
    ASSERT_TRUE(row.has_value());
    EXPECT_GE(Probe(row->substr(std::string("Replay saved: ").size())).duration, 2);
    EXPECT_TRUE(user_.Shows(overlayName));
}

TEST_F(OverlayEndToEnd, ItsScreenshotShowsTheGameAloneAndTheOverlayReturns) {
    StartGame();
    const ProgramRun run(Options("0"));
    AwaitStart(run);
    ASSERT_TRUE(user_.OpenOverlay());
    Click(screenshotTile);
    const Words saved{{68, 8, 314, 68}, u"Screenshot saved", color::primaryText, color::toast};
    EXPECT_TRUE(user_.WaitSays(toastName, saved));
    EXPECT_TRUE(user_.WaitShown(overlayName));
    ASSERT_EQ(CapturesOf(run, ".png").size(), 1U);
    EXPECT_EQ(PixelsUnlike(CapturesOf(run, ".png")[0], {1920, 1080}, gameColor), 0U);
}

/// Two monitors of a graphics card.
TEST(OverlayMonitors, OpensOnTheCapturedMonitorOrOnAnotherIfThatIsOff) {
    const PrivateDisplay display("1280x1024", DisplayKind::Changeable);
    display.Change({"--addmode", "DUMMY1", "1024x768"});
    display.Change({"--output", "DUMMY1", "--mode", "1024x768", "--right-of", "DUMMY0"});
    const InterfaceUser user(display.Name());
    ProgramRun run({.display = display.Name(), .settings = {{"instantReplay", "0"}, {"monitorDevice", "DUMMY1"}}});
    ASSERT_TRUE(run.WaitForActivity("Replay stopped.").has_value());
    ASSERT_TRUE(user.OpenOverlay());
    const Rectangle second = user.Client(overlayName);
    EXPECT_EQ(second.left, 1280);
    EXPECT_EQ(second.top, 0);
    EXPECT_EQ(second.Width(), 1024);

    user.MovePointer(300, 300);
    const std::size_t rows = run.Activity().size();
    display.Change({"--output", "DUMMY1", "--off"});
    ASSERT_TRUE(run.WaitForActivity("Replay stopped.", rows).has_value()) << "capture is not configured again";
    EXPECT_TRUE(run.Process().Alive());
    ASSERT_TRUE(user.CloseOverlay());
    user.PressOverlayKey();
    ASSERT_TRUE(user.WaitShown(overlayName));
    const Rectangle first = user.Client(overlayName);
    EXPECT_EQ(first.left, 0);
    EXPECT_EQ(first.Width(), 1280);
    EXPECT_TRUE(user.WaitColor(overlayName, 500, 45, color::black));
    EXPECT_EQ(run.End(), 0);
}

}  // namespace
}  // namespace zv
