// Pictures of real files by the real FFmpeg, and a script in place of FFmpeg that fails in every form.
//
// The script runs the first line of the file that it is to convert.
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <zlib.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <thread>

#include "platform/Files.h"
#include "platform/Pictures.h"
#include "support/Eventually.h"
#include "support/FileBytes.h"
#include "support/Processes.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

using support::Eventually;
using support::ReadBytes;
using support::WriteBytes;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::int64_t sixtyFourMegapixels = 64000000;

/// "WIDTHxHEIGHT COLOR", where the colour is that of the centre: "red", "green", "blue", "black" or another. Empty for
/// no picture.
std::string Describe(const PixelBitmap& picture) {
    if (picture.pixels.empty()) {
        return {};
    }
    const std::uint32_t pixel =
        picture.pixels[static_cast<std::size_t>(picture.height / 2 * picture.width + picture.width / 2)];
    std::string color;
    for (const unsigned shift : {16U, 8U, 0U}) {
        const std::uint32_t channel = pixel >> shift & 0xFFU;
        color += channel > 200 ? '1' : channel < 60 ? '0' : '?';
    }
    const std::map<std::string, std::string> names{{"100", "red"}, {"010", "green"}, {"001", "blue"}, {"000", "black"}};
    return std::to_string(picture.width) + "x" + std::to_string(picture.height) + " " +
           (names.contains(color) ? names.at(color) : color);
}

std::string BigEndian(std::uint32_t value) {
    return {static_cast<char>(value >> 24U), static_cast<char>(value >> 16U), static_cast<char>(value >> 8U),
            static_cast<char>(value)};
}

std::string PngChunk(const std::string& typeAndData) {
    const auto* bytes = reinterpret_cast<const Bytef*>(typeAndData.data());
    const auto sum = static_cast<std::uint32_t>(crc32(0, bytes, static_cast<uInt>(typeAndData.size())));
    return BigEndian(static_cast<std::uint32_t>(typeAndData.size() - 4)) + typeAndData + BigEndian(sum);
}

/// A PNG file of 8 bits a channel. `rows` may have fewer bytes than the sizes say.
std::string Png(std::uint32_t width, std::uint32_t height, int colorType, const std::string& rows,
                const std::string& extraChunks = {}) {
    uLongf size = compressBound(rows.size());
    std::string data(size, '\0');
    compress(reinterpret_cast<Bytef*>(data.data()), &size, reinterpret_cast<const Bytef*>(rows.data()), rows.size());
    data.resize(size);
    return "\x89PNG\r\n\x1a\n" +
           PngChunk("IHDR" + BigEndian(width) + BigEndian(height) + '\x08' + static_cast<char>(colorType) +
                    std::string(3, '\0')) +
           extraChunks + PngChunk("IDAT" + data) + PngChunk("IEND");
}

/// `height` rows of `width` times the same pixel.
std::string Rows(std::size_t width, std::size_t height, const std::string& pixel) {
    std::string row(1, '\0');
    for (std::size_t x = 0; x < width; ++x) {
        row += pixel;
    }
    std::string rows;
    for (std::size_t y = 0; y < height; ++y) {
        rows += row;
    }
    return rows;
}

std::string RedPng() { return Png(64, 36, 2, Rows(64, 36, std::string("\xFF\0\0", 3))); }

/// `jpeg` with an orientation tag.
std::string WithOrientation(const std::string& jpeg, char orientation) {
    const std::string tag(
        "\xFF\xE1\0\x22"
        "Exif\0\0II*\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0",
        28);
    return jpeg.substr(0, 2) + tag + orientation + std::string(7, '\0') + jpeg.substr(2);
}

class LinuxPictures : public testing::Test {
protected:
    std::filesystem::path At(const std::string& name) const { return folder_.Path() / name; }
    Text TextAt(const std::string& name) const { return FromPath(At(name)); }

    /// Makes a file with FFmpeg from a source of its own, such as "color=red:s=64x36:d=1".
    void Make(const std::string& name, const std::string& source, const support::Arguments& options = {}) const {
        support::Arguments command{"ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i", source};
        command.insert(command.end(), options.begin(), options.end());
        command.push_back("file:" + At(name).string());
        support::OutputOf(command);
    }

