// A picture put in strips on the real screen: all of them are shown, although the first strip already validates the
// window.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "platform/Session.h"
#include "platform/Window.h"
// After the program's own headers, whose names its macros would change.
#include <windows.h>

namespace zv {
namespace {

constexpr int width = 40;
constexpr int height = 25;
constexpr int stripRows = 10;
constexpr int left = 130;
constexpr int top = 120;
int paints = 0;

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

std::intptr_t Procedure(AppWindow& window, std::uint32_t code, std::uintptr_t wParam, std::intptr_t lParam) {
    if (code == message::paint) {
        ++paints;
        PutStrips(window);
        return 0;
    }
    return code == message::eraseBackground ? 1 : DefaultProcedure(window, code, wParam, lParam);
}

int WrongRows() {
    const HDC screen = GetDC(nullptr);
    int wrong = 0;
    for (int y = 0; y < height; ++y) {
        for (const int x : {0, width - 1}) {
            const COLORREF pixel = GetPixel(screen, left + x, top + y);
            const COLORREF wanted = RGB(PixelAt(y) >> 16, PixelAt(y) >> 8 & 0xFF, PixelAt(y) & 0xFF);
            wrong += pixel == wanted ? 0 : 1;
        }
    }
    ReleaseDC(nullptr, screen);
    return wrong;
}

TEST(Paint, ShowsAllStripsOfOnePaintMessage) {
    ASSERT_TRUE(OpenSession());
    WindowOptions options;
    options.className = u"strips";
    options.procedure = Procedure;
    options.frame = WindowFrame::Bare;
    options.left = left;
    options.top = top;
    options.width = width;
    options.height = height;
    options.topmost = true;
    const auto window = MakeWindow(options);
    ASSERT_NE(window, nullptr);
    ShowWindowPlain(*window);
    for (int i = 0; i < 600 && (paints == 0 || WrongRows() != 0); ++i) {
        MSG code{};
        while (PeekMessageW(&code, nullptr, 0, 0, PM_REMOVE) != FALSE) {
            DispatchMessageW(&code);
        }
        Sleep(10);
    }
    EXPECT_EQ(WrongRows(), 0);
    const HWND handle = FindWindowW(L"strips", nullptr);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(GetUpdateRect(handle, nullptr, FALSE), FALSE) << "nothing is left to be painted";
    EXPECT_LT(paints, 20);
}

}  // namespace
}  // namespace zv
