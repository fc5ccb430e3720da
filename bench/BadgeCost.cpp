// What a redirected window costs a full-screen client: the server's time for a 1080p picture that the client sends
// through shared memory, directly to the screen and while all windows are redirected, as when the badge is shown. The
// two alternate. The checksum is that of the screen after the last picture of both.
#include <xcb/composite.h>
#include <xcb/shm.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "platform/Clock.h"
#include "platform/linux/x11/RandrMonitors.h"
#include "platform/linux/x11/SharedMemory.h"
#include "platform/linux/x11/Xcb.h"

namespace zv {
namespace {

constexpr std::uint16_t width = 1920;
constexpr std::uint16_t height = 1080;
constexpr int rounds = 9;
constexpr int pictures = 300;

void Await(xcb_connection_t* connection) {
    x11::Adopt(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
}

class Client {
public:
    bool Open() {
        connection_.reset(xcb_connect(nullptr, nullptr));
        screen_ = x11::ScreenOf(connection_.get(), 0);
        if (screen_ == nullptr ||
            Failed(memory_.Attach(connection_.get(), std::size_t{width} * height * 4, x11::ServerAccess::ReadWrite))) {
            return false;
        }
        const std::uint32_t bare = 1;
        window_ = xcb_generate_id(connection_.get());
        context_ = xcb_generate_id(connection_.get());
        xcb_create_window(connection_.get(), XCB_COPY_FROM_PARENT, window_, screen_->root, 0, 0, width, height, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_OVERRIDE_REDIRECT, &bare);
        xcb_map_window(connection_.get(), window_);
        xcb_create_gc(connection_.get(), context_, window_, 0, nullptr);
        x11::Adopt(xcb_composite_query_version_reply(connection_.get(),
                                                     xcb_composite_query_version(connection_.get(), 0, 4), nullptr));
        return true;
    }
    void Redirect(bool on) {
        (on ? xcb_composite_redirect_subwindows : xcb_composite_unredirect_subwindows)(
            connection_.get(), screen_->root, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
        Await(connection_.get());
    }
    /// Milliseconds for a picture.
    double Paint() {
        const std::int64_t startNs = SteadyNs();
        for (int picture = 0; picture < pictures; ++picture) {
            std::memset(memory_.Bytes().get() + std::size_t{width} * 4 * static_cast<std::size_t>(picture), picture,
                        std::size_t{width} * 4);
            xcb_shm_put_image(connection_.get(), window_, context_, width, height, 0, 0, width, height, 0, 0,
                              screen_->root_depth, XCB_IMAGE_FORMAT_Z_PIXMAP, 0, memory_.Segment(), 0);
            Await(connection_.get());
        }
        return static_cast<double>(SteadyNs() - startNs) / pictures / 1e6;
    }
    std::uint64_t Checksum() {
        x11::Adopt(xcb_shm_get_image_reply(connection_.get(),
                                           xcb_shm_get_image(connection_.get(), screen_->root, 0, 0, width, height,
                                                             0xFFFFFF, XCB_IMAGE_FORMAT_Z_PIXMAP, memory_.Segment(), 0),
                                           nullptr));
        std::uint64_t sum = 0;
        for (std::size_t i = 0; i < memory_.Size(); ++i) {
            sum = sum * 31 + memory_.Bytes().get()[i];
        }
        return sum;
    }

private:
    x11::Connection connection_;
    const xcb_screen_t* screen_ = nullptr;
    x11::SharedMemory memory_;
    xcb_window_t window_ = XCB_WINDOW_NONE;
    xcb_gcontext_t context_ = XCB_NONE;
};

double Median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + rounds / 2, values.end());
    return values[rounds / 2];
}

int Run() {
    Client client;
    if (!client.Open()) {
        std::fputs("There is no display with shared memory.\n", stderr);
        return 1;
    }
    std::array<std::vector<double>, 2> times;
    std::array<std::uint64_t, 2> sums{};
    for (int round = 0; round < rounds; ++round) {
        for (const bool redirected : {false, true}) {
            if (redirected) {
                client.Redirect(true);
            }
            times[redirected ? 1 : 0].push_back(client.Paint());
            sums[redirected ? 1 : 0] = client.Checksum();
            if (redirected) {
                client.Redirect(false);
            }
        }
    }
    std::printf("full-screen client   direct %.3f ms (%016llx), redirected %.3f ms (%016llx), ratio %.3f\n",
                Median(times[0]), static_cast<unsigned long long>(sums[0]), Median(times[1]),
                static_cast<unsigned long long>(sums[1]), Median(times[1]) / Median(times[0]));
    return 0;
}

}  // namespace
}  // namespace zv

int main() { return zv::Run(); }
