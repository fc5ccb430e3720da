// The content that our windows occlude: its pixels, and the number of requests that it costs.
#include "platform/linux/x11/capture/OccludedContent.h"

#include <gtest/gtest.h>
#include <xcb/composite.h>

#include <vector>

#include "platform/linux/x11/RandrMonitors.h"
#include "platform/linux/x11/Xcb.h"
#include "platform/linux/x11/capture/ExcludedWindows.h"
#include "support/PlatformChild.h"
#include "support/ServerWatch.h"
#include "support/XClient.h"
#include "support/XServer.h"

namespace zv::x11 {
namespace {

constexpr int width = 640;
constexpr int height = 480;
constexpr std::uint32_t red = 0xC03020;
constexpr std::uint32_t green = 0x20A040;
constexpr std::uint32_t blue = 0x2040C0;
constexpr std::uint32_t yellow = 0xFFFF00;

class LinuxOccludedContent : public testing::Test {
protected:
    LinuxOccludedContent() {
        xcb_composite_query_version(other_.Get(), 0, 4);
        xcb_composite_redirect_subwindows(other_.Get(), other_.Root(), XCB_COMPOSITE_REDIRECT_AUTOMATIC);
        other_.Cover({0, 0, width, height}, green);
        other_.Cover({100, 100, 200, 200}, blue);
        ours_ = other_.Cover({0, 0, width, height}, red);
        RegisterExcluded(ours_);
    }
    ~LinuxOccludedContent() override { UnregisterExcluded(ours_); }

    void Restore(const Damage& parts) {
        content_.Restore(parts, {reinterpret_cast<std::uint8_t*>(pixels_.data()), std::size_t{width} * 4, {0, 0}});
    }
    long CountOf(std::uint32_t color) const {
        return std::count_if(pixels_.begin(), pixels_.end(),
                             [&](std::uint32_t pixel) { return (pixel & 0xFFFFFFU) == color; });
    }
    /// Counts the requests that the server receives during one Restore, by major and minor opcode. Marker requests
    /// delimit its beginning and its end.
    std::map<std::pair<int, int>, int> RequestsFor(const Damage& parts) {
        Restore(parts);  // the shared memory is large enough afterwards
        support::RequestWatch watch(display_, xcb_get_setup(client_.Get())->resource_id_base);
        xcb_connection_t* connection = client_.Get();
        EXPECT_TRUE(support::Eventually([&] {
            Adopt(xcb_get_pointer_control_reply(connection, xcb_get_pointer_control(connection), nullptr));
            return watch.Requests().contains({XCB_GET_POINTER_CONTROL, 0});
        }));
        Restore(parts);
        Adopt(xcb_get_keyboard_control_reply(connection, xcb_get_keyboard_control(connection), nullptr));
        EXPECT_TRUE(support::Eventually([&] { return watch.Requests().contains({XCB_GET_KEYBOARD_CONTROL, 0}); }));
        return watch.Requests();
    }

    support::XServer server_{"640x480x24"};
    const std::string display_ = ":" + std::to_string(server_.Number());
    support::OtherClient other_{display_};
    support::OtherClient client_{display_};
    OccludedContent content_{client_.Get(), *ScreenOf(client_.Get(), 0)};
    std::vector<std::uint32_t> pixels_ = std::vector<std::uint32_t>(std::size_t{width} * height, red);
    xcb_window_t ours_ = XCB_WINDOW_NONE;
};

Damage Parts(int count) {
    Damage parts;
    for (int i = 0; i < count; ++i) {
        parts.Add({i * 30, 90 + i, i * 30 + 20 + i, 130 + 2 * i});
    }
    return parts;
}

TEST_F(LinuxOccludedContent, ReplacesEachPartByTheWindowsBelow) {
    const Damage parts = Parts(Damage::most);
    Restore(parts);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const bool restored = parts.Holds({x, y, x + 1, y + 1});
            const bool inUpper = x >= 100 && x < 200 && y >= 100 && y < 200;
            const std::uint32_t expected = !restored ? red : inUpper ? blue : green;
            ASSERT_EQ(pixels_[static_cast<std::size_t>(y * width + x)] & 0xFFFFFFU, expected) << x << " " << y;
        }
    }
}

