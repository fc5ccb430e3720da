#include "ui/commands/CaptureJobs.h"

#include <utility>

#include "core/AppCore.h"
#include "ui/kit/HitTargets.h"
#include "ui/state/CaptureSettings.h"
#include "ui/state/UiGlobals.h"
#include "ui/windows/Notifications.h"

namespace zv {

void ShowStatus(const Text& text) {
    ShowToastForStatus(text);
    Ui().statusText = text;
    InvalidatePages();
}

void CaptureJob(std::function<Text()> function) {
    UiGlobals& ui = Ui();
    if (ui.captureJobSlot.IsBusy()) {
        ShowStatus(u"Capture operation in progress - please wait.");
        return;
    }
    if (ui.mainWindow != nullptr) {
        StartTimer(*ui.mainWindow, collectionTimer, collectionPeriodMs);
    }
    auto job = [poll = ui.capturePollSlot.Release(), function = std::move(function)] {
        if (poll.valid()) {
            poll.wait();
        }
        return function();
    };
    ui.captureJobSlot.Start(std::move(job), u"Capture operation failed. Check disk space and runtime files.");
}

bool CollectCaptureJob() {
    UiGlobals& ui = Ui();
    if (!ui.captureJobSlot.IsFinished()) {
        return false;
    }
    ShowStatus(ui.captureJobSlot.Take());
    AddActivity(u"Capture", ui.statusText);
    // A scan of the library follows, since the job may have made a file.
    return true;
}

void TickHealthPoll() {
    UiGlobals& ui = Ui();
    if (ui.capturePollSlot.IsFinished()) {
        const CapturePollResult result = ui.capturePollSlot.Take();
        ui.secondsReady = result.bufferedSeconds;
        if (result.changed) {
            ShowStatus(result.status);
        }
    }
    if (!ui.capturePollSlot.IsBusy() && !ui.captureJobSlot.IsBusy()) {
        ui.capturePollSlot.Start([] { return PollCapture(Engine()); },
                                 CapturePollResult{0, true, u"Capture check failed. Try restarting replay."});
    }
}

}  // namespace zv
