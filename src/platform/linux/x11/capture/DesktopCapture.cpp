// The duplication of a monitor of an X screen: damage tells what changed, shared memory brings it.
//
// One connection for each capture, used by its thread alone. The server writes the changed bands, as full-width rows,
// straight into the storage that the capture surface shares, so a new image costs one round trip to ask what changed
// and one write by the server; a desktop that stands still costs an empty read of the socket. The pointer is not in
// the image. XCB never ends the process: a server that dies is a failed acquire.
#include "platform/DesktopCapture.h"

#include <errno.h>
#include <poll.h>
#include <unistd.h>
#include <xcb/damage.h>
#include <xcb/randr.h>
#include <xcb/shm.h>
#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <span>

#include "platform/linux/posix/Posix.h"
#include "platform/linux/x11/RandrMonitors.h"
#include "platform/linux/x11/Xcb.h"
#include "platform/linux/x11/capture/ExcludedWindows.h"
#include "platform/linux/x11/capture/OccludedContent.h"
#include "platform/software/Surface.h"

namespace zv {
namespace {

constexpr std::int64_t beneathPeriodNs = 16'000'000;
constexpr std::int32_t bandGap = 16;  ///< rows: bands that are nearer to each other are grabbed as one

const Result lostServer = ResultOfSystemError(EPIPE);
const Result changedMonitor = ResultOfSystemError(ESTALE);
const Result goneMonitor = ResultOfSystemError(ENODEV);
const Result unsuitableScreen = ResultOfSystemError(EOPNOTSUPP);
const Result heldImage = ResultOf(0x887A0001U);  // DXGI_ERROR_INVALID_CALL

/// The connection with what was asked of it once.
struct Server {
    x11::Connection connection;
    const xcb_screen_t* screen = nullptr;

    xcb_connection_t* Get() const { return connection.get(); }
    bool Lost() const { return xcb_connection_has_error(connection.get()) != 0; }
};

}  // namespace

struct GraphicsFactory {
    std::shared_ptr<Server> server;
};

struct GraphicsOutput {
    std::shared_ptr<Server> server;
    OutputRecord record;
};

struct DesktopDuplication {
    ~DesktopDuplication();

    std::shared_ptr<Server> server;
    OutputRecord output;
    Rectangle monitor;  ///< in the coordinates of the root window
    xcb_shm_seg_t segment = XCB_NONE;
    xcb_damage_damage_t damage = XCB_NONE;
    xcb_xfixes_region_t region = XCB_NONE;
    std::uint8_t damageEvent = 0;
    std::uint8_t randrEvent = 0;  ///< 0: the server has no RandR

    bool first = true;            ///< no image was given out yet
    bool damaged = false;         ///< the server has damage to tell of
    bool displayChanged = false;  ///< monitors have to be looked at again
    bool held = false;            ///< an image is out
    DesktopImage image;

