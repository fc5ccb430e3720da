// One copy of the program in a session, and the way from a second copy to the first one's window.
#include "platform/SingleInstance.h"

#include <new>

#include "platform/windows/Native.h"

namespace zv {

struct InstanceClaim {
    Handle mutex;
    bool speaksCom = false;
};

template <>
void Closer<InstanceClaim>::operator()(InstanceClaim* claim) const noexcept {
    if (claim != nullptr && claim->speaksCom) {
        CoUninitialize();
    }
    delete claim;
}

Owned<InstanceClaim> ClaimSingleInstance(TextView name) {
    const Text path(name);  // lives on: its end could change the last error
    Handle mutex(CreateMutexW(nullptr, FALSE, Native(path)));
    if (!mutex || GetLastError() == ERROR_ALREADY_EXISTS) {
        return nullptr;
    }
    Owned<InstanceClaim> claim(new (std::nothrow) InstanceClaim{std::move(mutex), false});
    if (claim) {
        // The first copy's interface thread speaks COM from here on; a second copy never gets this far.
        claim->speaksCom = SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
    }
    return claim;
}

bool BringOtherCopyForward(TextView className) {
    const HWND window = FindWindowW(Native(Text(className)), nullptr);
    if (window == nullptr) {
        return false;
    }
    ShowWindow(window, SW_RESTORE);
    SetForegroundWindow(window);
    return true;
}

}  // namespace zv
