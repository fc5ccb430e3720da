// Libraries from the system folder only. The loader looks for most imported libraries beside the program first, where
// other programs put replacements.
#pragma once

#include "platform/windows/Sdk.h"

namespace zv {

/// Returns null if the library cannot be loaded.
inline HMODULE LoadSystemLibrary(const wchar_t* name) {
    return LoadLibraryExW(name, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
}

/// The function of a library that stays loaded from then on. Returns null if either is missing.
template <class Function>
Function* SystemFunction(const wchar_t* library, const char* name) {
    const HMODULE module = LoadSystemLibrary(library);
    const FARPROC function = module != nullptr ? GetProcAddress(module, name) : nullptr;
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(function));
}

}  // namespace zv
