// One copy of the program in a session: a named mutex, and a second copy that brings the first one's window forward.
#include "platform/SingleInstance.h"

#include <new>

#include "platform/windows/Native.h"

namespace zv {

struct InstanceClaim {
    Handle mutex;
};

template <>
void Closer<InstanceClaim>::operator()(InstanceClaim* claim) const noexcept {
    delete claim;
}

Owned<InstanceClaim> ClaimSingleInstance(TextView name) {
    const Text path(name);  // outlives the call below: freeing it could change the last error
    Handle mutex(CreateMutexW(nullptr, FALSE, Native(path)));
    if (!mutex || GetLastError() == ERROR_ALREADY_EXISTS) {
        return nullptr;
    }
    return Owned<InstanceClaim>(new (std::nothrow) InstanceClaim{std::move(mutex)});
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
