// The program's own windows are masked in its own captures and screenshots by the content that they occlude, with and
// without a compositor.
#include <gmock/gmock.h>
#include <png.h>
#include <xcb/composite.h>
#include <xcb/shape.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "platform/Clock.h"
#include "platform/DesktopCapture.h"
#include "platform/Files.h"
#include "platform/ScreenGrab.h"
#include "platform/Session.h"
#include "platform/Window.h"
#include "platform/linux/x11/capture/ExcludedWindows.h"
#include "platform/software/Surface.h"
#include "support/Eventually.h"
#include "support/MessageLoop.h"
#include "support/PrivateDisplay.h"
#include "support/Processes.h"
#include "support/ScreenPainting.h"
#include "support/TemporaryFolder.h"
#include "support/XClient.h"

namespace zv {
namespace {

using support::ColorAt;
using support::OtherClient;
using support::RunUntil;
using support::ScreenPainting;

constexpr std::uint32_t red = 0xC03020;
constexpr std::uint32_t green = 0x20A040;
constexpr std::uint32_t blue = 0x2040C0;
constexpr int width = 640;
constexpr int height = 480;

std::intptr_t PaintRed(AppWindow& window, std::uint32_t code, std::uintptr_t wParam, std::intptr_t lParam) {
    if (support::HandlesCheckTimer(code, wParam)) {
        return 0;
    }
    if (code == message::paint) {
        const Rectangle client = ClientBounds(window);
        const std::vector<std::uint32_t> pixels(static_cast<std::size_t>(client.Width() * client.Height()), red);
        PutPixels(window, pixels.data(), client.Width(), client.Height());
    }
    return DefaultProcedure(window, code, wParam, lParam);
}

/// Who composes the screen.
enum class Manager {
    None,
    Composited,
    Direct  ///< a compositor that has released all windows from redirection, as with a full-screen game
};

class LinuxOwnWindows : public testing::TestWithParam<Manager> {
protected:
    LinuxOwnWindows() {
        setenv("DISPLAY", display_.Name().c_str(), 1);
        SetEndRequest(nullptr);
        EXPECT_TRUE(OpenSession());
        other_ = std::make_unique<OtherClient>(display_.Name());
        if (GetParam() == Manager::Composited) {
            compositor_ =
                support::Spawned({"xcompmgr", "-n"}, {{"DISPLAY", display_.Name()}}, folder_.Path() / "compositor.log");
        } else if (GetParam() == Manager::Direct) {
            const xcb_window_t owner = other_->Cover({-10, -10, -5, -5}, 0);
            xcb_set_selection_owner(other_->Get(), owner, other_->Atom("_NET_WM_CM_S0"), XCB_CURRENT_TIME);
        }
        EXPECT_TRUE(GetParam() == Manager::None || support::Eventually([&] { return HasCompositor(); }));
    }
    bool HasCompositor() const {
        const support::Reply<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(
            other_->Get(), xcb_get_selection_owner(other_->Get(), other_->Atom("_NET_WM_CM_S0")), nullptr));
        return reply && reply->owner != XCB_WINDOW_NONE;
    }
    static Owned<AppWindow> Make(bool excluded) {
        WindowOptions options;
        options.className = u"ZVTestOverlay";
        options.title = u"overlay";
        options.procedure = PaintRed;
        options.width = options.height = 50;
        options.frame = WindowFrame::Bare;
        options.topmost = options.toolWindow = options.noActivate = true;
        Owned<AppWindow> window = MakeWindow(options);
        if (excluded) {
            ExcludeFromCapture(*window);
        }
        return window;
    }
    void Show(AppWindow& window, const Rectangle& bounds) {
        ShowTopmostAt(window, bounds);
        ASSERT_TRUE(RunUntil(window, [&] { return other_->PixelAt(bounds.right - 1, bounds.bottom - 1) == red; }));
    }

