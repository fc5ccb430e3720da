// Pictures of files: thumbnails of a double of the shell, and images that GDI+ decodes.
#include "platform/Pictures.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <functional>
#include <thread>

#include "fake/Allocations.h"
#include "platform/Environment.h"
#include "platform/Files.h"
#include "platform/Monitors.h"
#include "support/FileBytes.h"
#include "support/PngBytes.h"
#include "windows/DriverScene.h"
#include "windows/ObjectCounts.h"
#include "windows/drivers/ShellImages.h"
//
#include <objbase.h>

namespace zv::windows {
namespace {

using drivers::pictureColors;
using support::BigEndian;
using support::PngBytes;
using support::PngChunk;
using support::PngPicture;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::int64_t manyPixels = 64'000'000;

std::vector<std::uint32_t> ColorsOf(const PixelBitmap& bitmap) {
    std::vector<std::uint32_t> colors;
    for (const std::uint32_t pixel : bitmap.pixels) {
        colors.push_back(pixel & 0xFFFFFFU);
    }
    return colors;
}

class Pictures : public testing::Test {
protected:
    void SetUp() override {
        SetEnvironmentValue(u"ZV_TEST_REPORT", FromPath(folder_.Path() / "report"));
        SetEnvironmentValue(u"ZV_TEST_SCRIPT", FromPath(folder_.Path() / "script"));
        Script("");
    }
    void TearDown() override { EXPECT_THAT(ReportLines(folder_.Path() / "report", "complaint: "), IsEmpty()); }

    /// Loads the doubles, which replace the imports of this program, and makes them read the script.
    void Script(const std::string& text) const {
        std::ofstream(folder_.Path() / "script") << text << "\nset run " << ++runs << "\n";
        std::vector<AdapterRecord> records;
        ASSERT_TRUE(ListAdapterRecords(records));
    }

    Text File(const std::string& name, const std::string& bytes = "x") const {
        support::WriteBytes(folder_.Path() / name, bytes);
        return FromPath(folder_.Path() / name);
    }

    /// Makes thumbnails as a job does: on a thread of its own.
    static std::vector<PixelBitmap> MakeOnThread(const std::vector<Text>& paths) {
        std::vector<PixelBitmap> made;
        std::thread([&] { MakeThumbnails(paths, 320, 180, made); }).join();
        return made;
    }

