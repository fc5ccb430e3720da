// dxgi.dll: adapters, outputs, and the duplication of a desktop in which every new image shows its number.
//
//   set adapter VENDOR FLAGS MEMORY NAME     vendor in hexadecimal; by default one adapter of the encoder's vendor
//   set output ADAPTER NAME LEFT TOP RIGHT BOTTOM ROTATION ATTACHED     by default one 1920x1080 \\.\DISPLAY1
//   set images always | once | RATE          a new image for every request, only one, or RATE a second (30)
//   set first unpresented                    the first request returns a black image that was never presented, as some
//                                            devices do; the first new image follows after 1/RATE of a second
//   set pointer moves                        a request without a new image returns the last one with a pointer update
// The number counts the delivered images from 0, so that a test can find a missing one.
#define CINTERFACE
#define D3D11_NO_HELPERS
#include <initguid.h>
//
#include <windows.h>
//
#include <dxgi1_6.h>

#include <algorithm>
#include <chrono>
#include <sstream>

#include "support/FrameNumber.h"
#include "windows/drivers/ComObject.h"
#include "windows/drivers/Imports.h"
#include "windows/drivers/Pixels.h"
#include "windows/drivers/ShellImages.h"

namespace zv::drivers {
namespace {

struct AdapterLine {
    UINT vendor = 0x10DE;
    UINT flags = 0;
    unsigned long long memory = 8ULL << 30U;
    std::string name = "Graphics double";
};

struct OutputLine {
    UINT adapter = 0;
    std::string name = R"(\\.\DISPLAY1)";
    RECT bounds{0, 0, 1920, 1080};
    UINT rotation = 1;
    int attached = 1;
};

std::vector<AdapterLine> Adapters() {
    std::vector<AdapterLine> adapters;
    for (const std::string& value : Values("adapter")) {
        AdapterLine line;
        std::istringstream words(value);
        words >> std::hex >> line.vendor >> std::dec >> line.flags >> line.memory;
        std::getline(words >> std::ws, line.name);
        adapters.push_back(line);
    }
    return adapters.empty() ? std::vector<AdapterLine>(1) : adapters;
}

std::vector<OutputLine> OutputsOf(UINT adapter) {
    std::vector<OutputLine> outputs;
    const std::vector<std::string> values = Values("output");
    for (const std::string& value : values) {
        OutputLine line;
        std::istringstream words(value);
        words >> line.adapter >> line.name >> line.bounds.left >> line.bounds.top >> line.bounds.right >>
            line.bounds.bottom >> line.rotation >> line.attached;
        outputs.push_back(line);
    }
    if (values.empty()) {
        outputs.resize(1);
    }
    std::erase_if(outputs, [&](const OutputLine& line) { return line.adapter != adapter; });
    return outputs;
}

template <std::size_t size>
void CopyName(const std::string& name, WCHAR (&buffer)[size]) {
    std::copy_n(name.begin(), std::min(name.size(), size - 1), buffer);
}

struct Factory : Object {
    Factory() : Object("factory") {}
};

struct Adapter : Object {
    Adapter(Object& factory, UINT theIndex, AdapterLine theLine)
        : Object("adapter", &factory), index(theIndex), line(std::move(theLine)) {}
    UINT index;
    AdapterLine line;
};

struct Output : Object {
    Output(Adapter& theAdapter, OutputLine theLine)
        : Object("output", &theAdapter), adapter(theAdapter), line(std::move(theLine)) {}
    Adapter& adapter;
    OutputLine line;
};

// A process may have one duplication of an output at a time.
std::atomic<int> duplications = 0;

struct Duplication : Object {
    using Time = std::chrono::steady_clock;

    Duplication(Output& output, void* theImage) : Object("duplication", &output), image(theImage) {
        oneThread = true;
        void* face = QueryFor(image, pixelsId);
        pixels = TableOf<PixelsTable>(face).content(face);
        ReleaseObject(face);
        pixels->readable = false;
        const std::string images = Value("images", "30");
        always = images == "always";
        once = images == "once";
        period = always || once ? Time::duration::zero() : Time::duration(std::chrono::seconds(1)) / std::stoi(images);
        unpresented = Value("first", "") == "unpresented";
        pointerMoves = Value("pointer", "") == "moves";
        ++duplications;
    }