    /// Waits until the screen does not show it.
    void Hide(AppWindow& window, const Rectangle& bounds) {
        HideWindow(window);
        ASSERT_TRUE(RunUntil(window, [&] { return other_->PixelAt(bounds.right - 1, bounds.bottom - 1) != red; }));
    }
    /// Paints over all windows without their knowledge, as a compositing manager does.
    void PaintOnScreen(const Rectangle& bounds, std::uint32_t color) const {
        const xcb_gcontext_t context = xcb_generate_id(other_->Get());
        const std::uint32_t values[] = {color, XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS};
        xcb_create_gc(other_->Get(), context, other_->Root(), XCB_GC_FOREGROUND | XCB_GC_SUBWINDOW_MODE, values);
        const xcb_rectangle_t all{static_cast<std::int16_t>(bounds.left), static_cast<std::int16_t>(bounds.top),
                                  static_cast<std::uint16_t>(bounds.Width()),
                                  static_cast<std::uint16_t>(bounds.Height())};
        xcb_poly_fill_rectangle(other_->Get(), other_->Root(), context, 1, &all);
        xcb_free_gc(other_->Get(), context);
        other_->Sync();
    }
    /// Simulates a compositing manager that still paints the window at its old bounds, and counts the wrong pixels.
    /// Repeats this if it took longer than bounds stay recorded.
    void ExpectMaskedOnALaggingScreen(AppWindow& window, const Rectangle& bounds, const std::function<void()>& leave,
                                      const std::function<long()>& countWrong) {
        for (int attempt = 0; attempt < 100; ++attempt) {
            Show(window, bounds);
            const std::int64_t leftNs = SteadyNs();
            leave();
            PaintOnScreen(bounds, red);
            const long wrong = countWrong();
            const bool quick = SteadyNs() - leftNs < x11::lingerNs;
            PaintOnScreen(bounds, green);
            if (quick) {
                EXPECT_EQ(wrong, 0);
                return;
            }
        }
        FAIL() << "each attempt took too long";
    }
    std::vector<std::uint32_t> Screen() const {
        std::vector<std::uint32_t> pixels(std::size_t{width} * height);
        const support::Reply<xcb_get_image_reply_t> image(xcb_get_image_reply(
            other_->Get(),
            xcb_get_image(other_->Get(), XCB_IMAGE_FORMAT_Z_PIXMAP, other_->Root(), 0, 0, width, height, ~0U),
            nullptr));
        std::memcpy(pixels.data(), xcb_get_image_data(image.get()), pixels.size() * 4);
        for (std::uint32_t& pixel : pixels) {
            pixel &= 0xFFFFFFU;
        }
        return pixels;
    }

    /// A screenshot as 0x00RRGGBB, row after row.
    std::vector<std::uint32_t> Screenshot(const Rectangle& area = {0, 0, width, height}) {
        const std::filesystem::path path = folder_.Path() / "picture.png";
        EXPECT_EQ(SaveScreenAsPng(area, FromPath(path)), resultOk);
        png_image image{};
        image.version = PNG_IMAGE_VERSION;
        EXPECT_NE(png_image_begin_read_from_file(&image, path.c_str()), 0);
        image.format = PNG_FORMAT_BGRA;
        std::vector<std::uint32_t> pixels(std::size_t{image.width} * image.height);
        EXPECT_NE(png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr), 0);
        for (std::uint32_t& pixel : pixels) {
            pixel &= 0xFFFFFFU;
        }
        return pixels;
    }

