// Pictures of the real screen, read back and compared pixel by pixel with what a window painted there.
#include "platform/ScreenGrab.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <utility>
#include <vector>

#include "library/Screenshot.h"
#include "platform/Clock.h"
#include "platform/Files.h"
#include "platform/Window.h"
#include "support/FileBytes.h"
#include "support/TemporaryFolder.h"
#include "video/Monitors.h"
// After the program's own headers, whose names its macros would change.
#include <windows.h>

#include <objidl.h>

#include <gdiplus.h>

namespace zv {
namespace {

constexpr int left = 120;
constexpr int top = 80;
constexpr int width = 201;
constexpr int height = 97;

/// Every pixel differs from its neighbours, and no two channels are alike. 0x00RRGGBB.
constexpr std::uint32_t ColorAt(int x, int y) {
    const auto red = static_cast<std::uint32_t>(x * 3 + y) & 0xFFU;
    const auto green = static_cast<std::uint32_t>(x + y * 5 + 40) & 0xFFU;
    const auto blue = static_cast<std::uint32_t>(x * 7 + y * 11 + 90) & 0xFFU;
    return red << 16U | green << 8U | blue;
}

/// A window in front of everything with the pattern in it, in coordinates of the desktop. Waits until it can be seen.
class Painting {
public:
    Painting() {
        window_ = CreateWindowExW(WS_EX_TOPMOST | WS_EX_TOOLWINDOW, L"STATIC", L"", WS_POPUP | WS_VISIBLE, left, top,
                                  width, height, nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
        const std::uint64_t limit = TickMs() + 60000;
        do {
            Paint();
            Pump();
        } while (!Visible() && TickMs() < limit);
        EXPECT_TRUE(Visible());
    }
    ~Painting() { DestroyWindow(window_); }
    Painting(const Painting&) = delete;
    Painting& operator=(const Painting&) = delete;

private:
    void Paint() const {
        std::vector<std::uint32_t> pixels;
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                pixels.push_back(ColorAt(left + x, top + y));
            }
        }
        BITMAPINFO information{};
        information.bmiHeader = {sizeof(BITMAPINFOHEADER), width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
        const HDC context = GetDC(window_);
        SetDIBitsToDevice(context, 0, 0, width, height, 0, 0, 0, height, pixels.data(), &information, DIB_RGB_COLORS);
        ReleaseDC(window_, context);
    }
    static void Pump() {
        MsgWaitForMultipleObjects(0, nullptr, FALSE, 50, QS_ALLINPUT);
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            DispatchMessageW(&message);
        }
    }
    static bool Visible() {
        const HDC screen = GetDC(nullptr);
        bool visible = true;
        for (const auto& [x, y] : {std::pair{left, top}, std::pair{left + width - 1, top + height - 1}}) {
            const std::uint32_t color = ColorAt(x, y);
            visible = visible && GetPixel(screen, x, y) == RGB(color >> 16U, color >> 8U & 0xFFU, color & 0xFFU);
        }
        ReleaseDC(nullptr, screen);
        return visible;
    }

    HWND window_ = nullptr;
};

struct Picture {
    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> pixels;  ///< 0x00RRGGBB
};

Picture ReadPng(const std::filesystem::path& path) {
    ULONG_PTR token = 0;
    const Gdiplus::GdiplusStartupInput input;
    EXPECT_EQ(Gdiplus::GdiplusStartup(&token, &input, nullptr), Gdiplus::Ok);
    Picture picture;
    {
        Gdiplus::Bitmap bitmap(path.c_str());
        EXPECT_EQ(bitmap.GetLastStatus(), Gdiplus::Ok);
        picture.width = static_cast<int>(bitmap.GetWidth());
        picture.height = static_cast<int>(bitmap.GetHeight());
        for (int y = 0; y < picture.height; ++y) {
            for (int x = 0; x < picture.width; ++x) {
                Gdiplus::Color color;
                bitmap.GetPixel(x, y, &color);
                EXPECT_EQ(color.GetAlpha(), 255);
                picture.pixels.push_back(color.GetValue() & 0xFFFFFFU);
            }
        }
    }
    Gdiplus::GdiplusShutdown(token);
    return picture;
}

/// How many pixels of the pattern are not where the picture of `area` should have them.
int Differences(const Picture& picture, const ScreenArea& area) {
    int count = 0;
    for (int y = top; y < top + height; ++y) {
        for (int x = left; x < left + width; ++x) {
            const int at = (y - area.top) * picture.width + x - area.left;
            count += picture.pixels.at(static_cast<std::size_t>(at)) == ColorAt(x, y) ? 0 : 1;
        }
    }
    return count;
}

class ScreenGrab : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(OpenSession()); }

    support::TemporaryFolder folder_;
    std::filesystem::path path_ = folder_.Path() / "picture.png";
};

