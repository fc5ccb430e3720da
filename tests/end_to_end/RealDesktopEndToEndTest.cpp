// The whole program on whole desktops: the icon in the panel and its menu, every window over a full-screen game of the
// window manager, captures through the compositor, and the close box.
#include <array>
#include <cmath>

#include "support/DesktopSession.h"
#include "support/InterfaceUser.h"
#include "support/MediaProbe.h"
#include "support/PrivateDisplay.h"
#include "support/ProgramRun.h"
#include "support/TrayUser.h"

namespace zv {
namespace {

using namespace support;

constexpr int width = 1920;
constexpr int height = 1080;
constexpr int panelHeight = 27;  // with its border
constexpr std::uint32_t leftColor = 0x2878B0;
constexpr std::uint32_t rightColor = 0xB0A040;
constexpr std::uint32_t gameColor = 0x205020;

// Coordinates in the tile page, in design pixels.
constexpr Point broadcast{250, 100};
constexpr Point replayTile{385, 200};
constexpr Point saveReplay{423, 291};

/// The number of pictures of a clip that show the desktop alone, the game alone, or something else. The transition from
/// the desktop to the game does not count.
struct ClipPictures {
    int desktop = 0;
    int game = 0;
    int other = 0;
};

/// The overlay's header may cover this much of a notification.
constexpr std::int32_t headerBottom = 20;

class RealDesktopEndToEnd : public testing::Test {
protected:
    std::filesystem::path MakeWallpaper() const {
        const auto half = [](std::uint32_t color) {
            char text[64];
            std::snprintf(text, sizeof text, "color=0x%06x:s=%dx%d,format=rgb24", color, width / 2, height);
            return std::string(text);
        };
        std::filesystem::path picture = folder_.Path() / "wallpaper.png";
        OutputOf({"ffmpeg", "-v", "error", "-f", "lavfi", "-i", half(leftColor), "-f", "lavfi", "-i", half(rightColor),
                  "-filter_complex", "hstack", "-frames:v", "1", picture.string()});
        return picture;
    }
    bool WaitWallpaper() const {
        return Eventually([&] {
            return user_.PixelAt(100, height - 100) == leftColor &&
                   user_.PixelAt(width - 100, height - 100) == rightColor;
        });
    }
    /// A game that asks the window manager for the full screen.
    void StartGame() {
        xcb_connection_t* connection = game_.Get();
        gameWindow_ = xcb_generate_id(connection);
        const std::uint32_t values[] = {gameColor, XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_KEY_PRESS};
        xcb_create_window(connection, XCB_COPY_FROM_PARENT, gameWindow_, game_.Root(), 0, 0, width, height, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK,
                          values);
        const xcb_atom_t fullScreen = game_.Atom("_NET_WM_STATE_FULLSCREEN");
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, gameWindow_, game_.Atom("_NET_WM_STATE"), XCB_ATOM_ATOM,
                            32, 1, &fullScreen);
        const auto process = static_cast<std::uint32_t>(getpid());
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, gameWindow_, game_.Atom("_NET_WM_PID"),
                            XCB_ATOM_CARDINAL, 32, 1, &process);
        xcb_map_window(connection, gameWindow_);
        game_.Sync();
        ASSERT_TRUE(Eventually([&] {
            return user_.PixelAt(5, 5) == gameColor && user_.PixelAt(width - 5, height - 5) == gameColor;
        })) << "the game is not full screen";
        ASSERT_TRUE(WaitActive(gameWindow_));
    }
    /// A window manager may append a second window, which is 0.
    bool WaitActive(xcb_window_t window) const {
        const std::string active(reinterpret_cast<const char*>(&window), sizeof window);
        return Eventually([&] { return user_.Property(user_.Root(), "_NET_ACTIVE_WINDOW").starts_with(active); });
    }
    void EndGame() {
        xcb_destroy_window(game_.Get(), gameWindow_);
        game_.Sync();
    }

