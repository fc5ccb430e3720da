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

/// BT.709, limited range, of a colour that fills an area.
int LumaOf(std::uint32_t color) {
    const double red = color >> 16U & 0xFFU;
    const double green = color >> 8U & 0xFFU;
    const double blue = color & 0xFFU;
    return static_cast<int>(16.5 + (0.2126 * red + 0.7152 * green + 0.0722 * blue) * 219 / 255);
}

/// The badge may cover the upper right corner of the notification.
Words ToastWords(const Text& text) {
    return {.box = {68, 8, 314, 68}, .text = text, .background = color::toast, .look = {68, 8, 234, 68}};
}

/// What the pictures of a clip show.
struct ClipPictures {
    int desktop = 0;  ///< the wallpaper alone
    int game = 0;     ///< the game alone
    int other = 0;
};

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
        ASSERT_TRUE(user_.WaitSays(toastName, ToastWords(u"This feature is not available")));
        const double before = run.BufferedSeconds();
        ASSERT_TRUE(run.WaitForBuffer(before + 2));
        EXPECT_TRUE(user_.Shows(overlayName));
    }
    /// Takes a screenshot. Returns its file.
    std::filesystem::path TakeScreenshot(const ProgramRun& run) const {
        const std::vector<std::filesystem::path> before = CapturesOf(run, ".png");
        user_.TapKey({XK_Control_L, XK_Alt_L}, XK_s);
        EXPECT_TRUE(user_.WaitSays(toastName, ToastWords(u"Screenshot saved")));
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
    /// Crops both halves of a screenshot without the panel and counts the pixels of another colour.
    std::size_t PixelsUnlikeWallpaper(const std::filesystem::path& picture) const {
        std::size_t different = 0;
        const std::filesystem::path half = folder_.Path() / "half.png";
        constexpr Point size{width / 2, height - panelHeight};
        for (const auto& [left, color] : {std::pair{0, leftColor}, std::pair{width / 2, rightColor}}) {
            const std::string crop = "crop=" + std::to_string(size.x) + ":" + std::to_string(size.y) + ":" +
                                     std::to_string(left) + ":" + std::to_string(panelHeight);
            OutputOf({"ffmpeg", "-v", "error", "-y", "-i", picture.string(), "-vf", crop, half.string()});
            different += PixelsUnlike(half, size, color).value_or(std::size_t{width} * height);
        }
        return different;
    }
    static ClipPictures LookAt(const std::filesystem::path& clip) {
        const int game = LumaOf(gameColor);
        const std::array<int, 2> sides{LumaOf(leftColor), LumaOf(rightColor)};
        ClipPictures found;
        DecodeLuma(clip, width, height, [&](std::span<const std::uint8_t> picture) {
            constexpr int step = 4;  // smaller than any of the windows
            bool isGame = true;
            bool isDesktop = true;
            for (int y = 0; y < height; y += step) {
                for (int x = 0; x < width; x += step) {
                    const int pixel = picture[static_cast<std::size_t>(y * width + x)];
                    isGame = isGame && std::abs(pixel - game) <= 4;
                    const bool edge = std::abs(x - width / 2) < 16 || y < panelHeight + 16;
                    isDesktop = isDesktop && (edge || std::abs(pixel - sides[x < width / 2 ? 0 : 1]) <= 4);
                }
            }
            found.game += isGame ? 1 : 0;
            found.desktop += isDesktop ? 1 : 0;
            found.other += isGame || isDesktop ? 0 : 1;
        });
        return found;
    }
    /// Clicks the close button, which both window managers draw at the right end of the title.
    void ClickCloseBox() const {
        const std::string extents = user_.Property(user_.WindowOf(mainWindowName), "_NET_FRAME_EXTENTS");
        ASSERT_EQ(extents.size(), 16U);
        std::uint32_t sides[4];  // left, right, top, bottom
        std::memcpy(sides, extents.data(), sizeof sides);
        const Rectangle client = user_.Client(mainWindowName);
        user_.ClickAt(client.right - 10, client.top - static_cast<int>(sides[2]) / 2);
    }

    TemporaryFolder folder_{"zorvel-desktop"};
    PrivateDisplay display_;
    InterfaceUser user_{display_.Name()};
    OtherClient game_{display_.Name()};
    xcb_window_t gameWindow_ = XCB_WINDOW_NONE;
    DesktopSession session_{display_.Name(), user_};
    TrayUser tray_{display_.Name(), user_};
};

TEST_F(RealDesktopEndToEnd, XfceShowsTheProgramAndItsCapturesDoNot) {
    session_.StartXfce(MakeWallpaper());
    ASSERT_TRUE(WaitWallpaper()) << session_.Log();
    ProgramRun run({.display = display_.Name()});
    ASSERT_TRUE(run.WaitForBuffer(1));
    // The window manager has the key.
    EXPECT_TRUE(run.WaitForActivity("Shortcut busy: Save instant replay (Alt + F10)").has_value());

    // The icon, in the panel.
    ASSERT_TRUE(tray_.WaitIcon());
    const Rectangle icon = *tray_.Icon();
    EXPECT_GE(icon.top, 0);
    EXPECT_LE(icon.bottom, panelHeight);

    // Over the wallpaper.
    ASSERT_TRUE(user_.WaitHidden(toastName)) << "the notification of the start";
    ShowOverlayAndNotification(run);
    EXPECT_EQ(PixelsUnlikeWallpaper(TakeScreenshot(run)), 0U);
    ASSERT_TRUE(user_.CloseOverlay());

    // Over a full-screen game.
    StartGame();
    ASSERT_TRUE(user_.WaitShown(badgeName));
    EXPECT_TRUE(Eventually([&] { return user_.Grab(badgeName).CountOf(gameColor) == 0; }))
        << "the game covers the badge";
    ShowOverlayAndNotification(run);
    EXPECT_TRUE(WaitActive(gameWindow_));
    EXPECT_EQ(PixelsUnlike(TakeScreenshot(run), {width, height}, gameColor), 0U);
    const ClipPictures pictures = LookAt(SaveClip(run));
    EXPECT_GT(pictures.desktop, 60);
    EXPECT_GT(pictures.game, 30);
    EXPECT_EQ(pictures.other, 0);
    ASSERT_TRUE(user_.CloseOverlay());
    EndGame();
    EXPECT_TRUE(user_.WaitHidden(badgeName));

    // The menu, the main window, the close box and back.
    for (int round = 0; round < 2; ++round) {
        ASSERT_TRUE(tray_.OpenMenu(3));
        EXPECT_TRUE(Eventually([&] { return tray_.MenuSays(0, u"Open Zorvel"); }));
        tray_.ClickMenuRow(0);
        ASSERT_TRUE(user_.WaitShown(mainWindowName));
        EXPECT_TRUE(WaitActive(user_.WindowOf(mainWindowName)));
        ClickCloseBox();
        EXPECT_TRUE(user_.WaitHidden(mainWindowName));
        EXPECT_TRUE(run.Process().Alive());
    }
    ASSERT_TRUE(tray_.OpenMenu(3));
    tray_.ClickMenuRow(6);
    EXPECT_EQ(run.Process().WaitExit(), 0);
    EXPECT_TRUE(tray_.WaitNoIcon());
}

}  // namespace
}  // namespace zv
