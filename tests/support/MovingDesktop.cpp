// A desktop that moves: a full-screen window which shows a new number and a moving pattern at a given rate.
//
//   moving_desktop [--fps N] [--motion small|full] [--width N] [--height N] [--duration SECONDS] [--count FILE]
//
// Each picture is composed in a pixmap and reaches the window in one request, so that a grab never sees half of it.
// Waits for the server after each picture. A picture that is late delays those that follow, so that the rate is never
// exceeded. Runs until it is killed, the time is over or the server dies. Prints a line when the window is visible.
// FILE always contains the number of pictures that the server has painted.
#include <time.h>
#include <xcb/xcb.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "support/FrameNumber.h"

namespace {

struct Options {
    int fps = 60;
    bool fullMotion = false;
    int width = 0;  ///< 0: the whole screen
    int height = 0;
    int durationSeconds = 0;  ///< 0: until killed
    const char* countFile = nullptr;
};

struct Painter {
    xcb_connection_t* connection = nullptr;
    const xcb_screen_t* screen = nullptr;
    xcb_window_t window = 0;
    xcb_pixmap_t picture = 0;
    xcb_pixmap_t texture = 0;  ///< twice as wide as the window, for the full motion
    xcb_gcontext_t black = 0;
    xcb_gcontext_t white = 0;
    xcb_gcontext_t colored = 0;
    std::uint16_t width = 0;
    std::uint16_t height = 0;
};

bool Usage() {
    std::fputs(
        "moving_desktop [--fps N] [--motion small|full] [--width N] [--height N] [--duration SECONDS] [--count FILE]\n",
        stderr);
    return false;
}

bool ReadNumber(const char* text, int least, int& value) {
    value = std::atoi(text);
    return value >= least;
}

bool ReadFile(const char* text, const char*& file) {
    file = text;
    return *text != '\0';
}

bool ReadOptions(int count, char** arguments, Options& options) {
    for (int index = 1; index < count; index += 2) {
        const std::string name = arguments[index];
        const char* value = index + 1 < count ? arguments[index + 1] : "";
        const bool understood = (name == "--fps" && ReadNumber(value, 1, options.fps)) ||
                                (name == "--width" && ReadNumber(value, 1, options.width)) ||
                                (name == "--height" && ReadNumber(value, 1, options.height)) ||
                                (name == "--duration" && ReadNumber(value, 0, options.durationSeconds)) ||
                                (name == "--count" && ReadFile(value, options.countFile)) ||
                                (name == "--motion" && (value == std::string("small") || value == std::string("full")));
        if (!understood) {
            return Usage();
        }
        options.fullMotion = options.fullMotion || value == std::string("full");
    }
    return true;
}

xcb_gcontext_t MakeColor(const Painter& painter, std::uint32_t color) {
    const xcb_gcontext_t context = xcb_generate_id(painter.connection);
    const std::uint32_t values[] = {color, 0};
    xcb_create_gc(painter.connection, context, painter.window, XCB_GC_FOREGROUND | XCB_GC_GRAPHICS_EXPOSURES, values);
    return context;
}

xcb_rectangle_t RectangleOf(int left, int top, int width, int height) {
    return {static_cast<std::int16_t>(left), static_cast<std::int16_t>(top), static_cast<std::uint16_t>(width),
            static_cast<std::uint16_t>(height)};
}

void Fill(const Painter& painter, xcb_drawable_t target, xcb_gcontext_t context,
          const std::vector<xcb_rectangle_t>& rectangles) {
    xcb_poly_fill_rectangle(painter.connection, target, context, static_cast<std::uint32_t>(rectangles.size()),
                            rectangles.data());
}

/// Boxes of many colours, the same ones every time.
void PaintTexture(const Painter& painter) {
    Fill(painter, painter.texture, painter.black, {RectangleOf(0, 0, 2 * painter.width, painter.height)});
    std::uint32_t state = 12345;
    const auto next = [&state](int limit) {
        state = state * 1664525U + 1013904223U;
        return static_cast<int>((state >> 8U) % static_cast<std::uint32_t>(limit));
    };
    for (int box = 0; box < 3000; ++box) {
        const std::uint32_t color = static_cast<std::uint32_t>(next(0x1000000));
        xcb_change_gc(painter.connection, painter.colored, XCB_GC_FOREGROUND, &color);
        const int left = next(painter.width);
        const int top = next(painter.height);
        const int width = 8 + next(120);
        const int height = 8 + next(120);
        Fill(painter, painter.texture, painter.colored,
             {RectangleOf(left, top, width, height), RectangleOf(left + painter.width, top, width, height)});
    }
}

bool Open(const Options& options, Painter& painter) {
    painter.connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(painter.connection) != 0) {
        std::fputs("no display\n", stderr);
        return false;
    }
    painter.screen = xcb_setup_roots_iterator(xcb_get_setup(painter.connection)).data;
    painter.width = options.width > 0 ? static_cast<std::uint16_t>(options.width) : painter.screen->width_in_pixels;
    painter.height = options.height > 0 ? static_cast<std::uint16_t>(options.height) : painter.screen->height_in_pixels;
    painter.window = xcb_generate_id(painter.connection);
    const std::uint32_t values[] = {painter.screen->black_pixel, 1};
    xcb_create_window(painter.connection, XCB_COPY_FROM_PARENT, painter.window, painter.screen->root, 0, 0,
                      painter.width, painter.height, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
    painter.picture = xcb_generate_id(painter.connection);
    xcb_create_pixmap(painter.connection, painter.screen->root_depth, painter.picture, painter.window, painter.width,
                      painter.height);
    painter.texture = xcb_generate_id(painter.connection);
    xcb_create_pixmap(painter.connection, painter.screen->root_depth, painter.texture, painter.window,
                      static_cast<std::uint16_t>(2 * painter.width), painter.height);
    painter.black = MakeColor(painter, painter.screen->black_pixel);
    painter.white = MakeColor(painter, painter.screen->white_pixel);
    painter.colored = MakeColor(painter, 0);
    PaintTexture(painter);
    xcb_copy_area(painter.connection, painter.texture, painter.picture, painter.black, 0, 0, 0, 0, painter.width,
                  painter.height);
    xcb_map_window(painter.connection, painter.window);
    xcb_flush(painter.connection);
    return true;
}

void PaintNumber(const Painter& painter, std::uint32_t number) {
    const zv::support::Box box = zv::support::FrameNumberBox(painter.width, painter.height);
    Fill(painter, painter.picture, painter.black, {RectangleOf(0, 0, box.right, box.bottom)});
    const auto bits = zv::support::FrameNumberBits(number);
    std::vector<xcb_rectangle_t> cells;
    for (int index = 0; index < zv::support::frameNumberCells; ++index) {
        if (bits[static_cast<std::size_t>(index)]) {
            const zv::support::Box cell = zv::support::FrameNumberCell(index, painter.width, painter.height);
            cells.push_back(RectangleOf(cell.left, cell.top, cell.right - cell.left, cell.bottom - cell.top));
        }
    }
    Fill(painter, painter.picture, painter.white, cells);
}

/// Moves a part of the texture below the number. The rest of the window does not change.
void PaintSmallMotion(const Painter& painter, std::uint32_t number) {
    const zv::support::Box box = zv::support::FrameNumberBox(painter.width, painter.height);
    const int strip = painter.height / 12;
    const auto shift = static_cast<std::int16_t>(number * 2 % painter.width);
    xcb_copy_area(painter.connection, painter.texture, painter.picture, painter.black, shift,
                  static_cast<std::int16_t>(box.bottom), 0, static_cast<std::int16_t>(box.bottom),
                  static_cast<std::uint16_t>(box.right), static_cast<std::uint16_t>(strip));
    PaintNumber(painter, number);
    const bool first = number == 0;
    xcb_copy_area(painter.connection, painter.picture, painter.window, painter.black, 0, 0, 0, 0,
                  first ? painter.width : static_cast<std::uint16_t>(box.right),
                  first ? painter.height : static_cast<std::uint16_t>(box.bottom + strip));
}

void PaintFullMotion(const Painter& painter, std::uint32_t number) {
    const auto shift = static_cast<std::int16_t>(number * 4 % painter.width);
    xcb_copy_area(painter.connection, painter.texture, painter.picture, painter.black, shift, 0, 0, 0, painter.width,
                  painter.height);
    PaintNumber(painter, number);
    xcb_copy_area(painter.connection, painter.picture, painter.window, painter.black, 0, 0, 0, 0, painter.width,
                  painter.height);
}

/// Waits until the server has painted and discards its events. Returns false if the connection is lost.
bool Synchronize(const Painter& painter) {
    std::free(xcb_get_input_focus_reply(painter.connection, xcb_get_input_focus(painter.connection), nullptr));
    while (xcb_generic_event_t* event = xcb_poll_for_event(painter.connection)) {
        std::free(event);
    }
    return xcb_connection_has_error(painter.connection) == 0;
}

timespec After(timespec time, std::int64_t nanoseconds) {
    const std::int64_t sum = time.tv_nsec + nanoseconds;
    return {time.tv_sec + sum / 1'000'000'000, sum % 1'000'000'000};
}

bool IsBefore(const timespec& a, const timespec& b) {
    return a.tv_sec != b.tv_sec ? a.tv_sec < b.tv_sec : a.tv_nsec < b.tv_nsec;
}

timespec Now() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now;
}