    /// Opens the overlay and a notification, and keeps them for two seconds of the replay.
    void ShowOverlayAndNotification(const ProgramRun& run) const {
        ASSERT_TRUE(user_.OpenOverlay());
        user_.Click(overlayName, broadcast.x, broadcast.y);
        ASSERT_TRUE(user_.WaitSays(toastName, ToastWords(u"This feature is not available", headerBottom)));
        const double before = run.BufferedSeconds();
        ASSERT_TRUE(run.WaitForBuffer(before + 2));
        EXPECT_TRUE(user_.Shows(overlayName));
    }
    /// Takes a screenshot. Returns its file.
    std::filesystem::path TakeScreenshot(const ProgramRun& run) const {
        const std::vector<std::filesystem::path> before = CapturesOf(run, ".png");
        user_.TapKey({XK_Control_L, XK_Alt_L}, XK_s);
        EXPECT_TRUE(user_.WaitSays(toastName, ToastWords(u"Screenshot saved", headerBottom)));
        EXPECT_TRUE(user_.WaitShown(overlayName)) << "the screenshot did not show the overlay again";
        for (const std::filesystem::path& file : CapturesOf(run, ".png")) {
            if (std::find(before.begin(), before.end(), file) == before.end()) {
                return file;
            }
        }
        return {};
    }
    /// Saves the replay by the overlay, which is open. Returns the clip.
    std::filesystem::path SaveClip(const ProgramRun& run) const {
        user_.Click(overlayName, replayTile.x, replayTile.y);
        EXPECT_TRUE(user_.WaitColor(overlayName, 340, 291, color::purple)) << "saving is disabled";
        user_.Click(overlayName, saveReplay.x, saveReplay.y);
        const auto row = run.WaitForActivity("Replay saved: ");
        EXPECT_TRUE(row.has_value());
        return row ? row->substr(std::string("Replay saved: ").size()) : std::string();
    }
    Picture GrabScreen() const { return user_.Grab(Rectangle{0, 0, width, height}); }
    /// The number of pixels below the panel that differ between a screenshot and the screen.
    static std::size_t PixelsUnlikeScreen(const std::filesystem::path& screenshot, const Picture& screen) {
        const std::string rgb =
            OutputOf({"ffmpeg", "-v", "error", "-i", screenshot.string(), "-f", "rawvideo", "-pix_fmt", "rgb24", "-"});
        EXPECT_EQ(rgb.size(), screen.pixels.size() * 3);
        std::size_t different = 0;
        for (std::size_t at = std::size_t{width} * panelHeight; at < rgb.size() / 3; ++at) {
            std::uint32_t found = 0;
            for (std::size_t channel = 0; channel < 3; ++channel) {
                found = found << 8U | static_cast<std::uint8_t>(rgb[at * 3 + channel]);
            }
            different += found == screen.pixels[at] ? 0 : 1;
        }
        return different;
    }
    /// Skips the pictures of the first seconds.
    static ClipPictures LookAt(const std::filesystem::path& clip, const Picture& desktop, double skippedSeconds) {
        constexpr int tolerance = 6;  // of the encoder
        constexpr int step = 4;       // smaller than any of the windows
        constexpr int edge = 16;      // a block of the encoder
        const int game = LumaOf(gameColor);
        ClipPictures found;
        int unknown = 0;
        int skipped = static_cast<int>(skippedSeconds * 30);
        DecodeLuma(clip, width, height, [&](std::span<const std::uint8_t> picture) {
            if (--skipped >= 0) {
                return;
            }
            bool isGame = true;
            bool isDesktop = true;
            for (int y = 0; y < height; y += step) {
                for (int x = 0; x < width; x += step) {
                    const int pixel = picture[static_cast<std::size_t>(y * width + x)];
                    isGame = isGame && std::abs(pixel - game) <= tolerance;
                    const bool ignored = y < panelHeight + edge || std::abs(x - width / 2) < edge;
                    isDesktop = isDesktop && (ignored || std::abs(pixel - LumaOf(desktop.At(x, y))) <= tolerance);
                }
            }
            found.other += isDesktop || (isGame && found.game > 0) ? unknown : 0;
            found.desktop += isDesktop ? 1 : 0;
            found.game += isGame ? 1 : 0;
            unknown = isDesktop || isGame ? 0 : unknown + 1;
        });
        found.other += unknown;
        return found;
    }
    /// Clicks the close button, which both window managers draw at the right end of the title.
    void ClickCloseBox() const {
        const std::string extents = user_.Property(user_.WindowOf(mainWindowName), "_NET_FRAME_EXTENTS");
        ASSERT_EQ(extents.size(), 16U);
        std::uint32_t sides[4];  // left, right, top, bottom
        std::memcpy(sides, extents.data(), sizeof sides);
        const Rectangle client = user_.Client(mainWindowName);
        user_.ClickAt(client.right - 14, client.top - static_cast<int>(sides[2]) / 2);
    }