    std::unique_ptr<x11::BeneathWindows> beneath;
    Damage covered;                   ///< parts of the root where the image shows what lies beneath ours
    std::int64_t coveredDrawnNs = 0;  ///< when what lies beneath them was drawn last
};

namespace {

/// Rows of the monitor that are grabbed in one request.
struct Band {
    std::int32_t top = 0;
    std::int32_t bottom = 0;
};

struct Bands {
    std::array<Band, Damage::most> each;
    std::size_t count = 0;
};

Bands BandsOf(const Damage& damage) {
    Bands bands;
    for (const Rectangle& part : damage.Rectangles()) {
        bands.each[bands.count++] = {part.top, part.bottom};
    }
    const auto end = bands.each.begin() + static_cast<std::ptrdiff_t>(bands.count);
    std::sort(bands.each.begin(), end, [](const Band& a, const Band& b) { return a.top < b.top; });
    std::size_t kept = 0;
    for (std::size_t index = 1; index < bands.count; ++index) {
        if (bands.each[index].top <= bands.each[kept].bottom + bandGap) {
            bands.each[kept].bottom = std::max(bands.each[kept].bottom, bands.each[index].bottom);
        } else {
            bands.each[++kept] = bands.each[index];
        }
    }
    bands.count = bands.count == 0 ? 0 : kept + 1;
    return bands;
}

bool HasPixelsOfFourBytes(const Server& server) {
    const xcb_setup_t* setup = xcb_get_setup(server.Get());
    for (auto format = xcb_setup_pixmap_formats_iterator(setup); format.rem > 0; xcb_format_next(&format)) {
        if (format.data->depth == server.screen->root_depth) {
            return format.data->bits_per_pixel == 32 && setup->image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST;
        }
    }
    return false;
}

/// The root's visual puts red, green and blue where the conversion looks for them.
bool HasUsualColors(const xcb_screen_t& screen) {
    for (auto depth = xcb_screen_allowed_depths_iterator(&screen); depth.rem > 0; xcb_depth_next(&depth)) {
        for (auto visual = xcb_depth_visuals_iterator(depth.data); visual.rem > 0; xcb_visualtype_next(&visual)) {
            if (visual.data->visual_id == screen.root_visual) {
                return visual.data->_class == XCB_VISUAL_CLASS_TRUE_COLOR && visual.data->red_mask == 0xFF0000U &&
                       visual.data->green_mask == 0xFF00U && visual.data->blue_mask == 0xFFU;
            }
        }
    }
    return false;
}

bool Has(xcb_connection_t* connection, xcb_extension_t& extension) {
    const xcb_query_extension_reply_t* reply = xcb_get_extension_data(connection, &extension);
    return reply != nullptr && reply->present != 0;
}

/// Shared memory by descriptor, regions and damage.
bool HasExtensions(xcb_connection_t* connection) {
    if (!Has(connection, xcb_shm_id) || !Has(connection, xcb_xfixes_id) || !Has(connection, xcb_damage_id)) {
        return false;
    }
    const x11::Reply<xcb_shm_query_version_reply_t> shm(
        xcb_shm_query_version_reply(connection, xcb_shm_query_version(connection), nullptr));
    const x11::Reply<xcb_xfixes_query_version_reply_t> fixes(
        xcb_xfixes_query_version_reply(connection, xcb_xfixes_query_version(connection, 2, 0), nullptr));
    const x11::Reply<xcb_damage_query_version_reply_t> damage(
        xcb_damage_query_version_reply(connection, xcb_damage_query_version(connection, 1, 1), nullptr));
    return shm != nullptr && fixes != nullptr && damage != nullptr &&
           (shm->major_version > 1 || shm->minor_version >= 2);
}

bool Accepted(const Server& server, xcb_void_cookie_t request) {
    return x11::Reply<xcb_generic_error_t>(xcb_request_check(server.Get(), request)) == nullptr && !server.Lost();
}

Result ShareStorage(DesktopDuplication& duplication) {
    const Server& server = *duplication.server;
    DesktopPixels& pixels = duplication.image.pixels;
    pixels.width = static_cast<std::uint32_t>(duplication.monitor.right - duplication.monitor.left);
    pixels.height = static_cast<std::uint32_t>(duplication.monitor.bottom - duplication.monitor.top);
    pixels.store = MakePixelStore(pixels.Stride() * pixels.height);
    if (pixels.store == nullptr) {
        return LastError();
    }
    const int descriptor = dup(pixels.store->descriptor.Get());
    if (descriptor < 0) {
        return LastError();
    }
    const xcb_shm_seg_t segment = xcb_generate_id(server.Get());
    // XCB closes the descriptor once it is sent.
    if (!Accepted(server, xcb_shm_attach_fd_checked(server.Get(), segment, descriptor, 0))) {
        return server.Lost() ? lostServer : unsuitableScreen;
    }
    duplication.segment = segment;
    return resultOk;
}

void WatchDisplay(DesktopDuplication& duplication) {
    const Server& server = *duplication.server;
    if (!Has(server.Get(), xcb_randr_id)) {
        return;
    }
    duplication.randrEvent = xcb_get_extension_data(server.Get(), &xcb_randr_id)->first_event;
    xcb_randr_select_input(
        server.Get(), server.screen->root,
        XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE | XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
}

Result WatchDamage(DesktopDuplication& duplication) {
    const Server& server = *duplication.server;
    duplication.damageEvent = xcb_get_extension_data(server.Get(), &xcb_damage_id)->first_event;
    duplication.region = xcb_generate_id(server.Get());
    xcb_xfixes_create_region(server.Get(), duplication.region, 0, nullptr);
    duplication.damage = xcb_generate_id(server.Get());
    const bool accepted =
        Accepted(server, xcb_damage_create_checked(server.Get(), duplication.damage, server.screen->root,
                                                   XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY));
    return accepted ? resultOk : server.Lost() ? lostServer : unsuitableScreen;
}

/// Takes what the server sent without waiting. False when it is gone.
bool TakeEvents(DesktopDuplication& duplication) {
    xcb_connection_t* connection = duplication.server->Get();
    while (const x11::Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection)}) {
        const std::uint8_t type = event->response_type & 0x7FU;
        if (type == duplication.damageEvent + XCB_DAMAGE_NOTIFY) {
            duplication.damaged = true;
        } else if (duplication.randrEvent != 0 &&
                   (type == duplication.randrEvent || type == duplication.randrEvent + XCB_RANDR_NOTIFY)) {
            duplication.displayChanged = true;
        }
    }
    return !duplication.server->Lost();
}

/// Whether the monitor is still where and what it was. Asks the server.
Result CheckMonitor(DesktopDuplication& duplication) {
    duplication.displayChanged = false;
    const OutputRecord& before = duplication.output;
    const Server& server = *duplication.server;
    for (const x11::ScreenMonitor& monitor : x11::QueryMonitors(server.Get(), server.screen->root)) {
        const OutputRecord& now = monitor.output;
        if (now.deviceName != before.deviceName) {
            continue;
        }
        const bool same = now.left == before.left && now.top == before.top && now.right == before.right &&
                          now.bottom == before.bottom && now.rotation == before.rotation;
        return same ? resultOk : changedMonitor;
    }
    return server.Lost() ? lostServer : goneMonitor;
}

/// Moves the server's damage into the image's, as far as it lies on the monitor. False when the server is gone.
bool FetchDamage(DesktopDuplication& duplication) {
    xcb_connection_t* connection = duplication.server->Get();
    duplication.damaged = false;
    xcb_damage_subtract(connection, duplication.damage, XCB_NONE, duplication.region);
    const x11::Reply<xcb_xfixes_fetch_region_reply_t> reply(xcb_xfixes_fetch_region_reply(
        connection, xcb_xfixes_fetch_region_unchecked(connection, duplication.region), nullptr));
    if (reply == nullptr) {
        return false;
    }
    const Rectangle& monitor = duplication.monitor;
    const auto count = static_cast<std::size_t>(xcb_xfixes_fetch_region_rectangles_length(reply.get()));
    for (const xcb_rectangle_t& each : std::span(xcb_xfixes_fetch_region_rectangles(reply.get()), count)) {
        const Rectangle part = Intersection(monitor, {each.x, each.y, each.x + each.width, each.y + each.height});
        duplication.image.changed.Add(
            {part.left - monitor.left, part.top - monitor.top, part.right - monitor.left, part.bottom - monitor.top});
    }
    return true;
}

/// Has the server write the changed bands into the shared storage. All requests go out before the first answer.
Result Grab(DesktopDuplication& duplication) {
    xcb_connection_t* connection = duplication.server->Get();
    const DesktopPixels& pixels = duplication.image.pixels;
    const Bands bands = BandsOf(duplication.image.changed);
    std::array<xcb_shm_get_image_cookie_t, Damage::most> requests{};
    for (std::size_t index = 0; index < bands.count; ++index) {
        const Band& band = bands.each[index];
        const std::size_t offset = static_cast<std::size_t>(band.top) * pixels.Stride();
        requests[index] = xcb_shm_get_image(
            connection, duplication.server->screen->root, static_cast<std::int16_t>(duplication.monitor.left),
            static_cast<std::int16_t>(duplication.monitor.top + band.top), static_cast<std::uint16_t>(pixels.width),
            static_cast<std::uint16_t>(band.bottom - band.top), ~0U, XCB_IMAGE_FORMAT_Z_PIXMAP, duplication.segment,
            static_cast<std::uint32_t>(offset));
    }
    Result result = resultOk;
    for (std::size_t index = 0; index < bands.count; ++index) {
        xcb_generic_error_t* error = nullptr;
        const x11::Reply<xcb_shm_get_image_reply_t> reply(xcb_shm_get_image_reply(connection, requests[index], &error));
        if (reply == nullptr) {
            // The server refuses a part that is no longer on the screen.
            result = error != nullptr ? changedMonitor : lostServer;
        }
        std::free(error);
    }
    return result;
}

/// What lies beneath our own windows changes without damage to the screen: it is drawn anew so often.
bool BeneathIsDue(const DesktopDuplication& duplication) {
    const std::int64_t nowNs = MonotonicNs();
    return nowNs - duplication.coveredDrawnNs >= beneathPeriodNs &&
           !(duplication.covered.Empty() && x11::PlacesSince(nowNs, duplication.monitor).Empty());
}

/// Puts what lies beneath into the image, black where the server cannot tell.
void DrawBeneath(DesktopDuplication& duplication, const Rectangle& part) {
    const DesktopPixels& pixels = duplication.image.pixels;
    const std::uint8_t* drawn = duplication.beneath->Draw(part);
    const std::size_t rowBytes = static_cast<std::size_t>(part.Width()) * 4;
    const std::int32_t left = part.left - duplication.monitor.left;
    const std::int32_t top = part.top - duplication.monitor.top;
    for (std::int32_t y = 0; y < part.Height(); ++y) {
        std::uint8_t* row = pixels.store->bytes + static_cast<std::size_t>(top + y) * pixels.Stride() +
                            static_cast<std::size_t>(left) * 4;
        if (drawn != nullptr) {
            std::memcpy(row, drawn + static_cast<std::size_t>(y) * rowBytes, rowBytes);
        } else {
            std::memset(row, 0, rowBytes);
        }
    }
    duplication.image.changed.Add({left, top, left + part.Width(), top + part.Height()});
}

/// Where ours are gone for good the screen itself is to be seen again, which may have no damage to tell of.
void UncoverLeftPlaces(DesktopDuplication& duplication, std::int64_t nowNs) {
    const Rectangle& monitor = duplication.monitor;
    const Damage still = x11::PlacesSince(nowNs, monitor);
    for (const Rectangle& part : duplication.covered.Rectangles()) {
        if (!still.Holds(part)) {
            duplication.image.changed.Add({part.left - monitor.left, part.top - monitor.top, part.right - monitor.left,
                                           part.bottom - monitor.top});
        }
    }
}

/// Takes the windows of ours out of the image. Their places are asked for after the grab, when all are noted that can
/// be in it.
Result GrabWithoutOurs(DesktopDuplication& duplication) {
    const std::int64_t startNs = MonotonicNs();
    UncoverLeftPlaces(duplication, startNs);
    const Result result = Grab(duplication);
    duplication.covered = x11::PlacesSince(startNs, duplication.monitor);
    for (const Rectangle& part : duplication.covered.Rectangles()) {
        DrawBeneath(duplication, part);
    }
    duplication.coveredDrawnNs = MonotonicNs();
    return result;
}

/// Looks once: Timeout means that there is nothing new.
Acquire LookForImage(DesktopDuplication& duplication, Result& code) {
    code = lostServer;
    if (!TakeEvents(duplication)) {
        return Acquire::Failed;
    }
    if (duplication.displayChanged) {
        code = CheckMonitor(duplication);
        if (Failed(code)) {
            return Acquire::Failed;
        }
    }
    duplication.image.changed.Clear();
    if ((duplication.damaged || duplication.first) && !FetchDamage(duplication)) {
        code = lostServer;
        return Acquire::Failed;
    }
    if (duplication.first) {
        const DesktopPixels& pixels = duplication.image.pixels;
        duplication.image.changed.Clear();
        duplication.image.changed.Add(
            {0, 0, static_cast<std::int32_t>(pixels.width), static_cast<std::int32_t>(pixels.height)});
    }
    if (duplication.image.changed.Empty() && !BeneathIsDue(duplication)) {
        return Acquire::Timeout;
    }
    code = GrabWithoutOurs(duplication);
    return Failed(code) ? Acquire::Failed : Acquire::Acquired;
}

/// False when the time is up.
bool WaitForServer(const DesktopDuplication& duplication, const Deadline& deadline) {
    pollfd socket{xcb_get_file_descriptor(duplication.server->Get()), POLLIN, 0};
    constexpr int beneathMs = static_cast<int>(beneathPeriodNs / 1'000'000);
    const int remainingMs = deadline.RemainingMs();
    const int waitMs = duplication.covered.Empty() ? remainingMs : std::min(remainingMs, beneathMs);
    return poll(&socket, 1, waitMs) != 0 || waitMs < remainingMs;
}

}  // namespace

