// From the program's types to the system's and back: text, handles, interfaces, error codes.
#pragma once

#include <string>
#include <utility>

#include "core/Text.h"
#include "platform/Result.h"
#include "platform/windows/Sdk.h"

namespace zv {

static_assert(sizeof(wchar_t) == sizeof(char16_t));

/// The same units for a Windows call, valid as long as `text`.
inline const wchar_t* Native(const Text& text) { return reinterpret_cast<const wchar_t*>(text.c_str()); }

/// The same units as text. Null gives the empty text.
Text TextOf(const wchar_t* text);
Text TextOf(const std::wstring& text);

/// GetLastError as a result; never a success.
Result LastError();

/// A handle of the kernel, closed at its end. INVALID_HANDLE_VALUE counts as none.
class Handle {
public:
    Handle() = default;
    explicit Handle(HANDLE handle) : handle_(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
    ~Handle() { Close(); }
    Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    Handle& operator=(Handle&& other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }

    HANDLE Get() const { return handle_; }
    explicit operator bool() const { return handle_ != nullptr; }
    void Close() {
        if (HANDLE handle = std::exchange(handle_, nullptr)) {
            CloseHandle(handle);
        }
    }

private:
    HANDLE handle_ = nullptr;
};

/// One reference to a COM object.
template <class Interface>
class Com {
public:
    Com() = default;
    /// Takes over a reference that the caller owns.
    explicit Com(Interface* object) : object_(object) {}
    ~Com() { Release(); }
    Com(Com&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    Com& operator=(Com&& other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }

    Interface* Get() const { return object_; }
    Interface* operator->() const { return object_; }
    explicit operator bool() const { return object_ != nullptr; }

    /// Where a call that makes the object writes it.
    Interface** Out() {
        Release();
        return &object_;
    }
    void** OutVoid() { return reinterpret_cast<void**>(Out()); }

    /// Gives the reference away.
    Interface* Detach() { return std::exchange(object_, nullptr); }

    void Release() {
        if (Interface* object = std::exchange(object_, nullptr)) {
            object->Release();
        }
    }

private:
    Interface* object_ = nullptr;
};

/// Asks `object` for another interface.
template <class Interface, class Object>
HRESULT Query(Object* object, Com<Interface>& result) {
    return object->QueryInterface(__uuidof(Interface), result.OutVoid());
}

}  // namespace zv
