// The video encoder's library, loaded at run time. It has the entry point of the NVENC 12.2 function list.
//
// Windows loads the driver's library, from the system folder only. Linux implements the same list with a software
// encoder that honours the session's configuration. Any thread; a session belongs to one thread.
#pragma once

#include "platform/NvencApi.h"
#include "platform/Owned.h"

namespace zv {

struct EncoderLibrary;
template <>
void Closer<EncoderLibrary>::operator()(EncoderLibrary* library) const noexcept;

/// Returns null if the library cannot be loaded.
Owned<EncoderLibrary> LoadEncoderLibrary();

/// Returns the library's "NvEncodeAPICreateInstance", or null if it has none. Valid while the library is loaded.
NvEncodeApiCreateInstance EncoderEntryPoint(EncoderLibrary& library);

}  // namespace zv