DesktopDuplication::~DesktopDuplication() {
    if (server == nullptr || server->Lost()) {
        return;
    }
    if (damage != XCB_NONE) {
        xcb_damage_destroy(server->Get(), damage);
    }
    if (region != XCB_NONE) {
        xcb_xfixes_destroy_region(server->Get(), region);
    }
    if (segment != XCB_NONE) {
        xcb_shm_detach(server->Get(), segment);
    }
    xcb_flush(server->Get());
}

template <>
void Closer<GraphicsFactory>::operator()(GraphicsFactory* factory) const noexcept {
    delete factory;
}
template <>
void Closer<GraphicsOutput>::operator()(GraphicsOutput* output) const noexcept {
    delete output;
}
template <>
void Closer<DesktopDuplication>::operator()(DesktopDuplication* duplication) const noexcept {
    delete duplication;
}
// An image is a part of its duplication, so that a frame allocates nothing.
template <>
void Closer<DesktopImage>::operator()(DesktopImage*) const noexcept {}

Result OpenGraphicsFactory(Owned<GraphicsFactory>& factory) {
    IgnoreBrokenPipes();
    int screen = 0;
    auto server = std::make_shared<Server>();
    server->connection.reset(xcb_connect(nullptr, &screen));
    server->screen = x11::ScreenOf(server->Get(), screen);
    if (server->screen == nullptr) {
        return ResultOfSystemError(ECONNREFUSED);
    }
    factory.reset(new GraphicsFactory{std::move(server)});
    return resultOk;
}

