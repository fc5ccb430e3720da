// The thumbnails of a page of six 1080p clips, against the thumbnailer of the distributions on the same files, six side
// by side. The two alternate. Prints the medians, the median ratio of the pairs, and the mean colour of both sets of
// pictures as the proof that they did the same work.
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/Files.h"
#include "platform/Pictures.h"
#include "support/TemporaryFolder.h"

namespace {

namespace fs = std::filesystem;
using namespace zv;

constexpr int clips = 6;

double SecondsOf(const auto& work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void Run(const std::string& command) {
    if (std::system(command.c_str()) != 0) {
        std::fprintf(stderr, "failed: %s\n", command.c_str());
        std::exit(1);
    }
}

/// A clip as the program saves it: 20 seconds at 25 Mbit/s with a key frame every second.
void MakeClip(const fs::path& path, int hue) {
    Run("ffmpeg -v error -f lavfi -i testsrc2=size=1920x1080:rate=60:duration=20,hue=h=" + std::to_string(hue) +
        " -f lavfi -i sine=duration=20 -c:v libx264 -preset ultrafast -tune zerolatency -pix_fmt yuv420p -b:v 25M "
        "-maxrate 25M -bufsize 1M -nal-hrd cbr -g 60 -c:a aac -shortest -movflags +faststart '" +
        path.string() + "'");
}

/// Red, green and blue from 0 to 255, over all pictures.
std::array<double, 3> MeanColor(const std::vector<PixelBitmap>& pictures) {
    std::array<double, 3> sums{};
    double count = 0;
    for (const PixelBitmap& picture : pictures) {
        count += static_cast<double>(picture.pixels.size());
        for (const std::uint32_t pixel : picture.pixels) {
            for (std::size_t i = 0; i < sums.size(); ++i) {
                sums[i] += pixel >> (16 - 8 * i) & 0xFFU;
            }
        }
    }
    for (double& sum : sums) {
        sum /= std::max(count, 1.0);
    }
    return sums;
}

void Print(const char* name, const std::vector<double>& seconds, const std::vector<PixelBitmap>& pictures) {
    const auto [red, green, blue] = MeanColor(pictures);
    std::printf("%s: %.3f s, mean colour %.1f %.1f %.1f\n", name, Median(seconds), red, green, blue);
}

}  // namespace

int main() {
    const support::TemporaryFolder folder("zorvel-bench");
    std::vector<Text> paths;
    std::vector<fs::path> theirFiles;
    std::string theirCommand;
    for (int i = 0; i < clips; ++i) {
        const fs::path clip = folder.Path() / ("clip" + std::to_string(i) + ".mp4");
        MakeClip(clip, 60 * i);
        paths.push_back(FromPath(clip));
        theirFiles.push_back(folder.Path() / ("picture" + std::to_string(i) + ".png"));
        theirCommand +=
            "ffmpegthumbnailer -s 320 -t 0 -i '" + clip.string() + "' -o '" + theirFiles.back().string() + "' & ";
    }
    std::vector<double> ours;
    std::vector<double> theirs;
    std::vector<double> ratios;
    std::vector<PixelBitmap> ourPictures;
    for (int round = 0; round < 15; ++round) {
        ourPictures.clear();
        ours.push_back(SecondsOf([&] { MakeThumbnails(paths, 320, 180, ourPictures); }));
        theirs.push_back(SecondsOf([&] { Run(theirCommand + "wait"); }));
        ratios.push_back(ours.back() / theirs.back());
    }
    std::vector<PixelBitmap> theirPictures;
    for (const fs::path& file : theirFiles) {
        theirPictures.push_back(LoadPicture(FromPath(file), 1000000));
    }
    Print("six thumbnails", ours, ourPictures);
    Print("ffmpegthumbnailer, six side by side", theirs, theirPictures);
    std::printf("ratio %.3f\n", Median(ratios));
    return 0;
}