    void OpenCapture() {
        ASSERT_EQ(OpenGraphicsFactory(factory_), resultOk);
        OutputRecord record;
        ASSERT_EQ(LookUpOutput(*factory_, 0, 0, record, output_), OutputLookup::Found);
        ASSERT_EQ(MakeGraphicsDevice(*output_, device_), resultOk);
        ASSERT_EQ(OpenDuplication(*device_, *output_, duplication_), resultOk);
        ASSERT_EQ(MakeCaptureSurface(*device_, width, height, surface_), resultOk);
    }
    bool AcquireAndCopy(std::uint32_t timeoutMs = 20) {
        Owned<DesktopImage> image;
        Result code = resultOk;
        const Acquire outcome = AcquireImage(*duplication_, timeoutMs, image, code);
        EXPECT_NE(outcome, Acquire::Failed);
        if (outcome != Acquire::Acquired) {
            return false;
        }
        EXPECT_EQ(UpdateSurface(*device_, *image, *surface_), resultOk);
        ReleaseImage(*duplication_);
        return true;
    }
    std::vector<std::uint32_t> Captured() const {
        std::vector<std::uint32_t> pixels;
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                std::uint32_t pixel = 0;
                std::memcpy(&pixel, surface_->pixels + static_cast<std::size_t>(y) * surface_->stride + 4 * x, 4);
                pixels.push_back(pixel & 0xFFFFFFU);
            }
        }
        return pixels;
    }
    static std::vector<std::uint32_t> Expected(const std::function<std::uint32_t(int, int)>& colorAt) {
        std::vector<std::uint32_t> pixels;
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                pixels.push_back(colorAt(x, y));
            }
        }
        return pixels;
    }
    static long CountOf(const std::vector<std::uint32_t>& pixels, std::uint32_t color) {
        return std::count(pixels.begin(), pixels.end(), color);
    }
    static long CountUnlike(const std::vector<std::uint32_t>& pixels, const std::vector<std::uint32_t>& expected) {
        long count = 0;
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            count += pixels[i] == expected[i] ? 0 : 1;
        }
        return count;
    }
    /// Returns true if the server keeps a pixmap of the window.
    bool IsRedirected(xcb_window_t window) const {
        xcb_composite_query_version(other_->Get(), 0, 4);
        const xcb_pixmap_t pixmap = xcb_generate_id(other_->Get());
        const support::Reply<xcb_generic_error_t> error(
            xcb_request_check(other_->Get(), xcb_composite_name_window_pixmap_checked(other_->Get(), window, pixmap)));
        return !error;
    }

    support::TemporaryFolder folder_;
    support::PrivateDisplay display_{"640x480"};
    support::Spawned compositor_;
    std::unique_ptr<OtherClient> other_;
    Owned<GraphicsFactory> factory_;
    Owned<GraphicsOutput> output_;
    Owned<GraphicsDevice> device_;
    Owned<DesktopDuplication> duplication_;
    Owned<Surface> surface_;
};

INSTANTIATE_TEST_SUITE_P(WithAndWithoutCompositor, LinuxOwnWindows,
                         testing::Values(Manager::None, Manager::Composited, Manager::Direct), [](const auto& row) {
                             return row.param == Manager::None         ? "Plain"
                                    : row.param == Manager::Composited ? "Composited"
                                                                       : "Direct";
                         });

TEST_P(LinuxOwnWindows, AreReplacedInAScreenshotByTheOccludedContent) {
    ScreenPainting game(nullptr, 0, 0, width, height);
    game.Fill<std::uint32_t>(ColorAt);
    const Owned<AppWindow> overlay = Make(true);
    const Owned<AppWindow> notification = Make(true);
    Show(*overlay, {100, 80, 400, 300});
    Show(*notification, {380, 20, 620, 110});
    EXPECT_TRUE(Screenshot() == Expected(ColorAt));
    // Also if the area contains only a part of them.
    const std::vector<std::uint32_t> part = Screenshot({90, 70, 120, 90});
    EXPECT_EQ(part[0], ColorAt(90, 70));
    EXPECT_EQ(part[19 * 30 + 29], ColorAt(119, 89));
}

TEST_P(LinuxOwnWindows, AppearInAScreenshotIfNotExcluded) {
    const Owned<AppWindow> window = Make(false);
    Show(*window, {100, 80, 400, 300});
    EXPECT_EQ(CountOf(Screenshot(), red), 300 * 220);
}

TEST_P(LinuxOwnWindows, AreMaskedFromTheFirstImageOn) {
    ScreenPainting game(nullptr, 0, 0, width, height);
    game.Fill<std::uint32_t>(ColorAt);
    const Owned<AppWindow> overlay = Make(true);
    Show(*overlay, {100, 80, 400, 300});
    OpenCapture();
    ASSERT_TRUE(AcquireAndCopy());
    EXPECT_TRUE(Captured() == Expected(ColorAt));
}