TEST_F(LinuxOccludedContent, WaitsForTheServerEquallyOftenForAnyNumberOfParts) {
    constexpr std::pair getWindowAttributes{XCB_GET_WINDOW_ATTRIBUTES, 0};
    constexpr std::pair getGeometry{XCB_GET_GEOMETRY, 0};
    constexpr std::pair queryTree{XCB_QUERY_TREE, 0};
    constexpr std::pair getProperty{XCB_GET_PROPERTY, 0};
    constexpr std::pair getInputFocus{XCB_GET_INPUT_FOCUS, 0};
    const std::pair shmGetImage{int{xcb_get_extension_data(client_.Get(), &xcb_shm_id)->major_opcode}, 4};
    const int windows = static_cast<int>(other_.TopLevels().size());
    for (const int count : {1, 4, static_cast<int>(Damage::most)}) {
        auto requests = RequestsFor(Parts(count));
        EXPECT_EQ(requests[queryTree], 1) << count;
        EXPECT_EQ(requests[getProperty], 1) << count;
        EXPECT_EQ(requests[getWindowAttributes], windows) << count;
        EXPECT_EQ(requests[getGeometry], windows) << count;
        EXPECT_EQ(requests[getInputFocus], 0) << count << ": XCB sends these to check requests";
        EXPECT_EQ(requests[shmGetImage], 1) << count;
    }
}

TEST_F(LinuxOccludedContent, OmitsWindowsBelowTheGuardOfAWindowManager) {
    const xcb_window_t guard = xcb_generate_id(other_.Get());
    const std::uint32_t bare = 1;
    xcb_create_window(other_.Get(), 0, guard, other_.Root(), 0, 0, width, height, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, XCB_CW_OVERRIDE_REDIRECT, &bare);
    xcb_map_window(other_.Get(), guard);
    other_.Cover({300, 100, 400, 200}, yellow);
    Damage all;
    all.Add({0, 0, width, height});
    Restore(all);
    EXPECT_EQ(CountOf(blue), 100 * 100) << "an invisible window hides nothing";
    constexpr std::string_view name = "window manager guard window";
    xcb_change_property(other_.Get(), XCB_PROP_MODE_REPLACE, guard, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8, name.size(),
                        name.data());
    other_.Sync();
    Restore(all);
    EXPECT_EQ(CountOf(yellow), 100 * 100);
    EXPECT_EQ(CountOf(0), width * height - 100 * 100);
}

TEST_F(LinuxOccludedContent, DrawsTheWallpaperOrElseTheBackdropBelowTheWindows) {
    const auto solid = [&](std::uint32_t color) {
        const xcb_pixmap_t pixmap = xcb_generate_id(other_.Get());
        const xcb_gcontext_t context = xcb_generate_id(other_.Get());
        const xcb_rectangle_t area{0, 0, width, height};
        xcb_create_pixmap(other_.Get(), 24, pixmap, other_.Root(), width, height);
        xcb_create_gc(other_.Get(), context, pixmap, XCB_GC_FOREGROUND, &color);
        xcb_poly_fill_rectangle(other_.Get(), pixmap, context, 1, &area);
        return pixmap;
    };
    for (const xcb_window_t window : other_.TopLevels()) {
        xcb_unmap_window(other_.Get(), window);
    }
    other_.Cover({300, 100, 400, 200}, yellow);
    Damage all;
    all.Add({0, 0, width, height});
    PublishBackdrop(solid(green));
    other_.Sync();
    Restore(all);
    EXPECT_EQ(CountOf(yellow), 100 * 100);
    EXPECT_EQ(CountOf(green), width * height - 100 * 100);
    const xcb_pixmap_t wallpaper = solid(blue);
    xcb_change_property(other_.Get(), XCB_PROP_MODE_REPLACE, other_.Root(), other_.Atom("_XROOTPMAP_ID"),
                        XCB_ATOM_PIXMAP, 32, 1, &wallpaper);
    other_.Sync();
    Restore(all);
    EXPECT_EQ(CountOf(blue), width * height - 100 * 100);
    PublishBackdrop(XCB_NONE);
}

TEST(LinuxOccludedContentOfATallScreen, ReplacesPartsWhoseRowsExceedAPictureOfTheServer) {
    constexpr int tallWidth = 64;
    constexpr int tallHeight = 20000;
    const support::XServer server("64x20000x24");
    const std::string display = ":" + std::to_string(server.Number());
    support::OtherClient other(display);
    const support::OtherClient client(display);
    xcb_composite_query_version(other.Get(), 0, 4);
    xcb_composite_redirect_subwindows(other.Get(), other.Root(), XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    other.Cover({0, 0, tallWidth, tallHeight}, green);
    std::vector<std::uint32_t> pixels(std::size_t{tallWidth} * tallHeight, red);
    Damage parts;
    parts.Add({0, 0, 20, tallHeight});
    parts.Add({40, 0, 60, tallHeight});
    OccludedContent content(client.Get(), *ScreenOf(client.Get(), 0));
    content.Restore(parts, {reinterpret_cast<std::uint8_t*>(pixels.data()), std::size_t{tallWidth} * 4, {0, 0}});
    for (const std::size_t at : {std::size_t{0}, std::size_t{59}, pixels.size() - 64, pixels.size() - 5}) {
        EXPECT_EQ(pixels[at] & 0xFFFFFFU, green) << at;
    }
}

}  // namespace
}  // namespace zv::x11
