#include "fake/DesktopCapture.h"

#include "fake/Calls.h"

namespace zv {

struct GraphicsFactory {};
struct GraphicsOutput {};
struct GraphicsDevice {};
struct DesktopDuplication {
    bool holdsImage = false;
};
struct DesktopImage {
    std::uint32_t picture = 0;
};
struct Surface {
    std::uint32_t picture = 0;
    bool nv12 = false;
};
struct VideoProcessing {};
struct VideoScaler {};
struct ScalerViews {
    Surface* source = nullptr;
    Surface* target = nullptr;
};

namespace fake {

DesktopControls& TheDesktop() {
    static DesktopControls desktop;
    return desktop;
}

OutputRecord MonitorNamed(TextView name) {
    OutputRecord output;
    output.deviceName = Text(name);
    output.bounds = {0, 0, 1920, 1080};
    output.rotation = 1;
    output.described = true;
    output.attached = true;
    return output;
}

void ResetDesktop() {
    const int live = TheDesktop().liveHandles;
    TheDesktop() = {};
    TheDesktop().liveHandles = live;
    TheDesktop().adapters = {{MonitorNamed(u"MONITOR")}};
}

namespace {

template <class Handle>
void Drop(Handle* handle, const char* name) {
    const Call call(name);
    --TheDesktop().liveHandles;
    delete handle;
}

template <class Handle>
Handle* Make(Owned<Handle>& owned) {
    owned = Owned<Handle>(new Handle);
    ++TheDesktop().liveHandles;
    return owned.get();
}

template <class Handle>
Result MakeUnless(const Call& call, Owned<Handle>& owned) {
    if (call.Fails()) {
        return call.Code();
    }
    Make(owned);
    return resultOk;
}

AcquireAnswer NextAnswer(std::uint32_t timeoutMs) {
    DesktopControls& desktop = TheDesktop();
    const int nth = static_cast<int>(desktop.acquireTimeouts.size());
    if (desktop.acquire) {
        return desktop.acquire(nth, timeoutMs);
    }
    return nth == 1 ? AcquireAnswer{Acquire::Acquired, resultOk, 1} : AcquireAnswer{};
}

}  // namespace
}  // namespace fake

using fake::Call;
using fake::TheDesktop;

template <>
void Closer<GraphicsFactory>::operator()(GraphicsFactory* factory) const noexcept {
    fake::Drop(factory, "~GraphicsFactory");
}
template <>
void Closer<GraphicsOutput>::operator()(GraphicsOutput* output) const noexcept {
    fake::Drop(output, "~GraphicsOutput");
}
template <>
void Closer<GraphicsDevice>::operator()(GraphicsDevice* device) const noexcept {
    fake::Drop(device, "~GraphicsDevice");
}
template <>
void Closer<DesktopDuplication>::operator()(DesktopDuplication* duplication) const noexcept {
    fake::Drop(duplication, "~DesktopDuplication");
}
template <>
void Closer<DesktopImage>::operator()(DesktopImage* image) const noexcept {
    fake::Drop(image, "~DesktopImage");
}
template <>
void Closer<Surface>::operator()(Surface* surface) const noexcept {
    fake::Drop(surface, surface->nv12 ? "~Surface(NV12)" : "~Surface(BGRA)");
}
template <>
void Closer<VideoProcessing>::operator()(VideoProcessing* processing) const noexcept {
    fake::Drop(processing, "~VideoProcessing");
}
template <>
void Closer<VideoScaler>::operator()(VideoScaler* scaler) const noexcept {
    fake::Drop(scaler, "~VideoScaler");
}
template <>
void Closer<ScalerViews>::operator()(ScalerViews* views) const noexcept {
    fake::Drop(views, "~ScalerViews");
}

Result OpenGraphicsFactory(Owned<GraphicsFactory>& factory) {
    const Call call("OpenGraphicsFactory");
    return fake::MakeUnless(call, factory);
}

OutputLookup LookUpOutput(GraphicsFactory&, std::uint32_t adapterIndex, std::uint32_t outputIndex, OutputRecord& record,
                          Owned<GraphicsOutput>& output, Result* code) {
    const Call call("LookUpOutput");
    Result ignored = resultOk;
    Result& result = code != nullptr ? *code : ignored;
    output.reset();
    record = {};
    const auto& adapters = TheDesktop().adapters;
    if (adapterIndex >= adapters.size()) {
        result = TheDesktop().adaptersEnd;
        return OutputLookup::NoAdapter;
    }
    if (outputIndex >= adapters[adapterIndex].size()) {
        result = TheDesktop().outputsEnd;
        return OutputLookup::NoOutput;
    }
    record = adapters[adapterIndex][outputIndex];
    if (!TheDesktop().adapterMissing) {
        fake::Make(output);
    }
    return OutputLookup::Found;
}

Result MakeGraphicsDevice(GraphicsOutput&, Owned<GraphicsDevice>& device) {
    const Call call("MakeGraphicsDevice");
    return fake::MakeUnless(call, device);
}

Result OpenDuplication(GraphicsDevice&, GraphicsOutput&, Owned<DesktopDuplication>& duplication) {
    const Call call("OpenDuplication");
    return fake::MakeUnless(call, duplication);
}

Result OpenVideoProcessing(GraphicsDevice&, Owned<VideoProcessing>& processing) {
    const Call call("OpenVideoProcessing");
    return fake::MakeUnless(call, processing);
}

Result MakeVideoScaler(VideoProcessing&, const ScalerFormat& format, Owned<VideoScaler>& scaler) {
    const Call call("MakeVideoScaler");
    TheDesktop().scalerFormat = format;
    return fake::MakeUnless(call, scaler);
}

Result MakeCaptureSurface(GraphicsDevice&, std::uint32_t width, std::uint32_t height, Owned<Surface>& surface) {
    const Call call("MakeCaptureSurface");
    TheDesktop().captureWidth = width;
    TheDesktop().captureHeight = height;
    return fake::MakeUnless(call, surface);
}

Result MakeNv12Surface(GraphicsDevice&, std::uint32_t width, std::uint32_t height, Owned<Surface>& surface) {
    const Call call("MakeNv12Surface");
    TheDesktop().nv12Width = width;
    TheDesktop().nv12Height = height;
    const Result result = fake::MakeUnless(call, surface);
    if (Succeeded(result)) {
        surface->nv12 = true;
    }
    return result;
}

Result MakeScalerViews(VideoScaler&, Surface& source, Surface& target, Owned<ScalerViews>& views) {
    const Call call("MakeScalerViews");
    const Result result = fake::MakeUnless(call, views);
    if (Succeeded(result)) {
        views->source = &source;
        views->target = &target;
    }
    return result;
}

void SetScalerState(VideoScaler&, const ScalerState& state) {
    const Call call("SetScalerState");
    TheDesktop().scalerState = state;
}

Acquire AcquireImage(DesktopDuplication& duplication, std::uint32_t timeoutMs, Owned<DesktopImage>& image,
                     Result& code) {
    const Call call("AcquireImage");
    TheDesktop().acquireTimeouts.push_back(timeoutMs);
    TheDesktop().acquiredTwice = TheDesktop().acquiredTwice || duplication.holdsImage;
    fake::AcquireAnswer answer = fake::NextAnswer(timeoutMs);
    if (call.Fails()) {
        answer = {Acquire::Failed, call.Code()};
    }
    code = answer.code;
    if (answer.outcome == Acquire::Acquired || answer.withImage) {
        fake::Make(image)->picture = answer.picture;
    }
    duplication.holdsImage = answer.outcome == Acquire::Acquired;
    return answer.outcome;
}

Result UpdateSurface(GraphicsDevice&, DesktopImage& image, Surface& surface) {
    const Call call("UpdateSurface");
    if (call.Fails()) {
        return call.Code();
    }
    surface.picture = image.picture;
    return resultOk;
}

void ReleaseImage(DesktopDuplication& duplication) {
    const Call call("ReleaseImage");
    duplication.holdsImage = false;
}

Result RunScaler(VideoScaler&, ScalerViews& views, std::uint32_t frameIndex) {
    const Call call("RunScaler");
    if (call.Fails()) {
        return call.Code();
    }
    TheDesktop().convertedFrames.push_back(frameIndex);
    views.target->picture = views.source->picture;
    return resultOk;
}

void FlushGraphics(GraphicsDevice&) { const Call call("FlushGraphics"); }

void* NativeDevice(GraphicsDevice& device) { return &device; }
void* NativeTexture(Surface& surface) { return &surface.picture; }

}  // namespace zv
