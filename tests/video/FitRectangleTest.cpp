#include "video/FitRectangle.h"

#include <gtest/gtest.h>

namespace zv {

std::ostream& operator<<(std::ostream& stream, const Rectangle& r) {
    return stream << "(" << r.left << ", " << r.top << ", " << r.right << ", " << r.bottom << ")";
}

namespace {

TEST(FitRectangle, EqualSizesLeaveNoBars) {
    EXPECT_EQ(FitRectangle({1920, 1080}, {1920, 1080}), (Rectangle{0, 0, 1920, 1080}));
}

TEST(FitRectangle, AWideMonitorHasBarsAboveAndBelowOnly) {
    // 803.72 is cut to 803 and then made even.
    EXPECT_EQ(FitRectangle({3440, 1440}, {1920, 1080}), (Rectangle{0, 139, 1920, 941}));
}

TEST(FitRectangle, ANarrowMonitorHasBarsAtTheSidesOnly) {
    EXPECT_EQ(FitRectangle({1280, 1024}, {1920, 1080}), (Rectangle{285, 0, 1635, 1080}));
}

TEST(FitRectangle, ASmallerMonitorIsScaledUp) {
    EXPECT_EQ(FitRectangle({1920, 1080}, {3840, 2160}), (Rectangle{0, 0, 3840, 2160}));
    EXPECT_EQ(FitRectangle({800, 600}, {1920, 1080}), (Rectangle{240, 0, 1680, 1080}));
}

TEST(FitRectangle, ALargerMonitorIsScaledDown) {
    EXPECT_EQ(FitRectangle({3840, 2160}, {1920, 1080}), (Rectangle{0, 0, 1920, 1080}));
    EXPECT_EQ(FitRectangle({1920, 1200}, {1920, 1080}), (Rectangle{96, 0, 1824, 1080}));
}

TEST(FitRectangle, EverySizeFitsWithEvenSidesInTheMiddle) {
    for (std::int32_t width = 320; width < 6000; width += 37) {
        for (std::int32_t height = 240; height < 4000; height += 53) {
            const Rectangle r = FitRectangle({width, height}, {2560, 1440});
            ASSERT_GE(r.left, 0);
            ASSERT_GE(r.top, 0);
            ASSERT_EQ((r.right - r.left) % 2, 0);
            ASSERT_EQ((r.bottom - r.top) % 2, 0);
            ASSERT_EQ(r.left, 2560 - r.right);
            ASSERT_EQ(r.top, 1440 - r.bottom);
            ASSERT_TRUE(r.right - r.left >= 2558 || r.bottom - r.top >= 1438) << width << " x " << height;
        }
    }
}

}  // namespace
}  // namespace zv
