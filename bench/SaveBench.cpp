// Saving a ring of 60 seconds, against FFmpeg alone on copies of the same segments. The two alternate. Prints the
// medians, the median ratio of the pairs, and the sizes of both files as the proof that they did the same work.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "capture/CaptureEngine.h"
#include "core/CommandLine.h"
#include "core/FfmpegRuntime.h"
#include "platform/Files.h"
#include "support/TemporaryFolder.h"

namespace {

namespace fs = std::filesystem;
using namespace zv;

double SecondsOf(const auto& work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// A ring as the replay's FFmpeg writes it: 60 segments of a second at 25 Mbit/s.
void MakeRing(const fs::path& folder) {
    fs::create_directories(folder);
    const std::string command =
        "ffmpeg -v error -f lavfi -i testsrc2=size=1920x1080:rate=60:duration=60 -f lavfi -i sine=duration=60 "
        "-c:v libx264 -preset ultrafast -tune zerolatency -b:v 25M -maxrate 25M -bufsize 1M -nal-hrd cbr -g 60 "
        "-c:a aac -shortest -f hls -hls_time 1 -hls_list_size 60 -hls_segment_filename '" +
        (folder / "seg%08d.ts").string() + "' '" + (folder / "live.m3u8").string() + "'";
    if (std::system(command.c_str()) != 0) {
        std::exit(1);
    }
}

void CopyRing(const fs::path& ring, const fs::path& folder) {
    fs::create_directories(folder);
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(ring)) {
        if (entry.path().extension() == ".ts") {
            names.push_back(entry.path().filename().string());
            fs::copy_file(entry.path(), folder / entry.path().filename());
        }
    }
    std::sort(names.begin(), names.end());
    std::ofstream list(folder / "input.ffconcat");
    list << "ffconcat version 1.0\n";
    for (const std::string& name : names) {
        list << "file '" << name << "'\n";
    }
}

}  // namespace

int main() {
    const support::TemporaryFolder folder("zorvel-bench");
    const fs::path ring = folder.Path() / "ring";
    const fs::path copies = folder.Path() / "copies";
    MakeRing(ring);
    CopyRing(ring, copies);

    CaptureEngine engine;
    engine.ffmpegPath = FindFfmpeg();
    engine.cacheDir = FromPath(folder.Path());
    // The replay's FFmpeg is a process that only waits, so that the ring does not change.
    Child waiting;
    SpawnChild({u"/bin/sleep", u"\"/bin/sleep\" 3600", JoinPath(engine.cacheDir, u"sleep.log")}, waiting);
    engine.replay.process = std::move(waiting.process);
    engine.replay.stdinWrite = std::move(waiting.input);
    engine.replay.job = std::move(waiting.job);
    engine.replayDir = FromPath(ring);
    engine.replayRunning = true;

    const fs::path saved = folder.Path() / "clip.mp4";
    const fs::path bare = folder.Path() / "bare.mp4";
    std::vector<double> ours;
    std::vector<double> theirs;
    std::vector<double> ratios;
    for (int round = 0; round < 7; ++round) {
        fs::remove(saved);
        fs::remove(bare);
        ours.push_back(SecondsOf([&] { engine.SaveReplayClip(FromPath(saved)); }));
        theirs.push_back(SecondsOf([&] {
            EncoderProcess child;
            engine.StartChild(child,
                              u"-f concat -safe 1 -i " + QuoteArgument(FromPath(copies / "input.ffconcat")) +
                                  u" -map 0:v:0 -map 0:a? -c copy -bsf:a aac_adtstoasc -movflags +faststart " +
                                  QuoteArgument(FromPath(bare)),
                              JoinPath(engine.cacheDir, u"bare.log"));
            WaitForExit(*child.process, 60000);
            engine.StopChild(child, 1000);
        }));
        ratios.push_back(ours.back() / theirs.back());
    }
    std::printf(
        "save of a 60 s ring: %.3f s, bare FFmpeg on the copies: %.3f s, ratio %.3f (files of %ju and %ju bytes)\n",
        Median(ours), Median(theirs), Median(ratios), static_cast<std::uintmax_t>(fs::file_size(saved)),
        static_cast<std::uintmax_t>(fs::file_size(bare)));
    TerminateJob(*engine.replay.job);
    return 0;
}
