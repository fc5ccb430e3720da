#include "ui/commands/FastJobs.h"

#include <algorithm>
#include <array>

#include "ui/commands/CaptureJobs.h"
#include "ui/commands/Commands.h"
#include "ui/commands/Library.h"
#include "ui/commands/SoundDevices.h"
#include "ui/commands/Thumbnails.h"
#include "ui/state/UiGlobals.h"

namespace zv {
namespace {

struct FastJob {
    const JobSlot& slot;
    bool usesEngine = false;
    bool (*collect)() = nullptr;  ///< returns true if the job was finished
};

std::array<FastJob, 5> FastJobs() {
    return {{{Ui().capture.captureJobSlot, true, CollectCaptureJob},
             {Ui().screenshot.screenshotSlot, false, CollectScreenshot},
             {Ui().library.mediaRefreshSlot, false, CollectMediaRefresh},
             {Ui().library.thumbnailSlot, false, CollectThumbnails},
             {Ui().soundDevices.listSlot, false, CollectSoundDevices}}};
}

}  // namespace

void ArmCollectionTimer() {
    if (AppWindow* window = Ui().mainWindow) {
        StartTimer(*window, collectionTimer, collectionPeriodMs);
    }
}

bool CollectFastJobs() {
    bool collected = false;
    for (const FastJob& job : FastJobs()) {
        collected |= job.collect();
    }
    return collected;
}

bool IsFastJobBusy() {
    const auto jobs = FastJobs();
    return std::any_of(jobs.begin(), jobs.end(), [](const FastJob& job) { return job.slot.IsBusy(); });
}

void WaitForFileJobs() {
    for (const FastJob& job : FastJobs()) {
        if (!job.usesEngine) {
            job.slot.Wait();
        }
    }
}

void WaitForEngineJobs() {
    Ui().capture.captureJobSlot.Wait();
    Ui().capture.capturePollSlot.Wait();
}

}  // namespace zv