    void End() override {
        if (acquired) {
            Complain("duplication released with an image that was not released");
        }
        if (ReleaseObject(image) != 0) {
            Complain("duplication released before its image");
        }
        --duplications;
        Note("delivered " + std::to_string(delivered) + " images");
        if (pointerUpdates != 0) {
            Note("delivered " + std::to_string(pointerUpdates) + " pointer updates");
        }
    }

    /// Grey, and below it eight bars with the corners of the color cube.
    void PaintBackground() {
        static constexpr std::uint32_t bars[] = {0xFFFFFFFF, 0xFFFFFF00, 0xFF00FFFF, 0xFF00FF00,
                                                 0xFFFF00FF, 0xFFFF0000, 0xFF0000FF, 0xFF000000};
        const std::uint32_t top = pixels->height * 8 / 15;
        for (std::uint32_t y = 0; y < pixels->height; ++y) {
            for (std::uint32_t x = 0; x < pixels->width; ++x) {
                pixels->bgra[std::size_t{y} * pixels->width + x] = y < top ? 0xFF404040 : bars[x * 8 / pixels->width];
            }
        }
    }

    bool NewImageWithin(UINT timeoutMs) {
        if (always || (delivered == 0 && due <= Time::now())) {
            due = Time::now() + period;
            return true;
        }
        const auto limit = Time::now() + std::chrono::milliseconds(timeoutMs);
        if (once || due > limit) {
            Sleep(timeoutMs);
            return false;
        }
        while (Time::now() < due) {
            Sleep(1);
        }
        due = std::max(due + period, Time::now());
        return true;
    }

    /// Updates the image and its description as a successful request does. Returns false if there is nothing to return.
    bool Deliver(UINT timeoutMs, DXGI_OUTDUPL_FRAME_INFO& information) {
        information = {};
        if (unpresented) {
            unpresented = false;
            due = Time::now() + period;
        } else if (NewImageWithin(timeoutMs)) {
            if (delivered == 0) {
                PaintBackground();
            }
            support::PaintFrameNumber(delivered++, pixels->bgra.data(), pixels->width, static_cast<int>(pixels->width),
                                      static_cast<int>(pixels->height));
            QueryPerformanceCounter(&information.LastPresentTime);
            information.AccumulatedFrames = 1;
        } else if (pointerMoves) {
            ++pointerUpdates;
            QueryPerformanceCounter(&information.LastMouseUpdateTime);
        } else {
            return false;
        }
        succeeded = true;
        return true;
    }

