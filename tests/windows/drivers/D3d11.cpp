// d3d11.dll: one device with its context, textures in memory, and a video processor that works on them.
//
// Checks more than the interfaces' documentation demands: the flags of the device, the surfaces' descriptions, the
// order of the processor's state, one run for each frame number, no copy from a released image.
#define CINTERFACE
#define D3D11_NO_HELPERS
#include <initguid.h>
//
#include <windows.h>
//
#include <d3d11.h>

#include <algorithm>
#include <bit>

#include "windows/drivers/ComObject.h"
#include "windows/drivers/Conversion.h"

namespace zv::drivers {
namespace {

struct Context : Object {
    explicit Context(Object& device) : Object("context", &device) { oneThread = true; }
    void End() override {
        if (!unflushed.empty()) {
            Note("context released with work that was not submitted");
        }
    }
    std::vector<Pixels*> unflushed;
};

struct Device : Object {
    explicit Device(void* theAdapter) : Object("device"), adapter(theAdapter) { oneThread = true; }
    void* adapter;
};

struct Texture : Object {
    Texture(Object& device, const char* textureKind, std::uint32_t width, std::uint32_t height, DXGI_FORMAT format)
        : Object(textureKind, &device) {
        pixels.width = width;
        pixels.height = height;
        pixels.format = static_cast<std::uint32_t>(format);
        const std::size_t count = std::size_t{width} * height;
        if (format == DXGI_FORMAT_NV12) {
            pixels.nv12.assign(count + count / 2, 0);
        } else {
            pixels.bgra.assign(count, 0xFF000000);
        }
        pixels.changed = {0, 0, width, height};
    }
    void End() override {
        if (pixels.mapped) {
            Complain(std::string(kind) + " released while it is mapped");
        }
        pixels.bgra = {};
        pixels.nv12 = {};
    }
    Pixels pixels;
};

struct Enumerator : Object {
    Enumerator(Object& device, const D3D11_VIDEO_PROCESSOR_CONTENT_DESC& theContent)
        : Object("enumerator", &device), content(theContent) {}
    D3D11_VIDEO_PROCESSOR_CONTENT_DESC content;
};

struct Processor : Object {
    explicit Processor(Enumerator& theEnumerator) : Object("processor", &theEnumerator), enumerator(theEnumerator) {}
    Enumerator& enumerator;
    ConversionState state;
    unsigned settings = 0;  ///< how many calls have set the state; their order is checked
    UINT nextFrame = 0;
    bool filled = false;
};

struct View : Object {
    View(const char* viewKind, Texture& theTexture, Enumerator& theEnumerator)
        : Object(viewKind, &theTexture), texture(theTexture), enumerator(theEnumerator) {
        ++theEnumerator.children;
    }
    void End() override { --enumerator.children; }
    Texture& texture;
    Enumerator& enumerator;
};

template <class Kind>
Kind& From(void* pointer, const char* function) {
    return Behind<Kind>(pointer, function);
}

void Demand(bool condition, const char* text) {
    if (!condition) {
        Complain(text);
    }
}

// Textures

Pixels* STDMETHODCALLTYPE ContentOf(void* self) { return &Behind<Texture>(self, "pixels").pixels; }
void* STDMETHODCALLTYPE DeviceOf(void* self) { return PointerTo(*Behind<Texture>(self, "device").parent); }

template <class Table>
const Table& EmptyTable() {
    static const TableMaker<Table> maker;
    return maker.table;
}

const PixelsTable& TextureContentTable() {
    static const auto maker = [] {
        TableMaker<PixelsTable> made;
        made.table.content = ContentOf;
        made.table.device = DeviceOf;
        return made;
    }();
    return maker.table;
}

Texture& MakeTexture(Object& device, const char* kind, std::uint32_t width, std::uint32_t height, DXGI_FORMAT format) {
    auto* texture = new Texture(device, kind, width, height, format);
    SetFace(*texture, 0, &EmptyTable<ID3D11Texture2DVtbl>(),
            {IID_IUnknown, IID_ID3D11DeviceChild, IID_ID3D11Resource, IID_ID3D11Texture2D});
    SetFace(*texture, 1, &EmptyTable<IDXGIResourceVtbl>(),
            {IID_IDXGIObject, IID_IDXGIDeviceSubObject, IID_IDXGIResource});
    SetFace(*texture, 2, &TextureContentTable(), {pixelsId});
    return *texture;
}

HRESULT STDMETHODCALLTYPE CreateTexture2D(ID3D11Device* self, const D3D11_TEXTURE2D_DESC* description,
                                          const D3D11_SUBRESOURCE_DATA* data, ID3D11Texture2D** result) {
    auto& device = Behind<Device>(self, "CreateTexture2D");
    const bool nv12 = description->Format == DXGI_FORMAT_NV12;
    const ScriptedResult scripted = CountCall(nv12 ? "CreateTexture2D:nv12" : "CreateTexture2D:bgra");
    if (scripted.fails) {
        return scripted.code;
    }
    D3D11_TEXTURE2D_DESC expected{};
    expected.Width = description->Width;
    expected.Height = description->Height;
    expected.MipLevels = 1;
    expected.ArraySize = 1;
    expected.Format = nv12 ? DXGI_FORMAT_NV12 : DXGI_FORMAT_B8G8R8A8_UNORM;
    expected.SampleDesc.Count = 1;
    expected.Usage = D3D11_USAGE_DEFAULT;
    expected.BindFlags = D3D11_BIND_RENDER_TARGET;
    Demand(std::memcmp(&expected, description, sizeof(expected)) == 0, "CreateTexture2D with another description");
    Demand(data == nullptr, "CreateTexture2D with data");
    if (nv12 && ((description->Width | description->Height) & 1U) != 0) {
        Complain("an NV12 texture of odd size");
        return E_INVALIDARG;
    }
    Texture& texture = MakeTexture(device, nv12 ? "nv12-surface" : "capture-surface", description->Width,
                                   description->Height, expected.Format);
    *result = static_cast<ID3D11Texture2D*>(PointerTo(texture));
    return S_OK;
}

void* STDMETHODCALLTYPE AdapterOfDevice(void* self) { return Behind<Device>(self, "adapter").adapter; }

void* STDMETHODCALLTYPE MakeDesktopImage(void* self, std::uint32_t width, std::uint32_t height) {
    auto& device = Behind<Device>(self, "desktop image");
    return PointerTo(MakeTexture(device, "desktop-image", width, height, DXGI_FORMAT_B8G8R8A8_UNORM), 1);
}

const MaintenanceTable& DeviceMaintenanceTable() {
    static const auto maker = [] {
        TableMaker<MaintenanceTable> made;
        made.table.adapter = AdapterOfDevice;
        made.table.makeDesktopImage = MakeDesktopImage;
        return made;
    }();
    return maker.table;
}

HRESULT STDMETHODCALLTYPE SetGpuPriority(IDXGIDevice* self, INT priority) {
    ObjectOf(self, "SetGPUThreadPriority");
    const ScriptedResult scripted = CountCall("SetGPUThreadPriority");
    if (scripted.fails) {
        return scripted.code;
    }
    Demand(priority >= -7 && priority <= 7, "SetGPUThreadPriority with a priority that does not exist");
    Note("GPU thread priority " + std::to_string(priority));
    return S_OK;
}

// Video device

HRESULT STDMETHODCALLTYPE CreateVideoProcessorEnumerator(ID3D11VideoDevice* self,
                                                         const D3D11_VIDEO_PROCESSOR_CONTENT_DESC* content,
                                                         ID3D11VideoProcessorEnumerator** result) {
    auto& device = Behind<Device>(self, "CreateVideoProcessorEnumerator");
    const ScriptedResult scripted = CountCall("CreateVideoProcessorEnumerator");
    if (scripted.fails) {
        return scripted.code;
    }
    Demand(content->InputFrameFormat == D3D11_VIDEO_FRAME_FORMAT_PROGRESSIVE &&
               content->InputFrameRate.Denominator == 1 && content->OutputFrameRate.Denominator == 1 &&
               content->InputFrameRate.Numerator == content->OutputFrameRate.Numerator &&
               content->InputFrameRate.Numerator >= 30 && content->Usage == D3D11_VIDEO_USAGE_PLAYBACK_NORMAL,
           "CreateVideoProcessorEnumerator with another content");
    Note("scaler " + std::to_string(content->InputWidth) + "x" + std::to_string(content->InputHeight) + " to " +
         std::to_string(content->OutputWidth) + "x" + std::to_string(content->OutputHeight) + " at " +
         std::to_string(content->InputFrameRate.Numerator));
    auto* enumerator = new Enumerator(device, *content);
    SetFace(*enumerator, 0, &EmptyTable<ID3D11VideoProcessorEnumeratorVtbl>(),
            {IID_IUnknown, IID_ID3D11DeviceChild, IID_ID3D11VideoProcessorEnumerator});
    *result = static_cast<ID3D11VideoProcessorEnumerator*>(PointerTo(*enumerator));
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CreateVideoProcessor(ID3D11VideoDevice* self, ID3D11VideoProcessorEnumerator* pointer,
                                               UINT rateConversion, ID3D11VideoProcessor** result) {
    ObjectOf(self, "CreateVideoProcessor");
    const ScriptedResult scripted = CountCall("CreateVideoProcessor");
    if (scripted.fails) {
        return scripted.code;
    }
    Demand(rateConversion == 0, "CreateVideoProcessor with another rate conversion");
    auto* processor = new Processor(From<Enumerator>(pointer, "CreateVideoProcessor"));
    SetFace(*processor, 0, &EmptyTable<ID3D11VideoProcessorVtbl>(),
            {IID_IUnknown, IID_ID3D11DeviceChild, IID_ID3D11VideoProcessor});
    *result = static_cast<ID3D11VideoProcessor*>(PointerTo(*processor));
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CreateInputView(ID3D11VideoDevice* self, ID3D11Resource* resource,
                                          ID3D11VideoProcessorEnumerator* pointer,
                                          const D3D11_VIDEO_PROCESSOR_INPUT_VIEW_DESC* description,
                                          ID3D11VideoProcessorInputView** result) {
    ObjectOf(self, "CreateVideoProcessorInputView");
    const ScriptedResult scripted = CountCall("CreateVideoProcessorInputView");
    if (scripted.fails) {
        return scripted.code;
    }
    auto& texture = From<Texture>(resource, "CreateVideoProcessorInputView");
    auto& enumerator = From<Enumerator>(pointer, "CreateVideoProcessorInputView");
    Demand(description->FourCC == 0 && description->ViewDimension == D3D11_VPIV_DIMENSION_TEXTURE2D &&
               description->Texture2D.MipSlice == 0 && description->Texture2D.ArraySlice == 0,
           "CreateVideoProcessorInputView with another description");
    Demand(texture.pixels.format == DXGI_FORMAT_B8G8R8A8_UNORM &&
               texture.pixels.width == enumerator.content.InputWidth &&
               texture.pixels.height == enumerator.content.InputHeight,
           "an input view on a texture that the scaler was not made for");
    auto* view = new View("input-view", texture, enumerator);
    SetFace(*view, 0, &EmptyTable<ID3D11VideoProcessorInputViewVtbl>(),
            {IID_IUnknown, IID_ID3D11DeviceChild, IID_ID3D11VideoProcessorInputView});
    *result = static_cast<ID3D11VideoProcessorInputView*>(PointerTo(*view));
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CreateOutputView(ID3D11VideoDevice* self, ID3D11Resource* resource,
                                           ID3D11VideoProcessorEnumerator* pointer,
                                           const D3D11_VIDEO_PROCESSOR_OUTPUT_VIEW_DESC* description,
                                           ID3D11VideoProcessorOutputView** result) {
    ObjectOf(self, "CreateVideoProcessorOutputView");
    const ScriptedResult scripted = CountCall("CreateVideoProcessorOutputView");
    if (scripted.fails) {
        return scripted.code;
    }
    auto& texture = From<Texture>(resource, "CreateVideoProcessorOutputView");
    auto& enumerator = From<Enumerator>(pointer, "CreateVideoProcessorOutputView");
    Demand(description->ViewDimension == D3D11_VPOV_DIMENSION_TEXTURE2D && description->Texture2D.MipSlice == 0,
           "CreateVideoProcessorOutputView with another description");
    Demand(texture.pixels.format == DXGI_FORMAT_NV12 && texture.pixels.width == enumerator.content.OutputWidth &&
               texture.pixels.height == enumerator.content.OutputHeight,
           "an output view on a texture that the scaler was not made for");
    auto* view = new View("output-view", texture, enumerator);
    SetFace(*view, 0, &EmptyTable<ID3D11VideoProcessorOutputViewVtbl>(),
            {IID_IUnknown, IID_ID3D11DeviceChild, IID_ID3D11VideoProcessorOutputView});
    *result = static_cast<ID3D11VideoProcessorOutputView*>(PointerTo(*view));
    return S_OK;
}

// Video context: the state, in the required order

Processor& Setting(void* self, ID3D11VideoProcessor* pointer, unsigned position, const char* function) {
    ObjectOf(self, function);
    auto& processor = From<Processor>(pointer, function);
    if (processor.settings != position) {
        Complain(std::string(function) + " out of order, or a second time");
    }
    ++processor.settings;
    return processor;
}

Bounds BoundsOf(UINT stream, WINBOOL enable, const RECT* rectangle) {
    Demand(stream == 0 && enable != FALSE && rectangle != nullptr, "a rectangle of another stream, or none");
    Note("rectangle " + std::to_string(rectangle->left) + " " + std::to_string(rectangle->top) + " " +
         std::to_string(rectangle->right) + " " + std::to_string(rectangle->bottom));
    return {rectangle->left, rectangle->top, rectangle->right, rectangle->bottom};
}

void STDMETHODCALLTYPE SetSourceRect(ID3D11VideoContext* self, ID3D11VideoProcessor* pointer, UINT stream,
                                     WINBOOL enable, const RECT* rectangle) {
    Processor& processor = Setting(self, pointer, 0, "VideoProcessorSetStreamSourceRect");
    processor.state.source = BoundsOf(stream, enable, rectangle);
}
void STDMETHODCALLTYPE SetDestRect(ID3D11VideoContext* self, ID3D11VideoProcessor* pointer, UINT stream, WINBOOL enable,
                                   const RECT* rectangle) {
    Processor& processor = Setting(self, pointer, 1, "VideoProcessorSetStreamDestRect");
    processor.state.destination = BoundsOf(stream, enable, rectangle);
}
void STDMETHODCALLTYPE SetTargetRect(ID3D11VideoContext* self, ID3D11VideoProcessor* pointer, WINBOOL enable,
                                     const RECT* rectangle) {
    const Processor& processor = Setting(self, pointer, 2, "VideoProcessorSetOutputTargetRect");
    const Bounds target = BoundsOf(0, enable, rectangle);
    const D3D11_VIDEO_PROCESSOR_CONTENT_DESC& content = processor.enumerator.content;
    Demand(target.left == 0 && target.top == 0 && target.right == static_cast<LONG>(content.OutputWidth) &&
               target.bottom == static_cast<LONG>(content.OutputHeight),
           "a target rectangle that is not the whole frame");
}
void STDMETHODCALLTYPE SetAutoProcessing(ID3D11VideoContext* self, ID3D11VideoProcessor* pointer, UINT stream,
                                         WINBOOL enable) {
    Setting(self, pointer, 3, "VideoProcessorSetStreamAutoProcessingMode");
    Demand(stream == 0 && enable == FALSE, "automatic processing is not off");
}
void STDMETHODCALLTYPE SetStreamColors(ID3D11VideoContext* self, ID3D11VideoProcessor* pointer, UINT stream,
                                       const D3D11_VIDEO_PROCESSOR_COLOR_SPACE* colors) {
    Processor& processor = Setting(self, pointer, 4, "VideoProcessorSetStreamColorSpace");
    Demand(stream == 0 && std::bit_cast<std::uint32_t>(*colors) == 0, "another colour space of the stream");
    processor.state.sourceLimited = colors->RGB_Range != 0;
}
void STDMETHODCALLTYPE SetOutputColors(ID3D11VideoContext* self, ID3D11VideoProcessor* pointer,
                                       const D3D11_VIDEO_PROCESSOR_COLOR_SPACE* colors) {
    Processor& processor = Setting(self, pointer, 5, "VideoProcessorSetOutputColorSpace");
    Demand(std::bit_cast<std::uint32_t>(*colors) == 20, "another colour space of the output");
    processor.state.matrix709 = colors->YCbCr_Matrix != 0;
    processor.state.outputLimited = colors->Nominal_Range == 1;
}
void STDMETHODCALLTYPE SetBackground(ID3D11VideoContext* self, ID3D11VideoProcessor* pointer, WINBOOL yCbCr,
                                     const D3D11_VIDEO_COLOR* color) {
    Processor& processor = Setting(self, pointer, 6, "VideoProcessorSetOutputBackgroundColor");
    const D3D11_VIDEO_COLOR_YCbCrA& value = color->YCbCr;
    Demand(yCbCr != FALSE && value.A == 1.0F, "a background that is not YCbCr, or not opaque");
    processor.state.background[0] = value.Y;
    processor.state.background[1] = value.Cb;
    processor.state.background[2] = value.Cr;
}

bool IsOneWholeStream(UINT count, const D3D11_VIDEO_PROCESSOR_STREAM* stream) {
    D3D11_VIDEO_PROCESSOR_STREAM expected{};
    expected.Enable = TRUE;
    if (count != 1 || stream == nullptr) {
        return false;
    }
    expected.pInputSurface = stream->pInputSurface;
    return stream->pInputSurface != nullptr && std::memcmp(&expected, stream, sizeof(expected)) == 0;
}

HRESULT STDMETHODCALLTYPE Blit(ID3D11VideoContext* self, ID3D11VideoProcessor* pointer,
                               ID3D11VideoProcessorOutputView* target, UINT frame, UINT count,
                               const D3D11_VIDEO_PROCESSOR_STREAM* stream) {
    auto& context = Behind<Context>(self, "VideoProcessorBlt");
    const ScriptedResult scripted = CountCall("VideoProcessorBlt");
    if (scripted.fails) {
        return scripted.code;
    }
    auto& processor = From<Processor>(pointer, "VideoProcessorBlt");
    if (!IsOneWholeStream(count, stream)) {
        Complain("VideoProcessorBlt with other streams");
        return E_INVALIDARG;
    }
    Demand(processor.settings == 7, "VideoProcessorBlt before the state is set");
    Demand(frame == processor.nextFrame, "VideoProcessorBlt with another frame number");
    processor.nextFrame = frame + 1;
    Pixels& frameOut = From<View>(target, "VideoProcessorBlt").texture.pixels;
    Pixels& source = From<View>(stream->pInputSurface, "VideoProcessorBlt").texture.pixels;
    Demand(!frameOut.mapped, "VideoProcessorBlt into a texture that is mapped");
    if (!processor.filled) {
        FillBackground(processor.state, frameOut);
        processor.filled = true;
    }
    if (!source.changed.Empty()) {
        Convert(processor.state, source, source.changed, frameOut);
        source.changed = {};
    }
    frameOut.flushed = false;
    context.unflushed.push_back(&frameOut);
    return S_OK;
}

// Context

/// Copies the pixels that differ and returns their area.
Area CopyDifference(const Pixels& from, Pixels& to) {
    Area area{from.width, from.height, 0, 0};
    for (std::uint32_t y = 0; y < from.height; ++y) {
        const auto source = from.bgra.begin() + static_cast<std::ptrdiff_t>(std::size_t{y} * from.width);
        const auto target = to.bgra.begin() + static_cast<std::ptrdiff_t>(std::size_t{y} * from.width);
        if (std::memcmp(&*source, &*target, from.width * sizeof(std::uint32_t)) == 0) {
            continue;
        }
        std::uint32_t left = 0;
        std::uint32_t right = from.width;
        while (source[left] == target[left]) {
            ++left;
        }
        while (source[right - 1] == target[right - 1]) {
            --right;
        }
        std::copy(source + left, source + right, target + left);
        area = {std::min(area.left, left), std::min(area.top, y), std::max(area.right, right), y + 1};
    }
    return area;
}

Area Both(const Area& one, const Area& other) {
    if (one.Empty()) {
        return other;
    }
    return {std::min(one.left, other.left), std::min(one.top, other.top), std::max(one.right, other.right),
            std::max(one.bottom, other.bottom)};
}

void STDMETHODCALLTYPE CopyResource(ID3D11DeviceContext* self, ID3D11Resource* target, ID3D11Resource* source) {
    ObjectOf(self, "CopyResource");
    CountCall("CopyResource");
    Pixels& to = From<Texture>(target, "CopyResource").pixels;
    const Pixels& from = From<Texture>(source, "CopyResource").pixels;
    if (to.width != from.width || to.height != from.height || to.format != from.format) {
        Complain("CopyResource between textures that differ");
        return;
    }
    Demand(from.readable, "CopyResource from a released image");
    const Area changed = CopyDifference(from, to);
    if (!changed.Empty()) {
        to.changed = Both(to.changed, changed);
    }
}

void STDMETHODCALLTYPE Flush(ID3D11DeviceContext* self) {
    auto& context = Behind<Context>(self, "Flush");
    for (Pixels* pixels : context.unflushed) {
        pixels->flushed = true;
    }
    context.unflushed.clear();
}

// Creation

Context& MakeContext(Device& device) {
    static const auto plain = [] {
        TableMaker<ID3D11DeviceContextVtbl> made;
        made.table.CopyResource = CopyResource;
        made.table.Flush = Flush;
        return made;
    }();
    static const auto video = [] {
        TableMaker<ID3D11VideoContextVtbl> made;
        made.table.VideoProcessorSetStreamSourceRect = SetSourceRect;
        made.table.VideoProcessorSetStreamDestRect = SetDestRect;
        made.table.VideoProcessorSetOutputTargetRect = SetTargetRect;
        made.table.VideoProcessorSetStreamAutoProcessingMode = SetAutoProcessing;
        made.table.VideoProcessorSetStreamColorSpace = SetStreamColors;
        made.table.VideoProcessorSetOutputColorSpace = SetOutputColors;
        made.table.VideoProcessorSetOutputBackgroundColor = SetBackground;
        made.table.VideoProcessorBlt = Blit;
        return made;
    }();
    auto* context = new Context(device);
    SetFace(*context, 0, &plain.table, {IID_IUnknown, IID_ID3D11DeviceChild, IID_ID3D11DeviceContext});
    SetFace(*context, 1, &video.table, {IID_ID3D11VideoContext});
    return *context;
}

Device& MakeDevice(void* adapter) {
    static const auto plain = [] {
        TableMaker<ID3D11DeviceVtbl> made;
        made.table.CreateTexture2D = CreateTexture2D;
        return made;
    }();
    static const auto video = [] {
        TableMaker<ID3D11VideoDeviceVtbl> made;
        made.table.CreateVideoProcessorEnumerator = CreateVideoProcessorEnumerator;
        made.table.CreateVideoProcessor = CreateVideoProcessor;
        made.table.CreateVideoProcessorInputView = CreateInputView;
        made.table.CreateVideoProcessorOutputView = CreateOutputView;
        return made;
    }();
    static const auto graphics = [] {
        TableMaker<IDXGIDeviceVtbl> made;
        made.table.SetGPUThreadPriority = SetGpuPriority;
        return made;
    }();
    auto* device = new Device(adapter);
    SetFace(*device, 0, &plain.table, {IID_IUnknown, IID_ID3D11Device});
    SetFace(*device, 1, &video.table, {IID_ID3D11VideoDevice});
    SetFace(*device, 2, &DeviceMaintenanceTable(), {maintenanceId});
    SetFace(*device, 3, &graphics.table, {IID_IDXGIObject, IID_IDXGIDevice});
    return *device;
}

}  // namespace
}  // namespace zv::drivers

using namespace zv::drivers;

extern "C" HRESULT WINAPI D3D11CreateDevice(IDXGIAdapter* adapter, D3D_DRIVER_TYPE type, HMODULE software, UINT flags,
                                            const D3D_FEATURE_LEVEL* levels, UINT levelCount, UINT version,
                                            ID3D11Device** device, D3D_FEATURE_LEVEL*, ID3D11DeviceContext** context) {
    ReadScript();
    const ScriptedResult scripted = CountCall("D3D11CreateDevice");
    if (scripted.fails) {
        return scripted.code;
    }
    if (adapter == nullptr || type != D3D_DRIVER_TYPE_UNKNOWN || software != nullptr) {
        Complain("D3D11CreateDevice with a driver type that does not go with an adapter");
        return E_INVALIDARG;
    }
    Demand(flags == 0x820 && levels == nullptr && levelCount == 0 && version == D3D11_SDK_VERSION,
           "D3D11CreateDevice with other flags, feature levels or version");
    Demand(Object::Living() == 0, "D3D11CreateDevice while objects of the last device are held");
    Device& made = MakeDevice(adapter);
    *device = static_cast<ID3D11Device*>(PointerTo(made));
    *context = static_cast<ID3D11DeviceContext*>(PointerTo(MakeContext(made)));
    return S_OK;
}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void* processEnds) {
    if (reason == DLL_PROCESS_ATTACH) {
        NameModule("d3d11");
    } else if (reason == DLL_PROCESS_DETACH) {
        ReportEnd(processEnds != nullptr);
    }
    return TRUE;
}
