// The worker's thread: set-up in a fixed order, the loop, release in reverse order.
//
// A failure anywhere ends the capture with one sentence; nothing is retried and there is no fallback. The loop does not
// allocate once its buffers have reached their size.
#include "video/VideoCapture.h"

#include <array>
#include <memory>
#include <new>
#include <utility>

#include "platform/BytePipe.h"
#include "platform/Clock.h"
#include "platform/DesktopCapture.h"
#include "platform/MediaThread.h"
#include "video/FitRectangle.h"
#include "video/FramePacer.h"
#include "video/NvencSession.h"
#include "video/PipeWriteSlot.h"
#include "video/TransportStream.h"

namespace zv {
namespace {

constexpr std::uint32_t readyTimeoutMs = 15000;
constexpr std::uint32_t firstImageTimeoutMs = 20;
constexpr std::uint32_t pipeBufferBytes = 0x100000;
// Bits of D3D11_VIDEO_PROCESSOR_COLOR_SPACE.
constexpr std::uint32_t fullRangeRgb = 0;
constexpr std::uint32_t limitedRangeBt709 = 20;  // BT.709 matrix, nominal range 16 to 235
// The colour of the bars around the picture, in the limited range.
constexpr float blackLuma = 0.0625F;
constexpr float neutralChroma = 0.5F;
constexpr TextView noResources = u"Desktop capture could not allocate resources";
constexpr std::uint32_t firstRotated = 2;  // 0 is unspecified, 1 is not rotated

std::atomic<std::uint32_t> startCounter{0};

/// A running average: nine tenths of the old value and one tenth of the new sample.
void Smooth(std::atomic<std::uint64_t>& micros, std::int64_t elapsedNs) {
    const std::uint64_t sample = static_cast<std::uint64_t>(elapsedNs) / 1000;
    micros.exchange((micros.load() * 9 + sample) / 10);
}

}  // namespace

struct VideoWorker {
    VideoWorker(VideoCapture& theOwner, Text monitor, const VideoFormat& theFormat)
        : owner(theOwner), monitorDevice(std::move(monitor)), format(theFormat) {}

    void Run();

    bool SetUp();
    bool FindOutput();
    bool OpenDesktop();
    bool MakeSurfaces();
    bool OpenEncoder();
    bool MakeViews();
    bool MakePipe();
    bool ConnectReader();
    void MakePacer();

    bool Tick();
    enum class FrameStatus { Ready, NoneYet, Failed };
    FrameStatus AcquireFrame(Owned<DesktopImage>& image);
    FrameStatus CopyFrame(DesktopImage& image);
    bool Convert();
    bool AwaitSlot(PipeWriteSlot& slot);
    bool Send(PipeWriteSlot& slot);

    bool Check(Result result, TextView message);
    bool Fail(TextView message, Result code = resultGenericFailure);

    VideoCapture& owner;
    const Text monitorDevice;
    const VideoFormat format;

    std::uint32_t frameIndex = 0;
    bool hasDesktopFrame = false;
    TsMuxState mux;
    FramePacer pacer;
    OutputRecord outputRecord;

