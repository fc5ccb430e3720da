// The one place that includes the Windows SDK. Include it after the program's own headers: its macros rename much.
#pragma once

#include <windows.h>
// What the headers above are needed by.
#include <d3d11.h>
#include <dwmapi.h>
#include <dxgi1_6.h>
#include <gdiplus.h>
#include <knownfolders.h>
#include <mmsystem.h>
#include <shellapi.h>
#include <shlobj.h>

#ifndef CREATE_WAITABLE_TIMER_HIGH_RESOLUTION
#define CREATE_WAITABLE_TIMER_HIGH_RESOLUTION 0x00000002
#endif
