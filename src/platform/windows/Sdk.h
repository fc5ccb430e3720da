// The only file that includes the Windows SDK. Include it after the program's own headers, because its macros replace
// common names.
#pragma once

#include <windows.h>
// These need the headers above.
#include <avrt.h>
#include <commdlg.h>
#include <d3d11.h>
#include <dwmapi.h>
#include <dxgi1_6.h>
#include <gdiplus.h>
#include <knownfolders.h>
#include <mmsystem.h>
#include <shellapi.h>
#include <shlobj.h>
#include <wininet.h>

#ifndef CREATE_WAITABLE_TIMER_HIGH_RESOLUTION
#define CREATE_WAITABLE_TIMER_HIGH_RESOLUTION 0x00000002
#endif
