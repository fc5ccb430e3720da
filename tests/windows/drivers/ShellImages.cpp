#include "windows/drivers/ShellImages.h"

#include <objbase.h>
#include <shobjidl.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "windows/drivers/ComWatch.h"

namespace zv::drivers {
namespace {

struct State {
    SRWLOCK lock = SRWLOCK_INIT;  ///< guards the following fields
    DWORD interfaceThread = 0;
    std::map<DWORD, int> entered;  ///< how often threads have entered COM
    std::map<DWORD, std::vector<HBITMAP>> bitmaps;
};

/// Never destroyed: threads may end while the module is being unloaded.
State& TheState() {
    static auto* state = new State;
    return *state;
}

class Lock {
public:
    Lock() { AcquireSRWLockExclusive(&TheState().lock); }
    ~Lock() { ReleaseSRWLockExclusive(&TheState().lock); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
};

struct PictureLine {
    int width = 320;
    int height = 180;
    std::string kind = "bottom-up";
};

PictureLine PictureOf(const std::string& path) {
    PictureLine found;
    for (const std::string& value : Values("picture")) {
        std::istringstream words(value);
        std::string suffix;
        PictureLine line;
        words >> suffix >> line.width >> line.height >> line.kind;
        if (path.ends_with(suffix)) {
            found = line;
        }
    }
    return found;
}

std::uint32_t ColorAt(const PictureLine& line, int x, int y) {
    const int quarter = (y < line.height / 2 ? 0 : 2) + (x < line.width / 2 ? 0 : 1);
    const std::uint32_t color = pictureColors[static_cast<std::size_t>(quarter)];
    return line.kind == "transparent" ? 0x80000000U | (color >> 1U & 0x7F7F7FU) : 0xFF000000U | color;
}

HBITMAP MakeIndependent(const PictureLine& line) {
    const int bytes = line.kind == "24" ? 3 : 4;
    const bool topDown = line.kind == "top-down";
    BITMAPINFO info{};
    info.bmiHeader = {sizeof(info.bmiHeader),
                      line.width,
                      topDown ? -line.height : line.height,
                      1,
                      static_cast<WORD>(bytes * 8),
                      BI_RGB,
                      0,
                      0,
                      0,
                      0,
                      0};
    void* bits = nullptr;
    const HBITMAP bitmap = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    const int stride = (line.width * bytes + 3) / 4 * 4;
    for (int y = 0; y < line.height; ++y) {
        auto* row = static_cast<std::uint8_t*>(bits) + (topDown ? y : line.height - 1 - y) * stride;
        for (int x = 0; x < line.width; ++x) {
            const std::uint32_t color = ColorAt(line, x, y);
            for (int byte = 0; byte < bytes; ++byte) {
                row[x * bytes + byte] = static_cast<std::uint8_t>(color >> 8 * byte);
            }
        }
    }
    return bitmap;
}

HBITMAP MakeForDevice(const PictureLine& line) {
    const HBITMAP independent = MakeIndependent(line);
    const HDC screen = GetDC(nullptr);
    const HDC from = CreateCompatibleDC(screen);
    const HDC to = CreateCompatibleDC(screen);
    const HBITMAP made = CreateCompatibleBitmap(screen, line.width, line.height);
    const HGDIOBJ before = SelectObject(from, independent);
    const HGDIOBJ other = SelectObject(to, made);
    BitBlt(to, 0, 0, line.width, line.height, from, 0, 0, SRCCOPY);
    SelectObject(from, before);
    SelectObject(to, other);
    DeleteDC(from);
    DeleteDC(to);
    ReleaseDC(nullptr, screen);
    DeleteObject(independent);
    return made;
}

/// Complains about the thread of a call.
void CheckThread(const char* call) {
    APTTYPE type{};
    APTTYPEQUALIFIER qualifier{};
    const bool known = SUCCEEDED(CoGetApartmentType(&type, &qualifier));
    if (known && type == APTTYPE_MTA && qualifier != APTTYPEQUALIFIER_IMPLICIT_MTA) {
        Complain(std::string(call) + " in a multithreaded apartment");
    }
    const Lock lock;
    if (GetCurrentThreadId() == TheState().interfaceThread) {
        Complain(std::string(call) + " on the interface thread");
    }
}

bool IsComEntered() {
    const Lock lock;
    return TheState().entered[GetCurrentThreadId()] > 0;
}

class ImageFactory final : public ComObject<IShellItemImageFactory> {
public:
    explicit ImageFactory(std::string path) : ComObject("IShellItemImageFactory"), path_(std::move(path)) {}

