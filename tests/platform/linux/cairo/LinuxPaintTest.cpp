// A picture in strips on a private X server: the rows have the right positions, and a colour key's holes stay.
#include <gtest/gtest.h>
#include <xcb/shape.h>
#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <vector>

#include "platform/Session.h"
#include "platform/Window.h"
#include "support/MessageLoop.h"
#include "support/XServer.h"

namespace zv {
namespace {

constexpr int width = 40;
constexpr int height = 25;
constexpr int stripRows = 10;
constexpr int left = 30;
constexpr int top = 20;
constexpr std::uint32_t keyPixel = 0x010203;

struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};

/// The expected content of the window: every row has its own colour.
std::uint32_t PixelAt(int y) { return 0x400000U + static_cast<std::uint32_t>(y) * 5; }

void PutStrips(AppWindow& window) {
    for (int first = 0; first < height; first += stripRows) {
        const int rows = std::min(stripRows, height - first);
        std::vector<std::uint32_t> pixels;
        for (int y = first; y < first + rows; ++y) {
            pixels.insert(pixels.end(), width, PixelAt(y));
        }
        PutPixelRows(window, pixels.data(), width, rows, first);
    }
}

/// The first paint is one picture with a hole on the left.
void PutWithHole(AppWindow& window) {
    std::vector<std::uint32_t> pixels(width * height, 0x112233);
    for (int y = 0; y < height; ++y) {
        pixels[static_cast<std::size_t>(y * width)] = keyPixel;
    }
    PutPixels(window, pixels.data(), width, height);
}

void (*paint)(AppWindow& window) = nullptr;

std::intptr_t Procedure(AppWindow& window, std::uint32_t code, std::uintptr_t wParam, std::intptr_t lParam) {
    if (code == message::paint) {
        paint(window);
        return 0;
    }
    if (support::HandlesCheckTimer(code, wParam)) {
        return 0;
    }
    return DefaultProcedure(window, code, wParam, lParam);
}

std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> Connect() {
    return {xcb_connect(nullptr, nullptr), xcb_disconnect};
}

/// A column of the screen, from the window's first row on.
std::vector<std::uint32_t> ScreenColumn(int x) {
    const auto connection = Connect();
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data->root;
    const std::unique_ptr<xcb_get_image_reply_t, FreeReply> reply(
        xcb_get_image_reply(connection.get(),
                            xcb_get_image(connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, root,
                                          static_cast<std::int16_t>(x), top, 1, height, ~0U),
                            nullptr));
    std::vector<std::uint32_t> column;
    const auto* pixels = reply ? reinterpret_cast<const std::uint32_t*>(xcb_get_image_data(reply.get())) : nullptr;
    for (int y = 0; pixels != nullptr && y < height; ++y) {
        column.push_back(pixels[y] & 0xFFFFFFU);
    }
    return column;
}

std::vector<std::uint32_t> Wanted() {
    std::vector<std::uint32_t> column;
    for (int y = 0; y < height; ++y) {
        column.push_back(PixelAt(y));
    }
    return column;
}

bool StripsShow() { return ScreenColumn(left + 1) == Wanted() && ScreenColumn(left + width - 1) == Wanted(); }
bool HoleShows() { return ScreenColumn(left + 1) == std::vector<std::uint32_t>(height, 0x112233); }

class LinuxPaint : public testing::Test {
protected:
    LinuxPaint() : server_("320x200x24") {
        EXPECT_TRUE(OpenSession());
        WindowOptions options;
        options.className = u"strips";
        options.procedure = Procedure;
        options.frame = WindowFrame::Bare;
        options.left = left;
        options.top = top;
        options.width = width;
        options.height = height;
        window_ = MakeWindow(options);
    }
    /// Runs the loop until `condition` holds on the screen.
    bool RunUntil(bool (*condition)()) { return support::RunUntil(*window_, condition); }

    support::XServer server_;
    Owned<AppWindow> window_;
};

TEST_F(LinuxPaint, StripsArePaintedOneBelowTheOther) {
    paint = PutStrips;
    ShowWindowPlain(*window_);
    EXPECT_TRUE(RunUntil(StripsShow));
}

TEST_F(LinuxPaint, StripsKeepTheShapeOfAColourKey) {
    paint = PutWithHole;
    SetColorKey(*window_, 0x030201);
    ShowWindowPlain(*window_);
    ASSERT_TRUE(RunUntil(HoleShows));
    const std::vector<std::uint32_t> beneath = ScreenColumn(left);
    EXPECT_NE(beneath, std::vector<std::uint32_t>(height, 0x112233));
    paint = PutStrips;
    InvalidateWindow(*window_);
    EXPECT_TRUE(RunUntil(StripsShow));
    EXPECT_EQ(ScreenColumn(left), beneath);
}

}  // namespace
}  // namespace zv
