#include "stand_in/Window.h"

#include <algorithm>

namespace zv {

using stand_in::Call;
using stand_in::Combination;
using stand_in::TheWindows;

struct AppWindow {
    WindowProc procedure = nullptr;
    bool shown = false;
    bool ended = false;
};

struct InstanceClaim {};

namespace {

void SetShown(AppWindow& window, bool shown) {
    TheWindows().shownWindows += static_cast<int>(shown) - static_cast<int>(window.shown);
    window.shown = shown;
}

void End(AppWindow& window) {
    if (window.ended) {
        return;
    }
    window.ended = true;
    const Call call("destroy");
    window.procedure(window, message::destroy, 0, 0);
    SetShown(window, false);
}

}  // namespace

template <>
void Closer<AppWindow>::operator()(AppWindow* window) const noexcept {
    End(*window);
    delete window;
}

template <>
void Closer<InstanceClaim>::operator()(InstanceClaim* claim) const noexcept {
    const Call call("ReleaseInstance");
    delete claim;
}

bool OpenSession() { return !Call("OpenSession").Fails(); }

Owned<AppWindow> MakeWindow(const WindowOptions& options) {
    const Call call("MakeWindow");
    if (call.Fails()) {
        return nullptr;
    }
    TheWindows().made.push_back(options);
    Owned<AppWindow> window(new AppWindow{options.procedure});
    SetShown(*window, options.visible);
    options.procedure(*window, message::create, 0, 0);
    return window;
}

void ShowWindowPlain(AppWindow& window) {
    const Call call("ShowWindowPlain");
    SetShown(window, true);
}

void HideWindow(AppWindow& window) {
    const Call call("HideWindow");
    SetShown(window, false);
}

bool IsWindowShown(AppWindow& window) { return window.shown; }

void FlushScreen() { const Call call("FlushScreen"); }

std::intptr_t DefaultProcedure(AppWindow& window, std::uint32_t code, std::uintptr_t, std::intptr_t) {
    const Call call("DefaultProcedure");
    if (code == message::close) {
        End(window);
    }
    return 0;
}

void StartTimer(AppWindow&, std::uintptr_t id, std::uint32_t periodMs) {
    const Call call("StartTimer");
    TheWindows().timers[id] = periodMs;
}

void StopTimer(AppWindow&, std::uintptr_t id) {
    const Call call("StopTimer");
    TheWindows().timers.erase(id);
}

bool RegisterGlobalKey(AppWindow&, int id, std::uint32_t modifiers, std::uint32_t virtualKey) {
    const Call call("RegisterGlobalKey");
    stand_in::WindowControls& controls = TheWindows();
    const bool ours = std::any_of(controls.keys.begin(), controls.keys.end(), [&](const auto& key) {
        return key.second == Combination{modifiers, virtualKey};
    });
    if (call.Fails() || ours || controls.takenByOthers.contains({modifiers & ~keyModifier::noRepeat, virtualKey})) {
        return false;
    }
    controls.keys[id] = {modifiers, virtualKey};
    return true;
}

void UnregisterGlobalKey(AppWindow&, int id) {
    const Call call("UnregisterGlobalKey");
    TheWindows().keys.erase(id);
}

void PostQuit(int code) {
    const Call call("PostQuit");
    TheWindows().quitPosted = true;
    TheWindows().quitCode = code;
}

int RunMessageLoop() {
    const Call call("RunMessageLoop");
    if (TheWindows().loop) {
        TheWindows().loop();
    }
    return TheWindows().quitCode;
}

void SetEndRequest(void (*endRequest)()) { TheWindows().endRequest = endRequest; }

Owned<InstanceClaim> ClaimSingleInstance(TextView name) {
    const Call call("ClaimSingleInstance");
    TheWindows().claimedName = name;
    return call.Fails() ? nullptr : Owned<InstanceClaim>(new InstanceClaim);
}

bool BringOtherCopyForward(TextView className) {
    const Call call("BringOtherCopyForward");
    TheWindows().broughtForward = className;
    return TheWindows().otherCopyHasWindow;
}

void ShowInformation(TextView text, TextView caption) {
    const Call call("ShowInformation");
    TheWindows().informationText = text;
    TheWindows().informationCaption = caption;
}

namespace stand_in {

WindowControls& TheWindows() {
    static WindowControls controls;
    return controls;
}

void ResetWindows() { TheWindows() = {}; }

}  // namespace stand_in
}  // namespace zv
