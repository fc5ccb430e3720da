// The overlay as pixels. Every pixel beside the controls must have the key colour, so that the game is visible there
// and receives clicks. No pixel of a control may have it, because the control would have a hole there.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "core/Settings.h"
#include "ui/kit/DrawingFrame.h"
#include "ui/kit/Fonts.h"
#include "ui/kit/Icons.h"
#include "ui/navigation/Navigation.h"
#include "ui/state/Engine.h"
#include "ui/state/UiGlobals.h"
#include "ui/windows/Overlay.h"

namespace zv {
namespace {

constexpr std::uint32_t keyPixel = 0x010203;

class OverlayPicture : public testing::Test {
protected:
    OverlayPicture() {
        Ui() = {};
        Drawing() = {};
        CreateFonts();
        Ui().overlayState.pages = RenderQuickOverlay;
        ResetSettings(CurrentSettings());
        Engine().replayRunning = true;
        Ui().capture.secondsReady = 7;
    }
    ~OverlayPicture() override {
        Engine().replayRunning = false;
        ClearIconCache();
        DeleteFonts();
        Ui() = {};
        Drawing() = {};
    }

    /// Paints the overlay at a scale as its window does.
    void Paint(double scale) {
        const auto width = static_cast<std::int32_t>(scale * overlayWidth);
        const auto height = static_cast<std::int32_t>(scale * overlayHeight);
        FitOverlay(Ui().overlayState, width, height);
        canvas_ = MakeCanvas(width, height);
        FillBox(*canvas_, {0, 0, width, height}, 0x030201);
        PushTransform(*canvas_, {}, Ui().overlayState.scale);
        RenderUi(*canvas_, Ui().overlayState);
        PopTransform(*canvas_);
    }

    /// In pixels, `slack` wider on every side.
    static Rectangle Scaled(const Rectangle& box, std::int32_t slack) {
        const auto at = [](std::int32_t edge) {
            return static_cast<std::int32_t>(std::round(edge * Ui().overlayState.scale));
        };
        return {at(box.left) - slack, at(box.top) - slack, at(box.right) + slack, at(box.bottom) + slack};
    }
    static bool AnyHolds(const std::vector<Rectangle>& boxes, std::int32_t x, std::int32_t y) {
        return std::any_of(boxes.begin(), boxes.end(), [&](const Rectangle& box) {
            return x >= box.left && x < box.right && y >= box.top && y < box.bottom;
        });
    }

    struct Faults {
        int painted = 0;  ///< pixels beside all controls that are not of the key colour
        int holes = 0;    ///< pixels of controls that are
    };
    /// `boxes` are filled to their corners, `rounded` have round corners. If an edge falls between two pixels, the
    /// system decides which one it fills.
    Faults Compare(const std::vector<Rectangle>& boxes, const std::vector<Rectangle>& rounded) {
        const double scale = Ui().overlayState.scale;
        const std::int32_t slack = scale == std::floor(scale) ? 0 : 1;
        std::vector<Rectangle> touched;
        std::vector<Rectangle> solid;
        for (const Rectangle& box : boxes) {
            touched.push_back(Scaled(box, slack));
            solid.push_back(Scaled(box, -slack));
        }
        for (const Rectangle& box : rounded) {
            touched.push_back(Scaled(box, slack));
            solid.push_back(Scaled({box.left, box.top + 12, box.right, box.bottom - 12}, -slack));
        }
        Faults faults;
        const PixelView view = PixelsOf(*canvas_);
        for (std::int32_t y = 0; y < view.height; ++y) {
            for (std::int32_t x = 0; x < view.width; ++x) {
                const bool key = (view.pixels[y * view.width + x] & 0xFFFFFFU) == keyPixel;
                faults.painted += !key && !AnyHolds(touched, x, y) ? 1 : 0;
                faults.holes += key && AnyHolds(solid, x, y) ? 1 : 0;
            }
        }
        return faults;
    }

