// The duplication of a monitor of an X screen: the DAMAGE extension reports what changed, shared memory transfers it.
//
// Each capture has its own connection, which only its thread uses. The server writes the changed bands, which are
// full-width rows, directly into the memory that the capture surface shares. A new image costs one round trip for the
// damage and one for the pixels; a still desktop costs an empty read of the socket. The image does not contain the
// pointer. If the server dies, AcquireImage fails.
#include "platform/DesktopCapture.h"

#include <errno.h>
#include <poll.h>
#include <xcb/damage.h>
#include <xcb/randr.h>
#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <span>

#include "platform/linux/posix/Posix.h"
#include "platform/linux/x11/Extensions.h"
#include "platform/linux/x11/PixelFormat.h"
#include "platform/linux/x11/RandrMonitors.h"
#include "platform/linux/x11/SharedMemory.h"
#include "platform/linux/x11/Xcb.h"
#include "platform/linux/x11/capture/ExcludedWindows.h"
#include "platform/linux/x11/capture/OccludedContent.h"
#include "platform/software/Surface.h"

namespace zv {
namespace {

constexpr std::int64_t restorePeriodNs = 16'000'000;
constexpr std::int32_t bandGap = 16;  ///< rows; bands that are closer together are grabbed as one

const Result lostServer = ResultOfSystemError(EPIPE);
const Result changedMonitor = ResultOfSystemError(ESTALE);
const Result removedMonitor = ResultOfSystemError(ENODEV);
const Result unsuitableScreen = ResultOfSystemError(EOPNOTSUPP);
const Result heldImage = ResultOf(0x887A0001U);  // DXGI_ERROR_INVALID_CALL

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
    Rectangle monitor;         ///< in the coordinates of the root window
    x11::SharedMemory memory;  ///< of the image
    xcb_damage_damage_t damage = XCB_NONE;
    xcb_xfixes_region_t region = XCB_NONE;
    std::uint8_t damageEvent = 0;
    std::uint8_t randrEvent = 0;  ///< 0: the server has no RandR

    bool first = true;            ///< true until the first image has been acquired
    bool damaged = false;         ///< the server has reported damage
    bool displayChanged = false;  ///< the monitors must be queried again
    bool held = false;            ///< an image has been acquired and not released
    DesktopImage image;

