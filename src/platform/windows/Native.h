// Conversion between the program's types and the system's (text, error codes), and owners of handles and interfaces.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "core/Text.h"
#include "platform/Result.h"
#include "platform/windows/Sdk.h"

namespace zv {

static_assert(sizeof(wchar_t) == sizeof(char16_t));

/// The pointer to pass to Windows. Valid as long as `text`.
inline const wchar_t* Native(const Text& text) { return reinterpret_cast<const wchar_t*>(text.c_str()); }

/// Copies text of Windows. Null results in an empty text.
Text TextOf(const wchar_t* text);
Text TextOf(const std::wstring& text);

inline std::uint64_t Joined(DWORD high, DWORD low) { return static_cast<std::uint64_t>(high) << 32 | low; }

/// A file's time in units of 100 ns since 1601.
inline std::int64_t TicksOf(const FILETIME& time) {
    return static_cast<std::int64_t>(Joined(time.dwHighDateTime, time.dwLowDateTime));
}

/// GetLastError as a result; never a success.
Result LastError();

/// Owns a kernel handle. INVALID_HANDLE_VALUE counts as null.
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

/// Owns one reference to a COM object.
template <class Interface>
class Com {
public:
    Com() = default;
    /// Acquires the caller's reference.
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

    /// Releases the object and returns the address for a call that creates a new one.
    Interface** Out() {
        Release();
        return &object_;
    }
    void** OutVoid() { return reinterpret_cast<void**>(Out()); }

    /// Transfers the reference to the caller.
    Interface* Detach() { return std::exchange(object_, nullptr); }

    void Release() {
        if (Interface* object = std::exchange(object_, nullptr)) {
            object->Release();
        }
    }

private:
    Interface* object_ = nullptr;
};

/// Queries another interface of `object`.
template <class Interface, class Object>
HRESULT Query(Object* object, Com<Interface>& result) {
    return object->QueryInterface(__uuidof(Interface), result.OutVoid());
}

}  // namespace zv
