// The pictures of the files that the program saves over the doubles of the graphics driver: numbers, colors and times.
#pragma once

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <optional>
#include <span>
#include <sstream>

#include "support/FrameNumber.h"
#include "windows/DriverScene.h"
#include "windows/Processes.h"

namespace zv::windows {

inline constexpr char16_t saveKeys[] = u"18 121";      // Alt + F10
inline constexpr char16_t recordKeys[] = u"17 18 82";  // Ctrl + Alt + R
inline constexpr char buffering[] = "Replay is buffering video and selected audio. Allow 2 seconds before saving.";
inline constexpr char recordingStarted[] = "Recording started. Stop Recording to finalize video and selected audio.";

inline std::vector<std::uint8_t> BytesOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class DriverPictures : public DriverScene {
protected:
    /// Starts the program, saves a clip after `segments` segments, ends the program, and returns the clip's path.
    std::filesystem::path MakeClip(std::size_t segments) {
        EXPECT_TRUE(StartProgram());
        EXPECT_TRUE(Eventually([&] { return ListedSegments() >= segments || Activity().size() > 1; }))
            << testing::PrintToString(Activity());
        Press(saveKeys);
        const std::filesystem::path clip = SavedClip();
        EXPECT_TRUE(EndProgram());
        ExpectNothingLeft();
        return clip;
    }

    /// Expects no complaint, a report of every module's end, and no FFmpeg.
    void ExpectNothingLeft() {
        EXPECT_THAT(ReportLines(Report(), "complaint: "), testing::IsEmpty());
        const std::vector<std::string> notes = ReportLines(Report(), "note: ");
        EXPECT_THAT(notes, testing::Contains(testing::StartsWith("dxgi: ends with")));
        EXPECT_THAT(notes, testing::Contains(testing::StartsWith("d3d11: ends with")));
        EXPECT_TRUE(Eventually([] { return ProcessesNamed(L"ffmpeg.exe").empty(); }));
    }

    /// The numbers of a clip's pictures, in order, read from their upper left corners.
    std::vector<std::optional<std::uint32_t>> NumbersOf(const std::filesystem::path& clip) {
        const std::filesystem::path raw = folder_.Path() / "corners";
        std::ofstream(raw).close();
        RunShell(folder_.Path(), "ffmpeg -v error -y -i \"$1\" -vf crop=480:360:0:0,format=gray -f rawvideo \"$2\"",
                 {clip, raw});
        const std::vector<std::uint8_t> bytes = BytesOf(raw);
        std::vector<std::optional<std::uint32_t>> numbers;
        for (std::size_t at = 0; at + 480 * 360 <= bytes.size(); at += 480 * 360) {
            numbers.push_back(
                support::ReadFrameNumber(std::span(bytes).subspan(at, 480 * 360), 480, support::Box{0, 0, 1920, 1080}));
        }
        return numbers;
    }

    /// Expects in each frame the image of the frame before it or the next image. Returns the number of repetitions.
    static std::size_t RepetitionsIn(std::span<const std::optional<std::uint32_t>> numbers) {
        std::size_t repetitions = 0;
        for (std::size_t i = 1; i < numbers.size(); ++i) {
            if (!numbers[i] || !numbers[i - 1] || *numbers[i] - *numbers[i - 1] > 1U) {
                ADD_FAILURE() << "at frame " << i;
                break;
            }
            repetitions += *numbers[i] == *numbers[i - 1] ? 1 : 0;
        }
        return repetitions;
    }

    /// Expects consecutive images in consecutive frames, with a key frame each second.
    void ExpectEveryImageIn(const std::filesystem::path& file, std::size_t atLeast) {
        const auto numbers = NumbersOf(file);
        ASSERT_GE(numbers.size(), atLeast) << file;
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            ASSERT_TRUE(numbers[i]) << file << " at frame " << i;
            ASSERT_EQ(*numbers[i], *numbers[0] + i) << file;
        }
        std::istringstream packets(
            RunShell(folder_.Path(),
                     "ffprobe -v error -select_streams v -show_entries packet=pts,flags -of csv=p=0 \"$1\"", {file}));
        std::vector<std::int64_t> stamps;
        for (std::string line; std::getline(packets, line);) {
            EXPECT_EQ(line.find('K') != std::string::npos, stamps.size() % 30 == 0) << line;
            stamps.push_back(std::stoll(line));
        }
        ASSERT_EQ(stamps.size(), numbers.size());
        for (std::size_t i = 1; i < stamps.size(); ++i) {
            ASSERT_EQ(stamps[i] - stamps[i - 1], stamps[1] - stamps[0]) << file << " at frame " << i;
        }
    }

    /// The first frame as planes of luma, Cb and Cr, without any conversion.
    std::vector<std::uint8_t> FirstFrameOf(const std::filesystem::path& clip) {
        const std::filesystem::path raw = folder_.Path() / "frame";
        std::ofstream(raw).close();
        RunShell(folder_.Path(), "ffmpeg -v error -y -i \"$1\" -frames:v 1 -f rawvideo \"$2\"", {clip, raw});
        return BytesOf(raw);
    }
};

struct Sample {
    int y = 0;
    int cb = 0;
    int cr = 0;
    bool operator==(const Sample&) const = default;
};
inline void PrintTo(const Sample& sample, std::ostream* out) {
    *out << sample.y << "/" << sample.cb << "/" << sample.cr;
}

inline Sample At(const std::vector<std::uint8_t>& frame, std::size_t x, std::size_t y) {
    const std::size_t luma = 1920 * 1080;
    const std::size_t chroma = y / 2 * 960 + x / 2;
    return {frame.at(y * 1920 + x), frame.at(luma + chroma), frame.at(luma + luma / 4 + chroma)};
}

}  // namespace zv::windows
