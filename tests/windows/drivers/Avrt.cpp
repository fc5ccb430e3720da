// avrt.dll: the multimedia class scheduler. Notes report the registrations of threads and their ends. Each must end on
// its own thread. The handle of a registration is the number of the thread.
#include <windows.h>

#include <string>

#include "windows/drivers/CallChecker.h"

using namespace zv::drivers;

extern "C" HANDLE WINAPI AvSetMmThreadCharacteristicsW(const wchar_t* task, DWORD* index) {
    ReadScript();
    const ScriptedResult scripted = CountCall("AvSetMmThreadCharacteristicsW");
    if (scripted.fails) {
        SetLastError(static_cast<DWORD>(scripted.code));
        return nullptr;
    }
    if (index == nullptr || *index != 0) {
        Complain("AvSetMmThreadCharacteristicsW with another index");
    }
    const std::wstring name = task;
    Note("thread registered as " + std::string(name.begin(), name.end()));
    return reinterpret_cast<HANDLE>(static_cast<ULONG_PTR>(GetCurrentThreadId()));
}

extern "C" BOOL WINAPI AvRevertMmThreadCharacteristics(HANDLE registration) {
    if (reinterpret_cast<ULONG_PTR>(registration) != GetCurrentThreadId()) {
        Complain("AvRevertMmThreadCharacteristics on another thread");
    }
    Note("thread unregistered");
    return TRUE;
}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void*) {
    if (reason == DLL_PROCESS_ATTACH) {
        NameModule("avrt");
    }
    return TRUE;
}