    void* image;
    Pixels* pixels = nullptr;
    bool always = false;
    bool once = false;
    Time::duration period{};
    Time::time_point due{};
    bool unpresented = false;
    bool pointerMoves = false;
    std::uint32_t delivered = 0;
    std::uint32_t pointerUpdates = 0;
    bool succeeded = false;
    unsigned rounds = 0;
    bool acquired = false;
};

HRESULT STDMETHODCALLTYPE ReleaseFrame(IDXGIOutputDuplication* self) {
    auto& duplication = Behind<Duplication>(self, "ReleaseFrame");
    const ScriptedResult scripted = CountCall("ReleaseFrame");
    if (!duplication.acquired) {
        Complain("ReleaseFrame without an image");
        return DXGI_ERROR_INVALID_CALL;
    }
    duplication.acquired = false;
    duplication.pixels->readable = false;
    return scripted.fails ? scripted.code : S_OK;
}

ULONG ReferencesOf(void* unknown) {
    using Count = ULONG(STDMETHODCALLTYPE*)(void*);
    (*static_cast<Count**>(unknown))[1](unknown);
    return ReleaseObject(unknown);
}

HRESULT STDMETHODCALLTYPE AcquireNextFrame(IDXGIOutputDuplication* self, UINT timeoutMs,
                                           DXGI_OUTDUPL_FRAME_INFO* information, IDXGIResource** resource) {
    auto& duplication = Behind<Duplication>(self, "AcquireNextFrame");
    if (information == nullptr || resource == nullptr) {
        Complain("AcquireNextFrame without an output pointer");
        return E_INVALIDARG;
    }
    *resource = nullptr;
    if (duplication.acquired) {
        Complain("AcquireNextFrame before ReleaseFrame");
        return DXGI_ERROR_INVALID_CALL;
    }
    if (timeoutMs != (duplication.succeeded ? 0U : 20U)) {
        Complain("AcquireNextFrame waits " + std::to_string(timeoutMs) + " ms for image " +
                 std::to_string(duplication.delivered));
    }
    if (ReferencesOf(duplication.image) != 1) {
        Complain("AcquireNextFrame while the last image is held");
    }
    Round(++duplication.rounds);
    const ScriptedResult scripted = CountCall("AcquireNextFrame");
    if (scripted.fails) {
        return scripted.code;
    }
    if (!duplication.Deliver(timeoutMs, *information)) {
        return DXGI_ERROR_WAIT_TIMEOUT;
    }
    duplication.pixels->readable = true;
    duplication.acquired = true;
    *resource = static_cast<IDXGIResource*>(duplication.image);
    (*resource)->lpVtbl->AddRef(*resource);
    return S_OK;
}

const IDXGIOutputDuplicationVtbl& DuplicationTable() {
    static const auto maker = [] {
        TableMaker<IDXGIOutputDuplicationVtbl> made;
        made.table.AcquireNextFrame = AcquireNextFrame;
        made.table.ReleaseFrame = ReleaseFrame;
        return made;
    }();
    return maker.table;
}

HRESULT STDMETHODCALLTYPE DuplicateOutput(IDXGIOutput1* self, IUnknown* device, IDXGIOutputDuplication** result) {
    auto& output = Behind<Output>(self, "DuplicateOutput");
    const ScriptedResult scripted = CountCall("DuplicateOutput");
    if (scripted.fails) {
        return scripted.code;
    }
    void* maintenance = QueryFor(device, maintenanceId);
    if (maintenance == nullptr || result == nullptr || duplications != 0) {
        Complain("DuplicateOutput without a device or an output pointer, or a second time");
        return E_INVALIDARG;
    }
    const auto& table = TableOf<MaintenanceTable>(maintenance);
    if (static_cast<Face*>(table.adapter(maintenance))->object != &output.adapter) {
        Complain("DuplicateOutput with a device of another adapter");
    }
    const RECT& bounds = output.line.bounds;
    void* image = table.makeDesktopImage(maintenance, static_cast<std::uint32_t>(bounds.right - bounds.left),
                                         static_cast<std::uint32_t>(bounds.bottom - bounds.top));
    ReleaseObject(maintenance);
    auto* duplication = new Duplication(output, image);
    SetFace(*duplication, 0, &DuplicationTable(), {IID_IUnknown, IID_IDXGIObject, IID_IDXGIOutputDuplication});
    *result = static_cast<IDXGIOutputDuplication*>(PointerTo(*duplication));
    return S_OK;
}

HRESULT STDMETHODCALLTYPE DescribeOutput(IDXGIOutput1* self, DXGI_OUTPUT_DESC* description) {
    const auto& output = Behind<Output>(self, "IDXGIOutput::GetDesc");
    const ScriptedResult scripted = CountCall("GetDesc");
    if (scripted.fails) {
        return scripted.code;
    }
    *description = {};
    CopyName(output.line.name, description->DeviceName);
    description->DesktopCoordinates = output.line.bounds;
    description->AttachedToDesktop = output.line.attached;
    description->Rotation = static_cast<DXGI_MODE_ROTATION>(output.line.rotation);
    return S_OK;
}

const IDXGIOutput1Vtbl& OutputTable() {
    static const auto maker = [] {
        TableMaker<IDXGIOutput1Vtbl> made;
        made.table.GetDesc = DescribeOutput;
        made.table.DuplicateOutput = DuplicateOutput;
        return made;
    }();
    return maker.table;
}

HRESULT STDMETHODCALLTYPE EnumOutputs(IDXGIAdapter1* self, UINT index, IDXGIOutput** result) {
    auto& adapter = Behind<Adapter>(self, "EnumOutputs");
    *result = nullptr;
    const ScriptedResult scripted = CountCall("EnumOutputs");
    if (scripted.fails) {
        return scripted.code;
    }
    const std::vector<OutputLine> outputs = OutputsOf(adapter.index);
    if (index >= outputs.size()) {
        return DXGI_ERROR_NOT_FOUND;
    }
    auto* output = new Output(adapter, outputs[index]);
    SetFace(*output, 0, &OutputTable(), {IID_IUnknown, IID_IDXGIObject, IID_IDXGIOutput, IID_IDXGIOutput1});
    *result = static_cast<IDXGIOutput*>(PointerTo(*output));
    return S_OK;
}

HRESULT STDMETHODCALLTYPE DescribeAdapter(IDXGIAdapter1* self, DXGI_ADAPTER_DESC1* description) {
    const auto& adapter = Behind<Adapter>(self, "GetDesc1");
    const ScriptedResult scripted = CountCall("GetDesc1");
    if (scripted.fails) {
        return scripted.code;
    }
    *description = {};
    CopyName(adapter.line.name, description->Description);
    description->VendorId = adapter.line.vendor;
    description->DedicatedVideoMemory = adapter.line.memory;
    description->Flags = adapter.line.flags;
    return S_OK;
}

const IDXGIAdapter1Vtbl& AdapterTable() {
    static const auto maker = [] {
        TableMaker<IDXGIAdapter1Vtbl> made;
        made.table.EnumOutputs = EnumOutputs;
        made.table.GetDesc1 = DescribeAdapter;
        return made;
    }();
    return maker.table;
}

HRESULT STDMETHODCALLTYPE EnumAdapters1(IDXGIFactory6* self, UINT index, IDXGIAdapter1** result) {
    auto& factory = Behind<Factory>(self, "EnumAdapters1");
    *result = nullptr;
    const ScriptedResult scripted = CountCall("EnumAdapters1");
    if (scripted.fails) {
        return scripted.code;
    }
    const std::vector<AdapterLine> adapters = Adapters();
    if (index >= adapters.size()) {
        return DXGI_ERROR_NOT_FOUND;
    }
    auto* adapter = new Adapter(factory, index, adapters[index]);
    SetFace(*adapter, 0, &AdapterTable(), {IID_IUnknown, IID_IDXGIObject, IID_IDXGIAdapter, IID_IDXGIAdapter1});
    *result = static_cast<IDXGIAdapter1*>(PointerTo(*adapter));
    return S_OK;
}

const IDXGIFactory6Vtbl& FactoryTable() {
    static const auto maker = [] {
        TableMaker<IDXGIFactory6Vtbl> made;
        made.table.EnumAdapters1 = EnumAdapters1;
        return made;
    }();
    return maker.table;
}

}  // namespace
}  // namespace zv::drivers

using namespace zv::drivers;

extern "C" HRESULT WINAPI CreateDXGIFactory1(REFIID id, void** result) {
    ReadScript();
    WatchImports();
    *result = nullptr;
    const ScriptedResult scripted = CountCall("CreateDXGIFactory1");
    if (scripted.fails) {
        return scripted.code;
    }
    auto* factory = new Factory;
    SetFace(*factory, 0, &FactoryTable(),
            {IID_IUnknown, IID_IDXGIObject, IID_IDXGIFactory, IID_IDXGIFactory1, IID_IDXGIFactory2, IID_IDXGIFactory3,
             IID_IDXGIFactory4, IID_IDXGIFactory5, IID_IDXGIFactory6});
    const HRESULT answer = QueryFaces(PointerTo(*factory), id, result);
    ReleaseObject(PointerTo(*factory));
    return answer;
}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void* processEnds) {
    if (reason == DLL_PROCESS_ATTACH) {
        NameModule("dxgi");
    } else if (reason == DLL_THREAD_DETACH) {
        OnComThreadEnd();
    } else if (reason == DLL_PROCESS_DETACH) {
        ReportEnd(processEnds != nullptr);
    }
    return TRUE;
}