    std::vector<std::string> Thumbnails(const std::vector<std::string>& names) const {
        std::vector<Text> paths;
        for (const std::string& name : names) {
            paths.push_back(TextAt(name));
        }
        std::vector<PixelBitmap> made;
        MakeThumbnails(paths, 320, 180, made);
        std::vector<std::string> described;
        for (const PixelBitmap& picture : made) {
            described.push_back(Describe(picture));
        }
        return described;
    }
    std::string Thumbnail(const std::string& name) const { return Thumbnails({name}).at(0); }
    std::string Load(const std::string& name, std::int64_t maxPixels = sixtyFourMegapixels) const {
        return Describe(LoadPicture(TextAt(name), maxPixels));
    }

    support::TemporaryFolder folder_;
};

TEST_F(LinuxPictures, AThumbnailFitsTheBoxInTheDisplayedShapeOfItsFile) {
    const support::Arguments flat{"-c:v", "libx264", "-pix_fmt", "yuv420p"};
    Make("wide.mp4", "color=red:s=640x360:d=0.2", flat);
    Make("tall.mkv", "color=lime:s=360x640:d=0.2", flat);
    Make("stretched.mov", "color=blue:s=320x360:d=0.2,setsar=2", flat);
    Make("one frame.mp4", "color=red:s=1920x1080:d=0.01", flat);
    Make("line.png", "color=red:s=3000x2", {"-frames:v", "1"});
    Make("small.jpg", "color=blue:s=16x16", {"-frames:v", "1"});
    EXPECT_THAT(
        Thumbnails({"wide.mp4", "tall.mkv", "stretched.mov", "one frame.mp4", "line.png", "small.jpg"}),
        ElementsAre("320x180 red", "101x180 green", "320x180 blue", "320x180 red", "320x1 red", "180x180 blue"));
}

TEST_F(LinuxPictures, AThumbnailIsNotABlackFirstFrameIfThereIsABetterOne) {
    const support::Arguments clip{"-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p", "-g"};
    const auto make = [&](const std::string& name, const std::string& source, const char* keyInterval) {
        support::Arguments options = clip;
        options.emplace_back(keyInterval);
        Make(name, source, options);
    };
    const std::string later = "color=red:s=160x90:r=10:d=";
    make("many keys.mp4", later + "42,drawbox=c=black:t=fill:enable='lt(t,40)'", "10");
    make("one key.mp4", later + "4,drawbox=c=black:t=fill:enable='lt(t,3)'", "1000");
    make("black.mp4", "color=black:s=160x90:r=10:d=3", "10");
    Make("black.png", "color=black:s=160x90", {"-frames:v", "1"});
    make("blue first.mp4", later + "2,drawbox=c=blue:t=fill:enable='lt(t,1)'", "10");
    EXPECT_THAT(Thumbnails({"many keys.mp4", "one key.mp4", "black.mp4", "black.png", "blue first.mp4"}),
                ElementsAre("320x180 red", "320x180 red", "320x180 black", "320x180 black", "320x180 blue"));
}

TEST_F(LinuxPictures, OrientationTagsAreRespected) {
    // The upper half is red, the lower one blue.
    const std::string halves = "color=red:s=64x32:d=0.2,pad=64:64:0:0:blue";
    Make("plain.mp4", halves, {"-c:v", "libx264", "-pix_fmt", "yuv420p"});
    support::OutputOf({"ffmpeg", "-v", "error", "-i", At("plain.mp4"), "-c", "copy", "-metadata:s:v", "rotate=180",
                       At("turned.mp4")});
    Make("plain.jpg", halves, {"-frames:v", "1", "-q:v", "2"});
    WriteBytes(At("turned.jpg"), WithOrientation(ReadBytes(At("plain.jpg")), 3));
    WriteBytes(At("clockwise.jpg"), WithOrientation(ReadBytes(At("plain.jpg")), 6));

    std::vector<PixelBitmap> made;
    MakeThumbnails({TextAt("plain.mp4"), TextAt("turned.mp4"), TextAt("turned.jpg"), TextAt("clockwise.jpg")}, 320, 180,
                   made);
    made.push_back(LoadPicture(TextAt("clockwise.jpg"), sixtyFourMegapixels));
    std::vector<bool> redCorners;  // upper left, lower right
    for (const PixelBitmap& picture : made) {
        ASSERT_FALSE(picture.pixels.empty());
        redCorners.push_back((picture.pixels.front() & 0xFF0000U) > 0x800000U);
        redCorners.push_back((picture.pixels.back() & 0xFF0000U) > 0x800000U);
    }
    EXPECT_THAT(redCorners, ElementsAre(true, false, false, true, false, true, false, true, false, true));
}

