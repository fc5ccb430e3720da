// A clapper board: flashes a white field on the screen and plays a click at known times.
//
//   flash_and_click [--count N] [--period SECONDS]
//
// Between the flashes the block of support/FrameNumber.h shows the milliseconds of CLOCK_MONOTONIC, painted anew every
// 10 ms, so that every picture of a capture tells when it was taken, to the painting. The sound stream never pauses;
// a click is put at the sample that will be heard at the instant, by the server's own timing. Prints a line for each:
//
//   click NUMBER INSTANT PAINTED UNDERFLOWS    (microseconds of CLOCK_MONOTONIC; PAINTED: the server has the flash)
#include <pulse/pulseaudio.h>
#include <time.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <numbers>
#include <string>
#include <vector>

#include "support/FrameNumber.h"

namespace {

constexpr std::int64_t paintPeriodUs = 10000;
constexpr std::int64_t loopPeriodUs = 4000;
constexpr std::int64_t flashUs = 200000;
constexpr std::int64_t firstAfterUs = 3000000;
constexpr int sampleRate = 48000;
constexpr std::int64_t clickSamples = sampleRate / 50;
constexpr std::size_t originCount = 201;
constexpr std::uint32_t bufferBytes = sampleRate / 10 * 2 * sizeof(float);

std::int64_t NowUs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t{now.tv_sec} * 1000000 + now.tv_nsec / 1000;
}

struct Options {
    int count = 10;
    int periodSeconds = 6;
};

struct Screen {
    xcb_connection_t* connection = nullptr;
    xcb_window_t window = 0;
    xcb_pixmap_t picture = 0;
    xcb_gcontext_t black = 0;
    xcb_gcontext_t white = 0;
    std::uint16_t width = 0;
    std::uint16_t height = 0;
};

struct Speaker {
    pa_mainloop* loop = nullptr;
    pa_context* context = nullptr;
    pa_stream* stream = nullptr;
    std::int64_t written = 0;           ///< frames
    std::vector<std::int64_t> origins;  ///< when frame 0 is heard, by the last looks at the clock
    std::int64_t clickAt = -1;          ///< the frame at which the next click begins; -1: not known yet
    int underflows = 0;
};

bool ReadOptions(int count, char** arguments, Options& options) {
    for (int index = 1; index + 1 < count; index += 2) {
        const std::string name = arguments[index];
        (name == "--count" ? options.count : options.periodSeconds) = std::atoi(arguments[index + 1]);
    }
    return options.count > 0 && options.periodSeconds > 0;
}

xcb_gcontext_t MakeColor(const Screen& screen, std::uint32_t color) {
    const xcb_gcontext_t context = xcb_generate_id(screen.connection);
    const std::uint32_t values[] = {color, 0};
    xcb_create_gc(screen.connection, context, screen.window, XCB_GC_FOREGROUND | XCB_GC_GRAPHICS_EXPOSURES, values);
    return context;
}

xcb_rectangle_t RectangleOf(const zv::support::Box& box) {
    return {static_cast<std::int16_t>(box.left), static_cast<std::int16_t>(box.top),
            static_cast<std::uint16_t>(box.right - box.left), static_cast<std::uint16_t>(box.bottom - box.top)};
}

bool OpenScreen(Screen& screen) {
    screen.connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(screen.connection) != 0) {
        return false;
    }
    const xcb_screen_t* root = xcb_setup_roots_iterator(xcb_get_setup(screen.connection)).data;
    screen.width = root->width_in_pixels;
    screen.height = root->height_in_pixels;
    screen.window = xcb_generate_id(screen.connection);
    const std::uint32_t values[] = {root->black_pixel, 1};
    xcb_create_window(screen.connection, XCB_COPY_FROM_PARENT, screen.window, root->root, 0, 0, screen.width,
                      screen.height, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
    screen.picture = xcb_generate_id(screen.connection);
    xcb_create_pixmap(screen.connection, root->root_depth, screen.picture, screen.window, screen.width, screen.height);
    screen.black = MakeColor(screen, root->black_pixel);
    screen.white = MakeColor(screen, root->white_pixel);
    xcb_map_window(screen.connection, screen.window);
    xcb_flush(screen.connection);
    return true;
}