TEST_P(LinuxOwnWindows, StayMaskedWhileTheyAreShownMovedAndHidden) {
    ScreenPainting game(nullptr, 0, 0, width, height);
    game.Fill<std::uint32_t>(ColorAt);
    OpenCapture();
    ASSERT_TRUE(AcquireAndCopy());
    const Owned<AppWindow> overlay = Make(true);
    // The capture has a thread of its own, as in the program, so that all interleavings occur.
    std::atomic<bool> over = false;
    std::atomic<long> images = 0;
    long wrong = 0;
    std::thread capture([&] {
        while (!over) {
            if (AcquireAndCopy(2)) {
                ++images;
                wrong += CountUnlike(Captured(), Expected(ColorAt));
            }
        }
    });
    int step = 0;
    RunUntil(
        *overlay,
        [&] {
            const int at = 10 * (step % 20);
            if (step % 5 == 4) {
                HideWindow(*overlay);
            } else {
                ShowTopmostAt(*overlay, {at, at, at + 200, at + 150});
            }
            return ++step >= 200 && images >= 5;
        },
        std::chrono::minutes(2));
    over = true;
    capture.join();
    EXPECT_GE(step, 200);
    EXPECT_GE(images, 5);
    EXPECT_EQ(wrong, 0);
    HideWindow(*overlay);
    EXPECT_TRUE(RunUntil(*overlay, [&] {
        AcquireAndCopy();
        return Captured() == Expected(ColorAt);
    }));
}

TEST_P(LinuxOwnWindows, StayMaskedWhenTheCompositorLags) {
    ScreenPainting game(nullptr, 0, 0, width, height);
    game.Fill<std::uint32_t>(ColorAt);
    const Owned<AppWindow> overlay = Make(true);
    OpenCapture();
    const Rectangle bounds{100, 80, 400, 300};
    const auto hide = [&] { Hide(*overlay, bounds); };
    const auto move = [&] {
        PlaceWindow(*overlay, {300, 20, 600, 240});
        ASSERT_TRUE(RunUntil(*overlay, [&] { return other_->PixelAt(599, 20) == red; }));
    };
    const auto captured = [&] {
        AcquireAndCopy();
        return CountUnlike(Captured(), Expected(ColorAt));
    };
    const auto shot = [&] { return CountUnlike(Screenshot(), Expected(ColorAt)); };
    ExpectMaskedOnALaggingScreen(*overlay, bounds, hide, captured);
    ExpectMaskedOnALaggingScreen(*overlay, bounds, hide, shot);
    ExpectMaskedOnALaggingScreen(*overlay, bounds, move, captured);
    ExpectMaskedOnALaggingScreen(*overlay, bounds, move, shot);
}

TEST_P(LinuxOwnWindows, AreMaskedWithTheOldPictureThatACompositorShowsAroundThem) {
    ScreenPainting game(nullptr, 0, 0, width, height);
    game.Fill<std::uint32_t>(ColorAt);
    const Owned<AppWindow> overlay = Make(true);
    OpenCapture();
    const Rectangle bounds{100, 80, 400, 300};
    const Rectangle around{0, 400, width, height};
    // Only a compositor has an old picture.
    const long expected = GetParam() == Manager::None ? width * 80 : 0;
    const auto changes = {std::function<void()>([&] { Show(*overlay, bounds); }),
                          std::function<void()>([&] { Hide(*overlay, bounds); })};
    for (int attempt = 0; attempt < 100; ++attempt) {
        bool quick = true;
        std::vector<long> wrong;
        for (const auto& change : changes) {
            const std::int64_t startNs = SteadyNs();
            change();
            PaintOnScreen(around, red);
            AcquireAndCopy();
            wrong.push_back(CountUnlike(Captured(), Expected(ColorAt)));
            wrong.push_back(CountUnlike(Screenshot(), Expected(ColorAt)));
            quick = quick && SteadyNs() - startNs < x11::lingerNs;
        }
        if (quick) {
            EXPECT_THAT(wrong, testing::Each(expected));
            return;
        }
    }
    FAIL() << "each attempt took too long";
}