    static inline int runs = 0;
    support::TemporaryFolder folder_;
};

// Thumbnails.

using Thumbnails = Pictures;

struct ThumbnailRow {
    const char* name;
    int width;
    int height;
    const char* kind;
};

void ExpectQuarters(const PixelBitmap& bitmap, const ThumbnailRow& row) {
    ASSERT_EQ(bitmap.width, row.width) << row.name;
    ASSERT_EQ(bitmap.height, row.height) << row.name;
    const std::vector<std::uint32_t> colors = ColorsOf(bitmap);
    ASSERT_EQ(colors.size(), static_cast<std::size_t>(row.width * row.height)) << row.name;
    for (int y = 0; y < row.height; ++y) {
        for (int x = 0; x < row.width; ++x) {
            const int quarter = (y < row.height / 2 ? 0 : 2) + (x < row.width / 2 ? 0 : 1);
            const std::uint32_t color = pictureColors[static_cast<std::size_t>(quarter)];
            const bool transparent = std::string(row.kind) == "transparent";
            ASSERT_EQ(colors[static_cast<std::size_t>(y * row.width + x)], transparent ? color / 2 & 0x7F7F7FU : color)
                << row.name << " at " << x << ", " << y;
        }
    }
}

TEST_F(Thumbnails, HaveThePixelsOfTheShellsBitmapsOfEveryKindAndSize) {
    constexpr std::array<ThumbnailRow, 7> rows = {{{"up.mp4", 320, 180, "bottom-up"},
                                                   {"down.mp4", 320, 180, "top-down"},
                                                   {"larger.mp4", 512, 288, "bottom-up"},
                                                   {"upright.png", 101, 180, "bottom-up"},
                                                   {"plain.png", 319, 37, "24"},
                                                   {"device.png", 64, 48, "device"},
                                                   {"glass.png", 100, 60, "transparent"}}};
    std::string script;
    std::vector<Text> paths;
    for (const ThumbnailRow& row : rows) {
        script += std::string("set picture ") + row.name + " " + std::to_string(row.width) + " " +
                  std::to_string(row.height) + " " + row.kind + "\n";
        paths.push_back(File(row.name));
    }
    Script(script);
    const std::vector<PixelBitmap> made = MakeOnThread(paths);
    ASSERT_EQ(made.size(), rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        ExpectQuarters(made[i], rows[i]);
    }
}

TEST_F(Thumbnails, AreEmptyWhereTheShellHasNone) {
    const std::vector<Text> paths{File("a.mp4"), File("b.mp4"), FromPath(folder_.Path() / "missing.mp4"), File("d.mp4"),
                                  File("e.mp4")};
    for (const char* call : {"GetImage 2 8004B200", "SHCreateItemFromParsingName 2 80070005"}) {
        Script(std::string("fail ") + call);
        const std::vector<PixelBitmap> made = MakeOnThread(paths);
        std::vector<std::int32_t> widths;
        for (const PixelBitmap& bitmap : made) {
            EXPECT_EQ(bitmap.pixels.size(), static_cast<std::size_t>(bitmap.width * bitmap.height));
            widths.push_back(bitmap.width);
        }
        EXPECT_THAT(widths, ElementsAre(320, 0, 0, 320, 320)) << call;
    }
}

TEST_F(Thumbnails, OfAPathWithSlashesAreMade) {
    Text path = File("a.mp4");
    std::replace(path.begin(), path.end(), u'\\', u'/');
    EXPECT_EQ(MakeOnThread({path}).at(0).width, 320);
}

TEST_F(Thumbnails, AreTriedIfComCannotBeEnteredAndThenItIsNotLeft) {
    const Text path = File("a.mp4");
    std::vector<PixelBitmap> made;
    std::thread([&] {
        ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)));
        Script("fail CoInitializeEx 1 80010106");
        MakeThumbnails({path}, 320, 180, made);
        CoUninitialize();
    }).join();
    ASSERT_EQ(made.size(), 1U);
    EXPECT_EQ(made[0].width, 320);
}

TEST_F(Thumbnails, MadeBeforeMemoryRunsOutAreKept) {
    Script("set picture b.mp4 800 600 bottom-up");
    const std::vector<Text> paths{File("a.mp4"), File("b.mp4"), File("c.mp4")};
    std::vector<PixelBitmap> made;
    made.reserve(paths.size());
    std::thread([&] {
        fake::RefuseAllocationsHere(std::size_t{800} * 600 * 4);
        EXPECT_THROW(MakeThumbnails(paths, 320, 180, made), std::bad_alloc);
        fake::RefuseAllocationsHere(0);
    }).join();
    ASSERT_EQ(made.size(), 1U);
    EXPECT_EQ(made[0].width, 320);
}

TEST_F(Pictures, AreNotMadeAfterARequestToStop) {
    const Text path = File("picture.png", PngBytes({4, 3, 8, 0, std::string(12, '\x7F')}));
    std::stop_source stop;
    stop.request_stop();
    EXPECT_TRUE(LoadPicture(path, manyPixels, stop.get_token()).pixels.empty());
    std::vector<PixelBitmap> made;
    std::thread([&] { MakeThumbnails({path, path}, 320, 180, made, stop.get_token()); }).join();
    EXPECT_TRUE(made.empty());
    EXPECT_THAT(ReportLines(folder_.Path() / "report", "note: dxgi: GetImage"), IsEmpty());
}

TEST_F(Thumbnails, LeaveNoHandleAndNoBitmapBehind) {
    const std::vector<Text> paths{File("a.mp4"), File("b.mp4"), FromPath(folder_.Path() / "missing.mp4")};
    MakeOnThread(paths);
    const ObjectCounts counts(GetCurrentProcessId());
    const int handles = counts.Handles();
    const int objects = counts.GraphicsObjects();
    for (int i = 0; i < 50; ++i) {
        MakeOnThread(paths);
    }
    EXPECT_LT(counts.Handles(), handles + 20);
    EXPECT_LT(counts.GraphicsObjects(), objects + 20);
}

// Whole images.

using Images = Pictures;

struct ImageRow {
    const char* name;
    PngPicture picture;
    std::vector<std::uint32_t> colors;
};

