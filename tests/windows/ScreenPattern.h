// A window that shows a pattern, and pictures of it read back from PNG files.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <utility>
#include <vector>

#include "platform/Clock.h"
#include "platform/ScreenGrab.h"
// After the program's own headers, whose names its macros would change.
#include <windows.h>

#include <objidl.h>

#include <gdiplus.h>

namespace zv::windows {

inline constexpr int left = 120;
inline constexpr int top = 80;
inline constexpr int width = 201;
inline constexpr int height = 97;

/// Every pixel differs from its neighbours, and the channels differ from each other. 0x00RRGGBB.
constexpr std::uint32_t ColorAt(int x, int y) {
    const auto red = static_cast<std::uint32_t>(x * 3 + y) & 0xFFU;
    const auto green = static_cast<std::uint32_t>(x + y * 5 + 40) & 0xFFU;
    const auto blue = static_cast<std::uint32_t>(x * 7 + y * 11 + 90) & 0xFFU;
    return red << 16U | green << 8U | blue;
}

/// A topmost window with the pattern in desktop coordinates. Waits until it is visible.
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

inline Picture ReadPng(const std::filesystem::path& path) {
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

/// The number of pixels of the pattern that differ in a picture of `area`.
inline int Differences(const Picture& picture, const Rectangle& area) {
    int count = 0;
    for (int y = top; y < top + height; ++y) {
        for (int x = left; x < left + width; ++x) {
            const int at = (y - area.top) * picture.width + x - area.left;
            count += picture.pixels.at(static_cast<std::size_t>(at)) == ColorAt(x, y) ? 0 : 1;
        }
    }
    return count;
}

}  // namespace zv::windows
