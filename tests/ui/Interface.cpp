#include "ui/Interface.h"

#include <chrono>
#include <fstream>
#include <iterator>
#include <thread>

#include "ui/CaptureJobs.h"
#include "ui/CaptureSettings.h"
#include "ui/MainWindow.h"

namespace zv {
namespace {

/// A quick job may have been collected by the very tick that started it: then there is nothing to wait for.
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
    stand_in::ResetCalls();
    stand_in::ResetWindows();
    stand_in::ResetEngine(Engine());
    stand_in::ResetClock();
    stand_in::TheEnvironment() = {};
    stand_in::TheForeground() = {};
    stand_in::TheMonitors() = {};
    stand_in::ResetScreenGrab();
    stand_in::ResetTray();
    stand_in::ResetMenus();
    stand_in::ResetIcons();
    stand_in::TheFolders().videos = Folder(u"videos");
    stand_in::TheFolders().pictures = Folder(u"pictures");
    stand_in::TheFolders().localData = Folder(u"data");
    stand_in::TheEnvironment().variables[u"LOCALAPPDATA"] = Folder(u"data");
    CurrentAppCore().history = {};
    CurrentSessionMarker() = {};
    ResetSettings(CurrentSettings());
    stand_in::TheCalls().hook = [this](const char* name, int nth) {
        gate_.Pass(name);
        if (onCall_) {
            onCall_(name, nth);
        }
    };
}

Interface::~Interface() {
    gate_.Open();
    window_.reset();
    Ui().captureJobSlot.Wait();
    Ui().capturePollSlot.Wait();
    Ui().screenshotSlot.Wait();
    EXPECT_FALSE(stand_in::TheEngine().overlapped) << "two threads were inside the engine at once";
    stand_in::ResetCalls();
}

Text Interface::SettingsFile() const {
    return JoinPath(JoinPath(stand_in::TheFolders().localData, u"ZVReelsMax"), u"settings.ini");
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
    options.procedure = MainProc;
    options.visible = true;
    window_ = MakeWindow(options);
}

std::intptr_t Interface::Send(std::uint32_t code, std::uintptr_t wParam, std::intptr_t lParam) {
    return MainProc(*window_, code, wParam, lParam);
}
void Interface::Tick() { Send(message::timer, housekeepingTimer); }
void Interface::Collect() { Send(message::timer, collectionTimer); }
void Interface::AwaitJob() { Await(Ui().captureJobSlot); }
void Interface::AwaitPoll() { Await(Ui().capturePollSlot); }
void Interface::AwaitScreenshot() { Await(Ui().screenshotSlot); }

void Interface::FinishJob() {
    AwaitJob();
    Collect();
}

void Interface::RunTo(const std::string& operation) { gate_.AwaitArrival(operation); }

}  // namespace zv