TEST_P(LinuxOwnWindows, ReleaseTheWindowsBelowOnlyAfterTheyAreUnmasked) {
    const xcb_window_t game = other_->Cover({0, 0, width, height}, green);
    const xcb_gcontext_t context = xcb_generate_id(other_->Get());
    xcb_create_gc(other_->Get(), context, game, XCB_GC_FOREGROUND, &blue);
    const xcb_rectangle_t ball{200, 150, 20, 20};
    xcb_poly_fill_rectangle(other_->Get(), game, context, 1, &ball);
    const Owned<AppWindow> overlay = Make(true);
    const Rectangle bounds{100, 80, 400, 300};
    Show(*overlay, bounds);
    EXPECT_TRUE(IsRedirected(game));
    HideWindow(*overlay);
    bool keptWhileMasked = true;
    EXPECT_TRUE(RunUntil(*overlay, [&] {
        const bool kept = IsRedirected(game);
        const bool masked = !x11::BoundsSince(SteadyNs(), bounds).Empty();
        keptWhileMasked = keptWhileMasked && (kept || !masked);
        // xcompmgr redirects all windows itself.
        return !masked && (!kept || GetParam() == Manager::Composited) && x11::Backdrop() == XCB_NONE;
    }));
    EXPECT_TRUE(keptWhileMasked);
    EXPECT_EQ(CountOf(Screen(), blue), 20 * 20) << "the game would have to repaint";
    EXPECT_EQ(CountOf(Screen(), green), width * height - 20 * 20);
}

TEST_P(LinuxOwnWindows, StayRegisteredWhileHidden) {
    Owned<AppWindow> overlay = Make(true);
    const Rectangle bounds{100, 80, 400, 300};
    Show(*overlay, bounds);
    HideWindow(*overlay);
    ASSERT_TRUE(RunUntil(*overlay, [&] { return x11::BoundsSince(SteadyNs(), bounds).Empty(); }));
    // A capture that lists the windows before it is shown again must not treat it as another program's.
    EXPECT_TRUE(x11::ListExcluded().Holds(other_->Find("overlay")));
    overlay.reset();
    EXPECT_EQ(x11::ListExcluded().count, 0U);
}

TEST_P(LinuxOwnWindows, AreUnmaskedOnceTheyAreHidden) {
    ScreenPainting game(nullptr, 0, 0, width, height);
    game.Fill<std::uint32_t>(ColorAt);
    const Owned<AppWindow> overlay = Make(true);
    const Rectangle bounds{100, 80, 400, 300};
    OpenCapture();
    Show(*overlay, bounds);
    AcquireAndCopy();
    Hide(*overlay, bounds);
    // No pixmap of a window contains this.
    PaintOnScreen({120, 90, 140, 110}, blue);
    EXPECT_TRUE(RunUntil(*overlay, [&] {
        AcquireAndCopy();
        return Captured() == Screen();
    }));
}

TEST_P(LinuxOwnWindows, StayMaskedWhenAnotherClientMovesThem) {
    ScreenPainting game(nullptr, 0, 0, width, height);
    game.Fill<std::uint32_t>(ColorAt);
    const Owned<AppWindow> overlay = Make(true);
    Show(*overlay, {100, 80, 400, 300});
    const std::uint32_t left = 200;
    xcb_configure_window(other_->Get(), other_->Find("overlay"), XCB_CONFIG_WINDOW_X, &left);
    other_->Sync();
    ASSERT_TRUE(RunUntil(*overlay, [&] { return other_->PixelAt(499, 299) == red; }));
    OpenCapture();
    SleepMs(static_cast<std::uint32_t>(x11::lingerNs / 1'000'000));
    EXPECT_TRUE(RunUntil(*overlay, [&] {
        AcquireAndCopy();
        return Captured() == Expected(ColorAt);
    }));
}

