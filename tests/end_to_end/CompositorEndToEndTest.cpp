// Recordings and screenshots of a full-screen player under real compositors, while the program's windows come and go
// above it. The desktop has a wallpaper and a minimized window.
#include <algorithm>

#include "support/Eventually.h"
#include "support/InterfaceUser.h"
#include "support/MediaProbe.h"
#include "support/Openbox.h"
#include "support/PrivateDisplay.h"
#include "support/Processes.h"
#include "support/ProgramRun.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

using namespace support;

constexpr std::uint32_t wallpaperColor = 0x0000FF;
constexpr std::uint32_t minimizedColor = 0xFF0000;
constexpr Point screenSize{1280, 720};

struct Desktop {
    std::string name;
    std::vector<Arguments> programs;
};

class CompositorEndToEnd : public testing::TestWithParam<Desktop> {
protected:
    CompositorEndToEnd() {
        HangWallpaper();
        bus_ = Spawned({"dbus-daemon", "--session", "--nofork", "--nopidfile", "--address=" + BusAddress()}, {},
                       folder_.Path() / "bus.log");
        EXPECT_TRUE(Eventually([&] { return std::filesystem::exists(folder_.Path() / "bus"); }));
        for (const Arguments& program : GetParam().programs) {
            programs_.push_back(program[0] == "openbox" ? StartOpenbox(display_.Name(), folder_.Path())
                                                        : Start(program));
        }
        EXPECT_TRUE(Eventually(
            [&] { return !user_.Property(user_.Root(), "_NET_SUPPORTING_WM_CHECK").empty() && SelectionHasOwner(); }));
        OpenMinimizedWindow();
    }

    std::string BusAddress() const { return "unix:path=" + (folder_.Path() / "bus").string(); }
    Spawned Start(const Arguments& program) const {
        const std::string home = folder_.Path().string();
        return Spawned(program,
                       {{"DISPLAY", display_.Name()},
                        {"HOME", home},
                        {"XDG_RUNTIME_DIR", home},
                        {"XDG_CONFIG_HOME", home},
                        {"DBUS_SESSION_BUS_ADDRESS", BusAddress()}},
                       folder_.Path() / "desktop.log");
    }
    bool SelectionHasOwner() const {
        const Reply<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(
            user_.Get(), xcb_get_selection_owner(user_.Get(), user_.Atom("_NET_WM_CM_S0")), nullptr));
        return reply && reply->owner != XCB_WINDOW_NONE;
    }
    void HangWallpaper() const {
        const xcb_pixmap_t picture = xcb_generate_id(user_.Get());
        const xcb_gcontext_t context = xcb_generate_id(user_.Get());
        const xcb_rectangle_t all{0, 0, screenSize.x, screenSize.y};
        xcb_create_pixmap(user_.Get(), 24, picture, user_.Root(), screenSize.x, screenSize.y);
        xcb_create_gc(user_.Get(), context, picture, XCB_GC_FOREGROUND, &wallpaperColor);
        xcb_poly_fill_rectangle(user_.Get(), picture, context, 1, &all);
        xcb_change_property(user_.Get(), XCB_PROP_MODE_REPLACE, user_.Root(), user_.Atom("_XROOTPMAP_ID"),
                            XCB_ATOM_PIXMAP, 32, 1, &picture);
        user_.Sync();
    }
    void OpenMinimizedWindow() const {
        const xcb_window_t window = xcb_generate_id(user_.Get());
        xcb_create_window(user_.Get(), XCB_COPY_FROM_PARENT, window, user_.Root(), 0, 0, 600, 400, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL, &minimizedColor);
        xcb_map_window(user_.Get(), window);
        const auto state = [&] { return user_.Property(window, "WM_STATE").substr(0, 1); };
        ASSERT_TRUE(Eventually([&] { return state() == "\1"; }));
        constexpr std::uint32_t iconic = 3;
        xcb_client_message_event_t event{};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = window;
        event.type = user_.Atom("WM_CHANGE_STATE");
        event.data.data32[0] = iconic;
        xcb_send_event(user_.Get(), 0, user_.Root(),
                       XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                       reinterpret_cast<const char*>(&event));
        user_.Sync();
        ASSERT_TRUE(Eventually([&] { return state() == "\3"; }));
    }
    /// Waits until the compositor shows the player alone.
    bool WaitPlayerAlone() {
        return Eventually([&] {
            const Picture screen = user_.Grab(Rectangle{0, 0, screenSize.x, screenSize.y});
            playerColor_ = screen.At(0, 0);
            // The player converts the colour.
            const bool green = (playerColor_ & 0xF8FFF8U) >= 0xBC00U && (playerColor_ & 0xF8FFF8U) <= 0xC400U;
            return green && screen.CountOf(playerColor_) == screen.pixels.size();
        });
    }
    /// Describes the clip's pictures in which a pixel is darker or brighter than the player. Empty if there are none.
    static std::string ForeignPictures(const std::filesystem::path& clip) {
        constexpr int tolerance = 8;  // of the encoder
        constexpr int playerLuma = 134;
        long pictures = 0;
        std::string foreign;
        std::string description;
        std::vector<std::uint8_t> previous;
        DecodeLuma(clip, screenSize.x, screenSize.y, [&](std::span<const std::uint8_t> luma) {
            if (!std::equal(luma.begin(), luma.end(), previous.begin(), previous.end())) {
                previous.assign(luma.begin(), luma.end());
                const auto [darkest, brightest] = std::minmax_element(luma.begin(), luma.end());
                const bool isForeign = *darkest < playerLuma - tolerance || *brightest > playerLuma + tolerance;
                description = !isForeign ? ""
                                         : " (" + std::to_string(*darkest) + " in row " +
                                               std::to_string((darkest - luma.begin()) / screenSize.x) + ", " +
                                               std::to_string(*brightest) + " in row " +
                                               std::to_string((brightest - luma.begin()) / screenSize.x) + ")";
            }
            foreign += description.empty() ? "" : std::to_string(pictures) + description + "\n";
            ++pictures;
        });
        EXPECT_GT(pictures, 100);
        return foreign;
    }

    TemporaryFolder folder_{"zorvel-compositor"};
    PrivateDisplay display_{"1280x720"};
    InterfaceUser user_{display_.Name()};
    Spawned bus_;
    std::vector<Spawned> programs_;
    std::uint32_t playerColor_ = 0;
};

