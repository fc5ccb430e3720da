// Pictures of the real screen, read back and compared pixel by pixel with what a window painted there.
#include "platform/ScreenGrab.h"

#include <gtest/gtest.h>

#include "library/Screenshot.h"
#include "platform/Files.h"
#include "platform/Session.h"
#include "platform/Window.h"
#include "support/FileBytes.h"
#include "support/TemporaryFolder.h"
#include "video/Monitors.h"
#include "windows/ObjectCounts.h"
#include "windows/ScreenPattern.h"

namespace zv {
namespace {

using windows::Differences;
using windows::height;
using windows::left;
using windows::Painting;
using windows::Picture;
using windows::ReadPng;
using windows::top;
using windows::width;

class ScreenGrab : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(OpenSession()); }

    support::TemporaryFolder folder_;
    std::filesystem::path path_ = folder_.Path() / "picture.png";
};

TEST_F(ScreenGrab, EqualsTheScreenPixelForPixel) {
    const Painting painting;
    SetCursorPos(left + 50, top + 50);
    const Rectangle area{left, top, left + width, top + height};
    ASSERT_EQ(SaveScreenAsPng(area, FromPath(path_)), resultOk);
    EXPECT_TRUE(support::ReadBytes(path_).starts_with("\x89PNG\r\n\x1a\n"));
    const Picture picture = ReadPng(path_);
    ASSERT_EQ(picture.width, width);
    ASSERT_EQ(picture.height, height);
    EXPECT_EQ(Differences(picture, area), 0);
}

TEST_F(ScreenGrab, StartsAtTheRequestedCorner) {
    const Painting painting;
    const Rectangle area{left - 13, top - 7, left + width + 27, top + height + 23};
    ASSERT_EQ(SaveScreenAsPng(area, FromPath(path_)), resultOk);
    EXPECT_EQ(Differences(ReadPng(path_), area), 0);
}

TEST_F(ScreenGrab, FailsForAnEmptyArea) {
    for (const Rectangle& area : {Rectangle{0, 0, -5, 10}, Rectangle{0, 0, 0, 10}, Rectangle{0, 0, 10, 0}}) {
        EXPECT_EQ(CodeOf(SaveScreenAsPng(area, FromPath(path_))), 0x80070057U);  // ERROR_INVALID_PARAMETER
    }
    EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(ScreenGrab, FailsForAMissingFolder) {
    EXPECT_TRUE(Failed(SaveScreenAsPng({0, 0, 10, 10}, FromPath(folder_.Path() / "no" / "picture.png"))));
}

TEST_F(ScreenGrab, ManyPicturesLeaveNoHandleBehind) {
    const auto save = [&] { ASSERT_EQ(SaveScreenAsPng({0, 0, 64, 64}, FromPath(path_)), resultOk); };
    save();
    const windows::ObjectCounts counts(GetCurrentProcessId());
    const int handles = counts.Handles();
    const int objects = counts.GraphicsObjects();
    EXPECT_TRUE(handles > 0 && objects > 0);
    for (int i = 0; i < 20; ++i) {
        save();
    }
    EXPECT_LE(counts.GraphicsObjects(), objects + 2);
    EXPECT_LE(counts.Handles(), handles + 2);
}

TEST_F(ScreenGrab, AScreenshotShowsThePrimaryMonitorAtItsOwnSize) {
    const Painting painting;
    const auto monitor = ResolveMonitor(u"");
    ASSERT_TRUE(monitor);
    const Text status = SaveScreenshot(FromPath(folder_.Path() / "Desktop"), u"");
    constexpr TextView beginning = u"Screenshot saved: ";
    ASSERT_TRUE(status.starts_with(beginning));
    const Picture picture = ReadPng(ToPath(TextView(status).substr(beginning.size())));
    EXPECT_EQ(picture.width, 1920);
    EXPECT_EQ(picture.height, 1080);
    EXPECT_EQ(Differences(picture, {monitor->left, monitor->top, monitor->width, monitor->height}), 0);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.Path() / "Desktop"), {}), 1);
}

}  // namespace
}  // namespace zv
