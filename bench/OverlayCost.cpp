// What painting costs on a 1080p monitor: tiles, settings hub and each of its nine sections in the overlay; the pages
// of the main window, with a full list of recommendations and with the longest text of a release file. CPU time of the
// program alone, from the message to the request to the server, against a copy of as many pixels.
#include <ctime>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "core/Settings.h"
#include "platform/Session.h"
#include "ui/kit/DrawingFrame.h"
#include "ui/kit/Fonts.h"
#include "ui/navigation/Navigation.h"
#include "ui/state/UiGlobals.h"
#include "ui/windows/MainFrame.h"
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

/// Paints the window again and again, and prints what that costs.
void Measure(const char* name, AppWindow& window, UiState& state, bool overlay) {
    const double paint = CostOf([&] { PaintWindow(window, state, overlay); });
    const PixelView shown = PixelsOf(*state.backBuffer);
    std::vector<std::uint32_t> copy(static_cast<std::size_t>(shown.width) * static_cast<std::size_t>(shown.height));
    const double copying = CostOf([&] { std::memcpy(copy.data(), shown.pixels, copy.size() * 4); });
    std::uint64_t sum = 0;
    for (const std::uint32_t pixel : copy) {
        sum = sum * 31 + (pixel & 0xFFFFFFU);
    }
    std::printf("%-20s %.2f ms of CPU, copy of %dx%d pixels %.2f ms (%016llx)\n", name, paint, shown.width,
                shown.height, copying, static_cast<unsigned long long>(sum));
}

Owned<AppWindow> MakePageWindow(decltype(WindowOptions::procedure) procedure, std::int32_t width, std::int32_t height) {
    WindowOptions options;
    options.procedure = procedure;
    options.width = width;
    options.height = height;
    options.frame = WindowFrame::Bare;
    return MakeWindow(options);
}

void MeasureOverlay() {
    const Rectangle bounds = OverlayBounds({0, 0, 1920, 1080});
    const Owned<AppWindow> window = MakePageWindow(OverlayProc, bounds.Width(), bounds.Height());
    SetColorKey(*window, color::overlayKey);
    constexpr const char* names[] = {
        "tiles",   "hub",        "recordings", "audio",      "shortcuts", "gallery location",
        "connect", "HUD layout", "broadcast",  "highlights", "photo"};
    std::int32_t index = -2;  // the tiles, the hub, the sections
    for (const char* name : names) {
        Ui().overlayPage = index < -1 ? overlayPage::tiles : overlayPage::settings;
        Ui().settingsSection = index++;
        Measure(name, *window, Ui().overlayState, true);
    }
    Ui().soundDevices.listSlot.Wait();
}

/// Six cards and a release.
void FillFeeds(std::size_t titleLength, std::size_t descriptionLength) {
    Text words;
    while (words.size() < titleLength + descriptionLength) {
        words += u"words and more of them, ";
    }
    const Text title = words.substr(0, titleLength);
    const Text description = words.substr(0, descriptionLength);
    Ui().feeds.recommendations.assign(6, {title, description, u"https://a.example/", u"/missing.png"});
    Ui().feeds.recommendationsRequested = true;
    Ui().feeds.update = {u"4", title, description, u"https://a.example/", u""};
}

void MeasureMainWindow() {
    constexpr const char* names[] = {"Home", "Recommended", "Settings", "Updates", "Help"};
    UiState& state = Ui().mainState;
    state.pages = DrawMainFrame;
    const Owned<AppWindow> window = MakePageWindow(
        [](AppWindow&, std::uint32_t, std::uintptr_t, std::intptr_t) { return std::intptr_t{0}; }, 1920, 1080);
    for (std::int32_t page = 0; page < desktopPage::count; ++page) {
        SelectDesktopPage(page);
        Measure(names[page], *window, state, false);
    }
    for (const bool longest : {false, true}) {
        for (const std::int32_t page : {desktopPage::recommended, desktopPage::updates}) {
            FillFeeds(longest ? 30'000 : 40, longest ? 39'000 : 250);
            SelectDesktopPage(page);
            Measure((names[page] + std::string(longest ? " (longest)" : " (full)")).c_str(), *window, state, false);
        }
    }
    Ui().feeds.recommendationsSlot.Wait();
    Ui().library.thumbnailSlot.Wait();
}

int Run() {
    if (!OpenSession()) {
        std::fputs("There is no display.\n", stderr);
        return 1;
    }
    CreateFonts();
    ResetSettings(CurrentSettings());
    MeasureOverlay();
    MeasureMainWindow();
    return 0;
}

}  // namespace
}  // namespace zv

int main() { return zv::Run(); }