TEST_F(Images, AreOpaqueOverBlack) {
    const std::string palette = PngChunk("PLTE", "\x10\x20\x30\x40\x50\x60");
    const std::vector<ImageRow> rows{
        {"colour", {2, 1, 8, 2, "\x10\x20\x30\xC0\xD0\xE0"}, {0x102030, 0xC0D0E0}},
        {"rows from the top", {1, 2, 8, 2, "\x01\x02\x03\x04\x05\x06"}, {0x010203, 0x040506}},
        {"grey", {2, 1, 8, 0, "\x10\xF0"}, {0x101010, 0xF0F0F0}},
        {"black and white", {8, 1, 1, 0, "\xA0"}, {0xFFFFFF, 0, 0xFFFFFF, 0, 0, 0, 0, 0}},
        {"palette", {2, 1, 8, 3, std::string("\1\0", 2), palette}, {0x405060, 0x102030}},
        {"transparent colour",
         {3, 1, 8, 6, std::string("\xFF\x80\x40\xFF\xFF\xFF\xFF\x80\xFF\xFF\xFF\0", 12)},
         {0xFF8040, 0x808080, 0}},
        {"transparent palette",
         {2, 1, 8, 3, std::string("\1\0", 2), palette + PngChunk("tRNS", std::string("\0", 1))},
         {0x405060, 0}},
    };
    for (const ImageRow& row : rows) {
        const PixelBitmap loaded = LoadPicture(File("picture.png", PngBytes(row.picture)), manyPixels);
        EXPECT_EQ(loaded.width, static_cast<std::int32_t>(row.picture.width)) << row.name;
        EXPECT_EQ(loaded.height, static_cast<std::int32_t>(row.picture.height)) << row.name;
        EXPECT_EQ(ColorsOf(loaded), row.colors) << row.name;
    }
}

// Photographs.

/// The levels of grey of the quarters of a photograph of 32 by 16 pixels, in reading order.
constexpr std::array<int, 4> levels = {250, 170, 90, 10};

