// How long the viewer takes from a click to the first picture of a clip, and how long mpv alone takes for the same file
// from its start. Both run on one private display in turn, with the same sound server and the same output of mpv.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <thread>

#include "support/InterfaceUser.h"
#include "support/PrivateDisplay.h"
#include "support/Processes.h"
#include "support/ProgramRun.h"
#include "support/SoundServer.h"

namespace {

using namespace zv;
using namespace zv::support;
using Clock = std::chrono::steady_clock;

constexpr int rounds = 15;
constexpr Point galleryTile{790, 140};
constexpr Point thumbnail{374, 204};
constexpr Point toGallery{101, 88};

double Milliseconds(Clock::duration time) { return std::chrono::duration<double, std::milli>(time).count(); }

/// Until the pixel shows the clip, whose colour is reddish. Counts the colour into `sum`.
double UntilPicture(const InterfaceUser& user, const Point& at, Clock::time_point start, std::uint32_t& sum) {
    for (;;) {
        const std::uint32_t pixel = user.PixelAt(at.x, at.y);
        if (pixel >> 16U > 150 && (pixel & 0xFFU) < 80) {
            sum += pixel;
            return Milliseconds(Clock::now() - start);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

double Median(std::vector<double> times) {
    std::nth_element(times.begin(), times.begin() + rounds / 2, times.end());
    return times[rounds / 2];
}

struct Bench {
    double Viewer() {
        const Point middle = user.ScreenPointOf(overlayName, 505, 286);
        const auto start = Clock::now();
        user.Click(overlayName, thumbnail.x, thumbnail.y);
        const double time = UntilPicture(user, middle, start, viewerSum);
        user.Click(overlayName, toGallery.x, toGallery.y);
        user.WaitHidden("ZVInternalVideo317");
        user.WaitColor(overlayName, 980, 540, Rgb(24, 23, 28));
        return time;
    }
    double Alone() {
        const auto start = Clock::now();
        // Of the size of the viewer's window, in the free corner.
        Spawned mpv({"mpv", "--no-config", "--terminal=no", "--vo=gpu,x11", "--ontop", "--geometry=900x405+10+300",
                     "--no-border", clip.string()},
                    {{"DISPLAY", display.Name()}, {"WAYLAND_DISPLAY", ""}}, "/dev/null");
        return UntilPicture(user, {400, 500}, start, aloneSum);
    }

    PrivateDisplay display{"1280x720"};
    InterfaceUser user{display.Name()};
    /// So that the black of the overlay is found.
    xcb_window_t desktop = user.Cover({0, 0, 1280, 720}, 0x205080);
    SoundServer server;
    ProgramRun run{{.display = display.Name(), .settings = {{"instantReplay", "0"}}}};
    std::filesystem::path clip = run.CaptureRoot() / "Game" / "clip.mp4";
    std::uint32_t viewerSum = 0;
    std::uint32_t aloneSum = 0;
};

}  // namespace

int main() {
    Bench bench;
    std::filesystem::create_directories(bench.clip.parent_path());
    OutputOf({"ffmpeg", "-v", "error", "-f", "lavfi", "-i", "color=0xC04020:s=1920x1080:r=60:d=10", "-f", "lavfi", "-i",
              "sine=1000:d=10", "-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p", bench.clip.string()});
    bench.run.WaitForActivity("Replay stopped.");
    bench.user.OpenOverlay();
    bench.user.Click(overlayName, galleryTile.x, galleryTile.y);
    bench.user.WaitColor(overlayName, 980, 540, Rgb(24, 23, 28));
    // The thumbnail is there.
    const Point picture = bench.user.ScreenPointOf(overlayName, thumbnail.x, thumbnail.y);
    std::uint32_t ignored = 0;
    UntilPicture(bench.user, picture, Clock::now(), ignored);
    std::vector<double> viewer;
    std::vector<double> alone;
    for (int i = 0; i < rounds; ++i) {
        bench.user.OpenOverlay();
        viewer.push_back(bench.Viewer());
        bench.user.CloseOverlay();
        alone.push_back(bench.Alone());
    }
    std::printf("click to first picture %.0f ms, mpv alone %.0f ms, ratio %.2f (checksums %08x %08x)\n", Median(viewer),
                Median(alone), Median(viewer) / Median(alone), bench.viewerSum, bench.aloneSum);
    return 0;
}
