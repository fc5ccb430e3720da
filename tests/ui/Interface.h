// What the tests of the interface share: folders of their own, fakes for engine and windows, and a gate that holds
// an operation of the engine until the test opens it.
#pragma once

#include <gmock/gmock.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <thread>

#include "core/AppCore.h"
#include "core/SessionMarker.h"
#include "core/Settings.h"
#include "fake/AppIcon.h"
#include "fake/AudioDevices.h"
#include "fake/CaptureEngine.h"
#include "fake/Clock.h"
#include "fake/Environment.h"
#include "fake/FileDialogs.h"
#include "fake/Folders.h"
#include "fake/FrontWindow.h"
#include "fake/HttpsGet.h"
#include "fake/MediaPlayer.h"
#include "fake/Monitors.h"
#include "fake/Pictures.h"
#include "fake/PopupMenu.h"
#include "fake/ProfileFile.h"
#include "fake/ScreenGrab.h"
#include "fake/TrayIcon.h"
#include "fake/Window.h"
#include "platform/Files.h"
#include "support/TemporaryFolder.h"
#include "ui/state/UiGlobals.h"

namespace zv {

/// Holds the named operations until Open.
class Gate {
public:
    Gate() = default;
    ~Gate() { Open(); }
    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;

    void Hold(const std::string& name) {
        const std::lock_guard lock(mutex_);
        held_.insert(name);
    }
    void Open() {
        const std::lock_guard lock(mutex_);
        held_.clear();
        changed_.notify_all();
    }
    /// For the fakes' hook.
    void Pass(const std::string& name) {
        std::unique_lock lock(mutex_);
        reached_.insert(name);
        changed_.notify_all();
        changed_.wait(lock, [&] { return !held_.contains(name); });
    }
    /// Waits until an operation of that name has reached the gate. Returns false if none has within the time.
    bool AwaitArrival(const std::string& name, std::chrono::milliseconds limit = std::chrono::seconds(60)) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, limit, [&] { return reached_.contains(name); });
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::set<std::string> held_;
    std::set<std::string> reached_;
};

/// How long a test waits for what must not happen. A correct program passes however long it takes.
inline constexpr std::chrono::milliseconds briefly{100};

class Interface : public testing::Test {
protected:
    Interface();
    ~Interface() override;

    Text Folder(TextView name) const { return JoinPath(FromPath(folder_.Path()), name); }
    Text SettingsFile() const;
    std::string SettingsBytes() const;
    /// The rows of the activity log, as "category: text".
    std::vector<Text> Activity() const;

    /// Creates a main window.
    void OpenMainWindow();
    std::intptr_t Send(std::uint32_t code, std::uintptr_t wParam = 0, std::intptr_t lParam = 0);
    void Tick();                               ///< timer 42
    void Collect();                            ///< timer 43
    void AwaitJob();                           ///< until the job has a result; nothing collects it
    void AwaitPoll();                          ///< the same for the poll
    void AwaitScreenshot();                    ///< the same for the screenshot
    void AwaitRefresh();                       ///< the same for the library
    void AwaitThumbnails();                    ///< the same for the thumbnails
    void AwaitFeeds();                         ///< the same for the update check and the recommended cards
    void FinishJob();                          ///< awaits and collects by timer 43, with the refresh that follows
    void FinishRefreshes();                    ///< awaits and collects all that were requested
    void RunTo(const std::string& operation);  ///< until the worker is inside that operation, which the gate must hold
    /// Opens the gate from another thread as soon as an operation that must wait for it has run too early, or if it
    /// has not run. So a program that does not wait is found with the gate still closed.
    std::thread OpenGateUnless(const std::string& tooEarly);

    support::TemporaryFolder folder_;
    Gate gate_;
    /// Called in every call of a fake after the gate. Set it only while no worker runs, or while the gate holds the
    /// worker.
    std::function<void(const std::string& name, int nth)> onCall_;
    Owned<AppWindow> window_;
};

}  // namespace zv
