// The two costs of the gallery that a player can notice, with a library of 10,000 captures in 100 folders.
//
// A refresh, against find printing path, size and time of the same warm files. Both report how many files they saw and
// the sum of their sizes, as the proof that they did the same work.
//
// A page change in the overlay of a 1080p monitor, and a repaint when the pointer moves to another picture, with cached
// thumbnails: CPU time of the program alone, from the message to the request to the server, against a copy of as many
// pixels.
#include <ctime>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "library/LibraryScan.h"
#include "platform/Clock.h"
#include "platform/Files.h"
#include "platform/Session.h"
#include "support/TemporaryFolder.h"
#include "ui/kit/DrawingFrame.h"
#include "ui/kit/Fonts.h"
#include "ui/navigation/Navigation.h"
#include "ui/pages/TargetIds.h"
#include "ui/state/UiGlobals.h"
#include "ui/windows/Overlay.h"

namespace zv {
namespace {

namespace fs = std::filesystem;

constexpr int files = 10'000;
constexpr int folders = 100;
constexpr int rounds = 9;
constexpr int paints = 20;

double Median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

/// What a listing saw.
struct Seen {
    std::uint64_t files = 0;
    std::uint64_t bytes = 0;
};

void MakeLibrary(const fs::path& root) {
    for (int i = 0; i < files; ++i) {
        const fs::path folder = root / ("Game " + std::to_string(i % folders));
        fs::create_directories(folder);
        std::ofstream(folder / ("ZV_Replay_" + std::to_string(i) + ".mp4"))
            << std::string(static_cast<std::size_t>(i % 50), 'x');
    }
}

Seen Refresh(const fs::path& root) {
    LibraryFolders library;
    library.root = FromPath(root);
    Ui().library.found = ScanAllRoots(library);
    Seen seen;
    for (const MediaFile& file : Ui().library.found.files) {
        ++seen.files;
        seen.bytes += file.sizeBytes;
    }
    return seen;
}

Seen Find(const fs::path& root) {
    FILE* output = popen(("find '" + root.string() + "' -type f -printf '%p\\t%s\\t%T@\\n'").c_str(), "r");
    Seen seen;
    char line[4096];
    while (output != nullptr && std::fgets(line, sizeof line, output) != nullptr) {
        ++seen.files;
        seen.bytes += std::strtoull(std::strchr(line, '\t'), nullptr, 10);
    }
    pclose(output);
    return seen;
}

void CompareRefresh(const fs::path& root) {
    std::vector<double> times[2];
    Seen seen[2];
    for (int round = 0; round < rounds; ++round) {
        for (const int way : {0, 1}) {
            const std::int64_t startNs = SteadyNs();
            seen[way] = way == 0 ? Refresh(root) : Find(root);
            times[way].push_back(static_cast<double>(SteadyNs() - startNs) / 1e6);
        }
    }
    std::printf(
        "refresh of %d files   %.1f ms (%llu files, %llu bytes), find %.1f ms (%llu files, %llu bytes), ratio %.2f\n",
        files, Median(times[0]), static_cast<unsigned long long>(seen[0].files),
        static_cast<unsigned long long>(seen[0].bytes), Median(times[1]),
        static_cast<unsigned long long>(seen[1].files), static_cast<unsigned long long>(seen[1].bytes),
        Median(times[0]) / Median(times[1]));
}

void CacheThumbnails(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        auto thumbnail = std::make_shared<MediaThumbnail>();
        PixelBitmap& bitmap = thumbnail->bitmap;
        bitmap = {std::vector<std::uint32_t>(std::size_t{thumbnailWidth} * thumbnailHeight), thumbnailWidth,
                  thumbnailHeight};
        for (std::size_t at = 0; at < bitmap.pixels.size(); ++at) {
            bitmap.pixels[at] = static_cast<std::uint32_t>((at + i) * 2'654'435'761U);
        }
        Ui().library.thumbnailCache[ThumbnailKey(Ui().library.found.files[i])] = thumbnail;
    }
}

double CpuMs() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

/// The median CPU time of a call, in milliseconds.
double CostOf(const std::function<void(int nth)>& work) {
    std::vector<double> times;
    for (int i = 0; i < rounds * paints; ++i) {
        const double start = CpuMs();
        work(i);
        times.push_back(CpuMs() - start);
    }
    return Median(times);
}

int MeasurePages() {
    if (!OpenSession()) {
        std::fputs("There is no display.\n", stderr);
        return 1;
    }
    CreateFonts();
    WindowOptions options;
    options.procedure = OverlayProc;
    const Rectangle bounds = OverlayBounds({0, 0, 1920, 1080});
    options.width = bounds.Width();
    options.height = bounds.Height();
    options.frame = WindowFrame::Bare;
    const Owned<AppWindow> window = MakeWindow(options);
    SetColorKey(*window, color::overlayKey);
    UiState& state = Ui().overlayState;
    Ui().overlayPage = overlayPage::gallery;
    CacheThumbnails(12);
    const auto paint = [&] { PaintWindow(*window, state, true); };
    const double change = CostOf([&](int nth) {
        Ui().gallery.galleryFirstIndex = nth % 2 * 6;
        paint();
    });
    const double first = CostOf([&](int nth) {
        for (const auto& [key, thumbnail] : Ui().library.thumbnailCache) {
            thumbnail->shown = {};
        }
        Ui().gallery.galleryFirstIndex = nth % 2 * 6;
        paint();
    });
    const double hover = CostOf([&](int nth) {
        state.hoverId = overlayTarget::firstCapture + nth % 6;
        paint();
    });
    const PixelView shown = PixelsOf(*state.backBuffer);
    std::vector<std::uint32_t> copy(static_cast<std::size_t>(shown.width) * static_cast<std::size_t>(shown.height));
    const double copying = CostOf([&](int) { std::memcpy(copy.data(), shown.pixels, copy.size() * 4); });
    std::uint64_t sum = 0;
    for (const std::uint32_t pixel : copy) {
        sum = sum * 31 + (pixel & 0xFFFFFFU);
    }
    std::printf(
        "page change   %.2f ms of CPU, with new thumbnails %.2f ms, hover %.2f ms, copy of %dx%d pixels %.2f ms "
        "(%016llx)\n",
        change, first, hover, shown.width, shown.height, copying, static_cast<unsigned long long>(sum));
    return 0;
}

int Run() {
    const support::TemporaryFolder folder("zorvel-gallery");
    MakeLibrary(folder.Path());
    CompareRefresh(folder.Path());
    return MeasurePages();
}

}  // namespace
}  // namespace zv

int main() { return zv::Run(); }
