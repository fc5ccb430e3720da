// The video worker with all its real parts: an X screen on which another client draws, the software encoder, and a
// reader of its FIFO. Its loop allocates nothing in its steady state.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <atomic>
#include <thread>

#include "core/Utf8.h"
#include "fake/Allocations.h"
#include "platform/linux/posix/Posix.h"
#include "platform/linux/x11/Xcb.h"
#include "support/Eventually.h"
#include "support/XServer.h"
#include "video/VideoCapture.h"

namespace zv {
namespace {

/// Draws squares all over the screen until it is stopped. Allocates all its resources in advance.
class MovingSquares {
public:
    MovingSquares() : connection_(xcb_connect(nullptr, nullptr)), thread_([this] { Draw(); }) {}
    ~MovingSquares() {
        ending_ = true;
        thread_.join();
    }
    MovingSquares(const MovingSquares&) = delete;
    MovingSquares& operator=(const MovingSquares&) = delete;

private:
    void Draw() {
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data;
        const xcb_gcontext_t context = xcb_generate_id(connection_.get());
        xcb_create_gc(connection_.get(), context, screen->root, 0, nullptr);
        for (std::uint32_t round = 1; !ending_; ++round) {
            const std::uint32_t color = round * 0x9E3779B1U & 0xFFFFFFU;
            const xcb_rectangle_t square{static_cast<std::int16_t>(round * 37 % 600),
                                         static_cast<std::int16_t>(round * 53 % 440), 40, 40};
            xcb_change_gc(connection_.get(), context, XCB_GC_FOREGROUND, &color);
            xcb_poly_fill_rectangle(connection_.get(), screen->root, context, 1, &square);
            xcb_flush(connection_.get());
            SleepMs(5);
        }
    }

    x11::Connection connection_;
    std::atomic<bool> ending_{false};
    std::thread thread_;
};

/// Reads a FIFO to its end.
class Drain {
public:
    explicit Drain(const Text& pipe) : thread_([this, path = ToUtf8(pipe)] { Read(path.c_str()); }) {}
    ~Drain() { thread_.join(); }
    Drain(const Drain&) = delete;
    Drain& operator=(const Drain&) = delete;

    std::atomic<std::uint64_t> bytes{0};

private:
    void Read(const char* path) {
        const Descriptor end(open(path, O_RDONLY | O_CLOEXEC));
        char block[65536];
        for (ssize_t count = 0; (count = read(end.Get(), block, sizeof block)) > 0;) {
            bytes += static_cast<std::uint64_t>(count);
        }
    }

    std::thread thread_;
};

void ExpectNoAllocationsInTheLoop(const VideoFormat& format) {
    const support::XServer server("640x480x24");
    MovingSquares squares;
    VideoCapture capture;
    ASSERT_TRUE(capture.Start(u"screen", format)) << Narrow(capture.Error());
    Drain reader(capture.PipeName());
    const auto reach = [&capture](std::uint64_t frames) {
        return support::Eventually([&] { return capture.encodedFrames >= frames || !capture.running; });
    };
    // The first pictures make the buffers grow to their final size.
    EXPECT_TRUE(reach(90));
    const std::uint64_t bytesBefore = reader.bytes;
    fake::ResetCountedAllocations();
    fake::CountAllocationsElsewhere(true);
    EXPECT_TRUE(reach(capture.encodedFrames + 90));
    fake::CountAllocationsElsewhere(false);
    EXPECT_EQ(fake::CountedAllocations(), 0U);
    EXPECT_TRUE(capture.running) << Narrow(capture.Error());
    EXPECT_GT(reader.bytes, bytesBefore);
    capture.Stop();
}

TEST(LinuxVideoLoop, AllocatesNothingWhileItCapturesAMovingDesktop) { ExpectNoAllocationsInTheLoop({640, 480, 60, 8}); }

TEST(LinuxVideoLoop, AllocatesNothingWhileItScalesAMovingDesktop) { ExpectNoAllocationsInTheLoop({1280, 720, 60, 8}); }

}  // namespace
}  // namespace zv
