#include "platform/Session.h"

#include <utility>

#include "platform/windows/Native.h"
#include "platform/windows/SessionEnd.h"

namespace zv {
namespace {

/// Called when the session ends. Interface thread only.
void (*sessionEnd)() = nullptr;

}  // namespace

struct ShellServices {
    bool initialized = SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
};

template <>
void Closer<ShellServices>::operator()(ShellServices* services) const noexcept {
    if (services->initialized) {
        CoUninitialize();
    }
    delete services;
}

Owned<ShellServices> OpenShellServices() { return Owned<ShellServices>(new ShellServices); }

bool EndSession() {
    if (sessionEnd == nullptr) {
        return false;
    }
    try {
        std::exchange(sessionEnd, nullptr)();
    } catch (...) {
        return true;  // the system ends the process in any case
    }
    return true;
}

bool OpenSession() {
    SetProcessDpiAwarenessContext(DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE_V2);
    return true;
}

TextView CaptureObstacle() { return {}; }

void SetTaskbarIdentity(TextView id) { SetCurrentProcessExplicitAppUserModelID(Native(Text(id))); }

void SetEndRequest(void (*endRequest)()) { sessionEnd = endRequest; }

int RunMessageLoop() {
    MSG code{};
    while (GetMessageW(&code, nullptr, 0, 0) > 0) {
        TranslateMessage(&code);
        DispatchMessageW(&code);
    }
    return static_cast<int>(code.wParam);
}

void PostQuit(int code) { PostQuitMessage(code); }

}  // namespace zv