OutputLookup LookUpOutput(GraphicsFactory& factory, std::uint32_t adapterIndex, std::uint32_t outputIndex,
                          OutputRecord& record, Owned<GraphicsOutput>& output) {
    if (adapterIndex > 0) {
        return OutputLookup::NoAdapter;
    }
    const auto monitors = x11::QueryMonitors(factory.server->Get(), factory.server->screen->root);
    if (outputIndex >= monitors.size()) {
        return OutputLookup::NoOutput;
    }
    record = monitors[outputIndex].output;
    output.reset(new GraphicsOutput{factory.server, record});
    return OutputLookup::Found;
}

Result MakeGraphicsDevice(GraphicsOutput& output, Owned<GraphicsDevice>& device) {
    if (output.server->Lost()) {
        return lostServer;
    }
    device.reset(new GraphicsDevice);
    return resultOk;
}

Result OpenDuplication(GraphicsDevice& device, GraphicsOutput& output, Owned<DesktopDuplication>& duplication) {
    const Server& server = *output.server;
    if (server.Lost()) {
        return lostServer;
    }
    if (!HasPixelsOfFourBytes(server) || !HasUsualColors(*server.screen) || !HasExtensions(server.Get())) {
        return unsuitableScreen;
    }
    Owned<DesktopDuplication> made(new DesktopDuplication);
    made->server = output.server;
    made->output = output.record;
    made->monitor = {output.record.left, output.record.top, output.record.right, output.record.bottom};
    if (HoldsNothing(made->monitor)) {
        return goneMonitor;
    }
    Result result = ShareStorage(*made);
    if (Succeeded(result)) {
        WatchDisplay(*made);
        result = WatchDamage(*made);
    }
    if (Failed(result)) {
        return result;
    }
    made->beneath = std::make_unique<x11::BeneathWindows>(server.Get(), *server.screen);
    made->displayChanged = true;  // what happened between the look-up and now
    device.desktop = made->image.pixels;
    duplication = std::move(made);
    return resultOk;
}

Acquire AcquireImage(DesktopDuplication& duplication, std::uint32_t timeoutMs, Owned<DesktopImage>& image,
                     Result& code) {
    if (duplication.held) {
        code = heldImage;
        return Acquire::Failed;
    }
    const Deadline deadline(timeoutMs);
    Acquire outcome = LookForImage(duplication, code);
    while (outcome == Acquire::Timeout && timeoutMs > 0 && WaitForServer(duplication, deadline)) {
        outcome = LookForImage(duplication, code);
    }
    if (outcome == Acquire::Acquired) {
        duplication.first = false;
        duplication.held = true;
        image.reset(&duplication.image);
    }
    return outcome;
}

void ReleaseImage(DesktopDuplication& duplication) { duplication.held = false; }

}  // namespace zv
