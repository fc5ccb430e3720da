// What the doubles that are COM objects watch over: references, the thread's apartment, memory that the caller frees.
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

/// Objects of that name that exist.
void CountObject(const std::string& name, int change);

/// "2 IAudioClient, 1 IMMDevice", or nothing when no object exists.
std::string LiveObjects();

/// Complains unless this thread is in a multithreaded apartment; from then on watches that it leaves COM before it
/// ends, and holds no object then.
void WatchThisThread();

/// To be called from DllMain for a thread that ends.
void EndOfThisThread();

/// Memory that the caller has to free with CoTaskMemFree, filled with these bytes.
void* MemoryForCaller(const void* bytes, std::size_t size);
bool IsFreed(const void* memory);

/// Keeps this DLL in the process: the system calls what watches even after the last object is gone.
void StayLoaded();

std::string TextOfId(REFIID id);

/// What comes of a call that the program has no reason to make.
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
        Complain(std::string("unknown interface ") + TextOfId(id) + " asked of " + name_);
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
