// Loads the driver's encoder library, from the system folder only.
#include "platform/EncoderLibrary.h"

#include "platform/windows/SystemLibrary.h"

namespace zv {

template <>
void Closer<EncoderLibrary>::operator()(EncoderLibrary* library) const noexcept {
    FreeLibrary(reinterpret_cast<HMODULE>(library));
}

Owned<EncoderLibrary> LoadEncoderLibrary() {
    const HMODULE module = LoadSystemLibrary(L"nvEncodeAPI64.dll");
    return Owned<EncoderLibrary>(reinterpret_cast<EncoderLibrary*>(module));
}

NvEncodeApiCreateInstance EncoderEntryPoint(EncoderLibrary& library) {
    const FARPROC entry = GetProcAddress(reinterpret_cast<HMODULE>(&library), "NvEncodeAPICreateInstance");
    return reinterpret_cast<NvEncodeApiCreateInstance>(reinterpret_cast<void*>(entry));
}

}  // namespace zv