TEST_F(ScreenGrab, EqualsTheScreenPixelForPixel) {
    const Painting painting;
    SetCursorPos(left + 50, top + 50);
    const ScreenArea area{left, top, width, height};
    ASSERT_EQ(SaveScreenAsPng(area, FromPath(path_)), resultOk);
    EXPECT_TRUE(support::ReadBytes(path_).starts_with("\x89PNG\r\n\x1a\n"));
    const Picture picture = ReadPng(path_);
    ASSERT_EQ(picture.width, width);
    ASSERT_EQ(picture.height, height);
    EXPECT_EQ(Differences(picture, area), 0);
}

TEST_F(ScreenGrab, StartsAtTheCornerThatIsAskedFor) {
    const Painting painting;
    const ScreenArea area{left - 13, top - 7, width + 40, height + 30};
    ASSERT_EQ(SaveScreenAsPng(area, FromPath(path_)), resultOk);
    EXPECT_EQ(Differences(ReadPng(path_), area), 0);
}

TEST_F(ScreenGrab, OfAnAreaWithoutASizeFails) {
    for (const ScreenArea& area : {ScreenArea{0, 0, -5, 10}, ScreenArea{0, 0, 0, 10}, ScreenArea{0, 0, 10, 0}}) {
        EXPECT_EQ(CodeOf(SaveScreenAsPng(area, FromPath(path_))), 0x80070057U);  // ERROR_INVALID_PARAMETER
    }
    EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(ScreenGrab, IntoAFolderThatIsNotThereFails) {
    EXPECT_TRUE(Failed(SaveScreenAsPng({0, 0, 10, 10}, FromPath(folder_.Path() / "no" / "picture.png"))));
}

TEST_F(ScreenGrab, ManyPicturesLeaveNoHandleBehind) {
    const auto save = [&] { ASSERT_EQ(SaveScreenAsPng({0, 0, 64, 64}, FromPath(path_)), resultOk); };
    save();
    const auto objects = [] { return GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS); };
    DWORD handlesBefore = 0;
    GetProcessHandleCount(GetCurrentProcess(), &handlesBefore);
    const DWORD objectsBefore = objects();
    for (int i = 0; i < 20; ++i) {
        save();
    }
    DWORD handlesAfter = 0;
    GetProcessHandleCount(GetCurrentProcess(), &handlesAfter);
    EXPECT_LE(objects(), objectsBefore + 2);
    EXPECT_LE(handlesAfter, handlesBefore + 2);
}

TEST_F(ScreenGrab, AScreenshotShowsThePrimaryMonitorAtItsOwnSize) {
    const Painting painting;
    const auto monitor = ResolveMonitor(u"");
    ASSERT_TRUE(monitor);
    const Text said = SaveScreenshot(FromPath(folder_.Path() / "Desktop"), u"");
    constexpr TextView beginning = u"Screenshot saved: ";
    ASSERT_TRUE(said.starts_with(beginning));
    const Picture picture = ReadPng(ToPath(TextView(said).substr(beginning.size())));
    EXPECT_EQ(picture.width, 1920);
    EXPECT_EQ(picture.height, 1080);
    EXPECT_EQ(Differences(picture, {monitor->left, monitor->top, monitor->width, monitor->height}), 0);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.Path() / "Desktop"), {}), 1);
}

}  // namespace
}  // namespace zv