TEST_P(LinuxOwnWindows, ShowChangesOfTheOccludedContent) {
    const xcb_window_t game = other_->Cover({0, 0, width, height}, green);
    const Owned<AppWindow> overlay = Make(true);
    Show(*overlay, {100, 80, 400, 300});
    OpenCapture();
    ASSERT_TRUE(AcquireAndCopy());
    EXPECT_EQ(CountOf(Captured(), green), width * height);
    // A change completely below our window.
    const xcb_gcontext_t context = xcb_generate_id(other_->Get());
    xcb_create_gc(other_->Get(), context, game, XCB_GC_FOREGROUND, &blue);
    const xcb_rectangle_t ball{200, 150, 20, 20};
    xcb_poly_fill_rectangle(other_->Get(), game, context, 1, &ball);
    other_->Sync();
    EXPECT_TRUE(support::Eventually([&] { return AcquireAndCopy() && CountOf(Captured(), blue) == 400; }));
    EXPECT_EQ(CountOf(Captured(), red), 0);
}

TEST_P(LinuxOwnWindows, KeepOrderAndShapeOfTheWindowsBelow) {
    other_->Cover({0, 0, width, height}, green);
    const xcb_window_t upper = other_->Cover({150, 100, 250, 200}, blue);
    const xcb_rectangle_t left{0, 0, 50, 100};
    xcb_shape_rectangles(other_->Get(), XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, XCB_CLIP_ORDERING_UNSORTED, upper, 0,
                         0, 1, &left);
    const xcb_window_t hidden = other_->Cover({0, 0, 300, 300}, 0xFFFF00);
    xcb_unmap_window(other_->Get(), hidden);
    other_->Sync();
    const Owned<AppWindow> overlay = Make(true);
    Show(*overlay, {100, 80, 400, 300});
    const std::vector<std::uint32_t> pixels = Screenshot();
    EXPECT_EQ(CountOf(pixels, blue), 50 * 100);
    EXPECT_EQ(CountOf(pixels, green), width * height - 50 * 100);
}

/// A compositor that paints the background itself, or panels.
using LinuxOwnWindowsOverABackground = LinuxOwnWindows;

INSTANTIATE_TEST_SUITE_P(WithACompositor, LinuxOwnWindowsOverABackground, testing::Values(Manager::Direct),
                         [](const auto&) { return "Direct"; });

TEST_P(LinuxOwnWindowsOverABackground, AreReplacedByWhatTheScreenShowedBefore) {
    const auto backgroundAt = [](int x, int) { return x < 350 ? blue : green; };
    PaintOnScreen({0, 0, 350, height}, blue);
    PaintOnScreen({350, 0, width, height}, green);
    const Owned<AppWindow> overlay = Make(true);
    const Owned<AppWindow> notification = Make(true);
    Show(*overlay, {100, 80, 400, 300});
    EXPECT_TRUE(Screenshot() == Expected(backgroundAt));
    // The screen shows the overlay there, so it is no background of the notification.
    Show(*notification, {300, 200, 500, 400});
    EXPECT_TRUE(Screenshot() == Expected(backgroundAt));
    PlaceWindow(*notification, {200, 250, 450, 420});
    ASSERT_TRUE(RunUntil(*notification, [&] { return other_->PixelAt(210, 410) == red; }));
    EXPECT_TRUE(Screenshot() == Expected(backgroundAt));
    // Windows are newer than the background.
    other_->Cover({120, 100, 220, 200}, 0xFFFF00);
    EXPECT_TRUE(Screenshot() == Expected([&](int x, int y) {
                    return x >= 120 && x < 220 && y >= 100 && y < 200 ? 0xFFFF00 : backgroundAt(x, y);
                }));
}

TEST_P(LinuxOwnWindows, CostNoImageOnAStillDesktopAfterTheyAreHidden) {
    other_->Cover({0, 0, width, height}, green);
    const Owned<AppWindow> overlay = Make(true);
    Show(*overlay, {100, 80, 400, 300});
    OpenCapture();
    ASSERT_TRUE(AcquireAndCopy());
    HideWindow(*overlay);
    bool still = false;
    EXPECT_TRUE(RunUntil(*overlay, [&] { return still = still || (!AcquireAndCopy(40) && !AcquireAndCopy(40)); }));
}

}  // namespace
}  // namespace zv
