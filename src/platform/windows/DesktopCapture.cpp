// Desktop duplication and the Direct3D 11 video processor.
//
// Members are declared in the order of their creation, so that they are released in reverse. A plain pointer is not
// owned; the header guarantees that its owner outlives it.
#include "platform/DesktopCapture.h"

#include <bit>
#include <new>

#include "platform/windows/Graphics.h"

namespace zv {

struct GraphicsFactory {
    Com<IDXGIFactory1> factory;
};

struct GraphicsOutput {
    Com<IDXGIAdapter1> adapter;
    Com<IDXGIOutput> output;
};

struct GraphicsDevice {
    Com<ID3D11Device> device;
    Com<ID3D11DeviceContext> context;
};

struct DesktopDuplication {
    Com<IDXGIOutputDuplication> duplication;
    Com<IDXGIOutput1> output;
};

struct Surface {
    Com<ID3D11Texture2D> texture;
};

struct VideoProcessing {
    Com<ID3D11VideoDevice> device;
    Com<ID3D11VideoContext> context;
};

struct VideoScaler {
    ID3D11VideoDevice* device = nullptr;    ///< not owned
    ID3D11VideoContext* context = nullptr;  ///< not owned
    Com<ID3D11VideoProcessorEnumerator> enumerator;
    Com<ID3D11VideoProcessor> processor;
};

struct ScalerViews {
    Com<ID3D11VideoProcessorInputView> input;
    Com<ID3D11VideoProcessorOutputView> output;
};

template <>
void Closer<GraphicsFactory>::operator()(GraphicsFactory* factory) const noexcept {
    delete factory;
}
template <>
void Closer<GraphicsOutput>::operator()(GraphicsOutput* output) const noexcept {
    delete output;
}
template <>
void Closer<GraphicsDevice>::operator()(GraphicsDevice* device) const noexcept {
    delete device;
}
template <>
void Closer<DesktopDuplication>::operator()(DesktopDuplication* duplication) const noexcept {
    delete duplication;
}
template <>
void Closer<DesktopImage>::operator()(DesktopImage* image) const noexcept {
    reinterpret_cast<IDXGIResource*>(image)->Release();
}
template <>
void Closer<Surface>::operator()(Surface* surface) const noexcept {
    delete surface;
}
template <>
void Closer<VideoProcessing>::operator()(VideoProcessing* processing) const noexcept {
    delete processing;
}
template <>
void Closer<VideoScaler>::operator()(VideoScaler* scaler) const noexcept {
    delete scaler;
}
template <>
void Closer<ScalerViews>::operator()(ScalerViews* views) const noexcept {
    delete views;
}

namespace {

/// On success moves `record` to the heap and stores it in `owner`. Returns `result`.
template <class Record>
Result Publish(HRESULT result, Record&& record, Owned<Record>& owner) {
    if (FAILED(result)) {
        return result;
    }
    owner.reset(new (std::nothrow) Record(std::move(record)));
    return owner ? resultOk : E_OUTOFMEMORY;
}

/// Runs the device's work before that of a game that keeps the GPU busy. A driver may refuse.
void RaisePriority(ID3D11Device& device) {
    constexpr INT highest = 7;
    Com<IDXGIDevice> graphics;
    if (SUCCEEDED(Query(&device, graphics))) {
        graphics->SetGPUThreadPriority(highest);
    }
}

RECT NativeRectangle(const Rectangle& rectangle) {
    return {rectangle.left, rectangle.top, rectangle.right, rectangle.bottom};
}

D3D11_VIDEO_PROCESSOR_CONTENT_DESC ContentOf(const ScalerFormat& format) {
    D3D11_VIDEO_PROCESSOR_CONTENT_DESC content{};
    content.InputFrameFormat = D3D11_VIDEO_FRAME_FORMAT_PROGRESSIVE;
    content.InputFrameRate = {format.fps, 1};
    content.InputWidth = format.sourceWidth;
    content.InputHeight = format.sourceHeight;
    content.OutputFrameRate = {format.fps, 1};
    content.OutputWidth = format.outputWidth;
    content.OutputHeight = format.outputHeight;
    content.Usage = D3D11_VIDEO_USAGE_PLAYBACK_NORMAL;
    return content;
}

Result MakeSurface(GraphicsDevice& device, std::uint32_t width, std::uint32_t height, DXGI_FORMAT format,
                   Owned<Surface>& surface) {
    D3D11_TEXTURE2D_DESC description{};
    description.Width = width;
    description.Height = height;
    description.MipLevels = 1;
    description.ArraySize = 1;
    description.Format = format;
    description.SampleDesc = {1, 0};
    description.Usage = D3D11_USAGE_DEFAULT;
    description.BindFlags = D3D11_BIND_RENDER_TARGET;
    Surface made;
    const HRESULT result = device.device->CreateTexture2D(&description, nullptr, made.texture.Out());
    return Publish(result, std::move(made), surface);
}

HRESULT MakeInputView(VideoScaler& scaler, Surface& source, Com<ID3D11VideoProcessorInputView>& view) {
    D3D11_VIDEO_PROCESSOR_INPUT_VIEW_DESC description{};
    description.FourCC = 0;
    description.ViewDimension = D3D11_VPIV_DIMENSION_TEXTURE2D;
    description.Texture2D = {0, 0};
    return scaler.device->CreateVideoProcessorInputView(source.texture.Get(), scaler.enumerator.Get(), &description,
                                                        view.Out());
}

HRESULT MakeOutputView(VideoScaler& scaler, Surface& target, Com<ID3D11VideoProcessorOutputView>& view) {
    D3D11_VIDEO_PROCESSOR_OUTPUT_VIEW_DESC description{};
    description.ViewDimension = D3D11_VPOV_DIMENSION_TEXTURE2D;
    description.Texture2D.MipSlice = 0;
    return scaler.device->CreateVideoProcessorOutputView(target.texture.Get(), scaler.enumerator.Get(), &description,
                                                         view.Out());
}

}  // namespace

Result OpenGraphicsFactory(Owned<GraphicsFactory>& factory) {
    GraphicsFactory made;
    const HRESULT result = MakeFactory(__uuidof(IDXGIFactory1), made.factory.OutVoid());
    return Publish(result, std::move(made), factory);
}

OutputLookup LookUpOutput(GraphicsFactory& factory, std::uint32_t adapterIndex, std::uint32_t outputIndex,
                          OutputRecord& record, Owned<GraphicsOutput>& output, Result* code) {
    GraphicsOutput made;
    Result ignored = resultOk;
    Result& result = code != nullptr ? *code : ignored;
    result = factory.factory->EnumAdapters1(adapterIndex, made.adapter.Out());
    if (Failed(result)) {
        return OutputLookup::NoAdapter;
    }
    result = made.adapter->EnumOutputs(outputIndex, made.output.Out());
    if (Failed(result)) {
        return OutputLookup::NoOutput;
    }
    record = DescribeOutput(*made.output.Get());
    output.reset(new GraphicsOutput(std::move(made)));
    return OutputLookup::Found;
}

Result MakeGraphicsDevice(GraphicsOutput& output, Owned<GraphicsDevice>& device) {
    static const auto make = SystemFunction<decltype(D3D11CreateDevice)>(L"d3d11.dll", "D3D11CreateDevice");
    if (make == nullptr) {
        return missingLibrary;
    }
    GraphicsDevice made;
    const HRESULT result = make(output.adapter.Get(), D3D_DRIVER_TYPE_UNKNOWN, nullptr,
                                D3D11_CREATE_DEVICE_BGRA_SUPPORT | D3D11_CREATE_DEVICE_VIDEO_SUPPORT, nullptr, 0,
                                D3D11_SDK_VERSION, made.device.Out(), nullptr, made.context.Out());
    if (SUCCEEDED(result)) {
        RaisePriority(*made.device.Get());
    }
    return Publish(result, std::move(made), device);
}

Result OpenDuplication(GraphicsDevice& device, GraphicsOutput& output, Owned<DesktopDuplication>& duplication) {
    DesktopDuplication made;
    HRESULT result = Query(output.output.Get(), made.output);
    if (SUCCEEDED(result)) {
        result = made.output->DuplicateOutput(device.device.Get(), made.duplication.Out());
    }
    return Publish(result, std::move(made), duplication);
}

Result OpenVideoProcessing(GraphicsDevice& device, Owned<VideoProcessing>& processing) {
    VideoProcessing made;
    HRESULT result = Query(device.device.Get(), made.device);
    if (SUCCEEDED(result)) {
        result = Query(device.context.Get(), made.context);
    }
    return Publish(result, std::move(made), processing);
}

Result MakeVideoScaler(VideoProcessing& processing, const ScalerFormat& format, Owned<VideoScaler>& scaler) {
    VideoScaler made;
    made.device = processing.device.Get();
    made.context = processing.context.Get();
    const D3D11_VIDEO_PROCESSOR_CONTENT_DESC content = ContentOf(format);
    HRESULT result = made.device->CreateVideoProcessorEnumerator(&content, made.enumerator.Out());
    if (SUCCEEDED(result)) {
        result = made.device->CreateVideoProcessor(made.enumerator.Get(), 0, made.processor.Out());
    }
    return Publish(result, std::move(made), scaler);
}

Result MakeCaptureSurface(GraphicsDevice& device, std::uint32_t width, std::uint32_t height, Owned<Surface>& surface) {
    return MakeSurface(device, width, height, DXGI_FORMAT_B8G8R8A8_UNORM, surface);
}

Result MakeNv12Surface(GraphicsDevice& device, std::uint32_t width, std::uint32_t height, Owned<Surface>& surface) {
    return MakeSurface(device, width, height, DXGI_FORMAT_NV12, surface);
}

Result MakeScalerViews(VideoScaler& scaler, Surface& source, Surface& target, Owned<ScalerViews>& views) {
    ScalerViews made;
    HRESULT result = MakeInputView(scaler, source, made.input);
    if (SUCCEEDED(result)) {
        result = MakeOutputView(scaler, target, made.output);
    }
    return Publish(result, std::move(made), views);
}

void SetScalerState(VideoScaler& scaler, const ScalerState& state) {
    using ColorSpace = D3D11_VIDEO_PROCESSOR_COLOR_SPACE;
    ID3D11VideoContext& context = *scaler.context;
    ID3D11VideoProcessor* processor = scaler.processor.Get();
    const RECT source = NativeRectangle(state.source);
    const RECT destination = NativeRectangle(state.destination);
    const RECT target = NativeRectangle(state.target);
    const auto streamColors = std::bit_cast<ColorSpace>(state.streamColorSpace);
    const auto outputColors = std::bit_cast<ColorSpace>(state.outputColorSpace);
    D3D11_VIDEO_COLOR background{};
    background.YCbCr = {state.backgroundY, state.backgroundCb, state.backgroundCr, state.backgroundAlpha};

    context.VideoProcessorSetStreamSourceRect(processor, 0, TRUE, &source);
    context.VideoProcessorSetStreamDestRect(processor, 0, TRUE, &destination);
    context.VideoProcessorSetOutputTargetRect(processor, TRUE, &target);
    context.VideoProcessorSetStreamAutoProcessingMode(processor, 0, state.autoProcessing ? TRUE : FALSE);
    context.VideoProcessorSetStreamColorSpace(processor, 0, &streamColors);
    context.VideoProcessorSetOutputColorSpace(processor, &outputColors);
    context.VideoProcessorSetOutputBackgroundColor(processor, TRUE, &background);
}

Acquire AcquireImage(DesktopDuplication& duplication, std::uint32_t timeoutMs, Owned<DesktopImage>& image,
                     Result& code) {
    DXGI_OUTDUPL_FRAME_INFO information{};
    Com<IDXGIResource> resource;
    code = duplication.duplication->AcquireNextFrame(timeoutMs, &information, resource.Out());
    if (code == DXGI_ERROR_WAIT_TIMEOUT) {
        return Acquire::Timeout;
    }
    if (FAILED(code)) {
        return Acquire::Failed;
    }
    image.reset(reinterpret_cast<DesktopImage*>(resource.Detach()));
    return Acquire::Acquired;
}

Result UpdateSurface(GraphicsDevice& device, DesktopImage& image, Surface& surface) {
    Com<ID3D11Texture2D> texture;
    const HRESULT result = Query(reinterpret_cast<IDXGIResource*>(&image), texture);
    if (SUCCEEDED(result)) {
        device.context->CopyResource(surface.texture.Get(), texture.Get());
    }
    return result;
}

void ReleaseImage(DesktopDuplication& duplication) { duplication.duplication->ReleaseFrame(); }

Result RunScaler(VideoScaler& scaler, ScalerViews& views, std::uint32_t frameIndex) {
    D3D11_VIDEO_PROCESSOR_STREAM stream{};
    stream.Enable = TRUE;
    stream.pInputSurface = views.input.Get();
    return scaler.context->VideoProcessorBlt(scaler.processor.Get(), views.output.Get(), frameIndex, 1, &stream);
}

void FlushGraphics(GraphicsDevice& device) { device.context->Flush(); }

void* NativeDevice(GraphicsDevice& device) { return device.device.Get(); }

void* NativeTexture(Surface& surface) { return surface.texture.Get(); }

}  // namespace zv