    Owned<Canvas> canvas_;
};

const std::vector<Rectangle> tilePage = {
    {0, 0, 1010, 47}, {170, 90, 298, 217}, {321, 90, 705, 218}, {726, 90, 854, 153}, {726, 165, 854, 217}};

TEST_F(OverlayPicture, TheGameIsVisibleBetweenTheTilesOnly) {
    for (const double scale : {1.0, 1.25, 1.5, 1040.0 / 568, 2.0}) {
        for (const std::int32_t pressed : {noTarget, 902, 908, 910}) {
            Ui().overlayState.pressedId = pressed;
            Ui().overlayState.hoverId = pressed;
            Paint(scale);
            const Faults faults = Compare(tilePage, {});
            EXPECT_EQ(faults.painted, 0) << scale << " " << pressed;
            EXPECT_EQ(faults.holes, 0) << scale << " " << pressed;
        }
    }
}

TEST_F(OverlayPicture, TheGameIsVisibleAroundThePopoverOnly) {
    Ui().replayPopoverOpen = true;
    for (const double scale : {1.0, 1.5, 2.0}) {
        Paint(scale);
        const Faults faults = Compare(tilePage, {{321, 228, 705, 356}});
        EXPECT_EQ(faults.painted, 0) << scale;
        EXPECT_EQ(faults.holes, 0) << scale;
    }
}

TEST_F(OverlayPicture, TheGameIsVisibleAroundTheGallery) {
    Ui().overlayPage = overlayPage::gallery;
    const Text tooLong(400, u'W');
    for (int i = 0; i < 20; ++i) {
        Ui().library.found.files.push_back({Decimal(i), mediaKind::clip, ~std::uint64_t{0}, i, tooLong});
        Ui().library.thumbnailCache[ThumbnailKey(Ui().library.found.files.back())] = std::make_shared<MediaThumbnail>();
    }
    Ui().library.found.warning = tooLong;
    Ui().gallery = {0, 6, tooLong};
    Paint(1);
    const Faults faults = Compare({{0, 0, 1010, 47}, {18, 63, 992, 550}}, {});
    EXPECT_EQ(faults.painted, 0);
    EXPECT_EQ(faults.holes, 0);
}

TEST_F(OverlayPicture, AThumbnailIsScaledOnceAndThenCopiedPixelByPixel) {
    Ui().overlayPage = overlayPage::gallery;
    Ui().library.found.files = {{u"a.mp4", mediaKind::clip, 1, 1, u"Game"}};
    auto thumbnail = std::make_shared<MediaThumbnail>();
    thumbnail->bitmap = {std::vector<std::uint32_t>(320 * 180), 320, 180};
    for (std::size_t i = 0; i < thumbnail->bitmap.pixels.size(); ++i) {
        thumbnail->bitmap.pixels[i] = static_cast<std::uint32_t>(i * 2'654'435'761U);
    }
    Ui().library.thumbnailCache[ThumbnailKey(Ui().library.found.files[0])] = thumbnail;
    for (const double scale : {1.0, 1.25, 1.5, 1.830986, 1920.0 / 1010, 2.0}) {
        Paint(scale);
        const Rectangle box = Scaled({280, 151, 468, 257}, 0);
        const PixelBitmap& shown = thumbnail->shown;
        ASSERT_EQ(shown.width, box.Width()) << scale;
        ASSERT_EQ(shown.height, box.Height()) << scale;
        const PixelView view = PixelsOf(*canvas_);
        int different = 0;
        for (std::int32_t y = 0; y < shown.height; ++y) {
            for (std::int32_t x = 0; x < shown.width; ++x) {
                const std::uint32_t painted = view.pixels[(box.top + y) * view.width + box.left + x];
                different += ((painted ^ shown.pixels[static_cast<std::size_t>(y * shown.width + x)]) & 0xFFFFFFU) != 0;
            }
        }
        EXPECT_EQ(different, 0) << scale;
    }
}

}  // namespace
}  // namespace zv