INSTANTIATE_TEST_SUITE_P(Under, CompositorEndToEnd,
                         testing::Values(Desktop{"Mutter", {{"mutter", "--x11"}}},
                                         Desktop{"Picom", {{"openbox"}, {"picom", "--backend", "xrender"}}},
                                         Desktop{"Xfwm4", {{"xfwm4", "--compositor=on"}}}),
                         [](const auto& desktop) { return desktop.param.name; });

TEST_P(CompositorEndToEnd, RecordingsAndScreenshotsContainThePlayerAlone) {
    ProgramRun run(
        {.display = display_.Name(), .settings = {{"instantReplay", "0"}, {"width", "1280"}, {"height", "720"}}});
    ASSERT_TRUE(run.WaitForActivity("Replay stopped.").has_value());
    programs_.push_back(
        Start({"ffplay", "-v", "error", "-fs", "-noborder", "-f", "lavfi", "color=0x00C000:s=640x360:r=30"}));
    ASSERT_TRUE(WaitPlayerAlone());
    user_.TapKey({XK_Control_L, XK_Alt_L}, XK_r);
    ASSERT_TRUE(run.WaitForActivity("Recording started").has_value());
    for (std::size_t opening = 1; opening <= 3; ++opening) {
        ASSERT_TRUE(user_.WaitShown(badgeName)) << "the player is not in front";
        ASSERT_TRUE(user_.OpenOverlay());
        user_.TapKey({XK_Control_L, XK_Alt_L}, XK_s);
        ASSERT_TRUE(Eventually([&] { return CapturesOf(run, ".png").size() == opening; }));
        ASSERT_TRUE(user_.WaitShown(overlayName)) << "it does not return after the screenshot";
        ASSERT_TRUE(user_.WaitHidden(toastName));
        ASSERT_TRUE(user_.CloseOverlay());
    }
    ASSERT_TRUE(user_.WaitShown(badgeName));
    user_.TapKey({XK_Control_L, XK_Alt_L}, XK_r);
    const auto row = run.WaitForActivity("Recording saved: ");
    ASSERT_TRUE(row.has_value());
    EXPECT_EQ(ForeignPictures(row->substr(std::string("Recording saved: ").size())), "");
    for (const std::filesystem::path& picture : CapturesOf(run, ".png")) {
        EXPECT_EQ(PixelsUnlike(picture, screenSize, playerColor_), 0U) << picture;
    }
    EXPECT_EQ(run.End(), 0);
}

}  // namespace
}  // namespace zv