    /// In the background, on the session's bus.
    ProgramOptions Options() const {
        return {.display = display_.Name(), .variables = {{"DBUS_SESSION_BUS_ADDRESS", session_.BusAddress()}}};
    }
    /// The bounds of the coloured pixels in the panel, which is grey.
    std::optional<Rectangle> PanelIcon() const {
        const Picture panel = user_.Grab(Rectangle{0, 0, width, panelHeight});
        Rectangle bounds{width, panelHeight, 0, 0};
        for (int y = 0; y < panel.height; ++y) {
            for (int x = 0; x < panel.width; ++x) {
                const std::uint32_t pixel = panel.At(x, y);
                if (std::abs(static_cast<int>(pixel & 0xFFU) - static_cast<int>(pixel >> 8U & 0xFFU)) > 60) {
                    bounds = {std::min(bounds.left, x), std::min(bounds.top, y), std::max(bounds.right, x + 1),
                              std::max(bounds.bottom, y + 1)};
                }
            }
        }
        return bounds.left < bounds.right ? std::optional(bounds) : std::nullopt;
    }
    /// Waits until the icon has its place in the panel.
    bool WaitPanelIcon() {
        return Eventually([&] {
            const std::optional<Rectangle> bounds = PanelIcon();
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            if (!bounds || bounds->Width() < 8 || PanelIcon() != bounds) {
                return false;
            }
            icon_ = {(bounds->left + bounds->right) / 2, (bounds->top + bounds->bottom) / 2};
            return true;
        });
    }
    /// Chooses the first item of the menu that the panel draws. Tries again if the panel was not ready for the click.
    bool OpenMainWindowByPanelMenu() const {
        for (int tries = 0; tries < 10; ++tries) {
            const std::vector<xcb_window_t> before = user_.TopLevels();
            user_.ClickAt(icon_.x, icon_.y, 3);
            Rectangle menu;
            const auto isMenu = [&](xcb_window_t window) {
                menu = user_.BoundsOf(window);
                return std::find(before.begin(), before.end(), window) == before.end() && user_.IsViewable(window) &&
                       menu.Height() > 100;
            };
            const auto opened = [&] {
                const std::vector<xcb_window_t> windows = user_.TopLevels();
                return std::any_of(windows.begin(), windows.end(), isMenu);
            };
            if (Eventually(opened, 3000)) {
                std::this_thread::sleep_for(std::chrono::milliseconds(500));
                user_.ClickAt(menu.left + 30, menu.top + 18);
                if (Eventually([&] { return user_.Shows(mainWindowName); }, 3000)) {
                    return true;
                }
            }
            user_.TapKey(XK_Escape);
        }
        return false;
    }
    bool WaitMinimized() const {
        return Eventually([&] { return user_.Property(user_.WindowOf(mainWindowName), "WM_STATE").starts_with('\3'); });
    }
    /// What a list of windows does.
    void Activate(xcb_window_t window) const {
        xcb_client_message_event_t event{};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = window;
        event.type = user_.Atom("_NET_ACTIVE_WINDOW");
        event.data.data32[0] = 2;  // from the user
        xcb_send_event(user_.Get(), 0, user_.Root(),
                       XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                       reinterpret_cast<const char*>(&event));
        user_.Sync();
    }
    void ExpectCapturesWithoutTheProgram(const ProgramRun& run);

    TemporaryFolder folder_{"zorvel-desktop"};
    PrivateDisplay display_;
    InterfaceUser user_{display_.Name()};
    OtherClient game_{display_.Name()};
    xcb_window_t gameWindow_ = XCB_WINDOW_NONE;
    DesktopSession session_{display_.Name(), user_};
    TrayUser tray_{display_.Name(), user_};
    Point icon_;
};

