// The video encoder's library, loaded at run time: gives the entry point of the NVENC 12.2 function list.
// Windows loads the driver's library from the system folder and from nowhere else. Linux serves the same list
// over a software encoder and honours what a session configures.
#pragma once

#include "platform/NvencApi.h"
#include "platform/Owned.h"

namespace zv {

struct EncoderLibrary;
template <>
void Closer<EncoderLibrary>::operator()(EncoderLibrary* library) const noexcept;

/// Null when the library cannot be loaded.
Owned<EncoderLibrary> LoadEncoderLibrary();

/// The library's "NvEncodeAPICreateInstance"; null when it has none. Valid as long as the library is held.
NvEncodeApiCreateInstance EncoderEntryPoint(EncoderLibrary& library);

}  // namespace zv