TEST_F(LinuxPictures, EveryNameIsAPlainFile) {
    const std::vector<std::string> names{"-f.png", "%03d.png",         "a?[b]*.png",     "concat:a|b.png",  "http:",
                                         "pipe:0", "\xFF\xFE\xC3.png", "two\nlines.png", "q'\"$(x)`y\\.png"};
    for (const std::string& name : names) {
        WriteBytes(At(name), RedPng());
    }
    EXPECT_THAT(Thumbnails(names), Each("320x180 red"));
    for (const std::string& name : names) {
        EXPECT_EQ(Load(name), "64x36 red") << name;
    }
}

TEST_F(LinuxPictures, AFileCannotNameOtherFiles) {
    Make("real.ts", "color=red:s=64x36:d=1", {"-c:v", "libx264", "-pix_fmt", "yuv420p"});
    const std::string real = At("real.ts").string();
    WriteBytes(At("hls.mp4"), "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\n" + real + "\n#EXT-X-ENDLIST\n");
    WriteBytes(At("concat.mp4"), "ffconcat version 1.0\nfile '" + real + "'\n");
    WriteBytes(At("sdp.mp4"), "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 0\nm=video 1 RTP/AVP 96\n");
    WriteBytes(At("drawing.png"),
               "<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'><rect width='9' height='9'/></svg>");
    EXPECT_EQ(Thumbnail("real.ts"), "320x180 red");
    EXPECT_THAT(Thumbnails({"hls.mp4", "concat.mp4", "sdp.mp4", "drawing.png"}), Each(""));
}

TEST_F(LinuxPictures, AWholeImageIsOpaqueOverBlackAndExact) {
    const std::string row = std::string("\0\xFF\x80\0\xFF\xFF\x80\0\x80\xFF\x80\0\0", 13);
    WriteBytes(At("alpha.png"), Png(3, 2, 6, row + std::string(13, '\0')));
    const PixelBitmap alpha = LoadPicture(TextAt("alpha.png"), sixtyFourMegapixels);
    EXPECT_THAT(alpha.pixels, ElementsAre(0xFFFF8000, 0xFF804000, 0xFF000000, 0xFF000000, 0xFF000000, 0xFF000000));
    EXPECT_EQ(alpha.width, 3);
    EXPECT_EQ(alpha.height, 2);

    const std::string palette =
        PngChunk(std::string("PLTE\0\xFF\0\xFF\0\0", 10)) + PngChunk(std::string("tRNS\xFF\0", 6));
    WriteBytes(At("palette.png"), Png(2, 1, 3, std::string("\0\0\1", 3), palette));
    EXPECT_THAT(LoadPicture(TextAt("palette.png"), sixtyFourMegapixels).pixels, ElementsAre(0xFF00FF00, 0xFF000000));

    Make("exact.png", "color=red:s=998x100", {"-frames:v", "1"});
    EXPECT_EQ(Load("exact.png", 99800), "998x100 red");
    EXPECT_EQ(Load("exact.png", 99799), "") << "more pixels than allowed";

    std::vector<PixelBitmap> made;
    WriteBytes(At("clear.png"), Png(64, 36, 6, Rows(64, 36, std::string("\xFF\xFF\xFF\0", 4))));
    MakeThumbnails({TextAt("clear.png")}, 320, 180, made);
    EXPECT_EQ(Describe(made.at(0)), "320x180 black");
}