/// Waits until the server has executed all requests.
void Synchronize(const Screen& screen) {
    std::free(xcb_get_input_focus_reply(screen.connection, xcb_get_input_focus(screen.connection), nullptr));
}

/// Composed in a pixmap and copied with one request, so that a grab never sees half of a number.
void PaintTime(const Screen& screen) {
    const xcb_rectangle_t box = RectangleOf(zv::support::FrameNumberBox(screen.width, screen.height));
    xcb_poly_fill_rectangle(screen.connection, screen.picture, screen.black, 1, &box);
    const auto bits = zv::support::FrameNumberBits(static_cast<std::uint32_t>(NowUs() / 1000));
    std::vector<xcb_rectangle_t> cells;
    for (int index = 0; index < zv::support::frameNumberCells; ++index) {
        if (bits[static_cast<std::size_t>(index)]) {
            cells.push_back(RectangleOf(zv::support::FrameNumberCell(index, screen.width, screen.height)));
        }
    }
    xcb_poly_fill_rectangle(screen.connection, screen.picture, screen.white, static_cast<std::uint32_t>(cells.size()),
                            cells.data());
    xcb_copy_area(screen.connection, screen.picture, screen.window, screen.black, 0, 0, 0, 0, box.width, box.height);
    xcb_flush(screen.connection);
}

void PaintField(const Screen& screen, bool lit) {
    const xcb_rectangle_t field = RectangleOf({screen.width / 2, screen.height / 2, screen.width, screen.height});
    xcb_poly_fill_rectangle(screen.connection, screen.window, lit ? screen.white : screen.black, 1, &field);
    Synchronize(screen);
}

bool Turn(Speaker& speaker, int timeoutUs) {
    return pa_mainloop_prepare(speaker.loop, timeoutUs) >= 0 && pa_mainloop_poll(speaker.loop) >= 0 &&
           pa_mainloop_dispatch(speaker.loop) >= 0 && PA_CONTEXT_IS_GOOD(pa_context_get_state(speaker.context));
}

void CountUnderflow(pa_stream*, void* speaker) { ++static_cast<Speaker*>(speaker)->underflows; }

bool OpenSpeaker(Speaker& speaker) {
    speaker.loop = pa_mainloop_new();
    speaker.context = pa_context_new(pa_mainloop_get_api(speaker.loop), "flash_and_click");
    pa_context_connect(speaker.context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr);
    while (pa_context_get_state(speaker.context) != PA_CONTEXT_READY) {
        if (!Turn(speaker, 100000)) {
            return false;
        }
    }
    constexpr pa_sample_spec spec{PA_SAMPLE_FLOAT32LE, sampleRate, 2};
    speaker.stream = pa_stream_new(speaker.context, "clicks", &spec, nullptr);
    pa_stream_set_underflow_callback(speaker.stream, CountUnderflow, &speaker);
    constexpr auto unset = static_cast<std::uint32_t>(-1);
    const pa_buffer_attr buffer{unset, bufferBytes, 0, unset, unset};
    const auto flags = static_cast<pa_stream_flags_t>(PA_STREAM_ADJUST_LATENCY | PA_STREAM_AUTO_TIMING_UPDATE |
                                                      PA_STREAM_INTERPOLATE_TIMING);
    pa_stream_connect_playback(speaker.stream, nullptr, &buffer, flags, nullptr, nullptr);
    while (pa_stream_get_state(speaker.stream) != PA_STREAM_READY) {
        if (!Turn(speaker, 100000)) {
            return false;
        }
    }
    return true;
}

/// Computes when the stream's first frame is played, by the server's current timing.
void LookAtClock(Speaker& speaker) {
    pa_usec_t latency = 0;
    int negative = 0;
    if (pa_stream_get_latency(speaker.stream, &latency, &negative) < 0 || negative != 0) {
        return;
    }
    speaker.origins.push_back(NowUs() + static_cast<std::int64_t>(latency) - speaker.written * 1000000 / sampleRate);
    if (speaker.origins.size() > originCount) {
        speaker.origins.erase(speaker.origins.begin());
    }
}

