#include "ui/Interface.h"

#include <chrono>
#include <fstream>
#include <iterator>
#include <thread>

#include "ui/commands/CaptureJobs.h"
#include "ui/commands/FastJobs.h"
#include "ui/commands/MediaViewer.h"
#include "ui/kit/DrawingContext.h"
#include "ui/state/Engine.h"
#include "ui/windows/MainWindow.h"

namespace zv {
namespace {

/// Returns at once if the tick that started a quick job has collected it already.
template <class T>
void Await(const FutureSlot<T>& slot) {
    const auto waits = [&] { return slot.IsBusy() && !slot.IsFinished(); };
    for (int i = 0; i < 60'000 && waits(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ASSERT_FALSE(waits());
}

}  // namespace

Interface::Interface() {
    Ui() = {};
    Drawing() = {};
    fake::ResetCalls();
    fake::ResetWindows();
    fake::ResetEngine(Engine());
    fake::ResetClock();
    fake::TheEnvironment() = {};
    fake::TheFront() = {};
    fake::TheProfiles() = {};
    fake::TheWeb() = {};
    fake::TheMonitors() = {};
    fake::ResetScreenGrab();
    fake::ThePictures().clear();
    fake::ResetTray();
    fake::ResetMenus();
    fake::ResetDialogs();
    fake::TheAudioDevices() = {};
    fake::ResetIcons();
    fake::ResetPlayer();
    fake::TheFolders().videos = Folder(u"videos");
    fake::TheFolders().pictures = Folder(u"pictures");
    fake::TheFolders().localData = Folder(u"data");
    fake::TheEnvironment().variables[u"LOCALAPPDATA"] = Folder(u"data");
    CurrentAppCore().history = {};
    CurrentSessionMarker() = {};
    ResetSettings(CurrentSettings());
    fake::TheCalls().hook = [this](const char* name, int nth) {
        gate_.Pass(name);
        if (onCall_) {
            onCall_(name, nth);
        }
    };
}

Interface::~Interface() {
    gate_.Open();
    CloseMediaViewer();
    window_.reset();
    Ui().capture.captureJobSlot.Wait();
    Ui().capture.capturePollSlot.Wait();
    Ui().screenshot.screenshotSlot.Wait();
    Ui().library.mediaRefreshSlot.Wait();
    Ui().soundDevices.listSlot.Wait();
    Ui().library.thumbnailSlot.Wait();
    Ui().feeds.recommendationsSlot.Wait();
    Ui().feeds.updateSlot.Wait();
    Ui().viewer.viewerImageSlot.Wait();
    EXPECT_FALSE(fake::TheEngine().overlapped) << "two threads were inside the engine at once";
    fake::ResetCalls();
}

Text Interface::SettingsFile() const {
    return JoinPath(JoinPath(fake::TheFolders().localData, u"ZVReelsMax"), u"settings.ini");
}

std::string Interface::SettingsBytes() const {
    std::ifstream file(ToPath(SettingsFile()), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<Text> Interface::Activity() const {
    std::vector<Text> rows;
    for (const ActivityRow& row : CurrentAppCore().history.rows) {
        rows.push_back(row.category + u": " + row.text);
    }
    return rows;
}

void Interface::OpenMainWindow() {
    WindowOptions options;
    options.className = u"main";
    options.procedure = MainProc;
    options.visible = true;
    window_ = MakeWindow(options);
}

std::intptr_t Interface::Send(std::uint32_t code, std::uintptr_t wParam, std::intptr_t lParam) {
    return MainProc(*window_, code, wParam, lParam);
}
void Interface::Tick() { Send(message::timer, housekeepingTimer); }
void Interface::Collect() { Send(message::timer, collectionTimer); }
void Interface::AwaitJob() { Await(Ui().capture.captureJobSlot); }
void Interface::AwaitPoll() { Await(Ui().capture.capturePollSlot); }
void Interface::AwaitScreenshot() { Await(Ui().screenshot.screenshotSlot); }
void Interface::AwaitRefresh() { Await(Ui().library.mediaRefreshSlot); }
void Interface::AwaitThumbnails() { Await(Ui().library.thumbnailSlot); }
void Interface::AwaitFeeds() {
    Await(Ui().feeds.recommendationsSlot);
    Await(Ui().feeds.updateSlot);
}

void Interface::FinishJob() {
    AwaitJob();
    Collect();
    FinishRefreshes();
}

void Interface::FinishRefreshes() {
    while (Ui().library.mediaRefreshSlot.IsBusy()) {
        AwaitRefresh();
        Collect();
    }
}

void Interface::RunTo(const std::string& operation) { EXPECT_TRUE(gate_.AwaitArrival(operation)); }

std::thread Interface::OpenGateUnless(const std::string& tooEarly) {
    return std::thread([this, tooEarly] {
        gate_.AwaitArrival(tooEarly, briefly);
        gate_.Open();
    });
}

}  // namespace zv