/// `value` in two or four bytes, lowest first.
std::string LittleEndian(std::uint32_t value, int count) {
    std::string bytes = BigEndian(value, count);
    std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

/// A TIFF 6.0 file with one strip. Wine reads the orientation of this format alone.
std::string PhotographBytes(std::uint32_t orientation) {
    const std::vector<std::pair<std::uint32_t, std::uint32_t>> fields{
        {256, 32},          {257, 16},                          // width and height
        {258, 8},           {259, 1},  {262, 1},                // bits a sample, not compressed, zero is black
        {273, 134},                                             // the strip's offset
        {274, orientation}, {277, 1},  {278, 16}, {279, 512}};  // samples a pixel, rows and bytes of the strip
    std::string bytes = "II" + LittleEndian(42, 2) + LittleEndian(8, 4) + LittleEndian(10, 2);
    for (const auto& [tag, value] : fields) {
        bytes += LittleEndian(tag, 2) + LittleEndian(3, 2) + LittleEndian(1, 4) + LittleEndian(value, 4);
    }
    bytes += LittleEndian(0, 4);
    for (int y = 0; y < 16; ++y) {
        for (int x = 0; x < 32; ++x) {
            bytes += static_cast<char>(levels[static_cast<std::size_t>(y / 8 * 2 + x / 16)]);
        }
    }
    return bytes;
}

TEST_F(Images, PhotographsAreUpright) {
    // The quarters in reading order, as numbers of those that are stored, for every orientation.
    constexpr std::array<std::array<std::size_t, 4>, 10> rows = {{{0, 1, 2, 3},
                                                                  {0, 1, 2, 3},
                                                                  {1, 0, 3, 2},
                                                                  {3, 2, 1, 0},
                                                                  {2, 3, 0, 1},
                                                                  {0, 2, 1, 3},
                                                                  {2, 0, 3, 1},
                                                                  {3, 1, 2, 0},
                                                                  {1, 3, 0, 2},
                                                                  {0, 1, 2, 3}}};
    for (std::uint32_t orientation = 0; orientation < 10; ++orientation) {
        const Text path = File("turned.tif", PhotographBytes(orientation));
        const PixelBitmap loaded = LoadPicture(path, manyPixels);
        const bool turned = orientation >= 5 && orientation <= 8;
        ASSERT_EQ(loaded.width, turned ? 16 : 32) << orientation;
        ASSERT_EQ(loaded.height, turned ? 32 : 16) << orientation;
        for (int quarter = 0; quarter < 4; ++quarter) {
            const int x = loaded.width * (quarter % 2 * 2 + 1) / 4;
            const int y = loaded.height * (quarter / 2 * 2 + 1) / 4;
            const auto at = static_cast<std::size_t>(y * loaded.width + x);
            const auto stored = rows[orientation][static_cast<std::size_t>(quarter)];
            EXPECT_EQ(static_cast<int>(loaded.pixels[at] & 0xFFU), levels[stored]) << orientation;
        }
    }
}

// Limits and damage.

TEST_F(Images, MayHaveAsManyPixelsAsTheLimit) {
    const Text path = File("picture.png", PngBytes({4, 3, 8, 0, std::string(12, '\x7F')}));
    EXPECT_EQ(LoadPicture(path, 12).pixels.size(), 12U);
    EXPECT_TRUE(LoadPicture(path, 11).pixels.empty());
    EXPECT_EQ(LoadPicture(path, 11).width, 0);
}

TEST_F(Images, DamagedOnesAreEmpty) {
    const std::string whole = PngBytes({4, 3, 8, 2, std::string(36, '\x7F')});
    ASSERT_EQ(LoadPicture(File("whole.png", whole), manyPixels).width, 4);
    std::string wrongSum = whole;
    wrongSum[whole.find("IDAT") + 20] ^= 1;
    std::string text = PngChunk("tEXt", std::string("Title\0Game", 10));
    text.back() ^= 1;
    const std::string huge = PngBytes({100000, 100000, 8, 2, std::string(300000, '\x7F')});
    const std::vector<std::pair<std::string, std::string>> rows{
        {"truncated.png", whole.substr(0, whole.size() - 20)},
        {"wrong-sum.png", wrongSum},
        {"without-end.png", whole.substr(0, whole.size() - 12)},
        {"wrong-sum-of-a-text.png", whole.substr(0, 33) + text + whole.substr(33)},
        {"huge.png", huge},
        {"empty.png", ""},
        {"text.png", "not a picture at all"},
        {"clip.partial", "not a picture either"},
    };
    for (const auto& [name, bytes] : rows) {
        const PixelBitmap loaded = LoadPicture(File(name, bytes), manyPixels);
        EXPECT_TRUE(loaded.pixels.empty()) << name;
        EXPECT_TRUE(loaded.width == 0 && loaded.height == 0) << name;
    }
    EXPECT_TRUE(LoadPicture(FromPath(folder_.Path() / "missing.png"), manyPixels).pixels.empty());
    EXPECT_TRUE(LoadPicture(FromPath(folder_.Path()), manyPixels).pixels.empty());
}

TEST_F(Images, AreEmptyIfThereIsNotEnoughMemory) {
    const Text path = File("picture.png", PngBytes({300, 300, 8, 0, std::string(90000, '\x7F')}));
    fake::RefuseAllocationsHere(360000);
    const PixelBitmap loaded = LoadPicture(path, manyPixels);
    fake::RefuseAllocationsHere(0);
    EXPECT_TRUE(loaded.pixels.empty());
    EXPECT_EQ(LoadPicture(path, manyPixels).width, 300);
}

TEST_F(Images, LeaveNoHandleBehind) {
    const Text whole = File("whole.png", PngBytes({4, 3, 8, 2, std::string(36, '\x7F')}));
    const Text broken = File("broken.png", "x");
    LoadPicture(whole, manyPixels);
    const ObjectCounts counts(GetCurrentProcessId());
    const int handles = counts.Handles();
    const int objects = counts.GraphicsObjects();
    for (int i = 0; i < 50; ++i) {
        LoadPicture(whole, manyPixels);
        LoadPicture(whole, 11);
        LoadPicture(broken, manyPixels);
    }
    EXPECT_LT(counts.Handles(), handles + 10);
    EXPECT_LT(counts.GraphicsObjects(), objects + 10);
    // Nobody holds the file.
    EXPECT_TRUE(std::filesystem::remove(ToPath(whole)));
}

}  // namespace
}  // namespace zv::windows
