// Checks of COM rules: references, the thread's apartment, memory that the caller must free.
#pragma once

#include <string>

#include "windows/drivers/CallChecker.h"
// After the program's own headers.
#include <windows.h>
//
#include <unknwn.h>

// No interface of the system has a virtual destructor.
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

namespace zv::drivers {

/// Adds `change` to the number of objects of that name.
void CountObject(const std::string& name, int change);

/// "2 IAudioClient, 1 IMMDevice", or nothing when no object exists.
std::string LiveObjects();

/// Complains unless this thread is in a multithreaded apartment, and later if it ends without leaving COM or while
/// objects exist.
void WatchThisThread();

/// Called from DllMain when a thread ends.
void OnThreadEnd();

/// A copy of these bytes that the caller must free with CoTaskMemFree.
void* MemoryForCaller(const void* bytes, std::size_t size);
bool IsFreed(const void* memory);

/// Keeps this DLL loaded: the system calls its hooks even after the last object is released.
void KeepLoaded();

std::string TextOfId(REFIID id);

/// Reports a call that the program never needs.
inline HRESULT Unknown(const std::string& name) {
    Complain("unknown call " + name);
    return E_NOTIMPL;
}

/// The IUnknown of an object with one interface.
template <class Interface>
class ComObject : public Interface {
public:
    explicit ComObject(const char* name) : name_(name) { CountObject(name_, 1); }
    virtual ~ComObject() { CountObject(name_, -1); }
    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
        if (id == __uuidof(IUnknown) || id == __uuidof(Interface)) {
            *object = static_cast<Interface*>(this);
            AddRef();
            return S_OK;
        }
        *object = nullptr;
        Complain(std::string("unknown interface ") + TextOfId(id) + " requested from " + name_);
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(InterlockedIncrement(&references_)); }
    ULONG STDMETHODCALLTYPE Release() override {
        const LONG left = InterlockedDecrement(&references_);
        if (left == 0) {
            delete this;
        }
        return static_cast<ULONG>(left);
    }

private:
    std::string name_;
    LONG references_ = 1;
};

}  // namespace zv::drivers