    std::unique_ptr<x11::OccludedContent> occluded;
    Damage restored;              ///< parts of the root where the image shows content that our windows occlude
    std::int64_t restoredNs = 0;  ///< when these parts were last composed
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

/// Returns true if the server has shared memory by descriptor, regions and damage. Negotiates their versions.
bool PrepareExtensions(xcb_connection_t* connection) {
    if (!x11::HasExtensions(connection, {&xcb_shm_id, &xcb_xfixes_id, &xcb_damage_id})) {
        return false;
    }
    const auto shmCookie = xcb_shm_query_version(connection);
    const auto fixesCookie = xcb_xfixes_query_version(connection, 2, 0);
    const auto damageCookie = xcb_damage_query_version(connection, 1, 1);
    const auto shm = x11::Adopt(xcb_shm_query_version_reply(connection, shmCookie, nullptr));
    const auto fixes = x11::Adopt(xcb_xfixes_query_version_reply(connection, fixesCookie, nullptr));
    const auto damage = x11::Adopt(xcb_damage_query_version_reply(connection, damageCookie, nullptr));
    return shm != nullptr && fixes != nullptr && damage != nullptr &&
           (shm->major_version > 1 || shm->minor_version >= 2);
}

bool Accepted(const Server& server, xcb_void_cookie_t request) {
    return x11::Reply<xcb_generic_error_t>(xcb_request_check(server.Get(), request)) == nullptr && !server.Lost();
}

Result ShareMemory(DesktopDuplication& duplication) {
    DesktopPixels& pixels = duplication.image.pixels;
    pixels.width = static_cast<std::uint32_t>(duplication.monitor.Width());
    pixels.height = static_cast<std::uint32_t>(duplication.monitor.Height());
    const Result result = duplication.memory.Attach(duplication.server->Get(), pixels.Stride() * pixels.height,
                                                    x11::ServerAccess::ReadWrite);
    pixels.memory = duplication.memory.Bytes();
    return result;
}

void SelectDisplayEvents(DesktopDuplication& duplication) {
    const Server& server = *duplication.server;
    if (!x11::HasExtension(server.Get(), xcb_randr_id)) {
        return;
    }
    duplication.randrEvent = xcb_get_extension_data(server.Get(), &xcb_randr_id)->first_event;
    xcb_randr_select_input(
        server.Get(), server.screen->root,
        XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE | XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
}

Result CreateDamage(DesktopDuplication& duplication) {
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

/// Reads the events that have arrived. Returns false if the connection is lost.
bool ReadEvents(DesktopDuplication& duplication) {
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

/// Fails if the monitor has changed or was removed. Waits for the server.
Result CheckMonitor(DesktopDuplication& duplication) {
    duplication.displayChanged = false;
    const OutputRecord& before = duplication.output;
    const Server& server = *duplication.server;
    for (const x11::ScreenMonitor& monitor : x11::QueryMonitors(server.Get(), server.screen->root)) {
        const OutputRecord& now = monitor.output;
        if (now.deviceName != before.deviceName) {
            continue;
        }
        const bool same = now.bounds == before.bounds && now.rotation == before.rotation;
        return same ? resultOk : changedMonitor;
    }
    return server.Lost() ? lostServer : removedMonitor;
}

/// A part of the root in the coordinates of the monitor.
Rectangle OnMonitor(const DesktopDuplication& duplication, const Rectangle& part) {
    const Rectangle& monitor = duplication.monitor;
    return {part.left - monitor.left, part.top - monitor.top, part.right - monitor.left, part.bottom - monitor.top};
}

/// Moves the server's damage on this monitor into that of the image. Returns false if the connection is lost.
bool FetchDamage(DesktopDuplication& duplication) {
    xcb_connection_t* connection = duplication.server->Get();
    duplication.damaged = false;
    xcb_damage_subtract(connection, duplication.damage, XCB_NONE, duplication.region);
    const x11::Reply<xcb_xfixes_fetch_region_reply_t> reply(xcb_xfixes_fetch_region_reply(
        connection, xcb_xfixes_fetch_region_unchecked(connection, duplication.region), nullptr));
    if (reply == nullptr) {
        return false;
    }
    const auto count = static_cast<std::size_t>(xcb_xfixes_fetch_region_rectangles_length(reply.get()));
    for (const xcb_rectangle_t& each : std::span(xcb_xfixes_fetch_region_rectangles(reply.get()), count)) {
        const Rectangle part =
            Intersection(duplication.monitor, {each.x, each.y, each.x + each.width, each.y + each.height});
        duplication.image.changed.Add(OnMonitor(duplication, part));
    }
    return true;
}

/// Requests the changed bands, which the server writes into the shared memory. Sends all requests before it reads a
/// reply.
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
            static_cast<std::uint16_t>(band.bottom - band.top), ~0U, XCB_IMAGE_FORMAT_Z_PIXMAP,
            duplication.memory.Segment(), static_cast<std::uint32_t>(offset));
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

/// Content that our windows occlude can change without damage to the screen, so it is composed again periodically.
bool RestoreIsDue(const DesktopDuplication& duplication) {
    const std::int64_t nowNs = MonotonicNs();
    return nowNs - duplication.restoredNs >= restorePeriodNs &&
           !(duplication.restored.Empty() && x11::BoundsSince(nowNs, duplication.monitor).Empty());
}

/// Adds the parts that our windows no longer occlude to the image's damage, because the server may report none there.
void AddUncoveredParts(DesktopDuplication& duplication, std::int64_t nowNs) {
    const Damage covered = x11::BoundsSince(nowNs, duplication.monitor);
    for (const Rectangle& part : duplication.restored.Rectangles()) {
        if (!covered.Holds(part)) {
            duplication.image.changed.Add(OnMonitor(duplication, part));
        }
    }
}

/// Grabs the image and replaces our windows in it. Reads their bounds after the grab, because all bounds that the image
/// can show have been recorded by then.
Result GrabWithoutOurs(DesktopDuplication& duplication) {
    const std::int64_t startNs = MonotonicNs();
    AddUncoveredParts(duplication, startNs);
    const Result result = Grab(duplication);
    duplication.restored = x11::BoundsSince(startNs, duplication.monitor);
    const Rectangle& monitor = duplication.monitor;
    const DesktopPixels& pixels = duplication.image.pixels;
    duplication.occluded->Restore(duplication.restored,
                                  {pixels.memory.get(), pixels.Stride(), {monitor.left, monitor.top}});
    for (const Rectangle& part : duplication.restored.Rectangles()) {
        duplication.image.changed.Add(OnMonitor(duplication, part));
    }
    duplication.restoredNs = MonotonicNs();
    return result;
}

/// Does not wait for a change: returns Timeout if there is none.
Acquire TryAcquire(DesktopDuplication& duplication, Result& code) {
    code = lostServer;
    if (!ReadEvents(duplication)) {
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
    if (duplication.image.changed.Empty() && !RestoreIsDue(duplication)) {
        return Acquire::Timeout;
    }
    code = GrabWithoutOurs(duplication);
    return Failed(code) ? Acquire::Failed : Acquire::Acquired;
}

/// Returns false on timeout.
bool WaitForServer(const DesktopDuplication& duplication, const Deadline& deadline) {
    pollfd socket{xcb_get_file_descriptor(duplication.server->Get()), POLLIN, 0};
    constexpr int restoreMs = static_cast<int>(restorePeriodNs / 1'000'000);
    const int remainingMs = deadline.RemainingMs();
    const int waitMs = duplication.restored.Empty() ? remainingMs : std::min(remainingMs, restoreMs);
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
// The image is a member of its duplication, so that a frame allocates nothing.
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
                          OutputRecord& record, Owned<GraphicsOutput>& output, Result* code) {
    Result ignored = resultOk;
    Result& result = code != nullptr ? *code : ignored;
    if (adapterIndex > 0) {
        result = resultNotFound;
        return OutputLookup::NoAdapter;
    }
    const auto monitors = x11::QueryMonitors(factory.server->Get(), factory.server->screen->root);
    if (outputIndex >= monitors.size()) {
        result = factory.server->Lost() ? lostServer : resultNotFound;
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
    if (!x11::IsSupported(server.Get(), *server.screen) || !PrepareExtensions(server.Get())) {
        return unsuitableScreen;
    }
    Owned<DesktopDuplication> made(new DesktopDuplication);
    made->server = output.server;
    made->output = output.record;
    made->monitor = output.record.bounds;
    if (made->monitor.IsEmpty()) {
        return removedMonitor;
    }
    Result result = ShareMemory(*made);
    if (Succeeded(result)) {
        SelectDisplayEvents(*made);
        result = CreateDamage(*made);
    }
    if (Failed(result)) {
        return result;
    }
    made->occluded = std::make_unique<x11::OccludedContent>(server.Get(), *server.screen);
    made->displayChanged = true;  // it may have changed since LookUpOutput
    device.duplicated = made->image.pixels;
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
    Acquire outcome = TryAcquire(duplication, code);
    while (outcome == Acquire::Timeout && timeoutMs > 0 && WaitForServer(duplication, deadline)) {
        outcome = TryAcquire(duplication, code);
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
