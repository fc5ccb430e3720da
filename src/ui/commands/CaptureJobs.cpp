#include "ui/commands/CaptureJobs.h"

#include <utility>

#include "core/AppCore.h"
#include "platform/Session.h"
#include "ui/commands/FastJobs.h"
#include "ui/commands/Library.h"
#include "ui/commands/RemoteCommands.h"
#include "ui/commands/Status.h"
#include "ui/state/Engine.h"
#include "ui/state/UiGlobals.h"

namespace zv {

void CaptureJob(std::function<Text()> function) {
    if (const Text obstacle(CaptureObstacle()); !obstacle.empty()) {
        ShowStatus(obstacle);
        AddActivity(u"Capture", obstacle);
        return;
    }
    CaptureRecord& capture = Ui().capture;
    if (Ui().phase != ProgramPhase::Running) {
        ShowStatus(u"Zorvel is closing.");
        return;
    }
    if (capture.captureJobSlot.IsBusy()) {
        ShowStatus(u"Capture operation in progress - please wait.");
        return;
    }
    ArmCollectionTimer();
    auto job = [poll = capture.capturePollSlot.Release(), function = std::move(function)] {
        if (poll.valid()) {
            poll.wait();
        }
        return function();
    };
    capture.captureJobSlot.Start(std::move(job), u"Capture operation failed. Check disk space and runtime files.");
}

bool CollectCaptureJob() {
    if (!Ui().capture.captureJobSlot.IsFinished()) {
        return false;
    }
    ShowStatus(Ui().capture.captureJobSlot.Take());
    AddActivity(u"Capture", Ui().statusText);
    AnswerRemoteCommand(Ui().capture.captureReply, Ui().statusText);
    QueueMediaRefresh();
    return true;
}

namespace {

/// Reports once for each capture that the machine is too slow.
void ReportSlowness() {
    CaptureRecord& capture = Ui().capture;
    const bool slow = Engine().fallsBehind;
    if (slow && !capture.slownessReported) {
        ShowStatus(
            u"Speed check: this computer is too slow for the capture, and sound and picture drift apart. "
            u"Choose a lower quality in Settings > Capture.");
        AddActivity(u"Capture", Ui().statusText);
    }
    capture.slownessReported = slow;
}

}  // namespace

void TickHealthPoll() {
    CaptureRecord& capture = Ui().capture;
    if (capture.capturePollSlot.IsFinished()) {
        const CapturePollResult result = capture.capturePollSlot.Take();
        capture.secondsReady = result.bufferedSeconds;
        if (result.changed) {
            ShowStatus(result.status);
        } else {
            ReportSlowness();
        }
    }
    if (!capture.capturePollSlot.IsBusy() && !capture.captureJobSlot.IsBusy()) {
        capture.capturePollSlot.Start([] { return PollCapture(Engine()); },
                                      CapturePollResult{0, true, u"Capture check failed. Try restarting replay."});
    }
}

}  // namespace zv