/// Opens overlay and notification over the desktop and over a game, and compares a screenshot of both and a clip.
void RealDesktopEndToEnd::ExpectCapturesWithoutTheProgram(const ProgramRun& run) {
    ASSERT_TRUE(user_.WaitHidden(toastName)) << "the notification of the start";
    const Picture desktop = GrabScreen();
    // One segment may be incomplete, and another one not yet listed.
    const double before = run.BufferedSeconds() + 2;
    ASSERT_TRUE(run.WaitForBuffer(before));
    ShowOverlayAndNotification(run);
    EXPECT_EQ(PixelsUnlikeScreen(TakeScreenshot(run), desktop), 0U);
    ASSERT_TRUE(user_.CloseOverlay());

    StartGame();
    ASSERT_TRUE(user_.WaitShown(badgeName));
    EXPECT_TRUE(Eventually([&] { return user_.Grab(badgeName).CountOf(gameColor) == 0; }))
        << "the game covers the badge";
    ShowOverlayAndNotification(run);
    EXPECT_TRUE(WaitActive(gameWindow_));
    EXPECT_EQ(PixelsUnlike(TakeScreenshot(run), {width, height}, gameColor), 0U);
    const ClipPictures pictures = LookAt(SaveClip(run), desktop, before);
    EXPECT_GT(pictures.desktop, 60);
    EXPECT_GT(pictures.game, 30);
    EXPECT_EQ(pictures.other, 0);
    ASSERT_TRUE(user_.CloseOverlay());
    EndGame();
    EXPECT_TRUE(user_.WaitHidden(badgeName));
}

TEST_F(RealDesktopEndToEnd, XfceShowsTheProgramAndItsCapturesDoNot) {
    session_.StartXfce(MakeWallpaper());
    ASSERT_TRUE(WaitWallpaper()) << session_.Log();
    ProgramRun run(Options());
    ASSERT_TRUE(run.WaitForBuffer(1));
    // The window manager has the key.
    EXPECT_TRUE(run.WaitForActivity("Shortcut busy: Save instant replay (Alt + F10)").has_value());
    ASSERT_TRUE(WaitPanelIcon());
    EXPECT_EQ(user_.FindBelow(user_.Root(), "_NET_WM_NAME", "ZV Reels Max", 8), xcb_window_t{XCB_WINDOW_NONE})
        << "the icon is a window, although the panel listens to the bus";
    EXPECT_TRUE(user_.WaitHidden(mainWindowName));

    ExpectCapturesWithoutTheProgram(run);

    // The program's menu and the panel's, each with the close box and back.
    ASSERT_TRUE(tray_.OpenMenuAt(icon_, 1));
    EXPECT_TRUE(Eventually([&] { return tray_.MenuSays(1, u"Save Clip (Alt + F10)"); }));
    tray_.ClickMenuRow(0);
    ASSERT_TRUE(user_.WaitShown(mainWindowName));
    EXPECT_TRUE(WaitActive(user_.WindowOf(mainWindowName)));
    ClickCloseBox();
    ASSERT_TRUE(user_.WaitHidden(mainWindowName));
    ASSERT_TRUE(OpenMainWindowByPanelMenu());
    EXPECT_TRUE(WaitActive(user_.WindowOf(mainWindowName)));
    ClickCloseBox();
    ASSERT_TRUE(user_.WaitHidden(mainWindowName));
    EXPECT_TRUE(run.Process().Alive());
    ASSERT_TRUE(tray_.OpenMenuAt(icon_, 1));
    tray_.ClickMenuRow(6);
    EXPECT_EQ(run.Process().WaitExit(), 0);
    EXPECT_TRUE(Eventually([&] { return !PanelIcon(); }));
}

TEST_F(RealDesktopEndToEnd, MutterShowsTheProgramAndItsCapturesDoNot) {
    session_.StartMutter();
    Picture desktop;
    // It fades its background in.
    ASSERT_TRUE(Eventually([&] {
        desktop = GrabScreen();
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        return desktop.CountOf(0) < desktop.pixels.size() && GrabScreen().pixels == desktop.pixels;
    })) << session_.Log();
    ProgramOptions options = Options();
    options.background = false;
    ProgramRun run(options);
    ASSERT_TRUE(run.WaitForBuffer(1));
    // There is no notification area, so the close box does not hide the window.
    ASSERT_TRUE(WaitActive(user_.WindowOf(mainWindowName)));
    ClickCloseBox();
    ASSERT_TRUE(WaitMinimized());
    ASSERT_TRUE(user_.WaitHidden(toastName));
    ASSERT_TRUE(Eventually([&] { return GrabScreen().pixels == desktop.pixels; }));

    ExpectCapturesWithoutTheProgram(run);

    Activate(user_.WindowOf(mainWindowName));
    EXPECT_TRUE(WaitActive(user_.WindowOf(mainWindowName)));
    EXPECT_TRUE(run.Process().Alive());
    EXPECT_EQ(run.End(), 0);

    const ProgramRun background(Options());
    ASSERT_TRUE(background.WaitForBuffer(1));
    EXPECT_TRUE(WaitMinimized());
}

}  // namespace
}  // namespace zv
