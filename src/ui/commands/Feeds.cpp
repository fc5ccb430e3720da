#include "ui/commands/Feeds.h"

#include <utility>

#include "platform/Environment.h"
#include "ui/state/UiGlobals.h"

namespace zv {
namespace {

/// Runs `read` with the executable's folder, unless its job runs.
template <class Result>
void StartReading(FutureSlot<Result>& slot, Result (*read)(TextView folder), Result failed) {
    if (slot.IsBusy() && !slot.IsFinished()) {
        return;
    }
    slot.Start([read, folder = ExecutableFolder()] { return read(folder); }, std::move(failed));
}

template <class Result>
void Collect(FutureSlot<Result>& slot, Result& result) {
    if (!slot.IsFinished()) {
        return;
    }
    result = slot.Take();
    if (AppWindow* window = Ui().mainWindow) {
        InvalidateWindow(*window);
    }
}

}  // namespace

void CheckForUpdates() {
    StartReading(Ui().feeds.updateSlot, FetchPublishedUpdate, FailedUpdateCheck(updateCheckNotStarted));
}

void RefreshRecommendations() { StartReading(Ui().feeds.recommendationsSlot, ReadRecommendations, {}); }

void CollectFeeds() {
    Collect(Ui().feeds.recommendationsSlot, Ui().feeds.recommendations);
    Collect(Ui().feeds.updateSlot, Ui().feeds.update);
}

void WaitForFeeds() {
    Ui().feeds.recommendationsSlot.Wait();
    Ui().feeds.updateSlot.Wait();
}

}  // namespace zv
