// FFmpeg, ffprobe and a separate analyser read the transport stream without a complaint.
#include <gtest/gtest.h>

#include <fstream>

#include "support/FileBytes.h"
#include "support/MediaProbe.h"
#include "support/Processes.h"
#include "support/TemporaryFolder.h"
#include "video/TransportStream.h"

namespace zv {
namespace {

using namespace support;
namespace fs = std::filesystem;

/// Access units of an Annex B stream in which every unit begins with a delimiter (nal_unit_type 9).
std::vector<std::vector<std::uint8_t>> AccessUnits(const std::string& stream) {
    const std::string delimiter("\0\0\0\1\x09", 5);
    std::vector<std::vector<std::uint8_t>> units;
    for (std::size_t begin = stream.find(delimiter); begin != std::string::npos;) {
        const std::size_t end = stream.find(delimiter, begin + 5);
        const std::string unit = stream.substr(begin, end == std::string::npos ? end : end - begin);
        units.emplace_back(unit.begin(), unit.end());
        begin = end;
    }
    return units;
}

struct TransportEndToEnd : testing::TestWithParam<std::uint32_t> {
    /// Seconds of a test picture, muxed by the code under test.
    fs::path Mux(std::uint32_t fps, int seconds) {
        const std::string rate = std::to_string(fps);
        const fs::path elementary = folder.Path() / "video.h264";
        OutputOf({"ffmpeg",
                  "-v",
                  "error",
                  "-f",
                  "lavfi",
                  "-i",
                  "testsrc2=size=640x360:rate=" + rate + ":duration=" + std::to_string(seconds),
                  "-c:v",
                  "libx264",
                  "-preset",
                  "ultrafast",
                  "-tune",
                  "zerolatency",
                  "-g",
                  rate,
                  "-x264-params",
                  "aud=1:repeat-headers=1:scenecut=0",
                  "-b:v",
                  "6M",
                  elementary.string()});
        const auto units = AccessUnits(ReadBytes(elementary));
        EXPECT_EQ(units.size(), static_cast<std::size_t>(seconds) * fps);
        TsMuxState state;
        std::vector<std::byte> packets;
        std::ofstream stream(folder.Path() / "video.ts", std::ios::binary);
        for (std::size_t index = 0; index < units.size(); ++index) {
            MuxFrame(state, std::as_bytes(std::span(units[index])), static_cast<std::uint32_t>(index), fps, packets);
            stream.write(reinterpret_cast<const char*>(packets.data()), static_cast<std::streamsize>(packets.size()));
        }
        return folder.Path() / "video.ts";
    }
    TemporaryFolder folder{"zorvel-transport"};
};

TEST_P(TransportEndToEnd, FfmpegDecodesItWithoutAWarning) {
    const fs::path stream = Mux(GetParam(), 3);
    EXPECT_EQ(OutputOf({"ffmpeg", "-v", "warning", "-xerror", "-err_detect", "explode", "-i", stream.string(), "-f",
                        "null", "-"},
                       true),
              "");
}

TEST_P(TransportEndToEnd, FfprobeSeesEveryFrameAtItsTimeWithoutAWarning) {
    const fs::path stream = Mux(GetParam(), 3);
    EXPECT_EQ(
        OutputOf({"ffprobe", "-v", "warning", "-show_entries", "stream=codec_type", "-of", "csv=p=0", stream.string()},
                 true)
            .find_first_not_of("video\n"),
        std::string::npos);
    const ClipFacts facts = Probe(stream);
    ASSERT_EQ(facts.stamps.size(), 3U * GetParam());
    for (std::size_t index = 0; index < facts.stamps.size(); ++index) {
        ASSERT_EQ(facts.stamps[index] - facts.stamps[0], static_cast<std::int64_t>(index * 90000 / GetParam()));
    }
    ASSERT_EQ(facts.keyFrames.size(), 3U);
    EXPECT_EQ(facts.keyFrames[1], GetParam());
}

TEST_P(TransportEndToEnd, ASeparateAnalyserFindsNoError) {
    const fs::path stream = Mux(GetParam(), 3);
    // It writes a list of counters into its working folder.
    const std::string timing =
        OutputOf({"env", "-C", folder.Path().string(), "tsreport", "-buffering", "-cnt", "256", stream.string()}, true);
    const std::string tables = OutputOf({"tsinfo", "-v", "-max", "1000000", stream.string()}, true);
    for (const std::string& report : {timing, tables}) {
        EXPECT_EQ(report.find("###"), std::string::npos) << report.substr(0, 4000);  // continuity and syntax
        EXPECT_EQ(report.find("!!!"), std::string::npos) << report.substr(0, 4000);  // checksums
    }
    const std::string frames = std::to_string(3 * GetParam());
    const std::string step = std::to_string(90000 / GetParam());
    EXPECT_NE(timing.find("PCRs found: " + frames + ", Bad (>.1s) gaps: 0, Max gap: " + step + "t"), std::string::npos)
        << timing;
    EXPECT_NE(timing.find("Mean difference (of " + frames + ") is 0t"), std::string::npos) << "PCR against PTS";
    EXPECT_NE(timing.find("DTS-last DTS: min=" + step + "t, max=" + step + "t"), std::string::npos);
    EXPECT_NE(timing.find("duplicate packets: 0"), std::string::npos);
    EXPECT_NE(tables.find("PID 0100 -> Stream 1b H.264"), std::string::npos) << tables.substr(0, 2000);
}

INSTANTIATE_TEST_SUITE_P(AllRates, TransportEndToEnd, testing::Values(30U, 60U, 120U, 240U));

}  // namespace
}  // namespace zv