    HRESULT STDMETHODCALLTYPE GetImage(SIZE size, SIIGBF flags, HBITMAP* bitmap) override {
        if (GetCurrentThreadId() != thread_) {
            Complain("GetImage on another thread than the one that made the item");
        }
        if (bitmap == nullptr || size.cx != 320 || size.cy != 180 ||
            flags != (SIIGBF_BIGGERSIZEOK | SIIGBF_THUMBNAILONLY)) {
            Complain("GetImage for something other than a thumbnail");
        }
        Note("GetImage " + path_);
        const ScriptedResult scripted = CountCall("GetImage");
        if (scripted.fails) {
            return scripted.code;
        }
        const PictureLine line = PictureOf(path_);
        *bitmap = line.kind == "device" ? MakeForDevice(line) : MakeIndependent(line);
        const Lock lock;
        TheState().bitmaps[thread_].push_back(*bitmap);
        return S_OK;
    }

private:
    std::string path_;
    DWORD thread_ = GetCurrentThreadId();
};

}  // namespace

HRESULT WINAPI MakeShellItem(const wchar_t* path, void* context, REFIID id, void** result) {
    ReadScript();
    CheckThread("SHCreateItemFromParsingName");
    *result = nullptr;
    const std::wstring wide = path;
    const std::string name(wide.begin(), wide.end());
    if (context != nullptr || id != __uuidof(IShellItemImageFactory) || wide.find(L'/') != std::wstring::npos) {
        Complain("SHCreateItemFromParsingName with other parameters for " + name);
        return E_INVALIDARG;
    }
    const ScriptedResult scripted = CountCall("SHCreateItemFromParsingName");
    if (scripted.fails) {
        return scripted.code;
    }
    if (!IsComEntered()) {
        return CO_E_NOTINITIALIZED;
    }
    if (GetFileAttributesW(path) == INVALID_FILE_ATTRIBUTES) {
        return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
    }
    *result = static_cast<IShellItemImageFactory*>(new ImageFactory(name));
    return S_OK;
}

void BeginComChecks() {
    const Lock lock;
    TheState().interfaceThread = GetCurrentThreadId();
}

void WINAPI LeaveCom() {
    bool balanced = false;
    std::vector<HBITMAP> bitmaps;
    {
        const Lock lock;
        const DWORD thread = GetCurrentThreadId();
        // The interface has entered COM before the doubles were loaded.
        balanced = thread == TheState().interfaceThread || TheState().entered[thread]-- > 0;
        bitmaps.swap(TheState().bitmaps[thread]);
    }
    if (!balanced) {
        Complain("CoUninitialize without CoInitializeEx");
    }
    if (const std::string left = LiveObjects(); !left.empty()) {
        Complain("CoUninitialize while these are held: " + left);
    }
    if (std::any_of(bitmaps.begin(), bitmaps.end(), [](HBITMAP bitmap) { return GetObjectType(bitmap) != 0; })) {
        Complain("a bitmap of the shell is left");
    }
    CoUninitialize();
}

void OnComEntered() {
    const Lock lock;
    ++TheState().entered[GetCurrentThreadId()];
}

void OnComThreadEnd() {
    int entered = 0;
    {
        const Lock lock;
        const auto found = TheState().entered.extract(GetCurrentThreadId());
        entered = found.empty() ? 0 : found.mapped();
    }
    if (entered > 0) {
        Complain("a thread ended without CoUninitialize");
    }
}

}  // namespace zv::drivers