TEST_F(LinuxPictures, ADamagedImageIsNoPicture) {
    const std::string good = RedPng();
    std::string wrongSum = good;
    wrongSum[good.size() - 13] ^= 1;  // of the pixels' chunk
    WriteBytes(At("good.png"), good);
    WriteBytes(At("wrong sum.png"), wrongSum);
    WriteBytes(At("half.png"), good.substr(0, good.size() / 2));
    WriteBytes(At("cut.png"), good.substr(0, good.size() - 5));
    WriteBytes(At("huge.png"), Png(100000, 100000, 2, Rows(64, 36, std::string(3, '\x7F'))));
    WriteBytes(At("empty.png"), "");
    WriteBytes(At("text.png"), "no picture at all");
    Make("good.jpg", "testsrc=s=64x36", {"-frames:v", "1"});
    const std::string jpeg = ReadBytes(At("good.jpg"));
    WriteBytes(At("half.jpg"), jpeg.substr(0, jpeg.size() / 2));
    std::filesystem::create_directory(At("folder.png"));

    EXPECT_EQ(Load("good.png"), "64x36 red");
    EXPECT_NE(Load("good.jpg"), "");
    for (const char* name : {"wrong sum.png", "half.png", "cut.png", "huge.png", "empty.png", "text.png", "half.jpg",
                             "folder.png", "missing.png"}) {
        EXPECT_EQ(Load(name), "") << name;
    }
    EXPECT_THAT(Thumbnails({"huge.png", "empty.png", "text.png", "folder.png", "missing.png"}), Each(""));
}

TEST_F(LinuxPictures, AnImageOf64MegapixelsOpensAndOneOf72DoesNot) {
    Make("64.png", "color=red:s=8000x8000", {"-frames:v", "1"});
    Make("72.png", "color=red:s=9000x8000", {"-frames:v", "1"});
    EXPECT_EQ(Load("64.png"), "8000x8000 red");
    EXPECT_EQ(Load("72.png"), "");
}

TEST_F(LinuxPictures, WithoutFfmpegThereAreNone) {
    WriteBytes(At("good.png"), RedPng());
    const support::ScopedVariable path("PATH", folder_.Path().string());
    EXPECT_THAT(Thumbnails({"good.png", "good.png"}), ElementsAre("", ""));
    EXPECT_EQ(Load("good.png"), "");
}

/// FFmpeg is a script here.
class LinuxPicturesOfAScript : public LinuxPictures {
protected:
    LinuxPicturesOfAScript() {
        WriteBytes(At("ffmpeg"), "#!/bin/sh\nread -r line\ncd '" + folder_.Path().string() + "'\neval \"$line\"\n");
        std::filesystem::permissions(At("ffmpeg"), std::filesystem::perms::owner_all);
        // 2 by 1 pixels, red.
        const std::string header("BM\x3E\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0\x02\0\0\0\x01\0\0\0\x01\0\x20\0", 30);
        const std::string pixel("\0\0\xFF\xFF", 4);
        WriteBytes(At("good"), header + std::string(24, '\0') + pixel + pixel);
    }

    /// A file for which the script runs `line`.
    std::string File(const std::string& line) {
        const std::string name = "file " + std::to_string(++files_);
        WriteBytes(At(name), line + "\n");
        return name;
    }

    bool Exists(const std::string& name) const { return std::filesystem::exists(At(name)); }

    int files_ = 0;
    support::ScopedVariable ffmpeg_{"ZV_FFMPEG", (folder_.Path() / "ffmpeg").string()};
};

TEST_F(LinuxPicturesOfAScript, AFailureOfOneRunCostsItsPictureAlone) {
    const std::vector<std::pair<std::string, std::string>> runs{
        {"cat good", "2x1 red"},
        {"exit 0", ""},
        {"exit 3", ""},
        {"kill -9 $$", ""},
        {"kill -SEGV $$", ""},
        {"echo Illegal instruction >&2; cat good", "2x1 red"},
        {"cat good; exit 1", "2x1 red"},  // as newer versions do after an error in a later frame
        {"head -c 61 good", ""},
        {"head -c 53 good", ""},
        {"cat good good; head -c 60 good", "2x1 red"},
        {"head -c 1000000 /dev/zero", ""},
        {"head -c 100000000 /dev/zero; cat good", ""},
        {"yes", ""},
        {"printf 'BM'; head -c 1000 /dev/zero", ""},
        {"head -c 18 good; printf '\\377\\377\\377\\377\\377\\377\\377\\377\\1\\0 \\0'; head -c 9000 /dev/zero", ""},
        {"head -c 18 good; printf '\\1\\0\\0\\1\\1\\0\\0\\1\\1\\0 \\0'; head -c 9000 /dev/zero", ""},
        {"head -c 28 good; printf '\\20'; tail -c +30 good", ""},  // 16 bits a pixel
        {"cat good", "2x1 red"},
    };
    std::vector<std::string> names;
    std::vector<std::string> expected;
    for (const auto& [line, picture] : runs) {
        names.push_back(File(line));
        expected.push_back(picture);
    }
    EXPECT_EQ(Thumbnails(names), expected);
    EXPECT_EQ(Load(names[0]), "2x1 red");
    EXPECT_EQ(Load(names[0], 1), "") << "more pixels than allowed";
    EXPECT_EQ(Load(names[6]), "") << "FFmpeg reports an error in the image";
}

