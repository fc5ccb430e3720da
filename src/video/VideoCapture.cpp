// The worker's thread: set-up in the order of the handles' making, the loop, release in reverse order.
//
// A failure anywhere ends the capture with one sentence; nothing is retried and nothing falls back. The loop does not
// allocate once its buffers have reached their size.
#include "video/VideoCapture.h"

#include <array>
#include <memory>
#include <new>
#include <utility>

#include "core/ThreadStart.h"
#include "platform/BytePipe.h"
#include "platform/Clock.h"
#include "platform/DesktopCapture.h"
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
constexpr std::uint32_t firstTurnedRotation = 2;  // 0 is unspecified, 1 is upright

std::atomic<std::uint32_t> startCounter{0};

Text SentenceOf(TextView message, Result code) { return Text(message) + CodeSuffix(CodeOf(code)); }

/// Nine parts of the old value, one of the new one.
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

    void Loop();
    bool Round();
    enum class Picture { Ready, Missing, Lost };
    Picture NextPicture(Owned<DesktopImage>& image);
    Picture KeepImage(DesktopImage& image);
    bool Convert();
    bool AwaitSlot(PipeWriteSlot& slot);
    bool Send(PipeWriteSlot& slot);

    void Release();

    bool Check(Result result, TextView message);
    bool Fail(TextView message, Result code = resultGenericFailure);
    void Record(Text sentence);
    bool StopAsked() { return IsSignalled(*owner.stopEvent_); }

    VideoCapture& owner;
    const Text monitorDevice;
    const VideoFormat format;
    /// Made beforehand, since there may be no memory for it when it is needed.
    Text outOfMemory = SentenceOf(u"Desktop capture could not allocate resources", resultGenericFailure);

    std::uint32_t frameIndex = 0;
    bool hasDesktopFrame = false;
    TsMuxState mux;
    FramePacer pacer;
    OutputRecord outputRecord;

    // What the thread holds, in the order in which it has to be released, last first.
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
    {
        const std::lock_guard lock(errorMutex_);
        error_.clear();
    }
    encodedFrames = 0;
    stopEvent_ = MakeEvent();
    readyEvent_ = MakeEvent();
    if (!stopEvent_ || !readyEvent_) {
        Stop();
        return false;
    }
    pipeName_ = zv::PipeName(u"ZVVideo-", ++startCounter);
    auto worker = std::make_unique<VideoWorker>(*this, monitorDevice, format);
    thread_ = std::thread([worker = std::move(worker)] { worker->Run(); });
    if (WaitAny({readyEvent_.get()}, readyTimeoutMs) == waitTimedOut || !running) {
        Stop();
        return false;
    }
    return true;
}

void VideoCapture::Stop() {
    if (stopEvent_) {
        Signal(*stopEvent_);
    }
    if (thread_.joinable()) {
        thread_.join();
    }
    running = false;
    readyEvent_.reset();
    stopEvent_.reset();
}

Text VideoCapture::Error() const {
    const std::lock_guard lock(errorMutex_);
    return error_;
}

void VideoWorker::Run() {
    PrepareForExceptions();
    try {
        if (SetUp()) {
            Loop();
        }
    } catch (...) {
        Record(std::move(outOfMemory));
    }
    Signal(*owner.readyEvent_);  // Start must not wait for what has failed
    owner.running = false;
    Release();
}

// Set-up

bool VideoWorker::SetUp() {
    if (!FindOutput() || !OpenDesktop() || !MakeSurfaces() || !OpenEncoder() || !MakeViews() || !MakePipe()) {
        return false;
    }
    owner.running = true;
    Signal(*owner.readyEvent_);  // the owner starts the reader now
    if (!ConnectReader()) {
        return false;
    }
    MakePacer();
    return true;
}