void Run(const Painter& painter, const Options& options) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> countFile(
        options.countFile != nullptr ? std::fopen(options.countFile, "w") : nullptr, &std::fclose);
    timespec next = Now();
    for (std::uint32_t number = 0;; ++number) {
        if (options.durationSeconds > 0 &&
            number >= static_cast<std::uint32_t>(options.durationSeconds) * static_cast<std::uint32_t>(options.fps)) {
            return;
        }
        options.fullMotion ? PaintFullMotion(painter, number) : PaintSmallMotion(painter, number);
        if (!Synchronize(painter)) {
            return;
        }
        if (number == 0) {
            std::printf("painting %dx%d, %d a second\n", painter.width, painter.height, options.fps);
            std::fflush(stdout);
        }
        if (countFile) {
            std::rewind(countFile.get());
            std::fprintf(countFile.get(), "%u\n", number + 1);
            std::fflush(countFile.get());
        }
        next = After(next, 1'000'000'000 / options.fps);
        const timespec now = Now();
        if (IsBefore(next, now)) {
            next = now;
        }
        clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &next, nullptr);
    }
}

}  // namespace

int main(int argumentCount, char** arguments) {
    Options options;
    Painter painter;
    if (!ReadOptions(argumentCount, arguments, options)) {
        return 2;
    }
    const bool opened = Open(options, painter);
    if (opened) {
        Run(painter, options);
    }
    xcb_disconnect(painter.connection);
    return opened ? 0 : 1;
}
