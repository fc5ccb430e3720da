// Screenshots of a private X server, compared pixel by pixel with what was painted there.
#include <gtest/gtest.h>
#include <png.h>

#include <cstdint>
#include <thread>
#include <vector>

#include "platform/Files.h"
#include "platform/ScreenGrab.h"
#include "support/FileBytes.h"
#include "support/ScreenPainting.h"
#include "support/TemporaryFolder.h"
#include "support/XServer.h"

namespace zv {
namespace {

using support::ColorAt;
using support::ScreenPainting;
using support::XServer;

struct Picture {
    int width = 0;
    int height = 0;
    bool alpha = false;
    std::vector<std::uint8_t> rgb;

    std::uint32_t At(int x, int y) const {
        const auto at = static_cast<std::size_t>(y * width + x) * 3;
        return std::uint32_t{rgb[at]} << 16U | std::uint32_t{rgb[at + 1]} << 8U | rgb[at + 2];
    }
};

Picture ReadPng(const std::filesystem::path& path) {
    Picture picture;
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, path.c_str()) == 0) {
        ADD_FAILURE() << image.message;
        return picture;
    }
    picture.alpha = (image.format & PNG_FORMAT_FLAG_ALPHA) != 0;
    image.format = PNG_FORMAT_RGB;
    picture.width = static_cast<int>(image.width);
    picture.height = static_cast<int>(image.height);
    picture.rgb.resize(PNG_IMAGE_SIZE(image));
    EXPECT_NE(png_image_finish_read(&image, nullptr, picture.rgb.data(), 0, nullptr), 0) << image.message;
    return picture;
}

/// The number of pixels that differ from `colorAt` of their desktop coordinates.
template <class Color>
int Differences(const Picture& picture, const Rectangle& area, Color colorAt) {
    int count = 0;
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            count += picture.At(x, y) == colorAt(area.left + x, area.top + y) ? 0 : 1;
        }
    }
    return count;
}

class LinuxScreenGrab : public testing::Test {
protected:
    Result Save(const Rectangle& area) { return SaveScreenAsPng(area, FromPath(path_)); }

    support::TemporaryFolder folder_;
    std::filesystem::path path_ = folder_.Path() / "picture.png";
};

TEST_F(LinuxScreenGrab, EqualsTheScreenPixelForPixelWithoutThePointer) {
    const XServer server("641x360x24");
    ScreenPainting painting(nullptr, 0, 0, 641, 360);
    painting.Fill<std::uint32_t>(ColorAt);
    painting.MovePointer(300, 200);
    const Rectangle area{0, 0, 641, 360};
    ASSERT_EQ(Save(area), resultOk);
    const Picture picture = ReadPng(path_);
    EXPECT_EQ(picture.width, 641);
    EXPECT_EQ(picture.height, 360);
    EXPECT_FALSE(picture.alpha);
    EXPECT_EQ(Differences(picture, area, ColorAt), 0);
}

TEST_F(LinuxScreenGrab, ContainsTheRequestedPartAndAllWindowsInIt) {
    const XServer server("640x480x24");
    ScreenPainting below(nullptr, 0, 0, 640, 480);
    below.Fill<std::uint32_t>(ColorAt);
    ScreenPainting above(nullptr, 200, 100, 50, 40);
    above.Fill<std::uint32_t>([](int, int) { return 0x102030; });
    const Rectangle area{151, 73, 151 + 333, 73 + 207};
    ASSERT_EQ(Save(area), resultOk);
    const Picture picture = ReadPng(path_);
    EXPECT_EQ(picture.width, 333);
    EXPECT_EQ(picture.height, 207);
    EXPECT_EQ(Differences(picture, area,
                          [](int x, int y) {
                              const bool covered = x >= 200 && x < 250 && y >= 100 && y < 140;
                              return covered ? 0x102030U : ColorAt(x, y);
                          }),
              0);
}

TEST_F(LinuxScreenGrab, FailsOnAScreenWithoutEightBitsAChannel) {
    for (const char* screen : {"100x100x8", "100x100x16", "100x100x30"}) {
        const XServer server(screen);
        EXPECT_EQ(CodeOf(Save({0, 0, 100, 100})), 0x8007005FU) << screen;  // EOPNOTSUPP
        EXPECT_FALSE(std::filesystem::exists(path_));
    }
}

TEST_F(LinuxScreenGrab, FailsForAnAreaThatIsNotCompletelyOnTheScreen) {
    const XServer server("320x200x24");
    for (const Rectangle& area :
         {Rectangle{0, 0, 321, 200}, Rectangle{1, 0, 321, 200}, Rectangle{0, 1, 320, 201}, Rectangle{0, 0, 320, 201},
          Rectangle{-1, 0, 99, 100}, Rectangle{0, -1, 100, 99}, Rectangle{0, 0, 0, 100}, Rectangle{0, 0, 100, 0},
          Rectangle{0, 0, -5, 100}, Rectangle{0, 0, 65546, 100}, Rectangle{65536, 0, 65636, 100}}) {
        EXPECT_EQ(CodeOf(Save(area)), 0x80070016U) << area.left << " " << area.top;  // EINVAL
    }
    EXPECT_FALSE(std::filesystem::exists(path_));
    EXPECT_EQ(Save({0, 0, 320, 200}), resultOk);
}

TEST_F(LinuxScreenGrab, FailsWithoutADisplay) {
    for (const char* name : {"", ":4711"}) {
        setenv("DISPLAY", name, 1);
        EXPECT_EQ(CodeOf(Save({0, 0, 10, 10})), 0x80070006U);  // ENXIO
    }
}

TEST_F(LinuxScreenGrab, FailsWhenTheServerIsKilled) {
    XServer server("320x200x24");
    ASSERT_EQ(Save({0, 0, 320, 200}), resultOk);
    server.Kill();
    EXPECT_TRUE(Failed(Save({0, 0, 320, 200})));
}

TEST_F(LinuxScreenGrab, FailsWithACodeOnAFullDisk) {
    const XServer server("320x200x24");
    EXPECT_EQ(CodeOf(SaveScreenAsPng({0, 0, 320, 200}, u"/dev/full")), 0x8007001CU);  // ENOSPC
}

TEST_F(LinuxScreenGrab, FailsWithACodeForAMissingFolder) {
    const XServer server("320x200x24");
    EXPECT_EQ(CodeOf(SaveScreenAsPng({0, 0, 320, 200}, FromPath(folder_.Path() / "no" / "picture.png"))),
              0x80070002U);  // ENOENT
}

TEST_F(LinuxScreenGrab, ReplacesTheFile) {
    const XServer server("32x20x24");
    support::WriteBytes(path_, std::string(100000, 'x'));
    ASSERT_EQ(Save({0, 0, 32, 20}), resultOk);
    EXPECT_LT(std::filesystem::file_size(path_), 10000U);
    EXPECT_EQ(ReadPng(path_).width, 32);
}

TEST_F(LinuxScreenGrab, WorksOnAnyThreadAndLeaksNoDescriptor) {
    const XServer server("320x200x24");
    const auto open = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    const auto before = open();
    for (int i = 0; i < 3; ++i) {
        std::thread([&] { EXPECT_EQ(Save({0, 0, 320, 200}), resultOk); }).join();
    }
    EXPECT_EQ(open(), before);
}

}  // namespace
}  // namespace zv