// The first output of the first adapter that has it; the capture always runs on the adapter that owns the monitor.
bool VideoWorker::FindOutput() {
    if (!Check(OpenGraphicsFactory(factory), u"Cannot enumerate graphics adapters")) {
        return false;
    }
    std::uint32_t adapterIndex = 0;
    std::uint32_t outputIndex = 0;
    for (;;) {
        switch (LookUpOutput(*factory, adapterIndex, outputIndex, outputRecord, output)) {
            case OutputLookup::NoAdapter:
                return Fail(u"Selected monitor is not connected", resultNotFound);
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
    if (outputRecord.rotation >= firstTurnedRotation) {
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
    scaling.sourceWidth = static_cast<std::uint32_t>(outputRecord.right - outputRecord.left);
    scaling.sourceHeight = static_cast<std::uint32_t>(outputRecord.bottom - outputRecord.top);
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
    const PixelSize source = {outputRecord.right - outputRecord.left, outputRecord.bottom - outputRecord.top};
    const PixelSize frame = {static_cast<std::int32_t>(format.width), static_cast<std::int32_t>(format.height)};
    ScalerState state;
    state.source = {0, 0, source.width, source.height};
    state.destination = FitRectangle(source, frame);
    state.target = {0, 0, frame.width, frame.height};
    SetScalerState(*scaler, state);
    return true;
}

bool VideoWorker::MakePipe() {
    PipeOptions options;
    options.bufferBytes = pipeBufferBytes;
    return Check(MakeBytePipe(owner.pipeName_, options, pipe), u"Cannot create video pipe");
}

bool VideoWorker::ConnectReader() {
    if (ConnectPipe(*pipe, *owner.stopEvent_, videoPipeTimeoutMs) != PipeConnect::Connected) {
        return !StopAsked() && Fail(u"Video consumer did not connect");
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
            return WaitPrecisely(*timer, *owner.stopEvent_, -dueTime) == PreciseWait::Elapsed;
        };
    }
    pacer = MakeFramePacer(format.fps, SteadyNs, std::move(wait));
}

// Loop

void VideoWorker::Loop() {
    while (!StopAsked() && Round()) {
    }
}

/// One tick. False when it was the last one.
bool VideoWorker::Round() {
    if (!WaitForTick(pacer)) {
        return false;
    }
    const std::int64_t frameStart = SteadyNs();
    Owned<DesktopImage> image;  // held until the round ends
    const Picture picture = NextPicture(image);
    if (picture != Picture::Ready) {
        return picture == Picture::Missing;
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

/// Brings the newest desktop image into the capture surface. Without a new one the surface keeps the last, which is
/// sent again; before the first one there is nothing to send.
VideoWorker::Picture VideoWorker::NextPicture(Owned<DesktopImage>& image) {
    Result code = resultOk;
    switch (AcquireImage(*duplication, hasDesktopFrame ? 0 : firstImageTimeoutMs, image, code)) {
        case Acquire::Timeout:
            return hasDesktopFrame ? Picture::Ready : Picture::Missing;
        case Acquire::Failed:
            Fail(u"Desktop capture was interrupted. Unlock the desktop, then restart replay", code);
            return Picture::Lost;
        case Acquire::Acquired:
            break;
    }
    return KeepImage(*image);
}

VideoWorker::Picture VideoWorker::KeepImage(DesktopImage& image) {
    const Result copied = CopyImage(*device, image, *captureSurface);
    ReleaseImage(*duplication);
    if (!Check(copied, u"Cannot read desktop texture")) {
        return Picture::Lost;
    }
    hasDesktopFrame = true;
    return Picture::Ready;
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
    switch (WaitForSlot(slot, *owner.stopEvent_)) {
        case SlotWait::Lost:
            return !StopAsked() && Fail(u"Video muxer disconnected");
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

// Release and failure

void VideoWorker::Release() {
    timer.reset();
    for (PipeWriteSlot& slot : slots) {
        slot.ReleaseSlot();
    }
    pipe.reset();
    views.reset();
    std::vector<std::byte>().swap(accessUnit);
    session.Close();
    nv12Surface.reset();
    captureSurface.reset();
    scaler.reset();
    processing.reset();
    duplication.reset();
    device.reset();
    output.reset();
    factory.reset();
}

bool VideoWorker::Check(Result result, TextView message) { return Succeeded(result) || Fail(message, result); }

/// Always false.
bool VideoWorker::Fail(TextView message, Result code) {
    Record(SentenceOf(message, code));
    return false;
}

void VideoWorker::Record(Text sentence) {
    {
        const std::lock_guard lock(owner.errorMutex_);
        owner.error_ = std::move(sentence);
    }
    owner.running = false;
}

}  // namespace zv