TEST_F(LinuxPicturesOfAScript, APipeIsNotRead) {
    ASSERT_EQ(mkfifo(At("pipe").c_str(), 0600), 0);
    std::fstream writer(At("pipe"));
    writer << "cat good" << std::endl;
    EXPECT_EQ(Thumbnail("pipe"), "");
    EXPECT_EQ(Load("pipe"), "");
}

TEST_F(LinuxPicturesOfAScript, ARequestToStopEndsRunsThatHang) {
    const std::vector<Text> paths{TextAt(File("cat good; echo > done")),
                                  TextAt(File("tail -f '$PWD/ffmpeg' & echo > grandchild; wait")),
                                  TextAt(File("echo > stopped; kill -STOP $$")), TextAt(File("sleep 20; cat good"))};
    std::stop_source stop;
    std::vector<PixelBitmap> made;
    std::thread worker([&] { MakeThumbnails(paths, 320, 180, made, stop.get_token()); });
    EXPECT_TRUE(Eventually([this] { return Exists("done") && Exists("grandchild") && Exists("stopped"); }));
    stop.request_stop();
    worker.join();
    ASSERT_EQ(made.size(), 4U);
    EXPECT_EQ(Describe(made[0]), "2x1 red");
    EXPECT_THAT(made[1].pixels, IsEmpty());
    EXPECT_THAT(made[2].pixels, IsEmpty());
    EXPECT_THAT(made[3].pixels, IsEmpty()) << "it was not stopped";
    EXPECT_TRUE(Eventually([this] { return support::ProcessesWith(At("ffmpeg").string()).empty(); }));

    EXPECT_THAT(LoadPicture(paths[3], 100, stop.get_token()).pixels, IsEmpty()) << "stopped before it began";
}

TEST_F(LinuxPicturesOfAScript, RunsThatHangHoldUpTheOthersForALimitedTime) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_THAT(Thumbnails({File("cat good"), File("tail -f '$PWD/ffmpeg'"), File("kill -STOP $$"), File("cat good")}),
                ElementsAre("2x1 red", "", "", "2x1 red"));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(120));
    EXPECT_TRUE(Eventually([this] { return support::ProcessesWith(At("ffmpeg").string()).empty(); }));
}

TEST_F(LinuxPicturesOfAScript, RunsHaveLowPriorityLimitedMemoryAndNoCoreFile) {
    EXPECT_EQ(Thumbnail(File("nice > limits; ulimit -v >> limits; ulimit -c >> limits; cat good")), "2x1 red");
    EXPECT_EQ(ReadBytes(At("limits")), "5\n4194304\n0\n");
}

TEST_F(LinuxPicturesOfAScript, NothingGrowsWithTheNumberOfPictures) {
    const std::vector<std::string> names{File("cat good"), File("exit 1"), File("kill -9 $$"), "missing"};
    Thumbnails(names);
    const std::size_t before = support::OpenFiles();
    for (int i = 0; i < 10; ++i) {
        Thumbnails(names);
        Load(names[0]);
    }
    EXPECT_EQ(support::OpenFiles(), before);
    EXPECT_TRUE(Eventually([] {
        return support::OutputOf({"ps", "--ppid", std::to_string(getpid()), "-o", "comm="}) == "ps\n";
    }));
}

}  // namespace
}  // namespace zv
