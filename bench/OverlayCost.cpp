// What painting costs: tiles, settings hub and each of its nine sections in the overlay of a 1080p monitor. CPU time of
// the program alone, from the message to the request to the server, against a copy of as many pixels.
#include <ctime>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <vector>

#include "core/Settings.h"
#include "platform/Session.h"
#include "ui/kit/DrawingFrame.h"
#include "ui/kit/Fonts.h"
#include "ui/navigation/Navigation.h"
#include "ui/state/UiGlobals.h"
#include "ui/windows/Overlay.h"

namespace zv {
namespace {

constexpr int paints = 101;

double CpuMs() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

/// The median CPU time of a call, in milliseconds.
double CostOf(const std::function<void()>& work) {
    std::vector<double> times;
    for (int i = 0; i < paints; ++i) {
        const double start = CpuMs();
        work();
        times.push_back(CpuMs() - start);
    }
    std::nth_element(times.begin(), times.begin() + paints / 2, times.end());
    return times[paints / 2];
}

int Run() {
    if (!OpenSession()) {
        std::fputs("There is no display.\n", stderr);
        return 1;
    }
    CreateFonts();
    ResetSettings(CurrentSettings());
    WindowOptions options;
    options.procedure = OverlayProc;
    const Rectangle bounds = OverlayBounds({0, 0, 1920, 1080});
    options.width = bounds.Width();
    options.height = bounds.Height();
    options.frame = WindowFrame::Bare;
    const Owned<AppWindow> window = MakeWindow(options);
    SetColorKey(*window, color::overlayKey);
    UiState& state = Ui().overlayState;
    constexpr const char* names[] = {
        "tiles",   "hub",        "recordings", "audio",      "shortcuts", "gallery location",
        "connect", "HUD layout", "broadcast",  "highlights", "photo"};
    std::vector<std::uint32_t> copy;
    std::int32_t index = -2;  // the tiles, the hub, the sections
    for (const char* name : names) {
        Ui().overlayPage = index < -1 ? overlayPage::tiles : overlayPage::settings;
        Ui().settingsSection = index++;
        const double paint = CostOf([&] { PaintWindow(*window, state, true); });
        const PixelView shown = PixelsOf(*state.backBuffer);
        copy.resize(static_cast<std::size_t>(shown.width) * static_cast<std::size_t>(shown.height));
        const double copying = CostOf([&] { std::memcpy(copy.data(), shown.pixels, copy.size() * 4); });
        std::uint64_t sum = 0;
        for (const std::uint32_t pixel : copy) {
            sum = sum * 31 + (pixel & 0xFFFFFFU);
        }
        std::printf("%-16s %.2f ms of CPU, copy of %dx%d pixels %.2f ms (%016llx)\n", name, paint, shown.width,
                    shown.height, copying, static_cast<unsigned long long>(sum));
    }
    Ui().soundDevices.listSlot.Wait();
    return 0;
}

}  // namespace
}  // namespace zv

int main() { return zv::Run(); }
