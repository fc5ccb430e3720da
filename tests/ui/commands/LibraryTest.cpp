// The refresh of the library from its request to the collection of its result, and at the program's end.
#include "ui/commands/Library.h"

#include <thread>

#include "fake/FolderReader.h"
#include "ui/Interface.h"
#include "ui/commands/CaptureJobs.h"
#include "ui/commands/Commands.h"
#include "ui/navigation/Navigation.h"
#include "ui/windows/MainWindow.h"

namespace zv {
namespace {

using fake::CountOf;
using fake::TheFolderEntries;
using fake::TheWindows;
using testing::ElementsAre;
using testing::IsEmpty;

class MediaRefresh : public Interface {
protected:
    MediaRefresh() {
        CurrentSettings().captureRoot = Captures(u"captures");
        CurrentSettings().clipsFolder.clear();
        CurrentSettings().recordingsFolder.clear();
        CurrentSettings().screenshotsFolder.clear();
        SetFile(u"captures", u"a.mp4");
        OpenMainWindow();
    }
    ~MediaRefresh() override {
        gate_.Open();
        Ui().library.mediaRefreshSlot.Wait();
        TheFolderEntries().clear();
    }
    /// The path of a folder that a scan finds.
    Text Captures(TextView name) const {
        std::filesystem::create_directories(ToPath(Folder(name)));
        return Folder(name);
    }
    void SetFile(TextView folder, TextView name) const {
        TheFolderEntries()[Captures(folder)] = {{Text(name), false, FileFacts{5, 6}}};
    }
    /// A scan that stays in its first folder until the gate opens.
    void OccupyRefresh() {
        gate_.Hold("OpenFolder");
        QueueMediaRefresh();
        RunTo("OpenFolder");
    }
    void FinishRefresh() {
        AwaitRefresh();
        Collect();
    }
    static std::vector<Text> Names() {
        std::vector<Text> names;
        for (const MediaFile& file : Ui().library.found.files) {
            names.push_back(FromPath(ToPath(file.path).filename()));
        }
        return names;
    }
    bool FastTimerRuns() const { return TheWindows().timers.contains(43); }
    bool IsBusy() const { return Ui().library.mediaRefreshSlot.IsBusy(); }
};

TEST_F(MediaRefresh, ReplacesTheLibraryAndRepaints) {
    QueueMediaRefresh();
    EXPECT_EQ(TheWindows().timers[43], 16U);
    AwaitRefresh();
    EXPECT_THAT(Names(), IsEmpty()) << "nothing is published before the timer collects it";
    fake::RecordOf(*window_).invalidations = 0;
    Collect();
    EXPECT_THAT(Names(), ElementsAre(u"a.mp4"));
    EXPECT_EQ(Ui().library.found.files[0].game, u"Desktop");
    EXPECT_GE(fake::RecordOf(*window_).invalidations, 1);
    EXPECT_FALSE(IsBusy());
    EXPECT_FALSE(FastTimerRuns());
    SetFile(u"captures", u"b.mp4");
    QueueMediaRefresh();
    FinishRefresh();
    EXPECT_THAT(Names(), ElementsAre(u"b.mp4"));
}

TEST_F(MediaRefresh, ScansTheFiveSettings) {
    for (const TextView name : {u"clips", u"recordings", u"shots", u"old", u"older"}) {
        SetFile(name, Text(name) + u".mp4");
    }
    CurrentSettings().clipsFolder = Folder(u"clips");
    CurrentSettings().recordingsFolder = Folder(u"recordings");
    CurrentSettings().screenshotsFolder = Folder(u"shots");
    CurrentSettings().previousCaptureRoots = {Folder(u"old"), Folder(u"older")};
    QueueMediaRefresh();
    FinishRefresh();
    std::vector<std::string> opened = fake::CallLog();
    std::erase_if(opened, [](const std::string& call) { return !call.starts_with("OpenFolder"); });
    EXPECT_THAT(opened, ElementsAre("OpenFolder captures", "OpenFolder clips", "OpenFolder recordings",
                                    "OpenFolder shots", "OpenFolder old", "OpenFolder older"));
    EXPECT_EQ(Ui().library.found.files.size(), 6U);
}

TEST_F(MediaRefresh, CopiesTheSettingsAtTheRequest) {
    OccupyRefresh();
    CurrentSettings().captureRoot = Folder(u"elsewhere");
    CurrentSettings().previousCaptureRoots = {Folder(u"elsewhere")};
    gate_.Open();
    FinishRefresh();
    EXPECT_THAT(Names(), ElementsAre(u"a.mp4"));
}

TEST_F(MediaRefresh, TenRequestsDuringAScanCauseExactlyOneMore) {
    OccupyRefresh();
    for (int i = 0; i < 10; ++i) {
        QueueMediaRefresh();
    }
    EXPECT_TRUE(Ui().library.refreshAgain);
    gate_.Open();
    FinishRefresh();
    EXPECT_FALSE(Ui().library.refreshAgain);
    EXPECT_TRUE(IsBusy());
    EXPECT_TRUE(FastTimerRuns());
    FinishRefresh();
    EXPECT_FALSE(IsBusy());
    EXPECT_FALSE(FastTimerRuns());
    EXPECT_EQ(CountOf("OpenFolder"), 2);
}

TEST_F(MediaRefresh, ARequestAfterTheEndOfAScanStartsAnotherAtOnce) {
    QueueMediaRefresh();
    AwaitRefresh();
    SetFile(u"captures", u"b.mp4");
    QueueMediaRefresh();
    EXPECT_FALSE(Ui().library.refreshAgain);
    FinishRefresh();
    EXPECT_THAT(Names(), ElementsAre(u"b.mp4"));
    EXPECT_EQ(CountOf("OpenFolder"), 2);
}

TEST_F(MediaRefresh, TheInterfaceDoesNotWaitForAScan) {
    OccupyRefresh();
    Collect();
    Tick();
    EXPECT_TRUE(IsBusy());
    EXPECT_TRUE(FastTimerRuns());
    EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(MediaRefresh, IsCollectedByTheFastTimerAlone) {
    QueueMediaRefresh();
    AwaitRefresh();
    Tick();
    EXPECT_TRUE(IsBusy());
    EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(MediaRefresh, AnExceptionEmptiesTheLibraryAndSetsTheWarning) {
    QueueMediaRefresh();
    FinishRefresh();
    fake::ThrowInCall("OpenFolder", 2);
    QueueMediaRefresh();
    FinishRefresh();
    EXPECT_THAT(Names(), IsEmpty());
    EXPECT_EQ(Ui().library.found.warning, u"Cannot read library folders.");
    QueueMediaRefresh();
    FinishRefresh();
    EXPECT_THAT(Names(), ElementsAre(u"a.mp4"));
    EXPECT_EQ(Ui().library.found.warning, u"");
}

TEST_F(MediaRefresh, FollowsACaptureJobOnBothTimers) {
    gate_.Hold("OpenFolder");
    StartReplayJob();
    AwaitJob();
    Collect();
    EXPECT_TRUE(IsBusy());
    gate_.Open();
    FinishRefresh();
    EXPECT_THAT(Names(), ElementsAre(u"a.mp4"));
    EXPECT_FALSE(FastTimerRuns());
    StartReplayJob();
    AwaitJob();
    Tick();
    EXPECT_TRUE(IsBusy());
    EXPECT_TRUE(FastTimerRuns());
}

TEST_F(MediaRefresh, FollowsAScreenshot) {
    TakeScreenshot();
    AwaitScreenshot();
    EXPECT_FALSE(IsBusy());
    gate_.Hold("OpenFolder");
    Collect();
    EXPECT_TRUE(IsBusy());
    gate_.Open();
    FinishRefresh();
    EXPECT_THAT(Names(), ElementsAre(u"a.mp4"));
}

TEST_F(MediaRefresh, FollowsTheOpeningOfTheGallery) {
    Ui().gallery.galleryFilter = 2;
    SelectGallery();
    EXPECT_EQ(Ui().overlayPage, overlayPage::gallery);
    EXPECT_EQ(Ui().gallery.galleryFilter, 0);
    EXPECT_TRUE(IsBusy());
}

TEST_F(MediaRefresh, EverythingElseWorksDuringALongScanAndTheEndStartsNoOther) {
    OccupyRefresh();
    StartReplayJob();
    AwaitJob();
    Collect();
    EXPECT_FALSE(Ui().capture.captureJobSlot.IsBusy()) << "the job is not collected";
    TakeScreenshot();
    AwaitScreenshot();
    Collect();
    EXPECT_FALSE(Ui().screenshot.screenshotSlot.IsBusy()) << "the screenshot is not collected";
    SelectGallery();
    Tick();
    EXPECT_TRUE(IsBusy());
    EXPECT_TRUE(Ui().library.refreshAgain);
    std::thread release = OpenGateUnless("StopAll");
    ExitProgram();
    release.join();
    EXPECT_EQ(Ui().phase, ProgramPhase::Ended);
    EXPECT_EQ(CountOf("OpenFolder"), 1);
}

TEST_F(MediaRefresh, TheShutdownWaitsForIt) {
    OccupyRefresh();
    bool ended = false;
    onCall_ = [&](const std::string& name, int) {
        if (name == "StopAll") {
            ended = Ui().library.mediaRefreshSlot.IsFinished();
        }
    };
    std::thread release = OpenGateUnless("StopAll");
    ExitProgram();
    release.join();
    EXPECT_TRUE(ended);
}

}  // namespace
}  // namespace zv