std::int64_t FrameHeardAt(const Speaker& speaker, std::int64_t instantUs) {
    std::vector<std::int64_t> sorted = speaker.origins;
    std::sort(sorted.begin(), sorted.end());
    return (instantUs - sorted[sorted.size() / 2]) * sampleRate / 1000000;
}

float SampleOf(const Speaker& speaker, std::int64_t frame) {
    const std::int64_t at = frame - speaker.clickAt;
    if (speaker.clickAt < 0 || at < 0 || at >= clickSamples) {
        return 0;
    }
    return 0.8F * static_cast<float>(std::sin(2 * std::numbers::pi * 2000 * static_cast<double>(at) / sampleRate));
}

void FillStream(Speaker& speaker, std::int64_t instantUs) {
    const std::size_t frames = pa_stream_writable_size(speaker.stream) / (2 * sizeof(float));
    if (frames == 0 || frames > sampleRate) {
        return;
    }
    LookAtClock(speaker);
    // The position of a click is fixed shortly before it is written.
    const std::int64_t place = speaker.origins.empty() ? -1 : FrameHeardAt(speaker, instantUs);
    if (speaker.clickAt < 0 && place >= 0 && place < speaker.written + sampleRate / 4) {
        speaker.clickAt = std::max(place, speaker.written);
    }
    std::vector<float> samples;
    for (std::size_t i = 0; i < frames; ++i) {
        samples.insert(samples.end(), 2, SampleOf(speaker, speaker.written + static_cast<std::int64_t>(i)));
    }
    pa_stream_write(speaker.stream, samples.data(), samples.size() * sizeof(float), nullptr, 0, PA_SEEK_RELATIVE);
    speaker.written += static_cast<std::int64_t>(frames);
}

struct Event {
    int number = 0;
    std::int64_t instantUs = 0;
    std::int64_t paintedUs = 0;  ///< 0: not yet
};

/// Lights the field at its time and darkens it again. Returns true when the flash is over.
bool Follow(const Screen& screen, Event& event) {
    const std::int64_t now = NowUs();
    if (event.paintedUs == 0 && now >= event.instantUs) {
        PaintField(screen, true);
        event.paintedUs = NowUs();
    }
    if (event.paintedUs == 0 || now < event.instantUs + flashUs) {
        return false;
    }
    PaintField(screen, false);
    return true;
}

bool Run(const Screen& screen, Speaker& speaker, const Options& options) {
    Event event{0, NowUs() + firstAfterUs, 0};
    std::int64_t nextPaintUs = NowUs();
    while (event.number < options.count) {
        const std::int64_t wakeUs = event.paintedUs == 0 ? std::min(event.instantUs, nextPaintUs) : nextPaintUs;
        const auto pause = static_cast<int>(std::clamp<std::int64_t>(wakeUs - NowUs(), 0, loopPeriodUs));
        if (!Turn(speaker, pause) || xcb_connection_has_error(screen.connection) != 0) {
            return false;
        }
        FillStream(speaker, event.instantUs);
        if (NowUs() >= nextPaintUs) {
            PaintTime(screen);
            nextPaintUs = std::max(nextPaintUs + paintPeriodUs, NowUs());
        }
        if (Follow(screen, event)) {
            std::printf("click %d %lld %lld %d\n", event.number, static_cast<long long>(event.instantUs),
                        static_cast<long long>(event.paintedUs), speaker.underflows);
            std::fflush(stdout);
            event = {event.number + 1, event.instantUs + std::int64_t{1000000} * options.periodSeconds, 0};
            speaker.clickAt = -1;
        }
    }
    return true;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    Options options;
    Screen screen;
    Speaker speaker;
    if (!ReadOptions(argumentCount, arguments, options) || !OpenScreen(screen) || !OpenSpeaker(speaker)) {
        return 1;
    }
    return Run(screen, speaker, options) ? 0 : 1;
}
