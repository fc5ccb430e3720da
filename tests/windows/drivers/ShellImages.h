// The double of the shell's image service, and checks of how the program's threads enter and leave COM.
//
// Every existing file has a picture: its quarters are red, green, blue and yellow in reading order (pictureColors). It
// has 320 by 180 pixels and rows from the bottom, unless the script says otherwise:
//   set picture SUFFIX WIDTH HEIGHT KIND     of files whose path ends in SUFFIX
// KIND is bottom-up, top-down, 24 (bits a pixel), device (not independent of the device) or transparent (half opaque,
// with colours that are multiplied by the opacity). Entries for "fail" and "delay": SHCreateItemFromParsingName,
// GetImage. Notes report every GetImage with its path.
//
// It complains about other parameters than those of a thumbnail, a multithreaded apartment, calls on the thread that
// has loaded the doubles, which is the program's interface, objects and bitmaps that outlive the apartment, and threads
// that leave COM more often than they have entered it, or end inside.
#pragma once

#include <windows.h>

#include <array>
#include <cstdint>

namespace zv::drivers {

inline constexpr std::array<std::uint32_t, 4> pictureColors = {0xE02020, 0x20E020, 0x2020E0, 0xE0E020};

/// Replaces SHCreateItemFromParsingName.
HRESULT WINAPI MakeShellItem(const wchar_t* path, void* context, REFIID id, void** result);

/// Called by the thread that loads the doubles.
void BeginComChecks();
/// Replaces CoUninitialize.
void WINAPI LeaveCom();
/// Called after a successful CoInitializeEx.
void OnComEntered();
/// Called from DllMain when a thread ends.
void OnComThreadEnd();

}  // namespace zv::drivers
