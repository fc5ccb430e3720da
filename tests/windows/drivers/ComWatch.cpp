#include "windows/drivers/ComWatch.h"

#include <objbase.h>
#include <objidl.h>

#include <cstdint>
#include <cstring>
#include <map>
#include <mutex>
#include <set>

namespace zv::drivers {
namespace {

struct Watched {
    std::mutex mutex;
    std::map<std::string, int> objects;
    std::map<DWORD, ULARGE_INTEGER> threads;  ///< the cookies of threads that have not left COM
    std::set<const void*> memory;             ///< not yet freed by the caller
};

/// Never destroyed: the system may call until the very end.
Watched& TheWatched() {
    static auto* watched = new Watched;
    return *watched;
}

/// Both hooks live as long as the process.
template <class Interface>
class Spy : public Interface {
public:
    virtual ~Spy() = default;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
        const bool known = id == __uuidof(IUnknown) || id == __uuidof(Interface);
        *object = known ? static_cast<Interface*>(this) : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
};

class ThreadSpy final : public Spy<IInitializeSpy> {
public:
    HRESULT STDMETHODCALLTYPE PreInitialize(DWORD, DWORD) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE PostInitialize(HRESULT result, DWORD, DWORD) override { return result; }
    HRESULT STDMETHODCALLTYPE PreUninitialize(DWORD references) override {
        if (references > 1) {
            return S_OK;
        }
        if (const std::string left = LiveObjects(); !left.empty()) {
            Complain("CoUninitialize while these are held: " + left);
        }
        ULARGE_INTEGER cookie{};
        {
            const std::lock_guard lock(TheWatched().mutex);
            cookie = TheWatched().threads[GetCurrentThreadId()];
            TheWatched().threads.erase(GetCurrentThreadId());
        }
        CoRevokeInitializeSpy(cookie);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE PostUninitialize(DWORD) override { return S_OK; }
};

/// Records which memory is freed and forwards every call.
class MemorySpy final : public Spy<IMallocSpy> {
public:
    SIZE_T STDMETHODCALLTYPE PreAlloc(SIZE_T size) override { return size; }
    void* STDMETHODCALLTYPE PostAlloc(void* memory) override { return memory; }
    void* STDMETHODCALLTYPE PreFree(void* memory, WINBOOL) override {
        const std::lock_guard lock(TheWatched().mutex);
        TheWatched().memory.erase(memory);
        return memory;
    }
    void STDMETHODCALLTYPE PostFree(WINBOOL) override {}
    SIZE_T STDMETHODCALLTYPE PreRealloc(void* memory, SIZE_T size, void** passed, WINBOOL) override {
        *passed = memory;
        return size;
    }
    void* STDMETHODCALLTYPE PostRealloc(void* memory, WINBOOL) override { return memory; }
    void* STDMETHODCALLTYPE PreGetSize(void* memory, WINBOOL) override { return memory; }
    SIZE_T STDMETHODCALLTYPE PostGetSize(SIZE_T size, WINBOOL) override { return size; }
    void* STDMETHODCALLTYPE PreDidAlloc(void* memory, WINBOOL) override { return memory; }
    int STDMETHODCALLTYPE PostDidAlloc(void*, WINBOOL, int actual) override { return actual; }
    void STDMETHODCALLTYPE PreHeapMinimize() override {}
    void STDMETHODCALLTYPE PostHeapMinimize() override {}
};

void WatchMemory() {
    static const HRESULT registered = CoRegisterMallocSpy(new MemorySpy);
    if (FAILED(registered)) {
        Complain("the freeing of memory cannot be watched");
    }
}

}  // namespace

void CountObject(const std::string& name, int change) {
    const std::lock_guard lock(TheWatched().mutex);
    TheWatched().objects[name] += change;
}

std::string LiveObjects() {
    const std::lock_guard lock(TheWatched().mutex);
    std::string text;
    for (const auto& [name, count] : TheWatched().objects) {
        if (count != 0) {
            text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + name;
        }
    }
    return text;
}

void WatchThisThread() {
    APTTYPE type{};
    APTTYPEQUALIFIER qualifier{};
    if (FAILED(CoGetApartmentType(&type, &qualifier)) || type != APTTYPE_MTA ||
        qualifier == APTTYPEQUALIFIER_IMPLICIT_MTA) {
        Complain("the thread is not in a multithreaded apartment of its own");
        return;
    }
    {
        const std::lock_guard lock(TheWatched().mutex);
        if (TheWatched().threads.count(GetCurrentThreadId()) != 0) {
            return;
        }
    }
    ULARGE_INTEGER cookie{};
    if (FAILED(CoRegisterInitializeSpy(new ThreadSpy, &cookie))) {
        Complain("the thread cannot be watched");
        return;
    }
    const std::lock_guard lock(TheWatched().mutex);
    TheWatched().threads[GetCurrentThreadId()] = cookie;
}

void OnThreadEnd() {
    bool left = false;
    {
        const std::lock_guard lock(TheWatched().mutex);
        left = TheWatched().threads.erase(GetCurrentThreadId()) == 0;
    }
    if (!left) {
        Complain("a thread ended without CoUninitialize");
    }
}

void* MemoryForCaller(const void* bytes, std::size_t size) {
    WatchMemory();
    void* memory = CoTaskMemAlloc(size);
    std::memcpy(memory, bytes, size);
    const std::lock_guard lock(TheWatched().mutex);
    TheWatched().memory.insert(memory);
    return memory;
}

bool IsFreed(const void* memory) {
    const std::lock_guard lock(TheWatched().mutex);
    return TheWatched().memory.count(memory) == 0;
}

void KeepLoaded() {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                       reinterpret_cast<LPCWSTR>(reinterpret_cast<std::uintptr_t>(&KeepLoaded)), &module);
}

std::string TextOfId(REFIID id) {
    wchar_t text[64] = {};
    StringFromGUID2(id, text, 64);
    std::string narrow;
    for (const wchar_t* unit = text; *unit != 0; ++unit) {
        narrow += static_cast<char>(*unit);
    }
    return narrow;
}

}  // namespace zv::drivers