    // What the thread owns, in the order of set-up. It is released in reverse order.
    Owned<GraphicsFactory> factory;
    Owned<GraphicsOutput> output;
    Owned<GraphicsDevice> device;
    Owned<DesktopDuplication> duplication;
    Owned<VideoProcessing> processing;
    Owned<VideoScaler> scaler;
    Owned<Surface> captureSurface;
    Owned<Surface> nv12Surface;
    NvencSession session;
    std::vector<std::byte> accessUnit;
    Owned<ScalerViews> views;
    Owned<BytePipe> pipe;
    std::array<PipeWriteSlot, 3> slots;
    Owned<PreciseTimer> timer;
};

VideoCapture::VideoCapture() = default;

VideoCapture::~VideoCapture() { Stop(); }

bool VideoCapture::Start(const Text& monitorDevice, const VideoFormat& format) {
    Stop();
    encodedFrames = 0;
    pipeName_ = zv::PipeName(u"ZVVideo-", ++startCounter);
    WorkerOptions options;
    options.readyMs = readyTimeoutMs;
    options.noEvents = noResources;
    options.noThread = noResources;
    options.exception = SentenceOf(noResources, resultGenericFailure);
    const bool ready = worker_.Start(
        std::move(options), [this, monitorDevice, format] { VideoWorker(*this, monitorDevice, format).Run(); });
    if (!ready) {
        Stop();
    }
    return ready;
}

void VideoCapture::Stop() { worker_.Stop(); }

void VideoWorker::Run() {
    const Owned<MediaThread> scheduling = ScheduleForMedia(MediaTask::Video);
    if (SetUp()) {
        while (!owner.worker_.StopRequested() && Tick()) {
        }
    }
    owner.running = false;
}

// Set-up

bool VideoWorker::SetUp() {
    if (!FindOutput() || !OpenDesktop() || !MakeSurfaces() || !OpenEncoder() || !MakeViews() || !MakePipe()) {
        return false;
    }
    owner.worker_.ReportReady();  // the owner starts the reader now
    if (!ConnectReader()) {
        return false;
    }
    MakePacer();
    return true;
}

// Finds the output by its name. The capture always runs on the adapter that owns the monitor. If the list of adapters
// or outputs breaks off, as after the removal of an adapter, and no other adapter owns the monitor, that is the
// failure.
bool VideoWorker::FindOutput() {
    if (!Check(OpenGraphicsFactory(factory), u"Cannot enumerate graphics adapters")) {
        return false;
    }
    std::uint32_t adapterIndex = 0;
    std::uint32_t outputIndex = 0;
    Result failure = resultNotFound;
    for (;;) {
        Result code = resultNotFound;
        const OutputLookup found = LookUpOutput(*factory, adapterIndex, outputIndex, outputRecord, output, &code);
        if (Failed(code) && code != resultNotFound) {
            failure = code;
        }
        switch (found) {
            case OutputLookup::NoAdapter:
                return failure == resultNotFound ? Fail(u"Selected monitor is not connected", resultNotFound)
                                                 : Fail(u"Cannot enumerate graphics adapters", failure);
            case OutputLookup::NoOutput:
                ++adapterIndex;
                outputIndex = 0;
                continue;
            case OutputLookup::Found:
                break;
        }
        if (outputRecord.described && outputRecord.attached && outputRecord.deviceName == monitorDevice) {
            break;
        }
        ++outputIndex;
    }
    if (outputRecord.rotation >= firstRotated) {
        return Fail(u"Rotate this monitor to landscape before capturing", resultNotImplemented);
    }
    return output != nullptr || Fail(u"No graphics adapter is available");
}

bool VideoWorker::OpenDesktop() {
    return Check(MakeGraphicsDevice(*output, device), u"Cannot initialize GPU desktop capture") &&
           Check(OpenDuplication(*device, *output, duplication),
                 u"GPU desktop capture is unavailable. Use a local, unlocked desktop") &&
           Check(OpenVideoProcessing(*device, processing), u"GPU video processing is unavailable");
}

bool VideoWorker::MakeSurfaces() {
    ScalerFormat scaling;
    scaling.sourceWidth = static_cast<std::uint32_t>(outputRecord.bounds.Width());
    scaling.sourceHeight = static_cast<std::uint32_t>(outputRecord.bounds.Height());
    scaling.outputWidth = format.width;
    scaling.outputHeight = format.height;
    scaling.fps = format.fps;
    return Check(MakeVideoScaler(*processing, scaling, scaler), u"Cannot create the GPU video scaler") &&
           Check(MakeCaptureSurface(*device, scaling.sourceWidth, scaling.sourceHeight, captureSurface),
                 u"Cannot create capture surface") &&
           Check(MakeNv12Surface(*device, format.width, format.height, nv12Surface),
                 u"Cannot create NV12 video surface");
}

bool VideoWorker::OpenEncoder() {
    return session.Open(NativeDevice(*device), NativeTexture(*nv12Surface), format) || Fail(session.ErrorText());
}

bool VideoWorker::MakeViews() {
    if (!Check(MakeScalerViews(*scaler, *captureSurface, *nv12Surface, views),
               u"Cannot create video processor views")) {
        return false;
    }
    const PixelSize source = {outputRecord.bounds.Width(), outputRecord.bounds.Height()};
    const PixelSize frame = {static_cast<std::int32_t>(format.width), static_cast<std::int32_t>(format.height)};
    ScalerState state;
    state.source = {0, 0, source.width, source.height};
    state.destination = FitRectangle(source, frame);
    state.target = {0, 0, frame.width, frame.height};
    state.streamColorSpace = fullRangeRgb;
    state.outputColorSpace = limitedRangeBt709;
    state.backgroundY = blackLuma;
    state.backgroundCb = neutralChroma;
    state.backgroundCr = neutralChroma;
    state.backgroundAlpha = 1.0F;
    SetScalerState(*scaler, state);
    return true;
}

bool VideoWorker::MakePipe() {
    PipeOptions options;
    options.bufferBytes = pipeBufferBytes;
    return Check(MakeBytePipe(owner.pipeName_, options, pipe), u"Cannot create video pipe");
}

bool VideoWorker::ConnectReader() {
    if (ConnectPipe(*pipe, owner.worker_.StopEvent(), videoPipeTimeoutMs) != PipeConnect::Connected) {
        return Fail(u"Video consumer did not connect");
    }
    for (PipeWriteSlot& slot : slots) {
        if (!PrepareSlot(slot, *pipe)) {
            throw std::bad_alloc();
        }
    }
    return true;
}

void VideoWorker::MakePacer() {
    timer = MakePreciseTimer();
    std::function<bool(std::int64_t)> wait;
    if (timer) {
        wait = [this](std::int64_t dueTime) {
            return WaitPrecisely(*timer, owner.worker_.StopEvent(), -dueTime) == PreciseWait::Elapsed;
        };
    }
    pacer = MakeFramePacer(format.fps, SteadyNs, std::move(wait));
}

// Loop

/// One frame. Returns false if it was the last one.
bool VideoWorker::Tick() {
    if (!WaitForTick(pacer)) {
        return false;
    }
    const std::int64_t frameStart = SteadyNs();
    Owned<DesktopImage> image;  // held until the tick ends
    const FrameStatus status = AcquireFrame(image);
    if (status != FrameStatus::Ready) {
        return status == FrameStatus::NoneYet;
    }
    PipeWriteSlot& slot = slots[frameIndex % slots.size()];
    if (!Convert() || !AwaitSlot(slot)) {
        return false;
    }
    if (!session.EncodeFrame(frameIndex, accessUnit)) {
        return Fail(session.ErrorText());
    }
    MuxFrame(mux, accessUnit, frameIndex, format.fps, slot.bytes);
    Smooth(owner.encodeMicros, SteadyNs() - frameStart);
    return Send(slot);
}

/// Copies the newest desktop image into the capture surface. Without a new one the surface keeps the last, which is
/// sent again; before the first one there is nothing to send.
VideoWorker::FrameStatus VideoWorker::AcquireFrame(Owned<DesktopImage>& image) {
    Result code = resultOk;
    switch (AcquireImage(*duplication, hasDesktopFrame ? 0 : firstImageTimeoutMs, image, code)) {
        case Acquire::Timeout:
            return hasDesktopFrame ? FrameStatus::Ready : FrameStatus::NoneYet;
        case Acquire::Failed:
            Fail(u"Desktop capture was interrupted. Unlock the desktop, then restart replay", code);
            return FrameStatus::Failed;
        case Acquire::Acquired:
            break;
    }
    return CopyFrame(*image);
}

VideoWorker::FrameStatus VideoWorker::CopyFrame(DesktopImage& image) {
    const Result copied = UpdateSurface(*device, image, *captureSurface);
    ReleaseImage(*duplication);
    if (!Check(copied, u"Cannot read desktop texture")) {
        return FrameStatus::Failed;
    }
    hasDesktopFrame = true;
    return FrameStatus::Ready;
}

bool VideoWorker::Convert() {
    if (!Check(RunScaler(*scaler, *views, frameIndex), u"GPU video conversion failed")) {
        return false;
    }
    FlushGraphics(*device);
    return true;
}

bool VideoWorker::AwaitSlot(PipeWriteSlot& slot) {
    const std::int64_t waitStart = SteadyNs();
    switch (WaitForSlot(slot, owner.worker_.StopEvent())) {
        case SlotWait::Lost:
            return Fail(u"Video muxer disconnected");
        case SlotWait::Finished:
            ++owner.encodedFrames;
            break;
        case SlotWait::Free:
            break;
    }
    Smooth(owner.pipeWaitMicros, SteadyNs() - waitStart);
    return true;
}

bool VideoWorker::Send(PipeWriteSlot& slot) {
    switch (WriteSlot(slot)) {
        case WriteBegin::Refused:
            return Fail(u"Video encoder stopped accepting frames");
        case WriteBegin::Done:
            ++owner.encodedFrames;
            break;
        case WriteBegin::Pending:
            break;
    }
    ++frameIndex;
    return true;
}

// Failure

bool VideoWorker::Check(Result result, TextView message) { return Succeeded(result) || Fail(message, result); }

/// Always returns false.
bool VideoWorker::Fail(TextView message, Result code) {
    owner.worker_.Fail(message, code);
    return false;
}

}  // namespace zv
