// The multimedia class scheduler and the resolution of the system's timer.
#include "platform/MediaThread.h"

#include <new>

#include "platform/windows/SystemLibrary.h"

namespace zv {
namespace {

constexpr UINT resolutionMs = 1;

/// Returns null if the scheduler refuses.
HANDLE RegisterThread(const wchar_t* task) {
    static const auto set =
        SystemFunction<decltype(AvSetMmThreadCharacteristicsW)>(L"avrt.dll", "AvSetMmThreadCharacteristicsW");
    DWORD index = 0;
    return set != nullptr ? set(task, &index) : nullptr;
}

void UnregisterThread(HANDLE registration) {
    static const auto revert =
        SystemFunction<decltype(AvRevertMmThreadCharacteristics)>(L"avrt.dll", "AvRevertMmThreadCharacteristics");
    if (revert != nullptr) {
        revert(registration);
    }
}

/// Windows 11 ignores the resolution that a process requests while its windows are hidden, unless it asks for it.
void KeepResolutionWhileHidden() {
    PROCESS_POWER_THROTTLING_STATE state{};
    state.Version = PROCESS_POWER_THROTTLING_CURRENT_VERSION;
    state.ControlMask = PROCESS_POWER_THROTTLING_IGNORE_TIMER_RESOLUTION;
    SetProcessInformation(GetCurrentProcess(), ProcessPowerThrottling, &state, sizeof(state));
}

}  // namespace

struct MediaThread {
    HANDLE registration = nullptr;  ///< null if the scheduler has refused
    bool fineTimer = false;
};

template <>
void Closer<MediaThread>::operator()(MediaThread* thread) const noexcept {
    if (thread->registration != nullptr) {
        UnregisterThread(thread->registration);
    }
    if (thread->fineTimer) {
        timeEndPeriod(resolutionMs);
    }
    delete thread;
}

Owned<MediaThread> ScheduleForMedia(MediaTask task) {
    Owned<MediaThread> thread(new (std::nothrow) MediaThread);
    if (thread) {
        thread->registration = RegisterThread(task == MediaTask::Sound ? L"Pro Audio" : L"Capture");
        KeepResolutionWhileHidden();
        thread->fineTimer = timeBeginPeriod(resolutionMs) == TIMERR_NOERROR;
    }
    return thread;
}

}  // namespace zv
